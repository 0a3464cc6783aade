// SPDX-License-Identifier: MIT
// Cross-check against Python's ntpath on random Windows-style path names.
//
// ntpath_reference.py draws 10,000 path names (relative, "X:\" rooted, "\" rooted,
// drive-relative "X:name", UNC; mixed and doubled separators, trailing separators,
// ".", "..", dotted and non-ASCII names) and 10,000 (path, base) pairs from a fixed
// seed, and reports what ntpath says about each.
//
// Compared, wherever the two sets of rules agree:
//   is_relative          ntpath.splitdrive: no drive and no leading separator
//   get_leafname         ntpath.basename
//   get_extension, has_extension, strip_extension
//                        ntpath.splitext
//   get_basename         ntpath.splitext(ntpath.basename(p))[0]
//   normalize_pathname(_with_forward_slash)
//                        ntpath.normpath
//   resolve_relative_path, append_filename
//                        ntpath.normpath(ntpath.join(base, p))
//   make_relative_path   ntpath.relpath
// Where the rules differ, by design:
//   - ntpath takes a drive ("C:") or a UNC share ("\\srv\share") off the front before
//     anything else; here a drive without a root is part of the first name, and of a
//     UNC name only "\\srv\" is the root. So basename differs for "C:name" and a bare
//     "\\srv\share", and normpath for drive-relative and UNC names.
//   - ntpath.normpath drops ".." right under a root and gives "." for a path that folds
//     away; normalize_pathname keeps such ".." and gives "".
//   - ntpath.splitext skips every leading dot of a leaf ("..a" has no extension);
//     here only a dot at the leaf's first byte is skipped ("..a" has ".a").
//   - ntpath.relpath also builds "..\sibling" paths; make_relative_path refuses them,
//     and it fails where relpath raises (different drives).
// Not compared at all: get_parent_path (ntpath.dirname strips repeated separators
// before the leaf and keeps a root's slash as written), is_full_path (ntpath.isabs
// says "C:dir" is not absolute; here it is full), and compare_filenames /
// equal_filenames (ntpath.normcase also turns "/" into "\" and lowercases letters
// outside ASCII). The generator spells drive letters in ASCII, since Python counts
// characters where these functions count bytes.
#include <orrery/filename.h>

#include <gtest/gtest.h>

#include <QByteArray>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QString>
#include <QStringList>

#include <sstream>
#include <string>
#include <vector>

#ifndef ORRERY_NTPATH_SCRIPT
#error "ORRERY_NTPATH_SCRIPT must name ntpath_reference.py"
#endif

namespace fn = Orrery::Filename;

namespace {

constexpr int kCount = 10000;

std::string text(const QJsonObject& object, const char* key) {
    return object.value(QLatin1String(key)).toString().toStdString();
}

/// Counts comparisons and reports the first few mismatches of one operation.
class Tally {
public:
    explicit Tally(const char* operation) : operation_(operation) {}
    ~Tally() {
        EXPECT_EQ(mismatches_, 0) << operation_ << ": " << mismatches_ << " of " << compared_
                                  << " differ";
    }
    Tally(const Tally&) = delete;
    Tally& operator=(const Tally&) = delete;

