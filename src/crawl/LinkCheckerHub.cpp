#include "crawl/LinkCheckerHub.h"

#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "crawl/UrlRules.h"
#include "platform/UserInterface.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTimer>
#include <QtDebug>

using namespace Qt::StringLiterals;

LinkCheckerHub::LinkCheckerHub(KestConfigManager& config_, Preferences& preferences_, UserInterface& ui_)
    : config(config_), preferences(preferences_), ui(ui_) {}

LinkCheckerHub::~LinkCheckerHub() = default;

void LinkCheckerHub::postToCrawl(std::function<void()> call) {
    const quint64 generation = crawlGeneration;
    QMetaObject::invokeMethod(
        this,
        [this, generation, call = std::move(call)] {
            if (generation == crawlGeneration)
                call();
        },
        Qt::QueuedConnection);
}

// ---------------------------------------------------------------- crawl control

void LinkCheckerHub::go(const QString& senderTitle) {
    if (senderTitle == "Continue") {
        continueCrawl();
        return;
    }
    if (senderTitle == "Pause") {
        stop();
        return;
    }
    startNewCrawl();
}

void LinkCheckerHub::startNewCrawl() {
    // Whatever the last crawl left queued or in flight belongs to it, not to this one.
    ++crawlGeneration;
    numberOfThreadsDetached = 0;
    ui.progress(0, 0, QString());
    clear();
    badCollectionCount = 0;
    clearTempFolder();
    clearArchiveFolder();
    ui.reloadView("links");
    lookupDictionary.clear();
    byPageDictionary.clear();
    lastPageLinks = nullptr;
    linkTextPool.clear();
    anchors.clear();
    fragmentRecords.clear();
    getReportDataSource().clear();
    if (onNewCrawl)
        onNewCrawl();

    soft404Array =
        KestConfigManager::trimEachItemInArray(preferences.stringValue(u"soft404Terms"_s).split("\n"));
    readCrawlSettings();

    QString url = config.getUrlOfSelectedSite();
    if (url.isEmpty())
        return;
    url = UrlRules::completeStartUrl(url);
    plainTextMode = false;
    if (url.startsWith("file://") && !probeLocalStart(url))
        return;

    checkBlacklistArray = config.getCheckBlacklistArray();
    followBlacklistArray = config.getFollowBlacklistArray();
    followWhitelistArray = KestConfigManager::trimEachItemInArray(config.getFollowWhitelistArray());
    robotsBlacklistArray.reset();
    lastCustomIcon = 0;

    auto first = std::make_shared<LinkCheckerUrl>(this);
    first->setLinkUrlTrimQuery(url, config.flagForKey(u"followQuerystring"_s));
    first->setIsStartingPoint(true);
    first->setDistanceFromHome(0);
    add(first);
    ui.reloadView("links");

    const QUrl startUrl = UrlRules::makeUrl(url);
    if (!startUrl.isValid()) {
        ui.alert("Unsupported url", QString("Trellium can not make a valid url from\n%1").arg(url));
        ui.crawlDidntGetOffGround();
        return;
    }
    if (!plainTextMode)
        applyDirectoryLimit(startUrl);
    domains = startUrl.host().isEmpty() ? QStringList() : QStringList{UrlRules::hostOf(startUrl, url)};
    if (preferences.boolValue(u"checkRobotstxt"_s) || config.flagForKey(u"blacklistByRobotsTxt"_s))
        if (!first->getActualLinkUrl().startsWith("file://"))
            readRobotsTxt();

    stopPressedFlag = false;
    crawlWillContinue();
    numberDone = 0;
    nextUrlToCrawl = 0;
    detectEncoding(first->getActualLinkUrl());
    singlePage = config.flagForKey(u"followCheckbox"_s);
    crawlFinished = false;
    crawlStarted = true;
    rechecking = false;

    sendAsyncServerResponse(first);
    ++numberOfThreadsDetached;
    ++nextUrlToCrawl;
}

// A local start must be readable; a document with fewer than three "<" is a list of URLs.
bool LinkCheckerHub::probeLocalStart(QString& url) {
    QString path = QUrl(url).toLocalFile();
    if (QFileInfo(path).isDir())
        path = QDir(path).filePath(config.stringForKey(u"defaultLocalFileName"_s).trimmed());
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        ui.alert("Error opening file",
                 QString("Trellium encountered the following error when trying to open the selected file: %1")
                     .arg(path + ": " + file.errorString()));
        ui.crawlDidntGetOffGround();
        return false;
    }
    // Read no further than a page may be: a start may be huge, or a device that never ends.
    const QByteArray text = settings.maxPageSize > 0 ? file.read(settings.maxPageSize) : file.readAll();
    if (text.count('<') < 3) {
        plainTextMode = true;
        qInfo() << "Setting plain text mode";
    }
    return true;
}

