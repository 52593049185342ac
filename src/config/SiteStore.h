#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

// The folder of saved sites and the list made from it: four parallel arrays in the order of
// the folder listing, plus `sortArray`, the indexes of those arrays in display order. Knows
// nothing of the working copy or the selection; KestConfigManager drives it.
class SiteStore {
  public:
    // ~/.local/share/Trellium5 (the platform's data folder + "/Trellium5").
    static QString storePath();
    // Creates the store folder when missing; logs "creating directory".
    static bool createStoreIfMissing();
    static QString pathForFilename(const QString& filename);
    // Entries of the store that are not sites: dot files, the reserved folders and files,
    // and anything with ".lcsettings" in its name.
    static bool isReservedEntry(const QString& name);

    // Slash, blank, colon, full stop, at sign, question mark and hash become hyphens.
    static QString filenameFromURL(const QString& text);
    static bool filenameExists(const QString& filename);

    // Reading single site files; a missing or unreadable file gives the fall-backs below.
    static QString getUrlForFilename(const QString& filename);  // the file name when no url
    static QString getNameForFilename(const QString& filename); // null when the file has no name
    static QString getStatuslForFilename(const QString& filename);
    static QDateTime getLastCheckedDateForFilename(const QString& filename);
    static QString getScheduleForFilename(const QString& filename);
    static QString getThumbForFilename(const QString& filename);

    // Reads the file at `path`, sets `changes` over its keys and writes all of it back, so
    // keys the working copy does not know survive. False when it can't read or write, with
    // the reason in `error`; the file is then left as it was.
    static bool changeKeysInFile(const QString& path, const QVariantMap& changes, QString* error = nullptr);

    // The dateStamp text: medium date and short time of the current locale, and its reading.
    static QString dateStampText(const QDateTime& when);
    static QDateTime parseDateStamp(const QString& text);

    // --- The list.
    void loadAllUrls();
    qsizetype count() const { return collection.size(); }
    void append(const QString& url, const QString& name, const QString& filename);
    void removeAt(qsizetype index);

    void filter(const QString& text);
    // Array index of the n-th visible entry of sortArray, counting from 0; -1 if fewer.
    int indexOfNthVisible(int n) const;
    int numberOfVisibleRows() const;
    // Display row of an array index, or -1 when hidden or absent.
    int displayRowOfIndex(int index) const;

    // Sorting by "name", "url" or "dateStamp"; an empty key gives the identity order.
    void setSortKey(const QString& key, bool ascending);
    void resort();
    void initialiseSortArray();
    static int positionOfStringInArray(const QString& text, const QStringList& array);

    QStringList collection;         // URLs
    QStringList nameCollection;     // display names
    QStringList fileNameCollection; // file names, the identity of a site
    QList<bool> visibilityArray;
    QList<int> sortArray;

  private:
    void sortStrings(const QStringList& strings);
    void sortDates();

    QString sortKey;
    bool sortAscending = true;
};
