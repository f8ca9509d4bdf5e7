# nlohmann-json consists of headers, the same for every system. They are taken out of the build machine's include directory,
# which must not be searched as a whole.
set(nlohmann_json_FOUND FALSE)
if(EXISTS /usr/include/nlohmann/json.hpp)
  file(COPY /usr/include/nlohmann DESTINATION ${CMAKE_BINARY_DIR}/include)
  if(NOT TARGET nlohmann_json::nlohmann_json)
    add_library(nlohmann_json::nlohmann_json INTERFACE IMPORTED GLOBAL)
    set_target_properties(nlohmann_json::nlohmann_json PROPERTIES INTERFACE_INCLUDE_DIRECTORIES ${CMAKE_BINARY_DIR}/include)
  endif()
  set(nlohmann_json_FOUND TRUE)
endif()
