#include "config/SiteStore.h"

#include "platform/LocalFile.h"
#include "platform/Plist.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QStandardPaths>
#include <algorithm>

namespace {

// The day and month written out in short, as a date of medium length.
QString mediumDateTimeFormat(const QLocale& locale) {
    return "MMM d, yyyy " + locale.timeFormat(QLocale::ShortFormat);
}

} // namespace

QString SiteStore::storePath() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/Trellium5";
}

bool SiteStore::createStoreIfMissing() {
    const QString path = storePath();
    if (QFileInfo(path).isDir())
        return true;
    qInfo("creating directory");
    // On a fresh Linux account even the data folder above the store may be missing.
    return QDir().mkpath(path);
}

QString SiteStore::pathForFilename(const QString& filename) {
    return storePath() + "/" + filename;
}

bool SiteStore::isReservedEntry(const QString& name) {
    static const QStringList reserved = {"temp", "autosave", "lastused", "archive", "thumbs"};
    return name.startsWith('.') || reserved.contains(name) || name.contains(".lcsettings");
}

QString SiteStore::filenameFromURL(const QString& text) {
    QString out = text;
    for (QChar c : {'/', ' ', ':', '.', '@', '?', '#'})
        out.replace(c, '-');
    return out;
}

bool SiteStore::filenameExists(const QString& filename) {
    return !filename.isEmpty() && !filename.startsWith('.') && QFileInfo::exists(pathForFilename(filename));
}

QString SiteStore::getUrlForFilename(const QString& filename) {
    const QString url = Plist::readFile(pathForFilename(filename)).value("url").toString();
    return url.isEmpty() ? filename : url;
}

QString SiteStore::getNameForFilename(const QString& filename) {
    const QString path = pathForFilename(filename);
    if (!QFileInfo::exists(path))
        return filename;
    const QVariantMap dict = Plist::readFile(path);
    return dict.contains("name") ? dict.value("name").toString() : QString();
}

QString SiteStore::getStatuslForFilename(const QString& filename) {
    const QVariantMap dict = Plist::readFile(pathForFilename(filename));
    if (!dict.contains("dateStamp") || !dict.contains("status"))
        return QString();
    return QString("%1 %2, %3")
        .arg("Last checked", dict.value("dateStamp").toString(), dict.value("status").toString());
}

QDateTime SiteStore::getLastCheckedDateForFilename(const QString& filename) {
    const QVariantMap dict = Plist::readFile(pathForFilename(filename));
    const QDateTime parsed = parseDateStamp(dict.value("dateStamp").toString());
    return parsed.isValid() ? parsed : QDateTime(QDate(1977, 1, 1), QTime(0, 0));
}

QString SiteStore::getScheduleForFilename(const QString& filename) {
    const QVariantMap dict = Plist::readFile(pathForFilename(filename));
    switch (dict.value("scheduleCalendarIntervalMatrix").toInt()) {
    case 1:
        return dict.value("scheduleCalendarIntervalWeekday").toString();
    case 2:
        return QString("monthly, day %1").arg(dict.value("scheduleCalendarIntervalDay").toString());
    default:
        return QString();
    }
}

QString SiteStore::getThumbForFilename(const QString& filename) {
    const QString thumb = storePath() + "/thumbs/" + filename + ".tiff";
    return QFileInfo::exists(thumb) ? thumb : QString(":/defaultWebIcon.png");
}

bool SiteStore::changeKeysInFile(const QString& path, const QVariantMap& changes, QString* error) {
    QVariantMap dict;
    QString reason;
    if (!Plist::readFile(path, dict, &reason)) {
        if (error)
            *error = "it could not be read: " + reason;
        return false;
    }
    for (auto it = changes.begin(); it != changes.end(); ++it)
        dict.insert(it.key(), it.value());
    return Plist::writeFile(path, dict, error);
}

QString SiteStore::dateStampText(const QDateTime& when) {
    const QLocale locale;
    return locale.toString(when, mediumDateTimeFormat(locale));
}

QDateTime SiteStore::parseDateStamp(const QString& text) {
    if (text.isEmpty())
        return QDateTime();
    // Our own form first, then the forms a file from elsewhere may carry.
    for (const QLocale& locale : {QLocale(), QLocale::c()}) {
        for (const QString& format :
             {mediumDateTimeFormat(locale), locale.dateTimeFormat(QLocale::ShortFormat),
              locale.dateTimeFormat(QLocale::LongFormat)}) {
            QDateTime when = locale.toDateTime(text.simplified(), format);
            if (when.isValid()) {
                // Two-digit years read as the 1900s; a crawl date lies in this century.
                if (when.date().year() < 1970)
                    when = when.addYears(100);
                return when;
            }
        }
    }
    for (Qt::DateFormat format : {Qt::ISODate, Qt::RFC2822Date, Qt::TextDate}) {
        const QDateTime when = QDateTime::fromString(text, format);
        if (when.isValid())
            return when;
    }
    return QDateTime();
}

