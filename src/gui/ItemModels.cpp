#include "gui/ItemModels.h"

#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "gui/ExtraColumns.h"
#include "views/KestReportDataSource.h"
#include "views/LabelColours.h"

#include <QColor>
#include <algorithm>

namespace {

// The record whose own values a row shows in the further columns: a link row of either tree,
// not an occurrence of the by-link tree nor a page row.
const LinkCheckerUrl* recordOfRow(const OutlineItem& item) {
    if (!item.child)
        return item.record.get();
    return item.page.isEmpty() ? nullptr : item.record.get();
}

// Sorts rows on a further column in the window alone; the core's lists keep their order.
template <typename Row, typename RecordOf>
void sortOnExtraColumn(std::vector<Row>& rows, const QString& identifier, bool ascending, RecordOf recordOf) {
    auto value = [&](const Row& row) {
        const LinkCheckerUrl* record = recordOf(row);
        return record ? ExtraColumns::sortValue(*record, identifier) : QVariant();
    };
    std::stable_sort(rows.begin(), rows.end(), [&](const Row& a, const Row& b) {
        const QVariant x = value(a), y = value(b);
        const QPartialOrdering order = QVariant::compare(x, y);
        return ascending ? order == QPartialOrdering::Less : order == QPartialOrdering::Greater;
    });
}

} // namespace

QVariant backgroundForColour(const std::optional<LabelColour>& colour) {
    if (!colour || colour->alpha <= 0)
        return {};
    return QColor::fromRgbF(float(colour->red), float(colour->green), float(colour->blue),
                            float(colour->alpha));
}

QVariant foregroundForColour(const std::optional<LabelColour>& colour) {
    if (!colour || colour->alpha <= 0)
        return {};
    // Light rows get dark text and dark rows light text, whatever the desktop theme is.
    const double luminance = 0.299 * colour->red + 0.587 * colour->green + 0.114 * colour->blue;
    const double seen = luminance * colour->alpha + (1 - colour->alpha);
    return seen > 0.55 ? QColor(Qt::black) : QColor(Qt::white);
}

// ---------------------------------------------------------------- site list

const QStringList SiteListModel::columnIdentifiers = {"website", "url", "status", "schedule"};

SiteListModel::SiteListModel(KestConfigManager& config_, QObject* parent)
    : QAbstractTableModel(parent), config(config_) {}

int SiteListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : config.store().numberOfVisibleRows();
}

int SiteListModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(columnIdentifiers.size());
}

QVariant SiteListModel::data(const QModelIndex& index, int role) const {
    const SiteStore& store = config.store();
    const int i = store.indexOfNthVisible(index.row());
    if (i < 0)
        return {};
    const QString column = columnIdentifiers.value(index.column());
    if (role == Qt::DisplayRole || role == Qt::EditRole || role == Qt::ToolTipRole) {
        if (column == "website")
            return store.nameCollection.value(i);
        if (column == "url")
            return store.collection.value(i);
        if (column == "status")
            return SiteStore::getStatuslForFilename(store.fileNameCollection.value(i));
        if (column == "schedule")
            return SiteStore::getScheduleForFilename(store.fileNameCollection.value(i));
    }
    return {};
}

QVariant SiteListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    static const QStringList titles = {"Website", "URL", "Status", "Schedule"};
    return titles.value(section);
}

Qt::ItemFlags SiteListModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags f = QAbstractTableModel::flags(index);
    if (index.column() <= 1)
        f |= Qt::ItemIsEditable;
    return f;
}

bool SiteListModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (role != Qt::EditRole)
        return false;
    const int i = config.store().indexOfNthVisible(index.row());
    if (i < 0)
        return false;
    config.selectRow(index.row());
    const QString text = value.toString().trimmed();
    if (index.column() == 0) {
        config.setNewName(text);
    } else if (index.column() == 1) {
        if (text.isEmpty())
            return false;
        config.store().collection[i] = text;
        config.setNewUrl(text);
        config.setThumb();
    } else {
        return false;
    }
    config.saveMenuItem();
    emit dataChanged(index, index);
    return true;
}

