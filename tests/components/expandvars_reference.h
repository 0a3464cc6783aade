// SPDX-License-Identifier: MIT
// The variable expansion written literally, step by step on a flat string, as the oracle for
// the library's faster implementation.
#pragma once

#include <vexil/core.h>

#include <QRegExp>
#include <QString>

#include <optional>

namespace OrreryTest {

/// Expands like Orrery::ExpandVars; gives up (nullopt) after @p maxSteps replacements or
/// once the text grows beyond @p maxSize characters.
inline std::optional<QString> literalExpandVars(const QString& text, int maxSteps = 1000,
                                                int maxSize = 100000) {
    const QRegExp reference(
        QStringLiteral("(%[A-Za-z0-9_-]+%?)|(\\$[A-Za-z0-9_-]+)|([%\\$]\\([A-Za-z0-9_-]+\\))|"
                       "([%\\$]\\{[A-Za-z0-9_-]+\\})"));
    const QRegExp decoration(QStringLiteral("[%\\$\\(\\)\\{\\}]"));
    QString result = text;
    int pos = reference.indexIn(result, 0);
    int steps = 0;
    while (pos != -1) {
        if (++steps > maxSteps || result.size() > maxSize) {
            return std::nullopt;
        }
        const QString token = reference.cap(0);
        QString name = token;
        for (int at = decoration.indexIn(name); at != -1; at = decoration.indexIn(name, at)) {
            name.remove(at, decoration.matchedLength());
        }
        const QString value = QString::fromStdString(
            vexil::getenv_check_registry_stdstring(name.toLocal8Bit().toStdString()));
        result.replace(token, value, Qt::CaseSensitive);
        pos = reference.indexIn(result, pos + value.length());
    }
    return result;
}

}  // namespace OrreryTest
