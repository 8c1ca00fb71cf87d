# Installs what a host needs: headers, library, CMake package, pkg-config file, samples, schema and
# pages. The tool installs itself. The installed tree may be moved as a whole.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ZAMXMLData)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
set(share_dir ${CMAKE_INSTALL_DATADIR}/zamxml)

install(
  TARGETS ZAMXMLData
  EXPORT ZAMXMLDataTargets
  LIBRARY COMPONENT library NAMELINK_COMPONENT development
  ARCHIVE COMPONENT development)

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
install(DIRECTORY share/samples DESTINATION ${share_dir})
install(FILES share/zamxml-document.xsd share/zamxml-digest.xsl DESTINATION ${share_dir})

# gdb looks for the printers of a library under the full path of that library: the prefix is that of
# the installation, which may be another one than was configured.
set(library_name libZAMXMLData_U.so.${ZAMXML_ABI_VERSION})
install(FILES share/gdb/printers.py
        DESTINATION ${CMAKE_INSTALL_DATADIR}/gdb/auto-load\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}
        RENAME ${library_name}-gdb.py)

install(EXPORT ZAMXMLDataTargets NAMESPACE ZAMXMLData:: DESTINATION ${package_dir})
configure_package_config_file(cmake/ZAMXMLDataConfig.cmake.in ZAMXMLDataConfig.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(ZAMXMLDataConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ZAMXMLDataConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/ZAMXMLDataConfigVersion.cmake
        DESTINATION ${package_dir})

# A host of the shared library needs nothing else. A host of the static one links what that uses.
file(RELATIVE_PATH pc_prefix /${pkgconfig_dir} /)
string(REGEX REPLACE "/$" "" pc_prefix "${pc_prefix}")
if(NOT BUILD_SHARED_LIBS)
  set(pc_requires "pugixml libxml-2.0")
  set(pc_cflags " -DZAMXML_STATIC")
endif()
configure_file(cmake/zamxmldata.pc.in zamxmldata.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zamxmldata.pc DESTINATION ${pkgconfig_dir})

install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
install(DIRECTORY docs examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation
        FILES_MATCHING PATTERN "*.md" PATTERN "*.h" PATTERN "*.cpp")
