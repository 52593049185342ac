#pragma once

#include <QString>

class UserInterface;

// The save step of the tables' exports in the window: the file the person chooses, with the
// suffix added when the name lacks it. A cancelled choice writes nothing; a failed write is
// logged, as the exports have always done.
namespace ExportPanel {

bool save(UserInterface& ui, const QString& suggestedName, const QString& text);

} // namespace ExportPanel
