# SPDX-License-Identifier: MIT
# Finds the Qt of ORRERY_QT_MAJOR_VERSION and names what differs between the two builds.
#   ORRERY_QT_CORE        the Qt Core target the library links publicly
#   ORRERY_QT_COMPAT      what the library links privately for QRegExp (Qt 6: Core5Compat)
#   ORRERY_PACKAGE_NAME   CMake package and namespace: OrreryCore / OrreryCoreQt6
#   ORRERY_OUTPUT_NAME    library file name: libOrreryCore.so / libOrreryCoreQt6.so
#   ORRERY_PC_NAME        pkg-config module: orrerycore / orrerycore-qt6
#   ORRERY_INSTALL_INCLUDEDIR where the headers are installed: include / include/OrreryCoreQt6
#   ORRERY_TOOL_NAME      the command-line tool: orrery / orrery-qt6
# The Qt 5 build keeps the plain names; the Qt 6 build adds "Qt6" so that both can be
# installed into one prefix without either overwriting the other.
if(ORRERY_QT_MAJOR_VERSION STREQUAL "5")
    find_package(Qt5 5.15 REQUIRED COMPONENTS Core)
    set(ORRERY_QT_CORE Qt5::Core)
    set(ORRERY_QT_COMPAT "")
    set(ORRERY_QT_MIN_VERSION 5.15)
    set(ORRERY_NAME_SUFFIX "")
    set(ORRERY_PC_NAME orrerycore)
    set(ORRERY_INCLUDE_SUBDIR "")
    set(ORRERY_TOOL_NAME orrery)
elseif(ORRERY_QT_MAJOR_VERSION STREQUAL "6")
    find_package(Qt6 6.2 REQUIRED COMPONENTS Core Core5Compat)
    set(ORRERY_QT_CORE Qt6::Core)
    set(ORRERY_QT_COMPAT Qt6::Core5Compat)
    set(ORRERY_QT_MIN_VERSION 6.2)
    set(ORRERY_NAME_SUFFIX Qt6)
    set(ORRERY_PC_NAME orrerycore-qt6)
    set(ORRERY_INCLUDE_SUBDIR OrreryCoreQt6)
    set(ORRERY_TOOL_NAME orrery-qt6)
else()
    message(FATAL_ERROR "ORRERY_QT_MAJOR_VERSION must be 5 or 6, not \"${ORRERY_QT_MAJOR_VERSION}\"")
endif()
include(GNUInstallDirs)
set(ORRERY_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR})
if(ORRERY_INCLUDE_SUBDIR)
    string(APPEND ORRERY_INSTALL_INCLUDEDIR /${ORRERY_INCLUDE_SUBDIR})
endif()
set(ORRERY_PACKAGE_NAME OrreryCore${ORRERY_NAME_SUFFIX})
set(ORRERY_OUTPUT_NAME OrreryCore${ORRERY_NAME_SUFFIX})
message(STATUS "OrreryCore: building against Qt ${ORRERY_QT_MAJOR_VERSION} (${ORRERY_PACKAGE_NAME})")
