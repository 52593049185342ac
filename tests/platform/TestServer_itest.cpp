// Checks of the test servers themselves, through libcurl's easy and multi interfaces: the crawl
// tests rely on these routes answering exactly as documented in TestServer.h.
#include "support/RawServer.h"
#include "support/TestServer.h"

#include <curl/curl.h>
#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <arpa/inet.h>
#include <functional>
#include <memory>
#include <netinet/in.h>
#include <optional>
#include <sys/socket.h>
#include <unistd.h>

namespace {

struct Reply {
    CURLcode code = CURLE_OK;
    long status = 0;
    QByteArray body;
    QList<QPair<QByteArray, QByteArray>> headers; // of the last response only
    bool gotHeaders = false;

    std::optional<QByteArray> header(const QByteArray& name) const {
        for (const auto& [key, value] : headers)
            if (key.compare(name, Qt::CaseInsensitive) == 0)
                return value;
        return std::nullopt;
    }
};

size_t collectBody(char* data, size_t size, size_t count, void* reply) {
    static_cast<Reply*>(reply)->body.append(data, qsizetype(size * count));
    return size * count;
}

size_t collectHeader(char* data, size_t size, size_t count, void* target) {
    auto* reply = static_cast<Reply*>(target);
    const QByteArray line = QByteArray(data, qsizetype(size * count)).trimmed();
    if (line.startsWith("HTTP/"))
        reply->headers.clear();
    else if (line.isEmpty())
        reply->gotHeaders = true;
    const int colon = line.indexOf(':');
    if (colon > 0)
        reply->headers.append({line.left(colon), line.mid(colon + 1).trimmed()});
    return size * count;
}

using Configure = std::function<void(CURL*)>;

CURL* makeHandle(const QString& url, Reply* reply, const Configure& setup) {
    CURL* curl = curl_easy_init();
    curl_easy_setopt(curl, CURLOPT_URL, url.toUtf8().constData());
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, collectBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, reply);
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, collectHeader);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, reply);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, 10000L);
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    if (setup)
        setup(curl);
    return curl;
}

Reply fetch(const QString& url, const Configure& setup = {}) {
    Reply reply;
    CURL* curl = makeHandle(url, &reply, setup);
    reply.code = curl_easy_perform(curl);
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &reply.status);
    curl_easy_cleanup(curl);
    return reply;
}

// Transfers that run at the same time on one multi handle.
class Parallel {
  public:
    Parallel() : multi(curl_multi_init()) {}
    ~Parallel() {
        for (auto& [curl, reply] : transfers) {
            curl_multi_remove_handle(multi, curl);
            curl_easy_cleanup(curl);
        }
        curl_multi_cleanup(multi);
    }

    Reply& add(const QString& url) {
        auto reply = std::make_unique<Reply>();
        CURL* curl = makeHandle(url, reply.get(), {});
        curl_multi_add_handle(multi, curl);
        transfers.push_back({curl, std::move(reply)});
        return *transfers.back().second;
    }

    // Drives the transfers until done() holds or all have finished.
    void runUntil(const std::function<bool()>& done = {}) {
        int running = 1;
        while (running && !(done && done())) {
            curl_multi_perform(multi, &running);
            int queued = 0;
            while (CURLMsg* message = curl_multi_info_read(multi, &queued))
                for (auto& [curl, reply] : transfers)
                    if (curl == message->easy_handle) {
                        reply->code = message->data.result;
                        curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &reply->status);
                    }
            curl_multi_poll(multi, nullptr, 0, 20, nullptr);
        }
    }

  private:
    CURLM* multi;
    std::vector<std::pair<CURL*, std::unique_ptr<Reply>>> transfers;
};

