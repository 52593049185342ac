#include "platform/myNSURLConnection.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QMimeDatabase>
#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <cstring>
#include <curl/curl.h>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace {

// The body of a redirect or a challenge is never shown to anyone; a short one is read to its end
// so the connection can be used again, a longer one ends the transfer there.
constexpr qint64 heldBodyAllowance = 64 * 1024;

UrlError pageTooLarge() {
    return {-1103, "page too large"};
}

UrlError responseHeaderTooLarge() {
    return {-1011, "response header too large"};
}

UrlError errorForCurlCode(CURLcode code) {
    switch (code) {
    case CURLE_OPERATION_TIMEDOUT:
        return {-1001, "The request timed out."};
    case CURLE_FILESIZE_EXCEEDED:
        return pageTooLarge();
    case CURLE_URL_MALFORMAT:
    case CURLE_UNSUPPORTED_PROTOCOL:
        return {-1002, "unsupported URL"};
    case CURLE_COULDNT_RESOLVE_HOST:
        return {-1003, "A server with the specified hostname could not be found."};
    case CURLE_COULDNT_CONNECT:
        return {-1004, "Could not connect to the server."};
    case CURLE_GOT_NOTHING:
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
    case CURLE_PARTIAL_FILE:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
    case CURLE_HTTP3:
        return {-1005, "The network connection was lost."};
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_BAD_CONTENT_ENCODING:
        return {-1017, "cannot parse response"};
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_INVALIDCERTSTATUS:
    case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
        return {-1202, "The certificate for this server is invalid."};
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CRL_BADFILE:
    case CURLE_SSL_ENGINE_NOTFOUND:
    case CURLE_SSL_ENGINE_SETFAILED:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_SHUTDOWN_FAILED:
        return {-1200, "An SSL error has occurred and a secure connection to the server cannot be made."};
    default:
        return {-1, QString::fromUtf8(curl_easy_strerror(code))};
    }
}

QString methodOfChallenge(const QByteArray& wwwAuthenticate) {
    const QByteArray scheme = wwwAuthenticate.trimmed().split(' ').value(0).toLower();
    if (scheme == "basic")
        return NSURLAuthenticationMethodHTTPBasic;
    if (scheme == "digest")
        return NSURLAuthenticationMethodHTTPDigest;
    return NSURLAuthenticationMethodDefault;
}

class CurlDriver;

} // namespace

// One request in flight, with its curl handle and what has arrived but not yet been delivered.
// Delivery happens outside curl's callbacks, so the delegate may cancel or start transfers freely.
struct myNSURLConnection::Transfer {
    enum class Answer { None, Credential, Trust, Without, Cancel };

    myNSURLConnection* owner;
    ConnectionDelegate* delegate;
    UrlRequest request;
    CURL* easy = nullptr;
    curl_slist* headerList = nullptr;
    bool inMulti = false;
    QDeadlineTimer deadline = QDeadlineTimer::Forever; // the whole request, every hop
    char errorText[CURL_ERROR_SIZE] = {};
    bool cookiesUsed = false;
    bool cancelled = false;
    std::shared_ptr<bool> alive = std::make_shared<bool>(true);

    // The response being received.
    int statusCode = 0;
    HeaderList headers;
    bool headersComplete = false;
    bool responseDelivered = false;
    bool heldBack = false; // a redirect or a challenge: the delegate decides before any body is shown
    QByteArray pending;
    qint64 bodyBytes = 0; // of this response, as decoded
    bool heldBodyCut = false;
    bool tooLarge = false;
    bool outOfMemory = false;
    bool done = false;
    CURLcode result = CURLE_OK;

    // Answers to challenges.
    Answer answer = Answer::None;
    QString user, password;
    bool haveCredential = false;
    bool trustServer = false;
    int authFailures = 0;

    Transfer(myNSURLConnection* o, ConnectionDelegate* d, const UrlRequest& r)
        : owner(o), delegate(d), request(r) {}
    ~Transfer();

