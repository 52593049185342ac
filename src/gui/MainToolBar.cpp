#include "gui/MainToolBar.h"

#include "app/AppDelegate.h"

#include <QLineEdit>
#include <QStyle>

MainToolBar::MainToolBar(AppDelegate& app_, NewUIController& controller_, QWidget* parent)
    : QToolBar("Main", parent), app(app_), controller(controller_) {
    setObjectName("mainToolBar");
    setMovable(false);
    setToolButtonStyle(Qt::ToolButtonTextBesideIcon);

    siteUrl = new QLineEdit;
    siteUrl->setObjectName("toolbarSiteUrl");
    siteUrl->setReadOnly(true);
    siteUrl->setPlaceholderText("No site selected");
    siteUrl->setToolTip("The starting URL of the selected site; change it in the site's settings.");
    siteUrl->setMinimumWidth(320);
    addWidget(siteUrl);
    addSeparator();

    // No keys here: the menus carry them, and a key may belong to one command only.
    start = addAction(style()->standardIcon(QStyle::SP_MediaPlay), "Start", this,
                      [this] { startSelectedTask(); });
    start->setObjectName("toolbarStart");
    start->setToolTip("Crawl the selected site anew for the selected task (Check links unless another task "
                      "has the keyboard focus).");
    pauseOrContinue = addAction(style()->standardIcon(QStyle::SP_MediaPause), "Pause", this, [this] {
        app.go();
        refresh();
    });
    pauseOrContinue->setObjectName("toolbarPause");
    stop = addAction(style()->standardIcon(QStyle::SP_MediaStop), "Stop", this, [this] { stopCrawl(); });
    stop->setObjectName("toolbarStop");
    stop->setToolTip("End the crawl now and show what was found so far.");
    addSeparator();
    exporting = addAction(style()->standardIcon(QStyle::SP_DialogSaveButton), "Export…", this, [this] {
        if (exportResults)
            exportResults();
    });
    exporting->setObjectName("toolbarExport");
    exporting->setToolTip("Export the results on show as CSV.");
}

NewUIController::Task MainToolBar::selectedTask() const {
    if (controller.focusRingShown && controller.taskTabPosition >= 0)
        return NewUIController::goButtonArray.value(controller.taskTabPosition);
    return NewUIController::linksButton;
}

void MainToolBar::startSelectedTask() {
    // Start means a crawl, whatever "Crawl anew" says about reusing the last results.
    controller.newCrawlButtonOn = true;
    controller.pressTaskButton(selectedTask());
    refresh();
}

void MainToolBar::stopCrawl() {
    LinkCheckerHub& hub = app.getHub();
    if (hub.getCrawlState() == LinkCheckerHub::CrawlState::Running)
        hub.stopAndFinish();
    else if (hub.getCrawlState() == LinkCheckerHub::CrawlState::Paused)
        hub.postToCrawl([&hub] { hub.isFinished(); });
    refresh();
}

void MainToolBar::refresh() {
    const KestConfigManager& config = app.getConfigManager();
    const bool siteSelected = config.getSelectedRow() >= 0;
    const QString url = siteSelected ? config.getUrlOfSelectedSite() : QString();
    if (siteUrl->text() != url) {
        siteUrl->setText(url);
        siteUrl->setCursorPosition(0);
    }
    const LinkCheckerHub::CrawlState state = app.getHub().getCrawlState();
    const bool running = state == LinkCheckerHub::CrawlState::Running;
    const bool paused = state == LinkCheckerHub::CrawlState::Paused;
    start->setEnabled(siteSelected && !running);
    const QString title = app.startControlTitle();
    pauseOrContinue->setText(title == "Continue" ? "Continue" : "Pause");
    pauseOrContinue->setIcon(
        style()->standardIcon(title == "Continue" ? QStyle::SP_MediaPlay : QStyle::SP_MediaPause));
    pauseOrContinue->setEnabled(running || title == "Continue");
    stop->setEnabled(running || paused);
    exporting->setEnabled(state == LinkCheckerHub::CrawlState::Finished || paused);
}
