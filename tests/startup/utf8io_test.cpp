// SPDX-License-Identifier: MIT
// UTF-8 process I/O: the file buffer opened by UTF-8 name, the application's
// arguments as UTF-8 C strings and per-thread temporary names.
#include <orrery/startup.h>

#include "childprocess.h"
#include "driveroutput.h"
#include "testutil.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTextCodec>

#include <cstring>
#include <fstream>
#include <future>
#include <istream>
#include <new>
#include <ostream>
#include <string>
#include <thread>
#include <type_traits>

#ifdef _WIN32
#include <windows.h>
#endif

#ifndef ORRERY_STARTUP_DRIVER
#error "ORRERY_STARTUP_DRIVER must name the driver executable"
#endif

using OrreryTest::ChildResult;
using OrreryTest::DriverOutput;

namespace {

// Characters from several scripts, so no single-byte code page holds the name.
const char kUtf8Name[] =
    "\xc3\x9cnic\xc3\xb8"
    "de \xe2\x82\xac \xce\xb1\xce\xb2 \xe6\x97\xa5.txt";

// Qt names files through the locale codec; the tests spell names in UTF-8.
void useUtf8ForFileNames() {
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
}

class FilebufUtf8Test : public OrreryTest::TempDirTest {
protected:
    void SetUp() override {
        useUtf8ForFileNames();
        TempDirTest::SetUp();
    }
    std::string file(const char* name) const { return stdPath() + "/" + name; }
};

}  // namespace

TEST_F(FilebufUtf8Test, WritesAndReadsAFileWithANonAsciiName) {
    const std::string name = file(kUtf8Name);
    {
        Orrery::filebuf_utf8 buffer;
        ASSERT_TRUE(buffer.open(name.c_str(), std::ios_base::out | std::ios_base::binary));
        EXPECT_TRUE(buffer.is_open());
        std::ostream out(&static_cast<std::basic_streambuf<char>&>(buffer));
        out << "line one\n\xc3\xa9t\xc3\xa9\n";
        out.flush();
        EXPECT_TRUE(buffer.close());
        EXPECT_FALSE(buffer.is_open());
    }
    // The file on disk carries exactly the UTF-8 name.
    const QStringList entries = QDir(path()).entryList(QDir::Files);
    ASSERT_EQ(entries.size(), 1);
    EXPECT_EQ(entries.first().toUtf8(), QByteArray(kUtf8Name));
    QFile onDisk(QString(path() + QLatin1Char('/') + QString::fromUtf8(kUtf8Name)));
    ASSERT_TRUE(onDisk.open(QIODevice::ReadOnly));
    EXPECT_EQ(onDisk.readAll(), QByteArray("line one\n\xc3\xa9t\xc3\xa9\n"));

    Orrery::filebuf_utf8 reader;
    ASSERT_TRUE(reader.open(name.c_str(), std::ios_base::in));
    std::istream in(&static_cast<std::basic_streambuf<char>&>(reader));
    std::string first;
    std::string second;
    std::getline(in, first);
    std::getline(in, second);
    EXPECT_EQ(first, "line one");
    EXPECT_EQ(second, "\xc3\xa9t\xc3\xa9");
    EXPECT_TRUE(reader.close());
}

// Chinese and a musical symbol outside the Basic Multilingual Plane (a surrogate pair in
// UTF-16): no ANSI code page spells them, so the name reaches Windows only through the
// wide-character open.
TEST_F(FilebufUtf8Test, NameOutsideTheAnsiCodePageIsTheNameOnDisk) {
    const char utf8Name[] = "\xe4\xb8\xad\xe6\x96\x87 \xf0\x9d\x84\x9e.txt";
    const QString expected = QString::fromUtf8(utf8Name);
    ASSERT_EQ(expected.size(), 9);  // the symbol takes two UTF-16 units
#ifdef _WIN32
    // Unless the ANSI code page is UTF-8 itself, it cannot spell the name.
    if (::GetACP() != CP_UTF8) {
        const std::wstring wide = expected.toStdWString();
        BOOL usedDefault = FALSE;
        ::WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, wide.data(),
                              static_cast<int>(wide.size()), nullptr, 0, nullptr, &usedDefault);
        ASSERT_TRUE(usedDefault) << "the ANSI code page " << ::GetACP() << " spells the name";
    }
