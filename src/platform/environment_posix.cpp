// SPDX-License-Identifier: MIT
// Environment access on POSIX hosts. The installer's registry is emulated by
// the INI file named by VEXIL_REGISTRY_FILE, section [Environment].

#include <vexil/core.h>

#include <QSettings>
#include <QString>

#include <cstdlib>

namespace vexil {

bool getenv_stdstring_allow_empty(const std::string& name, std::string* value) {
    const char* raw = name.empty() ? nullptr : std::getenv(name.c_str());
    if (raw == nullptr) {
        if (value) {
            value->clear();
        }
        return false;
    }
    if (value) {
        *value = raw;
    }
    return true;
}

bool putenv_stdstring(const std::string& name, const std::string& value) {
    if (name.empty() || name.find('=') != std::string::npos) {
        return false;
    }
    return ::setenv(name.c_str(), value.c_str(), 1) == 0;
}

bool getenv_from_registry_only(const std::string& name, std::string* value) {
    const char* file = std::getenv("VEXIL_REGISTRY_FILE");
    if (file == nullptr || *file == '\0' || name.empty()) {
        return false;
    }
    QSettings registry(QString::fromUtf8(file), QSettings::IniFormat);
    registry.beginGroup(QStringLiteral("Environment"));
    const QVariant stored = registry.value(QString::fromStdString(name));
    registry.endGroup();
    if (!stored.isValid()) {
        return false;
    }
    if (value) {
        *value = stored.toString().toStdString();
    }
    return true;
}

}  // namespace vexil
