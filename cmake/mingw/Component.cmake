# What makes VQLoan.dll out of the target: its exports, its resources and its manifest.
set(face ${CMAKE_CURRENT_SOURCE_DIR}/component/face)

# The type library. The interface descriptions it is built on come with libwine-dev, stdole2.tlb with wine64.
find_path(WINDOWS_IDL oaidl.idl PATHS /usr/include/wine/wine/windows NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
find_path(WINDOWS_TLB stdole2.tlb PATHS /usr/lib/x86_64-linux-gnu/wine/x86_64-windows NO_DEFAULT_PATH
          NO_CMAKE_FIND_ROOT_PATH REQUIRED)
math(EXPR bits "${CMAKE_SIZEOF_VOID_P} * 8")
set(type_library ${CMAKE_CURRENT_BINARY_DIR}/VQLoan.tlb)
add_custom_command(
  OUTPUT ${type_library}
  COMMAND ${WIDL} -t --win${bits} -I${WINDOWS_IDL} -L${WINDOWS_TLB} -o ${type_library} ${face}/VQLoan.idl
  DEPENDS ${face}/VQLoan.idl
  VERBATIM)

# The .rc file names the type library, which lies in the binary directory.
include(${CMAKE_CURRENT_LIST_DIR}/Resources.cmake)
target_sources(VQLoan PRIVATE ${face}/VQLoan.def)
add_resources(VQLoan ${face}/VQLoan.rc ${CMAKE_CURRENT_BINARY_DIR})
set_property(SOURCE ${face}/VQLoan.rc APPEND PROPERTY OBJECT_DEPENDS ${type_library})
# 32-bit entry points are named with their arguments' size; the .def file says without.
target_link_options(VQLoan PRIVATE -Wl,--enable-stdcall-fixup)
# What takes the place of functions of the compiler's own libraries is named here, before those are searched.
target_sources(VQLoan PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/platform/runtime/windows/LocalStatics.cpp)
target_link_options(VQLoan PRIVATE -Wl,--wrap=pthread_once,--wrap=pthread_mutex_lock,--wrap=pthread_mutex_unlock)

# For clients that use the component without its registration.
if(CMAKE_SIZEOF_VOID_P EQUAL 8)
  set(MANIFEST_ARCHITECTURE amd64)
else()
  set(MANIFEST_ARCHITECTURE x86)
endif()
configure_file(${face}/VQLoan.manifest.in ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/VQLoan.manifest @ONLY)
