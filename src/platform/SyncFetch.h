#pragma once

#include <QByteArray>
#include <QString>

// One blocking request, redirects followed. For reads that need an answer before going on:
// the page reader's own fetch and robots.txt.
struct SyncFetchResult {
    long status = 0; // HTTP status of the final response; 200 for a file that was read
    QByteArray body;
    QString contentType; // the Content-Type header; for file URLs, guessed from the file name
    QString error;       // empty on success
    QString finalUrl;    // the URL after redirects
};

SyncFetchResult fetchSynchronously(const QString& url, const QString& userAgent, double timeoutSeconds);
