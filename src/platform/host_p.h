// SPDX-License-Identifier: MIT
// Host-specific services of the platform layer, implemented once per host in
// the *_win.cpp / *_posix.cpp pairs. Internal; never installed.
#pragma once

#include <fstream>
#include <ios>
#include <streambuf>
#include <string>

namespace vexil {
namespace host {

/// The separator the host spells paths with.
char separator();
/// Maps a UTF-8 path to the spelling the operating system accepts.
std::string os_path(const std::string& path);
/// The current directory in UTF-8, as the operating system spells it; empty on failure.
std::string current_directory();
/// Compares two native path names under the host's rules (0 when equal).
int compare_names(const std::string& a, const std::string& b);
/// The installation directory that the host's packaging names explicitly, read afresh:
/// VEXIL_INSTALLATION_DIR on POSIX; never anything on Windows, where it is always derived
/// from the running executable. Empty when none is named.
std::string named_installation_directory();

}  // namespace host
}  // namespace vexil

namespace Orrery {
namespace Platform {

/**
 * The running executable's full path, converted to UTF-8. On Windows this is
 * GetModuleFileNameW with a buffer of 260 units, doubled while the name fills
 * it, with a budget of eight doublings. Empty when it cannot be determined.
 */
std::string executable_path_utf8();

/// A fresh temporary file name from the C runtime (_wtmpnam on Windows), in UTF-8; empty on
/// failure.
std::string temporary_name_utf8();

/// Opens @p buffer on the file named by UTF-8 @p name, sharing nothing exclusively.
bool open_filebuf_utf8(std::basic_filebuf<char>& buffer, const std::string& name,
                       std::ios_base::openmode mode);

}  // namespace Platform
}  // namespace Orrery
