// The crawl options beyond the site settings, each against the real local servers.
#include "support/CrawlFixture.h"
#include "support/QtPrinting.h"
#include "support/TestServer.h"
#include "views/RecordJson.h"

#include <QElapsedTimer>
#include <gtest/gtest.h>

namespace {

QByteArray page(const QString& body) {
    return QString("<html><head><title>T</title></head><body>%1</body></html>").arg(body).toUtf8();
}

// One server for the whole program; each test adds the pages it needs under its own folder.
TestServer& server() {
    static TestServer instance;
    return instance;
}

QString pathOf(const LinkCheckerUrl& record) {
    const QString url = record.getLinkUrl();
    return url.startsWith(server().baseUrl()) ? url.mid(server().baseUrl().size()) : url;
}

// The status of the record for a path of the shared server, or for a whole URL.
QString statusOf(const Crawl& crawl, const QString& pathOrUrl) {
    const auto record = crawl.find(pathOrUrl.startsWith('/') ? server().url(pathOrUrl) : pathOrUrl);
    return record ? record->getStatus() : "no record";
}

// The sorted paths of the records that pass `test`.
QStringList pathsWhere(const Crawl& crawl, const std::function<bool(const LinkCheckerUrl&)>& test) {
    QStringList paths;
    for (qsizetype i = 0; i < crawl.hub.count(); ++i)
        if (test(*crawl.hub.getnthofAllItems(i)))
            paths.append(pathOf(*crawl.hub.getnthofAllItems(i)));
    paths.sort();
    return paths;
}

QStringList badPaths(const Crawl& crawl) {
    return pathsWhere(crawl, [](const LinkCheckerUrl& r) { return r.isInBadCollection(); });
}

std::unique_ptr<Crawl> startCrawl(const QString& path, const CrawlExtras& extras) {
    auto crawl = std::make_unique<Crawl>(server().url(path));
    crawl->hub.setCrawlExtras(extras);
    crawl->hub.go();
    return crawl;
}

std::unique_ptr<Crawl> crawlToEnd(const QString& path, const CrawlExtras& extras) {
    auto crawl = startCrawl(path, extras);
    EXPECT_TRUE(crawl->runToEnd()) << path.toStdString();
    return crawl;
}

} // namespace

TEST(NetOptions, RetriesWaitWithoutHoldingUpOtherWork) {
    struct Case {
        const char* target;
        int attempts;
        const char* retryOn; // empty: the default set
        const char* status;
        int requests;
    };
    const Case cases[] = {
        {"/flaky/429/1?retry-after=1", 2, "", "200 no error", 2},
        {"/flaky/503/2?c=1", 2, "", "200 no error", 3},
        {"/flaky/503/2?c=2", 1, "", "503 service unavailable", 2}, // the last answer stays
        {"/flaky/503/1?c=3", 0, "", "503 service unavailable", 1}, // no retry by default
        {"/flaky/404/1?c=4", 2, "", "404 not found", 1},           // not a code to retry
        {"/flaky/404/1?c=5", 2, "404", "200 no error", 2},
        {"/flaky/500/1?c=6", 2, "429", "500 internal server error", 1},
    };
    // All crawls at once: the waits add up to 6 s, and run side by side only if no wait blocks.
    QElapsedTimer clock;
    clock.start();
    std::vector<std::unique_ptr<Crawl>> crawls;
    for (size_t i = 0; i < std::size(cases); ++i) {
        const QString start = QString("/retry/%1.html").arg(i);
        server().addPage(start, page(QString("<a href=\"%1\">x</a>").arg(cases[i].target)));
        CrawlExtras extras;
        extras.retry.attempts = cases[i].attempts;
        if (*cases[i].retryOn)
            extras.retry.on = *StatusCodeSet::parse(cases[i].retryOn);
        crawls.push_back(startCrawl(start, extras));
    }
    ASSERT_TRUE(spinUntil([&] {
        return std::all_of(crawls.begin(), crawls.end(),
                           [](const auto& c) { return c->hub.isCrawlFinished(); });
    }));
    const qint64 elapsed = clock.elapsed();
    for (size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(cases[i].target);
        const QString target = cases[i].target;
        EXPECT_EQ(statusOf(*crawls[i], target), cases[i].status);
        EXPECT_EQ(server().requestsFor(target).size(), cases[i].requests);
        EXPECT_EQ(crawls[i]->hub.getBadCollectionCount(), QString(cases[i].status).startsWith("200") ? 0 : 1);
    }
    EXPECT_GE(elapsed, 2900); // 1 s, then 2 s, before the third answer of the 503 route
    EXPECT_LT(elapsed, 5500);
}

