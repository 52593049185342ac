#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <memory>

class LinkCheckerHub;
class LinkCheckerUrl;

// One part of the overview that the user can pick to see the links behind it: a status code
// (0 for an answer with no code), a status class, a response-time bucket or a page depth.
struct OverviewSelection {
    enum Kind { Code, StatusClass, ResponseTime, Depth };
    Kind kind = Code;
    int value = 0;

    bool matches(const LinkCheckerUrl& record) const;
    // What the tables show, in the user's words: "status 404", "pages at depth 2".
    QString describe() const;
};

// The counts of a crawl for its overview, taken from the hub's records in one walk. It holds
// numbers only; the window draws them.
class CrawlOverview {
  public:
    // Status classes, in the order the overview lists them.
    enum Class {
        Informational,
        Success,
        Redirection,
        ClientError,
        ServerError,
        NoAnswer,
        NotChecked,
        Waiting
    };
    static constexpr int classCount = 8;
    static QString className(int statusClass);
    static int classOf(const LinkCheckerUrl& record);

    // Upper bounds of the response-time buckets in seconds; the last bucket has none.
    static const QList<double>& bucketBounds();
    static int bucketCount() { return int(bucketBounds().size()) + 1; }
    static QString bucketName(int bucket);
    static int bucketOf(double seconds);

    // A page is a document that was read for links: neither an image nor another file.
    static bool isPage(const LinkCheckerUrl& record);
    // Only records that had an HTTP answer have a response time worth counting.
    static bool hasAnswer(const LinkCheckerUrl& record);

    static CrawlOverview fromHub(const LinkCheckerHub& hub, int slowestKept = 10);

    struct SlowPage {
        QString url;
        double seconds = 0;
    };

    int links = 0;
    int good = 0;
    int bad = 0;
    int internal = 0;
    int external = 0;
    int pages = 0;
    int images = 0;
    int otherFiles = 0;
    QList<int> byClass = QList<int>(classCount, 0);
    QMap<int, int> byCode;       // status code, 0 for a failure with no code
    QList<int> byResponseTime;   // answers per bucket
    QMap<int, int> pagesByDepth; // distance from the start
    QList<SlowPage> slowest;     // slowest pages first
};
