// SPDX-License-Identifier: MIT
// orrery units: a number with units shown scaled, unscaled and as a real.

#include "tool.h"

#include <orrery/units.h>

namespace OrreryTools {

int runUnits(Invocation& run) {
    QCommandLineParser parser;
    parser.addPositionalArgument(
        QStringLiteral("value"),
        QStringLiteral("The number, as typed in a parameter field (\"4.7k\", \"1.5e9\"); it may "
                       "carry its units (\"10 mil\") when UNITS is left out. Put \"--\" before "
                       "a negative number."),
        QStringLiteral("VALUE"));
    parser.addPositionalArgument(QStringLiteral("units"),
                                 QStringLiteral("The units of VALUE (\"Ohm\", \"mil\", \"GHz\")."),
                                 QStringLiteral("[UNITS]"));
    const QCommandLineOption to(QStringLiteral("to"),
                                QStringLiteral("Show the value in DESIRED units."),
                                QStringLiteral("DESIRED"));
    const QCommandLineOption noScale(
        QStringLiteral("no-scale"),
        QStringLiteral("Keep the desired units as given: no metric prefix is chosen for them."));
    const QCommandLineOption precision(
        QStringLiteral("precision"),
        QStringLiteral("Significant digits where a conversion factor applies (default 6)."),
        QStringLiteral("N"), QStringLiteral("6"));
    parser.addOption(to);
    parser.addOption(noScale);
    parser.addOption(precision);
    const int parsed = run.parse(
        parser, QStringLiteral("Shows a number with units scaled to the best metric prefix (or "
                               "in the desired units), its value in base units, and the real "
                               "number that RealString::asReal reads from it."));
    if (parsed >= 0) {
        return parsed;
    }
    if (!run.expectPositionals(parser, 1, 2, QStringLiteral("VALUE [UNITS]"))) {
        return 1;
    }
    const QStringList positionals = parser.positionalArguments();
    QString value = positionals.at(0);
    QString units;
    if (positionals.size() == 2) {
        units = positionals.at(1);
        if (!Orrery::RealStringParser(value).isReal()) {
            return run.fail(QStringLiteral("%1 is not a number").arg(quoted(value)));
        }
    } else {
        QString number;
        const bool unitsValid =
            Orrery::RealStringParser::parseNumberAndUnits(value, &number, &units);
        if (number.isEmpty()) {
            return run.fail(QStringLiteral("%1 is not a number").arg(quoted(value)));
        }
        if (!unitsValid) {
            return run.fail(QStringLiteral("%1 are not valid units").arg(quoted(units)));
        }
        value = number;
    }
    if (!Orrery::UnitsParser::unitsAreValid(units)) {
        return run.fail(QStringLiteral("%1 are not valid units").arg(quoted(units)));
    }
    const QString desired = parser.value(to);
    if (parser.isSet(to) && (desired.isEmpty() || !Orrery::UnitsParser::unitsAreValid(desired))) {
        return run.fail(QStringLiteral("%1 are not valid desired units").arg(quoted(desired)));
    }
    bool precisionOk = false;
    const int digits = parser.value(precision).toInt(&precisionOk);
    if (!precisionOk || digits < 1 || digits > 17) {
        return run.fail(QStringLiteral("the precision must be a whole number from 1 to 17, not %1")
                            .arg(quoted(parser.value(precision))));
    }

    const Orrery::RealString real =
        desired.isEmpty() ? Orrery::RealString(value, units)
                          : Orrery::RealString(value, units, desired, !parser.isSet(noScale));
    const QString typed = units.isEmpty() ? value : QString(value + QLatin1Char(' ') + units);
    bool ok = false;
    const double asReal = Orrery::RealString::asReal(typed, &ok);
    run.out() << "scaled:   " << real.scaledValueWithUnits(digits) << '\n'
              << "unscaled: " << real.unscaledValueWithoutUnits(digits) << '\n'
              << "asReal:   " << (ok ? realText(asReal) : QStringLiteral("not a number")) << '\n';
    return 0;
}

}  // namespace OrreryTools
