// SPDX-License-Identifier: MIT
#include <orrery/components.h>

#include "components_fixture.h"
#include "qtprinters.h"
#include "stderr_capture.h"
#include "testutil.h"
#include "treesnapshot.h"

#include <ostream>

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLockFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QSettings>

#include <vector>

#ifndef ORRERY_COMPONENTS_DRIVER
#error "ORRERY_COMPONENTS_DRIVER must name the driver executable"
#endif

using Orrery::InstComponentData;
using OrreryTest::ComponentStoreTest;
using OrreryTest::iniText;
using OrreryTest::StderrCapture;

namespace {

QString native(const char* path) {
    return QDir::toNativeSeparators(QString::fromUtf8(path));
}

TEST(InstComponentData, KeyNamesAndStoreNames) {
    EXPECT_EQ(InstComponentData::s_ComponentRefFile, QStringLiteral("ComponentRefs.ini"));
    EXPECT_EQ(InstComponentData::s_strVersion, QStringLiteral("Version"));
    EXPECT_EQ(InstComponentData::s_strBuild, QStringLiteral("Build"));
    EXPECT_EQ(InstComponentData::s_strRefCount, QStringLiteral("RefCount"));
    EXPECT_EQ(InstComponentData::s_strArchitecture, QStringLiteral("Architecture"));
    EXPECT_EQ(InstComponentData::s_strLocation, QStringLiteral("Location"));
    EXPECT_EQ(InstComponentData::s_strCommonDir, QStringLiteral("CommonDir"));
    EXPECT_EQ(InstComponentData::s_strOrganization, QStringLiteral("Tolmarsk"));
    EXPECT_EQ(InstComponentData::s_strapplication, QStringLiteral("Vexil"));
}

// ---------------------------------------------------------------- file locations

using InstComponentDataFiles = ComponentStoreTest;

TEST_F(InstComponentDataFiles, InstalledFileComesFromTheVariable) {
    EXPECT_EQ(InstComponentData::GetInstComponentFullPathtoRefFile(), QString());
    env().set("VEXIL_INSTALLINFO_FILE", "");
    EXPECT_EQ(InstComponentData::GetInstComponentFullPathtoRefFile(), QString());
    env().set("VEXIL_INSTALLINFO_FILE", "/opt/info/inst.ini");
    EXPECT_EQ(InstComponentData::GetInstComponentFullPathtoRefFile(), native("/opt/info/inst.ini"));
}

TEST_F(InstComponentDataFiles, ReferredFileIsInTheProductRoot) {
    EXPECT_EQ(InstComponentData::GetComponentFullPathtoRefFile(QStringLiteral("/opt/prod")),
              native("/opt/prod/ComponentRefs.ini"));
}

TEST_F(InstComponentDataFiles, EmptyProductRootGivesAFileAtTheTop) {
    EXPECT_EQ(InstComponentData::GetComponentFullPathtoRefFile(QString()),
              native("/ComponentRefs.ini"));
}

TEST_F(InstComponentDataFiles, VariableOverridesTheProductRoot) {
    env().set("VEXIL_REFERRED_COMPONENT_FILE", "/etc/refs/all.ini");
    EXPECT_EQ(InstComponentData::GetComponentFullPathtoRefFile(QStringLiteral("/opt/prod")),
              native("/etc/refs/all.ini"));
    EXPECT_EQ(InstComponentData::GetComponentFullPathtoRefFile(QStringLiteral("\"C:\\x\"")),
              native("/etc/refs/all.ini"));
    env().set("VEXIL_REFERRED_COMPONENT_FILE", "");
    EXPECT_EQ(InstComponentData::GetComponentFullPathtoRefFile(QStringLiteral("/opt/prod")),
              native("/opt/prod/ComponentRefs.ini"));
}

struct RootRow {
    const char* root;
    const char* strategy;  // null: unset
    const char* file;      // before conversion to native separators
};

void PrintTo(const RootRow& row, std::ostream* out) {
    *out << row.root << " with strategy " << (row.strategy ? row.strategy : "(unset)");
}

class ReferredFileRule : public ComponentStoreTest,
                         public ::testing::WithParamInterface<RootRow> {};

TEST_P(ReferredFileRule, QuotingAndUnquoteStrategy) {
    if (GetParam().strategy != nullptr) {
        env().set("VEXIL_CR_UNQUOTE_STRATEGY_ENUM", GetParam().strategy);
    }
    EXPECT_EQ(InstComponentData::GetComponentFullPathtoRefFile(QString::fromUtf8(GetParam().root)),
              native(GetParam().file));
}

INSTANTIATE_TEST_SUITE_P(
    Roots, ReferredFileRule,
    ::testing::Values(
        // A quoted root loses its quotation marks; backslashes stay without the strategy.
        RootRow{"\"C:\\Prog Files\\X\"", nullptr, "C:\\Prog Files\\X/ComponentRefs.ini"},
        RootRow{"'C:\\Prog Files\\X'", nullptr, "C:\\Prog Files\\X/ComponentRefs.ini"},
        // Strategy "1" reads backslashes as escapes.
        RootRow{"\"C:\\Prog Files\\X\"", "1", "C:Prog FilesX/ComponentRefs.ini"},
        RootRow{"'C:\\Prog Files\\X'", "1", "C:Prog FilesX/ComponentRefs.ini"},
        RootRow{"\"a\\\\b\\\"", "1", "a\\b/ComponentRefs.ini"},
        // Any other value is off.
        RootRow{"\"C:\\Prog Files\\X\"", "yes", "C:\\Prog Files\\X/ComponentRefs.ini"},
        RootRow{"\"C:\\Prog Files\\X\"", "11", "C:\\Prog Files\\X/ComponentRefs.ini"},
        RootRow{"\"C:\\Prog Files\\X\"", "", "C:\\Prog Files\\X/ComponentRefs.ini"},
        // Without a backslash the strategy changes nothing.
        RootRow{"\"/opt/my prod\"", "1", "/opt/my prod/ComponentRefs.ini"},
        // Quoted at one end only, or with mixed marks: not unquoted.
        RootRow{"\"C:\\X", nullptr, "\"C:\\X/ComponentRefs.ini"},
        RootRow{"C:\\X\"", "1", "C:\\X\"/ComponentRefs.ini"},
        RootRow{"\"C:\\X'", "1", "\"C:\\X'/ComponentRefs.ini"},
        // A lone quotation mark begins and ends with one.
        RootRow{"\"", nullptr, "/ComponentRefs.ini"},
        RootRow{"\"\"", nullptr, "/ComponentRefs.ini"}));

// ---------------------------------------------------------------- referred components

class ReferredComponents : public ComponentStoreTest {
protected:
    QString root() const { return path(QStringLiteral("prod")); }
    QString refFile() const { return path(QStringLiteral("prod/ComponentRefs.ini")); }
    void SetUp() override {
        ComponentStoreTest::SetUp();
        QDir(path()).mkpath(QStringLiteral("prod"));
    }
};

TEST_F(ReferredComponents, WritesTheExactIniText) {
    EXPECT_TRUE(InstComponentData::SetReferredComponentKey(
        root(), QStringLiteral("Models"), QStringLiteral("2.1"), QStringLiteral("Location"),
        QStringLiteral("/opt/m")));
    EXPECT_EQ(readFile(refFile()), iniText("[Models]\n2.1\\Location=/opt/m\n"));
}

TEST_F(ReferredComponents, ReadsBackWhatWasWritten) {
    InstComponentData::SetReferredComponentKey(root(), QStringLiteral("Models"),
                                               QStringLiteral("2.1"), QStringLiteral("Location"),
                                               QStringLiteral("/opt/m"));
    InstComponentData::SetReferredComponentKey(root(), QStringLiteral("Models"),
                                               QStringLiteral("2.1"), QStringLiteral("RefCount"),
                                               QStringLiteral("3"));
    EXPECT_EQ(
        InstComponentData::GetReferredComponentKey(
            root(), QStringLiteral("Models"), QStringLiteral("2.1"), QStringLiteral("Location")),
        QStringLiteral("/opt/m"));
    EXPECT_EQ(
        InstComponentData::GetReferredComponentKey(
            root(), QStringLiteral("Models"), QStringLiteral("2.1"), QStringLiteral("RefCount")),
        QStringLiteral("3"));
    EXPECT_EQ(readFile(refFile()), iniText("[Models]\n2.1\\Location=/opt/m\n2.1\\RefCount=3\n"));
}

// ---------------------------------------------------------------- files of both builds

// data/ComponentRefs-qt5.ini and -qt6.ini were written by `orrery component set` of the
// Qt 5 and of the Qt 6 build with the values below; each build reads both alike and writes
// the same bytes for them. They are written section by section in the order of the section
// names, the order in which both builds lay out a new file (Qt 5 on Windows keeps the order
// in which sections were first written).
struct StoredValue {
    const char* component;
    const char* version;
    const char* key;
    const char* value;  // UTF-8
};

const StoredValue kStoredValues[] = {
    {"General", "1", "Location",
     "@at-sign\ttab \xc3\xbf"
     "0A9"},
    {"M\xc3\xb6"
     "dels",
     "2.1", "Location", "C:\\Programme\\J\xc3\xbcrgen M\xc3\xbcller\\Modelle"},
    {"M\xc3\xb6"
     "dels",
     "2.1", "Note", "\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e \xf0\x9f\x98\x80 \xe2\x82\xac"},
    {"M\xc3\xb6"
     "dels",
     "3.0", "Location", " leading;and,trailing = \"quoted\" "},
    {"Plain", "1.0", "Location", "%KORVANE_DIR%/models"},
};

class StoresOfBothBuilds : public ReferredComponents,
                           public ::testing::WithParamInterface<const char*> {
protected:
    static QByteArray dataFile(const char* name) {
        return readFile(
            QString(QStringLiteral(ORRERY_COMPONENTS_DATA_DIR "/") + QLatin1String(name)));
    }
};

TEST_P(StoresOfBothBuilds, EveryValueReadsAsWritten) {
    const QByteArray bytes = dataFile(GetParam());
    ASSERT_FALSE(bytes.isEmpty());
    {
        QFile file(refFile());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    for (const StoredValue& stored : kStoredValues) {
        EXPECT_EQ(InstComponentData::GetReferredComponentKey(
                      root(), QString::fromUtf8(stored.component),
                      QString::fromUtf8(stored.version), QString::fromUtf8(stored.key)),
                  QString::fromUtf8(stored.value))
            << stored.component << " " << stored.version << " " << stored.key;
    }
}

TEST_P(StoresOfBothBuilds, ThisBuildWritesTheSameBytes) {
    for (const StoredValue& stored : kStoredValues) {
        ASSERT_TRUE(InstComponentData::SetReferredComponentKey(
            root(), QString::fromUtf8(stored.component), QString::fromUtf8(stored.version),
            QString::fromUtf8(stored.key), QString::fromUtf8(stored.value)));
    }
    EXPECT_EQ(readFile(refFile()), iniText(dataFile(GetParam()).constData()));
}

INSTANTIATE_TEST_SUITE_P(WrittenBy, StoresOfBothBuilds,
                         ::testing::Values("ComponentRefs-qt5.ini", "ComponentRefs-qt6.ini"));

TEST_F(ReferredComponents, RawBytesBeyondAsciiReadAsLatin1InBothBuilds) {
    // Qt 6's own INI format would write "J\xc3\xbcrgen" so; both builds read such a file as
    // Qt 5 does, one character per byte.
    {
        QFile file(refFile());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("[Models]\n2.1\\Location=J\xc3\xbcrgen\n");
    }
    EXPECT_EQ(
        InstComponentData::GetReferredComponentKey(
            root(), QStringLiteral("Models"), QStringLiteral("2.1"), QStringLiteral("Location")),
        QString::fromLatin1("J\xc3\xbcrgen"));
}

TEST_F(ReferredComponents, AbsentKeyOrFileReadsEmptyAndCreatesNothing) {
    EXPECT_EQ(
        InstComponentData::GetReferredComponentKey(
            root(), QStringLiteral("Models"), QStringLiteral("2.1"), QStringLiteral("Location")),
        QString());
    EXPECT_FALSE(QFileInfo::exists(refFile()));
    InstComponentData::SetReferredComponentKey(root(), QStringLiteral("Models"),
                                               QStringLiteral("2.1"), QStringLiteral("Location"),
                                               QStringLiteral("/opt/m"));
    EXPECT_EQ(
        InstComponentData::GetReferredComponentKey(
            root(), QStringLiteral("Models"), QStringLiteral("2.2"), QStringLiteral("Location")),
        QString());
    EXPECT_EQ(
        InstComponentData::GetReferredComponentKey(
            root(), QStringLiteral("Tools"), QStringLiteral("2.1"), QStringLiteral("Location")),
        QString());
}

TEST_F(ReferredComponents, WritingCreatesAMissingFile) {
    const QString otherRoot = path(QStringLiteral("fresh"));
    QDir(path()).mkpath(QStringLiteral("fresh"));
    EXPECT_TRUE(InstComponentData::SetReferredComponentKey(otherRoot, QStringLiteral("T"),
                                                           QStringLiteral("1"), QStringLiteral("k"),
                                                           QStringLiteral("v")));
    EXPECT_EQ(readFile(QString(otherRoot + QStringLiteral("/ComponentRefs.ini"))),
              iniText("[T]\n1\\k=v\n"));
}

TEST_F(ReferredComponents, RemoveLeavesOtherVersionsInPlace) {
    for (const char* version : {"2.1", "3.0"}) {
        InstComponentData::SetReferredComponentKey(
            root(), QStringLiteral("Models"), QString::fromUtf8(version),
            QStringLiteral("Location"),
            QString(QStringLiteral("/opt/m") + QString::fromUtf8(version)));
        InstComponentData::SetReferredComponentKey(root(), QStringLiteral("Models"),
                                                   QString::fromUtf8(version),
                                                   QStringLiteral("RefCount"), QStringLiteral("1"));
    }
    EXPECT_TRUE(InstComponentData::RemoveReferredComponent(root(), QStringLiteral("Models"),
                                                           QStringLiteral("2.1")));
    EXPECT_EQ(readFile(refFile()), iniText("[Models]\n3.0\\Location=/opt/m3.0\n3.0\\RefCount=1\n"));
    EXPECT_EQ(
        InstComponentData::GetReferredComponentKey(
            root(), QStringLiteral("Models"), QStringLiteral("2.1"), QStringLiteral("Location")),
        QString());
    EXPECT_EQ(
        InstComponentData::GetReferredComponentKey(
            root(), QStringLiteral("Models"), QStringLiteral("3.0"), QStringLiteral("Location")),
        QStringLiteral("/opt/m3.0"));
}

TEST_F(ReferredComponents, SlashInComponentMakesADeeperGroup) {
    InstComponentData::SetReferredComponentKey(root(), QStringLiteral("Lib/Models"),
                                               QStringLiteral("1"), QStringLiteral("Location"),
                                               QStringLiteral("/l"));
    EXPECT_EQ(readFile(refFile()), iniText("[Lib]\nModels\\1\\Location=/l\n"));
}

TEST_F(ReferredComponents, QtIniEscapingAppliesUnchanged) {
    InstComponentData::SetReferredComponentKey(root(), QStringLiteral("My Models"),
                                               QStringLiteral("1.0"), QStringLiteral("Location"),
                                               QStringLiteral("C:\\m;x"));
    EXPECT_EQ(readFile(refFile()), iniText("[My%20Models]\n1.0\\Location=\"C:\\\\m;x\"\n"));
    EXPECT_EQ(
        InstComponentData::GetReferredComponentKey(
            root(), QStringLiteral("My Models"), QStringLiteral("1.0"), QStringLiteral("Location")),
        QStringLiteral("C:\\m;x"));
}

TEST_F(ReferredComponents, QuotedRootNamesTheSameFile) {
    const QString quoted = QString(QLatin1Char('"') + root() + QLatin1Char('"'));
    InstComponentData::SetReferredComponentKey(quoted, QStringLiteral("Models"),
                                               QStringLiteral("2.1"), QStringLiteral("Location"),
                                               QStringLiteral("/opt/m"));
    EXPECT_EQ(readFile(refFile()), iniText("[Models]\n2.1\\Location=/opt/m\n"));
}

TEST_F(ReferredComponents, VariableNamesTheFileAndTheRootIsIgnored) {
    const QString shared = path(QStringLiteral("shared.ini"));
    env().set("VEXIL_REFERRED_COMPONENT_FILE", shared.toStdString());
    EXPECT_TRUE(InstComponentData::SetReferredComponentKey(
        QStringLiteral("/no/such/root"), QStringLiteral("Models"), QStringLiteral("2.1"),
        QStringLiteral("Location"), QStringLiteral("/opt/m")));
    EXPECT_EQ(readFile(shared), iniText("[Models]\n2.1\\Location=/opt/m\n"));
    EXPECT_FALSE(QFileInfo::exists(QStringLiteral("/no/such/root/ComponentRefs.ini")));
    EXPECT_EQ(
        InstComponentData::GetReferredComponentKey(
            root(), QStringLiteral("Models"), QStringLiteral("2.1"), QStringLiteral("Location")),
        QStringLiteral("/opt/m"));
    EXPECT_TRUE(InstComponentData::RemoveReferredComponent(
        QStringLiteral("x"), QStringLiteral("Models"), QStringLiteral("2.1")));
    EXPECT_EQ(
        InstComponentData::GetReferredComponentKey(
            root(), QStringLiteral("Models"), QStringLiteral("2.1"), QStringLiteral("Location")),
        QString());
}

TEST_F(ReferredComponents, EmptyRootIsRefusedWithAMessage) {
    const QString shared = path(QStringLiteral("shared.ini"));
    {
        StderrCapture capture;
        EXPECT_EQ(
            InstComponentData::GetReferredComponentKey(
                QString(), QStringLiteral("M"), QStringLiteral("1"), QStringLiteral("Location")),
            QString());
        EXPECT_EQ(capture.text(), QByteArray("Product root needs to be set\n"));
    }
    {
        StderrCapture capture;
        EXPECT_FALSE(InstComponentData::SetReferredComponentKey(
            QString(), QStringLiteral("M"), QStringLiteral("1"), QStringLiteral("Location"),
            QStringLiteral("/x")));
        EXPECT_EQ(capture.text(), QByteArray("Product root needs to be set\n"));
    }
    {
        StderrCapture capture;
        EXPECT_FALSE(InstComponentData::RemoveReferredComponent(QString(), QStringLiteral("M"),
                                                                QStringLiteral("1")));
        EXPECT_EQ(capture.text(), QByteArray("Product root needs to be set\n"));
    }
    // Also when the variable names the file: the root must still be given, and the file
    // is not touched.
    env().set("VEXIL_REFERRED_COMPONENT_FILE", shared.toStdString());
    {
        StderrCapture capture;
        EXPECT_FALSE(InstComponentData::SetReferredComponentKey(
            QString(), QStringLiteral("M"), QStringLiteral("1"), QStringLiteral("Location"),
            QStringLiteral("/x")));
        EXPECT_EQ(capture.text(), QByteArray("Product root needs to be set\n"));
    }
    EXPECT_FALSE(QFileInfo::exists(shared));
    EXPECT_FALSE(QFileInfo::exists(QStringLiteral("/ComponentRefs.ini")));
}

TEST_F(ReferredComponents, NonEmptyRootWritesNoMessage) {
    StderrCapture capture;
    InstComponentData::SetReferredComponentKey(root(), QStringLiteral("M"), QStringLiteral("1"),
                                               QStringLiteral("Location"), QStringLiteral("/x"));
    InstComponentData::GetReferredComponentKey(root(), QStringLiteral("M"), QStringLiteral("1"),
                                               QStringLiteral("Location"));
    InstComponentData::RemoveReferredComponent(root(), QStringLiteral("M"), QStringLiteral("1"));
    EXPECT_EQ(capture.text(), QByteArray());
}

// ---------------------------------------------------------------- installed components

using InstalledComponents = ComponentStoreTest;

TEST_F(InstalledComponents, IniFileFromTheVariable) {
    const QString store = path(QStringLiteral("inst.ini"));
    env().set("VEXIL_INSTALLINFO_FILE", store.toStdString());
    EXPECT_TRUE(InstComponentData::SetInstComponentKey(
        QStringLiteral("Models"), QStringLiteral("2.1"), QStringLiteral("Location"),
        QStringLiteral("/opt/m")));
    EXPECT_EQ(readFile(store), iniText("[Models]\n2.1\\Location=/opt/m\n"));
    EXPECT_EQ(InstComponentData::GetInstComponentKey(
                  QStringLiteral("Models"), QStringLiteral("2.1"), QStringLiteral("Location")),
              QStringLiteral("/opt/m"));
    EXPECT_EQ(InstComponentData::GetInstComponentKey(
                  QStringLiteral("Models"), QStringLiteral("2.1"), QStringLiteral("Build")),
              QString());
    EXPECT_FALSE(nativeStoreExists());
}

TEST_F(InstalledComponents, NativeSettingsWithoutTheVariable) {
    env().set("VEXIL_INSTALLINFO_FILE", "");
    EXPECT_TRUE(
        InstComponentData::SetInstComponentKey(QStringLiteral("Models"), QStringLiteral("2.1"),
                                               QStringLiteral("RefCount"), QStringLiteral("2")));
    EXPECT_EQ(InstComponentData::GetInstComponentKey(
                  QStringLiteral("Models"), QStringLiteral("2.1"), QStringLiteral("RefCount")),
              QStringLiteral("2"));
#ifdef _WIN32
    // The registry: a key per group, a text value per key.
    EXPECT_EQ(registrySnapshot(),
              (QStringList{QStringLiteral("Models\\"), QStringLiteral("Models\\2.1\\"),
                           QStringLiteral("Models\\2.1\\RefCount REG_SZ 2")}));
#else
    EXPECT_EQ(readFile(nativeStoreFile()), iniText("[Models]\n2.1\\RefCount=2\n"));
#endif
}

TEST_F(InstalledComponents, RemoveTakesTheWholeVersionAndKeepsOthers) {
    for (const char* version : {"1.0", "2.0"}) {
        InstComponentData::SetInstComponentKey(QStringLiteral("Models"), QString::fromUtf8(version),
                                               QStringLiteral("Location"), QStringLiteral("/m"));
        InstComponentData::SetInstComponentKey(QStringLiteral("Models"), QString::fromUtf8(version),
                                               QStringLiteral("Build"), QStringLiteral("7"));
    }
    EXPECT_TRUE(
        InstComponentData::RemoveInstComponent(QStringLiteral("Models"), QStringLiteral("1.0")));
    EXPECT_EQ(InstComponentData::GetInstComponentKey(
                  QStringLiteral("Models"), QStringLiteral("1.0"), QStringLiteral("Location")),
              QString());
#ifdef _WIN32
    EXPECT_EQ(registrySnapshot(),
              (QStringList{QStringLiteral("Models\\"), QStringLiteral("Models\\2.0\\"),
                           QStringLiteral("Models\\2.0\\Build REG_SZ 7"),
                           QStringLiteral("Models\\2.0\\Location REG_SZ /m")}));
#else
    EXPECT_EQ(readFile(nativeStoreFile()), iniText("[Models]\n2.0\\Build=7\n2.0\\Location=/m\n"));
#endif
}

TEST_F(InstalledComponents, RemoveAlwaysWorksOnTheNativeSettings) {
    // Native settings hold version 2.1 too.
    InstComponentData::SetInstComponentKey(QStringLiteral("Models"), QStringLiteral("2.1"),
                                           QStringLiteral("Location"), QStringLiteral("/native"));
    const QString store = path(QStringLiteral("inst.ini"));
    env().set("VEXIL_INSTALLINFO_FILE", store.toStdString());
    InstComponentData::SetInstComponentKey(QStringLiteral("Models"), QStringLiteral("2.1"),
                                           QStringLiteral("Location"), QStringLiteral("/ini"));

    EXPECT_TRUE(
        InstComponentData::RemoveInstComponent(QStringLiteral("Models"), QStringLiteral("2.1")));
    // The INI file named by the variable keeps the version...
    EXPECT_EQ(InstComponentData::GetInstComponentKey(
                  QStringLiteral("Models"), QStringLiteral("2.1"), QStringLiteral("Location")),
              QStringLiteral("/ini"));
    EXPECT_EQ(readFile(store), iniText("[Models]\n2.1\\Location=/ini\n"));
    // ...while the native settings lose it.
    env().unset("VEXIL_INSTALLINFO_FILE");
    EXPECT_EQ(InstComponentData::GetInstComponentKey(
                  QStringLiteral("Models"), QStringLiteral("2.1"), QStringLiteral("Location")),
              QString());
}

TEST_F(InstalledComponents, ChangeWithEqualSizeAndTimeIsNotMissed) {
    // Another writer replaces "RefCount=1" by "RefCount=2" within the same tick of the file
    // clock: size and modification time stay as this process last saw them.
    const QString store = path(QStringLiteral("inst.ini"));
    env().set("VEXIL_INSTALLINFO_FILE", store.toStdString());
    InstComponentData::SetInstComponentKey(QStringLiteral("Models"), QStringLiteral("2.1"),
                                           QStringLiteral("RefCount"), QStringLiteral("1"));
    const QDateTime seen = QFileInfo(store).lastModified();
    QByteArray text = readFile(store);
    text.replace("RefCount=1", "RefCount=2");
    {
        QFile file(store);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(text);
        file.flush();
        ASSERT_TRUE(file.setFileTime(seen, QFileDevice::FileModificationTime));
    }
    ASSERT_EQ(QFileInfo(store).lastModified(), seen);

    EXPECT_EQ(InstComponentData::GetInstComponentKey(
                  QStringLiteral("Models"), QStringLiteral("2.1"), QStringLiteral("RefCount")),
              QStringLiteral("2"));
    InstComponentData::SetInstComponentKey(QStringLiteral("Models"), QStringLiteral("2.1"),
                                           QStringLiteral("Build"), QStringLiteral("9"));
#ifdef _WIN32
    // On Windows Qt keeps the keys of an INI file in the order they were read and puts new
    // ones after them; elsewhere it writes them sorted.
    EXPECT_EQ(readFile(store), iniText("[Models]\n2.1\\RefCount=2\n2.1\\Build=9\n"));
#else
    EXPECT_EQ(readFile(store), iniText("[Models]\n2.1\\Build=9\n2.1\\RefCount=2\n"));
#endif
}

TEST_F(InstalledComponents, GuardLeavesNoLockFileBehind) {
    const QString store = path(QStringLiteral("inst.ini"));
    env().set("VEXIL_INSTALLINFO_FILE", store.toStdString());
    InstComponentData::SetInstComponentKey(QStringLiteral("Models"), QStringLiteral("2.1"),
                                           QStringLiteral("Build"), QStringLiteral("9"));
    InstComponentData::GetInstComponentKey(QStringLiteral("Models"), QStringLiteral("2.1"),
                                           QStringLiteral("Build"));
    EXPECT_EQ(QDir(path()).entryList(QDir::Files), QStringList{QStringLiteral("inst.ini")});
}

// ---------------------------------------------------------------- reads change nothing

// Writes at @p file what QLockFile writes for a lock that this very process holds, without
// holding it: a lock file that names a running process, as one left behind by a process
// that died does once its process id has been given to another.
void writeLiveLookingLockFile(const QString& file, const QString& scratch) {
    QByteArray text;
    {
        QLockFile probe(scratch);
        ASSERT_TRUE(probe.lock());
        QFile held(scratch);
        ASSERT_TRUE(held.open(QIODevice::ReadOnly));
        text = held.readAll();
    }
    QFile out(file);
    ASSERT_TRUE(out.open(QIODevice::WriteOnly));
    ASSERT_EQ(out.write(text), text.size());
}

class ReadsChangeNothing : public ComponentStoreTest {
protected:
    QString root() const { return path(QStringLiteral("prod")); }
    QString refFile() const { return path(QStringLiteral("prod/ComponentRefs.ini")); }
    QString installedFile() const { return path(QStringLiteral("inst.ini")); }

    // Fills the three stores: the product's file, the installed-component INI file and the
    // native per-user settings.
    void fillStores() {
        QDir(path()).mkpath(QStringLiteral("prod"));
        InstComponentData::SetReferredComponentKey(
            root(), QStringLiteral("Models"), QStringLiteral("2.1"), QStringLiteral("Location"),
            QStringLiteral("/m/2.1"));
        InstComponentData::SetReferredComponentKey(
            root(), QStringLiteral("Models"), QStringLiteral("3.0"), QStringLiteral("Location"),
            QStringLiteral("/m/3.0"));
        InstComponentData::SetInstComponentKey(QStringLiteral("Models"), QStringLiteral("2.1"),
                                               QStringLiteral("Build"), QStringLiteral("native"));
        env().set("VEXIL_INSTALLINFO_FILE", installedFile().toStdString());
        InstComponentData::SetInstComponentKey(QStringLiteral("Models"), QStringLiteral("2.1"),
                                               QStringLiteral("Build"), QStringLiteral("ini"));
        ASSERT_TRUE(QFileInfo::exists(refFile()));
        ASSERT_TRUE(QFileInfo::exists(installedFile()));
        ASSERT_TRUE(nativeStoreExists());
    }
    // The stores kept in files; on Windows the native settings are in the registry.
    QStringList storeFiles() const {
        QStringList files{refFile(), installedFile()};
#ifndef _WIN32
        files << nativeStoreFile();
#endif
        return files;
    }

    // Every read operation on every store; @p expected says whether the stores hold data.
    void readAll(bool expected) {
        const auto value = [expected](const char* text) {
            return expected ? QString::fromUtf8(text) : QString();
        };
        EXPECT_EQ(InstComponentData::GetInstComponentKey(
                      QStringLiteral("Models"), QStringLiteral("2.1"), QStringLiteral("Build")),
                  value("ini"));
        EXPECT_EQ(InstComponentData::GetInstComponentKey(
                      QStringLiteral("Models"), QStringLiteral("2.1"), QStringLiteral("None")),
                  QString());
        EXPECT_EQ(InstComponentData::GetReferredComponentKey(root(), QStringLiteral("Models"),
                                                             QStringLiteral("2.1"),
                                                             QStringLiteral("Location")),
                  value("/m/2.1"));
        EXPECT_EQ(Orrery::QueryReferredComponentLocation(root(), QStringLiteral("Models"),
                                                         QStringLiteral("3.0"), false),
                  value("/m/3.0"));
        EXPECT_EQ(Orrery::QueryReferredComponentLocation(root(), QStringLiteral("Models"),
                                                         QString(), true),
                  value("/m/3.0"));
        EXPECT_EQ(Orrery::QueryReferredComponentLocation(root(), QStringLiteral("Tools"), QString(),
                                                         false),
                  QString());
        const std::string installed = installedFile().toStdString();
        env().unset("VEXIL_INSTALLINFO_FILE");
        EXPECT_EQ(InstComponentData::GetInstComponentKey(
                      QStringLiteral("Models"), QStringLiteral("2.1"), QStringLiteral("Build")),
                  value("native"));
        env().set("VEXIL_INSTALLINFO_FILE", installed);
    }
};

TEST_F(ReadsChangeNothing, StoresKeepTheirBytesAndTimesAndNothingAppears) {
    fillStores();
    OrreryTest::ageTree(path());
    const std::string before = OrreryTest::snapshotTree(path());
    const QStringList registryBefore = registrySnapshot();
    readAll(true);
    EXPECT_EQ(OrreryTest::snapshotTree(path()), before);
    EXPECT_EQ(registrySnapshot(), registryBefore);
}

TEST_F(ReadsChangeNothing, MissingStoresStayMissing) {
    // The product folder exists without its file; the installed-component file's folder
    // does not exist at all; the native settings have never been written.
    QDir(path()).mkpath(QStringLiteral("prod"));
    env().set("VEXIL_INSTALLINFO_FILE", path(QStringLiteral("absent/inst.ini")).toStdString());
    OrreryTest::ageTree(path());
    const std::string before = OrreryTest::snapshotTree(path());
    readAll(false);
    env().set("VEXIL_INSTALLINFO_FILE", installedFile().toStdString());
    readAll(false);
    EXPECT_EQ(OrreryTest::snapshotTree(path()), before);
    // On Windows Qt opens the application's registry key for reading by creating it, but
    // nothing is put into it.
    EXPECT_EQ(registrySnapshot(), QStringList());
}

TEST_F(ReadsChangeNothing, LockFilesNamingARunningProcessDoNotDelayAReader) {
    fillStores();
    OrreryTest::ageTree(path());
    // Fresh lock files, so that their age does not give them away as stale.
    const QString scratch = path(QStringLiteral("scratch.lock"));
    for (const QString& store : storeFiles()) {
        for (const char* suffix : {".storelock", ".lock"}) {
            writeLiveLookingLockFile(QString(store + QLatin1String(suffix)), scratch);
        }
    }
    const std::string before = OrreryTest::snapshotTree(path());
    const QStringList registryBefore = registrySnapshot();
    QElapsedTimer timer;
    timer.start();
    readAll(true);
    EXPECT_LT(timer.elapsed(), 5000);
    EXPECT_EQ(OrreryTest::snapshotTree(path()), before);
    EXPECT_EQ(registrySnapshot(), registryBefore);
}

// ---------------------------------------------------------------- child processes

struct DriverResult {
    int exitCode;
    QString out;
};

DriverResult runDriver(const QStringList& arguments, const QProcessEnvironment& environment) {
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(ORRERY_COMPONENTS_DRIVER), arguments);
    process.waitForFinished(60000);
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput())};
}

