// The five steps of the main window, driven without a window: sites are local pages, so the
// crawls that some tasks start need no server.
#include "app/AppDelegate.h"
#include "app/NewUIController.h"
#include "config/SiteStore.h"
#include "platform/Plist.h"
#include "support/RecordingUserInterface.h"
#include "support/TempHome.h"

#include "support/CrawlFixture.h"
#include "support/QtPrinting.h"
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QUrl>

#include <gtest/gtest.h>
#include <memory>
#include <optional>

namespace {

// Records the buttons each alert offers.
struct ButtonRecordingUserInterface : RecordingUserInterface {
    int alert(const QString& title, const QString& text, const QStringList& buttons) override {
        alertButtons.append(buttons);
        return RecordingUserInterface::alert(title, text, buttons);
    }
    QList<QStringList> alertButtons;
};

class NewUIControllerTest : public testing::Test {
  protected:
    TempHome home;
    ButtonRecordingUserInterface ui;
    std::unique_ptr<AppDelegate> app;
    std::unique_ptr<NewUIController> controller;
    QString pageA;

    void SetUp() override {
        pageA = writePage("a.html");
        QDir().mkpath(SiteStore::storePath());
        ASSERT_TRUE(Plist::writeFile(SiteStore::pathForFilename("a"), {{"url", pageA}, {"name", "A"}}));
        ASSERT_TRUE(Plist::writeFile(SiteStore::pathForFilename("b"), {{"url", pageA}, {"name", "B"}}));
    }

    QString writePage(const QString& name) {
        const QString path = home.path() + "/pages/" + name;
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(
            "<html><head><title>t</title></head><body><a href=\"missing.html\">gone</a></body></html>");
        return QUrl::fromLocalFile(path).toString();
    }

    // Starts the program as the window does, with "a" selected unless told otherwise; a settings
    // file given is handed over while launching, as a scheduled start does.
    void start(const QString& selected = "a", bool withSettingsFile = false) {
        Preferences().setValueAndStore("newUISelectedFilename", selected);
        app = std::make_unique<AppDelegate>(ui);
        controller = std::make_unique<NewUIController>(*app, ui);
        ui.onResults = [this](int action) { controller->displayResults(action); };
        app->awakeFromNib();
        if (withSettingsFile) {
            const QString scan = SiteStore::pathForFilename("Trellium5ScanA.lcsettings");
            EXPECT_TRUE(Plist::writeFile(scan, {{"url", pageA}}));
            app->applicationOpenFile(scan);
        }
        app->applicationDidFinishLaunching();
    }

    KestConfigManager& config() { return app->getConfigManager(); }
    LinkCheckerHub& hub() { return app->getHub(); }

    // Runs the event loop until the crawl's results have been shown.
    bool runToResults() {
        const qsizetype shown = ui.results.size();
        return spinUntil([&] { return ui.results.size() > shown; }) && hub().isCrawlFinished();
    }

    // Puts the window on a step by the user's own route.
    void goToStep(const QString& step) {
        controller->sites();
        if (step == "1")
            return;
        controller->next();
        if (step == "2")
            return;
        controller->next();
        if (step == "5")
            controller->results();
        if (step == "4")
            controller->selectTabViewItemWithIdentifier("4");
    }

    // Presses the control, or sends the event, of that name.
    void press(const QString& event) {
        static const QHash<QString, void (NewUIController::*)()> events = {
            {"next", &NewUIController::next},
            {"previous", &NewUIController::previous},
            {"sites", &NewUIController::sites},
            {"settings", &NewUIController::settings},
            {"jobSelection", &NewUIController::jobSelection},
            {"results", &NewUIController::results},
            {"continued", &NewUIController::crawlHasContinued}};
        if (event == "open") {
            EXPECT_TRUE(controller->userWantsToOpenOrCreateASite());
        } else {
            ASSERT_TRUE(events.contains(event)) << event.toStdString();
            (*controller.*events.value(event))();
        }
    }

