// Link intake: whether a fetched page may be parsed, what its record learns from the parser,
// and how every link on it becomes a new record or one more occurrence of a known one.
#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"
#include "crawl/LinkResolver.h"
#include "crawl/StartProbes.h"
#include "crawl/UrlRules.h"
#include "parsing/KestParser.h"
#include "parsing/TextEncodings.h"
#include "platform/SyncFetch.h"
#include "platform/UserInterface.h"

#include <QDir>
#include <QFileInfo>
#include <QtDebug>

using namespace Qt::StringLiterals;

void LinkCheckerHub::readCrawlSettings() {
    settings.followQuerystring = config.flagForKey(u"followQuerystring"_s);
    settings.ignoreSlash = config.flagForKey(u"ignoreSlash"_s);
    settings.hashIsBad = config.flagForKey(u"KestreliaHashIsBad"_s);
    settings.ignoreSubdomain = preferences.boolValue(u"ignoreSubdomain"_s);
    settings.blacklistByRobotsTxt = config.flagForKey(u"blacklistByRobotsTxt"_s);
    settings.sitemapOnly = config.flagForKey(u"KestreliaSitemapOnly"_s);
    settings.checkImages = getCheckImages();
    settings.trimSpaces = shouldTrimSpaces();
    settings.threads = int(config.doubleForKey(u"numberOfThreads"_s));
    settings.delay = config.doubleForKey(u"delay"_s);
    settings.timeout = config.doubleForKey(u"timeOut"_s);
    settings.userAgent = userAgent();
    settings.maxPageSize = preferences.maximumPageSize();
    settings.maxTime = preferences.maximumRequestTime(settings.timeout);
}

LinkCheckerUrlPtr LinkCheckerHub::weHaveThisOneAlreadyIgnoreInternal(const QString& url,
                                                                     const LinkCheckerUrl* ignore,
                                                                     bool internal) const {
    if (url.isEmpty() || lookupDictionary.isEmpty())
        return nullptr;
    // One look over the text finds what the key rules need; a link that needs none of them,
    // the common case, is looked up as it stands without a copy.
    const QChar* chars = url.constData();
    const qsizetype size = url.size();
    qsizetype hash = -1, query = -1;
    bool tripleSlash = false;
    for (qsizetype i = 0; i < size; ++i) {
        const char16_t c = chars[i].unicode();
        if (c == '#') {
            // A hash-bang addresses a page of its own: such a link is never taken for a known one.
            if (i + 1 < size && chars[i + 1] == u'!')
                return nullptr;
            if (hash < 0)
                hash = i;
        } else if (c == '?') {
            if (query < 0)
                query = i;
        } else if (c == '/' && i + 2 < size && chars[i + 1] == u'/' && chars[i + 2] == u'/') {
            tripleSlash = true;
        }
    }
    qsizetype end = size;
    if (tripleSlash && !url.startsWith(u"file")) {
        // Rare: the folded text is searched afresh.
        QString key = url;
        key.replace(u"///"_s, u"//"_s);
        return lookupKey(key, ignore, internal);
    }
    if (hash >= 0)
        end = hash;
    if (internal && settings.followQuerystring && query >= 0 && query < end)
        end = query;
    if (settings.ignoreSlash && end > 0 && chars[end - 1] == u'/')
        --end;
    const LinkCheckerUrlPtr found =
        end == size ? lookupDictionary.value(url) : lookupDictionary.value(url.left(end));
    return found.get() == ignore ? nullptr : found;
}

// The key rules applied step by step, for a text already changed.
LinkCheckerUrlPtr LinkCheckerHub::lookupKey(QString key, const LinkCheckerUrl* ignore, bool internal) const {
    if (key.contains(u"#!"))
        return nullptr;
    const qsizetype hash = key.indexOf(u'#');
    if (hash >= 0)
        key.truncate(hash);
    if (internal && settings.followQuerystring) {
        const qsizetype query = key.indexOf(u'?');
        if (query >= 0)
            key.truncate(query);
    }
    if (settings.ignoreSlash && key.endsWith(u'/'))
        key.chop(1);
    const LinkCheckerUrlPtr found = lookupDictionary.value(key);
    return found.get() == ignore ? nullptr : found;
}

