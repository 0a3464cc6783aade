// SPDX-License-Identifier: MIT
// The search path and the language path of the client environment. Entries are
// separated by ";" and spelled with backslashes, as the target platform expects.

#include <vexil/clientenvironment.h>

#include <orrery/components.h>

#include <QByteArray>
#include <QString>

namespace vexil {

void ClientEnvironment::save_path_to_env() {
    putenv_stdstring("PATH", system_path);
}

void ClientEnvironment::prepend_to_system_path(const std::string& entries) {
    system_path = entries + ";" + system_path;
    save_path_to_env();
}

void ClientEnvironment::append_to_system_path(const std::string& entries) {
    system_path = system_path + ";" + entries;
    save_path_to_env();
}

void ClientEnvironment::setup_system_path() {
    const std::string dir = get_vexil_dir().native();
    // Every entry ends in ";" and the prepend adds one more, leaving an empty
    // entry before the user's path; kept deliberately.
    prepend_to_system_path(dir + "\\bin\\win32_64;" + dir + "\\lib\\win32_64;" + dir +
                           "\\tools\\python;" + dir + "\\tools\\bin_win32_64;" + dir + "\\bin;" +
                           dir + "\\arttrans;");
}

void ClientEnvironment::setup_wbmlangpath() {
    // Only the installer's registry value here: the environment's value was taken
    // at construction.
    std::string fromRegistry;
    if (getenv_from_registry_only(s_wbmlangpath_var, &fromRegistry)) {
        append_to_wbmlangpath(fromRegistry);
    }
    const std::string dir = get_vexil_dir().native();
    append_to_wbmlangpath(dir + "\\de\\bitmaps;" + dir + "\\dds\\bitmaps;" + dir +
                          "\\lapi\\bitmaps");
}

void ClientEnvironment::append_to_wbmlangpath(const std::string& entries) {
    const std::string joined = wbmlangpath.empty() ? entries : wbmlangpath + ";" + entries;
    wbmlangpath = Orrery::ExpandVars(QString::fromStdString(joined)).toLocal8Bit().toStdString();
    putenv_stdstring(s_wbmlangpath_var, wbmlangpath);
}

}  // namespace vexil
