# SPDX-License-Identifier: MIT
# Cross-compiles for Windows x86-64 with mingw-w64 (Debian: g++-mingw-w64-x86-64-posix;
# the posix flavour, whose std::thread and std::mutex work). Test programs run under
# Wine (Debian: wine64) through CMAKE_CROSSCOMPILING_EMULATOR, so ctest works as usual.
# Qt for Windows comes from CMAKE_PREFIX_PATH (scripts/build-qt-mingw.sh builds it):
#   cmake -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-mingw64.cmake -DCMAKE_PREFIX_PATH=<qt> ...
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(ORRERY_MINGW_TRIPLET x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${ORRERY_MINGW_TRIPLET}-gcc-posix)
set(CMAKE_CXX_COMPILER ${ORRERY_MINGW_TRIPLET}-g++-posix)
set(CMAKE_RC_COMPILER ${ORRERY_MINGW_TRIPLET}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${ORRERY_MINGW_TRIPLET})
# Packages, headers and libraries are searched only for Windows: in the mingw sysroot and
# in the prefixes given (the cross-built Qt), never in the host's own.
foreach(prefix IN LISTS CMAKE_PREFIX_PATH)
    list(APPEND CMAKE_FIND_ROOT_PATH ${prefix})
endforeach()
list(REMOVE_DUPLICATES CMAKE_FIND_ROOT_PATH)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The C++ runtime is the shared one Qt5Core.dll uses (libstdc++-6.dll, libgcc_s_seh-1.dll,
# libwinpthread-1.dll), so that one runtime serves Qt, the library and its clients; the
# build copies these DLLs beside its programs and installs them with the tool.

find_program(ORRERY_WINE NAMES wine64 wine PATHS /usr/lib/wine NO_CMAKE_FIND_ROOT_PATH)
if(ORRERY_WINE)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${ORRERY_WINE})
endif()
