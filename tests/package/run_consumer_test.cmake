# SPDX-License-Identifier: MIT
# cmake -P script: install, configure and build the consumer, run it. For a Windows build
# (CROSS_TOOLCHAIN_FILE given) the consumer is cross-built with the same toolchain against
# the installed folder and Qt (CROSS_PREFIX_PATH), and run through CROSS_EMULATOR (Wine)
# with the installed bin folder as the only place for its DLLs.
#   PACKAGE_NAME  the CMake package (OrreryCore, OrreryCoreQt6)
#   PC_NAME       the pkg-config module (orrerycore, orrerycore-qt6)
#   INCLUDE_DIR   where the headers are installed, relative to the prefix
#   QT_MAJOR      the Qt major version the consumer must report
#   PREFIX        optional: an installed prefix to build against; nothing is installed then
#   SYSTEM        with PREFIX: the prefix is the system's own (/usr, from the Debian packages);
#                 CMake, pkg-config and the loader must find the package without being
#                 pointed at it
file(REMOVE_RECURSE ${WORK_DIR})
if(PREFIX)
    set(prefix ${PREFIX})
else()
    set(prefix ${WORK_DIR}/prefix)
endif()

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "command failed (${rc}): ${ARGN}\n${out}\n${err}")
    endif()
    set(last_output "${out}" PARENT_SCOPE)
endfunction()

if(NOT PREFIX)
    run(${CMAKE_COMMAND} --install ${ORRERY_BUILD_DIR} --prefix ${prefix})
endif()
set(installed_files "")
if(CROSS_TOOLCHAIN_FILE)
    # What a Windows client needs: the DLL and its import library, the tool, and the DLLs
    # the tool needs to start.
    set(installed_files bin/OrreryCore.dll lib/libOrreryCore.dll.a bin/orrery.exe
        bin/Qt5Core.dll bin/libstdc++-6.dll bin/libgcc_s_seh-1.dll bin/libwinpthread-1.dll
        lib/cmake/${PACKAGE_NAME}/${PACKAGE_NAME}Config.cmake lib/pkgconfig/${PC_NAME}.pc
        share/orrery/examples/registry.ini)
endif()
foreach(file ${installed_files})
    if(NOT EXISTS ${prefix}/${file})
        message(FATAL_ERROR "not installed: ${file}")
    endif()
endforeach()
foreach(header orrery/orrery.h orrery/orrery_export.h orrery/version.h vexil/core.h
               vexil/clientenvironment.h qel/kvariant.h)
    if(NOT EXISTS ${prefix}/${INCLUDE_DIR}/${header})
        message(FATAL_ERROR "not installed: ${INCLUDE_DIR}/${header}")
    endif()
endforeach()

if(CROSS_TOOLCHAIN_FILE)
    # Called directly: run() would split the list of prefixes into two arguments.
    execute_process(COMMAND ${CMAKE_COMMAND} -S ${CONSUMER_SOURCE_DIR} -B ${WORK_DIR}/build
                            -DCMAKE_TOOLCHAIN_FILE=${CROSS_TOOLCHAIN_FILE}
                            "-DCMAKE_PREFIX_PATH=${prefix};${CROSS_PREFIX_PATH}"
                            -DORRERY_PACKAGE=${PACKAGE_NAME}
                    RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "configuring the consumer failed (${rc}):\n${out}\n${err}")
    endif()
    run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
    # The program finds OrreryCore.dll, Qt and the runtime in the installed bin folder.
    file(TO_NATIVE_PATH "${prefix}/bin" bin)
    set(ENV{WINEPATH} "Z:${bin}")
    run(${CROSS_EMULATOR} ${WORK_DIR}/build/consumer.exe)
