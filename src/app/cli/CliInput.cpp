#include "app/cli/CliInput.h"

#include "crawl/UrlRules.h"

#include <QDir>
#include <QFileInfo>
#include <QUrl>
#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace CliInput {

QString expandTilde(const QString& path) {
    if (path == "~" || path.startsWith("~/"))
        return QDir::homePath() + path.mid(1);
    return path;
}

QString startFromArgument(const QString& text) {
    const QString expanded = expandTilde(text);
    const bool looksLikePath =
        expanded.startsWith('/') || expanded.startsWith('.') || expanded.startsWith('~');
    if (expanded.contains("://") || !(looksLikePath || QFileInfo::exists(expanded)))
        return text;
    const QFileInfo path(expanded);
    QString url = QUrl::fromLocalFile(path.absoluteFilePath()).toString();
    if (path.isDir() && !url.endsWith('/'))
        url += '/';
    return url;
}

bool isStartUrl(const QString& start) {
    const QUrl url(UrlRules::completeStartUrl(start.trimmed()), QUrl::StrictMode);
    if (!url.isValid())
        return false;
    if (url.scheme() == "file")
        return !url.path().isEmpty();
    if (url.scheme() != "http" && url.scheme() != "https")
        return false;
    const QString host = url.host();
    if (host.isEmpty())
        return false;
    // With its scheme written out any host stands (an intranet's "http://wiki/"); a bare word
    // such as "notaurl" is taken for a host only when it looks like one. An IPv4 address has
    // dots and an IPv6 one colons.
    return start.contains("://") || host == "localhost" || host.contains('.') || host.contains(':');
}

bool isWritableFile(const QString& path, QString* why) {
    const QFileInfo file(path);
    auto refuse = [&](const QString& reason) {
        if (why)
            *why = reason;
        return false;
    };
    if (file.isDir())
        return refuse("it is a folder");
    // An existing file must take writing; a new one needs a folder that takes a new entry.
    const QString target = file.exists() ? file.absoluteFilePath() : file.absolutePath();
    if (::access(QFile::encodeName(target).constData(), file.exists() ? W_OK : W_OK | X_OK) != 0)
        return refuse(std::strerror(errno));
    if (!file.exists() && !QFileInfo(target).isDir())
        return refuse(std::strerror(ENOTDIR));
    return true;
}

std::optional<bool> readYesNo(const QString& text) {
    const QString word = text.trimmed().toLower();
    if (word == "yes" || word == "true" || word == "1")
        return true;
    if (word == "no" || word == "false" || word == "0")
        return false;
    return std::nullopt;
}

QString checkSubcommand(const QString& command, qsizetype arguments,
                        std::initializer_list<Subcommand> table) {
    for (const Subcommand& known : table) {
        if (command != QLatin1String(known.name))
            continue;
        if (arguments == known.arguments)
            return QString();
        return QString("%1 takes %2 argument(s) (see --help)").arg(command).arg(known.arguments);
    }
    return QString("unknown subcommand '%1' (see --help)").arg(command);
}

} // namespace CliInput
