// Link intake: whether a fetched page may be parsed, what its record learns from the parser,
// and how every link on it becomes a new record or one more occurrence of a known one.
#include "app/UserInterface.h"
#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"
#include "crawl/LinkResolver.h"
#include "crawl/StartProbes.h"
#include "crawl/UrlRules.h"
#include "parsing/KestParser.h"
#include "platform/SyncFetch.h"

#include <QDir>
#include <QFileInfo>
#include <QtDebug>

void LinkCheckerHub::readIntakeSettings() {
    intake.followQuerystring = config.flagForKey("followQuerystring");
    intake.ignoreSlash = config.flagForKey("ignoreSlash");
    intake.hashIsBad = config.flagForKey("KestreliaHashIsBad");
    intake.ignoreSubdomain = preferences.boolValue("ignoreSubdomain");
    intake.blacklistByRobotsTxt = config.flagForKey("blacklistByRobotsTxt");
    intake.sitemapOnly = config.flagForKey("KestreliaSitemapOnly");
    intake.checkImages = getCheckImages();
    intake.trimSpaces = shouldTrimSpaces();
}

LinkCheckerUrlPtr LinkCheckerHub::weHaveThisOneAlreadyIgnoreInternal(const QString& url,
                                                                     const LinkCheckerUrl* ignore,
                                                                     bool internal) const {
    if (url.isEmpty() || lookupDictionary.isEmpty())
        return nullptr;
    QString key = url;
    if (key.contains("///") && !key.startsWith("file"))
        key.replace("///", "//");
    // A hash-bang addresses a page of its own: such a link is never taken for a known one.
    if (key.contains("#!"))
        return nullptr;
    const qsizetype hash = key.indexOf('#');
    if (hash >= 0)
        key.truncate(hash);
    if (internal && intake.followQuerystring) {
        const qsizetype query = key.indexOf('?');
        if (query >= 0)
            key.truncate(query);
    }
    if (intake.ignoreSlash && key.endsWith('/'))
        key.chop(1);
    LinkCheckerUrlPtr found = lookupDictionary.value(key);
    return found.get() == ignore ? nullptr : found;
}

bool LinkCheckerHub::weHaveThisTitleAlready(const LinkCheckerUrl& page) const {
    return config.flagForKey("uniqueTitles") && !page.getLinkPageTitle().isEmpty() &&
           lookupDictionary.contains(page.getLinkPageTitle());
}

bool LinkCheckerHub::shouldBeInSitemapCollection(const LinkCheckerUrl& page) const {
    if (page.getIsImage() || !page.getIsHTML() || !page.isInternal())
        return false;
    const int colour = page.getColour();
    if (colour == 3 || colour == 4)
        return false;
    if (actionWhenFinished == 7) {
        const QString term = config.stringForKey("filterSitemapByTerm");
        if (!QString::fromUtf8(page.getData()).contains(term))
            return false;
    }
    if (!preferences.boolValue("checkRobotstxt"))
        return true;
    return !UrlRules::stringContainsOneOfTheseTerms(page.getActualLinkUrl(),
                                                    robotsBlacklistArray ? &*robotsBlacklistArray : nullptr);
}

// The follow blacklist beats the whitelist, and the starting point is spared only the latter.
bool LinkCheckerHub::isFollowBlacklisted(LinkCheckerUrl& page) const {
    if (page.linkContainsOneOfTheseTerms(&followBlacklistArray))
        page.setIsBlacklisted(true);
    const bool whitelist = !followWhitelistArray.isEmpty();
    if (!config.flagForKey("blacklistCheckContent")) {
        if (whitelist && !page.linkContainsOneOfTheseTerms(&followWhitelistArray) && !page.isStartingPoint())
            page.setIsBlacklisted(true);
    } else {
        if (page.dataContainsOneOfTheseTerms(&followBlacklistArray))
            page.setIsBlacklisted(true);
        if (whitelist) {
            if (page.dataContainsOneOfTheseTerms(&followWhitelistArray) ||
                page.linkContainsOneOfTheseTerms(&followWhitelistArray))
                qInfo() << "contains whitelist term - ok";
            else if (!page.isStartingPoint())
                page.setIsBlacklisted(true);
        }
    }
    return page.isBlacklisted();
}

