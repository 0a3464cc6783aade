// SPDX-License-Identifier: MIT
// Expansion of environment-variable references in text.

#include <orrery/components.h>

#include <vexil/core.h>

#include <QRegExp>

namespace Orrery {

namespace {

// The reference forms: %NAME% and %NAME, $NAME, $(NAME) and %(NAME), ${NAME} and %{NAME}.
// The hyphen is a name character on purpose: "$A-b" names the variable "A-b".
const QLatin1String kReferencePattern(
    "(%[A-Za-z0-9_-]+%?)|(\\$[A-Za-z0-9_-]+)|([%\\$]\\([A-Za-z0-9_-]+\\))|"
    "([%\\$]\\{[A-Za-z0-9_-]+\\})");
const QLatin1String kDecorationPattern("[%\\$\\(\\)\\{\\}]");

QString variableValue(const QString& token) {
    QString name = token;
    name.remove(QRegExp(kDecorationPattern));
    return QString::fromStdString(
        vexil::getenv_check_registry_stdstring(name.toLocal8Bit().toStdString()));
}

}  // namespace

QString ExpandVars(const QString& text) {
    const QRegExp reference(kReferencePattern);
    QString result = text;
    int pos = reference.indexIn(result, 0);
    while (pos != -1) {
        const QString token = reference.cap(0);
        const QString value = variableValue(token);
        result.replace(token, value, Qt::CaseSensitive);
        pos = reference.indexIn(result, pos + value.length());
    }
    return result;
}

}  // namespace Orrery