    void check(bool agree, const std::string& input, const std::string& ours,
               const std::string& theirs) {
        ++compared_;
        if (agree) {
            return;
        }
        if (++mismatches_ <= 10) {
            ADD_FAILURE() << operation_ << "(\"" << input << "\"): ours \"" << ours
                          << "\", ntpath \"" << theirs << "\"";
        }
    }
    void skip() { ++skipped_; }
    int compared() const { return compared_; }
    int skipped() const { return skipped_; }

private:
    const char* operation_;
    int compared_ = 0;
    int skipped_ = 0;
    int mismatches_ = 0;
};

bool containsParentPiece(const std::string& folded) {
    std::size_t start = 0;
    while (start <= folded.size()) {
        const std::size_t end = folded.find('\\', start);
        const std::size_t stop = end == std::string::npos ? folded.size() : end;
        if (folded.compare(start, stop - start, "..") == 0) {
            return true;
        }
        if (end == std::string::npos) {
            break;
        }
        start = end + 1;
    }
    return false;
}

/// Whether ntpath.splitext sees no extension where the leaf has one here: every byte
/// before the leaf's last dot is a dot ("..a", "...").
bool leafOpensWithDots(const std::string& path) {
    const std::string leaf = fn::get_leafname(path);
    const std::size_t lastDot = leaf.rfind('.');
    return leaf != ".." && lastDot != std::string::npos && lastDot > 0 &&
           leaf.find_first_not_of('.') > lastDot;
}

class NtpathCrossCheck : public ::testing::Test {
protected:
    void SetUp() override {
#ifdef ORRERY_NTPATH_ROWS
        // A cross build: the build host ran the reference script, the target has no Python.
        QFile rows(QString::fromUtf8(ORRERY_NTPATH_ROWS));
        ASSERT_TRUE(rows.open(QIODevice::ReadOnly)) << ORRERY_NTPATH_ROWS;
        const QList<QByteArray> lines = rows.readAll().split('\n');
#else
        const QString python = QStandardPaths::findExecutable(QStringLiteral("python3"));
        if (python.isEmpty()) {
            GTEST_SKIP() << "python3 is not installed";
        }
        QProcess process;
        process.start(python, {QString::fromUtf8(ORRERY_NTPATH_SCRIPT), QStringLiteral("--seed"),
                               QStringLiteral("20250601"), QStringLiteral("--count"),
                               QString::number(kCount)});
        ASSERT_TRUE(process.waitForFinished(120000)) << "python3 did not finish";
        ASSERT_EQ(process.exitStatus(), QProcess::NormalExit);
        ASSERT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
        const QList<QByteArray> lines = process.readAllStandardOutput().split('\n');
#endif
        for (const QByteArray& line : lines) {
            if (line.isEmpty()) {
                continue;
            }
            QJsonParseError error{};
            const QJsonDocument document = QJsonDocument::fromJson(line, &error);
            ASSERT_EQ(error.error, QJsonParseError::NoError) << line.toStdString();
            const QJsonObject object = document.object();
            if (object.value(QLatin1String("kind")).toString() == QLatin1String("path")) {
                paths_.push_back(object);
            } else {
                pairs_.push_back(object);
            }
        }
        ASSERT_EQ(paths_.size(), std::size_t{kCount});
        ASSERT_EQ(pairs_.size(), std::size_t{kCount});
    }

    std::vector<QJsonObject> paths_;
    std::vector<QJsonObject> pairs_;
};

}  // namespace

TEST_F(NtpathCrossCheck, IsRelativeAgreesWithSplitdrive) {
    Tally tally("is_relative");
    for (const QJsonObject& row : paths_) {
        const std::string p = text(row, "p");
        const bool theirs = row.value(QLatin1String("isrel")).toBool();
        tally.check(fn::is_relative(p) == theirs, p, fn::is_relative(p) ? "true" : "false",
                    theirs ? "true" : "false");
    }
    EXPECT_EQ(tally.compared(), kCount);
}

TEST_F(NtpathCrossCheck, LeafnameAgreesWithBasename) {
    Tally tally("get_leafname");
    for (const QJsonObject& row : paths_) {
        const std::string p = text(row, "p");
        const std::string drive = text(row, "drive");
        const std::string rest = p.substr(drive.size());
        // ntpath splits the drive off first: "C:name" and "\\srv\share" differ.
        if (!drive.empty() && rest.find_first_of("/\\") == std::string::npos) {
            tally.skip();
            continue;
        }
        const std::string ours = fn::get_leafname(p);
        tally.check(ours == text(row, "basename"), p, ours, text(row, "basename"));
    }
    EXPECT_GT(tally.compared(), kCount * 8 / 10);
}

TEST_F(NtpathCrossCheck, ExtensionsAgreeWithSplitext) {
    Tally extension("get_extension");
    Tally has("has_extension");
    Tally strip("strip_extension");
    Tally basename("get_basename");
    for (const QJsonObject& row : paths_) {
        const std::string p = text(row, "p");
        if (leafOpensWithDots(p)) {
            extension.skip();
            continue;
        }
        const QJsonArray split = row.value(QLatin1String("splitext")).toArray();
        const std::string root = split.at(0).toString().toStdString();
        const std::string ext = split.at(1).toString().toStdString();
        std::string ours;
        const bool found = fn::get_extension(p, &ours);
        extension.check(ours == ext, p, ours, ext);
        has.check(found == !ext.empty() && fn::has_extension(p) == found, p,
                  found ? "true" : "false", ext.empty() ? "false" : "true");
        strip.check(fn::strip_extension(p) == root, p, fn::strip_extension(p), root);
        const std::string drive = text(row, "drive");
        if (!drive.empty() && p.find_first_of("/\\", drive.size()) == std::string::npos) {
            basename.skip();
            continue;
        }
        basename.check(fn::get_basename(p) == text(row, "stem"), p, fn::get_basename(p),
                       text(row, "stem"));
    }
    EXPECT_GT(extension.compared(), kCount * 9 / 10);
    EXPECT_GT(basename.compared(), kCount * 8 / 10);
}

