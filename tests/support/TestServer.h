#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QPair>
#include <QString>

#include <memory>

// A real HTTP or HTTPS server on 127.0.0.1 and an ephemeral port, for the tests that talk to the
// network. It listens from the end of the constructor until the destructor, which also drops every
// open connection and cuts short every pending delay, so it never waits on a client.
//
// Paths are compared as they arrive on the wire (percent-encoding kept, query apart). A page added
// with addPage or addRedirect takes precedence over the built-in routes below; an added path that
// contains "?" matches only that exact query. Any method (GET, HEAD, POST, ...) gets the same answer.
// Compression happens only on /gzip or when a test adds a page with its own Content-Encoding.
//
// Built-in routes (Location values are absolute paths, never full URLs):
//   /status/NNN           answers status NNN (200-599) with a small HTML page; 204 and 304 have no body
//   /redirect/chain/N     301 to /redirect/chain/N-1; /redirect/chain/0 answers 200 HTML
//   /redirect/NNN         NNN one of 300 301 302 303 307 308: that status to /status/200
//   /flaky/NNN/K          the first K requests of that path and query answer NNN (200-599), every
//                         later one 200 HTML; a query retry-after=VALUE (percent-encoded) adds that
//                         Retry-After header to the NNN answers
//   /redirect/nowhere     302 with a Location header present but empty
//   /redirect/endless/N   302 to /redirect/endless/N+1, forever
//   /slash/PAGE           301 to /slash/PAGE/ (query kept); a path ending in "/" answers 200 HTML
//   /recur//page          301 to /recur///page, which answers 200 HTML
//   /auth/basic[/...]     200 HTML with "Authorization: Basic" user "user" password "secret";
//                         otherwise 401 with WWW-Authenticate: Basic realm="test"
//   /login                a POST whose form body holds user=user and pass=secret gets 200 HTML and
//                         Set-Cookie "session=ok; Path=/"; anything else gets 403
//   /members              200 HTML when the request carries the cookie session=ok, else 403
//   /gzip                 HTML, gzip-compressed (Content-Encoding: gzip) when Accept-Encoding has gzip
//   /slow?ms=N            waits N ms before answering anything, then 200 HTML
//   /slow-body?ms=N       sends the headers (with Content-Length) and half the body, waits N ms, then
//                         the rest
//   /huge?mb=N            an HTML body of exactly N MiB (default 5) with a Content-Length
//   /no-length            HTML in chunked encoding, no Content-Length
//   /headers              the request headers echoed as text/plain, one "Name: value" a line
//   /robots.txt           404 unless a test adds it; so is every other unknown path
class TestServer {
  public:
    enum class Scheme { Http, Https };

    struct Request {
        QString method;
        QString path;                           // as sent, without the query
        QString query;                          // as sent, without the "?"
        QList<QPair<QString, QString>> headers; // ordered by name: httplib keeps no wire order
        QByteArray body;
        // Value of the first header of that name, compared case-insensitively; empty if absent.
        QString header(const QString& name) const;
    };

    // HTTPS uses a self-signed certificate for 127.0.0.1 and localhost, made for this server.
    explicit TestServer(Scheme scheme = Scheme::Http);
    ~TestServer();
    TestServer(const TestServer&) = delete;
    TestServer& operator=(const TestServer&) = delete;

    QString baseUrl() const; // "http://127.0.0.1:PORT", no trailing slash
    QString url(const QString& path) const;
    int port() const;
    // PEM file of the HTTPS certificate (usable as a CA file to trust this server); empty for HTTP.
    QString certificatePath() const;

    void addPage(const QString& path, const QByteArray& body, const QString& contentType = "text/html",
                 int status = 200, const QList<QPair<QString, QString>>& extraHeaders = {});
    void addRedirect(const QString& path, const QString& location, int status = 301);
    // Waits that long before answering that path (added page or built-in route alike).
    void setResponseDelay(const QString& path, int milliseconds);

    // Every request that reached a handler, in arrival order.
    QList<Request> requests() const;
    // Requests for that path; a path with "?" must match path and query together.
    QList<Request> requestsFor(const QString& path) const;
    // Highest number of requests being handled at the same moment, from arrival until the last byte
    // of the answer is written (delays and slow bodies included).
    int maxInFlight() const;
    void resetRecords();

  private:
    struct Impl;
    std::unique_ptr<Impl> d;
};
