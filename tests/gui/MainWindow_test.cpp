// The desktop window, driven offscreen through its own buttons against the local test server.
#include "config/SiteStore.h"
#include "gui/ItemModels.h"
#include "gui/MainWindow.h"
#include "gui/ResultsView.h"
#include "gui/SEOTable.h"
#include "gui/SettingsForm.h"
#include "gui/SingleInstance.h"
#include "platform/Plist.h"
#include "support/TempHome.h"
#include "support/TestServer.h"

#include "support/QtPrinting.h"
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDateTime>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QTableView>
#include <QTableWidget>
#include <QTreeView>

#include <gtest/gtest.h>
#include <memory>

namespace {

bool waitFor(const std::function<bool()>& done, int ms = 10000) {
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > ms)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    return true;
}

void settle() {
    waitFor([] { return false; }, 100);
}

template <typename T> T* find(QWidget& root, const QString& name) {
    T* found = root.findChild<T*>(name);
    EXPECT_NE(found, nullptr) << name.toStdString();
    return found;
}

// A small site: pages that link to each other, a missing page, a server error and a redirect.
void addDemoSite(TestServer& server) {
    server.addPage("/", "<html><head><title>Home</title></head><body>"
                        "<a href=\"/about.html\">About us</a> <a href=\"/products.html\">Products</a>"
                        "<a href=\"/contact.html\">Contact</a> <a href=\"/missing.html\">Old offer</a>"
                        "<a href=\"/redirect/301\">Moved page</a></body></html>");
    server.addPage("/about.html", "<html><head><title>About</title></head><body><a href=\"/\">Home</a>"
                                  "<a href=\"/team.html\">Team</a><a href=\"/status/500\">Broken report</a>"
                                  "</body></html>");
    server.addPage("/products.html",
                   "<html><head><title>Products</title></head><body><a href=\"/\">Home</a>"
                   "<a href=\"/missing.html\">Old offer</a><a href=\"/about.html\">About</a>"
                   "</body></html>");
    server.addPage("/contact.html", "<html><head><title>Contact</title></head><body><a href=\"/\">Home</a>"
                                    "</body></html>");
    server.addPage("/team.html",
                   "<html><head><title>Team</title></head><body><a href=\"/\">Home</a></body></html>");
}

class MainWindowTest : public testing::Test {
  protected:
    TempHome home;
    TestServer server;
    std::unique_ptr<MainWindow> window;

    void SetUp() override { addDemoSite(server); }
    void TearDown() override {
        if (window)
            window->close();
        window.reset();
    }

    void startWindow() {
        window = std::make_unique<MainWindow>();
        window->show();
        window->start();
        settle();
    }

    NewUIController& controller() { return window->uiController(); }
    KestConfigManager& config() { return window->appDelegate().getConfigManager(); }
    QPushButton* button(const QString& name) { return find<QPushButton>(*window, name); }

