#include "support/TestServer.h"

#include <httplib.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <zlib.h>

#include <QTemporaryDir>
#include <QUrl>

#include <arpa/inet.h>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <dirent.h>
#include <mutex>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>

namespace {

using Guard = std::shared_ptr<void>;

std::string htmlPage(const QString& title) {
    return QString("<!DOCTYPE html>\n<html><head><title>%1</title></head><body><p>%1</p></body></html>\n")
        .arg(title.toHtmlEscaped())
        .toStdString();
}

void answerHtml(httplib::Response& res, int status, const QString& title) {
    res.status = status;
    res.set_content(htmlPage(title), "text/html");
}

void answerRedirect(httplib::Response& res, int status, const QString& location) {
    res.status = status;
    res.set_header("Location", location.toStdString());
    res.set_content(htmlPage("Moved"), "text/html");
}

// Non-negative decimal number, or -1.
int number(const QString& text) {
    bool ok = false;
    const int value = text.toInt(&ok);
    return ok && value >= 0 && !text.startsWith('+') ? value : -1;
}

QString formValue(const QByteArray& body, const QString& name) {
    for (const QByteArray& field : body.split('&')) {
        const int equals = field.indexOf('=');
        QByteArray key = field.left(equals < 0 ? field.size() : equals);
        QByteArray value = equals < 0 ? QByteArray() : field.mid(equals + 1);
        key.replace('+', ' ');
        value.replace('+', ' ');
        if (QUrl::fromPercentEncoding(key) == name)
            return QUrl::fromPercentEncoding(value);
    }
    return {};
}

std::string gzip(const std::string& data) {
    z_stream stream{};
    deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
    std::string out(deflateBound(&stream, data.size()) + 64, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    deflate(&stream, Z_FINISH);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return out;
}

// A self-signed certificate naming 127.0.0.1 and localhost. It is its own CA, so a client can trust
// exactly this server by using the PEM file as its CA file.
bool makeCertificate(const QString& folder, X509** certOut, EVP_PKEY** keyOut) {
    EVP_PKEY* key = EVP_EC_gen("P-256");
    X509* cert = X509_new();
    if (!key || !cert)
        return false;
    X509_set_version(cert, 2);
    ASN1_INTEGER_set(X509_get_serialNumber(cert), static_cast<long>(std::time(nullptr)));
    X509_gmtime_adj(X509_getm_notBefore(cert), -3600);
    X509_gmtime_adj(X509_getm_notAfter(cert), 7 * 24 * 3600);
    X509_set_pubkey(cert, key);
    X509_NAME* name = X509_get_subject_name(cert);
    X509_NAME_add_entry_by_txt(name, "O", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>("Trellium tests"), -1, -1, 0);
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("127.0.0.1"),
                               -1, -1, 0);
    X509_set_issuer_name(cert, name);

    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, cert, cert, nullptr, nullptr, 0);
    const std::pair<int, const char*> extensions[] = {{NID_basic_constraints, "critical,CA:TRUE"},
                                                      {NID_subject_key_identifier, "hash"},
                                                      {NID_subject_alt_name, "IP:127.0.0.1,DNS:localhost"}};
    for (const auto& [nid, value] : extensions) {
        X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, nid, value);
        if (!extension)
            return false;
        X509_add_ext(cert, extension, -1);
        X509_EXTENSION_free(extension);
    }
    if (!X509_sign(cert, key, EVP_sha256()))
        return false;

    FILE* certFile = std::fopen(QString(folder + "/cert.pem").toLocal8Bit().constData(), "w");
    FILE* keyFile = std::fopen(QString(folder + "/key.pem").toLocal8Bit().constData(), "w");
    const bool written = certFile && keyFile && PEM_write_X509(certFile, cert) &&
                         PEM_write_PrivateKey(keyFile, key, nullptr, nullptr, 0, nullptr, nullptr);
    if (certFile)
        std::fclose(certFile);
    if (keyFile)
        std::fclose(keyFile);
    *certOut = cert;
    *keyOut = key;
    return written;
}

