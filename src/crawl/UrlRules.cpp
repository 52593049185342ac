#include "crawl/UrlRules.h"

#include "parsing/TextEncodings.h"

#include <QUrl>

namespace UrlRules {

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

QUrl makeUrl(const QString& text) {
    QUrl url(text, QUrl::StrictMode);
    if (url.isValid() && !text.isEmpty())
        return url;
    url = QUrl(addPercentEscapes(text), QUrl::StrictMode);
    return url.isValid() && !text.isEmpty() ? url : QUrl();
}

} // namespace UrlRules
