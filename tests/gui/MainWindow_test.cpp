// The desktop window, driven offscreen through its own buttons against the local test server.
#include "WindowFixture.h"
#include "gui/ResultsView.h"
#include "gui/SEOTable.h"
#include "gui/SettingsForm.h"
#include "gui/SingleInstance.h"
#include "support/QtPrinting.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QTabWidget>
#include <QTableView>
#include <QTableWidget>

namespace {

class MainWindowTest : public WindowTest {
  protected:
    // A small site: pages that link to each other, a missing page, a server error and a redirect.
    void SetUp() override {
        server.addPage("/",
                       "<title>Home</title><a href=\"/about.html\">About us</a>"
                       "<a href=\"/products.html\">Products</a><a href=\"/contact.html\">Contact</a>"
                       "<a href=\"/missing.html\">Old offer</a><a href=\"/redirect/301\">Moved page</a>");
        server.addPage("/about.html",
                       "<title>About</title><a href=\"/\">Home</a><a href=\"/team.html\">Team</a>"
                       "<a href=\"/status/500\">Broken report</a>");
        server.addPage("/products.html",
                       "<title>Products</title><a href=\"/\">Home</a>"
                       "<a href=\"/missing.html\">Old offer</a><a href=\"/about.html\">About</a>");
        server.addPage("/contact.html", "<title>Contact</title><a href=\"/\">Home</a>");
        server.addPage("/team.html", "<title>Team</title><a href=\"/\">Home</a>");
    }

    // The flat report's rows as "status url" lines.
    QStringList flatRows() {
        const QAbstractItemModel* model = window->resultsView().flatTable()->model();
        QStringList rows = column(model, 0);
        const QStringList urls = column(model, 1);
        for (int r = 0; r < rows.size(); ++r)
            rows[r] += " " + urls[r];
        return rows;
    }
};

} // namespace

// Create a site, change a setting, run the links task, find the bad link in the flat table,
// look at it in the inspector and export the report as CSV.
TEST_F(MainWindowTest, FiveStepsFromNewSiteToExport) {
    startWindow();
    EXPECT_EQ(controller().getSelectedTab(), "1");
    EXPECT_EQ(window->windowTitle(), "sites");

    newSite(server.url("/"), "Demo");
    EXPECT_EQ(column(window->siteTable()->model(), 0), QStringList{"Demo"});
    EXPECT_EQ(column(window->siteTable()->model(), 1), QStringList{server.url("/")});
    const QString file = SiteStore::pathForFilename(config().getSelectedConfigFilename());
    ASSERT_TRUE(QFile::exists(file));

    button("nextButton")->click();
    EXPECT_EQ(controller().getSelectedTab(), "2");
    EXPECT_EQ(window->windowTitle(), "Demo : settings");

    // A letter never enters a number field; an empty one is refused with a hint; the value stays.
    SettingsForm& form = window->settingsForm();
    QLineEdit* threads = form.lineEditForKey("numberOfThreads");
    ASSERT_NE(threads, nullptr);
    const QString before = config().stringForKey("numberOfThreads");
    type(threads, "x");
    EXPECT_EQ(threads->text(), before);
    QTest::keyClick(threads, Qt::Key_Delete);
    EXPECT_FALSE(find<QLabel>("numberOfThreadsHint")->isHidden());
    EXPECT_EQ(config().stringForKey("numberOfThreads"), before);
    type(threads, "3");
    EXPECT_TRUE(find<QLabel>("numberOfThreadsHint")->isHidden());
    EXPECT_EQ(config().stringForKey("numberOfThreads"), "3");
    form.checkBoxForKey("checkImages")->click();
    EXPECT_TRUE(config().flagForKey("checkImages"));
    form.addBlacklistRule("Do not check", "/private/");
    EXPECT_EQ(form.ruleTable()->rowCount(), 1);
    EXPECT_EQ(form.ruleTable()->item(0, 0)->text(), "Do not check");
    EXPECT_EQ(form.ruleTable()->item(0, 1)->text(), "urls containing:");

    // Leaving the settings saves them.
    button("nextButton")->click();
    EXPECT_EQ(controller().getSelectedTab(), "3");
    const QVariantMap saved = Plist::readFile(file);
    EXPECT_EQ(saved.value("numberOfThreads").toString(), "3");
    EXPECT_EQ(saved.value("checkImages").toString(), "YES");
    EXPECT_EQ(saved.value("checkBlacklist").toString(), "/private/");

    // The jobs that have landed are on; the others are there but off.
    EXPECT_TRUE(task(NewUIController::linksButton)->isEnabled());
    EXPECT_TRUE(task(NewUIController::SEOButton)->isEnabled());
    EXPECT_FALSE(task(NewUIController::orphanButton)->isEnabled());

    task(NewUIController::linksButton)->click();
    ASSERT_EQ(controller().getSelectedTab(), "4");
    ASSERT_TRUE(resultsShown());
    idle();
    EXPECT_EQ(window->windowTitle(), "Demo : links");
    EXPECT_EQ(find<QLabel>("progressLine")->text(), "8 of 8 links checked, 2 bad");

    ResultsView& results = window->resultsView();
    results.selectSubTab("2");
    const QStringList rows = flatRows();
    EXPECT_TRUE(rows.contains("404 not found " + server.url("/missing.html")))
        << rows.join("\n").toStdString();
    EXPECT_TRUE(rows.contains("500 internal server error " + server.url("/status/500")));
    // The bad rows are coloured, and differently from the good ones.
    QTableView* table = results.flatTable();
    const int bad = int(rows.indexOf("404 not found " + server.url("/missing.html")));
    const int good = int(rows.indexOf("200 no error " + server.url("/about.html")));
    ASSERT_GE(good, 0);
    const QVariant badColour = table->model()->index(bad, 0).data(Qt::BackgroundRole);
    ASSERT_TRUE(badColour.isValid());
    EXPECT_NE(badColour, table->model()->index(good, 0).data(Qt::BackgroundRole));

    // Bad links only, then a search within them.
    results.badOnlySwitch()->click();
    EXPECT_EQ(flatRows().size(), 3); // the missing page is linked twice
    results.searchField()->setText("500");
    idle();
    EXPECT_EQ(flatRows(), QStringList({"500 internal server error " + server.url("/status/500")}));
    results.searchField()->clear();
    idle();

    // Double-click opens the inspector with the record's fields and where it was found.
    table->setCurrentIndex(table->model()->index(0, 0));
    results.doubleClick();
    idle();
    auto* inspector = window->findChild<QDialog*>("inspector");
    ASSERT_NE(inspector, nullptr);
    EXPECT_EQ(inspector->findChild<QLineEdit*>("inspector_linkurl")->text(), server.url("/missing.html"));
    EXPECT_EQ(inspector->findChild<QTableWidget*>("inspectorOccurrences")->rowCount(), 2);
    inspector->close();

    // The export writes the bad rows through the save dialog's answer.
    const QString csv = home.path() + "/bad.csv";
    ui().filesAhead = {csv};
    results.exportAsCSVMenuItem();
    const QString text = QString::fromUtf8(contents(csv));
    EXPECT_TRUE(text.startsWith("\"Status\",\"URL\"")) << text.toStdString();
    EXPECT_EQ(text.count('\r'), 4) << text.toStdString();
    EXPECT_TRUE(text.contains("\"404 not found\",\"" + server.url("/missing.html") + "\""));

    // Nothing changed: the task shows the results at once, without a crawl.
    button("previousButton")->click();
    EXPECT_EQ(controller().getSelectedTab(), "3");
    EXPECT_FALSE(find<QCheckBox>("newCrawlButton")->isChecked());
    const qsizetype requests = server.requests().size();
    task(NewUIController::linksButton)->click();
    idle();
    EXPECT_EQ(controller().getSelectedTab(), "5");
    EXPECT_EQ(server.requests().size(), requests);
}

