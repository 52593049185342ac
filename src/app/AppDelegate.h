#pragma once

#include "analysis/SEOManager.h"
#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"
#include "reports/CrawlDatabaseCommands.h"

#include <QString>
#include <functional>

class UserInterface;

// Process start and end, and the settings file that the platform hands over. The desktop
// window and `trellium run` drive it alike: awakeFromNib, applicationOpenFile whenever a file
// arrives (before or after launching has finished), applicationDidFinishLaunching, and
// applicationShouldTerminate on the way out. It owns the long-lived objects of the process.
class AppDelegate {
  public:
    explicit AppDelegate(UserInterface& ui);
    AppDelegate(const AppDelegate&) = delete;
    AppDelegate& operator=(const AppDelegate&) = delete;

    // First half of the start: the defaults are registered and the global preferences read,
    // then the site list is loaded, which selects the last selected site from them.
    void awakeFromNib();
    // Second half: launching is over; a file handed over meanwhile starts its crawl now.
    void applicationDidFinishLaunching();
    void applicationDidBecomeActive() {}
    // Always true, at once: nothing is asked, and a running crawl is simply abandoned.
    bool applicationShouldTerminate();
    void applicationWillTerminate() {}
    static bool applicationDelegateHandlesKey(const QString& key) { return key == "Kestrelia"; }
    // The path of a settings file. Always starts a crawl, now or when launching has finished;
    // the answer is always true.
    bool applicationOpenFile(const QString& path);

    // The open command: a settings file selects its site; any other path only goes into the
    // address field, which the next crawl overwrites from the selected site.
    void openLocalFile();
    void openPanelDidEnd(const QString& path);

    // What the start control reads: "Go", "Pause" or "Continue".
    QString startControlTitle() const;
    // Presses the start control: a new crawl, a pause or a continue, by its title.
    void go();

    bool isLoaded() const { return loaded; }
    QString getAutoStart() const { return autoStart; }
    bool isCLI() const { return CLI; }
    QString getUrlField() const { return urlField; }

    LinkCheckerHub& getHub() { return hub; }
    SEOManager& getSEOManager() { return seoManager; }
    KestConfigManager& getConfigManager() { return config; }
    CrawlDatabaseCommands& getDatabaseCommands() { return database; }
    Preferences& getPreferences() { return preferences; }

    // Hooks for the window and the workflow controller; each defaults to nothing.
    std::function<void()> chooseStartingPanel;
    std::function<void()> bringToFront;
    std::function<void(const QString&)> selectTabViewItemWithIdentifier;
    // The crawl database's writer (path, all links), used by the autosave at quit; it writes
    // the results quietly, as no one is there to read a message.
    std::function<void(const QString&, bool)> writeDatabaseToLocationAllLinks;

  private:
    void unattendedStart(const QString& path);
    // The store's scratch folders, which live for one run of the program.
    static void clearTempFolder();
    static void clearArchiveFolder();
    static QString createAutosaveFolder();

    UserInterface& ui;
    Preferences preferences;
    KestConfigManager config;
    LinkCheckerHub hub;
    SEOManager seoManager{config, preferences, hub};
    CrawlDatabaseCommands database{hub, seoManager, ui};

    bool loaded = false;
    QString autoStart;
    bool CLI = false;
    // A paused crawl can't be continued once another site was selected: the control reads "Go".
    bool pausedCrawlLeft = false;
    QString urlField;
};
