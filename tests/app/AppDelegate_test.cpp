// Start, the open-file event and quit, with sites that are local pages: no server needed.
#include "app/AppDelegate.h"
#include "config/SiteStore.h"
#include "platform/Plist.h"
#include "support/RecordingUserInterface.h"
#include "support/TempHome.h"

#include "support/CrawlFixture.h"
#include "support/QtPrinting.h"
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <gtest/gtest.h>
#include <memory>

namespace {

const QVariantMap weeklyAtNineThirty = {{"scheduleCalendarIntervalMatrix", 1},
                                        {"scheduleCalendarIntervalWeekday", "Monday"},
                                        {"scheduleCalendarIntervalHours", "9"},
                                        {"scheduleCalendarIntervalMinutes", "30"},
                                        {"scheduleCalendarIntervalDay", ""}};

QVariantMap withSchedule(QVariantMap dict, const QVariantMap& schedule) {
    for (auto it = schedule.begin(); it != schedule.end(); ++it)
        dict.insert(it.key(), it.value());
    return dict;
}

QString storeFile(const QString& name) {
    return SiteStore::pathForFilename(name);
}

class AppDelegateTest : public testing::Test {
  protected:
    TempHome home;
    RecordingUserInterface ui;
    std::unique_ptr<AppDelegate> app;
    // What the window and the workflow controller were asked to do, in order.
    QStringList events;
    QString pageA, pageB;

    void SetUp() override {
        pageA = writePage("a.html");
        pageB = writePage("b.html");
        writeSites();
    }

    // Site a has the schedule of the scan files below; b has none.
    void writeSites() {
        QDir().mkpath(SiteStore::storePath());
        writeSite("a", withSchedule({{"url", pageA}, {"name", "A"}, {"timeOut", "5"}}, weeklyAtNineThirty));
        writeSite("b", {{"url", pageB}, {"name", "B"}, {"timeOut", "5"}});
    }

    QString writePage(const QString& name) {
        const QString path = home.path() + "/pages/" + name;
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("<html><head><title>t</title></head><body><p>no links</p></body></html>");
        return QUrl::fromLocalFile(path).toString();
    }

    static void writeSite(const QString& filename, const QVariantMap& dict) {
        ASSERT_TRUE(Plist::writeFile(storeFile(filename), dict));
    }

    // The scan settings file that a schedule opens.
    QString writeScanFile(const QVariantMap& dict) {
        const QString path = storeFile("Trellium5ScanA.lcsettings");
        EXPECT_TRUE(Plist::writeFile(path, dict));
        return path;
    }

    // A stored global preference, as a previous run of the program left it.
    static void storePreference(const QString& key, const QVariant& value) {
        Preferences().setValueAndStore(key, value);
    }

    void start() {
        app = std::make_unique<AppDelegate>(ui);
        app->chooseStartingPanel = [this] { events.append("panel"); };
        app->bringToFront = [this] { events.append("front"); };
        app->selectTabViewItemWithIdentifier = [this](const QString& id) {
            events.append(QString("tab %1 action %2").arg(id).arg(app->getHub().getActionWhenFinished()));
        };
        app->awakeFromNib();
        app->getConfigManager().addNewSiteSelectedObserver(
            [this] { events.append("selected " + app->getConfigManager().getSelectedConfigFilename()); });
    }

    bool runToEnd() {
        return spinUntil([&] { return !ui.results.isEmpty(); });
    }

    QString selectedFile() const { return app->getConfigManager().getSelectedConfigFilename(); }
};

} // namespace

