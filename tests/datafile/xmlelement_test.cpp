// SPDX-License-Identifier: MIT
#include <orrery/xmlelement.h>

#include "qtprinters.h"
#include "testutil.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QThread>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

using Orrery::XMLElement;

namespace {

XMLElement* element(const QString& name, const QString& content = QString()) {
    auto* e = new XMLElement;
    e->SetName(name);
    e->SetContent(content);
    return e;
}

QString writeToString(const XMLElement& root) {
    QString out;
    QXmlStreamWriter writer(&out);
    EXPECT_EQ(root.ToXMLStream(writer), Orrery::RESULT_OK);
    return out;
}

Orrery::ERESULT readFromString(XMLElement& root, const QString& text) {
    QXmlStreamReader reader(text);
    return root.FromXMLStream(reader);
}

// @p text as a file written in text mode holds it: with CR LF line ends on Windows.
QByteArray textModeBytes(const char* text) {
    QByteArray bytes(text);
#ifdef _WIN32
    bytes.replace("\n", "\r\n");
#endif
    return bytes;
}

// Structural equality of two trees (comments are not part of the tree).
bool sameTree(const XMLElement& a, const XMLElement& b) {
    if (a.GetName() != b.GetName() || a.GetContent() != b.GetContent() ||
        a.GetAttributes() != b.GetAttributes() ||
        a.GetChildElements().size() != b.GetChildElements().size()) {
        return false;
    }
    for (int i = 0; i < a.GetChildElements().size(); ++i) {
        if (!sameTree(*a.GetChildElements().at(i), *b.GetChildElements().at(i))) {
            return false;
        }
    }
    return true;
}

}  // namespace

TEST(XMLElement, NewElementIsEmpty) {
    XMLElement e;
    EXPECT_TRUE(e.GetName().isEmpty());
    EXPECT_TRUE(e.GetContent().isEmpty());
    EXPECT_TRUE(e.GetAttributes().isEmpty());
    EXPECT_TRUE(e.GetChildElements().isEmpty());
}

TEST(XMLElement, SetAttributeReplacesExistingValue) {
    XMLElement e;
    e.SetAttribute(QStringLiteral("a"), QStringLiteral("1"));
    e.SetAttribute(QStringLiteral("a"), QStringLiteral("2"));
    EXPECT_EQ(e.GetAttributes().size(), 1);
    EXPECT_EQ(e.GetAttributes().value(QStringLiteral("a")), QStringLiteral("2"));
}

TEST(XMLElement, CopyIsShallowAndSharesChildren) {
    XMLElement original;
    original.SetName(QStringLiteral("root"));
    original.AddChildElement(element(QStringLiteral("child")));
    XMLElement copy(original);
    ASSERT_EQ(copy.GetChildElements().size(), 1);
    EXPECT_EQ(copy.GetChildElements().at(0), original.GetChildElements().at(0));
    XMLElement assigned;
    assigned = original;
    EXPECT_EQ(assigned.GetChildElements().at(0), original.GetChildElements().at(0));
    // Only one of the copies may delete the shared children.
    copy.GetChildElements().clear();
    assigned.GetChildElements().clear();
}

TEST(XMLElement, SelfAssignmentLeavesElementUnchanged) {
    XMLElement e;
    e.SetName(QStringLiteral("n"));
    e.AddChildElement(element(QStringLiteral("c")));
    XMLElement& alias = e;
    e = alias;
    EXPECT_EQ(e.GetName(), QStringLiteral("n"));
    EXPECT_EQ(e.GetChildElements().size(), 1);
}

TEST(XMLElement, ClearKeepsTheComment) {
    XMLElement e;
    e.SetName(QStringLiteral("n"));
    e.SetContent(QStringLiteral("text"));
    e.SetComment(QStringLiteral("kept"));
    e.SetAttribute(QStringLiteral("a"), QStringLiteral("1"));
    e.AddChildElement(element(QStringLiteral("c")));
    e.Clear();
    EXPECT_TRUE(e.GetName().isEmpty());
    EXPECT_TRUE(e.GetContent().isEmpty());
    EXPECT_TRUE(e.GetAttributes().isEmpty());
    EXPECT_TRUE(e.GetChildElements().isEmpty());
    e.SetName(QStringLiteral("r"));
    EXPECT_EQ(writeToString(e), QStringLiteral("<?xml version=\"1.0\"?>\n<!--kept-->\n<r></r>\n"));
}

