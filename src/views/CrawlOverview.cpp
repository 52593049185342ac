#include "views/CrawlOverview.h"

#include "crawl/LinkCheckerHub.h"
#include "crawl/LinkCheckerUrl.h"
#include "crawl/StatusCodeSet.h"

#include <algorithm>

bool OverviewSelection::matches(const LinkCheckerUrl& record) const {
    switch (kind) {
    case Code:
        return !record.getStatus().isEmpty() && CrawlOverview::classOf(record) != CrawlOverview::NotChecked &&
               StatusCodeSet::leadingCode(record.getStatus()) == value;
    case StatusClass:
        return CrawlOverview::classOf(record) == value;
    case ResponseTime:
        return CrawlOverview::hasAnswer(record) && CrawlOverview::bucketOf(record.getResponseTime()) == value;
    case Depth:
        return CrawlOverview::isPage(record) && record.getDistanceFromHome() == value;
    }
    return false;
}

QString OverviewSelection::describe() const {
    switch (kind) {
    case Code:
        return value == 0 ? QString("links with no answer") : QString("status %1").arg(value);
    case StatusClass:
        return CrawlOverview::className(value).toLower();
    case ResponseTime:
        return QString("answers in %1").arg(CrawlOverview::bucketName(value));
    case Depth:
        return QString("pages at depth %1").arg(value);
    }
    return {};
}

QString CrawlOverview::className(int statusClass) {
    static const char* const names[classCount] = {"1xx Informational", "2xx Success",      "3xx Redirection",
                                                  "4xx Client error",  "5xx Server error", "No answer",
                                                  "Not checked",       "Waiting"};
    return statusClass >= 0 && statusClass < classCount ? names[statusClass] : QString();
}

int CrawlOverview::classOf(const LinkCheckerUrl& record) {
    const QString& status = record.getStatus();
    if (status.isEmpty())
        return Waiting;
    // Links left alone on purpose (robots.txt, rules) are not failures of the site.
    if (record.isExempt())
        return NotChecked;
    const int code = StatusCodeSet::leadingCode(status);
    if (code >= 100 && code < 600)
        return code / 100 - 1;
    return NoAnswer;
}

const QList<double>& CrawlOverview::bucketBounds() {
    static const QList<double> bounds = {0.1, 0.25, 0.5, 1, 2, 5};
    return bounds;
}

QString CrawlOverview::bucketName(int bucket) {
    // One name per bucket of bucketBounds(), short enough to stand under a bar.
    static const char* const names[] = {"0–100 ms", "100–250 ms", "250–500 ms", "0.5–1 s",
                                        "1–2 s",    "2–5 s",      "≥ 5 s"};
    return names[std::clamp(bucket, 0, bucketCount() - 1)];
}

int CrawlOverview::bucketOf(double seconds) {
    const QList<double>& bounds = bucketBounds();
    // A time on a bound belongs to the bucket above it.
    return int(std::upper_bound(bounds.begin(), bounds.end(), seconds) - bounds.begin());
}

bool CrawlOverview::isPage(const LinkCheckerUrl& record) {
    return record.getIsHTML() && !record.getIsImage();
}

bool CrawlOverview::hasAnswer(const LinkCheckerUrl& record) {
    return StatusCodeSet::leadingCode(record.getStatus()) != 0 && !record.isExempt();
}

CrawlOverview CrawlOverview::fromHub(const LinkCheckerHub& hub, int slowestKept) {
    CrawlOverview o;
    o.byResponseTime = QList<int>(bucketCount(), 0);
    for (qsizetype i = 0; i < hub.count(); ++i) {
        const std::shared_ptr<LinkCheckerUrl> record = hub.getnthofAllItems(i);
        if (!record)
            continue;
        ++o.links;
        const int statusClass = classOf(*record);
        ++o.byClass[statusClass];
        if (statusClass != Waiting && statusClass != NotChecked) {
            ++o.byCode[StatusCodeSet::leadingCode(record->getStatus())];
            // Good and bad as the link views tell them: the bad ones are those in the bad list.
            if (record->isInBadCollection())
                ++o.bad;
            else
                ++o.good;
        }
        ++(record->isInternal() ? o.internal : o.external);
        const bool page = isPage(*record);
        ++(record->getIsImage() ? o.images : page ? o.pages : o.otherFiles);
        if (page)
            ++o.pagesByDepth[record->getDistanceFromHome()];
        if (hasAnswer(*record)) {
            ++o.byResponseTime[bucketOf(record->getResponseTime())];
            if (page)
                o.slowest.append({record->getLinkUrl(), record->getResponseTime()});
        }
    }
    // Equal times keep the order of the crawl.
    std::stable_sort(o.slowest.begin(), o.slowest.end(),
                     [](const SlowPage& a, const SlowPage& b) { return a.seconds > b.seconds; });
    if (o.slowest.size() > slowestKept)
        o.slowest.resize(slowestKept);
    return o;
}
