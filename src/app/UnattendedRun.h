#pragma once

#include <QString>
#include <QStringList>

class TerminalUserInterface;

// One unattended run of a settings file, as a schedule starts it: a fresh start of the
// program that is handed the file before launching has finished, the crawl of the site it
// stands for to its end, and a regular quit.
class UnattendedRun {
  public:
    // A settings, store or preference file that could not be written ends the run with the
    // same status as a run that could not start: a schedule's log must not read as success.
    enum ExitStatus { NoBadLinks = 0, BadLinks = 1, CouldNotRun = 2, SettingsNotSaved = 2 };

    explicit UnattendedRun(TerminalUserInterface& ui) : ui(ui) {}

    int run(const QString& settingsPath);

    // The closing status line of the crawl, for example "3 of 3 links checked, 1 bad".
    QString getStatusLine() const { return statusLine; }
    // Why nothing was crawled, when run gave CouldNotRun.
    QString getErrorMessage() const { return errorMessage; }
    // Every file the run could not write, as "could not write PATH: REASON"; each was also
    // shown as an alert.
    QStringList getFileFailures() const { return fileFailures; }
    // Set when the file matched no stored site and the selected site was crawled instead.
    QString getWarning() const { return warning; }

  private:
    TerminalUserInterface& ui;
    QString statusLine;
    QString errorMessage;
    QString warning;
    QStringList fileFailures;
};
