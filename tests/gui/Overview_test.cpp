// The overview, the live progress details and the result tables' own commands, driven offscreen
// through the real window against the local test server.
#include "WindowFixture.h"
#include "crawl/StatusCodeSet.h"
#include "gui/OverviewPage.h"
#include "gui/ProgressPage.h"
#include "gui/ResultsView.h"

#include <QApplication>
#include <QBarSet>
#include <QChart>
#include <QChartView>
#include <QClipboard>
#include <QDateTime>
#include <QHeaderView>
#include <QLabel>
#include <QLineSeries>
#include <QMouseEvent>
#include <QSplitter>
#include <QTableView>
#include <QTableWidget>
#include <QTreeView>

namespace {

class OverviewTest : public WindowTest {
  protected:
    // Three levels of pages, an image, a missing page linked twice, a server error, a redirect, and
    // one page slower than all others.
    void SetUp() override {
        server.addPage(
            "/",
            "<title>Home</title><a href=\"/a.html\">A</a><a href=\"/b.html\">B</a>"
            "<a href=\"/missing.html\">Gone</a><img src=\"/logo.png\"><a href=\"/redirect/301\">Moved</a>");
        server.addPage(
            "/a.html",
            "<title>A</title><a href=\"/deep/c.html\">C</a><a href=\"/missing.html\">Gone again</a>");
        server.addPage("/b.html", "<title>B</title><a href=\"/status/500\">Broken</a><a href=\"/\">Home</a>");
        server.addPage("/deep/c.html", "<title>C</title><a href=\"/a.html\">A</a>");
        server.addPage("/logo.png", QByteArray(2048, 'x'), "image/png");
        server.setResponseDelay("/b.html", 400);
    }

    ResultsView& results() { return window->resultsView(); }
    // A new site of the test server, images checked too, crawled for its links.
    void crawlNewSite() {
        startWindow();
        newSiteToTasks("Layers", "checkImages");
        runTask(NewUIController::linksButton);
    }
    int bars(QBarSet* set, int index) { return int(set->at(index)); }

    // A real mouse click on the middle of a bar, as the user gives it.
    void clickBar(QChartView* view, QBarSet* set, int index) {
        QChart* chart = view->chart();
        const QPointF middle =
            chart->mapToPosition(QPointF(index, set->at(index) / 2), chart->series().first());
        const QPoint at = view->mapFromScene(chart->mapToScene(middle));
        for (QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
            QMouseEvent event(type, at, view->viewport()->mapToGlobal(at), Qt::LeftButton,
                              type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton,
                              Qt::NoModifier);
            QApplication::sendEvent(view->viewport(), &event);
        }
        idle();
    }
};

} // namespace

// The overview comes first after the crawl, and its counts are those of the crawl's records.
TEST_F(OverviewTest, CountsAreThoseOfTheRecords) {
    crawlNewSite();
    EXPECT_EQ(results().frontSubTab(), "0") << "the overview is the first thing shown";
    OverviewPage& page = *results().overviewPage();
    const CrawlOverview& o = page.overview();

    QMap<int, int> codes, pageDepths;
    for (qsizetype i = 0; i < hub().count(); ++i) {
        const auto record = hub().getnthofAllItems(i);
        ++codes[StatusCodeSet::leadingCode(record->getStatus())];
        if (record->getIsHTML() && !record->getIsImage())
            ++pageDepths[record->getDistanceFromHome()];
    }
    EXPECT_EQ(o.links, hub().count());
    EXPECT_EQ(o.bad, 2);
    EXPECT_EQ(o.good, hub().count() - 2);
    EXPECT_EQ(o.images, 1);
    EXPECT_EQ(o.byCode, codes);
    EXPECT_EQ(o.byCode.value(404), 1);
    EXPECT_EQ(o.byCode.value(500), 1);
    EXPECT_EQ(o.pagesByDepth, pageDepths);
    EXPECT_EQ(o.pagesByDepth.value(2), 2) << "/deep/c.html and /status/500 are two clicks away";
    ASSERT_FALSE(o.slowest.isEmpty());
    EXPECT_EQ(o.slowest.first().url, server.url("/b.html"));

    // The charts draw those counts, bar for bar, and the summary says them.
    ASSERT_EQ(page.statusCodes(), codes.keys());
    for (int i = 0; i < page.statusCodes().size(); ++i)
        EXPECT_EQ(bars(page.statusCodeBars(), i), codes.value(page.statusCodes()[i]));
    ASSERT_EQ(page.depthBars()->count(), pageDepths.size());
    EXPECT_EQ(page.responseTimeBars()->count(), CrawlOverview::bucketCount());
    int answers = 0;
    for (int i = 0; i < page.responseTimeBars()->count(); ++i)
        answers += bars(page.responseTimeBars(), i);
    EXPECT_EQ(answers, hub().count() - codes.value(0));
    EXPECT_TRUE(
        find<QLabel>("overviewSummary")->text().contains(QString("<b>%1</b> links").arg(hub().count())));
}

