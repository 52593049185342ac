// Faults found when the window was tried as a new user would, each driven through the real
// window offscreen against the local test server; and the toolbar and field checks.
#include "config/SiteStore.h"
#include "gui/ItemModels.h"
#include "gui/MainToolBar.h"
#include "gui/MainWindow.h"
#include "gui/ResultsView.h"
#include "gui/SettingsForm.h"
#include "platform/Plist.h"
#include "support/TempHome.h"
#include "support/TestServer.h"

#include <QApplication>
#include <QCheckBox>
#include <QDesktopServices>
#include <QDialog>
#include <QDialogButtonBox>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPushButton>
#include <QStatusBar>
#include <QTableView>
#include <QTest>
#include <QTimer>
#include <QToolBar>

#include <gtest/gtest.h>
#include <memory>

// Stands in for the desktop's file opener, so the test opens nothing.
class UrlCatcher : public QObject {
    Q_OBJECT
  public:
    QList<QUrl> opened;
  public slots:
    void open(const QUrl& url) { opened.append(url); }
};

namespace {

bool waitUntil(const std::function<bool()>& done, int ms = 10000) {
    QElapsedTimer timer;
    timer.start();
    while (!done()) {
        if (timer.elapsed() > ms)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    return true;
}

void idle(int ms = 100) {
    waitUntil([] { return false; }, ms);
}

class WindowFaultsTest : public testing::Test {
  protected:
    TempHome home;
    TestServer server;
    std::unique_ptr<MainWindow> window;

    void SetUp() override {
        server.addPage("/", "<html><head><title>Home</title></head><body><a href=\"/a.html\">A</a>"
                            "<a href=\"/missing.html\">gone</a></body></html>");
        server.addPage("/a.html",
                       "<html><head><title>A</title></head><body><a href=\"/\">Home</a></body></html>");
        server.addPage("/other/", "<html><head><title>Other</title></head><body>none</body></html>");
    }
    void TearDown() override {
        if (window)
            window->close();
        window.reset();
    }

    void startWindow(const QStringList& files = {}) {
        window = std::make_unique<MainWindow>();
        window->show();
        window->activateWindow();
        window->start(files);
        ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
        idle();
    }

    NewUIController& controller() { return window->uiController(); }
    KestConfigManager& config() { return window->appDelegate().getConfigManager(); }
    LinkCheckerHub& hub() { return window->appDelegate().getHub(); }
    QPushButton* button(const QString& name) { return window->findChild<QPushButton*>(name); }
    QPushButton* linksTask() { return button(QString("task%1").arg(int(NewUIController::linksButton))); }
    QAction* action(const QString& text) {
        for (QAction* a : window->findChildren<QAction*>())
            if (a->text() == text)
                return a;
        ADD_FAILURE() << "no action " << text.toStdString();
        return nullptr;
    }

    // A site on disk, as a previous session left it.
    static void storeSite(const QString& filename, const QString& url, const QString& name) {
        QDir().mkpath(SiteStore::storePath());
        ASSERT_TRUE(Plist::writeFile(SiteStore::pathForFilename(filename), {{"url", url}, {"name", name}}));
    }

    void newSite(const QString& url, const QString& name) {
        button("sitesNew")->click();
        idle();
        auto* dialog = window->findChild<QDialog*>("newSiteDialog");
        ASSERT_NE(dialog, nullptr);
        dialog->findChild<QLineEdit*>("newSiteUrl")->setText(url);
        dialog->findChild<QLineEdit*>("newSiteName")->setText(name);
        auto* ok = dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok);
        ASSERT_TRUE(ok->isEnabled());
        ok->click();
        idle();
    }

    void toTasks() {
        controller().jobSelection();
        idle();
        ASSERT_EQ(controller().getSelectedTab(), "3");
    }

    // "Crawl anew" ticked, as after a change of settings.
    void newCrawlOn() {
        auto* box = window->findChild<QCheckBox*>("newCrawlButton");
        if (!box->isChecked())
            box->click();
        ASSERT_TRUE(controller().newCrawlButtonOn);
    }

    bool crawlEnds() {
        return waitUntil([&] { return hub().getCrawlState() != LinkCheckerHub::CrawlState::Running; }) &&
               waitUntil([&] { return controller().getSelectedTab() != "4" || hub().isCrawlFinished(); });
    }
};

} // namespace

