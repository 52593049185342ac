#pragma once

#include "platform/UserInterface.h"

#include <QElapsedTimer>
#include <functional>

// The command line's face: alerts and progress go to standard error, questions take their
// default answer, since nobody may be there to answer them.
class TerminalUserInterface : public UserInterface {
  public:
    TerminalUserInterface();

    int alert(const QString& title, const QString& text, const QStringList& buttons = {"OK"}) override;
    QString chooseSaveFile(const QString& title, const QString& suggestedName) override;
    QString chooseOpenFile(const QString& title) override;
    void progress(qint64 done, qint64 total, const QString& line) override;
    void crawlDidntGetOffGround() override { didntGetOffGround = true; }
    void showResults(int action) override;

    // Called when a job has ended and its results are ready.
    std::function<void(int)> onResults;
    bool crawlDidntStart() const { return didntGetOffGround; }
    // Ends the progress line so that what follows starts on a fresh one.
    void finishProgressLine();
    // A line of its own on standard error, in place of the progress line while that is drawn.
    void printLine(const QString& text);
    // Off: no progress at all, for runs that want only the result.
    void setProgressShown(bool shown) { progressShown = shown; }

  private:
    bool interactive;
    bool progressShown = true;
    bool lineOpen = false;
    bool didntGetOffGround = false;
    QElapsedTimer sinceLastLine;
    QString lastLine;
};
