#pragma once

#include "crawl/LinkCheckerUrl.h"
#include "views/lfDataSource.h"

#include <QDate>
#include <QHash>
#include <QPointer>
#include <QSet>
#include <QStringList>
#include <QThread>
#include <functional>
#include <memory>
#include <optional>

class KestConfigManager;
class LinkCheckerHub;
class Preferences;
class UserInterface;
class ValidationRunner;

// The site's own HTML pages, as one list of the hub's records, from which the SEO, sitemap,
// validator and spelling tables are fed. Pages arrive through the hub's hand-over during the
// crawl; a new crawl clears the list. Each job keeps its part of this class in a file of its own
// (SEOManager*.cpp).
class SEOManager : public lfDataSource<LinkCheckerUrl> {
  public:
    SEOManager(KestConfigManager& configManager, Preferences& preferences, LinkCheckerHub& hub);
    ~SEOManager() override;
    SEOManager(const SEOManager&) = delete;
    SEOManager& operator=(const SEOManager&) = delete;

    // ---- the collection
    void add(const LinkCheckerUrlPtr& page) override;
    void clear() override;
    bool isInSEOManagersCollection(const LinkCheckerUrl& page) const { return members.contains(&page); }
    qsizetype getSEOCollectionCount() const { return count(); }
    const std::vector<LinkCheckerUrlPtr>& getCollection() const { return collection; }
    // What the hub hands over for each parsed page of the site (see LinkCheckerHub::onSitePage).
    void pageFromCrawl(const LinkCheckerUrlPtr& page, bool isNew);
    void setStopPressed(bool pressed) { stopPressedFlag = pressed; }
    bool stopPressed() const { return stopPressedFlag; }

    // ---- SEO table, counters and keyword search (SEOManagerSEO.cpp)
    // The SEO walk: the SEO table's own order (SEOSortArray where it reaches), records with
    // visible2 set. The section reports of every table fetch their rows through it.
    ItemPtr getnthVisibleItem(qsizetype n) const override;
    std::vector<ItemPtr> visibleItems() const override;
    // An optional column of the SEO table and the preference that switches it.
    struct SEOColumn {
        const char* title;
        const char* identifier;
        const char* preference;
        bool added; // created only when switched on; the others exist unless switched off
    };
    static const QList<SEOColumn>& optionalSEOColumns();
    // The SEO table as the exports see it: the fixed columns, then the optional ones switched on.
    static kestreliaTableView seoTableView(const Preferences& preferences);
    static bool isSEOColumnOn(const SEOColumn& column, const Preferences& preferences);
    // The filter choices by tag, with a name for the command line and a title for the menu.
    struct SEOFilterChoice {
        int tag;
        const char* name;
        const char* title;
    };
    static const QList<SEOFilterChoice>& seoFilterChoices();
    int getHighlightSelector() const { return highlightSelector; }
    void setHighlightSelector(int tag) { highlightSelector = tag; }
    const QString& getSEOSearchTerm() const { return SEOSearchTerm; }
    void setSEOSearchTerm(const QString& term) { SEOSearchTerm = term; }
    bool shouldDisplayBasedOnFilterButton(const LinkCheckerUrl& page);
    // Applies the filter choice and the search term to every page, then orders the table: by
    // the total count with a term, by the last column clicked without.
    void SEOfilter();
    qsizetype numberOfRowsInSEOTable() const;
    // A cell as the SEO table shows it: during a search the counted columns carry "(n) ".
    QString SEOCellValue(const LinkCheckerUrl& page, const QString& identifier) const;
    QString objectValueForSEOTableColumnRow(const QString& identifier, qsizetype row) const;
    // A column click of the SEO table; an empty key drops the sort.
    void didClickSEOTableColumn(const QString& key, bool ascending);
    int getSitemapWithoutTitle() const;
    int getSitemapWithoutDescription() const;
    // The counters of the status line, as the displays hold them after updateStatusFields.
    struct SEOStatusCounts {
        int pagesIncludedInSEO = 0, withoutTitle = 0, withoutDescription = 0;
    };
    void updateStatusFields();
    const SEOStatusCounts& getSEOStatusCounts() const { return statusCounts; }
    // The validation figures are the validation job's; its caller hands them in.
    QString getShortSummary(int validationErrors = 0, int validationWarnings = 0) const;
    bool shouldLogModifiedDate() const;
    bool shouldCheckRobotsTag() const;
    static bool shouldArchive() { return false; }
    static bool shouldFlagBlacklisted() { return false; }
    // Section reports and exports of the SEO table.
    QString getSEOReport() const;
    QString getBadSEOReport() const;
    QString getSEOAsCSV() const; // the interactive export's text: the displayed cells, " as '
    QString getSEOAsHTML() const;
    bool exportSEOAsCSV(UserInterface& ui) const;
    bool exportSEOAsHTML(UserInterface& ui) const;
    bool exportSEOAsCSVAndSaveTo(const QString& path, QString* why = nullptr) const;

