// SPDX-License-Identifier: MIT
// Runs one platform service in a fresh process, so that tests can observe
// process-wide state. Usage: platform_driver MODE
// On Windows the driver reads a registry of its own, empty but for the KORVANE_DIR that
// ORRERY_DRIVER_REGISTRY_KORVANE_DIR gives it.
#include "driverstdio.h"

#include <vexil/core.h>

#include <cstdio>
#include <cstring>

#ifdef _WIN32
#include <windows.h>

#include <optional>
#include <string>

namespace {

/**
 * A registry of this process alone: HKEY_LOCAL_MACHINE and HKEY_CURRENT_USER are redirected
 * to two empty volatile keys, so that the registry values of other programs running under
 * the same user never reach the driver, nor its values them.
 */
class PrivateRegistry {
public:
    PrivateRegistry() {
        ok_ = create(HKEY_CURRENT_USER, baseName_, &base_) &&
              create(base_, L"machine", &machine_) && create(base_, L"user", &user_) &&
              ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, machine_) == ERROR_SUCCESS &&
              ::RegOverridePredefKey(HKEY_CURRENT_USER, user_) == ERROR_SUCCESS;
    }
    ~PrivateRegistry() {
        ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        ::RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
        for (HKEY key : {machine_, user_, base_}) {
            if (key != nullptr) {
                ::RegCloseKey(key);
            }
        }
        if (base_ != nullptr) {
            ::RegDeleteTreeW(HKEY_CURRENT_USER, baseName_.c_str());
        }
    }
    PrivateRegistry(const PrivateRegistry&) = delete;
    PrivateRegistry& operator=(const PrivateRegistry&) = delete;

    bool ok() const { return ok_; }

    /// Stores @p value as the installer's KORVANE_DIR of the current user.
    bool setKorvaneDir(const std::wstring& value) {
        HKEY key = nullptr;
        if (!create(user_, L"Software\\Tolmarsk\\Vexil\\Environment", &key)) {
            return false;
        }
        const DWORD bytes = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
        const bool written =
            ::RegSetValueExW(key, L"KORVANE_DIR", 0, REG_SZ,
                             reinterpret_cast<const BYTE*>(value.c_str()), bytes) == ERROR_SUCCESS;
        ::RegCloseKey(key);
        return written;
    }

private:
    // Below a volatile key every key must be volatile too.
    static bool create(HKEY parent, const std::wstring& name, HKEY* key) {
        return ::RegCreateKeyExW(parent, name.c_str(), 0, nullptr, REG_OPTION_VOLATILE,
                                 KEY_ALL_ACCESS, nullptr, key, nullptr) == ERROR_SUCCESS;
    }

    const std::wstring baseName_ =
        L"Software\\OrreryTests-platform_driver-" + std::to_wstring(::GetCurrentProcessId());
    HKEY base_ = nullptr;
    HKEY machine_ = nullptr;
    HKEY user_ = nullptr;
    bool ok_ = false;
};

/// The value of an environment variable from the process block; nothing when unset.
std::optional<std::wstring> environmentValue(const wchar_t* name) {
    const DWORD size = ::GetEnvironmentVariableW(name, nullptr, 0);
    if (size == 0) {
        return std::nullopt;
    }
    std::wstring value(size, L'\0');
    value.resize(::GetEnvironmentVariableW(name, value.data(), size));
    return value;
}

}  // namespace
#endif

int main(int argc, char** argv) {
    OrreryTest::useBinaryStdio();
    if (argc < 2) {
        return 2;
    }
#ifdef _WIN32
    PrivateRegistry registry;
    const std::optional<std::wstring> registryKorvaneDir =
        environmentValue(L"ORRERY_DRIVER_REGISTRY_KORVANE_DIR");
    if (!registry.ok() || (registryKorvaneDir && !registry.setKorvaneDir(*registryKorvaneDir))) {
        std::fprintf(stderr, "cannot set up the private registry\n");
        return 3;
    }
#endif
    const char* mode = argv[1];
    if (std::strcmp(mode, "korvane-capture") == 0) {
        vexil::CommandLine* cl = vexil::CommandLine::get_command_line();
        vexil::putenv_stdstring("KORVANE_DIR", "/changed/later");
#ifdef _WIN32
        if (registryKorvaneDir && !registry.setKorvaneDir(L"C:\\changed\\later")) {
            return 3;
        }
#endif
        cl = vexil::CommandLine::get_command_line();
        std::printf("env=[%s]\nreg=[%s]\n", cl->get_original_korvane_dir_env_value().c_str(),
                    cl->get_original_korvane_dir_reg_value().c_str());
        return 0;
    }
    if (std::strcmp(mode, "korvane-capture-late") == 0) {
        vexil::putenv_stdstring("KORVANE_DIR", "/set/before/first/call");
        vexil::CommandLine* cl = vexil::CommandLine::get_command_line();
        std::printf("env=[%s]\n", cl->get_original_korvane_dir_env_value().c_str());
        return 0;
    }
    if (std::strcmp(mode, "app-name-flag") == 0) {
        std::printf("%d", vexil::is_qt_app_name_marked_as_initialized() ? 1 : 0);
        vexil::mark_qt_app_name_as_initialized();
        std::printf("%d", vexil::is_qt_app_name_marked_as_initialized() ? 1 : 0);
        vexil::mark_qt_app_name_as_initialized();
        std::printf("%d\n", vexil::is_qt_app_name_marked_as_initialized() ? 1 : 0);
        return 0;
    }
    if (std::strcmp(mode, "product") == 0) {
        std::printf("[%s][%s]", vexil::get_product_name().c_str(),
                    vexil::get_product_version().c_str());
        vexil::initialize_product_and_ver("Brevant \xc3\xa9", "2025.1");
        std::printf("[%s][%s]\n", vexil::get_product_name().c_str(),
                    vexil::get_product_version().c_str());
        return 0;
    }
    return 2;
}
