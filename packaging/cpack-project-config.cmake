# SPDX-License-Identifier: MIT
# Read by cpack for each generator (CPACK_PROJECT_CONFIG_FILE): settings of the Debian
# packages that the archives must not get.
if(CPACK_GENERATOR STREQUAL "DEB")
    # Debian ships binaries without their debugging information.
    set(CPACK_STRIP_FILES ON)
    # Folders 0755 whatever the umask of the build.
    set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
        OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
    # Each package has its own synopsis, the first line of its description; CPack would
    # put the project's summary in front of it.
    unset(CPACK_PACKAGE_DESCRIPTION_SUMMARY)
endif()
