#include "views/KestReportItem.h"

#include "crawl/LinkCheckerUrl.h"
#include "views/KestReportDataSource.h"
#include "views/TableExport.h"

bool KestReportItem::contains(const QString& term) const {
    return linkText.contains(term, Qt::CaseInsensitive) || redir.contains(term, Qt::CaseInsensitive) ||
           linkUrl.contains(term, Qt::CaseInsensitive) || status.contains(term, Qt::CaseInsensitive);
}

QVariant KestReportItem::getFieldByName(const QString& key) const {
    if (key == "distancefromhome" || key == "distance")
        return QString::number(distanceFromHome);
    if (key == "onpagename")
        return onPageName;
    if (key == "onpageurl")
        return onPageUrl;
    if (key == "linktext")
        return linkText;
    if (key == "linkurl")
        return linkUrl;
    if (key == "status")
        return status;
    if (key == "redir")
        return redir;
    if (key == "timestamp")
        return timestamp;
    if (key == "nofollow")
        return QString(nofollow ? "Yes" : "No");
    if (key == "onpageurlhtml")
        return getOnPageUrlHTML();
    if ((key == "linkurlhtml" || key == "linkredirhtml") && lcurl)
        return lcurl->getFieldByName(key);
    return QString("");
}

int KestReportItem::getColour() const {
    return lcurl ? lcurl->getColour() : 0;
}

QString KestReportItem::getOnPageUrlHTML() const {
    return QString("<a href = \"%1\" target=\"_blank\">%2</a>")
        .arg(onPageUrl, TableExport::truncateURLByAddingElipsisInMiddle(onPageUrl));
}

int KestReportItem::caseInsensitiveCompare(const KestReportItem& other) const {
    const QString field = owner ? owner->getCurrentSortField().value_or(QString()) : QString();
    const int order = QString::compare(getFieldByName(field).toString(),
                                       other.getFieldByName(field).toString(), Qt::CaseInsensitive);
    const int sign = order < 0 ? -1 : order > 0 ? 1 : 0;
    return owner && !owner->getCurrentSortAscending() ? -sign : sign;
}
