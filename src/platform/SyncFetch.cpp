#include "platform/SyncFetch.h"

#include <QMimeDatabase>
#include <QUrl>
#include <curl/curl.h>

namespace {

struct Body {
    QByteArray bytes;
    qint64 limit = 0;
    bool tooLarge = false;
    bool outOfMemory = false;
};

size_t appendBody(char* data, size_t size, size_t count, void* target) {
    auto* body = static_cast<Body*>(target);
    const size_t n = size * count;
    if (body->limit > 0 && body->bytes.size() + qint64(n) > body->limit) {
        body->tooLarge = true;
        return 0;
    }
    try {
        body->bytes.append(data, static_cast<qsizetype>(n));
    } catch (const std::bad_alloc&) {
        // No exception may cross curl's frames.
        body->outOfMemory = true;
        return 0;
    }
    return n;
}

} // namespace

SyncFetchResult fetchSynchronously(const QString& url, const QString& userAgent, double timeoutSeconds,
                                   qint64 maximumBodySize) {
    SyncFetchResult result;
    CURL* curl = curl_easy_init();
    if (!curl) {
        result.error = QStringLiteral("could not start a transfer");
        return result;
    }
    const QByteArray urlBytes = url.toUtf8();
    const QByteArray agentBytes = userAgent.toUtf8();
    char errorText[CURL_ERROR_SIZE] = {};
    Body body;
    body.limit = maximumBodySize;
    curl_easy_setopt(curl, CURLOPT_URL, urlBytes.constData());
    curl_easy_setopt(curl, CURLOPT_USERAGENT, agentBytes.constData());
    curl_easy_setopt(curl, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(curl, CURLOPT_MAXREDIRS, 20L);
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https,file");
    curl_easy_setopt(curl, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(timeoutSeconds * 1000));
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_ACCEPT_ENCODING, "");
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, appendBody);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &body);
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, errorText);

    const CURLcode code = curl_easy_perform(curl);
    if (body.tooLarge)
        result.error = QStringLiteral("page too large");
    else if (body.outOfMemory)
        result.error = QStringLiteral("out of memory for the page");
    else if (code != CURLE_OK)
        result.error = QString::fromUtf8(errorText[0] ? errorText : curl_easy_strerror(code));
    if (!body.tooLarge && !body.outOfMemory)
        result.body = std::move(body.bytes);

    long status = 0;
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
    char* type = nullptr;
    curl_easy_getinfo(curl, CURLINFO_CONTENT_TYPE, &type);
    char* effective = nullptr;
    curl_easy_getinfo(curl, CURLINFO_EFFECTIVE_URL, &effective);
    result.status = status;
    result.contentType = type ? QString::fromUtf8(type) : QString();
    result.finalUrl = effective ? QString::fromUtf8(effective) : url;
    curl_easy_cleanup(curl);

    // A file has no headers: stand in what a browser would take it for.
    const QUrl parsed(url);
    if (code == CURLE_OK && parsed.isLocalFile()) {
        result.status = 200;
        result.contentType =
            QMimeDatabase().mimeTypeForFile(parsed.toLocalFile(), QMimeDatabase::MatchExtension).name();
    }
    return result;
}
