// SPDX-License-Identifier: MIT
// Prints Qt texts readably in GoogleTest failure messages. Long texts are shown by their
// length and their ends, so that a failure with a megabyte of text stays readable.
#pragma once

#include <QByteArray>
#include <QString>

#include <ostream>
#include <string>

inline void PrintTo(const QString& text, std::ostream* out) {
    if (text.size() <= 200) {
        *out << '"' << text.toStdString() << '"';
    } else {
        *out << text.size() << " characters \"" << text.left(60).toStdString() << "...\""
             << text.right(60).toStdString() << '"';
    }
}

inline void PrintTo(const QByteArray& bytes, std::ostream* out) {
    if (bytes.size() <= 200) {
        *out << '"' << bytes.toStdString() << '"';
    } else {
        *out << bytes.size() << " bytes \"" << bytes.left(60).toStdString() << "...\""
             << bytes.right(60).toStdString() << '"';
    }
}

namespace OrreryTest {

/// Prints @p text quoted, with bytes outside printable ASCII as \xNN, so that a test row
/// holding control characters prints on one line and names its ctest test readably.
inline void printEscaped(const char* text, std::ostream* out) {
    static const char kHex[] = "0123456789ABCDEF";
    *out << '"';
    for (const char* c = text; *c != '\0'; ++c) {
        const auto byte = static_cast<unsigned char>(*c);
        if (byte < 0x20 || byte >= 0x7F || byte == '"' || byte == '\\') {
            *out << "\\x" << kHex[byte >> 4] << kHex[byte & 0xF];
        } else {
            *out << *c;
        }
    }
    *out << '"';
}

}  // namespace OrreryTest
