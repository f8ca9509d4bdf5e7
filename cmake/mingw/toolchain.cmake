# Debian's cross compilers for Windows, for the processor that MINGW_PROCESSOR names; included by the tool-chain files
# beside it. The posix threading variant is the one whose C++ library has threads.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR ${MINGW_PROCESSOR})
set(mingw ${MINGW_PROCESSOR}-w64-mingw32)
set(CMAKE_CXX_COMPILER ${mingw}-g++-posix)
set(CMAKE_RC_COMPILER ${mingw}-windres)
set(WIDL ${mingw}-widl)

# What is installed for the build machine is not for Windows: libraries and headers are found below the cross
# compilers' root alone. CLI11 and GoogleTest come as sources; the modules of this folder find those.
set(CMAKE_FIND_ROOT_PATH /usr/${mingw})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR})

# Every file stands alone: the compiler's run-time libraries are inside it, and what it imports comes with Windows.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -s")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static -s")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static -s")
