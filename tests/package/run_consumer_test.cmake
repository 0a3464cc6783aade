# SPDX-License-Identifier: MIT
# cmake -P script: install, configure and build the consumer, run it.
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "command failed (${rc}): ${ARGN}\n${out}\n${err}")
    endif()
    set(last_output "${out}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${ORRERY_BUILD_DIR} --prefix ${prefix})
foreach(header orrery/orrery.h orrery/orrery_export.h orrery/version.h vexil/core.h
               vexil/clientenvironment.h qel/kvariant.h)
    if(NOT EXISTS ${prefix}/include/${header})
        message(FATAL_ERROR "not installed: include/${header}")
    endif()
endforeach()

run(${CMAKE_COMMAND} -S ${CONSUMER_SOURCE_DIR} -B ${WORK_DIR}/build
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${CXX_COMPILER}
    "-DCMAKE_CXX_FLAGS=${CONSUMER_CXX_FLAGS}")
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
run(${WORK_DIR}/build/consumer)
if(NOT last_output MATCHES "OrreryCore 0\\.[0-9]+\\.[0-9]+ ok")
    message(FATAL_ERROR "unexpected consumer output: ${last_output}")
endif()

# pkg-config must describe the same installation.
find_program(PKG_CONFIG pkg-config)
if(PKG_CONFIG)
    file(GLOB_RECURSE pcfile ${prefix}/*/orrerycore.pc)
    get_filename_component(pcdir "${pcfile}" DIRECTORY)
    set(ENV{PKG_CONFIG_PATH} "${pcdir}")
    run(${PKG_CONFIG} --cflags --libs orrerycore)
    string(STRIP "${last_output}" flags)
    separate_arguments(flags UNIX_COMMAND "${flags}")
    separate_arguments(extra UNIX_COMMAND "${CONSUMER_CXX_FLAGS}")
    run(${CXX_COMPILER} -std=c++17 -fPIC ${extra} ${CONSUMER_SOURCE_DIR}/main.cpp ${flags}
        -o ${WORK_DIR}/consumer-pc)
endif()
