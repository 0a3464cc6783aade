// SPDX-License-Identifier: MIT
#include <vexil/core.h>

#include "qtprinters.h"
#include "testutil.h"

#include <QFile>
#include <QTextStream>

using OrreryTest::ScopedEnv;

TEST(VexilEnvironment, GetenvTellsUnsetFromEmpty) {
    ScopedEnv env;
    env.unset("ORRERY_T_UNSET").set("ORRERY_T_EMPTY", "").set("ORRERY_T_SET", "v\u00e9");
    std::string value = "stale";
    EXPECT_FALSE(vexil::getenv_stdstring_allow_empty("ORRERY_T_UNSET", &value));
    EXPECT_EQ(value, "");
    EXPECT_TRUE(vexil::getenv_stdstring_allow_empty("ORRERY_T_EMPTY", &value));
    EXPECT_EQ(value, "");
    EXPECT_TRUE(vexil::getenv_stdstring_allow_empty("ORRERY_T_SET", &value));
    EXPECT_EQ(value, "v\u00e9");
    EXPECT_EQ(vexil::getenv_stdstring("ORRERY_T_SET"), "v\u00e9");
    EXPECT_EQ(vexil::getenv_stdstring("ORRERY_T_UNSET"), "");
    EXPECT_FALSE(vexil::getenv_stdstring_allow_empty("", &value));
}

TEST(VexilEnvironment, PutenvSetsTheProcessEnvironment) {
    ScopedEnv env;
    env.unset("ORRERY_T_PUT");
    EXPECT_TRUE(vexil::putenv_stdstring("ORRERY_T_PUT", "a;b"));
    EXPECT_STREQ(std::getenv("ORRERY_T_PUT"), "a;b");
    std::string value;
    EXPECT_TRUE(vexil::getenv_stdstring_allow_empty("ORRERY_T_PUT", &value));
    EXPECT_EQ(value, "a;b");
    EXPECT_TRUE(vexil::putenv_stdstring("ORRERY_T_PUT", ""));
    // Set but empty in the environment that children inherit.
    value = "stale";
    EXPECT_TRUE(vexil::getenv_stdstring_allow_empty("ORRERY_T_PUT", &value));
    EXPECT_EQ(value, "");
#ifdef _WIN32
    // The C runtime's copy cannot hold an empty value: "NAME=" removes the name there.
    EXPECT_EQ(std::getenv("ORRERY_T_PUT"), nullptr);
#else
    EXPECT_STREQ(std::getenv("ORRERY_T_PUT"), "");
#endif
    EXPECT_FALSE(vexil::putenv_stdstring("", "x"));
    EXPECT_FALSE(vexil::putenv_stdstring("A=B", "x"));
}

#ifndef _WIN32
// The registry file of POSIX hosts; tests/windows/registry_test.cpp reads the Windows registry.
class VexilRegistry : public OrreryTest::TempDirTest {
protected:
    /// Writes the registry file with the bytes @p text and points VEXIL_REGISTRY_FILE at it.
    void writeRegistry(const QByteArray& text) {
        QFile file(path(QStringLiteral("registry.ini")));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(text);
        file.close();
        env().set("VEXIL_REGISTRY_FILE", stdPath(QStringLiteral("registry.ini")));
    }
};

TEST_F(VexilRegistry, NoRegistryWithoutTheVariable) {
    env().unset("VEXIL_REGISTRY_FILE");
    std::string value;
    EXPECT_FALSE(vexil::getenv_from_registry_only("HOME", &value));
    env().set("VEXIL_REGISTRY_FILE", "");
    EXPECT_FALSE(vexil::getenv_from_registry_only("HOME", &value));
}

TEST_F(VexilRegistry, ReadsTheEnvironmentSection) {
    writeRegistry("[Environment]\nKORVANE_DIR=/opt/k\nWBMLANGPATH=/l\n[Other]\nSTRAY=1\n");
    std::string value;
    EXPECT_TRUE(vexil::getenv_from_registry_only("KORVANE_DIR", &value));
    EXPECT_EQ(value, "/opt/k");
    EXPECT_FALSE(vexil::getenv_from_registry_only("STRAY", &value));
    EXPECT_FALSE(vexil::getenv_from_registry_only("MISSING", &value));
}

