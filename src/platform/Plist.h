#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>

// Property lists in their XML form, the format of site settings, the crawl database and
// the schedule files. Values map to Qt types one for one: string - QString, integer -
// qint64, real - double, true/false - bool, date - QDateTime, data - QByteArray, array -
// QVariantList, dictionary - QVariantMap.
namespace Plist {

// Parses XML (or binary) property-list bytes whose root is a dictionary. Returns false, and
// leaves `out` empty, when the bytes are not such a list.
bool fromData(const QByteArray& bytes, QVariantMap& out);
QByteArray toXml(const QVariantMap& dict);

// Reads a file; false when it is missing, unreadable or not a dictionary.
bool readFile(const QString& path, QVariantMap& out);
// The dictionary of a file, empty when it can't be read.
QVariantMap readFile(const QString& path);
// Writes atomically: a temporary file renamed over the old one, so a reader never sees half.
bool writeFile(const QString& path, const QVariantMap& dict);

} // namespace Plist
