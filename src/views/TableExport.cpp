#include "views/TableExport.h"

#include "crawl/LinkCheckerUrl.h"
#include "views/KestDataObject.h"
#include "views/TableViews.h"

#include <QSaveFile>

namespace TableExport {

const char* const styleBlock =
    "<style> table{padding:2px;margin:2px;border:none; font-family:monospace;text-align:left} "
    "th{background:#eee;} td{height:1em;white-space:nowrap;overflow:hidden;} td.alt{background:#f0f0ff;} "
    "p{font-family:arial,sans-serif;}</style>";

namespace {

const QString validatorCheck = QStringLiteral("https://validator.w3.org/check?uri=");

bool holdsUrl(const QString& value) {
    return value.contains(QLatin1String("http://")) || value.contains(QLatin1String("https://"));
}

void appendTableHead(QString& out, const kestreliaTableView& table) {
    out += "<table><tr>";
    for (const TableColumn& column : table.tableColumns)
        out += QString("<th class = %1>%2</th>").arg(column.identifier, column.title);
    out += "</tr>";
}

void appendCellOpening(QString& out, const QString& identifier, bool alternate,
                       const std::optional<LabelColour>& colour) {
    out += "<td ";
    out += alternate ? QString("class = \"%1 %2\" ").arg(identifier, "alt")
                     : QString("class = %1 ").arg(identifier);
    if (colour)
        out += QString("style = \"background:%1\"").arg(rgbText(*colour));
    out += '>';
}

void appendAnchor(QString& out, const QString& target, const QString& text) {
    out += QString("<a href = %1 >%2</a>").arg(target, text);
}

} // namespace

void appendQuotedLine(QString& out, const QStringList& fields, QChar separator) {
    for (qsizetype i = 0; i < fields.size(); ++i) {
        out += '"';
        out += fields[i];
        out += '"';
        if (i + 1 < fields.size())
            out += separator;
    }
    out += '\r';
}

QString csvHeader(const kestreliaTableView& table, QChar separator) {
    QStringList titles;
    for (const TableColumn& column : table.tableColumns)
        titles.append(column.title);
    QString out;
    appendQuotedLine(out, titles, separator);
    return out;
}

QString rgbText(const LabelColour& colour) {
    return QString("rgb(%1,%2,%3)")
        .arg(int(colour.red * 255))
        .arg(int(colour.green * 255))
        .arg(int(colour.blue * 255));
}

QString truncateURLByAddingElipsisInMiddle(const QString& text) {
    return LinkCheckerUrl::truncateURLByAddingElipsisInMiddle(text);
}

QString csvThroughTable(const kestreliaTableView& table, qsizetype rowCount, const RowAt& rowAt) {
    QString out = csvHeader(table);
    QStringList fields;
    for (qsizetype r = 0; r < rowCount; ++r) {
        const KestDataObject* record = rowAt(r);
        fields.clear();
        for (const TableColumn& column : table.tableColumns)
            fields.append(record ? record->getFieldByName(column.identifier).toString() : QString());
        appendQuotedLine(out, fields);
    }
    return out;
}

QString htmlThroughTable(const kestreliaTableView& table, qsizetype rowCount, const RowAt& rowAt,
                         const ColourAt& colourAt) {
    QString out;
    out.reserve(100);
    appendTableHead(out, table);
    const bool validator = table.getLFIdentifier() == "validator";
    bool alternate = false;
    for (qsizetype r = 0; r < rowCount; ++r) {
        const KestDataObject* record = rowAt(r);
        if (!record || !record->getVisible())
            continue;
        out += "<tr>";
        const std::optional<LabelColour> colour = colourAt(r);
        for (const TableColumn& column : table.tableColumns) {
            appendCellOpening(out, column.identifier, alternate, colour);
            const QString value = record->getFieldByName(column.identifier).toString();
            if (!holdsUrl(value))
                out += value;
            else if (validator)
                appendAnchor(out, validatorCheck + value, value);
            else
                appendAnchor(out, value, truncateURLByAddingElipsisInMiddle(value));
            out += "</td>";
        }
        out += "</tr>";
        alternate = !alternate;
    }
    out += "</table><br />";
    return out;
}

QString csvThroughOutline(const lfOutlineView& outline) {
    QString out = csvHeader(outline);
    const lfOutlineDataSource& source = outline.dataSource();
    const qsizetype last = outline.tableColumns.size() - 1;
    for (qsizetype r = 0; r < outline.numberOfRows(); ++r) {
        const OutlineItem& item = outline.itemAtRow(r);
        const bool indented = !outline.isExpandable(item);
        for (qsizetype c = 0; c <= last; ++c) {
            const TableColumn& column = outline.tableColumns[c];
            out += '"';
            if (indented && column.identifier == outline.outlineTableColumn())
                out += '\t';
            out += source.objectValueForTableColumnByItem(column.identifier, item);
            out += '"';
            if (c < last)
                out += ',';
        }
        out += '\r';
    }
    return out;
}

void appendRows(QString& out, const kestreliaTableView& table, qsizetype rowCount, const RowAt& rowAt,
                const ColourAt& colourAt) {
    bool alternate = false;
    for (qsizetype r = 0; r < rowCount; ++r) {
        const KestDataObject* record = rowAt(r);
        const std::optional<LabelColour> colour = colourAt(r);
        out += "<tr>";
        for (const TableColumn& column : table.tableColumns) {
            appendCellOpening(out, column.identifier, alternate, colour);
            const QString value = record ? record->getFieldByName(column.identifier).toString() : QString();
            if (holdsUrl(value))
                appendAnchor(out, value, truncateURLByAddingElipsisInMiddle(value));
            else
                out += value;
            out += "</td>";
        }
        out += "</tr>";
        alternate = !alternate;
    }
}

QString htmlThroughOutline(const lfOutlineView& outline) {
    QString out;
    out.reserve(100);
    appendTableHead(out, outline);
    const lfOutlineDataSource& source = outline.dataSource();
    bool alternate = false;
    for (qsizetype r = 0; r < outline.numberOfRows(); ++r) {
        const OutlineItem& item = outline.itemAtRow(r);
        const bool indented = !outline.isExpandable(item);
        const std::optional<LabelColour> colour = source.labelColorForItem(item);
        out += "<tr>";
        for (const TableColumn& column : outline.tableColumns) {
            appendCellOpening(out, column.identifier, alternate, colour);
            if (indented && column.identifier == outline.outlineTableColumn())
                out += "&nbsp;&nbsp;";
            const QString value = source.objectValueForTableColumnByItem(column.identifier, item);
            if (holdsUrl(value))
                appendAnchor(out, value, truncateURLByAddingElipsisInMiddle(value));
            else
                out += value;
            out += "</td>";
        }
        out += "</tr>";
        alternate = !alternate;
    }
    out += "</table><br />";
    return out;
}

QString wrapPage(const QString& body) {
    return QString("<html><head><title>Data Export from Trellium</title><meta http-equiv=\"Content-Type\" "
                   "content=\"text/html; charset=UTF-8\" /></head><body>%1</body></html>")
        .arg(body);
}

QString wrapPageWithStrayHead(const QString& body) {
    return QString("<html><head><title>Data Export from Trellium</title><meta http-equiv=\"Content-Type\" "
                   "content=\"text/html; charset=UTF-8\" /></head><body>%1</body></head></html>")
        .arg(body);
}

QString wrapPageInsideHead(const QString& body) {
    return "<html><head><title>Data Export from Trellium</title><meta http-equiv=\"Content-Type\" "
           "content=\"text/html; charset=UTF-8\" /><body>" +
           body + "</body></head></html>";
}

bool writeTextAtomically(const QString& path, const QString& text, QString* error) {
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(text.toUtf8()) >= 0 && file.commit())
        return true;
    if (error)
        *error = file.errorString();
    return false;
}

} // namespace TableExport
