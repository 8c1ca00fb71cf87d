include(FetchContent)
FetchContent_Declare(ZAMXMLData GIT_REPOSITORY ${LIBRARY} GIT_TAG HEAD)
FetchContent_MakeAvailable(ZAMXMLData)
