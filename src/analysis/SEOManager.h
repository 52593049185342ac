#pragma once

#include "crawl/LinkCheckerUrl.h"
#include "views/lfDataSource.h"

#include <QPointer>
#include <QSet>
#include <QThread>
#include <functional>
#include <optional>

class KestConfigManager;
class LinkCheckerHub;
class Preferences;

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

    // ---- duplicates (SEOManagerDuplicates.cpp)

    // ---- sitemap (SEOManagerSitemap.cpp)

    // ---- validation (SEOManagerValidation.cpp)

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

    // ---- SEO state

    // ---- duplicates state

    // ---- sitemap state

    // ---- validation state

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