bool LinkCheckerHub::getNextUrlToCrawl() {
    bool result = false;
    const int cap = settings.threads;
    const double delay = settings.delay;
    while (!stopPressedFlag && (numberOfThreadsDetached < cap || numberOfThreadsDetached == 0)) {
        ItemPtr record = lfDataSource::getnthItem(nextUrlToCrawl);
        if (!record) {
            isFinished();
            return false;
        }
        while (record->isGoodLink() || record->isExempt()) {
            ++nextUrlToCrawl;
            record = lfDataSource::getnthItem(nextUrlToCrawl);
            if (!record) {
                isFinished();
                return false;
            }
        }
        ++nextUrlToCrawl;
        // Even a delay of 0 goes through the event loop, so the send happens after this pass.
        const quint64 generation = crawlGeneration;
        QTimer::singleShot(int(std::max(0.0, delay) * 1000), this, [this, record, generation] {
            if (generation == crawlGeneration)
                sendAsyncServerResponse(record);
        });
        ++numberOfThreadsDetached;
        result = true;
    }
    return result;
}

void LinkCheckerHub::threadHasFinished(const LinkCheckerUrlPtr& record) {
    if (--numberOfThreadsDetached < 0)
        numberOfThreadsDetached = 0;
    if (record->requiresHighlightCallback()) {
        highlightBadLinksInSelectedPage(record);
        return;
    }
    getNextUrlToCrawl();
}

void LinkCheckerHub::incNumberDone(const LinkCheckerUrlPtr& record) {
    if (numberDone < quint64(count()))
        ++numberDone;
    if (!record->shouldBeMemberOfBadCollection()) {
        record->setIsInBadCollection(true);
        ++badCollectionCount;
    }
    if (numberDone <= quint64(count()))
        showProgress();
    if (onRecordChecked)
        postToCrawl([this, record] { onRecordChecked(record); });
}

QString LinkCheckerHub::progressLine() const {
    return QString("%1 of %2 links checked, %3 bad").arg(numberDone).arg(count()).arg(badCollectionCount);
}

void LinkCheckerHub::showProgress() {
    ui.progress(qint64(numberDone), count(), progressLine());
    if (!(numberDone == 1 && count() == 1) && count() > 0) {
        const int index = int(numberDone * 10 / quint64(count()));
        if (index != lastCustomIcon) {
            ui.progressPicture(index);
            lastCustomIcon = index;
        }
    }
}

void LinkCheckerHub::statusHasChangedFordO(const LinkCheckerUrlPtr& record) {
    record->setIsInBadCollection(!record->shouldBeMemberOfBadCollection());
    record->setBeingRechecked(false);
}

bool LinkCheckerHub::isFinished() {
    if (crawlFinished)
        return true;
    const double timeout = config.doubleForKey(u"timeOut"_s);
    quint64 withStatus = 0;
    bool swept = false;
    for (const ItemPtr& record : collection) {
        if (!record->getStatus().isEmpty()) {
            ++withStatus;
        } else if (record->getTimeSinceSent() > 2 * timeout && !record->isWaitingToRetry()) {
            // Silent for too long: the connection itself is left alone.
            record->setStatus("The request timed out.");
            --numberOfThreadsDetached;
            swept = true;
        }
    }
    // The records just marked count from the next pass on; it must come even if no request is
    // left to bring it.
    if (swept)
        passSchedulerAfter(0);
    numberDone = withStatus;
    if (numberDone == quint64(count()) && numberOfThreadsDetached < 1) {
        crawlDidStop();
        if (numberDone > 1)
            doReport(actionWhenFinished == 6);
        if (config.flagForKey(u"archivePages"_s))
            saveArchive();
    } else if (!stopPressedFlag) {
        crawlWillContinue();
        return false;
    }
    closeCrawl();
    return true;
}

