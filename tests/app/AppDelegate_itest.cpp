// Unattended runs of stored sites against the local test server.
#include "app/AppDelegate.h"
#include "app/TerminalUserInterface.h"
#include "app/UnattendedRun.h"
#include "config/SiteStore.h"
#include "platform/Plist.h"
#include "support/RecordingUserInterface.h"
#include "support/TempHome.h"
#include "support/TestServer.h"

#include "support/QtPrinting.h"
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

namespace {

const QVariantMap monthlyOnTheThird = {{"scheduleCalendarIntervalMatrix", 2},
                                       {"scheduleCalendarIntervalDay", "3"},
                                       {"scheduleCalendarIntervalHours", "4"},
                                       {"scheduleCalendarIntervalMinutes", "0"},
                                       {"scheduleCalendarIntervalWeekday", "Monday"}};

QVariantMap scheduled(QVariantMap dict) {
    for (auto it = monthlyOnTheThird.begin(); it != monthlyOnTheThird.end(); ++it)
        dict.insert(it.key(), it.value());
    return dict;
}

QString storeFile(const QString& name) {
    return SiteStore::pathForFilename(name);
}

void writeSite(const QString& filename, const QVariantMap& dict) {
    QDir().mkpath(SiteStore::storePath());
    ASSERT_TRUE(Plist::writeFile(storeFile(filename), dict));
}

} // namespace

