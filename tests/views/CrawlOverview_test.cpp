#include "ViewsFixture.h"

#include "views/CrawlOverview.h"
#include "views/CrawlPace.h"

// Every status form a record can carry lands in one class and one code, and the selection of
// that code or class finds exactly it.
TEST(CrawlOverview, StatusFormsFallIntoOneClassAndCode) {
    struct Case {
        const char* status;
        int statusClass;
        std::optional<int> code; // nothing: not among the codes at all
    };
    const Case cases[] = {
        {"200 no error", CrawlOverview::Success, 200},
        {"301 moved permanently", CrawlOverview::Redirection, 301},
        {"404 not found", CrawlOverview::ClientError, 404},
        {"503 service unavailable", CrawlOverview::ServerError, 503},
        {"101 switching protocols", CrawlOverview::Informational, 101},
        {"200", CrawlOverview::Success, 200},
        {"2000 not a code", CrawlOverview::NoAnswer, 0},
        {"Unsupported url", CrawlOverview::NoAnswer, 0},
        {"999 made up", CrawlOverview::NoAnswer, 999},
        {"Not checked", CrawlOverview::NotChecked, std::nullopt},
        {"Disallowed by robots.txt", CrawlOverview::NotChecked, std::nullopt},
        {"", CrawlOverview::Waiting, std::nullopt},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.status);
        ViewsFixture f;
        auto r = f.link("http://example.com/a", c.status);
        EXPECT_EQ(CrawlOverview::classOf(*r), c.statusClass);
        const CrawlOverview o = CrawlOverview::fromHub(f.hub);
        EXPECT_EQ(o.byClass[c.statusClass], 1);
        EXPECT_EQ(o.byCode.size(), c.code ? 1 : 0);
        if (c.code) {
            EXPECT_EQ(o.byCode.value(*c.code), 1);
            EXPECT_TRUE((OverviewSelection{OverviewSelection::Code, *c.code}.matches(*r)));
        }
        EXPECT_FALSE((OverviewSelection{OverviewSelection::Code, 0}.matches(*r)) && c.code != 0);
        EXPECT_TRUE((OverviewSelection{OverviewSelection::StatusClass, c.statusClass}.matches(*r)));
    }
}

// A time on a bucket's bound belongs to the bucket above it, and the last bucket is open.
TEST(CrawlOverview, ResponseTimeBucketEdges) {
    const QList<QPair<double, int>> cases = {{0.0, 0},   {0.0999, 0}, {0.1, 1},  {0.2499, 1}, {0.25, 2},
                                             {0.999, 3}, {1.0, 4},    {4.99, 5}, {5.0, 6},    {600, 6}};
    for (const auto& [seconds, bucket] : cases)
        EXPECT_EQ(CrawlOverview::bucketOf(seconds), bucket) << seconds;
    EXPECT_EQ(CrawlOverview::bucketCount(), 7);
    EXPECT_EQ(CrawlOverview::bucketName(0), "0–100 ms");
    EXPECT_EQ(CrawlOverview::bucketName(4), "1–2 s");
    EXPECT_EQ(CrawlOverview::bucketName(6), "≥ 5 s");
    EXPECT_EQ(CrawlOverview::bucketName(7), "≥ 5 s") << "past the end is the open bucket";
}

// Pages, images and other files; inside and outside; depths of pages only; the slowest pages
// in order with ties in crawl order, failures and images never among them.
TEST(CrawlOverview, CountsFromRecords) {
    ViewsFixture f;
    auto link = [&f](const QString& url, const QString& status, int depth, double seconds,
                     bool internal = true) {
        auto r = f.link(url, status, depth);
        r->setResponseTime(seconds);
        r->setIsInternal(internal);
        return r;
    };
    link("http://example.com/", "200 no error", 0, 0.3);
    auto a = link("http://example.com/a", "200 no error", 1, 0.9);
    link("http://example.com/b", "404 not found", 1, 0.9);
    link("http://example.com/c", "200 no error", 2, 0.9);
    auto img = link("http://example.com/i.png", "200 no error", 1, 5);
    img->setIsImage(true);
    link("http://example.com/f.zip", "200 no error", 1, 0.01)->setIsHTML(false);
    auto out = link("http://other.example/", "Unsupported url", 1, 30, false);
    link("http://other.example/x", "", 2, 0, false);

    const CrawlOverview o = CrawlOverview::fromHub(f.hub, 3);
    EXPECT_EQ(o.links, 8);
    EXPECT_EQ(o.internal, 6);
    EXPECT_EQ(o.external, 2);
    EXPECT_EQ(o.pages, 6) << "the two outside links count as pages";
    EXPECT_EQ(o.images, 1);
    EXPECT_EQ(o.otherFiles, 1);
    EXPECT_EQ(o.bad, 2);
    EXPECT_EQ(o.good, 5);
    EXPECT_EQ(o.pagesByDepth, (QMap<int, int>{{0, 1}, {1, 3}, {2, 2}}));
    EXPECT_EQ(o.byResponseTime, (QList<int>{1, 0, 1, 3, 0, 0, 1})) << "the failure's time is not an answer";
    ASSERT_EQ(o.slowest.size(), 3);
    EXPECT_EQ(o.slowest[0].url, "http://example.com/a");
    EXPECT_EQ(o.slowest[1].url, "http://example.com/b");
    EXPECT_EQ(o.slowest[2].url, "http://example.com/c");
    EXPECT_TRUE((OverviewSelection{OverviewSelection::Depth, 1}.matches(*a)));
    EXPECT_FALSE((OverviewSelection{OverviewSelection::Depth, 1}.matches(*img))) << "images are not pages";
    EXPECT_TRUE((OverviewSelection{OverviewSelection::ResponseTime, 6}.matches(*img)));
    EXPECT_FALSE((OverviewSelection{OverviewSelection::ResponseTime, 6}.matches(*out)));
}

// The pace needs a second of samples, follows the recent window only, and starts over when
// the count falls; the estimate needs a pace and something left.
TEST(CrawlPace, PaceAndEstimate) {
    CrawlPace pace;
    EXPECT_FALSE(pace.linksPerSecond());
    pace.sample(100, 0, 10);
    pace.sample(100.5, 5, 10);
    EXPECT_FALSE(pace.linksPerSecond()) << "half a second is too short";
    pace.sample(101, 10, 50);
    ASSERT_TRUE(pace.linksPerSecond());
    EXPECT_DOUBLE_EQ(*pace.linksPerSecond(), 10);
    EXPECT_DOUBLE_EQ(*pace.secondsLeft(), 4);
    // A stall of twenty seconds: the pace falls to what the window saw.
    pace.sample(111, 10, 50);
    pace.sample(121, 10, 50);
    EXPECT_DOUBLE_EQ(*pace.linksPerSecond(), 0);
    EXPECT_FALSE(pace.secondsLeft()) << "no estimate with no pace";
    EXPECT_DOUBLE_EQ(pace.elapsed(), 21);
    pace.sample(122, 50, 50);
    EXPECT_FALSE(pace.secondsLeft()) << "nothing left";
    pace.sample(123, 2, 3);
    EXPECT_DOUBLE_EQ(pace.elapsed(), 0) << "a new crawl starts the clock again";
    EXPECT_EQ(CrawlPace::clockText(65.9), "1:05");
    EXPECT_EQ(CrawlPace::clockText(3723), "1:02:03");
    EXPECT_EQ(CrawlPace::clockText(-3), "0:00");
}
