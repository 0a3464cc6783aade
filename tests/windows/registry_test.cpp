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

/// Writes a string value under the installer's key of @p root, or under @p key, and removes
/// it again, with the key when it was made for it.
class ScopedRegistryValue {
public:
    ScopedRegistryValue(HKEY root, std::wstring name, const std::wstring& value,
                        std::wstring key = kKey)
        : root_(root), key_(std::move(key)), name_(std::move(name)) {
        HKEY handle = nullptr;
        DWORD disposition = 0;
        if (::RegCreateKeyExW(root_, key_.c_str(), 0, nullptr, 0, KEY_SET_VALUE, nullptr, &handle,
                              &disposition) != ERROR_SUCCESS) {
            return;
        }
        createdKey_ = disposition == REG_CREATED_NEW_KEY;
        const DWORD bytes = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
        written_ =
            ::RegSetValueExW(handle, name_.c_str(), 0, REG_SZ,
                             reinterpret_cast<const BYTE*>(value.c_str()), bytes) == ERROR_SUCCESS;
        ::RegCloseKey(handle);
    }
    ~ScopedRegistryValue() {
        ::RegDeleteKeyValueW(root_, key_.c_str(), name_.c_str());
        if (createdKey_) {
            ::RegDeleteKeyW(root_, key_.c_str());
        }
    }
    ScopedRegistryValue(const ScopedRegistryValue&) = delete;
    ScopedRegistryValue& operator=(const ScopedRegistryValue&) = delete;

    bool written() const { return written_; }

private:
    HKEY root_;
    std::wstring key_;
    std::wstring name_;
    bool createdKey_ = false;
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

TEST(WindowsRegistry, ValuesOutsideTheInstallersKeyAreNotRead) {
    const std::wstring name = L"ORRERY_WINE_ELSEWHERE";
    const ScopedRegistryValue parent(HKEY_CURRENT_USER, name, L"parent",
                                     L"Software\\Tolmarsk\\Vexil");
    const ScopedRegistryValue sibling(HKEY_CURRENT_USER, name, L"sibling",
                                      L"Software\\Tolmarsk\\Vexil\\Other");
    const ScopedRegistryValue nested(HKEY_CURRENT_USER, name, L"nested",
                                     std::wstring(kKey) + L"\\Nested");
    ASSERT_TRUE(parent.written() && sibling.written() && nested.written());
    std::string value;
    EXPECT_FALSE(vexil::getenv_from_registry_only(WinTest::utf8(name), &value));
    const ScopedRegistryValue inside(HKEY_CURRENT_USER, name, L"inside");
    ASSERT_TRUE(inside.written());
    ASSERT_TRUE(vexil::getenv_from_registry_only(WinTest::utf8(name), &value));
    EXPECT_EQ(value, "inside");
}

namespace {

class WindowsRegistryValues : public ::testing::TestWithParam<const char*> {};

}  // namespace

// Values come back as stored: no escapes, no quoting, no lists, no expansion of a REG_SZ, no
// trimming; an empty value is a value.
TEST_P(WindowsRegistryValues, ValueComesBackAsStored) {
    const ScopedRegistryValue stored(HKEY_CURRENT_USER, L"ORRERY_WINE_STORED", wide(GetParam()));
    ASSERT_TRUE(stored.written());
    std::string value = "stale";
    ASSERT_TRUE(vexil::getenv_from_registry_only("ORRERY_WINE_STORED", &value));
    EXPECT_EQ(value, GetParam());
}

INSTANTIATE_TEST_SUITE_P(Stored, WindowsRegistryValues,
                         ::testing::Values("a,b", "x\\y", "caf\xc3\xa9", "C:\\X", "/tmp/h,1",
                                           "\"quoted\"", "50%20off", "%SystemRoot%", "a;b # c",
                                           "a=b=c", "  \t two words \t ", "", "@Variant(x)",
                                           "\xe4\xb8\xad \xf0\x9d\x84\x9e"));
