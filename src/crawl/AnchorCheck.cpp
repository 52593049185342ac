#include "crawl/AnchorCheck.h"

#include <QUrl>

void AnchorCheck::clear() {
    idsOfPage.clear();
    waiting.clear();
}

QString AnchorCheck::fragmentOf(const QString& url) {
    if (url.contains(u"#!"))
        return {};
    for (qsizetype hash = url.indexOf(u'#'); hash >= 0; hash = url.indexOf(u'#', hash + 1))
        if (hash == 0 || url[hash - 1] != u'&')
            return url.mid(hash + 1);
    return {};
}

bool AnchorCheck::isFound(const QSet<size_t>& ids, const QString& fragment) const {
    const QString decoded = QUrl::fromPercentEncoding(fragment.toUtf8());
    // An empty fragment and "top" stand for the top of the page, which every page has.
    if (decoded.isEmpty() || decoded.compare(u"top", Qt::CaseInsensitive) == 0)
        return true;
    return ids.contains(qHash(decoded));
}

void AnchorCheck::linkTo(const LinkCheckerUrl* target, const Link& link) {
    const auto ids = idsOfPage.constFind(target);
    if (ids == idsOfPage.constEnd()) {
        waiting[target].append(link);
        return;
    }
    if (!isFound(*ids, link.fragment))
        missing(*target, link);
}

void AnchorCheck::pageRead(const LinkCheckerUrl* target, const QStringList& ids) {
    QSet<size_t>& hashes = idsOfPage[target];
    for (const QString& id : ids)
        hashes.insert(qHash(id));
    const QList<Link> links = waiting.take(target);
    for (const Link& link : links)
        if (!isFound(hashes, link.fragment))
            missing(*target, link);
}
