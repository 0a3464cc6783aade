// SPDX-License-Identifier: MIT
// Helpers of the limit tests: a small call stack to run on, a device that only counts
// what is written to it, and printing of long texts in test failures.
#pragma once

#include <QIODevice>
#include <QString>
#include <QThread>

#include <ostream>
#include <string>

// Long texts are shown by their length and ends, so a failure stays readable.
inline void PrintTo(const QString& text, std::ostream* out) {
    if (text.size() <= 200) {
        *out << '"' << text.toStdString() << '"';
    } else {
        *out << text.size() << " characters \"" << text.left(60).toStdString() << "...\""
             << text.right(60).toStdString() << '"';
    }
}

namespace ReliabilityTest {

/// Runs @p f on a thread with a 256 KiB stack, far too small for a recursion per level
/// of the deep trees used here, and waits for it.
template <class F>
void runOnSmallStack(F f) {
    QThread* thread = QThread::create(f);
    thread->setStackSize(256 * 1024);
    thread->start();
    thread->wait();
    delete thread;
}

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
