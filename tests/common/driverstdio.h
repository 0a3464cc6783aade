// SPDX-License-Identifier: MIT
// The test drivers' standard streams carry their output byte for byte. On Windows the C
// runtime opens them in text mode, which would write every "\n" as CR LF.
#pragma once

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>

#include <cstdio>
#endif

namespace OrreryTest {

inline void useBinaryStdio() {
#ifdef _WIN32
    ::_setmode(::_fileno(stdout), _O_BINARY);
    ::_setmode(::_fileno(stderr), _O_BINARY);
#endif
}

}  // namespace OrreryTest