void LinkCheckerHub::closeCrawl() {
    countBadCollection();
    config.setStatus(progressLine());
    config.setDateStamp();
    // Exactly ten records done leaves the picture where it is; an old quirk kept on purpose.
    if (numberDone != 10) {
        lastCustomIcon = 10;
        ui.progressPicture(10);
    }
    crawlFinished = true;
    ui.progress(qint64(numberDone), count(), progressLine());
    ui.reloadView("links");
    if (onCrawlFinishedChanged)
        onCrawlFinishedChanged(true);
    takeAction(actionWhenFinished);
}

void LinkCheckerHub::loadDidFinish() {
    ++crawlGeneration;
    numberOfThreadsDetached = 0;
    nextUrlToCrawl = 0;
    crawlStarted = false;
    crawlFinished = true;
    doReport(false);
    countBadCollection();
    numberDone = quint64(count());
    config.setStatus(progressLine());
    ui.progress(qint64(numberDone), count(), progressLine());
    ui.reloadView("links");
}

void LinkCheckerHub::stop() {
    stopPressedFlag = true;
    ++pauses;
    crawlDidStop();
    numberOfThreadsDetached = 0;
    nextUrlToCrawl = 0;
    ui.reloadView("links");
    doReport(false);
    ui.crawlHasPaused();
}

// A pass of the scheduler for records that no callback will ever end. Without it a crawl whose
// last request could not be made, or whose last silent records the sweep has just marked,
// would wait for ever.
void LinkCheckerHub::passSchedulerAfter(double seconds) {
    const quint64 generation = crawlGeneration;
    QTimer::singleShot(int(seconds * 1000), this, [this, generation] {
        if (generation == crawlGeneration && !crawlFinished)
            getNextUrlToCrawl();
    });
}

void LinkCheckerHub::stopAndFinish() {
    stop();
    // With the pause on, the finish closes the crawl whatever is still outstanding.
    postToCrawl([this] { isFinished(); });
}

void LinkCheckerHub::continueCrawl() {
    readCrawlSettings();
    stopPressedFlag = false;
    crawlWillContinue();
    getNextUrlToCrawl();
    ui.crawlHasContinued();
}

void LinkCheckerHub::emergencyMemoryStop() {
    if (stopPressedFlag)
        return;
    ui.alert("Failed to allocate memory",
             "Unable to allocate memory. Attempting to stop and preserve the data already collected. Try "
             "crawling again using blacklisting or whitelisting to limit the search.",
             {"OK"});
    stopPressedFlag = true;
    crawlDidStop();
}

void LinkCheckerHub::crawlDidStop() {
    ui.crawlCommandsChanged(true);
}

void LinkCheckerHub::crawlWillContinue() {
    ui.crawlCommandsChanged(false);
}

bool LinkCheckerHub::handleAuthenticationButton(bool on) {
    if (!on) {
        config.setValueForKey("TrelliumAttemptAuthentication", QStringLiteral("NO"));
        return false;
    }
    const int answer = ui.alert("Warning - Authentication",
                                "By switching on this option it is possible to cause damage to your website "
                                "including deleting pages. "
                                "\r\rIf possible use an account that has read access to the site but is "
                                "unable to make changes.\r\rMake "
                                "sure that your site is backed up and that you are prepared to restore if "
                                "necessary. \r\rAre you sure you "
                                "know what you are doing and do you want to continue?",
                                {"Cancel", "Continue"});
    if (answer != 1) {
        config.setValueForKey("TrelliumAttemptAuthentication", QStringLiteral("NO"));
        return false;
    }
    config.changeSetting("TrelliumAttemptAuthentication", QStringLiteral("YES"));
    return true;
}

void LinkCheckerHub::siteHasChanged() {
    crawlFinished = false;
}

LinkCheckerHub::CrawlState LinkCheckerHub::getCrawlState() const {
    if (crawlFinished)
        return CrawlState::Finished;
    if (!crawlStarted)
        return CrawlState::Idle;
    return stopPressedFlag ? CrawlState::Paused : CrawlState::Running;
}

void LinkCheckerHub::doReport(bool onThisThread) {
    getReportDataSource().doReport(*this, onThisThread);
}

void LinkCheckerHub::takeAction(int action) {
    if (action == 5) {
        ui.showResults(18);
        preferences.setValue(u"ValidationEnabled"_s, true);
        if (onStartValidation)
            onStartValidation();
        return;
    }
    ui.showResults(action);
}

