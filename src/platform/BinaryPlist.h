#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>

// The binary form of a property list ("bplist00"), read into the same Qt values as the XML
// form. Read here rather than by libplist, whose reader recurses without bound and crashes
// on a file nested some tens of thousands of levels deep.
namespace BinaryPlist {

// The root value of the list; false, with the reason in `error`, when the bytes are not a
// well-formed binary list or nest more than `maxDepth` arrays and dictionaries.
bool read(const QByteArray& bytes, int maxDepth, QVariant& root, QString& error);

} // namespace BinaryPlist
