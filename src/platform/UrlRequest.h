#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QUrl>

using HeaderList = QList<QPair<QByteArray, QByteArray>>;

// The most bytes of one body kept when nothing else is set: 50 MB.
constexpr qint64 defaultMaximumBodySize = qint64(50) * 1024 * 1024;

// Looks a header up by name, ignoring case; empty when absent.
QByteArray headerValue(const HeaderList& headers, const QByteArray& name);
bool hasHeader(const HeaderList& headers, const QByteArray& name);

// What a connection sends: one method, one URL, the header fields in the order they were set.
struct UrlRequest {
    QUrl url;
    QByteArray method = "GET";
    HeaderList headers;
    QByteArray body;
    double timeoutInterval = 60.0;
    // Bounds that keep a hostile server from holding the program: the most bytes of body kept
    // (after decoding a compressed one) and the longest the whole request may take, redirects
    // included. 0 means none.
    qint64 maximumBodySize = 0;
    double maximumTime = 0;
    bool httpShouldHandleCookies = false;

    // Setting a field that is already there replaces its value and keeps its place.
    void setValueForHTTPHeaderField(const QByteArray& value, const QByteArray& field);
    QByteArray valueForHTTPHeaderField(const QByteArray& field) const { return headerValue(headers, field); }
};

// What came back: for HTTP the status line and header fields; for a local file only type and length.
struct UrlResponse {
    QUrl url;
    bool isHTTP = false;
    int statusCode = 0;
    HeaderList headerFields;
    QString mimeType;
    qint64 expectedContentLength = -1;

    QByteArray header(const QByteArray& name) const { return headerValue(headerFields, name); }
    bool hasHeaderField(const QByteArray& name) const { return hasHeader(headerFields, name); }
};

struct UrlError {
    int code = 0;
    QString localizedDescription;
};

struct AuthenticationChallenge {
    QString authenticationMethod;
    QString host;
    int previousFailureCount = 0;
};

extern const char* const NSURLAuthenticationMethodServerTrust;
extern const char* const NSURLAuthenticationMethodHTTPBasic;
extern const char* const NSURLAuthenticationMethodHTTPDigest;
extern const char* const NSURLAuthenticationMethodDefault;

// The usual lower-case reason phrase of an HTTP status code ("no error" for 200).
QString localizedStringForStatusCode(int code);
