// SPDX-License-Identifier: MIT
#include "xmlpropertyfile.h"
#include "quantity.h"
#include "testutil.h"
#include "tooltest.h"
#include "treecompare.h"

#include <orrery/datafile.h>

#include <gtest/gtest.h>

#include <ostream>

#include <QDir>
#include <QFile>
#include <QThread>

#include <chrono>
#include <complex>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace {

using Orrery::AbstractProperty;
using Orrery::DataFile;
using Orrery::PropertyObject;
using Orrery::PropertyObjectFactory;
using Orrery::PropertyReference;
using Orrery::SimpleProperty;
using OrreryTools::Quantity;
using OrreryTools::XmlPropertyFile;
using OrreryToolTest::sameTree;
using OrreryToolTest::sameValue;
using Tolmarsk::Qel::KVariant;
namespace TypeCode = Tolmarsk::Qel::TypeCode;

// A concrete metadata container, registered with the factory.
class TestMetadata : public Orrery::Metadata {
public:
    TestMetadata() = default;
    TestMetadata(const TestMetadata&) = default;
    static const QString& StaticType() {
        static const QString type = QStringLiteral("TestMetadata");
        return type;
    }
    const QString& PropertyObjType() const override { return StaticType(); }

protected:
    AbstractProperty* DoClone() const override { return new TestMetadata(*this); }
};

// A container that records when its reading hook runs and what it holds then.
class HookedObject : public PropertyObject {
public:
    struct Call {
        QString path;
        int children;
    };
    static std::vector<Call>& calls() {
        static std::vector<Call> recorded;
        return recorded;
    }
    static const QString& StaticType() {
        static const QString type = QStringLiteral("HookedObject");
        return type;
    }
    const QString& PropertyObjType() const override { return StaticType(); }
    void OnDeserialization() override { calls().push_back({GetFullPath(), GetPropertyCount()}); }

protected:
    AbstractProperty* DoClone() const override { return new HookedObject(*this); }
};

// A simple property of a class of its own, which the kind cannot re-create.
class OddLeaf : public SimpleProperty {
public:
    explicit OddLeaf(const QString& name) : SimpleProperty(name) {}
    OddLeaf(const OddLeaf&) = default;
    static const QString& StaticType() {
        static const QString type = QStringLiteral("OddLeaf");
        return type;
    }
    const QString& PropertyObjType() const override { return StaticType(); }

protected:
    AbstractProperty* DoClone() const override { return new OddLeaf(*this); }
};

void registerTestTypes() {
    PropertyObjectFactory* factory = PropertyObjectFactory::Instance();
    factory->RegisterType(TestMetadata::StaticType(),
                          [] { return static_cast<PropertyObject*>(new TestMetadata); });
    factory->RegisterType(HookedObject::StaticType(),
                          [] { return static_cast<PropertyObject*>(new HookedObject); });
    Quantity::Register();
    XmlPropertyFile::Register();
}

PropertyObject* rootOf(DataFile* file) {
    return const_cast<PropertyObject*>(file->GetFileContents());
}

