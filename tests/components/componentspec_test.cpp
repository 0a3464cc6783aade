// SPDX-License-Identifier: MIT
#include <orrery/components.h>

#include "components_fixture.h"
#include "qtprinters.h"
#include "stderr_capture.h"
#include "testutil.h"

#include <ostream>

#include <QDir>

#ifdef _WIN32
#include <windows.h>
#endif

using Orrery::CreateComponentMemberSpecification;
using Orrery::InstComponentData;
using Orrery::ParseComponentMemberSpecification;
using Orrery::QueryReferredComponentLocation;
using OrreryTest::ComponentStoreTest;
using OrreryTest::StderrCapture;

namespace {

struct Parts {
    QString component;
    QString qualifier;
    QString member;
    QString prefix;
};

Parts parse(const QString& spec) {
    Parts parts{QStringLiteral("stale"), QStringLiteral("stale"), QStringLiteral("stale"),
                QStringLiteral("stale")};
    ParseComponentMemberSpecification(spec, parts.component, parts.qualifier, parts.member,
                                      parts.prefix);
    return parts;
}

// ---------------------------------------------------------------- parse

struct ParseRow {
    const char* spec;
    const char* component;
    const char* qualifier;
    const char* member;
    const char* prefix;
};

void PrintTo(const ParseRow& row, std::ostream* out) {
    *out << '"' << row.spec << '"';
}

class ParseSpecification : public ::testing::TestWithParam<ParseRow> {};

TEST_P(ParseSpecification, SplitsIntoFourParts) {
    const ParseRow& row = GetParam();
    const Parts parts = parse(QString::fromUtf8(row.spec));
    EXPECT_EQ(parts.component, QString::fromUtf8(row.component));
    EXPECT_EQ(parts.qualifier, QString::fromUtf8(row.qualifier));
    EXPECT_EQ(parts.member, QString::fromUtf8(row.member));
    EXPECT_EQ(parts.prefix, QString::fromUtf8(row.prefix));
}

const ParseRow kParseRows[] = {
    ParseRow{"&{Models}:lib/a.txt", "Models", "", "lib/a.txt", ""},
    ParseRow{"work:&{Models#2}:a}:b", "Models", "2", "a}:b", "work"},
    ParseRow{"work:&{Models#2}:lib/a.txt", "Models", "2", "lib/a.txt", "work"},
    ParseRow{"&{A#B#C}:x", "", "", "&{A#B#C}:x", ""}, ParseRow{"&{Models", "", "", "&{Models", ""},
    ParseRow{"lib:a.txt", "", "", "a.txt", "lib"},
    ParseRow{"plain/file.txt", "", "", "plain/file.txt", ""}, ParseRow{"", "", "", "", ""},
    // Text before "&{" that does not end with ":" is dropped.
    ParseRow{"ab&{M}:x", "M", "", "x", ""}, ParseRow{"&{M}:", "M", "", "", ""},
    ParseRow{"&{}:x", "", "", "x", ""}, ParseRow{"&{M#}:x", "M", "", "x", ""},
    ParseRow{"&{M}:x}:", "M", "", "x}:", ""},
    // A colon at the very start is no prefix.
    ParseRow{":a.txt", "", "", ":a.txt", ""},
    // Only the first colon ends the prefix when there is no "&{".
    ParseRow{"ab:c:d", "", "", "c:d", "ab"},
#ifndef _WIN32
    // A one-letter prefix whose directory part (".") exists reads as a drive letter. On
    // Windows "x:y" names drive X: (OneLetterPrefixIsADriveWhenTheDriveExists).
    ParseRow{"x:y", "", "", "x:y", ""},
#endif
    // A prefix followed by text that is not a component marker.
    ParseRow{"w:&{M", "", "", "&{M", "w"}};

INSTANTIATE_TEST_SUITE_P(Specifications, ParseSpecification, ::testing::ValuesIn(kParseRows));

class ParseDriveLetter : public OrreryTest::TempDirTest {
protected:
    OrreryTest::ScopedCurrentDir restore_;
};

// "C:/dir" is a directory relative to the current one only on POSIX; on Windows it is on
// drive C: (DriveLetterPathToAnExistingDirectoryIsAPath and ...ToAMissingDirectoryIsAPrefix).
#ifndef _WIN32
TEST_F(ParseDriveLetter, ExistingDirectoryMakesItAPath) {
    ASSERT_TRUE(QDir(path()).mkpath(QStringLiteral("C:/dir")));
    ASSERT_TRUE(QDir::setCurrent(path()));
    const Parts parts = parse(QStringLiteral("C:/dir/file"));
    EXPECT_EQ(parts.prefix, QString());
    EXPECT_EQ(parts.member, QStringLiteral("C:/dir/file"));
    EXPECT_EQ(parts.component, QString());
    EXPECT_EQ(parts.qualifier, QString());
}

TEST_F(ParseDriveLetter, MissingDirectoryMakesItAPrefix) {
    ASSERT_TRUE(QDir::setCurrent(path()));
    const Parts parts = parse(QStringLiteral("C:/dir/file"));
    EXPECT_EQ(parts.prefix, QStringLiteral("C"));
    EXPECT_EQ(parts.member, QStringLiteral("/dir/file"));
}
#else
TEST_F(ParseDriveLetter, DriveLetterPathToAnExistingDirectoryIsAPath) {
    ASSERT_TRUE(QDir(path()).mkpath(QStringLiteral("dir")));
    const QString spec = path(QStringLiteral("dir/file"));
    ASSERT_EQ(spec.at(1), QLatin1Char(':'));
    const Parts parts = parse(spec);
    EXPECT_EQ(parts.prefix, QString());
    EXPECT_EQ(parts.member, spec);
    EXPECT_EQ(parts.component, QString());
    EXPECT_EQ(parts.qualifier, QString());
}

TEST_F(ParseDriveLetter, DriveLetterPathToAMissingDirectoryIsAPrefix) {
    const QString spec = path(QStringLiteral("missing/file"));
    ASSERT_EQ(spec.at(1), QLatin1Char(':'));
    const Parts parts = parse(spec);
    EXPECT_EQ(parts.prefix, spec.left(1));
    EXPECT_EQ(parts.member, spec.mid(2));
}

TEST_F(ParseDriveLetter, OneLetterPrefixIsADriveWhenTheDriveExists) {
    // "x:y" names y in the current directory of drive X:, whose directory part is "x:".
    ASSERT_TRUE(QDir::setCurrent(path()));
    const QString current = path().left(1);
    Parts parts = parse(QString(current + QStringLiteral(":y")));
    EXPECT_EQ(parts.prefix, QString());
    EXPECT_EQ(parts.member, QString(current + QStringLiteral(":y")));
    // A letter that names no drive is a prefix.
    const DWORD drives = ::GetLogicalDrives();
    char missing = 0;
    for (char letter = 'Z'; letter >= 'D'; --letter) {
        if ((drives & (1u << (letter - 'A'))) == 0) {
            missing = letter;
            break;
        }
    }
    ASSERT_NE(missing, 0);
    const QString letter = QString(QLatin1Char(missing));
    parts = parse(QString(letter + QStringLiteral(":y")));
    EXPECT_EQ(parts.prefix, letter);
    EXPECT_EQ(parts.member, QStringLiteral("y"));
}
#endif

// Windows allows no ":" in a folder name, so there the directories below cannot exist (and
// "C:/&{M}:" would be in the root of drive C:); the rules hold without them.
TEST_F(ParseDriveLetter, LongerPrefixIsNeverADriveLetter) {
#ifndef _WIN32
    ASSERT_TRUE(QDir(path()).mkpath(QStringLiteral("CD:/dir")));
#endif
    ASSERT_TRUE(QDir::setCurrent(path()));
    const Parts parts = parse(QStringLiteral("CD:/dir/file"));
    EXPECT_EQ(parts.prefix, QStringLiteral("CD"));
    EXPECT_EQ(parts.member, QStringLiteral("/dir/file"));
}

TEST_F(ParseDriveLetter, ComponentMarkerDisablesTheRule) {
#ifndef _WIN32
    ASSERT_TRUE(QDir(path()).mkpath(QStringLiteral("C:/&{M}:")));
#endif
    ASSERT_TRUE(QDir::setCurrent(path()));
    const Parts parts = parse(QStringLiteral("C:/&{M}:x"));
    // "&{" is at 3, so the head "C:/" does not end with ":" and is dropped.
    EXPECT_EQ(parts.prefix, QString());
    EXPECT_EQ(parts.component, QStringLiteral("M"));
    EXPECT_EQ(parts.member, QStringLiteral("x"));
}

// ---------------------------------------------------------------- create

struct CreateRow {
    const char* component;
    const char* qualifier;
    const char* member;
    const char* prefix;
    const char* expected;
};

void PrintTo(const CreateRow& row, std::ostream* out) {
    *out << row.component << '|' << row.qualifier << '|' << row.member << '|' << row.prefix;
}

class CreateSpecification : public ::testing::TestWithParam<CreateRow> {};

TEST_P(CreateSpecification, ComposesTheWrittenForm) {
    const CreateRow& row = GetParam();
    EXPECT_EQ(CreateComponentMemberSpecification(
                  QString::fromUtf8(row.component), QString::fromUtf8(row.qualifier),
                  QString::fromUtf8(row.member), QString::fromUtf8(row.prefix)),
              QString::fromUtf8(row.expected));
}

INSTANTIATE_TEST_SUITE_P(
    Specifications, CreateSpecification,
    ::testing::Values(CreateRow{"Models", "", "a.txt", "", "&{Models}:a.txt"},
                      CreateRow{"", "2", "a.txt", "w", "w:a.txt"},
                      CreateRow{"Models", "2", "lib/a.txt", "work", "work:&{Models#2}:lib/a.txt"},
                      CreateRow{"Models", "2", "", "", "&{Models#2}:"},
                      CreateRow{"", "", "", "", ""}, CreateRow{"", "", "m", "", "m"},
                      // Successive substitution: the qualifier lands on the "%1" in the
                      // component text.
                      CreateRow{"a%1", "Q", "m", "", "&{aQ#%2}:m"},
                      CreateRow{"a%1", "", "m", "", "&{a%1}:m"}));

TEST(ComponentMemberSpecification, CreateThenParseGivesThePartsBack) {
    const QString spec =
        CreateComponentMemberSpecification(QStringLiteral("Models"), QStringLiteral("3"),
                                           QStringLiteral("x/y.txt"), QStringLiteral("work"));
    const Parts parts = parse(spec);
    EXPECT_EQ(parts.component, QStringLiteral("Models"));
    EXPECT_EQ(parts.qualifier, QStringLiteral("3"));
    EXPECT_EQ(parts.member, QStringLiteral("x/y.txt"));
    EXPECT_EQ(parts.prefix, QStringLiteral("work"));
}

// ---------------------------------------------------------------- location query

class LocationQuery : public ComponentStoreTest {
protected:
    void SetUp() override {
        ComponentStoreTest::SetUp();
        QDir(path()).mkpath(QStringLiteral("prod"));
    }
    QString root() const { return path(QStringLiteral("prod")); }
    void record(const char* version, const char* location, const char* component = "Models") {
        InstComponentData::SetReferredComponentKey(
            root(), QString::fromUtf8(component), QString::fromUtf8(version),
            QStringLiteral("Location"), QString::fromUtf8(location));
    }
    QString query(const char* version, bool expand = false, const char* component = "Models") {
        return QueryReferredComponentLocation(root(), QString::fromUtf8(component),
                                              QString::fromUtf8(version), expand);
    }
};

TEST_F(LocationQuery, GivenVersionIsReadDirectly) {
    record("1.0", "/m/1");
    record("beta", "/m/beta");
    EXPECT_EQ(query("1.0"), QStringLiteral("/m/1"));
    EXPECT_EQ(query("beta"), QStringLiteral("/m/beta"));
    EXPECT_EQ(query("7"), QString());
}

TEST_F(LocationQuery, HighestDecimalVersionWins) {
    record("1.0", "/m/1");
    record("2.0", "/m/2");
    record("10.0", "/m/10");
    record("beta", "/m/beta");
    EXPECT_EQ(query(""), QStringLiteral("/m/10"));
}

TEST_F(LocationQuery, VersionsCompareAsDecimalNumbers) {
    record("9.5", "/m/9.5");
    record("10", "/m/10");
    EXPECT_EQ(query(""), QStringLiteral("/m/10"));
}

TEST_F(LocationQuery, TwoPointTenIsTwoPointOne) {
    record("2.10", "/m/2.10");
    record("2.9", "/m/2.9");
    EXPECT_EQ(query(""), QStringLiteral("/m/2.9"));
}

TEST_F(LocationQuery, MultiPartVersionIsSkipped) {
    record("2.1.3", "/m/2.1.3");
    record("1.5", "/m/1.5");
    EXPECT_EQ(query(""), QStringLiteral("/m/1.5"));
    EXPECT_EQ(query("2.1.3"), QStringLiteral("/m/2.1.3"));
}

TEST_F(LocationQuery, NothingAtOrBelowTheThreshold) {
    record("-20000", "/m/old");
    EXPECT_EQ(query(""), QString());
    record("-10000", "/m/limit");
    EXPECT_EQ(query(""), QString());
    record("-9999.5", "/m/just-above");
    EXPECT_EQ(query(""), QStringLiteral("/m/just-above"));
}

TEST_F(LocationQuery, EqualValuesKeepTheFirstListed) {
    // Keys are listed in order: "2.0/Location" comes before "2/Location".
    record("2", "/m/two");
    record("2.0", "/m/two-point-zero");
    EXPECT_EQ(query(""), QStringLiteral("/m/two-point-zero"));
}

TEST_F(LocationQuery, OnlyLocationKeysOfTheComponentCount) {
    InstComponentData::SetReferredComponentKey(root(), QStringLiteral("Models"),
                                               QStringLiteral("5.0"), QStringLiteral("RefCount"),
                                               QStringLiteral("1"));
    record("1.0", "/m/1");
    record("9.0", "/t/9", "Tools");
    EXPECT_EQ(query(""), QStringLiteral("/m/1"));
    EXPECT_EQ(query("", false, "Tools"), QStringLiteral("/t/9"));
    EXPECT_EQ(query("", false, "Missing"), QString());
}

TEST_F(LocationQuery, KeyTextIsStrippedOfLocationLiterally) {
    // "4.0/Location2" loses "/Location" and reads as the number 4.02.
    record("1.0", "/m/1");
    InstComponentData::SetReferredComponentKey(root(), QStringLiteral("Models"),
                                               QStringLiteral("4.0"), QStringLiteral("Location2"),
                                               QStringLiteral("/m/odd"));
    EXPECT_EQ(query(""), QStringLiteral("/m/odd"));
}

TEST_F(LocationQuery, DeeperGroupsAreNotVersions) {
    InstComponentData::SetReferredComponentKey(root(), QStringLiteral("Models/7.0"),
                                               QStringLiteral("sub"), QStringLiteral("Location"),
                                               QStringLiteral("/m/deep"));
    record("1.0", "/m/1");
    EXPECT_EQ(query(""), QStringLiteral("/m/1"));
}

TEST_F(LocationQuery, MissingFileGivesEmpty) {
    EXPECT_EQ(query(""), QString());
    EXPECT_EQ(query("1.0"), QString());
}

TEST_F(LocationQuery, ExpandsVariablesOnRequest) {
    env().set("ORT_MODELS_ROOT", "/opt/models");
    record("1.0", "$(ORT_MODELS_ROOT)/1.0");
    EXPECT_EQ(query("1.0", true), QStringLiteral("/opt/models/1.0"));
    EXPECT_EQ(query("", true), QStringLiteral("/opt/models/1.0"));
    EXPECT_EQ(query("", false), QStringLiteral("$(ORT_MODELS_ROOT)/1.0"));
}

TEST_F(LocationQuery, EmptyRootWithVersionIsRefused) {
    env().set("VEXIL_REFERRED_COMPONENT_FILE",
              path(QStringLiteral("prod/ComponentRefs.ini")).toStdString());
    record("1.0", "/m/1");
    StderrCapture capture;
    EXPECT_EQ(QueryReferredComponentLocation(QString(), QStringLiteral("Models"),
                                             QStringLiteral("1.0"), false),
              QString());
    EXPECT_EQ(capture.text(), QByteArray("Product root needs to be set\n"));
}

TEST_F(LocationQuery, EmptyRootWithoutVersionIsNotChecked) {
    env().set("VEXIL_REFERRED_COMPONENT_FILE",
              path(QStringLiteral("prod/ComponentRefs.ini")).toStdString());
    record("1.0", "/m/1");
    StderrCapture capture;
    EXPECT_EQ(QueryReferredComponentLocation(QString(), QStringLiteral("Models"), QString(), false),
              QStringLiteral("/m/1"));
    EXPECT_EQ(capture.text(), QByteArray());
}

}  // namespace
