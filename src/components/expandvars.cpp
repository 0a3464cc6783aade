// SPDX-License-Identifier: MIT
// Expansion of environment-variable references in text.

#include <orrery/components.h>

#include <vexil/core.h>

#include <QRegExp>
#include <QSet>

namespace Orrery {

namespace {

// The reference forms: %NAME% and %NAME, $NAME, $(NAME) and %(NAME), ${NAME} and %{NAME}.
// The hyphen is a name character on purpose: "$A-b" names the variable "A-b".
const QLatin1String kReferencePattern(
    "(%[A-Za-z0-9_-]+%?)|(\\$[A-Za-z0-9_-]+)|([%\\$]\\([A-Za-z0-9_-]+\\))|"
    "([%\\$]\\{[A-Za-z0-9_-]+\\})");
const QLatin1String kDecorationPattern("[%\\$\\(\\)\\{\\}]");

// The most characters an expansion may add to its text: values that bring in references
// to each other can multiply the text at every step.
constexpr qint64 kGrowthLimit = qint64(1) << 24;

// The length of text after every occurrence of token has been replaced by value.
qint64 replacedLength(const QString& text, const QString& token, const QString& value) {
    qint64 count = 0;
    for (int at = text.indexOf(token); at != -1; at = text.indexOf(token, at + token.size())) {
        ++count;
    }
    return text.size() + count * (value.size() - token.size());
}

QString variableValue(const QString& token) {
    QString name = token;
    name.remove(QRegExp(kDecorationPattern));
    return QString::fromStdString(
        vexil::getenv_check_registry_stdstring(name.toLocal8Bit().toStdString()));
}

}  // namespace

QString ExpandVars(const QString& text) {
    const QRegExp reference(kReferencePattern);
    const qint64 limit = text.size() + kGrowthLimit;
    QSet<QString> expanded;
    QString result = text;
    int pos = reference.indexIn(result, 0);
    while (pos != -1) {
        const QString token = reference.cap(0);
        if (expanded.contains(token)) {
            // Every earlier occurrence was replaced, so this one was brought in by a value:
            // expanding it again would expand values recursively, without end for a value
            // that leads back to its own reference.
            pos = reference.indexIn(result, pos + token.size());
            continue;
        }
        expanded.insert(token);
        const QString value = variableValue(token);
        if (value.size() > token.size() && replacedLength(result, token, value) > limit) {
            // The text stays as it is from here on, its remaining references unexpanded.
            break;
        }
        result.replace(token, value, Qt::CaseSensitive);
        pos = reference.indexIn(result, pos + value.length());
    }
    return result;
}

}  // namespace Orrery
