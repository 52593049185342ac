#include "analysis/SEOManager.h"

#include "views/TableExport.h"

#include <QtDebug>

// Pages that share a title, and among them the copies: the same title and the same size in
// bytes. No content is compared. Both maps are built at the first question and kept until the
// collection is cleared, so pages added later are not in them.

const SEOManager::TitleMap& SEOManager::getDuplicateTitles() {
    if (!duplicateTitles) {
        duplicateTitles.emplace();
        groupedPages.clear();
        for (const ItemPtr& page : collection) {
            // A page naming another page as its canonical is in no group.
            if (!page->canonicalMatchesUrl())
                continue;
            (*duplicateTitles)[page->getLinkPageTitle()].append(page);
            groupedPages.insert(page.get());
        }
    }
    return *duplicateTitles;
}

const SEOManager::TitleMap& SEOManager::getDuplicates() {
    if (duplicates)
        return *duplicates;
    duplicates = getDuplicateTitles();
    duplicateSizes.clear();
    for (auto entry = duplicates->begin(); entry != duplicates->end();) {
        QHash<qint64, int> sizes;
        bool pair = false;
        for (const LinkCheckerUrlPtr& page : entry.value())
            pair |= ++sizes[page->getFileSizeInBytes()] > 1;
        // An entry is kept whole, with the pages whose size matches no other.
        if (entry.value().size() > 1 && pair) {
            duplicateSizes.insert(entry.key(), sizes);
            ++entry;
        } else {
            entry = duplicates->erase(entry);
        }
    }
    return *duplicates;
}

bool SEOManager::hasCopy(const LinkCheckerUrl& page) {
    getDuplicates();
    const auto sizes = duplicateSizes.constFind(page.getLinkPageTitle());
    if (sizes == duplicateSizes.cend())
        return false;
    // The page itself counts once among the sizes when it was grouped under this title.
    const int same = sizes->value(page.getFileSizeInBytes());
    return same - (groupedPages.contains(&page) ? 1 : 0) > 0;
}

bool SEOManager::hasSharedTitle(const LinkCheckerUrl& page) {
    return getDuplicateTitles().value(page.getLinkPageTitle()).size() > 1;
}

QList<LinkCheckerUrlPtr> SEOManager::duplicatesOf(const LinkCheckerUrl& page) {
    QList<LinkCheckerUrlPtr> rows;
    const auto entry = getDuplicates().constFind(page.getLinkPageTitle());
    if (entry != duplicates->cend())
        for (const LinkCheckerUrlPtr& other : *entry)
            if (other.get() != &page && other->getFileSizeInBytes() == page.getFileSizeInBytes())
                rows.append(other);
    qInfo().noquote() << QString("numberOfRowsInTableView: returning %1").arg(rows.size());
    return rows;
}

QString SEOManager::getDuplicatesAsCSV() {
    QString out;
    TableExport::appendQuotedLine(out, {"Title", "URL", "Size in bytes"});
    std::vector<ItemPtr> copies;
    for (const ItemPtr& page : collection)
        if (hasCopy(*page))
            copies.push_back(page);
    // Copies of one another stand together, each group in the order of the crawl.
    std::stable_sort(copies.begin(), copies.end(), [](const ItemPtr& a, const ItemPtr& b) {
        return a->getLinkPageTitle() < b->getLinkPageTitle();
    });
    for (const ItemPtr& page : copies)
        TableExport::appendQuotedLine(out, {page->getLinkPageTitle(), page->getActualLinkUrl(),
                                            QString::number(page->getFileSizeInBytes())});
    return out;
}
