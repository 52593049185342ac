#include "platform/LocalFile.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QString kindOfMode(mode_t mode) {
    if (S_ISFIFO(mode))
        return QStringLiteral("a FIFO");
    if (S_ISCHR(mode) || S_ISBLK(mode))
        return QStringLiteral("a device");
    if (S_ISSOCK(mode))
        return QStringLiteral("a socket");
    return QString();
}

} // namespace

namespace LocalFile {

QString specialKind(const QString& path) {
    struct stat info {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return QString();
    return kindOfMode(info.st_mode);
}

bool readRegularFile(const QString& path, qint64 maxBytes, QByteArray& out, QString& error) {
    out.clear();
    // Opened without waiting, then judged by what was opened, so nothing can be swapped in
    // between the look and the read.
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        error = QString::fromLocal8Bit(std::strerror(errno));
        return false;
    }
    struct stat info {};
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        const QString kind = S_ISDIR(info.st_mode) ? QStringLiteral("a folder") : kindOfMode(info.st_mode);
        error =
            QString("not a regular file (%1)").arg(kind.isEmpty() ? QStringLiteral("unknown kind") : kind);
        ::close(fd);
        return false;
    }
    const QString tooLarge = QString("larger than %1 bytes").arg(maxBytes);
    if (info.st_size > maxBytes) {
        error = tooLarge;
        ::close(fd);
        return false;
    }
    QFile file;
    if (!file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        error = file.errorString();
        ::close(fd);
        return false;
    }
    // Read to the size it has, and past it only when it grows meanwhile; a file that grows
    // beyond the limit is refused.
    out = file.read(qint64(info.st_size) + 1);
    if (out.size() > info.st_size)
        out += file.read(maxBytes + 1 - out.size());
    if (out.size() > maxBytes) {
        out.clear();
        error = tooLarge;
        return false;
    }
    if (file.error() != QFileDevice::NoError) {
        out.clear();
        error = file.errorString();
        return false;
    }
    return true;
}

} // namespace LocalFile
