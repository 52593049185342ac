#include "reports/PageArchive.h"

#include "config/SiteStore.h"
#include "crawl/LinkCheckerUrl.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QThreadPool>
#include <QUrl>
#include <QtDebug>
#include <atomic>

namespace PageArchive {

QString folderPath() {
    return SiteStore::storePath() + "/archive";
}

QString fileNameForUrl(const QString& actualUrl) {
    const QUrl url(actualUrl);
    const qsizetype prefix = url.scheme().size() + url.host().size() + 4;
    QString name = prefix < actualUrl.size() ? actualUrl.mid(prefix) : actualUrl.mid(7);
    return name.replace(u'/', QLatin1String("%2F"), Qt::CaseInsensitive);
}

bool archivePage(const QString& actualUrl, const QByteArray& data) {
    if (data.size() < 2)
        return false;
    if (!SiteStore::createStoreIfMissing() || !QDir().mkpath(folderPath())) {
        qInfo().noquote() << "cannot create" << folderPath();
        return false;
    }
    QSaveFile file(folderPath() + "/" + fileNameForUrl(actualUrl));
    if (file.open(QIODevice::WriteOnly) && file.write(data) == data.size() && file.commit())
        return true;
    // The page stays out of the archive; its keyword counts in the text then read 0.
    qInfo().noquote() << "cannot archive" << actualUrl << ":" << file.errorString();
    return false;
}

namespace {

QThreadPool& writer() {
    static QThreadPool* pool = [] {
        auto* p = new QThreadPool;
        // One thread: two pages of one name (the same path on two hosts) keep their order.
        p->setMaxThreadCount(1);
        p->setExpiryTimeout(-1);
        return p;
    }();
    return *pool;
}

} // namespace

void archivePageInBackground(const QString& actualUrl, const QByteArray& data) {
    if (data.size() < 2)
        return;
    // Pages wait in memory while the disk is slower than the crawl; past a bound the crawl writes
    // its page itself, after the ones already queued, and so slows to the disk's pace.
    static std::atomic<qint64> queuedBytes = 0;
    constexpr qint64 bound = 32 * 1024 * 1024;
    if (queuedBytes.load() > bound) {
        writer().waitForDone();
        archivePage(actualUrl, data);
        return;
    }
    queuedBytes += data.size();
    writer().start([actualUrl, data] {
        archivePage(actualUrl, data);
        queuedBytes -= data.size();
    });
}

void waitForArchiveWrites() {
    writer().waitForDone();
}

void clearArchiveFolder() {
    waitForArchiveWrites();
    SiteStore::createStoreIfMissing();
    QDir folder(folderPath());
    if (folder.exists() && !folder.removeRecursively())
        qInfo().noquote() << "cannot remove" << folderPath();
}

bool copyArchiveTo(const QString& destination, QString* copiedTo) {
    waitForArchiveWrites();
    const QDir source(folderPath());
    if (!QFileInfo(SiteStore::storePath()).isDir() || !source.exists())
        return true;
    const QString target =
        destination + "/Kestrelia archived pages " + QDateTime::currentDateTime().toString("yyyyMMddHHmm");
    if (copiedTo)
        *copiedTo = target;
    bool ok = QDir().mkpath(target);
    for (const QFileInfo& entry : source.entryInfoList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot))
        ok = ok && QFile::copy(entry.filePath(), target + "/" + entry.fileName());
    if (!ok)
        qInfo().noquote() << QString("Unsuccessful saving %1\n").arg(target);
    return ok;
}

std::optional<QString> archivedText(const QString& actualUrl) {
    waitForArchiveWrites();
    // The folder inside the store: where it stands, so does the store.
    const QString folder = folderPath();
    if (!QFileInfo(folder).isDir())
        return std::nullopt;
    const QString path = folder + "/" + fileNameForUrl(actualUrl);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qInfo().noquote() << QString("no archive file at %1").arg(path);
        return std::nullopt;
    }
    return QString::fromUtf8(file.readAll());
}

int countOcurrencesOfStringInArchive(const QString& actualUrl, const QString& term) {
    if (term.isEmpty())
        return 0;
    const std::optional<QString> text = archivedText(actualUrl);
    return text ? LinkCheckerUrl::countOcurrencesOfStringInString(term, *text) : 0;
}

bool archiveContainsOneOfTheseTerms(const QString& actualUrl, const QStringList& terms) {
    const std::optional<QString> text = archivedText(actualUrl);
    if (!text)
        return false;
    for (const QString& term : terms)
        if (LinkCheckerUrl::countOcurrencesOfStringInString(term, *text) > 0)
            return true;
    return false;
}

} // namespace PageArchive
