// SPDX-License-Identifier: MIT
// The client environment: construction, switches, the set-up sequence and the
// variables it exports. Each scenario runs in the driver process.
#include <vexil/clientenvironment.h>

#include "clientenvtest.h"

#include <QFile>

#include <string>

using OrreryTest::ChildResult;
using OrreryTest::DriverOutput;
using OrreryTest::native;
using OrreryTest::utf8;

namespace {

class ClientEnvironmentTest : public OrreryTest::ClientEnvProcessTest {
protected:
    /// The echo of @p arguments through the recording sink.
    static QByteArray echo(const QStringList& arguments) {
        QByteArray text;
        for (const QString& argument : arguments) {
            text += "MSG[Argument: " + utf8(argument) + "]\n";
        }
        return text;
    }
    QString bitmaps() const {
        const QString d = native(inst());
        return QString(d + QStringLiteral("\\de\\bitmaps;") + d +
                       QStringLiteral("\\dds\\bitmaps;") + d + QStringLiteral("\\lapi\\bitmaps"));
    }
    QString installationPath() const {
        const QString d = native(inst());
        return QString(d + QStringLiteral("\\bin\\win32_64;") + d +
                       QStringLiteral("\\lib\\win32_64;") + d + QStringLiteral("\\tools\\python;") +
                       d + QStringLiteral("\\tools\\bin_win32_64;") + d + QStringLiteral("\\bin;") +
                       d + QStringLiteral("\\arttrans;"));
    }
};

}  // namespace

TEST_F(ClientEnvironmentTest, ConstructorReadsPathAndLanguagePathAndSetsTheFlags) {
    setChild(QStringLiteral("PATH"), QStringLiteral("/a:/b"));
    setChild(QStringLiteral("WBMLANGPATH"), QStringLiteral("/lang"));
    const ChildResult result = run(QStringLiteral("construct"));
    EXPECT_EQ(result.exitCode, 0);
    const DriverOutput out(result.out);
    EXPECT_EQ(out.value(QStringLiteral("system_path")), QStringLiteral("/a:/b"));
    EXPECT_EQ(out.value(QStringLiteral("wbmlangpath")), QStringLiteral("/lang"));
    EXPECT_EQ(out.value(QStringLiteral("check")), QStringLiteral("1"));
    EXPECT_EQ(out.value(QStringLiteral("under-test")), QStringLiteral("0"));
    EXPECT_EQ(out.value(QStringLiteral("debug")), QStringLiteral("0"));
    EXPECT_EQ(out.value(QStringLiteral("vexil_dir")), QString());
    EXPECT_EQ(out.value(QStringLiteral("run_64bit")), QStringLiteral("1"));
    EXPECT_EQ(result.err, QByteArray());
}

TEST_F(ClientEnvironmentTest, ConstructorWithoutPathWritesTheMessageAndGoesOn) {
    unsetChild(QStringLiteral("PATH"));
    const ChildResult result = run(QStringLiteral("construct"));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, QByteArray("Could not find PATH environment variable."));
    EXPECT_EQ(DriverOutput(result.out).value(QStringLiteral("system_path")), QString());
    EXPECT_EQ(DriverOutput(result.out).value(QStringLiteral("run_64bit")), QStringLiteral("1"));
}

TEST_F(ClientEnvironmentTest, ConstructorWithEmptyPathWritesTheMessage) {
    setChild(QStringLiteral("PATH"), QString());
    const ChildResult result = run(QStringLiteral("construct"));
    EXPECT_EQ(result.err, QByteArray("Could not find PATH environment variable."));
}

TEST_F(ClientEnvironmentTest, ConstructorTakesPathFromTheRegistryWhenTheEnvironmentLacksIt) {
    unsetChild(QStringLiteral("PATH"));
    writeRegistry({{QStringLiteral("PATH"), QStringLiteral("/registry/bin")}});
    const ChildResult result = run(QStringLiteral("construct"));
    EXPECT_EQ(result.err, QByteArray());
    EXPECT_EQ(DriverOutput(result.out).value(QStringLiteral("system_path")),
              QStringLiteral("/registry/bin"));
}

TEST_F(ClientEnvironmentTest, ConstructorReadsTheLanguagePathFromTheEnvironmentOnly) {
    writeRegistry({{QStringLiteral("WBMLANGPATH"), QStringLiteral("/registry/lang")}});
    const ChildResult result = run(QStringLiteral("construct"));
    EXPECT_EQ(DriverOutput(result.out).value(QStringLiteral("wbmlangpath")), QString());
}

