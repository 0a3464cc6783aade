# SPDX-License-Identifier: MIT
# CPack: the installed tree as an archive. The Windows build gives a ZIP of what
# `cmake --install` lays out (OrreryCore.dll and its import library, headers, CMake
# package, pkg-config file, orrery.exe, the example data and the DLLs the tool needs).
#   cpack --config <build>/CPackConfig.cmake
# The native Qt 5 build on Linux also makes Debian packages, one per install component:
#   liborrerycore<SOVERSION>  runtime      libOrreryCore.so.<SOVERSION> and the file it names
#   liborrerycore-dev         development  headers, libOrreryCore.so, CMake package, .pc file
#   orrery-tools              tools        the orrery tool and its example data
#   cpack --config <build>/CPackConfig.cmake -G DEB
# Configured for them by scripts/make-packages.sh: prefix /usr (so that the library lands
# in the multiarch directory) and no install RPATH (the loader finds the library there).
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

# The Qt 6 build (OrreryCoreQt6) makes only the archive.
if(NOT WIN32 AND NOT CMAKE_CROSSCOMPILING AND ORRERY_QT_MAJOR_VERSION STREQUAL "5")
    set(ORRERY_DEB_MAINTAINER "OrreryCore developers <orrerycore-dev@example.org>")
    # The Debian revision: raised when the packaging changes and the sources do not.
    set(ORRERY_DEB_REVISION 1)
    set(ORRERY_DEB_VERSION ${PROJECT_VERSION}-${ORRERY_DEB_REVISION})
    set(ORRERY_DEB_SOURCE_DIR ${PROJECT_SOURCE_DIR}/packaging)
    set(ORRERY_DEB_BINARY_DIR ${PROJECT_BINARY_DIR}/packaging)

    # The archives stay one tree of everything; only the Debian packages are split, and
    # only into the three components (nothing installed without one gets a package).
    set(CPACK_DEB_COMPONENT_INSTALL ON)
    set(CPACK_COMPONENTS_ALL runtime development)
    if(TARGET orrery)
        list(APPEND CPACK_COMPONENTS_ALL tools)
    endif()
    set(CPACK_PACKAGE_CONTACT "${ORRERY_DEB_MAINTAINER}")
    set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${ORRERY_DEB_MAINTAINER}")
    set(CPACK_DEBIAN_PACKAGE_SOURCE orrerycore)
    set(CPACK_DEBIAN_PACKAGE_RELEASE ${ORRERY_DEB_REVISION})
    set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
    set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
    set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
    # Dependencies on shared libraries come from dpkg-shlibdeps; the library package gets
    # a shlibs file, through which the tool's package depends on it.
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
    set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
    set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
    # Stripping, directory permissions and the per-package synopses are set for the DEB
    # generator alone.
    set(CPACK_PROJECT_CONFIG_FILE ${ORRERY_DEB_SOURCE_DIR}/cpack-project-config.cmake)

    # Lines of at most 72 characters; lines that start with a space are shown as they are.
    string(CONCAT ORRERY_DEB_ABOUT
        "OrreryCore is the shared core library of the Orrery suite of\n"
        "electromagnetic and circuit design applications, built on Qt 5 Core.\n"
        "It offers:\n"
        "  - a tree of named properties with paths, typed values and references;\n"
        "  - data files and an XML element tree;\n"
        "  - engineering numbers with units, kept as exact digit strings;\n"
        "  - Windows-style file-name operations on UTF-8 strings;\n"
        "  - an INI-backed registry of installed components;\n"
        "  - the client environment set-up of a desktop application;\n"
        "  - start-up on Qt's core application with UTF-8 arguments.\n"
        "It has no main loop and no user interface.\n")

    set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME liborrerycore${ORRERY_SOVERSION})
    set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
    string(CONCAT CPACK_DEBIAN_RUNTIME_DESCRIPTION
        "core library of the Orrery design applications\n"
        "${ORRERY_DEB_ABOUT}\n"
        "This package contains the shared library.")
    # ldconfig runs through dpkg's trigger.
    set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${ORRERY_DEB_SOURCE_DIR}/triggers)

    set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME liborrerycore-dev)
    set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
    # The headers and the link belong to exactly this build of the library; the CMake
    # package and the .pc file ask for Qt 5 Core's own.
    set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
    set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
    set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS qtbase5-dev)
    string(CONCAT CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
        "core library of the Orrery design applications - development files\n"
        "${ORRERY_DEB_ABOUT}\n"
        "This package contains what building against the library needs: the\n"
        "headers, the libOrreryCore.so link, the CMake package OrreryCore\n"
        "(imported target OrreryCore::OrreryCore) and the pkg-config module\n"
        "orrerycore.")

    set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME orrery-tools)
    set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
    string(CONCAT CPACK_DEBIAN_TOOLS_DESCRIPTION
        "command-line tool of the OrreryCore library\n"
        "The orrery tool makes the functions of OrreryCore, the core library of\n"
        "the Orrery design applications, usable from a shell: numbers with units\n"
        "scaled and converted, Windows-style file-name operations,\n"
        "environment-variable references expanded, the components a product\n"
        "refers to looked up and changed, XML documents checked and reformatted,\n"
        "the property tree of a design file shown, and the client set-up of an\n"
        "application run in-process.\n"
        "\n"
        "The command \"orrery demo\" runs a typical client session on the example\n"
        "data in /usr/share/orrery/examples.")

    # dpkg-shlibdeps takes the dependency on a library from the DEBIAN/shlibs of the package
    # tree that holds it, and CPack leaves no such tree of the library package for the other
    # packages of the run. So the tool's package finds libOrreryCore (a link to the build's)
    # in a tree of its own whose DEBIAN/shlibs says what the library package's shlibs says.
    set(shlibs_root ${ORRERY_DEB_BINARY_DIR}/shlibdeps)
    set(soname lib${ORRERY_PACKAGE_NAME}.so.${ORRERY_SOVERSION})
    file(WRITE ${shlibs_root}/DEBIAN/shlibs "lib${ORRERY_PACKAGE_NAME} ${ORRERY_SOVERSION} \
${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} (${CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY} ${ORRERY_DEB_VERSION})\n")
    get_target_property(lib_dir OrreryCore LIBRARY_OUTPUT_DIRECTORY)
    if(NOT lib_dir)
        get_target_property(lib_dir OrreryCore BINARY_DIR)
    endif()
    file(MAKE_DIRECTORY ${shlibs_root}/lib)
    file(CREATE_LINK ${lib_dir}/${soname} ${shlibs_root}/lib/${soname} SYMBOLIC)
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${shlibs_root}/lib)

    # Each package's /usr/share/doc/<package>: the copyright, the upstream change log and
    # the Debian one, both compressed as Debian wants them. They are installed only into
    # the packages (EXCLUDE_FROM_ALL: a plain `cmake --install` leaves them out).
    # The date of the Debian change log entry: now, or SOURCE_DATE_EPOCH when that is set.
    string(TIMESTAMP ORRERY_DEB_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
    configure_file(${ORRERY_DEB_SOURCE_DIR}/changelog.Debian.in
        ${ORRERY_DEB_BINARY_DIR}/changelog.Debian @ONLY)
    set(ORRERY_DEB_DOCS ${ORRERY_DEB_SOURCE_DIR}/copyright
        ${ORRERY_DEB_BINARY_DIR}/changelog.Debian.gz)
    execute_process(COMMAND gzip -9nc ${ORRERY_DEB_BINARY_DIR}/changelog.Debian
        OUTPUT_FILE ${ORRERY_DEB_BINARY_DIR}/changelog.Debian.gz COMMAND_ERROR_IS_FATAL ANY)
    if(EXISTS ${PROJECT_SOURCE_DIR}/CHANGELOG.md)
        # Copied first so that a changed CHANGELOG.md configures the build again.
        configure_file(${PROJECT_SOURCE_DIR}/CHANGELOG.md ${ORRERY_DEB_BINARY_DIR}/changelog
            COPYONLY)
        execute_process(COMMAND gzip -9nc ${ORRERY_DEB_BINARY_DIR}/changelog
            OUTPUT_FILE ${ORRERY_DEB_BINARY_DIR}/changelog.gz COMMAND_ERROR_IS_FATAL ANY)
        list(APPEND ORRERY_DEB_DOCS ${ORRERY_DEB_BINARY_DIR}/changelog.gz)
    endif()
    # The tool's manual page, which the archives do not carry either.
    if(TARGET orrery)
        configure_file(${ORRERY_DEB_SOURCE_DIR}/orrery.1 ${ORRERY_DEB_BINARY_DIR}/orrery.1 COPYONLY)
        execute_process(COMMAND gzip -9nc ${ORRERY_DEB_BINARY_DIR}/orrery.1
            OUTPUT_FILE ${ORRERY_DEB_BINARY_DIR}/orrery.1.gz COMMAND_ERROR_IS_FATAL ANY)
        install(FILES ${ORRERY_DEB_BINARY_DIR}/orrery.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
            COMPONENT tools EXCLUDE_FROM_ALL)
    endif()
    foreach(component IN LISTS CPACK_COMPONENTS_ALL)
        string(TOUPPER ${component} upper)
        install(FILES ${ORRERY_DEB_DOCS}
            DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME}
            COMPONENT ${component} EXCLUDE_FROM_ALL)
    endforeach()
endif()
include(CPack)
