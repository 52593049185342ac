// Whole-site crawls of small fixture sites served by the local test server.
#include "support/CrawlFixture.h"
#include "support/QtPrinting.h"
#include "support/TestServer.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

QByteArray page(const QString& title, const QString& body) {
    return QString("<html><head><title>%1</title></head><body>%2</body></html>").arg(title, body).toUtf8();
}

QStringList urlsOf(const Crawl& crawl) {
    QStringList urls;
    for (qsizetype i = 0; i < crawl.hub.count(); ++i)
        urls.append(crawl.hub.getnthofAllItems(i)->getLinkUrl());
    return urls;
}

} // namespace

TEST(LinkIntake, RecordsFoldDuplicatesAndKeepFirstDistance) {
    TestServer server;
    server.addPage("/",
                   page("Home",
                        "<a href=\"/a.html\">A one</a> <a href=\"a.html\">A two</a>"
                        "<a href=\"/b.html\">B</a> <a href=\"/x.html#!/one\">app</a>"
                        "<a href=\"page.html?call=tel:123\">phone</a> <a href=\"mailto:me@x.org\">mail</a>"));
    server.addPage("/a.html", page("A", "<a href=\"/c.html\">C from A</a> <a href=\"/\">home</a>"));
    server.addPage("/b.html",
                   page("B", "<a href=\"/a.html\">A from B</a> <a href=\"/x.html#!/one\">app again</a>"));
    server.addPage("/c.html",
                   page("C", "<a href=\"/b.html\">B from C</a> <a href=\"/missing.html\">gone</a>"));
    server.addPage("/x.html", page("X", ""));
    Crawl crawl(server.url("/"));
    ASSERT_TRUE(crawl.goToEnd());

    const auto a = crawl.find(server.url("/a.html"));
    ASSERT_TRUE(a);
    EXPECT_EQ(a->getOnPageLinkTextArray(), QStringList({"A one", "A two", "A from B"}));
    EXPECT_EQ(a->getOnPageNameArray(), QStringList({"Home", "Home", "B"}));
    EXPECT_EQ(a->getOnPageUrlArray().size(), 3);
    EXPECT_EQ(a->getDistanceFromHome(), 1);
    EXPECT_EQ(crawl.hub.numberOfLinksOnThisPage(server.url("/")), 4);
    EXPECT_EQ(crawl.find(server.url("/c.html"))->getDistanceFromHome(), 2);
    EXPECT_EQ(crawl.find(server.url("/missing.html"))->getStatus(), "404 not found");
    EXPECT_EQ(crawl.find(server.url("/c.html"))->getLinkPageTitle(), "C");

    // A hash-bang link is never taken for a known one: each occurrence is a record.
    EXPECT_EQ(urlsOf(crawl).count(server.url("/x.html#!/one")), 2);
    // Telephone and mail links make no record, even in a query.
    for (const QString& url : urlsOf(crawl)) {
        EXPECT_FALSE(url.contains("tel:")) << url.toStdString();
        EXPECT_FALSE(url.contains("mailto:")) << url.toStdString();
    }
    // The start page is requested for the encoding probe and once by the crawl; no page twice more.
    EXPECT_EQ(server.requestsFor("/a.html").size(), 1);
    EXPECT_EQ(crawl.hub.getBadCollectionCount(), 1);
}

