# SPDX-License-Identifier: MIT
# Compiler settings for OrreryCore's own targets. Nothing here touches global
# flags, so a project that embeds OrreryCore keeps its own.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)

# Warnings and sanitizers travel through this interface target, which is
# linked privately and never exported.
add_library(orrery_build_settings INTERFACE)
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    target_compile_options(orrery_build_settings INTERFACE -Wall -Wextra -Wpedantic)
    if(ORRERY_WARNINGS_AS_ERRORS)
        target_compile_options(orrery_build_settings INTERFACE -Werror)
    endif()
    if(ORRERY_SANITIZE)
        target_compile_options(orrery_build_settings INTERFACE
            -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
        target_link_options(orrery_build_settings INTERFACE -fsanitize=address,undefined)
    endif()
elseif(MSVC)
    target_compile_options(orrery_build_settings INTERFACE /W4 /utf-8)
    if(ORRERY_WARNINGS_AS_ERRORS)
        target_compile_options(orrery_build_settings INTERFACE /WX)
    endif()
endif()
# Every text conversion in our own sources is spelled out.
target_compile_definitions(orrery_build_settings INTERFACE
    QT_NO_CAST_FROM_ASCII QT_USE_QSTRINGBUILDER)
