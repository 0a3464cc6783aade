// SPDX-License-Identifier: MIT
#include <vexil/core.h>

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
    EXPECT_TRUE(vexil::putenv_stdstring("ORRERY_T_PUT", ""));
    EXPECT_STREQ(std::getenv("ORRERY_T_PUT"), "");
    EXPECT_FALSE(vexil::putenv_stdstring("", "x"));
    EXPECT_FALSE(vexil::putenv_stdstring("A=B", "x"));
}

class VexilRegistry : public OrreryTest::TempDirTest {
protected:
    void writeRegistry(const QString& text) {
        QFile file(path(QStringLiteral("registry.ini")));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(text.toUtf8());
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
    writeRegistry(
        QStringLiteral("[Environment]\nKORVANE_DIR=/opt/k\nWBMLANGPATH=/l\n"
                       "[Other]\nSTRAY=1\n"));
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
    writeRegistry(QStringLiteral("[Environment]\nORRERY_T_VAR=from registry\n"));
    env().set("ORRERY_T_VAR", "from env");
    EXPECT_EQ(vexil::getenv_check_registry_stdstring("ORRERY_T_VAR"), "from env");
    env().set("ORRERY_T_VAR", "");
    EXPECT_EQ(vexil::getenv_check_registry_stdstring("ORRERY_T_VAR"), "from registry");
    env().unset("ORRERY_T_VAR");
    EXPECT_EQ(vexil::getenv_check_registry_stdstring("ORRERY_T_VAR"), "from registry");
    EXPECT_EQ(vexil::getenv_check_registry_stdstring("ORRERY_T_NOWHERE"), "");
}

TEST_F(VexilRegistry, InstallationDirectoryFallsBackToTheRegistry) {
    writeRegistry(QStringLiteral("[Environment]\nKORVANE_DIR=/opt/from-registry\n"));
    env().unset("KORVANE_DIR");
    EXPECT_EQ(vexil::get_installation_directory(), "/opt/from-registry");
}
