// SPDX-License-Identifier: MIT
// XmlPropertyFile, the XML data-file kind of the tools, on arbitrary file contents.
// Invariants: a file that does not load has no contents and an error that names the file;
// a file that loads is saved, and the saved file loads again to the same property tree
// (names, types, flags, values, references); saving that tree again gives the same bytes.

#include <orrery/property.h>

#include "../../tests/tools/treediff.h"
#include "../fuzz_check.h"
#include "quantity.h"
#include "xmlpropertyfile.h"

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QTemporaryDir>

#include <string>

namespace {

using OrreryTools::XmlPropertyFile;

// One folder for the whole run; every input is written to the same file in it.
const QString& fileName() {
    static QTemporaryDir folder;
    static const QString name = [] {
        FUZZ_CHECK(folder.isValid());
        OrreryTools::Quantity::Register();
        XmlPropertyFile::Register();
        return folder.filePath(QStringLiteral("input.oxml"));
    }();
    return name;
}

void writeFile(const QString& name, const QByteArray& bytes) {
    QFile file(name);
    FUZZ_CHECK(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    FUZZ_CHECK(file.write(bytes) == bytes.size());
}

QByteArray readFile(const QString& name) {
    QFile file(name);
    FUZZ_CHECK(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

Orrery::AbstractProperty* rootOf(const XmlPropertyFile& file) {
    return const_cast<Orrery::PropertyObject*>(file.GetFileContents());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QString& name = fileName();
    writeFile(name, QByteArray(reinterpret_cast<const char*>(data), static_cast<int>(size)));

    XmlPropertyFile original(name);
    original.Load();
    if (!original.IsLoaded()) {
        FUZZ_CHECK(original.GetFileContents() == nullptr);
        FUZZ_CHECK(original.ErrorString().startsWith(name));
        FUZZ_CHECK(original.ErrorString().size() > name.size());
        return 0;
    }
    FUZZ_CHECK(original.ErrorString().isEmpty());
    FUZZ_CHECK(rootOf(original) != nullptr);

    // Everything that was read can be written, and reads back the same.
    FUZZ_CHECK(original.Save());
    const QByteArray saved = readFile(name);
    XmlPropertyFile reread(name);
    reread.Load();
    if (!reread.IsLoaded()) {
        std::fprintf(stderr, "the saved file does not load: %s\n",
                     OrreryFuzz::show(reread.ErrorString()).c_str());
        FUZZ_CHECK(reread.IsLoaded());
    }
    const std::string difference = OrreryToolTest::treeDifference(rootOf(original), rootOf(reread));
    if (!difference.empty()) {
        std::fprintf(stderr, "the saved file reads back differently: %s\n", difference.c_str());
        FUZZ_CHECK(difference.empty());
    }
    FUZZ_CHECK(reread.Save());
    FUZZ_CHECK_EQ(readFile(name).toStdString(), saved.toStdString());
    return 0;
}
