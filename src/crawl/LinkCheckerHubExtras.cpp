// The crawl options beyond the site settings: retries, anchor checks and page resources. Each
// is reached only when its option is on.
#include "crawl/LinkCheckerHub.h"
#include "crawl/LinkResolver.h"
#include "parsing/PageScan.h"

#include <QDateTime>
#include <QTimer>
#include <QtDebug>

bool LinkCheckerHub::retryLater(const LinkCheckerUrlPtr& record, const UrlResponse& response) {
    if (!extras.retry.shouldRetry(response.statusCode, record->getRetries()))
        return false;
    record->setWaitingToRetry(true);
    const double wait = RetryPolicy::waitBefore(record->getRetries(), response.header("Retry-After"),
                                                QDateTime::currentDateTimeUtc());
    qInfo().noquote() << QString("%1 answered %2: retry %3 in %4 s")
                             .arg(record->getActualLinkUrl())
                             .arg(response.statusCode)
                             .arg(record->getRetries())
                             .arg(wait);
    // A timer, not a sleep: the other requests go on meanwhile. The record keeps its slot, so a
    // server that asks for patience gets a little less traffic.
    // After a pause the record is sent again by the scheduler, as any unanswered one is.
    const quint64 generation = crawlGeneration, pausesThen = pauses;
    QTimer::singleShot(int(wait * 1000), this, [this, record, generation, pausesThen] {
        record->setWaitingToRetry(false);
        if (generation == crawlGeneration && pausesThen == pauses && !stopPressedFlag)
            sendRequest(record);
    });
    return true;
}

void LinkCheckerHub::readAnchorTargets(const LinkCheckerUrl& page) {
    if (page.isInternal() && page.getIsHTML() && page.hasData())
        anchors.pageRead(&page, PageScan::anchorTargets(page.getData()));
}

void LinkCheckerHub::noteFragment(const LinkCheckerUrlPtr& page, const LinkCheckerUrl& target,
                                  const QString& absolute, const QString& linkText, bool nofollow) {
    if (!extras.checkAnchors || !target.isInternal())
        return;
    const QString fragment = AnchorCheck::fragmentOf(absolute);
    if (fragment.isEmpty())
        return;
    anchors.linkTo(&target, {absolute, fragment, page->getActualLinkUrl(), page->getLinkPageTitle(), linkText,
                             page->getDistanceFromHome() + 1, nofollow});
}

// One record for each URL with a fragment its page does not have, with every place it is on.
void LinkCheckerHub::recordMissingFragment(const LinkCheckerUrl&, const AnchorCheck::Link& link) {
    LinkCheckerUrlPtr record = fragmentRecords.value(link.url);
    const bool isNew = !record;
    if (isNew) {
        record = std::make_shared<LinkCheckerUrl>(this);
        record->setIsInternal(true);
        record->setLinkUrlDirectly(link.url);
        record->setDistanceFromHome(link.distance);
        record->setStatus("fragment not found");
        fragmentRecords.insert(link.url, record);
    }
    record->setLinkText(link.linkText);
    record->addOnPageUrl(link.pageUrl);
    record->addOnPageName(link.pageTitle);
    record->addOnPageLinkText(link.linkText);
    record->addNofollow(link.nofollow);
    if (isNew) {
        incNumberDone(record);
        add(record);
    }
}

void LinkCheckerHub::takeInResources(const LinkCheckerUrlPtr& page, const LinkResolver& base,
                                     bool pageNeededEscaping) {
    const QList<PageScan::Resource> resources = PageScan::resources(page->getData());
    for (const PageScan::Resource& resource : resources)
        takeInLink(page, base, pageNeededEscaping, resource.url, QString(""), false,
                   page->getHeadContainsNoFollow(), resource.kind);
}
