#pragma once

#include <QString>
#include <optional>

class QWidget;

// What the user arranged in the window, kept between runs in the preferences file under a
// group of its own: the size and place of a window, the positions of its splitters (each
// known by its object name) and the width of each column of the link views (known by view and
// column identifier, so a width survives columns being switched on and off).
namespace WindowMemory {

void saveGeometry(const QWidget& window);
bool restoreGeometry(QWidget& window);
void saveSplitters(const QWidget& root);
void restoreSplitters(QWidget& root);

std::optional<int> columnWidth(const QString& view, const QString& identifier);
void setColumnWidth(const QString& view, const QString& identifier, int width);

} // namespace WindowMemory