QProcessEnvironment cleanEnvironment() {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"VEXIL_INSTALLINFO_FILE", "VEXIL_REFERRED_COMPONENT_FILE",
                             "VEXIL_CR_UNQUOTE_STRATEGY_ENUM", "VEXIL_REGISTRY_FILE"}) {
        environment.remove(QString::fromUtf8(name));
    }
    return environment;
}

using InstalledComponentsProcess = OrreryTest::TempDirTest;

// XDG_CONFIG_HOME places the native settings only on POSIX; Windows keeps them in the
// registry (NativeSettingsLiveInTheUsersRegistry).
#ifndef _WIN32
TEST_F(InstalledComponentsProcess, NativeSettingsLiveUnderXdgConfigHome) {
    QProcessEnvironment environment = cleanEnvironment();
    const QString config = path(QStringLiteral("xdg"));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), config);
    const QString expectedFile = QString(config + QStringLiteral("/Tolmarsk/Vexil.conf"));

    DriverResult result =
        runDriver({QStringLiteral("native-set"), QStringLiteral("Models"), QStringLiteral("2.1"),
                   QStringLiteral("Location"), QStringLiteral("/opt/m")},
                  environment);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, QString(QStringLiteral("1 ") + expectedFile + QLatin1Char('\n')));
    QFile file(expectedFile);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), iniText("[Models]\n2.1\\Location=/opt/m\n"));
    file.close();

    result = runDriver({QStringLiteral("native-get"), QStringLiteral("Models"),
                        QStringLiteral("2.1"), QStringLiteral("Location")},
                       environment);
    EXPECT_EQ(result.out, QStringLiteral("[/opt/m]\n"));

    result = runDriver(
        {QStringLiteral("native-remove"), QStringLiteral("Models"), QStringLiteral("2.1")},
        environment);
    EXPECT_EQ(result.out, QStringLiteral("1\n"));
    result = runDriver({QStringLiteral("native-get"), QStringLiteral("Models"),
                        QStringLiteral("2.1"), QStringLiteral("Location")},
                       environment);
    EXPECT_EQ(result.out, QStringLiteral("[]\n"));
}
#endif

