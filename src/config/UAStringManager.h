#pragma once

#include <QList>
#include <QPair>
#include <QString>

class Preferences;

// The user-agent menu: fixed titles with their agent strings. Choosing one copies its string
// into the preferences' agent text, which stays freely editable; the menu keeps no selection.
class UAStringManager {
  public:
    explicit UAStringManager(Preferences& preferences) : preferences(preferences) {}

    // Title and agent string of each item, in menu order.
    static const QList<QPair<QString, QString>>& agents();
    // The titles, for a menu to show.
    QStringList populateMenu() const;
    // Copies the agent of the titled item into `userAgentString`; an unknown title does nothing.
    bool itemSelected(const QString& title);

  private:
    Preferences& preferences;
};
