// SPDX-License-Identifier: MIT
// Text helpers of the platform layer: splitting and UTF-8 / wide conversions.

#include <vexil/core.h>

namespace vexil {

std::vector<std::string> tokenize(std::string_view text, std::string_view delimiters,
                                  bool keep_empty) {
    std::vector<std::string> pieces;
    std::size_t start = 0;
    while (true) {
        const std::size_t end = text.find_first_of(delimiters, start);
        const std::string_view piece = text.substr(
            start, end == std::string_view::npos ? std::string_view::npos : end - start);
        if (keep_empty || !piece.empty()) {
            pieces.emplace_back(piece);
        }
        if (end == std::string_view::npos) {
            break;
        }
        start = end + 1;
    }
    return pieces;
}

namespace {

constexpr char32_t kReplacement = 0xFFFD;

void appendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

void appendWide(std::wstring& out, char32_t c) {
    if constexpr (sizeof(wchar_t) == 2) {
        if (c >= 0x10000) {
            c -= 0x10000;
            out += static_cast<wchar_t>(0xD800 + (c >> 10));
            out += static_cast<wchar_t>(0xDC00 + (c & 0x3FF));
            return;
        }
    }
    out += static_cast<wchar_t>(c);
}

bool isSurrogate(char32_t c) {
    return c >= 0xD800 && c <= 0xDFFF;
}

}  // namespace

std::string toStdString(const std::wstring& text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t c = static_cast<char32_t>(text[i]);
        if constexpr (sizeof(wchar_t) == 2) {
            c &= 0xFFFF;
            if (c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size()) {
                const char32_t low = static_cast<char32_t>(text[i + 1]) & 0xFFFF;
                if (low >= 0xDC00 && low <= 0xDFFF) {
                    c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
                    ++i;
                    appendUtf8(out, c);
                    continue;
                }
            }
        }
        if (isSurrogate(c) || c > 0x10FFFF) {
            c = kReplacement;
        }
        appendUtf8(out, c);
    }
    return out;
}

std::wstring toWString(const std::string& text) {
    std::wstring out;
    out.reserve(text.size());
    const auto* s = reinterpret_cast<const unsigned char*>(text.data());
    const std::size_t n = text.size();
    std::size_t i = 0;
    while (i < n) {
        const unsigned char b = s[i];
        std::size_t len = 0;
        char32_t c = 0;
        char32_t min = 0;
        if (b < 0x80) {
            len = 1;
            c = b;
        } else if ((b & 0xE0) == 0xC0) {
            len = 2;
            c = b & 0x1F;
            min = 0x80;
        } else if ((b & 0xF0) == 0xE0) {
            len = 3;
            c = b & 0x0F;
            min = 0x800;
        } else if ((b & 0xF8) == 0xF0) {
            len = 4;
            c = b & 0x07;
            min = 0x10000;
        } else {
            appendWide(out, kReplacement);
            ++i;
            continue;
        }
        if (i + len > n) {
            appendWide(out, kReplacement);
            ++i;
            continue;
        }
        bool valid = true;
        for (std::size_t k = 1; k < len; ++k) {
            if ((s[i + k] & 0xC0) != 0x80) {
                valid = false;
                break;
            }
            c = (c << 6) | (s[i + k] & 0x3F);
        }
        if (!valid || c < min || isSurrogate(c) || c > 0x10FFFF) {
            appendWide(out, kReplacement);
            ++i;
            continue;
        }
        appendWide(out, c);
        i += len;
    }
    return out;
}

}  // namespace vexil
