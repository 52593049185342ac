#pragma once

#include "crawl/AnchorCheck.h"
#include "crawl/CrawlExtras.h"
#include "crawl/LinkCheckerUrl.h"
#include "views/KestReportDataSource.h"
#include "views/lfDataSource.h"

#include <QHash>
#include <QObject>
#include <QSet>
#include <QStringList>
#include <QUrl>
#include <functional>
#include <optional>

class KestConfigManager;
class LinkResolver;
class Preferences;
class UserInterface;

// The one central object of a crawl. Its collection is the result set and the work queue at
// once: records in order of discovery, walked by a cursor. Every request is asynchronous on
// this thread's event loop; "thread" below means one outstanding request.
class LinkCheckerHub : public QObject, public lfDataSource<LinkCheckerUrl> {
  public:
    enum class CrawlState { Idle, Running, Paused, Finished };

    LinkCheckerHub(KestConfigManager& config, Preferences& preferences, UserInterface& ui);
    ~LinkCheckerHub() override;

    // Crawl control. The title of the control that was used picks the behaviour:
    // "Continue", "Pause", anything else starts a new crawl.
    void go(const QString& senderTitle = "Go");
    void stop();
    // For a failure the crawl cannot go on from: the pause of stop(), then, once the failing
    // call has unwound, the finish with what was collected, as at a normal end.
    void stopAndFinish();
    void continueCrawl();
    bool getNextUrlToCrawl();
    void sendAsyncServerResponse(const LinkCheckerUrlPtr& record);
    void threadHasFinished(const LinkCheckerUrlPtr& record);
    void incNumberDone(const LinkCheckerUrlPtr& record);
    void statusHasChangedFordO(const LinkCheckerUrlPtr& record);
    bool isFinished();
    bool isCrawlFinished() const { return crawlFinished; }
    bool stopPressed() const { return stopPressedFlag; }
    void crawlDidStop();
    // Records read from a saved crawl are in the collection: they stand as a finished crawl,
    // and the flat report is rebuilt from them on its own thread.
    void loadDidFinish();
    void crawlWillContinue();
    void emergencyMemoryStop();
    void siteHasChanged();
    // Switching the login on asks first, since a crawl that is logged in can follow links that
    // change the site. Returns whether the setting is on afterwards.
    bool handleAuthenticationButton(bool on);
    CrawlState getCrawlState() const;

    // Reading the collection
    ItemPtr getnthItem(qsizetype n) const override;
    ItemPtr getnthofAllItems(qsizetype n) const { return lfDataSource::getnthItem(n); }
    ItemPtr getLinkCheckerUrlWithUrl(const QString& url) const;
    ItemPtr getfirstBadItem() const;
    int countBadCollection();
    bool isInBadCollection(const LinkCheckerUrl& record) const { return record.isInBadCollection(); }
    QString getStartingUrl() const;
    // The kinds of file the crawl met (path extensions of the actual URLs), plus the usual
    // page kinds: what the orphan search counts as a page.
    QSet<QString> getFileExtensionSet() const;
    void add(const ItemPtr& item) override;

    // Lookups filled as links come in
    void addToLookupWithKey(const LinkCheckerUrlPtr& record, const QString& key);
    LinkCheckerUrlPtr lookup(const QString& key) const { return lookupDictionary.value(key); }
    void addLinkForPage(const LinkCheckerUrlPtr& record, const QString& page);
    int numberOfLinksOnThisPage(const QString& page) const;
    void resetDomain(const LinkCheckerUrl& record);
    const QStringList& getDomains() const { return domains; }

    // Settings as the other parts of the crawl see them, read live.
    bool shouldTrim() const;
    bool getIgnoreQS() const { return shouldTrim(); }
    void setIgnoreQS();
    bool shouldTrimSpaces() const;
    bool shouldIgnoreSlash() const;
    bool shouldParsePDFs() const;
    bool shouldArchive() const;
    bool shouldCacheData() const;
    bool shouldFlagBlacklisted() const;
    bool shouldLogModifiedDate() const;
    bool shouldPerformSoft404Check() const;
    bool getCheckImages() const;
    bool checkErrorPages() const;
    bool isPlainTextMode() const { return plainTextMode; }
    bool isUsingTitles() const;
    bool isRechecking() const { return rechecking; }
    bool getAuthentication() const;
    QString getAuthenticationUserName() const;
    QString getAuthenticationPassword() const;
    QString getAuthenticationUserNameFieldName() const;
    QString getAuthenticationPasswordFieldName() const;
    double getTimeoutInterval() const;
    quint64 getDetectedEncoding() const { return detectedEncoding ? detectedEncoding : 4; }
    bool displayPageTitle() const;
    bool performSoft404CheckOnThisUrl(const LinkCheckerUrl& record) const;
    QString userAgent() const;

