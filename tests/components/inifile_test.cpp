// SPDX-License-Identifier: MIT
// The INI layout of the component stores: readIniAsQt5 and writeIniAsQt5 against Qt 5's own
// INI format (under Qt 5), and against fixed texts and round trips under both Qt versions.
#include "inifile_p.h"

#include "qtprinters.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QByteArray>
#include <QDate>
#include <QDateTime>
#include <QDebug>
#include <QFile>
#include <QPoint>
#include <QRect>
#include <QSettings>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QUrl>
#include <QVariant>

#include <algorithm>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using Orrery::iniStoreFormat;
using Orrery::readIniAsQt5;
using Orrery::writeIniAsQt5;

namespace {

using SettingsMap = QSettings::SettingsMap;

// ---------------------------------------------------------------------------------------
// Helpers

struct ReadResult {
    SettingsMap map;
    bool ok = false;
};

ReadResult readText(const QByteArray& text) {
    QByteArray bytes = text;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    ReadResult result;
    result.ok = readIniAsQt5(buffer, result.map);
    return result;
}

QByteArray writeText(const SettingsMap& map) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    EXPECT_TRUE(writeIniAsQt5(buffer, map));
    return bytes;
}

// @p text, written with "\n", as the platform's INI files end their lines.
QByteArray withPlatformLineEnds(QByteArray text) {
#ifdef Q_OS_WIN
    text.replace("\n", "\r\n");
#endif
    return text;
}

QByteArray readFile(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

void writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate)) << path.toStdString();
    ASSERT_EQ(file.write(bytes), bytes.size());
}

// @p bytes on one line, with bytes outside printable ASCII as \xNN.
std::string escaped(const QByteArray& bytes) {
    static const char kHex[] = "0123456789ABCDEF";
    std::string out = "\"";
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte >= 0x7F || byte == '"' || byte == '\\') {
            out += "\\x";
            out += kHex[byte >> 4];
            out += kHex[byte & 0xF];
        } else {
            out += c;
        }
    }
    return out + '"';
}

std::string describe(const QVariant& value) {
    QString text;
    QDebug(&text).nospace() << value;
    return escaped(text.toUtf8());
}

std::string describe(const QString& key) {
    return escaped(key.toUtf8());
}

::testing::AssertionResult sameValue(const QVariant& expected, const QVariant& actual) {
    if (expected.userType() == actual.userType() && expected == actual) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure()
           << "expected " << describe(expected) << ", got " << describe(actual);
}

::testing::AssertionResult sameMap(const SettingsMap& expected, const SettingsMap& actual) {
    if (expected.keys() != actual.keys()) {
        auto failure = ::testing::AssertionFailure() << "keys differ: expected";
        for (const QString& key : expected.keys()) {
            failure << ' ' << describe(key);
        }
        failure << ", got";
        for (const QString& key : actual.keys()) {
            failure << ' ' << describe(key);
        }
        return failure;
    }
    for (auto it = expected.cbegin(); it != expected.cend(); ++it) {
        const ::testing::AssertionResult same = sameValue(it.value(), actual.value(it.key()));
        if (!same) {
            return ::testing::AssertionFailure()
                   << "key " << describe(it.key()) << ": " << same.message();
        }
    }
    return ::testing::AssertionSuccess();
}

QString fromUtf8(const char* text) {
    return QString::fromUtf8(text);
}

// A fixture with a temporary directory for files of unique names: QSettings keeps what it
// parsed of a file per path for as long as the file's size and time stay the same.
class IniFileTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(dir_.isValid()); }
    QString newPath() { return dir_.filePath(QStringLiteral("f%1.ini").arg(++files_)); }

private:
    QTemporaryDir dir_;
    int files_ = 0;
};

// ---------------------------------------------------------------------------------------
// Maps and texts shared by the tests

// Strings with every kind of escape a value can need.
SettingsMap escapesMap() {
    SettingsMap map;
    map.insert(QStringLiteral("plain"), QStringLiteral("value"));
    map.insert(QStringLiteral("umlaut"), fromUtf8("v\xC3\xA4lue"));
    map.insert(QStringLiteral("euro"), QString(QChar(0x20AC)));
    map.insert(QStringLiteral("hexAfter"), fromUtf8("\xC3\xA4"
                                                    "a1"));
    map.insert(QStringLiteral("emoji"), fromUtf8("\xF0\x9F\x98\x80"));
    map.insert(QStringLiteral("control"), QString::fromLatin1("a\x01\x1F\x7F"
                                                              "b"));
    map.insert(QStringLiteral("padded"), QStringLiteral(" x "));
    map.insert(QStringLiteral("special"), QStringLiteral("a;b,c=d"));
    map.insert(QStringLiteral("quote"), QStringLiteral("say \"hi\" \\ bye"));
    map.insert(QStringLiteral("at"), QStringLiteral("@home"));
    map.insert(QStringLiteral("nul"), QString::fromLatin1("a\0b", 3));
    map.insert(QStringLiteral("newline"), QStringLiteral("l1\nl2\tx"));
    map.insert(QStringLiteral("empty"), QString());
    return map;
}

// What Qt 5.15 writes for escapesMap().
const char kEscapesText[] =
    "[General]\n"
    "at=@@home\n"
    "control=a\\x1\\x1f\\x7f\\x62\n"
    "emoji=\\xd83d\\xde00\n"
    "empty=\n"
    "euro=\\x20ac\n"
    "hexAfter=\\xe4\\x61\\x31\n"
    "newline=l1\\nl2\\tx\n"
    "nul=@String(a\\0\\x62)\n"
    "padded=\" x \"\n"
    "plain=value\n"
    "quote=say \\\"hi\\\" \\\\ bye\n"
    "special=\"a;b,c=d\"\n"
    "umlaut=v\\xe4lue\n";