// The keys of the menus reach their commands: Ctrl+L starts the links task, Ctrl+, opens the
// preferences, and Enter on a task that has the keyboard focus presses it.
TEST_F(WindowFaultsTest, KeysReachTheirCommands) {
    storeSite("demo", server.url("/"), "Demo");
    startWindow();
    window->siteTable()->selectRow(0);
    toTasks();

    QTest::keyClick(window.get(), Qt::Key_L, Qt::ControlModifier);
    ASSERT_TRUE(crawlEnds());
    EXPECT_GE(server.requestsFor("/").size(), 1) << "Ctrl+L crawled";

    toTasks();
    newCrawlOn();
    server.resetRecords();
    linksTask()->setFocus();
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    ASSERT_TRUE(crawlEnds());
    EXPECT_GE(server.requestsFor("/").size(), 1) << "Enter on the focused task crawled";

    toTasks();
    newCrawlOn();
    server.resetRecords();
    action("Check Links")->trigger();
    ASSERT_TRUE(crawlEnds());
    EXPECT_GE(server.requestsFor("/").size(), 1) << "Crawl > Check Links crawled";

    QTest::keyClick(window.get(), Qt::Key_Comma, Qt::ControlModifier);
    idle();
    auto* preferences = window->findChild<QDialog*>("preferences");
    ASSERT_NE(preferences, nullptr) << "Ctrl+, opened the preferences";
    EXPECT_TRUE(preferences->isVisible());
}

// No key is given to two commands: walk every action of the menus and the toolbars.
TEST_F(WindowFaultsTest, EveryShortcutIsUnique) {
    startWindow();
    QMap<QString, QString> owners;
    QList<QAction*> actions;
    for (QAction* top : window->menuBar()->actions())
        if (top->menu())
            actions += top->menu()->actions();
    for (QToolBar* bar : window->findChildren<QToolBar*>())
        actions += bar->actions();
    // Buttons with keys count as well: a key on a button and a menu is the same clash.
    for (QAbstractButton* b : window->findChildren<QAbstractButton*>())
        if (!b->shortcut().isEmpty())
            owners.insert(b->shortcut().toString(), b->objectName());
    ASSERT_GT(actions.size(), 20);
    int keyed = 0;
    for (QAction* a : actions) {
        for (const QKeySequence& key : a->shortcuts()) {
            ++keyed;
            EXPECT_FALSE(owners.contains(key.toString()))
                << key.toString().toStdString() << " for both " << owners.value(key.toString()).toStdString()
                << " and " << a->text().toStdString();
            owners.insert(key.toString(), a->text());
        }
    }
    EXPECT_GT(keyed, 15);
    EXPECT_TRUE(owners.contains("Ctrl+L"));
    EXPECT_TRUE(owners.contains("Ctrl+,"));
}

// Check Links with no site selected says so and goes to the sites instead of waiting on progress.
TEST_F(WindowFaultsTest, CheckLinksWithoutASiteSaysSo) {
    startWindow();
    controller().jobSelection();
    action("Check Links")->trigger();
    idle();
    EXPECT_EQ(controller().getSelectedTab(), "1");
    EXPECT_TRUE(window->statusBar()->currentMessage().contains("Select or create a site"));
}

