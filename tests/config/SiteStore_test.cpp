#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "platform/Plist.h"
#include "support/QtPrinting.h"
#include "support/RecordingUserInterface.h"
#include "support/TempHome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

QString store() {
    return SiteStore::storePath();
}

void writeSite(const QString& filename, const QVariantMap& dict) {
    QDir().mkpath(store());
    ASSERT_TRUE(Plist::writeFile(store() + "/" + filename, dict));
}

QVariantMap readSite(const QString& filename) {
    return Plist::readFile(store() + "/" + filename);
}

// Names in display order.
QStringList displayedNames(const SiteStore& list) {
    QStringList out;
    for (int row = 0; row < list.numberOfVisibleRows(); ++row)
        out.append(list.nameCollection.value(list.indexOfNthVisible(row)));
    return out;
}

class SiteStoreTest : public testing::Test {
  protected:
    TempHome home;
    Preferences preferences;
    RecordingUserInterface ui;
    KestConfigManager config{&preferences, &ui};
};

} // namespace

TEST(SiteStore, FilenameFromUrlReplacesOneForOne) {
    const QPair<const char*, const char*> cases[] = {
        {"http://www.example.com/", "http---www-example-com-"},
        {"https://a.b/c?d=e#f", "https---a-b-c-d=e-f"},
        {"user@host name", "user-host-name"},
        {"My Site", "My-Site"},
        {"", ""},
        {"ünï/cødé", "ünï-cødé"},
    };
    for (const auto& [in, out] : cases)
        EXPECT_EQ(SiteStore::filenameFromURL(in), out) << in;
}

TEST(SiteStore, ReservedEntriesOfTheStore) {
    const QPair<const char*, bool> cases[] = {
        {"temp", true},         {"autosave", true},       {"lastused", true},
        {"archive", true},      {"thumbs", true},         {".DS_Store", true},
        {"a.lcsettings", true}, {"x.lcsettingsy", true},  {"Trellium5ScanA.lcsettings", true},
        {"temp2", false},       {"http---a-com-", false}, {"Temp", false},
    };
    for (const auto& [name, reserved] : cases)
        EXPECT_EQ(SiteStore::isReservedEntry(name), reserved) << name;
}

