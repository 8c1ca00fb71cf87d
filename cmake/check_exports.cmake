# cmake -D NM=<nm> -D LIBRARY=<shared library> -P check_exports.cmake
#
# Fails when the library exports anything but its own classes, or when a class that hosts build on
# is not exported whole: constructor, destructor and virtual table.
cmake_minimum_required(VERSION 3.25)

string(CONCAT prefixes "((vtable|typeinfo|typeinfo name|VTT|guard variable) for |"
                       "non-virtual thunk to |operator[^A-Za-z_(]+\\((std::ostream&, )?)?")
set(ours "(ZAM[A-Za-z_]*|IXMLDOMNodePtr|_bstr_t|_com_error|CString|CInvalidArgException)")
set(whole
    ZAMXMLFile
    ZAMXMLDocumentInfo
    ZAMXMLName
    ZAMXMLPatientInfo
    ZAMXMLOrderInfo
    ZAMXMLStatement
    ZAMXMLDeviceInfo
    ZAMXMLExtraQuestion
    ZAMXMLStudyInfo
    ZAMXMLBinary
    ZAMXMLChangeItem
    ZAMXMLModification
    ZAMXMLModificationGroup)

execute_process(COMMAND ${NM} -DC --defined-only ${LIBRARY} OUTPUT_VARIABLE listing
                COMMAND_ERROR_IS_FATAL ANY)
# CMake's lists give brackets and semicolons a meaning of their own.
string(REGEX REPLACE "[][;]" "_" listing "${listing}")
string(REGEX MATCHALL "[^\n]+" symbols "${listing}")

foreach(line IN LISTS symbols)
  string(REGEX REPLACE "^[0-9a-f]* *[A-Za-z] " "" symbol "${line}")
  if(NOT symbol MATCHES "^${prefixes}${ours}([^A-Za-z0-9_]|$)")
    message(SEND_ERROR "exported, but none of the library's classes: ${symbol}")
  endif()
endforeach()

foreach(class IN LISTS whole)
  foreach(needed IN ITEMS "${class}::${class}(" "${class}::~${class}(" "vtable for ${class}\n")
    string(FIND "${listing}" " ${needed}" position)
    if(position EQUAL -1)
      string(STRIP "${needed}" needed)
      message(SEND_ERROR "not exported: ${needed}")
    endif()
  endforeach()
endforeach()
