// SPDX-License-Identifier: MIT
// SemanticVer on arbitrary text. Invariants: validity is exactly "digits and two dots";
// a failed SetVersion changes nothing; a parsed version written back as
// "major.minor.patch" parses to the same numbers; ASCII pieces within int read as their
// decimal value; compatibility is equality of the major numbers.

#include <orrery/semanticver.h>

#include "../fuzz_check.h"

#include <QStringList>

#include <climits>

namespace {

bool expectedValidity(const QString& text) {
    int dots = 0;
    for (const QChar c : text) {
        if (c == QLatin1Char('.')) {
            ++dots;
        } else if (!c.isDigit()) {
            return false;
        }
    }
    return dots == 2;
}

// The value of one piece when it is plain ASCII digits within int, else -1.
long long asciiValue(const QString& piece) {
    long long value = 0;
    for (const QChar c : piece) {
        if (c.unicode() < '0' || c.unicode() > '9') {
            return -1;
        }
        value = value * 10 + (c.unicode() - '0');
        if (value > INT_MAX) {
            return 0;  // too large for an int: reads as 0
        }
    }
    return value;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using Orrery::SemanticVer;
    const QString text = OrreryFuzz::text(data, size);

    SemanticVer version(QStringLiteral("7.8.9"));
    const bool valid = version.IsValidVersion(text);
    FUZZ_CHECK(valid == expectedValidity(text));

    const Orrery::ERESULT result = version.SetVersion(text);
    FUZZ_CHECK(result == (valid ? Orrery::RESULT_OK : Orrery::RESULT_INVALID_ARGUMENT));
    if (!valid) {
        FUZZ_CHECK(version.GetMajorVersion() == 7 && version.GetMinorVersion() == 8 &&
                   version.GetPatchVersion() == 9);
        FUZZ_CHECK(!version.IsAPICompatible(text));
        FUZZ_CHECK(SemanticVer(text).GetMajorVersion() == 0);
        return 0;
    }

    const QStringList pieces = text.split(QLatin1Char('.'));
    FUZZ_CHECK(pieces.size() == 3);
    const unsigned int fields[3] = {version.GetMajorVersion(), version.GetMinorVersion(),
                                    version.GetPatchVersion()};
    for (int i = 0; i < 3; ++i) {
        const long long expected = asciiValue(pieces.at(i));
        if (expected >= 0) {
            FUZZ_CHECK(fields[i] == static_cast<unsigned int>(expected));
        }
    }

    const QString written = QString::number(fields[0]) + QLatin1Char('.') +
                            QString::number(fields[1]) + QLatin1Char('.') +
                            QString::number(fields[2]);
    const SemanticVer reread(written);
    FUZZ_CHECK(reread.GetMajorVersion() == fields[0] && reread.GetMinorVersion() == fields[1] &&
               reread.GetPatchVersion() == fields[2]);

    FUZZ_CHECK(version.IsAPICompatible(text));
    FUZZ_CHECK(version.IsAPICompatible(reread));
    const SemanticVer other(QStringLiteral("3.0.0"));
    FUZZ_CHECK(version.IsAPICompatible(other) == (fields[0] == 3));
    FUZZ_CHECK(other.IsAPICompatible(text) == (fields[0] == 3));
    return 0;
}
