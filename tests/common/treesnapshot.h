// SPDX-License-Identifier: MIT
// What a directory tree looks like on disk, to show that an operation changed nothing.
#pragma once

#include <QByteArray>
#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QString>
#include <QStringList>

#include <string>

#ifdef _WIN32
#include <QDateTime>
#include <QFileInfo>
#else
#include <fcntl.h>
#include <sys/stat.h>
#endif

namespace OrreryTest {

namespace TreeDetail {

inline QStringList entries(const QString& root) {
    QStringList names{root};
    QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        names << it.next();
    }
    names.sort();
    return names;
}

}  // namespace TreeDetail

/// Sets the modification time of @p root and of everything below it to one moment far in
/// the past, so that any later write, touch, creation or removal of an entry shows.
inline void ageTree(const QString& root) {
#ifdef _WIN32
    const QDateTime past = QDateTime::fromSecsSinceEpoch(946684800, Qt::UTC);  // 2000-01-01
    for (const QString& name : TreeDetail::entries(root)) {
        QFile file(name);
        // Qt sets the times of files only; a directory's own time still moves later when
        // an entry comes or goes in it.
        if (file.open(QIODevice::ReadWrite | QIODevice::ExistingOnly)) {
            file.setFileTime(past, QFileDevice::FileModificationTime);
        }
    }
#else
    const struct timespec past[2] = {{946684800, 0}, {946684800, 0}};  // 2000-01-01
    for (const QString& name : TreeDetail::entries(root)) {
        ::utimensat(AT_FDCWD, QFile::encodeName(name).constData(), past, AT_SYMLINK_NOFOLLOW);
    }
#endif
}

/**
 * One line per entry of @p root and below, the directory itself first: the name relative
 * to @p root, the modification time in nanoseconds and, for files, the size and a hash of
 * the bytes. A directory's time moves whenever an entry is created or removed in it, even
 * for a moment, so two equal snapshots mean that nothing was created, removed, written or
 * touched in between.
 */
inline std::string snapshotTree(const QString& root) {
    std::string out;
    const QDir base(root);
    for (const QString& name : TreeDetail::entries(root)) {
#ifdef _WIN32
        const QFileInfo info(name);
        out += base.relativeFilePath(name).toStdString();
        out += info.isDir() ? " dir" : " file";
        out += " mtime " +
               std::to_string(info.fileTime(QFileDevice::FileModificationTime).toMSecsSinceEpoch());
        if (info.isFile()) {
            QFile file(name);
            const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
            out += " size " + std::to_string(info.size()) + " sha1 " +
                   QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex().toStdString();
        }
        out += '\n';
#else
        struct stat info {};
        if (::lstat(QFile::encodeName(name).constData(), &info) != 0) {
            continue;
        }
        out += base.relativeFilePath(name).toStdString();
        out += S_ISDIR(info.st_mode) ? " dir" : " file";
        out += " mtime " + std::to_string(info.st_mtim.tv_sec) + '.' +
               std::to_string(info.st_mtim.tv_nsec);
        if (S_ISREG(info.st_mode)) {
            QFile file(name);
            const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
            out += " size " + std::to_string(info.st_size) + " sha1 " +
                   QCryptographicHash::hash(bytes, QCryptographicHash::Sha1).toHex().toStdString();
        }
        out += '\n';
#endif
    }
    return out;
}

}  // namespace OrreryTest
