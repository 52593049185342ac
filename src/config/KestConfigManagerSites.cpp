// The site-list half of KestConfigManager: selection, new sites, saving, in-place changes,
// deletion, search, export and the matching of opened settings files.
#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "platform/LocalFile.h"
#include "platform/Plist.h"
#include "platform/UserInterface.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>

QString KestConfigManager::selectedFilenamePreference() const {
    return preferences ? preferences->stringValue("newUISelectedFilename") : lastSelectedFilename;
}

void KestConfigManager::setSelectedFilenamePreference(const QString& filename) {
    lastSelectedFilename = filename;
    QString reason;
    if (preferences && !preferences->setValueAndStore("newUISelectedFilename", filename, &reason))
        reportFileFailure("newUISelectedFilename not written successfully",
                          writeFailureText(Preferences::storeFilePath(), reason));
}

QString KestConfigManager::writeFailureText(const QString& path, const QString& reason) {
    return QString("could not write %1: %2").arg(path, reason);
}

void KestConfigManager::reportFileFailure(const QString& logLine, const QString& message) {
    qInfo("%s", qPrintable(logLine));
    fileFailures.append(message);
    if (ui)
        ui->alert("Settings not saved",
                  message[0].toUpper() + message.mid(1) + ". The file was left as it was.");
}

void KestConfigManager::loadAllUrls() {
    siteStore.loadAllUrls();
    selectedIndex = -1;
    const QString last = selectedFilenamePreference();
    if (!last.isEmpty())
        selectSiteWithFilename(last);
}

bool KestConfigManager::selectRow(int displayRow) {
    const int index = siteStore.indexOfNthVisible(displayRow);
    if (index < 0 || index == selectedIndex)
        return false;
    selectedIndex = index;
    URLSelected();
    return true;
}

void KestConfigManager::URLSelected() {
    if (selectedIndex < 0)
        return;
    settingsLoadedFromLocation.clear();
    const QString filename = siteStore.fileNameCollection.value(selectedIndex);
    setSelectedFilenamePreference(filename);
    selectedConfigFilename = filename;
    // A paused crawl belongs to the site it was paused on.
    if (currentCrawlButtonTitle() == "Continue" && setCrawlButtonTitle)
        setCrawlButtonTitle("Go");
    working.insert("url", siteStore.collection.value(selectedIndex));
    // A vanished file keeps the previous working copy; only the address changes.
    const QString path = SiteStore::pathForFilename(filename);
    if (SiteStore::filenameExists(filename)) {
        implementSettingsFromDictionary(Plist::readFile(path));
        edited = false;
        creatingNewConfig = false;
    }
    setThumb();
    for (const auto& observer : newSiteSelectedObservers)
        observer();
}

bool KestConfigManager::selectSiteWithFilename(const QString& filename) {
    const int index = int(siteStore.fileNameCollection.indexOf(filename));
    if (index < 0)
        return false;
    return selectRow(siteStore.displayRowOfIndex(index)) || index == selectedIndex;
}

bool KestConfigManager::selectUrl(const QString& nameOrUrl) {
    int index = int(siteStore.nameCollection.lastIndexOf(nameOrUrl));
    if (index < 0)
        index = int(siteStore.collection.lastIndexOf(nameOrUrl));
    if (index < 0)
        return false;
    if (index != selectedIndex && siteStore.displayRowOfIndex(index) < 0) {
        // A hidden site is selected all the same; the search only hides it from view.
        selectedIndex = index;
        URLSelected();
    } else {
        selectRow(siteStore.displayRowOfIndex(index));
    }
    return true;
}

QString KestConfigManager::getUrlOfSelectedSite() const {
    // With no site selected (a crawl started from the command line) the address is the URL.
    if (selectedIndex < 0)
        return stringForKey("url");
    return siteStore.collection.value(selectedIndex);
}

QString KestConfigManager::getNameOfSelectedSite() const {
    return selectedIndex < 0 ? QString("") : siteStore.nameCollection.value(selectedIndex);
}

QString KestConfigManager::getNameForURL(const QString& url) const {
    const qsizetype index = siteStore.collection.indexOf(url);
    return index < 0 ? url : siteStore.nameCollection.value(index);
}

bool KestConfigManager::newSheetOK(const QString& url, const QString& name) {
    if (url.isEmpty())
        return false;
    newURL(url, name);
    return true;
}

