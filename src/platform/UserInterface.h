#pragma once

#include <QString>
#include <QStringList>

// Everything the core shows to a person goes through here: the desktop window implements it
// with widgets, the command line with the terminal, tests with a recording fake.
class UserInterface {
  public:
    virtual ~UserInterface() = default;

    // A fixed alert, answered before the call returns: the index of the button chosen.
    virtual int alert(const QString& title, const QString& text, const QStringList& buttons = {"OK"}) = 0;
    // File choice; an empty result means the person cancelled.
    virtual QString chooseSaveFile(const QString& title, const QString& suggestedName) = 0;
    virtual QString chooseOpenFile(const QString& title) = 0;
    // A folder to write into; with no one to ask, none.
    virtual QString chooseFolder(const QString& /*title*/, const QString& /*prompt*/) { return QString(); }

    // Crawl progress: records with a status of all records, and the line that says so.
    virtual void progress(qint64 done, qint64 total, const QString& line) = 0;
    // The progress picture, 0 to 10.
    virtual void progressPicture(int) {}
    // The commands that a crawl allows: after a stop (stopped) or while running.
    virtual void crawlCommandsChanged(bool) {}
    virtual void crawlHasPaused() {}
    virtual void crawlHasContinued() {}
    virtual void crawlDidntGetOffGround() {}
    virtual void reloadView(const QString&) {}
    // The end of a job: show the results of the given action.
    virtual void showResults(int) {}
    virtual void openInBrowser(const QString&) {}
};
