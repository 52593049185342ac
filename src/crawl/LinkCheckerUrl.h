#pragma once

#include "platform/myNSURLConnection.h"
#include "views/KestDataObject.h"

#include <QDateTime>
#include <QList>
#include <QLocale>
#include <QString>
#include <QStringList>
#include <memory>
#include <optional>

class LinkCheckerHub;

// One checked URL: the link, and the page when it is one. Every place that links to it is an
// entry of the four parallel on-page lists. Its status is plain text; good, bad, exempt and
// colour are derived from that text on demand.
class LinkCheckerUrl : public KestDataObject,
                       public ConnectionDelegate,
                       public std::enable_shared_from_this<LinkCheckerUrl> {
  public:
    explicit LinkCheckerUrl(LinkCheckerHub* owner);
    ~LinkCheckerUrl() override;

    // Identity and URLs
    void setLinkUrlTrimQuery(const QString& url, bool trimQuery);
    QString trimHashQuery(const QString& url, bool trimQuery) const;
    // For the stand-in URLs of links that have none: stored as given, outside the lookup.
    void setLinkUrlDirectly(const QString& text) {
        nsslinkUrl = text;
        setActualLinkUrl();
    }
    void setRedir(const QString& url);
    void setActualLinkUrl();
    const QString& getLinkUrl() const { return nsslinkUrl; }
    const QString& getLinkurl() const { return nsslinkUrl; }
    const QString& getRedir() const { return nssredir; }
    const QString& getActualurl() const { return actualLinkUrl; }
    const QString& getActualLinkUrl() const { return requestedUrl; }
    QString getLinkUrlForTesting() const;
    bool directoryTooHigh() const;
    int getDirectoryDepth() const;
    bool getIsPDF() const;
    bool isEqualToUrlTrimmedIgnoreTrailingSlash(const QString& url, bool trimmed, bool ignoreTrailingSlash);
    bool isEqualToTitle(const QString& title) const;

    // Status and what follows from it
    const QString& getStatus() const { return status; }
    void setStatus(const QString& value);
    void updateStatus(const QString& value);
    int getColour() const;
    bool isGoodLink() const;
    bool isExempt() const;
    bool isErrorPage() const;
    bool shouldBeMemberOfBadCollection() const;
    static int firstDigit(const QString& status);
    // A file: link met on a page that came from the network: recorded, never opened. It is
    // left unchecked like a link a rule excludes, so it is shown but never counted as bad.
    static constexpr const char* localFileNotChecked = "local file not checked";

    // Occurrences
    void addOnPageUrl(const QString& url);
    void addOnPageName(const QString& name);
    void addOnPageLinkText(const QString& text);
    void addNofollow(bool nofollow);
    void addLinkedImage(const std::shared_ptr<LinkCheckerUrl>& image);
    void setOnPageUrl(const QStringList& list) { onPageUrl = list; }
    void setOnPageName(const QStringList& list) { onPageName = list; }
    void setOnPageLinkText(const QStringList& list) { onPageLinkText = list; }
    void setNoFollowArray(const QList<bool>& list) { nofollow = list; }
    QString getLastOnPageUrl() const { return onPageUrl.isEmpty() ? QString() : onPageUrl.last(); }
    bool isOnPage(const QString& url) const { return onPageUrl.contains(url); }
    bool hasTitle(const QString& title) const { return onPageName.contains(title); }
    bool appearsOn(const LinkCheckerUrl& page) const;
    static bool isThisStringAlreadyInArray(const QString& string, const QStringList& array);
    int getOnpagecount() const { return int(onPageUrl.size()); }
    QString getOnPageName() const;
    QString getOnPageUrl() const;
    QString getOnPages() const { return onPageUrl.join('\r'); }
    QString getOnPagesCSV() const { return getOnPagesArray().join('\r'); }
    QString getOnPagesText() const { return getOnPagesArray().join(','); }
    const QStringList& getOnPagesArray() const;
    QString getOnPagesHTML() const;
    int getLinkCount() const;
    QString getLinkcount() const { return QString::number(getLinkCount()); }
    const QStringList& getOnPageUrlArray() const { return onPageUrl; }
    const QStringList& getOnPageNameArray() const { return onPageName; }
    const QStringList& getOnPageLinkTextArray() const { return onPageLinkText; }
    const QList<bool>& getNofollowArray() const { return nofollow; }
    const QList<std::shared_ptr<LinkCheckerUrl>>& getLinkedImagesArray() const { return linkedImages; }
    void setLastClickedOnPage(int row) { lastClickedOnPage = row; }
    int getLastClickedOnPage() const { return lastClickedOnPage; }

    // Text renderings
    QString getLinkUrlHTML() const;
    QString getLinkRedirHTML() const;
    static QString truncateURLByAddingElipsisInMiddle(const QString& text);
    QString getFileSize() const { return QString("%1kb").arg(fileSize); }
    QString getFileSizeCompressed() const { return QString("%1kb").arg(fileSizeCompressed); }
    qint64 getFileSizeInBytes() const { return fileSizeBytes; }
    qint64 getFileSizeInKBytes() const { return fileSize; }
    qint64 getFileSizeCompressedInBytes() const { return fileSizeCompressed; }
    double getFilesize() const { return double(fileSize); }
    double getFilesizecompressed() const { return double(fileSizeCompressed); }
    double getResponseTime() const { return responseTimeInterval; }
    double getLoadTime() const { return loadTimeInterval; }
    QString getResponsetime() const { return QString::number(responseTimeInterval, 'g', 6); }
    double getTimeSinceSent() const;
    QString getImageqty() const;
    QString getTotalImageWeight() const;
    qint64 getTotalImageWeightAsNumber() const;
    QStringList getFlattenedLinkedImagesArray() const;
    QString getLastmodified() const;
    QString getRobots() const;
    int isNofollow() const;
    QString getNofollow() const;
    int getValidatorColour() const { return validatorStatus == "Invalid" ? 2 : 0; }
    int getSEOColour() const { return 0; }
    bool canonicalMatchesUrl();

    bool contains(const QString& term) const override;
    QVariant getFieldByName(const QString& key) const override;
    double getFieldAsNumberByName(const QString& key) const override;
    void releaseAll() override { sentRequest.reset(); }

    // Term tests
    bool linkContainsOneOfTheseTerms(const QStringList* terms) const;
    bool dataContainsOneOfTheseTerms(const QStringList* terms) const;
    static int countOcurrencesOfStringInString(const QString& needle, const QString& haystack);

    // Body
    const QByteArray& getData() const { return cacheData ? *cacheData : data ? *data : emptyBytes(); }
    bool hasData() const { return cacheData.has_value() || data.has_value(); }
    void clearData();

    // The request in flight: this record is the delegate of its own connection.
    void startConnection(const UrlRequest& request, int identifier);
    void cancelConnection();
    std::optional<UrlRequest>
    connectionWillSendRequestRedirectResponse(myNSURLConnection* connection, const UrlRequest& request,
                                              const UrlResponse* redirectResponse) override;
    void connectionDidReceiveResponse(myNSURLConnection* connection, const UrlResponse& response) override;
    void connectionDidReceiveData(myNSURLConnection* connection, const QByteArray& bytes) override;
    void connectionDidFinishLoading(myNSURLConnection* connection) override;
    void connectionDidFailWithError(myNSURLConnection* connection, const UrlError& error) override;
    bool connectionCanAuthenticateAgainstProtectionSpace(myNSURLConnection* connection,
                                                         const QString& method) override;
    void connectionDidReceiveAuthenticationChallenge(myNSURLConnection* connection,
                                                     const AuthenticationChallenge& challenge) override;

    // Plain fields with their accessors
    void setLinkText(const QString& text);
    const QString& getLinkText() const { return linkText; }
    void setLinkPageTitle(const QString& v) { linkPageTitle = v; }
    const QString& getLinkPageTitle() const { return linkPageTitle; }
    void setMetaDescription(const QString& v) { metaDescription = v; }
    const QString& getMetaDescription() const { return metaDescription; }
    void setCanonical(const QString& v) { canonical = v; }
    const QString& getCanonical() const { return canonical; }
    void setHeadings(const QString& v) { headings = v; }
    const QString& getHeadings() const { return headings; }
    void setKeywords(const QString& v) { keywords = v; }
    const QString& getKeywords() const { return keywords; }
    void setChangeFrequency(const QString& v) { changeFrequency = v; }
    const QString& getChangeFrequency() const { return changeFrequency; }
    void setValidatorStatus(const QString& v) { validatorStatus = v; }
    const QString& getValidatorStatus() const { return validatorStatus; }
    const QString& getTimestamp() const { return timestamp; }
    void setTimestamp(const QString& v) { timestamp = v; }
    void setTargetLastModified(const QString& v) { targetLastModified = v; }
    const std::optional<QString>& getTargetLastModified() const { return targetLastModified; }
    void setSentRequest();
    // The time stamp's text: the locale's date with an abbreviated month and its time with
    // seconds, as a desktop's medium styles show them ("23 Nov 2026, 14:05:09" in en_GB).
    static QString timestampText(const QDateTime& when, const QLocale& locale);
    bool hasSentRequest() const { return sentRequest.has_value(); }
    // When the request went out, in UTC; nothing for a record never sent.
    const std::optional<QDateTime>& getSentRequest() const { return sentRequest; }

    bool getIsHTML() const { return isHTML; }
    void setIsHTML(bool v) { isHTML = v; }
    bool getIsImage() const { return isImage; }
    void setIsImage(bool v) { isImage = v; }
    bool isStartingPoint() const { return startingPoint; }
    void setIsStartingPoint(bool v) { startingPoint = v; }
    bool isInternal() const { return internal; }
    void setIsInternal(bool v) { internal = v; }
    bool isBlacklisted() const { return blacklisted; }
    void setIsBlacklisted(bool v) { blacklisted = v; }
    bool isInBadCollection() const { return inBadCollection; }
    void setIsInBadCollection(bool v) { inBadCollection = v; }
    bool isBeingRechecked() const { return beingRechecked; }
    void setBeingRechecked(bool v) { beingRechecked = v; }
    bool requiresHighlightCallback() const { return highlightCallback; }
    void setHighlightCallback(bool v) { highlightCallback = v; }
    bool hasHadSlashTrimmed() const { return slashTrimmed; }
    bool hasHadRedirSlashTrimmed() const { return redirSlashTrimmed; }
    bool getRecursion() const { return recursion; }
    void setRecursion(bool v) { recursion = v; }
    bool getHeadContainsNoFollow() const { return headContainsNoFollow; }
    void setHeadContainsNoFollow(bool v) { headContainsNoFollow = v; }
    bool getHeadContainsNoIndex() const { return headContainsNoIndex; }
    void setHeadContainsNoIndex(bool v) { headContainsNoIndex = v; }
    int getDistanceFromHome() const { return distanceFromHome; }
    void setDistanceFromHome(int v) { distanceFromHome = v; }
    int getWordCount() const { return wordCount; }
    void setWordCount(int v) { wordCount = v; }
    // Sizes are 64-bit: a body or a Content-Length may pass 2 GB.
    void setFileSize(qint64 bytes);
    void setFileSizeCompressed(qint64 bytes) { fileSizeCompressed = bytes / 1024; }
    int getNumberOfRedirects() const { return numberOfRedirects; }
    int getPreviousFailureCount() const { return previousFailureCount; }
    int getSpelling() const { return spelling; }
    void setSpelling(int v) { spelling = v; }
    int getGrammar() const { return grammar; }
    void setGrammar(int v) { grammar = v; }
    bool spellingReviewed() const { return _spellingReviewed; }
    void setSpellingReviewed(bool v) { _spellingReviewed = v; }
    int getValidatorErrors() const { return validatorErrors; }
    void setValidatorErrors(int v) { validatorErrors = v; }
    int getValidatorWarnings() const { return validatorWarnings; }
    void setValidatorWarnings(int v) { validatorWarnings = v; }
    void setResponseTime(double v) { responseTimeInterval = v; }
    void setLoadTimeInterval(double v) { loadTimeInterval = v; }
    bool getContentLengthUnavailable() const { return contentlengthunavailable; }
    int getTotalOccurrences() const { return totalOcurrences; }
    int getTotalOcurrences() const { return totalOcurrences; }
    int getOcurrencesInArchive() const { return ocurrencesInArchive; }
    int getOcurrencesInUrl() const { return ocurrencesInUrl; }
    int getOcurrencesInTitle() const { return ocurrencesInTitle; }
    int getOcurrencesInDescription() const { return ocurrencesInDescription; }
    int getOcurrencesInKeywords() const { return ocurrencesInKeywords; }
    int getOcurrencesInHeadings() const { return ocurrencesInHeadings; }
    // The keyword search of the SEO table (LinkCheckerUrlSEO.cpp): sets the counters above for
    // one term and answers whether it was found anywhere.
    bool countSEOTerm(const QString& term);
    int countOcurrencesOfStringInArchive(const QString& term) const;
    bool archiveContainsOneOfTheseTerms(const QStringList& terms) const;
    bool getRunJS() const { return runJS.has_value(); }
    void setRunJS(const UrlRequest& request) { runJS = request; }
    LinkCheckerHub* getOwner() const { return owner; }
    // What a page loads rather than links to ("stylesheet", "script", ...); empty for a link.
    const QString& getResourceKind() const { return resourceKind; }
    void setResourceKind(const QString& kind) { resourceKind = kind; }
    int getRetries() const { return retries; }
    bool isWaitingToRetry() const { return waitingToRetry; }
    void setWaitingToRetry(bool waiting) {
        waitingToRetry = waiting;
        retries += waiting ? 1 : 0;
    }
    bool getListsHaveChanged() const { return listsHaveChanged; }

  private:
    static const QByteArray& emptyBytes();
    int identifierOf(myNSURLConnection* connection) const;
    void appendBody(const QByteArray& bytes);
    void postIncNumberDoneAndThreadHasFinished();
    void postIncNumberValidated(myNSURLConnection* connection);
    std::optional<UrlRequest> validatorRedirect(myNSURLConnection* connection, const UrlRequest& request);
    void postThreadHasFinished();
    void finishRecheck(myNSURLConnection* connection);
    std::shared_ptr<LinkCheckerUrl> self() { return shared_from_this(); }
    std::optional<bool> isAcceptedStatus() const;

    QString nsslinkUrl;
    QString nssredir;
    QString actualLinkUrl;
    QString requestedUrl;
    QString status;
    QString linkText;
    QString linkPageTitle;
    QString metaDescription, canonical, headings, keywords, changeFrequency;
    QString validatorStatus;
    QString timestamp;
    std::optional<QString> targetLastModified;
    QStringList onPageUrl;
    QStringList onPageName;
    QStringList onPageLinkText;
    QList<bool> nofollow;
    QList<std::shared_ptr<LinkCheckerUrl>> linkedImages;
    std::optional<QByteArray> data;
    std::optional<QByteArray> cacheData;
    std::optional<QByteArray> onPageData;
    // The validator's own page, when its answer had no verdict in the headers.
    std::optional<QByteArray> validatorBody;
    bool inProgress = false;
    int lastClickedOnPage = 0;
    bool listsHaveChanged = false;
    LinkCheckerHub* owner = nullptr;
    int numberOfRedirects = 0;
    int validatorRedirects = 0;
    bool isHTML = true;
    bool isImage = false;
    bool startingPoint = false;
    bool internal = true;
    bool highlightCallback = false;
    bool beingRechecked = false;
    bool isBeingValidated = false;
    bool blacklisted = false;
    int distanceFromHome = 0;
    int wordCount = -1;
    bool inBadCollection = false;
    bool slashTrimmed = false;
    bool redirSlashTrimmed = false;
    bool headContainsNoFollow = false;
    bool headContainsNoIndex = false;
    bool recursion = false;
    bool contentlengthunavailable = false;
    qint64 fileSizeBytes = 0;
    qint64 fileSize = 0;
    qint64 fileSizeCompressed = 0;
    int spelling = 0;
    int grammar = 0;
    int validatorErrors = -1;
    int validatorWarnings = -1;
    std::optional<QDateTime> sentRequest;
    double responseTimeInterval = 0.0;
    double loadTimeInterval = 0.0;
    int previousFailureCount = 0;
    int ocurrencesInUrl = 0, ocurrencesInTitle = 0, ocurrencesInDescription = 0, ocurrencesInKeywords = 0,
        ocurrencesInHeadings = 0, ocurrencesInArchive = 0, totalOcurrences = 0;
    std::optional<UrlRequest> runJS;
    bool _spellingReviewed = false;
    QString resourceKind;
    int retries = 0;
    bool waitingToRetry = false;
    std::unique_ptr<myNSURLConnection> connection;
};

using LinkCheckerUrlPtr = std::shared_ptr<LinkCheckerUrl>;
