#include "views/LinkTreeSource.h"

#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"
#include "views/KestReportDataSource.h"
#include "views/TableExport.h"

LinkTreeSource::LinkTreeSource(LinkCheckerHub& hub_, const Preferences& preferences_)
    : hub(hub_), preferences(preferences_) {}

// ---------------------------------------------------------------- filter

void LinkTreeSource::filter(const QString& term, int tag) {
    searchBox = term;
    linksFilter = tag;
    for (qsizetype i = 0; i < hub.count(); ++i) {
        LinkCheckerUrl& record = *hub.getnthofAllItems(i);
        bool visible = term.isEmpty() || record.contains(term);
        if ((tag == InternalOnly && !record.isInternal()) || (tag == ExternalOnly && record.isInternal()) ||
            (tag == ImagesOnly && !record.getIsImage()))
            visible = false;
        record.setVisible(visible);
    }
    hub.getReportDataSource().filter(term, tag);
}

void LinkTreeSource::resetFilter() {
    searchBox.clear();
    linksFilter = NoFilter;
}

bool LinkTreeSource::showingBadLinksOnly() const {
    return preferences.boolValue("showHideGoodLinksCheckBox");
}

bool LinkTreeSource::childrenShown() const {
    return hub.isCrawlFinished() || hub.stopPressed();
}

bool LinkTreeSource::isShown(const LinkCheckerUrl& record) const {
    return record.getVisible() && (!showingBadLinksOnly() || record.isInBadCollection());
}

// ---------------------------------------------------------------- the plain link tables

qsizetype LinkTreeSource::countVisible(bool wholeCollection) const {
    qsizetype visible = 0;
    for (qsizetype i = 0; i < hub.count(); ++i) {
        const LinkCheckerUrl& record = *hub.getnthofAllItems(i);
        if (record.getVisible() && (wholeCollection || record.isInBadCollection()))
            ++visible;
    }
    return visible;
}

LinkTreeSource::ItemPtr LinkTreeSource::getnthVisibleItem(qsizetype n) const {
    const bool badOnly = showingBadLinksOnly();
    if (badOnly ? hub.getBadCollectionCount() == 0 : (hub.count() == 0 || n >= hub.count()))
        return nullptr;
    qsizetype seen = -1;
    for (qsizetype i = 0; i < hub.count(); ++i) {
        ItemPtr record = hub.getnthSortedItem(i);
        if (record && record->getVisible() && (!badOnly || record->isInBadCollection()) && ++seen == n)
            return record;
    }
    return nullptr;
}

std::vector<LinkTreeSource::ItemPtr> LinkTreeSource::visibleItems() const {
    std::vector<ItemPtr> items;
    const bool badOnly = showingBadLinksOnly();
    if (badOnly && hub.getBadCollectionCount() == 0)
        return items;
    for (qsizetype i = 0; i < hub.count(); ++i) {
        ItemPtr record = hub.getnthSortedItem(i);
        if (record && record->getVisible() && (!badOnly || record->isInBadCollection()))
            items.push_back(std::move(record));
    }
    // All links shown: the n-th exists only for n below the collection's size.
    if (!badOnly && qsizetype(items.size()) > hub.count())
        items.resize(size_t(hub.count()));
    return items;
}

qsizetype LinkTreeSource::numberOfRowsInTableView() const {
    const bool badOnly = showingBadLinksOnly();
    if (searchBox.isEmpty() && linksFilter == NoFilter)
        return badOnly ? hub.getBadCollectionCount() : hub.count();
    return countVisible(!badOnly);
}

QString LinkTreeSource::objectValueForTableColumnRow(const QString& identifier, qsizetype row) const {
    const ItemPtr record = getnthVisibleItem(row);
    return record ? record->getFieldByName(identifier).toString() : QString("");
}

// ---------------------------------------------------------------- pages

const QList<LinkTreeSource::ItemPtr>* LinkTreeSource::pageList(const QString& page) const {
    const auto& byPage = hub.getByPageDictionary();
    const auto it = byPage.constFind(page);
    return it == byPage.constEnd() ? nullptr : &*it;
}

int LinkTreeSource::countItemsforThisPage(const QString& page) const {
    const QList<ItemPtr>* list = pageList(page);
    return list ? int(list->size()) : 0;
}

int LinkTreeSource::countVisibleItemsforThisPage(const QString& page) const {
    const QList<ItemPtr>* list = pageList(page);
    if (!list)
        return 0;
    int visible = 0;
    for (const ItemPtr& record : *list)
        if (isShown(*record))
            ++visible;
    return visible;
}

bool LinkTreeSource::pageHasAtLeastOneVisibleItem(const QString& page) const {
    const QList<ItemPtr>* list = pageList(page);
    if (!list)
        return false;
    if (!showingBadLinksOnly())
        return true;
    for (const ItemPtr& record : *list)
        if (isShown(*record))
            return true;
    return false;
}

