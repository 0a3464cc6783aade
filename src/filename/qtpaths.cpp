// SPDX-License-Identifier: MIT
// The Qt-facing file-name services: DirectorySaver and the normalised absolute
// paths of namespace Orrery.
#include <orrery/filename.h>

#include "filename/filename_p.h"
#include "platform/host_p.h"

#include <QByteArray>
#include <QDir>
#include <QString>
#include <QStringList>

#include <cstdlib>

namespace Orrery {

namespace Filename {

DirectorySaver::DirectorySaver() : original_cwd(QDir::currentPath().toLocal8Bit().toStdString()) {}

// Saved in the local 8-bit encoding, restored from bytes read as UTF-8: the two agree for
// ASCII names only, an asymmetry kept on purpose.
DirectorySaver::~DirectorySaver() {
    QDir::setCurrent(QString::fromUtf8(original_cwd.c_str()));
}

bool DirectorySaver::change_dir(const std::string& path) const {
    return QDir::setCurrent(QString::fromUtf8(path.c_str()));
}

bool DirectorySaver::change_dir(const char* path) const {
    return QDir::setCurrent(QString::fromUtf8(path ? path : ""));
}

}  // namespace Filename

namespace {

QString unixSlashes(QString text) {
    return text.replace(QLatin1Char('\\'), QLatin1Char('/'));
}

bool startsWithDriveRoot(const QString& text) {
    if (text.size() < 3 || text.at(1) != QLatin1Char(':') || text.at(2) != QLatin1Char('/')) {
        return false;
    }
    const ushort letter = text.at(0).unicode();
    return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z');
}

}  // namespace

QString GetNormalizedAbsolutePath_unixSlashes(const QString& path) {
    QString absolute = unixSlashes(path);
    if (!absolute.startsWith(QLatin1Char('/')) && !startsWithDriveRoot(absolute)) {
        char* cwd = vexil::getcwd_utf8_legacy(nullptr, 0);
        const QString directory = QString::fromUtf8(cwd ? cwd : "");
        std::free(cwd);
        absolute = unixSlashes(QString(directory + QLatin1Char('/') + path));
    }

    int prefixLength = 0;
    while (prefixLength < absolute.size() - 1 && absolute.at(prefixLength) == QLatin1Char('/')) {
        ++prefixLength;
    }
    const QString prefix = absolute.left(prefixLength);
    const bool trailingSlash = absolute.endsWith(QLatin1Char('/'));

    QStringList parts = absolute.mid(prefixLength).split(QLatin1Char('/'), Qt::SkipEmptyParts);
    parts.removeAll(QStringLiteral("."));
    // Each ".." takes away the nearest entry before it that is still there: one pass
    // from the left, so that a long path folds in linear time.
    const QString parent = QStringLiteral("..");
    QStringList kept;
    kept.reserve(parts.size());
    for (const QString& part : qAsConst(parts)) {
        if (part != parent) {
            kept.append(part);
        } else if (kept.isEmpty()) {
            return absolute;  // climbs above its root: returned unfolded
        } else {
            kept.removeLast();
        }
    }
    QString result = prefix + kept.join(QLatin1Char('/'));
    if (trailingSlash) {
        result += QLatin1Char('/');
    }
    return result;
}

const char* GetNormalizedAbsolutePathToExecutable_nativeSlashes_utf8(const char* path) {
    static std::string text;
    if (path != nullptr && !QDir::isRelativePath(QString::fromUtf8(path))) {
        const QString normalized = QDir::toNativeSeparators(
            GetNormalizedAbsolutePath_unixSlashes(QString::fromUtf8(path)));
        text = normalized.toLocal8Bit().toStdString();
    } else {
        text = Platform::executable_path_utf8();
    }
    return text.c_str();
}

}  // namespace Orrery