// A click on a bar shows only its links in the tables, with the count under them; "Show all"
// and any change of the filter give the whole list back.
TEST_F(OverviewTest, BarClickFiltersTheTables) {
    crawlNewSite();
    OverviewPage& page = *results().overviewPage();
    const int all = int(hub().count());
    QLabel* shown = results().shownCountLabel();

    const int missing = int(page.statusCodes().indexOf(404));
    ASSERT_GE(missing, 0);
    clickBar(window->findChild<QChartView*>("Links by status code"), page.statusCodeBars(), missing);
    EXPECT_EQ(results().frontSubTab(), "1");
    QTreeView* byLink = results().byLinkTree();
    EXPECT_EQ(column(byLink->model(), 1), QStringList{server.url("/missing.html")});
    EXPECT_EQ(shown->text(), QString("1 of %1 shown").arg(all));
    EXPECT_EQ(results().selectionLabel()->text(), "Showing status 404.");
    results().selectSubTab("2");
    EXPECT_EQ(column(results().flatTable()->model(), 1),
              QStringList({server.url("/missing.html"), server.url("/missing.html")}))
        << "the missing page is linked from two pages";
    EXPECT_TRUE(shown->text().startsWith("2 of "));

    // Depth: pages only, however many links sit at that depth.
    results().selectSubTab("0");
    const int two = int(page.depths().indexOf(2));
    ASSERT_GE(two, 0);
    clickBar(window->findChild<QChartView*>("Pages by depth from the start"), page.depthBars(), two);
    EXPECT_EQ(column(byLink->model(), 1),
              QStringList({server.url("/deep/c.html"), server.url("/status/500")}));

    // A status class row of the overview's table selects the same way.
    results().selectSubTab("0");
    auto* classes = find<QTableWidget>("overviewClasses");
    const auto serverErrors =
        classes->findItems(CrawlOverview::className(CrawlOverview::ServerError), Qt::MatchExactly);
    ASSERT_EQ(serverErrors.size(), 1);
    emit classes->cellClicked(serverErrors.first()->row(), 0);
    EXPECT_EQ(column(byLink->model(), 1), QStringList{server.url("/status/500")});

    button("showAllLinks")->click();
    EXPECT_EQ(byLink->model()->rowCount(), all);
    EXPECT_FALSE(find<QWidget>("overviewSelection")->isVisible());
    EXPECT_EQ(shown->text(), QString("%1 of %1 shown").arg(all));
}

// Window size, splitter positions and column widths come back after a restart.
TEST_F(OverviewTest, LayoutRememberedAcrossRestart) {
    crawlNewSite();
    window->resize(1020, 700);
    auto* splitter = find<QSplitter>("overviewTables");
    splitter->setSizes({150, 650});
    const QList<int> sizes = splitter->sizes();
    QHeaderView* header = results().flatTable()->horizontalHeader();
    header->resizeSection(1, 333); // the URL column, as a drag of its edge does
    results().filter();            // a reload must not undo the user's width
    EXPECT_EQ(header->sectionSize(1), 333);
    closeWindow();

    startWindow();
    EXPECT_EQ(window->size(), QSize(1020, 700));
    // The splitter is laid out anew in a window of another size: its proportion is what stays.
    const QList<int> restored = find<QSplitter>("overviewTables")->sizes();
    ASSERT_EQ(restored.size(), 2);
    EXPECT_NEAR(double(restored[0]) / (restored[0] + restored[1]), double(sizes[0]) / (sizes[0] + sizes[1]),
                0.02);
    EXPECT_EQ(results().flatTable()->horizontalHeader()->sectionSize(1), 333);
    EXPECT_EQ(results().flatTable()->horizontalHeader()->sectionSize(0), 200) << "others keep their own";
}

