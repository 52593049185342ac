// Faults found when the window was tried as a new user would, each driven through the real
// window offscreen against the local test server; and the toolbar and field checks.
#include "WindowFixture.h"
#include "config/Preferences.h"
#include "gui/MainToolBar.h"
#include "gui/ResultsView.h"
#include "gui/SettingsForm.h"

#include <QApplication>
#include <QCheckBox>
#include <QDesktopServices>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QMenuBar>
#include <QStatusBar>
#include <QTableWidget>
#include <QTimer>
#include <QToolBar>
#include <QTreeView>

// Stands in for the desktop's file opener, so the test opens nothing.
class UrlCatcher : public QObject {
    Q_OBJECT
  public:
    QList<QUrl> opened;
  public slots:
    void open(const QUrl& url) { opened.append(url); }
};

namespace {

class WindowFaultsTest : public WindowTest {
  protected:
    void SetUp() override {
        server.addPage("/", "<title>Home</title><a href=\"/a.html\">A</a><a href=\"/missing.html\">gone</a>");
        server.addPage("/a.html", "<title>A</title><a href=\"/\">Home</a>");
        server.addPage("/other/", "<title>Other</title>none");
    }

    // "Crawl anew" ticked, as after a change of settings.
    void newCrawlOn() {
        auto* box = find<QCheckBox>("newCrawlButton");
        if (!box->isChecked())
            box->click();
        ASSERT_TRUE(controller().newCrawlButtonOn);
    }

    bool crawlEnds() {
        return spinUntil([&] { return hub().getCrawlState() != LinkCheckerHub::CrawlState::Running; }) &&
               spinUntil([&] { return controller().getSelectedTab() != "4" || hub().isCrawlFinished(); });
    }
};

} // namespace

