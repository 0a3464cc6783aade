// SPDX-License-Identifier: MIT
// Reads the key=[value] lines that the test drivers print.
#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QStringList>

namespace OrreryTest {

/// The key=[value] lines of a driver's output, in order; values are UTF-8.
class DriverOutput {
public:
    explicit DriverOutput(const QByteArray& text) {
        for (const QByteArray& line : text.split('\n')) {
            const int equals = line.indexOf("=[");
            if (equals > 0 && line.endsWith(']')) {
                entries_.append(
                    {QString::fromUtf8(line.left(equals)),
                     QString::fromUtf8(line.mid(equals + 2, line.size() - equals - 3))});
            }
        }
    }
    /// All values printed under @p key, in order.
    QStringList all(const QString& key) const {
        QStringList values;
        for (const auto& entry : entries_) {
            if (entry.first == key) {
                values << entry.second;
            }
        }
        return values;
    }
    /// The value printed under @p key the @p occurrence-th time (from 0); null when absent.
    QString value(const QString& key, int occurrence = 0) const {
        const QStringList values = all(key);
        return occurrence < values.size() ? values.at(occurrence) : QString();
    }

private:
    QList<QPair<QString, QString>> entries_;
};

}  // namespace OrreryTest