qsizetype LinkTreeSource::countPagesWithVisibleItems() const {
    QStringList pages;
    pages.reserve(11);
    const auto& byPage = hub.getByPageDictionary();
    for (auto it = byPage.constBegin(); it != byPage.constEnd(); ++it) {
        for (const ItemPtr& record : it.value()) {
            if (isShown(*record)) {
                pages.append(it.key());
                break;
            }
        }
    }
    // Sorted, so that the same records give the same outline whatever the hash's order: a loaded
    // crawl then lists its pages as the crawl that was saved.
    pages.sort();
    pagesNeedingAttention = pages;
    return pages.size();
}

std::optional<QString> LinkTreeSource::getNthPageWithVisibleItems(qsizetype n) const {
    if (!pagesNeedingAttention)
        return std::nullopt;
    return pagesNeedingAttention->value(n, QString(""));
}

LinkTreeSource::OnPagePtr LinkTreeSource::getNthVisibleItemForPage(qsizetype n, const QString& page) const {
    const QList<ItemPtr>* list = pageList(page);
    if (!list)
        return nullptr;
    const bool badOnly = showingBadLinksOnly();
    qsizetype c = -1;
    int d = 0;
    int e = 0;
    for (qsizetype i = 0; i < list->size(); ++i) {
        const ItemPtr& r = list->at(i);
        if (isShown(*r))
            ++c;
        if (c != n)
            continue;
        for (qsizetype j = 0; j < i; ++j)
            if (list->at(j) == r && list->at(j)->getVisible() && (!badOnly || r->isInBadCollection()))
                ++d;
        const QStringList& urls = r->getOnPageUrlArray();
        for (qsizetype k = 0; k < urls.size(); ++k) {
            if (urls[k] != page)
                continue;
            if (e == d)
                return std::make_shared<KestOnPage>(r, int(k));
            ++e;
        }
    }
    return nullptr;
}

namespace {

const QList<int>* placesOfPage(const LinkCheckerUrl& record, const QString& page,
                               LinkTreeSource::PlacesCache& cache) {
    auto it = cache.find(&record);
    if (it == cache.end()) {
        QHash<QString, QList<int>> places;
        const QStringList& urls = record.getOnPageUrlArray();
        for (qsizetype k = 0; k < urls.size(); ++k)
            places[urls[k]].append(int(k));
        it = cache.insert(&record, std::move(places));
    }
    const auto found = it->constFind(page);
    return found == it->constEnd() ? nullptr : &*found;
}

} // namespace

std::vector<LinkTreeSource::OnPagePtr> LinkTreeSource::visibleItemsForPage(const QString& page,
                                                                           PlacesCache* cache) const {
    std::vector<OnPagePtr> items;
    const QList<ItemPtr>* list = pageList(page);
    if (!list)
        return items;
    PlacesCache local;
    PlacesCache& places = cache ? *cache : local;
    // The d-th shown occurrence of a record on this page is the d-th place of the page in the
    // record's own list, which is what the walk from the start finds for each row.
    QHash<const LinkCheckerUrl*, int> seen;
    for (const ItemPtr& r : *list) {
        if (!isShown(*r))
            continue;
        const int d = seen[r.get()]++;
        const QList<int>* at = placesOfPage(*r, page, places);
        if (at && d < at->size())
            items.push_back(std::make_shared<KestOnPage>(r, at->at(d)));
        else
            items.push_back(getNthVisibleItemForPage(qsizetype(items.size()), page));
    }
    return items;
}

// ---------------------------------------------------------------- by link

qsizetype ByLinkOutline::numberOfChildrenOfItem(const OutlineItem* item) const {
    if (!item)
        return tree.countVisible(!tree.showingBadLinksOnly());
    if (!item->record || item->child || !tree.childrenShown())
        return 0;
    return item->record->getOnPagesArray().size();
}

OutlineItem ByLinkOutline::childOfItem(qsizetype index, const OutlineItem* item) const {
    if (!item)
        return OutlineItem{tree.getnthVisibleItem(index), nullptr, QString()};
    return OutlineItem{item->record, std::make_shared<KestOnPage>(item->record, int(index)), QString()};
}

QString ByLinkOutline::objectValueForTableColumnByItem(const QString& identifier,
                                                       const OutlineItem& item) const {
    if (item.child) {
        static const QStringList blank = {"linkurl", "status", "redir", "distance", "timestamp"};
        return blank.contains(identifier) ? QString("") : item.child->getFieldByName(identifier);
    }
    if (!item.record || identifier == "linktext")
        return QString("");
    return item.record->getFieldByName(identifier).toString();
}

std::optional<LabelColour> ByLinkOutline::labelColorForItem(const OutlineItem& item) const {
    if (item.child || !item.record)
        return std::nullopt;
    return KestLabelColours::rowColourForConstant(item.record->getColour(), tree.getPreferences());
}

std::vector<OutlineItem> ByLinkOutline::expandedRows() const {
    std::vector<OutlineItem> rows;
    std::vector<LinkTreeSource::ItemPtr> roots = tree.visibleItems();
    const qsizetype rootCount = numberOfChildrenOfItem(nullptr);
    const bool children = tree.childrenShown();
    for (qsizetype i = 0; i < rootCount; ++i) {
        OutlineItem root{i < qsizetype(roots.size()) ? roots[size_t(i)] : nullptr, nullptr, QString()};
        rows.push_back(root);
        if (!root.record || !children)
            continue;
        const qsizetype count = root.record->getOnPagesArray().size();
        for (qsizetype k = 0; k < count; ++k)
            rows.push_back(
                OutlineItem{root.record, std::make_shared<KestOnPage>(root.record, int(k)), QString()});
    }
    return rows;
}

