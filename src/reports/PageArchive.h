#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <optional>

// The folder "archive" in the store: the bytes of the crawl's own HTML pages, one flat file a
// page, named from the page's actual URL. Written while the crawl runs, read back by the keyword
// search, copied out at the end when the user keeps the pages.
namespace PageArchive {

QString folderPath();
// The URL behind the scheme, host and the slash after them, every "/" as "%2F". A bare home URL
// keeps its host, cut at a fixed seven characters; with a port, part of it stays in the name.
QString fileNameForUrl(const QString& actualUrl);
// Stores a page's bytes as received; fewer than two bytes are not worth a file. False (and a log
// line) when the file could not be written.
bool archivePage(const QString& actualUrl, const QByteArray& data);
// The same on a writing thread of its own, in the order given, so that the crawl's event loop
// does not wait for the disk; the readers below and the folder's removal and copy wait for the
// writes handed over before them.
void archivePageInBackground(const QString& actualUrl, const QByteArray& data);
void waitForArchiveWrites();
// Removes the folder with everything in it, creating the store first if missing.
void clearArchiveFolder();
// Copies the folder to "Kestrelia archived pages yyyyMMddHHmm" inside destination. Nothing to copy
// is not a failure; the new folder's path is given back in copiedTo.
bool copyArchiveTo(const QString& destination, QString* copiedTo = nullptr);

// The page's archived text, or nothing: store or folder missing, or no file for it (logged).
std::optional<QString> archivedText(const QString& actualUrl);
int countOcurrencesOfStringInArchive(const QString& actualUrl, const QString& term);
bool archiveContainsOneOfTheseTerms(const QString& actualUrl, const QStringList& terms);

} // namespace PageArchive