    std::pair<bool, bool> moves() const {
        return {controller->previousButtonEnabled, controller->nextButtonEnabled};
    }
    // Whether the site has results, and the new-crawl choice's enabled and on states.
    std::tuple<bool, bool, bool> crawlChoice() const {
        return {controller->haveCrawledSelectedSite, controller->newCrawlButtonEnabled,
                controller->newCrawlButtonOn};
    }
};

} // namespace

// A settings file handed over at launch leaves the step to the unattended start: progress.
TEST_F(NewUIControllerTest, StartingPanel) {
    struct Row {
        const char* selected;
        bool withSettingsFile;
        const char* tab;
        std::pair<bool, bool> moves;
        const char* title;
    };
    for (const Row& row :
         {Row{"a", false, "3", {true, false}, "A : tasks"}, Row{"", false, "1", {false, false}, "sites"},
          Row{"a", true, "4", {false, false}, "A : scanning"}}) {
        SCOPED_TRACE(std::string(row.selected) + (row.withSettingsFile ? " with a settings file" : ""));
        start(row.selected, row.withSettingsFile);
        EXPECT_EQ(controller->getSelectedTab(), row.tab);
        EXPECT_EQ(moves(), row.moves);
        EXPECT_EQ(controller->getWindowTitle(), row.title);
        EXPECT_EQ(controller->newAndOpenConnected, !row.withSettingsFile);
        EXPECT_TRUE(!row.withSettingsFile || runToResults());
        app.reset();
    }
}

TEST_F(NewUIControllerTest, TransitionsOfTheSteps) {
    struct Row {
        const char* from;
        const char* event;
        const char* to;
        std::pair<bool, bool> movesBefore; // the buttons are set to these before the event
        std::pair<bool, bool> movesAfter;
    };
    const Row rows[] = {
        {"1", "next", "2", {false, true}, {true, true}},
        {"1", "next", "2", {false, false}, {true, false}},
        {"2", "next", "3", {true, true}, {true, false}},
        {"2", "next", "3", {false, true}, {false, false}},
        {"2", "previous", "1", {true, true}, {false, true}},
        {"2", "previous", "1", {true, false}, {false, false}},
        {"3", "previous", "2", {true, false}, {true, true}},
        {"3", "previous", "2", {false, false}, {false, true}},
        {"4", "previous", "3", {true, false}, {true, false}},
        {"5", "previous", "3", {true, false}, {true, false}},
        {"2", "sites", "1", {true, false}, {false, true}},
        {"5", "sites", "1", {true, false}, {false, true}},
        {"1", "settings", "2", {false, false}, {true, true}},
        {"4", "settings", "2", {false, false}, {true, true}},
        {"1", "jobSelection", "3", {false, true}, {true, false}},
        {"5", "jobSelection", "3", {false, true}, {true, false}},
        {"1", "results", "5", {false, true}, {true, false}},
        {"3", "results", "5", {false, true}, {true, false}},
        {"3", "open", "1", {true, false}, {false, true}},
        {"4", "open", "1", {true, false}, {false, true}},
        {"5", "continued", "4", {true, true}, {false, false}},
        // Moves to the step that shows change nothing.
        {"1", "sites", "1", {true, false}, {true, false}},
        {"2", "settings", "2", {false, false}, {false, false}},
        {"3", "jobSelection", "3", {false, true}, {false, true}},
        {"5", "results", "5", {false, true}, {false, true}},
    };
    start("a");
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.from) + " " + row.event);
        goToStep(row.from);
        ASSERT_EQ(controller->getSelectedTab(), row.from);
        controller->previousButtonEnabled = row.movesBefore.first;
        controller->nextButtonEnabled = row.movesBefore.second;
        press(row.event);
        EXPECT_EQ(controller->getSelectedTab(), row.to);
        EXPECT_EQ(moves(), row.movesAfter);
    }
}

