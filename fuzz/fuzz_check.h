// SPDX-License-Identifier: MIT
// Helpers shared by the fuzz targets: invariant checks that abort with a readable
// message, and the turning of fuzz bytes into the library's text types.
#pragma once

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace OrreryFuzz {

[[noreturn]] inline void fail(const char* what, const char* file, int line) {
    std::fprintf(stderr, "invariant failed: %s (%s:%d)\n", what, file, line);
    std::abort();
}

// Shows a text with everything outside printable ASCII as \uXXXX, so that a failing
// comparison can be read from the log.
inline std::string show(const QString& text) {
    std::string out;
    for (const QChar c : text) {
        const ushort u = c.unicode();
        if (u >= 0x20 && u < 0x7f && u != '\\') {
            out += static_cast<char>(u);
        } else {
            char buffer[8];
            std::snprintf(buffer, sizeof buffer, "\\u%04x", u);
            out += buffer;
        }
    }
    return out;
}

inline std::string show(const std::string& bytes) {
    std::string out;
    for (const char c : bytes) {
        const auto u = static_cast<unsigned char>(c);
        if (u >= 0x20 && u < 0x7f && u != '\\') {
            out += c;
        } else {
            char buffer[8];
            std::snprintf(buffer, sizeof buffer, "\\x%02x", u);
            out += buffer;
        }
    }
    return out;
}

template <class T>
void failEqual(const char* what, const T& actual, const T& expected, const char* file, int line) {
    std::fprintf(stderr, "invariant failed: %s (%s:%d)\n  actual:   \"%s\"\n  expected: \"%s\"\n",
                 what, file, line, show(actual).c_str(), show(expected).c_str());
    std::abort();
}

// Text for the Qt-facing targets. A first byte of 0xFF (never part of UTF-8) makes the rest
// raw UTF-16 code units, unpaired surrogates included; any other input is read as UTF-8,
// where invalid sequences become replacement characters.
inline QString text(const uint8_t* data, size_t size) {
    if (size > 0 && data[0] == 0xFF) {
        QString units;
        for (size_t i = 1; i + 1 < size; i += 2) {
            units += QChar(static_cast<ushort>(data[i] | (data[i + 1] << 8)));
        }
        return units;
    }
    return QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<int>(size));
}

// The input cut at NUL bytes into at most maxParts pieces (the last piece keeps any
// further NUL bytes).
inline std::vector<std::string> split(const uint8_t* data, size_t size, size_t maxParts) {
    std::vector<std::string> parts;
    std::string current;
    for (size_t i = 0; i < size; ++i) {
        if (data[i] == 0 && parts.size() + 1 < maxParts) {
            parts.push_back(current);
            current.clear();
        } else {
            current += static_cast<char>(data[i]);
        }
    }
    parts.push_back(current);
    return parts;
}

inline QString text(const std::string& bytes) {
    return text(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace OrreryFuzz

#define FUZZ_CHECK(condition)                                   \
    do {                                                        \
        if (!(condition)) {                                     \
            ::OrreryFuzz::fail(#condition, __FILE__, __LINE__); \
        }                                                       \
    } while (0)

#define FUZZ_CHECK_EQ(actual, expected)                                                   \
    do {                                                                                  \
        const auto& fuzzActual_ = (actual);                                               \
        const auto& fuzzExpected_ = (expected);                                           \
        if (!(fuzzActual_ == fuzzExpected_)) {                                            \
            ::OrreryFuzz::failEqual(#actual " == " #expected, fuzzActual_, fuzzExpected_, \
                                    __FILE__, __LINE__);                                  \
        }                                                                                 \
    } while (0)
