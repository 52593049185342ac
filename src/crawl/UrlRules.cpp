#include "crawl/UrlRules.h"

#include "parsing/TextEncodings.h"

#include <QUrl>

namespace UrlRules {

namespace {

// Where the authority that begins at `start` ends: at the path, the query or the fragment.
qsizetype authorityEnd(const QString& text, qsizetype start) {
    qsizetype end = start;
    while (end < text.size() && text[end] != u'/' && text[end] != u'?' && text[end] != u'#')
        ++end;
    return end;
}

} // namespace

QString completeStartUrl(const QString& text) {
    if (text.size() < 7)
        return "http://" + text;
    if (text.contains(u"://"))
        return text;
    if (text.size() > 8 &&
        (text.startsWith(u"/Volum") || text.startsWith(u"/Users") || text.startsWith(u"/Library"))) {
        QString path = text;
        // "&amp;" last, so that "&amp;lt;" stays "&lt;".
        path.replace("&lt;", "<").replace("&gt;", ">").replace("&quot;", "\"").replace("&apos;", "'");
        path.replace("&amp;", "&");
        return "file://" + path.replace(" ", "%20");
    }
    return "http://" + text;
}

bool compareHostWithDomain(const QString& host, const QStringList& domains, bool ignoreSubdomain) {
    if (domains.isEmpty())
        return true;
    for (const QString& domain : domains) {
        if (host == domain)
            return true;
        if (ignoreSubdomain && host.size() != domain.size()) {
            const bool hostShorter = host.size() < domain.size();
            const QString& shorter = hostShorter ? host : domain;
            const QString& longer = hostShorter ? domain : host;
            if (longer.contains(u'.' + shorter, Qt::CaseInsensitive))
                return true;
        }
    }
    return false;
}

bool isMailtoEtc(const QString& link) {
    if (!link.contains(':'))
        return false;
    for (const char* scheme : {"mailto:", "javascript:", "callto:", "tel:", "skype:"})
        if (link.contains(QLatin1String(scheme), Qt::CaseInsensitive))
            return true;
    return false;
}

bool containsColon(const QString& text) {
    return text.contains(':');
}

bool stringContainsOneOfTheseTerms(const QString& text, const QStringList* terms) {
    if (!terms)
        return false;
    for (const QString& term : *terms) {
        if (term.size() <= 1)
            continue;
        if (text.contains(term, Qt::CaseInsensitive))
            return true;
    }
    return false;
}

QString stripHost(const QString& url) {
    const QString host = QUrl(url).host();
    const qsizetype start = 7 + host.size();
    if (url.size() - start <= 1)
        return url;
    return url.mid(start);
}

QString pathExtension(const QString& path) {
    // A final "/" does not end the last component: "/doc.pdf/" is still a PDF.
    const qsizetype end = path.endsWith(u'/') ? path.size() - 1 : path.size();
    const qsizetype slash = path.lastIndexOf(u'/', end - 1);
    const qsizetype dot = path.lastIndexOf(u'.');
    return dot > slash && dot < end ? path.mid(dot + 1, end - dot - 1) : QString();
}

std::optional<QString> percentDecoded(const QString& text, quint64 encoding) {
    const QByteArray bytes = QByteArray::fromPercentEncoding(text.toUtf8());
    return TextEncoding::decode(bytes.constData(), bytes.size(), encoding);
}

QString addPercentEscapes(const QString& text) {
    return QString::fromLatin1(QUrl::toPercentEncoding(text, "!#$&'()*+,/:;=?@[]~"));
}

QString writtenHost(const QString& text) {
    const qsizetype slashes = text.indexOf(u"//");
    if (slashes < 0)
        return QString();
    if (slashes > 0) {
        // Only a scheme may stand before the authority.
        if (text[slashes - 1] != u':' || !text[0].isLetter())
            return QString();
        for (qsizetype i = 1; i < slashes - 1; ++i) {
            const QChar c = text[i];
            if (!(c.isLetterOrNumber() || c == u'+' || c == u'-' || c == u'.'))
                return QString();
        }
    }
    const qsizetype start = slashes + 2;
    const qsizetype end = authorityEnd(text, start);
    QStringView authority = QStringView(text).mid(start, end - start);
    authority = authority.mid(authority.lastIndexOf(u'@') + 1);
    if (authority.startsWith(u'[')) {
        const qsizetype close = authority.indexOf(u']');
        return close < 0 ? QString() : authority.mid(1, close - 1).toString();
    }
    const qsizetype colon = authority.lastIndexOf(u':');
    return (colon < 0 ? authority : authority.left(colon)).toString();
}

QString inWrittenCase(const QString& host, const QString& written) {
    if (written.size() != host.size() || written == host || written.compare(host, Qt::CaseInsensitive) != 0)
        return host;
    return written;
}

QString hostOf(const QUrl& url, const QString& text) {
    const QString host = url.host();
    return host.isEmpty() ? host : inWrittenCase(host, writtenHost(text));
}

QString resolvedHostAsWritten(const QUrl& resolved, const QString& link, const QString& baseHost) {
    const QString written = writtenHost(link);
    return inWrittenCase(resolved.host(), written.isNull() ? baseHost : written);
}

QString withHost(const QString& encoded, const QString& from, const QString& to) {
    if (from == to || from.isEmpty())
        return encoded;
    const qsizetype slashes = encoded.indexOf(u"//");
    if (slashes < 0)
        return encoded;
    qsizetype start = slashes + 2;
    const qsizetype end = authorityEnd(encoded, start);
    const qsizetype at = QStringView(encoded).left(end).lastIndexOf(u'@');
    if (at >= start)
        start = at + 1;
    if (start < encoded.size() && encoded[start] == u'[')
        ++start;
    if (QStringView(encoded).mid(start, from.size()) != from)
        return encoded;
    QString result = encoded;
    return result.replace(start, from.size(), to);
}

bool isLocalFileUrl(const QString& text) {
    return text.startsWith(u"file:", Qt::CaseInsensitive);
}

QUrl makeUrl(const QString& text) {
    QUrl url(text, QUrl::StrictMode);
    if (url.isValid() && !text.isEmpty())
        return url;
    url = QUrl(addPercentEscapes(text), QUrl::StrictMode);
    return url.isValid() && !text.isEmpty() ? url : QUrl();
}

} // namespace UrlRules
