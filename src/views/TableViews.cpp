#include "views/TableViews.h"

bool kestreliaTableView::hasColumn(const QString& identifier) const {
    for (const TableColumn& column : tableColumns)
        if (column.identifier == identifier)
            return true;
    return false;
}

std::vector<OutlineItem> lfOutlineDataSource::expandedRows() const {
    std::vector<OutlineItem> rows;
    const qsizetype roots = numberOfChildrenOfItem(nullptr);
    for (qsizetype i = 0; i < roots; ++i) {
        rows.push_back(childOfItem(i, nullptr));
        const OutlineItem root = rows.back();
        const qsizetype children = numberOfChildrenOfItem(&root);
        for (qsizetype k = 0; k < children; ++k)
            rows.push_back(childOfItem(k, &root));
    }
    return rows;
}

lfOutlineView::lfOutlineView(QList<TableColumn> columns, const lfOutlineDataSource& source_,
                             QString outlineColumn_)
    : kestreliaTableView(std::move(columns)), source(&source_), outlineColumn(std::move(outlineColumn_)) {
    reloadData();
}