QByteArray readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeAll(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

template <class T>
KVariant array(std::vector<T> elements, std::vector<std::uint64_t> dims = {}) {
    return KVariant(elements.data(), elements.size(), std::move(dims));
}

PropertyObject* addContainer(PropertyObject* parent, PropertyObject* child, const QString& name) {
    child->SetName(name);
    EXPECT_EQ(parent->InsertProperty(child), Orrery::RESULT_OK);
    return child;
}

PropertyReference* addReference(PropertyObject* parent, const QString& name) {
    auto* reference = new PropertyReference(name);
    EXPECT_EQ(parent->InsertProperty(reference), Orrery::RESULT_OK);
    return reference;
}

// Every kind of node and value the file kind stores.
void buildEveryNodeType(PropertyObject* root) {
    using std::numeric_limits;
    auto* values = addContainer(root, new PropertyObject, QStringLiteral("Values"));
    values->SetProperty(QStringLiteral("null"), KVariant());
    values->SetProperty(QStringLiteral("i8"), KVariant(numeric_limits<std::int8_t>::min()));
    values->SetProperty(QStringLiteral("u8"), KVariant(numeric_limits<std::uint8_t>::max()));
    values->SetProperty(QStringLiteral("i16"), KVariant(numeric_limits<std::int16_t>::min()));
    values->SetProperty(QStringLiteral("u16"), KVariant(numeric_limits<std::uint16_t>::max()));
    values->SetProperty(QStringLiteral("i32"), KVariant(numeric_limits<std::int32_t>::min()));
    values->SetProperty(QStringLiteral("u32"), KVariant(numeric_limits<std::uint32_t>::max()));
    values->SetProperty(QStringLiteral("i64"), KVariant(numeric_limits<std::int64_t>::min()));
    values->SetProperty(QStringLiteral("u64"), KVariant(numeric_limits<std::uint64_t>::max()));
    values->SetProperty(QStringLiteral("float"), KVariant(0.1f));
    values->SetProperty(QStringLiteral("double"), KVariant(0.1));
    values->SetProperty(QStringLiteral("negativeZero"), KVariant(-0.0));
    values->SetProperty(QStringLiteral("infinity"), KVariant(numeric_limits<double>::infinity()));
    values->SetProperty(QStringLiteral("minusInfinity"),
                        KVariant(-numeric_limits<float>::infinity()));
    values->SetProperty(QStringLiteral("nan"), KVariant(numeric_limits<double>::quiet_NaN()));
    values->SetProperty(QStringLiteral("denormal"), KVariant(numeric_limits<double>::denorm_min()));
    values->SetProperty(QStringLiteral("largest"), KVariant(numeric_limits<double>::max()));
    values->SetProperty(QStringLiteral("bool"), KVariant(true));
    values->SetProperty(QStringLiteral("complexFloat"),
                        KVariant(std::complex<float>(1.5f, -2.25f)));
    values->SetProperty(QStringLiteral("complexDouble"),
                        KVariant(std::complex<double>(0.1, 1e300)));
    values->SetProperty(QStringLiteral("string"), KVariant(std::string("text")));
    values->SetProperty(QStringLiteral("emptyString"), KVariant(std::string()));
    values->SetProperty(QStringLiteral("duration"), KVariant(Tolmarsk::Qel::Duration(-5)));
    values->SetProperty(
        QStringLiteral("timePoint"),
        KVariant(Tolmarsk::Qel::TimePoint(Tolmarsk::Qel::Duration(1700000000123456789LL))));
    values->SetProperty(QStringLiteral("matrix"), array<std::int32_t>({1, 2, 3, 4, 5, 6}, {2, 3}));
    values->SetProperty(QStringLiteral("emptyArray"), array<double>({}));
    values->SetProperty(QStringLiteral("oneElementArray"), array<double>({2.5}));
    values->SetProperty(QStringLiteral("cube"), array<std::uint8_t>({7, 8}, {1, 1, 2}));
    values->SetProperty(QStringLiteral("strings"),
                        QStringList{QStringLiteral("a"), QString(), QStringLiteral(" b ")});
    values->SetProperty(QStringLiteral("complexes"),
                        array<std::complex<double>>({{1, 2}, {-0.5, 0}}));
    values->SetProperty(
        QStringLiteral("durations"),
        array<Tolmarsk::Qel::Duration>({Tolmarsk::Qel::Duration(1), Tolmarsk::Qel::Duration(-1)}));
    bool flags[] = {true, false, true};
    values->SetProperty(QStringLiteral("bools"), KVariant(flags, 3));
    auto* cell = new SimpleProperty(QStringLiteral("cellArray"));
    cell->SetValue(array<double>({1, 2}), Orrery::CellArray);
    values->InsertProperty(cell);
    auto* marker = new SimpleProperty(QStringLiteral("clientMarker"));
    marker->SetValue(KVariant(std::int32_t{4}), static_cast<Orrery::IsCellArray>(7));
    values->InsertProperty(marker);

    auto* flagged = addContainer(root, new PropertyObject, QStringLiteral("Flags"));
    flagged->SetProperty(QStringLiteral("readOnly"), QStringLiteral("fixed"));
    flagged->GetPropertyPtr(QStringLiteral("readOnly"))->SetReadOnly(true);
    flagged->SetProperty(QStringLiteral("notSerializable"), KVariant(1.0));
    flagged->GetPropertyPtr(QStringLiteral("notSerializable"))->SetPropertyFlags(0);
    addReference(flagged, QStringLiteral("hiddenReference"))
        ->SetPropertyRefNoCheck(QStringLiteral("../x"));
    flagged->GetPropertyPtr(QStringLiteral("hiddenReference"))->SetHidden(true);
    auto* odd = addContainer(flagged, new PropertyObject, QStringLiteral("oddFlags"));
    odd->SetPropertyFlags(0xFF00);
    flagged->SetPropertyFlags(Orrery::Property::PROPERTY_READ_ONLY |
                              Orrery::Property::PROPERTY_HIDDEN);

    auto* meta = addContainer(root, new TestMetadata, QStringLiteral("Meta"));
    meta->SetProperty(QStringLiteral("Author"), QStringLiteral("someone"));
    root->InsertProperty(
        new Quantity(QStringLiteral("Gain"), QStringLiteral("12.5"), QStringLiteral("dB")));

    auto* refs = addContainer(root, new PropertyObject, QStringLiteral("Refs"));
    EXPECT_EQ(refs->SetPropertyRef(QStringLiteral("internal"),
                                   values->GetPropertyPtr(QStringLiteral("i8"))),
              Orrery::RESULT_OK);
    addReference(refs, QStringLiteral("external"))
        ->SetExternalRefNoCheck(QStringLiteral("/Parts/R1"), QStringLiteral("$(LIB)/parts.oxml"),
                                XmlPropertyFile::TypeName());
    addReference(refs, QStringLiteral("unset"));
    addReference(refs, QStringLiteral("fileWithoutType"))
        ->SetExternalRefNoCheck(QStringLiteral("/a"), QStringLiteral("f.oxml"), QString());
    addReference(refs, QStringLiteral("typeWithoutFile"))
        ->SetExternalRefNoCheck(QStringLiteral("/a"), QString(), QStringLiteral("Kind"));
    root->SetPropertyFlags(Orrery::Property::PROPERTY_HIDDEN |
                           Orrery::Property::PROPERTY_SERIALIZABLE);
}

class XmlPropertyFileTest : public OrreryTest::TempDirTest {
protected:
    void SetUp() override {
        OrreryTest::TempDirTest::SetUp();
        registerTestTypes();
    }
    void TearDown() override {
        for (DataFile* file : DataFile::GetDataFileList()) {
            delete file;
        }
    }

    // Saves @p original and reads the file back into a new object.
    std::unique_ptr<XmlPropertyFile> saveAndLoad(XmlPropertyFile& original) {
        EXPECT_TRUE(original.Save()) << original.ErrorString().toStdString();
        auto loaded = std::make_unique<XmlPropertyFile>(original.GetPath());
        loaded->Load();
        EXPECT_TRUE(loaded->IsLoaded()) << loaded->ErrorString().toStdString();
        EXPECT_TRUE(loaded->ErrorString().isEmpty());
        return loaded;
    }
};

TEST_F(XmlPropertyFileTest, RoundTripsEveryNodeType) {
    XmlPropertyFile original(path(QStringLiteral("every.oxml")));
    buildEveryNodeType(original.MutableContents());
    std::unique_ptr<XmlPropertyFile> loaded = saveAndLoad(original);
    ASSERT_NE(rootOf(loaded.get()), nullptr);
    EXPECT_TRUE(sameTree(rootOf(&original), rootOf(loaded.get())));
    EXPECT_EQ(rootOf(loaded.get())->GetTypeFlags(), 9u);

    // A second save writes the same bytes: nothing was lost or reordered the first time.
    const QByteArray first = readAll(original.GetPath());
    auto copy = std::make_unique<XmlPropertyFile>(path(QStringLiteral("copy.oxml")));
    copy->MutableContents();
    for (AbstractProperty* child : rootOf(loaded.get())->GetPropertyListSorted()) {
        copy->MutableContents()->InsertProperty(child->Clone());
    }
    copy->MutableContents()->SetPropertyFlags(rootOf(loaded.get())->GetPropertyFlags());
    ASSERT_TRUE(copy->Save());
    EXPECT_EQ(readAll(copy->GetPath()), first);
}

TEST_F(XmlPropertyFileTest, WritesOneElementPerNodeWithTypeNamesAndValueText) {
    XmlPropertyFile file(path(QStringLiteral("small.oxml")));
    PropertyObject* root = file.MutableContents();
    root->InsertProperty(
        new Quantity(QStringLiteral("R"), QStringLiteral("4700"), QStringLiteral("Ohm")));
    root->SetProperty(QStringLiteral("Loss"), KVariant(0.02));
    root->SetPropertyRef(QStringLiteral("Ref"), root->GetPropertyPtr(QStringLiteral("Loss")));
    ASSERT_TRUE(file.Save());
    const QString text = QString::fromUtf8(readAll(file.GetPath()));
    EXPECT_TRUE(text.contains(QStringLiteral("<PropertyFile format=\"1\">"))) << text.toStdString();
    EXPECT_TRUE(text.contains(QStringLiteral("<Object name=\"R\" type=\"Quantity\">")));
    EXPECT_TRUE(text.contains(
        QStringLiteral("<Value elementType=\"string\" name=\"Value\" text=\"4700\"></Value>")));
    EXPECT_TRUE(text.contains(
        QStringLiteral("<Value elementType=\"double\" name=\"Loss\" text=\"0.02\"></Value>")));
    EXPECT_TRUE(
        text.contains(QStringLiteral("<Reference name=\"Ref\" path=\"../Loss\"></Reference>")));
    EXPECT_FALSE(file.IsModified());
}

TEST_F(XmlPropertyFileTest, RoundTripsNonAsciiNamesAndValues) {
    XmlPropertyFile original(path(QStringLiteral("ünïcödé €.oxml")));
    PropertyObject* root = original.MutableContents();
    auto* group = addContainer(root, new PropertyObject, QStringLiteral("Größe ∑ 抵抗"));
    group->SetProperty(QStringLiteral("名前"), QStringLiteral("値 – ½ Ω µm 😀"));
    group->SetProperty(QStringLiteral("😀 emoji"),
                       QStringLiteral("e\u0301 combining, ‏עברית"));
    group->SetProperty(QStringLiteral("markup"), QStringLiteral("<a href=\"x\">&amp;</a> 'q'"));
    group->SetProperty(QStringLiteral("whitespace"),
                       QStringLiteral("  line one\nline two\r\n\tend  "));
    group->SetProperty(QStringLiteral("blanks"), QStringLiteral("   "));
    group->SetProperty(QStringLiteral("control"), KVariant(std::string("a\x01"
                                                                       "b\x1f"
                                                                       "c")));
    group->SetProperty(QStringLiteral("invalidUtf8"), KVariant(std::string("\xff\xfe ok \xc3")));
    group->SetProperty(QStringLiteral("nul"), KVariant(std::string("a\0b", 3)));
    group->SetProperty(QStringLiteral("bom"), QStringLiteral("\uFEFF\uFFFD"));
    group->SetProperty(QStringLiteral("list"),
                       QStringList{QStringLiteral("list ü"), QStringLiteral("x\x02y")});
    // Names XML cannot carry: a control character and an unpaired surrogate.
    group->SetProperty(QStringLiteral("tab\x01name"), KVariant(1.0));
    group->SetProperty(QString(QStringLiteral("lone ") + QChar(0xD800)), KVariant(2.0));
    addReference(group, QStringLiteral("→ ref"))
        ->SetExternalRefNoCheck(QStringLiteral("/Größe/名前"), QStringLiteral("C:/Dätén/ß.oxml"),
                                QStringLiteral("Typ ü"));
    std::unique_ptr<XmlPropertyFile> loaded = saveAndLoad(original);
    EXPECT_TRUE(sameTree(rootOf(&original), rootOf(loaded.get())));
    // Texts XML cannot carry went through the encoded attributes, and so did the value that
    // starts with a byte-order mark, which a UTF-8 decoder would drop; the others stayed plain.
    const QString written = QString::fromUtf8(readAll(original.ExpandedPath()));
    EXPECT_EQ(written.count(QStringLiteral("name.b64=")), 2);
    EXPECT_EQ(written.count(QStringLiteral("text.b64=")), 5) << written.toStdString();
    EXPECT_TRUE(written.contains(QStringLiteral("name=\"Größe ∑ 抵抗\"")));
    EXPECT_TRUE(
        written.contains(QStringLiteral("text=\"  line one&#10;line two&#13;&#10;&#9;end  \"")));
    QString text;
    auto* readGroup = dynamic_cast<PropertyObject*>(
        rootOf(loaded.get())->GetPropertyPtr(QStringLiteral("Größe ∑ 抵抗")));
    ASSERT_NE(readGroup, nullptr);
    ASSERT_EQ(readGroup->GetProperty(QStringLiteral("whitespace"), &text), Orrery::RESULT_OK);
    EXPECT_EQ(text, QStringLiteral("  line one\nline two\r\n\tend  "));
    ASSERT_EQ(readGroup->GetProperty(QStringLiteral("blanks"), &text), Orrery::RESULT_OK);
    EXPECT_EQ(text, QStringLiteral("   "));
}

TEST_F(XmlPropertyFileTest, RoundTripsATreeOf100000Nodes) {
    XmlPropertyFile original(path(QStringLiteral("large.oxml")));
    PropertyObject* root = original.MutableContents();
    int nodes = 0;
    for (int g = 0; g < 100; ++g) {
        auto* group = addContainer(root, new PropertyObject, QStringLiteral("G%1").arg(g));
        ++nodes;
        for (int s = 0; s < 10; ++s) {
            auto* sub = addContainer(group, new PropertyObject, QStringLiteral("S%1").arg(s));
            ++nodes;
            for (int v = 0; v < 99; ++v) {
                const QString name = QStringLiteral("V%1").arg(v);
                switch (v % 3) {
                    case 0:
                        sub->SetProperty(name, KVariant(g * 1000.0 + s + v / 7.0));
                        break;
                    case 1:
                        sub->SetProperty(name, QStringLiteral("ü%1-%2-%3").arg(g).arg(s).arg(v));
                        break;
                    default:
                        sub->SetProperty(name, KVariant(std::int64_t{g} * s * v));
                        break;
                }
                ++nodes;
            }
        }
    }
    ASSERT_EQ(nodes, 100100);
    std::unique_ptr<XmlPropertyFile> loaded = saveAndLoad(original);
    EXPECT_TRUE(sameTree(rootOf(&original), rootOf(loaded.get())));
}

TEST_F(XmlPropertyFileTest, HandlesADeepChainOnASmallStack) {
    constexpr int kDepth = 2000;
    bool ok = false;
    std::string message;
    // A small stack: a walk that recursed once per level would overflow it.
    QThread* worker = QThread::create([&] {
        XmlPropertyFile original(path(QStringLiteral("deep.oxml")));
        PropertyObject* node = original.MutableContents();
        for (int i = 0; i < kDepth; ++i) {
            node = addContainer(node, new PropertyObject, QStringLiteral("n"));
        }
        node->SetProperty(QStringLiteral("leaf"), KVariant(42));
        if (!original.Save()) {
            message = original.ErrorString().toStdString();
            return;
        }
        XmlPropertyFile loaded(original.GetPath());
        loaded.Load();
        const QString leafPath =
            QString(QStringLiteral("/n").repeated(kDepth) + QStringLiteral("/leaf"));
        auto* leaf = dynamic_cast<SimpleProperty*>(loaded.ResolveObjectPath(leafPath));
        ok = loaded.IsLoaded() && leaf != nullptr && leaf->GetValue().get<std::int32_t>() == 42;
        message = loaded.ErrorString().toStdString();
    });
    worker->setStackSize(192 * 1024);
    worker->start();
    ASSERT_TRUE(worker->wait(300000));
    delete worker;
    EXPECT_TRUE(ok) << message;
}

TEST_F(XmlPropertyFileTest, RecreatesContainersThroughTheFactoryByTypeName) {
    XmlPropertyFile original(path(QStringLiteral("types.oxml")));
    PropertyObject* root = original.MutableContents();
    addContainer(root, new TestMetadata, QStringLiteral("Info"));
    root->InsertProperty(
        new Quantity(QStringLiteral("Width"), QStringLiteral("10"), QStringLiteral("mil")));
    std::unique_ptr<XmlPropertyFile> loaded = saveAndLoad(original);
    PropertyObject* readRoot = rootOf(loaded.get());
    EXPECT_NE(dynamic_cast<TestMetadata*>(readRoot->GetPropertyPtr(QStringLiteral("Info"))),
              nullptr);
    EXPECT_TRUE(readRoot->GetPropertyPtr(QStringLiteral("Info"))->IsMetadata());
    QList<AbstractProperty*> metadata;
    readRoot->BuildMetadataList(&metadata);
    EXPECT_EQ(metadata.size(), 1);
    auto* width = dynamic_cast<Quantity*>(readRoot->GetPropertyPtr(QStringLiteral("Width")));
    ASSERT_NE(width, nullptr);
    EXPECT_EQ(width->ToRealString(QStringLiteral("um"), false).scaledValueWithUnits(6),
              QStringLiteral("254 um"));
}

TEST_F(XmlPropertyFileTest, CallsOnDeserializationOnceAfterTheChildrenAreRead) {
    const QString file = path(QStringLiteral("hooks.oxml"));
    writeAll(file,
             QByteArrayLiteral("<PropertyFile format=\"1\">"
                               "<Object name=\"A\" type=\"HookedObject\">"
                               "  <Object name=\"B\" type=\"HookedObject\">"
                               "    <Object name=\"C\" type=\"HookedObject\"><Value name=\"x\" "
                               "elementType=\"int32\" text=\"1\"/></Object>"
                               "    <Value name=\"y\" elementType=\"int32\" text=\"2\"/>"
                               "  </Object>"
                               "  <Object name=\"Q\" type=\"Quantity\">"
                               "    <Value name=\"Value\" elementType=\"string\" text=\"4.7k\"/>"
                               "    <Value name=\"Units\" elementType=\"string\" text=\"Ohm\"/>"
                               "  </Object>"
                               "</Object>"
                               "<Object name=\"D\" type=\"HookedObject\"/>"
                               "</PropertyFile>"));
    HookedObject::calls().clear();
    XmlPropertyFile loaded(file);
    loaded.Load();
    ASSERT_TRUE(loaded.IsLoaded()) << loaded.ErrorString().toStdString();
    std::vector<HookedObject::Call> calls = HookedObject::calls();
    ASSERT_EQ(calls.size(), 4u);
    auto indexOf = [&calls](const QString& path) {
        for (std::size_t i = 0; i < calls.size(); ++i) {
            if (calls[i].path == path) {
                return static_cast<int>(i);
            }
        }
        return -1;
    };
    const int a = indexOf(QStringLiteral("/A"));
    const int b = indexOf(QStringLiteral("/A/B"));
    const int c = indexOf(QStringLiteral("/A/B/C"));
    ASSERT_GE(a, 0);
    ASSERT_GE(b, 0);
    ASSERT_GE(c, 0);
    EXPECT_GE(indexOf(QStringLiteral("/D")), 0);
    EXPECT_LT(c, b);
    EXPECT_LT(b, a);
    EXPECT_EQ(calls[static_cast<std::size_t>(a)].children, 2);
    EXPECT_EQ(calls[static_cast<std::size_t>(b)].children, 2);
    EXPECT_EQ(calls[static_cast<std::size_t>(c)].children, 1);
    auto* quantity = dynamic_cast<Quantity*>(loaded.ResolveObjectPath(QStringLiteral("/A/Q")));
    ASSERT_NE(quantity, nullptr);
    EXPECT_EQ(quantity->DeserializationCount(), 1);
    EXPECT_TRUE(quantity->IsValid());
}

TEST_F(XmlPropertyFileTest, FollowsAnExternalReferenceIntoAFileOpenedOnDemand) {
    OrreryTest::ScopedEnv env;
    env.set("ORRERY_TEST_PARTS", stdPath());
    {
        auto parts =
            std::make_unique<XmlPropertyFile>(QStringLiteral("$(ORRERY_TEST_PARTS)/parts.oxml"));
        parts->MutableContents()->InsertProperty(
            new Quantity(QStringLiteral("R1"), QStringLiteral("4700"), QStringLiteral("Ohm")));
        ASSERT_TRUE(parts->Save()) << parts->ErrorString().toStdString();
        EXPECT_TRUE(QFile::exists(path(QStringLiteral("parts.oxml"))));
        auto design = std::make_unique<XmlPropertyFile>(path(QStringLiteral("design.oxml")));
        ASSERT_EQ(design->MutableContents()->SetPropertyRef(
                      QStringLiteral("R"), parts->ResolveObjectPath(QStringLiteral("/R1"))),
                  Orrery::RESULT_OK);
        ASSERT_TRUE(design->Save());
    }
    ASSERT_TRUE(DataFile::GetDataFileList().isEmpty());

    auto design = std::make_unique<XmlPropertyFile>(path(QStringLiteral("design.oxml")));
    design->Load();
    ASSERT_TRUE(design->IsLoaded());
    auto* reference =
        dynamic_cast<PropertyReference*>(design->ResolveObjectPath(QStringLiteral("/R")));
    ASSERT_NE(reference, nullptr);
    EXPECT_EQ(reference->ReferenceFilePath(), QStringLiteral("$(ORRERY_TEST_PARTS)/parts.oxml"));
    EXPECT_EQ(reference->ReferenceFileType(), QStringLiteral("XmlPropertyFile"));
    EXPECT_EQ(DataFile::GetDataFileList().size(), 1);
    const auto* target = reference->GetConstRef<Quantity>();
    ASSERT_NE(target, nullptr);
    EXPECT_EQ(target->GetDataFile()->GetFileType(), XmlPropertyFile::TypeName());
    EXPECT_EQ(DataFile::GetDataFileList().size(), 2);
    EXPECT_FALSE(DataFile::GetDataFile(reference->ReferenceFilePath())->IsWritable());
}

TEST_F(XmlPropertyFileTest, ExpandsVariablesAndBackslashesOnlyWhenTouchingTheDisk) {
    OrreryTest::ScopedEnv env;
    env.set("ORRERY_TEST_DIR", stdPath());
    XmlPropertyFile file(QStringLiteral("%ORRERY_TEST_DIR%\\sub\\..\\x.oxml"));
    QDir(path()).mkpath(QStringLiteral("sub"));
    EXPECT_EQ(file.ExpandedPath(), QString(path() + QStringLiteral("/sub/../x.oxml")));
    file.MutableContents()->SetProperty(QStringLiteral("a"), KVariant(1));
    ASSERT_TRUE(file.Save()) << file.ErrorString().toStdString();
    EXPECT_TRUE(QFile::exists(path(QStringLiteral("x.oxml"))));
    EXPECT_EQ(file.GetPath(), QStringLiteral("%ORRERY_TEST_DIR%\\sub\\..\\x.oxml"));
}

TEST_F(XmlPropertyFileTest, SavesAnEmptyFileAndKnowsWhetherItIsLoadedOrModified) {
    XmlPropertyFile file(path(QStringLiteral("empty.oxml")));
    EXPECT_FALSE(file.IsLoaded());
    EXPECT_FALSE(file.IsModified());
    EXPECT_EQ(file.GetFileType(), QStringLiteral("XmlPropertyFile"));
    ASSERT_TRUE(file.Save());
    XmlPropertyFile loaded(file.GetPath());
    loaded.Load();
    ASSERT_TRUE(loaded.IsLoaded());
    EXPECT_EQ(rootOf(&loaded)->GetPropertyCount(), 0);
    EXPECT_FALSE(loaded.IsModified());
    loaded.MutableContents();
    EXPECT_TRUE(loaded.IsModified());
}

TEST_F(XmlPropertyFileTest, RefusesToSaveWhatItCouldNotReadBack) {
    struct Case {
        const char* expected;
        void (*build)(PropertyObject*);
    };
    const Case cases[] = {
        {"a custom value",
         [](PropertyObject* root) {
             root->SetProperty(QStringLiteral("c"), KVariant::fromCustom(std::vector<int>{1}));
         }},
        {"a node of type \"OddLeaf\" cannot be stored",
         [](PropertyObject* root) { root->InsertProperty(new OddLeaf(QStringLiteral("odd"))); }},
        {"the property-object type \"Unregistered\" is not registered",
         [](PropertyObject* root) {
             struct Unregistered : PropertyObject {
                 Unregistered() : PropertyObject(QStringLiteral("u")) {}
                 const QString& PropertyObjType() const override {
                     static const QString type = QStringLiteral("Unregistered");
                     return type;
                 }
             };
             root->InsertProperty(new Unregistered);
         }},
        {"\"a/b\" is not a valid property name",
         [](PropertyObject* root) {
             root->InsertProperty(new SimpleProperty(QStringLiteral("a/b")));
         }},
    };
    for (const Case& c : cases) {
        const QString file = path(QStringLiteral("refused.oxml"));
        writeAll(file, QByteArrayLiteral("previous contents"));
        XmlPropertyFile refused(file);
        refused.MutableContents()->SetProperty(QStringLiteral("fine"), KVariant(1));
        c.build(refused.MutableContents());
        EXPECT_FALSE(refused.Save()) << c.expected;
        EXPECT_TRUE(refused.ErrorString().contains(QLatin1String(c.expected)))
            << refused.ErrorString().toStdString();
        EXPECT_TRUE(refused.ErrorString().startsWith(file));
        EXPECT_EQ(readAll(file), QByteArrayLiteral("previous contents"));
    }
    XmlPropertyFile readOnly(path(QStringLiteral("ro.oxml")), DataFile::OpenModeNone);
    EXPECT_FALSE(readOnly.Save());
    EXPECT_TRUE(readOnly.ErrorString().contains(QStringLiteral("read-only")));
    XmlPropertyFile nowhere(path(QStringLiteral("missing/dir/x.oxml")));
    EXPECT_FALSE(nowhere.Save());
    EXPECT_TRUE(nowhere.ErrorString().contains(QStringLiteral("cannot write")));
}

TEST_F(XmlPropertyFileTest, RoundTripsTheExampleDesignsByteForByte) {
    OrreryTest::ScopedEnv env;
    env.set("KORVANE_DIR", OrreryToolTest::exampleInstallation().toStdString());
    for (const char* name : {"frontend.oxml", "library.oxml"}) {
        const QString source = QString(OrreryToolTest::exampleInstallation() +
                                       QStringLiteral("/designs/") + QLatin1String(name));
        XmlPropertyFile example(source, DataFile::OpenModeNone);
        example.Load();
        ASSERT_TRUE(example.IsLoaded()) << example.ErrorString().toStdString();
        XmlPropertyFile copy(path(QLatin1String(name)));
        for (AbstractProperty* child : rootOf(&example)->GetPropertyListSorted()) {
            copy.MutableContents()->InsertProperty(child->Clone());
        }
        ASSERT_TRUE(copy.Save());
        // The library writes XML files in text mode.
        EXPECT_EQ(readAll(copy.GetPath()), OrreryToolTest::textModeFile(readAll(source))) << name;
    }
}

TEST_F(XmlPropertyFileTest, ExampleReferencesLeadToTheirTargets) {
    OrreryTest::ScopedEnv env;
    env.set("KORVANE_DIR", OrreryToolTest::exampleInstallation().toStdString());
    XmlPropertyFile design(QStringLiteral("$(KORVANE_DIR)/designs/frontend.oxml"),
                           DataFile::OpenModeNone);
    design.Load();
    ASSERT_TRUE(design.IsLoaded()) << design.ErrorString().toStdString();
    auto* source = dynamic_cast<PropertyReference*>(
        design.ResolveObjectPath(QStringLiteral("/Parts/ClockSource")));
    ASSERT_NE(source, nullptr);
    EXPECT_EQ(source->GetConstRef<AbstractProperty>(),
              design.ResolveObjectPath(QStringLiteral("/Clock/Frequency")));
    // The stored path is the one SetPropertyRef computes.
    PropertyReference probe(QStringLiteral("probe"));
    auto* parts = dynamic_cast<PropertyObject*>(design.ResolveObjectPath(QStringLiteral("/Parts")));
    ASSERT_NE(parts, nullptr);
    EXPECT_EQ(parts->InsertProperty(&probe), Orrery::RESULT_OK);
    probe.SetPropertyRef(design.ResolveObjectPath(QStringLiteral("/Clock/Frequency")));
    EXPECT_EQ(probe.ReferencePath(), source->ReferencePath());
    parts->RemoveProperty(QStringLiteral("probe"));

    auto* resistor =
        dynamic_cast<PropertyReference*>(design.ResolveObjectPath(QStringLiteral("/Parts/R1")));
    ASSERT_NE(resistor, nullptr);
    const auto* part = resistor->GetConstRef<PropertyObject>();
    ASSERT_NE(part, nullptr);
    EXPECT_EQ(const_cast<PropertyObject*>(part)->GetFullPath(), QStringLiteral("/Resistors/R4K7"));
    auto* resistance = dynamic_cast<Quantity*>(
        const_cast<PropertyObject*>(part)->GetPropertyPtr(QStringLiteral("Resistance")));
    ASSERT_NE(resistance, nullptr);
    EXPECT_EQ(resistance->Value(), QStringLiteral("4700"));
    EXPECT_EQ(resistance->Units(), QStringLiteral("Ohm"));
}

struct MalformedCase {
    const char* name;
    const char* content;
    const char* expected;
};

void PrintTo(const MalformedCase& row, std::ostream* out) {
    *out << row.name;
}

class XmlPropertyFileMalformed : public OrreryTest::TempDirTest,
                                 public ::testing::WithParamInterface<MalformedCase> {
protected:
    void SetUp() override {
        OrreryTest::TempDirTest::SetUp();
        registerTestTypes();
    }
};

TEST_P(XmlPropertyFileMalformed, FailsWithAClearErrorAndNoContents) {
    const QString file = path(QStringLiteral("bad.oxml"));
    writeAll(file, QByteArray(GetParam().content));
    XmlPropertyFile bad(file);
    bad.Load();
    EXPECT_FALSE(bad.IsLoaded());
    EXPECT_EQ(bad.GetFileContents(), nullptr);
    EXPECT_TRUE(bad.ErrorString().startsWith(file)) << bad.ErrorString().toStdString();
    EXPECT_TRUE(bad.ErrorString().contains(QString::fromUtf8(GetParam().expected)))
        << bad.ErrorString().toStdString();
    // The same object reads a good file afterwards.
    writeAll(file, QByteArrayLiteral("<PropertyFile format=\"1\"><Value name=\"ok\" "
                                     "elementType=\"int32\" text=\"5\"/></PropertyFile>"));
    bad.Load();
    EXPECT_TRUE(bad.IsLoaded());
    EXPECT_TRUE(bad.ErrorString().isEmpty());
}

#define ROOT(body) "<PropertyFile format=\"1\">" body "</PropertyFile>"

INSTANTIATE_TEST_SUITE_P(
    Files, XmlPropertyFileMalformed,
    ::testing::Values(
        MalformedCase{"Empty", "", "malformed XML"},
        MalformedCase{"NotXml", "garbage", ":1:1: malformed XML"},
        MalformedCase{
            "Unclosed",
            "<PropertyFile format=\"1\">\n  <Object name=\"a\" type=\"PropObj\">\n</PropertyFile>",
            ":3:"},
        MalformedCase{"TwoRoots", ROOT("") "<PropertyFile/>", "malformed XML"},
        MalformedCase{"OtherRoot", "<Other/>", "not a property file: the root element is <Other>"},
        MalformedCase{"NewerFormat", "<PropertyFile format=\"2\"/>", "unsupported format \"2\""},
        MalformedCase{"NoFormat", "<PropertyFile/>", "unsupported format \"\""},
        MalformedCase{"UnknownElement", ROOT("<Thing name=\"t\"/>"), "/t: unknown element <Thing>"},
        MalformedCase{"NoName", ROOT("<Object type=\"PropObj\"/>"),
                      "an element <Object> has no name"},
        MalformedCase{"BadEncodedName", ROOT("<Object name.b64=\"QQ\" type=\"PropObj\"/>"),
                      "not valid base64"},
        MalformedCase{"NoType", ROOT("<Object name=\"o\"/>"), "/o: the attribute \"type\""},
        MalformedCase{"UnknownType", ROOT("<Object name=\"o\" type=\"Nope\"/>"),
                      "/o: unknown property-object type \"Nope\""},
        MalformedCase{"NoElementType", ROOT("<Value name=\"v\" text=\"1\"/>"),
                      "/v: the attribute \"elementType\" is missing"},
        MalformedCase{"UnknownElementType",
                      ROOT("<Value name=\"v\" elementType=\"int128\" text=\"1\"/>"),
                      "unknown element type \"int128\""},
        MalformedCase{"NotANumber", ROOT("<Value name=\"v\" elementType=\"int32\" text=\"12x\"/>"),
                      "\"12x\" is not a valid int32"},
        MalformedCase{"OutOfRange", ROOT("<Value name=\"v\" elementType=\"int8\" text=\"300\"/>"),
                      "\"300\" is not a valid int8"},
        MalformedCase{"NoText", ROOT("<Value name=\"v\" elementType=\"double\"/>"),
                      "the attribute \"text\" is missing"},
        MalformedCase{"BadBool", ROOT("<Value name=\"v\" elementType=\"bool\" text=\"yes\"/>"),
                      "\"yes\" is not a valid bool"},
        MalformedCase{"BadComplex",
                      ROOT("<Value name=\"v\" elementType=\"complex-double\" text=\"(1,2\"/>"),
                      "is not a valid complex-double"},
        MalformedCase{"BadBase64Text",
                      ROOT("<Value name=\"v\" elementType=\"string\" text.b64=\"@@\"/>"),
                      "\"text.b64\" is not valid base64"},
        MalformedCase{
            "TooFewItems",
            ROOT("<Value name=\"v\" elementType=\"int32\" dims=\"2\"><Item text=\"1\"/></Value>"),
            "ask for 2 items, the file has 1"},
        MalformedCase{"BadDims", ROOT("<Value name=\"v\" elementType=\"int32\" dims=\"a b\"/>"),
                      "\"a b\" are not valid dimensions"},
        MalformedCase{
            "OverflowingDims",
            ROOT("<Value name=\"v\" elementType=\"int32\" dims=\"18446744073709551615 2\"/>"),
            "are not valid dimensions"},
        MalformedCase{"EmptyDims", ROOT("<Value name=\"v\" elementType=\"int32\" dims=\"\"/>"),
                      "are not valid dimensions"},
        MalformedCase{
            "WrongItem",
            ROOT("<Value name=\"v\" elementType=\"int32\" dims=\"1\"><Elem text=\"1\"/></Value>"),
            "unexpected element <Elem>"},
        MalformedCase{"BadItem",
                      ROOT("<Value name=\"v\" elementType=\"int32\" dims=\"2\"><Item "
                           "text=\"1\"/><Item text=\"z\"/></Value>"),
                      "item 1: \"z\" is not a valid int32"},
        MalformedCase{
            "ScalarWithChildren",
            ROOT("<Value name=\"v\" elementType=\"int32\" text=\"1\"><Item text=\"1\"/></Value>"),
            "a scalar value has child elements"},
        MalformedCase{
            "DuplicateName",
            ROOT(
                "<Value name=\"v\" elementType=\"null\"/><Value name=\"v\" elementType=\"null\"/>"),
            "/v: the name is used twice"},
        MalformedCase{"InvalidName", ROOT("<Value name=\"a/b\" elementType=\"null\"/>"),
                      "\"a/b\" is not a valid property name"},
        MalformedCase{"BadFlags", ROOT("<Value name=\"v\" elementType=\"null\" flags=\"x\"/>"),
                      "\"x\" are not valid property flags"},
        MalformedCase{"BadRootFlags", "<PropertyFile format=\"1\" flags=\"-1\"/>",
                      "/: \"-1\" are not valid property flags"},
        MalformedCase{"BadCell", ROOT("<Value name=\"v\" elementType=\"null\" cell=\"x\"/>"),
                      "\"x\" is not a valid cell marker"},
        MalformedCase{"ReferenceWithoutPath", ROOT("<Reference name=\"r\"/>"),
                      "/r: the attribute \"path\" is missing"},
        MalformedCase{"ReferenceWithChildren",
                      ROOT("<Reference name=\"r\" path=\"a\"><Item/></Reference>"),
                      "a reference has child elements"},
        MalformedCase{
            "NestedError",
            ROOT("<Object name=\"a\" type=\"PropObj\"><Object name=\"b\" type=\"PropObj\">"
                 "<Value name=\"c\" elementType=\"uint8\" text=\"-1\"/></Object></Object>"),
            "/a/b/c: \"-1\" is not a valid uint8"}),
    [](const ::testing::TestParamInfo<MalformedCase>& info) {
        return std::string(info.param.name);
    });

#undef ROOT

TEST_F(XmlPropertyFileTest, ReportsAMissingFile) {
    XmlPropertyFile missing(path(QStringLiteral("nowhere.oxml")));
    missing.Load();
    EXPECT_FALSE(missing.IsLoaded());
    EXPECT_TRUE(missing.ErrorString().contains(QStringLiteral("cannot open the file")))
        << missing.ErrorString().toStdString();
    EXPECT_EQ(Orrery::DataFileFactory::CreateDataFile(QStringLiteral("x"),
                                                      QStringLiteral("XmlPropertyFile"))
                  ->GetFileType(),
              QStringLiteral("XmlPropertyFile"));
}

TEST(XmlPropertyFileFormat, NamesTheElementTypesAndDescribesXmlErrors) {
    EXPECT_EQ(OrreryTools::ElementTypeName(TypeCode::Double), QStringLiteral("double"));
    EXPECT_EQ(OrreryTools::ElementTypeName(TypeCode::Null), QStringLiteral("null"));
    EXPECT_EQ(OrreryTools::ElementTypeName(TypeCode::ComplexFloat),
              QStringLiteral("complex-float"));
    EXPECT_TRUE(OrreryTools::ElementTypeName(TypeCode::Custom).isEmpty());
    EXPECT_TRUE(OrreryTools::DescribeXmlReadError(QStringLiteral("/nonexistent/x.xml"))
                    .contains(QStringLiteral("cannot open the file")));
}

}  // namespace
