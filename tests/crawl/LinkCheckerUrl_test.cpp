#include "support/CrawlFixture.h"
#include "support/QtPrinting.h"
#include "views/RecordJson.h"

#include <gtest/gtest.h>

namespace {

// A hub with default settings, and records made on it but not added to it.
struct Fixture : Crawl {
    Fixture() : Crawl("") {}

    LinkCheckerUrlPtr record(const QString& url = "http://example.com/page",
                             const QString& status = QString()) {
        auto r = std::make_shared<LinkCheckerUrl>(&hub);
        r->setLinkUrlTrimQuery(url, false);
        r->setStatus(status);
        return r;
    }
};

} // namespace

TEST(LinkCheckerUrl, StatusDerivation) {
    struct Case {
        const char* status;
        const char* redir;
        int colour;
        bool good, exempt, errorPage, staysOutOfBad;
        bool blacklisted = false;
    };
    const Case cases[] = {
        {"", "", 0, false, false, false, true},
        {"200 no error", "", 0, true, false, false, true},
        {"200 no error", "http://example.com/other", 2, true, false, false, true},
        {"200 no error < 301 moved permanently", "http://example.com/other", 2, true, false, false, true},
        {"200 no error < 302 found", "", 0, true, false, false, true},
        {"200 no error (not http)", "", 0, true, false, false, true},
        {"301 moved permanently", "", 2, true, false, true, false},
        {"404 not found", "", 3, false, false, true, false},
        {"404 'soft 404' < 200 no error", "", 3, false, false, true, false},
        {"503 service unavailable", "", 4, false, false, true, false},
        {"The request timed out.", "", 4, false, false, false, false},
        {"recurring redirect", "", 4, false, false, false, false},
        {"Not checked", "", 0, true, true, false, true},
        {"Disallowed by robots.txt", "", 0, true, true, false, true},
        {"missing link url", "", 4, false, true, false, false},
        {"MCMS zref", "", 4, false, true, false, false},
        {"file is directory", "", 0, true, false, false, true},
        {"file doesnt exist", "", 4, false, false, false, false},
        {"101 switching protocols", "", 0, true, false, false, true},
        // Flagged blacklisted links are coloured before server errors, not before missing pages.
        {"500 internal server error", "", 2, true, false, true, false, true},
        {"404 not found", "", 3, false, false, true, false, true},
    };
    Fixture f;
    f.preferences.setValue("flagBlacklisted", true);
    for (const Case& c : cases) {
        auto r = f.record("http://example.com/page", c.status);
        if (*c.redir)
            r->setRedir(c.redir);
        r->setIsBlacklisted(c.blacklisted);
        SCOPED_TRACE(c.status);
        EXPECT_EQ(r->getColour(), c.colour);
        EXPECT_EQ(r->isGoodLink(), c.good);
        EXPECT_EQ(r->isExempt(), c.exempt);
        EXPECT_EQ(r->isErrorPage(), c.errorPage);
        EXPECT_EQ(r->shouldBeMemberOfBadCollection(), c.staysOutOfBad);
    }
}

TEST(LinkCheckerUrl, StatusChainPutsNewestFirst) {
    Fixture f;
    auto r = f.record();
    r->updateStatus("301 moved permanently");
    r->updateStatus("200 no error");
    EXPECT_EQ(r->getStatus(), "200 no error < 301 moved permanently");
    r->setStatus(QString());
    EXPECT_EQ(r->getStatus(), "200 no error < 301 moved permanently");
    r->setStatus("404 not found");
    EXPECT_EQ(r->getStatus(), "404 not found");
}

