// SPDX-License-Identifier: MIT
// orrery component: the components a product refers to, in its ComponentRefs.ini.

#include "tool.h"

#include <orrery/components.h>

#include <QFileInfo>

namespace OrreryTools {

namespace {

using Orrery::InstComponentData;

// The product's referred-component file, or an empty string after a message when the
// product root is empty or its folder does not exist.
QString referenceFile(Invocation& run, const QString& productRoot, bool mustExist) {
    if (productRoot.isEmpty()) {
        run.fail(QStringLiteral("the product root is empty"));
        return QString();
    }
    QString file = InstComponentData::GetComponentFullPathtoRefFile(productRoot);
    const QFileInfo info(file);
    if (!QFileInfo(info.absolutePath()).isDir()) {
        run.fail(QStringLiteral("the folder of %1 does not exist").arg(quoted(file)));
        return QString();
    }
    if (mustExist && !info.isFile()) {
        run.fail(QStringLiteral("%1 does not exist").arg(quoted(file)));
        return QString();
    }
    return file;
}

// The arguments every action starts with: the product's root folder and the component.
void addRootAndComponent(QCommandLineParser& parser) {
    parser.addPositionalArgument(QStringLiteral("root"),
                                 QStringLiteral("The product's root folder."),
                                 QStringLiteral("PRODUCT_ROOT"));
    parser.addPositionalArgument(QStringLiteral("component"), QStringLiteral("The component."),
                                 QStringLiteral("COMPONENT"));
}

// The same, followed by the version.
void addRootComponentAndVersion(QCommandLineParser& parser) {
    addRootAndComponent(parser);
    parser.addPositionalArgument(QStringLiteral("version"), QStringLiteral("The version."),
                                 QStringLiteral("VERSION"));
}

int locate(Invocation& run) {
    QCommandLineParser parser;
    addRootAndComponent(parser);
    parser.addPositionalArgument(
        QStringLiteral("version"),
        QStringLiteral("The version; without it the highest decimal version is chosen."),
        QStringLiteral("[VERSION]"));
    const QCommandLineOption noExpand(
        QStringLiteral("no-expand"),
        QStringLiteral("Show the location as recorded, without expanding variables."));
    parser.addOption(noExpand);
    const int parsed = run.parse(
        parser, QStringLiteral("Shows where COMPONENT is installed for the product, as "
                               "recorded under \"Location\" in the product's "
                               "ComponentRefs.ini, with environment variables expanded."));
    if (parsed >= 0) {
        return parsed;
    }
    if (!run.expectPositionals(parser, 2, 3, QStringLiteral("PRODUCT_ROOT COMPONENT [VERSION]"))) {
        return 1;
    }
    const QStringList args = parser.positionalArguments();
    const QString file = referenceFile(run, args.at(0), true);
    if (file.isEmpty()) {
        return 1;
    }
    const QString version = args.size() > 2 ? args.at(2) : QString();
    const QString location = Orrery::QueryReferredComponentLocation(args.at(0), args.at(1), version,
                                                                    !parser.isSet(noExpand));
    if (location.isEmpty()) {
        return run.fail(QStringLiteral("%1 records no location of %2%3")
                            .arg(quoted(file), quoted(args.at(1)),
                                 version.isEmpty()
                                     ? QString()
                                     : QString(QStringLiteral(" version ") + quoted(version))));
    }
    run.out() << location << '\n';
    return 0;
}

int get(Invocation& run) {
    QCommandLineParser parser;
    addRootComponentAndVersion(parser);
    parser.addPositionalArgument(QStringLiteral("key"),
                                 QStringLiteral("The key (\"Location\", \"RefCount\", ...)."),
                                 QStringLiteral("KEY"));
    const int parsed =
        run.parse(parser, QStringLiteral("Shows one key of a component version in the product's "
                                         "ComponentRefs.ini."));
    if (parsed >= 0) {
        return parsed;
    }
    if (!run.expectPositionals(parser, 4, 4,
                               QStringLiteral("PRODUCT_ROOT COMPONENT VERSION KEY"))) {
        return 1;
    }
    const QStringList args = parser.positionalArguments();
    const QString file = referenceFile(run, args.at(0), true);
    if (file.isEmpty()) {
        return 1;
    }
    const QString value =
        InstComponentData::GetReferredComponentKey(args.at(0), args.at(1), args.at(2), args.at(3));
    if (value.isEmpty()) {
        return run.fail(
            QStringLiteral("%1 has no value for %2 version %3 key %4")
                .arg(quoted(file), quoted(args.at(1)), quoted(args.at(2)), quoted(args.at(3))));
    }
    run.out() << value << '\n';
    return 0;
}

int set(Invocation& run) {
    QCommandLineParser parser;
    addRootComponentAndVersion(parser);
    parser.addPositionalArgument(QStringLiteral("key"), QStringLiteral("The key."),
                                 QStringLiteral("KEY"));
    parser.addPositionalArgument(QStringLiteral("value"), QStringLiteral("The value to store."),
                                 QStringLiteral("VALUE"));
    const int parsed = run.parse(
        parser, QStringLiteral("Stores one key of a component version in the product's "
                               "ComponentRefs.ini, creating the file when it is missing."));
    if (parsed >= 0) {
        return parsed;
    }
    if (!run.expectPositionals(parser, 5, 5,
                               QStringLiteral("PRODUCT_ROOT COMPONENT VERSION KEY VALUE"))) {
        return 1;
    }
    const QStringList args = parser.positionalArguments();
    const QString file = referenceFile(run, args.at(0), false);
    if (file.isEmpty()) {
        return 1;
    }
    if (args.at(1).isEmpty() || args.at(2).isEmpty() || args.at(3).isEmpty()) {
        return run.fail(QStringLiteral("the component, the version and the key must not be empty"));
    }
    InstComponentData::SetReferredComponentKey(args.at(0), args.at(1), args.at(2), args.at(3),
                                               args.at(4));
    run.out() << "set " << args.at(1) << ' ' << args.at(2) << ' ' << args.at(3) << " in " << file
              << '\n';
    return 0;
}

int removeVersion(Invocation& run) {
    QCommandLineParser parser;
    addRootComponentAndVersion(parser);
    const int parsed = run.parse(
        parser, QStringLiteral("Removes every key of a component version from the product's "
                               "ComponentRefs.ini; other versions stay."));
    if (parsed >= 0) {
        return parsed;
    }
    if (!run.expectPositionals(parser, 3, 3, QStringLiteral("PRODUCT_ROOT COMPONENT VERSION"))) {
        return 1;
    }
    const QStringList args = parser.positionalArguments();
    const QString file = referenceFile(run, args.at(0), true);
    if (file.isEmpty()) {
        return 1;
    }
    if (args.at(1).isEmpty() || args.at(2).isEmpty()) {
        return run.fail(QStringLiteral("the component and the version must not be empty"));
    }
    InstComponentData::RemoveReferredComponent(args.at(0), args.at(1), args.at(2));
    run.out() << "removed " << args.at(1) << ' ' << args.at(2) << " from " << file << '\n';
    return 0;
}

struct Action {
    const char* name;
    int (*run)(Invocation&);
};

const Action kActions[] = {
    {"locate", &locate}, {"get", &get}, {"set", &set}, {"remove", &removeVersion}};

}  // namespace

int runComponent(Invocation& run) {
    QCommandLineParser parser;
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    parser.addPositionalArgument(
        QStringLiteral("action"),
        QStringLiteral("locate, get, set or remove; \"orrery component ACTION --help\" tells "
                       "more."),
        QStringLiteral("ACTION PRODUCT_ROOT COMPONENT [VERSION] ..."));
    const int parsed = run.parse(
        parser, QStringLiteral("The components a product refers to, as recorded in the "
                               "ComponentRefs.ini of its root folder (or in the file named by "
                               "VEXIL_REFERRED_COMPONENT_FILE)."));
    if (parsed >= 0) {
        return parsed;
    }
    const QStringList positionals = parser.positionalArguments();
    if (positionals.isEmpty()) {
        return run.fail(QStringLiteral("no action given (locate, get, set or remove)"));
    }
    for (const Action& action : kActions) {
        if (positionals.constFirst() == QLatin1String(action.name)) {
            Invocation sub = run.subcommand(positionals.constFirst(), positionals.mid(1));
            return action.run(sub);
        }
    }
    return run.fail(QStringLiteral("unknown action %1 (locate, get, set or remove)")
                        .arg(quoted(positionals.constFirst())));
}

}  // namespace OrreryTools