bool LinkCheckerHub::weHaveThisTitleAlready(const LinkCheckerUrl& page) const {
    return config.flagForKey(u"uniqueTitles"_s) && !page.getLinkPageTitle().isEmpty() &&
           lookupDictionary.contains(page.getLinkPageTitle());
}

bool LinkCheckerHub::shouldBeInSitemapCollection(const LinkCheckerUrl& page) const {
    if (page.getIsImage() || !page.getIsHTML() || !page.isInternal())
        return false;
    const int colour = page.getColour();
    if (colour == 3 || colour == 4)
        return false;
    if (actionWhenFinished == 7) {
        const QString term = config.stringForKey(u"filterSitemapByTerm"_s);
        if (!QString::fromUtf8(page.getData()).contains(term))
            return false;
    }
    if (!preferences.boolValue(u"checkRobotstxt"_s))
        return true;
    return !UrlRules::stringContainsOneOfTheseTerms(page.getActualLinkUrl(),
                                                    robotsBlacklistArray ? &*robotsBlacklistArray : nullptr);
}

// The follow blacklist beats the whitelist, and the starting point is spared only the latter.
bool LinkCheckerHub::isFollowBlacklisted(LinkCheckerUrl& page) const {
    if (page.linkContainsOneOfTheseTerms(&followBlacklistArray))
        page.setIsBlacklisted(true);
    const bool whitelist = !followWhitelistArray.isEmpty();
    if (!config.flagForKey(u"blacklistCheckContent"_s)) {
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
    readCrawlSettings();
    auto closing = [&] {
        if (!shouldCacheData())
            page->clearData();
        ui.reloadView("links");
    };
    if (extras.checkAnchors)
        readAnchorTargets(*page);

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
    if (!UrlRules::compareHostWithDomain(UrlRules::hostOf(pageUrl, page->getActualLinkUrl()), domains,
                                         settings.ignoreSubdomain))
        return closing();
    if (singlePage && lfDataSource::getnthItem(0) != page)
        return closing();
    if (!page->getResourceKind().isEmpty())
        return closing();
    if (isFollowBlacklisted(*page))
        return closing();
    if (page->getDistanceFromHome() > preferences.intValue(u"levelslimit"_s))
        return closing();
    if (count() >= preferences.intValue(u"linkslimit"_s))
        return closing();
    if (config.flagForKey(u"nofollowCheckbox"_s) && page->isNofollow() == 1)
        return closing();
    const bool sitemapStart = page->isStartingPoint() && page->getActualLinkUrl().contains(".xml");
    // PDF documents join with the PDF reader; until then they are checked but not read.
    if (!(page->getIsHTML() || plainTextMode || sitemapStart))
        return closing();

    // Nofollow is looked for whenever a view shows it: the switches of the two Nofollow columns.
    const bool checkNofollow = config.flagForKey(u"nofollowCheckbox"_s) ||
                               preferences.boolValue(u"LorraneByLinkViewColsNofollow"_s) ||
                               preferences.boolValue(u"LorraneFlatViewColsNofollow"_s);
    auto parser =
        KestParser::initWithDataWithuserAgentStringWithSEOCachePageCheckNoIndexCheckNofollowUseEncoding(
            page->getData(), userAgent(), preferences.boolValue(u"SEOEnabledCheckBox"_s), shouldArchive(),
            preferences.boolValue(u"checkRobots"_s) || preferences.boolValue(u"TrelliumSEOViewColsRobots"_s),
            checkNofollow, getDetectedEncoding());
    // A page with no body at all makes no reader; each question to it then has the empty
    // answer, so such a page has no links and counts as not to be indexed.
    page->setHeadContainsNoFollow(parser && parser->getHeadContainsNoFollow());
    page->setHeadContainsNoIndex(!(parser && parser->getShouldBeIndexed()));
    if (parser && page->isStartingPoint()) {
        if (plainTextMode)
            parser->setPlainTextMode();
        else if (sitemapStart)
            parser->setXMLMode();
    }
    const LinkResolver base = parser && parser->getBaseHref()
                                  ? LinkResolver(*parser->getBaseHref(), parser->getBaseHrefText())
                                  : LinkResolver(pageUrl, page->getActualLinkUrl());

    std::optional<QString> link;
    if (parser && parser->getLength() > 0) {
        page->setLinkPageTitle(parser->getTitle());
        page->setMetaDescription(parser->getDescription());
        page->setHeadings(parser->getHeadings());
        page->setKeywords(parser->getKeywords());
        page->setFileSize(qint64(parser->getFileSize()));
        page->setWordCount(parser->getWordCount());
        const QString canonical = parser->getCanonical().value_or(QString());
        if (!canonical.isEmpty()) {
            const QUrl resolved = pageUrl.resolved(QUrl(canonical));
            const QString host = UrlRules::resolvedHostAsWritten(
                resolved, canonical, UrlRules::hostOf(pageUrl, page->getActualLinkUrl()));
            page->setCanonical(UrlRules::withHost(resolved.toString(), resolved.host(), host));
        }
        link = parser->getNextHrefTrim(settings.checkImages, settings.trimSpaces);
    }

    if (weHaveThisTitleAlready(*page))
        return closing();
    if (page->isErrorPage() && !checkErrorPages())
        link.reset();
    if (isUsingTitles())
        addToLookupWithKey(page, page->getLinkPageTitle());
    if (!rechecking && onSitePage && shouldBeInSitemapCollection(*page))
        onSitePage(page, !byPageDictionary.contains(page->getActualLinkUrl()));

    while (link) {
        const QString text = *linkTextPool.insert(parser->getLinkText().value_or(QString("")));
        takeInLink(page, base, pageNeededEscaping, *link, text, parser->lastLinkWasNofollow(),
                   parser->getHeadContainsNoFollow());
        link = parser->getNextHrefTrim(settings.checkImages, settings.trimSpaces);
    }
    if (extras.checkResources && parser && parser->getLength() > 0 &&
        !(page->isErrorPage() && !checkErrorPages()) && !plainTextMode && !sitemapStart)
        takeInResources(page, base, pageNeededEscaping);
    page->setWordCount(parser ? parser->getWordCount() : 0);
    if (parser && config.flagForKey(u"checkSpelling"_s))
        page->setSpelling(parser->getSpellingCount());
    if (parser && config.flagForKey(u"checkGrammar"_s))
        page->setGrammar(parser->getGrammarCount());
    closing();
}

void LinkCheckerHub::takeInLink(const LinkCheckerUrlPtr& page, const LinkResolver& base,
                                bool pageNeededEscaping, const QString& rawLink, const QString& linkText,
                                bool nofollow, bool headNofollow, const QString& resourceKind) {
    QString link = rawLink;
    if (link.size() > 2 && link.startsWith(u"./"))
        link = link.mid(2);
    const bool hashIsBad = settings.hashIsBad;
    const bool hashOrEmpty = link.isEmpty() || link == u"#";
    // The reader's word for a zref attribute: never an address, though it would resolve as one.
    const bool zref = link == u"MCMS zref";

    LinkResolver::Result url;
    if (!zref && (!hashOrEmpty || hashIsBad))
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
        if (zref) {
            auto record = std::make_shared<LinkCheckerUrl>(this);
            record->setLinkText(linkText);
            record->addOnPageUrl(page->getActualLinkUrl());
            record->addOnPageName(page->getLinkPageTitle());
            record->addOnPageLinkText(linkText);
            record->setStatus("MCMS zref");
            incNumberDone(record);
            record->addNofollow(nofollow);
            add(record);
        } else if (!hashOrEmpty) {
            logDroppedLink(link, *page);
        }
        return;
    }

    const bool internal = UrlRules::compareHostWithDomain(url.host, domains, settings.ignoreSubdomain);
    QString absolute = url.absolute;
    if (url.neededEscaping || pageNeededEscaping)
        absolute = UrlRules::percentDecoded(absolute, getDetectedEncoding()).value_or(QString());
    if (LinkCheckerUrlPtr known = weHaveThisOneAlreadyIgnoreInternal(absolute, nullptr, internal)) {
        known->addOnPageUrl(page->getActualLinkUrl());
        known->addOnPageName(page->getLinkPageTitle());
        known->setLinkText(linkText);
        known->addOnPageLinkText(linkText);
        known->addNofollow(nofollow);
        known->setHeadContainsNoFollow(headNofollow);
        if (known->getIsImage())
            page->addLinkedImage(known);
        if (resourceKind.isEmpty()) {
            // Linked as well as loaded: a link like any other from now on.
            if (!known->getResourceKind().isEmpty())
                known->setResourceKind(QString());
            noteFragment(page, *known, url.absolute, linkText, nofollow);
        }
        return;
    }

    if (plainTextMode && page->isStartingPoint() && !url.host.isEmpty() && !domains.contains(url.host))
        domains.append(url.host);
    if (UrlRules::isMailtoEtc(link))
        return;
    if (absolute.isEmpty()) {
        // Its escapes are no text in the site's encoding.
        logDroppedLink(link, *page);
        return;
    }
    auto record = std::make_shared<LinkCheckerUrl>(this);
    record->setIsInternal(internal);
    record->setLinkUrlTrimQuery(absolute, settings.followQuerystring);
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
    if (settings.blacklistByRobotsTxt) {
        if (UrlRules::stringContainsOneOfTheseTerms(absolute, robotsBlacklistArray ? &*robotsBlacklistArray
                                                                                   : nullptr)) {
            record->setStatus("Disallowed by robots.txt");
            record->setIsBlacklisted(true);
            incNumberDone(record);
        }
    } else if (url.scheme == "ftp" || (!internal && settings.sitemapOnly)) {
        record->setStatus("Not checked");
        incNumberDone(record);
    }
    if (url.scheme == u"file" && !UrlRules::isLocalFileUrl(page->getActualLinkUrl())) {
        // A page that came from the network never makes the program read the user's disk. A
        // rule above may have counted the link done already.
        const bool counted = !record->getStatus().isEmpty();
        record->setStatus(LinkCheckerUrl::localFileNotChecked);
        if (!counted)
            incNumberDone(record);
    }
    if (record->getStatus().isEmpty() && extras.isExcluded(absolute)) {
        record->setStatus("Not checked");
        record->setIsBlacklisted(true);
        incNumberDone(record);
    }
    record->setResourceKind(resourceKind);
    if (record->getIsImage())
        page->addLinkedImage(record);
    record->addNofollow(nofollow);
    record->setHeadContainsNoFollow(headNofollow);
    add(record);
    if (resourceKind.isEmpty())
        noteFragment(page, *record, url.absolute, linkText, nofollow);
    getNextUrlToCrawl();
}

