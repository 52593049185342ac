// One-page crawls and hand-fed collections against real local servers.
#include "support/CrawlFixture.h"
#include "support/QtPrinting.h"
#include "support/RawServer.h"
#include "support/TestServer.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

TEST(CrawlSpine, StatusesAndRedirectChainsOfTheStartingPage) {
    TestServer server;
    struct Case {
        QString path;
        QString status;
        QString redirEnd; // what the last redirect target ends with; empty for none
        int colour;
        int redirects;
    };
    const Case cases[] = {
        {"/status/200", "200 no error", "", 0, 0},
        {"/status/404", "404 not found", "", 3, 0},
        {"/status/503", "503 service unavailable", "", 4, 0},
        {"/redirect/chain/3", "200 no error < 301 moved permanently", "/redirect/chain/0", 2, 3},
        {"/redirect/302", "200 no error < 302 found", "/status/200", 2, 1},
        {"/slash/page", "200 no error", "", 0, 1},
        {"/recur//page", "200 no error", "", 2, 1},
        {"/redirect/nowhere", "redirection to nowhere", "", 4, 1},
        {"/redirect/endless/0", "recurring redirect", "/redirect/endless/101", 4, 101},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path.toStdString());
        Crawl crawl(server.url(c.path));
        ASSERT_TRUE(crawl.goToEnd());
        const auto record = crawl.first();
        EXPECT_EQ(record->getStatus(), c.status);
        EXPECT_EQ(record->getColour(), c.colour);
        EXPECT_EQ(record->getNumberOfRedirects(), c.redirects);
        if (c.redirEnd.isEmpty())
            EXPECT_EQ(record->getRedir(), "");
        else
            EXPECT_TRUE(record->getRedir().endsWith(c.redirEnd)) << record->getRedir().toStdString();
        EXPECT_EQ(crawl.hub.getCrawlState(), LinkCheckerHub::CrawlState::Finished);
        EXPECT_EQ(crawl.ui.progressLines.last(),
                  QString("1 of 1 links checked, %1 bad").arg(record->isGoodLink() && c.colour < 3 ? 0 : 1));
    }
}

TEST(CrawlSpine, HeadersAsSent) {
    TestServer server;
    Crawl crawl(server.url("/status/200"));
    crawl.preferences.setValue("userAgentString", "Agent/1");
    crawl.config.setValueForKey("customHeaderKey1", "X-Extra");
    crawl.config.setValueForKey("customHeaderValue1", "yes");
    crawl.hub.go();
    auto linked = crawl.addLink(server.url("/status/204"));
    linked->addOnPageUrl(server.url("/status/200"));
    ASSERT_TRUE(crawl.runToEnd());

    // The first request to the start is the probe for its encoding; the crawl's own comes last.
    const auto start = server.requestsFor("/status/200").last();
    EXPECT_EQ(start.header("Host"), QString("127.0.0.1:%1").arg(server.port()));
    EXPECT_EQ(start.header("User-Agent"), "Agent/1");
    EXPECT_EQ(start.header("X-Extra"), "yes");
    EXPECT_EQ(start.header("Referer"), "");
    EXPECT_EQ(start.method, "GET");
    const auto second = server.requestsFor("/status/204").value(0);
    EXPECT_EQ(second.header("Referer"), server.url("/status/200"));

    // A custom header named like a built-in one replaces it.
    Crawl custom(server.url("/status/201"));
    custom.config.setValueForKey("customHeaderKey2", "User-Agent");
    custom.config.setValueForKey("customHeaderValue2", "Custom/2");
    custom.config.setValueForKey("customHeaderKey3", "Host");
    custom.config.setValueForKey("customHeaderValue3", "site.example");
    ASSERT_TRUE(custom.goToEnd());
    const auto replaced = server.requestsFor("/status/201").last();
    EXPECT_EQ(replaced.header("User-Agent"), "Custom/2");
    EXPECT_EQ(replaced.header("Host"), "site.example");
}