void LinkCheckerHub::setActionWhenFinished(int action) {
    actionWhenFinished = action;
    const bool wanted = action == 18 || (action == 6 && (config.flagForKey(u"onFinishSaveValidation"_s) ||
                                                         config.flagForKey(u"onFinishSaveSummary"_s)));
    preferences.setValue(u"ValidationEnabled"_s, wanted);
}

void LinkCheckerHub::validationIsFinished() {
    if (!crawlFinished)
        return;
    QMetaObject::invokeMethod(
        this, [this] { takeActionsFollowingValidationFinish(); }, Qt::QueuedConnection);
}

void LinkCheckerHub::takeActionsFollowingValidationFinish() {
    if (onValidationFinish)
        onValidationFinish();
}

void LinkCheckerHub::highlightBadLinksInSelectedPage(const LinkCheckerUrlPtr&) {}

// ---------------------------------------------------------------- one request

void LinkCheckerHub::sendAsyncServerResponse(const LinkCheckerUrlPtr& record) {
    // Refused without a request: a link that climbs above the root, and a local file in a
    // crawl that did not start from local files, whichever way the record came here.
    const bool localFile = UrlRules::isLocalFileUrl(record->getLinkUrlForTesting()) &&
                           !UrlRules::isLocalFileUrl(getStartingUrl());
    if (record->directoryTooHigh() || localFile) {
        record->setStatus(localFile ? LinkCheckerUrl::localFileNotChecked : "badly formed url");
        incNumberDone(record);
        threadHasFinished(record);
        return;
    }
    if (!record->getStatus().isEmpty())
        record->setBeingRechecked(true);
    sendRequest(record);
}

void LinkCheckerHub::sendRequest(const LinkCheckerUrlPtr& record) {
    const double timeout = settings.timeout;
    QString text = record->getLinkUrlForTesting();
    if (text.size() > 7 && text.startsWith(u"feed://"))
        text = "http://" + text.mid(7);
    QUrl url(text, QUrl::StrictMode);
    if (!url.isValid() || text.isEmpty())
        url = QUrl(UrlRules::addPercentEscapes(record->getLinkUrlForTesting()), QUrl::StrictMode);
    if (url.isLocalFile() && QFileInfo(url.toLocalFile()).isDir())
        url = QUrl::fromLocalFile(
            QDir(url.toLocalFile()).filePath(config.stringForKey(u"defaultLocalFileName"_s).trimmed()));

    UrlRequest request;
    request.url = url;
    request.timeoutInterval = timeout;
    request.maximumBodySize = settings.maxPageSize;
    request.maximumTime = settings.maxTime;
    request.httpShouldHandleCookies = false;
    request.setValueForHTTPHeaderField(settings.userAgent.toUtf8(), "User-Agent");
    const QString referer = record->getLastOnPageUrl();
    if (!referer.isEmpty())
        request.setValueForHTTPHeaderField(referer.toUtf8(), "Referer");
    const QString host = url.port() >= 0 ? url.host() + u':' + QString::number(url.port()) : url.host();
    request.setValueForHTTPHeaderField(host.toUtf8(), "Host");
    request.httpShouldHandleCookies = getAuthentication();
    static const QString headerKeys[] = {u"customHeaderKey1"_s, u"customHeaderKey2"_s, u"customHeaderKey3"_s};
    static const QString headerValues[] = {u"customHeaderValue1"_s, u"customHeaderValue2"_s,
                                           u"customHeaderValue3"_s};
    for (int i = 0; i < 3; ++i) {
        const QString key = config.stringForKey(headerKeys[i]);
        if (!key.isEmpty())
            request.setValueForHTTPHeaderField(config.stringForKey(headerValues[i]).toUtf8(), key.toUtf8());
    }

    // Only the starting point logs in, so the credentials are read for it alone.
    const bool login = getAuthentication() && record->isStartingPoint();
    const QString user = login ? getAuthenticationUserName() : QString();
    const QString password = login ? getAuthenticationPassword() : QString();
    const QString userField = login ? getAuthenticationUserNameFieldName() : QString();
    const QString passwordField = login ? getAuthenticationPasswordFieldName() : QString();
    if (login && !user.isEmpty() && !password.isEmpty() && !userField.isEmpty() && !passwordField.isEmpty()) {
        // The login form as the site expects it; nothing is percent-encoded.
        QString body = QString("%1=%2&%3=%4").arg(userField, user, passwordField, password);
        for (int i = 1; i <= 3; ++i) {
            const QString key = config.stringForKey(QString("customPostKey%1").arg(i));
            if (!key.isEmpty())
                body += QString("&%1=%2").arg(key, config.stringForKey(QString("customPostValue%1").arg(i)));
        }
        qInfo().noquote() << QString("sending post request with %1").arg(body);
        QByteArray bytes;
        bytes.reserve(body.size());
        for (QChar c : body)
            bytes.append(c.unicode() < 128 ? char(c.unicode()) : '?');
        request.method = "POST";
        request.setValueForHTTPHeaderField(QByteArray::number(bytes.size()), "Content-Length");
        request.setValueForHTTPHeaderField("text/html,application/xhtml+xml,application/xml;q=0.9,*/*;q=0.8",
                                           "Accept");
        request.setValueForHTTPHeaderField("en-US,en;q=0.5", "Accept-Language");
        request.setValueForHTTPHeaderField("gzip, deflate", "Accept-Encoding");
        request.setValueForHTTPHeaderField("keep-alive", "Connection");
        request.body = bytes;
    }
    if (config.flagForKey(u"runJS"_s))
        record->setRunJS(request);
    record->setSentRequest();
    if (!url.isValid() || url.isEmpty()) {
        qInfo().noquote() << QString("connection can't be created to %1").arg(text);
        // No callback will end this record: the finish's sweep does, once it has been silent
        // for twice the time-out, so a scheduler pass is due then.
        passSchedulerAfter(2 * config.doubleForKey(u"timeOut"_s) + 0.5);
        return;
    }
    record->startConnection(request, record->requiresHighlightCallback()
                                         ? myNSURLConnection::highlightIdentifier
                                         : myNSURLConnection::crawlIdentifier);
}

