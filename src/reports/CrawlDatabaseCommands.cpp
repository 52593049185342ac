#include "reports/CrawlDatabaseCommands.h"

#include "analysis/SEOManager.h"
#include "config/SiteStore.h"
#include "crawl/LinkCheckerHub.h"
#include "platform/UserInterface.h"
#include "reports/CrawlDatabase.h"

#include <QtDebug>

bool CrawlDatabaseCommands::saveLinksMenuItem() {
    if (hub.count() > choiceThreshold && hub.countBadCollection() > 0) {
        const int answer = ui.alert(
            "Save links",
            QString("The results hold %1 links. Save the bad links only, or all of them?").arg(hub.count()),
            {"Bad Links", "All Links", "Cancel"});
        if (answer == 2)
            return false;
        return saveLinks(answer == 0);
    }
    return writeDatabase(true);
}

bool CrawlDatabaseCommands::saveLinks(bool badOnly) {
    qInfo() << (badOnly ? "saving bad links" : "saving all links");
    return writeDatabase(!badOnly);
}

bool CrawlDatabaseCommands::writeDatabase(bool allLinks) {
    QString path = ui.chooseSaveFile("Save", QString("links.%1").arg(CrawlDatabase::extension));
    if (path.isEmpty())
        return false;
    if (!path.endsWith(QString(".") + CrawlDatabase::extension))
        path += QString(".") + CrawlDatabase::extension;
    return writeDatabaseToLocation(path, allLinks);
}

bool CrawlDatabaseCommands::writeDatabaseToLocation(const QString& path, bool allLinks, bool quiet) {
    QString why;
    if (CrawlDatabase::writeToLocation(path, hub, seo, allLinks, seo.getValidationKickedOff(), &why)) {
        lastPath = path;
        return true;
    }
    qInfo().noquote() << QString("results not saved to %1: %2").arg(path, why);
    if (!quiet)
        ui.alert("Not saved", QString("The results could not be saved to %1: %2").arg(path, why));
    return false;
}

bool CrawlDatabaseCommands::loadLinks() {
    const QString path = ui.chooseOpenFile("Open");
    if (path.isEmpty()) {
        // Cancelling the panel leaves the results empty, as the collection is cleared first.
        hub.clear();
        qInfo() << "Not OK button";
        ui.reloadView("links");
        return false;
    }
    return loadFromPath(path);
}

bool CrawlDatabaseCommands::loadFromPath(const QString& path) {
    CrawlDatabase::Loaded loaded;
    QString why;
    if (!CrawlDatabase::readFile(path, hub, loaded, &why)) {
        qInfo().noquote() << QString("no data loaded from %1: %2").arg(path, why);
        ui.alert("No data",
                 QString("Either the file is the wrong type of file or contains no link data.\n\n%1: %2")
                     .arg(path, why));
        return false;
    }
    lastPath = path;
    CrawlDatabase::apply(std::move(loaded), hub, seo);
    if (dataDidLoad)
        dataDidLoad();
    return true;
}

QString CrawlDatabaseCommands::autosavePath() {
    return SiteStore::storePath() + "/autosave/" + CrawlDatabase::autosaveName;
}