TEST(XMLElement, WhitespaceBetweenElementsGivesEmptyContent) {
    XMLElement root;
    ASSERT_EQ(readFromString(root, QStringLiteral("<a>\n  <b>  </b>\n  <c/>\n</a>")),
              Orrery::RESULT_OK);
    EXPECT_TRUE(root.GetContent().isEmpty());
    ASSERT_EQ(root.GetChildElements().size(), 2);
    EXPECT_TRUE(root.GetChildElements().at(0)->GetContent().isEmpty());
    EXPECT_TRUE(root.GetChildElements().at(1)->GetContent().isEmpty());
}

TEST(XMLElement, LastNonWhitespaceTextPieceWins) {
    XMLElement root;
    ASSERT_EQ(readFromString(root, QStringLiteral("<r>a<b/>c</r>")), Orrery::RESULT_OK);
    EXPECT_EQ(root.GetContent(), QStringLiteral("c"));
    ASSERT_EQ(root.GetChildElements().size(), 1);
    EXPECT_EQ(root.GetChildElements().at(0)->GetName(), QStringLiteral("b"));
    XMLElement cdata;
    ASSERT_EQ(readFromString(cdata, QStringLiteral("<r>one<![CDATA[two]]></r>")),
              Orrery::RESULT_OK);
    EXPECT_EQ(cdata.GetContent(), QStringLiteral("two"));
    XMLElement untrimmed;
    ASSERT_EQ(readFromString(untrimmed, QStringLiteral("<r>  padded  </r>")), Orrery::RESULT_OK);
    EXPECT_EQ(untrimmed.GetContent(), QStringLiteral("  padded  "));
}

namespace {

struct ContentRow {
    const char* document;
    const char* content;
};

// A row prints as its text, escaped.
void PrintTo(const ContentRow& row, std::ostream* out) {
    OrreryTest::printEscaped(row.document, out);
}

class XMLElementWhiteSpace : public ::testing::TestWithParam<ContentRow> {};

}  // namespace

// White space is judged by the characters of a text piece, also for CDATA sections and
// character references, which the reader does not flag as white space.
TEST_P(XMLElementWhiteSpace, TextOfWhiteSpaceOnlyIsIgnored) {
    XMLElement root;
    ASSERT_EQ(readFromString(root, QString::fromUtf8(GetParam().document)), Orrery::RESULT_OK);
    EXPECT_EQ(root.GetContent(), QString::fromUtf8(GetParam().content));
}

INSTANTIATE_TEST_SUITE_P(
    Pieces, XMLElementWhiteSpace,
    ::testing::Values(
        ContentRow{"<a>x<![CDATA[   ]]></a>", "x"}, ContentRow{"<a>&#32;</a>", ""},
        ContentRow{"<a>x&#x9;<![CDATA[\n]]></a>", "x\t"}, ContentRow{"<a>&#13;&#10;&#9;</a>", ""},
        ContentRow{"<a>y<![CDATA[ \t\r\n ]]></a>", "y"}, ContentRow{"<a><![CDATA[]]></a>", ""},
        ContentRow{"<a>z<![CDATA[ w ]]></a>", " w "},
        // Only space, tab, carriage return and line feed are white space.
        ContentRow{"<a>&#xA0;</a>", "\xc2\xa0"}, ContentRow{"<a>&#x2003;</a>", "\xe2\x80\x83"}));

namespace {

struct AttributeRow {
    const char* document;
    const char* name;
};

// A row prints as its text, escaped.
void PrintTo(const AttributeRow& row, std::ostream* out) {
    OrreryTest::printEscaped(row.document, out);
}

class XMLElementAttributes : public ::testing::TestWithParam<AttributeRow> {};

}  // namespace

// Whatever names the reader accepts are taken as it gives them, and the caller's reader
// is left without an error.
TEST_P(XMLElementAttributes, AttributeIsTakenAsTheReaderGivesIt) {
    QXmlStreamReader reader(QByteArray(GetParam().document));
    XMLElement root;
    EXPECT_EQ(root.FromXMLStream(reader), Orrery::RESULT_OK);
    EXPECT_FALSE(reader.hasError()) << qPrintable(reader.errorString());
    EXPECT_EQ(root.GetName(), QStringLiteral("a"));
    QMap<QString, QString> expected;
    expected.insert(QString::fromUtf8(GetParam().name), QStringLiteral("x"));
    EXPECT_EQ(root.GetAttributes(), expected);
}