    void start();
    void startFile();
    void configure();
    void restart();
    void detach();
    void deliver();
    void finishDelivery();
    void handleRedirect();
    void handleChallenge(const AuthenticationChallenge& challenge, bool serverTrust);
    void fail(const UrlError& error);
    UrlResponse makeResponse() const;
    std::optional<UrlError> limitError() const;

    static size_t onHeader(char* buffer, size_t size, size_t count, void* self);
    static size_t onBody(char* buffer, size_t size, size_t count, void* self);
};

namespace {

// Drives curl's multi interface from the event loop of the thread that made it: socket
// notifiers for readiness, one single-shot timer for curl's time-outs.
class CurlDriver : public QObject {
  public:
    static CurlDriver& instance() {
        thread_local CurlDriver driver;
        return driver;
    }

    void add(myNSURLConnection::Transfer* t) {
        live.insert(t);
        curl_multi_add_handle(multi, t->easy);
        t->inMulti = true;
    }
    void remove(myNSURLConnection::Transfer* t) {
        if (t->inMulti) {
            curl_multi_remove_handle(multi, t->easy);
            t->inMulti = false;
        }
    }
    void forget(myNSURLConnection::Transfer* t) {
        remove(t);
        live.erase(t);
        std::erase(dirty, t);
    }
    void markDirty(myNSURLConnection::Transfer* t) {
        if (std::find(dirty.begin(), dirty.end(), t) == dirty.end())
            dirty.push_back(t);
    }
    bool isLive(myNSURLConnection::Transfer* t) const { return live.count(t) != 0; }
    // Handles are kept for reuse: making one costs more than a request on an open connection.
    CURL* takeHandle() {
        if (idle.empty())
            return curl_easy_init();
        CURL* easy = idle.back();
        idle.pop_back();
        return easy;
    }
    // A handle that has held cookies keeps them through a reset, so it is not used again.
    void giveBack(CURL* easy, bool hadCookies) {
        if (!hadCookies && idle.size() < maxIdle)
            idle.push_back(easy);
        else
            curl_easy_cleanup(easy);
    }
    CURLSH* cookies() const { return cookieShare; }

  private:
    CurlDriver() {
        curl_global_init(CURL_GLOBAL_DEFAULT);
        multi = curl_multi_init();
        curl_multi_setopt(multi, CURLMOPT_SOCKETFUNCTION, &CurlDriver::onSocketChange);
        curl_multi_setopt(multi, CURLMOPT_SOCKETDATA, this);
        curl_multi_setopt(multi, CURLMOPT_TIMERFUNCTION, &CurlDriver::onTimerChange);
        curl_multi_setopt(multi, CURLMOPT_TIMERDATA, this);
        curl_multi_setopt(multi, CURLMOPT_MAXCONNECTS, 200L);
        cookieShare = curl_share_init();
        curl_share_setopt(cookieShare, CURLSHOPT_SHARE, CURL_LOCK_DATA_COOKIE);
        timer.setSingleShot(true);
        connect(&timer, &QTimer::timeout, this, [this] { action(CURL_SOCKET_TIMEOUT, 0); });
    }
    ~CurlDriver() override {
        for (CURL* easy : idle)
            curl_easy_cleanup(easy);
        for (auto& [socket, watch] : watches)
            delete watch.read, delete watch.write;
        curl_multi_cleanup(multi);
        curl_share_cleanup(cookieShare);
    }

    struct Watch {
        QSocketNotifier* read = nullptr;
        QSocketNotifier* write = nullptr;
    };

    static int onSocketChange(CURL*, curl_socket_t socket, int what, void* self, void*) {
        static_cast<CurlDriver*>(self)->watchSocket(socket, what);
        return 0;
    }
    static int onTimerChange(CURLM*, long ms, void* self) {
        auto* driver = static_cast<CurlDriver*>(self);
        if (ms < 0)
            driver->timer.stop();
        else
            driver->timer.start(int(ms));
        return 0;
    }

