// SPDX-License-Identifier: MIT
// A small data-file kind for the tests: a property tree stored as XML through
// XMLElement, one element per node. Containers are <obj>, simple text values
// <prop value="...">, references <ref path="..." file="..." type="...">.
#pragma once

#include <orrery/datafile.h>

#include <QString>

class TestXmlFile : public Orrery::DataFile {
public:
    static const QString& TypeName();
    static Orrery::DataFile* Create(const QString& path);
    /// Number of Load() calls made on all files of this kind.
    static int s_loads;
    /// Number of files created through Create().
    static int s_created;

    explicit TestXmlFile(const QString& path, OpenMode mode = OpenModeNone);

    void Load() override;
    bool Save() override;
    bool IsLoaded() const override { return loaded; }
    bool IsModified() const override { return false; }
    QString GetFileType() const override { return TypeName(); }

    /// The contents as a mutable tree, created empty on first use; the file then counts as loaded.
    Orrery::PropertyObject* Root();

private:
    bool loaded = false;
};
