#include "views/RecordJson.h"
#include "crawl/StatusCodeSet.h"

#include <QDateTime>
#include <QJsonArray>

int statusCode(const QString& status) {
    return StatusCodeSet::leadingCode(status);
}

QString isoTimeWithZone(const QDateTime& time) {
    const QDateTime local = time.toLocalTime();
    return local.toOffsetFromUtc(local.offsetFromUtc()).toString(Qt::ISODateWithMs);
}

static QJsonObject linkToJson(const LinkCheckerUrl& record) {
    QJsonArray onPages;
    const QStringList& urls = record.getOnPageUrlArray();
    for (qsizetype i = 0; i < urls.size(); ++i) {
        onPages.append(QJsonObject{{"url", urls[i]},
                                   {"title", record.getOnPageNameArray().value(i)},
                                   {"linkText", record.getOnPageLinkTextArray().value(i)},
                                   {"nofollow", record.getNofollowArray().value(i)}});
    }
    return QJsonObject{{"url", record.getLinkUrl()},
                       {"actualUrl", record.getActualLinkUrl()},
                       {"redir", record.getRedir()},
                       {"status", record.getStatus()},
                       {"code", statusCode(record.getStatus())},
                       {"colour", record.getColour()},
                       {"good", record.isGoodLink()},
                       {"exempt", record.isExempt()},
                       {"bad", record.isInBadCollection()},
                       {"internal", record.isInternal()},
                       {"image", record.getIsImage()},
                       {"html", record.getIsHTML()},
                       {"distance", record.getDistanceFromHome()},
                       {"linkText", record.getLinkText()},
                       {"title", record.getLinkPageTitle()},
                       {"fileSize", record.getFileSizeInBytes()},
                       {"responseTime", record.getResponseTime()},
                       {"redirects", record.getNumberOfRedirects()},
                       {"timestamp", record.getTimestamp()},
                       {"time", record.getSentRequest()
                                    ? QJsonValue(isoTimeWithZone(*record.getSentRequest()))
                                    : QJsonValue()},
                       {"description", record.getMetaDescription()},
                       {"keywords", record.getKeywords()},
                       {"headings", record.getHeadings()},
                       {"canonical", record.getCanonical()},
                       {"robots", record.getRobots()},
                       {"wordCount", record.getWordCount()},
                       {"blacklisted", record.isBlacklisted()},
                       {"onPages", onPages}};
}

QJsonObject recordToJson(const LinkCheckerUrl& record) {
    QJsonObject json = linkToJson(record);
    // Only what a page loads has a kind; links keep the form they always had.
    if (!record.getResourceKind().isEmpty())
        json.insert("kind", record.getResourceKind());
    return json;
}