// Lists, byte arrays, other types and sections.
SettingsMap typesMap() {
    SettingsMap map;
    map.insert(QStringLiteral("list"),
               QStringList{QStringLiteral("a"), QStringLiteral(" b"), QStringLiteral("c,d"),
                           QStringLiteral("@e"), QString()});
    map.insert(QStringLiteral("emptyList"), QStringList());
    map.insert(QStringLiteral("oneItem"), QStringList{QStringLiteral("solo")});
    map.insert(QStringLiteral("bytes"), QByteArray("\x00\xFF"
                                                   "A@",
                                                   4));
    map.insert(QStringLiteral("invalid"), QVariant());
    map.insert(QStringLiteral("number"), 42);
    map.insert(QStringLiteral("flag"), true);
    map.insert(QStringLiteral("rect"), QRect(1, 2, 3, 4));
    map.insert(QStringLiteral("size"), QSize(5, -6));
    map.insert(QStringLiteral("point"), QPoint(-7, 8));
    map.insert(QStringLiteral("vlist"), QVariantList{QStringLiteral("x"), QByteArray("y")});
    map.insert(QStringLiteral("General/k"), QStringLiteral("g"));
    map.insert(fromUtf8("gr\xC3\xBCn/s p"), QStringLiteral("1"));
    map.insert(QStringLiteral("a/b/c"), QStringLiteral("2"));
    map.insert(fromUtf8("\xE2\x82\xAC/\xF0\x9F\x98\x80"), QStringLiteral("3"));
    return map;
}

// What Qt 5.15 writes for typesMap().
const char kTypesText[] =
    "[General]\n"
    "bytes=@ByteArray(\\0\\xff\\x41@)\n"
    "emptyList=@Invalid()\n"
    "flag=true\n"
    "invalid=@Invalid()\n"
    "list=a, \" b\", \"c,d\", @@e, \n"
    "number=42\n"
    "oneItem=solo\n"
    "point=@Point(-7 8)\n"
    "rect=@Rect(1 2 3 4)\n"
    "size=@Size(5 -6)\n"
    "vlist=x, @ByteArray(y)\n"
    "\n"
    "[%General]\n"
    "k=g\n"
    "\n"
    "[a]\n"
    "b\\c=2\n"
    "\n"
    "[gr%FCn]\n"
    "s%20p=1\n"
    "\n"
    "[%U20AC]\n"
    "%UD83D%UDE00=3\n";

// Values that QSettings stores through QDataStream.
SettingsMap streamedMap() {
    SettingsMap map;
    map.insert(QStringLiteral("url"), QUrl(QStringLiteral("http://h/p")));
    map.insert(QStringLiteral("when"), QDateTime(QDate(2021, 3, 4), QTime(5, 6, 7), Qt::UTC));
    map.insert(QStringLiteral("date"), QDate(2020, 2, 29));
    map.insert(QStringLiteral("map"), QVariantMap{{QStringLiteral("k"), 1}});
    map.insert(QStringLiteral("one"), QVariantList{QStringLiteral("only")});
    return map;
}

// What Qt 5.15 writes for streamedMap().
const char kStreamedText[] =
    "[General]\n"
    "date=@Variant(\\0\\0\\0\\xe\\0%\\x85\\x1d)\n"
    "map=@Variant(\\0\\0\\0\\b\\0\\0\\0\\x1\\0\\0\\0\\x2\\0k\\0\\0\\0\\x2\\0\\0\\0\\x1)\n"
    "one=@Variant(\\0\\0\\0\\t\\0\\0\\0\\x1\\0\\0\\0\\n\\0\\0\\0\\b\\0o\\0n\\0l\\0y)\n"
    "url=@Variant(\\0\\0\\0\\x11\\0\\0\\0\\nhttp://h/p)\n"
    "when=@DateTime(\\0\\0\\0\\x10\\0\\0\\0\\0\\0\\0%\\x86\\x8e\\x1\\x18\\x42\\x18\\x1)\n";

// ---------------------------------------------------------------------------------------
// Random input

template <class T, size_t N>
const T& pick(std::mt19937& rng, const T (&items)[N]) {
    return items[rng() % N];
}

QString randomText(std::mt19937& rng, int maxLength, bool withNul) {
    static const char16_t kChars[] = {
        u'a',    u'b',    u'F',     u'0',      u'9',      u'e',      u'x',      u'@',
        u' ',    u'\t',   u'\n',    u'\r',     u'\x01',   u'\x1F',   u'\x7F',   u'\x80',
        u'\xE4', u'\xFF', u'\x100', u'\x20AC', u'\xFEFF', u'\xFFFF', u'\xD83D', u'\xDE00',
        u'"',    u'\\',   u';',     u',',      u'=',      u'/',      u'%',      u'[',
        u']',    u'#',    u'\'',    u'?',      u'\xA0',   u'\a',     u'('};
    QString text;
    const int length = static_cast<int>(rng() % (maxLength + 1));
    for (int i = 0; i < length; ++i) {
        text += QChar(pick(rng, kChars));
    }
    if (withNul && rng() % 10 == 0) {
        text.insert(static_cast<int>(rng() % (text.size() + 1)), QChar(QChar::Null));
    }
    return text;
}

// A non-empty key component without '/'.
QString randomKeyComponent(std::mt19937& rng) {
    static const char16_t kChars[] = {u'a',  u'B',    u'_',      u'-',      u'.',      u' ',   u'%',
                                      u'\\', u'\xE4', u'\x20AC', u'\xD83D', u'\xDE00', u'=',   u';',
                                      u'[',  u']',    u'#',      u'G',      u'1',      u'\x7F'};
    if (rng() % 12 == 0) {
        return QStringLiteral("General");
    }
    QString component;
    const int length = 1 + static_cast<int>(rng() % 5);
    for (int i = 0; i < length; ++i) {
        component += QChar(pick(rng, kChars));
    }
    return component;
}