TEST(CrawlSpine, LoginPostIsSentAsItStandsAndItsCookieCarriesTheCrawl) {
    TestServer server;
    Crawl crawl(server.url("/login"));
    crawl.config.setValueForKey("TrelliumAttemptAuthentication", "YES");
    crawl.config.setValueForKey("authenticationusername", "user");
    crawl.config.setValueForKey("authenticationpassword", "secret");
    crawl.config.setValueForKey("authenticationusernamefieldname", "user");
    crawl.config.setValueForKey("authenticationpasswordfieldname", "pass");
    crawl.config.setValueForKey("customPostKey2", "remember");
    crawl.config.setValueForKey("customPostValue2", "a b&c");
    crawl.hub.go();
    auto members = crawl.addLink(server.url("/members"));
    ASSERT_TRUE(crawl.runToEnd());

    const auto login = server.requestsFor("/login").last();
    EXPECT_EQ(login.method, "POST");
    EXPECT_EQ(login.body, "user=user&pass=secret&remember=a b&c");
    EXPECT_EQ(login.header("Content-Length"), QString::number(login.body.size()));
    EXPECT_EQ(login.header("Accept"), "text/html,application/xhtml+xml,application/xml;q=0.9,*/*;q=0.8");
    EXPECT_EQ(login.header("Accept-Language"), "en-US,en;q=0.5");
    EXPECT_EQ(login.header("Content-Type"), "application/x-www-form-urlencoded");
    EXPECT_EQ(crawl.first()->getStatus(), "200 no error");
    EXPECT_EQ(members->getStatus(), "200 no error");

    // With one of the four fields missing the start is a plain GET, custom pairs or not.
    Crawl incomplete(server.url("/status/200"));
    incomplete.config.setValueForKey("TrelliumAttemptAuthentication", "YES");
    incomplete.config.setValueForKey("authenticationusername", "user");
    incomplete.config.setValueForKey("customPostKey1", "k");
    ASSERT_TRUE(incomplete.goToEnd());
    EXPECT_EQ(server.requestsFor("/status/200").last().method, "GET");

    // Without a login no cookie is kept.
    Crawl anonymous(server.url("/members"));
    ASSERT_TRUE(anonymous.goToEnd());
    EXPECT_EQ(anonymous.first()->getStatus(), "403 forbidden");
}

TEST(CrawlSpine, HttpAuthenticationIsTriedOnce) {
    TestServer server;
    struct Case {
        const char* attempt;
        const char* password;
        const char* status;
    };
    const Case cases[] = {{"YES", "secret", "200 no error"},
                          {"YES", "wrong", "requires authentication"},
                          {"NO", "secret", "requires authentication"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.password);
        Crawl crawl(server.url("/auth/basic"));
        crawl.config.setValueForKey("TrelliumAttemptAuthentication", c.attempt);
        crawl.config.setValueForKey("authenticationusername", "user");
        crawl.config.setValueForKey("authenticationpassword", c.password);
        ASSERT_TRUE(crawl.goToEnd());
        EXPECT_EQ(crawl.first()->getStatus(), c.status);
        EXPECT_LE(crawl.first()->getPreviousFailureCount(), 1);
    }
}

TEST(CrawlSpine, RequestsInFlightNeverExceedTheCap) {
    struct Case {
        const char* threads;
        int expectedMax;
    };
    const Case cases[] = {{"3", 3}, {"1", 1}, {"0", 1}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.threads);
        TestServer server;
        Crawl crawl(server.url("/status/200"));
        crawl.config.setValueForKey("numberOfThreads", c.threads);
        crawl.hub.go();
        for (int i = 0; i < 9; ++i) {
            const QString path = QString("/page%1").arg(i);
            server.addPage(path, "<html>ok</html>");
            server.setResponseDelay(path, 150);
            crawl.addLink(server.url(path));
        }
        ASSERT_TRUE(crawl.runToEnd());
        EXPECT_EQ(server.maxInFlight(), c.expectedMax);
        EXPECT_EQ(crawl.hub.getNumberDone(), 10u);
        EXPECT_EQ(crawl.hub.getNumberOfThreadsDetached(), 0);
    }
}

TEST(CrawlSpine, DelayIsAWaitBeforeEachSend) {
    TestServer server;
    Crawl crawl(server.url("/status/200"));
    crawl.config.setValueForKey("numberOfThreads", "1");
    crawl.config.setValueForKey("delay", "0.3");
    QElapsedTimer timer;
    timer.start();
    crawl.hub.go();
    crawl.addLink(server.url("/status/201"));
    crawl.addLink(server.url("/status/202"));
    crawl.addLink(server.url("/status/203"));
    ASSERT_TRUE(crawl.runToEnd());
    // The first page goes at once; each of the three after it waits out the delay.
    EXPECT_GE(timer.elapsed(), 900);
    for (const char* path : {"/status/201", "/status/202", "/status/203"})
        EXPECT_EQ(server.requestsFor(path).size(), 1) << path;
}