    // Counters, for progress and tests.
    int getNumberOfThreadsDetached() const { return numberOfThreadsDetached; }
    int getNextUrlIndex() const { return nextUrlToCrawl; }
    quint64 getNumberDone() const { return numberDone; }
    int getBadCollectionCount() const { return badCollectionCount; }
    int getActionWhenFinished() const { return actionWhenFinished; }
    // Also decides whether validation runs: for the validation results (18), and for the
    // scheduled actions (6) when their validation or summary file is wanted.
    void setActionWhenFinished(int action);
    const QStringList& getSoft404Array() const { return soft404Array; }
    KestConfigManager& configManager() const { return config; }

    // Options beyond the site settings, for the crawls that follow; all off by default.
    void setCrawlExtras(const CrawlExtras& value) { extras = value; }
    const CrawlExtras& getCrawlExtras() const { return extras; }
    const StatusCodeSet* acceptedStatuses() const { return extras.accept ? &*extras.accept : nullptr; }
    bool acceptsAnyCertificate() const { return extras.insecure; }
    // Whether a record that has followed that many redirects must give up at the next.
    bool tooManyRedirects(int followed) const {
        return extras.maxRedirects ? followed >= *extras.maxRedirects : followed > 100;
    }
    // An answer that asks to come back later: when the retry options say so, the record's
    // request is sent again after a wait, keeping its slot, and true is returned.
    bool retryLater(const LinkCheckerUrlPtr& record, const UrlResponse& response);

    // Queues a call for the next pass of the event loop. A call queued during one crawl is
    // dropped if a new crawl has started by the time it runs.
    void postToCrawl(std::function<void()> call);
    // Told of each record that has its status, one event-loop pass later, so that a page's own
    // facts are read by then. For a command line that reports records as they finish.
    std::function<void(const LinkCheckerUrlPtr&)> onRecordChecked;
    // The SEO collection (src/analysis) joins here: told of each parsed page of the site that
    // belongs in it, with whether the page is new to the by-page list (a page fetched a second
    // time is not), and of each new crawl, which clears it.
    std::function<void(const LinkCheckerUrlPtr& page, bool isNew)> onSitePage;
    std::function<void()> onNewCrawl;

    // ---- validation: the SEO collection's validator (src/analysis) joins here
    void incNumberValidated(const LinkCheckerUrlPtr& record) {
        if (onValidated)
            onValidated(record);
    }
    // The validator has caught up with the collection; with the crawl over, the second stage of
    // the finish follows on the next pass of the event loop.
    void validationIsFinished();
    void takeActionsFollowingValidationFinish();
    std::function<void(const LinkCheckerUrlPtr&)> onValidated;
    // Told of the end of the crawl (true) before its actions, and asked to start validation
    // (action 5); the second stage's own work.
    std::function<void(bool finished)> onCrawlFinishedChanged;
    std::function<void()> onStartValidation;
    std::function<void()> onValidationFinish;

    // Link intake: what happens to a fetched page and to every link on it.
    void extractLinks(const LinkCheckerUrlPtr& page);
    // The settings the crawl reads once a page rather than once a link or a request: taken at
    // the start, on every page and on continuing, so a change made meanwhile counts from the
    // next page on.
    void readCrawlSettings();
    LinkCheckerUrlPtr weHaveThisOneAlreadyIgnoreInternal(const QString& url, const LinkCheckerUrl* ignore,
                                                         bool internal) const;
    bool weHaveThisTitleAlready(const LinkCheckerUrl& page) const;
    bool shouldBeInSitemapCollection(const LinkCheckerUrl& page) const;
    void archivePage(const LinkCheckerUrlPtr& page);
    void highlightBadLinksInSelectedPage(const LinkCheckerUrlPtr& record);