// ---------------------------------------------------------------- the collection

void LinkCheckerHub::add(const ItemPtr& item) {
    if (!item) {
        qInfo() << "*** attempt to add null link ***";
        return;
    }
    setCapacityLimit(preferences.intValue(u"linkslimit"_s));
    lfDataSource::add(item);
}

LinkCheckerHub::ItemPtr LinkCheckerHub::getnthItem(qsizetype n) const {
    if (preferences.boolValue(u"showHideGoodLinksCheckBox"_s)) {
        if (badCollectionCount == 0)
            return nullptr;
        qsizetype seen = 0;
        for (const ItemPtr& record : collection)
            if (record->isInBadCollection() && seen++ == n)
                return record;
    }
    return lfDataSource::getnthItem(n);
}

LinkCheckerHub::ItemPtr LinkCheckerHub::getLinkCheckerUrlWithUrl(const QString& url) const {
    for (const ItemPtr& record : collection)
        if (record->getActualLinkUrl() == url)
            return record;
    return nullptr;
}

LinkCheckerHub::ItemPtr LinkCheckerHub::getfirstBadItem() const {
    for (const ItemPtr& record : collection)
        if (record->isInBadCollection())
            return record;
    return nullptr;
}

int LinkCheckerHub::countBadCollection() {
    badCollectionCount = int(std::count_if(collection.begin(), collection.end(), [](const ItemPtr& record) {
        return record->isInBadCollection();
    }));
    return badCollectionCount;
}

QString LinkCheckerHub::getStartingUrl() const {
    const ItemPtr first = lfDataSource::getnthItem(0);
    return first ? first->getLinkUrl() : QString();
}

QSet<QString> LinkCheckerHub::getFileExtensionSet() const {
    QSet<QString> extensions;
    for (const ItemPtr& record : collection) {
        const QString extension = UrlRules::pathExtension(QUrl(record->getActualLinkUrl()).path());
        if (!extension.isEmpty())
            extensions.insert(extension);
    }
    extensions.insert(QStringLiteral("html"));
    extensions.insert(QStringLiteral("htm"));
    extensions.insert(QStringLiteral("php"));
    return extensions;
}

void LinkCheckerHub::addToLookupWithKey(const LinkCheckerUrlPtr& record, const QString& key) {
    try {
        lookupDictionary.insert(key, record);
    } catch (const std::bad_alloc&) {
        qInfo().noquote() << QString("**** unable to add %1 to lookup").arg(key);
        stopAndFinish();
    }
}