void KestConfigManager::newURL(const QString& url, const QString& name) {
    if (edited && ui &&
        ui->alert("Unsaved changes", "Do you want to save changes to these settings?",
                  {"Save", "Don't save"}) == 0)
        saveMenuItem();
    settingsLoadedFromLocation.clear();
    if (currentCrawlButtonTitle() == "Pause")
        return; // no site is added during a crawl
    setDefaults();
    checkBlacklistArray.clear();
    followBlacklistArray.clear();
    followWhitelistArray.clear();

    siteStore.append(url, name, "untitled");
    creatingNewConfig = true;
    edited = true;
    siteStore.resort();
    const int index = int(siteStore.fileNameCollection.lastIndexOf("untitled"));
    selectedIndex = -1;
    if (!selectRow(siteStore.displayRowOfIndex(index))) {
        // Hidden by the search: selected all the same, since it is the site being made.
        selectedIndex = index;
        URLSelected();
    }
    tempDateStamp.clear();
    tempStatus.clear();
    if (creatingNewConfig)
        saveMenuItem();
    setSelectedFilenamePreference(selectedConfigFilename);
    setThumb();
}

void KestConfigManager::saveMenuItem() {
    if (selectedIndex < 0)
        return;
    const bool toOpenedFile = !settingsLoadedFromLocation.isEmpty();
    QString path;
    QString filename;
    if (toOpenedFile) {
        path = settingsLoadedFromLocation;
    } else {
        SiteStore::createStoreIfMissing();
        if (creatingNewConfig) {
            const QString base = SiteStore::filenameFromURL(siteStore.collection.value(selectedIndex));
            filename = base;
            for (int i = 1; SiteStore::filenameExists(filename); ++i)
                filename = QString("%1-%2").arg(base).arg(i);
        } else {
            filename = siteStore.fileNameCollection.value(selectedIndex);
        }
        selectedConfigFilename = filename;
        path = SiteStore::pathForFilename(filename);
    }
    const QVariantMap dict = compileConfigDict();
    creatingNewConfig = false;
    QString reason;
    if (!Plist::writeFile(path, dict, &reason))
        reportFileFailure(QString("config not written successfully to %1").arg(path),
                          writeFailureText(path, reason));
    if (toOpenedFile)
        return; // the edited mark stays as it stands
    siteStore.fileNameCollection[selectedIndex] = filename;
    edited = false;
}

bool KestConfigManager::changeSelectedFile(const QVariantMap& changes, const char* logLine) {
    const QString path = SiteStore::pathForFilename(selectedConfigFilename);
    QString reason;
    if (SiteStore::changeKeysInFile(path, changes, &reason))
        return true;
    reportFileFailure(logLine, writeFailureText(path, reason));
    return false;
}

void KestConfigManager::setNewName(const QString& name) {
    if (selectedIndex < 0)
        return;
    siteStore.nameCollection[selectedIndex] = name;
    if (SiteStore::filenameExists(selectedConfigFilename))
        changeSelectedFile({{"name", name}}, "new name not written successfully");
}

void KestConfigManager::setNewUrl(const QString& url) {
    if (selectedIndex < 0)
        return;
    siteStore.collection[selectedIndex] = url;
    working.insert("url", url);
    changeSelectedFile({{"url", url}}, "new url not written successfully");
}

void KestConfigManager::setStatus(const QString& status) {
    lastStatus = status;
    if (creatingNewConfig) {
        tempStatus = status;
        return;
    }
    if (selectedConfigFilename.isEmpty())
        return; // no site: a crawl started from the command line keeps its result in memory
    changeSelectedFile({{"status", status}}, "status not written successfully");
}

void KestConfigManager::setDateStamp() {
    lastDateStamp = SiteStore::dateStampText(QDateTime::currentDateTime());
    if (creatingNewConfig) {
        tempDateStamp = lastDateStamp;
    } else if (!selectedConfigFilename.isEmpty()) {
        changeSelectedFile({{"dateStamp", lastDateStamp}}, "datestamp not written successfully");
    }
    refreshStatusLineFromFile();
}

void KestConfigManager::saveFtpDetails() {
    const QString path = SiteStore::pathForFilename(selectedConfigFilename);
    qInfo("saveFtpDetails called, writing to %s", qPrintable(path));
    QVariantMap changes;
    for (const char* key : {"ftpserver", "ftpusername", "ftppassword", "ftpdirectory"})
        changes.insert(key, stringForKey(key));
    changeSelectedFile(changes, "ftp details not written successfully");
    refreshStatusLineFromFile();
}

// Right after a crawl the line has no comma after the date, unlike the list's status
// column; the two forms are both kept.
void KestConfigManager::refreshStatusLineFromFile() {
    QString dateStamp = creatingNewConfig ? tempDateStamp : lastDateStamp;
    QString status = creatingNewConfig ? tempStatus : lastStatus;
    if (!creatingNewConfig && !selectedConfigFilename.isEmpty()) {
        const QVariantMap file = Plist::readFile(SiteStore::pathForFilename(selectedConfigFilename));
        if (file.contains("dateStamp"))
            dateStamp = file.value("dateStamp").toString();
        if (file.contains("status"))
            status = file.value("status").toString();
    }
    statusLine = QString("%1 %2 %3").arg("Last checked", dateStamp, status);
}

