#include "analysis/SEOManager.h"
#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"
#include "reports/PageArchive.h"
#include "support/QtPrinting.h"
#include "support/RecordingUserInterface.h"
#include "support/TempHome.h"

#include <QFile>
#include <gtest/gtest.h>

namespace {

struct Page {
    Page(QString url, QString title, QString description, qint64 size = 100, int links = 0,
         bool nofollow = false, QString canonical = QString())
        : url(std::move(url)), title(std::move(title)), description(std::move(description)), size(size),
          links(links), nofollow(nofollow), canonical(std::move(canonical)) {}
    QString url, title, description;
    qint64 size;
    int links;
    bool nofollow;
    QString canonical;
};

// A collection filled by hand as the crawl's hand-over fills it.
struct SEOFixture : ::testing::Test {
    TempHome home;
    KestConfigManager config;
    Preferences preferences;
    RecordingUserInterface ui;
    LinkCheckerHub hub{config, preferences, ui};
    SEOManager seo{config, preferences, hub};

    SEOFixture() {
        config.setDefaults();
        preferences.setValue("SEOtoomanylinks", "2");
        preferences.setValue("SEOmetadescriptionmin", "3");
        preferences.setValue("SEOmetadescriptionmax", "10");
        // The exports below are compared whole: the fixed columns and the word count only.
        for (const SEOManager::SEOColumn& column : SEOManager::optionalSEOColumns())
            preferences.setValue(column.preference, QString(column.identifier) == "wordcount");
    }

    LinkCheckerUrlPtr add(const Page& p) {
        auto page = std::make_shared<LinkCheckerUrl>(&hub);
        page->setLinkUrlTrimQuery(p.url, false);
        page->setLinkPageTitle(p.title);
        page->setMetaDescription(p.description);
        page->setFileSize(p.size);
        page->setHeadContainsNoFollow(p.nofollow);
        page->setCanonical(p.canonical);
        page->setWordCount(7);
        for (int i = 0; i < p.links; ++i) {
            auto link = std::make_shared<LinkCheckerUrl>(&hub);
            link->setLinkUrlTrimQuery(QString("%1/l%2").arg(p.url).arg(i), false);
            hub.addLinkForPage(link, page->getActualLinkUrl());
        }
        seo.add(page);
        return page;
    }

