#pragma once

#include "views/KestDataObject.h"
#include "views/LabelColours.h"
#include "views/TableExport.h"
#include "views/TableViews.h"

#include <QtDebug>
#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <vector>

// Base of every results table: an ordered collection of shared records, numbered as they
// arrive, with an optional second order (the sort array) and the generic exports.
template <typename Item> class lfDataSource {
  public:
    using ItemPtr = std::shared_ptr<Item>;

    virtual ~lfDataSource() = default;

    // Appends and numbers a record. A limit above zero makes the collection refuse records beyond it.
    virtual void add(const ItemPtr& item) {
        if (!item || (capacityLimit > 0 && collection.size() >= size_t(capacityLimit)))
            return;
        collection.push_back(item);
        if (sortArray)
            sortArray->push_back(item);
        if (item->getID() == 0)
            item->setID(++highestId);
        else if (item->getID() > highestId)
            highestId = item->getID();
    }
    virtual void clear() {
        collection.clear();
        sortArray.reset();
        highestId = 0;
    }
    // Leaves the sort array alone: it keeps the record until the next sort.
    void deleteItem(const ItemPtr& item) {
        const auto it = std::find(collection.begin(), collection.end(), item);
        if (it != collection.end())
            collection.erase(it);
    }

    qsizetype count() const { return qsizetype(collection.size()); }
    qsizetype getCount() const { return count(); }
    int getHighestId() const { return highestId; }
    void setCapacityLimit(qsizetype limit) { capacityLimit = limit; }
    virtual qsizetype numberOfRowsInTableView(const kestreliaTableView* = nullptr) const { return count(); }

    ItemPtr getFirstItem() const { return collection.empty() ? nullptr : collection.front(); }
    // Plain index; out of range gives nothing.
    virtual ItemPtr getnthItem(qsizetype n) const {
        if (collection.empty()) {
            qInfo() << "count is 0";
            return nullptr;
        }
        return n >= 0 && size_t(n) < collection.size() ? collection[size_t(n)] : nullptr;
    }
    ItemPtr getNextItem(const ItemPtr& item) const {
        const auto it = std::find(collection.begin(), collection.end(), item);
        return it == collection.end() || it + 1 == collection.end() ? nullptr : *(it + 1);
    }
    ItemPtr getItemById(int id) const {
        for (ItemPtr item = getnthItem(0); item; item = getNextItem(item))
            if (item->getID() == id)
                return item;
        return nullptr;
    }
    // The sort array's order where it reaches, the stored order beyond it.
    ItemPtr getnthSortedItem(qsizetype n) const {
        if (collection.empty() || n < 0)
            return nullptr;
        if (sortArray && size_t(n) < sortArray->size())
            return (*sortArray)[size_t(n)];
        return size_t(n) < collection.size() ? collection[size_t(n)] : nullptr;
    }
    virtual ItemPtr getnthVisibleItem(qsizetype n) const {
        qsizetype seen = -1;
        for (size_t i = 0; i < collection.size(); ++i) {
            ItemPtr item = getnthSortedItem(qsizetype(i));
            if (item && item->getVisible() && ++seen == n)
                return item;
        }
        return nullptr;
    }
    // getnthVisibleItem for 0, 1, 2... in one walk, for exports.
    virtual std::vector<ItemPtr> visibleItems() const {
        std::vector<ItemPtr> items;
        for (size_t i = 0; i < collection.size(); ++i) {
            ItemPtr item = getnthSortedItem(qsizetype(i));
            if (item && item->getVisible())
                items.push_back(item);
        }
        return items;
    }
    void swopWith(const ItemPtr& a, const ItemPtr& b) {
        const auto ia = std::find(collection.begin(), collection.end(), a);
        const auto ib = std::find(collection.begin(), collection.end(), b);
        if (ia != collection.end() && ib != collection.end())
            std::iter_swap(ia, ib);
    }

    QString objectValueForTableColumnRow(const QString& identifier, qsizetype row) const {
        const ItemPtr item = getnthItem(row);
        return item ? item->getFieldByName(identifier).toString() : QString("");
    }
    virtual std::optional<LabelColour> labelColorForRow(qsizetype) const { return std::nullopt; }
    virtual bool outlineViewIsItemExpandable() const { return false; }

    // ---------------------------------------------------------------- sorting

    void sortByColumnAscending(const QString& key, bool ascending) {
        sortByColumnAscendingWithOptions(key, ascending, 0);
    }
    // Options 0 sorts as text, 1 as numbers; the stored order is never touched.
    void sortByColumnAscendingWithOptions(const QString& key, bool ascending, int options) {
        if (options == 0) {
            std::vector<ItemPtr> sorted = collection;
            std::stable_sort(sorted.begin(), sorted.end(), [&](const ItemPtr& a, const ItemPtr& b) {
                const int order = QString::compare(a->getFieldByName(key).toString(),
                                                   b->getFieldByName(key).toString(), Qt::CaseInsensitive);
                return ascending ? order < 0 : order > 0;
            });
            sortArray = std::move(sorted);
        } else if (options == 1) {
            sortArray = numericSort(key, ascending);
        }
    }
    // A column click: numbers for the keys that are numbers, text for the rest.
    void didClickTableColumn(const QString& key, bool ascending) {
        if (key.isEmpty())
            return;
        sortByColumnAscendingWithOptions(key, ascending, KestDataObject::isNumber(key) ? 1 : 0);
    }
    static int compareWithColumnOptions(const Item& a, const Item& b, const QString& key, int options) {
        if (options != 1)
            return 0;
        const float x = float(a.getFieldAsNumberByName(key));
        const float y = float(b.getFieldAsNumberByName(key));
        if (std::isinf(x) || std::isinf(y)) {
            qInfo() << "overflow";
            return 0;
        }
        return x > y ? 1 : y > x ? -1 : 0;
    }

    // ---------------------------------------------------------------- exports

    QString getDataAsCSVUsingTableView(const kestreliaTableView& table) const {
        const std::vector<ItemPtr> items = visibleItems();
        return TableExport::csvThroughTable(table, numberOfRowsInTableView(&table), [&](qsizetype r) {
            return size_t(r) < items.size() ? static_cast<const KestDataObject*>(items[size_t(r)].get())
                                            : nullptr;
        });
    }
    QString getDataAsHTMLusingTableView(const kestreliaTableView& table) const {
        const std::vector<ItemPtr> items = visibleItems();
        return TableExport::htmlThroughTable(
            table, numberOfRowsInTableView(&table),
            [&](qsizetype r) {
                return size_t(r) < items.size() ? static_cast<const KestDataObject*>(items[size_t(r)].get())
                                                : nullptr;
            },
            [&](qsizetype r) { return labelColorForRow(r); });
    }
    static QString getDataAsCSVusingOutlineView(const lfOutlineView& outline) {
        return TableExport::csvThroughOutline(outline);
    }
    static QString getDataAsHTMLusingOutlineView(const lfOutlineView& outline) {
        return TableExport::htmlThroughOutline(outline);
    }
    static QString truncateURLByAddingElipsisInMiddle(const QString& text) {
        return TableExport::truncateURLByAddingElipsisInMiddle(text);
    }

  protected:
    std::vector<ItemPtr> collection;
    std::optional<std::vector<ItemPtr>> sortArray;
    int highestId = 0;
    qsizetype capacityLimit = 0;

  private:
    // Insertion with probes at one half and three quarters; equal values are not passed over,
    // so the later of two equal records comes first, in both directions.
    std::vector<ItemPtr> numericSort(const QString& key, bool ascending) const {
        std::vector<ItemPtr> sorted;
        sorted.reserve(collection.size());
        if (collection.empty())
            return sorted;
        const int before = ascending ? -1 : 1;
        auto sortsBefore = [&](const ItemPtr& e, const ItemPtr& r) {
            return compareWithColumnOptions(*e, *r, key, 1) == before;
        };
        sorted.push_back(collection.front());
        for (size_t i = 1; i < collection.size(); ++i) {
            const ItemPtr& r = collection[i];
            size_t p = 0;
            if (sorted.size() > 6) {
                const size_t m = sorted.size() >> 1;
                if (sortsBefore(sorted[m], r)) {
                    const size_t q = (sorted.size() >> 2) * 3;
                    p = sortsBefore(sorted[q], r) ? q : m;
                }
            }
            while (p < sorted.size() && sortsBefore(sorted[p], r))
                ++p;
            sorted.insert(sorted.begin() + qsizetype(p), r);
        }
        return sorted;
    }
};