bool KestConfigManager::deleteMenuItem() {
    if (selectedIndex < 0 || currentCrawlButtonTitle() == "Pause")
        return false;
    if (ui && ui->alert("Delete Configuration",
                        "Are you sure that you want to delete the currently selected configuration?",
                        {"Continue", "Cancel"}) != 0)
        return false;
    creatingNewConfig = false;
    const int index = selectedIndex;
    const QString filename = siteStore.fileNameCollection.value(index);
    if (filename.isEmpty()) {
        qInfo("no filename");
        loadAllUrls();
        edited = false;
        return false;
    }
    const QString path = SiteStore::pathForFilename(filename);
    if (!QFileInfo::exists(path)) {
        qInfo("Can't find file %s", qPrintable(path));
        return false;
    }
    QFile file(path);
    if (!file.remove()) {
        // The site stays in the list, as its file stays in the store.
        reportFileFailure(QString("config not deleted: %1").arg(path),
                          QString("could not delete %1: %2").arg(path, file.errorString()));
        return false;
    }
    if (stringForKey("url") == siteStore.collection.value(index))
        setDefaults();
    siteStore.removeAt(index);
    edited = false;
    selectedIndex = -1;
    selectedConfigFilename.clear();
    // The array index is used as a display row, as the list always did.
    selectRow(index > 0 ? index - 1 : 0);
    return true;
}

void KestConfigManager::filter(const QString& text) {
    siteStore.filter(text);
    const QString last = selectedFilenamePreference();
    if (!last.isEmpty())
        selectSiteWithFilename(last);
    if (siteHasChanged)
        siteHasChanged();
}

void KestConfigManager::sortByColumn(const QString& key, bool ascending) {
    siteStore.setSortKey(key, ascending);
}

bool KestConfigManager::exportMenuItem() {
    if (!ui)
        return false;
    const QString suggested = SiteStore::filenameFromURL(getNameOfSelectedSite()) + ".lcsettings";
    QString path = ui->chooseSaveFile("Export settings", suggested);
    if (path.isEmpty())
        return false;
    if (QFileInfo(path).suffix() != "lcsettings")
        path += ".lcsettings";
    return exportSettingsTo(path);
}

bool KestConfigManager::exportSettingsTo(const QString& path) {
    QString reason;
    if (Plist::writeFile(path, compileConfigDict(), &reason))
        return true;
    reportFileFailure(QString("Unsuccessful exporting settings to %1\n").arg(path),
                      writeFailureText(path, reason));
    return false;
}

void KestConfigManager::saveBlankSettings() {
    SiteStore::createStoreIfMissing();
    const QString path = SiteStore::pathForFilename("lastused");
    QString reason;
    if (!Plist::writeFile(path, compileBlankDict(), &reason))
        reportFileFailure("lastused config not written successfully", writeFailureText(path, reason));
}

bool KestConfigManager::openSettings(const QString& path) {
    filter(QString());
    if (!QFileInfo::exists(path))
        return false;
    // Opening a FIFO would wait for a writer for ever; a device is no settings file either.
    const QString kind = LocalFile::specialKind(path);
    if (!kind.isEmpty()) {
        qInfo("not opening %s: it is %s", qPrintable(path), qPrintable(kind));
        if (ui)
            ui->alert("Cannot open settings", QString("%1 is %2, not a settings file.").arg(path, kind));
        return false;
    }
    const int row = displayRowMatchingSettings(Plist::readFile(path));
    if (row < 0)
        return false;
    selectRow(row);
    settingsLoadedFromLocation = path;
    return true;
}

int KestConfigManager::displayRowMatchingSettings(const QVariantMap& opened) const {
    auto sameText = [&](const QVariantMap& site, const char* key) {
        return site.value(key).toString() == opened.value(key).toString();
    };
    for (int row = 0; row < siteStore.numberOfVisibleRows(); ++row) {
        const int index = siteStore.indexOfNthVisible(row);
        const QString filename = siteStore.fileNameCollection.value(index);
        if (!SiteStore::filenameExists(filename))
            continue;
        const QVariantMap site = Plist::readFile(SiteStore::pathForFilename(filename));
        const bool sameSchedule = sameText(site, "scheduleCalendarIntervalDay") &&
                                  sameText(site, "scheduleCalendarIntervalHours") &&
                                  sameText(site, "scheduleCalendarIntervalMinutes") &&
                                  sameText(site, "scheduleCalendarIntervalWeekday") &&
                                  intValue(site.value("scheduleCalendarIntervalMatrix")) ==
                                      intValue(opened.value("scheduleCalendarIntervalMatrix"));
        const bool sameSite = (site.contains("url") && opened.contains("url") && sameText(site, "url")) ||
                              (site.contains("name") && opened.contains("name") && sameText(site, "name"));
        if (sameSchedule && sameSite)
            return row;
    }
    return -1;
}
