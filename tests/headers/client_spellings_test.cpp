// SPDX-License-Identifier: MIT
// Spellings of the suite's client code that must keep compiling: text passed where a
// version, units or a real-string parser is expected, and file modes with bits of their own.
#include <orrery/datafile.h>
#include <orrery/semanticver.h>
#include <orrery/units.h>

#include <gtest/gtest.h>

#include <QString>

#include <type_traits>

using Orrery::DataFile;
using Orrery::RealStringParser;
using Orrery::SemanticVer;
using Orrery::UnitsParser;

static_assert(std::is_convertible<QString, SemanticVer>::value,
              "a text converts to a version implicitly");
static_assert(std::is_convertible<QString, UnitsParser>::value,
              "a text converts to units implicitly");
static_assert(std::is_convertible<QString, RealStringParser>::value,
              "a text converts to a real-string parser implicitly");
static_assert(std::is_same<std::underlying_type<DataFile::OpenMode>::type, int>::value,
              "the file mode is an int-sized enumeration");

namespace {

unsigned int majorOf(const SemanticVer& version) {
    return version.GetMajorVersion();
}

double factorOf(const UnitsParser& units) {
    return units.conversionFactor();
}

double valueOf(const RealStringParser& parser) {
    return parser.valueAsReal();
}

// A file kind's own mode bits above 128, as the suite's kinds use them.
constexpr DataFile::OpenMode kReadShared = static_cast<DataFile::OpenMode>(0x100);
constexpr DataFile::OpenMode kAppend = static_cast<DataFile::OpenMode>(0x4000);

}  // namespace

TEST(ClientSpellings, TextCopyInitialisesAVersion) {
    const QString text = QStringLiteral("3.1.4");
    SemanticVer version = text;
    EXPECT_EQ(version.GetMajorVersion(), 3u);
    EXPECT_EQ(version.GetMinorVersion(), 1u);
    EXPECT_EQ(version.GetPatchVersion(), 4u);
    EXPECT_EQ(majorOf(QStringLiteral("7.0.0")), 7u);
}

TEST(ClientSpellings, TextPassedWhereUnitsAreExpected) {
    EXPECT_DOUBLE_EQ(factorOf(QStringLiteral("mil")),
                     UnitsParser(QStringLiteral("mil")).conversionFactor());
    UnitsParser units = QStringLiteral("GHz");
    EXPECT_EQ(units.baseUnits(), QStringLiteral("Hz"));
}

TEST(ClientSpellings, TextPassedWhereARealStringParserIsExpected) {
    EXPECT_DOUBLE_EQ(valueOf(QStringLiteral("4.7k")), 4700.0);
    RealStringParser parser = QStringLiteral("2.2n");
    EXPECT_TRUE(parser.isReal());
}

TEST(ClientSpellings, FileModesKeepBitsAbove128) {
    const int combined = kReadShared | kAppend | DataFile::OpenModeWritable;
    const auto mode = static_cast<DataFile::OpenMode>(combined);
    EXPECT_EQ(static_cast<int>(mode), 0x4102);
    EXPECT_EQ(sizeof(DataFile::OpenMode), sizeof(int));
    EXPECT_EQ(static_cast<int>(static_cast<DataFile::OpenMode>(-1)), -1);
}