// Entering a step: the title, keys, the new and open commands, and the spelling task.
TEST_F(NewUIControllerTest, EnteringAStep) {
    start("a");
    struct Row {
        const char* step;
        const char* title; // nullptr: the results keep the title they had
        bool keys;
        bool newAndOpen;
    };
    for (const Row& row : {Row{"1", "sites", false, true}, Row{"2", "A : settings", true, true},
                           Row{"3", "A : tasks", true, true}, Row{"4", "A : scanning", true, false},
                           Row{"5", nullptr, true, true}}) {
        SCOPED_TRACE(row.step);
        goToStep(row.step);
        if (row.title) {
            EXPECT_EQ(controller->getWindowTitle(), row.title);
        }
        EXPECT_EQ(controller->upDownKeysEnabled, row.keys);
        EXPECT_EQ(controller->goKeyEnabled, row.keys);
        EXPECT_EQ(controller->newAndOpenConnected, row.newAndOpen);
    }

    for (const auto& [spelling, grammar, enabled] :
         {std::tuple{"NO", "NO", false}, {"YES", "NO", true}, {"NO", "YES", true}}) {
        goToStep("2");
        config().setValueForKey("checkSpelling", spelling);
        config().setValueForKey("checkGrammar", grammar);
        controller->next();
        EXPECT_EQ(controller->spellingButtonEnabled, enabled) << spelling << grammar;
    }
}

// From step 2 both next and previous save the site first; other moves save as well.
TEST_F(NewUIControllerTest, LeavingSettingsSaves) {
    start("a");
    auto stored = [] { return Plist::readFile(SiteStore::pathForFilename("a")).value("timeOut").toString(); };
    for (const char* move : {"next", "previous", "results"}) {
        SCOPED_TRACE(move);
        goToStep("2");
        const QString value = QString::number(QString(move).size() + 3);
        config().changeSetting("timeOut", value);
        ASSERT_TRUE(config().isDocumentEdited());
        EXPECT_NE(stored(), value);
        press(move);
        EXPECT_EQ(stored(), value);
        EXPECT_FALSE(config().isDocumentEdited());
    }
    // Leaving another step writes nothing.
    goToStep("3");
    config().setValueForKey("timeOut", "99");
    controller->results();
    controller->previous();
    EXPECT_NE(stored(), "99");
}

TEST_F(NewUIControllerTest, CrawlStateOnTheTaskStep) {
    start("a");
    // A site was selected at start: no results yet.
    EXPECT_EQ(crawlChoice(), std::make_tuple(false, false, true));
    controller->setNewCrawlButton(false);
    EXPECT_TRUE(controller->newCrawlButtonOn) << "the choice is not open without results";

    controller->crawlHasFinished();
    EXPECT_EQ(crawlChoice(), std::make_tuple(true, true, false));
    controller->settingsHaveChanged();
    EXPECT_EQ(crawlChoice(), std::make_tuple(true, true, true));
    controller->crawlDidntGetOffGround();
    EXPECT_EQ(crawlChoice(), std::make_tuple(true, false, true));
    EXPECT_EQ(controller->getSelectedTab(), "3");
    goToStep("1");
    controller->dataDidLoad();
    EXPECT_EQ(crawlChoice(), std::make_tuple(true, true, false));
    EXPECT_EQ(controller->getSelectedTab(), "3");

    // Selecting another site makes the choice unavailable until a crawl is done.
    ASSERT_TRUE(config().selectSiteWithFilename("b"));
    EXPECT_EQ(crawlChoice(), std::make_tuple(false, false, true));
    EXPECT_TRUE(controller->nextButtonEnabled);

    // A search that hides the selected row closes Next.
    config().filter("no such site");
    EXPECT_FALSE(controller->nextButtonEnabled);
    config().filter("");
    EXPECT_TRUE(controller->nextButtonEnabled);
}