#ifdef _WIN32
// Removes on destruction what a test added to the real per-user store: the key of its
// component, and the keys of the organisation and the application when they did not exist
// before and hold nothing else.
class NativeStoreCleanup {
public:
    explicit NativeStoreCleanup(const QString& component)
        : component_(QString(QStringLiteral("Software\\Tolmarsk\\Vexil\\") + component)),
          hadOrganisation_(
              OrreryTest::regKeyExists(HKEY_CURRENT_USER, QStringLiteral("Software\\Tolmarsk"))),
          hadApplication_(OrreryTest::regKeyExists(HKEY_CURRENT_USER,
                                                   QStringLiteral("Software\\Tolmarsk\\Vexil"))) {}
    ~NativeStoreCleanup() {
        const auto* name = reinterpret_cast<const wchar_t*>(component_.utf16());
        ::RegDeleteTreeW(HKEY_CURRENT_USER, name);
        ::RegDeleteKeyW(HKEY_CURRENT_USER, name);
        if (!hadApplication_) {
            OrreryTest::regDeleteIfEmpty(HKEY_CURRENT_USER,
                                         QStringLiteral("Software\\Tolmarsk\\Vexil"));
        }
        if (!hadOrganisation_) {
            OrreryTest::regDeleteIfEmpty(HKEY_CURRENT_USER, QStringLiteral("Software\\Tolmarsk"));
        }
    }
    NativeStoreCleanup(const NativeStoreCleanup&) = delete;
    NativeStoreCleanup& operator=(const NativeStoreCleanup&) = delete;

private:
    QString component_;
    bool hadOrganisation_;
    bool hadApplication_;
};

