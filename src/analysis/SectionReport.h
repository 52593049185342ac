#pragma once

#include "views/TableExport.h"

#include <QList>
#include <QString>

class kestreliaTableView;

// The frame shared by the section reports of the SEO, spelling and validation tables: a head
// with its counts and the table below it, or the head alone when nothing is wrong.
namespace SectionReport {

// head holds "%i" for each count, in order, and one "%@" for the body.
QString withBody(const QString& head, const QList<int>& counts, const QString& body);
// The same head closed by a blank paragraph in place of "</p>\n%@\n".
QString nothingWrong(const QString& head, const QList<int>& counts);
// The table of a bad report: the rows for which rowAt gives a record, in the form of the plain
// HTML export; rows given as none are left out and do not flip the alternation.
QString badRows(const kestreliaTableView& table, qsizetype rowCount, const TableExport::RowAt& rowAt,
                const TableExport::ColourAt& colourAt);

} // namespace SectionReport
