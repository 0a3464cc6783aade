# SPDX-License-Identifier: MIT
# CPack: the installed tree as an archive. The Windows build gives a ZIP of what
# `cmake --install` lays out (OrreryCore.dll and its import library, headers, CMake
# package, pkg-config file, orrery.exe, the example data and the DLLs the tool needs).
#   cpack --config <build>/CPackConfig.cmake
set(CPACK_PACKAGE_NAME OrreryCore)
set(CPACK_PACKAGE_VENDOR "OrreryCore developers")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_VERBATIM_VARIABLES ON)
if(WIN32)
    set(CPACK_GENERATOR ZIP)
    # The DLL and the tool without their debugging information.
    set(CPACK_STRIP_FILES ON)
    set(CPACK_PACKAGE_FILE_NAME "${CPACK_PACKAGE_NAME}-${PROJECT_VERSION}-win64")
else()
    set(CPACK_GENERATOR TGZ)
endif()
include(CPack)
