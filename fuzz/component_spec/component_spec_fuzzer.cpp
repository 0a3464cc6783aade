// SPDX-License-Identifier: MIT
// ParseComponentMemberSpecification on arbitrary text, followed by
// CreateComponentMemberSpecification of the parts. Invariants: every output is assigned;
// the prefix and the member are cut from the text, the component and the qualifier are
// pieces of it; parts, parsed or taken from the input, that hold no separator in the wrong
// place are written and parsed back to themselves.

#include <orrery/components.h>

#include "../fuzz_check.h"

namespace {

using Orrery::CreateComponentMemberSpecification;
using Orrery::ParseComponentMemberSpecification;

struct Parts {
    QString component;
    QString qualifier;
    QString member;
    QString prefix;
};

Parts parse(const QString& spec) {
    // Start from texts that no parse can produce, so that an unassigned output shows.
    const QString unset = spec + QStringLiteral("\x01unset");
    Parts parts{unset, unset, unset, unset};
    ParseComponentMemberSpecification(spec, parts.component, parts.qualifier, parts.member,
                                      parts.prefix);
    FUZZ_CHECK(parts.component != unset && parts.qualifier != unset && parts.member != unset &&
               parts.prefix != unset);
    return parts;
}

QString create(const Parts& parts) {
    return CreateComponentMemberSpecification(parts.component, parts.qualifier, parts.member,
                                              parts.prefix);
}

void checkSame(const Parts& actual, const Parts& expected) {
    FUZZ_CHECK_EQ(actual.component, expected.component);
    FUZZ_CHECK_EQ(actual.qualifier, expected.qualifier);
    FUZZ_CHECK_EQ(actual.member, expected.member);
    FUZZ_CHECK_EQ(actual.prefix, expected.prefix);
}

// Whether composing these parts and parsing the result must give them back. Excluded are
// texts that would read as separators in another position, a "%" in a component that a
// qualifier's substitution would see, and one-letter prefixes, which the parse may take
// for a drive letter.
bool composable(const Parts& p) {
    const auto has = [](const QString& s, const char* what) {
        return s.contains(QLatin1String(what));
    };
    if (has(p.prefix, "&{")) {
        return false;
    }
    if (!p.component.isEmpty()) {
        return !has(p.component, "#") && !has(p.component, "}:") && !has(p.qualifier, "#") &&
               !has(p.qualifier, "}:") && (p.qualifier.isEmpty() || !has(p.component, "%"));
    }
    // Without a component the text is "prefix:member" or "member".
    if (!p.qualifier.isEmpty() || has(p.member, "&{") || has(p.prefix, ":") ||
        p.prefix.size() == 1) {
        return false;
    }
    return !p.prefix.isEmpty() || !has(p.member, ":");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::vector<std::string> pieces = OrreryFuzz::split(data, size, 4);
    const QString spec = OrreryFuzz::text(pieces.at(0));

    const Parts parsed = parse(spec);
    FUZZ_CHECK(spec.endsWith(parsed.member));
    FUZZ_CHECK(spec.startsWith(parsed.prefix));
    FUZZ_CHECK(spec.contains(parsed.component) && spec.contains(parsed.qualifier));
    if (!parsed.prefix.isEmpty()) {
        FUZZ_CHECK(spec.startsWith(QString(parsed.prefix + QLatin1Char(':'))));
    }
    if (!parsed.component.isEmpty() || !parsed.qualifier.isEmpty()) {
        FUZZ_CHECK(spec.contains(QStringLiteral("&{")) && spec.contains(QStringLiteral("}:")));
    }

    if (composable(parsed)) {
        checkSame(parse(create(parsed)), parsed);
    }

    // Parts taken from the rest of the input, composed and parsed again.
    if (pieces.size() == 4) {
        const Parts made{OrreryFuzz::text(pieces.at(1)), OrreryFuzz::text(pieces.at(2)),
                         OrreryFuzz::text(pieces.at(3)), spec};
        if (composable(made)) {
            checkSame(parse(create(made)), made);
        }
    }
    return 0;
}