QString randomKey(std::mt19937& rng) {
    QString key = randomKeyComponent(rng);
    const int depth = static_cast<int>(rng() % 3);
    for (int i = 0; i < depth; ++i) {
        key += QLatin1Char('/') + randomKeyComponent(rng);
    }
    return key;
}

QByteArray randomBytes(std::mt19937& rng) {
    QByteArray bytes;
    const int length = static_cast<int>(rng() % 7);
    for (int i = 0; i < length; ++i) {
        bytes += static_cast<char>(rng() % 256);
    }
    return bytes;
}

QStringList randomList(std::mt19937& rng, int minSize) {
    QStringList list;
    const int size = minSize + static_cast<int>(rng() % 3);
    for (int i = 0; i < size; ++i) {
        list.append(randomText(rng, 5, false));
    }
    return list;
}

// A value that reads back as itself: a string, a list of at least two strings, bytes,
// geometry, a date and time, no value, or a list of mixed values one of which has an @-form.
QVariant randomRoundTripValue(std::mt19937& rng) {
    switch (rng() % 9) {
        case 0:
        case 1:
        case 2:
            return randomText(rng, 10, true);
        case 3:
            return randomList(rng, 2);
        case 4:
            return randomBytes(rng);
        case 5:
            return QRect(static_cast<int>(rng() % 200) - 100, 2, 3, -4);
        case 6:
            return rng() % 2 == 0 ? QVariant(QSize(5, static_cast<int>(rng() % 9)))
                                  : QVariant(QPoint(-1, static_cast<int>(rng() % 9)));
        case 7:
            return rng() % 2 == 0 ? QVariant()
                                  : QVariant(QDateTime(QDate(2022, 1 + rng() % 12, 5),
                                                       QTime(6, 7, 8), Qt::UTC));
        default:
            return QVariantList{randomBytes(rng), randomText(rng, 4, false), QRect(1, 2, 3, 4)};
    }
}

// ---------------------------------------------------------------------------------------
// Under both Qt versions: fixed texts

TEST(IniFileWrite, EscapesStringsAsQt5) {
    EXPECT_EQ(writeText(escapesMap()), withPlatformLineEnds(kEscapesText));
}

TEST(IniFileWrite, WritesListsTypesAndSectionsAsQt5) {
    EXPECT_EQ(writeText(typesMap()), withPlatformLineEnds(kTypesText));
}

TEST(IniFileWrite, StreamsOtherTypesAsQt5) {
    EXPECT_EQ(writeText(streamedMap()), withPlatformLineEnds(kStreamedText));
}

TEST(IniFileWrite, WritesNothingForAnEmptyMap) {
    EXPECT_EQ(writeText(SettingsMap()), QByteArray());
}

TEST(IniFileWrite, ReportsARefusedWrite) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    SettingsMap map;
    map.insert(QStringLiteral("k"), QStringLiteral("v"));
    EXPECT_FALSE(writeIniAsQt5(buffer, map));
}

TEST(IniFileRead, ReadsItsOwnTexts) {
    for (const auto& [text, map] : {std::make_pair(kEscapesText, escapesMap()),
                                    std::make_pair(kStreamedText, streamedMap())}) {
        const ReadResult read = readText(text);
        EXPECT_TRUE(read.ok);
        EXPECT_TRUE(sameMap(map, read.map));
    }
}

TEST(IniFileRead, ReadsTypesAsQt5Does) {
    // A one-item string list comes back as its string, an empty one as no value, and a
    // number or a boolean as its text.
    SettingsMap expected = typesMap();
    expected.insert(QStringLiteral("emptyList"), QVariant());
    expected.insert(QStringLiteral("oneItem"), QStringLiteral("solo"));
    expected.insert(QStringLiteral("number"), QStringLiteral("42"));
    expected.insert(QStringLiteral("flag"), QStringLiteral("true"));
    const ReadResult read = readText(kTypesText);
    EXPECT_TRUE(read.ok);
    EXPECT_TRUE(sameMap(expected, read.map));
}

TEST(IniFileRead, TakesBytesBeyondAsciiAsLatin1) {
    const ReadResult read = readText("k\xE4y=v\xE4lue\nutf8=\xC3\xA4\xE2\x82\xAC\n");
    SettingsMap expected;
    expected.insert(QString::fromLatin1("k\xE4y"), QString::fromLatin1("v\xE4lue"));
    expected.insert(QStringLiteral("utf8"), QString::fromLatin1("\xC3\xA4\xE2\x82\xAC"));
    EXPECT_TRUE(read.ok);
    EXPECT_TRUE(sameMap(expected, read.map));
}

TEST(IniFileRead, ByteOrderMarkMakesValuesUtf8) {
    // The mark belongs to the text before the first header: there it is a line of its own
    // without '=' (a format error), or the start of the first key.
    ReadResult read = readText("\xEF\xBB\xBF[s]\nk=v\xC3\xA4lue \xE2\x82\xAC\\x41\nbad=\xFF\xC3\n");
    SettingsMap expected;
    expected.insert(QStringLiteral("s/k"), fromUtf8("v\xC3\xA4lue \xE2\x82\xAC"
                                                    "A"));
    expected.insert(QStringLiteral("s/bad"), QString(2, QChar(QChar::ReplacementCharacter)));
    EXPECT_FALSE(read.ok);
    EXPECT_TRUE(sameMap(expected, read.map));

    read = readText("\xEF\xBB\xBFk\xE4=\xC3\xA4\n");
    expected.clear();
    expected.insert(QString::fromLatin1("\xEF\xBB\xBFk\xE4"), fromUtf8("\xC3\xA4"));
    EXPECT_TRUE(read.ok);
    EXPECT_TRUE(sameMap(expected, read.map));
}