void SiteStore::loadAllUrls() {
    collection.clear();
    nameCollection.clear();
    fileNameCollection.clear();
    visibilityArray.clear();
    createStoreIfMissing();
    const QStringList entries =
        QDir(storePath())
            .entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System, QDir::Name);
    for (const QString& entry : entries) {
        if (isReservedEntry(entry))
            continue;
        // A FIFO would block the reader and a device fill memory: such entries are no sites.
        const QString path = pathForFilename(entry);
        const QString kind = LocalFile::specialKind(path);
        if (!kind.isEmpty()) {
            qInfo("skipping %s in the store: it is %s", qPrintable(entry), qPrintable(kind));
            continue;
        }
        const QFileInfo info(path);
        if (info.isFile() && info.size() > Plist::maxFileSize)
            qInfo("not reading %s in the store: larger than %lld bytes", qPrintable(entry),
                  static_cast<long long>(Plist::maxFileSize));
        // Anything else counts as a site, settings or not: its url falls back to its name.
        const QString url = getUrlForFilename(entry);
        const QString name = getNameForFilename(entry);
        append(url, name.isEmpty() ? url : name, entry);
    }
    initialiseSortArray();
}

void SiteStore::append(const QString& url, const QString& name, const QString& filename) {
    collection.append(url);
    nameCollection.append(name);
    fileNameCollection.append(filename);
    visibilityArray.append(true);
    sortArray.append(int(collection.size() - 1));
}

void SiteStore::removeAt(qsizetype index) {
    if (index < 0 || index >= count())
        return;
    collection.removeAt(index);
    nameCollection.removeAt(index);
    fileNameCollection.removeAt(index);
    visibilityArray.removeAt(index);
    resort();
}

void SiteStore::filter(const QString& text) {
    for (qsizetype i = 0; i < count(); ++i) {
        visibilityArray[i] = text.isEmpty() || collection[i].contains(text, Qt::CaseInsensitive) ||
                             nameCollection[i].contains(text, Qt::CaseInsensitive);
    }
}

int SiteStore::indexOfNthVisible(int n) const {
    if (n < 0)
        return -1;
    int seen = 0;
    for (int index : sortArray) {
        if (index < 0 || index >= count() || !visibilityArray[index])
            continue;
        if (seen == n)
            return index;
        ++seen;
    }
    return -1;
}

int SiteStore::numberOfVisibleRows() const {
    return int(std::count(visibilityArray.begin(), visibilityArray.end(), true));
}

int SiteStore::displayRowOfIndex(int index) const {
    for (int row = 0; row < numberOfVisibleRows(); ++row) {
        if (indexOfNthVisible(row) == index)
            return row;
    }
    return -1;
}

void SiteStore::setSortKey(const QString& key, bool ascending) {
    sortKey = key;
    sortAscending = ascending;
    resort();
}

void SiteStore::resort() {
    if (sortKey == "name")
        sortStrings(nameCollection);
    else if (sortKey == "url")
        sortStrings(collection);
    else if (sortKey == "dateStamp")
        sortDates();
    else
        initialiseSortArray();
}

void SiteStore::initialiseSortArray() {
    sortArray.clear();
    for (int i = 0; i < count(); ++i)
        sortArray.append(i);
}

int SiteStore::positionOfStringInArray(const QString& text, const QStringList& array) {
    return int(array.indexOf(text));
}

// Ascending walks the sorted copy from its end, so it reads Z to A; and every entry maps to
// the first equal string, so equal names list one site several times. Both are the list's
// long-standing behaviour and are kept.
void SiteStore::sortStrings(const QStringList& strings) {
    QStringList sorted = strings;
    std::stable_sort(sorted.begin(), sorted.end(), [](const QString& a, const QString& b) {
        return a.compare(b, Qt::CaseInsensitive) < 0;
    });
    if (sortAscending)
        std::reverse(sorted.begin(), sorted.end());
    sortArray.clear();
    for (const QString& s : sorted)
        sortArray.append(positionOfStringInArray(s, strings));
}

void SiteStore::sortDates() {
    QList<QDateTime> dates;
    for (const QString& filename : fileNameCollection)
        dates.append(getLastCheckedDateForFilename(filename));
    QList<QDateTime> sorted = dates;
    std::stable_sort(sorted.begin(), sorted.end());
    if (!sortAscending)
        std::reverse(sorted.begin(), sorted.end());
    sortArray.clear();
    for (const QDateTime& when : sorted)
        sortArray.append(int(dates.indexOf(when)));
}
