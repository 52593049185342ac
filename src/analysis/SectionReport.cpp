#include "analysis/SectionReport.h"

#include "views/TableViews.h"

namespace SectionReport {

namespace {

QString fillCounts(QString text, const QList<int>& counts) {
    qsizetype from = 0;
    for (int count : counts) {
        const qsizetype at = text.indexOf(QLatin1String("%i"), from);
        if (at < 0)
            break;
        const QString number = QString::number(count);
        text.replace(at, 2, number);
        from = at + number.size();
    }
    return text;
}

} // namespace

QString withBody(const QString& head, const QList<int>& counts, const QString& body) {
    QString text = fillCounts(head, counts);
    const qsizetype at = text.indexOf(QLatin1String("%@"));
    if (at >= 0)
        text.replace(at, 2, body);
    return text;
}

QString nothingWrong(const QString& head, const QList<int>& counts) {
    QString shortHead = head;
    shortHead.replace(QLatin1String("</p>\n%@\n"), QLatin1String("</p><p>&nbsp;</p>\n"));
    return fillCounts(shortHead, counts);
}

QString badRows(const kestreliaTableView& table, qsizetype rowCount, const TableExport::RowAt& rowAt,
                const TableExport::ColourAt& colourAt) {
    return TableExport::htmlThroughTable(table, rowCount, rowAt, colourAt);
}

} // namespace SectionReport