// Those of @p entries, as regQuery() lists them, that belong to @p component.
QStringList entriesOf(const QStringList& entries, const QString& component) {
    QStringList out;
    for (const QString& entry : entries) {
        if (entry.startsWith(QString(component + QLatin1Char('\\')))) {
            out << entry;
        }
    }
    return out;
}

TEST_F(InstalledComponentsProcess, NativeSettingsLiveInTheUsersRegistry) {
    // Another process writes the user's real store; a component named after this process
    // keeps the test apart from the user's entries and from other tests.
    const QString component =
        QStringLiteral("OrreryTest-%1").arg(QCoreApplication::applicationPid());
    const QString storeKey = QStringLiteral("HKCU\\Software\\Tolmarsk\\Vexil");
    ASSERT_TRUE(entriesOf(OrreryTest::regQuery(storeKey), component).isEmpty());
    const NativeStoreCleanup cleanup(component);
    const QProcessEnvironment environment = cleanEnvironment();

    DriverResult result = runDriver({QStringLiteral("native-set"), component, QStringLiteral("2.1"),
                                     QStringLiteral("Location"), QStringLiteral("/opt/m")},
                                    environment);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, QStringLiteral("1 \\HKEY_CURRENT_USER\\Software\\Tolmarsk\\Vexil\n"));
    EXPECT_EQ(entriesOf(OrreryTest::regQuery(storeKey), component),
              (QStringList{QString(component + QStringLiteral("\\")),
                           QString(component + QStringLiteral("\\2.1\\")),
                           QString(component + QStringLiteral("\\2.1\\Location REG_SZ /opt/m"))}));

    result = runDriver({QStringLiteral("native-get"), component, QStringLiteral("2.1"),
                        QStringLiteral("Location")},
                       environment);
    EXPECT_EQ(result.out, QStringLiteral("[/opt/m]\n"));

    result =
        runDriver({QStringLiteral("native-remove"), component, QStringLiteral("2.1")}, environment);
    EXPECT_EQ(result.out, QStringLiteral("1\n"));
    const QStringList left = entriesOf(OrreryTest::regQuery(storeKey), component);
    EXPECT_TRUE(left.filter(QString(component + QStringLiteral("\\2.1"))).isEmpty())
        << left.join(QLatin1Char('|')).toStdString();
    result = runDriver({QStringLiteral("native-get"), component, QStringLiteral("2.1"),
                        QStringLiteral("Location")},
                       environment);
    EXPECT_EQ(result.out, QStringLiteral("[]\n"));
}
#endif