// The links task crawls, then shows the existing data at once while the choice is off; a
// change of settings proposes a new crawl, and switching back shows the old data.
TEST_F(NewUIControllerTest, LinksTaskCrawlsOnlyWhenAsked) {
    start("a");
    controller->handleControl(NewUIController::linksButton);
    EXPECT_EQ(controller->getSelectedTab(), "4");
    EXPECT_EQ(moves(), std::make_pair(false, false));
    EXPECT_EQ(hub().getActionWhenFinished(), 1);
    ASSERT_TRUE(runToResults());
    EXPECT_EQ(ui.results, QList<int>{1});
    EXPECT_EQ(controller->getSelectedTab(), "5");
    EXPECT_EQ(controller->getWindowTitle(), "A : links");
    EXPECT_FALSE(controller->newCrawlButtonOn);
    const qsizetype records = hub().count();
    ASSERT_EQ(records, 2);

    struct Step {
        const char* what;
        bool changeSetting;
        bool switchBack;
        bool crawls;
    };
    for (const Step& step : {Step{"no change", false, false, false}, Step{"changed", true, false, true},
                             Step{"changed, switched back", true, true, false}}) {
        SCOPED_TRACE(step.what);
        ui.results.clear();
        controller->jobSelection();
        if (step.changeSetting)
            config().changeSetting("checkImages", config().flagForKey("checkImages") ? "NO" : "YES");
        if (step.switchBack)
            controller->setNewCrawlButton(false);
        EXPECT_EQ(controller->newCrawlButtonOn, step.crawls);
        controller->handleControl(NewUIController::linksButton);
        if (step.crawls) {
            EXPECT_EQ(controller->getSelectedTab(), "4");
            EXPECT_NE(hub().getCrawlState(), LinkCheckerHub::CrawlState::Finished);
            ASSERT_TRUE(runToResults());
        } else {
            EXPECT_EQ(hub().getCrawlState(), LinkCheckerHub::CrawlState::Finished);
        }
        EXPECT_EQ(ui.results, QList<int>{1});
        EXPECT_EQ(controller->getSelectedTab(), "5");
    }
}

// With a paused crawl, previous from step 5 goes back to progress, not to the tasks.
TEST_F(NewUIControllerTest, PreviousFromResultsWhilePaused) {
    start("a");
    controller->handleControl(NewUIController::linksButton);
    hub().stop();
    controller->crawlHasPaused();
    EXPECT_EQ(controller->getSelectedTab(), "4");
    EXPECT_EQ(moves(), std::make_pair(true, false));
    EXPECT_TRUE(controller->partialResultsMenuItemEnabled());
    controller->partialResultsMenuItem();
    EXPECT_EQ(controller->getSelectedTab(), "5");
    EXPECT_EQ(controller->getResultsView(), "linksResultsView");
    EXPECT_FALSE(controller->haveCrawledSelectedSite) << "partial results are not a finish";
    controller->previous();
    EXPECT_EQ(controller->getSelectedTab(), "4");

    // A paused crawl is replaced by a new one when a task starts.
    controller->jobSelection();
    controller->handleControl(NewUIController::linksButton);
    ASSERT_TRUE(runToResults());
    controller->previous();
    EXPECT_EQ(controller->getSelectedTab(), "3");
    EXPECT_FALSE(controller->partialResultsMenuItemEnabled());
}

