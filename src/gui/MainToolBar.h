#pragma once

#include "app/NewUIController.h"

#include <QToolBar>
#include <functional>

class AppDelegate;
class QLineEdit;

// The commands a webmaster looks for first, above the steps: the selected site's URL, Start
// (the selected task), Pause or Continue, Stop and Export. It holds no state of its own; the
// window calls refresh() whenever the crawl or the selection changes.
class MainToolBar : public QToolBar {
    Q_OBJECT
  public:
    MainToolBar(AppDelegate& app, NewUIController& controller, QWidget* parent = nullptr);

    void refresh();
    // The task that Start presses: the one the keyboard is on in the tasks step, else links.
    NewUIController::Task selectedTask() const;

    // Export of the results on show, supplied by the window.
    std::function<void()> exportResults;

    QAction* startAction() const { return start; }
    QAction* pauseAction() const { return pauseOrContinue; }
    QAction* stopAction() const { return stop; }
    QAction* exportAction() const { return exporting; }

  private:
    void startSelectedTask();
    void stopCrawl();

    AppDelegate& app;
    NewUIController& controller;
    QLineEdit* siteUrl = nullptr;
    QAction* start = nullptr;
    QAction* pauseOrContinue = nullptr;
    QAction* stop = nullptr;
    QAction* exporting = nullptr;
};
