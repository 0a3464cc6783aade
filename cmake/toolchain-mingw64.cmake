# SPDX-License-Identifier: MIT
# Cross-compiles for Windows x86-64 with mingw-w64 (Debian: g++-mingw-w64-x86-64-posix;
# the posix flavour, whose std::thread and std::mutex work). Test programs run under
# Wine (Debian: wine64) through CMAKE_CROSSCOMPILING_EMULATOR, so ctest works as usual.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(ORRERY_MINGW_TRIPLET x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${ORRERY_MINGW_TRIPLET}-gcc-posix)
set(CMAKE_CXX_COMPILER ${ORRERY_MINGW_TRIPLET}-g++-posix)
set(CMAKE_RC_COMPILER ${ORRERY_MINGW_TRIPLET}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${ORRERY_MINGW_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The C and C++ runtimes go into every program and DLL, so Wine needs no mingw DLLs.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")

find_program(ORRERY_WINE NAMES wine64 wine PATHS /usr/lib/wine NO_CMAKE_FIND_ROOT_PATH)
if(ORRERY_WINE)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${ORRERY_WINE})
endif()
