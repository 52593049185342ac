// The `trellium` program run as a user runs it: a child process whose home, data and config
// folders lie in a temporary folder, against the local test server.
#include "ChildRun.h"
#include "config/Preferences.h"
#include "config/SiteStore.h"
#include "platform/Plist.h"
#include "support/QtPrinting.h"
#include "support/TempHome.h"
#include "support/TestServer.h"

#include <algorithm>

#include <gtest/gtest.h>

namespace {

QVariantMap storedSite(const QString& name) {
    SiteStore store;
    store.loadAllUrls();
    const qsizetype index = store.nameCollection.indexOf(name);
    return index < 0 ? QVariantMap()
                     : Plist::readFile(SiteStore::pathForFilename(store.fileNameCollection[index]));
}

} // namespace

// Every bad input ends with exit status 2 and a message that says what was wrong, naming the
// site by its name and the path in full; nothing refused reaches the store, and output files
// are found unwritable before a single request goes out.
TEST(CommandLine, BadInputsAreRefusedWithClearMessages) {
    TempHome home;
    TestServer server;
    const QString start = server.url("/"), root = home.path();
    ASSERT_EQ(trellium({"sites", "add", "http://example.com/", "--name", "Ex"}).exitCode, 0);
    ASSERT_EQ(trellium({"sites", "add", "http://plain.example/"}).exitCode, 0);
    const QVariantMap before = storedSite("Ex");
    const QString notPlist = root + "/broken.lcsettings";
    ASSERT_TRUE(writeBytes(notPlist, "not a property list"));

    struct Case {
        QStringList args;
        int exitCode;
        QString said; // part of standard error, or of standard output on success
    };
    const Case cases[] = {
        {{"sites", "add", "notaurl"}, 2, "'notaurl' is not a URL"},
        {{"sites", "add", "http://"}, 2, "'http://' is not a URL"},
        {{"sites", "add", "ftp://example.com/"}, 2, "is not a URL"},
        {{"sites", "add", "http://other.example/", "--name", "Ex"}, 2, "a site named 'Ex' exists already"},
        {{"sites", "add", "http://plain.example/"}, 2, "a site named 'http://plain.example/' exists already"},
        {{"sites", "rename", "Ex", "http://plain.example/"}, 2, "exists already"},
        {{"sites", "set-url", "Ex", "notaurl"}, 2, "'notaurl' is not a URL"},
        {{"sites", "set", "Ex", "timeOut", "-5"}, 2, "timeOut takes a number of at least 0.001, not '-5'"},
        {{"sites", "set", "Ex", "timeOut", "soon"}, 2, "timeOut takes a number"},
        {{"sites", "set", "Ex", "checkImages", "maybe"}, 2, "checkImages takes YES or NO, not 'maybe'"},
        {{"sites", "set", "Ex", "summaryReportFormat", "2"}, 2, "takes a whole number from 0 to 1"},
        {{"sites", "set", "Ex", "scheduleCalendarIntervalWeekday", "Funday"}, 2, "a weekday"},
        {{"sites", "set", "Nope", "timeOut", "5"}, 2, "no site named 'Nope'"},
        {{"sites", "export", "Ex", "/no/ex.lcsettings"},
         2,
         "cannot write /no/ex.lcsettings: No such file or directory"},
        {{"crawl", "--timeout", "-1", start}, 2, "--timeout takes a number"},
        {{"crawl", "--site", "Nope"}, 2, "no site named 'Nope'"},
        {{"crawl", "--site", "Ex", start}, 2, "give one of"},
        {{"crawl", "--site", "Ex", "--settings", notPlist}, 2, "give one of"},
        {{"crawl", "--settings", "~/missing.lcsettings"}, 2, "cannot open " + root + "/missing.lcsettings"},
        {{"crawl", "--settings", notPlist}, 2, "cannot open " + notPlist + ": not a settings file"},
        {{"run", "~/missing.lcsettings"}, 2, "cannot open " + root + "/missing.lcsettings: no such file"},
        {{"crawl", "~/nowhere"}, 2, root + "/nowhere: No such file or directory"},
        {{"crawl", start, "--json", "~/no/x"},
         2,
         "cannot write " + root + "/no/x: No such file or directory"},
        {{"crawl", start, "--json", root}, 2, "cannot write " + root + ": it is a folder"},
        {{"crawl", start, "--report", "flat-csv=" + root}, 2, "report to " + root + ": it is a folder"},
        {{"prefs", "set", "linkslimit", "-1"}, 2, "linkslimit takes a whole number of at least 0"},
        {{"prefs", "set", "checkRobots", "maybe"}, 2, "checkRobots takes YES, NO, true or false"},
        {{"prefs", "set", "Lorrane2xxColourR", "1.5"}, 2, "from 0 to 1"},
        {{"prefs", "set", "validationtimeout", "0"}, 2, "validationtimeout takes a number of at least"},
        {{"prefs", "set", "TrelliumMaxPageSize", "50MB"}, 2, "takes a number of at least 0, not '50MB'"},
        {{"prefs", "set", "monitor", "x"}, 2, "can't be set here"},
        {{"prefs", "get", "nosuch"}, 2, "unknown preference 'nosuch'"},
        {{"prefs", "get"}, 2, "get takes 1 argument"},
        // Accepted: the answer names the site, never its file in the store.
        {{"sites", "add", "www.example.org", "--name", "Org"}, 0, "added 'Org' (www.example.org)"},
        {{"sites", "add", "~", "--name", "Home"}, 0, "added 'Home' (file://" + root + "/)"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.args.join(' ').toStdString());
        const ChildRun run = trellium(c.args);
        EXPECT_EQ(run.exitCode, c.exitCode) << run.err;
        EXPECT_TRUE((c.exitCode == 0 ? run.out : run.err).contains(c.said)) << run.out << run.err;
        EXPECT_FALSE((run.out + run.err).contains("www-example-org")) << run.out;
    }
    EXPECT_TRUE(server.requests().isEmpty());
    EXPECT_EQ(storedSite("Ex"), before);
    EXPECT_EQ(trellium({"sites", "list"}).out.count('\n'), 4);
    // The lists the program keeps itself (monitors, recent result files) are not listed.
    const QStringList keys = Preferences::knownKeys();
    EXPECT_EQ(std::count_if(
                  keys.begin(), keys.end(),
                  [](const QString& key) { return Preferences::formOfKey(key) != Preferences::Form::List; }),
              trellium({"prefs"}).out.count('\n'));
}