#endif
    const std::string name = file(utf8Name);
    {
        Orrery::filebuf_utf8 buffer;
        ASSERT_TRUE(buffer.open(name.c_str(), std::ios_base::out | std::ios_base::binary));
        std::ostream out(&static_cast<std::basic_streambuf<char>&>(buffer));
        out << "\xf0\x9d\x84\x9e\n";
        EXPECT_TRUE(out.flush().good());
        EXPECT_TRUE(buffer.close());
    }
    const QStringList entries = QDir(path()).entryList(QDir::Files);
    ASSERT_EQ(entries.size(), 1);
    EXPECT_EQ(entries.first(), expected);
    const QFileInfo onDisk(QDir(path()).filePath(expected));
    EXPECT_TRUE(onDisk.isFile());
    EXPECT_EQ(onDisk.fileName(), expected);
    EXPECT_EQ(onDisk.size(), 5);

    Orrery::filebuf_utf8 reader;
    ASSERT_TRUE(reader.open(name.c_str(), std::ios_base::in | std::ios_base::binary));
    std::istream in(&static_cast<std::basic_streambuf<char>&>(reader));
    std::string line;
    ASSERT_TRUE(std::getline(in, line).good());
    EXPECT_EQ(line, "\xf0\x9d\x84\x9e");
    EXPECT_TRUE(reader.close());

    // Appending reaches the same file.
    Orrery::filebuf_utf8 appender;
    ASSERT_TRUE(appender.open(name.c_str(), std::ios_base::out | std::ios_base::app));
    std::ostream(&static_cast<std::basic_streambuf<char>&>(appender)) << "more";
    EXPECT_TRUE(appender.close());
    EXPECT_EQ(QDir(path()).entryList(QDir::Files), QStringList({expected}));
    QFile read(onDisk.filePath());
    ASSERT_TRUE(read.open(QIODevice::ReadOnly));
    EXPECT_EQ(read.readAll(), QByteArray("\xf0\x9d\x84\x9e\nmore"));
}

TEST_F(FilebufUtf8Test, DestructorClosesAndFlushes) {
    const std::string name = file("flushed.txt");
    {
        Orrery::filebuf_utf8 buffer;
        ASSERT_TRUE(buffer.open(name.c_str(), std::ios_base::out));
        std::ostream out(&static_cast<std::basic_streambuf<char>&>(buffer));
        out << "pending";
    }
    QFile onDisk(QString::fromStdString(name));
    ASSERT_TRUE(onDisk.open(QIODevice::ReadOnly));
    EXPECT_EQ(onDisk.readAll(), QByteArray("pending"));
}

TEST_F(FilebufUtf8Test, AppendModeIsPassedThrough) {
    const std::string name = file("append.txt");
    for (const char* text : {"a", "b"}) {
        Orrery::filebuf_utf8 buffer;
        ASSERT_TRUE(buffer.open(name.c_str(), std::ios_base::out | std::ios_base::app));
        std::ostream(&static_cast<std::basic_streambuf<char>&>(buffer)) << text;
        EXPECT_TRUE(buffer.close());
    }
    QFile onDisk(QString::fromStdString(name));
    ASSERT_TRUE(onDisk.open(QIODevice::ReadOnly));
    EXPECT_EQ(onDisk.readAll(), QByteArray("ab"));
}

TEST(FilebufUtf8, CloseOnANeverOpenedBufferIsFalse) {
    Orrery::filebuf_utf8 buffer;
    EXPECT_FALSE(buffer.is_open());
    EXPECT_FALSE(buffer.close());
    EXPECT_FALSE(buffer.is_open());
}

TEST_F(FilebufUtf8Test, CloseTwiceIsTrueThenFalse) {
    Orrery::filebuf_utf8 buffer;
    ASSERT_TRUE(buffer.open(file("twice.txt").c_str(), std::ios_base::out));
    EXPECT_TRUE(buffer.close());
    EXPECT_FALSE(buffer.is_open());
    EXPECT_FALSE(buffer.close());
    EXPECT_FALSE(buffer.is_open());
}

#ifndef _WIN32
// /dev/full, which refuses every write, exists on POSIX hosts only.
TEST(FilebufUtf8, CloseIsFalseWhenPendingOutputCannotBeWritten) {
    if (!QFileInfo::exists(QStringLiteral("/dev/full"))) {
        GTEST_SKIP() << "/dev/full is not available on this host";
    }
    Orrery::filebuf_utf8 buffer;
    ASSERT_TRUE(buffer.open("/dev/full", std::ios_base::out));
    std::ostream out(&static_cast<std::basic_streambuf<char>&>(buffer));
    out << "cannot be written";
    EXPECT_FALSE(buffer.close());
    EXPECT_FALSE(buffer.is_open());
}
#endif

TEST_F(FilebufUtf8Test, OpenFailsForAMissingFileOrDirectory) {
    Orrery::filebuf_utf8 buffer;
    EXPECT_FALSE(buffer.open(file("missing.txt").c_str(), std::ios_base::in));
    EXPECT_FALSE(buffer.is_open());
    EXPECT_FALSE(buffer.open(file("no such dir/x.txt").c_str(), std::ios_base::out));
    EXPECT_FALSE(buffer.is_open());
}