void LinkCheckerHub::logDroppedLink(const QString& link, const LinkCheckerUrl& page) {
    qInfo().noquote()
        << QString("badly formed url: %1 (link on %2 dropped)").arg(link, page.getActualLinkUrl());
}

// ---------------------------------------------------------------- probes before the first request

void LinkCheckerHub::applyDirectoryLimit(const QUrl& url) {
    const QString term =
        StartProbes::directoryLimitTerm(lfDataSource::getnthItem(0)->getLinkUrl(), url.host(), url.port(),
                                        config.flagForKey(u"wordpressUrls"_s));
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
    const SyncFetchResult robots = fetchSynchronously(StartProbes::robotsTxtAddress(authority), userAgent(),
                                                      getTimeoutInterval(), settings.maxPageSize);
    if (!robots.error.isEmpty() || robots.status >= 400)
        return;
    robotsBlacklistArray = StartProbes::parseRobotsTxt(QString::fromUtf8(robots.body));
}

void LinkCheckerHub::detectEncoding(const QString& url) {
    detectedEncoding = 0;
    QString fetchUrl = url;
    if (fetchUrl.startsWith("file://") && QFileInfo(QUrl(url).toLocalFile()).isDir())
        fetchUrl =
            QUrl::fromLocalFile(QDir(QUrl(url).toLocalFile())
                                    .filePath(config.stringForKey(u"defaultLocalFileName"_s).trimmed()))
                .toString();
    const SyncFetchResult start =
        fetchSynchronously(fetchUrl, userAgent(), getTimeoutInterval(), settings.maxPageSize);
    // What the server says of its charset comes first; the page's own meta tag is the fallback.
    detectedEncoding = TextEncoding::encodingOfContentType(start.contentType);
    if (detectedEncoding == 0 && !start.body.isEmpty()) {
        qInfo().noquote() << QString("encodingTestData length is %1").arg(start.body.size());
        detectedEncoding = KestParser::encodingForCharset(KestParser::extractCharsetFromHTML(start.body));
    }
    if (detectedEncoding)
        qInfo().noquote() << QString("encoding detected as %1").arg(detectedEncoding);
    else
        qInfo() << "unable to detect encoding";
}