// httplib listens with a backlog of 5; a burst of parallel connects would overflow it and the
// kernel's dropped SYNs cost the clients a one-second retry. Listening again widens the queue.
struct BacklogWidener : httplib::Server {
    static void widen(httplib::Server& server) { ::listen(server.*(&BacklogWidener::svr_sock_), SOMAXCONN); }
};

// httplib's workers sit in keep-alive waits (five seconds) and in writes to clients that stopped
// reading; stop() does not interrupt them. Shutting down every socket this process accepted on the
// port wakes them at once, so the destructor never waits on a client.
void dropAcceptedConnections(int port) {
    DIR* folder = opendir("/dev/fd");
    if (!folder)
        return;
    while (dirent* entry = readdir(folder)) {
        const int fd = std::atoi(entry->d_name);
        sockaddr_in local{}, peer{};
        socklen_t localLength = sizeof local, peerLength = sizeof peer;
        if (fd <= 2 || getsockname(fd, reinterpret_cast<sockaddr*>(&local), &localLength) != 0 ||
            local.sin_family != AF_INET || ntohs(local.sin_port) != port)
            continue;
        if (getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &peerLength) == 0)
            shutdown(fd, SHUT_RDWR);
    }
    closedir(folder);
}

} // namespace

QString TestServer::Request::header(const QString& name) const {
    for (const auto& [key, value] : headers)
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    return {};
}

struct TestServer::Impl {
    struct Page {
        int status = 200;
        std::string body;
        std::string contentType;
        QList<QPair<QString, QString>> headers;
    };

    Scheme scheme = Scheme::Http;
    std::unique_ptr<QTemporaryDir> certificateDir;
    QString certificatePath;
    std::unique_ptr<httplib::Server> server;
    std::thread thread;
    int port = 0;

    mutable std::mutex mutex;
    QHash<QString, Page> pages;
    QHash<QString, int> delays;
    QList<Request> records;
    int inFlight = 0;
    int maxInFlight = 0;

    std::mutex stopMutex;
    std::condition_variable stopSignal;
    bool stopping = false;

    // Counts the request as in flight until the last copy is released: at the end of the handler,
    // or after the last body byte when a content provider holds a copy.
    Guard enter() {
        {
            std::lock_guard lock(mutex);
            maxInFlight = std::max(maxInFlight, ++inFlight);
        }
        return Guard(nullptr, [this](void*) {
            std::lock_guard lock(mutex);
            --inFlight;
        });
    }

    // False when the server is shutting down before the time is up.
    bool pause(int milliseconds) {
        std::unique_lock lock(stopMutex);
        return !stopSignal.wait_for(lock, std::chrono::milliseconds(milliseconds),
                                    [this] { return stopping; });
    }

    void handle(const httplib::Request& req, httplib::Response& res);
    void serveBuiltIn(const Request& request, bool acceptsGzip, const Guard& guard, httplib::Response& res);
};

void TestServer::Impl::handle(const httplib::Request& req, httplib::Response& res) {
    Guard guard = enter();

    Request request;
    request.method = QString::fromStdString(req.method);
    const QString target = QString::fromStdString(req.target.empty() ? req.path : req.target);
    const int question = target.indexOf('?');
    request.path = question < 0 ? target : target.left(question);
    request.query = question < 0 ? QString() : target.mid(question + 1);
    for (const auto& [key, value] : req.headers) {
        // httplib files the peer's addresses among the headers; they never came over the wire.
        if (key == "REMOTE_ADDR" || key == "REMOTE_PORT" || key == "LOCAL_ADDR" || key == "LOCAL_PORT")
            continue;
        request.headers.append({QString::fromStdString(key), QString::fromStdString(value)});
    }
    request.body = QByteArray::fromStdString(req.body);

    // httplib compresses every text answer for a client that accepts gzip or br. Tests need to see
    // bytes as sent, so compression is left to the routes that ask for it: the header goes before
    // httplib looks at it (the request object is the server's own, not a constant).
    const bool acceptsGzip = request.header("Accept-Encoding").contains("gzip", Qt::CaseInsensitive);
    const_cast<httplib::Request&>(req).headers.erase("Accept-Encoding");

    std::optional<Page> page;
    int delay = 0;
    {
        std::lock_guard lock(mutex);
        records.append(request);
        delay = delays.value(request.path, 0);
        const QString decoded = QUrl::fromPercentEncoding(request.path.toUtf8());
        for (const QString& key : {target, request.path, decoded})
            if (pages.contains(key)) {
                page = pages.value(key);
                break;
            }
    }
    if (delay > 0 && !pause(delay)) {
        res.status = 503;
        return;
    }

    if (page) {
        res.status = page->status;
        res.body = page->body;
        if (!page->contentType.empty())
            res.set_header("Content-Type", page->contentType);
        for (const auto& [key, value] : page->headers)
            res.set_header(key.toStdString(), value.toStdString());
        return;
    }
    serveBuiltIn(request, acceptsGzip, guard, res);
}