    // The user's way to a new site: the New button, the dialog's fields, OK.
    void createSite(const QString& url, const QString& name) {
        button("sitesNew")->click();
        settle();
        auto* dialog = window->findChild<QDialog*>("newSiteDialog");
        ASSERT_NE(dialog, nullptr);
        auto* ok = dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok);
        EXPECT_FALSE(ok->isEnabled()) << "no site without a URL";
        find<QLineEdit>(*dialog, "newSiteUrl")->setText(url);
        find<QLineEdit>(*dialog, "newSiteName")->setText(name);
        ASSERT_TRUE(ok->isEnabled());
        ok->click();
        settle();
    }

    void typeInto(QLineEdit* edit, const QString& text) {
        edit->setFocus();
        edit->selectAll();
        edit->del();
        for (const QChar c : text)
            edit->insert(c);
        settle();
    }

    void runLinksTask() {
        button(QString("task%1").arg(int(NewUIController::linksButton)))->click();
        ASSERT_EQ(controller().getSelectedTab(), "4");
        ASSERT_TRUE(waitFor([&] { return controller().getSelectedTab() == "5"; }));
        settle();
    }

    // The flat report's rows as "status url" lines.
    QStringList flatRows() {
        QTableView* table = window->resultsView().flatTable();
        QStringList rows;
        const int status = 0, url = 1;
        for (int r = 0; r < table->model()->rowCount(); ++r)
            rows.append(table->model()->index(r, status).data().toString() + " " +
                        table->model()->index(r, url).data().toString());
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

    createSite(server.url("/"), "Demo");
    EXPECT_EQ(window->siteTable()->model()->rowCount(), 1);
    EXPECT_EQ(window->siteTable()->model()->index(0, 0).data().toString(), "Demo");
    EXPECT_EQ(window->siteTable()->model()->index(0, 1).data().toString(), server.url("/"));
    const QString file = SiteStore::pathForFilename(config().getSelectedConfigFilename());
    ASSERT_TRUE(QFile::exists(file));

    button("nextButton")->click();
    EXPECT_EQ(controller().getSelectedTab(), "2");
    EXPECT_EQ(window->windowTitle(), "Demo : settings");

    // Letters in a number field are refused at the field, with a hint; the value stays.
    SettingsForm& form = window->settingsForm();
    QLineEdit* threads = form.lineEditForKey("numberOfThreads");
    ASSERT_NE(threads, nullptr);
    const QString before = config().stringForKey("numberOfThreads");
    typeInto(threads, "x");
    EXPECT_FALSE(find<QLabel>(*window, "numberOfThreadsHint")->isHidden());
    EXPECT_EQ(config().stringForKey("numberOfThreads"), before);
    typeInto(threads, "3");
    EXPECT_TRUE(find<QLabel>(*window, "numberOfThreadsHint")->isHidden());
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
    EXPECT_TRUE(button(QString("task%1").arg(int(NewUIController::linksButton)))->isEnabled());
    EXPECT_TRUE(button(QString("task%1").arg(int(NewUIController::SEOButton)))->isEnabled());
    EXPECT_FALSE(button(QString("task%1").arg(int(NewUIController::orphanButton)))->isEnabled());

    runLinksTask();
    EXPECT_EQ(window->windowTitle(), "Demo : links");
    EXPECT_EQ(find<QLabel>(*window, "progressLine")->text(), "8 of 8 links checked, 2 bad");

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
    settle();
    EXPECT_EQ(flatRows(), QStringList({"500 internal server error " + server.url("/status/500")}));
    results.searchField()->clear();
    settle();

    // Double-click opens the inspector with the record's fields and where it was found.
    table->setCurrentIndex(table->model()->index(0, 0));
    results.doubleClick();
    settle();
    auto* inspector = window->findChild<QDialog*>("inspector");
    ASSERT_NE(inspector, nullptr);
    EXPECT_EQ(find<QLineEdit>(*inspector, "inspector_linkurl")->text(), server.url("/missing.html"));
    EXPECT_EQ(find<QTableWidget>(*inspector, "inspectorOccurrences")->rowCount(), 2);
    inspector->close();

    // The export writes the bad rows through the save dialog's answer.
    const QString csv = home.path() + "/bad.csv";
    window->userInterface().filesAhead = {csv};
    results.exportAsCSVMenuItem();
    QFile exported(csv);
    ASSERT_TRUE(exported.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(exported.readAll());
    EXPECT_TRUE(text.startsWith("\"Status\",\"URL\"")) << text.toStdString();
    EXPECT_EQ(text.count('\r'), 4) << text.toStdString();
    EXPECT_TRUE(text.contains("\"404 not found\",\"" + server.url("/missing.html") + "\""));

    // Nothing changed: the task shows the results at once, without a crawl.
    button("previousButton")->click();
    EXPECT_EQ(controller().getSelectedTab(), "3");
    EXPECT_FALSE(find<QCheckBox>(*window, "newCrawlButton")->isChecked());
    const qsizetype requests = server.requests().size();
    button(QString("task%1").arg(int(NewUIController::linksButton)))->click();
    settle();
    EXPECT_EQ(controller().getSelectedTab(), "5");
    EXPECT_EQ(server.requests().size(), requests);
}

// The spelling task ends on its own tab of the results, not on the overview.
TEST_F(MainWindowTest, SpellingTaskShowsItsTab) {
    startWindow();
    createSite(server.url("/"), "Words");
    button("nextButton")->click();
    window->settingsForm().checkBoxForKey("checkSpelling")->click();
    button("nextButton")->click();
    ASSERT_EQ(controller().getSelectedTab(), "3");
    ASSERT_TRUE(config().flagForKey("checkSpelling"));
    ASSERT_TRUE(button(QString("task%1").arg(int(NewUIController::spellingButton)))->isEnabled());
    button(QString("task%1").arg(int(NewUIController::spellingButton)))->click();
    ASSERT_TRUE(waitFor([&] { return controller().getSelectedTab() == "5"; }));
    settle();
    const auto* tabs = window->resultsView().findChild<QTabWidget*>();
    ASSERT_NE(tabs, nullptr);
    EXPECT_EQ(tabs->tabText(tabs->currentIndex()), "Spelling");
}

// The SEO task fills its table; a page without a description is found there by its filter and
// not by the filter of missing titles, and a keyword narrows the table to the pages that hold it.
TEST_F(MainWindowTest, SEOTaskShowsPagesWithoutDescription) {
    startWindow();
    createSite(server.url("/"), "Shop");
    button("nextButton")->click();
    button("nextButton")->click();
    ASSERT_EQ(controller().getSelectedTab(), "3");
    button(QString("task%1").arg(int(NewUIController::SEOButton)))->click();
    ASSERT_TRUE(waitFor([&] { return controller().getSelectedTab() == "5"; }));
    settle();
    SEOTable& seo = window->seoResultsView();
    ASSERT_TRUE(seo.isVisible());
    EXPECT_FALSE(window->resultsView().isVisible());
    auto urls = [&] {
        QStringList out;
        for (int r = 0; r < seo.table()->model()->rowCount(); ++r)
            out << seo.table()->model()->index(r, 0).data().toString().section('/', 3);
        return out;
    };
    EXPECT_GE(urls().size(), 5);
    auto* filter = find<QComboBox>(seo, "highlightSelector");
    filter->setCurrentIndex(filter->findData(7));
    settle();
    EXPECT_TRUE(urls().contains("about.html"));
    filter->setCurrentIndex(filter->findData(1));
    settle();
    EXPECT_FALSE(urls().contains("about.html")) << "it has a title";
    filter->setCurrentIndex(filter->findData(7));
    settle();
    EXPECT_TRUE(find<QLabel>(seo, "SEOCounters")->text().contains(QString("%1 shown").arg(urls().size())));
    filter->setCurrentIndex(0);
    settle();
    // The picture of the SEO table beside the other steps' (see the test Screenshots).
    const QString folder = QCoreApplication::applicationDirPath() + "/screenshots";
    QDir().mkpath(folder);
    window->resize(1100, 700);
    settle();
    EXPECT_TRUE(window->grab().save(folder + "/step5-seo.png"));
    typeInto(find<QLineEdit>(seo, "SEOSearchBox"), "contact");
    EXPECT_EQ(urls(), QStringList({"contact.html"}));
    EXPECT_EQ(seo.table()->model()->index(0, 1).data().toString(), "(1) Contact");
}

// A start that fails shows its alert and goes back to the tasks.
TEST_F(MainWindowTest, FailedStartReturnsToTasks) {
    // The new-site dialog refuses such a URL; a file can still hold one.
    QDir().mkpath(SiteStore::storePath());
    ASSERT_TRUE(Plist::writeFile(SiteStore::pathForFilename("broken"),
                                 {{"url", "http://exa mple.com/"}, {"name", "Broken"}}));
    startWindow();
    window->siteTable()->selectRow(0);
    controller().jobSelection();
    ASSERT_EQ(controller().getSelectedTab(), "3");
    window->userInterface().answersAhead = {0};
    button(QString("task%1").arg(int(NewUIController::linksButton)))->click();
    settle();
    EXPECT_TRUE(window->userInterface().answersAhead.isEmpty()) << "the alert was shown";
    EXPECT_EQ(controller().getSelectedTab(), "3");
    EXPECT_EQ(window->windowTitle(), "Broken : tasks");
}

// A settings file handed over starts its crawl at once, on the progress step.
TEST_F(MainWindowTest, OpenedSettingsFileStartsUnattended) {
    QDir().mkpath(SiteStore::storePath());
    ASSERT_TRUE(
        Plist::writeFile(SiteStore::pathForFilename("demo"), {{"url", server.url("/")}, {"name", "Demo"}}));
    const QString scan = home.path() + "/demo.lcsettings";
    ASSERT_TRUE(Plist::writeFile(scan, {{"url", server.url("/")}, {"name", "Demo"}}));
    window = std::make_unique<MainWindow>();
    window->show();
    window->start({scan});
    EXPECT_EQ(controller().getSelectedTab(), "4");
    LinkCheckerHub& hub = window->appDelegate().getHub();
    ASSERT_TRUE(waitFor([&] { return hub.isCrawlFinished(); }));
    settle();
    EXPECT_EQ(hub.getActionWhenFinished(), 6);
    EXPECT_EQ(Plist::readFile(SiteStore::pathForFilename("demo")).value("status").toString(),
              "8 of 8 links checked, 2 bad");
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
    ASSERT_TRUE(waitFor([&] { return activations == 1; }, 3000));
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
