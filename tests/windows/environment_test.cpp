// SPDX-License-Identifier: MIT
// Environment variables through the wide-character calls, in UTF-8 at the interface.
#include <vexil/core.h>

#include "wintestutil.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

using WinTest::environmentValue;
using WinTest::ScopedEnvironment;

namespace {

const char* const kName = "ORRERY_WINE_ENV_T\xc3\x8bST";  // "ORRERY_WINE_ENV_TËST"
const wchar_t* const kWideName = L"ORRERY_WINE_ENV_T\u00cbST";

}  // namespace

TEST(WindowsEnvironment, ValuesOutsideTheCodePageRoundTrip) {
    ScopedEnvironment env(kWideName);
    const std::string value = "\xe4\xb8\xad\xe6\x96\x87 \xf0\x9d\x84\x9e \xce\xa9";  // "中文 𝄞 Ω"
    ASSERT_TRUE(vexil::putenv_stdstring(kName, value));
    EXPECT_EQ(vexil::getenv_stdstring(kName), value);
    // Both the process block and the C runtime's copy hold it.
    EXPECT_EQ(environmentValue(kWideName), std::wstring(L"\u4e2d\u6587 \U0001D11E \u03a9"));
    const wchar_t* crt = ::_wgetenv(kWideName);
    ASSERT_NE(crt, nullptr);
    EXPECT_EQ(std::wstring(crt), L"\u4e2d\u6587 \U0001D11E \u03a9");
}

TEST(WindowsEnvironment, ReadsWhatTheProcessBlockHolds) {
    ScopedEnvironment env(kWideName);
    env.set(L"C:\\Programme\\K\u00f6r");
    std::string value;
    ASSERT_TRUE(vexil::getenv_stdstring_allow_empty(kName, &value));
    EXPECT_EQ(value, "C:\\Programme\\K\xc3\xb6r");
}

TEST(WindowsEnvironment, EmptyIsToldFromUnset) {
    ScopedEnvironment env(kWideName);
    ASSERT_TRUE(vexil::putenv_stdstring(kName, ""));
    std::string value = "stale";
    EXPECT_TRUE(vexil::getenv_stdstring_allow_empty(kName, &value));
    EXPECT_EQ(value, "");
    EXPECT_EQ(environmentValue(kWideName), std::wstring());

    env.unset();
    value = "stale";
    EXPECT_FALSE(vexil::getenv_stdstring_allow_empty(kName, &value));
    EXPECT_EQ(value, "");
    EXPECT_EQ(vexil::getenv_stdstring(kName), "");
}

TEST(WindowsEnvironment, LongValuesAreReadWhole) {
    ScopedEnvironment env(kWideName);
    const std::string value(20000, 'v');
    ASSERT_TRUE(vexil::putenv_stdstring(kName, value));
    EXPECT_EQ(vexil::getenv_stdstring(kName), value);
}

TEST(WindowsEnvironment, BadNamesAreRefused) {
    EXPECT_FALSE(vexil::putenv_stdstring("", "x"));
    EXPECT_FALSE(vexil::putenv_stdstring("A=B", "x"));
    EXPECT_FALSE(vexil::getenv_stdstring_allow_empty("", nullptr));
}

TEST(WindowsEnvironment, NamesAreCaseInsensitive) {
    ScopedEnvironment env(kWideName);
    ASSERT_TRUE(vexil::putenv_stdstring(kName, "value"));
    EXPECT_EQ(vexil::getenv_stdstring("orrery_wine_env_t\xc3\xabst"), "value");
}