    // ---- duplicates (SEOManagerDuplicates.cpp)
    using TitleMap = QHash<QString, QList<LinkCheckerUrlPtr>>;
    // Every title of the pages that do not name another page as canonical, built once.
    const TitleMap& getDuplicateTitles();
    // The titles shared by pages of which at least two have the same size, built once.
    const TitleMap& getDuplicates();
    // Filter tag 2: another page under the page's title has the page's size.
    bool hasCopy(const LinkCheckerUrl& page);
    bool hasSharedTitle(const LinkCheckerUrl& page);
    // The inspector's list: the other pages under the page's title with its size.
    QList<LinkCheckerUrlPtr> duplicatesOf(const LinkCheckerUrl& page);
    // Every page that has a copy, as "Title","URL","Size in bytes" lines, in collection order.
    QString getDuplicatesAsCSV();

    // ---- sitemap (SEOManagerSitemap.cpp)
    // The site-wide change-frequency choice (preference `sitemapChangeFrequency`, its tag):
    // tag 0 writes no element, the other titles are the values themselves.
    static const QStringList& sitemapChangeFrequencyTitles();
    // The site-wide priority choice (preference `sitemapPriority`, its index): the title "None"
    // writes no element; otherwise a page's priority follows its distance from home.
    static const QStringList& sitemapPriorityTitles();
    int sitemapChangeFrequencyTag() const;
    QString sitemapChangeFrequencyTitle() const;
    QString sitemapPriorityTitle() const;
    // The pages that go into the sitemap, in the sitemap table's order; built when asked.
    const std::vector<LinkCheckerUrlPtr>& getSitemapCollection();
    qsizetype getSitemapCollectionCount() { return qsizetype(getSitemapCollection().size()); }
    void clearSitemapCollection() { sitemapCollection.reset(); }
    // A column click of the sitemap table: the list is rebuilt in that order.
    void sitemapTableDidClickColumn(const QString& key, bool ascending);
    bool isSitemapTableSorted() const { return !sitemapSortKey.isEmpty(); }
    // The page's values as the sitemap writes them (the rule's where one applies).
    QString sitemapPriorityFor(const LinkCheckerUrl& page) const;
    QString sitemapChangeFrequencyFor(const LinkCheckerUrl& page) const;
    // A sitemap table cell: getFieldByName, with `priority` as the sitemap gives it.
    QString sitemapFieldByName(const LinkCheckerUrl& page, const QString& key) const;
    // The sitemap table's columns; "Last modified" only while `includelastmodinsitemap` is on.
    kestreliaTableView sitemapTableView() const;
    // The page's own change frequency: its rule's `update`, else the site-wide title.
    void setChangeFrequencyFromRules(LinkCheckerUrl& page) const;
    void updateChangeFrequencies();
    // An edit of the change-frequency cell: stored in the row-th of `collection`.
    void setSitemapChangeFrequencyForRow(qsizetype row, const QString& value);
    QString getXMLSitemap();
    bool exportXMLSitemapAndSaveTo(const QString& path, QString* error = nullptr);
    bool exportXMLSitemapAndFTP(const QString& path);
    // Interactive save and upload, as `sitemapOptions` says.
    void exportXML();
    // Uploads `sitemapLocation` with the site's FTP settings through curl; false on failure,
    // which is logged and shown as the "ftp unsuccessful" alert.
    bool transferFiles();
    static QString normalisedFtpServer(const QString& server);
    // "YYYY-MM-dd" with the week-numbering (ISO 8601) year, as the sitemap writes dates.
    static QString weekYearDate(const QDate& date);
    QString getSitemapLocation() const { return sitemapLocation; }
    void setSitemapLocation(const QString& path) { sitemapLocation = path; }
    void setUserInterface(UserInterface* ui) { sitemapUi = ui; }
    // The window's FTP sheet: answers true on OK, with the FTP fields of the site set.
    std::function<bool()> beginFTPDialog;
    // Exports of the sitemap table.
    QString sitemapAsCSV();
    QString sitemapAsHTML();
    QString sitemapAsHeirarcicalHTML();
    void exportSitemapAsCSV();
    void exportSitemapAsHTML();
    void exportSitemapAsHeirarcicalHTML();
    // Only on a finished crawl: the tree when `htmlExportOptions` is 1, else the plain page.
    void exportSitemapAsHTMLMenuItem();