TEST(CrawlSpine, PauseKeepsStatusesAndContinueFinishesTheCrawl) {
    TestServer server;
    Crawl crawl(server.url("/status/200"));
    crawl.config.setValueForKey("numberOfThreads", "2");
    crawl.hub.go();
    auto bad = crawl.addLink(server.url("/status/404"));
    for (int i = 0; i < 4; ++i) {
        const QString path = QString("/slow%1").arg(i);
        server.addPage(path, "<html>slow</html>");
        server.setResponseDelay(path, 300);
        crawl.addLink(server.url(path));
    }
    ASSERT_TRUE(spinUntil([&] { return !bad->getStatus().isEmpty(); }));
    crawl.hub.stop();
    EXPECT_EQ(crawl.hub.getCrawlState(), LinkCheckerHub::CrawlState::Paused);
    EXPECT_EQ(crawl.ui.paused, 1);
    EXPECT_EQ(crawl.hub.getNextUrlIndex(), 0);
    // What was in flight runs on but records nothing while paused.
    QEventLoop wait;
    QTimer::singleShot(700, &wait, &QEventLoop::quit);
    wait.exec();
    EXPECT_EQ(crawl.first()->getStatus(), "200 no error");
    EXPECT_EQ(bad->getStatus(), "404 not found");
    int unanswered = 0;
    for (qsizetype i = 0; i < crawl.hub.count(); ++i)
        unanswered += crawl.hub.getnthofAllItems(i)->getStatus().isEmpty();
    EXPECT_GT(unanswered, 0);

    crawl.hub.go("Continue");
    ASSERT_TRUE(crawl.runToEnd());
    for (qsizetype i = 0; i < crawl.hub.count(); ++i)
        EXPECT_FALSE(crawl.hub.getnthofAllItems(i)->getStatus().isEmpty());
    // The bad link was asked again on the status-only path: its status is replaced, not chained.
    EXPECT_EQ(server.requestsFor("/status/404").size(), 2);
    EXPECT_EQ(bad->getStatus(), "404 not found");
    EXPECT_EQ(server.requestsFor("/status/200").size(), 2);
    EXPECT_EQ(crawl.hub.getBadCollectionCount(), 1);
}

TEST(CrawlSpine, SilentRecordsAreSweptAtTwiceTheTimeOut) {
    TestServer server;
    Crawl crawl(server.url("/status/200"));
    crawl.hub.go();
    // No URL can be made of this text, so no connection starts and nothing ever answers.
    auto silent = crawl.addLink("http://exa mple.com/");
    server.addPage("/late", "<html>late</html>");
    server.setResponseDelay("/late", 1200);
    server.addPage("/later", "<html>later</html>");
    server.setResponseDelay("/later", 1800);
    crawl.addLink(server.url("/late"));
    crawl.addLink(server.url("/later"));
    ASSERT_TRUE(spinUntil([&] { return silent->hasSentRequest(); }));
    // The time-out is read live: shortened now, the sweep at the next finished request catches it.
    crawl.config.setValueForKey("timeOut", "0.5");
    ASSERT_TRUE(crawl.runToEnd(8000));
    EXPECT_EQ(silent->getStatus(), "The request timed out.");
    EXPECT_EQ(crawl.hub.getNumberDone(), 4u);
    EXPECT_TRUE(crawl.hub.isCrawlFinished());
}

TEST(CrawlSpine, MisbehavingServersEndAsStatuses) {
    struct Case {
        RawServer::Mode mode;
        QString status;
    };
    const Case cases[] = {{RawServer::Mode::Garbage, "cannot parse response"},
                          {RawServer::Mode::Reset, "The network connection was lost."},
                          {RawServer::Mode::Hang, "The request timed out."}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.status.toStdString());
        RawServer server(c.mode);
        Crawl crawl(server.url("/"));
        crawl.config.setValueForKey("timeOut", "1");
        crawl.hub.go();
        // The probes of go() wait too, but they are over when it returns: the record itself must
        // end within twice the time-out of its request.
        QElapsedTimer timer;
        timer.start();
        ASSERT_TRUE(crawl.runToEnd(5000));
        EXPECT_EQ(crawl.first()->getStatus(), c.status);
        EXPECT_EQ(crawl.first()->getColour(), 4);
        EXPECT_LT(timer.elapsed(), 2000 + 500);
    }
}

