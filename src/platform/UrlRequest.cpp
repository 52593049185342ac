#include "platform/UrlRequest.h"

#include <QHash>

const char* const NSURLAuthenticationMethodServerTrust = "NSURLAuthenticationMethodServerTrust";
const char* const NSURLAuthenticationMethodHTTPBasic = "NSURLAuthenticationMethodHTTPBasic";
const char* const NSURLAuthenticationMethodHTTPDigest = "NSURLAuthenticationMethodHTTPDigest";
const char* const NSURLAuthenticationMethodDefault = "NSURLAuthenticationMethodDefault";

QByteArray headerValue(const HeaderList& headers, const QByteArray& name) {
    for (const auto& [key, value] : headers)
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    return {};
}

bool hasHeader(const HeaderList& headers, const QByteArray& name) {
    for (const auto& field : headers)
        if (field.first.compare(name, Qt::CaseInsensitive) == 0)
            return true;
    return false;
}

void UrlRequest::setValueForHTTPHeaderField(const QByteArray& value, const QByteArray& field) {
    for (auto& entry : headers) {
        if (entry.first.compare(field, Qt::CaseInsensitive) == 0) {
            entry.second = value;
            return;
        }
    }
    headers.append({field, value});
}

QString localizedStringForStatusCode(int code) {
    static const QHash<int, QString> phrases = {
        {100, "continue"},
        {101, "switching protocols"},
        {200, "no error"},
        {201, "created"},
        {202, "accepted"},
        {203, "non-authoritative information"},
        {204, "no content"},
        {205, "reset content"},
        {206, "partial content"},
        {300, "multiple choices"},
        {301, "moved permanently"},
        {302, "found"},
        {303, "see other"},
        {304, "not modified"},
        {305, "needs proxy"},
        {307, "temporarily redirected"},
        {308, "permanent redirect"},
        {400, "bad request"},
        {401, "unauthorized"},
        {402, "payment required"},
        {403, "forbidden"},
        {404, "not found"},
        {405, "method not allowed"},
        {406, "unacceptable"},
        {407, "proxy authentication required"},
        {408, "request timed out"},
        {409, "conflict"},
        {410, "no longer exists"},
        {411, "requires length"},
        {412, "precondition failed"},
        {413, "request too large"},
        {414, "requested url too long"},
        {415, "unsupported media type"},
        {416, "requested range not satisfiable"},
        {417, "expectation failed"},
        {429, "too many requests"},
        {500, "internal server error"},
        {501, "unimplemented"},
        {502, "bad gateway"},
        {503, "service unavailable"},
        {504, "gateway timed out"},
        {505, "unsupported version"},
    };
    const auto it = phrases.constFind(code);
    if (it != phrases.constEnd())
        return *it;
    switch (code / 100) {
    case 1:
        return "informational";
    case 2:
        return "success";
    case 3:
        return "redirected";
    case 4:
        return "client error";
    case 5:
        return "server error";
    default:
        return "unknown";
    }
}