    QStringList shown(int tag, const QString& term = QString()) {
        seo.setHighlightSelector(tag);
        seo.setSEOSearchTerm(term);
        seo.SEOfilter();
        QStringList urls;
        for (qsizetype r = 0; r < seo.numberOfRowsInSEOTable(); ++r)
            urls << seo.getnthVisibleItem(r)->getActualLinkUrl().section('/', 3);
        return urls;
    }
};

TEST_F(SEOFixture, EachFilterTagShowsItsPages) {
    add({"http://s/a", "A", "123", 100, 3});         // too many links; shortest description
    add({"http://s/b", "", "1234567890", 100, 2});   // no title; longest description; links at limit
    add({"http://s/c", "C", "", 100, 0, true});      // no description; nofollow
    add({"http://s/d", "C", "12345678901", 200, 0}); // title shared, other size; description too long
    add({"http://s/e", "A", "12", 100, 0});          // copy of a; description too short
    const struct {
        int tag;
        const char* pages;
    } cases[] = {{0, "a b c d e"}, {1, "b"}, {7, "c"},     {2, "a e"}, {6, "a c d e"},
                 {3, "c"},         {4, "a"}, {5, "c d e"}, {8, ""},    {-1, ""}};
    for (const auto& c : cases)
        EXPECT_EQ(shown(c.tag).join(' '), c.pages) << "tag " << c.tag;
}

TEST_F(SEOFixture, DuplicatesByTitleAndSizeOnly) {
    auto p = [](const char* path, const char* title, qint64 size, const char* canonical = "") {
        return Page{QString("http://s/") + path, title, "", size, 0, false, canonical};
    };
    const struct {
        const char* name;
        QList<Page> pages;
        const char *copies, *sharedTitles, *inspectorOfFirst;
    } cases[] = {
        {"empty titles are a title", {p("a", "", 10), p("b", "", 10)}, "a b", "a b", "b"},
        {"same title, other size", {p("a", "T", 10), p("b", "T", 11)}, "", "a b", ""},
        {"10, 10 and 20", {p("c", "T", 20), p("a", "T", 10), p("b", "T", 10)}, "a b", "c a b", ""},
        {"case differs", {p("a", "T", 10), p("b", "t", 10)}, "", "", ""},
        {"canonical elsewhere", {p("a", "T", 10), p("b", "T", 10, "http://s/a")}, "", "", ""},
    };
    for (const auto& c : cases) {
        seo.clear();
        hub.clear();
        QList<LinkCheckerUrlPtr> pages;
        for (const Page& page : c.pages)
            pages << add(page);
        EXPECT_EQ(shown(2).join(' '), c.copies) << c.name;
        EXPECT_EQ(shown(6).join(' '), c.sharedTitles) << c.name;
        QStringList inspector;
        for (const LinkCheckerUrlPtr& other : seo.duplicatesOf(*pages.first()))
            inspector << other->getActualLinkUrl().section('/', 3);
        EXPECT_EQ(inspector.join(' '), c.inspectorOfFirst) << c.name;
    }
}

TEST_F(SEOFixture, DuplicateMapsDoNotSeePagesAddedAfterThem) {
    add({"http://s/a", "T", "", 10});
    EXPECT_TRUE(shown(2).isEmpty());
    add({"http://s/b", "T", "", 10});
    EXPECT_TRUE(shown(2).isEmpty());
    seo.clear();
    add({"http://s/a", "T", "", 10});
    add({"http://s/b", "T", "", 10});
    EXPECT_EQ(shown(2), QStringList({"a", "b"}));
    EXPECT_EQ(seo.getDuplicatesAsCSV(), "\"Title\",\"URL\",\"Size in bytes\"\r\"T\",\"http://s/a\",\"10\"\r"
                                        "\"T\",\"http://s/b\",\"10\"\r");
}

TEST_F(SEOFixture, KeywordCountsInEachPlace) {
    auto page = add({"http://s/aaa.html", "Aaa title", "desc AA", 100});
    page->setKeywords("aa, b");
    page->setHeadings("AAAA");
    const struct {
        QString term;
        int url, title, description, keywords, headings, total;
    } cases[] = {
        {"aa", 2, 2, 1, 1, 3, 9}, // overlapping hits count, case ignored
        {"a", 3, 3, 2, 2, 4, 14}, // one letter
        {".", 1, 0, 0, 0, 0, 1},  // regex characters are plain text
        {"a+", 0, 0, 0, 0, 0, 0}, {"zz", 0, 0, 0, 0, 0, 0},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(page->countSEOTerm(c.term), c.total != 0) << c.term.toStdString();
        EXPECT_EQ(page->getOcurrencesInUrl(), c.url) << c.term.toStdString();
        EXPECT_EQ(page->getOcurrencesInTitle(), c.title) << c.term.toStdString();
        EXPECT_EQ(page->getOcurrencesInDescription(), c.description) << c.term.toStdString();
        EXPECT_EQ(page->getOcurrencesInKeywords(), c.keywords) << c.term.toStdString();
        EXPECT_EQ(page->getOcurrencesInHeadings(), c.headings) << c.term.toStdString();
        EXPECT_EQ(page->getOcurrencesInArchive(), 0) << c.term.toStdString();
        EXPECT_EQ(page->getTotalOccurrences(), c.total) << c.term.toStdString();
    }
    // An empty term filters nothing and counts nothing.
    EXPECT_FALSE(page->countSEOTerm(""));
    EXPECT_EQ(shown(0, ""), QStringList({"aaa.html"}));
}

TEST_F(SEOFixture, ArchiveCountLeavesOutTheHeadAndOrdersByTotal) {
    auto a = add({"http://s/a", "Blue", "x", 100});
    auto b = add({"http://s/b", "none", "x", 100});
    auto c = add({"http://s/blue", "none", "x", 100});
    ASSERT_TRUE(PageArchive::archivePage(a->getActualLinkUrl(), "<title>Blue</title><p>blue</p>"));
    ASSERT_TRUE(PageArchive::archivePage(b->getActualLinkUrl(), "<p>blue blue BLUE</p>"));
    ASSERT_TRUE(PageArchive::archivePage(c->getActualLinkUrl(), "<p>grey</p>"));
    EXPECT_EQ(shown(0, "blue"), QStringList({"b", "a", "blue"}));
    EXPECT_EQ(a->getOcurrencesInArchive(), 1);
    EXPECT_EQ(a->getTotalOccurrences(), 2);
    EXPECT_EQ(b->getOcurrencesInArchive(), 3);
    // Only in the URL: "(1) " before the URL, "(0) " before the other counted columns.
    EXPECT_EQ(seo.SEOCellValue(*c, "actualurl"), "(1) http://s/blue");
    EXPECT_EQ(seo.SEOCellValue(*c, "linkpagetitle"), "(0) none");
    EXPECT_EQ(seo.SEOCellValue(*c, "filesize"), "0kb");
    preferences.setValue("SEOCountKeywordsInContent", true);
    EXPECT_EQ(seo.SEOCellValue(*b, "filesize"), "(3) 0kb");
    // A title counted where the archive holds it fewer times never goes below 0.
    // Equal totals: the later page comes first.
    QFile::remove(PageArchive::folderPath() + "/" + PageArchive::fileNameForUrl(a->getActualLinkUrl()));
    EXPECT_EQ(shown(0, "blue"), QStringList({"b", "blue", "a"}));
    EXPECT_EQ(a->getOcurrencesInArchive(), 0);
    // Hidden by the filter choice: not counted, and left with its old figures.
    EXPECT_EQ(shown(1, "grey").size(), 0);
    EXPECT_EQ(c->getTotalOccurrences(), 1);
}

TEST_F(SEOFixture, SectionReportsAndExportsByteForByte) {
    add({"http://s/a", "Say \"hi\"", "d", 100});
    add({"http://s/b", "", "", 100});
    add({"http://s/c", "", "only description", 100});
    seo.updateStatusFields();
    const QString head = "<table><tr><th class = actualurl>URL</th><th class = linkpagetitle>Title</th><th "
                         "class = metadescription>Description</th><th class = keywords>Keywords</th><th "
                         "class = headings>Headings</th><th class = wordcount>Word count</th></tr>";
    auto row = [](const QString& url, const QString& title, const QString& d, bool alt) {
        auto cell = [alt](const QString& id, const QString& v) {
            return (alt ? "<td class = \"" + id + " alt\" >" : "<td class = " + id + " >") + v + "</td>";
        };
        return "<tr>" + cell("actualurl", "<a href = " + url + " >" + url + "</a>") +
               cell("linkpagetitle", title) + cell("metadescription", d) + cell("keywords", "") +
               cell("headings", "") + cell("wordcount", "7") + "</tr>";
    };
    EXPECT_EQ(seo.getBadSEOReport(),
              "<h1>SEO</h1>\n<p>3 page(s) included, 2 without title, 1 without description</p>\n" + head +
                  row("http://s/a", "Say \"hi\"", "d", false) +
                  row("http://s/c", "", "only description", true) + "</table><br />\n");
    EXPECT_EQ(seo.getSEOReport(),
              "<h1>SEO</h1>\n<p>3 page(s) included, 2 without title, 1 without description</p>\n" + head +
                  row("http://s/a", "Say \"hi\"", "d", false) + row("http://s/b", "", "", true) +
                  row("http://s/c", "", "only description", false) + "</table><br />\n");
    const QString csvHead = "\"URL\",\"Title\",\"Description\",\"Keywords\",\"Headings\",\"Word count\"\r";
    EXPECT_EQ(seo.getSEOAsCSV().section('\r', 0, 1) + "\r",
              csvHead + "\"http://s/a\",\"Say 'hi'\",\"d\",\"\",\"\",\"7\"\r");
    const QString plainCsv = home.path() + "/seo.csv";
    ASSERT_TRUE(seo.exportSEOAsCSVAndSaveTo(plainCsv));
    QFile file(plainCsv);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(file.readAll()).section('\r', 1, 1),
              "\"http://s/a\",\"Say \"hi\"\",\"d\",\"\",\"\",\"7\"");
    const QString html = seo.getSEOAsHTML();
    EXPECT_TRUE(
        html.startsWith("<html><head><title>Data Export from Trellium</title><meta http-equiv=\"Content-"
                        "Type\" content=\"text/html; charset=UTF-8\" /><body><style>"));
    EXPECT_TRUE(html.contains("</style><table><tr>" + head));
    EXPECT_TRUE(html.endsWith(row("http://s/c", "", "only description", false) + "</body></head></html>"));
    EXPECT_EQ(seo.getShortSummary(4, 5),
              "2 without title, 1 without description\n4 with html validation errors, "
              "5 with warnings\n");
    // A filter left on narrows the report's table to the rows it shows.
    shown(7);
    EXPECT_FALSE(seo.getSEOReport().contains("http://s/a"));
    EXPECT_TRUE(seo.getSEOReport().contains("http://s/b"));
}