TEST_F(ClientEnvironmentTest, ProcessArgumentsExampleEchoesFirstThenRemovesTheSwitches) {
    const QStringList arguments = {QStringLiteral("-debug_env"), QStringLiteral("x"),
                                   QStringLiteral("-no_reg_vs_env"), QStringLiteral("y")};
    const ChildResult result = run(QStringLiteral("arguments"), arguments);
    EXPECT_EQ(result.exitCode, 0);
    // The echo runs before any removal and covers every argument, the program first.
    const QByteArray expectedEcho = echo(QStringList({argumentZero()}) + arguments);
    EXPECT_TRUE(result.out.startsWith(expectedEcho)) << result.out.constData();
    EXPECT_EQ(result.out.count("MSG["), 5);
    const DriverOutput out(result.out);
    EXPECT_EQ(out.value(QStringLiteral("args")), QStringLiteral("x|y"));
    EXPECT_EQ(out.value(QStringLiteral("argv-terminated")), QStringLiteral("1"));
    EXPECT_EQ(out.value(QStringLiteral("debug")), QStringLiteral("1"));
    EXPECT_EQ(out.value(QStringLiteral("check")), QStringLiteral("0"));
}

TEST_F(ClientEnvironmentTest, ProcessArgumentsComparesExactlyAndCaseSensitively) {
    const QStringList arguments = {QStringLiteral("-DEBUG_ENV"), QStringLiteral("-No_Reg_Vs_Env"),
                                   QStringLiteral("-debug_env2"), QStringLiteral("debug_env"),
                                   QStringLiteral(" -no_reg_vs_env")};
    const ChildResult result = run(QStringLiteral("arguments"), arguments);
    const DriverOutput out(result.out);
    EXPECT_EQ(out.value(QStringLiteral("args")), arguments.join(QLatin1Char('|')));
    EXPECT_EQ(out.value(QStringLiteral("debug")), QStringLiteral("0"));
    EXPECT_EQ(out.value(QStringLiteral("check")), QStringLiteral("1"));
    EXPECT_FALSE(result.out.contains("MSG["));
}

TEST_F(ClientEnvironmentTest, ProcessArgumentsReexaminesTheIndexAfterARemoval) {
    const ChildResult result =
        run(QStringLiteral("arguments"),
            {QStringLiteral("-no_reg_vs_env"), QStringLiteral("-no_reg_vs_env"),
             QStringLiteral("-debug_env"), QStringLiteral("-debug_env"), QStringLiteral("z")});
    const DriverOutput out(result.out);
    EXPECT_EQ(out.value(QStringLiteral("args")), QStringLiteral("z"));
    EXPECT_EQ(out.value(QStringLiteral("debug")), QStringLiteral("1"));
    EXPECT_EQ(out.value(QStringLiteral("check")), QStringLiteral("0"));
    // Echoed once, when the first "-debug_env" is met: the switches already removed
    // are not shown, the second "-debug_env" still is.
    EXPECT_EQ(result.out.count("MSG["), 4);
    EXPECT_TRUE(result.out.startsWith(echo({argumentZero(), QStringLiteral("-debug_env"),
                                            QStringLiteral("-debug_env"), QStringLiteral("z")})));
}

TEST_F(ClientEnvironmentTest, ProcessArgumentsWithOnlyTheProgramDoesNothing) {
    const ChildResult result = run(QStringLiteral("arguments"));
    const DriverOutput out(result.out);
    EXPECT_EQ(out.value(QStringLiteral("args")), QString());
    EXPECT_EQ(out.value(QStringLiteral("debug")), QStringLiteral("0"));
    EXPECT_FALSE(result.out.contains("MSG["));
}

