#include "crawl/LinkResolver.h"

#include "crawl/UrlRules.h"

LinkResolver::LinkResolver(const QUrl& base_, const QString& writtenBase) : base(base_) {
    scheme = base.scheme();
    host = UrlRules::hostOf(base, writtenBase);
    shortcut = base.isValid() && !host.isEmpty() && (scheme == "http" || scheme == "https");
    if (!shortcut)
        return;
    origin = UrlRules::withHost(base.resolved(QUrl("/")).toString(QUrl::FullyEncoded), base.host(), host);
    origin.chop(1);
    directory = UrlRules::withHost(base.resolved(QUrl("x")).toString(QUrl::FullyEncoded), base.host(), host);
    directory.chop(1);
}

bool LinkResolver::isPlainPath(const QString& link) {
    if (link.isEmpty() || link.startsWith('?') || link.startsWith(u"//"))
        return false;
    // One pass: every character plain, and no path segment "." or ".." before the query.
    qsizetype segmentStart = 0;
    bool inQuery = false;
    const qsizetype size = link.size();
    for (qsizetype i = 0; i <= size; ++i) {
        const char16_t u = i < size ? link[i].unicode() : u'/';
        const bool plain = (u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') || (u >= '0' && u <= '9') ||
                           u == '-' || u == '.' || u == '_' || u == '~' || u == '/' || u == '=' || u == '&' ||
                           u == '?';
        if (!plain)
            return false;
        if (inQuery || (u != '/' && u != '?'))
            continue;
        const qsizetype length = i - segmentStart;
        if ((length == 1 && link[segmentStart] == '.') ||
            (length == 2 && link[segmentStart] == '.' && link[segmentStart + 1] == '.'))
            return false;
        segmentStart = i + 1;
        inQuery = u == '?';
    }
    return true;
}

LinkResolver::Result LinkResolver::resolve(const QString& link) const {
    if (!shortcut || !isPlainPath(link))
        return resolveWithUrlClass(link);
    return {(link.startsWith('/') ? origin : directory) + link, host, scheme, false};
}

LinkResolver::Result LinkResolver::resolveWithUrlClass(const QString& link) const {
    Result result;
    QUrl relative(link, QUrl::StrictMode);
    if (!relative.isValid()) {
        relative = QUrl(UrlRules::addPercentEscapes(link), QUrl::StrictMode);
        result.neededEscaping = true;
        if (!relative.isValid())
            return result;
    }
    const QUrl resolved = base.resolved(relative);
    if (!resolved.isValid() || resolved.isEmpty())
        return result;
    result.host = UrlRules::resolvedHostAsWritten(resolved, link, host);
    result.absolute = UrlRules::withHost(resolved.toString(QUrl::FullyEncoded), resolved.host(), result.host);
    result.scheme = resolved.scheme();
    return result;
}
