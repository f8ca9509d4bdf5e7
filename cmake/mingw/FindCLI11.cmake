# CLI11 consists of headers, the same for every system. They are taken out of the build machine's include directory,
# which must not be searched as a whole.
set(CLI11_FOUND FALSE)
if(EXISTS /usr/include/CLI/CLI.hpp)
  file(COPY /usr/include/CLI DESTINATION ${CMAKE_BINARY_DIR}/include)
  if(NOT TARGET CLI11::CLI11)
    add_library(CLI11::CLI11 INTERFACE IMPORTED GLOBAL)
    set_target_properties(CLI11::CLI11 PROPERTIES INTERFACE_INCLUDE_DIRECTORIES ${CMAKE_BINARY_DIR}/include)
  endif()
  set(CLI11_FOUND TRUE)
endif()