TEST_F(ClientEnvironmentTest, ProcessArgumentsEchoesFirstWhenDebuggingWasAlreadyOn) {
    setChild(QStringLiteral("ORRERY_DRIVER_PRESET_DEBUG"), QStringLiteral("1"));
    const ChildResult result = run(QStringLiteral("arguments"));
    EXPECT_TRUE(result.out.startsWith(echo({argumentZero()})));
    EXPECT_EQ(result.out.count("MSG["), 1);

    const ChildResult withSwitch =
        run(QStringLiteral("arguments"), {QStringLiteral("a"), QStringLiteral("-debug_env")});
    // Echoed once, before the walk; the switch does not echo again but is removed.
    EXPECT_TRUE(withSwitch.out.startsWith(
        echo({argumentZero(), QStringLiteral("a"), QStringLiteral("-debug_env")})));
    EXPECT_EQ(withSwitch.out.count("MSG["), 3);
    EXPECT_EQ(DriverOutput(withSwitch.out).value(QStringLiteral("args")), QStringLiteral("a"));
}

TEST_F(ClientEnvironmentTest, ProcessArgumentsKeepsNonAsciiArgumentsAsUtf8) {
    const QString word = QString::fromUtf8("\xc3\xa9t\xc3\xa9-\xe2\x82\xac-\xce\xb1");
    const ChildResult result =
        run(QStringLiteral("arguments"), {QStringLiteral("-debug_env"), word});
    EXPECT_TRUE(result.out.contains("MSG[Argument: \xc3\xa9t\xc3\xa9-\xe2\x82\xac-\xce\xb1]\n"));
    EXPECT_EQ(DriverOutput(result.out).value(QStringLiteral("args")), word);
}