    void watchSocket(curl_socket_t socket, int what) {
        Watch& watch = watches[socket];
        auto setUp = [&](QSocketNotifier*& notifier, QSocketNotifier::Type type, bool wanted, int event) {
            if (wanted && !notifier) {
                notifier = new QSocketNotifier(socket, type);
                connect(notifier, &QSocketNotifier::activated, this,
                        [this, socket, event] { action(socket, event); });
            }
            if (notifier)
                notifier->setEnabled(wanted);
        };
        if (what == CURL_POLL_REMOVE) {
            if (watch.read)
                watch.read->setEnabled(false), watch.read->deleteLater();
            if (watch.write)
                watch.write->setEnabled(false), watch.write->deleteLater();
            watches.erase(socket);
            return;
        }
        setUp(watch.read, QSocketNotifier::Read, what == CURL_POLL_IN || what == CURL_POLL_INOUT,
              CURL_CSELECT_IN);
        setUp(watch.write, QSocketNotifier::Write, what == CURL_POLL_OUT || what == CURL_POLL_INOUT,
              CURL_CSELECT_OUT);
    }

    void action(curl_socket_t socket, int event) {
        int running = 0;
        curl_multi_socket_action(multi, socket, event, &running);
        int left = 0;
        while (CURLMsg* message = curl_multi_info_read(multi, &left)) {
            if (message->msg != CURLMSG_DONE)
                continue;
            myNSURLConnection::Transfer* t = nullptr;
            curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &t);
            if (t && isLive(t)) {
                t->done = true;
                t->result = message->data.result;
                markDirty(t);
            }
        }
        while (!dirty.empty()) {
            myNSURLConnection::Transfer* t = dirty.front();
            dirty.erase(dirty.begin());
            if (isLive(t))
                t->deliver();
        }
    }

    CURLM* multi = nullptr;
    CURLSH* cookieShare = nullptr;
    QTimer timer;
    std::unordered_map<curl_socket_t, Watch> watches;
    std::unordered_set<myNSURLConnection::Transfer*> live;
    std::vector<myNSURLConnection::Transfer*> dirty;
    static constexpr size_t maxIdle = 64;
    std::vector<CURL*> idle;
};

} // namespace

myNSURLConnection::Transfer::~Transfer() {
    *alive = false;
    CurlDriver::instance().forget(this);
    if (easy)
        CurlDriver::instance().giveBack(easy, cookiesUsed);
    curl_slist_free_all(headerList);
}

void myNSURLConnection::Transfer::start() {
    std::optional<UrlRequest> first =
        delegate->connectionWillSendRequestRedirectResponse(owner, request, nullptr);
    if (!first) {
        cancelled = true;
        return;
    }
    request = *first;
    if (request.maximumTime > 0)
        deadline.setRemainingTime(qint64(request.maximumTime * 1000));
    if (request.url.isLocalFile()) {
        startFile();
        return;
    }
    easy = CurlDriver::instance().takeHandle();
    configure();
    CurlDriver::instance().add(this);
}

// A local file goes through the same callbacks as a network transfer, one event-loop pass later.
void myNSURLConnection::Transfer::startFile() {
    std::weak_ptr<bool> token = alive;
    QTimer::singleShot(0, [this, token] {
        if (token.expired() || !*token.lock() || cancelled)
            return;
        const QString path = request.url.toLocalFile();
        QFile file(path);
        if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) {
            fail({-1100, "The requested URL was not found on this server."});
            return;
        }
        UrlResponse response;
        response.url = request.url;
        response.mimeType = QMimeDatabase().mimeTypeForFile(path, QMimeDatabase::MatchExtension).name();
        response.expectedContentLength = file.size();
        delegate->connectionDidReceiveResponse(owner, response);
        if (!*token.lock() || cancelled)
            return;
        if (request.maximumBodySize > 0 && file.size() > request.maximumBodySize) {
            fail(pageTooLarge());
            return;
        }
        const QByteArray bytes = file.readAll();
        if (!bytes.isEmpty())
            delegate->connectionDidReceiveData(owner, bytes);
        if (!*token.lock() || cancelled)
            return;
        cancelled = true;
        delegate->connectionDidFinishLoading(owner);
    });
}

