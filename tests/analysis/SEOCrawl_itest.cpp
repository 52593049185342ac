// The SEO collection filled by a real crawl of the local test server: which pages join, the
// counters, the copies, the archive as received and a keyword counted in it, and bad titles.
#include "analysis/SEOManager.h"
#include "reports/PageArchive.h"
#include "support/CrawlFixture.h"
#include "support/QtPrinting.h"
#include "support/TempHome.h"
#include "support/TestServer.h"

#include <QFile>
#include <gtest/gtest.h>

namespace {

QByteArray page(const QByteArray& head, const QByteArray& body = "") {
    return "<html><head>" + head + "</head><body>" + body + "</body></html>";
}

TestServer& site() {
    static TestServer* server = [] {
        auto* s = new TestServer;
        const QByteArray description = "<meta name=description content=\"A page about green things\">";
        s->addPage("/",
                   page("<title>Home</title>" + description,
                        "<a href=/a>a</a><a href=/redir>r</a><a href=/status/404>x</a><a href=/copy1>1</a>"
                        "<a href=/copy2>2</a><a href=/notitle>n</a><a href=/long>l</a><a href=/binary>b</a>"
                        "<a href=/other.txt>t</a>"));
        s->addPage("/a",
                   page("<title>Green</title>" + description, "<p>green GREEN greenery</p><a href=/>h</a>"));
        s->addRedirect("/redir", "/a");
        s->addPage("/copy1", page("<title>Same</title>", "<p>one</p>"));
        s->addPage("/copy2", page("<title>Same</title>", "<p>two</p>"));
        s->addPage("/notitle", page(description, "<p>none</p>"));
        s->addPage("/long", page("<title>" + QByteArray(5000, 'x') + "</title>" + description));
        s->addPage("/binary", page("<title>\x01\xff\xfe\x80"
                                   "ab</title>" +
                                   description));
        s->addPage("/other.txt", "plain text", "text/plain");
        return s;
    }();
    return *server;
}

struct SEOCrawl : ::testing::Test {
    TempHome home;
    Crawl crawl{site().url("/")};
    SEOManager seo{crawl.config, crawl.preferences, crawl.hub};

    void run() {
        crawl.preferences.setValue("SEOEnabledCheckBox", true);
        crawl.hub.setActionWhenFinished(3);
        crawl.hub.go();
        ASSERT_TRUE(crawl.runToEnd());
        seo.updateStatusFields();
    }
    QStringList paths() const {
        QStringList out;
        for (const LinkCheckerUrlPtr& p : seo.getCollection())
            out << p->getActualLinkUrl().mid(site().baseUrl().size());
        out.sort();
        return out;
    }
};

TEST_F(SEOCrawl, PagesCountersCopiesAndBadTitles) {
    run();
    // The 404 and the text file stay out; the redirect's target is in once.
    EXPECT_EQ(paths(), QStringList({"/", "/a", "/binary", "/copy1", "/copy2", "/long", "/notitle"}));
    const SEOManager::SEOStatusCounts& c = seo.getSEOStatusCounts();
    EXPECT_EQ(c.pagesIncludedInSEO, 7);
    EXPECT_EQ(c.withoutTitle, 1);
    EXPECT_EQ(c.withoutDescription, 2);
    seo.setHighlightSelector(2);
    seo.SEOfilter();
    ASSERT_EQ(seo.numberOfRowsInSEOTable(), 2);
    EXPECT_EQ(seo.duplicatesOf(*seo.getnthVisibleItem(0)).value(0), seo.getnthVisibleItem(1));
    // The head reader keeps the first 1,500 characters of a title.
    ASSERT_TRUE(crawl.find(site().url("/long")));
    EXPECT_EQ(crawl.find(site().url("/long"))->getLinkPageTitle().size(), 1500);
    EXPECT_FALSE(QFile::exists(PageArchive::folderPath())) << "nothing asked for the archive";
}

TEST_F(SEOCrawl, ArchiveHoldsTheBytesAndCountsTheText) {
    crawl.preferences.setValue("SEOCountKeywordsInContent", true);
    run();
    PageArchive::waitForArchiveWrites();
    const QString name = PageArchive::fileNameForUrl(site().url("/a"));
    QFile file(PageArchive::folderPath() + "/" + name);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
    EXPECT_EQ(file.readAll(),
              page("<title>Green</title><meta name=description content=\"A page about green things\">",
                   "<p>green GREEN greenery</p><a href=/>h</a>"));
    seo.setSEOSearchTerm("green");
    seo.SEOfilter();
    ASSERT_GE(seo.numberOfRowsInSEOTable(), 1);
    const LinkCheckerUrlPtr best = seo.getnthVisibleItem(0);
    EXPECT_TRUE(best->getActualLinkUrl().endsWith("/a"));
    EXPECT_EQ(best->getOcurrencesInTitle(), 1);
    EXPECT_EQ(best->getOcurrencesInDescription(), 1);
    EXPECT_EQ(best->getOcurrencesInArchive(), 3);
    EXPECT_EQ(best->getTotalOccurrences(), 5);
    // A new crawl empties the archive.
    crawl.ui.results.clear();
    run();
    seo.setSEOSearchTerm("zzz");
    seo.SEOfilter();
    EXPECT_EQ(seo.numberOfRowsInSEOTable(), 0);
}

} // namespace
