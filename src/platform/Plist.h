#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>

// Property lists in their XML form, the format of site settings, the crawl database and
// the schedule files. Values map to Qt types one for one: string - QString, integer -
// qint64, real - double, true/false - bool, date - QDateTime, data - QByteArray, array -
// QVariantList, dictionary - QVariantMap.
namespace Plist {

// Arrays and dictionaries nested deeper than this are refused: no settings file comes near,
// and a reader that followed a hostile file down would run out of stack.
constexpr int maxDepth = 512;
// Files larger than this are not read; a settings file is a few kilobytes.
constexpr qint64 maxFileSize = 16 * 1024 * 1024;

// Parses XML (or binary) property-list bytes whose root is a dictionary. Returns false, and
// leaves `out` empty, when the bytes are not such a list; `error` then says why.
bool fromData(const QByteArray& bytes, QVariantMap& out, QString* error = nullptr);
QByteArray toXml(const QVariantMap& dict);
// Text as XML can carry it. Control characters (but tab and line ends), unpaired surrogates
// and U+FFFE/U+FFFF have no form in XML 1.0: written as they are, they would make the whole
// file unreadable, so they are left out.
QString xmlCharacters(const QString& text);

// Reads a file; false when it is missing, unreadable, not a regular file of at most
// maxFileSize bytes, or not a dictionary. Never blocks on a FIFO or device.
bool readFile(const QString& path, QVariantMap& out, QString* error = nullptr);
// The dictionary of a file, empty when it can't be read.
QVariantMap readFile(const QString& path);
// Writes atomically: a temporary file renamed over the old one, so a reader never sees half,
// and a failed write (a full disk, a read-only folder) leaves the old file as it was.
bool writeFile(const QString& path, const QVariantMap& dict, QString* error = nullptr);

} // namespace Plist
