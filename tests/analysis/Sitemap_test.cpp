#include "analysis/SitemapFixture.h"
#include "config/SiteStore.h"
#include "support/TempHome.h"
#include "views/TableExport.h"

#include <QFileInfo>

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

QString entry(const QString& loc, const QString& inner) {
    return "\t<url>\n\t\t<loc>" + loc + "</loc>\n" + inner + "\t</url>\n";
}

} // namespace

// The whole document for a small fixture site under the choices and rules that change it.
TEST(Sitemap, DocumentByteForByte) {
    const QStringList urls = {"http://site.test/", "http://site.test/blog/post", "http://site.test/a/b"};
    struct Case {
        const char* name;
        QList<QStringList> rules; // contains, priority, update
        int changeFrequencyTag;   // 0 writes no changefreq
        int priorityIndex;        // 1 is "None"
        QStringList written;      // change frequency/priority of each page; an empty part is left out
    };
    const Case cases[] = {
        {"no rules", {}, 4, 0, {"weekly/1.0", "weekly/0.5", "weekly/0.2"}},
        {"a rule in capitals", {{"BLOG", "0.9", "daily"}}, 4, 0, {"weekly/1.0", "daily/0.9", "weekly/0.2"}},
        // The later of two overlapping rules wins; an empty one matches nothing; values as typed.
        {"overlapping rules",
         {{"site.test", "0.1", "never"}, {"/a/", "<high>", "sometimes"}, {"", "0.7", "hourly"}},
         4,
         0,
         {"never/0.1", "never/0.1", "sometimes/<high>"}},
        // Change frequency tag 0 and priority None write neither, whatever the rules.
        {"tag 0, None", {{"blog", "0.9", "daily"}}, 0, 1, {"/", "/", "/"}},
        {"tag 7 is never", {}, 7, 1, {"never/", "never/", "never/"}},
    };
    for (const Case& c : cases) {
        SitemapFixture f;
        f.preferences.setValue("sitemapChangeFrequency", c.changeFrequencyTag);
        f.preferences.setValue("sitemapPriority", c.priorityIndex);
        for (const QStringList& r : c.rules)
            f.rule(r[0], r[1], r[2]);
        f.page(urls[0], 0);
        f.page(urls[1], 1)->setTargetLastModified("Tue, 15 Nov 1994 08:12:31 GMT");
        f.page(urls[2], 7);
        QString body;
        for (int i = 0; i < 3; ++i) {
            const QString frequency = c.written[i].section('/', 0, 0),
                          priority = c.written[i].section('/', 1);
            body += entry(
                urls[i], (i == 1 ? "\t\t<lastmod>1994-11-15</lastmod>\n" : QString()) +
                             (frequency.isEmpty() ? "" : "\t\t<changefreq>" + frequency + "</changefreq>\n") +
                             (priority.isEmpty() ? "" : "\t\t<priority>" + priority + "</priority>\n"));
        }
        EXPECT_EQ(f.seo.getXMLSitemap(), SitemapFixture::opening() + body + "</urlset>") << c.name;
    }
}

// Only the ampersand is escaped, once, at the very end; pages with noindex or a canonical elsewhere
// stay out; an unreadable date writes no lastmod; an empty site gives the frame alone.
TEST(Sitemap, MembershipAndEscaping) {
    SitemapFixture f;
    f.preferences.setValue("sitemapChangeFrequency", 0);
    f.preferences.setValue("sitemapPriority", 1);
    EXPECT_EQ(f.seo.getXMLSitemap(), SitemapFixture::opening() + "</urlset>");

    f.page("http://site.test/?a=1&b=2", 0)->setTargetLastModified("Wed, 31 Feb 2025 10:00:00 GMT");
    f.page("http://site.test/?q=x&amp;y", 1)->setTargetLastModified("not a date");
    f.page("http://site.test/hidden", 1)->setHeadContainsNoIndex(true);
    f.page("http://site.test/copy", 1)->setCanonical("http://site.test/original");
    f.page("http://site.test/same", 1)->setCanonical("http://site.test/same/");
    f.page("http://site.test/<b>", 1)->setTargetLastModified("2025-12-29T10:00:00Z");
    EXPECT_EQ(f.seo.getXMLSitemap(),
              SitemapFixture::opening() + entry("http://site.test/?a=1&amp;b=2", "") +
                  entry("http://site.test/?q=x&amp;amp;y", "") + entry("http://site.test/same", "") +
                  entry("http://site.test/<b>", "\t\t<lastmod>2026-12-29</lastmod>\n") + "</urlset>");
    EXPECT_EQ(f.seo.getSitemapCollectionCount(), 4);
    EXPECT_EQ(f.seo.getSEOCollectionCount(), 6);
}

