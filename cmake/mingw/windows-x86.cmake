set(MINGW_PROCESSOR i686)
include(${CMAKE_CURRENT_LIST_DIR}/toolchain.cmake)