void LinkCheckerHub::extractLinks(const LinkCheckerUrlPtr& page) {
    readIntakeSettings();
    auto closing = [&] {
        if (!shouldCacheData())
            page->clearData();
        ui.reloadView("links");
    };

    bool pageNeededEscaping = false;
    QUrl pageUrl(page->getActualLinkUrl(), QUrl::StrictMode);
    if (!pageUrl.isValid() || page->getActualLinkUrl().isEmpty()) {
        pageUrl = QUrl(UrlRules::addPercentEscapes(page->getActualLinkUrl()), QUrl::StrictMode);
        pageNeededEscaping = true;
    }
    if (!pageUrl.isValid() || page->getActualLinkUrl().isEmpty()) {
        qInfo().noquote() << QString("badly formed url: %1").arg(page->getActualLinkUrl());
        return closing();
    }
    if (weHaveThisOneAlreadyIgnoreInternal(page->getRedir(), page.get(), page->isInternal()))
        return closing();
    if (!UrlRules::compareHostWithDomain(pageUrl.host(), domains, intake.ignoreSubdomain))
        return closing();
    if (singlePage && lfDataSource::getnthItem(0) != page)
        return closing();
    if (isFollowBlacklisted(*page))
        return closing();
    if (page->getDistanceFromHome() > preferences.intValue("levelslimit"))
        return closing();
    if (count() >= preferences.intValue("linkslimit"))
        return closing();
    if (config.flagForKey("nofollowCheckbox") && page->isNofollow() == 1)
        return closing();
    const bool sitemapStart = page->isStartingPoint() && page->getActualLinkUrl().contains(".xml");
    // PDF documents join with the PDF reader; until then they are checked but not read.
    if (!(page->getIsHTML() || plainTextMode || sitemapStart))
        return closing();

    const bool checkNofollow = config.flagForKey("nofollowCheckbox") ||
                               preferences.boolValue("nofollowColCheckbox") ||
                               preferences.boolValue("nofollowFlatColCheckbox");
    auto parser =
        KestParser::initWithDataWithuserAgentStringWithSEOCachePageCheckNoIndexCheckNofollowUseEncoding(
            page->getData(), userAgent(), preferences.boolValue("SEOEnabledCheckBox"), shouldArchive(),
            preferences.boolValue("checkRobots"), checkNofollow, getDetectedEncoding());
    page->setHeadContainsNoFollow(parser->getHeadContainsNoFollow());
    page->setHeadContainsNoIndex(!parser->getShouldBeIndexed());
    if (page->isStartingPoint()) {
        if (plainTextMode)
            parser->setPlainTextMode();
        else if (sitemapStart)
            parser->setXMLMode();
    }
    const LinkResolver base(parser->getBaseHref() ? *parser->getBaseHref() : pageUrl);

    std::optional<QString> link;
    if (parser->getLength() > 0) {
        page->setLinkPageTitle(parser->getTitle());
        page->setMetaDescription(parser->getDescription());
        page->setHeadings(parser->getHeadings());
        page->setKeywords(parser->getKeywords());
        page->setFileSize(int(parser->getFileSize()));
        page->setWordCount(parser->getWordCount());
        const QString canonical = parser->getCanonical().value_or(QString());
        if (!canonical.isEmpty())
            page->setCanonical(pageUrl.resolved(QUrl(canonical)).toString());
        link = parser->getNextHrefTrim(intake.checkImages, intake.trimSpaces);
    }

    if (weHaveThisTitleAlready(*page))
        return closing();
    if (page->isErrorPage() && !checkErrorPages())
        link.reset();
    if (isUsingTitles())
        addToLookupWithKey(page, page->getLinkPageTitle());
    if (!rechecking && shouldBeInSitemapCollection(*page)) {
        // The SEO table and the sitemap rules take the page here once they exist.
    }

    while (link) {
        const QString text = parser->getLinkText().value_or(QString(""));
        takeInLink(page, base, pageNeededEscaping, *link, text, parser->lastLinkWasNofollow(),
                   parser->getHeadContainsNoFollow());
        link = parser->getNextHrefTrim(intake.checkImages, intake.trimSpaces);
    }
    page->setWordCount(parser->getWordCount());
    parser->curlUpAndDie();
    closing();
}

