// The crawl options beyond the site settings, each against the real local servers.
#include "support/CrawlFixture.h"
#include "support/QtPrinting.h"
#include "support/TestServer.h"
#include "views/RecordJson.h"

#include <QElapsedTimer>
#include <gtest/gtest.h>
#include <map>

namespace {

QByteArray page(const QString& title, const QString& body) {
    return QString("<html><head><title>%1</title></head><body>%2</body></html>").arg(title, body).toUtf8();
}

// One server for the whole program; each test adds the pages it needs under its own folder.
TestServer& server() {
    static TestServer instance;
    return instance;
}

QString pathOf(const QString& url) {
    return url.startsWith(server().baseUrl()) ? url.mid(server().baseUrl().size()) : url;
}

// Path (or URL, when on another server) to status, for every record of a finished crawl.
std::map<QString, QString> statuses(const Crawl& crawl) {
    std::map<QString, QString> result;
    for (qsizetype i = 0; i < crawl.hub.count(); ++i) {
        const auto record = crawl.hub.getnthofAllItems(i);
        result[pathOf(record->getLinkUrl())] = record->getStatus();
    }
    return result;
}

QStringList pathsWithStatus(const Crawl& crawl, const QString& wanted) {
    QStringList paths;
    for (const auto& [path, status] : statuses(crawl))
        if (status == wanted)
            paths.append(path);
    return paths;
}

QStringList badPaths(const Crawl& crawl) {
    QStringList bad;
    for (qsizetype i = 0; i < crawl.hub.count(); ++i)
        if (crawl.hub.getnthofAllItems(i)->isInBadCollection())
            bad.append(pathOf(crawl.hub.getnthofAllItems(i)->getLinkUrl()));
    bad.sort();
    return bad;
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
        server().addPage(start, page("Retry", QString("<a href=\"%1\">x</a>").arg(cases[i].target)));
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
        EXPECT_EQ(statuses(*crawls[i])[target], cases[i].status);
        EXPECT_EQ(server().requestsFor(target).size(), cases[i].requests);
        EXPECT_EQ(crawls[i]->hub.getBadCollectionCount(), QString(cases[i].status).startsWith("200") ? 0 : 1);
    }
    EXPECT_GE(elapsed, 2900); // 1 s, then 2 s, before the third answer of the 503 route
    EXPECT_LT(elapsed, 5500);
}

TEST(NetOptions, APauseDuringARetryWaitSendsTheLinkOnceMore) {
    const QString target = "/flaky/503/1?c=pause";
    server().addPage("/retry/pause.html", page("Retry", QString("<a href=\"%1\">x</a>").arg(target)));
    CrawlExtras extras;
    extras.retry.attempts = 3;
    const auto crawl = startCrawl("/retry/pause.html", extras);
    ASSERT_TRUE(spinUntil([&] { return server().requestsFor(target).size() == 1; }));
    crawl->hub.go("Pause");
    crawl->hub.go("Continue");
    ASSERT_TRUE(crawl->runToEnd());
    EXPECT_EQ(statuses(*crawl)[target], "200 no error");
    // The wait begun before the pause must not send it once more after the crawl.
    spinUntil([] { return false; }, 1300);
    EXPECT_EQ(server().requestsFor(target).size(), 2);
}

