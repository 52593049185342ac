// Results in windows of their own: each kind in its window while the main window stays on the
// tasks, and back on the results step when the preference says so again.
#include "WindowFixture.h"
#include "gui/ResultsView.h"

#include <QMainWindow>

namespace {

using ResultsWindows = WindowTest;

TEST_F(ResultsWindows, EachKindInAWindowOfItsOwnAndBack) {
    startWindow();
    Preferences& preferences = window->appDelegate().getPreferences();
    QWidget* links = &window->resultsView();
    auto view = [&](const char* name) -> QWidget* {
        return *name ? window->findChild<QWidget*>(name) : links;
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
        ui().showResults(k.action);
        auto* own = window->findChild<QMainWindow*>(k.window);
        ASSERT_NE(own, nullptr) << k.window;
        EXPECT_TRUE(own->isVisible()) << k.window;
        EXPECT_EQ(own->centralWidget(), view(k.view)) << k.window;
        EXPECT_TRUE(view(k.view)->isVisible()) << k.window;
        EXPECT_EQ(own->windowTitle(), k.title);
        EXPECT_EQ(controller().getSelectedTab(), "3") << k.window;
    }
    // Validation's start brings its window to the front, switched on or not.
    auto* validation = window->findChild<QMainWindow*>("validationWindow");
    validation->hide();
    preferences.setValue("ValidationEnabled", false);
    window->appDelegate().getSEOManager().kickOffValidation();
    EXPECT_TRUE(validation->isVisible());

    // Results in the main window again: each window closes and its view is back on step 5.
    preferences.setValue("displayTrelliumResults", 0);
    for (const auto& k : kinds) {
        ui().showResults(k.action);
        EXPECT_FALSE(window->findChild<QMainWindow*>(k.window)->isVisible()) << k.window;
        EXPECT_TRUE(view(k.view)->isVisible()) << k.window;
        EXPECT_EQ(view(k.view)->window(), window.get()) << k.window;
    }
    // With the spelling tab in front, the Results menu exports the spelling table.
    ui().showResults(8);
    ui().filesAhead = {home.path() + "/s.csv"};
    action("Export as CSV…")->trigger();
    EXPECT_TRUE(contents(home.path() + "/s.csv").startsWith("\"URL\",\"Spelling\",\"Grammar\"\r"));
}

} // namespace
