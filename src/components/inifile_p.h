// SPDX-License-Identifier: MIT
// The INI layout of the file-based component stores, the same under Qt 5 and Qt 6. Internal.
#pragma once

#include <QSettings>

class QIODevice;

namespace Orrery {

/**
 * The settings format of the stores kept as INI files: QSettings::IniFormat under Qt 5.
 * Qt 6 reads INI files as UTF-8 and writes characters beyond ASCII as raw UTF-8, which
 * Qt 5 reads as Latin-1; under Qt 6 this is therefore a format registered once that reads
 * and writes the files as Qt 5's IniFormat does (readIniAsQt5, writeIniAsQt5), so that
 * the stores of both builds stay interchangeable. Its extension is "conf", the name of
 * the native settings file outside Windows, and its keys compare as those of IniFormat
 * (without regard to case on Windows only).
 *
 * QSettings drops every key a read function delivers when the function reports failure,
 * where Qt 5's IniFormat keeps the keys of a file with a malformed line; the registered
 * format therefore reports success for such a file and keeps its keys, so that status()
 * shows no FormatError for it under Qt 6. It writes sections and keys in key order, as
 * Qt 5 does except on Windows, where Qt 5 keeps the order of the file and of setValue().
 */
QSettings::Format iniStoreFormat();

/**
 * Reads an INI file into @p map as Qt 5's IniFormat reads it: bytes beyond ASCII taken as
 * Latin-1 (in values as UTF-8 after a UTF-8 byte-order mark, which itself belongs to
 * the first line), keys and section names with their %XX and %UXXXX escapes, values
 * with their quotes, backslash escapes and comma-separated lists, and the @-forms of typed
 * values. Keys are full paths ("section/key"); the section "General" holds the top-level
 * keys. Returns false where Qt 5 reports a format error, after reading every key it can,
 * as Qt 5 does.
 */
bool readIniAsQt5(QIODevice& device, QSettings::SettingsMap& map);

/**
 * Writes @p map as Qt 5's IniFormat writes a file without a text codec: sections in key
 * order, characters beyond ASCII in values as \x escapes and in keys as %XX or %UXXXX,
 * lines ending in "\n" ("\r\n" on Windows). Returns false when the device refuses a write.
 */
bool writeIniAsQt5(QIODevice& device, const QSettings::SettingsMap& map);

}  // namespace Orrery