// The further columns show the record's own values and sort on them; the context menu copies
// the link or the page it is on, in each of the three tables.
TEST_F(OverviewTest, FurtherColumnsAndContextMenu) {
    crawlNewSite();
    results().selectSubTab("2");
    QTableView* flat = results().flatTable();
    EXPECT_EQ(flat->horizontalHeader()->sortIndicatorSection(), -1) << "no arrow before the user sorts";
    const int before = flat->model()->columnCount();
    for (const char* key : {"TrelliumFlatViewColsCode", "TrelliumFlatViewColsPageTitle"})
        find<QAction>(key)->trigger();
    ASSERT_EQ(flat->model()->columnCount(), before + 2);
    const int code = before, title = before + 1;
    EXPECT_EQ(flat->model()->headerData(code, Qt::Horizontal).toString(), "Code");
    flat->sortByColumn(code, Qt::DescendingOrder);
    EXPECT_EQ(flat->model()->index(0, code).data().toString(), "500");
    EXPECT_EQ(flat->model()->index(0, 1).data().toString(), server.url("/status/500"));
    const QStringList titles = column(flat->model(), title);
    EXPECT_TRUE(titles.contains("C"));
    EXPECT_EQ(flat->horizontalHeader()->sortIndicatorSection(), code);
    EXPECT_TRUE(flat->horizontalHeader()->isSortIndicatorShown());

    struct Case {
        const char* tab;
        QAbstractItemView* view;
        QModelIndex index;
        QString link, page;
    };
    QTreeView* byLink = results().byLinkTree();
    QTreeView* byPage = results().byPageTree();
    int missingRow = int(column(flat->model(), 1).indexOf(server.url("/missing.html")));
    ASSERT_GE(missingRow, 0);
    const QString flatPage = results().flatReportModel().itemAt(missingRow)->getOnPageUrl();
    const int byLinkRow = int(column(byLink->model(), 1).indexOf(server.url("/deep/c.html")));
    ASSERT_GE(byLinkRow, 0);
    const QModelIndex byLinkRoot = byLink->model()->index(byLinkRow, 0);
    const int byPageRow = int(column(byPage->model(), 1).indexOf(server.url("/a.html")));
    ASSERT_GE(byPageRow, 0);
    const QModelIndex byPageRoot = byPage->model()->index(byPageRow, 0);
    const Case cases[] = {
        {"2", flat, flat->model()->index(missingRow, 0), server.url("/missing.html"), flatPage},
        {"1", byLink, byLinkRoot, server.url("/deep/c.html"), server.url("/a.html")},
        {"1", byLink, byLink->model()->index(0, 0, byLinkRoot), server.url("/a.html"), server.url("/a.html")},
        {"3", byPage, byPage->model()->index(0, 0, byPageRoot), server.url("/deep/c.html"),
         server.url("/a.html")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.tab);
        results().selectSubTab(c.tab);
        c.view->setCurrentIndex(c.index);
        QApplication::clipboard()->clear();
        c.view->findChild<QAction*>("copyURL")->trigger();
        EXPECT_EQ(QApplication::clipboard()->text(), c.link);
        c.view->findChild<QAction*>("copyPageItIsOn")->trigger();
        EXPECT_EQ(QApplication::clipboard()->text(), c.page);
    }
    QStringList titlesOfMenu;
    for (QAction* action : flat->actions())
        titlesOfMenu.append(action->text());
    titlesOfMenu.removeAll("");
    EXPECT_EQ(titlesOfMenu, QStringList({"Open in Browser", "Open the Page It Is On", "Copy URL",
                                         "Copy the Page It Is On", "Inspect…"}));
}