TEST(LinkCheckerUrl, TrimmingOfStoredUrls) {
    struct Case {
        const char* in;
        bool trimQuery;
        bool ignoreSlash;
        const char* stored;
        const char* actual;
        bool internal = true; // an external link's query is never cut
    };
    const Case cases[] = {
        {"http://a.com/p#top", false, true, "http://a.com/p", "http://a.com/p"},
        {"http://a.com/#!/app/1", false, true, "http://a.com/#!/app/1", "http://a.com/#!/app/1"},
        {"http://a.com/?x=&#38;y#frag", false, true, "http://a.com/?x=&#38;y", "http://a.com/?x=&#38;y"},
        {"http://a.com/p?x=1#f", true, true, "http://a.com/p", "http://a.com/p"},
        {"http://a.com/dir/", false, true, "http://a.com/dir", "http://a.com/dir/"},
        {"http://a.com/dir/", false, false, "http://a.com/dir/", "http://a.com/dir/"},
        {"https://www.google.com/url?q=http%3A%2F%2Fb.org%2Fx&sa=U", false, true, "http://b.org/x",
         "http://b.org/x"},
        {"#", false, true, "#", "#"},
        {"http://other.org/p?id=3", true, true, "http://other.org/p?id=3", "http://other.org/p?id=3", false},
    };
    for (const Case& c : cases) {
        Fixture f;
        f.config.setValueForKey("ignoreSlash", c.ignoreSlash ? "YES" : "NO");
        auto r = std::make_shared<LinkCheckerUrl>(&f.hub);
        r->setIsInternal(c.internal);
        r->setLinkUrlTrimQuery(c.in, c.trimQuery);
        SCOPED_TRACE(c.in);
        EXPECT_EQ(r->getLinkUrl(), c.stored);
        EXPECT_EQ(r->getActualLinkUrl(), c.actual);
        EXPECT_EQ(f.hub.lookup(c.stored), r);
    }
}

TEST(LinkCheckerUrl, EqualityThroughTripledSlashSetsRecursion) {
    Fixture f;
    auto r = f.record("http://a.com/recur//page");
    EXPECT_FALSE(r->isEqualToUrlTrimmedIgnoreTrailingSlash("", false, true));
    EXPECT_TRUE(r->isEqualToUrlTrimmedIgnoreTrailingSlash("http://a.com/recur//page/", false, true));
    EXPECT_FALSE(r->getRecursion());
    EXPECT_TRUE(r->isEqualToUrlTrimmedIgnoreTrailingSlash("http://a.com/recur///page", false, true));
    EXPECT_TRUE(r->getRecursion());
    r->setStatus("200 no error");
    EXPECT_EQ(r->getColour(), 2);
}

TEST(LinkCheckerUrl, TruncationAtFiftyCharacters) {
    const QString fifty(50, 'a');
    const QString fiftyOne = QString(23, 'b') + QString(1, 'x') + QString(27, 'c');
    EXPECT_EQ(LinkCheckerUrl::truncateURLByAddingElipsisInMiddle(fifty), fifty);
    const QString cut = LinkCheckerUrl::truncateURLByAddingElipsisInMiddle(fiftyOne);
    EXPECT_EQ(cut.size(), 53);
    EXPECT_EQ(cut, QString(23, 'b') + "..." + QString(27, 'c'));
}

TEST(LinkCheckerUrl, OccurrenceRenderings) {
    Fixture f;
    auto r = f.record("http://a.com/target");
    EXPECT_EQ(r->getOnPageUrl(), "");
    EXPECT_EQ(r->getOnPageName(), "");
    EXPECT_EQ(r->getOnPages(), "");
    EXPECT_EQ(r->getFieldByName("onpagecount").toString(), "0");

    r->addOnPageUrl("http://a.com/one");
    r->addOnPageName("Page one");
    r->addOnPageLinkText("first");
    r->addNofollow(true);
    EXPECT_EQ(r->getOnPageUrl(), "http://a.com/one");
    f.preferences.setValue("KestreliaShowPageTitle", 1);
    EXPECT_EQ(r->getOnPageUrl(), "Page one");
    f.preferences.setValue("KestreliaShowPageTitle", 0);

    r->addOnPageUrl(QString());
    r->addOnPageName(QString());
    r->addOnPageLinkText(QString());
    r->addNofollow(false);
    EXPECT_EQ(r->getOnPageUrlArray(), QStringList({"http://a.com/one", "no url"}));
    EXPECT_EQ(r->getOnPageNameArray(), QStringList({"Page one", "untitled"}));
    EXPECT_EQ(r->getOnPageLinkTextArray(), QStringList({"first", "no text"}));
    EXPECT_EQ(r->getOnPageUrl(), "2 occurrences over more than one page");
    EXPECT_EQ(r->getOnPages(), "http://a.com/one\rno url");
    EXPECT_EQ(r->getOnPagesText(), "http://a.com/one,no url");
    // The first occurrence speaks for all of them.
    EXPECT_EQ(r->getNofollow(), "Yes");
    EXPECT_EQ(f.hub.numberOfLinksOnThisPage("http://a.com/one"), 1);
    EXPECT_EQ(r->getOnPagesHTML(),
              "<a href = \"http://a.com/one\" target=\"_blank\">http://a.com/one</a><br />"
              "<a href = \"no url\" target=\"_blank\">no url</a>");
}

