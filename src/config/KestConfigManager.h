#pragma once

#include "config/SiteStore.h"

#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <functional>
#include <optional>

class Preferences;
class UserInterface;

// Holds the working copy of the selected site's settings and the list of sites. The crawl
// reads the working copy live, so a change made while a crawl runs takes effect wherever
// the crawl next consults that key. No widgets here: what a form would show (the edited
// mark, enabled fields, the status line) is kept in plain fields for a window to draw.
class KestConfigManager {
  public:
    // The allowed range of `numberOfThreads`: at least one request, and no more than a
    // polite crawler should open against one server.
    static constexpr double minimumNumberOfThreads = 1;
    static constexpr double maximumNumberOfThreads = 100;

    explicit KestConfigManager(Preferences* preferences = nullptr, UserInterface* ui = nullptr);
    void setPreferences(Preferences* p) { preferences = p; }
    void setUserInterface(UserInterface* u) { ui = u; }

    // --- Settings record.
    // The defaults of a new site: the 75 keys a blank settings file carries.
    static QVariantMap compileBlankDict();
    // The working copy as a settings dictionary, built anew.
    QVariantMap compileConfigDict();
    // Overwrites the working copy from a settings dictionary; reads and writes no file.
    void implementSettingsFromDictionary(const QVariantMap& dict);
    void setDefaults();

    // Live reads and writes of the working copy, by settings key. Flags read as "YES"/"NO",
    // the three rule lists as their comma-joined text.
    QString stringForKey(const QString& key) const;
    bool flagForKey(const QString& key) const;
    double doubleForKey(const QString& key) const;
    void setValueForKey(const QString& key, const QVariant& value);
    // What a form does on each edit: set the value, then the change handler.
    void changeSetting(const QString& key, const QVariant& value);
    // The general change handler: the effect that belongs to `key`, the edited mark, and
    // the news to the workflow controller.
    void handleControl(const QString& key);

    const QStringList& getCheckBlacklistArray() const { return checkBlacklistArray; }
    const QStringList& getFollowBlacklistArray() const { return followBlacklistArray; }
    const QStringList& getFollowWhitelistArray() const { return followWhitelistArray; }
    void setCheckBlacklistArray(const QStringList& terms) { checkBlacklistArray = terms; }
    void setFollowBlacklistArray(const QStringList& terms) { followBlacklistArray = terms; }
    void setFollowWhitelistArray(const QStringList& terms) { followWhitelistArray = terms; }
    QVariantList& getSitemapRules() { return sitemapRules; }
    QString getSitemapSaveFilename() const { return stringForKey("sitemapsavefilename"); }
    QString getSitemapSaveDirectory() const { return stringForKey("sitemapsavedirectory"); }
    QString getSitemapPath() const { return sitemapPath; }
    int getSummaryReportFormat() const { return working.value("summaryReportFormat").toInt(); }

    // The boolean reading of a stored flag: "YES", "true", "1" and the like are on.
    static bool boolValue(const QVariant& value);
    // The leading integer of a text, as a number typed into a form is read: " 12abc" is 12.
    static int intValue(const QVariant& value);
    static QStringList trimEachItemInArray(const QStringList& items);

    // --- Sitemap rules (KestConfigManagerRules.cpp).
    // What a new rule holds: "edit_me", "0.5", "weekly".
    static QVariantMap newSitemapRule();
    void addSitemapRule();
    // Out of range does nothing.
    void deleteSitemapRule(int row);
    // A cell edit of the rule table: the text is stored under the column's key, unchecked.
    void setSitemapRuleValue(int row, const QString& key, const QString& text);
    // The last rule whose `contains` occurs in url, case ignored; none when no rule matches.
    std::optional<QVariantMap> ruleThatApplies(const QString& url) const;

    // --- Form state.
    bool isDocumentEdited() const { return edited; }
    void setDocumentEdited(bool on) { edited = on; }
    bool followRuleFieldsEnabled = true;
    int ruleScopeColumnWidth = 100;
    bool dayOfMonthFieldVisible = false;
    bool weekdayFieldVisible = false;
    bool timeFieldsVisible = false;
    QString statusLine;
    QString onFinishFtpServer; // the server shown beside the on-finish actions

