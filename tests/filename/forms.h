// SPDX-License-Identifier: MIT
// Runs one expectation through every overload form of a file-name operation: the
// bool forms with a string and a C string, the by-value forms, the output given as
// the input itself, and a null C string where the input is empty.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>

namespace FilenameTest {

/// `bool op(in, out)`, `bool op(const char*, out)`, `std::string op(in)`, `std::string op(const
/// char*)`.
struct UnaryForms {
    std::function<bool(const std::string&, std::string*)> boolString;
    std::function<bool(const char*, std::string*)> boolCString;
    std::function<std::string(const std::string&)> valueString;
    std::function<std::string(const char*)> valueCString;
};

#define FILENAME_UNARY_FORMS(op)                                                               \
    ::FilenameTest::UnaryForms {                                                               \
        [](const std::string& in, std::string* out) { return Orrery::Filename::op(in, out); }, \
            [](const char* in, std::string* out) { return Orrery::Filename::op(in, out); },    \
            [](const std::string& in) { return Orrery::Filename::op(in); },                    \
            [](const char* in) { return Orrery::Filename::op(in); }                            \
    }

/// The four forms of a two-input operation.
struct BinaryForms {
    std::function<bool(const std::string&, const std::string&, std::string*)> boolString;
    std::function<bool(const char*, const char*, std::string*)> boolCString;
    std::function<std::string(const std::string&, const std::string&)> valueString;
    std::function<std::string(const char*, const char*)> valueCString;
};

#define FILENAME_BINARY_FORMS(op)                                                                  \
    ::FilenameTest::BinaryForms {                                                                  \
        [](const std::string& a, const std::string& b, std::string* out) {                         \
            return Orrery::Filename::op(a, b, out);                                                \
        },                                                                                         \
            [](const char* a, const char* b, std::string* out) {                                   \
                return Orrery::Filename::op(a, b, out);                                            \
            },                                                                                     \
            [](const std::string& a, const std::string& b) { return Orrery::Filename::op(a, b); }, \
            [](const char* a, const char* b) { return Orrery::Filename::op(a, b); }                \
    }

/// A row of a one-input table.
struct UnaryRow {
    std::string in;
    std::string expected;
    bool ok = true;
};

inline std::ostream& operator<<(std::ostream& os, const UnaryRow& row) {
    return os << '"' << row.in << "\" -> \"" << row.expected << "\" " << row.ok;
}

/// A row of a two-input table.
struct BinaryRow {
    std::string a;
    std::string b;
    std::string expected;
    bool ok = true;
};

inline std::ostream& operator<<(std::ostream& os, const BinaryRow& row) {
    return os << '"' << row.a << "\", \"" << row.b << "\" -> \"" << row.expected << "\" " << row.ok;
}

inline void expectAllForms(const UnaryForms& forms, const UnaryRow& row) {
    std::string out = "stale";
    EXPECT_EQ(forms.boolString(row.in, &out), row.ok) << "bool form, string";
    EXPECT_EQ(out, row.expected) << "bool form, string";
    out = "stale";
    EXPECT_EQ(forms.boolCString(row.in.c_str(), &out), row.ok) << "bool form, C string";
    EXPECT_EQ(out, row.expected) << "bool form, C string";
    EXPECT_EQ(forms.valueString(row.in), row.expected) << "by value, string";
    EXPECT_EQ(forms.valueCString(row.in.c_str()), row.expected) << "by value, C string";
    std::string same = row.in;
    EXPECT_EQ(forms.boolString(same, &same), row.ok) << "output is the input";
    EXPECT_EQ(same, row.expected) << "output is the input";
    std::string fromCString = row.in;
    EXPECT_EQ(forms.boolCString(fromCString.c_str(), &fromCString), row.ok)
        << "C string pointing into the output";
    EXPECT_EQ(fromCString, row.expected) << "C string pointing into the output";
    if (row.in.empty()) {
        out = "stale";
        EXPECT_EQ(forms.boolCString(nullptr, &out), row.ok) << "null C string";
        EXPECT_EQ(out, row.expected) << "null C string";
        EXPECT_EQ(forms.valueCString(nullptr), row.expected) << "null C string, by value";
    }
}

inline void expectAllForms(const BinaryForms& forms, const BinaryRow& row) {
    std::string out = "stale";
    EXPECT_EQ(forms.boolString(row.a, row.b, &out), row.ok) << "bool form, strings";
    EXPECT_EQ(out, row.expected) << "bool form, strings";
    out = "stale";
    EXPECT_EQ(forms.boolCString(row.a.c_str(), row.b.c_str(), &out), row.ok)
        << "bool form, C strings";
    EXPECT_EQ(out, row.expected) << "bool form, C strings";
    EXPECT_EQ(forms.valueString(row.a, row.b), row.expected) << "by value, strings";
    EXPECT_EQ(forms.valueCString(row.a.c_str(), row.b.c_str()), row.expected)
        << "by value, C strings";
    std::string first = row.a;
    EXPECT_EQ(forms.boolString(first, row.b, &first), row.ok) << "output is the first input";
    EXPECT_EQ(first, row.expected) << "output is the first input";
    std::string second = row.b;
    EXPECT_EQ(forms.boolString(row.a, second, &second), row.ok) << "output is the second input";
    EXPECT_EQ(second, row.expected) << "output is the second input";
    if (row.a.empty() || row.b.empty()) {
        const char* a = row.a.empty() ? nullptr : row.a.c_str();
        const char* b = row.b.empty() ? nullptr : row.b.c_str();
        out = "stale";
        EXPECT_EQ(forms.boolCString(a, b, &out), row.ok) << "null C string";
        EXPECT_EQ(out, row.expected) << "null C string";
        EXPECT_EQ(forms.valueCString(a, b), row.expected) << "null C string, by value";
    }
}

}  // namespace FilenameTest