INSTANTIATE_TEST_SUITE_P(Names, XMLElementAttributes,
                         ::testing::Values(AttributeRow{"<a b@c=\"x\"/>", "b@c"},
                                           AttributeRow{"<a b\x01"
                                                        "c=\"x\"/>",
                                                        "b\x01"
                                                        "c"},
                                           AttributeRow{"<a \xc3\x97=\"x\"/>", "\xc3\x97"},
                                           AttributeRow{"<a b=\"x\"></a>", "b"}));

TEST(XMLElement, FromXMLStreamTakesAttributesTheReaderAccepts) {
    XMLElement root;
    ASSERT_EQ(readFromString(root, QStringLiteral("<a b@c=\"1\" d=\"2\"><e f@=\"3\"/></a>")),
              Orrery::RESULT_OK);
    EXPECT_EQ(root.GetAttributes().keys(),
              (QStringList{QStringLiteral("b@c"), QStringLiteral("d")}));
    ASSERT_EQ(root.GetChildElements().size(), 1);
    EXPECT_EQ(root.GetChildElements().at(0)->GetAttributes().value(QStringLiteral("f@")),
              QStringLiteral("3"));
}

TEST(XMLElement, CommentsAndProcessingInstructionsAreDropped) {
    XMLElement root;
    ASSERT_EQ(
        readFromString(
            root, QStringLiteral("<?xml version=\"1.0\"?><!--top--><r><!--in--><?pi x?><c/></r>")),
        Orrery::RESULT_OK);
    EXPECT_EQ(writeToString(root),
              QStringLiteral("<?xml version=\"1.0\"?>\n<r>\n    <c></c></r>\n"));
}

TEST(XMLElement, NamespacePrefixesAndDeclarationsAreDropped) {
    XMLElement root;
    ASSERT_EQ(
        readFromString(
            root, QStringLiteral("<p:r xmlns:p=\"urn:x\" p:a=\"1\" b=\"2\"><p:c>t</p:c></p:r>")),
        Orrery::RESULT_OK);
    EXPECT_EQ(root.GetName(), QStringLiteral("r"));
    EXPECT_EQ(root.GetAttributes().keys(), (QStringList{QStringLiteral("a"), QStringLiteral("b")}));
    EXPECT_EQ(root.GetChildElements().at(0)->GetName(), QStringLiteral("c"));
}

TEST(XMLElement, AttributesAreWrittenSortedByName) {
    XMLElement root;
    root.SetName(QStringLiteral("e"));
    root.SetAttribute(QStringLiteral("z"), QStringLiteral("1"));
    root.SetAttribute(QStringLiteral("a"), QStringLiteral("2"));
    root.SetAttribute(QStringLiteral("m"), QStringLiteral("3"));
    EXPECT_EQ(writeToString(root),
              QStringLiteral("<?xml version=\"1.0\"?>\n<e a=\"2\" m=\"3\" z=\"1\"></e>\n"));
}

TEST(XMLElement, EmptyElementIsWrittenWithOpeningAndClosingTag) {
    XMLElement root;
    root.SetName(QStringLiteral("name"));
    EXPECT_EQ(writeToString(root), QStringLiteral("<?xml version=\"1.0\"?>\n<name></name>\n"));
}

TEST(XMLElement, ContentOfAParentFollowsItsLastChild) {
    XMLElement root;
    root.SetName(QStringLiteral("r"));
    root.SetContent(QStringLiteral("tail & <text>"));
    root.AddChildElement(element(QStringLiteral("a"), QStringLiteral("x")));
    XMLElement* b = element(QStringLiteral("b"));
    b->AddChildElement(element(QStringLiteral("c")));
    root.AddChildElement(b);
    EXPECT_EQ(writeToString(root),
              QStringLiteral("<?xml version=\"1.0\"?>\n"
                             "<r>\n"
                             "    <a>x</a>\n"
                             "    <b>\n"
                             "        <c></c></b>tail &amp; &lt;text&gt;</r>\n"));
}