TEST_F(ClientEnvironmentTest, DefaultSinkWritesEachMessageUnchangedToStandardError) {
    unsetChild(QStringLiteral("ORRERY_DRIVER_SINK"));
    const ChildResult result =
        run(QStringLiteral("echo"), {QStringLiteral("a"), QStringLiteral("b c")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, utf8(QString(QStringLiteral("Argument: ") + argumentZero() +
                                       QStringLiteral("Argument: aArgument: b c"))));
    EXPECT_EQ(result.out, QByteArray());
}

TEST_F(ClientEnvironmentTest, SettersAndCopiesCarryEveryField) {
    setChild(QStringLiteral("WBMLANGPATH"), QStringLiteral("/lang"));
    const ChildResult result = run(QStringLiteral("flags"));
    EXPECT_EQ(result.exitCode, 0);
    const DriverOutput out(result.out);
    for (int copy = 0; copy < 3; ++copy) {
        EXPECT_EQ(out.value(QStringLiteral("check"), copy), QStringLiteral("0"));
        EXPECT_EQ(out.value(QStringLiteral("under-test"), copy), QStringLiteral("1"));
        EXPECT_EQ(out.value(QStringLiteral("debug"), copy), QStringLiteral("1"));
        EXPECT_EQ(out.value(QStringLiteral("system_path"), copy), userPath());
        EXPECT_EQ(out.value(QStringLiteral("wbmlangpath"), copy), QStringLiteral("/lang"));
    }
}

TEST_F(ClientEnvironmentTest, ProductVariablesExportTheInstallationDirectory) {
    const ChildResult result = run(QStringLiteral("product"));
    EXPECT_EQ(result.exitCode, 0);
    const DriverOutput out(result.out);
    EXPECT_EQ(out.value(QStringLiteral("error")), QString());
    EXPECT_EQ(out.value(QStringLiteral("vexil_dir")), native(inst()));
    EXPECT_EQ(out.value(QStringLiteral("VEXIL_EMDS_DIR")), native(inst()));
    EXPECT_EQ(out.value(QStringLiteral("cwd-kept")), QStringLiteral("1"));
}

// KORVANE_DIR names an installation to compare with, never the one the client runs from.
TEST_F(ClientEnvironmentTest, ProductVariablesIgnoreKorvaneDir) {
    unsetChild(QStringLiteral("VEXIL_INSTALLATION_DIR"));
    const QString other = path(QStringLiteral("other"));
    ASSERT_TRUE(QDir().mkpath(other));
    setChild(QStringLiteral("KORVANE_DIR"), other);
    writeRegistry({{QStringLiteral("KORVANE_DIR"), other}});
    const ChildResult result = run(QStringLiteral("product"));
    const QString parentOfBin = QFileInfo(QFileInfo(driver()).path()).path();
    EXPECT_EQ(DriverOutput(result.out).value(QStringLiteral("VEXIL_EMDS_DIR")),
              native(parentOfBin));
}

// The installation directory holds the running program on Windows, so it can always be
// entered there.
#ifndef _WIN32
TEST_F(ClientEnvironmentTest, UnenterableInstallationDirectoryThrowsTheVerifyMessage) {
    const QString missing = path(QStringLiteral("missing"));
    setChild(QStringLiteral("VEXIL_INSTALLATION_DIR"), missing);
    const ChildResult result = run(QStringLiteral("product"));
    EXPECT_EQ(result.exitCode, 0);
    const QByteArray expected =
        "error=[\nVerify that the KORVANE_DIR variable is set properly\n  Currently KORVANE_DIR "
        "is set to\n  " +
        utf8(missing) + "\n\nThe program will exit when you hit OK]\n";
    EXPECT_TRUE(result.out.contains(expected)) << result.out.constData();
    const DriverOutput out(result.out);
    EXPECT_EQ(out.value(QStringLiteral("cwd-kept")), QStringLiteral("1"));
    EXPECT_TRUE(result.out.contains("VEXIL_EMDS_DIR unset\n"));
}
#endif

TEST_F(ClientEnvironmentTest, SetupEnvironmentExportsEveryVariableWithItsDefault) {
    const ChildResult result = run(QStringLiteral("setup"));
    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
    EXPECT_EQ(result.err, QByteArray());
    const DriverOutput out(result.out);
    EXPECT_EQ(out.value(QStringLiteral("error")), QString());
    EXPECT_EQ(out.value(QStringLiteral("cwd-kept")), QStringLiteral("1"));
    EXPECT_EQ(out.value(QStringLiteral("VEXIL_EMDS_DIR")), native(inst()));
    EXPECT_EQ(out.value(QStringLiteral("DOCS_DIR")),
              native(QString(inst() + QStringLiteral("/doc"))));
    EXPECT_EQ(out.value(QStringLiteral("CYGWIN")), QStringLiteral("nodosfilewarning"));
    EXPECT_EQ(out.value(QStringLiteral("SIMARCH")), QStringLiteral("win32_64"));
    EXPECT_EQ(out.value(QStringLiteral("COMPL_DIR")), native(inst()));
    EXPECT_EQ(out.value(QStringLiteral("COMPILER_VER")), QStringLiteral("_VS2022"));
    EXPECT_EQ(out.value(QStringLiteral("VEP_MAJOR_VER")), QStringLiteral("VEP_2025_"));
    EXPECT_TRUE(result.out.contains("no_proxy unset\n"));
    EXPECT_EQ(out.value(QStringLiteral("HOME")), home());
    EXPECT_EQ(out.value(QStringLiteral("PATH")),
              QString(installationPath() + QStringLiteral(";") + userPath()));
    EXPECT_EQ(out.value(QStringLiteral("WBMLANGPATH")), bitmaps());
    EXPECT_TRUE(QFileInfo(QString(home() + QStringLiteral("/korvane/config"))).isDir());
    EXPECT_FALSE(QFileInfo::exists(QString(home() + QStringLiteral("/korvane/config/de_sim.cfg"))));
    EXPECT_FALSE(result.out.contains("MSG["));
}

TEST_F(ClientEnvironmentTest, SetupEnvironmentKeepsExistingValuesButOverridesSimarch) {
    setChild(QStringLiteral("DOCS_DIR"), QStringLiteral("/my/docs"));
    setChild(QStringLiteral("CYGWIN"), QStringLiteral("nodosfilewarning winsymlinks"));
    setChild(QStringLiteral("SIMARCH"), QStringLiteral("x86"));
    setChild(QStringLiteral("COMPL_DIR"), QStringLiteral("/my/compl"));
    setChild(QStringLiteral("COMPILER_VER"), QStringLiteral("_VS2019"));
    setChild(QStringLiteral("VEP_MAJOR_VER"), QStringLiteral("VEP_2024_"));
    const ChildResult result = run(QStringLiteral("setup"));
    EXPECT_EQ(result.exitCode, 0);
    const DriverOutput out(result.out);
    EXPECT_EQ(out.value(QStringLiteral("DOCS_DIR")), QStringLiteral("/my/docs"));
    EXPECT_EQ(out.value(QStringLiteral("CYGWIN")), QStringLiteral("nodosfilewarning winsymlinks"));
    EXPECT_EQ(out.value(QStringLiteral("SIMARCH")), QStringLiteral("win32_64"));
    EXPECT_EQ(out.value(QStringLiteral("COMPL_DIR")), QStringLiteral("/my/compl"));
    EXPECT_EQ(out.value(QStringLiteral("COMPILER_VER")), QStringLiteral("_VS2019"));
    EXPECT_EQ(out.value(QStringLiteral("VEP_MAJOR_VER")), QStringLiteral("VEP_2024_"));
}

TEST_F(ClientEnvironmentTest, SetupEnvironmentExportsRegistryOnlyValues) {
    writeRegistry({{QStringLiteral("DOCS_DIR"), QStringLiteral("/registry/docs")},
                   {QStringLiteral("CYGWIN"), QStringLiteral("registry-cygwin")},
                   {QStringLiteral("SIMARCH"), QStringLiteral("x86")},
                   {QStringLiteral("COMPL_DIR"), QStringLiteral("/registry/compl")},
                   {QStringLiteral("COMPILER_VER"), QStringLiteral("_VSreg")},
                   {QStringLiteral("VEP_MAJOR_VER"), QStringLiteral("VEP_reg_")}});
    setChild(QStringLiteral("CYGWIN"), QString());  // empty counts as unset
    const ChildResult result = run(QStringLiteral("setup"));
    const DriverOutput out(result.out);
    EXPECT_EQ(out.value(QStringLiteral("DOCS_DIR")), QStringLiteral("/registry/docs"));
    EXPECT_EQ(out.value(QStringLiteral("CYGWIN")), QStringLiteral("registry-cygwin"));
    EXPECT_EQ(out.value(QStringLiteral("SIMARCH")), QStringLiteral("win32_64"));
    EXPECT_EQ(out.value(QStringLiteral("COMPL_DIR")), QStringLiteral("/registry/compl"));
    EXPECT_EQ(out.value(QStringLiteral("COMPILER_VER")), QStringLiteral("_VSreg"));
    EXPECT_EQ(out.value(QStringLiteral("VEP_MAJOR_VER")), QStringLiteral("VEP_reg_"));
}

TEST_F(ClientEnvironmentTest, SetupEnvironmentAddsTheProxyException) {
    setChild(QStringLiteral("https_proxy"), QStringLiteral("http://proxy:3128"));
    const ChildResult result = run(QStringLiteral("setup"));
    EXPECT_EQ(DriverOutput(result.out).value(QStringLiteral("no_proxy")),
              QStringLiteral("localhost,127.0.0.1"));
}

// The installation directory holds the running program on Windows, so it can always be
// entered there.
#ifndef _WIN32
TEST_F(ClientEnvironmentTest, SetupEnvironmentStopsWhenTheInstallationCannotBeEntered) {
    setChild(QStringLiteral("VEXIL_INSTALLATION_DIR"), path(QStringLiteral("missing")));
    setChild(QStringLiteral("SIMARCH"), QStringLiteral("x86"));
    const ChildResult result = run(QStringLiteral("setup"));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.out.contains("error=[\nVerify that the KORVANE_DIR variable"));
    const DriverOutput out(result.out);
    for (const char* name : {"VEXIL_EMDS_DIR", "DOCS_DIR", "CYGWIN", "COMPL_DIR", "COMPILER_VER",
                             "VEP_MAJOR_VER", "WBMLANGPATH", "no_proxy"}) {
        EXPECT_TRUE(result.out.contains(QByteArray(QByteArray(name) + " unset\n"))) << name;
    }
    EXPECT_EQ(out.value(QStringLiteral("SIMARCH")), QStringLiteral("x86"));
    EXPECT_EQ(out.value(QStringLiteral("PATH")), userPath());
    EXPECT_FALSE(QFileInfo::exists(QString(home() + QStringLiteral("/korvane"))));
}
#endif