// A FIFO would block the scan and /dev/zero fill memory: such entries, and links to them, are
// no sites. A regular file too large to read, like any other stray entry, still shows.
TEST_F(SiteStoreTest, LoadListsEveryOtherEntryAsASite) {
    writeSite("site-a", {{"url", "http://a/"}, {"name", "Alpha"}});
    writeSite("site-b", {{"url", "http://b/"}});
    config.saveBlankSettings(); // written as "lastused"
    EXPECT_EQ(readSite("lastused").size(), 75);
    writeSite("copy.lcsettings.bak", {{"url", "http://skip/"}});
    writeSite(".hidden", {{"url", "http://hidden/"}});
    QDir().mkpath(store() + "/thumbs");
    QDir().mkpath(store() + "/stray-folder");
    QFile stray(store() + "/notes.txt");
    ASSERT_TRUE(stray.open(QIODevice::WriteOnly));
    stray.write("not a plist");
    stray.close();
    ASSERT_EQ(mkfifo(QFile::encodeName(store() + "/fifo").constData(), 0600), 0);
    ASSERT_TRUE(QFile::link("/dev/zero", store() + "/zero"));
    const int sock = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray socketPath = QFile::encodeName(store() + "/socket");
    ASSERT_LT(size_t(socketPath.size()), sizeof address.sun_path);
    std::memcpy(address.sun_path, socketPath.constData(), size_t(socketPath.size()));
    ASSERT_EQ(bind(sock, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    QFile big(store() + "/big");
    ASSERT_TRUE(big.open(QIODevice::WriteOnly) && big.resize(Plist::maxFileSize + 1));
    big.close();

    config.loadAllUrls();
    close(sock);
    const SiteStore& list = config.store();
    EXPECT_EQ(list.fileNameCollection, QStringList({"big", "notes.txt", "site-a", "site-b", "stray-folder"}));
    EXPECT_EQ(list.nameCollection, QStringList({"big", "notes.txt", "Alpha", "http://b/", "stray-folder"}));
    EXPECT_EQ(list.collection, QStringList({"big", "notes.txt", "http://a/", "http://b/", "stray-folder"}));
    EXPECT_EQ(list.sortArray, QList<int>({0, 1, 2, 3, 4}));
    EXPECT_EQ(config.getSelectedRow(), -1);
}

TEST_F(SiteStoreTest, LoadCreatesTheStoreAndSelectsTheLastSite) {
    config.loadAllUrls();
    EXPECT_TRUE(QFileInfo(store()).isDir());
    writeSite("one", {{"url", "http://one/"}, {"timeOut", "44"}});
    writeSite("two", {{"url", "http://two/"}});
    preferences.setValue("newUISelectedFilename", "one");
    config.loadAllUrls();
    EXPECT_EQ(config.getUrlOfSelectedSite(), "http://one/");
    EXPECT_EQ(config.stringForKey("timeOut"), "44");
    EXPECT_FALSE(config.isDocumentEdited());
}

TEST_F(SiteStoreTest, NewSitesGetNumberedFileNames) {
    config.loadAllUrls();
    config.newURL("http://same.com/", "First");
    config.newURL("http://same.com/", "Second");
    config.newURL("http://same.com/", "Third");
    EXPECT_EQ(config.store().fileNameCollection,
              QStringList({"http---same-com-", "http---same-com--1", "http---same-com--2"}));
    EXPECT_EQ(readSite("http---same-com--2").value("name").toString(), "Third");
    EXPECT_EQ(config.getSelectedConfigFilename(), "http---same-com--2");
    EXPECT_EQ(preferences.stringValue("newUISelectedFilename"), "http---same-com--2");
    EXPECT_FALSE(config.isCreatingNewConfig());
    EXPECT_FALSE(config.isDocumentEdited());
    // A result that arrives while the site is still being made waits for its file.
    config.setValueForKey("url", "http://same.com/");
    EXPECT_TRUE(readSite("http---same-com--2").value("status").isNull());
    config.setStatus("1 of 1");
    EXPECT_EQ(readSite("http---same-com--2").value("status").toString(), "1 of 1");
    // The file name is the site's identity: a new URL does not rename it.
    config.setNewUrl("http://other.com/");
    config.saveMenuItem();
    EXPECT_TRUE(QFileInfo::exists(store() + "/http---same-com--2"));
    EXPECT_EQ(readSite("http---same-com--2").value("url").toString(), "http://other.com/");
}

TEST_F(SiteStoreTest, ANewSiteOnlyAfterSavingOrDiscardingEdits) {
    config.loadAllUrls();
    config.newURL("http://a.com/", "A");
    config.changeSetting("timeOut", "99");
    ui.alertAnswer = 1; // "Don't save"
    config.newURL("http://b.com/", "B");
    ASSERT_EQ(ui.alerts.size(), 1);
    EXPECT_EQ(ui.alerts[0].first, "Unsaved changes");
    EXPECT_EQ(readSite("http---a-com-").value("timeOut").toString(), "30");
    EXPECT_EQ(config.stringForKey("timeOut"), "30"); // the new site starts from the defaults

    config.changeSetting("timeOut", "77");
    ui.alertAnswer = 0; // "Save"
    config.newURL("http://c.com/", "C");
    EXPECT_EQ(readSite("http---b-com-").value("timeOut").toString(), "77");
}

TEST_F(SiteStoreTest, NoSiteIsAddedDuringACrawl) {
    config.loadAllUrls();
    config.crawlButtonTitle = [] { return QString("Pause"); };
    config.newURL("http://a.com/", "A");
    EXPECT_EQ(config.store().count(), 0);
    EXPECT_FALSE(config.deleteMenuItem());
}

TEST_F(SiteStoreTest, InPlaceChangesKeepKeysTheWorkingCopyDoesNotKnow) {
    writeSite("site", {{"url", "http://a/"}, {"name", "A"}, {"futureKey", "kept"}, {"ftpserver", "old"}});
    config.loadAllUrls();
    ASSERT_TRUE(config.selectRow(0));
    config.setNewName("Renamed");
    config.setStatus("5 of 5 links checked, 0 bad");
    config.setDateStamp();
    config.setValueForKey("ftpserver", "ftp.example.com");
    config.saveFtpDetails();
    const QVariantMap file = readSite("site");
    EXPECT_EQ(file.value("futureKey").toString(), "kept");
    EXPECT_EQ(file.value("name").toString(), "Renamed");
    EXPECT_EQ(file.value("status").toString(), "5 of 5 links checked, 0 bad");
    EXPECT_FALSE(file.value("dateStamp").toString().isEmpty());
    EXPECT_EQ(file.value("ftpserver").toString(), "ftp.example.com");
    EXPECT_EQ(config.store().nameCollection[0], "Renamed");
    // Right after a crawl the status line has no comma after the date.
    EXPECT_EQ(config.statusLine,
              "Last checked " + file.value("dateStamp").toString() + " 5 of 5 links checked, 0 bad");
    EXPECT_EQ(SiteStore::getStatuslForFilename("site"),
              "Last checked " + file.value("dateStamp").toString() + ", 5 of 5 links checked, 0 bad");

    // A whole save builds the dictionary anew, but keeps the file's date and status.
    config.saveMenuItem();
    const QVariantMap saved = readSite("site");
    EXPECT_FALSE(saved.contains("futureKey"));
    EXPECT_EQ(saved.value("status"), file.value("status"));
    EXPECT_EQ(saved.value("dateStamp"), file.value("dateStamp"));
}

TEST_F(SiteStoreTest, SelectingLoadsTheSiteAndTellsObservers) {
    writeSite("a", {{"url", "http://a/"}, {"timeOut", "11"}, {"checkBlacklist", "x,y"}});
    writeSite("b", {{"url", "http://b/"}, {"timeOut", "22"}});
    config.loadAllUrls();
    int selected = 0;
    config.addNewSiteSelectedObserver([&] { ++selected; });
    QString title = "Continue";
    config.crawlButtonTitle = [&] { return title; };
    config.setCrawlButtonTitle = [&](const QString& t) { title = t; };

    ASSERT_TRUE(config.selectRow(0));
    EXPECT_EQ(config.stringForKey("timeOut"), "11");
    EXPECT_EQ(config.getCheckBlacklistArray(), QStringList({"x", "y"}));
    EXPECT_EQ(title, "Go");
    EXPECT_FALSE(config.selectRow(0)); // no change of selection
    ASSERT_TRUE(config.selectRow(1));
    EXPECT_EQ(config.stringForKey("timeOut"), "22");
    EXPECT_TRUE(config.getCheckBlacklistArray().isEmpty());
    EXPECT_EQ(selected, 2);
    EXPECT_FALSE(config.selectRow(2));

    // A site whose file vanished keeps the previous working copy, with its own address.
    QFile::remove(store() + "/a");
    ASSERT_TRUE(config.selectRow(0));
    EXPECT_EQ(config.stringForKey("timeOut"), "22");
    EXPECT_EQ(config.stringForKey("url"), "http://a/");
}

TEST_F(SiteStoreTest, SortQuirks) {
    writeSite("1", {{"url", "http://b/"}, {"name", "beta"}});
    writeSite("2", {{"url", "http://a/"}, {"name", "Alpha"}});
    writeSite("3", {{"url", "http://c/"}, {"name", "beta"}});
    writeSite("4", {{"url", "http://d/"}, {"name", "Gamma"}});
    config.loadAllUrls();
    SiteStore& list = config.store();

    struct Case {
        const char* key;
        bool ascending;
        QList<int> order;
    };
    const Case cases[] = {
        // Ascending runs Z to A; equal names all map to the first of them.
        {"name", true, {3, 0, 0, 1}}, {"name", false, {1, 0, 0, 3}}, {"url", true, {3, 2, 0, 1}},
        {"url", false, {1, 0, 2, 3}}, {"", true, {0, 1, 2, 3}},
    };
    for (const Case& c : cases) {
        config.sortByColumn(c.key, c.ascending);
        EXPECT_EQ(list.sortArray, c.order) << c.key << c.ascending;
    }
    config.sortByColumn("name", false);
    EXPECT_EQ(displayedNames(list), QStringList({"Alpha", "beta", "beta", "Gamma"}));
    EXPECT_EQ(list.indexOfNthVisible(4), -1);
}

TEST_F(SiteStoreTest, SortByDateUsesTheColumnDirection) {
    writeSite("old", {{"url", "http://old/"},
                      {"dateStamp", SiteStore::dateStampText(QDateTime(QDate(2020, 5, 1), QTime(9, 0)))}});
    writeSite("never", {{"url", "http://never/"}});
    writeSite("new", {{"url", "http://new/"},
                      {"dateStamp", SiteStore::dateStampText(QDateTime(QDate(2024, 5, 1), QTime(9, 0)))}});
    config.loadAllUrls();
    EXPECT_EQ(SiteStore::getLastCheckedDateForFilename("never"), QDateTime(QDate(1977, 1, 1), QTime(0, 0)));
    EXPECT_EQ(SiteStore::getLastCheckedDateForFilename("old").date(), QDate(2020, 5, 1));
    config.sortByColumn("dateStamp", true);
    EXPECT_EQ(displayedNames(config.store()), QStringList({"http://never/", "http://old/", "http://new/"}));
    config.sortByColumn("dateStamp", false);
    EXPECT_EQ(displayedNames(config.store()), QStringList({"http://new/", "http://old/", "http://never/"}));
}

TEST_F(SiteStoreTest, FilterHidesRowsButSelectionStaysAnArrayIndex) {
    writeSite("a", {{"url", "http://apple.com/"}, {"name", "Fruit"}});
    writeSite("b", {{"url", "http://bank.com/"}, {"name", "Money"}});
    writeSite("c", {{"url", "http://cherry.com/"}, {"name", "Tree"}});
    config.loadAllUrls();
    ASSERT_TRUE(config.selectRow(2));
    int changed = 0;
    config.siteHasChanged = [&] { ++changed; };

    config.filter("MONEY");
    EXPECT_EQ(displayedNames(config.store()), QStringList({"Money"}));
    EXPECT_EQ(config.getSelectedRow(), 2);
    EXPECT_EQ(config.store().displayRowOfIndex(2), -1);
    config.filter("rr");
    EXPECT_EQ(displayedNames(config.store()), QStringList({"Tree"}));
    EXPECT_EQ(config.store().indexOfNthVisible(0), 2);
    config.filter("");
    EXPECT_EQ(config.store().numberOfVisibleRows(), 3);
    EXPECT_EQ(changed, 3);
}

// A site whose file vanished keeps its row; otherwise the row above is selected, and at the end none.
TEST_F(SiteStoreTest, DeleteSelectsTheRowAboveAndEndsWithNone) {
    writeSite("a", {{"url", "http://a/"}});
    writeSite("b", {{"url", "http://b/"}});
    writeSite("c", {{"url", "http://c/"}});
    config.loadAllUrls();
    ASSERT_TRUE(config.selectRow(2));
    QFile::remove(store() + "/c");
    EXPECT_FALSE(config.deleteMenuItem());
    EXPECT_EQ(config.store().count(), 3);
    writeSite("c", {{"url", "http://c/"}});
    ui.alertAnswer = 1; // "Cancel"
    EXPECT_FALSE(config.deleteMenuItem());
    EXPECT_EQ(ui.alerts.last().first, "Delete Configuration");
    ui.alertAnswer = 0;
    ASSERT_TRUE(config.deleteMenuItem());
    EXPECT_FALSE(QFileInfo::exists(store() + "/c"));
    EXPECT_EQ(config.getSelectedRow(), 1);
    EXPECT_EQ(config.getUrlOfSelectedSite(), "http://b/");
    ASSERT_TRUE(config.deleteMenuItem());
    ASSERT_TRUE(config.deleteMenuItem());
    EXPECT_EQ(config.store().count(), 0);
    EXPECT_EQ(config.getSelectedRow(), -1);
    EXPECT_FALSE(config.isDocumentEdited());
    EXPECT_FALSE(config.deleteMenuItem());
}

TEST_F(SiteStoreTest, ExportWritesTheWorkingCopyAsItStands) {
    writeSite("a", {{"url", "http://a/"}, {"name", "A"}});
    config.loadAllUrls();
    ASSERT_TRUE(config.selectRow(0));
    config.changeSetting("authenticationpassword", "secret");
    ui.saveAnswer = home.path() + "/out";
    ASSERT_TRUE(config.exportMenuItem());
    const QVariantMap exported = Plist::readFile(home.path() + "/out.lcsettings");
    EXPECT_EQ(exported.value("authenticationpassword").toString(), "secret");
    EXPECT_EQ(exported.value("name").toString(), "A");
    EXPECT_TRUE(config.isDocumentEdited());
    EXPECT_EQ(config.getSelectedRow(), 0);
    EXPECT_FALSE(readSite("a").contains("authenticationpassword"));
}

TEST_F(SiteStoreTest, OpenSettingsMatchesScheduleAndIdentity) {
    const QVariantMap weekly = {{"scheduleCalendarIntervalMatrix", 1},
                                {"scheduleCalendarIntervalWeekday", "Friday"},
                                {"scheduleCalendarIntervalHours", "9"},
                                {"scheduleCalendarIntervalMinutes", "30"},
                                {"scheduleCalendarIntervalDay", ""}};
    auto with = [&](QVariantMap base, const QVariantMap& more) {
        for (auto it = more.begin(); it != more.end(); ++it)
            base.insert(it.key(), it.value());
        return base;
    };
    writeSite("a", with(weekly, {{"url", "http://a/"}, {"name", "A"}, {"timeOut", "11"}}));
    writeSite("b", with(weekly, {{"url", "http://b/"}, {"name", "B"}, {"timeOut", "22"}}));
    writeSite("c", with(weekly, {{"url", "http://b/"}, {"name", "C"}, {"timeOut", "33"}}));
    config.loadAllUrls();
    const QString scan = store() + "/Trellium5ScanB.lcsettings";

    struct Case {
        QVariantMap opened;
        int selected; // array index, -1 for no match
    };
    const Case cases[] = {
        {with(weekly, {{"url", "http://b/"}, {"timeOut", "99"}}), 1}, // first of two equal URLs
        {with(weekly, {{"url", "http://moved/"}, {"name", "C"}}), 2}, // name when the URL differs
        {with(weekly, {{"url", "http://a/"}, {"scheduleCalendarIntervalHours", "10"}}), -1},
        {with(weekly, {{"url", "http://a/"}, {"scheduleCalendarIntervalMatrix", 2}}), -1},
        {with(weekly, {{"url", "http://nowhere/"}}), -1},
    };
    for (const Case& c : cases) {
        KestConfigManager fresh(&preferences, &ui);
        fresh.loadAllUrls();
        fresh.filter("zzz");
        ASSERT_TRUE(Plist::writeFile(scan, c.opened));
        EXPECT_EQ(fresh.openSettings(scan), c.selected >= 0);
        EXPECT_EQ(fresh.store().numberOfVisibleRows(), 3); // the search is cleared
        if (c.selected >= 0) {
            EXPECT_EQ(fresh.getSelectedRow(), c.selected);
            // The store's file is loaded, not the opened one, and saves go to the opened file.
            EXPECT_EQ(fresh.stringForKey("timeOut"),
                      readSite(fresh.getSelectedConfigFilename()).value("timeOut"));
            EXPECT_TRUE(fresh.didOpenSettings());
            fresh.changeSetting("delay", "4");
            fresh.saveMenuItem();
            EXPECT_EQ(Plist::readFile(scan).value("delay").toString(), "4");
            EXPECT_TRUE(fresh.isDocumentEdited());
        } else {
            EXPECT_FALSE(fresh.didOpenSettings());
        }
    }
    EXPECT_FALSE(config.openSettings("file://" + scan)); // a URL text is no path
    // A FIFO is refused at once, with an alert.
    const QString fifo = home.path() + "/scan.lcsettings";
    ASSERT_EQ(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    const qsizetype alerts = ui.alerts.size();
    EXPECT_FALSE(config.openSettings(fifo));
    ASSERT_EQ(ui.alerts.size(), alerts + 1);
    EXPECT_EQ(ui.alerts.last().first, "Cannot open settings");
    EXPECT_TRUE(ui.alerts.last().second.contains("a FIFO"));
}

TEST_F(SiteStoreTest, SelectUrlPrefersNamesAndTheLastMatch) {
    writeSite("1", {{"url", "http://x/"}, {"name", "http://y/"}});
    writeSite("2", {{"url", "http://y/"}, {"name", "Y"}});
    writeSite("3", {{"url", "http://x/"}, {"name", "X"}});
    config.loadAllUrls();
    EXPECT_TRUE(config.selectUrl("http://y/"));
    EXPECT_EQ(config.getSelectedRow(), 0);
    EXPECT_TRUE(config.selectUrl("http://x/"));
    EXPECT_EQ(config.getSelectedRow(), 2);
    EXPECT_FALSE(config.selectUrl("nothing"));
    EXPECT_EQ(config.getNameForURL("http://x/"), "http://y/");
    EXPECT_EQ(config.getNameForURL("http://z/"), "http://z/");
}

TEST_F(SiteStoreTest, ScheduleColumnAndFileFallbacks) {
    writeSite("w", {{"scheduleCalendarIntervalMatrix", 1}, {"scheduleCalendarIntervalWeekday", "Tuesday"}});
    writeSite("m", {{"scheduleCalendarIntervalMatrix", 2}, {"scheduleCalendarIntervalDay", "3"}});
    writeSite("n", {{"url", "http://n/"}, {"dateStamp", "today"}});
    EXPECT_EQ(SiteStore::getScheduleForFilename("w"), "Tuesday");
    EXPECT_EQ(SiteStore::getScheduleForFilename("m"), "monthly, day 3");
    EXPECT_EQ(SiteStore::getScheduleForFilename("missing"), "");
    EXPECT_EQ(SiteStore::getUrlForFilename("missing"), "missing");
    EXPECT_EQ(SiteStore::getUrlForFilename("w"), "w");
    EXPECT_EQ(SiteStore::getNameForFilename("missing"), "missing");
    EXPECT_TRUE(SiteStore::getNameForFilename("n").isNull());
    EXPECT_EQ(SiteStore::getStatuslForFilename("n"), ""); // a date without a status
}

// Every write of the selected site's file that fails is told with the file's path, and the
// flow goes on with the list as it was. The site's file is a folder here, which no write or
// delete can replace, even as root.
TEST_F(SiteStoreTest, FailedWritesAreToldWithThePath) {
    QDir().mkpath(store() + "/a");
    writeSite("a/inside", {{"url", "x"}});
    const QString path = store() + "/a";
    struct Case {
        const char* name;
        std::function<void(KestConfigManager&)> act;
    };
    const Case cases[] = {
        {"save", [](KestConfigManager& c) { c.saveMenuItem(); }},
        {"rename", [](KestConfigManager& c) { c.setNewName("B"); }},
        {"new url", [](KestConfigManager& c) { c.setNewUrl("http://b/"); }},
        {"status", [](KestConfigManager& c) { c.setStatus("1 of 1 links checked, 0 bad"); }},
        {"date stamp", [](KestConfigManager& c) { c.setDateStamp(); }},
        {"delete", [](KestConfigManager& c) { EXPECT_FALSE(c.deleteMenuItem()); }},
        {"export", [&](KestConfigManager& c) { EXPECT_FALSE(c.exportSettingsTo(path)); }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        KestConfigManager manager(&preferences, &ui);
        manager.loadAllUrls();
        ASSERT_TRUE(manager.selectRow(0) || manager.getSelectedRow() == 0);
        ui.alerts.clear();
        c.act(manager);
        ASSERT_EQ(manager.getFileFailures().size(), 1);
        EXPECT_TRUE(manager.getFileFailures()[0].contains(path));
        ASSERT_FALSE(ui.alerts.isEmpty()); // after the question of a delete, if any
        EXPECT_EQ(ui.alerts.last().first, "Settings not saved");
        EXPECT_TRUE(ui.alerts.last().second.contains(path)) << ui.alerts.last().second.toStdString();
        EXPECT_EQ(manager.store().count(), 1);
        EXPECT_TRUE(QFileInfo(path + "/inside").isFile());
    }
}
