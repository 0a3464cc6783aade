// SPDX-License-Identifier: MIT
// Inputs that the fuzz targets found, reduced to what made them fail, and what the library
// does with them now.
#include <orrery/components.h>
#include <orrery/xmlelement.h>

#include "expandvars_reference.h"
#include "limits.h"
#include "testutil.h"

#include <gtest/gtest.h>

#include <QXmlStreamReader>
#include <QXmlStreamWriter>

using Orrery::XMLElement;

namespace {

Orrery::ERESULT read(XMLElement& root, const QByteArray& document) {
    QXmlStreamReader reader(document);
    return root.FromXMLStream(reader);
}

QByteArray write(const XMLElement& root) {
    QByteArray bytes;
    QXmlStreamWriter writer(&bytes);
    root.ToXMLStream(writer);
    return bytes;
}

struct NameRow {
    const char* document;
    const char* name;
};

// A row prints as its text, escaped.
void PrintTo(const NameRow& row, std::ostream* out) {
    OrreryTest::printEscaped(row.document, out);
}

class XMLElementAttributeNames : public ::testing::TestWithParam<NameRow> {};

}  // namespace

// Qt's reader lets these attribute names through. They are taken by their local name as
// the reader gives it; the reading does not fail on them.
TEST_P(XMLElementAttributeNames, AttributeNameThatIsNoXmlNameIsTakenAsRead) {
    XMLElement root;
    QXmlStreamReader reader(QByteArray(GetParam().document));
    EXPECT_EQ(root.FromXMLStream(reader), Orrery::RESULT_OK);
    EXPECT_FALSE(reader.hasError());
    EXPECT_EQ(root.GetName(), QStringLiteral("r"));
    EXPECT_EQ(root.GetAttributes().value(QString::fromUtf8(GetParam().name)), QStringLiteral("1"));
}

INSTANTIATE_TEST_SUITE_P(Taken, XMLElementAttributeNames,
                         ::testing::Values(NameRow{"<r a\x01=\"1\"/>", "a\x01"},
                                           NameRow{"<r xml\x01=\"1\" b=\"2\"/>", "xml\x01"},
                                           NameRow{"<r xmlns:p=\"urn:x\" p:2a=\"1\"/>", "2a"},
                                           NameRow{"<r xmlns:p=\"urn:x\" p:-a=\"1\"/>", "-a"},
                                           NameRow{"<r xmlns:p=\"urn:x\" p:\x01=\"1\"/>", "\x01"}));

TEST(XMLElementAttributeNames, FailsExactlyWhenTheReaderFails) {
    XMLElement root;
    QXmlStreamReader reader(QByteArray("<r xml\x01\x00=\"urn:d\" b=\"2\"/>", 24));
    const Orrery::ERESULT result = root.FromXMLStream(reader);
    EXPECT_EQ(result == Orrery::RESULT_INVALID_ARGUMENT, reader.hasError());
    EXPECT_TRUE(result == Orrery::RESULT_OK || result == Orrery::RESULT_INVALID_ARGUMENT);
}

TEST(XMLElementAttributeNames, NamespacedAndNonAsciiAttributeNamesStillRead) {
    XMLElement root;
    ASSERT_EQ(read(root, QByteArray("<r xmlns:p=\"urn:x\" p:a-1.b=\"1\" \xc3\xa9t\xc3\xa9=\"2\" "
                                    "_x=\"3\" xml:lang=\"en\"/>")),
              Orrery::RESULT_OK);
    EXPECT_EQ(root.GetAttributes().keys(),
              (QStringList{QStringLiteral("_x"), QStringLiteral("a-1.b"), QStringLiteral("lang"),
                           QString::fromUtf8("\xc3\xa9t\xc3\xa9")}));
    // Written without prefixes, the document reads back to the same attributes.
    XMLElement again;
    ASSERT_EQ(read(again, write(root)), Orrery::RESULT_OK);
    EXPECT_EQ(again.GetAttributes(), root.GetAttributes());
}

class ExpandVarsFindings : public OrreryTest::TempDirTest {
protected:
    void SetUp() override {
        OrreryTest::TempDirTest::SetUp();
        env().unset("VEXIL_REGISTRY_FILE");
    }
};

TEST_F(ExpandVarsFindings, ValueHoldingItsReferenceAmongOtherTextEnds) {
    // Each step replaces both copies again, growing the text by a few characters while
    // the scan moves on; the expansion still ends, with the result of the step rule.
    env().set("ORT_FZA", "F$ORT_FZA}");
    const QString text = QStringLiteral("$ORT_FZA*$ORT_FZA");
    EXPECT_EQ(Orrery::ExpandVars(text), OrreryTest::literalExpandVars(text).value());
}

TEST_F(ExpandVarsFindings, ValueDoublingItsReferenceEndsQuickly) {
    // "$FZA $FZA" with FZA=$FZA$FZA ran 3 s natively and over 10 s in the fuzzer, doubling
    // until the growth limit; the limit on the signs the values bring in stops it after
    // 17 steps, with 2^18 copies.
    env().set("ORT_FZA", "$ORT_FZA$ORT_FZA");
    const QString result = Orrery::ExpandVars(QStringLiteral("$ORT_FZA $ORT_FZA"));
    EXPECT_EQ(result.count(QStringLiteral("$ORT_FZA")), 1 << 18);
}

TEST_F(ExpandVarsFindings, NameRunThatGrowsAtEveryStepEndsQuickly) {
    // "$(" followed by a run of name characters that every step makes 4,000 characters
    // longer: the key of "$(" was built again at every step, 32 s in all. Keys now hold
    // at most 256 name characters. The text grows until the growth limit.
    env().set("ORT_FZA", std::string(4000, 'g') + "$ORT_FZA");
    const QString text = QStringLiteral("$($ORT_FZA $ORT_FZA");
    const QString result = Orrery::ExpandVars(text);
    EXPECT_TRUE(result.startsWith(QString(QStringLiteral("$(") + QString(4000, QLatin1Char('g')))));
    EXPECT_EQ(result.count(QStringLiteral("$ORT_FZA")), 2);
    EXPECT_LE(result.size(), text.size() + (1 << 24));
    EXPECT_GT(result.size(), text.size() + (1 << 24) - 2 * 4000);
}

TEST_F(ExpandVarsFindings, ValueWithItsReferenceAndManySignsEndsQuickly) {
    // A value holding its own reference in the form "%(NAME)" and several '%', inserted at
    // one place 8,192 times, made every insertion relabel the whole list of pieces and the
    // search for the sign before it walk back over the long run of name characters
    // (1.6 s natively, over 10 s in the fuzzer; now under 0.1 s).
    const std::string g(50, 'g');
    env().set("ORT_FZA",
              g + "%(ORT_FZA)ggg%" + g + g + g + g + g + "B%%%" + g + "x" + g + "vA%" + g);
    const QString text = QStringLiteral("$($ORT_FZA $ORT_FZA");
    const QString result = Orrery::ExpandVars(text);
    const auto signs = [](const QString& s) {
        return s.count(QLatin1Char('%')) + s.count(QLatin1Char('$'));
    };
    EXPECT_TRUE(result.startsWith(QString(QStringLiteral("$(") + QString::fromStdString(g))));
    EXPECT_LE(signs(result), signs(text) + (1 << 19));
    EXPECT_LE(result.size(), text.size() + (1 << 24));
    EXPECT_GT(result.size(), 1 << 20);
}