TEST(FilebufUtf8, NullNameIsTheEmptyNameAndFails) {
    Orrery::filebuf_utf8 buffer;
    EXPECT_FALSE(buffer.open(nullptr, std::ios_base::in));
    EXPECT_FALSE(buffer.is_open());
}

TEST_F(FilebufUtf8Test, OpenWhileAFileIsAttachedFails) {
    Orrery::filebuf_utf8 buffer;
    ASSERT_TRUE(buffer.open(file("first.txt").c_str(), std::ios_base::out));
    EXPECT_FALSE(buffer.open(file("second.txt").c_str(), std::ios_base::out));
    EXPECT_TRUE(buffer.is_open());
    EXPECT_TRUE(buffer.close());
    EXPECT_FALSE(QFileInfo::exists(path(QStringLiteral("second.txt"))));
}

TEST(FilebufUtf8, ConversionGivesTheSameInnerBufferEveryTime) {
    Orrery::filebuf_utf8 buffer;
    std::basic_streambuf<char>& first = buffer;
    std::basic_streambuf<char>& second = buffer;
    EXPECT_EQ(&first, &second);
    EXPECT_NE(dynamic_cast<std::basic_filebuf<char>*>(&first), nullptr);
}

TEST_F(FilebufUtf8Test, CopyAssignmentSharesTheInnerBuffer) {
    Orrery::filebuf_utf8 source;
    // The target lives in raw storage so that its destructor, which would destroy
    // the shared buffer a second time, never runs.
    std::aligned_storage_t<sizeof(Orrery::filebuf_utf8), alignof(Orrery::filebuf_utf8)> storage;
    auto* target = new (&storage) Orrery::filebuf_utf8();
    auto* abandoned =
        dynamic_cast<std::basic_filebuf<char>*>(&static_cast<std::basic_streambuf<char>&>(*target));
    ASSERT_NE(abandoned, nullptr);

    *target = source;
    EXPECT_EQ(&static_cast<std::basic_streambuf<char>&>(*target),
              &static_cast<std::basic_streambuf<char>&>(source));
    ASSERT_TRUE(target->open(file("shared.txt").c_str(), std::ios_base::out));
    EXPECT_TRUE(source.is_open());
    EXPECT_TRUE(source.close());
    EXPECT_FALSE(target->is_open());
    // The assignment abandons the target's own buffer; release it here.
    delete abandoned;
}

#ifndef _WIN32
// TMPDIR steers the names of POSIX hosts only; Windows below.
TEST(TmpnamUtf8, GivesAFreshNameInTheTemporaryDirectory) {
    useUtf8ForFileNames();
    QTemporaryDir dir(QDir::tempPath() + QStringLiteral("/tmp\u00e9\u20ac-XXXXXX"));
    ASSERT_TRUE(dir.isValid());
    OrreryTest::ScopedEnv env;
    env.set("TMPDIR", dir.path().toUtf8().toStdString());
    const char* first = Orrery::tmpnam_utf8();
    ASSERT_NE(first, nullptr);
    const std::string firstName = first;
    EXPECT_EQ(firstName.rfind(dir.path().toUtf8().toStdString() + "/", 0), 0u) << firstName;
    EXPECT_GT(firstName.size(), dir.path().toUtf8().size() + 1);
    // Only a name: nothing is left on disk.
    EXPECT_TRUE(QDir(dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).isEmpty());
    const std::string secondName = Orrery::tmpnam_utf8();
    EXPECT_NE(firstName, secondName);
}

// A missing TMPDIR makes the POSIX name fail; nothing makes _wtmpnam fail from outside.
TEST(TmpnamUtf8, GivesTheEmptyStringNotNullWhenNoNameCanBeMade) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    OrreryTest::ScopedEnv env;
    env.set("TMPDIR", QString(dir.path() + QStringLiteral("/missing")).toStdString());
    const char* name = Orrery::tmpnam_utf8();
    ASSERT_NE(name, nullptr);
    EXPECT_STREQ(name, "");
}
#else
// The C runtime's _wtmpnam makes the name: mingw-w64's msvcrt roots it on the current drive
// ("\\s1o8."), Microsoft's runtime puts it in the temporary directory. It names no file.
TEST(TmpnamUtf8, GivesAFreshRootedNameOfTheRuntime) {
    useUtf8ForFileNames();
    const char* first = Orrery::tmpnam_utf8();
    ASSERT_NE(first, nullptr);
    const std::string firstName = first;
    ASSERT_FALSE(firstName.empty());
    const bool rooted = firstName[0] == '\\' ||
                        (firstName.size() > 2 && firstName[1] == ':' && firstName[2] == '\\');
    EXPECT_TRUE(rooted) << firstName;
    EXPECT_FALSE(QFileInfo::exists(QString::fromUtf8(first))) << firstName;
    const std::string secondName = Orrery::tmpnam_utf8();
    EXPECT_FALSE(secondName.empty());
    EXPECT_NE(firstName, secondName);
}
#endif

