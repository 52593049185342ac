// Results in windows of their own: each kind in its window while the main window stays on the
// tasks, and back on the results step when the preference says so again.
#include "gui/MainWindow.h"
#include "gui/ResultsView.h"
#include "support/TempHome.h"

#include <QAction>
#include <QFile>
#include <QMainWindow>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

namespace {

TEST(ResultsWindows, EachKindInAWindowOfItsOwnAndBack) {
    TempHome home;
    MainWindow window;
    window.show();
    window.start();
    NewUIController& controller = window.uiController();
    Preferences& preferences = window.appDelegate().getPreferences();
    QWidget* links = &window.resultsView();
    auto view = [&](const char* name) -> QWidget* {
        return *name ? window.findChild<QWidget*>(name) : links;
    };
    const struct {
        int action;
        const char* window;
        const char* view; // "" for the link views
        const char* title;
    } kinds[] = {
        {3, "seoWindow", "SEOResultsView", " : SEO"},
        {2, "sitemapWindow", "sitemapView", " : sitemap"},
        {18, "validationWindow", "validatorView", " : HTML Validation"},
        {8, "spellingWindow", "spellingResultsView", " : spelling & grammar"},
        {1, "linksWindow", "", " : links"},
    };
    preferences.setValue("displayTrelliumResults", 1);
    for (const auto& k : kinds) {
        window.userInterface().showResults(k.action);
        auto* own = window.findChild<QMainWindow*>(k.window);
        ASSERT_NE(own, nullptr) << k.window;
        EXPECT_TRUE(own->isVisible()) << k.window;
        EXPECT_EQ(own->centralWidget(), view(k.view)) << k.window;
        EXPECT_TRUE(view(k.view)->isVisible()) << k.window;
        EXPECT_EQ(own->windowTitle(), k.title);
        EXPECT_EQ(controller.getSelectedTab(), "3") << k.window;
    }
    // Validation's start brings its window to the front, switched on or not.
    auto* validation = window.findChild<QMainWindow*>("validationWindow");
    validation->hide();
    preferences.setValue("ValidationEnabled", false);
    window.appDelegate().getSEOManager().kickOffValidation();
    EXPECT_TRUE(validation->isVisible());

    // Results in the main window again: each window closes and its view is back on step 5.
    preferences.setValue("displayTrelliumResults", 0);
    for (const auto& k : kinds) {
        window.userInterface().showResults(k.action);
        EXPECT_FALSE(window.findChild<QMainWindow*>(k.window)->isVisible()) << k.window;
        EXPECT_TRUE(view(k.view)->isVisible()) << k.window;
        EXPECT_EQ(view(k.view)->window(), &window) << k.window;
    }
    // With the spelling tab in front, the Results menu exports the spelling table.
    window.userInterface().showResults(8);
    QTemporaryDir folder;
    window.userInterface().filesAhead = {folder.filePath("s.csv")};
    for (QAction* action : window.findChildren<QAction*>())
        if (action->text() == "Export as CSV…")
            action->trigger();
    QFile file(folder.filePath("s.csv"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(file.readAll().startsWith("\"URL\",\"Spelling\",\"Grammar\"\r"));
    window.close();
}

} // namespace