void TestServer::Impl::serveBuiltIn(const Request& request, bool acceptsGzip, const Guard& guard,
                                    httplib::Response& res) {
    const QString& path = request.path;
    const auto param = [&](const QString& name, int fallback) {
        for (const QString& pair : request.query.split('&'))
            if (pair.startsWith(name + "=")) {
                const int value = number(pair.mid(name.size() + 1));
                return value < 0 ? fallback : value;
            }
        return fallback;
    };

    if (path.startsWith("/status/")) {
        const int status = number(path.mid(8));
        if (status >= 200 && status <= 599) {
            if (status == 204 || status == 304)
                res.status = status;
            else
                answerHtml(res, status, QString("Status %1").arg(status));
            return;
        }
    } else if (path.startsWith("/redirect/chain/")) {
        const int left = number(path.mid(16));
        if (left == 0) {
            answerHtml(res, 200, "End of the chain");
            return;
        }
        if (left > 0) {
            answerRedirect(res, 301, QString("/redirect/chain/%1").arg(left - 1));
            return;
        }
    } else if (path.startsWith("/flaky/")) {
        // The first K requests of this path and query answer NNN, with the Retry-After of the
        // query when it has one; every later one answers 200.
        const QStringList parts = path.mid(7).split('/');
        const int status = number(parts.value(0)), times = number(parts.value(1));
        if (status >= 200 && status <= 599 && times >= 0) {
            qsizetype seen = 0;
            {
                std::lock_guard lock(mutex);
                seen = std::count_if(records.begin(), records.end(), [&](const Request& r) {
                    return r.path == path && r.query == request.query;
                });
            }
            if (seen > times) {
                answerHtml(res, 200, "Back again");
                return;
            }
            answerHtml(res, status, QString("Status %1").arg(status));
            for (const QString& pair : request.query.split('&'))
                if (pair.startsWith("retry-after="))
                    res.set_header("Retry-After",
                                   QUrl::fromPercentEncoding(pair.mid(12).toUtf8()).toStdString());
            return;
        }
    } else if (path == "/redirect/nowhere") {
        answerRedirect(res, 302, "");
        return;
    } else if (path.startsWith("/redirect/endless/")) {
        const int step = number(path.mid(18));
        if (step >= 0) {
            answerRedirect(res, 302, QString("/redirect/endless/%1").arg(step + 1));
            return;
        }
    } else if (path.startsWith("/redirect/")) {
        const int status = number(path.mid(10));
        if (QList<int>{300, 301, 302, 303, 307, 308}.contains(status)) {
            answerRedirect(res, status, "/status/200");
            return;
        }
    } else if (path.startsWith("/slash/") && path.size() > 7) {
        if (path.endsWith('/'))
            answerHtml(res, 200, "Folder");
        else
            answerRedirect(res, 301, path + "/" + (request.query.isEmpty() ? "" : "?" + request.query));
        return;
    } else if (path == "/recur//page") {
        answerRedirect(res, 301, "/recur///page");
        return;
    } else if (path == "/recur///page") {
        answerHtml(res, 200, "Tripled slash");
        return;
    } else if (path == "/auth/basic" || path.startsWith("/auth/basic/")) {
        const QStringList parts = request.header("Authorization").split(' ', Qt::SkipEmptyParts);
        if (parts.size() == 2 && parts[0].compare("Basic", Qt::CaseInsensitive) == 0 &&
            QByteArray::fromBase64(parts[1].toLatin1()) == "user:secret") {
            answerHtml(res, 200, "Authorized");
        } else {
            answerHtml(res, 401, "Authorization required");
            res.set_header("WWW-Authenticate", "Basic realm=\"test\"");
        }
        return;
    } else if (path == "/login") {
        if (request.method == "POST" && formValue(request.body, "user") == "user" &&
            formValue(request.body, "pass") == "secret") {
            answerHtml(res, 200, "Logged in");
            res.set_header("Set-Cookie", "session=ok; Path=/");
        } else {
            answerHtml(res, 403, "Login refused");
        }
        return;
    } else if (path == "/members") {
        bool member = false;
        for (const QString& cookie : request.header("Cookie").split(';'))
            member = member || cookie.trimmed() == "session=ok";
        answerHtml(res, member ? 200 : 403, member ? "Members" : "Members only");
        return;
    } else if (path == "/gzip") {
        std::string body = "<!DOCTYPE html>\n<html><head><title>Compressed</title></head><body>\n";
        for (int i = 0; i < 50; ++i)
            body += "<p><a href=\"/status/200\">A line that compresses well</a></p>\n";
        body += "</body></html>\n";
        res.set_header("Vary", "Accept-Encoding");
        if (acceptsGzip) {
            res.set_header("Content-Encoding", "gzip");
            body = gzip(body);
        }
        res.set_content(body, "text/html");
        return;
    } else if (path == "/slow") {
        if (pause(param("ms", 1000)))
            answerHtml(res, 200, "Slow");
        else
            res.status = 503;
        return;
    } else if (path == "/slow-body") {
        const int ms = param("ms", 1000);
        const std::string body = htmlPage(QString("Slow body ").repeated(100));
        const size_t half = body.size() / 2;
        res.set_content_provider(
            body.size(), "text/html",
            [this, guard, body, half, ms](size_t offset, size_t, httplib::DataSink& sink) {
                if (offset == 0)
                    return sink.write(body.data(), half);
                return pause(ms) && sink.write(body.data() + offset, body.size() - offset);
            });
        return;
    } else if (path == "/huge") {
        const size_t size = size_t(std::clamp(param("mb", 5), 1, 1024)) * 1024 * 1024;
        const std::string head = "<!DOCTYPE html>\n<html><head><title>Huge</title></head><body>\n";
        const std::string tail = "\n</body></html>\n";
        std::string block;
        while (block.size() < 64 * 1024)
            block += "<p>Filler text that makes this page very large.</p>\n";
        res.set_content_provider(
            size, "text/html",
            [guard, head, tail, block, size](size_t offset, size_t, httplib::DataSink& sink) {
                if (offset < head.size())
                    return sink.write(head.data() + offset, head.size() - offset);
                const size_t tailStart = size - tail.size();
                if (offset >= tailStart)
                    return sink.write(tail.data() + offset - tailStart, size - offset);
                const size_t inBlock = (offset - head.size()) % block.size();
                return sink.write(block.data() + inBlock,
                                  std::min(block.size() - inBlock, tailStart - offset));
            });
        return;
    } else if (path == "/no-length") {
        res.set_chunked_content_provider("text/html", [guard](size_t, httplib::DataSink& sink) {
            const std::string parts[] = {"<!DOCTYPE html>\n<html><head><title>Streamed</title></head>",
                                         "<body><p>Sent in chunks, without a length.</p>",
                                         "</body></html>\n"};
            for (const std::string& part : parts)
                if (!sink.write(part.data(), part.size()))
                    return false;
            sink.done();
            return true;
        });
        return;
    } else if (path == "/headers") {
        std::string text;
        for (const auto& [key, value] : request.headers)
            text += (key + ": " + value + "\n").toStdString();
        res.set_content(text, "text/plain");
        return;
    }
    answerHtml(res, 404, "Not Found");
}