// The list is forgotten on add and rebuilt in the order of the clicked column, until a new crawl.
TEST(Sitemap, CollectionFollowsAddsAndColumnClicks) {
    SitemapFixture f;
    f.page("http://site.test/b", 1);
    EXPECT_EQ(f.seo.getSitemapCollectionCount(), 1);
    f.page("http://site.test/a", 2);
    f.page("http://site.test/c", 0);
    EXPECT_EQ(f.seo.getSitemapCollectionCount(), 3);
    f.seo.sitemapTableDidClickColumn("actualurl", false);
    EXPECT_EQ(f.seo.getSitemapCollection().front()->getActualLinkUrl(), "http://site.test/c");
    f.seo.sitemapTableDidClickColumn("priority", true);
    EXPECT_EQ(f.seo.getSitemapCollection().front()->getActualLinkUrl(), "http://site.test/a");
    f.seo.clear();
    EXPECT_EQ(f.seo.getSitemapCollectionCount(), 0);
    // The next crawl's pages stand in the order they came: the sort went with the old crawl.
    f.page("http://site.test/b", 1);
    f.page("http://site.test/a", 2);
    EXPECT_EQ(f.seo.getSitemapCollection().front()->getActualLinkUrl(), "http://site.test/b");
}

// A page's own change frequency: the rule's update when it arrives, and afresh for all pages when
// the rules change; an edit of the cell counts rows in the SEO collection, not the sitemap list.
TEST(Sitemap, ChangeFrequencies) {
    SitemapFixture f;
    f.preferences.setValue("sitemapChangeFrequency", 3);
    f.rule("news", "0.8", "hourly");
    const auto news = f.page("http://site.test/NEWS/1", 1);
    const auto hidden = f.page("http://site.test/hidden", 1);
    const auto about = f.page("http://site.test/about", 1);
    hidden->setHeadContainsNoIndex(true);
    EXPECT_EQ(news->getChangeFrequency(), "hourly");
    EXPECT_EQ(about->getChangeFrequency(), "daily");

    f.config.getSitemapRules().clear();
    f.rule("about", "0.8", "yearly");
    f.seo.updateChangeFrequencies();
    EXPECT_EQ(news->getChangeFrequency(), "daily");
    EXPECT_EQ(about->getChangeFrequency(), "yearly");

    f.seo.setSitemapChangeFrequencyForRow(1, "monthly");
    EXPECT_EQ(hidden->getChangeFrequency(), "monthly");
    EXPECT_EQ(about->getChangeFrequency(), "yearly");
}

