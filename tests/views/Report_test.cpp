#include "ViewsFixture.h"

#include "support/TempHome.h"
#include "views/KestReportDataSource.h"
#include "views/LinkTreeSource.h"
#include "views/TableExport.h"

#include <QFile>

namespace {

const QString home = "http://example.com/";

// a on two pages, b broken on the start page; the start page itself has no row.
struct Crawled : ViewsFixture {
    LinkCheckerUrlPtr start = link(home, "200 no error", 0);
    LinkCheckerUrlPtr a = link("http://example.com/a", "200 no error");
    LinkCheckerUrlPtr b = link("http://example.com/b", "404 not found", 10);
    KestReportDataSource& report = hub.getReportDataSource();
    const kestreliaTableView small{{{"status", "Status"}, {"linkurl", "URL"}, {"onpageurl", "On Page"}}};

    Crawled() {
        occur(a, home, "Home");
        occur(a, "http://example.com/b", "A again", true);
        occur(b, home, "Broken");
        b->setTimestamp("T1");
        report.doReport(hub, true);
    }
};

const char* const flatHeader = "\"Status\",\"URL\",\"Redirected To\",\"Link Text\",\"On Page\",\"Time "
                               "Stamp\",\"Distance\",\"Nofollow\"\r";

} // namespace

TEST(FlatReport, OneRowPerOccurrence) {
    Crawled f;
    const kestreliaTableView all = f.report.tableView();
    EXPECT_EQ(f.report.getFlatCSV(all),
              QString(flatHeader) +
                  "\"200 no "
                  "error\",\"http://example.com/a\",\"\",\"Home\",\"http://example.com/\",\"\",\"1\",\"No\"\r"
                  "\"200 no error\",\"http://example.com/a\",\"\",\"A "
                  "again\",\"http://example.com/b\",\"\",\"1\",\"Yes\"\r"
                  "\"404 not "
                  "found\",\"http://example.com/b\",\"\",\"Broken\",\"http://example.com/"
                  "\",\"T1\",\"10\",\"No\"\r");
    EXPECT_EQ(f.report.getFlatTDL(f.small),
              "\"Status\"\t\"URL\"\t\"On Page\"\r"
              "\"200 no error\"\t\"http://example.com/a\"\t\"http://example.com/\"\r"
              "\"200 no error\"\t\"http://example.com/a\"\t\"http://example.com/b\"\r"
              "\"404 not found\"\t\"http://example.com/b\"\t\"http://example.com/\"\r");
    ASSERT_EQ(f.report.getBadCollection().size(), 1u);
    EXPECT_EQ(f.report.getBadCollection()[0]->getLinkText(), "Broken");
    // Ids go on rising over repeated reports; page titles stand for URLs when asked.
    f.preferences.setValue("KestreliaShowPageTitle", 1);
    f.report.doReport(f.hub, true);
    EXPECT_EQ(f.report.getnthItem(0)->getID(), 4);
    EXPECT_EQ(f.report.getnthItem(0)->getFieldByName("onpageurl"), "Title");
}

// The rows of one record share what they have alike; changing one row leaves its siblings be.
TEST(FlatReport, RowsOfOneRecordChangeApart) {
    Crawled f;
    const auto first = f.report.getnthItem(0), second = f.report.getnthItem(1);
    ASSERT_EQ(first->getLinkUrl(), second->getLinkUrl());
    first->setStatus("500 internal server error");
    first->setLinkUrl("http://example.com/changed");
    first->setDistanceFromHome(7);
    EXPECT_EQ(second->getStatus(), "200 no error");
    EXPECT_EQ(second->getLinkUrl(), "http://example.com/a");
    EXPECT_EQ(second->getDistanceFromHome(), 1);
    EXPECT_EQ(first->getFieldByName("status").toString(), "500 internal server error");
    // Both still answer their colour through the record.
    EXPECT_EQ(first->getLcurl(), second->getLcurl());
}

TEST(FlatReport, TabExportStopsAfterAsManyPositionsAsVisibleRows) {
    Crawled f;
    f.report.filter("Broken", 0); // only the last of three rows is visible
    EXPECT_EQ(f.report.numberOfRowsInTableView(), 1);
    EXPECT_EQ(f.report.getFlatCSV(f.small), "\"Status\",\"URL\",\"On Page\"\r\"404 not "
                                            "found\",\"http://example.com/b\",\"http://example.com/\"\r");
    EXPECT_EQ(f.report.getFlatTDL(f.small), "\"Status\"\t\"URL\"\t\"On Page\"\r");
}