// The toolbar: the site's URL, Start, Pause and Continue, Stop, Export; against a slow page.
TEST_F(WindowFaultsTest, ToolbarStartsPausesAndStops) {
    storeSite("demo", server.url("/"), "Demo");
    server.setResponseDelay("/a.html", 2000);
    startWindow();
    auto* bar = window->findChild<MainToolBar*>("mainToolBar");
    ASSERT_NE(bar, nullptr);
    EXPECT_FALSE(bar->startAction()->isEnabled()) << "no site yet";
    window->siteTable()->selectRow(0);
    idle();
    EXPECT_EQ(window->findChild<QLineEdit*>("toolbarSiteUrl")->text(), server.url("/"));
    ASSERT_TRUE(bar->startAction()->isEnabled());
    EXPECT_FALSE(bar->stopAction()->isEnabled());
    EXPECT_FALSE(bar->exportAction()->isEnabled());

    bar->startAction()->trigger();
    ASSERT_TRUE(waitUntil([&] { return server.requestsFor("/a.html").size() == 1; }));
    idle();
    EXPECT_EQ(hub().getCrawlState(), LinkCheckerHub::CrawlState::Running);
    EXPECT_FALSE(bar->startAction()->isEnabled());
    EXPECT_TRUE(bar->stopAction()->isEnabled());
    ASSERT_TRUE(bar->pauseAction()->isEnabled());
    EXPECT_EQ(bar->pauseAction()->text(), "Pause");
    bar->pauseAction()->trigger();
    idle();
    EXPECT_EQ(hub().getCrawlState(), LinkCheckerHub::CrawlState::Paused);
    EXPECT_EQ(bar->pauseAction()->text(), "Continue");
    EXPECT_TRUE(bar->exportAction()->isEnabled());
    bar->pauseAction()->trigger();
    idle();
    EXPECT_EQ(hub().getCrawlState(), LinkCheckerHub::CrawlState::Running);

    // Stop ends the crawl at once, with what was found, and shows the results.
    bar->stopAction()->trigger();
    ASSERT_TRUE(waitUntil([&] { return hub().isCrawlFinished(); }, 1500)) << "stopped before the slow page";
    ASSERT_TRUE(waitUntil([&] { return controller().getSelectedTab() == "5"; }));
    EXPECT_TRUE(bar->startAction()->isEnabled());
    EXPECT_FALSE(bar->stopAction()->isEnabled());
    ASSERT_TRUE(bar->exportAction()->isEnabled());
    const QString csv = home.path() + "/links.csv";
    window->userInterface().filesAhead = {csv};
    bar->exportAction()->trigger();
    EXPECT_TRUE(QFile::exists(csv));

    // Start crawls anew even where "Crawl anew" is unticked.
    toTasks();
    ASSERT_FALSE(controller().newCrawlButtonOn);
    server.setResponseDelay("/a.html", 0);
    server.resetRecords();
    bar->startAction()->trigger();
    ASSERT_TRUE(crawlEnds());
    EXPECT_GE(server.requestsFor("/").size(), 1);
}

// Help: the README opens through the desktop, and About names the version and the licences.
TEST_F(WindowFaultsTest, HelpMenuOpensReadmeAndAbout) {
    startWindow();
    UrlCatcher catcher;
    QDesktopServices::setUrlHandler("file", &catcher, "open");
    action("Trellium Manual (README)")->trigger();
    QDesktopServices::unsetUrlHandler("file");
    ASSERT_EQ(catcher.opened.size(), 1);
    EXPECT_TRUE(catcher.opened[0].toLocalFile().endsWith("README.md"));
    EXPECT_TRUE(QFile::exists(catcher.opened[0].toLocalFile()));

    action("About Trellium")->trigger();
    idle();
    auto* about = window->findChild<QDialog*>("aboutBox");
    ASSERT_NE(about, nullptr);
    const QString text = about->findChild<QLabel*>("aboutText")->text();
    for (const char* word : {"Trellium 5.", "Qt", "libcurl", "libplist", "Enchant", "link-grammar", "poppler",
                             "LGPL", "GPL 2.0"})
        EXPECT_TRUE(text.contains(word)) << word;
}

#include "WindowFaults_test.moc"
