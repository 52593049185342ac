// The window's result files: the reopen offer at start, Save and Open with the recent list, and
// Compare with…, driven offscreen on files written by the crawl database.
#include "WindowFixture.h"
#include "gui/ResultFiles.h"
#include "reports/CrawlDatabase.h"
#include "reports/CrawlDatabaseCommands.h"
#include "support/QtPrinting.h"

#include <QTableWidget>

namespace {

// A saved crawl of a start page and its links, given as URL and status.
void writeCrawl(const QString& path, const QList<QPair<QString, QString>>& links) {
    Crawl crawl(links.first().first);
    std::vector<LinkCheckerUrlPtr> records;
    for (const auto& [url, status] : links) {
        records.push_back(crawl.addLink(url));
        records.back()->setStatus(status);
        records.back()->setIsInBadCollection(status.startsWith('4'));
    }
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(CrawlDatabase::toXml(records, nullptr, false));
}

using ResultFilesWindow = WindowTest;

} // namespace

// With autosave switched on in Preferences, the results kept at the last quit are offered at start; opened
// when the person says Open, left alone on Not Now.
TEST_F(ResultFilesWindow, ReopenOfferAtStart) {
    startWindow();
    window->showPreferences();
    auto* keep = find<QCheckBox>("autosave");
    ASSERT_NE(keep, nullptr);
    keep->setChecked(true);
    closeWindow();
    writeCrawl(CrawlDatabaseCommands::autosavePath(),
               {{"http://a/", "200 OK"}, {"http://a/x", "404 Not Found"}});
    for (int answer : {1, 0}) {
        SCOPED_TRACE(answer);
        window = std::make_unique<MainWindow>();
        ui().answersAhead = {answer};
        window->start();
        EXPECT_EQ(hub().count(), answer == 0 ? 2 : 0);
        EXPECT_EQ(hub().isCrawlFinished(), answer == 0);
        EXPECT_TRUE(ui().answersAhead.isEmpty()) << "the offer was made";
        closeWindow();
    }
}

// Save (Ctrl+S) writes the results and heads the recent list; Open (Ctrl+O) brings them back;
// Compare with… lists what changed against an older file.
TEST_F(ResultFilesWindow, SaveOpenRecentAndCompare) {
    const QString older = home.path() + "/older.plist", newer = home.path() + "/newer.plist";
    writeCrawl(older, {{"http://a/", "200 OK"}, {"http://a/x", "200 OK"}, {"http://a/y", "404 Not Found"}});
    writeCrawl(newer, {{"http://a/", "200 OK"}, {"http://a/x", "404 Not Found"}, {"http://a/y", "200 OK"}});
    startWindow();
    activate();
    ResultFiles& files = window->resultFilesCommands();
    ui().filesAhead = {newer};
    QTest::keyClick(window.get(), Qt::Key_O, Qt::ControlModifier);
    ASSERT_EQ(hub().count(), 3);

    const QString saved = home.path() + "/saved";
    ui().filesAhead = {saved};
    QTest::keyClick(window.get(), Qt::Key_S, Qt::ControlModifier);
    EXPECT_TRUE(QFile::exists(saved + ".plist"));
    EXPECT_EQ(files.recentFiles(), QStringList({saved + ".plist", newer}));

    files.compareWithPath(older);
    ASSERT_NE(files.comparisonDialog(), nullptr);
    auto* table = files.comparisonDialog()->findChild<QTableWidget*>();
    ASSERT_EQ(table->rowCount(), 4);
    QStringList rows;
    for (int row = 0; row < table->rowCount(); ++row)
        rows << table->item(row, 0)->text() + " " + table->item(row, 3)->text();
    rows.sort();
    EXPECT_EQ(rows, QStringList({"became bad http://a/x", "fixed http://a/y", "page appeared http://a/y",
                                 "page disappeared http://a/x"}));

    // A file that is no saved crawl: the alert, and the results as they were.
    QFile bad(home.path() + "/bad.plist");
    ASSERT_TRUE(bad.open(QIODevice::WriteOnly));
    bad.write("<plist><array/></plist>");
    bad.close();
    ui().answersAhead = {0};
    files.openPath(bad.fileName());
    EXPECT_EQ(hub().count(), 3);
    EXPECT_TRUE(ui().answersAhead.isEmpty()) << "the No data alert was shown";
}
