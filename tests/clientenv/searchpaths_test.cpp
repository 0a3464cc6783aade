// SPDX-License-Identifier: MIT
// The search path and the language path, checked character for character.
#include <vexil/clientenvironment.h>

#include "clientenvtest.h"

using OrreryTest::ChildResult;
using OrreryTest::DriverOutput;
using OrreryTest::native;

namespace {

class SearchPathsTest : public OrreryTest::ClientEnvProcessTest {
protected:
    static QString installationPath(const QString& d) {
        return QString(d + QStringLiteral("\\bin\\win32_64;") + d +
                       QStringLiteral("\\lib\\win32_64;") + d + QStringLiteral("\\tools\\python;") +
                       d + QStringLiteral("\\tools\\bin_win32_64;") + d + QStringLiteral("\\bin;") +
                       d + QStringLiteral("\\arttrans;"));
    }
    QString bitmaps() const {
        const QString d = native(inst());
        return QString(d + QStringLiteral("\\de\\bitmaps;") + d +
                       QStringLiteral("\\dds\\bitmaps;") + d + QStringLiteral("\\lapi\\bitmaps"));
    }
    QString pathAfter(const QString& mode) {
        const ChildResult result = run(mode);
        EXPECT_EQ(result.exitCode, 0) << result.err.constData();
        return DriverOutput(result.out).value(QStringLiteral("PATH"));
    }
};

}  // namespace

TEST_F(SearchPathsTest, SetupSystemPathPutsTheSixDirectoriesAndAnEmptyEntryFirst) {
    setChild(QStringLiteral("PATH"), userPath());
    EXPECT_EQ(pathAfter(QStringLiteral("system-path")),
              QString(installationPath(native(inst())) + QStringLiteral(";") + userPath()));
}

// VEXIL_INSTALLATION_DIR names the installation only on POSIX; the test below shows the
// Windows spelling on Windows.
#ifndef _WIN32
TEST_F(SearchPathsTest, SetupSystemPathWithAWindowsStyleInstallationDirectory) {
    // "C:\X" names the relative directory C:/X on this host; native() spells it C:/X.
    ASSERT_TRUE(QDir(path()).mkpath(QStringLiteral("C:/X")));
    setChild(QStringLiteral("VEXIL_INSTALLATION_DIR"), QStringLiteral("C:\\X"));
    setChild(QStringLiteral("PATH"), QStringLiteral("C:\\Windows"));
    const ChildResult result = run(QStringLiteral("system-path"), {}, path());
    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
    EXPECT_EQ(DriverOutput(result.out).value(QStringLiteral("PATH")),
              QStringLiteral("C:/X\\bin\\win32_64;C:/X\\lib\\win32_64;C:/X\\tools\\python;"
                             "C:/X\\tools\\bin_win32_64;C:/X\\bin;C:/X\\arttrans;;C:\\Windows"));
}
#endif

#ifdef _WIN32
// The installation directory comes from the program's own path, with a drive and
// backslashes, so every entry is a Windows name and ";" separates them all.
TEST_F(SearchPathsTest, SetupSystemPathOnWindowsIsBackslashedAndSemicolonSeparated) {
    setChild(QStringLiteral("PATH"), QStringLiteral("C:\\Windows\\system32;C:\\Windows"));
    const QString d = native(inst());
    ASSERT_TRUE(d.size() > 3 && d.at(0).isLetter() && d.mid(1, 2) == QStringLiteral(":\\"))
        << d.toStdString();
    ASSERT_FALSE(d.contains(QLatin1Char('/')));
    const QString exported = pathAfter(QStringLiteral("system-path"));
    EXPECT_EQ(exported,
              QString(d + QStringLiteral("\\bin\\win32_64;") + d +
                      QStringLiteral("\\lib\\win32_64;") + d + QStringLiteral("\\tools\\python;") +
                      d + QStringLiteral("\\tools\\bin_win32_64;") + d + QStringLiteral("\\bin;") +
                      d + QStringLiteral("\\arttrans;;C:\\Windows\\system32;C:\\Windows")));
    EXPECT_FALSE(exported.contains(QLatin1Char('/')));
    EXPECT_EQ(exported.split(QLatin1Char(';')).size(), 9);
}
#endif

TEST_F(SearchPathsTest, EmptyPathYieldsTheSixEntriesAndOneMoreSeparator) {
    setChild(QStringLiteral("PATH"), QString());
    const ChildResult result = run(QStringLiteral("system-path"));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(DriverOutput(result.out).value(QStringLiteral("PATH")),
              QString(installationPath(native(inst())) + QStringLiteral(";")));
    EXPECT_TRUE(DriverOutput(result.out)
                    .value(QStringLiteral("PATH"))
                    .endsWith(QStringLiteral("\\arttrans;;")));
    EXPECT_EQ(result.err, QByteArray("Could not find PATH environment variable."));
}

TEST_F(SearchPathsTest, SetupSystemPathTwicePutsTheListInFrontTwice) {
    setChild(QStringLiteral("ORRERY_DRIVER_TIMES"), QStringLiteral("2"));
    const QString list = installationPath(native(inst()));
    EXPECT_EQ(pathAfter(QStringLiteral("system-path")),
              QString(list + QStringLiteral(";") + list + QStringLiteral(";") + userPath()));
}

TEST_F(SearchPathsTest, PrependAppendAndSaveExportTheComposedPath) {
    setChild(QStringLiteral("PATH"), QStringLiteral("/p"));
    const ChildResult result = run(QStringLiteral("path-edits"));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(DriverOutput(result.out).all(QStringLiteral("PATH")),
              QStringList({QStringLiteral("A;B;/p"), QStringLiteral("A;B;/p;C"),
                           QStringLiteral("A;B;/p;C")}));
}

