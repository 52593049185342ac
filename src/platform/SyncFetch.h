#pragma once

#include <QByteArray>
#include <QString>

#include "platform/UrlRequest.h"

// One blocking request, redirects followed. For reads that need an answer before going on:
// the page reader's own fetch and robots.txt.
struct SyncFetchResult {
    long status = 0; // HTTP status of the final response; 200 for a file that was read
    QByteArray body;
    QString contentType; // the Content-Type header; for file URLs, guessed from the file name
    QString error;       // empty on success
    QString finalUrl;    // the URL after redirects
};

// A body longer than maximumBodySize (after decoding; 0 for no bound) ends the transfer with
// the error "page too large" and nothing of it is kept.
SyncFetchResult fetchSynchronously(const QString& url, const QString& userAgent, double timeoutSeconds,
                                   qint64 maximumBodySize = defaultMaximumBodySize);
