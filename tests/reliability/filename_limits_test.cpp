// SPDX-License-Identifier: MIT
// Limits of the file-name operations: path names of 1 MB.
#include <orrery/filename.h>

#include "limits.h"
#include "testutil.h"

#include <gtest/gtest.h>

#include <string>

namespace fn = Orrery::Filename;

namespace {

constexpr std::size_t kMegabyte = std::size_t(1) << 20;

// "dir\" repeated to 1 MB, then "file.txt".
std::string longPath() {
    std::string path;
    path.reserve(kMegabyte + 16);
    while (path.size() < kMegabyte) {
        path += "dir\\";
    }
    return path + "file.txt";
}

std::string repeat(const std::string& piece, std::size_t count) {
    std::string text;
    text.reserve(piece.size() * count);
    for (std::size_t i = 0; i < count; ++i) {
        text += piece;
    }
    return text;
}

}  // namespace

TEST(FilenameLimits, MegabytePathIsSplitAndItsExtensionFound) {
    const std::string path = longPath();
    std::string dir;
    std::string name;
    EXPECT_TRUE(fn::parse_pathname(path, &dir, &name));
    EXPECT_EQ(name, "file.txt");
    EXPECT_EQ(dir.size(), path.size() - 9);
    EXPECT_EQ(fn::get_extension(path), ".txt");
    EXPECT_EQ(fn::strip_extension(path), path.substr(0, path.size() - 4));
    EXPECT_EQ(fn::rename_extension(path, "xml"), path.substr(0, path.size() - 3) + "xml");
    EXPECT_EQ(fn::add_separator(path), path + "\\");
    EXPECT_EQ(fn::remove_separator(path + "\\\\\\"), path);
    EXPECT_EQ(fn::convert_separators(std::string(path).replace(0, 4, "dir/")), path);
}

TEST(FilenameLimits, MegabytePathIsNormalisedAndCompared) {
    const std::string path = longPath();
    EXPECT_EQ(fn::normalize_pathname(path), path);
    // Every "x\.." folds away, 1 MB of them.
    EXPECT_EQ(fn::normalize_pathname(repeat("x\\..\\", kMegabyte / 5) + "end"), "end");
    // Parents that climb above the first piece are kept.
    const std::string climbing = repeat("..\\", kMegabyte / 3) + "x";
    EXPECT_EQ(fn::normalize_pathname(climbing), climbing);

    std::string upper = path;
    for (char& c : upper) {
        c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
    }
    EXPECT_EQ(fn::compare_filenames(path, upper), 0);
    EXPECT_TRUE(fn::starts_with_filename(path, upper.substr(0, kMegabyte / 2)));
    EXPECT_LT(fn::compare_filenames(path, path + "x"), 0);
}

TEST(FilenameLimits, MegabytePathIsMadeRelativeAndResolved) {
    const std::string base = "C:\\" + longPath();
    const std::string below = base + "\\sub\\leaf";
    std::string relative;
    EXPECT_TRUE(fn::make_relative_path(below, base, &relative));
    EXPECT_EQ(relative, "sub\\leaf");
    EXPECT_TRUE(fn::make_relative_path(std::string("C:\\dir"), base, &relative));
    EXPECT_EQ(relative.size(), kMegabyte / 4 * 3 - 1);  // "..\" per piece below C:\dir
    EXPECT_EQ(fn::resolve_relative_path(relative, base), "C:\\dir");
    EXPECT_EQ(fn::append_filename(base, "x.txt"), base + "\\x.txt");
}

class FilenameLimitsFileSystem : public OrreryTest::TempDirTest {};

TEST_F(FilenameLimitsFileSystem, MegabytePathDoesNotExist) {
    // The operating system refuses a name this long: it exists nowhere, it has no
    // physical form, and it is the same name only as itself.
    const std::string path = stdPath() + "/" + longPath();
    EXPECT_FALSE(fn::path_exists(path));
    EXPECT_EQ(fn::get_physical_path(path), "");
    EXPECT_TRUE(fn::is_same_pathname(path, path));
    EXPECT_FALSE(fn::is_same_pathname(path, path + "x"));
    const std::string full = fn::get_full_path(longPath());
    EXPECT_EQ(full.size(), fn::get_current_directory().size() + 1 + longPath().size());
}

TEST(FilenameLimits, MegabyteQtPathWithManyParentsFoldsInLinearTime) {
    // 300,000 names and then 200,000 parents: each ".." takes the name before it away.
    const QString path = QString::fromStdString("/" + repeat("a/", 300000) + repeat("../", 200000));
    ASSERT_GE(path.size(), int(kMegabyte));
    const QString folded = Orrery::GetNormalizedAbsolutePath_unixSlashes(path);
    EXPECT_EQ(folded.size(), 1 + 100000 * 2 - 1 + 1);
    EXPECT_TRUE(folded.startsWith(QStringLiteral("/a/a/")));
    EXPECT_TRUE(folded.endsWith(QStringLiteral("a/a/")));
    // One parent more than there are names: the path climbs above its root and is
    // returned unfolded.
    const QString climbing =
        QString::fromStdString("/" + repeat("a/", 300000) + repeat("../", 300001));
    EXPECT_EQ(Orrery::GetNormalizedAbsolutePath_unixSlashes(climbing), climbing);
}
