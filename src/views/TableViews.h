#pragma once

#include "views/LabelColours.h"

#include <QList>
#include <QString>
#include <memory>
#include <optional>
#include <vector>

class KestOnPage;
class LinkCheckerUrl;

// What the exports need of a table: its columns in display order and its identifier.
// The desktop window keeps one of these beside each real table; the command line builds
// them from the column preferences.
struct TableColumn {
    QString identifier; // a field key
    QString title;      // the header cell's text
    double width = 100;
};

class kestreliaTableView {
  public:
    kestreliaTableView() = default;
    explicit kestreliaTableView(QList<TableColumn> columns) : tableColumns(std::move(columns)) {}
    virtual ~kestreliaTableView() = default;

    QList<TableColumn> tableColumns;

    const QString& getLFIdentifier() const { return lfidentifier; }
    void setLFIdentifier(const QString& value) { lfidentifier = value; }
    bool hasColumn(const QString& identifier) const;

  private:
    QString lfidentifier;
};

// One row of an outline: a record, a page or a child row under either.
struct OutlineItem {
    std::shared_ptr<LinkCheckerUrl> record;
    std::shared_ptr<KestOnPage> child;
    QString page;
    bool isChild() const { return child != nullptr; }
};

// The questions an outline asks of its data source; a null item is the root.
class lfOutlineDataSource {
  public:
    virtual ~lfOutlineDataSource() = default;
    virtual qsizetype numberOfChildrenOfItem(const OutlineItem* item) const = 0;
    virtual OutlineItem childOfItem(qsizetype index, const OutlineItem* item) const = 0;
    virtual bool isItemExpandable(const OutlineItem& item) const = 0;
    virtual QString objectValueForTableColumnByItem(const QString& identifier,
                                                    const OutlineItem& item) const = 0;
    virtual std::optional<LabelColour> labelColorForItem(const OutlineItem&) const { return std::nullopt; }
    // The rows of the outline with every root expanded. This form asks question by question;
    // sources with costly questions answer the same rows in one walk.
    virtual std::vector<OutlineItem> expandedRows() const;
};

// An outline with every root expanded, as the exports see it.
class lfOutlineView : public kestreliaTableView {
  public:
    lfOutlineView(QList<TableColumn> columns, const lfOutlineDataSource& source, QString outlineColumn);

    const lfOutlineDataSource& dataSource() const { return *source; }
    const QString& outlineTableColumn() const { return outlineColumn; }
    void reloadData() { rows = source->expandedRows(); }
    qsizetype numberOfRows() const { return qsizetype(rows.size()); }
    const OutlineItem& itemAtRow(qsizetype row) const { return rows[size_t(row)]; }
    bool isExpandable(const OutlineItem& item) const { return source->isItemExpandable(item); }

  private:
    const lfOutlineDataSource* source;
    QString outlineColumn;
    std::vector<OutlineItem> rows;
};
