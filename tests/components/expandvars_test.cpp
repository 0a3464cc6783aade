// SPDX-License-Identifier: MIT
#include <orrery/components.h>

#include "expandvars_reference.h"
#include "qtprinters.h"
#include "testutil.h"
#include "user_registry.h"

#include <ostream>

#include <QFile>

#include <optional>
#include <random>
#include <string>
#include <vector>

using Orrery::ExpandVars;

namespace {

class ExpandVarsTest : public OrreryTest::TempDirTest {
protected:
    void SetUp() override {
        OrreryTest::TempDirTest::SetUp();
        env().unset("VEXIL_REGISTRY_FILE");
    }
    void writeRegistry(const QByteArray& text) {
        QFile file(path(QStringLiteral("registry.ini")));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(text);
        file.close();
        env().set("VEXIL_REGISTRY_FILE", stdPath(QStringLiteral("registry.ini")));
    }
};

struct FormRow {
    const char* text;
    const char* expected;
};

void PrintTo(const FormRow& row, std::ostream* out) {
    *out << '"' << row.text << '"';
}

class ExpandVarsForms : public ExpandVarsTest, public ::testing::WithParamInterface<FormRow> {};

TEST_P(ExpandVarsForms, EveryReferenceFormExpands) {
    env().set("ORT_HOME", "/home/u");
    EXPECT_EQ(ExpandVars(QString::fromUtf8(GetParam().text)),
              QString::fromUtf8(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(
    AllForms, ExpandVarsForms,
    ::testing::Values(FormRow{"%ORT_HOME%/x", "/home/u/x"}, FormRow{"%ORT_HOME/x", "/home/u/x"},
                      FormRow{"$ORT_HOME/x", "/home/u/x"}, FormRow{"$(ORT_HOME)/x", "/home/u/x"},
                      FormRow{"%(ORT_HOME)/x", "/home/u/x"}, FormRow{"${ORT_HOME}/x", "/home/u/x"},
                      FormRow{"%{ORT_HOME}/x", "/home/u/x"}, FormRow{"a%ORT_HOME%b", "a/home/ub"},
                      FormRow{"%ORT_HOME%%ORT_HOME%", "/home/u/home/u"}));

struct KeptRow {
    const char* text;
};

void PrintTo(const KeptRow& row, std::ostream* out) {
    *out << '"' << row.text << '"';
}

class ExpandVarsKept : public ExpandVarsTest, public ::testing::WithParamInterface<KeptRow> {};

TEST_P(ExpandVarsKept, TextWithoutReferencesStaysAsItIs) {
    const QString text = QString::fromUtf8(GetParam().text);
    EXPECT_EQ(ExpandVars(text), text);
}

INSTANTIATE_TEST_SUITE_P(NotReferences, ExpandVarsKept,
                         ::testing::Values(KeptRow{"%%"}, KeptRow{"$"}, KeptRow{"%"}, KeptRow{""},
                                           KeptRow{"$(ORT_A"}, KeptRow{"${}"}, KeptRow{"%()"},
                                           KeptRow{"$ ORT_A"}, KeptRow{"%{ORT_A)"},
                                           KeptRow{"plain text \xc3\xa9"}, KeptRow{"$.x %/y"}));

TEST_F(ExpandVarsTest, UnsetVariableExpandsToNothing) {
    env().unset("ORT_UNSET");
    EXPECT_EQ(ExpandVars(QStringLiteral("$ORT_UNSET/bin")), QStringLiteral("/bin"));
    EXPECT_EQ(ExpandVars(QStringLiteral("a${ORT_UNSET}b%ORT_UNSET%c")), QStringLiteral("abc"));
}

TEST_F(ExpandVarsTest, EmptyVariableExpandsToNothing) {
    env().set("ORT_EMPTY", "");
    EXPECT_EQ(ExpandVars(QStringLiteral("[$(ORT_EMPTY)]")), QStringLiteral("[]"));
}

TEST_F(ExpandVarsTest, SelfReferenceIsNotExpandedAgain) {
    env().set("ORT_SELF", "$ORT_SELF");
    EXPECT_EQ(ExpandVars(QStringLiteral("$ORT_SELF")), QStringLiteral("$ORT_SELF"));
    EXPECT_EQ(ExpandVars(QStringLiteral("x/$ORT_SELF/y")), QStringLiteral("x/$ORT_SELF/y"));
}

TEST_F(ExpandVarsTest, AdjacentPercentReferencesExpandInTurn) {
    env().set("A", "1").set("B", "2");
    EXPECT_EQ(ExpandVars(QStringLiteral("%A%%B%")), QStringLiteral("12"));
}

// Environment names differ by case only on POSIX; on Windows both spellings name one
// variable (TokenTextIsCaseSensitiveWhileTheLookupIgnoresCase).
#ifndef _WIN32
TEST_F(ExpandVarsTest, TokenTextIsCaseSensitive) {
    env().set("ORT_Home", "lower").set("ORT_HOME", "upper");
    EXPECT_EQ(ExpandVars(QStringLiteral("$ORT_Home $ORT_HOME")), QStringLiteral("lower upper"));
    EXPECT_EQ(ExpandVars(QStringLiteral("$ORT_HOME $ORT_Home")), QStringLiteral("upper lower"));
}
#else
TEST_F(ExpandVarsTest, TokenTextIsCaseSensitiveWhileTheLookupIgnoresCase) {
    env().set("ORT_HOME", "upper");
    EXPECT_EQ(ExpandVars(QStringLiteral("$ORT_Home $ORT_HOME")), QStringLiteral("upper upper"));
    // A token replaces only text spelled exactly like it: "$ORT_b", brought in by the first
    // value, stays when "$ORT_B" is replaced (same spelling: "b b" in
    // LaterTokenAlsoReplacesTextAnEarlierValueBroughtIn).
    env().set("ORT_A", "$ORT_b").set("ORT_B", "B");
    EXPECT_EQ(ExpandVars(QStringLiteral("%ORT_A% $ORT_B")), QStringLiteral("$ORT_b B"));
}
#endif

TEST_F(ExpandVarsTest, HyphenBelongsToTheName) {
    env().set("ORT_A", "short").set("ORT_A-b", "long");
    EXPECT_EQ(ExpandVars(QStringLiteral("$ORT_A-b")), QStringLiteral("long"));
    EXPECT_EQ(ExpandVars(QStringLiteral("$ORT_A -b")), QStringLiteral("short -b"));
}

TEST_F(ExpandVarsTest, ValueIsReadAsUtf8) {
    env().set("ORT_U", "\xc3\xa9t\xc3\xa9 \xe2\x82\xac");
    EXPECT_EQ(ExpandVars(QStringLiteral("<$ORT_U>")),
              QString::fromUtf8("<\xc3\xa9t\xc3\xa9 \xe2\x82\xac>"));
}

TEST_F(ExpandVarsTest, ValueIsNotScannedWhereItWasInserted) {
    env().set("ORT_A", "$ORT_B").set("ORT_B", "b");
    EXPECT_EQ(ExpandVars(QStringLiteral("$ORT_A/x")), QStringLiteral("$ORT_B/x"));
}

TEST_F(ExpandVarsTest, EveryOccurrenceOfATokenIsReplaced) {
    env().set("ORT_A", "a");
    EXPECT_EQ(ExpandVars(QStringLiteral("$ORT_A/$ORT_A;$ORT_A")), QStringLiteral("a/a;a"));
}

TEST_F(ExpandVarsTest, LaterTokenAlsoReplacesTextAnEarlierValueBroughtIn) {
    env().set("ORT_A", "$ORT_B").set("ORT_B", "b");
    EXPECT_EQ(ExpandVars(QStringLiteral("%ORT_A% $ORT_B")), QStringLiteral("b b"));
}

TEST_F(ExpandVarsTest, ReplacementMatchesTokenTextInsideLongerReferences) {
    // The token "$ORT_A" is replaced wherever its text occurs, also as the start of "$ORT_AB".
    env().set("ORT_A", "a").set("ORT_AB", "ab");
    EXPECT_EQ(ExpandVars(QStringLiteral("$ORT_A $ORT_AB")), QStringLiteral("a aB"));
    EXPECT_EQ(ExpandVars(QStringLiteral("$ORT_AB $ORT_A")), QStringLiteral("ab a"));
    // "%ORT_A" without its closing sign is found first here, and consumes the start of "%ORT_A%".
    EXPECT_EQ(ExpandVars(QStringLiteral("%ORT_A %ORT_A%")), QStringLiteral("a a%"));
}

TEST_F(ExpandVarsTest, OverlappingOccurrencesAreReplacedFromTheLeft) {
    env().set("A", "v");
    // "%A%" occurs at 0 and overlapping at 2: only the first is replaced.
    EXPECT_EQ(ExpandVars(QStringLiteral("%A%A%")), QStringLiteral("vA%"));
}

TEST_F(ExpandVarsTest, ScanResumesAtTheOldPositionPlusTheValueLength) {
    // Replacing "$ORT_B" also removes the copy that "%ORT_A%" brought in before the cursor, so
    // the text shrinks in front of the resume position and "$ORT_C" is passed over.
    env().set("ORT_A", "$ORT_B").unset("ORT_B").set("ORT_C", "c");
    EXPECT_EQ(ExpandVars(QStringLiteral("%ORT_A%  $ORT_B$ORT_C")), QStringLiteral("  $ORT_C"));
}

TEST_F(ExpandVarsTest, FallsBackToTheRegistry) {
#ifdef _WIN32
    // The installer's per-user values, in a HKEY_CURRENT_USER of this test's own.
    const OrreryTest::PrivateUserRegistry registry;
    ASSERT_TRUE(registry.active());
    ASSERT_TRUE(registry.setValue(QStringLiteral("Software\\Tolmarsk\\Vexil\\Environment"),
                                  QStringLiteral("ORT_REG"), QStringLiteral("from registry")));
#else
    // VEXIL_REGISTRY_FILE stands in for the registry on POSIX.
    writeRegistry("[Environment]\nORT_REG=from registry\n");
#endif
    env().unset("ORT_REG");
    EXPECT_EQ(ExpandVars(QStringLiteral("$ORT_REG/x")), QStringLiteral("from registry/x"));
    env().set("ORT_REG", "");
    EXPECT_EQ(ExpandVars(QStringLiteral("%ORT_REG%/x")), QStringLiteral("from registry/x"));
    env().set("ORT_REG", "from env");
    EXPECT_EQ(ExpandVars(QStringLiteral("${ORT_REG}/x")), QStringLiteral("from env/x"));
}

TEST_F(ExpandVarsTest, WithoutRegistryAnUnsetVariableIsEmpty) {
    writeRegistry("[Environment]\nORT_OTHER=1\n");
    env().unset("ORT_REG");
    EXPECT_EQ(ExpandVars(QStringLiteral("[$(ORT_REG)]")), QStringLiteral("[]"));
}

}  // namespace

namespace {

// Small alphabets make references, their overlaps and values that contain references
// collide often.
class ExpandVarsAgainstLiteral : public ExpandVarsTest {
protected:
    static QString randomText(std::mt19937& random, int maxLength) {
        static const char alphabet[] = "%%%$$$(){}AAABB--x /";
        std::uniform_int_distribution<int> length(0, maxLength);
        std::uniform_int_distribution<int> pick(0, sizeof(alphabet) - 2);
        QString text;
        const int n = length(random);
        for (int i = 0; i < n; ++i) {
            text.append(QLatin1Char(alphabet[pick(random)]));
        }
        return text;
    }
    static std::vector<std::string> names() {
        std::vector<std::string> out;
        const std::string chars = "AB-";
        for (char a : chars) {
            out.emplace_back(1, a);
            for (char b : chars) {
                out.push_back(std::string{a, b});
                for (char c : chars) {
                    out.push_back(std::string{a, b, c});
                }
            }
        }
        return out;
    }
};

TEST_F(ExpandVarsAgainstLiteral, RandomTextsGiveTheSameResult) {
    std::mt19937 random(20240611);
    const std::vector<std::string> pool = names();
    int compared = 0;
    for (int round = 0; round < 400; ++round) {
        OrreryTest::ScopedEnv variables;
        std::bernoulli_distribution isSet(0.6);
        for (const std::string& name : pool) {
            if (isSet(random)) {
                variables.set(name, randomText(random, 5).toStdString());
            } else {
                variables.unset(name);
            }
        }
        for (int i = 0; i < 50; ++i) {
            const QString text = randomText(random, 24);
            const std::optional<QString> expected = OrreryTest::literalExpandVars(text, 200, 4000);
            if (!expected) {
                continue;  // grows without end under the literal rule too
            }
            ASSERT_EQ(ExpandVars(text), *expected) << "text: " << text.toStdString();
            ++compared;
        }
    }
    EXPECT_GT(compared, 15000);
}

TEST_F(ExpandVarsAgainstLiteral, LongNamesGiveTheSameResult) {
    // Names around and beyond 256 characters, where the implementation keeps keys cut and
    // compares with the text instead, in every form and inside longer names.
    std::mt19937 random(20261122);
    const std::vector<QString> pieces = {QStringLiteral("$"),
                                         QStringLiteral("%"),
                                         QStringLiteral("("),
                                         QStringLiteral(")"),
                                         QStringLiteral("{"),
                                         QStringLiteral("}"),
                                         QStringLiteral(" "),
                                         QStringLiteral("B"),
                                         QString(255, QLatin1Char('A')),
                                         QString(256, QLatin1Char('A')),
                                         QString(257, QLatin1Char('A')),
                                         QString(300, QLatin1Char('A'))};
    std::uniform_int_distribution<std::size_t> pick(0, pieces.size() - 1);
    auto randomText = [&](int maxPieces) {
        std::uniform_int_distribution<int> count(0, maxPieces);
        QString text;
        for (int n = count(random); n > 0; --n) {
            text += pieces[pick(random)];
        }
        return text;
    };
    std::vector<std::string> pool;
    for (int length : {255, 256, 257, 300, 511, 512, 513, 555, 600}) {
        pool.emplace_back(static_cast<std::size_t>(length), 'A');
        pool.push_back(std::string(static_cast<std::size_t>(length), 'A') + "B");
    }
    int compared = 0;
    for (int round = 0; round < 60; ++round) {
        OrreryTest::ScopedEnv variables;
        std::bernoulli_distribution isSet(0.6);
        for (const std::string& name : pool) {
            if (isSet(random)) {
                variables.set(name, randomText(3).toStdString());
            } else {
                variables.unset(name);
            }
        }
        for (int i = 0; i < 40; ++i) {
            const QString text = randomText(10);
            const std::optional<QString> expected =
                OrreryTest::literalExpandVars(text, 200, 100000);
            if (!expected) {
                continue;
            }
            ASSERT_EQ(ExpandVars(text), *expected) << "text: " << text.toStdString();
            ++compared;
        }
    }
    EXPECT_GT(compared, 2000);
}

TEST_F(ExpandVarsAgainstLiteral, ValueInsertedRightAfterALongNameRunExtendsThatName) {
    // "%AAA...A$X": expanding $X to "B" first makes the later reference "%AAA...AB", one
    // name character longer, around the length at which names are kept cut.
    for (int length : {1, 254, 255, 256, 257, 258, 600}) {
        OrreryTest::ScopedEnv variables;
        const std::string name(static_cast<std::size_t>(length), 'A');
        variables.set("ORT_X", "B").set(name, "short").set(name + "B", "long");
        const QString text = QString(QStringLiteral("$ORT_X %") +
                                     QString(length, QLatin1Char('A')) + QStringLiteral("$ORT_X"));
        const std::optional<QString> expected = OrreryTest::literalExpandVars(text);
        ASSERT_TRUE(expected.has_value());
        EXPECT_EQ(*expected, QStringLiteral("B long")) << length;
        EXPECT_EQ(ExpandVars(text), *expected) << length;
    }
}

TEST_F(ExpandVarsAgainstLiteral, LongTextWithManyReferences) {
    env().set("ORT_A", "/a").set("ORT_B", "$ORT_A").set("ORT_C", "").set("ORT_D", "%ORT_B%x");
    QString text;
    for (int i = 0; i < 2000; ++i) {
        text +=
            QStringLiteral("p%1 $ORT_A %ORT_B% ${ORT_C} %(ORT_D) $ORT_AB $UNSET_%1 %% $ ").arg(i);
    }
    const std::optional<QString> expected = OrreryTest::literalExpandVars(text, 100000, 10000000);
    ASSERT_TRUE(expected.has_value());
    EXPECT_EQ(ExpandVars(text), *expected);
}

}  // namespace

TEST_F(ExpandVarsTest, ValueBroughtInElsewhereIsExpandedAgainByReplaceAll) {
    // The second "$ORT_R" is text that the first value brought in after the resume point.
    env().set("ORT_R", "$ORT_R!");
    EXPECT_EQ(ExpandVars(QStringLiteral("$ORT_R $ORT_R")), QStringLiteral("$ORT_R!! $ORT_R!!"));
}

TEST_F(ExpandVarsTest, SelfMultiplyingValueStopsAtTheInsertedSignLimit) {
    // Each step doubles every occurrence; without a limit the text would grow without end.
    // Step k replaces 2^k occurrences and brings in two '$' for each: after 17 steps the
    // values have brought in 2^19 - 4 of them, and the 18th step would pass 2^19.
    env().set("ORT_TWICE", "$ORT_TWICE$ORT_TWICE");
    const QString text = QStringLiteral("$ORT_TWICE $ORT_TWICE tail");
    const QString result = ExpandVars(text);
    EXPECT_EQ(result.count(QStringLiteral("$ORT_TWICE")), 1 << 18);
    EXPECT_EQ(result.size(), (1 << 18) * 10 + 6);
    EXPECT_TRUE(result.endsWith(QStringLiteral("$ORT_TWICE tail")));
    EXPECT_TRUE(result.startsWith(QStringLiteral("$ORT_TWICE$ORT_TWICE")));
}

TEST_F(ExpandVarsTest, GrowingValueStopsAtTheGrowthLimit) {
    // Each step replaces the two copies of the reference, and each copy brings 4096
    // characters and the reference back: the text grows by 8,190 characters per step and
    // stops before it would have grown by more than 2^24.
    env().set("ORT_GROW", std::string(4096, 'g') + "$ORT_GROW");
    const QString text = QStringLiteral("$ORT_GROW $ORT_GROW");
    const QString result = ExpandVars(text);
    EXPECT_EQ(result.count(QStringLiteral("$ORT_GROW")), 2);
    EXPECT_LE(result.size(), text.size() + (1 << 24));
    EXPECT_GT(result.size(), text.size() + (1 << 24) - 8190);
}
