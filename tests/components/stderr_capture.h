// SPDX-License-Identifier: MIT
// Captures what is written to the standard error file descriptor while alive.
#pragma once

#include <QByteArray>
#include <QFile>
#include <QTemporaryFile>

#include <unistd.h>
#include <cstdio>
#include <iostream>

namespace OrreryTest {

class StderrCapture {
public:
    StderrCapture() {
        file_.open();
        std::cerr.flush();
        std::fflush(stderr);
        saved_ = ::dup(STDERR_FILENO);
        ::dup2(file_.handle(), STDERR_FILENO);
    }
    ~StderrCapture() { restore(); }
    StderrCapture(const StderrCapture&) = delete;
    StderrCapture& operator=(const StderrCapture&) = delete;

    /// Stops capturing and returns everything written meanwhile.
    QByteArray text() {
        restore();
        QFile reader(file_.fileName());
        reader.open(QIODevice::ReadOnly);
        return reader.readAll();
    }

private:
    void restore() {
        if (saved_ >= 0) {
            std::cerr.flush();
            std::fflush(stderr);
            ::dup2(saved_, STDERR_FILENO);
            ::close(saved_);
            saved_ = -1;
        }
    }
    QTemporaryFile file_;
    int saved_ = -1;
};

}  // namespace OrreryTest