// `trellium run FILE`: the matching site is crawled to its end against the server, its file
// gets the result, and the exit status tells whether bad links were found or nothing ran.
TEST(UnattendedRun, RunsTheSiteThatTheFileStandsFor) {
    TestServer server;
    server.addPage("/good/", "<html><body><a href=\"/good/a.html\">a</a></body></html>");
    server.addPage("/good/a.html", "<html><body>a</body></html>");
    server.addPage("/bad/",
                   "<html><body><a href=\"/bad/a.html\">a</a> <a href=\"/status/404\">x</a></body></html>");
    server.addPage("/bad/a.html", "<html><body>a</body></html>");
    const QString good = server.url("/good/"), bad = server.url("/bad/");

    const QString nowhere = "file:///nowhere/at/all.html";
    const QVariantMap elsewhere = {{"url", "http://elsewhere/"}};
    struct Case {
        const char* name;
        QString site;           // url of the stored site "s"
        const char* selected;   // newUISelectedFilename at start
        QVariantMap opened;     // written with the schedule; empty: the file is not written
        QByteArray openedBytes; // written as they stand when not empty
        int exitStatus;
        int links, bad;        // of the status line; no links: nothing ran
        QString message;       // part of the error or warning
        QStringList requested; // paths the server must have seen
    };
    const Case cases[] = {
        {"no bad links", good, "", {{"url", good}}, {}, 0, 2, 0, "", {"/good/", "/good/a.html"}},
        {"bad links", bad, "", {{"url", bad}}, {}, 1, 3, 1, "", {"/bad/", "/bad/a.html", "/status/404"}},
        {"matched by name", good, "", {{"url", "http://moved/"}, {"name", "S"}}, {}, 0, 2, 0, "", {"/good/"}},
        {"no match: selected site", good, "s", elsewhere, {}, 0, 2, 0, "matches no stored site", {"/good/"}},
        {"no match, none selected", good, "", elsewhere, {}, 2, 0, 0, "no site is selected", {}},
        {"missing file", good, "s", {}, {}, 2, 0, 0, "no such file", {}},
        {"not a settings file", good, "s", {}, "not a property list", 2, 0, 0, "not a settings file", {}},
        {"the start can't be read", nowhere, "", {{"url", nowhere}}, {}, 2, 0, 0, "could not start", {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        TempHome home;
        server.resetRecords();
        writeSite("s", scheduled({{"url", c.site}, {"name", "S"}, {"timeOut", "5"}}));
        writeSite("other", scheduled({{"url", server.url("/other/")}, {"name", "Other"}}));
        Preferences().setValueAndStore("newUISelectedFilename", c.selected);
        const QString scan = storeFile("Trellium5ScanS.lcsettings");
        if (!c.opened.isEmpty()) {
            ASSERT_TRUE(Plist::writeFile(scan, scheduled(c.opened)));
        }
        if (!c.openedBytes.isEmpty()) {
            QFile file(scan);
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(c.openedBytes);
        }

        const QString statusLine =
            c.links ? QString("%1 of %1 links checked, %2 bad").arg(c.links).arg(c.bad) : QString();
        TerminalUserInterface ui;
        UnattendedRun run(ui);
        EXPECT_EQ(run.run(scan), c.exitStatus);
        EXPECT_EQ(run.getStatusLine(), statusLine);
        const QString said = run.getErrorMessage() + run.getWarning();
        EXPECT_TRUE(c.message.isEmpty() ? said.isEmpty() : said.contains(c.message)) << said.toStdString();
        for (const QString& path : c.requested)
            EXPECT_FALSE(server.requestsFor(path).isEmpty()) << path.toStdString();
        EXPECT_TRUE(server.requestsFor("/other/").isEmpty());
        if (c.links) {
            const QVariantMap site = Plist::readFile(storeFile("s"));
            EXPECT_EQ(site.value("status").toString(), statusLine);
            EXPECT_FALSE(site.value("dateStamp").toString().isEmpty());
        }
    }
}

// A file opened while a crawl runs presses the start control as it reads at that moment: a
// running crawl is paused, a paused one continued, and after another site was selected a
// paused crawl can't be continued, so a new one starts. Quitting then abandons the crawl.
// The steps run back to back with no pass of the event loop, and the page is slow besides, so
// the crawl stays in the state each step left it in.
TEST(AppDelegate, OpenDuringACrawlFollowsTheStartControl) {
    TempHome home;
    TestServer server;
    const QString slow = server.url("/slow?ms=1000");
    writeSite("a", scheduled({{"url", slow}, {"name", "A"}}));
    writeSite("b", {{"url", server.url("/b/")}, {"name", "B"}});
    const QString scan = storeFile("Trellium5ScanA.lcsettings");
    ASSERT_TRUE(Plist::writeFile(scan, scheduled({{"url", slow}})));
    QDir().mkpath(SiteStore::storePath() + "/temp");

    RecordingUserInterface ui;
    AppDelegate app(ui);
    app.awakeFromNib();
    app.applicationDidFinishLaunching();
    LinkCheckerHub& hub = app.getHub();
    using State = LinkCheckerHub::CrawlState;

    struct Step {
        const char* name;
        const char* selectFirst; // a site selected by hand before the file arrives, or ""
        const char* titleBefore;
        State after;
        bool sameCrawl; // the records of the crawl before are still there
    };
    const Step steps[] = {
        {"idle: a new crawl", "", "Go", State::Running, false},
        {"running: paused", "", "Pause", State::Paused, true},
        {"paused: continued", "", "Continue", State::Running, true},
        {"running again: paused", "", "Pause", State::Paused, true},
        {"paused, another site selected: a new crawl", "b", "Go", State::Running, false},
    };
    LinkCheckerUrlPtr first;
    for (const Step& s : steps) {
        SCOPED_TRACE(s.name);
        if (*s.selectFirst) {
            ASSERT_TRUE(app.getConfigManager().selectSiteWithFilename(s.selectFirst));
        }
        EXPECT_EQ(app.startControlTitle(), s.titleBefore);
        EXPECT_TRUE(app.applicationOpenFile(scan));
        EXPECT_EQ(hub.getCrawlState(), s.after);
        EXPECT_EQ(hub.getStartingUrl(), slow);
        EXPECT_EQ(hub.getnthofAllItems(0) == first, s.sameCrawl);
        first = hub.getnthofAllItems(0);
    }
    EXPECT_EQ(ui.paused, 2);
    EXPECT_EQ(ui.continued, 1);

    app.getConfigManager().changeSetting("timeOut", "7");
    EXPECT_TRUE(app.applicationShouldTerminate());
    EXPECT_EQ(hub.getCrawlState(), State::Running); // abandoned, not stopped
    // Opened from a file, the site's settings are saved to that file.
    EXPECT_EQ(Plist::readFile(scan).value("timeOut").toString(), "7");
    EXPECT_FALSE(QFileInfo::exists(SiteStore::storePath() + "/temp"));
    EXPECT_TRUE(ui.results.isEmpty());
}
