// SPDX-License-Identifier: MIT
// orrery path: the file-name operations of Orrery::Filename.

#include "tool.h"

#include <orrery/filename.h>

#include <climits>
#include <string>

namespace OrreryTools {

namespace Filename = Orrery::Filename;

namespace {

std::string utf8(const QString& text) {
    return text.toStdString();
}

QString text(const std::string& utf8Text) {
    return QString::fromStdString(utf8Text);
}

QString yesNo(bool value) {
    return value ? QStringLiteral("yes") : QStringLiteral("no");
}

int normalize(Invocation& run) {
    QCommandLineParser parser;
    parser.addPositionalArgument(QStringLiteral("path"), QStringLiteral("The names to fold."),
                                 QStringLiteral("PATH..."));
    const QCommandLineOption forward(QStringLiteral("forward-slashes"),
                                     QStringLiteral("Separate with '/' instead of '\\'."));
    parser.addOption(forward);
    const int parsed = run.parse(
        parser, QStringLiteral("Folds \".\" and \"..\" out of each PATH and joins its pieces "
                               "with backslashes; one result per line."));
    if (parsed >= 0) {
        return parsed;
    }
    const QStringList paths = parser.positionalArguments();
    if (!run.expectPositionals(parser, 1, INT_MAX, QStringLiteral("PATH..."))) {
        return 1;
    }
    for (const QString& path : paths) {
        run.out() << text(parser.isSet(forward)
                              ? Filename::normalize_pathname_with_forward_slash(utf8(path))
                              : Filename::normalize_pathname(utf8(path)))
                  << '\n';
    }
    return 0;
}

int relative(Invocation& run) {
    QCommandLineParser parser;
    parser.addPositionalArgument(QStringLiteral("path"), QStringLiteral("The name to express."),
                                 QStringLiteral("PATH"));
    parser.addPositionalArgument(QStringLiteral("base"),
                                 QStringLiteral("The directory to start from."),
                                 QStringLiteral("BASE"));
    const int parsed = run.parse(
        parser, QStringLiteral("Expresses PATH relative to BASE when one lies inside the other "
                               "(\"b\\c\", \"..\\..\", or an empty line for the same "
                               "directory). Both names need a root."));
    if (parsed >= 0) {
        return parsed;
    }
    if (!run.expectPositionals(parser, 2, 2, QStringLiteral("PATH BASE"))) {
        return 1;
    }
    const QStringList args = parser.positionalArguments();
    std::string result;
    if (!Filename::make_relative_path(utf8(args.at(0)), utf8(args.at(1)), &result)) {
        return run.fail(QStringLiteral("%1 and %2 have no common root, or neither lies inside "
                                       "the other")
                            .arg(quoted(args.at(0)), quoted(args.at(1))));
    }
    run.out() << text(result) << '\n';
    return 0;
}

int full(Invocation& run) {
    QCommandLineParser parser;
    parser.addPositionalArgument(QStringLiteral("path"), QStringLiteral("The name to complete."),
                                 QStringLiteral("PATH"));
    const int parsed =
        run.parse(parser, QStringLiteral("Makes PATH absolute against the current directory."));
    if (parsed >= 0) {
        return parsed;
    }
    if (!run.expectPositionals(parser, 1, 1, QStringLiteral("PATH"))) {
        return 1;
    }
    run.out() << text(Filename::get_full_path(utf8(parser.positionalArguments().constFirst())))
              << '\n';
    return 0;
}

int physical(Invocation& run) {
    QCommandLineParser parser;
    parser.addPositionalArgument(QStringLiteral("path"),
                                 QStringLiteral("A name whose directory exists."),
                                 QStringLiteral("PATH"));
    const int parsed = run.parse(
        parser, QStringLiteral("Shows PATH with its directory spelled as the operating system "
                               "spells it (found by visiting it) and the leaf as given."));
    if (parsed >= 0) {
        return parsed;
    }
    if (!run.expectPositionals(parser, 1, 1, QStringLiteral("PATH"))) {
        return 1;
    }
    const QString path = parser.positionalArguments().constFirst();
    const std::string result = Filename::get_physical_path(utf8(path));
    if (result.empty()) {
        return run.fail(QStringLiteral("the directory of %1 does not exist or cannot be entered")
                            .arg(quoted(path)));
    }
    run.out() << text(result) << '\n';
    return 0;
}

int extension(Invocation& run) {
    QCommandLineParser parser;
    parser.addPositionalArgument(QStringLiteral("path"), QStringLiteral("The file name."),
                                 QStringLiteral("PATH"));
    const QCommandLineOption set(QStringLiteral("set"),
                                 QStringLiteral("Replace the extension by EXT (\"\" removes it)."),
                                 QStringLiteral("EXT"));
    const QCommandLineOption strip(QStringLiteral("strip"),
                                   QStringLiteral("Show PATH without its extension."));
    parser.addOption(set);
    parser.addOption(strip);
    const int parsed = run.parse(
        parser, QStringLiteral("Shows the extension of PATH with its dot (an empty line when it "
                               "has none), or PATH with its extension replaced or removed."));
    if (parsed >= 0) {
        return parsed;
    }
    if (!run.expectPositionals(parser, 1, 1, QStringLiteral("PATH [--set EXT | --strip]"))) {
        return 1;
    }
    if (parser.isSet(set) && parser.isSet(strip)) {
        return run.fail(QStringLiteral("--set and --strip cannot be used together"));
    }
    const std::string path = utf8(parser.positionalArguments().constFirst());
    if (parser.isSet(strip)) {
        run.out() << text(Filename::strip_extension(path)) << '\n';
    } else if (parser.isSet(set)) {
        std::string result;
        if (!Filename::rename_extension(path, utf8(parser.value(set)), &result)) {
            return run.fail(
                QStringLiteral("%1 has no name to put an extension on").arg(quoted(text(path))));
        }
        run.out() << text(result) << '\n';
    } else {
        run.out() << text(Filename::get_extension(path)) << '\n';
    }
    return 0;
}

int compare(Invocation& run) {
    QCommandLineParser parser;
    parser.addPositionalArgument(QStringLiteral("a"), QStringLiteral("The first name."),
                                 QStringLiteral("A"));
    parser.addPositionalArgument(QStringLiteral("b"), QStringLiteral("The second name."),
                                 QStringLiteral("B"));
    const int parsed = run.parse(
        parser, QStringLiteral("Compares two names by the file-name collation (ASCII letters "
                               "fold, '/' and '\\' differ) and tells whether they name the "
                               "same file."));
    if (parsed >= 0) {
        return parsed;
    }
    if (!run.expectPositionals(parser, 2, 2, QStringLiteral("A B"))) {
        return 1;
    }
    const std::string a = utf8(parser.positionalArguments().at(0));
    const std::string b = utf8(parser.positionalArguments().at(1));
    run.out() << "compare_filenames:    " << Filename::compare_filenames(a, b) << '\n'
              << "equal_filenames:      " << yesNo(Filename::equal_filenames(a, b)) << '\n'
              << "starts_with_filename: " << yesNo(Filename::starts_with_filename(a, b)) << '\n'
              << "is_same_pathname:     " << yesNo(Filename::is_same_pathname(a, b)) << '\n';
    return 0;
}

struct Action {
    const char* name;
    int (*run)(Invocation&);
};

const Action kActions[] = {
    {"normalize", &normalize}, {"relative", &relative},   {"full", &full},
    {"physical", &physical},   {"extension", &extension}, {"compare", &compare},
};

}  // namespace

int runPath(Invocation& run) {
    QCommandLineParser parser;
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    parser.addPositionalArgument(
        QStringLiteral("action"),
        QStringLiteral("normalize, relative, full, physical, extension or compare; "
                       "\"orrery path ACTION --help\" tells more."),
        QStringLiteral("ACTION [ARGUMENTS...]"));
    const int parsed = run.parse(
        parser, QStringLiteral("Windows-style file-name operations on UTF-8 names: both '/' "
                               "and '\\' separate, and inserted separators are backslashes."));
    if (parsed >= 0) {
        return parsed;
    }
    const QStringList positionals = parser.positionalArguments();
    if (positionals.isEmpty()) {
        return run.fail(
            QStringLiteral("no action given (normalize, relative, full, physical, "
                           "extension or compare)"));
    }
    for (const Action& action : kActions) {
        if (positionals.constFirst() == QLatin1String(action.name)) {
            Invocation sub = run.subcommand(positionals.constFirst(), positionals.mid(1));
            return action.run(sub);
        }
    }
    return run.fail(QStringLiteral("unknown action %1 (normalize, relative, full, physical, "
                                   "extension or compare)")
                        .arg(quoted(positionals.constFirst())));
}

}  // namespace OrreryTools