TestServer::TestServer(Scheme scheme) : d(std::make_unique<Impl>()) {
    // OpenSSL writes with write(), which raises SIGPIPE when a client hangs up in the middle of an
    // answer; that must not end the test program.
    std::signal(SIGPIPE, SIG_IGN);

    d->scheme = scheme;
    if (scheme == Scheme::Https) {
        X509* cert = nullptr;
        EVP_PKEY* key = nullptr;
        d->certificateDir = std::make_unique<QTemporaryDir>();
        if (!makeCertificate(d->certificateDir->path(), &cert, &key))
            qFatal("TestServer: cannot make a certificate");
        d->certificatePath = d->certificateDir->path() + "/cert.pem";
        d->server = std::make_unique<httplib::SSLServer>(cert, key);
        X509_free(cert);
        EVP_PKEY_free(key);
    } else {
        d->server = std::make_unique<httplib::Server>();
    }

    httplib::Server& server = *d->server;
    // Crawl tests run a dozen requests at once and keep connections alive; every connection holds
    // a worker while it stays open.
    server.new_task_queue = [] { return new httplib::ThreadPool(64); };
    server.set_keep_alive_max_count(10000);
    // Real servers answer without waiting on Nagle; without this every keep-alive answer waits out a delayed
    // ACK.
    server.set_tcp_nodelay(true);
    Impl* impl = d.get();
    const auto handler = [impl](const httplib::Request& req, httplib::Response& res) {
        impl->handle(req, res);
    };
    server.Get(".*", handler);
    server.Post(".*", handler);
    server.Put(".*", handler);
    server.Patch(".*", handler);
    server.Delete(".*", handler);
    server.Options(".*", handler);

    d->port = server.bind_to_any_port("127.0.0.1");
    if (d->port <= 0)
        qFatal("TestServer: cannot bind a port");
    BacklogWidener::widen(server);
    d->thread = std::thread([impl] { impl->server->listen_after_bind(); });
    for (int waited = 0; !server.is_running(); ++waited) {
        if (waited == 5000)
            qFatal("TestServer: the server thread does not start");
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

TestServer::~TestServer() {
    // Connections go first, so a handler cut short by the stop finds its client gone and answers
    // nothing instead of a made-up status.
    d->server->stop();
    dropAcceptedConnections(d->port);
    {
        std::lock_guard lock(d->stopMutex);
        d->stopping = true;
    }
    d->stopSignal.notify_all();
    d->thread.join();
}

QString TestServer::baseUrl() const {
    return QString("%1://127.0.0.1:%2").arg(d->scheme == Scheme::Https ? "https" : "http").arg(d->port);
}

QString TestServer::url(const QString& path) const {
    return baseUrl() + path;
}

int TestServer::port() const {
    return d->port;
}

QString TestServer::certificatePath() const {
    return d->certificatePath;
}

void TestServer::addPage(const QString& path, const QByteArray& body, const QString& contentType, int status,
                         const QList<QPair<QString, QString>>& extraHeaders) {
    std::lock_guard lock(d->mutex);
    d->pages.insert(path, Impl::Page{status, body.toStdString(), contentType.toStdString(), extraHeaders});
}

void TestServer::addRedirect(const QString& path, const QString& location, int status) {
    addPage(path, QByteArray::fromStdString(htmlPage("Moved")), "text/html", status,
            {{"Location", location}});
}

void TestServer::setResponseDelay(const QString& path, int milliseconds) {
    std::lock_guard lock(d->mutex);
    d->delays.insert(path, milliseconds);
}

QList<TestServer::Request> TestServer::requests() const {
    std::lock_guard lock(d->mutex);
    return d->records;
}

QList<TestServer::Request> TestServer::requestsFor(const QString& path) const {
    QList<Request> found;
    for (const Request& request : requests())
        if (request.path == path || (path.contains('?') && request.path + "?" + request.query == path))
            found.append(request);
    return found;
}

int TestServer::maxInFlight() const {
    std::lock_guard lock(d->mutex);
    return d->maxInFlight;
}

void TestServer::resetRecords() {
    std::lock_guard lock(d->mutex);
    d->records.clear();
    d->maxInFlight = d->inFlight;
}
