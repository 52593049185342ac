#include "reports/CrawlComparison.h"

#include <QHash>
#include <algorithm>

namespace {

using Records = std::vector<LinkCheckerUrlPtr>;
using Index = QHash<QString, const LinkCheckerUrl*>;

// The first record of each URL: a URL met twice counts once.
Index byUrl(const Records& records) {
    Index out;
    out.reserve(qsizetype(records.size()));
    for (const LinkCheckerUrlPtr& record : records)
        if (!out.contains(record->getLinkUrl()))
            out.insert(record->getLinkUrl(), record.get());
    return out;
}

bool isBad(const LinkCheckerUrl* record) {
    return record && record->isInBadCollection();
}

// A page of the site that answered: one that broke has gone as a page too.
bool isPage(const LinkCheckerUrl* record) {
    return record && record->isInternal() && record->getIsHTML() && !record->isInBadCollection();
}

QString statusOf(const LinkCheckerUrl* record) {
    return record ? record->getStatus() : QString();
}

// The records of one crawl that have the quality and whose counterpart in the other lacks it.
void collect(QList<CrawlComparison::Change>& out, CrawlComparison::Kind kind, const Records& from,
             const Index& fromIndex, const Index& otherIndex, bool fromIsNewer,
             bool (*quality)(const LinkCheckerUrl*)) {
    for (const LinkCheckerUrlPtr& record : from) {
        if (fromIndex.value(record->getLinkUrl()) != record.get() || !quality(record.get()))
            continue;
        const LinkCheckerUrl* other = otherIndex.value(record->getLinkUrl());
        if (quality(other))
            continue;
        const QString here = record->getStatus(), there = statusOf(other);
        out.append({kind, record->getLinkUrl(), fromIsNewer ? there : here, fromIsNewer ? here : there});
    }
}

} // namespace

namespace CrawlComparison {

QList<Change> compare(const Records& older, const Records& newer) {
    const Index oldIndex = byUrl(older), newIndex = byUrl(newer);
    QList<Change> changes;
    collect(changes, Kind::BecameBad, newer, newIndex, oldIndex, true, isBad);
    collect(changes, Kind::Fixed, older, oldIndex, newIndex, false, isBad);
    collect(changes, Kind::PageAppeared, newer, newIndex, oldIndex, true, isPage);
    collect(changes, Kind::PageDisappeared, older, oldIndex, newIndex, false, isPage);
    return changes;
}
QString kindName(Kind kind) {
    switch (kind) {
    case Kind::BecameBad:
        return "became bad";
    case Kind::Fixed:
        return "fixed";
    case Kind::PageAppeared:
        return "page appeared";
    case Kind::PageDisappeared:
        return "page disappeared";
    }
    return QString();
}

bool anyBecameBad(const QList<Change>& changes) {
    return std::any_of(changes.begin(), changes.end(),
                       [](const Change& c) { return c.kind == Kind::BecameBad; });
}

QString countsLine(const QList<Change>& changes) {
    int counts[4] = {};
    for (const Change& change : changes)
        ++counts[int(change.kind)];
    return QString("%1 became bad, %2 fixed, %3 pages appeared, %4 pages disappeared")
        .arg(counts[0])
        .arg(counts[1])
        .arg(counts[2])
        .arg(counts[3]);
}

} // namespace CrawlComparison
