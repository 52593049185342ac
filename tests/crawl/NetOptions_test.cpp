// Status lists, retry waits and the reading of the crawl options beyond the site settings.
#include "app/NetOptions.h"
#include "crawl/CrawlExtras.h"
#include "crawl/RetryPolicy.h"
#include "crawl/StatusCodeSet.h"
#include "support/QtPrinting.h"

#include <QCommandLineParser>
#include <gtest/gtest.h>

TEST(StatusCodeSet, ParsesCodesRangesAndClasses) {
    struct Case {
        const char* text;
        QList<int> in, out;
    };
    const Case cases[] = {
        {"200..299,403", {200, 250, 299, 403}, {199, 300, 404}},
        {"429, 5xx", {429, 500, 599}, {428, 499, 600}},
        {"2XX", {200, 299}, {300}},
        {"404..404", {404}, {403, 405}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const auto set = StatusCodeSet::parse(c.text);
        ASSERT_TRUE(set);
        for (int code : c.in)
            EXPECT_TRUE(set->contains(code)) << code;
        for (int code : c.out)
            EXPECT_FALSE(set->contains(code)) << code;
    }
    for (const char* text : {"299..200", "2x", "200,", "099", "1000", "0xx", "abc"})
        EXPECT_FALSE(StatusCodeSet::parse(text)) << text;
}

TEST(StatusCodeSet, LeadingCodeOfAStatus) {
    const std::pair<const char*, int> cases[] = {
        {"404 not found", 404},
        {"200 no error < 301 moved permanently", 200},
        {"404 'soft 404' < 200 no error", 404},
        {"200 no error (not http)", 200},
        {"Not checked", 0},
        {"4040 x", 0},
        {"", 0},
    };
    for (const auto& [status, code] : cases)
        EXPECT_EQ(StatusCodeSet::leadingCode(status), code) << status;
}

TEST(RetryPolicy, WaitsFollowRetryAfterOrDouble) {
    const QDateTime now = QDateTime::fromString("2026-11-23T12:00:00Z", Qt::ISODate);
    struct Case {
        int retry;
        const char* retryAfter;
        double seconds;
    };
    const Case cases[] = {
        {1, "", 1},
        {2, "", 2},
        {3, "", 4},
        {9, "", RetryPolicy::longestWait},
        {1, "3", 3},
        {3, " 0 ", 0},
        {1, "86400", RetryPolicy::longestWait},
        {1, "-5", 0},
        {1, "Mon, 23 Nov 2026 12:00:07 GMT", 7},
        {1, "Mon, 23 Nov 2026 11:00:00 GMT", 0}, // a date gone by: at once
        {2, "soon", 2},                          // neither seconds nor a date: the schedule
    };
    for (const Case& c : cases)
        EXPECT_DOUBLE_EQ(RetryPolicy::waitBefore(c.retry, c.retryAfter, now), c.seconds)
            << c.retry << " " << c.retryAfter;
}

TEST(NetOptions, CommandLineValuesAndRefusals) {
    // Reads the options into `extras`; the message of a refusal, or empty.
    const auto read = [](const QStringList& args, CrawlExtras& extras) {
        QCommandLineParser parser;
        addNetOptions(parser);
        EXPECT_TRUE(parser.parse(QStringList{"trellium"} + args));
        QString error;
        const bool accepted = readNetOptions(parser, extras, &error);
        EXPECT_EQ(accepted, error.isEmpty());
        return error;
    };
    const std::pair<QStringList, const char*> cases[] = {
        {{"--retry", "3", "--retry-on", "503"}, ""},
        {{"--retry", "-1"}, "--retry takes a whole number of at least 0"},
        {{"--retry-on", "503"}, "--retry-on needs --retry N"},
        {{"--retry", "2", "--retry-on", "5x"},
         "--retry-on takes status codes such as 200..299,403 or 429,5xx, not '5x'"},
        {{"--accept", "200..299,403"}, ""},
        {{"--accept", ""}, "--accept takes status codes such as 200..299,403 or 429,5xx, not ''"},
        {{"--max-redirects", "x"}, "--max-redirects takes a whole number of at least 0"},
        {{"--exclude", "a(", "--include", "b"},
         "--exclude 'a(' is no regular expression: missing closing parenthesis"},
    };
    for (const auto& [args, error] : cases) {
        CrawlExtras extras;
        EXPECT_EQ(read(args, extras), error) << args.join(' ').toStdString();
    }
    // A bare --retry retries the default codes; the options not given change nothing.
    CrawlExtras extras;
    ASSERT_EQ(read({"--retry", "2"}, extras), "");
    EXPECT_TRUE(extras.retry.shouldRetry(429, 1));
    EXPECT_TRUE(extras.retry.shouldRetry(503, 0));
    EXPECT_FALSE(extras.retry.shouldRetry(503, 2));
    EXPECT_FALSE(extras.retry.shouldRetry(404, 0));
    EXPECT_FALSE(extras.insecure || extras.checkAnchors || extras.checkResources || extras.accept ||
                 extras.maxRedirects || extras.isExcluded("http://x/"));
}