using ConcurrentReaders = OrreryTest::TempDirTest;

TEST_F(ConcurrentReaders, ReaderSeesOldOrNewContentWhileAnotherProcessWrites) {
    // Readers take no lock, so they run in the middle of writes: each must find either the
    // file as it was or as it became, never one caught half-written.
    const QString store = path(QStringLiteral("inst.ini"));
    const QString shortValue = QStringLiteral("/short");
    const QString longValue = QString(QStringLiteral("/long/") + QString(4000, QLatin1Char('x')));
    env().set("VEXIL_INSTALLINFO_FILE", store.toStdString());
    InstComponentData::SetInstComponentKey(QStringLiteral("Models"), QStringLiteral("2.1"),
                                           QStringLiteral("Location"), shortValue);

    QProcessEnvironment environment = cleanEnvironment();
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), path(QStringLiteral("config")));
    environment.insert(QStringLiteral("VEXIL_INSTALLINFO_FILE"), store);
    QProcess writer;
    writer.setProcessEnvironment(environment);
    writer.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    writer.start(QStringLiteral(ORRERY_COMPONENTS_DRIVER),
                 {QStringLiteral("alternate-installed"), QStringLiteral("300")});
    ASSERT_TRUE(writer.waitForStarted());

    int reads = 0;
    int torn = 0;
    while (writer.state() != QProcess::NotRunning) {
        const QString value = InstComponentData::GetInstComponentKey(
            QStringLiteral("Models"), QStringLiteral("2.1"), QStringLiteral("Location"));
        if (value != shortValue && value != longValue) {
            ++torn;
            ADD_FAILURE() << "read " << value.size()
                          << " characters: " << value.left(40).toStdString();
        }
        ++reads;
        writer.waitForFinished(0);
        if (torn > 5) {
            break;
        }
    }
    ASSERT_TRUE(writer.state() == QProcess::NotRunning || writer.waitForFinished(120000));
    EXPECT_EQ(writer.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(writer.exitCode(), 0);
    EXPECT_EQ(torn, 0);
    EXPECT_GT(reads, 10);
    EXPECT_EQ(QDir(path()).entryList(QDir::Files | QDir::Hidden),
              QStringList{QStringLiteral("inst.ini")});
}

