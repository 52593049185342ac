// Faults found when the window was tried as a new user would, each driven through the real
// window offscreen against the local test server; and the toolbar and field checks.
#include "config/Preferences.h"
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
#include <QTableWidget>
#include <QTest>
#include <QTimer>
#include <QToolBar>
#include <QTreeView>

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

    // A settings file with every key, as the window writes and exports them.
    static void writeSettings(const QString& path, const QString& url, const QString& name) {
        QVariantMap site = KestConfigManager::compileBlankDict();
        site.insert("url", url);
        site.insert("name", name);
        ASSERT_TRUE(Plist::writeFile(path, site));
    }
    // A site on disk, as a previous session left it.
    static void storeSite(const QString& filename, const QString& url, const QString& name) {
        QDir().mkpath(SiteStore::storePath());
        writeSettings(SiteStore::pathForFilename(filename), url, name);
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

// Results belong to the site they were crawled from: a failed start on another site shows
// none of the first site's rows under its heading, and during a crawl the step says so.
TEST_F(WindowFaultsTest, ResultsNeverShownUnderTheWrongSite) {
    storeSite("x", server.url("/"), "Site X");
    storeSite("y", "http://exa mple.com/", "Site Y");
    startWindow();
    config().selectSiteWithFilename("x");
    toTasks();
    linksTask()->click();
    ASSERT_TRUE(waitUntil([&] { return controller().getSelectedTab() == "5"; }));
    auto* notice = window->findChild<QLabel*>("resultsNotice");
    ASSERT_NE(notice, nullptr);
    EXPECT_TRUE(notice->isHidden()) << notice->text().toStdString();

    config().selectSiteWithFilename("y");
    toTasks();
    window->userInterface().answersAhead = {0}; // "Unsupported url"
    linksTask()->click();
    idle();
    ASSERT_EQ(controller().getSelectedTab(), "3");
    controller().results();
    idle();
    EXPECT_TRUE(window->findChild<QLabel*>("stepHeading")->text().startsWith("Site Y"))
        << window->findChild<QLabel*>("stepHeading")->text().toStdString();
    QAbstractItemModel* byLink = window->resultsView().byLinkTree()->model();
    for (int r = 0; r < byLink->rowCount(); ++r)
        EXPECT_FALSE(byLink->index(r, 1).data().toString().startsWith(server.baseUrl()))
            << "X's row under Y: " << byLink->index(r, 1).data().toString().toStdString();

    // Back to X: the old results are X's; a new crawl's step 5 says it runs and shows no old rows.
    config().selectSiteWithFilename("x");
    controller().results();
    idle();
    EXPECT_FALSE(notice->isHidden());
    EXPECT_TRUE(notice->text().contains("Site Y")) << notice->text().toStdString();
    toTasks();
    newCrawlOn();
    server.setResponseDelay("/a.html", 1500);
    linksTask()->click();
    ASSERT_TRUE(waitUntil([&] { return server.requestsFor("/a.html").size() == 1; }));
    controller().results();
    idle();
    EXPECT_FALSE(notice->isHidden());
    EXPECT_TRUE(notice->text().contains("running")) << notice->text().toStdString();
    EXPECT_LE(byLink->rowCount(), 1) << "the rows of the crawl before";
}

// Two sites made without a name are two rows with their own URLs; deleting the second deletes
// its own file.
TEST_F(WindowFaultsTest, UnnamedSitesKeepTheirOwnRowsAndFiles) {
    startWindow();
    const QString a = server.url("/"), b = server.url("/other/");
    newSite(a, "");
    const QString fileA = SiteStore::pathForFilename(config().getSelectedConfigFilename());
    newSite(b, "");
    const QString fileB = SiteStore::pathForFilename(config().getSelectedConfigFilename());
    ASSERT_NE(fileA, fileB);
    QAbstractItemModel* sites = window->siteTable()->model();
    ASSERT_EQ(sites->rowCount(), 2);
    QStringList urls;
    int rowOfB = -1;
    for (int r = 0; r < 2; ++r) {
        urls.append(sites->index(r, 1).data().toString());
        EXPECT_FALSE(sites->index(r, 0).data().toString().isEmpty()) << "a name to tell them apart";
        if (urls.last() == b)
            rowOfB = r;
    }
    EXPECT_TRUE(urls.contains(a) && urls.contains(b)) << urls.join(" ").toStdString();
    ASSERT_GE(rowOfB, 0);
    window->siteTable()->selectRow(rowOfB);
    idle();
    window->userInterface().answersAhead = {0}; // "Continue"
    window->deleteMenuItem();
    EXPECT_TRUE(QFile::exists(fileA)) << "A's file survives";
    EXPECT_FALSE(QFile::exists(fileB));

    // A name another site has is refused at the field, with the reason.
    button("sitesNew")->click();
    idle();
    auto* dialog = window->findChild<QDialog*>("newSiteDialog");
    dialog->findChild<QLineEdit*>("newSiteUrl")->setText(a);
    dialog->findChild<QLineEdit*>("newSiteName")->setText("");
    EXPECT_FALSE(dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->isEnabled());
    EXPECT_TRUE(dialog->findChild<QLabel*>("newSiteHint")->text().contains("already"))
        << dialog->findChild<QLabel*>("newSiteHint")->text().toStdString();
    dialog->reject();
}

// A settings file handed to the window: one that matches no stored site is offered as a new
// site instead of crawling whichever site is selected.
TEST_F(WindowFaultsTest, SettingsFileThatMatchesNoSite) {
    storeSite("demo", server.url("/"), "Demo");
    const QString edited = home.path() + "/edited.lcsettings";
    writeSettings(edited, server.url("/other/"), "Other");
    window = std::make_unique<MainWindow>();
    window->show();
    window->userInterface().answersAhead = {1}; // "Cancel"
    window->start({edited});
    idle(300);
    EXPECT_TRUE(window->userInterface().answersAhead.isEmpty()) << "the person was asked";
    EXPECT_TRUE(server.requestsFor("/").isEmpty()) << "the selected site was crawled instead";
    EXPECT_NE(hub().getCrawlState(), LinkCheckerHub::CrawlState::Running);

    // Added: the new site is the file's, and its crawl runs.
    window->userInterface().answersAhead = {0};
    window->openFile(edited);
    ASSERT_TRUE(waitUntil([&] { return hub().isCrawlFinished(); }));
    EXPECT_EQ(config().getNameOfSelectedSite(), "Other");
    EXPECT_GE(server.requestsFor("/other/").size(), 1);
    EXPECT_TRUE(server.requestsFor("/").isEmpty());
}

// File > Open with a settings file: a matching one selects its site and says so; one that
// matches nothing is offered as a new site.
TEST_F(WindowFaultsTest, OpenCommandWithSettingsFile) {
    storeSite("demo", server.url("/"), "Demo");
    startWindow();
    const QString same = home.path() + "/same.lcsettings";
    writeSettings(same, server.url("/"), "Demo");
    window->userInterface().filesAhead = {same};
    window->openListDialog();
    idle();
    EXPECT_EQ(config().getNameOfSelectedSite(), "Demo");
    EXPECT_TRUE(window->statusBar()->currentMessage().contains("Demo"))
        << window->statusBar()->currentMessage().toStdString();

    const QString other = home.path() + "/other.lcsettings";
    writeSettings(other, server.url("/other/"), "Other");
    window->userInterface().filesAhead = {other};
    window->userInterface().answersAhead = {0}; // add it
    window->openListDialog();
    idle();
    EXPECT_TRUE(window->userInterface().answersAhead.isEmpty());
    EXPECT_EQ(config().getNameOfSelectedSite(), "Other");
    EXPECT_EQ(config().getUrlOfSelectedSite(), server.url("/other/"));
    EXPECT_TRUE(server.requestsFor("/other/").isEmpty()) << "opening is no crawl";
}

// The exported file of the selected site handed to the running window crawls it and leaves
// the window where the person can move on.
TEST_F(WindowFaultsTest, ExportedFileToRunningWindowCrawls) {
    storeSite("demo", server.url("/"), "Demo");
    storeSite("other", server.url("/other/"), "Other");
    startWindow();
    config().selectSiteWithFilename("demo");
    const QString exported = home.path() + "/demo.lcsettings";
    ASSERT_TRUE(config().exportSettingsTo(exported));
    // Another site is selected when the file arrives.
    config().selectSiteWithFilename("other");
    toTasks();
    window->openFile(exported);
    ASSERT_TRUE(waitUntil([&] { return hub().isCrawlFinished(); }));
    idle(300);
    EXPECT_GE(server.requestsFor("/a.html").size(), 1);
    EXPECT_EQ(config().getNameOfSelectedSite(), "Demo");
    EXPECT_EQ(config().getStatus(), "3 of 3 links checked, 1 bad");
    EXPECT_TRUE(button("previousButton")->isEnabled()) << "not stuck on scanning";
}

// Number fields refuse what lies outside their range and say the range; digits typed on the
// way to a refused number never stay behind as the setting.
TEST_F(WindowFaultsTest, NumberFieldsRefuseOutOfRange) {
    storeSite("demo", server.url("/"), "Demo");
    startWindow();
    config().selectSiteWithFilename("demo");
    controller().settings();
    idle();
    SettingsForm& form = window->settingsForm();
    struct Case {
        const char* key;
        const char* typed;
        bool taken;
        const char* said;
    };
    const Case cases[] = {
        {"numberOfThreads", "99999", false, "1 to 100"},
        {"numberOfThreads", "0", false, "1 to 100"},
        {"numberOfThreads", "100", true, ""},
        {"timeOut", "0", false, "more than 0"},
        {"timeOut", "0.5", true, ""},
        {"delay", "0", true, ""},
    };
    for (const Case& c : cases) {
        QLineEdit* edit = form.lineEditForKey(c.key);
        const QString before = config().stringForKey(c.key);
        edit->setFocus();
        edit->selectAll();
        QTest::keyClicks(edit, c.typed);
        auto* hint = window->findChild<QLabel*>(QString(c.key) + "Hint");
        EXPECT_EQ(edit->text(), c.typed) << c.key << " shows what was typed";
        EXPECT_EQ(hint->isHidden(), c.taken) << c.key << " " << c.typed;
        EXPECT_TRUE(hint->text().contains(c.said)) << hint->text().toStdString();
        EXPECT_EQ(config().stringForKey(c.key), c.taken ? QString(c.typed) : before)
            << c.key << " " << c.typed;
        window->findChild<QLineEdit*>("name")->setFocus(); // leaving the field
        idle(30);
        if (!c.taken) {
            EXPECT_EQ(edit->text(), before) << "the kept value shows again";
        }
    }
    // Leaving the step saves the kept value, not the digits on the way to 99999.
    QLineEdit* threads = form.lineEditForKey("numberOfThreads");
    threads->setFocus();
    threads->selectAll();
    QTest::keyClicks(threads, "99999");
    controller().jobSelection();
    EXPECT_EQ(Plist::readFile(SiteStore::pathForFilename("demo")).value("numberOfThreads").toString(), "100");

    // The preferences: 0 is no number of links, while 0 levels reads the starting page only.
    window->showPreferences();
    idle();
    auto* preferences = window->findChild<QDialog*>("preferences");
    Preferences& prefs = window->appDelegate().getPreferences();
    const int links = prefs.intValue("linkslimit");
    QLineEdit* linksField = preferences->findChild<QLineEdit*>("linkslimit");
    linksField->selectAll();
    linksField->setFocus();
    QTest::keyClicks(linksField, "0");
    EXPECT_FALSE(preferences->findChild<QLabel*>("linkslimitHint")->isHidden());
    EXPECT_TRUE(preferences->findChild<QLabel*>("linkslimitHint")->text().contains("from 1 to"));
    EXPECT_EQ(prefs.intValue("linkslimit"), links);
    QLineEdit* levels = preferences->findChild<QLineEdit*>("levelslimit");
    levels->selectAll();
    levels->setFocus();
    QTest::keyClicks(levels, "0");
    EXPECT_TRUE(preferences->findChild<QLabel*>("levelslimitHint")->isHidden());
    EXPECT_EQ(prefs.intValue("levelslimit"), 0);
}

// Checks at the field: the starting URL as it is typed, and rules of one character.
TEST_F(WindowFaultsTest, FieldsSayWhatIsWrong) {
    storeSite("demo", server.url("/"), "Demo");
    startWindow();
    struct Case {
        const char* url;
        const char* said; // "" for a URL that is taken
    };
    const Case cases[] = {
        {"", "Enter the address"},     {"ftp://example.com/", "\"ftp\" can't be crawled"},
        {"http:///path", "no host"},   {"http://exa mple.com/", "no valid host"},
        {"/home/me/site", "file URL"}, {"file:///no/such/folder/here", "no file or folder"},
        {"www.example.com", ""},       {"https://www.example.com:8443/shop/", ""},
    };
    button("sitesNew")->click();
    idle();
    auto* dialog = window->findChild<QDialog*>("newSiteDialog");
    auto* ok = dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok);
    auto* hint = dialog->findChild<QLabel*>("newSiteHint");
    for (const Case& c : cases) {
        dialog->findChild<QLineEdit*>("newSiteUrl")->setText(c.url);
        const bool good = QString(c.said).isEmpty();
        EXPECT_EQ(ok->isEnabled(), good) << c.url;
        EXPECT_EQ(hint->isVisibleTo(dialog), !good) << c.url;
        EXPECT_TRUE(hint->text().contains(c.said)) << c.url << ": " << hint->text().toStdString();
    }
    dialog->reject();

    // In the settings a refused URL is not saved, and the reason shows beside it.
    config().selectSiteWithFilename("demo");
    controller().settings();
    idle();
    auto* url = window->findChild<QLineEdit*>("url");
    url->setFocus();
    url->selectAll();
    QTest::keyClicks(url, "ftp://x/");
    window->findChild<QLineEdit*>("name")->setFocus();
    idle(30);
    EXPECT_FALSE(window->findChild<QLabel*>("hint")->isHidden());
    EXPECT_EQ(config().getUrlOfSelectedSite(), server.url("/"));

    // A rule of one character: flagged as typed, and in the table once added.
    auto* term = window->findChild<QLineEdit*>("ruleTerm");
    auto* ruleHint = window->findChild<QLabel*>("ruleHint");
    term->setText("/");
    EXPECT_FALSE(ruleHint->isHidden());
    EXPECT_TRUE(ruleHint->text().contains("never matches")) << ruleHint->text().toStdString();
    term->setText("/private/");
    EXPECT_TRUE(ruleHint->isHidden());
    window->settingsForm().addBlacklistRule("Do not follow", "x");
    QTableWidget* rules = window->settingsForm().ruleTable();
    ASSERT_EQ(rules->rowCount(), 1);
    EXPECT_TRUE(rules->item(0, 2)->toolTip().contains("nearly everywhere"));

    // The two robots.txt switches each say how they relate to the other.
    EXPECT_TRUE(window->findChild<QLabel*>("blacklistByRobotsTxtNote")->text().contains("Read robots.txt"));
    window->showPreferences();
    idle();
    EXPECT_TRUE(window->findChild<QLabel*>("checkRobotstxtNote")->text().contains("Obey robots.txt"));
    EXPECT_TRUE(window->findChild<QLabel*>("coloursNote")->text().contains("2xx"));
}

// Exports: the save dialog offers the format's filter, and the by-link CSV indents child rows
// with a tab inside the URL field, as the outline exports are written.
TEST_F(WindowFaultsTest, ExportFilterAndOutlineIndent) {
    storeSite("demo", server.url("/"), "Demo");
    startWindow();
    config().selectSiteWithFilename("demo");
    toTasks();
    linksTask()->click();
    ASSERT_TRUE(waitUntil([&] { return controller().getSelectedTab() == "5"; }));

    QStringList filters;
    QTimer::singleShot(300, [&] {
        if (auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget())) {
            filters = dialog->nameFilters();
            dialog->reject();
        }
    });
    window->resultsView().exportAsCSVMenuItem();
    ASSERT_FALSE(filters.isEmpty()) << "a save dialog was shown";
    EXPECT_EQ(filters.first(), "CSV files (*.csv)");

    window->resultsView().byLinkTree()->expandAll();
    const QString csv = home.path() + "/bylink.csv";
    window->userInterface().filesAhead = {csv};
    window->resultsView().exportAsCSVMenuItem();
    QFile file(csv);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(file.readAll());
    EXPECT_TRUE(text.contains(",\"\t")) << "a child row's URL field starts with a tab";
}

#include "WindowFaults_test.moc"
