#pragma once

#include "crawl/StatusCodeSet.h"

#include <QByteArray>
#include <QDateTime>

// Asking again after an answer that says "not now" (429, 503, ...). Off unless attempts > 0.
struct RetryPolicy {
    int attempts = 0; // further requests after the first answer
    StatusCodeSet on = *StatusCodeSet::parse("429,5xx");

    // The longest wait, whatever the server asks: a crawl must end in reasonable time.
    static constexpr double longestWait = 60;

    bool shouldRetry(int statusCode, int retriesDone) const {
        return retriesDone < attempts && on.contains(statusCode);
    }
    // Seconds before retry number `retry` (1 for the first): the server's Retry-After, in
    // seconds or as an HTTP date, when it gives one; otherwise 1, 2, 4, ... seconds.
    static double waitBefore(int retry, const QByteArray& retryAfter, const QDateTime& now);
};
