#pragma once

class QAbstractItemView;
class ResultsView;

// The context menu of the link views: open the link or the page it is on in the browser,
// copy either, inspect the record. Each command acts on the view's current row and does
// nothing on a row that has no such URL.
void installResultsContextMenu(QAbstractItemView* view, ResultsView& results);
