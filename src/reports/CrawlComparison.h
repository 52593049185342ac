#pragma once

#include "crawl/LinkCheckerUrl.h"

#include <QList>
#include <QString>
#include <vector>

// Two saved crawls of a site side by side: what broke, what was fixed, which pages came and
// went. Links are matched by their URL as found; a page is an internal HTML record that is not bad.
namespace CrawlComparison {

enum class Kind { BecameBad, Fixed, PageAppeared, PageDisappeared };

struct Change {
    Kind kind;
    QString url;
    QString oldStatus; // empty where the older crawl had no such link
    QString newStatus; // empty where the newer crawl has none
};

// Links bad now that were good or absent before; links bad before that are good or gone now;
// pages only in the newer crawl; pages only in the older. In that order, each group in the
// order of its crawl.
QList<Change> compare(const std::vector<LinkCheckerUrlPtr>& older,
                      const std::vector<LinkCheckerUrlPtr>& newer);

// "became bad", "fixed", "page appeared", "page disappeared".
QString kindName(Kind kind);
bool anyBecameBad(const QList<Change>& changes);
// "1 became bad, 0 fixed, 2 pages appeared, 0 pages disappeared"
QString countsLine(const QList<Change>& changes);

} // namespace CrawlComparison