    // --- Site store.
    SiteStore& store() { return siteStore; }
    const SiteStore& store() const { return siteStore; }
    void loadAllUrls();
    // A change of the list's selection to a display row; out of range or unchanged does nothing.
    bool selectRow(int displayRow);
    void URLSelected();
    bool selectSiteWithFilename(const QString& filename);
    bool selectUrl(const QString& nameOrUrl);
    int getSelectedRow() const { return selectedIndex; }
    QString getUrlOfSelectedSite() const;
    QString getNameOfSelectedSite() const;
    QString getNameForURL(const QString& url) const;
    QString getSelectedConfigFilename() const { return selectedConfigFilename; }
    bool isCreatingNewConfig() const { return creatingNewConfig; }

    // The new-site dialog's OK: goes on only with a URL.
    bool newSheetOK(const QString& url, const QString& name);
    void newURL(const QString& url, const QString& name);
    void saveMenuItem();
    bool deleteMenuItem();
    void filter(const QString& text);
    void sortByColumn(const QString& key, bool ascending);

    // In-place changes of the selected site's file; keys unknown to the working copy survive.
    void setNewName(const QString& name);
    void setNewUrl(const QString& url);
    void setStatus(const QString& status);
    void setDateStamp();
    void saveFtpDetails();
    QString getStatus() const { return lastStatus; }
    QString getDateStamp() const { return lastDateStamp; }

    // Asks for a .lcsettings path and writes the working copy there, unsaved edits included.
    bool exportMenuItem();
    bool exportSettingsTo(const QString& path);
    void saveBlankSettings();

    // Selects the site that a settings file opened from outside stands for; later saves go
    // to that file until another site is selected.
    bool openSettings(const QString& path);
    // The visible row of the stored site that an opened settings dictionary stands for: the same
    // URL or name, and the same schedule. -1 for none.
    int displayRowMatchingSettings(const QVariantMap& opened) const;
    bool didOpenSettings() const { return !settingsLoadedFromLocation.isEmpty(); }
    QString getSettingsLoadedFromLocation() const { return settingsLoadedFromLocation; }

    // --- Files that could not be written (or removed).
    // "could not write PATH: REASON", the form every such failure is told in.
    static QString writeFailureText(const QString& path, const QString& reason);
    // The log line, then the person is told: an alert through the user interface, and the
    // message kept for a caller that reports it itself (the command line). The flow goes on.
    void reportFileFailure(const QString& logLine, const QString& message);
    const QStringList& getFileFailures() const { return fileFailures; }

    // Thumbnails are drawn by a later part; this is where a site's picture gets refreshed.
    void setThumb() {}

    // --- Hooks for the rest of the program; each defaults to nothing.
    std::function<void()> settingsHaveChanged;               // NewUIController settingsHaveChanged:
    std::function<void()> siteHasChanged;                    // NewUIController siteHasChanged:
    std::function<void()> ruleTableChanged;                  // refresh of the sitemap rule table
    std::function<void(const QString&)> newLanguageSelected; // the spell checker's language
    std::function<void()> showFTPPanel;                      // FTP details of the sitemap upload
    std::function<QString()> crawlButtonTitle;               // "Go", "Pause" or "Continue"
    std::function<void(const QString&)> setCrawlButtonTitle;
    // Observers of "NewSiteSelected", posted after a site was loaded.
    void addNewSiteSelectedObserver(std::function<void()> observer) {
        newSiteSelectedObservers.append(observer);
    }

  private:
    QString currentCrawlButtonTitle() const { return crawlButtonTitle ? crawlButtonTitle() : QString("Go"); }
    QString selectedFilenamePreference() const;
    void setSelectedFilenamePreference(const QString& filename);
    void refreshSitemapPath();
    void refreshStatusLineFromFile();
    // Changes keys of the selected site's file in place; a failure is reported with `logLine`.
    bool changeSelectedFile(const QVariantMap& changes, const char* logLine);
    void applyFlag(const QVariantMap& dict, const QString& key);
    void applyText(const QVariantMap& dict, const QString& key, const QString& missing = QString());
    void askForFile(const QString& key);

    Preferences* preferences = nullptr;
    UserInterface* ui = nullptr;
    SiteStore siteStore;

    QVariantMap working;
    QStringList checkBlacklistArray;
    QStringList followBlacklistArray;
    QStringList followWhitelistArray;
    QVariantList sitemapRules;
    QString sitemapPath;
    bool edited = false;

    int selectedIndex = -1;
    QString selectedConfigFilename;
    bool creatingNewConfig = false;
    QString settingsLoadedFromLocation;
    QString tempDateStamp, tempStatus;
    QString lastStatus, lastDateStamp;
    QString lastSelectedFilename; // newUISelectedFilename when no preferences are attached
    QList<std::function<void()>> newSiteSelectedObservers;
    QStringList fileFailures;
};