// ---------------------------------------------------------------- locks of writers

class WriterLocks : public ComponentStoreTest {
protected:
    QString store() const { return path(QStringLiteral("store.ini")); }
    QProcessEnvironment writerEnvironment() const {
        QProcessEnvironment environment = cleanEnvironment();
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), path(QStringLiteral("config")));
        environment.insert(QStringLiteral("VEXIL_INSTALLINFO_FILE"), store());
        return environment;
    }
    // Starts a process that writes key Comp0/p<process>/K0 of the store.
    void startWriter(QProcess& writer, const char* process) const {
        writer.setProcessEnvironment(writerEnvironment());
        writer.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        writer.start(
            QStringLiteral(ORRERY_COMPONENTS_DRIVER),
            {QStringLiteral("write-installed"), QString::fromUtf8(process), QStringLiteral("1")});
        ASSERT_TRUE(writer.waitForStarted());
    }
    QString written(const char* process) const {
        QSettings settings(store(), QSettings::IniFormat);
        return settings.value(QStringLiteral("Comp0/p%1/K0").arg(QString::fromUtf8(process)))
            .toString();
    }
};

TEST_F(WriterLocks, LockFilesLeftBehindDoNotDelayAWriter) {
    // Both lock files name this running process, as a dead writer's do once its process id
    // has been given to another; neither is held.
    const QString scratch = path(QStringLiteral("scratch.lock"));
    writeLiveLookingLockFile(QString(store() + QStringLiteral(".storelock")), scratch);
    writeLiveLookingLockFile(QString(store() + QStringLiteral(".lock")), scratch);
    env().set("VEXIL_INSTALLINFO_FILE", store().toStdString());
    QElapsedTimer timer;
    timer.start();
    EXPECT_TRUE(
        InstComponentData::SetInstComponentKey(QStringLiteral("Models"), QStringLiteral("2.1"),
                                               QStringLiteral("Location"), QStringLiteral("/m")));
    EXPECT_LT(timer.elapsed(), 5000);
    EXPECT_EQ(readFile(store()), iniText("[Models]\n2.1\\Location=/m\n"));
    EXPECT_EQ(QDir(path()).entryList(QDir::Files | QDir::Hidden),
              QStringList{QStringLiteral("store.ini")});
}