// ---------------------------------------------------------------- by page

qsizetype ByPageOutline::numberOfChildrenOfItem(const OutlineItem* item) const {
    if (!item)
        return tree.countPagesWithVisibleItems();
    if (item->child || !tree.childrenShown())
        return 0;
    return tree.countVisibleItemsforThisPage(item->page);
}

OutlineItem ByPageOutline::childOfItem(qsizetype index, const OutlineItem* item) const {
    if (!item)
        return OutlineItem{nullptr, nullptr, tree.getNthPageWithVisibleItems(index).value_or(QString())};
    LinkTreeSource::OnPagePtr child = tree.getNthVisibleItemForPage(index, item->page);
    return OutlineItem{child ? child->getLinkCheckerUrl() : nullptr, child, item->page};
}

QString ByPageOutline::objectValueForTableColumnByItem(const QString& identifier,
                                                       const OutlineItem& item) const {
    if (item.child)
        return item.child->getFieldByName(identifier);
    return identifier == "linkurl" ? item.page : QString("");
}

std::optional<LabelColour> ByPageOutline::labelColorForItem(const OutlineItem& item) const {
    if (!item.child)
        return std::nullopt;
    return KestLabelColours::rowColourForConstant(item.child->getColour(), tree.getPreferences());
}

std::vector<OutlineItem> ByPageOutline::expandedRows() const {
    std::vector<OutlineItem> rows;
    const qsizetype pages = tree.countPagesWithVisibleItems();
    const bool children = tree.childrenShown();
    LinkTreeSource::PlacesCache places;
    for (qsizetype i = 0; i < pages; ++i) {
        const QString page = tree.getNthPageWithVisibleItems(i).value_or(QString());
        rows.push_back(OutlineItem{nullptr, nullptr, page});
        if (!children)
            continue;
        for (const LinkTreeSource::OnPagePtr& child : tree.visibleItemsForPage(page, &places))
            rows.push_back(OutlineItem{child ? child->getLinkCheckerUrl() : nullptr, child, page});
    }
    return rows;
}

// ---------------------------------------------------------------- columns

namespace {

struct ColumnRule {
    const char* title;
    const char* identifier;
    const char* preference;
    enum { Always, UnlessOff, IfOn } rule;
};

const ColumnRule byLinkColumnRules[] = {
    {"Status", "status", "LorraneByLinkViewColsStatus", ColumnRule::Always},
    {"URL", "linkurl", "LorraneByLinkViewColsLinkurl", ColumnRule::Always},
    {"Redirected To", "redir", "LorraneByLinkViewColsRedir", ColumnRule::IfOn},
    {"Link Text", "linktext", "LorraneByLinkViewColsLinkText", ColumnRule::UnlessOff},
    {"On Page / Number of Pages", "onpageurl", "LorraneByLinkViewColsOnPage", ColumnRule::Always},
    {"Time Stamp", "timestamp", "LorraneByLinkViewColsTimeStamp", ColumnRule::IfOn},
    {"Distance", "distance", "LorraneByLinkViewColsDistance", ColumnRule::IfOn},
    {"Nofollow", "nofollow", "LorraneByLinkViewColsNofollow", ColumnRule::IfOn},
};

} // namespace

QList<TableColumn> ByLinkColumns::columns(const Preferences& preferences) {
    QList<TableColumn> shown;
    for (const ColumnRule& column : byLinkColumnRules) {
        const bool stored = preferences.contains(column.preference);
        const bool on = preferences.boolValue(column.preference);
        const bool present = column.rule == ColumnRule::Always ||
                             (column.rule == ColumnRule::UnlessOff && (!stored || on)) ||
                             (column.rule == ColumnRule::IfOn && stored && on);
        if (present)
            shown.append(TableColumn{column.identifier, column.title});
    }
    return shown;
}

void ByLinkColumns::alterTableColumns(const QString& title, bool on, Preferences& preferences) {
    for (const ColumnRule& column : byLinkColumnRules)
        if (title == column.title)
            preferences.setValue(column.preference, on);
}

lfOutlineView ByLinkColumns::outline(const lfOutlineDataSource& source, const Preferences& preferences) {
    return lfOutlineView(columns(preferences), source, "linkurl");
}

// ---------------------------------------------------------------- exports

QString TreeExport::exportAsCSVFromOutlineView(const lfOutlineView& outline) {
    return TableExport::csvThroughOutline(outline);
}

QString TreeExport::exportAsHTMLFromOutlineView(const lfOutlineView& outline) {
    QString body = TableExport::styleBlock;
    // The extra opening stays: the outline's own text opens its table again.
    body += "<table><tr>";
    body += TableExport::htmlThroughOutline(outline);
    return TableExport::wrapPage(body);
}