// The exports, and the bad links alone as HTML and saved as CSV.
TEST(FlatReport, Exports) {
    Crawled f;
    const QString head =
        "<table><tr><th style = max-width:100px>Status</th><th style = max-width:100px>URL</th>"
        "<th style = max-width:100px>On Page</th></tr>";
    auto row = [](const QString& cell, const char* status, const char* url, const char* page) {
        return QString("<tr><td %1>%2</td><td %1><a href=\"%3\" target=\"_blank\">%3</a></td>"
                       "<td %1><a href = \"%4\" target=\"_blank\">%4</a></td></tr>")
            .arg(cell, status, url, page);
    };
    const QString rows =
        row("", "200 no error", "http://example.com/a", "http://example.com/") +
        row("style = background:#f0f0ff ", "200 no error", "http://example.com/a", "http://example.com/b") +
        row("", "404 not found", "http://example.com/b", "http://example.com/");
    EXPECT_EQ(f.report.getExportAsHTML(f.small),
              "<html><head><title>Data Export from Trellium</title><meta http-equiv=\"Content-Type\" "
              "content=\"text/html; charset=UTF-8\" /></head><body>" +
                  QString(TableExport::styleBlock) + head + rows + "</table><br /></body></head></html>");
    EXPECT_EQ(f.report.getBadLinksAsHTML(f.small),
              head + row("", "404 not found", "http://example.com/b", "http://example.com/") +
                  "</table><br />");
    TempHome temp;
    const QString path = temp.path() + "/bad.csv";
    ASSERT_TRUE(f.report.exportBadLinksAsFlatCSVAndSaveTo(path, f.small));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), "\"Status\",\"URL\",\"On Page\"\r\"404 not found\",\"http://example.com/b\","
                              "\"http://example.com/\"\r");
    EXPECT_FALSE(f.report.exportBadLinksAsFlatCSVAndSaveTo(temp.path() + "/missing/bad.csv", f.small));

    // Colours replace the alternation and carry no quotes here.
    f.preferences.setValue("LorraneDisplayLabels", true);
    f.report.filter("b", 0); // the term makes the colours follow the visible rows
    EXPECT_TRUE(
        f.report.getExportAsHTML(f.small).contains("<tr><td style = background:rgb(255,209,209)>404"));

    // The full report's form: whole values as anchor texts.
    EXPECT_TRUE(f.report.getDataAsHTMLusingTableView(f.small).contains(
        "<a href = http://example.com/b >http://example.com/b</a>"));
}

TEST(FlatReport, BadLinksOnlyWithNoneBad) {
    Crawled f;
    f.b->setStatus("200 no error");
    f.report.doReport(f.hub, true);
    f.preferences.setValue("showHideGoodLinksCheckBox", true);
    EXPECT_EQ(f.report.numberOfRowsInTableView(), 0);
    EXPECT_EQ(f.report.getnthVisibleItem(0), nullptr);
    EXPECT_EQ(f.report.getBadLinksAsHTML(f.small), "<p>&nbsp;</p>");
    EXPECT_EQ(f.report.getFlatCSV(f.small), "\"Status\",\"URL\",\"On Page\"\r");
}

TEST(FlatReport, SortsAsTextOnEveryColumn) {
    struct Case {
        const char* column;
        bool ascending;
        const char* texts;
    };
    const Case cases[] = {
        {"distance", true, "Broken,Home,A again"}, // "10" before "9"; equal texts keep their order
        {"distance", false, "Home,A again,Broken"},
        {"linktext", true, "A again,Broken,Home"},
        {"linktext", false, "Home,Broken,A again"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.column) + (c.ascending ? " ascending" : " descending"));
        Crawled f;
        f.a->setDistanceFromHome(9);
        f.report.doReport(f.hub, true);
        f.report.didClickTableColumn(c.column, c.ascending);
        QStringList texts;
        for (const auto& row : f.report.getCollection())
            texts.append(row->getLinkText());
        EXPECT_EQ(texts.join(','), c.texts);
        EXPECT_EQ(f.report.getCurrentSortField(), QString(c.column));
    }
}

TEST(FlatReport, LargeExportAsksFirst) {
    struct Case {
        int rows;
        bool badOnly;
        int answer; // 0 Cancel, 1 Continue
        bool asked, written;
    };
    const Case cases[] = {
        {10000, false, 0, false, true},
        {10001, false, 0, true, false},
        {10001, false, 1, true, true},
        {10001, true, 0, false, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.rows);
        TempHome temp;
        ViewsFixture f;
        auto r = f.link("http://example.com/x", "404 not found");
        for (int i = 0; i < c.rows; ++i)
            f.occur(r, home, "x");
        KestReportDataSource& report = f.hub.getReportDataSource();
        report.doReport(f.hub, true);
        f.preferences.setValue("showHideGoodLinksCheckBox", c.badOnly);
        RecordingUserInterface ui;
        ui.alertAnswer = c.answer;
        ui.saveAnswer = temp.path() + "/out.csv";
        report.exportAsFlatCSV(ui, report.tableView());
        EXPECT_EQ(!ui.alerts.isEmpty(), c.asked);
        EXPECT_EQ(QFile::exists(ui.saveAnswer), c.written);
    }
}

TEST(FlatReport, BuildsOnItsOwnThreadWhileRecordsArrive) {
    ViewsFixture f;
    std::vector<LinkCheckerUrlPtr> records;
    for (int i = 0; i < 300; ++i) {
        records.push_back(
            f.link(QString("http://example.com/%1").arg(i), i % 7 ? "200 no error" : "404 not found"));
        for (int k = 0; k < 5; ++k)
            f.occur(records.back(), QString("http://example.com/%1").arg(k), "text");
    }
    KestReportDataSource& report = f.hub.getReportDataSource();
    report.doReport(f.hub, false);
    // The crawl goes on: new records, new occurrences of old ones, a changed status.
    for (int i = 0; i < 300; ++i) {
        f.occur(records[size_t(i)], "http://example.com/late", "late");
        f.occur(f.link(QString("http://example.com/new%1").arg(i), "200 no error"), home, "new");
        records[size_t(i)]->setStatus("500 internal server error");
    }
    report.waitForReport();
    EXPECT_EQ(report.count(), 1500);
    EXPECT_EQ(report.getBadCollection().size(), 43u * 5);
    EXPECT_EQ(report.getnthItem(0)->getStatus(), "404 not found");
}