TEST_F(SEOFixture, BadReportWithNothingWrongIsTheShortText) {
    add({"http://s/a", "T", "d", 100});
    seo.updateStatusFields();
    EXPECT_EQ(
        seo.getBadSEOReport(),
        "<h1>SEO</h1>\n<p>1 page(s) included, 0 without title, 0 without description</p><p>&nbsp;</p>\n");
}

TEST_F(SEOFixture, ColumnsFollowTheirSwitches) {
    for (const SEOManager::SEOColumn& column : SEOManager::optionalSEOColumns())
        preferences.setValue(column.preference, QString(column.identifier) == "canonical" ||
                                                    QString(column.identifier) == "robots");
    QStringList ids;
    for (const TableColumn& column : SEOManager::seoTableView(preferences).tableColumns)
        ids << column.identifier;
    EXPECT_EQ(ids, QStringList({"actualurl", "linkpagetitle", "metadescription", "keywords", "headings",
                                "canonical", "robots"}));
    EXPECT_TRUE(seo.shouldCheckRobotsTag());
    EXPECT_FALSE(seo.shouldLogModifiedDate());
    // Defaults: the columns "removed" by their switch exist, the "added" ones do not.
    Preferences fresh;
    fresh.load();
    QStringList defaults;
    for (const TableColumn& column : SEOManager::seoTableView(fresh).tableColumns)
        defaults << column.identifier;
    EXPECT_EQ(defaults.mid(5), QStringList({"responsetime", "linkcount", "wordcount", "filesize",
                                            "onpagecount", "lastmodified", "robots"}));
}