// The spelling task ends on its own tab of the results, not on the overview.
TEST_F(MainWindowTest, SpellingTaskShowsItsTab) {
    startWindow();
    newSiteToTasks("Words", "checkSpelling");
    ASSERT_TRUE(config().flagForKey("checkSpelling"));
    ASSERT_TRUE(task(NewUIController::spellingButton)->isEnabled());
    runTask(NewUIController::spellingButton);
    const auto* tabs = window->resultsView().findChild<QTabWidget*>();
    ASSERT_NE(tabs, nullptr);
    EXPECT_EQ(tabs->tabText(tabs->currentIndex()), "Spelling");
}

// The SEO task fills its table; a page without a description is found there by its filter and
// not by the filter of missing titles, and a keyword narrows the table to the pages that hold it.
TEST_F(MainWindowTest, SEOTaskShowsPagesWithoutDescription) {
    startWindow();
    newSiteToTasks("Shop");
    runTask(NewUIController::SEOButton);
    SEOTable& seo = window->seoResultsView();
    ASSERT_TRUE(seo.isVisible());
    EXPECT_FALSE(window->resultsView().isVisible());
    auto pages = [&] {
        QStringList out;
        for (const QString& url : column(seo.table()->model(), 0))
            out << url.section('/', 3);
        return out;
    };
    EXPECT_GE(pages().size(), 5);
    auto* filter = seo.findChild<QComboBox*>("highlightSelector");
    for (const auto& [highlight, listsAbout] : {std::pair{7, true}, {1, false}, {7, true}}) {
        filter->setCurrentIndex(filter->findData(highlight));
        idle();
        EXPECT_EQ(pages().contains("about.html"), listsAbout) << "highlight " << highlight;
    }
    EXPECT_TRUE(
        seo.findChild<QLabel*>("SEOCounters")->text().contains(QString("%1 shown").arg(pages().size())));
    filter->setCurrentIndex(0);
    window->resize(1100, 700);
    screenshot("step5-seo");
    type(seo.findChild<QLineEdit*>("SEOSearchBox"), "contact");
    idle();
    EXPECT_EQ(pages(), QStringList({"contact.html"}));
    EXPECT_EQ(seo.table()->model()->index(0, 1).data().toString(), "(1) Contact");
}

// A second launch hands its files to the one that runs.
TEST(SingleInstanceTest, SecondLaunchHandsOverItsFiles) {
    TempHome home;
    const QString name = SingleInstance::serverName();
    EXPECT_FALSE(SingleInstance::handToRunning({"/tmp/x.lcsettings"}, name)) << "nobody runs yet";
    SingleInstance running;
    QStringList received;
    int activations = 0;
    running.fileReceived = [&](const QString& path) { received.append(path); };
    running.activated = [&] { ++activations; };
    ASSERT_TRUE(running.listen(name));
    EXPECT_TRUE(SingleInstance::handToRunning({"/tmp/a.lcsettings", "/tmp/b c.lcsettings"}, name));
    ASSERT_TRUE(spinUntil([&] { return activations == 1; }, 3000));
    EXPECT_EQ(received, QStringList({"/tmp/a.lcsettings", "/tmp/b c.lcsettings"}));
}

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    QApplication::setOrganizationName("Trellium");
    QApplication::setApplicationName("Trellium5");
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
