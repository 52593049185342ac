#include "crawl/StartProbes.h"

#include "config/KestConfigManager.h"

#include <QtDebug>

namespace {

// The last component of a path, a final slash not counting; "/" for the root.
QString lastPathComponent(const QString& path) {
    QString p = path;
    while (p.size() > 1 && p.endsWith('/'))
        p.chop(1);
    if (p == "/")
        return p;
    return p.mid(p.lastIndexOf('/') + 1);
}

QString deletingLastPathComponent(const QString& path) {
    QString p = path;
    while (p.size() > 1 && p.endsWith('/'))
        p.chop(1);
    const qsizetype slash = p.lastIndexOf('/');
    if (slash < 0)
        return QString("");
    if (slash == 0)
        return p.size() > 1 ? QString("/") : p;
    return p.left(slash);
}

} // namespace

namespace StartProbes {

QString directoryLimitTerm(const QString& url, const QString& host, int port, bool wordpressUrls) {
    qsizetype start = 7;
    if (!host.isEmpty()) {
        // The URL class gives the host in lower case; the text may have it otherwise.
        const qsizetype at = url.indexOf(host, 0, Qt::CaseInsensitive);
        start = at < 0 ? 7 : at + host.size();
        if (port >= 0)
            start += QString::number(port).size() + 1;
    }
    if (url.size() - start <= 1)
        return QString();
    QString path = url.mid(start);
    QString lastPart = lastPathComponent(path);
    if (lastPart.contains('.') && lastPart.size() == path.size() - 1)
        return QString();
    if (lastPart.contains('.'))
        path = path.left(path.lastIndexOf(lastPart));
    if (wordpressUrls) {
        lastPart = lastPathComponent(path);
        const qsizetype at = path.indexOf(lastPart);
        path = at <= 1 ? QString("") : deletingLastPathComponent(path);
    }
    if (!path.isEmpty() && path.endsWith('/'))
        path.chop(1);
    qInfo().noquote() << QString("limiting crawl to directory: %1").arg(path);
    return path;
}

QStringList parseRobotsTxt(const QString& text) {
    QStringList lines = text.split("\n");
    if (lines.size() < 2)
        lines = text.split("\r");
    bool rulesApply = false, googleTaken = false, starTaken = false;
    QStringList terms;
    for (const QString& line : lines) {
        const QStringList pieces = line.split(':');
        if (pieces.size() < 2)
            continue;
        const QString& field = pieces[0];
        const QString& value = pieces[1];
        if (field.contains("User-agent", Qt::CaseInsensitive)) {
            const bool google = value.contains("Google", Qt::CaseInsensitive) &&
                                !value.contains("Googlebot-Image", Qt::CaseInsensitive);
            if (google) {
                qInfo() << "we are Google";
                rulesApply = !starTaken;
                googleTaken = googleTaken || !starTaken;
            } else if (value.contains('*')) {
                qInfo() << "we are star";
                rulesApply = !googleTaken;
                starTaken = starTaken || !googleTaken;
            } else {
                rulesApply = false;
            }
        } else if (field.contains("Disallow", Qt::CaseInsensitive) && rulesApply) {
            terms.append(value);
        }
    }
    return KestConfigManager::trimEachItemInArray(terms);
}

QString robotsTxtAddress(const QString& domain) {
    return QString("http://%1/robots.txt").arg(domain);
}

} // namespace StartProbes