TEST(PageArchiveTest, FileNames) {
    const struct {
        const char* url;
        const char* name;
    } cases[] = {
        {"http://example.com/a/b.html?x=1#top", "a%2Fb.html?x=1#top"},
        {"http://example.com/", "example.com%2F"},
        {"http://example.com", "example.com"},
        {"https://example.com/", "%2Fexample.com%2F"},
        {"https://example.com", "%2Fexample.com"},
        {"https://example.com/dir/", "dir%2F"},
        {"http://127.0.0.1:8080/p", "8080%2Fp"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(PageArchive::fileNameForUrl(c.url), c.name) << c.url;
}

TEST(PageArchiveTest, WritesBytesAsReceivedAndCopiesTheFolder) {
    TempHome home;
    const QByteArray latin1("<p>caf\xe9</p>\0end", 15);
    EXPECT_FALSE(PageArchive::archivePage("http://a.example/one", "x"));
    EXPECT_TRUE(PageArchive::archivePage("http://a.example/two", "xy"));
    EXPECT_TRUE(PageArchive::archivePage("http://a.example/p", "from a"));
    EXPECT_TRUE(PageArchive::archivePage("http://b.example/p", latin1));
    QFile file(PageArchive::folderPath() + "/p");
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), latin1); // the other host's page of the same path, written last
    EXPECT_FALSE(QFile::exists(PageArchive::folderPath() + "/one"));
    QString copied;
    ASSERT_TRUE(PageArchive::copyArchiveTo(home.path(), &copied));
    EXPECT_TRUE(QFile::exists(copied + "/two"));
    EXPECT_TRUE(copied.section('/', -1).startsWith("Kestrelia archived pages 20"));
    PageArchive::clearArchiveFolder();
    EXPECT_FALSE(QFile::exists(PageArchive::folderPath()));
    EXPECT_EQ(PageArchive::countOcurrencesOfStringInArchive("http://a.example/two", "x"), 0);
    // An archive that cannot be written (a file stands where the folder goes; the tests may run
    // as root, whom permissions do not stop): the page is left out, nothing thrown.
    QFile blocker(PageArchive::folderPath());
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    EXPECT_FALSE(PageArchive::archivePage("http://a.example/three", "abc"));
    EXPECT_EQ(PageArchive::countOcurrencesOfStringInArchive("http://a.example/three", "a"), 0);
}

} // namespace
