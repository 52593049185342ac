// Crawls against a server that answers as badly as it can: every link still ends with its
// status, the crawl finishes, and memory stays bounded whatever the server sends.
#include "platform/SyncFetch.h"
#include "support/CrawlFixture.h"
#include "support/HostileServer.h"
#include "support/QtPrinting.h"

#include <QFile>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace {

HostileServer& server() {
    static HostileServer shared;
    return shared;
}

// A "Vm..." figure of this process, in kB.
qint64 memoryFigure(const QByteArray& name) {
    QFile status("/proc/self/status");
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith(name + ':'))
            return line.mid(name.size() + 1).trimmed().split(' ').value(0).toLongLong();
    return -1;
}

// Resets the peak to what is resident now and returns that, so the peak that follows is the
// work's own.
qint64 resetPeakMemory() {
    QFile clear("/proc/self/clear_refs");
    if (!clear.open(QIODevice::WriteOnly) || clear.write("5") != 1)
        return -1;
    clear.close();
    return memoryFigure("VmRSS");
}

// Each hostile answer is hundreds of MB; kept whole, any one of them passes this.
constexpr qint64 peakBoundKb = 64 * 1024;

void lowerLimits(Crawl& crawl, const char* maxTime) {
    crawl.preferences.setValue("TrelliumMaxPageSize", "1");
    crawl.preferences.setValue("TrelliumMaxRequestTime", maxTime);
}

} // namespace

TEST(HostileServer, EveryLinkEndsWithItsStatusInBoundedMemory) {
    Crawl crawl(server().url("/"));
    lowerLimits(crawl, "1");
    const qint64 before = resetPeakMemory();
    ASSERT_GT(before, 0) << "cannot reset the peak memory figure";
    ASSERT_TRUE(crawl.goToEnd(15000));
    const qint64 peak = memoryFigure("VmHWM") - before;

    const std::tuple<const char*, const char*, int> cases[] = {
        {"/", "200 no error", 0},
        {"/ok", "200 no error", 0},
        {"/big", "page too large", 4},
        {"/bomb", "page too large", 4},
        {"/drip", "The request timed out.", 4},
        {"/redirect", "200 no error < 302 found", 2},
        {"/challenge", "requires authentication", 4},
        {"/header", "response header too large", 4},
    };
    EXPECT_EQ(crawl.hub.count(), qsizetype(std::size(cases)));
    for (const auto& [path, status, colour] : cases) {
        SCOPED_TRACE(path);
        const auto record = crawl.find(server().url(path));
        ASSERT_TRUE(record);
        EXPECT_EQ(record->getStatus(), status);
        EXPECT_EQ(record->getColour(), colour);
        EXPECT_FALSE(record->getData().size()) << "a body outlived its request";
    }
    EXPECT_EQ(crawl.hub.getCrawlState(), LinkCheckerHub::CrawlState::Finished);
    EXPECT_LT(peak, peakBoundKb);
}

TEST(HostileServer, SynchronousFetchStopsAtTheLimit) {
    const std::tuple<const char*, const char*, qsizetype> cases[] = {
        {"/bomb", "page too large", 0}, {"/big", "page too large", 0}, {"/ok", "", 13}};
    const qint64 before = resetPeakMemory();
    for (const auto& [path, error, bodySize] : cases) {
        SCOPED_TRACE(path);
        const SyncFetchResult fetched = fetchSynchronously(server().url(path), "test", 10, 1024 * 1024);
        EXPECT_EQ(fetched.error, error);
        EXPECT_EQ(fetched.body.size(), bodySize);
    }
    EXPECT_LT(memoryFigure("VmHWM") - before, peakBoundKb);
}

// The path that failures the crawl cannot go on from take: what was collected stays and the
// finish runs, though a request (the drip) is still outstanding.
TEST(HostileServer, StopAndFinishClosesTheCrawlWithItsRecords) {
    Crawl crawl(server().url("/"));
    lowerLimits(crawl, "60");
    crawl.hub.go();
    // Everything but the drip has its final status: four bad links, the redirect followed.
    ASSERT_TRUE(spinUntil([&] {
        const auto redirect = crawl.find(server().url("/redirect"));
        return crawl.hub.getBadCollectionCount() == 4 && redirect && redirect->getStatus().contains('<');
    }));
    crawl.hub.stopAndFinish();
    ASSERT_TRUE(crawl.runToEnd(3000));
    EXPECT_EQ(crawl.hub.count(), 8);
    EXPECT_EQ(crawl.hub.getCrawlState(), LinkCheckerHub::CrawlState::Finished);
    // The drip had its headers and keeps their status; its body never ends.
    EXPECT_EQ(crawl.find(server().url("/drip"))->getStatus(), "200 no error");
    EXPECT_EQ(crawl.config.getStatus(), "8 of 8 links checked, 4 bad");
}

// With no size limit and little memory left, holding a page's body fails: the crawl keeps its
// records and still finishes, where it used to wait for ever.
TEST(HostileServer, FailedAppendFinishesTheCrawl) {
    Crawl crawl(server().url("/big"));
    crawl.preferences.setValue("TrelliumMaxPageSize", "0");
    rlimit old{};
    ASSERT_EQ(getrlimit(RLIMIT_AS, &old), 0);
    const rlimit low{rlim_t(memoryFigure("VmSize") * 1024 + 128 * 1024 * 1024), old.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_AS, &low), 0);
    const bool ended = crawl.goToEnd(10000);
    setrlimit(RLIMIT_AS, &old);
    ASSERT_TRUE(ended);
    EXPECT_EQ(crawl.hub.getCrawlState(), LinkCheckerHub::CrawlState::Finished);
    EXPECT_EQ(crawl.hub.count(), 1);
    EXPECT_EQ(crawl.first()->getData().size(), 0);
    // Which allocation fails first depends on how the body's pieces arrive: the record's append
    // stops the crawl, the transfer's own buffer ends that one request with its status.
    const QString status = crawl.first()->getStatus();
    if (crawl.hub.stopPressed())
        EXPECT_EQ(status, "200 no error");
    else
        EXPECT_EQ(status, "out of memory for the page");
}
