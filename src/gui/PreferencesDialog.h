#pragma once

#include <QDialog>
#include <functional>

class Preferences;

// The global preferences. Each change goes into the running preferences at once; they are
// written to disk at quit, with everything else.
class PreferencesDialog : public QDialog {
    Q_OBJECT
  public:
    PreferencesDialog(Preferences& preferences, QWidget* parent = nullptr);
    // Called after a change that the link views show: colours, page titles.
    std::function<void()> changed;

  private:
    Preferences& preferences;
};