// lastmod has the week-numbering year: around New Year it is the year of the date's week.
TEST(Sitemap, WeekYearDates) {
    const struct {
        QDate date;
        const char* expected;
    } cases[] = {
        {QDate(2024, 12, 29), "2024-12-29"}, {QDate(2024, 12, 30), "2025-12-30"},
        {QDate(2027, 1, 1), "2026-01-01"},   {QDate(2021, 1, 3), "2020-01-03"},
        {QDate(2021, 1, 4), "2021-01-04"},   {QDate(2025, 6, 15), "2025-06-15"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(SEOManager::weekYearDate(c.date), c.expected) << c.date.toString(Qt::ISODate).toStdString();
}

TEST(Sitemap, FtpServerNormalisation) {
    const struct {
        const char* typed;
        const char* expected;
    } cases[] = {
        {"host", "ftp://host"},
        {"ftp.example.com", "ftp://ftp.example.com"},
        {"ftp.example.com:2121", "ftp://ftp.example.com:2121"},
        {"http://example.com", "ftp://example.com"},
        {"ftp://example.com", "ftp://example.com"},
        {"a://b", "ftp://a://b"},                       // too short to be left alone
        {"https://example.com", "https://example.com"}, // only "http://" is replaced
    };
    for (const auto& c : cases)
        EXPECT_EQ(SEOManager::normalisedFtpServer(c.typed), c.expected) << c.typed;
}

// Writes are atomic: a path that can't be written leaves what was there and no partial file.
TEST(Sitemap, FailedWriteLeavesNothingHalfWritten) {
    SitemapFixture f;
    f.page("http://site.test/", 0);
    QTemporaryDir dir;
    QString why;
    EXPECT_FALSE(f.seo.exportXMLSitemapAndSaveTo(dir.filePath("missing/sitemap.xml"), &why));
    EXPECT_FALSE(why.isEmpty());
    EXPECT_FALSE(QFile::exists(dir.filePath("missing/sitemap.xml")));
    // A folder at the path: refused, and the folder stays a folder.
    EXPECT_FALSE(f.seo.exportXMLSitemapAndSaveTo(dir.path()));
    const QString path = dir.filePath("sitemap.xml");
    ASSERT_TRUE(f.seo.exportXMLSitemapAndSaveTo(path));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(file.readAll()), f.seo.getXMLSitemap());
}

// The saved sitemap's exports: CSV through `collection` (the kept mismatch of lists), the plain page
// level by level, the tree sorted by URL with indents and bullets.
TEST(Sitemap, Exports) {
    SitemapFixture f;
    f.preferences.setValue("includelastmodinsitemap", true);
    f.page("http://site.test/hidden", 1, "Hidden")->setHeadContainsNoIndex(true);
    f.page("http://site.test/", 0, "Home");
    f.page("http://site.test/b/deep", 2, "Deep");
    f.page("http://site.test/a", 1, "\"A\"");
    EXPECT_EQ(f.seo.sitemapAsCSV(), "\"URL\",\"Priority\",\"Change frequency\",\"Last modified\"\r"
                                    "\"http://site.test/hidden\",\"0.5\",\"weekly\",\"\"\r"
                                    "\"http://site.test/\",\"1.0\",\"weekly\",\"\"\r"
                                    "\"http://site.test/b/deep\",\"0.3\",\"weekly\",\"\"\r");
    const QString open =
        "<html><head><title>Data Export from Trellium</title><meta http-equiv=\"Content-Type\" "
        "content=\"text/html; charset=UTF-8\" /><body>";
    const QString close = "</body></head></html>";
    EXPECT_EQ(f.seo.sitemapAsHTML(), open +
                                         "<a href = \"http://site.test/\">Home</a><br />\r"
                                         "<a href = \"http://site.test/a\">\"A\"</a><br />\r"
                                         "<a href = \"http://site.test/b/deep\">Deep</a><br />\r" +
                                         close);
    EXPECT_EQ(f.seo.sitemapAsHeirarcicalHTML(),
              open +
                  "<a href = \"http://site.test/\">Home</a><br />\r"
                  "&nbsp;&nbsp;&nbsp;&nbsp;&bull;&nbsp;<a href = \"http://site.test/a\">\"A\"</a><br />\r"
                  "&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;&nbsp;&bull;&nbsp;"
                  "<a href = \"http://site.test/b/deep\">Deep</a><br />\r" +
                  close);
}

// More URLs than the Sitemaps protocol allows: one document still, and a warning.
TEST(Sitemap, WarnsPastTheProtocolLimit) {
    SitemapFixture f;
    for (int i = 0; i <= 50000; ++i)
        f.page(QString("http://site.test/%1").arg(i), 1);
    const QString text = f.seo.getXMLSitemap();
    EXPECT_EQ(text.count("<url>"), 50001);
    ASSERT_EQ(f.ui.alerts.size(), 1);
    EXPECT_TRUE(f.ui.alerts[0].second.contains("50001 URLs")) << f.ui.alerts[0].second.toStdString();
}

// The interactive save as `sitemapOptions` says: 0 asks for a file and stops there, 1 goes on to
// the FTP sheet, 2 writes sitemap.xml in the store's temp folder without asking; a cancelled panel
// writes nothing and asks nothing more.
TEST(Sitemap, InteractiveSaveFollowsTheOptions) {
    TempHome home;
    QTemporaryDir dir;
    const struct {
        int option;
        QString panelAnswer;
        QString expectedLocation; // empty: nothing written
        int sheets;
    } cases[] = {
        {0, dir.filePath("a.xml"), dir.filePath("a.xml"), 0},
        {1, dir.filePath("b.xml"), dir.filePath("b.xml"), 1},
        {1, "", "", 0},
        {2, "", SiteStore::storePath() + "/temp/sitemap.xml", 1},
    };
    for (const auto& c : cases) {
        SitemapFixture f;
        f.page("http://site.test/", 0);
        f.preferences.setValue("sitemapOptions", c.option);
        f.ui.saveAnswer = c.panelAnswer;
        int sheets = 0;
        // The sheet is cancelled, so nothing is sent.
        f.seo.beginFTPDialog = [&] { return ++sheets, false; };
        f.seo.exportXML();
        EXPECT_EQ(f.seo.getSitemapLocation(), c.expectedLocation) << c.option;
        EXPECT_EQ(sheets, c.sheets) << c.option;
        if (c.expectedLocation.isEmpty())
            continue;
        EXPECT_TRUE(QFile::exists(c.expectedLocation));
        EXPECT_EQ(f.config.getSitemapSaveFilename(), QFileInfo(c.expectedLocation).fileName());
        EXPECT_TRUE(f.config.isDocumentEdited());
    }
}

// The HTML menu command acts only on a finished crawl, and then in the form htmlExportOptions names.
TEST(Sitemap, HtmlMenuItemWaitsForTheCrawl) {
    SitemapFixture f;
    f.page("http://site.test/a/b", 2, "B");
    QTemporaryDir dir;
    f.ui.saveAnswer = dir.filePath("map.html");
    f.seo.exportSitemapAsHTMLMenuItem();
    EXPECT_FALSE(QFile::exists(f.ui.saveAnswer));

    // An empty hub has nothing left to check: its crawl closes at once.
    ASSERT_TRUE(f.hub.isFinished());
    for (const int option : {0, 1}) {
        f.preferences.setValue("htmlExportOptions", option);
        f.seo.exportSitemapAsHTMLMenuItem();
        QFile file(f.ui.saveAnswer);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        EXPECT_EQ(file.readAll().contains("&bull;"), option == 1) << option;
    }
}