TEST(IniFileRead, ReadsListsAndAtForms) {
    const ReadResult read = readText(
        "l=a, \"b,c\" , d \nv=1,@Invalid()\ns=@@x,y\ne=@Invalid()\nb=@ByteArray(\\0\\xff)\n"
        "r=@Rect(1 2 3 4)\nbadRect=@Rect(1 2 3)\nsz=@Size( 5 -6)\np=@Point(+1 0x10)\n"
        "str=@String(a\\0b)\nat=@@home\nunknown=@Foo(x)\n");
    SettingsMap expected;
    expected.insert(QStringLiteral("l"),
                    QStringList{QStringLiteral("a"), QStringLiteral("b,c"), QStringLiteral("d")});
    expected.insert(QStringLiteral("v"), QVariantList{QStringLiteral("1"), QVariant()});
    expected.insert(QStringLiteral("s"), QStringList{QStringLiteral("@x"), QStringLiteral("y")});
    expected.insert(QStringLiteral("e"), QVariant());
    expected.insert(QStringLiteral("b"), QByteArray("\0\xFF", 2));
    expected.insert(QStringLiteral("r"), QRect(1, 2, 3, 4));
    expected.insert(QStringLiteral("badRect"), QStringLiteral("@Rect(1 2 3)"));
    expected.insert(QStringLiteral("sz"), QStringLiteral("@Size( 5 -6)"));
    expected.insert(QStringLiteral("p"), QPoint(1, 0));
    expected.insert(QStringLiteral("str"), QString::fromLatin1("a\0b", 3));
    expected.insert(QStringLiteral("at"), QStringLiteral("@home"));
    expected.insert(QStringLiteral("unknown"), QStringLiteral("@Foo(x)"));
    EXPECT_TRUE(read.ok);
    EXPECT_TRUE(sameMap(expected, read.map));
}

TEST(IniFileRead, ReadsSectionsCommentsAndContinuations) {
    const ReadResult read = readText(
        "junk\n; comment\na=1 ; trailing comment\nb=x \\\n  y\nq=\" spaced; \"\n"
        "[General]\nc=\\x20ac\\x35\n[%General]\nd=2\n[ s ]\nk=1\n[t]\nk=x\n[s]\nk=2\n"
        "[open\n%41%U00e4\\z=3\n");
    SettingsMap expected;
    expected.insert(QStringLiteral("a"), QStringLiteral("1"));
    // A continued line keeps the indentation of its next line.
    expected.insert(QStringLiteral("b"), QStringLiteral("x   y"));
    expected.insert(QStringLiteral("q"), QStringLiteral(" spaced; "));
    expected.insert(QStringLiteral("c"), fromUtf8("\xE2\x82\xAC"
                                                  "5"));
    expected.insert(QStringLiteral("General/d"), QStringLiteral("2"));
    expected.insert(QStringLiteral("s/k"), QStringLiteral("2"));
    expected.insert(QStringLiteral("t/k"), QStringLiteral("x"));
    expected.insert(fromUtf8("open/A\xC3\xA4/z"), QStringLiteral("3"));
    // "junk" has no '=' and "[open" no ']': both are format errors.
    EXPECT_FALSE(read.ok);
    EXPECT_TRUE(sameMap(expected, read.map));
}

TEST(IniFileRead, ReadsNothingFromAnEmptyText) {
    const ReadResult read = readText(QByteArray());
    EXPECT_TRUE(read.ok);
    EXPECT_TRUE(read.map.isEmpty());
}

// ---------------------------------------------------------------------------------------
// Under both Qt versions: round trips and the store format

TEST(IniFileRoundTrip, RandomMapsReadBackAsWritten) {
    std::mt19937 rng(20240611);
    for (int round = 0; round < 1500; ++round) {
        SettingsMap map;
        const int count = 1 + static_cast<int>(rng() % 6);
        for (int i = 0; i < count; ++i) {
            map.insert(randomKey(rng), randomRoundTripValue(rng));
        }
        const QByteArray text = writeText(map);
        const ReadResult read = readText(text);
        EXPECT_TRUE(read.ok) << escaped(text);
        ASSERT_TRUE(sameMap(map, read.map)) << escaped(text);
    }
}

