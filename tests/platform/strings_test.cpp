// SPDX-License-Identifier: MIT
#include <vexil/core.h>

#include <gtest/gtest.h>

using vexil::tokenize;

TEST(VexilTokenize, DropsEmptyPiecesWhenAsked) {
    EXPECT_EQ(tokenize("a/b\\\\c/", "/\\", false), (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(tokenize("a/b\\\\c/", "/\\", true),
              (std::vector<std::string>{"a", "b", "", "c", ""}));
    EXPECT_TRUE(tokenize("", "/", false).empty());
    EXPECT_EQ(tokenize("", "/", true), std::vector<std::string>{""});
    EXPECT_EQ(tokenize("abc", "", false), std::vector<std::string>{"abc"});
}

TEST(VexilConversions, Utf8RoundTrip) {
    const std::string text = "a\u00e9\u6587\U0001F600z";
    const std::wstring wide = vexil::toWString(text);
    EXPECT_EQ(wide.size(), sizeof(wchar_t) == 2 ? 6u : 5u);
    EXPECT_EQ(vexil::toStdString(wide), text);
}

TEST(VexilConversions, InvalidInputBecomesReplacementCharacter) {
    EXPECT_EQ(vexil::toWString(std::string("a\xff") + "b"), std::wstring(L"a\xfffd"
                                                                         L"b"));
    EXPECT_EQ(vexil::toWString(std::string("\xe6\x96")), std::wstring(L"\xfffd\xfffd"));
    EXPECT_EQ(vexil::toWString(std::string("\xc0\x80")), std::wstring(L"\xfffd\xfffd"));
    std::wstring lone;
    lone += static_cast<wchar_t>(0xD800);
    EXPECT_EQ(vexil::toStdString(lone), "\xef\xbf\xbd");
}
