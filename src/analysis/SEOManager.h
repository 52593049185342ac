#pragma once

#include "crawl/LinkCheckerUrl.h"
#include "views/lfDataSource.h"

#include <QSet>

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
};
