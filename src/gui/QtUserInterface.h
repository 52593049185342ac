#pragma once

#include "platform/UserInterface.h"

#include <QElapsedTimer>
#include <QObject>
#include <QStringList>
#include <QTimer>
#include <functional>

class QWidget;

// The core's user interface drawn with Qt Widgets: message boxes, file dialogs, and progress
// that reaches the window at most four times a second however fast the crawl reports it.
class QtUserInterface : public QObject, public UserInterface {
    Q_OBJECT
  public:
    explicit QtUserInterface(QObject* parent = nullptr);

    void setParentWidget(QWidget* widget) { parentWidget = widget; }

    int alert(const QString& title, const QString& text, const QStringList& buttons = {"OK"}) override;
    QString chooseSaveFile(const QString& title, const QString& suggestedName) override;
    // The save dialog's filter for the kind of file suggested ("CSV files (*.csv)" for a .csv),
    // then all files; none for a name without a known extension.
    static QString saveFilterFor(const QString& suggestedName);
    QString chooseOpenFile(const QString& title) override;
    // A folder, for the prompts that ask for one.
    QString chooseFolder(const QString& title);
    QString chooseFolder(const QString& title, const QString&) override { return chooseFolder(title); }

    void progress(qint64 done, qint64 total, const QString& line) override;
    void progressPicture(int) override {}
    void crawlCommandsChanged(bool stopped) override;
    void crawlHasPaused() override;
    void crawlHasContinued() override;
    void crawlDidntGetOffGround() override;
    void reloadView(const QString& view) override;
    void showResults(int action) override;
    void openInBrowser(const QString& url) override;

    // Answers given ahead of the question, taken first in first out, for runs without a person
    // at the keyboard (the window's own tests among them). An alert answer is a button index.
    QList<int> answersAhead;
    QStringList filesAhead;

    // The window's side.
    std::function<void(qint64, qint64, const QString&)> onProgress;
    std::function<void(bool)> onCrawlCommandsChanged;
    std::function<void()> onCrawlHasPaused;
    std::function<void()> onCrawlHasContinued;
    std::function<void()> onCrawlDidntGetOffGround;
    std::function<void(const QString&)> onReloadView;
    std::function<void(int)> onShowResults;

  private:
    void flushProgress();

    QWidget* parentWidget = nullptr;
    QElapsedTimer sinceProgress;
    QTimer progressTimer;
    qint64 pendingDone = 0, pendingTotal = 0;
    QString pendingLine;
    bool progressPending = false;
};