TEST_F(WriterLocks, WriterWaitsWhileAnotherProcessHoldsTheLockAndGoesOnWhenItDies) {
    QProcess holder;
    holder.start(QStringLiteral(ORRERY_COMPONENTS_DRIVER),
                 {QStringLiteral("hold-lock"), QString(store() + QStringLiteral(".storelock"))});
    ASSERT_TRUE(holder.waitForReadyRead(30000));
    ASSERT_EQ(holder.readAll(), QByteArray("held\n"));

    QProcess writer;
    startWriter(writer, "1");
    EXPECT_FALSE(writer.waitForFinished(1000));
    EXPECT_EQ(written("1"), QString());

    holder.kill();
    ASSERT_TRUE(holder.waitForFinished(30000));
    QElapsedTimer timer;
    timer.start();
    ASSERT_TRUE(writer.waitForFinished(30000));
    EXPECT_LT(timer.elapsed(), 5000);
    EXPECT_EQ(writer.exitCode(), 0);
    EXPECT_EQ(written("1"), QStringLiteral("v1.0"));
    EXPECT_EQ(QDir(path()).entryList(QDir::Files | QDir::Hidden),
              QStringList{QStringLiteral("store.ini")});
}

TEST_F(WriterLocks, SettingsLockThatIsHeldIsRespected) {
    // A program that writes the store through QSettings alone holds only Qt's lock file; a
    // writer of ours waits for it rather than take it away.
    QLockFile settingsLock(QString(store() + QStringLiteral(".lock")));
    ASSERT_TRUE(settingsLock.lock());
    QProcess writer;
    startWriter(writer, "2");
    EXPECT_FALSE(writer.waitForFinished(1000));
    EXPECT_EQ(written("2"), QString());
    settingsLock.unlock();
    ASSERT_TRUE(writer.waitForFinished(30000));
    EXPECT_EQ(writer.exitCode(), 0);
    EXPECT_EQ(written("2"), QStringLiteral("v2.0"));
}

