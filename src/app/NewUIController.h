#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <functional>

class AppDelegate;
class UserInterface;

// The five steps of the main window as plain state: which step shows, which moves are open,
// whether the next task crawls anew, and where results go. A window draws this state and
// forwards its buttons here; nothing in this class touches a widget.
class NewUIController {
  public:
    // The task buttons of step 3 and the two that only panels press.
    enum Task {
        linksButton,
        sitemapButton,
        SEOButton,
        validationButton,
        spellingButton,
        monitoringButton,
        analysisButton,
        withActionsButton,
        searchPagesStep1Button,
        orphanButton,
        searchPagesButton,
        actionsButton
    };
    // The ten tasks in keyboard order.
    static const QList<Task> goButtonArray;

    NewUIController(AppDelegate& app, UserInterface& ui);
    NewUIController(const NewUIController&) = delete;
    NewUIController& operator=(const NewUIController&) = delete;

    // --- What the window draws.
    QString getSelectedTab() const { return selectedTab; }
    QString getWindowTitle() const { return windowTitle; }
    bool previousButtonEnabled = false;
    bool nextButtonEnabled = false;
    bool haveCrawledSelectedSite = false;
    bool newCrawlButtonOn = true;
    bool newCrawlButtonEnabled = false;
    int taskTabPosition = -1;
    bool focusRingShown = false;
    bool upDownKeysEnabled = false;
    bool goKeyEnabled = false;
    // The new and open commands: off while progress shows.
    bool newAndOpenConnected = true;
    bool spellingButtonEnabled = false;
    // The view in step 5 ("linksResultsView", ...), and the content of each separate results
    // window by kind, for displayTrelliumResults 1.
    QString getResultsView() const { return resultsView; }
    const QMap<QString, QString>& getResultsWindows() const { return resultsWindows; }
    bool partialResultsMenuItemEnabled() const;

    // --- Called by others.
    void chooseStartingPanel();
    void displayResults(int action);
    void crawlHasPaused();
    void crawlHasContinued();
    void crawlHasFinished();
    void crawlDidntGetOffGround();
    void dataDidLoad();
    void siteHasChanged();
    void settingsHaveChanged();
    bool userWantsToOpenOrCreateASite();

    // --- Moves.
    void next();
    void previous();
    void sites();
    void settings();
    void jobSelection();
    void results();
    // Every change of step goes through here: step 2 is saved whenever it is left.
    void selectTabViewItemWithIdentifier(const QString& identifier);
    bool tabViewShouldSelectTabViewItem(const QString& identifier);
    void tabViewDidSelectTabViewItem(const QString& identifier);

    // --- Tasks.
    void handleControl(Task sender);
    // What pressing a task's button does: a task, or the panel that comes before it.
    void pressTaskButton(Task sender);
    void setNewCrawlButton(bool on);
    void partialResultsMenuItem();
    void showOrphanPanel();
    void orphanSheetOK();
    void pageSearchPanelOK() { handleControl(searchPagesButton); }
    // The login switch of the settings: turning it on asks first, and only a "Continue" records
    // the change; turning it off is no change to report. The answer is whether it stays as set.
    bool handleAuthenticationButton(bool on);

    // --- Keyboard.
    void upArrow();
    void downArrow();
    void goKey();
    void disableAllKeys();
    void enableAllKeys();

    // --- Hooks for the window and the jobs still to come; each defaults to nothing.
    std::function<void()> changed; // redraw from the state above
    std::function<void(const QString& kind)> showResultsWindow;
    std::function<void(const QString& kind)> hideResultsWindow;
    std::function<void()> showSchedulePanel;
    std::function<void()> showPageSearchPanel;
    std::function<void()> showMonitoringPanel;
    std::function<void()> showAnalysisPanel;
    std::function<void()> showOrphanDialog;
    std::function<bool()> orphanFtpDetailsCheckOut;
    std::function<bool()> validationWasKickedOff;

    // The kind and step-5 title of the view of an action, "" for an action without a view.
    static QString resultsViewForAction(int action);
    static QString titleFormatForAction(int action);

  private:
    QString siteName() const;
    void startWith(int action);
    void takeAction(int action);
    void setMoves(int previous, int next); // -1 leaves a button as it is
    void notify();

    AppDelegate& app;
    UserInterface& ui;
    QString selectedTab;
    QString windowTitle;
    QString resultsView = "linksResultsView";
    QMap<QString, QString> resultsWindows;
};
