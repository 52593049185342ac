#pragma once

#include "crawl/RetryPolicy.h"
#include "crawl/StatusCodeSet.h"

#include <QList>
#include <QRegularExpression>
#include <optional>

// Crawl options beyond the site settings, given for one run. Each is off by default and then
// changes nothing the crawl does.
struct CrawlExtras {
    bool insecure = false;               // any certificate is accepted, on every record
    RetryPolicy retry;                   // asking again after 429 and 5xx answers
    std::optional<StatusCodeSet> accept; // the statuses that count as good, all others bad
    bool checkAnchors = false;           // "#fragment" links must name an id on their page
    QList<QRegularExpression> exclude;   // matching URLs are not checked
    QList<QRegularExpression> include;   // when given, only matching URLs are checked
    std::optional<int> maxRedirects;     // redirects followed for one link
    bool checkResources = false;         // stylesheets, scripts, frames, srcset... become records

    // Whether a URL is kept from being checked by the two patterns.
    bool isExcluded(const QString& url) const {
        auto matches = [&](const QRegularExpression& re) { return re.match(url).hasMatch(); };
        return std::any_of(exclude.begin(), exclude.end(), matches) ||
               (!include.isEmpty() && std::none_of(include.begin(), include.end(), matches));
    }
};
