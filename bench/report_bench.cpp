// Exports of a large crawl: 20,000 pages holding 500,000 occurrences of links, built in memory
// the way link intake builds them.
#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"
#include "platform/UserInterface.h"
#include "views/KestReportDataSource.h"
#include "views/LinkTreeSource.h"

#include <benchmark/benchmark.h>

namespace {

struct QuietInterface : UserInterface {
    int alert(const QString&, const QString&, const QStringList&) override { return 0; }
    QString chooseSaveFile(const QString&, const QString&) override { return {}; }
    QString chooseOpenFile(const QString&) override { return {}; }
    void progress(qint64, qint64, const QString&) override {}
};

struct LargeCrawl {
    static constexpr int pages = 20000;
    static constexpr int linksPerPage = 25;
    KestConfigManager config;
    Preferences preferences;
    QuietInterface ui;
    LinkCheckerHub hub{config, preferences, ui};

    LargeCrawl() {
        config.setDefaults();
        std::vector<LinkCheckerUrlPtr> records;
        for (int i = 0; i < pages; ++i) {
            auto r = std::make_shared<LinkCheckerUrl>(&hub);
            r->setLinkUrlTrimQuery(QString("http://example.com/section%1/page%2.html").arg(i % 40).arg(i),
                                   false);
            r->setStatus(i % 50 ? "200 no error" : "404 not found");
            r->setIsInBadCollection(!r->shouldBeMemberOfBadCollection());
            r->setDistanceFromHome(i % 7);
            hub.add(r);
            records.push_back(r);
        }
        // Every page links to the navigation (the first five pages) and to twenty others.
        for (int p = 0; p < pages; ++p) {
            const QString page = records[size_t(p)]->getLinkUrl();
            for (int k = 0; k < linksPerPage; ++k) {
                const auto& target = records[size_t(k < 5 ? k : (p * 31 + k * 977) % pages)];
                target->addOnPageUrl(page);
                target->addOnPageName(QString("Page %1").arg(p));
                target->addOnPageLinkText(QString("link %1").arg(k));
                target->addNofollow(false);
            }
        }
        hub.countBadCollection();
        hub.stop(); // ends the crawl and builds the report
        hub.getReportDataSource().waitForReport();
    }
};

LargeCrawl& crawl() {
    static LargeCrawl large;
    return large;
}

void BM_FlatCSVExport(benchmark::State& state) {
    KestReportDataSource& report = crawl().hub.getReportDataSource();
    const kestreliaTableView table = report.tableView();
    for (auto _ : state)
        benchmark::DoNotOptimize(report.getFlatCSV(table));
    state.counters["rows"] = double(report.count());
}
BENCHMARK(BM_FlatCSVExport)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_FlatReportBuild(benchmark::State& state) {
    LargeCrawl& large = crawl();
    for (auto _ : state)
        large.hub.getReportDataSource().doReport(large.hub, true);
}
BENCHMARK(BM_FlatReportBuild)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_ByPageCSVExport(benchmark::State& state) {
    LargeCrawl& large = crawl();
    LinkTreeSource tree(large.hub, large.preferences);
    ByPageOutline byPage(tree);
    for (auto _ : state) {
        const lfOutlineView outline = ByLinkColumns::outline(byPage, large.preferences);
        benchmark::DoNotOptimize(TreeExport::exportAsCSVFromOutlineView(outline));
    }
}
BENCHMARK(BM_ByPageCSVExport)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_ByLinkHTMLExport(benchmark::State& state) {
    LargeCrawl& large = crawl();
    LinkTreeSource tree(large.hub, large.preferences);
    ByLinkOutline byLink(tree);
    for (auto _ : state) {
        const lfOutlineView outline = ByLinkColumns::outline(byLink, large.preferences);
        benchmark::DoNotOptimize(TreeExport::exportAsHTMLFromOutlineView(outline));
    }
}
BENCHMARK(BM_ByLinkHTMLExport)->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace
