#include "app/NewUIController.h"

#include "app/AppDelegate.h"
#include "platform/UserInterface.h"

#include <QtDebug>

const QList<NewUIController::Task> NewUIController::goButtonArray = {
    linksButton,      sitemapButton,  SEOButton,         validationButton,       spellingButton,
    monitoringButton, analysisButton, withActionsButton, searchPagesStep1Button, orphanButton};

NewUIController::NewUIController(AppDelegate& app_, UserInterface& ui_) : app(app_), ui(ui_) {
    KestConfigManager& config = app.getConfigManager();
    config.settingsHaveChanged = [this] { settingsHaveChanged(); };
    config.siteHasChanged = [this] { siteHasChanged(); };
    config.addNewSiteSelectedObserver([this] { siteHasChanged(); });
    app.chooseStartingPanel = [this] { chooseStartingPanel(); };
    app.selectTabViewItemWithIdentifier = [this](const QString& id) {
        if (id == "4")
            setMoves(0, 0);
        selectTabViewItemWithIdentifier(id);
    };
}

QString NewUIController::siteName() const {
    return app.getConfigManager().getNameOfSelectedSite();
}

void NewUIController::notify() {
    if (changed)
        changed();
}

void NewUIController::setMoves(int previous, int next) {
    if (previous >= 0)
        previousButtonEnabled = previous;
    if (next >= 0)
        nextButtonEnabled = next;
}

// ---------------------------------------------------------------- steps

bool NewUIController::tabViewShouldSelectTabViewItem(const QString&) {
    if (selectedTab == "2")
        app.getConfigManager().saveMenuItem();
    return true;
}

void NewUIController::tabViewDidSelectTabViewItem(const QString& id) {
    newAndOpenConnected = id != "4";
    if (id == "1") {
        windowTitle = "sites";
        upDownKeysEnabled = false;
        goKeyEnabled = false;
    } else {
        upDownKeysEnabled = true;
        goKeyEnabled = true;
    }
    if (id == "2")
        windowTitle = QString("%1 : settings").arg(siteName());
    else if (id == "3")
        windowTitle = QString("%1 : tasks").arg(siteName());
    else if (id == "4")
        windowTitle = QString("%1 : scanning").arg(siteName());
    if (id == "3") {
        const KestConfigManager& config = app.getConfigManager();
        spellingButtonEnabled = config.flagForKey("checkSpelling") || config.flagForKey("checkGrammar");
    }
}

void NewUIController::selectTabViewItemWithIdentifier(const QString& id) {
    if (id == selectedTab) {
        notify();
        return;
    }
    if (!tabViewShouldSelectTabViewItem(id))
        return;
    selectedTab = id;
    tabViewDidSelectTabViewItem(id);
    notify();
}

void NewUIController::chooseStartingPanel() {
    if (app.getConfigManager().didOpenSettings() || !app.getAutoStart().isEmpty())
        return;
    if (app.getConfigManager().getSelectedRow() < 0) {
        setMoves(0, 0);
        selectTabViewItemWithIdentifier("1");
    } else {
        setMoves(1, 0);
        selectTabViewItemWithIdentifier("3");
    }
}

void NewUIController::next() {
    if (selectedTab == "1") {
        setMoves(1, -1);
        selectTabViewItemWithIdentifier("2");
    } else if (selectedTab == "2") {
        setMoves(-1, 0);
        selectTabViewItemWithIdentifier("3");
    }
}

void NewUIController::previous() {
    if (selectedTab == "2") {
        setMoves(0, -1);
        selectTabViewItemWithIdentifier("1");
    } else if (selectedTab == "3") {
        setMoves(-1, 1);
        selectTabViewItemWithIdentifier("2");
    } else if (selectedTab == "4") {
        selectTabViewItemWithIdentifier("3");
    } else if (selectedTab == "5") {
        const LinkCheckerHub& hub = app.getHub();
        selectTabViewItemWithIdentifier(hub.stopPressed() && !hub.isCrawlFinished() ? "4" : "3");
    }
}

void NewUIController::sites() {
    if (selectedTab == "1")
        return;
    setMoves(0, 1);
    selectTabViewItemWithIdentifier("1");
}

void NewUIController::settings() {
    if (selectedTab == "2")
        return;
    setMoves(1, 1);
    selectTabViewItemWithIdentifier("2");
}

void NewUIController::jobSelection() {
    if (selectedTab == "3")
        return;
    setMoves(1, 0);
    selectTabViewItemWithIdentifier("3");
}

