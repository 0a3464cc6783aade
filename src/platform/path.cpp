// SPDX-License-Identifier: MIT
// vexil::Path: the textual operations shared by every host.

#include <vexil/core.h>

#include "host_p.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace vexil {

Path::Path(const char* path) : text_(path ? path : "") {}

Path::Path(std::string path) : text_(std::move(path)) {}

namespace {

bool isSeparator(char c) {
    return c == '/' || c == '\\';
}

}  // namespace

Path& Path::append(const Path& other) {
    if (other.text_.empty()) {
        return *this;
    }
    if (text_.empty()) {
        text_ = other.text_;
        return *this;
    }
    std::size_t end = text_.size();
    while (end > 0 && isSeparator(text_[end - 1])) {
        --end;
    }
    std::size_t begin = 0;
    while (begin < other.text_.size() && isSeparator(other.text_[begin])) {
        ++begin;
    }
    // A root made only of separators keeps its own spelling.
    text_.resize(end == 0 ? 1 : end);
    if (end != 0) {
        text_ += host::separator();
    }
    text_.append(other.text_, begin, std::string::npos);
    return *this;
}

std::string Path::native() const {
    std::string out = text_;
    const char sep = host::separator();
    for (char& c : out) {
        if (isSeparator(c)) {
            c = sep;
        }
    }
    return out;
}

Path& Path::normalize() {
    const std::string text = native();
    const char sep = host::separator();
    std::string root;
    std::size_t pos = 0;
    if (text.size() >= 2 && text[1] == ':') {
        root = text.substr(0, 2);
        pos = 2;
    }
    if (pos < text.size() && text[pos] == sep) {
        root += sep;
        ++pos;
        if (pos == 1 && pos < text.size() && text[pos] == sep) {
            root += sep;  // UNC
            ++pos;
        }
    }
    const bool rooted = !root.empty() && root.back() == sep;
    std::vector<std::string> kept;
    for (std::string& piece : tokenize(std::string_view(text).substr(pos), "/\\", false)) {
        if (piece == ".") {
            continue;
        }
        if (piece == ".." && !kept.empty() && kept.back() != "..") {
            kept.pop_back();
            continue;
        }
        if (piece == ".." && rooted) {
            continue;  // nothing lies above a root
        }
        kept.push_back(std::move(piece));
    }
    std::string out = root;
    for (std::size_t i = 0; i < kept.size(); ++i) {
        if (i > 0) {
            out += sep;
        }
        out += kept[i];
    }
    if (out.empty() && !text.empty()) {
        out = ".";
    }
    text_ = out;
    return *this;
}

char* getcwd_utf8_legacy(char* buffer, int size) {
    const std::string cwd = host::current_directory();
    if (cwd.empty()) {
        return nullptr;
    }
    if (buffer == nullptr) {
        const std::size_t bytes = std::max<std::size_t>(cwd.size() + 1, size > 0 ? size : 0);
        auto* out = static_cast<char*>(std::malloc(bytes));
        if (out != nullptr) {
            std::memcpy(out, cwd.c_str(), cwd.size() + 1);
        }
        return out;
    }
    if (size <= 0 || cwd.size() + 1 > static_cast<std::size_t>(size)) {
        errno = ERANGE;
        return nullptr;
    }
    std::memcpy(buffer, cwd.c_str(), cwd.size() + 1);
    return buffer;
}

int Path::compare_filenames(const Path& a, const Path& b) {
    return host::compare_names(a.native(), b.native());
}

}  // namespace vexil
