#pragma once

#include "views/TableViews.h"

#include <QList>
#include <QVariant>

class LinkCheckerUrl;
class Preferences;

// Columns of the link views beyond the classic ones: the numeric code, the response time, the
// kind of content, the size, the page title and the pages linking in. Each view has its own
// switches, all off until the user turns them on; they show in the window only, never in an
// export, so the exported forms stay as they are.
namespace ExtraColumns {

struct Column {
    const char* identifier;
    const char* title;
    const char* key; // the switch's preference key after the view's prefix
    bool numeric;
};
const QList<Column>& all();

// View names: "ByLink" or "Flat". The preference key of a column's switch in that view.
QString preferenceKey(const QString& view, const Column& column);
QList<TableColumn> shown(const Preferences& preferences, const QString& view);
bool isExtra(const QString& identifier);

// The cell's text for a record; "" where the record has no such value yet.
QString text(const LinkCheckerUrl& record, const QString& identifier);
// The value a sort compares: numbers for the numeric columns, text otherwise.
QVariant sortValue(const LinkCheckerUrl& record, const QString& identifier);

} // namespace ExtraColumns