// The settings that decide which pages have their links followed, on one site. Every page named
// present has a record and was checked; the pages themselves are checked whatever the gate.
TEST(LinkIntake, GatesOnFollowingLinks) {
    TestServer server;
    server.addPage("/", page("Home", "<a href=\"/broken\">broken</a> <a href=\"/deep1\">deep</a>"
                                     "<a href=\"/nf\" rel=\"nofollow\">nf</a> <a href=\"/one\">1</a>"));
    server.addPage("/broken", page("Gone", "<a href=\"/from-error\">x</a>"), "text/html", 404);
    server.addPage("/deep1", page("D1", "<a href=\"/deep2\">d2</a>"));
    server.addPage("/deep2", page("D2", "<a href=\"/deep3\">d3</a>"));
    server.addPage("/nf", page("NF", "<a href=\"/from-nf\">x</a>"));
    // Two pages of one title in a row: only the first is followed when titles must be unique.
    server.addPage("/one", page("Same", "<a href=\"/two\">2</a>"));
    server.addPage("/two", page("Same", "<a href=\"/three\">3</a>"));
    for (const char* path : {"/deep3", "/from-error", "/from-nf", "/three"})
        server.addPage(path, page("leaf", ""));

    struct Case {
        const char* name;
        const char* key; // a site setting switched on; empty for none
        int levels;
        QStringList present, absent;
    };
    const Case cases[] = {
        {"defaults", "", 100, {"/deep3", "/from-nf", "/three"}, {"/from-error"}},
        {"links of error pages", "checkErrorPages", 100, {"/from-error", "/deep3"}, {}},
        {"levels limit 0", "", 0, {"/broken", "/deep1", "/nf"}, {"/deep2", "/from-error", "/from-nf"}},
        {"levels limit 1", "", 1, {"/deep2", "/two"}, {"/deep3", "/three"}},
        {"nofollow links not followed", "nofollowCheckbox", 100, {"/nf", "/deep3"}, {"/from-nf"}},
        {"the start page only", "followCheckbox", 100, {"/nf", "/one"}, {"/from-nf", "/deep2", "/two"}},
        {"unique titles", "uniqueTitles", 100, {"/two", "/deep3"}, {"/three"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Crawl crawl(server.url("/"));
        if (*c.key)
            crawl.config.setValueForKey(c.key, "YES");
        crawl.preferences.setValue("levelslimit", c.levels);
        ASSERT_TRUE(crawl.goToEnd());
        for (const QString& path : c.present) {
            const auto record = crawl.find(server.url(path));
            ASSERT_TRUE(record) << path.toStdString();
            EXPECT_EQ(record->getStatus(), path == "/broken" ? "404 not found" : "200 no error");
        }
        for (const QString& path : c.absent)
            EXPECT_FALSE(crawl.find(server.url(path))) << path.toStdString();
    }
}

TEST(LinkIntake, LinksLimitReachedWhileRequestsAreInFlight) {
    TestServer server;
    QString links;
    for (int i = 0; i < 30; ++i) {
        const QString path = QString("/p%1").arg(i);
        server.addPage(path, page(path, "<a href=\"/more\">more</a>"));
        server.setResponseDelay(path, 50);
        links += QString("<a href=\"%1\">%1</a>").arg(path);
    }
    server.addPage("/", page("Home", links));
    Crawl crawl(server.url("/"));
    crawl.preferences.setValue("linkslimit", 10);
    ASSERT_TRUE(crawl.goToEnd());
    EXPECT_EQ(crawl.hub.count(), 10);
    EXPECT_EQ(crawl.hub.getNumberDone(), 10u);
    EXPECT_TRUE(crawl.hub.isCrawlFinished());
    EXPECT_TRUE(crawl.ui.alerts.isEmpty());
}

TEST(LinkIntake, RuleLists) {
    TestServer server;
    server.addPage("/index.html", page("Start", "<a href=\"/private/a\">a</a> <a href=\"/shop/b\">b</a>"
                                                "<a href=\"/docs/c\">c</a>"));
    server.addPage("/private/a", page("A", "<a href=\"/from-a\">x</a>"));
    server.addPage("/shop/b", page("B", "<a href=\"/from-b\">x</a>"));
    server.addPage("/docs/c", page("C", "<a href=\"/from-c\">x</a>"));
    for (const char* path : {"/from-a", "/from-b", "/from-c"})
        server.addPage(path, page("leaf", ""));
    // "Disallow: /" is one character long and so bars nothing; the Google group comes too late.
    server.addPage("/robots.txt",
                   "User-agent: *\nDisallow: /shop\nDisallow: /\n\nUser-agent: Googlebot\nDisallow: /docs\n",
                   "text/plain");

    struct Case {
        const char* name;
        QStringList checkBlacklist, followBlacklist, whitelist;
        QStringList requested, notRequested, found, notFound;
        bool robotsTxt = false;
    };
    const Case cases[] = {
        {"do not check", {"private"}, {}, {}, {"/shop/b"}, {"/private/a"}, {"/from-b"}, {"/from-a"}},
        {"do not follow", {}, {"shop"}, {}, {"/shop/b"}, {}, {"/from-a", "/from-c"}, {"/from-b"}},
        // The start page is followed though no term of the list is in its URL.
        {"only follow", {}, {}, {"docs"}, {"/private/a", "/shop/b"}, {}, {"/from-c"}, {"/from-a", "/from-b"}},
        {"one-letter term checks everything", {"a"}, {}, {}, {"/private/a"}, {}, {}, {}},
        {"robots.txt",
         {},
         {},
         {},
         {"/private/a", "/docs/c"},
         {"/shop/b"},
         {"/from-a", "/from-c"},
         {"/from-b"},
         true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        server.resetRecords();
        Crawl crawl(server.url("/index.html"));
        crawl.config.setCheckBlacklistArray(c.checkBlacklist);
        crawl.config.setFollowBlacklistArray(c.followBlacklist);
        crawl.config.setFollowWhitelistArray(c.whitelist);
        crawl.config.setValueForKey("blacklistByRobotsTxt", c.robotsTxt);
        ASSERT_TRUE(crawl.goToEnd());
        for (const QString& path : c.requested)
            EXPECT_FALSE(server.requestsFor(path).isEmpty()) << path.toStdString();
        for (const QString& path : c.notRequested) {
            EXPECT_TRUE(server.requestsFor(path).isEmpty()) << path.toStdString();
            EXPECT_EQ(crawl.find(server.url(path))->getStatus(),
                      c.robotsTxt ? "Disallowed by robots.txt" : "Not checked");
            EXPECT_TRUE(crawl.find(server.url(path))->isBlacklisted());
        }
        for (const QString& path : c.found)
            EXPECT_TRUE(crawl.find(server.url(path))) << path.toStdString();
        for (const QString& path : c.notFound)
            EXPECT_FALSE(crawl.find(server.url(path))) << path.toStdString();
    }
}

TEST(LinkIntake, StartRedirectedToAnotherHostMovesTheDomain) {
    TestServer server;
    const QString target = QString("http://localhost:%1/home").arg(server.port());
    server.addRedirect("/", target);
    server.addPage("/home", page("Home", "<a href=\"/inside\">in</a>"));
    server.addPage("/inside", page("Inside", "<a href=\"/deeper\">deeper</a>"));
    server.addPage("/deeper", page("Deeper", ""));
    Crawl crawl(server.url("/"));
    ASSERT_TRUE(crawl.goToEnd());
    EXPECT_EQ(crawl.hub.getDomains(), QStringList({"localhost"}));
    const auto inside = crawl.find(QString("http://localhost:%1/inside").arg(server.port()));
    ASSERT_TRUE(inside);
    EXPECT_TRUE(inside->isInternal());
    EXPECT_TRUE(crawl.find(QString("http://localhost:%1/deeper").arg(server.port())));
}

TEST(LinkIntake, ExternalPagesAreReadForSoft404ButNeverParsed) {
    TestServer server;
    const QString external = QString("http://localhost:%1").arg(server.port());
    server.addPage(
        "/",
        page("Home", QString("<a href=\"%1/gone\">ext</a> <a href=\"/local-gone\">local</a>").arg(external)));
    server.addPage("/gone", page("Sorry", "This page was not found. <a href=\"/from-external\">x</a>"));
    server.addPage("/local-gone", page("Oops", "Sorry, page not found here."));
    Crawl crawl(server.url("/"));
    crawl.preferences.setValue("soft404Button", true);
    crawl.preferences.setValue("soft404Terms", "page not found\nnot found");
    ASSERT_TRUE(crawl.goToEnd());
    const auto ext = crawl.find(external + "/gone");
    ASSERT_TRUE(ext);
    EXPECT_FALSE(ext->isInternal());
    EXPECT_EQ(ext->getStatus(), "404 'soft 404' < 200 no error");
    EXPECT_EQ(ext->getColour(), 3);
    EXPECT_FALSE(crawl.find(server.url("/from-external")));
    EXPECT_FALSE(crawl.find(external + "/from-external"));
    EXPECT_EQ(crawl.find(server.url("/local-gone"))->getStatus(), "404 'soft 404' < 200 no error");
}

TEST(LinkIntake, PlainTextAndSitemapStarts) {
    TestServer server;
    server.addPage("/one", page("One", "<a href=\"/child\">child</a>"));
    server.addPage("/two", page("Two", ""));
    server.addPage("/child", page("Child", ""));
    server.addPage(
        "/sitemap.xml",
        QString("<?xml version=\"1.0\"?><urlset><url><loc>%1</loc></url><url><loc>%2</loc></url></urlset>")
            .arg(server.url("/one"), server.url("/two"))
            .toUtf8(),
        "application/xml");

    QTemporaryDir dir;
    QFile list(dir.filePath("urls.txt"));
    ASSERT_TRUE(list.open(QIODevice::WriteOnly));
    list.write(
        (server.url("/one") + "\n" + QString("http://localhost:%1/two").arg(server.port()) + "\n").toUtf8());
    list.close();

    Crawl plain(QUrl::fromLocalFile(list.fileName()).toString());
    ASSERT_TRUE(plain.goToEnd());
    EXPECT_TRUE(plain.hub.isPlainTextMode());
    ASSERT_TRUE(plain.find(server.url("/one")));
    EXPECT_EQ(plain.find(server.url("/one"))->getStatus(), "200 no error");
    // Every host of the list counts as internal, so both are followed.
    EXPECT_TRUE(plain.hub.getDomains().contains("localhost"));
    EXPECT_TRUE(plain.find(server.url("/child")));

    Crawl sitemap(server.url("/sitemap.xml"));
    ASSERT_TRUE(sitemap.goToEnd());
    ASSERT_TRUE(sitemap.find(server.url("/two")));
    EXPECT_EQ(sitemap.find(server.url("/one"))->getDistanceFromHome(), 1);
    EXPECT_EQ(sitemap.find(server.url("/two"))->getStatus(), "200 no error");
    EXPECT_TRUE(sitemap.find(server.url("/child")));
}

TEST(LinkIntake, FileExtensionsOfTheCrawlForTheOrphanSearch) {
    TestServer server;
    server.addPage("/", page("Home", "<a href=\"/guide.PDF\">pdf</a> <a href=\"/v1.2/notes\">no extension</a>"
                                     "<a href=\"/pack.tar.gz\">archive</a> <a href=\"/a.asp?x=1.5\">query</a>"
                                     "<a href=\"/folder/\">folder</a> <a href=\"/a.asp#p.q\">fragment</a>"));
    Crawl crawl(server.url("/"));
    ASSERT_TRUE(crawl.goToEnd());
    // Letter case is kept; the page kinds are always there; a dot in a folder or a query is no extension.
    EXPECT_EQ(crawl.hub.getFileExtensionSet(), QSet<QString>({"PDF", "gz", "asp", "html", "htm", "php"}));
}

TEST(LinkIntake, LinksThatAreNoAddressesAndPagesWithNothingToRead) {
    TestServer server;
    server.addPage("/", page("Home", "<a zref=\"x\">zref</a> <a href=\"#\">top</a> <a href=\"\">empty</a>"
                                     "<a href=\"./a.html\">dot</a> <a href=\"/empty.html\">e</a>"
                                     "<a href=\"ftp://127.0.0.1:1/file\">ftp</a>"));
    server.addPage("/a.html", page("A", ""));
    server.addPage("/empty.html", QByteArray());

    struct Case {
        const char* name;
        bool hashIsBad, robotsTxt;
        QStringList missing; // URLs of the "missing link url" records, in order
        bool ftpNotChecked;
    };
    const Case cases[] = {
        {"plain", false, false, {}, true},
        {"hash is bad", true, false, {"#", "empty quotes"}, true},
        // The robots.txt rule sets the ftp and sitemap filters aside, an old quirk kept.
        {"robots.txt rule", false, true, {}, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        server.resetRecords();
        Crawl crawl(server.url("/"));
        crawl.config.setValueForKey("KestreliaHashIsBad", c.hashIsBad);
        crawl.config.setValueForKey("blacklistByRobotsTxt", c.robotsTxt);
        ASSERT_TRUE(crawl.goToEnd());

        QStringList missing;
        qsizetype zrefs = 0;
        for (qsizetype i = 0; i < crawl.hub.count(); ++i) {
            const auto record = crawl.hub.getnthofAllItems(i);
            if (record->getStatus() == "missing link url")
                missing.append(record->getLinkUrl());
            if (record->getStatus() == "MCMS zref") {
                ++zrefs;
                EXPECT_TRUE(record->getLinkUrl().isEmpty());
                EXPECT_EQ(record->getOnPageLinkTextArray(), QStringList({"zref"}));
            }
            EXPECT_FALSE(record->getLinkUrl().contains("zref")) << record->getLinkUrl().toStdString();
            EXPECT_FALSE(record->getLinkUrl().contains("./")) << record->getLinkUrl().toStdString();
        }
        EXPECT_EQ(zrefs, 1);
        EXPECT_EQ(missing, c.missing);
        EXPECT_EQ(server.requestsFor("/a.html").size(), 1);
        EXPECT_EQ(crawl.find("ftp://127.0.0.1:1/file")->getStatus() == "Not checked", c.ftpNotChecked);

        // A page with no body at all has nothing to say: no links, and not to be indexed.
        const auto empty = crawl.find(server.url("/empty.html"));
        ASSERT_TRUE(empty);
        EXPECT_EQ(empty->getStatus(), "200 no error");
        EXPECT_TRUE(empty->getHeadContainsNoIndex());
        EXPECT_EQ(crawl.hub.numberOfLinksOnThisPage(empty->getActualLinkUrl()), 0);
    }
}

TEST(LinkIntake, EscapedLinksAreStoredDecodedInTheSitesEncoding) {
    struct Case {
        const char* name;
        const char* charset;
        QByteArray link;
        QString stored; // path of the record, as stored
    };
    const Case cases[] = {
        {"utf-8", "utf-8", "/my caf\xc3\xa9.html", u"/my café.html"_qs},
        // The escapes are made as UTF-8 and read back as Latin-1: the site's encoding decides.
        {"latin-1", "iso-8859-1", "/my caf\xe9.html", u"/my cafÃ©.html"_qs},
        {"no escaping needed", "utf-8", "/plain.html", u"/plain.html"_qs},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        TestServer server;
        server.addPage("/", "<html><head><meta charset=\"" + QByteArray(c.charset) +
                                "\"><title>T</title></head><body><a href=\"" + c.link +
                                "\">x</a></body></html>");
        Crawl crawl(server.url("/"));
        ASSERT_TRUE(crawl.goToEnd());
        ASSERT_EQ(crawl.hub.count(), 2);
        EXPECT_EQ(crawl.hub.getnthofAllItems(1)->getLinkUrl(), server.url(c.stored));
    }
}
