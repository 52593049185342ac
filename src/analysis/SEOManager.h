#pragma once

#include "crawl/LinkCheckerUrl.h"
#include "views/lfDataSource.h"

#include <QHash>
#include <QSet>
#include <optional>

class KestConfigManager;
class LinkCheckerHub;
class Preferences;
class UserInterface;

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

    // ---- validation (SEOManagerValidation.cpp)

    // ---- spelling and grammar (SEOManagerSpelling.cpp)

  protected:
    KestConfigManager& configManager;
    Preferences& preferences;
    LinkCheckerHub& hub;

  private:
    // Membership by address: the collection's own order stays the list's.
    QSet<const LinkCheckerUrl*> members;
    bool stopPressedFlag = false;

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

    // ---- validation state

    // ---- spelling state
};
