#include "analysis/SEOManager.h"

#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"

SEOManager::SEOManager(KestConfigManager& configManager_, Preferences& preferences_, LinkCheckerHub& hub_)
    : configManager(configManager_), preferences(preferences_), hub(hub_) {
    hub.onSitePage = [this](const LinkCheckerUrlPtr& page, bool isNew) { pageFromCrawl(page, isNew); };
    hub.onNewCrawl = [this] { clear(); };
    joinValidation();
}

SEOManager::~SEOManager() {
    hub.onSitePage = nullptr;
    hub.onNewCrawl = nullptr;
    leaveValidation();
}

void SEOManager::add(const LinkCheckerUrlPtr& page) {
    if (!page || members.contains(page.get()))
        return;
    clearSpellingCollection();
    lfDataSource::add(page);
    members.insert(page.get());
    clearSitemapCollection();
    validationPageArrived(page);
}

void SEOManager::clear() {
    clearSpellingCollection();
    lfDataSource::clear();
    members.clear();
    stopPressedFlag = false;
    clearSitemapCollection();
    sitemapSortKey.clear();
    resetValidation();
    clearSEOAndDuplicates();
}

void SEOManager::pageFromCrawl(const LinkCheckerUrlPtr& page, bool isNew) {
    if (isNew)
        add(page);
    setChangeFrequencyFromRules(*page);
}
