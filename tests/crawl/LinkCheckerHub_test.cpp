#include "support/CrawlFixture.h"
#include "support/QtPrinting.h"

#include <gtest/gtest.h>

TEST(LinkCheckerHub, SwitchingTheLoginOnAsksFirst) {
    struct Case {
        int answer;
        bool on;
    };
    for (const Case& c : {Case{0, false}, Case{1, true}}) {
        Crawl crawl("");
        crawl.config.setDocumentEdited(false);
        crawl.ui.alertAnswer = c.answer;
        EXPECT_EQ(crawl.hub.handleAuthenticationButton(true), c.on);
        EXPECT_EQ(crawl.config.flagForKey("TrelliumAttemptAuthentication"), c.on);
        ASSERT_EQ(crawl.ui.alerts.size(), 1);
        EXPECT_EQ(crawl.ui.alerts[0].first, "Warning - Authentication");
        EXPECT_TRUE(crawl.ui.alerts[0].second.startsWith(
            "By switching on this option it is possible to cause damage"));
        // Only a confirmed change counts as an edit of the settings.
        EXPECT_EQ(crawl.config.isDocumentEdited(), c.on);
        EXPECT_FALSE(crawl.hub.handleAuthenticationButton(false));
        EXPECT_EQ(crawl.ui.alerts.size(), 1);
    }
}

TEST(LinkCheckerHub, BadOnlyReadingOfTheCollection) {
    Crawl crawl("");
    const char* statuses[] = {"200 no error", "404 not found", "200 no error", "500 internal server error"};
    for (int i = 0; i < 4; ++i) {
        auto record = std::make_shared<LinkCheckerUrl>(&crawl.hub);
        record->setLinkUrlTrimQuery(QString("http://a.com/%1").arg(i), false);
        record->setStatus(statuses[i]);
        crawl.hub.add(record);
        crawl.hub.incNumberDone(record);
    }
    EXPECT_EQ(crawl.hub.getBadCollectionCount(), 2);
    crawl.preferences.setValue("showHideGoodLinksCheckBox", true);
    EXPECT_EQ(crawl.hub.getnthItem(0)->getStatus(), "404 not found");
    EXPECT_EQ(crawl.hub.getnthItem(1)->getStatus(), "500 internal server error");
    // Past the bad ones the plain index answers; the crawl's own reading never changes.
    EXPECT_EQ(crawl.hub.getnthItem(2)->getLinkUrl(), "http://a.com/2");
    EXPECT_EQ(crawl.hub.getnthofAllItems(0)->getStatus(), "200 no error");
    EXPECT_EQ(crawl.hub.getnthItem(7), nullptr);
    EXPECT_EQ(crawl.hub.getfirstBadItem()->getLinkUrl(), "http://a.com/1");
    EXPECT_EQ(crawl.ui.progressLines.last(), "4 of 4 links checked, 2 bad");
}

// The known-link lookup folds a link to its key in one look over the text; the rules must
// come out as when they are applied one after another.
TEST(LinkCheckerHub, KnownLinksAreFoundByTheirKey) {
    struct Case {
        const char* stored;
        const char* asked;
        bool internal, trimQuery, ignoreSlash, found;
    };
    const Case cases[] = {
        {"http://h/a", "http://h/a", true, false, false, true},
        {"http://h/a", "http://h/a#part", true, false, false, true},
        {"http://h/a", "http://h/a#!part", true, false, false, false},
        {"http://h/a", "http://h/a#x#!y", true, false, false, false},
        {"http://h/a", "http://h/a?q=1", true, true, false, true},
        {"http://h/a", "http://h/a?q=1", false, true, false, false},
        {"http://h/a", "http://h/a?q=1", true, false, false, false},
        {"http://h/a", "http://h/a?q=1#part", true, true, false, true},
        {"http://h/a", "http://h/a#part?q=1", true, false, false, true},
        {"http://h/a?q=1", "http://h/a?q=1#part", false, true, false, true},
        {"http://h/d", "http://h/d/", true, false, true, true},
        {"http://h/d/", "http://h/d/", true, false, false, true},
        {"http://h/d", "http://h/d/", true, false, false, false},
        {"http://h/d", "http://h/d/#part", true, false, true, true},
        {"http://h/d", "http://h/d/?q=1", true, true, true, true},
        {"http://h/a", "http:///h/a", true, false, false, true},
        {"http://h/a", "http:///h/a#!x", true, false, false, false},
        {"http://h/d", "http:///h/d/?q=1", true, true, true, true},
        {"file:///tmp/a", "file:///tmp/a#part", true, false, false, true},
        {"http://h/a", "", true, false, false, false},
        {"http://h/a", "#", true, false, false, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.stored) + " <- " + c.asked);
        Crawl crawl("");
        crawl.config.setValueForKey("followQuerystring", c.trimQuery ? "YES" : "NO");
        crawl.config.setValueForKey("ignoreSlash", c.ignoreSlash ? "YES" : "NO");
        crawl.hub.readCrawlSettings();
        // Stored as it stands: the record's own trimming is another matter.
        auto record = std::make_shared<LinkCheckerUrl>(&crawl.hub);
        crawl.hub.addToLookupWithKey(record, c.stored);
        const auto found = crawl.hub.weHaveThisOneAlreadyIgnoreInternal(c.asked, nullptr, c.internal);
        EXPECT_EQ(found == record, c.found);
        // The record being looked for on its own behalf is never its own duplicate.
        EXPECT_EQ(crawl.hub.weHaveThisOneAlreadyIgnoreInternal(c.asked, record.get(), c.internal), nullptr);
    }
}

// Links are filed under their page as they come, pages interleaved or not, and a copy of the
// filing taken on the way keeps what it had.
TEST(LinkCheckerHub, LinksAreFiledUnderTheirPage) {
    Crawl crawl("");
    auto link = [&](const QString& url) {
        auto record = std::make_shared<LinkCheckerUrl>(&crawl.hub);
        record->setLinkUrlTrimQuery(url, false);
        return record;
    };
    const QString a = "http://h/a", b = "http://h/b";
    link("http://h/1")->addOnPageUrl(a);
    link("http://h/2")->addOnPageUrl(a);
    link("http://h/3")->addOnPageUrl(b);
    // The same text made afresh is the same page.
    link("http://h/4")->addOnPageUrl(QString("http://h/") + "a");
    const auto copy = crawl.hub.getByPageDictionary();
    link("http://h/5")->addOnPageUrl(a);
    link("http://h/6")->addOnPageUrl(b);

    EXPECT_EQ(copy.value(a).size(), 3);
    EXPECT_EQ(copy.value(b).size(), 1);
    const auto& filed = crawl.hub.getByPageDictionary();
    ASSERT_EQ(filed.value(a).size(), 4);
    EXPECT_EQ(filed.value(a)[3]->getLinkUrl(), "http://h/5");
    ASSERT_EQ(filed.value(b).size(), 2);
    EXPECT_EQ(filed.value(b)[1]->getLinkUrl(), "http://h/6");
    EXPECT_EQ(crawl.hub.numberOfLinksOnThisPage(a), 4);
}