// The keys of the menus reach their commands: Ctrl+L starts the links task, as do Enter on a task
// that has the keyboard focus and the menu's Check Links; Ctrl+, opens the preferences.
TEST_F(WindowFaultsTest, KeysReachTheirCommands) {
    storeSite("demo", server.url("/"), "Demo");
    startWindow();
    activate();
    window->siteTable()->selectRow(0);
    const struct {
        const char* way;
        std::function<void()> press;
    } ways[] = {
        {"Ctrl+L", [&] { QTest::keyClick(window.get(), Qt::Key_L, Qt::ControlModifier); }},
        {"Enter on the focused task",
         [&] {
             task(NewUIController::linksButton)->setFocus();
             QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
         }},
        {"Crawl > Check Links", [&] { action("Check Links")->trigger(); }},
    };
    for (const auto& w : ways) {
        SCOPED_TRACE(w.way);
        toTasks();
        newCrawlOn();
        server.resetRecords();
        w.press();
        ASSERT_TRUE(crawlEnds());
        EXPECT_GE(server.requestsFor("/").size(), 1) << "crawled";
    }

    QTest::keyClick(window.get(), Qt::Key_Comma, Qt::ControlModifier);
    idle();
    auto* preferences = find<QDialog>("preferences");
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
    auto* bar = find<MainToolBar>("mainToolBar");
    ASSERT_NE(bar, nullptr);
    auto enabled = [&] {
        QStringList names;
        for (QAction* a : {bar->startAction(), bar->pauseAction(), bar->stopAction(), bar->exportAction()})
            if (a->isEnabled())
                names.append(a->text());
        return names.join(' ');
    };
    EXPECT_EQ(enabled(), "") << "no site yet";
    window->siteTable()->selectRow(0);
    idle();
    EXPECT_EQ(find<QLineEdit>("toolbarSiteUrl")->text(), server.url("/"));
    EXPECT_EQ(enabled(), "Start");

    bar->startAction()->trigger();
    ASSERT_TRUE(spinUntil([&] { return server.requestsFor("/a.html").size() == 1; }));
    idle();
    EXPECT_EQ(hub().getCrawlState(), LinkCheckerHub::CrawlState::Running);
    EXPECT_EQ(enabled(), "Pause Stop");
    bar->pauseAction()->trigger();
    idle();
    EXPECT_EQ(hub().getCrawlState(), LinkCheckerHub::CrawlState::Paused);
    EXPECT_EQ(enabled(), "Start Continue Stop Export…");
    bar->pauseAction()->trigger();
    idle();
    EXPECT_EQ(hub().getCrawlState(), LinkCheckerHub::CrawlState::Running);

    // Stop ends the crawl at once, with what was found, and shows the results.
    bar->stopAction()->trigger();
    ASSERT_TRUE(spinUntil([&] { return hub().isCrawlFinished(); }, 1500)) << "stopped before the slow page";
    ASSERT_TRUE(resultsShown());
    EXPECT_EQ(enabled(), "Start Export…");
    const QString csv = home.path() + "/links.csv";
    ui().filesAhead = {csv};
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

// Results belong to the site they were crawled from: a failed start on another site shows its
// alert, goes back to the tasks and shows none of the first site's rows under its heading; and
// during a crawl the step says so.
TEST_F(WindowFaultsTest, ResultsNeverShownUnderTheWrongSite) {
    storeSite("x", server.url("/"), "Site X");
    // The new-site dialog refuses such a URL; a file can still hold one.
    storeSite("y", "http://exa mple.com/", "Site Y");
    startWindow();
    config().selectSiteWithFilename("x");
    toTasks();
    runTask(NewUIController::linksButton);
    auto* notice = find<QLabel>("resultsNotice");
    ASSERT_NE(notice, nullptr);
    EXPECT_TRUE(notice->isHidden()) << notice->text().toStdString();

    config().selectSiteWithFilename("y");
    toTasks();
    ui().answersAhead = {0}; // "Unsupported url"
    task(NewUIController::linksButton)->click();
    idle();
    EXPECT_TRUE(ui().answersAhead.isEmpty()) << "the alert was shown";
    ASSERT_EQ(controller().getSelectedTab(), "3");
    EXPECT_EQ(window->windowTitle(), "Site Y : tasks");
    controller().results();
    idle();
    EXPECT_TRUE(find<QLabel>("stepHeading")->text().startsWith("Site Y"))
        << find<QLabel>("stepHeading")->text().toStdString();
    QAbstractItemModel* byLink = window->resultsView().byLinkTree()->model();
    for (const QString& url : column(byLink, 1))
        EXPECT_FALSE(url.startsWith(server.baseUrl())) << "X's row under Y: " << url.toStdString();

    // Back to X: the old results are X's; a new crawl's step 5 says it runs and shows no old rows.
    config().selectSiteWithFilename("x");
    controller().results();
    idle();
    EXPECT_FALSE(notice->isHidden());
    EXPECT_TRUE(notice->text().contains("Site Y")) << notice->text().toStdString();
    toTasks();
    newCrawlOn();
    server.setResponseDelay("/a.html", 1500);
    task(NewUIController::linksButton)->click();
    ASSERT_TRUE(spinUntil([&] { return server.requestsFor("/a.html").size() == 1; }));
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
    EXPECT_FALSE(column(sites, 0).contains("")) << "a name to tell them apart";
    const QStringList urls = column(sites, 1);
    EXPECT_TRUE(urls.contains(a)) << urls.join(" ").toStdString();
    ASSERT_TRUE(urls.contains(b)) << urls.join(" ").toStdString();
    window->siteTable()->selectRow(int(urls.indexOf(b)));
    idle();
    ui().answersAhead = {0}; // "Continue"
    window->deleteMenuItem();
    EXPECT_TRUE(QFile::exists(fileA)) << "A's file survives";
    EXPECT_FALSE(QFile::exists(fileB));

    // A name another site has is refused at the field, with the reason.
    button("sitesNew")->click();
    idle();
    auto* dialog = find<QDialog>("newSiteDialog");
    dialog->findChild<QLineEdit*>("newSiteUrl")->setText(a);
    dialog->findChild<QLineEdit*>("newSiteName")->setText("");
    EXPECT_FALSE(dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->isEnabled());
    EXPECT_TRUE(dialog->findChild<QLabel*>("newSiteHint")->text().contains("already"))
        << dialog->findChild<QLabel*>("newSiteHint")->text().toStdString();
    dialog->reject();
}

// A settings file handed to the window at launch or while it runs, or chosen with File > Open: one
// of a stored site selects that site, one of no site is offered as a new site. A handed file
// crawls its own site unattended, never whichever site was selected, and leaves the window where
// the person can move on; File > Open only selects and says so.
TEST_F(WindowFaultsTest, SettingsFilesSelectTheirOwnSite) {
    enum Way { Launch, Running, OpenCommand };
    const char* checkedDemo = "3 of 3 links checked, 1 bad";
    const struct {
        const char* name;
        Way way;
        bool exported;
        const char* page;   // the file's starting page: "/" is the stored site Demo's
        QList<int> answers; // to the offer of a new site: 0 adds it, 1 cancels
        const char* selected;
        const char* status; // the stored status after the crawl; nullptr where none follows
    } cases[] = {
        {"launch, Demo's file", Launch, false, "/", {}, "Demo", checkedDemo},
        {"launch, an unknown file, Cancel", Launch, false, "/other/", {1}, nullptr, nullptr},
        {"running, an unknown file, Add",
         Running,
         false,
         "/other/",
         {0},
         "Other",
         "1 of 1 links checked, 0 bad"},
        {"running, Demo's export", Running, true, "/", {}, "Demo", checkedDemo},
        {"File > Open, Demo's file", OpenCommand, false, "/", {}, "Demo", nullptr},
        {"File > Open, an unknown file, Add", OpenCommand, false, "/other/", {0}, "Other", nullptr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TempHome ownHome;
        server.resetRecords();
        storeSite("demo", server.url("/"), "Demo");
        storeSite("elsewhere", server.url("/elsewhere/"), "Elsewhere");
        const QString file = ownHome.path() + "/handed.lcsettings";
        const QString name = c.page == QString("/") ? "Demo" : "Other";
        if (!c.exported)
            writeSettings(file, server.url(c.page), name);
        if (c.way == Launch) {
            window = std::make_unique<MainWindow>();
            window->show();
            ui().answersAhead = c.answers;
            window->start({file});
        } else {
            startWindow();
            if (c.exported) {
                config().selectSiteWithFilename("demo");
                ASSERT_TRUE(config().exportSettingsTo(file));
            }
            config().selectSiteWithFilename("elsewhere");
            toTasks();
            ui().answersAhead = c.answers;
            if (c.way == Running) {
                window->openFile(file);
            } else {
                ui().filesAhead = {file};
                window->openListDialog();
            }
        }
        EXPECT_TRUE(ui().answersAhead.isEmpty()) << "the person was asked";
        if (c.status) {
            EXPECT_EQ(controller().getSelectedTab(), "4");
            ASSERT_TRUE(spinUntil([&] { return hub().isCrawlFinished(); }));
            EXPECT_EQ(hub().getActionWhenFinished(), 6);
            EXPECT_TRUE(spinUntil([&] { return button("previousButton")->isEnabled(); }))
                << "stuck on scanning";
            const QString stored = SiteStore::pathForFilename(config().getSelectedConfigFilename());
            EXPECT_EQ(Plist::readFile(stored).value("status").toString(), c.status);
        } else {
            idle(300); // time enough for a wrong crawl to show
            EXPECT_NE(hub().getCrawlState(), LinkCheckerHub::CrawlState::Running);
        }
        for (const char* page : {"/", "/other/", "/elsewhere/"})
            EXPECT_EQ(server.requestsFor(page).isEmpty(), !c.status || page != QString(c.page)) << page;
        if (c.selected) {
            EXPECT_EQ(config().getNameOfSelectedSite(), c.selected);
            EXPECT_EQ(config().getUrlOfSelectedSite(), server.url(c.page));
        }
        if (c.way == OpenCommand) {
            EXPECT_TRUE(window->statusBar()->currentMessage().contains(c.selected))
                << window->statusBar()->currentMessage().toStdString();
        }
        closeWindow();
    }
}

// Number fields refuse what lies outside their range and say the range; digits typed on the
// way to a refused number never stay behind as the setting.
TEST_F(WindowFaultsTest, NumberFieldsRefuseOutOfRange) {
    storeSite("demo", server.url("/"), "Demo");
    startWindow();
    config().selectSiteWithFilename("demo");
    controller().settings();
    idle();
    const struct {
        const char* key;
        const char* typed;
        bool taken;
        const char* said;
    } cases[] = {
        {"numberOfThreads", "99999", false, "1 to 100"},
        {"numberOfThreads", "0", false, "1 to 100"},
        {"numberOfThreads", "100", true, ""},
        {"timeOut", "0", false, "more than 0"},
        {"timeOut", "0.5", true, ""},
        {"delay", "0", true, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.key) + " " + c.typed);
        QLineEdit* edit = window->settingsForm().lineEditForKey(c.key);
        auto* hint = find<QLabel>(QString(c.key) + "Hint");
        const QString before = config().stringForKey(c.key);
        type(edit, c.typed);
        EXPECT_EQ(edit->text(), c.typed) << "shows what was typed";
        EXPECT_EQ(hint->isHidden(), c.taken);
        EXPECT_TRUE(hint->text().contains(c.said)) << hint->text().toStdString();
        const QString kept = c.taken ? QString(c.typed) : before;
        EXPECT_EQ(config().stringForKey(c.key), kept);
        find<QLineEdit>("name")->setFocus(); // leaving the field
        idle(30);
        EXPECT_EQ(edit->text(), kept) << "the kept value shows again";
    }
    // Leaving the step saves the kept value, not the digits on the way to 99999.
    type(window->settingsForm().lineEditForKey("numberOfThreads"), "99999");
    controller().jobSelection();
    EXPECT_EQ(Plist::readFile(SiteStore::pathForFilename("demo")).value("numberOfThreads").toString(), "100");

    // The preferences: 0 is no number of links, while 0 levels reads the starting page only.
    window->showPreferences();
    idle();
    auto* preferences = find<QDialog>("preferences");
    Preferences& prefs = window->appDelegate().getPreferences();
    for (const auto& [key, taken, said] :
         {std::tuple{"linkslimit", false, "from 1 to"}, {"levelslimit", true, ""}}) {
        const int was = prefs.intValue(key);
        type(preferences->findChild<QLineEdit*>(key), "0");
        auto* hint = preferences->findChild<QLabel*>(QString(key) + "Hint");
        EXPECT_EQ(hint->isHidden(), taken) << key;
        EXPECT_TRUE(hint->text().contains(said)) << key << ": " << hint->text().toStdString();
        EXPECT_EQ(prefs.intValue(key), taken ? 0 : was) << key;
    }
}

// Checks at the field: the starting URL as it is typed, and rules of one character.
TEST_F(WindowFaultsTest, FieldsSayWhatIsWrong) {
    storeSite("demo", server.url("/"), "Demo");
    startWindow();
    const struct {
        const char* url;
        const char* said; // "" for a URL that is taken
    } cases[] = {
        {"", "Enter the address"},     {"ftp://example.com/", "\"ftp\" can't be crawled"},
        {"http:///path", "no host"},   {"http://exa mple.com/", "no valid host"},
        {"/home/me/site", "file URL"}, {"file:///no/such/folder/here", "no file or folder"},
        {"www.example.com", ""},       {"https://www.example.com:8443/shop/", ""},
    };
    button("sitesNew")->click();
    idle();
    auto* dialog = find<QDialog>("newSiteDialog");
    auto* ok = dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok);
    auto* hint = dialog->findChild<QLabel*>("newSiteHint");
    for (const auto& c : cases) {
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
    type(find<QLineEdit>("url"), "ftp://x/");
    find<QLineEdit>("name")->setFocus();
    idle(30);
    EXPECT_FALSE(find<QLabel>("hint")->isHidden());
    EXPECT_EQ(config().getUrlOfSelectedSite(), server.url("/"));

    // A rule of one character: flagged as typed, and in the table once added.
    auto* term = find<QLineEdit>("ruleTerm");
    auto* ruleHint = find<QLabel>("ruleHint");
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
    EXPECT_TRUE(find<QLabel>("blacklistByRobotsTxtNote")->text().contains("Read robots.txt"));
    window->showPreferences();
    idle();
    EXPECT_TRUE(find<QLabel>("checkRobotstxtNote")->text().contains("Obey robots.txt"));
    EXPECT_TRUE(find<QLabel>("coloursNote")->text().contains("2xx"));
}

// Exports: the save dialog offers the format's filter, and the by-link CSV indents child rows
// with a tab inside the URL field, as the outline exports are written.
TEST_F(WindowFaultsTest, ExportFilterAndOutlineIndent) {
    storeSite("demo", server.url("/"), "Demo");
    startWindow();
    config().selectSiteWithFilename("demo");
    toTasks();
    runTask(NewUIController::linksButton);

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
    ui().filesAhead = {csv};
    window->resultsView().exportAsCSVMenuItem();
    EXPECT_TRUE(contents(csv).contains(",\"\t")) << "a child row's URL field starts with a tab";
}

#include "WindowFaults_test.moc"
