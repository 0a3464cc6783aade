# SPDX-License-Identifier: MIT
# cmake -P script: installs into a scratch prefix and runs the installed `orrery demo`,
# which must find its library and its example data there.
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
foreach(installed bin/orrery share/orrery/examples/registry.ini
                  share/orrery/examples/korvane/designs/frontend.oxml
                  share/orrery/examples/korvane/products/frontend/ComponentRefs.ini)
    if(NOT EXISTS ${prefix}/${installed})
        message(FATAL_ERROR "not installed: ${installed}")
    endif()
endforeach()

execute_process(COMMAND ${prefix}/bin/orrery demo
    WORKING_DIRECTORY ${WORK_DIR}
    RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT rc EQUAL 0 OR NOT err STREQUAL "")
    message(FATAL_ERROR "orrery demo failed (${rc}): ${err}\n${out}")
endif()
if(NOT out MATCHES "example data in ${prefix}/share/orrery/examples\n" OR
   NOT out MATCHES "Every step ran\\.")
    message(FATAL_ERROR "unexpected report of the installed demo:\n${out}")
endif()
file(GLOB home_entries ${WORK_DIR}/home/*)
if(home_entries)
    message(FATAL_ERROR "the demo wrote into HOME: ${home_entries}")
endif()
