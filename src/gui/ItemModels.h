#pragma once

#include "views/LinkTreeSource.h"
#include "views/TableViews.h"

#include <QAbstractItemModel>
#include <QAbstractTableModel>
#include <functional>
#include <optional>
#include <vector>

class KestConfigManager;
class KestReportDataSource;
class KestReportItem;
class Preferences;

// The site list: columns website, url, status, schedule, in display order.
class SiteListModel : public QAbstractTableModel {
    Q_OBJECT
  public:
    static const QStringList columnIdentifiers;

    explicit SiteListModel(KestConfigManager& config, QObject* parent = nullptr);
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    void sort(int column, Qt::SortOrder order) override;
    void reload();

  private:
    KestConfigManager& config;
};

// An outline over one of the link trees. The root rows are taken in one walk when the model
// is reset; a root's children are asked of the source the first time the root is opened.
class OutlineModel : public QAbstractItemModel {
    Q_OBJECT
  public:
    OutlineModel(const lfOutlineDataSource& source, const Preferences& preferences,
                 std::function<std::vector<OutlineItem>()> roots, QObject* parent = nullptr);

    void setColumns(const QList<TableColumn>& columns);
    const QList<TableColumn>& getColumns() const { return columns; }
    void reload();
    // The row's item; the root of the outline for an invalid index.
    const OutlineItem* itemAt(const QModelIndex& index) const;

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    bool hasChildren(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    std::function<void(const QString& identifier, bool ascending)> sortByColumn;
    void sort(int column, Qt::SortOrder order) override;

  private:
    struct Root {
        OutlineItem item;
        mutable std::optional<std::vector<OutlineItem>> children;
    };
    const std::vector<OutlineItem>& childrenOf(const Root& root) const;

    const lfOutlineDataSource& source;
    const Preferences& preferences;
    std::function<std::vector<OutlineItem>()> rootsOf;
    QList<TableColumn> columns;
    std::vector<Root> roots;
};

// The flat report: one row per occurrence, the visible rows of the list on show.
class FlatReportModel : public QAbstractTableModel {
    Q_OBJECT
  public:
    FlatReportModel(KestReportDataSource& source, const Preferences& preferences, QObject* parent = nullptr);

    void setColumns(const QList<TableColumn>& columns);
    const QList<TableColumn>& getColumns() const { return columns; }
    void reload();
    // The record row behind a table row, or nothing.
    const KestReportItem* itemAt(int row) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    void sort(int column, Qt::SortOrder order) override;

  private:
    KestReportDataSource& source;
    const Preferences& preferences;
    QList<TableColumn> columns;
    std::vector<std::shared_ptr<KestReportItem>> rows;
    bool termIsEmpty = true;

  public:
    // The filter term as the report has it: an empty term colours rows by plain position.
    void setTermIsEmpty(bool empty) { termIsEmpty = empty; }
};

// A row colour of the core as a brush colour, and a text colour that reads on it.
QVariant backgroundForColour(const std::optional<LabelColour>& colour);
QVariant foregroundForColour(const std::optional<LabelColour>& colour);
