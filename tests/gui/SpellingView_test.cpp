// The spelling tab and the review window, offscreen, over a crawl of the local test server with
// the real checker and a temporary personal word list.
#include "analysis/SEOManager.h"
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

// The tab's Export menu writes the table where the person says, the suffix added when the name
// has none.
TEST(SpellingView, ExportMenuWritesTheTable) {
    Crawl crawl("http://example.com/");
    crawl.config.setValueForKey("checkSpelling", "YES");
    SEOManager seo(crawl.config, crawl.preferences, crawl.hub);
    for (const auto& [url, spelling] :
         {std::pair{"http://example.com/", 2}, {"http://example.com/b.html", 0}}) {
        seo.add(crawl.addLink(url));
        seo.getnthItem(seo.count() - 1)->setSpelling(spelling);
    }
    SpellingView view(seo, crawl.config, crawl.preferences, crawl.ui);
    QTemporaryDir folder;
    const struct {
        const char *entry, *answer, *written, *holds;
    } exports[] = {
        {"Export Spelling as CSV…", "t", "t.csv",
         "\"URL\",\"Spelling\",\"Grammar\"\r\"http://example.com/\",\"2\",\"0\"\r\"http://example.com/"
         "b.html\",\"0\",\"0\"\r"},
        {"Export Spelling as HTML…", "p.html", "p.html", "<th class = spelling>Spelling</th>"},
    };
    for (const auto& e : exports) {
        crawl.ui.saveAnswer = folder.filePath(e.answer);
        for (QAction* action : view.findChild<QToolButton*>("spellingExport")->menu()->actions())
            if (action->text() == e.entry)
                action->trigger();
        QFile file(folder.filePath(e.written));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << e.written;
        EXPECT_TRUE(QString::fromUtf8(file.readAll()).contains(e.holds)) << e.written;
    }
}
