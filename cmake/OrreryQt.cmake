# SPDX-License-Identifier: MIT
# Finds the Qt of ORRERY_QT_MAJOR_VERSION (5 or 6; left empty, 5 when Qt 5.15 is found and 6
# otherwise) and names what differs between the two builds.
#   ORRERY_QT_CORE            the Qt Core target the library links publicly
#   ORRERY_QT_COMPAT          what the library links privately for QRegExp (Qt 6: Core5Compat)
#   ORRERY_QT_MIN_VERSION     the oldest Qt of that major version the build accepts
#   ORRERY_PACKAGE_NAME       CMake package, namespace and library name: OrreryCore / OrreryCoreQt6
#   ORRERY_PC_NAME            pkg-config module: orrerycore / orrerycore-qt6
#   ORRERY_INSTALL_INCLUDEDIR where the headers are installed: include / include/OrreryCoreQt6
#   ORRERY_TOOL_NAME          the command-line tool: orrery / orrery-qt6
# The Qt 5 build keeps the plain names; the Qt 6 build adds "Qt6" so that both can be
# installed into one prefix without either overwriting the other.
set(ORRERY_QT_MAJOR_VERSION "" CACHE STRING "Qt major version to build against (5 or 6)")
set_property(CACHE ORRERY_QT_MAJOR_VERSION PROPERTY STRINGS 5 6)
if(ORRERY_QT_MAJOR_VERSION STREQUAL "")
    find_package(Qt5 5.15 QUIET COMPONENTS Core)
    set(major 6)
    if(Qt5_FOUND)
        set(major 5)
    endif()
    set_property(CACHE ORRERY_QT_MAJOR_VERSION PROPERTY VALUE ${major})
endif()

include(GNUInstallDirs)
set(ORRERY_PACKAGE_NAME OrreryCore)
set(ORRERY_PC_NAME orrerycore)
set(ORRERY_INSTALL_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR})
set(ORRERY_TOOL_NAME orrery)
if(ORRERY_QT_MAJOR_VERSION STREQUAL "5")
    set(ORRERY_QT_MIN_VERSION 5.15)
    find_package(Qt5 ${ORRERY_QT_MIN_VERSION} REQUIRED COMPONENTS Core)
    set(ORRERY_QT_COMPAT "")
elseif(ORRERY_QT_MAJOR_VERSION STREQUAL "6")
    set(ORRERY_QT_MIN_VERSION 6.2)
    find_package(Qt6 ${ORRERY_QT_MIN_VERSION} REQUIRED COMPONENTS Core Core5Compat)
    set(ORRERY_QT_COMPAT Qt6::Core5Compat)
    string(APPEND ORRERY_PACKAGE_NAME Qt6)
    string(APPEND ORRERY_PC_NAME -qt6)
    string(APPEND ORRERY_INSTALL_INCLUDEDIR /${ORRERY_PACKAGE_NAME})
    string(APPEND ORRERY_TOOL_NAME -qt6)
else()
    message(FATAL_ERROR "ORRERY_QT_MAJOR_VERSION must be 5 or 6, not \"${ORRERY_QT_MAJOR_VERSION}\"")
endif()
set(ORRERY_QT_CORE Qt${ORRERY_QT_MAJOR_VERSION}::Core)
message(STATUS "OrreryCore: building against Qt ${ORRERY_QT_MAJOR_VERSION} (${ORRERY_PACKAGE_NAME})")
