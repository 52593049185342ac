// The window's result files: the reopen offer at start, Save and Open with the recent list, and
// Compare with…, driven offscreen on files written by the crawl database.
#include "config/SiteStore.h"
#include "gui/MainWindow.h"
#include "gui/ResultFiles.h"
#include "reports/CrawlDatabase.h"
#include "reports/CrawlDatabaseCommands.h"
#include "support/QtPrinting.h"
#include "support/RecordingUserInterface.h"
#include "support/TempHome.h"

#include <QCheckBox>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>
#include <memory>

namespace {

// A saved crawl of a start page and its links, given as URL and status.
void writeCrawl(const QString& path, const QList<QPair<QString, QString>>& links) {
    KestConfigManager config;
    config.setDefaults();
    Preferences preferences;
    RecordingUserInterface ui;
    LinkCheckerHub hub(config, preferences, ui);
    std::vector<LinkCheckerUrlPtr> records;
    for (const auto& [url, status] : links) {
        auto r = std::make_shared<LinkCheckerUrl>(&hub);
        r->setLinkUrlTrimQuery(url, false);
        r->setStatus(status);
        r->setIsInBadCollection(status.startsWith('4'));
        records.push_back(r);
    }
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(CrawlDatabase::toXml(records, nullptr, false));
}

struct Window {
    std::unique_ptr<MainWindow> window = std::make_unique<MainWindow>();
    ~Window() { window->close(); }
    LinkCheckerHub& hub() { return window->appDelegate().getHub(); }
};

} // namespace

// With autosave switched on in Preferences, the results kept at the last quit are offered at start; opened
// when the person says Open, left alone on Not Now.
TEST(ResultFiles, ReopenOfferAtStart) {
    TempHome home;
    {
        Window w;
        w.window->start();
        w.window->showPreferences();
        auto* keep = w.window->findChild<QCheckBox*>("autosave");
        ASSERT_NE(keep, nullptr);
        keep->setChecked(true);
    }
    writeCrawl(CrawlDatabaseCommands::autosavePath(),
               {{"http://a/", "200 OK"}, {"http://a/x", "404 Not Found"}});
    for (int answer : {1, 0}) {
        SCOPED_TRACE(answer);
        Window w;
        w.window->userInterface().answersAhead = {answer};
        w.window->start();
        EXPECT_EQ(w.hub().count(), answer == 0 ? 2 : 0);
        EXPECT_EQ(w.hub().isCrawlFinished(), answer == 0);
        EXPECT_TRUE(w.window->userInterface().answersAhead.isEmpty()) << "the offer was made";
    }
}

// Save (Ctrl+S) writes the results and heads the recent list; Open (Ctrl+O) brings them back;
// Compare with… lists what changed against an older file.
TEST(ResultFiles, SaveOpenRecentAndCompare) {
    TempHome home;
    QTemporaryDir dir;
    const QString older = dir.filePath("older.plist"), newer = dir.filePath("newer.plist");
    writeCrawl(older, {{"http://a/", "200 OK"}, {"http://a/x", "200 OK"}, {"http://a/y", "404 Not Found"}});
    writeCrawl(newer, {{"http://a/", "200 OK"}, {"http://a/x", "404 Not Found"}, {"http://a/y", "200 OK"}});
    Window w;
    w.window->start();
    ResultFiles& files = w.window->resultFilesCommands();
    w.window->show();
    w.window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(w.window.get()));
    w.window->userInterface().filesAhead = {newer};
    QTest::keyClick(w.window.get(), Qt::Key_O, Qt::ControlModifier);
    ASSERT_EQ(w.hub().count(), 3);

    const QString saved = dir.filePath("saved");
    w.window->userInterface().filesAhead = {saved};
    QTest::keyClick(w.window.get(), Qt::Key_S, Qt::ControlModifier);
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
    QFile bad(dir.filePath("bad.plist"));
    ASSERT_TRUE(bad.open(QIODevice::WriteOnly));
    bad.write("<plist><array/></plist>");
    bad.close();
    w.window->userInterface().answersAhead = {0};
    files.openPath(bad.fileName());
    EXPECT_EQ(w.hub().count(), 3);
    EXPECT_TRUE(w.window->userInterface().answersAhead.isEmpty()) << "the No data alert was shown";
}