TEST_F(VexilRegistry, MissingFileIsAnEmptyRegistry) {
    env().set("VEXIL_REGISTRY_FILE", stdPath(QStringLiteral("nothing.ini")));
    std::string value;
    EXPECT_FALSE(vexil::getenv_from_registry_only("HOME", &value));
}

TEST_F(VexilRegistry, CheckRegistryPrefersANonEmptyEnvironmentValue) {
    writeRegistry("[Environment]\nORRERY_T_VAR=from registry\n");
    env().set("ORRERY_T_VAR", "from env");
    EXPECT_EQ(vexil::getenv_check_registry_stdstring("ORRERY_T_VAR"), "from env");
    env().set("ORRERY_T_VAR", "");
    EXPECT_EQ(vexil::getenv_check_registry_stdstring("ORRERY_T_VAR"), "from registry");
    env().unset("ORRERY_T_VAR");
    EXPECT_EQ(vexil::getenv_check_registry_stdstring("ORRERY_T_VAR"), "from registry");
    EXPECT_EQ(vexil::getenv_check_registry_stdstring("ORRERY_T_NOWHERE"), "");
}

namespace {

struct StoredRow {
    const char* line;
    const char* name;
    const char* value;
};

// A row prints as its text, escaped.
void PrintTo(const StoredRow& row, std::ostream* out) {
    OrreryTest::printEscaped(row.line, out);
}

class VexilRegistryValues : public VexilRegistry,
                            public ::testing::WithParamInterface<StoredRow> {};

}  // namespace

// Values come back byte for byte: no escapes, no quoting, no lists, no re-encoding.
TEST_P(VexilRegistryValues, ValueComesBackAsStored) {
    writeRegistry(QByteArray("[Environment]\n") + GetParam().line + "\n");
    std::string value = "stale";
    ASSERT_TRUE(vexil::getenv_from_registry_only(GetParam().name, &value));
    EXPECT_EQ(value, GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Stored, VexilRegistryValues,
                         ::testing::Values(StoredRow{"CYGWIN=a,b", "CYGWIN", "a,b"},
                                           StoredRow{"COMPILER_VER=x\\y", "COMPILER_VER", "x\\y"},
                                           StoredRow{"CYGWIN=caf\xc3\xa9", "CYGWIN", "caf\xc3\xa9"},
                                           StoredRow{"KORVANE_DIR=C:\\X", "KORVANE_DIR", "C:\\X"},
                                           StoredRow{"HOME=/tmp/h,1", "HOME", "/tmp/h,1"},
                                           StoredRow{"Q=\"quoted\"", "Q", "\"quoted\""},
                                           StoredRow{"P=50%20off", "P", "50%20off"},
                                           StoredRow{"S=a;b # c", "S", "a;b # c"},
                                           StoredRow{"E=a=b=c", "E", "a=b=c"},
                                           StoredRow{"  T  =  \t two words \t ", "T", "two words"},
                                           StoredRow{"CR=v\r", "CR", "v"},
                                           StoredRow{"EMPTY=", "EMPTY", ""},
                                           StoredRow{"AT=@Variant(x)", "AT", "@Variant(x)"}));

TEST_F(VexilRegistry, OtherSectionsCommentsAndOddLinesAreIgnored) {
    writeRegistry(
        "\xEF\xBB\xBFTOP=before any section\n"
        "[Other]\nA=other\n"
        "[Environment]\n; A=comment\n# B=comment\n  ;C=comment\nno equals sign\n=nameless\n"
        "D=first\nD=second\n"
        "[environment]\nE=wrong case\n"
        "[Environment]\nF=again\n");
    std::string value;
    for (const char* absent : {"TOP", "A", "B", "C", "; A", "no equals sign", "E", ""}) {
        EXPECT_FALSE(vexil::getenv_from_registry_only(absent, &value)) << absent;
    }
    ASSERT_TRUE(vexil::getenv_from_registry_only("D", &value));
    EXPECT_EQ(value, "second");
    ASSERT_TRUE(vexil::getenv_from_registry_only("F", &value));
    EXPECT_EQ(value, "again");
    EXPECT_TRUE(vexil::getenv_from_registry_only("F", nullptr));
}
#endif
