// SPDX-License-Identifier: MIT
// The installer's registry values as the environment functions read them on Windows.
// The values come from `reg add` (see CMakeLists.txt), run before this program.
#include <vexil/core.h>

#include "registry_values.h"
#include "wintestutil.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <string>

using WinTest::ScopedEnvironment;
using WinTest::wide;
namespace reg = RegistryValues;

namespace {

const wchar_t* const kKey = L"Software\\Tolmarsk\\Vexil\\Environment";

/// Writes a string value under the installer's key of @p root and removes it again.
class ScopedRegistryValue {
public:
    ScopedRegistryValue(HKEY root, std::wstring name, const std::wstring& value)
        : root_(root), name_(std::move(name)) {
        const DWORD bytes = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
        written_ = ::RegSetKeyValueW(root_, kKey, name_.c_str(), REG_SZ, value.c_str(), bytes) ==
                   ERROR_SUCCESS;
    }
    ~ScopedRegistryValue() { ::RegDeleteKeyValueW(root_, kKey, name_.c_str()); }
    ScopedRegistryValue(const ScopedRegistryValue&) = delete;
    ScopedRegistryValue& operator=(const ScopedRegistryValue&) = delete;

    bool written() const { return written_; }

private:
    HKEY root_;
    std::wstring name_;
    bool written_ = false;
};

}  // namespace

TEST(WindowsRegistry, ReadsTheValueRegAddWroteForTheUser) {
    std::string value;
    ASSERT_TRUE(vexil::getenv_from_registry_only(reg::kUserName, &value))
        << "the value is written by `wine64 reg add` before the tests (ctest fixture)";
    EXPECT_EQ(value, reg::kUserValue);
    EXPECT_TRUE(WinTest::outsideLocalCodePage(wide(value)))
        << "the value is meant to hold characters the ANSI code page cannot spell";
}

TEST(WindowsRegistry, ReadsTheMachineWideValue) {
    std::string value;
    ASSERT_TRUE(vexil::getenv_from_registry_only(reg::kMachineName, &value));
    EXPECT_EQ(value, reg::kMachineValue);
}

TEST(WindowsRegistry, MachineValueComesBeforeTheUserValue) {
    std::string value;
    ASSERT_TRUE(vexil::getenv_from_registry_only(reg::kBothName, &value));
    EXPECT_EQ(value, reg::kBothMachineValue);
    EXPECT_NE(value, reg::kBothUserValue);
}

TEST(WindowsRegistry, ExpandableValuesAreReadAsStored) {
    std::string value;
    ASSERT_TRUE(vexil::getenv_from_registry_only(reg::kExpandableName, &value));
    EXPECT_EQ(value, reg::kExpandableValue);
}

TEST(WindowsRegistry, NumbersAndMissingNamesAreNotValues) {
    std::string value = "stale";
    EXPECT_FALSE(vexil::getenv_from_registry_only(reg::kNumberName, &value));
    EXPECT_FALSE(vexil::getenv_from_registry_only("ORRERY_WINE_NOT_THERE", &value));
    EXPECT_FALSE(vexil::getenv_from_registry_only("", &value));
    EXPECT_FALSE(vexil::getenv_from_registry_only("ORRERY_WINE_NOT_THERE", nullptr));
    EXPECT_TRUE(vexil::getenv_from_registry_only(reg::kUserName, nullptr));
}

TEST(WindowsRegistry, RegistryOnlyIgnoresTheEnvironment) {
    ScopedEnvironment env(wide(reg::kUserName));
    env.set(L"from the environment");
    std::string value;
    ASSERT_TRUE(vexil::getenv_from_registry_only(reg::kUserName, &value));
    EXPECT_EQ(value, reg::kUserValue);
}

TEST(WindowsRegistry, CheckFallsBackToTheRegistryWhenTheVariableIsUnset) {
    ScopedEnvironment env(wide(reg::kUserName));
    env.unset();
    EXPECT_EQ(vexil::getenv_check_registry_stdstring(reg::kUserName), reg::kUserValue);
    EXPECT_EQ(vexil::getenv_stdstring(reg::kUserName), "");
}

TEST(WindowsRegistry, CheckFallsBackToTheRegistryWhenTheVariableIsEmpty) {
    ScopedEnvironment env(wide(reg::kMachineName));
    env.set(L"");
    std::string value = "stale";
    ASSERT_TRUE(vexil::getenv_stdstring_allow_empty(reg::kMachineName, &value))
        << "an empty variable is set";
    EXPECT_EQ(value, "");
    EXPECT_EQ(vexil::getenv_check_registry_stdstring(reg::kMachineName), reg::kMachineValue);
}

TEST(WindowsRegistry, CheckPrefersANonEmptyVariable) {
    ScopedEnvironment env(wide(reg::kUserName));
    env.set(L"Z:\\from\\the \u00e9nvironment");
    EXPECT_EQ(vexil::getenv_check_registry_stdstring(reg::kUserName),
              "Z:\\from\\the \xc3\xa9nvironment");
}

TEST(WindowsRegistry, CheckGivesEmptyWhenNeitherHasTheName) {
    ScopedEnvironment env(L"ORRERY_WINE_NOT_THERE");
    env.unset();
    EXPECT_EQ(vexil::getenv_check_registry_stdstring("ORRERY_WINE_NOT_THERE"), "");
}

TEST(WindowsRegistry, KorvaneDirInTheRegistryDoesNotMoveTheInstallationDirectory) {
    ScopedEnvironment env(L"KORVANE_DIR");
    env.unset();
    const std::string fallback = vexil::get_installation_directory();
    ASSERT_FALSE(fallback.empty());
    {
        const ScopedRegistryValue value(HKEY_CURRENT_USER, L"KORVANE_DIR",
                                        L"C:\\Suite \u4e2d\\2025");
        ASSERT_TRUE(value.written());
        std::string stored;
        ASSERT_TRUE(vexil::getenv_from_registry_only("KORVANE_DIR", &stored));
        EXPECT_EQ(stored, "C:\\Suite \xe4\xb8\xad\\2025");
        EXPECT_EQ(vexil::get_installation_directory(), fallback);
        env.set(L"D:\\from-env");
        EXPECT_EQ(vexil::get_installation_directory(), fallback);
        env.unset();
    }
}