void LinkCheckerHub::addLinkForPage(const LinkCheckerUrlPtr& record, const QString& page) {
    // Links arrive page by page, so the list of the page in hand is kept at hand. The page text
    // held here keeps its characters alive, so the same address and size mean the same text; a
    // dictionary shared with a copy is looked up afresh, which detaches it first.
    if (!lastPageLinks || !byPageDictionary.isDetached() || page.constData() != lastPage.constData() ||
        page.size() != lastPage.size()) {
        lastPageLinks = &byPageDictionary[page];
        lastPage = page;
    }
    lastPageLinks->append(record);
}

int LinkCheckerHub::numberOfLinksOnThisPage(const QString& page) const {
    const auto it = byPageDictionary.constFind(page);
    if (it == byPageDictionary.constEnd())
        return 0;
    return int(
        std::count_if(it->begin(), it->end(), [](const LinkCheckerUrlPtr& r) { return !r->getIsImage(); }));
}

void LinkCheckerHub::resetDomain(const LinkCheckerUrl& record) {
    const QString host = UrlRules::hostOf(QUrl(record.getActualLinkUrl()), record.getActualLinkUrl());
    if (host.isEmpty())
        return;
    if (domains.size() == 1)
        domains = QStringList{host};
    else
        domains.append(host);
}

// ---------------------------------------------------------------- settings, read live

bool LinkCheckerHub::shouldTrim() const {
    return config.flagForKey(u"followQuerystring"_s);
}
void LinkCheckerHub::setIgnoreQS() {
    config.setValueForKey("followQuerystring", QStringLiteral("YES"));
}
bool LinkCheckerHub::shouldTrimSpaces() const {
    return preferences.boolValue(u"trimWhitespace"_s);
}
bool LinkCheckerHub::shouldIgnoreSlash() const {
    return config.flagForKey(u"ignoreSlash"_s);
}
bool LinkCheckerHub::shouldParsePDFs() const {
    return config.flagForKey(u"parsePDFs"_s);
}
bool LinkCheckerHub::shouldArchive() const {
    return config.flagForKey(u"archivePages"_s) || preferences.boolValue(u"SEOCountKeywordsInContent"_s);
}
bool LinkCheckerHub::shouldCacheData() const {
    return config.flagForKey(u"checkSpelling"_s) || config.flagForKey(u"checkGrammar"_s);
}
bool LinkCheckerHub::shouldFlagBlacklisted() const {
    return preferences.boolValue(u"flagBlacklisted"_s);
}
bool LinkCheckerHub::shouldLogModifiedDate() const {
    return preferences.boolValue(u"includelastmodinsitemap"_s) ||
           preferences.boolValue(u"TrelliumSEOViewColsLastModified"_s);
}
bool LinkCheckerHub::shouldPerformSoft404Check() const {
    return preferences.boolValue(u"soft404Button"_s);
}
bool LinkCheckerHub::getCheckImages() const {
    return config.flagForKey(u"checkImages"_s);
}
bool LinkCheckerHub::checkErrorPages() const {
    return config.flagForKey(u"checkErrorPages"_s);
}
bool LinkCheckerHub::isUsingTitles() const {
    return config.flagForKey(u"uniqueTitles"_s);
}
bool LinkCheckerHub::getAuthentication() const {
    return config.flagForKey(u"TrelliumAttemptAuthentication"_s);
}
QString LinkCheckerHub::getAuthenticationUserName() const {
    return config.stringForKey(u"authenticationusername"_s);
}
QString LinkCheckerHub::getAuthenticationPassword() const {
    return config.stringForKey(u"authenticationpassword"_s);
}
QString LinkCheckerHub::getAuthenticationUserNameFieldName() const {
    return config.stringForKey(u"authenticationusernamefieldname"_s);
}
QString LinkCheckerHub::getAuthenticationPasswordFieldName() const {
    return config.stringForKey(u"authenticationpasswordfieldname"_s);
}
double LinkCheckerHub::getTimeoutInterval() const {
    return config.doubleForKey(u"timeOut"_s);
}
bool LinkCheckerHub::displayPageTitle() const {
    return preferences.intValue(u"KestreliaShowPageTitle"_s) != 0;
}
QString LinkCheckerHub::userAgent() const {
    return preferences.userAgentString();
}

bool LinkCheckerHub::performSoft404CheckOnThisUrl(const LinkCheckerUrl& record) const {
    if (!shouldPerformSoft404Check())
        return false;
    return UrlRules::stringContainsOneOfTheseTerms(record.getActualLinkUrl(), &soft404Array) ||
           record.dataContainsOneOfTheseTerms(&soft404Array);
}