    // ---- results views: what the link trees and the flat report read (src/views) ----
    const QHash<QString, QList<LinkCheckerUrlPtr>>& getByPageDictionary() const { return byPageDictionary; }
    KestReportDataSource& getReportDataSource() {
        if (!reportDataSource)
            reportDataSource = std::make_unique<KestReportDataSource>(preferences);
        return *reportDataSource;
    }

  private:
    std::unique_ptr<KestReportDataSource> reportDataSource;
    // ---- end of results views ----

  private:
    void startNewCrawl();
    void passSchedulerAfter(double seconds);
    bool probeLocalStart(QString& url);
    void closeCrawl();
    void showProgress();
    QString progressLine() const;
    // Collaborators that join with later work: each is named for the call it stands for.
    void doReport(bool onThisThread);
    void takeAction(int action);
    void saveArchive();
    void clearTempFolder() {}
    void clearArchiveFolder();
    void readRobotsTxt();
    void detectEncoding(const QString& url);
    void applyDirectoryLimit(const QUrl& url);
    // The follow rules: whether a fetched page may be parsed at all.
    bool isFollowBlacklisted(LinkCheckerUrl& page) const;
    LinkCheckerUrlPtr lookupKey(QString key, const LinkCheckerUrl* ignore, bool internal) const;
    void takeInLink(const LinkCheckerUrlPtr& page, const LinkResolver& base, bool pageNeededEscaping,
                    const QString& link, const QString& linkText, bool nofollow, bool headNofollow,
                    const QString& resourceKind = QString());
    static void logDroppedLink(const QString& link, const LinkCheckerUrl& page);
    void sendRequest(const LinkCheckerUrlPtr& record);
    // The optional readings of a page: its anchor targets and the resources it loads.
    void readAnchorTargets(const LinkCheckerUrl& page);
    void takeInResources(const LinkCheckerUrlPtr& page, const LinkResolver& base, bool pageNeededEscaping);
    void noteFragment(const LinkCheckerUrlPtr& page, const LinkCheckerUrl& target, const QString& absolute,
                      const QString& linkText, bool nofollow);
    void recordMissingFragment(const LinkCheckerUrl& target, const AnchorCheck::Link& link);

    // The settings that link intake consults for every link, read once per page: a change made
    // during a crawl takes effect from the next page on.
    struct CrawlSettings {
        bool followQuerystring = false, ignoreSlash = false, hashIsBad = false, ignoreSubdomain = false,
             blacklistByRobotsTxt = false, sitemapOnly = false, checkImages = false, trimSpaces = false;
        int threads = 0;
        double delay = 0, timeout = 0, maxTime = 0;
        qint64 maxPageSize = 0;
        QString userAgent;
    };

    KestConfigManager& config;
    Preferences& preferences;
    UserInterface& ui;
    CrawlSettings settings;

    int nextUrlToCrawl = 0;
    int numberOfThreadsDetached = 0;
    quint64 numberDone = 0;
    int badCollectionCount = 0;
    bool stopPressedFlag = false;
    bool crawlFinished = false;
    bool crawlStarted = false;
    bool rechecking = false;
    bool singlePage = false;
    quint64 detectedEncoding = 0;
    bool plainTextMode = false;
    QStringList domains;
    QStringList checkBlacklistArray, followBlacklistArray, followWhitelistArray;
    std::optional<QStringList> robotsBlacklistArray;
    QStringList soft404Array;
    QHash<QString, LinkCheckerUrlPtr> lookupDictionary;
    QString lastPage;
    QList<LinkCheckerUrlPtr>* lastPageLinks = nullptr;
    // Link texts repeat across a site (menus, footers); each distinct text is kept once.
    QSet<QString> linkTextPool;
    QHash<QString, QList<LinkCheckerUrlPtr>> byPageDictionary;
    int actionWhenFinished = 0;
    LinkCheckerUrlPtr currentItem;
    int lastCustomIcon = 0;
    quint64 crawlGeneration = 0;
    quint64 pauses = 0; // a pause gives up every slot, and with them the waits for a retry
    CrawlExtras extras;
    AnchorCheck anchors{[this](const LinkCheckerUrl& target, const AnchorCheck::Link& link) {
        recordMissingFragment(target, link);
    }};
    // The records of fragments not found, by URL with fragment: outside the lookup, whose keys
    // never hold a fragment.
    QHash<QString, LinkCheckerUrlPtr> fragmentRecords;
};