    // ---- validation (SEOManagerValidation.cpp)
    void kickOffValidation();
    // One pass of the runner, on this object's thread: hands out the next page, or says that
    // validation has caught up.
    bool getNextPageToValidate();
    void sendValidatorPostRequest(const LinkCheckerUrlPtr& page);
    void updateValidationProgressText(bool on);
    void incNumberValidated(const LinkCheckerUrlPtr& page);
    void countNumberValidated();
    void reValidate();
    void validateSinglePage(const LinkCheckerUrlPtr& page);
    void implementLocalValidator();
    void implementW3CValidator();
    // The addresses those two set: the local one that scripts/local-validator.sh runs when it
    // runs, else the local web server's; the public service.
    static QString localValidatorUrl();
    static QString publicValidatorUrl();
    void setCrawlFinished(bool finished);
    bool getCrawlFinished() const { return validationCrawlFinished; }
    bool getValidationKickedOff() const { return validationKickedOff; }
    void setValidationKickedOff(bool value) { validationKickedOff = value; }
    bool getValidationFinsihed() const { return validationFinsihed; }
    bool isValidationRunnerRunning() const;
    int getNumberValidated() const { return numberValidated; }
    int getNumberValidationErrors() const { return numberValidationErrors; }
    int getNumberValidationWarnings() const { return numberValidationWarnings; }
    int getNextPageToValidateIndex() const { return nextPageToValidate; }
    // Requests sent whose answer has not been counted yet; those of a stopped crawl never are.
    int getValidationsInFlight() const { return validationsInFlight; }
    // The validator table: its columns, rows (none while validation is off), row colours, the
    // notice above it, the double-click's page and the click that validates a row again.
    static kestreliaTableView validatorTableView();
    qsizetype numberOfValidatorRows() const;
    std::optional<LabelColour> validatorLabelColorForRow(qsizetype row) const;
    QString validatorNotice() const;
    // The table's row-th page: the SEO walk over the validator table's own sort order.
    LinkCheckerUrlPtr validatorRowAt(qsizetype row) const;
    // A column click of the validator table: its own order, numeric for the keys that are
    // numbers; an empty key drops the sort.
    void validatorTableDidClickColumn(const QString& key, bool ascending);
    bool isValidatorTableSorted() const { return validatorSortArray.has_value(); }
    QString validationDoubleClickUrl(qsizetype row) const;
    void validationDoubleClick(qsizetype row);
    void validatorRowClicked(qsizetype row);
    // Section reports and exports.
    QString getValidationReport() const;
    QString getBadValidationReport() const;
    QString exportValidatorAsCSV() const;
    QString exportValidatorAsHTML() const;
    bool exportValidationReportAsCSVAndSaveTo(const QString& path) const;
    QString validationReportCSV() const;
    // The displays: told of every change of the counts, of the progress text, and of the end.
    std::function<void()> onValidationCountsChanged;
    std::function<void(const QString&)> onValidationProgressText;
    std::function<void()> onValidationFinished;
    // Told at each kickOffValidation, switched on or not: the window that shows results apart
    // brings the validator table to the front.
    std::function<void()> onKickOffValidation;

