// SPDX-License-Identifier: MIT
// Limits of the XML element tree: very deep documents and very long texts.
#include <orrery/xmlelement.h>

#include "limits.h"
#include "testutil.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QFileInfo>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <memory>

using Orrery::XMLElement;
using OrreryTest::runOnSmallStack;
using ReliabilityTest::CountingDevice;
using ReliabilityTest::nestedDocument;

namespace {

constexpr int kDeep = 100000;

const QByteArray kDeclaration("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");

// The number of levels of a chain of single children, and its innermost element.
int chainDepth(const XMLElement& root, const XMLElement** innermost) {
    const XMLElement* element = &root;
    int depth = 1;
    while (!element->GetChildElements().isEmpty()) {
        element = element->GetChildElements().at(0);
        ++depth;
    }
    *innermost = element;
    return depth;
}

// A chain of depth elements named "e", the innermost with the content "x".
std::unique_ptr<XMLElement> buildChain(int depth) {
    auto root = std::make_unique<XMLElement>();
    root->SetName(QStringLiteral("e"));
    XMLElement* element = root.get();
    for (int level = 1; level < depth; ++level) {
        auto* child = new XMLElement;
        child->SetName(QStringLiteral("e"));
        element->AddChildElement(child);
        element = child;
    }
    element->SetContent(QStringLiteral("x"));
    return root;
}

// The size of a chain of depth elements as ToXMLStream writes it: line k holds 4k spaces
// and "<e>", "x" follows the innermost start tag, then the run of end tags and a newline.
qint64 writtenChainSize(qint64 depth) {
    return kDeclaration.size() + 4 * depth * (depth - 1) / 2 + depth * 3 + (depth - 1) + 1 +
           depth * 4 + 1;
}

}  // namespace

TEST(XMLElementLimits, HundredThousandDeepDocumentIsReadClearedAndDestroyed) {
    const QByteArray document = nestedDocument(kDeep, "x");
    Orrery::ERESULT result = Orrery::RESULT_FAILED;
    int depth = 0;
    QString innermostContent;
    bool sharedByCopy = false;
    bool clearedEmpty = false;
    runOnSmallStack([&] {
        auto* root = new XMLElement;
        QXmlStreamReader reader(document);
        result = root->FromXMLStream(reader);
        const XMLElement* innermost = nullptr;
        depth = chainDepth(*root, &innermost);
        innermostContent = innermost->GetContent();
        // A copy shares the children; only one of the two may delete them.
        XMLElement copy(*root);
        sharedByCopy = copy.GetChildElements() == root->GetChildElements();
        copy.GetChildElements().clear();
        root->Clear();
        clearedEmpty = root->GetChildElements().isEmpty() && root->GetName().isEmpty();
        // Read again, then destroyed whole.
        QXmlStreamReader again(document);
        root->FromXMLStream(again);
        delete root;
    });
    EXPECT_EQ(result, Orrery::RESULT_OK);
    EXPECT_EQ(depth, kDeep);
    EXPECT_EQ(innermostContent, QStringLiteral("x"));
    EXPECT_TRUE(sharedByCopy);
    EXPECT_TRUE(clearedEmpty);
}