TEST(TestServer, RoutesAnswerTheirStatusAndLocation) {
    TestServer server;
    server.addRedirect("/moved", "http://example.invalid/elsewhere", 303);
    struct Case {
        QString path;
        long status;
        std::optional<QByteArray> location; // nullopt: no Location header at all
    };
    const Case cases[] = {
        {"/status/200", 200, std::nullopt},
        {"/status/404", 404, std::nullopt},
        {"/status/599", 599, std::nullopt},
        {"/status/204", 204, std::nullopt},
        {"/status/100", 404, std::nullopt},
        {"/redirect/chain/3", 301, "/redirect/chain/2"},
        {"/redirect/chain/1", 301, "/redirect/chain/0"},
        {"/redirect/chain/0", 200, std::nullopt},
        {"/redirect/302", 302, "/status/200"},
        {"/redirect/307", 307, "/status/200"},
        {"/redirect/308", 308, "/status/200"},
        {"/redirect/304", 404, std::nullopt},
        {"/slash/page?x=1", 301, "/slash/page/?x=1"},
        {"/slash/page/", 200, std::nullopt},
        {"/recur//page", 301, "/recur///page"},
        {"/recur///page", 200, std::nullopt},
        {"/redirect/nowhere", 302, ""},
        {"/redirect/endless/7", 302, "/redirect/endless/8"},
        {"/robots.txt", 404, std::nullopt},
        {"/moved", 303, "http://example.invalid/elsewhere"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path.toStdString());
        const Reply reply = fetch(server.url(c.path));
        ASSERT_EQ(reply.code, CURLE_OK);
        EXPECT_EQ(reply.status, c.status);
        EXPECT_EQ(reply.header("Location"), c.location);
        EXPECT_EQ(reply.body.isEmpty(), c.status == 204);
    }

    server.addPage("/robots.txt", "User-agent: *\nDisallow: /private\n", "text/plain");
    const Reply robots = fetch(server.url("/robots.txt"));
    EXPECT_EQ(robots.status, 200);
    EXPECT_EQ(robots.body, "User-agent: *\nDisallow: /private\n");
}

TEST(TestServer, BodiesArriveAsAdvertised) {
    TestServer server;
    const QByteArray page = "<html><body>" + QByteArray(3000, 'x') + "</body></html>";
    server.addPage("/plain.html", page);
    struct Case {
        QString path;
        bool acceptGzip;
        std::optional<QByteArray> contentEncoding;
        std::optional<QByteArray> contentLength;
        qsizetype size; // -1: not checked
    };
    const Case cases[] = {
        {"/gzip", true, "gzip", std::nullopt, -1},
        {"/gzip", false, std::nullopt, std::nullopt, -1},
        {"/plain.html", true, std::nullopt, QByteArray::number(page.size()), page.size()},
        {"/huge?mb=2", true, std::nullopt, "2097152", 2097152},
        {"/no-length", false, std::nullopt, std::nullopt, -1},
        {"/slow-body?ms=200", false, std::nullopt, std::nullopt, -1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path.toStdString() + (c.acceptGzip ? " with gzip" : ""));
        const Reply reply = fetch(server.url(c.path), [&](CURL* curl) {
            if (c.acceptGzip)
                curl_easy_setopt(curl, CURLOPT_ACCEPT_ENCODING, "gzip");
        });
        ASSERT_EQ(reply.code, CURLE_OK);
        EXPECT_EQ(reply.status, 200);
        EXPECT_EQ(reply.header("Content-Encoding"), c.contentEncoding);
        if (c.contentLength || c.path.startsWith("/no-length")) {
            EXPECT_EQ(reply.header("Content-Length"), c.contentLength);
        }
        if (c.size >= 0) {
            EXPECT_EQ(reply.body.size(), c.size);
        }
        EXPECT_TRUE(reply.body.trimmed().endsWith("</html>"));
    }
    EXPECT_EQ(fetch(server.url("/no-length")).header("Transfer-Encoding"), "chunked");
    EXPECT_EQ(fetch(server.url("/plain.html")).body, page);
}

TEST(TestServer, HttpsIsTrustedOnlyThroughItsOwnCertificate) {
    TestServer server(TestServer::Scheme::Https);
    ASSERT_TRUE(server.baseUrl().startsWith("https://127.0.0.1:"));
    const QString localhost = QString("https://localhost:%1/status/200").arg(server.port());
    const QByteArray resolve = QString("localhost:%1:127.0.0.1").arg(server.port()).toUtf8();
    struct Case {
        const char* name;
        QString url;
        bool verify;
        bool trustCertificate;
        CURLcode expected;
    };
    const Case cases[] = {
        {"no verification", server.url("/status/200"), false, false, CURLE_OK},
        {"system trust", server.url("/status/200"), true, false, CURLE_PEER_FAILED_VERIFICATION},
        {"its certificate, by address", server.url("/status/200"), true, true, CURLE_OK},
        {"its certificate, by name", localhost, true, true, CURLE_OK},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        curl_slist* hosts = curl_slist_append(nullptr, resolve.constData());
        const Reply reply = fetch(c.url, [&](CURL* curl) {
            curl_easy_setopt(curl, CURLOPT_RESOLVE, hosts);
            curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, c.verify ? 1L : 0L);
            curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, c.verify ? 2L : 0L);
            if (c.trustCertificate)
                curl_easy_setopt(curl, CURLOPT_CAINFO, server.certificatePath().toUtf8().constData());
        });
        curl_slist_free_all(hosts);
        EXPECT_EQ(reply.code, c.expected);
        EXPECT_EQ(reply.status, c.expected == CURLE_OK ? 200 : 0);
    }
}