void myNSURLConnection::Transfer::configure() {
    curl_easy_reset(easy);
    curl_slist_free_all(headerList);
    headerList = nullptr;
    statusCode = 0;
    headers.clear();
    headersComplete = responseDelivered = heldBack = done = heldBodyCut = tooLarge = outOfMemory = false;
    pending.clear();
    bodyBytes = 0;
    errorText[0] = 0;

    curl_easy_setopt(easy, CURLOPT_URL, request.url.toEncoded().constData());
    curl_easy_setopt(easy, CURLOPT_PRIVATE, this);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &Transfer::onHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Transfer::onBody);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "");
    curl_easy_setopt(easy, CURLOPT_BUFFERSIZE, 64L * 1024);
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    // The time-out is one of silence, as with a browser: no progress for that long ends it.
    const double timeout = request.timeoutInterval > 0 ? request.timeoutInterval : 60.0;
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, long(timeout * 1000));
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_TIME, std::max(1L, long(timeout + 0.5)));
    // Beside the silence, a bound on the whole: a server that drips keeps no request open for ever.
    if (!deadline.isForever())
        curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, long(std::max<qint64>(1, deadline.remainingTime())));
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, errorText);

    for (const auto& [name, value] : request.headers) {
        const QByteArray line = value.isEmpty() ? name + ";" : name + ": " + value;
        headerList = curl_slist_append(headerList, line.constData());
    }
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headerList);
    if (request.method == "POST") {
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE, long(request.body.size()));
        curl_easy_setopt(easy, CURLOPT_COPYPOSTFIELDS, request.body.constData());
    } else if (request.method != "GET") {
        curl_easy_setopt(easy, CURLOPT_CUSTOMREQUEST, request.method.constData());
    }
    if (request.httpShouldHandleCookies) {
        cookiesUsed = true;
        curl_easy_setopt(easy, CURLOPT_SHARE, CurlDriver::instance().cookies());
        curl_easy_setopt(easy, CURLOPT_COOKIEFILE, "");
    }
    if (trustServer) {
        curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 0L);
        curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 0L);
    }
    if (haveCredential) {
        curl_easy_setopt(easy, CURLOPT_USERNAME, user.toUtf8().constData());
        curl_easy_setopt(easy, CURLOPT_PASSWORD, password.toUtf8().constData());
        curl_easy_setopt(easy, CURLOPT_HTTPAUTH, CURLAUTH_BASIC | CURLAUTH_DIGEST);
    }
}

void myNSURLConnection::Transfer::restart() {
    CurlDriver& driver = CurlDriver::instance();
    driver.remove(this);
    configure();
    driver.add(this);
}

// A finished or cancelled transfer gives its curl handle back at once: records outlive their
// requests by the whole crawl, and a handle is several kilobytes.
void myNSURLConnection::Transfer::detach() {
    cancelled = true;
    CurlDriver::instance().forget(this);
    if (easy) {
        CurlDriver::instance().giveBack(easy, cookiesUsed);
        easy = nullptr;
    }
    curl_slist_free_all(headerList);
    headerList = nullptr;
    pending = QByteArray();
}

size_t myNSURLConnection::Transfer::onHeader(char* buffer, size_t size, size_t count, void* self) {
    auto* t = static_cast<Transfer*>(self);
    const size_t n = size * count;
    QByteArrayView line(buffer, qsizetype(n));
    while (line.endsWith('\n') || line.endsWith('\r'))
        line.chop(1);
    if (line.startsWith("HTTP/")) {
        // "HTTP/1.1 200 OK": the code is the second word.
        const qsizetype space = line.indexOf(' ');
        QByteArrayView rest = space < 0 ? QByteArrayView() : line.sliced(space + 1);
        const qsizetype end = rest.indexOf(' ');
        t->statusCode = (end < 0 ? rest : rest.first(end)).toInt();
        t->headers.clear();
        t->headersComplete = false;
    } else if (line.isEmpty()) {
        if (t->statusCode >= 200 || t->statusCode == 0) {
            t->headersComplete = true;
            const bool redirect =
                t->statusCode >= 300 && t->statusCode < 400 && hasHeader(t->headers, "Location");
            const bool challenge = t->statusCode == 401 && hasHeader(t->headers, "WWW-Authenticate");
            t->heldBack = redirect || challenge;
            if (!t->heldBack)
                CurlDriver::instance().markDirty(t);
        }
    } else {
        const qsizetype colon = line.indexOf(':');
        if (colon > 0)
            t->headers.append(
                {line.first(colon).trimmed().toByteArray(), line.sliced(colon + 1).trimmed().toByteArray()});
    }
    return n;
}