void NewUIController::results() {
    if (selectedTab == "5")
        return;
    setMoves(1, 0);
    selectTabViewItemWithIdentifier("5");
}

bool NewUIController::userWantsToOpenOrCreateASite() {
    setMoves(0, 1);
    selectTabViewItemWithIdentifier("1");
    return true;
}

// ---------------------------------------------------------------- crawl state

void NewUIController::siteHasChanged() {
    haveCrawledSelectedSite = false;
    newCrawlButtonEnabled = false;
    newCrawlButtonOn = true;
    const KestConfigManager& config = app.getConfigManager();
    nextButtonEnabled = config.store().displayRowOfIndex(config.getSelectedRow()) >= 0;
    notify();
}

void NewUIController::settingsHaveChanged() {
    newCrawlButtonOn = true;
    notify();
}

void NewUIController::crawlHasFinished() {
    haveCrawledSelectedSite = true;
    newCrawlButtonEnabled = true;
    newCrawlButtonOn = false;
    if (app.getPreferences().intValue("displayTrelliumResults") == 1)
        selectTabViewItemWithIdentifier("3");
    notify();
}

void NewUIController::dataDidLoad() {
    haveCrawledSelectedSite = true;
    newCrawlButtonEnabled = true;
    newCrawlButtonOn = false;
    selectTabViewItemWithIdentifier("3");
}

void NewUIController::crawlDidntGetOffGround() {
    haveCrawledSelectedSite = true;
    newCrawlButtonEnabled = false;
    newCrawlButtonOn = true;
    selectTabViewItemWithIdentifier("3");
}

void NewUIController::crawlHasPaused() {
    if (selectedTab == "4")
        setMoves(1, 0);
    notify();
}

void NewUIController::crawlHasContinued() {
    setMoves(0, 0);
    selectTabViewItemWithIdentifier("4");
}

// ---------------------------------------------------------------- tasks

void NewUIController::setNewCrawlButton(bool on) {
    if (newCrawlButtonEnabled)
        newCrawlButtonOn = on;
    notify();
}

void NewUIController::startWith(int action) {
    setMoves(0, 0);
    selectTabViewItemWithIdentifier("4");
    LinkCheckerHub& hub = app.getHub();
    hub.setActionWhenFinished(action);
    // The control reads "Go" from here on, so a paused crawl that waits is not continued.
    if (app.getConfigManager().setCrawlButtonTitle)
        app.getConfigManager().setCrawlButtonTitle("Go");
    if (hub.getCrawlState() == LinkCheckerHub::CrawlState::Running)
        hub.go("Go");
    else
        app.go();
}

void NewUIController::takeAction(int action) {
    ui.showResults(action);
}

void NewUIController::handleControl(Task sender) {
    const bool fresh = newCrawlButtonOn;
    switch (sender) {
    case linksButton:
        fresh ? startWith(1) : takeAction(1);
        break;
    case sitemapButton:
        fresh ? startWith(2) : takeAction(2);
        break;
    case SEOButton:
        fresh ? startWith(3) : takeAction(3);
        break;
    case validationButton:
        if (fresh) {
            startWith(18);
        } else if (validationWasKickedOff && validationWasKickedOff()) {
            qInfo("just showing results");
            takeAction(18);
        } else {
            qInfo("kicking off validation");
            takeAction(5);
        }
        break;
    case spellingButton:
        fresh ? startWith(8) : takeAction(8);
        break;
    case orphanButton:
        if (fresh) {
            startWith(10);
        } else {
            setMoves(0, 0);
            selectTabViewItemWithIdentifier("4");
            takeAction(10);
        }
        break;
    case withActionsButton:
        startWith(6);
        break;
    case searchPagesButton:
    case searchPagesStep1Button:
        startWith(7);
        break;
    case actionsButton:
        settings();
        if (showSchedulePanel)
            showSchedulePanel();
        break;
    case monitoringButton:
    case analysisButton:
        break;
    }
}

void NewUIController::pressTaskButton(Task sender) {
    switch (sender) {
    case monitoringButton:
        if (showMonitoringPanel)
            showMonitoringPanel();
        break;
    case analysisButton:
        if (showAnalysisPanel)
            showAnalysisPanel();
        break;
    case searchPagesStep1Button:
        if (showPageSearchPanel)
            showPageSearchPanel();
        break;
    case orphanButton:
        showOrphanPanel();
        break;
    default:
        handleControl(sender);
    }
}

