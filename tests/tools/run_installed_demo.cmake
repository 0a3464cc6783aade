# SPDX-License-Identifier: MIT
# cmake -P script: installs into a scratch prefix and runs the installed `orrery demo`,
# which must find its library and its example data there, and compares its report with
# demo_report.txt once the paths of the run are replaced by placeholders and every
# backslash by a slash: the same file serves both hosts.
#   ORRERY_BUILD_DIR, WORK_DIR, SOURCE_DIR (tests/tools), VERSION (the project's)
#   TOOL_NAME  the installed tool's name (orrery, orrery-qt6), also its folder in share/
#   WINE   for a Windows build: the emulator, run in a Wine prefix of the test's own whose
#          registry holds the values of examples/registry.ini
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)
file(MAKE_DIRECTORY ${WORK_DIR}/home ${WORK_DIR}/config)
set(ENV{HOME} ${WORK_DIR}/home)
set(ENV{XDG_CONFIG_HOME} ${WORK_DIR}/config)
unset(ENV{KORVANE_DIR})
unset(ENV{VEXIL_INSTALLATION_DIR})
unset(ENV{VEXIL_REGISTRY_FILE})

execute_process(COMMAND ${CMAKE_COMMAND} --install ${ORRERY_BUILD_DIR} --prefix ${prefix}
    RESULT_VARIABLE rc OUTPUT_QUIET ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "cmake --install failed (${rc}): ${err}")
endif()
if(WINE)
    set(tool bin/${TOOL_NAME}.exe)
else()
    set(tool bin/${TOOL_NAME})
endif()
set(installed_examples ${prefix}/share/${TOOL_NAME}/examples)
foreach(installed ${tool} share/${TOOL_NAME}/examples/registry.ini
                  share/${TOOL_NAME}/examples/korvane/designs/frontend.oxml
                  share/${TOOL_NAME}/examples/korvane/products/frontend/ComponentRefs.ini)
    if(NOT EXISTS ${prefix}/${installed})
        message(FATAL_ERROR "not installed: ${installed}")
    endif()
endforeach()

if(WINE)
    # The registry is Windows' own: the example values go under the user's Environment key
    # of a Wine prefix that only this test uses.
    set(ENV{WINEPREFIX} ${WORK_DIR}/wineprefix)
    set(ENV{WINEDEBUG} -all)
    set(ENV{WINEDLLOVERRIDES} "mscoree,mshtml=,winemenubuilder.exe=d")
    set(ENV{LC_ALL} C.UTF-8)
    # Wine writes desktop folders into HOME whenever it starts; it gets a HOME of its own
    # (the tests of tools_tests check that the demo leaves the HOME it was given alone).
    set(ENV{HOME} ${WORK_DIR}/wine-home)
    execute_process(COMMAND ${WINE} wineboot --init RESULT_VARIABLE rc OUTPUT_QUIET ERROR_QUIET)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "wineboot failed (${rc})")
    endif()
    file(STRINGS ${installed_examples}/registry.ini registry)
    set(section "")
    foreach(line IN LISTS registry)
        if(line MATCHES "^\\[(.*)\\]$")
            set(section "${CMAKE_MATCH_1}")
        elseif(section STREQUAL "Environment" AND line MATCHES "^([^=]+)=(.*)$")
            execute_process(COMMAND ${WINE} reg add
                    "HKCU\\Software\\Tolmarsk\\Vexil\\Environment" /v "${CMAKE_MATCH_1}"
                    /t REG_SZ /d "${CMAKE_MATCH_2}" /f
                RESULT_VARIABLE rc OUTPUT_QUIET ERROR_VARIABLE err)
            if(NOT rc EQUAL 0)
                message(FATAL_ERROR "reg add ${CMAKE_MATCH_1} failed (${rc}): ${err}")
            endif()
        endif()
    endforeach()
    get_filename_component(wine_dir ${WINE} DIRECTORY)
    execute_process(COMMAND ${wine_dir}/wineserver -w)
    set(command ${WINE} ${prefix}/${tool} demo)
else()
    set(command ${prefix}/${tool} demo)
endif()

execute_process(COMMAND ${command}
    WORKING_DIRECTORY ${WORK_DIR}
    RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
string(REPLACE "\r\n" "\n" out "${out}")
if(WINE)
    execute_process(COMMAND ${wine_dir}/wineserver -w)
endif()
if(NOT rc EQUAL 0 OR NOT err STREQUAL "")
    message(FATAL_ERROR "orrery demo failed (${rc}): ${err}\n${out}")
endif()
if(NOT out MATCHES "^Orrery demo: a typical client run on the example data in ([^\n]+)\n")
    message(FATAL_ERROR "unexpected report of the installed demo:\n${out}")
endif()
set(examples "${CMAKE_MATCH_1}")
if(WINE)
    # Windows takes the installation directory from where the program lies: the installed
    # tool runs the client from a copy of itself in a temporary copy of the examples,
    # removed at the end.
    if(NOT examples MATCHES "^[Cc]:(/.+)/examples$")
        message(FATAL_ERROR "the demo ran from ${examples}, not from a temporary copy of the "
                            "examples:\n${out}")
    endif()
    if(EXISTS "$ENV{WINEPREFIX}/drive_c${CMAKE_MATCH_1}")
        message(FATAL_ERROR "the temporary copy ${examples} is still there")
    endif()
elseif(NOT examples STREQUAL "${installed_examples}")
    message(FATAL_ERROR "the installed demo used the examples in ${examples}:\n${out}")
endif()
if(NOT out MATCHES "\n   HOME=([^\n]+)   \\(a temporary folder, removed at the end\\)\n")
    message(FATAL_ERROR "the report names no temporary home folder:\n${out}")
endif()
set(home "${CMAKE_MATCH_1}")
file(GLOB home_entries LIST_DIRECTORIES true ${WORK_DIR}/home/* ${WORK_DIR}/home/.*)
if(home_entries)
    message(FATAL_ERROR "the demo wrote into HOME: ${home_entries}")
endif()

# Path spelling: '/' for every separator, placeholders for the folders of this run, and the
# number of PATH entries, which depends on the caller's PATH, and the version.
set(report "${out}")
string(REPLACE "\\" "/" report "${report}")
string(REPLACE "\\" "/" examples "${examples}")
string(REPLACE "\\" "/" home "${home}")
string(REPLACE "${home}" "{HOME}" report "${report}")
string(REPLACE "${examples}" "{EXAMPLES}" report "${report}")
string(REGEX REPLACE "(arguments recorded as UTF-8: |arguments left: )[^\n]* demo\n"
                     "\\1{TOOL} demo\n" report "${report}")
string(REGEX REPLACE "\\([0-9]+ entries; " "({N} entries; " report "${report}")
string(REPLACE "product: Orrery ${VERSION}\n" "product: Orrery {VERSION}\n" report "${report}")
file(READ ${SOURCE_DIR}/demo_report.txt expected)
if(NOT report STREQUAL expected)
    file(WRITE ${WORK_DIR}/demo_report.txt "${report}")
    message(FATAL_ERROR "the report differs from ${SOURCE_DIR}/demo_report.txt; "
                        "normalised, it is ${WORK_DIR}/demo_report.txt:\n${report}")
endif()
file(REMOVE_RECURSE ${WORK_DIR})
