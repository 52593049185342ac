#include "app/AppDelegate.h"
#include "platform/SpellChecker.h"

#include "config/SiteStore.h"
#include "platform/UserInterface.h"

#include <QDir>
#include <QFileInfo>
#include <QtDebug>

AppDelegate::AppDelegate(UserInterface& ui_)
    : ui(ui_), config(&preferences, &ui_), hub(config, preferences, ui_) {
    config.crawlButtonTitle = [this] { return startControlTitle(); };
    // A site's language, by its display name, goes to the spell checker; an unknown one leaves it.
    config.newLanguageSelected = [](const QString& name) {
        if (!name.isEmpty())
            SpellChecker::sharedSpellChecker().setLanguageByName(name);
    };
    config.setCrawlButtonTitle = [this](const QString& title) {
        if (title == "Go")
            pausedCrawlLeft = true;
    };
    // No records, no write: an empty file would put nothing in place of the results kept at
    // the last quit, which the person may not have reopened yet.
    writeDatabaseToLocationAllLinks = [this](const QString& path, bool allLinks) {
        if (hub.count() > 0)
            database.writeDatabaseToLocation(path, allLinks, true);
    };
}

void AppDelegate::awakeFromNib() {
    CLI = false;
    hub.setActionWhenFinished(0);
    // The preferences come first: the site list selects the site they name.
    preferences.load();
    config.loadAllUrls();
    config.addNewSiteSelectedObserver([this] { hub.siteHasChanged(); });
}

void AppDelegate::applicationDidFinishLaunching() {
    if (chooseStartingPanel)
        chooseStartingPanel();
    qInfo("Application has finished loading");
    loaded = true;
    if (!autoStart.isEmpty())
        unattendedStart(autoStart);
}

bool AppDelegate::applicationOpenFile(const QString& path) {
    qInfo("received message to open file: %s", qPrintable(path));
    if (!loaded) {
        autoStart = path;
        return true;
    }
    qInfo("doing that thing");
    unattendedStart(path);
    return true;
}

// A file that does not match a stored site still runs: the crawl takes the selected site.
void AppDelegate::unattendedStart(const QString& path) {
    if (bringToFront)
        bringToFront();
    config.openSettings(path);
    hub.setActionWhenFinished(6);
    if (selectTabViewItemWithIdentifier)
        selectTabViewItemWithIdentifier("4");
    go();
}

void AppDelegate::openLocalFile() {
    const QString path = ui.chooseOpenFile("Select a file");
    if (!path.isEmpty())
        openPanelDidEnd(path);
}

void AppDelegate::openPanelDidEnd(const QString& path) {
    if (QFileInfo(path).suffix() == "lcsettings")
        config.openSettings(path);
    else
        urlField = path;
}

QString AppDelegate::startControlTitle() const {
    switch (hub.getCrawlState()) {
    case LinkCheckerHub::CrawlState::Running:
        return "Pause";
    case LinkCheckerHub::CrawlState::Paused:
        return pausedCrawlLeft ? "Go" : "Continue";
    default:
        return "Go";
    }
}

void AppDelegate::go() {
    const QString title = startControlTitle();
    pausedCrawlLeft = false;
    hub.go(title);
}

bool AppDelegate::applicationShouldTerminate() {
    // Every preference in one pass, the last site's delay and time-out among them. The
    // column choices of the flat report and the SEO table are preferences too and go here.
    preferences.takeFromSite(config);
    QString reason;
    if (!preferences.save(&reason))
        config.reportFileFailure("preferences not written successfully",
                                 KestConfigManager::writeFailureText(Preferences::storeFilePath(), reason));
    config.saveMenuItem();
    clearTempFolder();
    clearArchiveFolder();
    if (preferences.contains("autosave") && preferences.boolValue("autosave")) {
        const QString path = createAutosaveFolder() + "/autosavedData.plist";
        if (writeDatabaseToLocationAllLinks)
            writeDatabaseToLocationAllLinks(path, true);
    }
    return true;
}

void AppDelegate::clearTempFolder() {
    QDir(SiteStore::storePath() + "/temp").removeRecursively();
}

void AppDelegate::clearArchiveFolder() {
    QDir(SiteStore::storePath() + "/archive").removeRecursively();
}

QString AppDelegate::createAutosaveFolder() {
    SiteStore::createStoreIfMissing();
    const QString path = SiteStore::storePath() + "/autosave";
    QDir().mkdir(path);
    return path;
}
