// A crawl with the language checks on, against the local server and the real checker: the page
// counts, the table's filter, the review and its recheck thread, and the section reports.
#include "analysis/SEOManager.h"
#include "platform/SpellChecker.h"
#include "support/CrawlFixture.h"
#include "support/QtPrinting.h"
#include "support/TempHome.h"
#include "support/TestServer.h"

#include <gtest/gtest.h>

namespace {

QByteArray page(const QString& body) {
    return QString("<html><head><title>T</title></head>\n<body>%1</body></html>").arg(body).toUtf8();
}

struct SpellingSite : testing::Test {
    TempHome home;
    TestServer server;
    std::unique_ptr<Crawl> crawl;
    std::unique_ptr<SEOManager> seo;
    QString a, b, c;

    void SetUp() override {
        ASSERT_TRUE(SpellChecker::sharedSpellChecker().setLanguage("en_US"));
        server.addPage("/",
                       page("<a href=\"/a.html\">A</a> <a href=\"/b.html\">B</a> <a href=\"/c.html\">C</a>"));
        server.addPage("/a.html", page("<p>The qwzx cat sat on the mat.</p><p>A second qwzx is here.</p>"));
        server.addPage("/b.html", page("<p>Nothing is wrong here.</p><p>Cat the on mat the sat blue.</p>"));
        server.addPage("/c.html", page("<p>Flurbo says hello to you.</p>"));
        a = server.url("/a.html");
        b = server.url("/b.html");
        c = server.url("/c.html");
        crawl = std::make_unique<Crawl>(server.url("/"));
        crawl->config.setValueForKey("checkSpelling", "YES");
        crawl->config.setValueForKey("checkGrammar", "YES");
        // One request at a time: the pages then join the list in the order of the links.
        crawl->config.setValueForKey("numberOfThreads", "1");
        seo = std::make_unique<SEOManager>(crawl->config, crawl->preferences, crawl->hub);
        crawl->hub.go();
        ASSERT_TRUE(crawl->runToEnd());
    }

    QStringList listed() {
        QStringList urls;
        for (const LinkCheckerUrlPtr& p : seo->getSpellingCollection())
            urls << p->getActualLinkUrl();
        return urls;
    }
    LinkCheckerUrlPtr record(const QString& url) { return crawl->find(url); }
};

QString row(const QString& url, int spelling, int grammar, bool alt) {
    const QString cls = alt ? "class = \"%1 alt\" " : "class = %1 ";
    return QString("<tr><td %1><a href = %2 >%2</a></td><td %3>%4</td><td %5>%6</td></tr>")
        .arg(cls.arg("actualurl"), url, cls.arg("spelling"), QString::number(spelling), cls.arg("grammar"),
             QString::number(grammar));
}

const QString tableHead = "<table><tr><th class = actualurl>URL</th><th class = spelling>Spelling</th>"
                          "<th class = grammar>Grammar</th></tr>";

} // namespace