TEST_F(ClientEnvironmentTest, SetupSimarchVarSetsTheSixtyFourBitName) {
    setChild(QStringLiteral("SIMARCH"), QStringLiteral("x86"));
    const ChildResult result = run(QStringLiteral("simarch"));
    EXPECT_EQ(DriverOutput(result.out).value(QStringLiteral("SIMARCH")),
              QStringLiteral("win32_64"));
}

struct ProxyCase {
    const char* name;
    QMap<QString, QString> environment;  // a null value means unset
    const char* expected;                // null means no_proxy stays unset
};

class SetupEnvironmentForIpc : public OrreryTest::ClientEnvProcessTest,
                               public ::testing::WithParamInterface<ProxyCase> {};

TEST_P(SetupEnvironmentForIpc, AddsTheExceptionOnlyWhenAProxyIsSetAndNoProxyIsEmpty) {
    const ProxyCase& row = GetParam();
    for (auto it = row.environment.cbegin(); it != row.environment.cend(); ++it) {
        setChild(it.key(), it.value());
    }
    const ChildResult result = run(QStringLiteral("ipc"));
    EXPECT_EQ(result.exitCode, 0);
    if (row.expected == nullptr) {
        EXPECT_EQ(result.out, QByteArray("no_proxy unset\n"));
    } else {
        EXPECT_EQ(result.out, "no_proxy=[" + QByteArray(row.expected) + "]\n");
    }
}

