#pragma once

#include <QString>
#include <functional>

class LinkCheckerHub;
class SEOManager;
class UserInterface;

// The person's Save and Open of results, with their panels and alerts, over CrawlDatabase.
class CrawlDatabaseCommands {
  public:
    CrawlDatabaseCommands(LinkCheckerHub& hub, SEOManager& seo, UserInterface& ui)
        : hub(hub), seo(seo), ui(ui) {}

    // Above this many records, with at least one bad, the person may save the bad links alone.
    static constexpr int choiceThreshold = 50000;

    // Save: all links at once, or after the choice between bad and all links for a big crawl.
    // Answers whether a file was written.
    bool saveLinksMenuItem();
    // The choice dialog's answer: bad links only when badOnly.
    bool saveLinks(bool badOnly);
    // Asks where (a .plist), then writes there.
    bool writeDatabase(bool allLinks);
    // Writes to path. A failure is logged and told, except at quit (quiet), when no one is
    // there to read it.
    bool writeDatabaseToLocation(const QString& path, bool allLinks, bool quiet = false);

    // Open: the collection is emptied, then a file asked for and read; a load stands as a
    // finished crawl. A file that can't be loaded leaves the records as they were.
    bool loadLinks();
    // Loads path without asking; false after the "No data" alert.
    bool loadFromPath(const QString& path);

    // Told after a load, to show the loaded results (the workflow's dataDidLoad).
    std::function<void()> dataDidLoad;

    // The file last written or loaded by a command, for a list of recent files.
    const QString& getLastPath() const { return lastPath; }

    // Where the results are written at quit (when the preference `autosave` is on).
    static QString autosavePath();

  private:
    LinkCheckerHub& hub;
    SEOManager& seo;
    UserInterface& ui;
    QString lastPath;
};