// A scheduled start hands the file over while launching; a double click after it. Either way
// the same things happen, in the same order, and the matching site is crawled to its end.
TEST_F(AppDelegateTest, OpenFileBeforeAndAfterLaunchFinished) {
    for (const bool beforeLaunch : {true, false}) {
        SCOPED_TRACE(beforeLaunch ? "before launch" : "after launch");
        events.clear();
        ui.results.clear();
        writeSites();
        storePreference("newUISelectedFilename", "b");
        const QString scan = writeScanFile(withSchedule({{"url", pageA}}, weeklyAtNineThirty));
        start();
        // The site list is loaded after the preferences, so it selects the site they name.
        ASSERT_EQ(selectedFile(), "b");

        if (beforeLaunch) {
            EXPECT_TRUE(app->applicationOpenFile(scan));
            EXPECT_EQ(app->getAutoStart(), scan);
            EXPECT_FALSE(app->isLoaded());
            EXPECT_EQ(app->getHub().getCrawlState(), LinkCheckerHub::CrawlState::Idle);
            EXPECT_EQ(app->getHub().getActionWhenFinished(), 0);
            EXPECT_EQ(selectedFile(), "b");
            EXPECT_TRUE(events.isEmpty()) << events.join(", ").toStdString();
            app->applicationDidFinishLaunching();
        } else {
            app->applicationDidFinishLaunching();
            EXPECT_EQ(app->getHub().getCrawlState(), LinkCheckerHub::CrawlState::Idle);
            EXPECT_TRUE(app->applicationOpenFile(scan));
        }
        EXPECT_TRUE(app->isLoaded());
        EXPECT_EQ(events, QStringList({"panel", "front", "selected a", "tab 4 action 6"}));
        EXPECT_NE(app->getHub().getCrawlState(), LinkCheckerHub::CrawlState::Idle);
        EXPECT_TRUE(app->getConfigManager().didOpenSettings());

        ASSERT_TRUE(runToEnd());
        EXPECT_EQ(ui.results, QList<int>{6});
        EXPECT_EQ(app->getHub().getStartingUrl(), pageA);
        // The result goes to the store's site file, never to the file that was opened.
        EXPECT_EQ(Plist::readFile(storeFile("a")).value("status").toString(), "1 of 1 links checked, 0 bad");
        EXPECT_FALSE(Plist::readFile(scan).contains("status"));

        // The hub watches the selection: another site makes the finished crawl a thing of the past.
        ASSERT_TRUE(app->getHub().isCrawlFinished());
        ASSERT_TRUE(app->getConfigManager().selectSiteWithFilename("b"));
        EXPECT_FALSE(app->getHub().isCrawlFinished());
        app.reset();
    }
}