TEST(TestServer, RecordsEveryRequestAsSent) {
    TestServer server;
    server.addPage("/a%20b.html", "<html>space</html>");
    fetch(server.url("/a%20b.html?x=%2F&y"), [](CURL* curl) { curl_easy_setopt(curl, CURLOPT_NOBODY, 1L); });
    curl_slist* headers = curl_slist_append(nullptr, "X-Probe: Mixed Case");
    const Reply login = fetch(server.url("/login?next=%2Fmembers"), [&](CURL* curl) {
        curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers);
        curl_easy_setopt(curl, CURLOPT_POSTFIELDS, "user=user&pass=secret&note=a+b%26c");
    });
    const Reply echo = fetch(server.url("/headers"),
                             [&](CURL* curl) { curl_easy_setopt(curl, CURLOPT_HTTPHEADER, headers); });
    curl_slist_free_all(headers);

    const QList<TestServer::Request> all = server.requests();
    ASSERT_EQ(all.size(), 3);
    EXPECT_EQ(all[0].method, "HEAD");
    EXPECT_EQ(all[0].path, "/a%20b.html");
    EXPECT_EQ(all[0].query, "x=%2F&y");
    EXPECT_EQ(all[1].method, "POST");
    EXPECT_EQ(all[1].path, "/login");
    EXPECT_EQ(all[1].query, "next=%2Fmembers");
    EXPECT_EQ(all[1].body, "user=user&pass=secret&note=a+b%26c");
    EXPECT_EQ(all[1].header("x-probe"), "Mixed Case");
    EXPECT_EQ(all[1].header("CONTENT-TYPE"), "application/x-www-form-urlencoded");
    EXPECT_EQ(all[1].header("Host"), QString("127.0.0.1:%1").arg(server.port()));
    EXPECT_TRUE(all[1].header("Accept-Encoding").isEmpty());
    for (const auto& [name, value] : all[1].headers)
        EXPECT_FALSE(name.contains('_')) << name.toStdString() << " did not come from the client";
    EXPECT_EQ(login.status, 200);
    EXPECT_EQ(login.header("Set-Cookie"), "session=ok; Path=/");
    EXPECT_TRUE(echo.body.contains("X-Probe: Mixed Case\n"));
    EXPECT_EQ(server.requestsFor("/login").size(), 1);
    EXPECT_EQ(server.requestsFor("/login?next=%2Fmembers").size(), 1);
    EXPECT_TRUE(server.requestsFor("/login?next=other").isEmpty());

    server.resetRecords();
    EXPECT_TRUE(server.requests().isEmpty());
}

TEST(TestServer, CredentialRoutesAdmitOnlyTheRightUser) {
    TestServer server;
    struct Case {
        const char* name;
        QString path;
        Configure setup;
        long status;
    };
    const auto post = [](const char* form) {
        return [form](CURL* curl) { curl_easy_setopt(curl, CURLOPT_POSTFIELDS, form); };
    };
    const auto basic = [](const char* password) {
        return [password](CURL* curl) {
            curl_easy_setopt(curl, CURLOPT_USERNAME, "user");
            curl_easy_setopt(curl, CURLOPT_PASSWORD, password);
        };
    };
    const auto cookie = [](const char* value) {
        return [value](CURL* curl) { curl_easy_setopt(curl, CURLOPT_COOKIE, value); };
    };
    const Case cases[] = {
        {"login, right form", "/login", post("pass=secret&user=user"), 200},
        {"login, wrong password", "/login", post("user=user&pass=wrong"), 403},
        {"login, no form", "/login", {}, 403},
        {"members, cookie", "/members", cookie("theme=dark; session=ok"), 200},
        {"members, other cookie", "/members", cookie("session=no"), 403},
        {"members, no cookie", "/members", {}, 403},
        {"basic, right password", "/auth/basic", basic("secret"), 200},
        {"basic, below the realm", "/auth/basic/inner.html", basic("secret"), 200},
        {"basic, wrong password", "/auth/basic", basic("wrong"), 401},
        {"basic, nothing", "/auth/basic", {}, 401},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const Reply reply = fetch(server.url(c.path), c.setup);
        EXPECT_EQ(reply.status, c.status);
        if (c.status == 401) {
            EXPECT_EQ(reply.header("WWW-Authenticate"), "Basic realm=\"test\"");
        }
    }
}