TEST(IniStoreFormat, IsRegisteredOnce) {
    const QSettings::Format format = iniStoreFormat();
    std::vector<QSettings::Format> seen(4);
    std::vector<std::thread> threads;
    for (QSettings::Format& slot : seen) {
        threads.emplace_back([&slot] { slot = iniStoreFormat(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const QSettings::Format other : seen) {
        EXPECT_EQ(other, format);
    }
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    EXPECT_GE(format, QSettings::CustomFormat1);
#else
    EXPECT_EQ(format, QSettings::IniFormat);
#endif
}

TEST_F(IniFileTest, StoreFormatWritesQt5Layout) {
    // Values are set section by section in key order, so that Qt 5 on Windows, which keeps
    // the order of setValue() in a new file, writes the same order as elsewhere.
    SettingsMap map;
    map.insert(QStringLiteral("top"), fromUtf8("\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"));
    map.insert(QStringLiteral("Component/1.0/Path"), fromUtf8("C:/Pr\xC3\xB6gramme/x"));
    map.insert(QStringLiteral("Component/1.0/Size"),
               QStringList{QStringLiteral("\xE4"), QString()});
    map.insert(fromUtf8("\xC3\x84rger/x"), QByteArray("\xC3\xA4"));
    const QStringList order{QStringLiteral("top"), QStringLiteral("Component/1.0/Path"),
                            QStringLiteral("Component/1.0/Size"), fromUtf8("\xC3\x84rger/x")};
    const QString file = newPath();
    {
        QSettings store(file, iniStoreFormat());
        for (const QString& key : order) {
            store.setValue(key, map.value(key));
        }
        store.sync();
        EXPECT_EQ(store.status(), QSettings::NoError);
    }
    const QByteArray bytes = readFile(file);
    EXPECT_EQ(bytes, writeText(map));
    EXPECT_TRUE(bytes.contains("top=\\xe4\\x20ac\\xd83d\\xde00")) << escaped(bytes);
    EXPECT_TRUE(std::all_of(bytes.cbegin(), bytes.cend(), [](char c) {
        return static_cast<unsigned char>(c) < 0x80;
    })) << escaped(bytes);

    // A copy has a path of its own, which QSettings reads afresh.
    const QString copy = newPath();
    ASSERT_TRUE(QFile::copy(file, copy));
    const QSettings again(copy, iniStoreFormat());
    EXPECT_EQ(again.allKeys(), map.keys());
    for (const QString& key : map.keys()) {
        EXPECT_TRUE(sameValue(map.value(key), again.value(key))) << describe(key);
    }
    EXPECT_EQ(again.status(), QSettings::NoError);
}

TEST_F(IniFileTest, StoreFormatReadsFilesOfQt5) {
    const QString file = newPath();
    writeFile(file, "[Component]\n1.0\\Path=C:/Pr\\xf6gramme\nraw=Pr\xF6gramme\n");
    const QSettings store(file, iniStoreFormat());
    EXPECT_EQ(store.value(QStringLiteral("Component/1.0/Path")).toString(),
              fromUtf8("C:/Pr\xC3\xB6gramme"));
    EXPECT_EQ(store.value(QStringLiteral("Component/raw")).toString(),
              fromUtf8("Pr\xC3\xB6gramme"));
}

TEST_F(IniFileTest, StoreFormatKeepsTheKeysOfAMalformedFile) {
    const QString file = newPath();
    writeFile(file, "junk\n[s]\nk=v\n");
    const QSettings store(file, iniStoreFormat());
    EXPECT_EQ(store.allKeys(), QStringList{QStringLiteral("s/k")});
    EXPECT_EQ(store.value(QStringLiteral("s/k")).toString(), QStringLiteral("v"));
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    // QSettings would drop all keys if the read function reported the error.
    EXPECT_EQ(store.status(), QSettings::NoError);
#else
    EXPECT_EQ(store.status(), QSettings::FormatError);
#endif
}

// ---------------------------------------------------------------------------------------
// Under Qt 5 only: against Qt 5's own INI format. Not on Windows: there Qt 5 keeps the key
// order of the file and folds keys to lower case, which the format leaves out, since only
// Qt 6 builds use it and Windows builds are Qt 5 builds.

#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0) && !defined(Q_OS_WIN)

// Pieces of INI text rich in the characters the format treats specially.
const char* const kTextPieces[] = {"a",
                                   "b",
                                   "k",
                                   "K",
                                   "x",
                                   "e",
                                   "E",
                                   "f",
                                   "g",
                                   "G",
                                   "1",
                                   "2",
                                   "7",
                                   "9",
                                   "0",
                                   " ",
                                   " ",
                                   "\t",
                                   "=",
                                   "=",
                                   ";",
                                   "\"",
                                   "\\",
                                   "\\\\",
                                   ",",
                                   ",",
                                   "/",
                                   "'",
                                   "?",
                                   "[",
                                   "]",
                                   "%",
                                   "%U",
                                   "%4",
                                   "%41",
                                   "%e4",
                                   "%U00e4",
                                   "%U20AC",
                                   "%-1",
                                   "% 1",
                                   "%0x1",
                                   "%zz",
                                   "@",
                                   "@@",
                                   "@ByteArray(",
                                   "@String(",
                                   "@Invalid()",
                                   "@Rect(",
                                   "@Size(",
                                   "@Point(",
                                   "(",
                                   ")",
                                   " 3",
                                   "-4",
                                   "+5",
                                   "\\x",
                                   "\\x4",
                                   "\\xe4",
                                   "\\x20ac",
                                   "\\xd83d\\xde00",
                                   "\\0",
                                   "\\101",
                                   "\\7777",
                                   "\\n",
                                   "\\t",
                                   "\\\"",
                                   "\\q",
                                   "\\ ",
                                   "\\\n",
                                   "\\\r\n",
                                   "\xE4",
                                   "\xFF",
                                   "\x80",
                                   "\xA0",
                                   "\x7F",
                                   "\x01",
                                   "\v",
                                   "\f",
                                   "\xC3\xA4",
                                   "\xE2\x82\xAC",
                                   "\xE2\x88\x92",
                                   "\xF0\x9F\x98\x80",
                                   "\xEF\xBB\xBF",
                                   "\xC3",
                                   "\xE2\x82",
                                   "General",
                                   "%General"};

const char* const kLineBreaks[] = {"\n", "\n", "\n", "\r\n", "\r", "\n\r", "\n\n"};

QByteArray randomPieces(std::mt19937& rng, int maxCount) {
    QByteArray text;
    const int count = static_cast<int>(rng() % (maxCount + 1));
    for (int i = 0; i < count; ++i) {
        text += pick(rng, kTextPieces);
        if (rng() % 40 == 0) {
            text += '\0';
        }
    }
    return text;
}

// A small INI text: mostly key lines, with headers (some without ']'), comments and junk
// lines, any line break, sometimes a byte-order mark, sometimes just a run of pieces.
QByteArray randomIniText(std::mt19937& rng) {
    QByteArray text;
    if (rng() % 6 == 0) {
        text += "\xEF\xBB\xBF";
    }
    if (rng() % 8 == 0) {
        return text + randomPieces(rng, 25);
    }
    const int lines = static_cast<int>(rng() % 7);
    for (int i = 0; i < lines; ++i) {
        switch (rng() % 10) {
            case 0:
            case 1:
                text += '[';
                text += randomPieces(rng, 3);
                if (rng() % 6 != 0) {
                    text += ']';
                }
                break;
            case 2:
                text += ';';
                text += randomPieces(rng, 4);
                break;
            case 3:
                text += randomPieces(rng, 3);
                break;
            default:
                text += randomPieces(rng, 3);
                text += rng() % 3 == 0 ? " = " : "=";
                text += randomPieces(rng, 6);
                break;
        }
        text += pick(rng, kLineBreaks);
    }
    return text;
}

// Any value QSettings can store, including those that do not read back as themselves.
QVariant randomAnyValue(std::mt19937& rng) {
    switch (rng() % 8) {
        case 0:
            return randomList(rng, 0);
        case 1:
            return static_cast<int>(rng() % 2000001) - 1000000;
        case 2:
            return rng() % 2 == 0 ? QVariant(true) : QVariant(0.25 + rng() % 9);
        case 3:
            return QVariantList{randomText(rng, 3, false)};
        case 4:
            return QVariantList{randomText(rng, 3, true), randomText(rng, 3, false)};
        case 5:
            return QVariantList();
        default:
            return randomRoundTripValue(rng);
    }
}

// What QSettings' INI format makes of a file: its keys, the value of each and the status.
struct Reference {
    QStringList keys;
    QMap<QString, QVariant> values;
    bool ok = false;
};

Reference readWithQSettings(const QString& path) {
    const QSettings settings(path, QSettings::IniFormat);
    Reference reference;
    // allKeys() parses every section in QSettings' own order before any value is looked up.
    reference.keys = settings.allKeys();
    for (const QString& key : reference.keys) {
        // QSettings refuses to look up the empty key.
        if (!key.isEmpty()) {
            reference.values.insert(key, settings.value(key));
        }
    }
    reference.ok = settings.status() == QSettings::NoError;
    return reference;
}

// The key QSettings looks up for @p key: without empty components.
QString normalizedKey(const QString& key) {
    return key.split(QLatin1Char('/'), Qt::SkipEmptyParts).join(QLatin1Char('/'));
}

// Compares readIniAsQt5 with QSettings for @p text, written to @p path: the same keys, the
// value QSettings finds for each key, and a format error exactly where QSettings reports one.
::testing::AssertionResult readsLikeQSettings(const QByteArray& text, const QString& path) {
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size()) {
            return ::testing::AssertionFailure() << "cannot write " << path.toStdString();
        }
    }
    const Reference reference = readWithQSettings(path);
    const ReadResult read = readText(text);
    if (read.ok != reference.ok) {
        return ::testing::AssertionFailure() << "for " << escaped(text) << " QSettings reports "
                                             << (reference.ok ? "no error" : "a format error");
    }
    if (read.map.keys() != reference.keys) {
        auto failure = ::testing::AssertionFailure() << "for " << escaped(text) << " QSettings has";
        for (const QString& key : reference.keys) {
            failure << ' ' << describe(key);
        }
        failure << ", read";
        for (const QString& key : read.map.keys()) {
            failure << ' ' << describe(key);
        }
        return failure;
    }
    for (auto it = reference.values.cbegin(); it != reference.values.cend(); ++it) {
        // QSettings looks a key up by its normalized form, which may be another key or none.
        const QVariant value = read.map.value(normalizedKey(it.key()));
        const ::testing::AssertionResult same = sameValue(it.value(), value);
        if (!same) {
            return ::testing::AssertionFailure() << "for " << escaped(text) << " key "
                                                 << describe(it.key()) << ": " << same.message();
        }
    }
    return ::testing::AssertionSuccess();
}

struct IniText {
    const char* name;
    QByteArray text;
};

void PrintTo(const IniText& row, std::ostream* out) {
    *out << row.name;
}

#define INI_TEXT(name, literal)                        \
    IniText {                                          \
        name, QByteArray(literal, sizeof(literal) - 1) \
    }

std::vector<IniText> corpus() {
    return {
        INI_TEXT("Empty", ""),
        INI_TEXT("BlankLines", "\n\n  \r\n\t\n"),
        INI_TEXT("Simple", "a=1\nb=two\n"),
        INI_TEXT("SpacesAroundKeysAndValues", "  key  =   value with spaces   \n\tk2\t=\tv\t\n"),
        INI_TEXT("EmptyValues", "a=\nb= \nc=\"\"\nd=\" \"\n"),
        INI_TEXT("Quotes",
                 "a=\"quoted, with; specials=\"\nb=\"  padded  \"\nc=pre\"mid\"post\n"
                 "d=\"a\" \"b\"  \ne=x \" \" \nf=\"a\" b  \ng=\"a\" b \t, c \n"),
        INI_TEXT("UnterminatedQuote", "a=\"open\nb=2\n[s]\nc=3  "),
        INI_TEXT("QuotedLineBreak", "a=\"line1\nline2\"\nb=2\n"),
        INI_TEXT("Comments",
                 ";comment\na=1 ; trailing\n  ; indented\n;\nb=\";not comment\"\n"
                 "c=x;y\n; k=1\n"),
        INI_TEXT("Continuation", "a=first \\\n  second\nb=x\\\r\ny\nc=p\\\n\rq\nd=r\\\rs\n"),
        INI_TEXT("ContinuationInKey", "ke\\\ny=1\n"),
        INI_TEXT("BackslashAtEnd", "a=value  \\"),
        INI_TEXT("NamedEscapes", "a=\\a\\b\\f\\n\\r\\t\\v\\\"\\?\\'\\\\\n"),
        INI_TEXT("UnknownEscapes", "a=\\q\\ \\8\\9x\nb=\\z end\nc=x\\;y\nd=\\=e\n"),
        INI_TEXT("OctalEscapes", "a=\\101\\0\\7777\\18\nb=\\0x\nc=\\377777\n"),
        INI_TEXT("HexEscapes",
                 "a=\\x41\\x4g\\xe4\\x20ac\\xd83d\\xde00\nb=\\xG\nc=\\x1234567\n"
                 "d=\\xFFFFF\n"),
        INI_TEXT("HexEscapeAtEnd", "a=abc  \\x41"),
        INI_TEXT("BareHexEscapeAtEnd", "a=abc  \\x"),
        INI_TEXT("TrailingSpacesAfterEscapes", "a=abc  \\t  \nb=\"x\"  \nc=\\x41  \n"),
        INI_TEXT("Lists",
                 "a=1,2,3\nb= a , b ,c \nc=,\nd=a,\ne=\"a,b\",c\nf=,,\ng=\t x \t,\t y \t\n"),
        INI_TEXT("ListQuotes", "a=\"x \" , \" y\"\nb=a\\,b\nc=\"a\"b,c\n"),
        INI_TEXT("VariantLists",
                 "a=1,@Invalid()\nb=@@x,y\nc=x,@\nd=@ByteArray(\\xff),@Rect(1 2 3 4)\n"
                 "e=@@a,@@b\nf=@,@\n"),
        INI_TEXT("AtForms",
                 "a=@Invalid()\nb=@ByteArray(raw\\0bytes\\xff\\x20ac)\n"
                 "c=@String(with\\0nul)\nd=@@literal\ne=@Unknown(x)\nf=@\n"
                 "g=@ByteArray(\nh=@Invalid()x\ni=@ByteArray()\nj=@String()\n"),
        INI_TEXT("Geometry",
                 "r=@Rect(1 2 3 4)\ns=@Size(5 6)\np=@Point(-7 8)\nbad=@Rect(1 2 3)\n"
                 "sp=@Size( 5 6)\nodd=@Rect(1)2 3 4)\nnum=@Point(+1 0x10)\n"
                 "big=@Size(2147483648 -2147483648)\ntab=@Point(\t1\t 2)\n"
                 "nbsp=@Size(\xA0"
                 "3 4\xA0)\n"),
        INI_TEXT(
            "StreamedValues",
            "url=@Variant(\\0\\0\\0\\x11\\0\\0\\0\\nhttp://h/p)\n"
            "when=@DateTime(\\0\\0\\0\\x10\\0\\0\\0\\0\\0\\0%\\x86\\x8e\\x1\\x18\\x42\\x18\\x1)\n"
            "date=@Variant(\\0\\0\\0\\xe\\0%\\x85\\x1d)\nshort=@Variant()\n"),
        INI_TEXT("Sections", "top=1\n[sec]\na=2\n[ spaced name ]\nb=3\n[sec/sub]\nc=4\n"),
        INI_TEXT("GeneralSections",
                 "[General]\na=1\n[general]\nb=2\n[%General]\nc=3\n"
                 "[%general]\nd=4\n[GENERAL ]\ne=5\n[ %GENERAL]\nf=6\n"),
        INI_TEXT("MissingBracket", "[open\na=1\n[ok]\nb=2\n"),
        INI_TEXT("HeaderWithTrailingText", "[s] x=1\na=2\n[t];c\nb=3\n[u]]\nc=4\n"),
        INI_TEXT("LinesWithoutEquals", "junk\na=1\n[s]\nmore junk\nb=2\n"),
        INI_TEXT("DuplicateKeys", "a=1\na=2\n[s]\nk=1\n[t]\nk=2\n[s]\nk=3\nl=1\n"),
        INI_TEXT("CollidingSpellings", "s\\k=top\n[s]\nk=section\n[s\\t]\nu=1\n[s]\nt\\u=2\n"),
        INI_TEXT("KeyEscapes",
                 "%41%e4=1\n%U20AC=2\n%U00e4x=3\na\\b=4\n%zz=5\n%4=6\n%U12=8\n"
                 "%-1=9\n% 1=10\n%0x=11\n%U0x1F=12\n%+A=13\n%U-FFF=14\n%u41=15\n"),
        INI_TEXT("KeyWhitespace", "  k e y  =1\n\tk\t=2\nk\\ =3\nk%20=4\n"),
        INI_TEXT("PercentAtKeyEnd", "a%=1\n%=2\n%U=3\n%U1=4\nb%4=5\n"),
        INI_TEXT("BadPercentEscapes",
                 "%GG=1\n%4G=2\n%U00GG=3\n%U 12=4\n%1 =5\n%\x01"
                 "1=6\n"),
        INI_TEXT("NulInKey", "%00=1\na\0b=2\n%4\0=3\n"),
        INI_TEXT("NulInValue", "a=x\0y\nb=\\0\0\n"),
        INI_TEXT("RawLatin1", "k\xE4=v\xE4l\xFC\xE9\nv=\xFF\x80\n[s\xE9]\nk=1\n"),
        INI_TEXT("RawUtf8WithoutMark", "k=v\xC3\xA4lue \xE2\x82\xAC\n\xC3\xA4=1\n"),
        INI_TEXT("Utf8Mark",
                 "\xEF\xBB\xBFk=v\xC3\xA4lue\n[s]\nx=\xE2\x82\xAC\\x41\xF0\x9F\x98\x80\n"),
        INI_TEXT("Utf8MarkInvalidSequences",
                 "\xEF\xBB\xBF[s]\na=\xFF\xC3\nb=\xE2\x82\nc=\xC3\\n\xA4\nd=\xEF\xBB\xBFx\n"
                 "e=\"\xEF\xBB\xBF\"\nf=\xC0\xAF\xED\xA0\x80\xF4\x90\x80\x80\n"
                 "g=\xE0\x80\xAF\xF0\x8F\xBF\xBF\xC2\x80\xF0\x90\x80\nk\xC3\xA4=\xE2\x82,\xAC\n"),
        INI_TEXT("Utf8MarkThenSection", "\xEF\xBB\xBF[s]\na=1\n"),
        INI_TEXT("Utf8MarkThenComment", "\xEF\xBB\xBF;c\na=1\n"),
        INI_TEXT("Utf8MarkOnly", "\xEF\xBB\xBF"),
        INI_TEXT("Utf8MarkNumbers",
                 "\xEF\xBB\xBFp=@Point(\xE2\x88\x92"
                 "5 \xE3\x80\x80"
                 "6)\n"
                 "s=@Size(\xEF\xBC\x91 2)\n"),
        INI_TEXT("CrLf", "a=1\r\nb=2\r\n[s]\r\nc=3\r\n"),
        INI_TEXT("CrOnly", "a=1\rb=2\r[s]\rc=3"),
        INI_TEXT("LfCr", "a=1\n\rb=2\n\r"),
        INI_TEXT("NoFinalLineBreak", "a=1\n[s]\nb=2"),
        INI_TEXT("EqualsInValue", "a=b=c\nb==\n=v\n \t=w\n"),
        INI_TEXT("EmptyKeyInSection", "[s]\n=v\n"),
        INI_TEXT("ControlCharacters", "a=x\x01y\x7F\nb=\x0B v \x0C\n"),
        INI_TEXT("QuotesInKeys", "\"a;b\"=1\n\"a=b\"=2\n"),
        INI_TEXT("EmptyComponents", "a\\\\b=1\n\\lead=2\ntrail\\=3\n[\\]\nx=4\n[a]\n\\b=5\n"),
        INI_TEXT("SectionEscapes", "[%41%U00e4 b\\c]\nk=1\n[\x7F\xE4]\nk=2\n[%]\nk=3\n"),
        INI_TEXT("SectionNamesWithSpecials", "[a,b]\nk=1\n[\"q\"]\nk=2\n[x=y]\nk=3\n[]\nk=4\n"),
        INI_TEXT("SectionSpanningLines", "[a\\\nb]\nk=1\n[\"c\nd\"]\nk=2\n"),
    };
}

#undef INI_TEXT

class IniReadLikeQt5 : public IniFileTest, public ::testing::WithParamInterface<IniText> {};

TEST_P(IniReadLikeQt5, ReadsAsQSettingsDoes) {
    EXPECT_TRUE(readsLikeQSettings(GetParam().text, newPath()));
}

INSTANTIATE_TEST_SUITE_P(Corpus, IniReadLikeQt5, ::testing::ValuesIn(corpus()),
                         [](const ::testing::TestParamInfo<IniText>& info) {
                             return std::string(info.param.name);
                         });

TEST_F(IniFileTest, ReadsRandomTextsAsQSettingsDoes) {
    std::mt19937 rng(4711);
    for (int round = 0; round < 3000; ++round) {
        ASSERT_TRUE(readsLikeQSettings(randomIniText(rng), newPath())) << "round " << round;
    }
}

// The bytes QSettings' INI format writes into a new file for @p map.
QByteArray writtenByQSettings(const QSettings::SettingsMap& map, const QString& path,
                              std::mt19937& rng) {
    {
        QSettings settings(path, QSettings::IniFormat);
        // The order of setValue() does not matter: a new file is written in key order.
        QStringList keys = map.keys();
        std::shuffle(keys.begin(), keys.end(), rng);
        for (const QString& key : keys) {
            settings.setValue(key, map.value(key));
        }
    }
    return readFile(path);
}

TEST_F(IniFileTest, WritesFixedMapsAsQSettingsDoes) {
    std::mt19937 rng(7);
    SettingsMap keys;
    for (const char* key : {"k\xC3\xA4y", "a b", "s/t", "grp/sub/key", "General/k", "general/k",
                            "GENERAL/k", "%General/k", "a-b/x", "a/x", "\xE2\x82\xAC/k", "x;y=z",
                            "[br]", "\xF0\x9F\x98\x80", "t\\u", "Gen/eral", "\x7F/\x01"}) {
        keys.insert(fromUtf8(key), QStringLiteral("v"));
    }
    for (const SettingsMap& map : {escapesMap(), typesMap(), streamedMap(), keys}) {
        EXPECT_EQ(writeText(map), writtenByQSettings(map, newPath(), rng));
    }
}

TEST_F(IniFileTest, WritesRandomMapsAsQSettingsDoes) {
    std::mt19937 rng(1234);
    for (int round = 0; round < 500; ++round) {
        SettingsMap map;
        const int count = 1 + static_cast<int>(rng() % 6);
        for (int i = 0; i < count; ++i) {
            map.insert(randomKey(rng), randomAnyValue(rng));
        }
        const QByteArray expected = writtenByQSettings(map, newPath(), rng);
        const QByteArray written = writeText(map);
        ASSERT_EQ(written, expected) << "round " << round;
        ASSERT_TRUE(readsLikeQSettings(written, newPath())) << "round " << round;
    }
}

#endif  // QT_VERSION < 6 && !Q_OS_WIN

}  // namespace