// While a slow page holds the crawl, the progress step shows the time, the pace, the URL out and
// the chart's bands; at the end the bands add up to the crawl's counts.
TEST_F(OverviewTest, ProgressShowsTheCrawlAlive) {
    server.setResponseDelay("/deep/c.html", 2000);
    startWindow();
    newSiteToTasks("Layers", "checkImages");
    task(NewUIController::linksButton)->click();
    auto* progress = find<ProgressPage>("progressDetails");
    ASSERT_TRUE(spinUntil([&] { return progress->pace().elapsed() >= 1.2; }));
    progress->sample();
    EXPECT_EQ(find<QLabel>("progressCurrent")->text(), server.url("/deep/c.html"))
        << "the request out longest";
    EXPECT_NE(find<QLabel>("progressRate")->text(), "–");
    EXPECT_TRUE(find<QLabel>("progressElapsed")->text().startsWith("0:0"));
    ASSERT_TRUE(resultsShown());
    progress->sample();
    ASSERT_GT(progress->doneLine()->count(), 2);
    EXPECT_EQ(progress->doneLine()->points().last().y(), double(hub().getNumberDone()));
    EXPECT_EQ(progress->totalLine()->points().last().y(), double(hub().count()));
    EXPECT_EQ(progress->badLine()->points().last().y(), 2.0);
    EXPECT_EQ(find<QLabel>("progressCurrent")->text(), "–") << "nothing is being checked any more";
    EXPECT_EQ(find<QLabel>("progressLeft")->text(), "–");
}

// The README's pictures of every step, written only when TRELLIUM_SCREENSHOTS names a folder,
// so the ordinary suite never rewrites them: TRELLIUM_SCREENSHOTS=docs/screenshots test_gui.
TEST_F(OverviewTest, Screenshots) {
    if (qEnvironmentVariable("TRELLIUM_SCREENSHOTS").isEmpty())
        GTEST_SKIP() << "TRELLIUM_SCREENSHOTS is not set";
    // A livelier site: a catalogue of pages answering at different speeds.
    QByteArray catalogue = "<title>Catalogue</title><a href=\"/catalogue/old-item.html\">Old</a>";
    const QString item =
        "<title>Item %1</title><a href=\"/\">Home</a><a href=\"/catalogue/item%2.html\">Next</a>";
    for (int i = 1; i <= 24; ++i) {
        const QString path = QString("/catalogue/item%1.html").arg(i);
        catalogue += QString("<a href=\"%1\">Item %2</a>").arg(path).arg(i).toUtf8();
        server.addPage(path, item.arg(i).arg(i % 24 + 1).toUtf8());
        server.setResponseDelay(path, (i * 37) % 5 == 0 ? 700 : (i * 53) % 300);
    }
    server.addPage("/catalogue/", catalogue);
    server.addPage("/a.html",
                   "<title>A</title><a href=\"/deep/c.html\">C</a><a href=\"/catalogue/\">Catalogue</a>"
                   "<a href=\"/missing.html\">Gone</a>");
    server.setResponseDelay("/b.html", 5000); // holds the crawl for the progress picture

    QDir().mkpath(SiteStore::storePath());
    const QString lastWeek = SiteStore::dateStampText(QDateTime::currentDateTime().addDays(-7));
    for (const auto& [name, url] :
         QList<QPair<QString, QString>>{{"Company blog", "https://blog.example.com/"},
                                        {"Online shop", "https://shop.example.com/"},
                                        {"Documentation", "https://docs.example.org/"}})
        ASSERT_TRUE(Plist::writeFile(SiteStore::pathForFilename(SiteStore::filenameFromURL(url)),
                                     {{"url", url},
                                      {"name", name},
                                      {"dateStamp", lastWeek},
                                      {"status", "1204 of 1204 links checked, 3 bad"},
                                      {"scheduleCalendarIntervalMatrix", name == "Online shop" ? 1 : 0},
                                      {"scheduleCalendarIntervalWeekday", "Monday"}}));
    startWindow();
    window->resize(1180, 800);
    newSite(server.url("/"), "Demo site");
    screenshot("step1-sites");
    button("nextButton")->click();
    window->settingsForm().checkBoxForKey("checkImages")->click();
    window->settingsForm().addBlacklistRule("Do not check", "/logout");
    window->settingsForm().addBlacklistRule("Do not follow", "/archive/");
    screenshot("step2-settings");
    button("nextButton")->click();
    screenshot("step3-tasks");

    task(NewUIController::linksButton)->click();
    auto* progress = find<ProgressPage>("progressDetails");
    ASSERT_TRUE(spinUntil([&] { return progress->pace().elapsed() >= 3; }));
    progress->sample();
    screenshot("step4-progress");
    ASSERT_TRUE(spinUntil([&] { return controller().getSelectedTab() == "5"; }, 30000));
    screenshot("step5-overview");
    results().selectSubTab("1");
    results().byLinkTree()->expandAll();
    screenshot("step5-results");
    results().selectSubTab("2");
    screenshot("step5-flat");
}