// Each action's results: which task takes it on existing results when the new-crawl choice is
// off (none starts a crawl), and where its results go, in the main window or in a window of their own.
TEST_F(NewUIControllerTest, ResultsByAction) {
    using T = NewUIController;
    struct Row {
        std::optional<NewUIController::Task> task;
        bool validationKickedOff;
        int action;
        const char* view;
        const char* title;
        const char* windowContent; // nullptr: the view itself
    };
    const Row rows[] = {
        {T::linksButton, false, 1, "linksResultsView", "A : links", nullptr},
        {T::sitemapButton, false, 2, "sitemapResultsView", "A : sitemap", nullptr},
        {std::nullopt, false, 7, "sitemapResultsView", "A : sitemap", nullptr},
        {T::spellingButton, false, 8, "spellingResultsView", "A : spelling & grammar", nullptr},
        {T::SEOButton, false, 3, "seoResultsView", "A : SEO", nullptr},
        {T::validationButton, false, 5, "validationResultsView", "A : HTML Validation", nullptr},
        {T::validationButton, true, 18, "validationResultsView", "A : HTML Validation", nullptr},
        {T::orphanButton, false, 10, "orphanResultsView", "A : orphaned pages", "spellingResultsView"},
    };
    start("a");
    bool kickedOff = false;
    controller->validationWasKickedOff = [&] { return kickedOff; };
    QStringList shown, hidden;
    controller->showResultsWindow = [&](const QString& kind) { shown.append(kind); };
    controller->hideResultsWindow = [&](const QString& kind) { hidden.append(kind); };
    Preferences& preferences = app->getPreferences();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.action);
        preferences.setValue("displayTrelliumResults", "0");
        if (row.task) {
            controller->crawlHasFinished();
            controller->jobSelection();
            kickedOff = row.validationKickedOff;
            ui.results.clear();
            controller->handleControl(*row.task);
            EXPECT_EQ(ui.results, QList<int>{row.action});
            EXPECT_EQ(hub().getCrawlState(), LinkCheckerHub::CrawlState::Idle);
        } else {
            goToStep("2");
            controller->displayResults(row.action);
        }
        EXPECT_EQ(controller->getSelectedTab(), "5");
        EXPECT_EQ(controller->getResultsView(), row.view);
        EXPECT_EQ(controller->getWindowTitle(), row.title);
        EXPECT_EQ(hidden.last(), row.view);
        EXPECT_TRUE(controller->haveCrawledSelectedSite);

        preferences.setValue("displayTrelliumResults", "1");
        goToStep("4");
        controller->haveCrawledSelectedSite = false;
        const qsizetype before = shown.size();
        controller->displayResults(row.action);
        ASSERT_EQ(shown.size(), before + 1);
        EXPECT_EQ(shown.last(), row.view);
        EXPECT_EQ(controller->getResultsWindows().value(row.view),
                  row.windowContent ? row.windowContent : row.view);
        // The finish call at the end sends the main window back to the tasks.
        EXPECT_EQ(controller->getSelectedTab(), "3");
        EXPECT_TRUE(controller->haveCrawledSelectedSite);
    }
}

TEST_F(NewUIControllerTest, KeyboardTaskRing) {
    start("a");
    const int last = int(NewUIController::goButtonArray.size()) - 1;
    ASSERT_EQ(last, 9);
    struct Row {
        int from;
        bool up;
        int to;
    };
    for (const Row& row : {Row{-1, true, last}, Row{-1, false, 0}, Row{0, true, last}, Row{last, false, 0},
                           Row{3, true, 2}, Row{3, false, 4}}) {
        controller->taskTabPosition = row.from;
        row.up ? controller->upArrow() : controller->downArrow();
        EXPECT_EQ(controller->taskTabPosition, row.to) << row.from << (row.up ? " up" : " down");
        EXPECT_TRUE(controller->focusRingShown);
    }

    // No keys on the site list, nor while a text field is edited; the arrows stay off on the
    // site list when editing ends.
    goToStep("1");
    controller->taskTabPosition = 2;
    controller->downArrow();
    EXPECT_EQ(controller->taskTabPosition, 2);
    controller->disableAllKeys();
    controller->enableAllKeys();
    EXPECT_FALSE(controller->upDownKeysEnabled);
    EXPECT_TRUE(controller->goKeyEnabled);
    goToStep("3");
    controller->disableAllKeys();
    controller->downArrow();
    EXPECT_EQ(controller->taskTabPosition, 2);
    controller->enableAllKeys();
    EXPECT_TRUE(controller->upDownKeysEnabled);

    // The go key presses the task with the ring, only on the task step, and hides the ring.
    int searchPanels = 0;
    controller->showPageSearchPanel = [&] { ++searchPanels; };
    controller->taskTabPosition =
        NewUIController::goButtonArray.indexOf(NewUIController::searchPagesStep1Button);
    controller->focusRingShown = false;
    controller->goKey();
    EXPECT_EQ(searchPanels, 0) << "no ring, no press";
    controller->focusRingShown = true;
    controller->settings();
    controller->goKey();
    EXPECT_EQ(searchPanels, 0) << "not on the task step";
    controller->jobSelection();
    controller->goKey();
    EXPECT_EQ(searchPanels, 1);
    EXPECT_FALSE(controller->focusRingShown);
}