TEST_F(NtpathCrossCheck, NormalizeAgreesWithNormpath) {
    Tally tally("normalize_pathname");
    Tally forward("normalize_pathname_with_forward_slash");
    for (const QJsonObject& row : paths_) {
        const std::string p = text(row, "p");
        const std::string drive = text(row, "drive");
        const std::string ours = fn::normalize_pathname(p);
        const bool driveRelative = drive.size() == 2 && !fn::is_separator(p.substr(2));
        const bool unc =
            drive.size() > 2 || (p.size() >= 2 && fn::is_separator(p[0]) && fn::is_separator(p[1]));
        const bool rooted = !fn::is_relative(p);
        if (driveRelative || unc || ours.empty() || (rooted && containsParentPiece(ours))) {
            tally.skip();
            continue;
        }
        const std::string theirs = text(row, "normpath");
        tally.check(ours == theirs, p, ours, theirs);
        std::string slashed = theirs;
        for (char& c : slashed) {
            c = c == '\\' ? '/' : c;
        }
        forward.check(fn::normalize_pathname_with_forward_slash(p) == slashed, p,
                      fn::normalize_pathname_with_forward_slash(p), slashed);
    }
    EXPECT_GT(tally.compared(), kCount / 2);
}

TEST_F(NtpathCrossCheck, ResolveAgreesWithJoinAndNormpath) {
    Tally resolve("resolve_relative_path");
    Tally append("append_filename");
    for (const QJsonObject& row : paths_) {
        const std::string p = text(row, "p");
        const std::string base = text(row, "base");
        std::string ours;
        const bool ok = fn::resolve_relative_path(p, base, &ours);
        if (!fn::is_relative(p)) {
            resolve.check(!ok && ours == p, p, ours, "(not relative)");
            continue;
        }
        if (containsParentPiece(ours)) {
            resolve.skip();
            continue;
        }
        const std::string theirs = text(row, "joined");
        resolve.check(ok && ours == theirs, base + "\" + \"" + p, ours, theirs);
        append.check(fn::append_filename(base, p) == theirs, base + "\" + \"" + p,
                     fn::append_filename(base, p), theirs);
    }
    EXPECT_GT(append.compared(), kCount / 4);
}

TEST_F(NtpathCrossCheck, MakeRelativeAgreesWithRelpathForAncestorsAndDescendants) {
    Tally tally("make_relative_path");
    int related = 0;
    int refused = 0;
    for (const QJsonObject& row : pairs_) {
        const std::string path = text(row, "path");
        const std::string base = text(row, "base");
        std::string ours;
        const bool ok = fn::make_relative_path(path, base, &ours);
        const std::string input = path + "\" from \"" + base;
        const QJsonValue relpath = row.value(QLatin1String("relpath"));
        if (relpath.isNull()) {
            // Different drives: relpath raises, make_relative_path fails.
            tally.check(!ok && ours == fn::normalize_pathname(path), input, ours, "(error)");
            ++refused;
            continue;
        }
        const std::string theirs = relpath.toString().toStdString();
        const QStringList pieces = relpath.toString().split(QLatin1Char('\\'));
        const int parents = static_cast<int>(pieces.count(QStringLiteral("..")));
        if (theirs == ".") {
            tally.check(ok && ours.empty(), input, ours, theirs);
            ++related;
        } else if (parents == 0 || parents == pieces.size()) {
            tally.check(ok && ours == theirs, input, ours, theirs);
            ++related;
        } else {
            // "..\sibling": refused, and the folded path is handed back.
            tally.check(!ok && ours == fn::normalize_pathname(path), input, ours, theirs);
            ++refused;
        }
    }
    EXPECT_EQ(tally.compared(), kCount);
    EXPECT_GT(related, kCount / 2);
    EXPECT_GT(refused, kCount / 5);
}