TEST(TestServer, CountsHandlersInFlightUntilTheirLastByte) {
    TestServer server;
    server.addPage("/delayed", "<html>late</html>");
    server.setResponseDelay("/delayed", 400);

    QElapsedTimer clock;
    clock.start();
    {
        Parallel parallel;
        QList<Reply*> replies;
        for (int i = 0; i < 16; ++i)
            replies.append(&parallel.add(server.url(i % 2 ? "/delayed" : "/slow?ms=400")));
        parallel.runUntil();
        for (const Reply* reply : replies) {
            EXPECT_EQ(reply->code, CURLE_OK);
            EXPECT_EQ(reply->status, 200);
        }
    }
    EXPECT_LT(clock.elapsed(), 1500);
    EXPECT_EQ(server.maxInFlight(), 16);
    EXPECT_EQ(server.requests().size(), 16);

    server.resetRecords();
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(fetch(server.url("/status/200")).status, 200);
    EXPECT_EQ(server.maxInFlight(), 1);

    // A slow body keeps its request in flight after the handler has returned the headers.
    server.resetRecords();
    Parallel parallel;
    QList<Reply*> slow;
    for (int i = 0; i < 4; ++i)
        slow.append(&parallel.add(server.url("/slow-body?ms=600")));
    parallel.runUntil(
        [&] { return std::all_of(slow.begin(), slow.end(), [](Reply* r) { return r->gotHeaders; }); });
    EXPECT_EQ(fetch(server.url("/status/200")).status, 200);
    EXPECT_EQ(server.maxInFlight(), 5);
    parallel.runUntil();
    for (const Reply* reply : slow)
        EXPECT_TRUE(reply->body.trimmed().endsWith("</html>"));
}

TEST(TestServer, DestructorDoesNotWaitForClients) {
    auto server = std::make_unique<TestServer>();
    // An idle keep-alive connection held by a live handle, and a request that would wait 20 s.
    Reply idle;
    CURL* keeper = makeHandle(server->url("/status/200"), &idle, {});
    ASSERT_EQ(curl_easy_perform(keeper), CURLE_OK);
    Parallel parallel;
    Reply& pending = parallel.add(server->url("/slow?ms=20000"));
    parallel.runUntil([&] { return server->requestsFor("/slow").size() == 1; });

    QElapsedTimer clock;
    clock.start();
    server.reset();
    EXPECT_LT(clock.elapsed(), 1000);
    parallel.runUntil();
    EXPECT_NE(pending.code, CURLE_OK);
    curl_easy_cleanup(keeper);
}

TEST(RawServer, MisbehavingPeersGiveErrorsNotHangs) {
    struct Case {
        const char* name;
        RawServer::Mode mode;
        QList<CURLcode> expected;
    };
    const Case cases[] = {
        {"garbage", RawServer::Mode::Garbage, {CURLE_UNSUPPORTED_PROTOCOL, CURLE_WEIRD_SERVER_REPLY}},
        {"reset", RawServer::Mode::Reset, {CURLE_RECV_ERROR}},
        {"hang", RawServer::Mode::Hang, {CURLE_OPERATION_TIMEDOUT}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto server = std::make_unique<RawServer>(c.mode);
        QElapsedTimer clock;
        clock.start();
        const Reply reply = fetch(server->url("/page.html"),
                                  [](CURL* curl) { curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, 1000L); });
        EXPECT_TRUE(c.expected.contains(reply.code)) << curl_easy_strerror(reply.code);
        EXPECT_LT(clock.elapsed(), 1500);

        // A client still connected must not hold the destructor.
        const int client = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(quint16(server->port()));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ASSERT_EQ(::connect(client, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        clock.restart();
        server.reset();
        EXPECT_LT(clock.elapsed(), 500);
        close(client);
    }
}

} // namespace
