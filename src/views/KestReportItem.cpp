#include "views/KestReportItem.h"

#include "crawl/LinkCheckerUrl.h"
#include "views/KestReportDataSource.h"
#include "views/TableExport.h"

KestReportItem::KestReportItem() : part(std::make_shared<RecordPart>()) {}

KestReportItem::KestReportItem(std::shared_ptr<const RecordPart> part_) : part(std::move(part_)) {}

KestReportItem::RecordPart& KestReportItem::own() {
    if (part.use_count() > 1)
        part = std::make_shared<RecordPart>(*part);
    return const_cast<RecordPart&>(*part);
}

bool KestReportItem::contains(const QString& term) const {
    return linkText.contains(term, Qt::CaseInsensitive) || part->redir.contains(term, Qt::CaseInsensitive) ||
           part->linkUrl.contains(term, Qt::CaseInsensitive) ||
           part->status.contains(term, Qt::CaseInsensitive);
}

QVariant KestReportItem::getFieldByName(const QString& key) const {
    if (key == "distancefromhome" || key == "distance")
        return QString::number(part->distanceFromHome);
    if (key == "onpagename")
        return part->onPageName;
    if (key == "onpageurl")
        return onPageUrl;
    if (key == "linktext")
        return linkText;
    if (key == "linkurl")
        return part->linkUrl;
    if (key == "status")
        return part->status;
    if (key == "redir")
        return part->redir;
    if (key == "timestamp")
        return part->timestamp;
    if (key == "nofollow")
        return QString(nofollow ? "Yes" : "No");
    if (key == "onpageurlhtml")
        return getOnPageUrlHTML();
    if ((key == "linkurlhtml" || key == "linkredirhtml") && part->lcurl)
        return part->lcurl->getFieldByName(key);
    return QString("");
}

int KestReportItem::getColour() const {
    return part->lcurl ? part->lcurl->getColour() : 0;
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
