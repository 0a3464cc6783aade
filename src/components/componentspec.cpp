// SPDX-License-Identifier: MIT
// Component member specifications and the location query over referred components.

#include <orrery/components.h>

#include "inifile_p.h"
#include "storeguard_p.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <QStringList>

namespace Orrery {

namespace {

const QLatin1String kComponentOpen("&{");
const QLatin1String kComponentClose("}:");
const QLatin1Char kQualifierSeparator('#');
const QLatin1Char kPrefixSeparator(':');

// The location recorded for the highest version of @p component, or an empty text.
QString highestVersionLocation(QSettings& settings, const QString& component) {
    QString result;
    settings.beginGroup(component);
    const QString slashed = QString(QLatin1Char('/') + InstComponentData::s_strLocation);
    const QString backslashed = QString(QLatin1Char('\\') + InstComponentData::s_strLocation);
    // No version at or below this threshold is ever chosen.
    double best = -10000.0;
    const QStringList keys = settings.allKeys();
    for (const QString& key : keys) {
        if (!key.contains(InstComponentData::s_strLocation, Qt::CaseSensitive)) {
            continue;
        }
        QString candidate = key;
        candidate.remove(backslashed, Qt::CaseSensitive);
        candidate.remove(slashed, Qt::CaseSensitive);
        bool isNumber = false;
        const double candidateValue = candidate.toDouble(&isNumber);
        // Versions compare as decimal numbers; the first of equal values wins.
        if (isNumber && candidateValue > best) {
            best = candidateValue;
            result = settings.value(key).toString();
        }
    }
    settings.endGroup();
    return result;
}

}  // namespace

QString CreateComponentMemberSpecification(const QString& component, const QString& qualifier,
                                           const QString& member, const QString& prefix) {
    QString result;
    if (!component.isEmpty()) {
        if (!qualifier.isEmpty()) {
            // Two successive substitutions on purpose: a "%1" inside the component text is
            // itself replaced by the qualifier.
            result = QStringLiteral("&{%1#%2}:").arg(component).arg(qualifier);
        } else {
            result = QStringLiteral("&{%1}:").arg(component);
        }
    }
    result += member;
    if (!prefix.isEmpty()) {
        result = QString(prefix + kPrefixSeparator + result);
    }
    return result;
}

void ParseComponentMemberSpecification(const QString& spec, QString& component, QString& qualifier,
                                       QString& member, QString& prefix) {
    QString head;
    QString rest = spec;
    const int open = spec.indexOf(kComponentOpen);
    if (open > 0) {
        head = spec.left(open);
        rest = spec.mid(open);
    } else if (open < 0) {
        const int colon = spec.indexOf(kPrefixSeparator);
        if (colon > 0) {
            head = spec.left(colon + 1);
            rest = spec.mid(colon + 1);
        }
    }

    // Text before "&{" that does not end with ":" is dropped on purpose.
    prefix.clear();
    if (head.endsWith(kPrefixSeparator)) {
        prefix = head.left(head.size() - 1);
        // A one-letter prefix of an existing directory is a drive letter, not a prefix.
        if (open < 0 && prefix.size() == 1 && QFileInfo(spec).dir().exists()) {
            prefix.clear();
            rest = spec;
        }
    }

    if (rest.startsWith(kComponentOpen) && rest.contains(kComponentClose)) {
        QStringList pieces = rest.mid(2).split(kComponentClose, Qt::KeepEmptyParts);
        const QString braced = pieces.takeFirst();
        member = pieces.join(kComponentClose);
        const QStringList names = braced.split(kQualifierSeparator);
        if (names.size() == 1) {
            component = names.at(0);
            qualifier.clear();
        } else if (names.size() == 2) {
            component = names.at(0);
            qualifier = names.at(1);
        } else {
            component.clear();
            qualifier.clear();
            member = rest;
        }
    } else {
        component.clear();
        qualifier.clear();
        member = rest;
    }
}

QString QueryReferredComponentLocation(const QString& productRoot, const QString& component,
                                       const QString& version, bool expandVariables) {
    QString result;
    if (!version.isEmpty()) {
        result = InstComponentData::GetReferredComponentKey(productRoot, component, version,
                                                            InstComponentData::s_strLocation);
    } else {
        // A read: no lock and no sync, so the file stays as it is.
        StoreRetry retry;
        while (true) {
            QSettings settings(InstComponentData::GetComponentFullPathtoRefFile(productRoot),
                               iniStoreFormat());
            result = highestVersionLocation(settings, component);
            if (!retry.again(settings)) {
                break;
            }
        }
    }
    if (expandVariables) {
        result = ExpandVars(result);
    }
    return result;
}

}  // namespace Orrery
