// SPDX-License-Identifier: MIT
// Argument parsing, messages and command dispatch of the orrery tool.

#include "tool.h"

#include "../quantity.h"
#include "../xmlpropertyfile.h"

#include <orrery/version.h>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLocale>

#include <cmath>

namespace OrreryTools {

namespace {

struct CommandEntry {
    const char* name;
    const char* summary;
    int (*run)(Invocation&);
};

const CommandEntry kCommands[] = {
    {"demo", "the typical client run on the example data, step by step", &runDemo},
    {"units", "a number with units: scaled, unscaled and as a real", &runUnits},
    {"path", "file-name operations: normalize, relative, full, physical, extension, compare",
     &runPath},
    {"expand", "expand environment-variable references in a text", &runExpand},
    {"component", "locate, get, set or remove the components a product refers to", &runComponent},
    {"xml", "check an XML document, or format it as the library writes it", &runXml},
    {"tree", "print the property tree of a design file", &runTree},
    {"env", "run the client set-up and print the variables it exported", &runEnv},
};

// The marker file that tells an example directory.
const QLatin1String kExampleMarker("korvane/designs/frontend.oxml");

bool holdsExamples(const QString& directory) {
    return !directory.isEmpty() &&
           QFileInfo(QString(directory + QLatin1Char('/') + kExampleMarker)).isFile();
}

}  // namespace

QString oneLine(const QString& text) {
    QString line = text;
    line.replace(QLatin1String("\r\n"), QLatin1String(" "));
    line.replace(QLatin1Char('\n'), QLatin1Char(' '));
    line.replace(QLatin1Char('\r'), QLatin1Char(' '));
    return line.trimmed();
}

QString quoted(const QString& text) {
    return QString(QLatin1Char('"') + text + QLatin1Char('"'));
}

QString realText(double value) {
    const double magnitude = std::fabs(value);
    const bool plain = magnitude == 0.0 || (magnitude >= 1e-6 && magnitude < 1e15);
    return QString::number(value, plain ? 'f' : 'g', QLocale::FloatingPointShortest);
}

Invocation::Invocation(const QString& command, const QStringList& arguments, QTextStream& out,
                       QTextStream& err)
    : commandName(command), args(arguments), output(out), errors(err) {}

int Invocation::parse(QCommandLineParser& parser, const QString& description) {
    parser.setApplicationDescription(description);
    const QCommandLineOption help = parser.addHelpOption();
    QStringList full{commandName.isEmpty() ? QStringLiteral("orrery")
                                           : QString(QStringLiteral("orrery ") + commandName)};
    full += args;
    if (!parser.parse(full)) {
        return fail(parser.errorText());
    }
    if (parser.isSet(help) || parser.isSet(QStringLiteral("help-all"))) {
        QString text = parser.helpText();
        // Qt names the executable as started; the usage line names the command instead.
        const QStringList started = QCoreApplication::arguments();
        const QString usage = QStringLiteral("Usage: ");
        if (!started.isEmpty() && text.startsWith(QString(usage + started.constFirst()))) {
            text.replace(0, usage.size() + started.constFirst().size(), QString(usage + full[0]));
        }
        output << text;
        output.flush();
        return 0;
    }
    return -1;
}

int Invocation::fail(const QString& message) {
    errors << (commandName.isEmpty() ? QStringLiteral("orrery")
                                     : QString(QStringLiteral("orrery ") + commandName))
           << ": " << oneLine(message) << '\n';
    errors.flush();
    return 1;
}

bool Invocation::expectPositionals(const QCommandLineParser& parser, int minimum, int maximum,
                                   const QString& usage) {
    const int count = parser.positionalArguments().size();
    if (count >= minimum && count <= maximum) {
        return true;
    }
    fail(QStringLiteral("%1 (usage: orrery %2 %3)")
             .arg(count < minimum ? QStringLiteral("missing arguments")
                                  : QStringLiteral("too many arguments"),
                  commandName, usage));
    return false;
}

Invocation Invocation::subcommand(const QString& action, const QStringList& rest) {
    return Invocation(QString(commandName + QLatin1Char(' ') + action), rest, output, errors);
}

QString exampleDirectory(const QString& given) {
    if (!given.isEmpty()) {
        return holdsExamples(given) ? QFileInfo(given).absoluteFilePath() : QString();
    }
    const QDir tool(QCoreApplication::applicationDirPath());
    // A tool in the bin folder of the example installation (<examples>/korvane/bin) runs the
    // client from there; Windows takes the installation directory from where the program lies.
    const QString around = QDir::cleanPath(tool.absoluteFilePath(QStringLiteral("../..")));
    if (QFileInfo(QDir::cleanPath(tool.absoluteFilePath(QStringLiteral("..")))).fileName() ==
            QLatin1String("korvane") &&
        holdsExamples(around)) {
        return around;
    }
    const QString installed =
        QDir::cleanPath(tool.absoluteFilePath(QStringLiteral(ORRERY_TOOL_INSTALLED_EXAMPLES)));
    if (holdsExamples(installed)) {
        return installed;
    }
    // A source path without a drive (a tree built on another host) lies on the tool's drive.
    const QString source =
        QDir::cleanPath(tool.absoluteFilePath(QStringLiteral(ORRERY_TOOL_SOURCE_EXAMPLES)));
    return holdsExamples(source) ? source : QString();
}

void registerExampleKinds() {
    Quantity::Register();
    XmlPropertyFile::Register();
}

int runTool(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    QString description = QStringLiteral(
        "The Orrery command-line tool: the functions of the OrreryCore library from a "
        "shell.\n\nCommands:\n");
    for (const CommandEntry& entry : kCommands) {
        description += QStringLiteral("  %1 %2\n")
                           .arg(QLatin1String(entry.name), -10)
                           .arg(QLatin1String(entry.summary));
    }
    description +=
        QStringLiteral("\nRun \"orrery COMMAND --help\" for the arguments of a command.");

    QCommandLineParser parser;
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    const QCommandLineOption version(QStringList{QStringLiteral("v"), QStringLiteral("version")},
                                     QStringLiteral("Show the version and exit."));
    parser.addOption(version);
    parser.addPositionalArgument(QStringLiteral("command"), QStringLiteral("The command to run."),
                                 QStringLiteral("COMMAND [ARGUMENTS...]"));
    Invocation top(QString(), arguments.mid(1), out, err);
    const int parsed = top.parse(parser, description);
    if (parsed >= 0) {
        return parsed;
    }
    if (parser.isSet(version)) {
        out << "orrery " << ORRERY_VERSION_STRING << '\n';
        out.flush();
        return 0;
    }
    const QStringList positionals = parser.positionalArguments();
    if (positionals.isEmpty()) {
        return top.fail(QStringLiteral("no command given; run \"orrery --help\" for the list"));
    }
    const QString& name = positionals.constFirst();
    for (const CommandEntry& entry : kCommands) {
        if (name == QLatin1String(entry.name)) {
            Invocation run(name, positionals.mid(1), out, err);
            return entry.run(run);
        }
    }
    return top.fail(
        QStringLiteral("unknown command %1; run \"orrery --help\" for the list").arg(quoted(name)));
}

}  // namespace OrreryTools
