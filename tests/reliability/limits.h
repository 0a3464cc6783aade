// SPDX-License-Identifier: MIT
// Helpers of the limit tests: a device that only counts what is written to it, nested
// documents and the position of the call stack; long texts print by their length and ends.
#pragma once

#include "qtprinters.h"

#include <QByteArray>
#include <QIODevice>

#include <cstdint>

#if defined(_MSC_VER)
#include <intrin.h>
#endif

namespace ReliabilityTest {

/// A write-only device that counts the bytes written to it and keeps none.
class CountingDevice : public QIODevice {
public:
    CountingDevice() { open(QIODevice::WriteOnly); }
    qint64 count = 0;

protected:
    qint64 readData(char*, qint64) override { return -1; }
    qint64 writeData(const char*, qint64 length) override {
        count += length;
        return length;
    }
};

/// "<e>" @p depth times, @p innermost, then the closing tags.
inline QByteArray nestedDocument(int depth, const QByteArray& innermost) {
    QByteArray text;
    text.reserve(depth * 7 + innermost.size());
    for (int i = 0; i < depth; ++i) {
        text += "<e>";
    }
    text += innermost;
    for (int i = 0; i < depth; ++i) {
        text += "</e>";
    }
    return text;
}

/// The address of the current stack frame: the difference of two positions is the stack
/// used by the calls in between.
inline std::uintptr_t stackPosition() {
#if defined(_MSC_VER)
    return reinterpret_cast<std::uintptr_t>(_AddressOfReturnAddress());
#else
    return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
#endif
}

}  // namespace ReliabilityTest