TEST(TmpnamUtf8, TwoThreadsGetIndependentResults) {
    std::promise<void> firstCalled;
    std::promise<void> secondCalled;
    std::promise<const char*> secondPointer;
    std::promise<std::string> secondName;
    std::promise<void> firstChecked;
    std::shared_future<void> firstCheckedFuture = firstChecked.get_future().share();

    const char* firstPointer = nullptr;
    std::string firstName;
    bool firstUnchanged = false;
    bool secondUnchanged = false;

    std::thread first([&] {
        firstPointer = Orrery::tmpnam_utf8();
        firstName = firstPointer;
        firstCalled.set_value();
        secondCalled.get_future().wait();
        // The other thread's call must not have touched this thread's result.
        firstUnchanged = firstName == firstPointer;
        firstChecked.set_value();
    });
    std::thread second([&] {
        firstCalled.get_future().wait();
        const char* pointer = Orrery::tmpnam_utf8();
        const std::string name = pointer;
        secondPointer.set_value(pointer);
        secondName.set_value(name);
        secondCalled.set_value();
        firstCheckedFuture.wait();
        secondUnchanged = name == pointer;
    });
    const char* otherPointer = secondPointer.get_future().get();
    const std::string otherName = secondName.get_future().get();
    first.join();
    second.join();

    EXPECT_NE(firstPointer, otherPointer);
    EXPECT_FALSE(firstName.empty());
    EXPECT_FALSE(otherName.empty());
    EXPECT_NE(firstName, otherName);
    EXPECT_TRUE(firstUnchanged);
    EXPECT_TRUE(secondUnchanged);
}

namespace {

ChildResult runArguments(const QString& mode, const QStringList& arguments) {
    QProcessEnvironment environment = OrreryTest::cleanEnvironment();
    environment.insert(QStringLiteral("ORRERY_DRIVER_MODE"), mode);
    environment.insert(QStringLiteral("ORRERY_DRIVER_NAME"), QStringLiteral("Args"));
    return OrreryTest::runChild(QStringLiteral(ORRERY_STARTUP_DRIVER), arguments, environment);
}

}  // namespace

TEST(GetApplicationArgumentsUtf8, WithoutArgumentsGivesTheProgramAloneAndANullEnd) {
    const ChildResult result = runArguments(QStringLiteral("app"), {});
    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
    const DriverOutput out(result.out);
    EXPECT_EQ(out.value(QStringLiteral("utf8-argc")), QStringLiteral("1"));
    EXPECT_TRUE(out.all(QStringLiteral("utf8-arg")).isEmpty());
    EXPECT_EQ(out.value(QStringLiteral("utf8-argv-terminated")), QStringLiteral("1"));
}

TEST(GetApplicationArgumentsUtf8, NonAsciiArgumentsComeAsUtf8) {
    const QString word = QString::fromUtf8("\xc3\xa9t\xc3\xa9 \xe2\x82\xac \xe6\x97\xa5");
    const ChildResult result =
        runArguments(QStringLiteral("app"), {word, QStringLiteral("-plain"), QString()});
    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
    const DriverOutput out(result.out);
    EXPECT_EQ(out.value(QStringLiteral("utf8-argc")), QStringLiteral("4"));
    EXPECT_EQ(out.all(QStringLiteral("utf8-arg")),
              QStringList({word, QStringLiteral("-plain"), QString()}));
    EXPECT_TRUE(result.out.contains("utf8-arg=[\xc3\xa9t\xc3\xa9 \xe2\x82\xac \xe6\x97\xa5]"));
    EXPECT_EQ(out.value(QStringLiteral("utf8-argv-terminated")), QStringLiteral("1"));
}

TEST(GetApplicationArgumentsUtf8, WithoutACoreApplicationTheListIsEmpty) {
    const ChildResult result = runArguments(QStringLiteral("arguments-without-app"), {});
    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
    const DriverOutput out(result.out);
    EXPECT_EQ(out.value(QStringLiteral("utf8-argc")), QStringLiteral("0"));
    EXPECT_EQ(out.value(QStringLiteral("utf8-argv-terminated")), QStringLiteral("1"));
}