// A file that matches no stored site still runs: with the site that is selected at that moment,
// or with nothing at all when none is.
TEST_F(AppDelegateTest, SettingsFileThatMatchesNoSite) {
    struct Case {
        const char* name;
        const char* selectedAtStart; // newUISelectedFilename, "" for none
        QVariantMap opened;          // empty: the file does not exist
        QString crawled;             // starting URL of the crawl, empty when none starts
    };
    const Case cases[] = {
        {"unknown url runs the selected site", "b",
         withSchedule({{"url", "http://elsewhere/"}}, weeklyAtNineThirty), pageB},
        {"same url, other time runs the selected site", "b",
         withSchedule({{"url", pageA}},
                      withSchedule(weeklyAtNineThirty, {{"scheduleCalendarIntervalHours", "10"}})),
         pageB},
        {"missing file runs the selected site", "b", {}, pageB},
        {"no selection crawls nothing", "", withSchedule({{"url", "http://elsewhere/"}}, weeklyAtNineThirty),
         ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ui.results.clear();
        ui.alerts.clear();
        storePreference("newUISelectedFilename", c.selectedAtStart);
        const QString scan = storeFile("Trellium5ScanA.lcsettings");
        QFile::remove(scan);
        if (!c.opened.isEmpty())
            writeScanFile(c.opened);
        start();
        app->applicationDidFinishLaunching();

        EXPECT_TRUE(app->applicationOpenFile(scan));
        EXPECT_FALSE(app->getConfigManager().didOpenSettings());
        EXPECT_EQ(app->getHub().getActionWhenFinished(), 6);
        EXPECT_EQ(selectedFile(), c.selectedAtStart);
        if (c.crawled.isEmpty()) {
            spinUntil([] { return false; }, 200); // whatever the start posted runs
            EXPECT_EQ(app->getHub().getCrawlState(), LinkCheckerHub::CrawlState::Idle);
            EXPECT_TRUE(ui.results.isEmpty());
            EXPECT_TRUE(ui.alerts.isEmpty());
        } else {
            ASSERT_TRUE(runToEnd());
            EXPECT_EQ(ui.results, QList<int>{6});
            EXPECT_EQ(app->getHub().getStartingUrl(), c.crawled);
        }
        app.reset();
    }
}

// Quit writes the preferences of the working state, saves the selected site, removes the
// scratch folders, and writes the autosave only when the preference exists and is on.
TEST_F(AppDelegateTest, TerminationSavesAndClears) {
    struct Case {
        const char* name;
        QVariant autosave; // invalid: never stored
        bool autosaved;
    };
    const Case cases[] = {
        {"autosave missing", QVariant(), false},
        {"autosave off", false, false},
        {"autosave on", true, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        QFile::remove(Preferences::storeFilePath());
        QDir(SiteStore::storePath() + "/autosave").removeRecursively();
        storePreference("newUISelectedFilename", "a");
        storePreference("userAgentString", "Custom/1");
        if (c.autosave.isValid())
            storePreference("autosave", c.autosave);
        for (const char* folder : {"temp", "archive"}) {
            QDir().mkpath(SiteStore::storePath() + "/" + folder + "/sub");
            QFile file(SiteStore::storePath() + "/" + folder + "/sub/page.html");
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        }
        start();
        QStringList databaseWrites;
        app->writeDatabaseToLocationAllLinks = [&](const QString& path, bool allLinks) {
            databaseWrites.append(path + (allLinks ? " all" : " some"));
        };
        app->getPreferences().setValue("soft404Terms", "gone away");
        app->getConfigManager().changeSetting("delay", "3");

        EXPECT_TRUE(app->applicationShouldTerminate());

        Preferences stored;
        stored.load();
        EXPECT_EQ(stored.stringValue("soft404Terms"), "gone away");
        EXPECT_EQ(stored.stringValue("userAgentString"), "Custom/1"); // read at start, so kept
        EXPECT_EQ(stored.stringValue("delay"), "3");
        EXPECT_EQ(stored.stringValue("timeout"), "5");
        EXPECT_EQ(Plist::readFile(storeFile("a")).value("delay").toString(), "3");
        EXPECT_FALSE(app->getConfigManager().isDocumentEdited());
        EXPECT_FALSE(QFileInfo::exists(SiteStore::storePath() + "/temp"));
        EXPECT_FALSE(QFileInfo::exists(SiteStore::storePath() + "/archive"));
        EXPECT_TRUE(QFileInfo::exists(storeFile("a")));
        const QString autosave = SiteStore::storePath() + "/autosave";
        EXPECT_EQ(databaseWrites,
                  c.autosaved ? QStringList{autosave + "/autosavedData.plist all"} : QStringList());
        EXPECT_EQ(QFileInfo(autosave).isDir(), c.autosaved);
        app.reset();
    }
}

// The open command: only a settings file selects a site; any other file is an address that the
// next crawl overwrites.
TEST_F(AppDelegateTest, OpenLocalFile) {
    const QString scan = writeScanFile(withSchedule({{"url", pageA}}, weeklyAtNineThirty));
    const QString otherFile = QUrl(pageA).toLocalFile();
    struct Case {
        const char* name;
        QString chosen;
        QString selected;
        bool fromFile;
        QString urlField;
    };
    const Case cases[] = {
        {"cancelled", "", "b", false, ""},
        {"settings file", scan, "a", true, ""},
        {"other file", otherFile, "b", false, otherFile},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        storePreference("newUISelectedFilename", "b");
        start();
        app->applicationDidFinishLaunching();
        ui.openAnswer = c.chosen;
        app->openLocalFile();
        EXPECT_EQ(selectedFile(), c.selected);
        EXPECT_EQ(app->getConfigManager().didOpenSettings(), c.fromFile);
        EXPECT_EQ(app->getUrlField(), c.urlField);
        EXPECT_EQ(app->getHub().getCrawlState(), LinkCheckerHub::CrawlState::Idle); // opening only
        app.reset();
    }
}