TEST(NetOptions, APauseDuringARetryWaitSendsTheLinkOnceMore) {
    const QString target = "/flaky/503/1?c=pause";
    server().addPage("/retry/pause.html", page(QString("<a href=\"%1\">x</a>").arg(target)));
    CrawlExtras extras;
    extras.retry.attempts = 3;
    const auto crawl = startCrawl("/retry/pause.html", extras);
    ASSERT_TRUE(spinUntil([&] { return server().requestsFor(target).size() == 1; }));
    crawl->hub.go("Pause");
    crawl->hub.go("Continue");
    ASSERT_TRUE(crawl->runToEnd());
    EXPECT_EQ(statusOf(*crawl, target), "200 no error");
    // The wait begun before the pause must not send it once more after the crawl.
    spinUntil([] { return false; }, 1300);
    EXPECT_EQ(server().requestsFor(target).size(), 2);
}

TEST(NetOptions, AnchorsMustNameAnElementOfTheirPage) {
    // Fragments on the page itself, on a page read later, on one read already, and on a text file.
    server().addPage("/anchors/", page(R"(<p id="local"></p><a href="target.html#present">1</a>
        <a href="target.html#absent">2</a> <a href="target.html#old">3</a> <a href="target.html#caf%C3%A9">4</a>
        <a href="#local">5</a> <a href="#nolocal">6</a> <a href="target.html#top">7</a>
        <a href="second.html">8</a> <a href="plain.txt#x">9</a>)"));
    server().addPage("/anchors/second.html", page(R"(<a href="target.html#absent">1</a>
        <a href="target.html#present">2</a> <a href="/anchors/#local">3</a> <a href="/anchors/#gone">4</a>)"));
    server().addPage(
        "/anchors/target.html",
        page(R"(<h2 id="present"></h2><a name="old"></a><p id='café'></p><span name="absent">)"));
    server().addPage("/anchors/plain.txt", "no ids here", "text/plain");

    for (const bool on : {false, true}) {
        SCOPED_TRACE(on);
        CrawlExtras extras;
        extras.checkAnchors = on;
        const auto crawl = crawlToEnd("/anchors/", extras);
        const QStringList missing =
            on ? QStringList{"/anchors/#gone", "/anchors/#nolocal", "/anchors/target.html#absent"}
               : QStringList{};
        EXPECT_EQ(
            pathsWhere(*crawl, [](const LinkCheckerUrl& r) { return r.getStatus() == "fragment not found"; }),
            missing);
        EXPECT_EQ(badPaths(*crawl), missing);
        // One record for a fragment missing on two pages, with both places.
        if (on) {
            EXPECT_EQ(crawl->find(server().url("/anchors/target.html#absent"))->getOnPageNameArray().size(),
                      2);
        }
    }
}

TEST(NetOptions, AcceptedStatusesDecideGoodAndBad) {
    server().addPage("/accept/", page(R"(<a href="/status/403">a</a> <a href="/status/404">b</a>
        <a href="/redirect/301">c</a> <a href="/status/500">d</a>)"));
    const std::pair<const char*, QStringList> cases[] = {
        {"", {"/status/403", "/status/404", "/status/500"}}, // empty: off
        {"200..299,403", {"/status/404", "/status/500"}},
        {"403", {"/accept", "/redirect/301", "/status/404", "/status/500"}},
    };
    for (const auto& [accept, bad] : cases) {
        SCOPED_TRACE(accept);
        CrawlExtras extras;
        if (*accept)
            extras.accept = StatusCodeSet::parse(accept);
        const auto crawl = crawlToEnd("/accept/", extras);
        EXPECT_EQ(badPaths(*crawl), bad);
        EXPECT_EQ(pathsWhere(*crawl, [](const LinkCheckerUrl& r) { return !r.isGoodLink(); }), bad);
    }
}

TEST(NetOptions, ExcludeAndIncludePatterns) {
    server().addPage("/rules/", page(R"(<a href="/rules/keep.html">a</a> <a href="/rules/DROP.html">b</a>
        <a href="/status/404">c</a>)"));
    server().addPage("/rules/keep.html", page(""));
    server().addPage("/rules/DROP.html", page(""));
    struct Case {
        QStringList exclude, include, notChecked;
    };
    const Case cases[] = {
        {{"drop"}, {}, {}}, // case matters
        {{"(?i)drop", "status/4\\d\\d$"}, {}, {"/rules/DROP.html", "/status/404"}},
        {{}, {"keep"}, {"/rules/DROP.html", "/status/404"}}, // the start is checked all the same
        {{"keep"}, {"/rules/"}, {"/rules/keep.html", "/status/404"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE((c.exclude + QStringList{"|"} + c.include).join(' ').toStdString());
        CrawlExtras extras;
        for (const QString& p : c.exclude)
            extras.exclude.append(QRegularExpression(p));
        for (const QString& p : c.include)
            extras.include.append(QRegularExpression(p));
        const auto crawl = crawlToEnd("/rules/", extras);
        EXPECT_EQ(pathsWhere(*crawl, [](const LinkCheckerUrl& r) { return r.getStatus() == "Not checked"; }),
                  c.notChecked);
        EXPECT_EQ(statusOf(*crawl, "/rules/"), "200 no error");
        EXPECT_EQ(server().requestsFor("/rules/DROP.html").isEmpty(),
                  c.notChecked.contains("/rules/DROP.html"));
        server().resetRecords();
    }
}

TEST(NetOptions, MaxRedirects) {
    server().addPage("/redirects/",
                     page(R"(<a href="/redirect/chain/3">3</a> <a href="/redirect/chain/4">4</a>)"));
    const char* followed = "200 no error < 301 moved permanently";
    const char* refused = "recurring redirect";
    const std::tuple<std::optional<int>, const char*, const char*> cases[] = {
        {std::nullopt, followed, followed}, {3, followed, refused}, {0, refused, refused}};
    for (const auto& [most, three, four] : cases) {
        SCOPED_TRACE(most.value_or(-1));
        CrawlExtras extras;
        extras.maxRedirects = most;
        const auto crawl = crawlToEnd("/redirects/", extras);
        EXPECT_EQ(statusOf(*crawl, "/redirect/chain/3"), three);
        EXPECT_EQ(statusOf(*crawl, "/redirect/chain/4"), four);
    }
}

TEST(NetOptions, ResourcesOfAPageAreCheckedNotFollowed) {
    server().addPage("/res/", page(R"(<link rel="stylesheet" href="/res/missing.css">
        <script src="/res/app.js"></script><img srcset="/res/a.png 1x, /res/b.png 2x">
        <iframe src="/res/frame.html"></iframe><a href="/res/page.html">page</a>)"));
    server().addPage("/res/app.js", "1", "text/javascript");
    server().addPage("/res/a.png", "png", "image/png");
    server().addPage("/res/frame.html", page(R"(<a href="/res/from-frame.html">x</a>)"));
    server().addPage("/res/page.html", page(R"(<script src="/res/from-page.js"></script>)"));
    // Every record but the start, with its kind.
    const std::pair<bool, QStringList> cases[] = {
        {false, {"/res/page.html"}},
        {true,
         {"/res/a.png srcset", "/res/app.js script", "/res/b.png srcset", "/res/frame.html iframe",
          "/res/from-page.js script", "/res/missing.css stylesheet", "/res/page.html"}},
    };
    for (const auto& [on, expected] : cases) {
        SCOPED_TRACE(on);
        CrawlExtras extras;
        extras.checkResources = on;
        const auto crawl = crawlToEnd("/res/", extras);
        QStringList kinds;
        for (qsizetype i = 1; i < crawl->hub.count(); ++i) {
            const auto record = crawl->hub.getnthofAllItems(i);
            kinds.append((pathOf(*record) + " " + record->getResourceKind()).trimmed());
            // Only resources carry the key, so the records of links keep their form.
            const QJsonObject json = recordToJson(*record);
            EXPECT_EQ(json.contains("kind"), !record->getResourceKind().isEmpty());
            EXPECT_EQ(json.value("kind").toString(), record->getResourceKind());
        }
        kinds.sort();
        EXPECT_EQ(kinds, expected);
        EXPECT_EQ(badPaths(*crawl),
                  on ? QStringList({"/res/b.png", "/res/from-page.js", "/res/missing.css"}) : QStringList());
    }
}

TEST(NetOptions, InsecureAcceptsASelfSignedCertificateOnEveryLink) {
    TestServer https(TestServer::Scheme::Https);
    https.addPage("/secure.html", page(""));
    const QString internal = https.url("/secure.html");
    const QString external = QString(internal).replace("127.0.0.1", "localhost");
    server().addPage("/tls/",
                     page(QString("<a href=\"%1\">a</a> <a href=\"%2\">b</a>").arg(internal, external)));
    for (const bool insecure : {false, true}) {
        SCOPED_TRACE(insecure);
        CrawlExtras extras;
        extras.insecure = insecure;
        const auto crawl = crawlToEnd("/tls/", extras);
        const char* expected = insecure ? "200 no error" : "The certificate for this server is invalid.";
        EXPECT_EQ(statusOf(*crawl, internal), expected);
        EXPECT_EQ(statusOf(*crawl, external), expected);
    }
}