TEST(NetOptions, AnchorsMustNameAnElementOfTheirPage) {
    server().addPage("/anchors/", page("Start", R"(<p id="local">x</p>
        <a href="target.html#present">1</a> <a href="target.html#absent">2</a>
        <a href="target.html#old">3</a> <a href="target.html#caf%C3%A9">4</a>
        <a href="target.html#with%20space">5</a> <a href="target.html#y">6</a>
        <a href="target.html#hidden">7</a> <a href="#local">8</a> <a href="#nolocal">9</a>
        <a href="target.html#top">10</a> <a href="second.html">11</a> <a href="plain.txt#x">12</a>)"));
    server().addPage(
        "/anchors/second.html",
        page("Second", R"(<a href="target.html#absent">again</a> <a href="target.html#present">ok</a>
        <a href="/anchors/#local">back</a> <a href="/anchors/#gone">gone</a>)"));
    server().addPage("/anchors/target.html", page("Target", R"(<h2 id="present">P</h2><a name="old"></a>
        <p id='café'>c</p><p id="with space">s</p><div data-id="y">d</div><span name="absent">n</span>
        <!-- <p id="hidden"> --><script>var s = '<p id="hidden">';</script>)"));
    server().addPage("/anchors/plain.txt", "no ids here", "text/plain");

    struct Case {
        const char* name;
        bool on;
        QStringList missing;
    };
    const Case cases[] = {
        {"off", false, {}},
        {"on",
         true,
         {"/anchors/#gone", "/anchors/#nolocal", "/anchors/target.html#absent", "/anchors/target.html#hidden",
          "/anchors/target.html#y"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        CrawlExtras extras;
        extras.checkAnchors = c.on;
        const auto crawl = crawlToEnd("/anchors/", extras);
        EXPECT_EQ(pathsWithStatus(*crawl, "fragment not found"), c.missing);
        EXPECT_EQ(badPaths(*crawl), c.missing);
        if (c.on) {
            // One record for a fragment missing on two pages, with both places.
            const auto absent = crawl->find(server().url("/anchors/target.html#absent"));
            ASSERT_TRUE(absent);
            EXPECT_EQ(absent->getOnPageNameArray(), QStringList({"Start", "Second"}));
            EXPECT_EQ(crawl->find(server().url("/anchors/target.html"))->getStatus(), "200 no error");
        }
    }
}

TEST(NetOptions, AcceptedStatusesDecideGoodAndBad) {
    server().addPage("/accept/", page("Start", R"(<a href="/status/403">a</a> <a href="/status/404">b</a>
        <a href="/redirect/301">c</a> <a href="/status/500">d</a>)"));
    struct Case {
        const char* accept; // empty: off
        QStringList bad;
    };
    const Case cases[] = {
        {"", {"/status/403", "/status/404", "/status/500"}},
        {"200..299,403", {"/status/404", "/status/500"}},
        {"2xx,4xx", {"/status/500"}},
        {"403", {"/accept", "/redirect/301", "/status/404", "/status/500"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.accept);
        CrawlExtras extras;
        if (*c.accept)
            extras.accept = StatusCodeSet::parse(c.accept);
        const auto crawl = crawlToEnd("/accept/", extras);
        EXPECT_EQ(badPaths(*crawl), c.bad);
        for (qsizetype i = 0; i < crawl->hub.count(); ++i) {
            const auto record = crawl->hub.getnthofAllItems(i);
            EXPECT_EQ(record->isGoodLink(), !record->isInBadCollection())
                << record->getLinkUrl().toStdString();
        }
    }
}

TEST(NetOptions, ExcludeAndIncludePatterns) {
    server().addPage("/rules/",
                     page("Start", R"(<a href="/rules/keep.html">a</a> <a href="/rules/DROP.html">b</a>
        <a href="/status/404">c</a>)"));
    server().addPage("/rules/keep.html", page("Keep", ""));
    server().addPage("/rules/DROP.html", page("Drop", ""));
    struct Case {
        QStringList exclude, include, notChecked;
    };
    const Case cases[] = {
        {{}, {}, {}},
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
        EXPECT_EQ(pathsWithStatus(*crawl, "Not checked"), c.notChecked);
        EXPECT_EQ(statuses(*crawl)["/rules"], "200 no error");
        EXPECT_EQ(server().requestsFor("/rules/DROP.html").isEmpty(),
                  c.notChecked.contains("/rules/DROP.html"));
        server().resetRecords();
    }
}

TEST(NetOptions, MaxRedirects) {
    server().addPage("/redirects/",
                     page("Start", R"(<a href="/redirect/chain/3">3</a> <a href="/redirect/chain/4">4</a>)"));
    struct Case {
        std::optional<int> most;
        const char* three;
        const char* four;
    };
    const char* followed = "200 no error < 301 moved permanently";
    const Case cases[] = {
        {std::nullopt, followed, followed},
        {3, followed, "recurring redirect"},
        {0, "recurring redirect", "recurring redirect"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.most.value_or(-1));
        CrawlExtras extras;
        extras.maxRedirects = c.most;
        auto result = statuses(*crawlToEnd("/redirects/", extras));
        EXPECT_EQ(result["/redirect/chain/3"], c.three);
        EXPECT_EQ(result["/redirect/chain/4"], c.four);
    }
}

TEST(NetOptions, ResourcesOfAPageAreCheckedNotFollowed) {
    server().addPage("/res/", page("Start", R"(<link rel="stylesheet" href="/res/missing.css">
        <link rel="shortcut icon" href="/res/icon.png"><link rel="preload" href="/res/preload.js">
        <script src="/res/missing.js"></script><script src="/res/app.js"></script>
        <img srcset="/res/a.png 1x, /res/b.png 2x"><iframe src="/res/frame.html"></iframe>
        <video poster="/res/poster.jpg"><source src="/res/clip.mp4"></video>
        <a href="/res/page.html">page</a>)"));
    server().addPage("/res/icon.png", "png", "image/png");
    server().addPage("/res/app.js", "1", "text/javascript");
    server().addPage("/res/a.png", "png", "image/png");
    server().addPage("/res/frame.html", page("Frame", R"(<a href="/res/from-frame.html">x</a>)"));
    server().addPage("/res/page.html", page("Page", R"(<script src="/res/from-page.js"></script>)"));
    struct Case {
        bool on;
        std::map<QString, QString> kinds; // path to kind; paths missing here are no record
    };
    const Case cases[] = {
        {false, {{"/res/page.html", ""}}},
        {true,
         {{"/res/page.html", ""},
          {"/res/missing.css", "stylesheet"},
          {"/res/icon.png", "icon"},
          {"/res/missing.js", "script"},
          {"/res/app.js", "script"},
          {"/res/a.png", "srcset"},
          {"/res/b.png", "srcset"},
          {"/res/frame.html", "iframe"},
          {"/res/poster.jpg", "poster"},
          {"/res/clip.mp4", "source"},
          {"/res/from-page.js", "script"}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.on);
        CrawlExtras extras;
        extras.checkResources = c.on;
        const auto crawl = crawlToEnd("/res/", extras);
        std::map<QString, QString> kinds;
        for (qsizetype i = 1; i < crawl->hub.count(); ++i) {
            const auto record = crawl->hub.getnthofAllItems(i);
            kinds[pathOf(record->getLinkUrl())] = record->getResourceKind();
            // Only resources carry the key, so the records of links keep their form.
            const QJsonObject json = recordToJson(*record);
            EXPECT_EQ(json.contains("kind"), !record->getResourceKind().isEmpty());
            EXPECT_EQ(json.value("kind").toString(), record->getResourceKind());
        }
        EXPECT_EQ(kinds, c.kinds);
        if (c.on) {
            EXPECT_EQ(badPaths(*crawl),
                      QStringList({"/res/b.png", "/res/clip.mp4", "/res/from-page.js", "/res/missing.css",
                                   "/res/missing.js", "/res/poster.jpg"}));
            EXPECT_EQ(statuses(*crawl)["/res/frame.html"], "200 no error");
        }
    }
}

TEST(NetOptions, InsecureAcceptsASelfSignedCertificateOnEveryLink) {
    TestServer https(TestServer::Scheme::Https);
    https.addPage("/secure.html", page("Secure", ""));
    const QString internal = https.url("/secure.html");
    QString external = internal;
    external.replace("127.0.0.1", "localhost");
    server().addPage(
        "/tls/", page("Start", QString("<a href=\"%1\">a</a> <a href=\"%2\">b</a>").arg(internal, external)));
    for (const bool insecure : {false, true}) {
        SCOPED_TRACE(insecure);
        CrawlExtras extras;
        extras.insecure = insecure;
        auto result = statuses(*crawlToEnd("/tls/", extras));
        const char* expected = insecure ? "200 no error" : "The certificate for this server is invalid.";
        EXPECT_EQ(result[internal], expected);
        EXPECT_EQ(result[external], expected);
    }
}