else()
    set(prefix_path ${prefix})
    if(SYSTEM)
        set(prefix_path "")
    endif()
    run(${CMAKE_COMMAND} -S ${CONSUMER_SOURCE_DIR} -B ${WORK_DIR}/build
        -DCMAKE_PREFIX_PATH=${prefix_path} -DCMAKE_CXX_COMPILER=${CXX_COMPILER}
        -DORRERY_PACKAGE=${PACKAGE_NAME}
        "-DCMAKE_CXX_FLAGS=${CONSUMER_CXX_FLAGS}")
    if(SYSTEM)
        # Found in the system prefix, not in another installation.
        file(STRINGS ${WORK_DIR}/build/CMakeCache.txt package_dir
             REGEX "^${PACKAGE_NAME}_DIR:")
        string(REGEX REPLACE "^[^=]*=" "" package_dir "${package_dir}")
        if(NOT package_dir MATCHES "^${prefix}/")
            message(FATAL_ERROR "find_package found ${PACKAGE_NAME} in ${package_dir}")
        endif()
    endif()
    run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
    run(${WORK_DIR}/build/consumer)
endif()
set(expected_output "OrreryCore 0\\.[0-9]+\\.[0-9]+ ok \\(Qt ${QT_MAJOR}\\.[0-9]+\\.[0-9]+\\)")
if(NOT last_output MATCHES "${expected_output}")
    message(FATAL_ERROR "unexpected consumer output: ${last_output}")
endif()

# pkg-config must describe the same installation.
find_program(PKG_CONFIG pkg-config)
if(SYSTEM AND NOT PKG_CONFIG)
    message(FATAL_ERROR "pkg-config not found")
endif()
if(PKG_CONFIG AND CROSS_TOOLCHAIN_FILE)
    # The cross-built Qt's own .pc files answer "Requires: Qt5Core".
    file(GLOB_RECURSE pcfile ${prefix}/*/${PC_NAME}.pc)
    get_filename_component(pcdir "${pcfile}" DIRECTORY)
    set(qt_pc "")
    foreach(qt_prefix ${CROSS_PREFIX_PATH})
        string(APPEND qt_pc ":${qt_prefix}/lib/pkgconfig")
    endforeach()
    set(ENV{PKG_CONFIG_PATH} "${pcdir}${qt_pc}")
    set(ENV{PKG_CONFIG_LIBDIR} "${pcdir}${qt_pc}")
    run(${PKG_CONFIG} --cflags --libs ${PC_NAME})
    string(STRIP "${last_output}" flags)
    separate_arguments(flags UNIX_COMMAND "${flags}")
    run(${CXX_COMPILER} -std=c++17 ${CONSUMER_SOURCE_DIR}/main.cpp ${flags}
        -o ${WORK_DIR}/consumer-pc.exe)
    run(${CROSS_EMULATOR} ${WORK_DIR}/consumer-pc.exe)
    if(NOT last_output MATCHES "${expected_output}")
        message(FATAL_ERROR "unexpected output of the pkg-config consumer: ${last_output}")
    endif()
elseif(PKG_CONFIG)
    if(SYSTEM)
        run(${PKG_CONFIG} --variable=pcfiledir ${PC_NAME})
        string(STRIP "${last_output}" pcdir)
        if(NOT pcdir MATCHES "^${prefix}/")
            message(FATAL_ERROR "pkg-config found ${PC_NAME} in ${pcdir}")
        endif()
    else()
        file(GLOB_RECURSE pcfile ${prefix}/*/${PC_NAME}.pc)
        get_filename_component(pcdir "${pcfile}" DIRECTORY)
        set(ENV{PKG_CONFIG_PATH} "${pcdir}")
    endif()
    run(${PKG_CONFIG} --cflags --libs ${PC_NAME})
    string(STRIP "${last_output}" flags)
    separate_arguments(flags UNIX_COMMAND "${flags}")
    separate_arguments(extra UNIX_COMMAND "${CONSUMER_CXX_FLAGS}")
    run(${CXX_COMPILER} -std=c++17 -fPIC ${extra} ${CONSUMER_SOURCE_DIR}/main.cpp ${flags}
        -o ${WORK_DIR}/consumer-pc)
    # pkg-config gives no run path: the loader is pointed at the installed library, unless
    # that is in the system's own library directory.
    if(NOT SYSTEM)
        get_filename_component(libdir "${pcdir}" DIRECTORY)
        set(ENV{LD_LIBRARY_PATH} "${libdir}")
    endif()
    run(${WORK_DIR}/consumer-pc)
    unset(ENV{LD_LIBRARY_PATH})
    if(NOT last_output MATCHES "${expected_output}")
        message(FATAL_ERROR "unexpected output of the pkg-config consumer: ${last_output}")
    endif()
endif()
