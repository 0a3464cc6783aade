// SPDX-License-Identifier: MIT
// Prints QString values readably in GoogleTest failure messages.
#pragma once

#include <QString>

#include <ostream>

inline void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}
