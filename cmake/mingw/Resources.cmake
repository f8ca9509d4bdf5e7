# add_resources(TARGET FILE [INCLUDE-DIRECTORY...]): puts a resource file into the target, which tells its version
# through Version.rc.
function(add_resources target file)
  target_sources(${target} PRIVATE ${file})
  set_property(SOURCE ${file} APPEND PROPERTY INCLUDE_DIRECTORIES ${CMAKE_CURRENT_FUNCTION_LIST_DIR} ${ARGN})
  set_property(SOURCE ${file} APPEND PROPERTY OBJECT_DEPENDS ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/Version.rc)
  set_property(SOURCE ${file} PROPERTY COMPILE_DEFINITIONS VQLOAN_VERSION_MAJOR=${PROJECT_VERSION_MAJOR}
                                       VQLOAN_VERSION_MINOR=${PROJECT_VERSION_MINOR} VQLOAN_VERSION=${PROJECT_VERSION})
endfunction()
