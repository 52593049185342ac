// The spelling tab and the review window, offscreen, over a crawl of the local test server with
// the real checker and a temporary personal word list.
#include "analysis/SEOManager.h"
#include "gui/MainWindow.h"
#include "gui/SpellingView.h"
#include "platform/SpellChecker.h"
#include "support/CrawlFixture.h"
#include "support/TempHome.h"
#include "support/TestServer.h"

#include <QComboBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QTableView>
#include <QTemporaryDir>
#include <QTextEdit>
#include <QToolButton>
#include <gtest/gtest.h>

TEST(SpellingView, FilterReviewLearnAndModeSwitch) {
    TempHome home;
    ASSERT_TRUE(SpellChecker::sharedSpellChecker().setLanguage("en_US"));
    TestServer server;
    const QByteArray head = "<html><head><title>T</title></head>\n<body>";
    server.addPage("/", head + "<p>The qwzx cat sat on the mat.</p><a href=\"/b.html\">b</a></body></html>");
    server.addPage("/b.html", head + "<p>Nothing is wrong here.</p></body></html>");
    Crawl crawl(server.url("/"));
    crawl.config.setValueForKey("checkSpelling", "YES");
    SEOManager seo(crawl.config, crawl.preferences, crawl.hub);
    crawl.hub.go();
    ASSERT_TRUE(crawl.runToEnd());

    SpellingView view(seo, crawl.config, crawl.preferences, crawl.ui);
    view.show();
    QTableView* table = view.table();
    EXPECT_EQ(table->model()->rowCount(), 2);
    EXPECT_TRUE(view.findChild<QLabel*>("spellingCounts")->text().contains("1 with spelling issues"));
    view.findChild<QComboBox*>("spellingFilter")->setCurrentIndex(1);
    ASSERT_EQ(table->model()->rowCount(), 1);

    table->selectRow(0);
    emit table->doubleClicked(table->model()->index(0, 0));
    SpellingReviewDialog& dialog = view.dialogue();
    ASSERT_TRUE(dialog.isVisible());
    EXPECT_EQ(dialog.findChild<QLabel*>("infoField")->text(), "1 of 1");
    EXPECT_TRUE(dialog.findChild<QTextEdit*>("extractField")->toHtml().contains("qwzx</span>"))
        << "the issue is marked";
    EXPECT_GT(dialog.findChild<QListWidget*>("suggestionTable")->count(), 0);

    dialog.findChild<QComboBox*>("mode")->setCurrentIndex(1);
    EXPECT_FALSE(dialog.findChild<QPushButton*>("learnButton")->isEnabled());
    EXPECT_EQ(dialog.findChild<QLabel*>("infoField")->text(), "No grammar errors found on this page");
    dialog.findChild<QComboBox*>("mode")->setCurrentIndex(0);
    dialog.findChild<QPushButton*>("learnButton")->click();
    EXPECT_EQ(dialog.findChild<QLabel*>("infoField")->text(), "No spellling errors found on this page");

    // Closing rechecks the listed pages on a thread; the table hears of it on the main thread.
    // The page stays listed while it is not marked reviewed.
    crawl.preferences.setValue("removeWhenSpellingReviewedButton", false);
    dialog.close();
    ASSERT_TRUE(seo.waitForSpellingRechecks(10000));
    EXPECT_TRUE(spinUntil([&] { return crawl.first()->getSpelling() == 0; }));
    view.findChild<QComboBox*>("spellingFilter")->setCurrentIndex(0);
    view.findChild<QComboBox*>("spellingFilter")->setCurrentIndex(1);
    EXPECT_EQ(table->model()->rowCount(), 0);
}

// The Export menu of the spelling tab writes the spelling table where the person says, the
// suffix added when the name has none; a cancelled choice writes nothing.
TEST(SpellingView, ExportMenuWritesTheTable) {
    Crawl crawl("http://example.com/");
    crawl.config.setValueForKey("checkSpelling", "YES");
    SEOManager seo(crawl.config, crawl.preferences, crawl.hub);
    const struct {
        const char* url;
        int spelling, grammar;
    } pages[] = {{"http://example.com/", 2, 0}, {"http://example.com/b.html", 0, 1}};
    for (const auto& p : pages) {
        auto page = crawl.addLink(p.url);
        seo.add(page);
        page->setSpelling(p.spelling);
        page->setGrammar(p.grammar);
    }
    SpellingView view(seo, crawl.config, crawl.preferences, crawl.ui);
    QTemporaryDir folder;
    const struct {
        const char* entry;
        const char* answer;
        const char* written;
        const char* holds;
    } exports[] = {
        {"Export Spelling as CSV…", "table", "table.csv",
         "\"URL\",\"Spelling\",\"Grammar\"\r\"http://example.com/\",\"2\",\"0\"\r"
         "\"http://example.com/b.html\",\"0\",\"1\"\r"},
        {"Export Spelling as HTML…", "page.html", "page.html",
         "<th class = spelling>Spelling</th><th class = grammar>Grammar</th></tr><tr><td class = actualurl "
         ">"},
        {"Export Spelling as CSV…", "", "cancelled.csv", nullptr},
    };
    QMenu* menu = view.findChild<QToolButton*>("spellingExport")->menu();
    for (const auto& e : exports) {
        const auto actions = menu->actions();
        const auto entry = std::find_if(actions.begin(), actions.end(),
                                        [&](QAction* a) { return a->text() == QString(e.entry); });
        ASSERT_NE(entry, actions.end()) << e.entry;
        crawl.ui.saveAnswer = *e.answer ? folder.filePath(e.answer) : QString();
        (*entry)->trigger();
        QFile file(folder.filePath(e.written));
        if (!e.holds) {
            EXPECT_FALSE(file.exists());
            continue;
        }
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << e.written;
        const QString text = QString::fromUtf8(file.readAll());
        EXPECT_TRUE(text.contains(e.holds)) << text.toStdString();
    }
}

// With the spelling tab in front, the Results menu's exports write the spelling table.
TEST(SpellingView, ResultsMenuExportsTheTabInFront) {
    TempHome home;
    MainWindow window;
    window.show();
    window.start();
    window.userInterface().showResults(8);
    QTemporaryDir folder;
    const struct {
        const char* command;
        const char* file;
        const char* holds;
    } exports[] = {{"Export as CSV…", "s.csv", "\"URL\",\"Spelling\",\"Grammar\"\r"},
                   {"Export as HTML…", "s.html", "<th class = spelling>Spelling</th>"}};
    for (const auto& e : exports) {
        window.userInterface().filesAhead = {folder.filePath(e.file)};
        for (QAction* action : window.findChildren<QAction*>())
            if (action->text() == e.command)
                action->trigger();
        QFile file(folder.filePath(e.file));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << e.command;
        EXPECT_TRUE(QString::fromUtf8(file.readAll()).contains(e.holds)) << e.command;
    }
    window.close();
}