INSTANTIATE_TEST_SUITE_P(
    Rows, SetupEnvironmentForIpc,
    ::testing::Values(ProxyCase{"NoProxyConfigured", {}, nullptr},
                      ProxyCase{"HttpsProxyNoProxyUnset",
                                {{QStringLiteral("https_proxy"), QStringLiteral("http://p:1")}},
                                "localhost,127.0.0.1"},
                      ProxyCase{"HttpProxyNoProxyUnset",
                                {{QStringLiteral("http_proxy"), QStringLiteral("http://p:1")}},
                                "localhost,127.0.0.1"},
                      ProxyCase{"HttpsProxyNoProxyEmpty",
                                {{QStringLiteral("https_proxy"), QStringLiteral("http://p:1")},
                                 {QStringLiteral("no_proxy"), QString()}},
                                "localhost,127.0.0.1"},
                      ProxyCase{"NoProxyEmptyWithoutAProxyStaysEmpty",
                                {{QStringLiteral("no_proxy"), QString()}},
                                ""},
                      ProxyCase{"NoProxyAlreadySet",
                                {{QStringLiteral("http_proxy"), QStringLiteral("http://p:1")},
                                 {QStringLiteral("no_proxy"), QStringLiteral(".example.com")}},
                                ".example.com"},
                      ProxyCase{"EmptyProxiesCountAsUnset",
                                {{QStringLiteral("http_proxy"), QString()},
                                 {QStringLiteral("https_proxy"), QString()}},
                                nullptr}),
    [](const ::testing::TestParamInfo<ProxyCase>& info) { return std::string(info.param.name); });

TEST_F(ClientEnvironmentTest, ProxyVariablesAreReadFromTheEnvironmentOnly) {
    writeRegistry({{QStringLiteral("https_proxy"), QStringLiteral("http://registry:1")}});
    const ChildResult result = run(QStringLiteral("ipc"));
    EXPECT_EQ(result.out, QByteArray("no_proxy unset\n"));
}

TEST_F(ClientEnvironmentTest, ExportWithDefaultPrefersEnvironmentThenRegistryThenDefault) {
    setChild(QStringLiteral("ORRERY_DRIVER_ARG1"), QStringLiteral("ORRERY_SAMPLE"));
    setChild(QStringLiteral("ORRERY_DRIVER_ARG2"), QStringLiteral("fallback"));
    EXPECT_EQ(run(QStringLiteral("export-default")).out, QByteArray("ORRERY_SAMPLE=[fallback]\n"));

    writeRegistry({{QStringLiteral("ORRERY_SAMPLE"), QStringLiteral("from registry")}});
    EXPECT_EQ(run(QStringLiteral("export-default")).out,
              QByteArray("ORRERY_SAMPLE=[from registry]\n"));

    setChild(QStringLiteral("ORRERY_SAMPLE"), QStringLiteral("from environment"));
    EXPECT_EQ(run(QStringLiteral("export-default")).out,
              QByteArray("ORRERY_SAMPLE=[from environment]\n"));

    setChild(QStringLiteral("ORRERY_SAMPLE"), QString());
    EXPECT_EQ(run(QStringLiteral("export-default")).out,
              QByteArray("ORRERY_SAMPLE=[from registry]\n"));
}

TEST(ClientEnvironmentNames, ProcessWideVariableNamesAreInitialisedAtLoad) {
    EXPECT_EQ(vexil::ClientEnvironment::s_wbmlangpath_var, "WBMLANGPATH");
    EXPECT_EQ(vexil::ClientEnvironment::s_korvane_dir_var, "KORVANE_DIR");
    EXPECT_TRUE(vexil::ClientEnvironment::run_64bit());
}
