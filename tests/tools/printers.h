// SPDX-License-Identifier: MIT
// Prints Qt texts readably in GoogleTest failure messages.
#pragma once

#include <QByteArray>
#include <QString>

#include <ostream>

inline void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QByteArray& bytes, std::ostream* out) {
    *out << '"' << bytes.toStdString() << '"';
}