using ConcurrentWriters = OrreryTest::TempDirTest;

TEST_F(ConcurrentWriters, EightProcessesLoseNoKey) {
    constexpr int kProcesses = 8;
    constexpr int kKeys = 200;
    const QString store = path(QStringLiteral("store.ini"));
    QProcessEnvironment environment = cleanEnvironment();
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), path(QStringLiteral("config")));
    environment.insert(QStringLiteral("VEXIL_INSTALLINFO_FILE"), store);
    environment.insert(QStringLiteral("VEXIL_REFERRED_COMPONENT_FILE"), store);

    // Half of the writers use the installed-component operation, half the referred one;
    // both name the same INI file.
    std::vector<std::unique_ptr<QProcess>> writers;
    for (int p = 0; p < kProcesses; ++p) {
        auto process = std::make_unique<QProcess>();
        process->setProcessEnvironment(environment);
        process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        QStringList arguments;
        if (p % 2 == 0) {
            arguments << QStringLiteral("write-installed");
        } else {
            arguments << QStringLiteral("write-referred") << path(QStringLiteral("product"));
        }
        arguments << QString::number(p) << QString::number(kKeys);
        process->start(QStringLiteral(ORRERY_COMPONENTS_DRIVER), arguments);
        writers.push_back(std::move(process));
    }
    for (auto& process : writers) {
        ASSERT_TRUE(process->waitForFinished(240000));
        EXPECT_EQ(process->exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(process->exitCode(), 0);
    }

    QSettings settings(store, QSettings::IniFormat);
    int found = 0;
    for (int p = 0; p < kProcesses; ++p) {
        for (int j = 0; j < kKeys; ++j) {
            const QString key = QStringLiteral("Comp%1/p%2/K%3").arg(j % 4).arg(p).arg(j);
            const QString value = settings.value(key).toString();
            EXPECT_EQ(value, QStringLiteral("v%1.%2").arg(p).arg(j)) << key.toStdString();
            found += value.isEmpty() ? 0 : 1;
        }
    }
    EXPECT_EQ(found, kProcesses * kKeys);
    EXPECT_EQ(settings.allKeys().size(), kProcesses * kKeys);
}

}  // namespace