    // ---- spelling and grammar (SEOManagerSpelling.cpp)
    // The tags of spellingFilter: pages not yet reviewed, all or with spelling or grammar issues.
    enum SpellingFilter { allUnreviewed = 0, withSpelling = 8, withGrammar = 9 };
    // The spelling table as the exports see it: URL, spelling count, grammar count.
    static kestreliaTableView spellingTableView();
    // The pages of the spelling table, built when absent (and the two page counts with it),
    // in the order of the table's sort column.
    const std::vector<LinkCheckerUrlPtr>& getSpellingCollection();
    void clearSpellingCollection();
    qsizetype spellingRowCount();
    LinkCheckerUrlPtr spellingRecordAt(qsizetype row);
    void spellingfilter(int tag);
    int getSpellingFilter() const { return spellingFilterTag; }
    void spellingDidClickColumn(const QString& key, bool ascending);
    double getSpellingPagesCount() const { return spellingPagesCount; }
    double getGrammarPagesCount() const { return grammarPagesCount; }
    // The review of the selected row (none: -1) is over.
    void spellingDiallogDidFinishReviewing(qsizetype selectedRow);
    // Counts the spelling of the listed pages with issues again, on a thread of its own.
    void reCheckSpellingCollection();
    // For callers that must see the counts settle (tests, the command line): waits for every
    // recheck started so far; false when the time ran out.
    bool waitForSpellingRechecks(int milliseconds);
    // Told (on the main thread) when the spelling table must be drawn again.
    std::function<void()> onSpellingTableChanged;
    // Section reports and exports of the spelling table.
    QString getSpellingReport(const kestreliaTableView& table);
    QString getSpellingAndGrammarReport(const kestreliaTableView& table);
    QString getBadSpellingReport(const kestreliaTableView& table);
    QString getBadSpellingAndGrammarReport(const kestreliaTableView& table);
    QString exportSpellingAsCSV(const kestreliaTableView& table);
    QString exportSpellingAsHTML(const kestreliaTableView& table);

  protected:
    KestConfigManager& configManager;
    Preferences& preferences;
    LinkCheckerHub& hub;

  private:
    // Membership by address: the collection's own order stays the list's.
    QSet<const LinkCheckerUrl*> members;
    bool stopPressedFlag = false;
    // The n-th page with visible2 set, in a table's own order where it reaches and in stored
    // order beyond (pages that arrived after the sort).
    ItemPtr nthVisibleIn(const std::optional<std::vector<ItemPtr>>& sorted, qsizetype n) const;

    // ---- SEO state
    void clearSEOAndDuplicates();
    std::optional<std::vector<ItemPtr>> SEOSortArray;
    QString SEOSortKey;
    bool SEOSortAscending = true;
    int highlightSelector = 0;
    QString SEOSearchTerm;
    SEOStatusCounts statusCounts;

    // ---- duplicates state
    std::optional<TitleMap> duplicates, duplicateTitles;
    // Per kept title, how many of its pages have each size; and the pages that were grouped.
    QHash<QString, QHash<qint64, int>> duplicateSizes;
    QSet<const LinkCheckerUrl*> groupedPages;

    // ---- sitemap state
    std::optional<std::vector<LinkCheckerUrlPtr>> sitemapCollection;
    QString sitemapSortKey;
    bool sitemapSortAscending = true;
    QString sitemapLocation;
    UserInterface* sitemapUi = nullptr;
    bool writeSitemapText(const QString& path, const QString& text, QString* error);
    void saveSitemapExport(const QString& text, const QString& type);

    // ---- validation state
    void joinValidation();
    void leaveValidation();
    void resetValidation();
    void validationPageArrived(const LinkCheckerUrlPtr& page);
    void validationCountsChanged();
    std::optional<std::vector<ItemPtr>> validatorSortArray;
    int nextPageToValidate = 0;
    int numberValidated = 0;
    int numberValidationWarnings = 0;
    int numberValidationErrors = 0;
    int validationsInFlight = 0;
    bool validationKickedOff = false;
    bool validationFinsihed = false;
    bool validationCrawlFinished = false;
    // Lives on this object's thread: the runner's questions are queued to it. Declared before
    // the runner, so the runner has stopped before it goes.
    std::shared_ptr<QObject> validationContext;
    std::shared_ptr<ValidationRunner> validationRunner;

    // ---- spelling state
    QString spellingTableHTML(const kestreliaTableView& table, bool (*wanted)(const LinkCheckerUrl&));
    void spellingTableChanged();
    std::optional<std::vector<LinkCheckerUrlPtr>> spellingCollection;
    double spellingPagesCount = 0;
    double grammarPagesCount = 0;
    int spellingFilterTag = allUnreviewed;
    QString spellingSortKey;
    bool spellingSortAscending = true;
    QList<QPointer<QThread>> spellingRechecks;
    // Goes with the manager: a recheck that ends after it is gone tells nobody.
    std::shared_ptr<int> spellingAlive = std::make_shared<int>(0);
};