TEST(XMLElement, ReadingKeepsAnEarlierCommentAndWritesItAgain) {
    XMLElement root;
    root.SetComment(QStringLiteral(" saved by test "));
    ASSERT_EQ(readFromString(root, QStringLiteral("<r/>")), Orrery::RESULT_OK);
    EXPECT_EQ(writeToString(root),
              QStringLiteral("<?xml version=\"1.0\"?>\n<!-- saved by test -->\n<r></r>\n"));
}

TEST(XMLElement, MalformedInputReturnsInvalidArgumentAndKeepsThePartRead) {
    XMLElement root;
    EXPECT_EQ(readFromString(root, QStringLiteral("<r a=\"1\"><c>t</c><d>")),
              Orrery::RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(root.GetName(), QStringLiteral("r"));
    EXPECT_EQ(root.GetChildElements().size(), 2);
    XMLElement empty;
    EXPECT_EQ(readFromString(empty, QString()), Orrery::RESULT_INVALID_ARGUMENT);
    XMLElement garbage;
    EXPECT_EQ(readFromString(garbage, QStringLiteral("\x01\x02 not xml <<<")),
              Orrery::RESULT_INVALID_ARGUMENT);
}

TEST(XMLElement, SiblingsAfterTheReadersPositionAreReadIntoTheSameElement) {
    QXmlStreamReader reader(QStringLiteral(
        "<outer><a k=\"1\" x=\"2\"><c/></a><b k=\"3\"><d/></b><e k=\"1\"/></outer>"));
    reader.readNext();  // start document
    reader.readNext();  // <outer>
    XMLElement root;
    EXPECT_EQ(root.FromXMLStream(reader), Orrery::RESULT_OK);
    // Each sibling is taken in turn: the last name, the attributes merged, all children.
    EXPECT_EQ(root.GetName(), QStringLiteral("e"));
    QMap<QString, QString> expected;
    expected.insert(QStringLiteral("k"), QStringLiteral("1"));
    expected.insert(QStringLiteral("x"), QStringLiteral("2"));
    EXPECT_EQ(root.GetAttributes(), expected);
    ASSERT_EQ(root.GetChildElements().size(), 2);
    EXPECT_EQ(root.GetChildElements().at(0)->GetName(), QStringLiteral("c"));
    EXPECT_EQ(root.GetChildElements().at(1)->GetName(), QStringLiteral("d"));
}

TEST(XMLElement, StoppedReadingKeepsEveryOpenElementsChildrenInOrder) {
    XMLElement root;
    EXPECT_EQ(readFromString(root, QStringLiteral("<r><a><b/><c>t</c><d><e/><f")),
              Orrery::RESULT_INVALID_ARGUMENT);
    ASSERT_EQ(root.GetChildElements().size(), 1);
    const XMLElement& a = *root.GetChildElements().at(0);
    ASSERT_EQ(a.GetChildElements().size(), 3);
    EXPECT_EQ(a.GetChildElements().at(0)->GetName(), QStringLiteral("b"));
    EXPECT_EQ(a.GetChildElements().at(1)->GetContent(), QStringLiteral("t"));
    const XMLElement& d = *a.GetChildElements().at(2);
    EXPECT_EQ(d.GetName(), QStringLiteral("d"));
    ASSERT_EQ(d.GetChildElements().size(), 1);
    EXPECT_EQ(d.GetChildElements().at(0)->GetName(), QStringLiteral("e"));
}

TEST(XMLElement, RepeatedAndDistinctNamesAndValuesAreReadAsWritten) {
    // Many distinct names and values beside repeated ones, short and long, so that
    // strings read earlier are met again and others take their places.
    const auto valueOf = [](int i, int kind) -> QString {
        switch (kind) {
            case 0:
                return QStringLiteral("Ohm%1").arg(i % 5);
            case 1:
                return QStringLiteral("v%1").arg(i);
            case 2:
                return QString(40, QLatin1Char('x')) + QString::number(i % 3);
            default:
                return QString();
        }
    };
    QString text = QStringLiteral("<r>");
    for (int i = 0; i < 3000; ++i) {
        text += QStringLiteral("<e%1 u=\"%2\" id=\"%3\" long=\"%4\" empty=\"\" a%5=\"%2\">")
                    .arg(i % 97)
                    .arg(valueOf(i, 0), valueOf(i, 1), valueOf(i, 2))
                    .arg(i % 89);
        text += QStringLiteral("<c>%1</c></e%2>").arg(i).arg(i % 97);
    }
    text += QStringLiteral("</r>");

    XMLElement root;
    ASSERT_EQ(readFromString(root, text), Orrery::RESULT_OK);
    ASSERT_EQ(root.GetChildElements().size(), 3000);
    for (int i = 0; i < 3000; ++i) {
        const XMLElement& e = *root.GetChildElements().at(i);
        EXPECT_EQ(e.GetName(), QStringLiteral("e%1").arg(i % 97));
        QMap<QString, QString> expected;
        expected.insert(QStringLiteral("u"), valueOf(i, 0));
        expected.insert(QStringLiteral("id"), valueOf(i, 1));
        expected.insert(QStringLiteral("long"), valueOf(i, 2));
        expected.insert(QStringLiteral("empty"), QString());
        expected.insert(QStringLiteral("a%1").arg(i % 89), valueOf(i, 0));
        EXPECT_EQ(e.GetAttributes(), expected) << i;
        EXPECT_FALSE(
            e.GetAttributes().value(QStringLiteral("empty"), QStringLiteral("-")).isNull());
        ASSERT_EQ(e.GetChildElements().size(), 1);
        EXPECT_EQ(e.GetChildElements().at(0)->GetContent(), QString::number(i));
    }
}

TEST(XMLElement, ElementsWithEqualAttributesHaveMapsOfTheirOwn) {
    XMLElement root;
    ASSERT_EQ(readFromString(root, QStringLiteral("<r><a u=\"Ohm\" k=\"x\"/><b k=\"x\" "
                                                  "u=\"Ohm\"/><a u=\"Ohm\" k=\"x\"/></r>")),
              Orrery::RESULT_OK);
    ASSERT_EQ(root.GetChildElements().size(), 3);
    XMLElement& first = *root.GetChildElements().at(0);
    first.GetAttributes().insert(QStringLiteral("u"), QStringLiteral("mm"));
    first.SetAttribute(QStringLiteral("n"), QStringLiteral("1"));
    QMap<QString, QString> read;
    read.insert(QStringLiteral("k"), QStringLiteral("x"));
    read.insert(QStringLiteral("u"), QStringLiteral("Ohm"));
    EXPECT_EQ(root.GetChildElements().at(1)->GetAttributes(), read);
    EXPECT_EQ(root.GetChildElements().at(2)->GetAttributes(), read);
    EXPECT_EQ(first.GetAttributes().size(), 3);
    EXPECT_EQ(first.GetAttributes().value(QStringLiteral("u")), QStringLiteral("mm"));
}

TEST(XMLElement, AttributesWithTheSameLocalNameKeepTheValueReadLast) {
    XMLElement root;
    ASSERT_EQ(readFromString(root, QStringLiteral("<r xmlns:p=\"urn:p\" xmlns:q=\"urn:q\">"
                                                  "<e q:a=\"2\" p:a=\"1\" b=\"3\"/>"
                                                  "<e p:a=\"1\" q:a=\"2\" b=\"3\"/>"
                                                  "<e q:a=\"2\" p:a=\"1\" b=\"3\"/></r>")),
              Orrery::RESULT_OK);
    ASSERT_EQ(root.GetChildElements().size(), 3);
    const QStringList expected = {QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("1")};
    for (int i = 0; i < 3; ++i) {
        const QMap<QString, QString>& attributes = root.GetChildElements().at(i)->GetAttributes();
        EXPECT_EQ(attributes.size(), 2) << i;
        EXPECT_EQ(attributes.value(QStringLiteral("a")), expected.at(i)) << i;
        EXPECT_EQ(attributes.value(QStringLiteral("b")), QStringLiteral("3")) << i;
    }
}

TEST(XMLElement, ReadStringsHoldLittleMoreThanTheirCharacters) {
    // Short texts read after long ones, so that the reader's own buffers are larger.
    QString text = QStringLiteral("<r a=\"%1\">").arg(QString(300, QLatin1Char('v')));
    for (int i = 0; i < 20; ++i) {
        text += QStringLiteral("<e>%1</e><f k=\"%2\"/>")
                    .arg(QString(200 - i * 10, QLatin1Char('t')))
                    .arg(QString(i * 3, QLatin1Char('w')));
        text += QStringLiteral("<g>%1</g>").arg(i);
    }
    text += QStringLiteral("</r>");
    XMLElement root;
    ASSERT_EQ(readFromString(root, text), Orrery::RESULT_OK);
    ASSERT_EQ(root.GetChildElements().size(), 60);
    const auto tight = [](const QString& s) { return s.capacity() <= s.size() + 8; };
    EXPECT_TRUE(tight(root.GetAttributes().value(QStringLiteral("a"))));
    for (const XMLElement* child : root.GetChildElements()) {
        EXPECT_TRUE(tight(child->GetContent()))
            << child->GetContent().size() << " " << child->GetContent().capacity();
        for (const QString& value : child->GetAttributes()) {
            EXPECT_TRUE(tight(value)) << value.size() << " " << value.capacity();
        }
    }
}

TEST(XMLElement, StreamReadingStartsAtTheReadersPosition) {
    QXmlStreamReader reader(QStringLiteral("<outer><inner k=\"v\"/></outer>"));
    reader.readNext();  // start document
    reader.readNext();  // <outer>
    XMLElement root;
    EXPECT_EQ(root.FromXMLStream(reader), Orrery::RESULT_OK);
    EXPECT_EQ(root.GetName(), QStringLiteral("inner"));
}

class XMLElementFile : public OrreryTest::TempDirTest {
protected:
    void writeFile(const QString& name, const QByteArray& bytes) {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    QByteArray readFile(const QString& name) {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }
};

TEST_F(XMLElementFile, WritesTheExactDocumentWithEncoding) {
    XMLElement root;
    root.SetName(QStringLiteral("design"));
    root.SetComment(QStringLiteral("c"));
    root.SetAttribute(QStringLiteral("v"), QStringLiteral("\u00e9"));
    root.AddChildElement(element(QStringLiteral("p"), QStringLiteral("4.7k")));
    ASSERT_EQ(root.ToXMLFile(path(QStringLiteral("out.xml"))), Orrery::RESULT_OK);
    // The file is written in text mode: its line ends are the platform's.
    EXPECT_EQ(readFile(QStringLiteral("out.xml")),
              textModeBytes("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!--c-->\n"
                            "<design v=\"\xc3\xa9\">\n    <p>4.7k</p></design>\n"));
}

TEST_F(XMLElementFile, RoundTripGivesTheSameTree) {
    writeFile(QStringLiteral("in.xml"),
              "<?xml version=\"1.0\"?>\n<r b=\"2\" a=\"1\"><x>one</x><y><z q=\"&lt;\">two</z></y>"
              "tail</r>");
    XMLElement first;
    ASSERT_EQ(first.FromXMLFile(path(QStringLiteral("in.xml"))), Orrery::RESULT_OK);
    ASSERT_EQ(first.ToXMLFile(path(QStringLiteral("out.xml"))), Orrery::RESULT_OK);
    XMLElement second;
    ASSERT_EQ(second.FromXMLFile(path(QStringLiteral("out.xml"))), Orrery::RESULT_OK);
    EXPECT_TRUE(sameTree(first, second));
    ASSERT_EQ(second.ToXMLFile(path(QStringLiteral("again.xml"))), Orrery::RESULT_OK);
    EXPECT_EQ(readFile(QStringLiteral("out.xml")), readFile(QStringLiteral("again.xml")));
}

TEST_F(XMLElementFile, TwoRootElementsAreIllFormed) {
    writeFile(QStringLiteral("two.xml"), "<first a=\"1\"><c/></first><second/>");
    XMLElement root;
    EXPECT_EQ(root.FromXMLFile(path(QStringLiteral("two.xml"))), Orrery::RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(root.GetName(), QStringLiteral("first"));
    EXPECT_EQ(root.GetAttributes().value(QStringLiteral("a")), QStringLiteral("1"));
    EXPECT_EQ(root.GetChildElements().size(), 1);
}

TEST_F(XMLElementFile, UnopenableFileLeavesTheElementUntouched) {
    XMLElement root;
    root.SetName(QStringLiteral("before"));
    EXPECT_EQ(root.FromXMLFile(path(QStringLiteral("missing.xml"))),
              Orrery::RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(root.GetName(), QStringLiteral("before"));
}

TEST_F(XMLElementFile, WritingIntoAMissingDirectoryFails) {
    XMLElement root;
    root.SetName(QStringLiteral("r"));
    EXPECT_EQ(root.ToXMLFile(path(QStringLiteral("no/such/dir/out.xml"))),
              Orrery::RESULT_INVALID_ARGUMENT);
}

TEST_F(XMLElementFile, WritingReplacesAnExistingFile) {
    writeFile(QStringLiteral("f.xml"), QByteArray(5000, 'x'));
    XMLElement root;
    root.SetName(QStringLiteral("r"));
    ASSERT_EQ(root.ToXMLFile(path(QStringLiteral("f.xml"))), Orrery::RESULT_OK);
    EXPECT_EQ(readFile(QStringLiteral("f.xml")),
              textModeBytes("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<r></r>\n"));
}

TEST_F(XMLElementFile, DocumentOpenForReadingIsReplacedWholeOrNotAtAll) {
    const QByteArray old("<?xml version=\"1.0\"?>\n<old></old>\n");
    writeFile(QStringLiteral("open.xml"), old);
    QFile reader(path(QStringLiteral("open.xml")));
    ASSERT_TRUE(reader.open(QIODevice::ReadOnly));
    XMLElement root;
    root.SetName(QStringLiteral("r"));
    // A failed replacement is a write error, which is not reported.
    EXPECT_EQ(root.ToXMLFile(path(QStringLiteral("open.xml"))), Orrery::RESULT_OK);
#ifdef _WIN32
    // A handle that does not share deletion, as Qt's and the C runtime's are not, keeps
    // Windows from replacing the file: the old document stays whole.
    EXPECT_EQ(readFile(QStringLiteral("open.xml")), old);
#else
    EXPECT_EQ(readFile(QStringLiteral("open.xml")),
              QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<r></r>\n"));
#endif
    // The reader goes on reading the document it opened.
    EXPECT_EQ(reader.readAll(), old);
    reader.close();
    EXPECT_EQ(QDir(path()).entryList(QDir::Files | QDir::Hidden),
              QStringList{QStringLiteral("open.xml")});
    // Once the reader has let go, the document is replaced.
    EXPECT_EQ(root.ToXMLFile(path(QStringLiteral("open.xml"))), Orrery::RESULT_OK);
    EXPECT_EQ(readFile(QStringLiteral("open.xml")),
              textModeBytes("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<r></r>\n"));
}

#ifdef _WIN32
TEST_F(XMLElementFile, ReadOnlyDocumentIsNotReplaced) {
    // Windows refuses to delete or replace a file marked read-only, whoever asks.
    const QByteArray old("<?xml version=\"1.0\"?>\n<old></old>\n");
    writeFile(QStringLiteral("ro.xml"), old);
    QFile file(path(QStringLiteral("ro.xml")));
    const QFile::Permissions writable = file.permissions();
    ASSERT_TRUE(file.setPermissions(QFile::ReadOwner | QFile::ReadUser | QFile::ReadGroup |
                                    QFile::ReadOther));
    XMLElement root;
    root.SetName(QStringLiteral("r"));
    EXPECT_EQ(root.ToXMLFile(path(QStringLiteral("ro.xml"))), Orrery::RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(readFile(QStringLiteral("ro.xml")), old);
    EXPECT_EQ(QDir(path()).entryList(QDir::Files | QDir::Hidden),
              QStringList{QStringLiteral("ro.xml")});
    // Writable again, so that the temporary directory can go.
    EXPECT_TRUE(file.setPermissions(writable));
}
#endif

TEST_F(XMLElementFile, BinaryAndTruncatedFilesFailCleanly) {
    QByteArray binary;
    for (int i = 0; i < 4096; ++i) {
        binary.append(static_cast<char>((i * 37) & 0xFF));
    }
    writeFile(QStringLiteral("bin.xml"), binary);
    XMLElement a;
    EXPECT_EQ(a.FromXMLFile(path(QStringLiteral("bin.xml"))), Orrery::RESULT_INVALID_ARGUMENT);
    writeFile(QStringLiteral("cut.xml"), "<?xml version=\"1.0\"?><r><c attr=\"unterminated");
    XMLElement b;
    EXPECT_EQ(b.FromXMLFile(path(QStringLiteral("cut.xml"))), Orrery::RESULT_INVALID_ARGUMENT);
}

namespace {

// Discards what is written and counts the bytes.
class CountingDevice : public QIODevice {
public:
    qint64 count = 0;

protected:
    qint64 readData(char*, qint64) override { return -1; }
    qint64 writeData(const char*, qint64 len) override {
        count += len;
        return len;
    }
};

QString chain(int depth) {
    QString text;
    text.reserve(depth * 8);
    for (int i = 0; i < depth; ++i) {
        text += QStringLiteral("<e>");
    }
    text += QStringLiteral("x");
    for (int i = 0; i < depth; ++i) {
        text += QStringLiteral("</e>");
    }
    return text;
}

// Runs f on a thread with a small stack, so that recursion proportional to
// the depth of a tree would overflow it.
template <class F>
void onSmallStack(F f) {
    QThread* thread = QThread::create(f);
    thread->setStackSize(256 * 1024);
    thread->start();
    thread->wait();
    delete thread;
}

}  // namespace

TEST(XMLElementDepth, DeepDocumentIsReadAndDeletedWithoutRecursion) {
    const int depth = 100000;
    const QString text = chain(depth);
    int levels = 0;
    QString innermost;
    Orrery::ERESULT result = Orrery::RESULT_FAILED;
    onSmallStack([&] {
        auto* root = new XMLElement;
        result = readFromString(*root, text);
        const XMLElement* deepest = root;
        levels = 1;
        while (!deepest->GetChildElements().isEmpty()) {
            deepest = deepest->GetChildElements().at(0);
            ++levels;
        }
        innermost = deepest->GetContent();
        delete root;
    });
    EXPECT_EQ(result, Orrery::RESULT_OK);
    EXPECT_EQ(levels, depth);
    EXPECT_EQ(innermost, QStringLiteral("x"));
}

TEST(XMLElementDepth, DeepTreeIsWrittenWithoutRecursion) {
    // Indentation grows with depth, so the written size is quadratic in it;
    // 5,000 levels already overflow a small stack if written recursively.
    const int depth = 5000;
    const QString text = chain(depth);
    qint64 written = 0;
    onSmallStack([&] {
        XMLElement root;
        readFromString(root, text);
        CountingDevice device;
        device.open(QIODevice::WriteOnly);
        QXmlStreamWriter writer(&device);
        root.ToXMLStream(writer);
        written = device.count;
    });
    // Line k holds 4k spaces of indentation and "<e>"; the closing tags follow "x".
    const qint64 indentation = 4LL * depth * (depth - 1) / 2;
    const qint64 declaration = qstrlen("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
    const qint64 openingTags = depth * 3LL + (depth - 1);  // "<e>" lines joined by newlines
    const qint64 closing = 1 + depth * 4LL + 1;            // "x", the "</e>" run, final newline
    EXPECT_EQ(written, declaration + indentation + openingTags + closing);
}

// A write made to fail part-way needs a per-process file-size limit (RLIMIT_FSIZE), which
// only POSIX hosts have.
#ifndef _WIN32
TEST_F(XMLElementFile, FailedWriteLeavesTheOldDocumentInPlace) {
    const QByteArray old("<?xml version=\"1.0\"?>\n<old></old>\n");
    writeFile(QStringLiteral("keep.xml"), old);
    QProcess driver;
    driver.start(QStringLiteral(ORRERY_XML_WRITE_DRIVER),
                 {path(QStringLiteral("keep.xml")), QStringLiteral("4096")});
    ASSERT_TRUE(driver.waitForFinished(30000));
    EXPECT_EQ(driver.exitCode(), 0);
    // The write error itself is not reported; the old document survives it.
    EXPECT_EQ(driver.readAllStandardOutput().trimmed(), QByteArray("0"));
    EXPECT_EQ(readFile(QStringLiteral("keep.xml")), old);
    EXPECT_EQ(QDir(path()).entryList(QDir::Files | QDir::Hidden),
              QStringList{QStringLiteral("keep.xml")});
}

TEST_F(XMLElementFile, UnlimitedDriverWriteReplacesTheDocument) {
    writeFile(QStringLiteral("new.xml"), "<old/>");
    QProcess driver;
    driver.start(QStringLiteral(ORRERY_XML_WRITE_DRIVER),
                 {path(QStringLiteral("new.xml")), QStringLiteral("100000000")});
    ASSERT_TRUE(driver.waitForFinished(30000));
    XMLElement root;
    ASSERT_EQ(root.FromXMLFile(path(QStringLiteral("new.xml"))), Orrery::RESULT_OK);
    EXPECT_EQ(root.GetName(), QStringLiteral("design"));
    EXPECT_EQ(root.GetChildElements().size(), 2000);
}
#endif