TEST(CrawlSpine, OnlyTheStartingPointEarnsTrustForABadCertificate) {
    TestServer secure(TestServer::Scheme::Https);
    Crawl crawl(secure.url("/status/200"));
    crawl.hub.go();
    auto linked = crawl.addLink(secure.url("/status/201"));
    ASSERT_TRUE(crawl.runToEnd());
    EXPECT_EQ(crawl.first()->getStatus(), "200 no error");
    EXPECT_EQ(linked->getStatus(), "The certificate for this server is invalid.");
    EXPECT_TRUE(linked->isInBadCollection());
}

TEST(CrawlSpine, SpecialRecordsOfTheRequestPath) {
    TestServer server;
    Crawl crawl(server.url("/status/200"));
    crawl.hub.go();
    QString feed = server.url("/status/202");
    feed.replace("http://", "feed://");
    auto feedRecord = crawl.addLink(feed);
    auto climbing = crawl.addLink(server.url("/a/../../up.html"));
    auto external = crawl.addLink(server.url("/huge?mb=8"), false);
    ASSERT_TRUE(crawl.runToEnd());
    EXPECT_EQ(feedRecord->getStatus(), "202 accepted");
    EXPECT_EQ(feedRecord->getLinkUrl(), feed);
    EXPECT_EQ(climbing->getStatus(), "badly formed url");
    EXPECT_TRUE(server.requestsFor("/a/../../up.html").isEmpty());
    EXPECT_TRUE(server.requestsFor("/up.html").isEmpty());
    // An external page is judged by its headers alone.
    EXPECT_EQ(external->getStatus(), "200 no error");
    EXPECT_FALSE(external->hasData());
}

TEST(CrawlSpine, LocalFiles) {
    QTemporaryDir dir;
    QFile index(dir.filePath("index.html"));
    ASSERT_TRUE(index.open(QIODevice::WriteOnly));
    index.write("<html><head><title>Local</title></head><body><a href=\"x.html\">x</a></body></html>");
    index.close();

    Crawl folder(QUrl::fromLocalFile(dir.path()).toString());
    folder.config.setValueForKey("timeOut", "0.2");
    folder.hub.go();
    auto missing = folder.addLink(QUrl::fromLocalFile(dir.filePath("missing.html")).toString());
    // A request that cannot even be made leaves its record silent; the finish's sweep ends it,
    // and the crawl, though no callback is left to run the scheduler.
    auto unmakeable = folder.addLink("http://[::1/x");
    ASSERT_TRUE(folder.runToEnd());
    EXPECT_EQ(unmakeable->getStatus(), "The request timed out.");
    EXPECT_EQ(folder.first()->getStatus(), "200 no error (not http)");
    EXPECT_TRUE(folder.first()->getIsHTML());
    EXPECT_EQ(missing->getColour(), 4);
    EXPECT_FALSE(missing->isGoodLink());

    Crawl absent(QUrl::fromLocalFile(dir.filePath("nothing-here")).toString());
    absent.hub.go();
    EXPECT_EQ(absent.ui.alerts.value(0).first, "Error opening file");
    EXPECT_TRUE(absent.ui.alerts.value(0).second.startsWith(
        "Trellium encountered the following error when trying to open the selected file: "));
    EXPECT_EQ(absent.ui.didntGetOffGround, 1);
    EXPECT_EQ(absent.hub.getCrawlState(), LinkCheckerHub::CrawlState::Idle);
}

TEST(CrawlSpine, StartsThatGoNowhere) {
    Crawl empty("");
    empty.hub.go();
    EXPECT_EQ(empty.hub.count(), 0);
    EXPECT_TRUE(empty.ui.alerts.isEmpty());
    EXPECT_EQ(empty.hub.getCrawlState(), LinkCheckerHub::CrawlState::Idle);

    Crawl hopeless("http://[::1/");
    hopeless.hub.go();
    EXPECT_EQ(hopeless.ui.alerts.value(0).first, "Unsupported url");
    EXPECT_EQ(hopeless.ui.alerts.value(0).second, "Trellium can not make a valid url from\nhttp://[::1/");
    EXPECT_EQ(hopeless.ui.didntGetOffGround, 1);
}
