// SPDX-License-Identifier: MIT
// orrery xml: check an XML document, or write it back in the library's format.

#include "tool.h"

#include "../xmlpropertyfile.h"

#include <orrery/xmlelement.h>

#include <QBuffer>
#include <QFileInfo>
#include <QXmlStreamWriter>

#include <algorithm>
#include <utility>
#include <vector>

namespace OrreryTools {

namespace {

// Reads FILE into @p document; a message and false when that fails.
bool readDocument(Invocation& run, const QString& file, Orrery::XMLElement* document) {
    if (!QFileInfo(file).isFile()) {
        run.fail(QStringLiteral("%1 is not a file").arg(quoted(file)));
        return false;
    }
    if (document->FromXMLFile(file) != Orrery::RESULT_OK) {
        run.fail(DescribeXmlReadError(file));
        return false;
    }
    return true;
}

int check(Invocation& run) {
    QCommandLineParser parser;
    parser.addPositionalArgument(QStringLiteral("file"), QStringLiteral("The XML document."),
                                 QStringLiteral("FILE"));
    const int parsed = run.parse(
        parser, QStringLiteral("Reads FILE into an XML element tree and reports its root, the "
                               "number of elements and the depth; a malformed document is "
                               "reported with its line and column."));
    if (parsed >= 0) {
        return parsed;
    }
    if (!run.expectPositionals(parser, 1, 1, QStringLiteral("FILE"))) {
        return 1;
    }
    const QString file = parser.positionalArguments().constFirst();
    Orrery::XMLElement document;
    if (!readDocument(run, file, &document)) {
        return 1;
    }
    long long elements = 0;
    int depth = 0;
    std::vector<std::pair<const Orrery::XMLElement*, int>> pending{{&document, 1}};
    while (!pending.empty()) {
        const auto [element, level] = pending.back();
        pending.pop_back();
        ++elements;
        depth = std::max(depth, level);
        for (const Orrery::XMLElement* child : element->GetChildElements()) {
            pending.emplace_back(child, level + 1);
        }
    }
    run.out() << file << ": well-formed, root <" << document.GetName() << ">, " << elements
              << (elements == 1 ? " element" : " elements") << ", depth " << depth << '\n';
    return 0;
}

int format(Invocation& run) {
    QCommandLineParser parser;
    parser.addPositionalArgument(QStringLiteral("file"), QStringLiteral("The XML document."),
                                 QStringLiteral("FILE"));
    const QCommandLineOption output(QStringList{QStringLiteral("o"), QStringLiteral("output")},
                                    QStringLiteral("Write to OUT instead of standard output "
                                                   "(OUT may be FILE itself)."),
                                    QStringLiteral("OUT"));
    parser.addOption(output);
    const int parsed = run.parse(
        parser, QStringLiteral("Reads FILE and writes it back as the library writes XML: "
                               "attributes sorted by name, four blanks per level, comments "
                               "and processing instructions inside the document dropped."));
    if (parsed >= 0) {
        return parsed;
    }
    if (!run.expectPositionals(parser, 1, 1, QStringLiteral("FILE [--output OUT]"))) {
        return 1;
    }
    const QString file = parser.positionalArguments().constFirst();
    Orrery::XMLElement document;
    if (!readDocument(run, file, &document)) {
        return 1;
    }
    if (parser.isSet(output)) {
        const QString target = parser.value(output);
        if (target.isEmpty() || document.ToXMLFile(target) != Orrery::RESULT_OK) {
            return run.fail(QStringLiteral("cannot write %1").arg(quoted(target)));
        }
        return 0;
    }
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QXmlStreamWriter writer(&buffer);
    document.ToXMLStream(writer);
    run.out() << QString::fromUtf8(buffer.data());
    return 0;
}

}  // namespace

int runXml(Invocation& run) {
    QCommandLineParser parser;
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    parser.addPositionalArgument(
        QStringLiteral("action"),
        QStringLiteral("check or format; \"orrery xml ACTION --help\" tells more."),
        QStringLiteral("ACTION FILE"));
    const int parsed = run.parse(
        parser, QStringLiteral("XML documents read and written by the library's XML element "
                               "tree."));
    if (parsed >= 0) {
        return parsed;
    }
    const QStringList positionals = parser.positionalArguments();
    if (positionals.isEmpty()) {
        return run.fail(QStringLiteral("no action given (check or format)"));
    }
    const QString& action = positionals.constFirst();
    Invocation sub = run.subcommand(action, positionals.mid(1));
    if (action == QLatin1String("check")) {
        return check(sub);
    }
    if (action == QLatin1String("format")) {
        return format(sub);
    }
    return run.fail(QStringLiteral("unknown action %1 (check or format)").arg(quoted(action)));
}

}  // namespace OrreryTools
