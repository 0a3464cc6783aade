// SPDX-License-Identifier: MIT
// UTF-8 process I/O: a file buffer opened by UTF-8 name, the application's
// arguments as UTF-8 C strings and temporary names.

#include <orrery/startup.h>

#include "platform/host_p.h"

#include <QByteArray>
#include <QStringList>
#include <QThreadStorage>

#include <cstdlib>
#include <cstring>
#include <fstream>

namespace Orrery {

filebuf_utf8::filebuf_utf8() : impl(new std::basic_filebuf<char>()) {}

filebuf_utf8::~filebuf_utf8() {
    // The standard buffer closes its file when destroyed.
    delete impl;
}

// Self-assignment copies the pointer onto itself, which is harmless.
filebuf_utf8& filebuf_utf8::operator=(  // NOLINT(bugprone-unhandled-self-assignment)
    const filebuf_utf8& other) {
    // A shallow copy of the pointer, kept deliberately.
    impl = other.impl;
    return *this;
}

bool filebuf_utf8::open(const char* name, int mode) {
    return Platform::open_filebuf_utf8(*impl, name ? std::string(name) : std::string(),
                                       static_cast<std::ios_base::openmode>(mode));
}

bool filebuf_utf8::close() {
    // The standard close undoes a put-back, finishes pending output, closes the file
    // and resets the buffer even when one of these fails.
    return impl->close() != nullptr;
}

bool filebuf_utf8::is_open() const {
    return impl->is_open();
}

filebuf_utf8::operator std::basic_streambuf<char>&() {
    return *impl;
}

namespace {

// Like _strdup: a malloc'ed copy that the caller releases with free().
char* duplicateString(const QByteArray& text) {
    const std::size_t size = static_cast<std::size_t>(text.size()) + 1;
    auto* copy = static_cast<char*>(std::malloc(size));
    if (copy != nullptr) {
        std::memcpy(copy, text.constData(), size);
    }
    return copy;
}

/**
 * One result buffer per thread. Qt deletes a thread's buffer when the thread ends (a C++
 * thread_local with a destructor crashes at thread exit with mingw-w64's emulated TLS);
 * the buffer of the thread that ends the process goes with this object.
 */
class ResultBuffers {
public:
    ResultBuffers() = default;
    ResultBuffers(const ResultBuffers&) = delete;
    ResultBuffers& operator=(const ResultBuffers&) = delete;
    ~ResultBuffers() {
        if (buffers_.hasLocalData()) {
            buffers_.setLocalData(nullptr);  // deletes the buffer it replaces
        }
    }
    std::string& local() {
        if (!buffers_.hasLocalData()) {
            buffers_.setLocalData(new std::string);
        }
        return *buffers_.localData();
    }

private:
    QThreadStorage<std::string*> buffers_;
};

}  // namespace

void get_application_arguments_utf8(int* argc, char*** argv) {
    // The start-up made UTF-8 the locale codec, so toLocal8Bit() yields UTF-8.
    const QStringList arguments = QCoreApplication::arguments();
    const int count = arguments.size();
    char** out = new char*[static_cast<std::size_t>(count) + 1];
    for (int i = 0; i < count; ++i) {
        out[i] = duplicateString(arguments.at(i).toLocal8Bit());
    }
    out[count] = nullptr;
    *argc = count;
    *argv = out;
}

const char* tmpnam_utf8() {
    static ResultBuffers results;
    std::string& result = results.local();
    result = Platform::temporary_name_utf8();
    return result.c_str();
}

}  // namespace Orrery