size_t myNSURLConnection::Transfer::onBody(char* buffer, size_t size, size_t count, void* self) {
    auto* t = static_cast<Transfer*>(self);
    const size_t n = size * count;
    if (t->cancelled)
        return n;
    t->bodyBytes += qint64(n);
    // Returning short of n ends the transfer; finishDelivery tells why from the flags.
    if (t->heldBack) {
        t->heldBodyCut = t->bodyBytes > heldBodyAllowance;
        return t->heldBodyCut ? 0 : n;
    }
    if (t->request.maximumBodySize > 0 && t->bodyBytes > t->request.maximumBodySize) {
        t->tooLarge = true;
        return 0;
    }
    try {
        t->pending.append(buffer, qsizetype(n));
    } catch (const std::bad_alloc&) {
        // No exception may cross curl's frames: the transfer ends as one that found no room.
        t->outOfMemory = true;
        return 0;
    }
    CurlDriver::instance().markDirty(t);
    return n;
}

UrlResponse myNSURLConnection::Transfer::makeResponse() const {
    UrlResponse response;
    response.url = request.url;
    response.isHTTP = true;
    response.statusCode = statusCode;
    response.headerFields = headers;
    const QByteArray type = headerValue(headers, "Content-Type");
    response.mimeType = QString::fromLatin1(type.split(';').value(0).trimmed());
    bool ok = false;
    const qint64 length = headerValue(headers, "Content-Length").toLongLong(&ok);
    response.expectedContentLength = ok ? length : -1;
    return response;
}

void myNSURLConnection::Transfer::deliver() {
    std::shared_ptr<bool> token = alive;
    if (cancelled)
        return;
    if (headersComplete && !heldBack && !responseDelivered) {
        responseDelivered = true;
        delegate->connectionDidReceiveResponse(owner, makeResponse());
        if (!*token || cancelled)
            return;
    }
    if (responseDelivered && !pending.isEmpty()) {
        QByteArray chunk;
        chunk.swap(pending);
        delegate->connectionDidReceiveData(owner, chunk);
        if (!*token || cancelled)
            return;
    }
    if (done)
        finishDelivery();
}

void myNSURLConnection::Transfer::finishDelivery() {
    if (result == CURLE_PEER_FAILED_VERIFICATION && !trustServer &&
        delegate->connectionCanAuthenticateAgainstProtectionSpace(owner,
                                                                  NSURLAuthenticationMethodServerTrust)) {
        handleChallenge({NSURLAuthenticationMethodServerTrust, request.url.host(), 0}, true);
        return;
    }
    if (result == CURLE_UNSUPPORTED_PROTOCOL) {
        // Also what curl says of a reply that is no HTTP at all, once a server has been reached.
        char* address = nullptr;
        curl_easy_getinfo(easy, CURLINFO_PRIMARY_IP, &address);
        if (address && *address)
            result = CURLE_WEIRD_SERVER_REPLY;
    }
    if (heldBodyCut && result == CURLE_WRITE_ERROR)
        result = CURLE_OK;
    if (const std::optional<UrlError> error = limitError()) {
        fail(*error);
        return;
    }
    if (result != CURLE_OK) {
        fail(errorForCurlCode(result));
        return;
    }
    if (heldBack && statusCode == 401) {
        handleChallenge(
            {methodOfChallenge(headerValue(headers, "WWW-Authenticate")), request.url.host(), authFailures},
            false);
        return;
    }
    if (heldBack) {
        handleRedirect();
        return;
    }
    std::shared_ptr<bool> token = alive;
    if (!responseDelivered) {
        // A reply with no header block at all still counts as a response.
        responseDelivered = true;
        delegate->connectionDidReceiveResponse(owner, makeResponse());
        if (!*token || cancelled)
            return;
    }
    detach();
    delegate->connectionDidFinishLoading(owner);
}