TEST_F(SearchPathsTest, PrependAndAppendToAnEmptyPathKeepTheSeparator) {
    setChild(QStringLiteral("PATH"), QString());
    const ChildResult result = run(QStringLiteral("path-edits"));
    EXPECT_EQ(
        DriverOutput(result.out).all(QStringLiteral("PATH")),
        QStringList({QStringLiteral("A;B;"), QStringLiteral("A;B;;C"), QStringLiteral("A;B;;C")}));
}

TEST_F(SearchPathsTest, LanguagePathUnsetEverywhereIsTheThreeBitmapDirectories) {
    const ChildResult result = run(QStringLiteral("wbmlangpath"));
    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
    const DriverOutput out(result.out);
    EXPECT_EQ(out.value(QStringLiteral("WBMLANGPATH")), bitmaps());
    EXPECT_EQ(out.value(QStringLiteral("wbmlangpath")), bitmaps());
}

TEST_F(SearchPathsTest, LanguagePathIsEnvironmentThenRegistryThenBitmaps) {
    setChild(QStringLiteral("WBMLANGPATH"), QStringLiteral("/env/lang"));
    writeRegistry({{QStringLiteral("WBMLANGPATH"), QStringLiteral("/registry/lang")}});
    const ChildResult result = run(QStringLiteral("wbmlangpath"));
    EXPECT_EQ(DriverOutput(result.out).value(QStringLiteral("WBMLANGPATH")),
              QString(QStringLiteral("/env/lang;/registry/lang;") + bitmaps()));
}

TEST_F(SearchPathsTest, LanguagePathFromTheRegistryOnly) {
    writeRegistry({{QStringLiteral("WBMLANGPATH"), QStringLiteral("/registry/a;/registry/b")}});
    const ChildResult result = run(QStringLiteral("wbmlangpath"));
    EXPECT_EQ(DriverOutput(result.out).value(QStringLiteral("WBMLANGPATH")),
              QString(QStringLiteral("/registry/a;/registry/b;") + bitmaps()));
}

TEST_F(SearchPathsTest, LanguagePathFromTheEnvironmentOnly) {
    setChild(QStringLiteral("WBMLANGPATH"), QStringLiteral("/env/lang"));
    const ChildResult result = run(QStringLiteral("wbmlangpath"));
    EXPECT_EQ(DriverOutput(result.out).value(QStringLiteral("WBMLANGPATH")),
              QString(QStringLiteral("/env/lang;") + bitmaps()));
}

TEST_F(SearchPathsTest, EmptyRegistryLanguagePathStillAddsItsSeparator) {
    setChild(QStringLiteral("WBMLANGPATH"), QStringLiteral("/env/lang"));
    writeRegistry({{QStringLiteral("WBMLANGPATH"), QString()}});
    const ChildResult result = run(QStringLiteral("wbmlangpath"));
    EXPECT_EQ(DriverOutput(result.out).value(QStringLiteral("WBMLANGPATH")),
              QString(QStringLiteral("/env/lang;;") + bitmaps()));
}

TEST_F(SearchPathsTest, LanguagePathReferencesAreExpandedWhenTheNextEntryIsAppended) {
    setChild(QStringLiteral("LANGROOT"), QStringLiteral("/lr"));
    setChild(QStringLiteral("WBMLANGPATH"), QStringLiteral("$LANGROOT/a;%LANGROOT%\\b"));
    const ChildResult result = run(QStringLiteral("wbmlangpath"));
    const DriverOutput out(result.out);
    EXPECT_EQ(out.value(QStringLiteral("WBMLANGPATH")),
              QString(QStringLiteral("/lr/a;/lr\\b;") + bitmaps()));
    EXPECT_EQ(out.value(QStringLiteral("wbmlangpath")), out.value(QStringLiteral("WBMLANGPATH")));
}

TEST_F(SearchPathsTest, AppendToLanguagePathExpandsAndJoins) {
    setChild(QStringLiteral("LANGROOT"), QStringLiteral("/lr"));
    setChild(QStringLiteral("ORRERY_DRIVER_ARG1"), QStringLiteral("${LANGROOT}/x"));
    setChild(QStringLiteral("ORRERY_DRIVER_ARG2"), QStringLiteral("$ORRERY_UNSET_VARIABLE/bin"));
    const ChildResult result = run(QStringLiteral("wbmlangpath-appends"));
    EXPECT_EQ(result.exitCode, 0);
    // Empty before: the entries alone; then ";" and the next entries, unknown names vanish.
    EXPECT_EQ(DriverOutput(result.out).all(QStringLiteral("WBMLANGPATH")),
              QStringList({QStringLiteral("/lr/x"), QStringLiteral("/lr/x;/bin")}));
}

TEST_F(SearchPathsTest, AppendToLanguagePathAfterTheEnvironmentValue) {
    setChild(QStringLiteral("WBMLANGPATH"), QStringLiteral("/env"));
    setChild(QStringLiteral("ORRERY_DRIVER_ARG1"), QStringLiteral("/more"));
    const ChildResult result = run(QStringLiteral("wbmlangpath-appends"));
    EXPECT_EQ(result.out, QByteArray("WBMLANGPATH=[/env;/more]\n"));
}

TEST_F(SearchPathsTest, NonAsciiLanguagePathSurvivesTheExpansion) {
    const QString value = QString::fromUtf8("/\xc3\xa9t\xc3\xa9/\xe2\x82\xac/\xce\xb1");
    setChild(QStringLiteral("WBMLANGPATH"), value);
    const ChildResult result = run(QStringLiteral("wbmlangpath"));
    EXPECT_EQ(DriverOutput(result.out).value(QStringLiteral("WBMLANGPATH")),
              QString(value + QStringLiteral(";") + bitmaps()));
}
