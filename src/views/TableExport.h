#pragma once

#include "views/LabelColours.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

class KestDataObject;
class kestreliaTableView;
class lfOutlineView;

// The generic CSV and HTML forms of a table or an outline. Every field is quoted with no
// escaping, lines end with a carriage return alone, and nothing in the HTML is escaped:
// files written elsewhere from these forms must keep reading the same.
namespace TableExport {

using RowAt = std::function<const KestDataObject*(qsizetype row)>;
using ColourAt = std::function<std::optional<LabelColour>(qsizetype row)>;

QString csvThroughTable(const kestreliaTableView& table, qsizetype rowCount, const RowAt& rowAt);
QString htmlThroughTable(const kestreliaTableView& table, qsizetype rowCount, const RowAt& rowAt,
                         const ColourAt& colourAt);
// The rows of a page table's HTML export: each row as given, none left out, addresses as links
// shortened in the middle.
void appendRows(QString& out, const kestreliaTableView& table, qsizetype rowCount, const RowAt& rowAt,
                const ColourAt& colourAt);
QString csvThroughOutline(const lfOutlineView& outline);
QString htmlThroughOutline(const lfOutlineView& outline);

// One line of quoted fields and its carriage return.
void appendQuotedLine(QString& out, const QStringList& fields, QChar separator = ',');
QString csvHeader(const kestreliaTableView& table, QChar separator = ',');
// "style = background:rgb(r,g,b)" components: 0 to 1 times 255, truncated.
QString rgbText(const LabelColour& colour);
QString truncateURLByAddingElipsisInMiddle(const QString& text);

// The style block that opens the HTML exports of links.
extern const char* const styleBlock;
// The page around an export; the flat report's form keeps a stray closing head tag.
QString wrapPage(const QString& body);
QString wrapPageWithStrayHead(const QString& body);
// The form of the section tables' HTML exports: the body inside the head, which is never closed
// before it.
QString wrapPageInsideHead(const QString& body);

// Writes UTF-8 text in one piece, atomically; on failure says why in error.
bool writeTextAtomically(const QString& path, const QString& text, QString* error = nullptr);

} // namespace TableExport
