# Installs BUILD into a fresh WORK folder, then moves the copy away from where it was installed.
file(REMOVE_RECURSE ${WORK})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/installed
                COMMAND_ERROR_IS_FATAL ANY)
file(RENAME ${WORK}/installed ${WORK}/moved)