TEST_F(SpellingSite, CountsFilterAndReportsByteForByte) {
    EXPECT_EQ(record(a)->getSpelling(), 2);
    EXPECT_EQ(record(c)->getSpelling(), 1);
    EXPECT_EQ(record(b)->getSpelling(), 0);
    EXPECT_EQ(record(b)->getGrammar(), 1);
    EXPECT_EQ(record(a)->getGrammar(), 0);
    EXPECT_TRUE(record(a)->hasData()) << "pages are kept for the recheck";

    const QStringList all = listed();
    EXPECT_EQ(all.size(), 4) << "tag 0 lists pages with no issues too";
    EXPECT_EQ(seo->getSpellingPagesCount(), 2);
    EXPECT_EQ(seo->getGrammarPagesCount(), 1);
    seo->spellingfilter(SEOManager::withSpelling);
    EXPECT_EQ(listed(), QStringList({a, c}));
    seo->spellingfilter(SEOManager::withGrammar);
    EXPECT_EQ(listed(), QStringList({b}));
    seo->spellingfilter(SEOManager::allUnreviewed);
    seo->spellingDidClickColumn("spelling", false);
    EXPECT_EQ(listed().mid(0, 2), QStringList({a, c})) << "sorted by count, most first";

    const kestreliaTableView table = SEOManager::spellingTableView();
    EXPECT_EQ(seo->getBadSpellingReport(table),
              "<h1>Spelling</h1>\n<p>4 page(s) included, 2 with spelling issues</p>\n" + tableHead +
                  row(a, 2, 0, false) + row(c, 1, 0, true) + "</table><br />\n");
    EXPECT_EQ(
        seo->getBadSpellingAndGrammarReport(table),
        "<h1>Spelling &amp; grammar</h1>\n<p>4 page(s) included, 2 spelling issues, 1 grammar issues</p>\n" +
            tableHead + row(a, 2, 0, false) + row(b, 0, 1, true) + row(c, 1, 0, false) + "</table><br />\n");
    EXPECT_TRUE(seo->getSpellingReport(table).contains(row(server.url("/"), 0, 0, false)));
    // The CSV follows the spelling list's own (sorted) order, with no quoting of its own.
    EXPECT_TRUE(seo->exportSpellingAsCSV(table).startsWith(
        QString("\"URL\",\"Spelling\",\"Grammar\"\r\"%1\",\"2\",\"0\"\r\"%2\",\"1\",\"0\"\r").arg(a, c)));
    const QString html = seo->exportSpellingAsHTML(table);
    EXPECT_TRUE(html.contains("</style><table><tr><table><tr><th class = actualurl>URL</th>"));
    EXPECT_TRUE(html.endsWith(row(b, 0, 1, true) + "</body></head></html>"));
    EXPECT_FALSE(html.contains("</table>"));

    // With both checks off the table is empty, so are the reports' tables.
    crawl->config.setValueForKey("checkSpelling", "NO");
    crawl->config.setValueForKey("checkGrammar", "NO");
    EXPECT_EQ(seo->spellingRowCount(), 0);
    EXPECT_EQ(seo->getBadSpellingReport(table),
              "<h1>Spelling</h1>\n<p>4 page(s) included, 2 with spelling issues</p>\n" + tableHead +
                  "</table><br />\n");
}

TEST_F(SpellingSite, ReviewRemovesThePageAndTheRecheckCountsLearnedWordsAway) {
    crawl->preferences.setValue("removeWhenSpellingReviewedButton", true);
    seo->spellingfilter(SEOManager::withSpelling);
    ASSERT_EQ(listed(), QStringList({a, c}));
    int reloads = 0;
    seo->onSpellingTableChanged = [&] { ++reloads; };

    // The review of a closes: it leaves the list, and the recheck finds no list to walk.
    seo->spellingDiallogDidFinishReviewing(0);
    EXPECT_TRUE(record(a)->spellingReviewed());
    ASSERT_TRUE(SpellChecker::sharedSpellChecker().learnWord("Flurbo"));
    seo->reCheckSpellingCollection();
    ASSERT_TRUE(seo->waitForSpellingRechecks(10000));
    EXPECT_EQ(record(c)->getSpelling(), 1);
    EXPECT_TRUE(spinUntil([&] { return reloads == 1; }));

    // Built again, the list holds c alone, while the page counts still take in a.
    EXPECT_EQ(listed(), QStringList({c}));
    EXPECT_EQ(seo->getSpellingPagesCount(), 2);
    seo->reCheckSpellingCollection();
    ASSERT_TRUE(seo->waitForSpellingRechecks(10000));
    EXPECT_EQ(record(c)->getSpelling(), 0) << "the learned word no longer counts";
    EXPECT_EQ(record(a)->getSpelling(), 2) << "pages outside the list are not rechecked";
    EXPECT_TRUE(spinUntil([&] { return reloads == 2; }));
    EXPECT_EQ(seo->getSpellingPagesCount(), 2) << "the counts change only when the list is built";
    seo->clearSpellingCollection();
    EXPECT_EQ(seo->getSpellingPagesCount(), 2);
    seo->getSpellingCollection();
    EXPECT_EQ(seo->getSpellingPagesCount(), 1);

    // Off, the preference leaves a reviewed page where it is.
    crawl->preferences.setValue("removeWhenSpellingReviewedButton", false);
    seo->spellingfilter(SEOManager::allUnreviewed);
    const qsizetype rows = listed().size();
    seo->spellingDiallogDidFinishReviewing(0);
    EXPECT_EQ(listed().size(), rows);
}
