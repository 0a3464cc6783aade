# SPDX-License-Identifier: MIT
# The DLLs a Windows program of this build needs besides OrreryCore.dll: Qt5Core.dll and
# the mingw-w64 C++ runtime it was built with. The build copies them into its bin/
# directory, where Windows looks for a program's DLLs, and the tool's installation
# carries them.
#   ORRERY_WINDOWS_RUNTIME_DLLS   their full paths
#   target orrery_windows_runtime copies them into ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}

get_target_property(orrery_qtcore_dll ${ORRERY_QT_CORE} IMPORTED_LOCATION_RELEASE)
if(NOT orrery_qtcore_dll)
    get_target_property(orrery_qtcore_dll ${ORRERY_QT_CORE} IMPORTED_LOCATION)
endif()
if(NOT orrery_qtcore_dll OR NOT EXISTS "${orrery_qtcore_dll}")
    message(FATAL_ERROR "Qt5Core.dll of the Qt for Windows was not found (${orrery_qtcore_dll})")
endif()
get_filename_component(orrery_qt_bin "${orrery_qtcore_dll}" DIRECTORY)

set(ORRERY_WINDOWS_RUNTIME_DLLS "${orrery_qtcore_dll}")
foreach(dll libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
    # The copy beside Qt5Core.dll (scripts/build-qt-mingw.sh puts a stripped one there),
    # else the compiler's own.
    if(EXISTS "${orrery_qt_bin}/${dll}")
        set(found "${orrery_qt_bin}/${dll}")
    else()
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${dll}
                        OUTPUT_VARIABLE found OUTPUT_STRIP_TRAILING_WHITESPACE)
        get_filename_component(found "${found}" ABSOLUTE)
    endif()
    if(NOT EXISTS "${found}")
        message(FATAL_ERROR "The mingw-w64 runtime ${dll} was not found")
    endif()
    list(APPEND ORRERY_WINDOWS_RUNTIME_DLLS "${found}")
endforeach()

add_custom_target(orrery_windows_runtime ALL
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}
    COMMAND ${CMAKE_COMMAND} -E copy_if_different ${ORRERY_WINDOWS_RUNTIME_DLLS}
            ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}
    COMMENT "Copying Qt and the mingw-w64 runtime beside the programs"
    VERBATIM)