TEST(LinkCheckerUrl, ArrayMembershipIgnoresCaseAndFinalSlash) {
    const QStringList pages = {"", "http://A.com/Dir/", "http://a.com/x"};
    EXPECT_TRUE(LinkCheckerUrl::isThisStringAlreadyInArray("", {}));
    EXPECT_TRUE(LinkCheckerUrl::isThisStringAlreadyInArray("http://a.com/dir", pages));
    EXPECT_TRUE(LinkCheckerUrl::isThisStringAlreadyInArray("http://a.com/x/", pages));
    EXPECT_FALSE(LinkCheckerUrl::isThisStringAlreadyInArray("http://a.com/y", pages));
}

TEST(LinkCheckerUrl, FieldVocabulary) {
    Fixture f;
    auto r = f.record("http://a.com/p");
    struct Case {
        const char* key;
        const char* text;
        double number;
    };
    const Case blank[] = {{"wordcount", "", -1},
                          {"validatorerrors", "", -1},
                          {"responsetime", "", 0},
                          {"imageqty", "", 0},
                          {"imageweight", "", 0},
                          {"distance", "0", 0},
                          {"filesize", "0kb", 0},
                          {"totalOcurrences", "0", 0},
                          {"ocurrencesinarchive", "0", 0},
                          {"unknownkey", "", 0},
                          {"robots", "", 0},
                          {"nofollow", "No", 0},
                          {"actualurl", "http://a.com/p", 0}};
    for (const Case& c : blank) {
        SCOPED_TRACE(c.key);
        EXPECT_EQ(r->getFieldByName(c.key).toString(), c.text);
        EXPECT_EQ(r->getFieldAsNumberByName(c.key), c.number);
    }
    r->setFileSize(5000);
    r->setWordCount(12);
    r->setHeadContainsNoFollow(true);
    r->setHeadContainsNoIndex(true);
    EXPECT_EQ(r->getFieldByName("filesize").toString(), "4kb");
    EXPECT_EQ(r->getFieldAsNumberByName("filesize"), 4.0);
    EXPECT_EQ(r->getFieldByName("wordcount").toString(), "12");
    EXPECT_EQ(r->getFieldByName("robots").toString(), "nofollow,noindex");
    r->setFileSize(3LL << 30); // past what 32 bits hold
    EXPECT_EQ(r->getFieldByName("filesize").toString(), "3145728kb");
    EXPECT_EQ(recordToJson(*r)["fileSize"].toInteger(), 3LL << 30);
    EXPECT_TRUE(KestDataObject::isNumber("ocurrencesinarchive"));
    EXPECT_FALSE(KestDataObject::isNumber("status"));
}

TEST(LinkCheckerUrl, TermCounting) {
    EXPECT_EQ(LinkCheckerUrl::countOcurrencesOfStringInString("aa", "aAaa"), 3);
    EXPECT_EQ(LinkCheckerUrl::countOcurrencesOfStringInString("", "abc"), 0);
    Fixture f;
    auto r = f.record("http://a.com/Search?q=x");
    const QStringList terms = {"", "s"};
    EXPECT_TRUE(r->linkContainsOneOfTheseTerms(&terms));
    const QStringList none = {"zzz"};
    EXPECT_FALSE(r->linkContainsOneOfTheseTerms(&none));
    EXPECT_FALSE(r->linkContainsOneOfTheseTerms(nullptr));
}

TEST(LinkCheckerUrl, DirectoryDepthAndClimbing) {
    Fixture f;
    EXPECT_EQ(f.record("http://a.com/")->getDirectoryDepth(), 0);
    EXPECT_EQ(f.record("http://a.com/a/b/c.html")->getDirectoryDepth(), 3);
    EXPECT_TRUE(f.record("http://a.com/../up.html")->directoryTooHigh());
    EXPECT_FALSE(f.record("http://a.com/ok.html")->directoryTooHigh());
    EXPECT_TRUE(f.record("http://a.com/Report.PDF")->getIsPDF());
}