void NewUIController::showOrphanPanel() {
    KestConfigManager& config = app.getConfigManager();
    if (!config.flagForKey("followQuerystring")) {
        const int answer = ui.alert(
            "Ignore querystrings",
            "In your settings for this site, 'Ignore querystrings' is not set. The orphaned pages search "
            "can't work without this being set. Would you like to continue with 'Ignore querystrings' "
            "checked, or Cancel?",
            {"Cancel", "Continue"});
        if (answer == 0)
            return;
    }
    config.setValueForKey("followQuerystring", "YES");
    if (showOrphanDialog)
        showOrphanDialog();
}

void NewUIController::orphanSheetOK() {
    if (orphanFtpDetailsCheckOut && orphanFtpDetailsCheckOut())
        handleControl(orphanButton);
}

// The question belongs to the hub; the form wants to know whether its change stands.
bool NewUIController::handleAuthenticationButton(bool on) {
    const bool isOn = app.getHub().handleAuthenticationButton(on);
    return !on || isOn;
}

bool NewUIController::partialResultsMenuItemEnabled() const {
    const LinkCheckerHub& hub = app.getHub();
    return hub.stopPressed() && !hub.isCrawlFinished();
}

void NewUIController::partialResultsMenuItem() {
    if (!partialResultsMenuItemEnabled())
        return;
    resultsView = resultsViewForAction(1);
    windowTitle = titleFormatForAction(1).arg(siteName());
    if (hideResultsWindow)
        hideResultsWindow(resultsView);
    setMoves(1, 0);
    selectTabViewItemWithIdentifier("5");
}

// ---------------------------------------------------------------- results

QString NewUIController::resultsViewForAction(int action) {
    switch (action) {
    case 1:
        return "linksResultsView";
    case 2:
    case 7:
        return "sitemapResultsView";
    case 8:
        return "spellingResultsView";
    case 3:
        return "seoResultsView";
    case 5:
    case 18:
        return "validationResultsView";
    case 10:
        return "orphanResultsView";
    default:
        return "";
    }
}

QString NewUIController::titleFormatForAction(int action) {
    switch (action) {
    case 1:
        return "%1 : links";
    case 2:
    case 7:
        return "%1 : sitemap";
    case 8:
        return "%1 : spelling & grammar";
    case 3:
        return "%1 : SEO";
    case 5:
    case 18:
        return "%1 : HTML Validation";
    case 10:
        return "%1 : orphaned pages";
    default:
        return "";
    }
}

void NewUIController::displayResults(int action) {
    const QString view = resultsViewForAction(action);
    if (!view.isEmpty()) {
        if (app.getPreferences().intValue("displayTrelliumResults") == 0) {
            resultsView = view;
            windowTitle = titleFormatForAction(action).arg(siteName());
            if (hideResultsWindow)
                hideResultsWindow(view);
            setMoves(1, 0);
            if (selectedTab == "5")
                notify();
            selectTabViewItemWithIdentifier("5");
        } else {
            // The separate orphan window shows the spelling view: kept as it always was.
            resultsWindows[view] = action == 10 ? QString("spellingResultsView") : view;
            if (showResultsWindow)
                showResultsWindow(view);
        }
    }
    crawlHasFinished();
}

// ---------------------------------------------------------------- keyboard

void NewUIController::upArrow() {
    if (!upDownKeysEnabled)
        return;
    const int n = int(goButtonArray.size());
    taskTabPosition = taskTabPosition <= 0 ? n - 1 : taskTabPosition - 1;
    focusRingShown = true;
    notify();
}

void NewUIController::downArrow() {
    if (!upDownKeysEnabled)
        return;
    const int n = int(goButtonArray.size());
    taskTabPosition = taskTabPosition < 0 || taskTabPosition >= n - 1 ? 0 : taskTabPosition + 1;
    focusRingShown = true;
    notify();
}

void NewUIController::goKey() {
    if (!goKeyEnabled || !focusRingShown || selectedTab != "3" || taskTabPosition < 0)
        return;
    focusRingShown = false;
    pressTaskButton(goButtonArray[taskTabPosition]);
    notify();
}

void NewUIController::disableAllKeys() {
    upDownKeysEnabled = false;
    goKeyEnabled = false;
}

void NewUIController::enableAllKeys() {
    goKeyEnabled = true;
    upDownKeysEnabled = selectedTab != "1";
}
