// SPDX-License-Identifier: MIT
// Helpers of the limit tests: a device that only counts what is written to it, and
// nested documents; long texts print by their length and ends.
#pragma once

#include "qtprinters.h"

#include <QByteArray>
#include <QIODevice>

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

}  // namespace ReliabilityTest