TEST_F(NewUIControllerTest, OrphanPanelAsksForIgnoredQuerystrings) {
    start("a");
    int dialogs = 0;
    controller->showOrphanDialog = [&] { ++dialogs; };
    struct Row {
        const char* followQuerystring;
        int answer;
        int alerts;
        int dialogs;
    };
    for (const Row& row : {Row{"NO", 0, 1, 0}, Row{"NO", 1, 1, 1}, Row{"YES", 0, 0, 1}}) {
        SCOPED_TRACE(std::string(row.followQuerystring) + " " + std::to_string(row.answer));
        ui.alerts.clear();
        dialogs = 0;
        config().setValueForKey("followQuerystring", row.followQuerystring);
        config().setDocumentEdited(false);
        ui.alertAnswer = row.answer;
        controller->pressTaskButton(NewUIController::orphanButton);
        ASSERT_EQ(ui.alerts.size(), row.alerts);
        if (row.alerts) {
            EXPECT_EQ(ui.alerts[0].first, "Ignore querystrings");
            EXPECT_TRUE(
                ui.alerts[0].second.startsWith("In your settings for this site, 'Ignore querystrings' is "
                                               "not set."));
            EXPECT_EQ(ui.alertButtons.last(), QStringList({"Cancel", "Continue"}));
        }
        EXPECT_EQ(dialogs, row.dialogs);
        // Turned on unless cancelled, and never saved.
        EXPECT_EQ(config().flagForKey("followQuerystring"), row.dialogs == 1);
        EXPECT_FALSE(config().isDocumentEdited());
    }
    // Without FTP details that check out nothing starts.
    controller->orphanSheetOK();
    EXPECT_EQ(hub().getCrawlState(), LinkCheckerHub::CrawlState::Idle);
}

TEST_F(NewUIControllerTest, ActionsButtonOpensTheScheduleOnSettings) {
    start("a");
    int panels = 0;
    controller->showSchedulePanel = [&] { ++panels; };
    controller->handleControl(NewUIController::actionsButton);
    EXPECT_EQ(controller->getSelectedTab(), "2");
    EXPECT_EQ(panels, 1);
    EXPECT_EQ(hub().getCrawlState(), LinkCheckerHub::CrawlState::Idle);
}

// Turning the login on asks; only "Continue" records it. Turning it off records nothing.
TEST_F(NewUIControllerTest, AuthenticationSwitchAsksFirst) {
    start("a");
    struct Row {
        bool on;
        int answer;
        bool stays;
        int alerts;
        bool edited;
    };
    for (const Row& row :
         {Row{true, 0, false, 1, false}, Row{true, 1, true, 1, true}, Row{false, 0, true, 0, false}}) {
        SCOPED_TRACE(std::to_string(row.on) + " " + std::to_string(row.answer));
        ui.alerts.clear();
        config().setDocumentEdited(false);
        ui.alertAnswer = row.answer;
        EXPECT_EQ(controller->handleAuthenticationButton(row.on), row.stays);
        ASSERT_EQ(ui.alerts.size(), row.alerts);
        if (row.alerts) {
            EXPECT_EQ(ui.alerts[0].first, "Warning - Authentication");
        }
        EXPECT_EQ(config().flagForKey("TrelliumAttemptAuthentication"), row.on && row.stays);
        EXPECT_EQ(config().isDocumentEdited(), row.edited);
    }
}