void SiteListModel::sort(int column, Qt::SortOrder order) {
    static const QStringList keys = {"name", "url", "dateStamp", ""};
    beginResetModel();
    config.sortByColumn(keys.value(column), order == Qt::AscendingOrder);
    endResetModel();
}

void SiteListModel::reload() {
    beginResetModel();
    endResetModel();
}

// ---------------------------------------------------------------- outlines

OutlineModel::OutlineModel(const lfOutlineDataSource& source_, const Preferences& preferences_,
                           std::function<std::vector<OutlineItem>()> roots_, QObject* parent)
    : QAbstractItemModel(parent), source(source_), preferences(preferences_), rootsOf(std::move(roots_)) {}

void OutlineModel::setColumns(const QList<TableColumn>& c) {
    beginResetModel();
    columns = c;
    endResetModel();
}

void OutlineModel::reload() {
    beginResetModel();
    roots.clear();
    for (OutlineItem& item : rootsOf())
        roots.push_back({std::move(item), std::nullopt});
    endResetModel();
}

const std::vector<OutlineItem>& OutlineModel::childrenOf(const Root& root) const {
    if (!root.children) {
        std::vector<OutlineItem> made;
        const qsizetype n = source.numberOfChildrenOfItem(&root.item);
        made.reserve(size_t(n));
        for (qsizetype i = 0; i < n; ++i)
            made.push_back(source.childOfItem(i, &root.item));
        root.children = std::move(made);
    }
    return *root.children;
}

// A root row's internal id is 0; a child's is its root's position plus one.
QModelIndex OutlineModel::index(int row, int column, const QModelIndex& parent) const {
    if (row < 0 || column < 0 || column >= columns.size())
        return {};
    if (!parent.isValid())
        return size_t(row) < roots.size() ? createIndex(row, column, quintptr(0)) : QModelIndex();
    if (parent.internalId() != 0 || size_t(parent.row()) >= roots.size())
        return {};
    const auto& children = childrenOf(roots[size_t(parent.row())]);
    return size_t(row) < children.size() ? createIndex(row, column, quintptr(parent.row() + 1))
                                         : QModelIndex();
}

QModelIndex OutlineModel::parent(const QModelIndex& child) const {
    if (!child.isValid() || child.internalId() == 0)
        return {};
    return createIndex(int(child.internalId() - 1), 0, quintptr(0));
}

const OutlineItem* OutlineModel::itemAt(const QModelIndex& index) const {
    if (!index.isValid())
        return nullptr;
    if (index.internalId() == 0)
        return size_t(index.row()) < roots.size() ? &roots[size_t(index.row())].item : nullptr;
    const size_t r = size_t(index.internalId() - 1);
    if (r >= roots.size())
        return nullptr;
    const auto& children = childrenOf(roots[r]);
    return size_t(index.row()) < children.size() ? &children[size_t(index.row())] : nullptr;
}

int OutlineModel::rowCount(const QModelIndex& parent) const {
    if (!parent.isValid())
        return int(roots.size());
    if (parent.internalId() != 0 || parent.column() != 0 || size_t(parent.row()) >= roots.size())
        return 0;
    return int(childrenOf(roots[size_t(parent.row())]).size());
}

int OutlineModel::columnCount(const QModelIndex&) const {
    return int(columns.size());
}

bool OutlineModel::hasChildren(const QModelIndex& parent) const {
    if (!parent.isValid())
        return !roots.empty();
    if (parent.internalId() != 0 || parent.column() != 0 || size_t(parent.row()) >= roots.size())
        return false;
    // Asking for the count would build every child list as the view draws its arrows.
    const Root& root = roots[size_t(parent.row())];
    if (!source.isItemExpandable(root.item))
        return false;
    return root.children ? !root.children->empty() : source.numberOfChildrenOfItem(&root.item) > 0;
}