TEST(XMLElementLimits, HundredThousandDeepDocumentCutShortLeavesWhatWasRead) {
    // The end tags are missing: the document is malformed, the elements read so far stay.
    const QByteArray document = nestedDocument(kDeep, "x").left(kDeep * 3 + 1);
    Orrery::ERESULT result = Orrery::RESULT_OK;
    int depth = 0;
    runOnSmallStack([&] {
        XMLElement root;
        QXmlStreamReader reader(document);
        result = root.FromXMLStream(reader);
        const XMLElement* innermost = nullptr;
        depth = chainDepth(root, &innermost);
    });
    EXPECT_EQ(result, Orrery::RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(depth, kDeep);
}

// The written form indents each level by four more spaces, so a chain of n elements
// takes about 2n^2 bytes: 100,000 levels would be 20 GB, and Qt's writer also loops over
// the depth for every line. The writer itself keeps no recursion; 10,000 levels (200 MB,
// counted, not kept) show it within seconds.
TEST(XMLElementLimits, TenThousandDeepTreeIsWrittenWithoutRecursion) {
    constexpr int depth = 10000;
    qint64 written = 0;
    Orrery::ERESULT result = Orrery::RESULT_FAILED;
    runOnSmallStack([&] {
        const std::unique_ptr<XMLElement> root = buildChain(depth);
        CountingDevice device;
        QXmlStreamWriter writer(&device);
        result = root->ToXMLStream(writer);
        written = device.count;
    });
    EXPECT_EQ(result, Orrery::RESULT_OK);
    EXPECT_EQ(written, writtenChainSize(depth));
}

class XMLElementLimitsFile : public OrreryTest::TempDirTest {};

TEST_F(XMLElementLimitsFile, ThreeThousandDeepFileIsWrittenAndReadBack) {
    constexpr int depth = 3000;
    const QString file = path(QStringLiteral("deep.xml"));
    Orrery::ERESULT written = Orrery::RESULT_FAILED;
    Orrery::ERESULT read = Orrery::RESULT_FAILED;
    int readDepth = 0;
    QString innermostContent;
    runOnSmallStack([&] {
        written = buildChain(depth)->ToXMLFile(file);
        XMLElement root;
        read = root.FromXMLFile(file);
        const XMLElement* innermost = nullptr;
        readDepth = chainDepth(root, &innermost);
        innermostContent = innermost->GetContent();
    });
    EXPECT_EQ(written, Orrery::RESULT_OK);
    EXPECT_EQ(read, Orrery::RESULT_OK);
#ifdef _WIN32
    // Written in text mode: each of the depth + 1 line ends is CR LF on Windows.
    EXPECT_EQ(QFileInfo(file).size(), writtenChainSize(depth) + depth + 1);
#else
    EXPECT_EQ(QFileInfo(file).size(), writtenChainSize(depth));
#endif
    EXPECT_EQ(readDepth, depth);
    EXPECT_EQ(innermostContent, QStringLiteral("x"));
}

TEST(XMLElementLimits, HundredMegabyteTextContentIsReadAndWrittenWhole) {
    // 100 MB of text in one element, read through a device in the reader's own chunks.
    const QByteArray line("0123456789 abcdefghijklmnopqrstuvwxyz &amp; ABCDEFGHIJ\n");
    const QString lineText = QStringLiteral("0123456789 abcdefghijklmnopqrstuvwxyz & ABCDEFGHIJ\n");
    const int lines = 100 * 1000 * 1000 / line.size() + 1;
    QByteArray document;
    document.reserve(lines * line.size() + 16);
    document += "<r>";
    for (int i = 0; i < lines; ++i) {
        document += line;
    }
    document += "</r>";
    ASSERT_GE(document.size(), 100 * 1000 * 1000);

    XMLElement root;
    {
        QBuffer input(&document);
        input.open(QIODevice::ReadOnly);
        QXmlStreamReader reader(&input);
        ASSERT_EQ(root.FromXMLStream(reader), Orrery::RESULT_OK);
    }
    document.clear();
    document.squeeze();
    const QString content = root.GetContent();
    // Entity references split nothing off: the text is one piece, kept whole.
    ASSERT_EQ(content.size(), qint64(lines) * lineText.size());
    EXPECT_EQ(content.left(lineText.size()), lineText);
    EXPECT_EQ(content.right(lineText.size()), lineText);
    EXPECT_EQ(content.count(QLatin1Char('&')), lines);

    CountingDevice device;
    QXmlStreamWriter writer(&device);
    EXPECT_EQ(root.ToXMLStream(writer), Orrery::RESULT_OK);
    // Each "&" is written back as "&amp;".
    const qint64 body = qint64(lines) * (lineText.size() + 4);
    EXPECT_EQ(device.count, kDeclaration.size() + 3 + body + 4 + 1);
}
