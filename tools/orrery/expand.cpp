// SPDX-License-Identifier: MIT
// orrery expand: environment-variable references in a text, expanded.

#include "tool.h"

#include <orrery/components.h>

namespace OrreryTools {

int runExpand(Invocation& run) {
    QCommandLineParser parser;
    parser.addPositionalArgument(
        QStringLiteral("text"),
        QStringLiteral("The text, with references such as %HOME%, $HOME, $(HOME) or ${HOME}. "
                       "Quote it for the shell."),
        QStringLiteral("TEXT"));
    const int parsed = run.parse(
        parser, QStringLiteral("Replaces every environment-variable reference in TEXT by the "
                               "variable's value (the environment first, then the registry); "
                               "unknown variables expand to nothing."));
    if (parsed >= 0) {
        return parsed;
    }
    if (!run.expectPositionals(parser, 1, 1, QStringLiteral("TEXT"))) {
        return 1;
    }
    run.out() << Orrery::ExpandVars(parser.positionalArguments().constFirst()) << '\n';
    return 0;
}

}  // namespace OrreryTools