QVariant OutlineModel::data(const QModelIndex& index, int role) const {
    const OutlineItem* item = itemAt(index);
    if (!item)
        return {};
    if (role == Qt::DisplayRole || role == Qt::ToolTipRole) {
        const QString& identifier = columns[index.column()].identifier;
        if (ExtraColumns::isExtra(identifier)) {
            const LinkCheckerUrl* record = recordOfRow(*item);
            return record ? ExtraColumns::text(*record, identifier) : QString();
        }
        return source.objectValueForTableColumnByItem(identifier, *item);
    }
    if (role == Qt::BackgroundRole)
        return backgroundForColour(source.labelColorForItem(*item));
    if (role == Qt::ForegroundRole)
        return foregroundForColour(source.labelColorForItem(*item));
    return {};
}

QVariant OutlineModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section < columns.size())
        return columns[section].title;
    return {};
}

void OutlineModel::sort(int column, Qt::SortOrder order) {
    if (column < 0 || column >= columns.size())
        return;
    if (ExtraColumns::isExtra(columns[column].identifier)) {
        beginResetModel();
        sortOnExtraColumn(roots, columns[column].identifier, order == Qt::AscendingOrder,
                          [](const Root& root) { return recordOfRow(root.item); });
        endResetModel();
        return;
    }
    if (!sortByColumn)
        return;
    sortByColumn(columns[column].identifier, order == Qt::AscendingOrder);
    reload();
}

// ---------------------------------------------------------------- flat report

FlatReportModel::FlatReportModel(KestReportDataSource& source_, const Preferences& preferences_,
                                 QObject* parent)
    : QAbstractTableModel(parent), source(source_), preferences(preferences_) {}

void FlatReportModel::setColumns(const QList<TableColumn>& c) {
    beginResetModel();
    columns = c;
    endResetModel();
}

void FlatReportModel::reload() {
    beginResetModel();
    // Rows built on the report's own thread are taken over here, on the window's thread.
    source.waitForReport();
    rows = source.visibleItems();
    endResetModel();
}

const KestReportItem* FlatReportModel::itemAt(int row) const {
    return row >= 0 && size_t(row) < rows.size() ? rows[size_t(row)].get() : nullptr;
}

int FlatReportModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(rows.size());
}

int FlatReportModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(columns.size());
}

QVariant FlatReportModel::data(const QModelIndex& index, int role) const {
    const KestReportItem* item = itemAt(index.row());
    if (!item)
        return {};
    if (role == Qt::DisplayRole || role == Qt::ToolTipRole) {
        const QString& identifier = columns[index.column()].identifier;
        if (ExtraColumns::isExtra(identifier))
            return item->getLcurl() ? ExtraColumns::text(*item->getLcurl(), identifier) : QString();
        return item->getFieldByName(identifier).toString();
    }
    if (role == Qt::BackgroundRole || role == Qt::ForegroundRole) {
        // With a term the report colours the visible rows, which are the rows held here.
        const auto colour = termIsEmpty ? source.labelColorForRow(index.row())
                            : preferences.boolValue("LorraneDisplayLabels")
                                ? KestLabelColours::rowColourForConstant(item->getColour(), preferences)
                                : std::nullopt;
        return role == Qt::BackgroundRole ? backgroundForColour(colour) : foregroundForColour(colour);
    }
    return {};
}

QVariant FlatReportModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section < columns.size())
        return columns[section].title;
    return {};
}

void FlatReportModel::sort(int column, Qt::SortOrder order) {
    if (column < 0 || column >= columns.size())
        return;
    if (ExtraColumns::isExtra(columns[column].identifier)) {
        beginResetModel();
        sortOnExtraColumn(rows, columns[column].identifier, order == Qt::AscendingOrder,
                          [](const std::shared_ptr<KestReportItem>& row) { return row->getLcurl().get(); });
        endResetModel();
        return;
    }
    source.waitForReport();
    source.didClickTableColumn(columns[column].identifier, order == Qt::AscendingOrder);
    reload();
}
