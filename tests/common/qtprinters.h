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
