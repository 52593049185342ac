#pragma once

#include <QByteArray>
#include <QString>

// Reading small files that a person or another program put in our way (site files, opened
// settings files) without trusting what they are: a FIFO would block the reader forever, a
// device such as /dev/zero would fill memory.
namespace LocalFile {

// What the path is once links are followed, when that is something no file reader should
// open: "a FIFO", "a device" or "a socket". Empty for regular files, folders and missing paths.
QString specialKind(const QString& path);

// Reads a whole regular file of at most maxBytes. False, with the reason in `error`, for
// anything else; never waits on a FIFO or device.
bool readRegularFile(const QString& path, qint64 maxBytes, QByteArray& out, QString& error);

} // namespace LocalFile