void myNSURLConnection::Transfer::handleRedirect() {
    std::shared_ptr<bool> token = alive;
    const UrlResponse response = makeResponse();
    const QByteArray location = headerValue(headers, "Location");
    UrlRequest next = request;
    next.url = location.isEmpty() ? QUrl() : request.url.resolved(QUrl(QString::fromUtf8(location)));
    if (statusCode == 303 || ((statusCode == 301 || statusCode == 302) && request.method == "POST")) {
        next.method = "GET";
        next.body.clear();
        next.headers.removeIf([](const auto& field) {
            return field.first.compare("Content-Length", Qt::CaseInsensitive) == 0 ||
                   field.first.compare("Content-Type", Qt::CaseInsensitive) == 0;
        });
    }
    std::optional<UrlRequest> chosen =
        delegate->connectionWillSendRequestRedirectResponse(owner, next, &response);
    if (!*token || cancelled)
        return;
    if (!chosen || chosen->url.isEmpty()) {
        detach();
        return;
    }
    request = *chosen;
    restart();
}

void myNSURLConnection::Transfer::handleChallenge(const AuthenticationChallenge& challenge,
                                                  bool serverTrust) {
    std::shared_ptr<bool> token = alive;
    answer = Answer::None;
    delegate->connectionDidReceiveAuthenticationChallenge(owner, challenge);
    if (!*token || cancelled)
        return;
    switch (answer) {
    case Answer::Cancel:
        detach();
        return;
    case Answer::Trust:
        if (serverTrust) {
            trustServer = true;
            restart();
            return;
        }
        break;
    case Answer::Credential:
        if (!serverTrust) {
            ++authFailures;
            haveCredential = true;
            restart();
            return;
        }
        break;
    case Answer::Without:
    case Answer::None:
        break;
    }
    if (serverTrust) {
        fail(errorForCurlCode(result));
        return;
    }
    // Going on without a credential shows the refusal itself as the response; its body was
    // not kept.
    heldBack = false;
    deliver();
}

// The limits that ended a transfer, in the words the record keeps.
std::optional<UrlError> myNSURLConnection::Transfer::limitError() const {
    if (tooLarge && result == CURLE_WRITE_ERROR)
        return pageTooLarge();
    if (outOfMemory && result == CURLE_WRITE_ERROR)
        return UrlError{-1, "out of memory for the page"};
    // curl refuses a header line longer than it can hold: older versions call it out of
    // memory, newer ones a value too large or a receive error with its own text.
    const bool headerRefused =
        result == CURLE_OUT_OF_MEMORY || (result == CURLE_RECV_ERROR && std::strstr(errorText, "header"));
#if LIBCURL_VERSION_NUM >= 0x080600
    if (result == CURLE_TOO_LARGE && !headersComplete)
        return responseHeaderTooLarge();
#endif
    if (headerRefused && !headersComplete)
        return responseHeaderTooLarge();
    return std::nullopt;
}

void myNSURLConnection::Transfer::fail(const UrlError& error) {
    detach();
    delegate->connectionDidFailWithError(owner, error);
}

myNSURLConnection::myNSURLConnection(const UrlRequest& request, ConnectionDelegate* delegate, int identifier_)
    : identifier(identifier_), transfer(std::make_unique<Transfer>(this, delegate, request)) {
    transfer->start();
}

myNSURLConnection::~myNSURLConnection() = default;

void myNSURLConnection::cancel() {
    transfer->detach();
}

bool myNSURLConnection::isCancelled() const {
    return transfer->cancelled;
}

void myNSURLConnection::useCredential(const QString& user, const QString& password) {
    transfer->answer = Transfer::Answer::Credential;
    transfer->user = user;
    transfer->password = password;
}

void myNSURLConnection::useServerTrust() {
    transfer->answer = Transfer::Answer::Trust;
}

void myNSURLConnection::continueWithoutCredential() {
    transfer->answer = Transfer::Answer::Without;
}

void myNSURLConnection::cancelAuthenticationChallenge() {
    transfer->answer = Transfer::Answer::Cancel;
}
