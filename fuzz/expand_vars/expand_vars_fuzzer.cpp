// SPDX-License-Identifier: MIT
// ExpandVars on arbitrary text with variables of arbitrary values.
// Input: "<text>\0<value of FZA>\0<value of FZB>\0<value of FZC>"; a missing value leaves
// the variable unset. Invariants: the expansion ends (libFuzzer's timeout and memory limit
// catch a runaway); text without "%" or "$" is returned as it is; values without "%" or "$"
// never add either character; the result never grows by more than the growth limit nor
// holds more of those characters than the text and the limit on inserted ones allow;
// a variable whose value is its own reference expands to that reference.

#include <orrery/components.h>

#include "../fuzz_check.h"

#include <QtGlobal>

namespace {

int markers(const QString& text) {
    return text.count(QLatin1Char('%')) + text.count(QLatin1Char('$'));
}

// The most characters an expansion may add to its text.
constexpr qint64 kGrowthLimit = qint64(1) << 24;
// The most '%' and '$' the inserted values may bring in.
constexpr int kInsertedSignLimit = 1 << 19;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const char* const kNames[] = {"FZA", "FZB", "FZC"};
    // Values come from this input only: nothing from an earlier one, nor from a registry file.
    static const bool once = [] {
        qunsetenv("VEXIL_REGISTRY_FILE");
        return true;
    }();
    Q_UNUSED(once);

    const std::vector<std::string> parts = OrreryFuzz::split(data, size, 4);
    const QString text = OrreryFuzz::text(parts.at(0));
    bool plainValues = true;
    for (size_t i = 0; i < 3; ++i) {
        if (i + 1 < parts.size()) {
            const QByteArray value = OrreryFuzz::text(parts.at(i + 1)).toUtf8();
            // An environment value ends at its first NUL character.
            qputenv(kNames[i], value);
            plainValues = plainValues && markers(QString::fromUtf8(value.constData())) == 0;
        } else {
            qunsetenv(kNames[i]);
        }
    }

    const QString result = Orrery::ExpandVars(text);
    if (markers(text) == 0) {
        FUZZ_CHECK_EQ(result, text);
    }
    if (plainValues) {
        FUZZ_CHECK(markers(result) <= markers(text));
    }
    FUZZ_CHECK(result.size() <= text.size() + kGrowthLimit);
    FUZZ_CHECK(markers(result) <= markers(text) + kInsertedSignLimit);

    // A value that is its own reference ends the expansion at once.
    qputenv("FZSELF", "$FZSELF");
    FUZZ_CHECK_EQ(Orrery::ExpandVars(QStringLiteral("$FZSELF")), QStringLiteral("$FZSELF"));
    return 0;
}