void LinkCheckerHub::takeInLink(const LinkCheckerUrlPtr& page, const LinkResolver& base,
                                bool pageNeededEscaping, const QString& rawLink, const QString& linkText,
                                bool nofollow, bool headNofollow) {
    QString link = rawLink;
    if (link.size() > 2 && link.startsWith("./"))
        link = link.mid(2);
    const bool hashIsBad = intake.hashIsBad;
    const bool hashOrEmpty = link == "#" || link.isEmpty();

    LinkResolver::Result url;
    if (!hashOrEmpty || hashIsBad)
        url = base.resolve(link);

    if (hashOrEmpty && hashIsBad) {
        auto record = std::make_shared<LinkCheckerUrl>(this);
        record->setLinkText(linkText);
        record->addOnPageUrl(page->getActualLinkUrl());
        record->addOnPageName(page->getLinkPageTitle());
        record->addOnPageLinkText(linkText);
        record->setDistanceFromHome(page->getDistanceFromHome() + 1);
        record->setStatus("missing link url");
        record->setIsInternal(false);
        record->setLinkUrlDirectly(link.isEmpty() ? QString("empty quotes") : QString("#"));
        incNumberDone(record);
        add(record);
        getNextUrlToCrawl();
        return;
    }
    if (url.absolute.isEmpty()) {
        if (link == "MCMS zref") {
            auto record = std::make_shared<LinkCheckerUrl>(this);
            record->setLinkText(linkText);
            record->addOnPageUrl(page->getActualLinkUrl());
            record->addOnPageName(page->getLinkPageTitle());
            record->addOnPageLinkText(linkText);
            record->setStatus("MCMS zref");
            incNumberDone(record);
            record->addNofollow(nofollow);
            add(record);
        }
        return;
    }

    const bool internal = UrlRules::compareHostWithDomain(url.host, domains, intake.ignoreSubdomain);
    QString absolute = url.absolute;
    if (url.neededEscaping || pageNeededEscaping)
        absolute = QUrl::fromPercentEncoding(absolute.toUtf8());
    if (LinkCheckerUrlPtr known = weHaveThisOneAlreadyIgnoreInternal(absolute, nullptr, internal)) {
        known->addOnPageUrl(page->getActualLinkUrl());
        known->addOnPageName(page->getLinkPageTitle());
        known->setLinkText(linkText);
        known->addOnPageLinkText(linkText);
        known->addNofollow(nofollow);
        known->setHeadContainsNoFollow(headNofollow);
        if (known->getIsImage())
            page->addLinkedImage(known);
        return;
    }

    if (plainTextMode && page->isStartingPoint() && !url.host.isEmpty() && !domains.contains(url.host))
        domains.append(url.host);
    if (UrlRules::isMailtoEtc(link) || absolute.isEmpty())
        return;
    auto record = std::make_shared<LinkCheckerUrl>(this);
    record->setIsInternal(internal);
    record->setLinkUrlTrimQuery(absolute, intake.followQuerystring);
    record->setLinkText(linkText);
    record->addOnPageUrl(page->getActualLinkUrl());
    record->addOnPageName(page->getLinkPageTitle());
    record->addOnPageLinkText(linkText);
    record->setDistanceFromHome(page->getDistanceFromHome() + 1);
    if (UrlRules::stringContainsOneOfTheseTerms(absolute, &checkBlacklistArray)) {
        record->setStatus("Not checked");
        record->setIsBlacklisted(true);
        incNumberDone(record);
    }
    if (intake.blacklistByRobotsTxt) {
        if (UrlRules::stringContainsOneOfTheseTerms(absolute, robotsBlacklistArray ? &*robotsBlacklistArray
                                                                                   : nullptr)) {
            record->setStatus("Disallowed by robots.txt");
            record->setIsBlacklisted(true);
            incNumberDone(record);
        }
    } else if (url.scheme == "ftp" || (!internal && intake.sitemapOnly)) {
        record->setStatus("Not checked");
        incNumberDone(record);
    }
    if (record->getIsImage())
        page->addLinkedImage(record);
    record->addNofollow(nofollow);
    record->setHeadContainsNoFollow(headNofollow);
    add(record);
    getNextUrlToCrawl();
}

// ---------------------------------------------------------------- probes before the first request

void LinkCheckerHub::applyDirectoryLimit(const QUrl& url) {
    const QString term =
        StartProbes::directoryLimitTerm(lfDataSource::getnthItem(0)->getLinkUrl(), url.host(), url.port(),
                                        config.flagForKey("wordpressUrls"));
    if (!term.isEmpty())
        followWhitelistArray.append(term);
}

void LinkCheckerHub::readRobotsTxt() {
    robotsBlacklistArray = QStringList();
    if (domains.isEmpty())
        return;
    // Asked of the first domain over plain http; a site on a port of its own is asked on that port.
    const QUrl start(lfDataSource::getnthItem(0)->getActualLinkUrl());
    const QString authority =
        start.port() >= 0 ? QString("%1:%2").arg(domains.first()).arg(start.port()) : domains.first();
    const SyncFetchResult robots =
        fetchSynchronously(StartProbes::robotsTxtAddress(authority), userAgent(), getTimeoutInterval());
    if (!robots.error.isEmpty() || robots.status >= 400)
        return;
    robotsBlacklistArray = StartProbes::parseRobotsTxt(QString::fromUtf8(robots.body));
}

void LinkCheckerHub::detectEncoding(const QString& url) {
    detectedEncoding = 0;
    QString fetchUrl = url;
    if (fetchUrl.startsWith("file://") && QFileInfo(QUrl(url).toLocalFile()).isDir())
        fetchUrl =
            QUrl::fromLocalFile(
                QDir(QUrl(url).toLocalFile()).filePath(config.stringForKey("defaultLocalFileName").trimmed()))
                .toString();
    const SyncFetchResult start = fetchSynchronously(fetchUrl, userAgent(), getTimeoutInterval());
    // What the server says of its charset comes first; the page's own meta tag is the fallback.
    const qsizetype charset = start.contentType.indexOf("charset=", 0, Qt::CaseInsensitive);
    if (charset >= 0)
        detectedEncoding = KestParser::encodingForCharset(start.contentType.mid(charset + 8).trimmed());
    if (detectedEncoding == 0 && !start.body.isEmpty()) {
        qInfo().noquote() << QString("encodingTestData length is %1").arg(start.body.size());
        detectedEncoding = KestParser::encodingForCharset(KestParser::extractCharsetFromHTML(start.body));
    }
    if (detectedEncoding)
        qInfo().noquote() << QString("encoding detected as %1").arg(detectedEncoding);
    else
        qInfo() << "unable to detect encoding";
}