// What `prefs set` writes is what the program reads at its next start, in each form; `reset`
// brings back the initial value.
TEST(CommandLine, PrefsRoundTrips) {
    TempHome home;
    struct Case {
        const char* key;
        const char* typed;
        const char* shown;
        QVariant loaded; // as the program works with it after a fresh start
    };
    const Case cases[] = {
        {"checkRobots", "no", "false", false},
        {"dontHighlight", "true", "YES", "YES"},
        {"linkslimit", "500", "500", 500},
        {"levelslimit", "0", "0", 0},
        {"Lorrane4xxColourG", "0.25", "0.25", 0.25f},
        {"validationdelay", "2.5", "2.5", "2.5"},
        {"soft404Terms", "gone (or moved)\nmissing", "gone (or moved)\nmissing", "gone (or moved)\nmissing"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.key);
        EXPECT_EQ(trellium({"prefs", "set", c.key, c.typed}).exitCode, 0);
        const ChildRun got = trellium({"prefs", "get", c.key});
        EXPECT_EQ(got.exitCode, 0);
        EXPECT_EQ(got.out, QString(c.shown) + "\n");
    }
    Preferences loaded;
    loaded.load();
    for (const Case& c : cases)
        EXPECT_EQ(loaded.value(c.key), c.loaded) << c.key;
    EXPECT_EQ(loaded.value("Lorrane4xxColourR"), 1.0f); // the parts not set keep their values

    // Reset brings back the initial value of the key it names, and of no other.
    for (const char* key : {"linkslimit", "checkRobots", "Lorrane4xxColourG"})
        EXPECT_EQ(trellium({"prefs", "reset", key}).exitCode, 0);
    const QString afterReset[][2] = {{"Lorrane4xxColourG", "0.82\n"},
                                     {"linkslimit", "200000\n"},
                                     {"checkRobots", "true\n"},
                                     {"levelslimit", "0\n"}};
    for (const auto& [key, shown] : afterReset)
        EXPECT_EQ(trellium({"prefs", "get", key}).out, shown) << key;
}

// `crawl --site` runs the stored site's settings and writes its status and date back; flags
// change that run only, and `crawl --settings` takes a file's settings and leaves the site be.
TEST(CommandLine, CrawlOfAStoredSiteAndOfASettingsFile) {
    TempHome home;
    TestServer server;
    server.addPage("/site/", "<a href=a.html>a</a><a href=/status/404>x</a>");
    server.addPage("/site/a.html", "<a href=b.html>b</a>");
    server.addPage("/site/b.html", "b");
    ASSERT_EQ(trellium({"sites", "add", server.url("/site/"), "--name", "S"}).exitCode, 0);
    ASSERT_EQ(trellium({"sites", "set", "S", "followBlacklist", "a.html"}).exitCode, 0);
    const QVariantMap stored = storedSite("S");
    ASSERT_FALSE(stored.contains("dateStamp"));
    QVariantMap singlePage = stored;
    singlePage.insert("followBlacklist", "");
    singlePage.insert("followCheckbox", "YES");
    const QString file = home.path() + "/single.lcsettings";
    ASSERT_TRUE(Plist::writeFile(file, singlePage));

    struct Case {
        const char* name;
        QStringList args;
        int links;       // 4 when a.html was followed to b.html
        bool writesSite; // whether the stored site takes the run's status and date
    };
    const Case cases[] = {
        {"stored rules", {"--site", "S"}, 3, true},
        {"flags override",
         {"--site", "S", "--do-not-follow", "zzz", "--timeout", "7", "--threads", "2"},
         4,
         true},
        {"settings file", {"--settings", "~/single.lcsettings"}, 3, false},
    };
    QVariantMap site;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        server.resetRecords();
        const ChildRun run = trellium(QStringList{"crawl"} + c.args);
        const QString status = QString("%1 of %1 links checked, 1 bad").arg(c.links);
        EXPECT_EQ(run.exitCode, 1) << run.err;
        EXPECT_TRUE(run.out.endsWith(status + "\n")) << run.out;
        EXPECT_EQ(server.requestsFor("/site/b.html").isEmpty(), c.links == 3);
        const QVariantMap before = site;
        site = storedSite("S");
        EXPECT_FALSE(site.value("dateStamp").toString().isEmpty());
        if (c.writesSite)
            EXPECT_EQ(site.value("status").toString(), status);
        else
            EXPECT_EQ(site, before);
        QVariantMap settings = site; // all but the last result are as stored
        settings.remove("status");
        settings.remove("dateStamp");
        EXPECT_EQ(settings, stored);
    }
    EXPECT_EQ(Plist::readFile(file), singlePage);
}
