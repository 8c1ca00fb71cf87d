add_subdirectory(${LIBRARY} zamxml)
