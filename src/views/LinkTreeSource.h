#pragma once

#include "crawl/LinkCheckerUrl.h"
#include "views/KestOnPage.h"
#include "views/TableViews.h"

#include <QHash>
#include <QStringList>
#include <optional>
#include <vector>

class LinkCheckerHub;
class Preferences;

// The hub seen as the source of the link views: the filter and its flags, the counts and
// lookups behind the by-link and by-page trees and the plain link tables. Nothing is stored
// but the flags on the records and the list of pages last computed, so a filter change needs
// no rebuild.
class LinkTreeSource {
  public:
    using ItemPtr = std::shared_ptr<LinkCheckerUrl>;
    using OnPagePtr = std::shared_ptr<KestOnPage>;

    // Filter tags: 0 none, 2 internal links only, 3 images only, 4 external links only.
    enum { NoFilter = 0, InternalOnly = 2, ImagesOnly = 3, ExternalOnly = 4 };

    LinkTreeSource(LinkCheckerHub& hub, const Preferences& preferences);

    // Sets every record's visible flag from the term and tag, then the flat report's.
    void filter(const QString& term, int tag);
    // A new crawl starts unfiltered.
    void resetFilter();
    const QString& getSearchBox() const { return searchBox; }
    int getLinksFilter() const { return linksFilter; }
    bool showingBadLinksOnly() const;
    // Children exist only once the crawl is finished or stopped.
    bool childrenShown() const;

    // With the whole collection: the visible records; otherwise the visible bad ones.
    qsizetype countVisible(bool wholeCollection) const;
    ItemPtr getnthVisibleItem(qsizetype n) const;
    // getnthVisibleItem for 0, 1, 2... in one walk.
    std::vector<ItemPtr> visibleItems() const;
    qsizetype numberOfRowsInTableView() const;
    QString objectValueForTableColumnRow(const QString& identifier, qsizetype row) const;

    int countItemsforThisPage(const QString& page) const;
    int countVisibleItemsforThisPage(const QString& page) const;
    bool pageHasAtLeastOneVisibleItem(const QString& page) const;
    // Rebuilds the list of pages with a visible link, in the map's own order.
    qsizetype countPagesWithVisibleItems() const;
    // "" past the end; nothing if the list was never built.
    std::optional<QString> getNthPageWithVisibleItems(qsizetype n) const;
    // The n-th visible link on a page, each occurrence mapped to its own place in the
    // record's on-page lists.
    OnPagePtr getNthVisibleItemForPage(qsizetype n, const QString& page) const;
    // Where each page stands in a record's on-page lists; kept for one walk over many pages.
    using PlacesCache = QHash<const LinkCheckerUrl*, QHash<QString, QList<int>>>;
    // getNthVisibleItemForPage for 0, 1, 2... in one walk of the page's list.
    std::vector<OnPagePtr> visibleItemsForPage(const QString& page, PlacesCache* cache = nullptr) const;

    LinkCheckerHub& getHub() const { return hub; }
    const Preferences& getPreferences() const { return preferences; }

  private:
    bool isShown(const LinkCheckerUrl& record) const;
    const QList<ItemPtr>* pageList(const QString& page) const;

    LinkCheckerHub& hub;
    const Preferences& preferences;
    QString searchBox;
    int linksFilter = NoFilter;
    mutable std::optional<QStringList> pagesNeedingAttention;
};

// The by-link outline: a record per root row, its occurrences below it.
class ByLinkOutline : public lfOutlineDataSource {
  public:
    explicit ByLinkOutline(const LinkTreeSource& tree) : tree(tree) {}
    qsizetype numberOfChildrenOfItem(const OutlineItem* item) const override;
    OutlineItem childOfItem(qsizetype index, const OutlineItem* item) const override;
    bool isItemExpandable(const OutlineItem& item) const override { return item.record && !item.child; }
    QString objectValueForTableColumnByItem(const QString& identifier,
                                            const OutlineItem& item) const override;
    std::optional<LabelColour> labelColorForItem(const OutlineItem& item) const override;
    std::vector<OutlineItem> expandedRows() const override;

  private:
    const LinkTreeSource& tree;
};

// The by-page outline: a page per root row, the links on it below.
class ByPageOutline : public lfOutlineDataSource {
  public:
    explicit ByPageOutline(const LinkTreeSource& tree) : tree(tree) {}
    qsizetype numberOfChildrenOfItem(const OutlineItem* item) const override;
    OutlineItem childOfItem(qsizetype index, const OutlineItem* item) const override;
    bool isItemExpandable(const OutlineItem& item) const override { return !item.child; }
    QString objectValueForTableColumnByItem(const QString& identifier,
                                            const OutlineItem& item) const override;
    std::optional<LabelColour> labelColorForItem(const OutlineItem& item) const override;
    std::vector<OutlineItem> expandedRows() const override;

  private:
    const LinkTreeSource& tree;
};

// The columns of the by-link outline and their switches.
namespace ByLinkColumns {
QList<TableColumn> columns(const Preferences& preferences);
// Stores the switch of the column with that title; columns() shows the result.
void alterTableColumns(const QString& title, bool on, Preferences& preferences);
// An outline over the trees with the present columns, every root expanded.
lfOutlineView outline(const lfOutlineDataSource& source, const Preferences& preferences);
} // namespace ByLinkColumns

// The exports of a tree: CSV as the outline gives it, HTML inside the export page.
namespace TreeExport {
QString exportAsCSVFromOutlineView(const lfOutlineView& outline);
QString exportAsHTMLFromOutlineView(const lfOutlineView& outline);
} // namespace TreeExport
