// Save and load of a saved crawl, on the file named by TRELLIUM_BENCH_DATABASE (bench/database.sh
// makes one from a crawl of the generated site): the load reads and hands the records to a hub,
// the save writes them all back.
#include "analysis/SEOManager.h"
#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"
#include "platform/UserInterface.h"
#include "reports/CrawlDatabase.h"

#include <QDir>
#include <QFile>
#include <benchmark/benchmark.h>

namespace {

class SilentUserInterface : public UserInterface {
  public:
    int alert(const QString&, const QString&, const QStringList&) override { return 0; }
    QString chooseSaveFile(const QString&, const QString&) override { return {}; }
    QString chooseOpenFile(const QString&) override { return {}; }
    void progress(qint64, qint64, const QString&) override {}
};

struct Crawl {
    KestConfigManager config;
    Preferences preferences;
    SilentUserInterface ui;
    LinkCheckerHub hub{config, preferences, ui};
    SEOManager seo{config, preferences, hub};
    Crawl() {
        config.setDefaults();
        preferences.setValue("linkslimit", 0);
    }
};

QString databasePath() {
    return qEnvironmentVariable("TRELLIUM_BENCH_DATABASE");
}

void load(Crawl& crawl, benchmark::State& state) {
    CrawlDatabase::Loaded loaded;
    QString why;
    if (!CrawlDatabase::readFile(databasePath(), crawl.hub, loaded, &why)) {
        state.SkipWithError(qPrintable("set TRELLIUM_BENCH_DATABASE to a saved crawl: " + why));
        return;
    }
    CrawlDatabase::apply(std::move(loaded), crawl.hub, crawl.seo);
    crawl.hub.getReportDataSource().waitForReport();
}

void BM_Load(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        auto crawl = std::make_unique<Crawl>();
        state.ResumeTiming();
        load(*crawl, state);
        state.PauseTiming();
        state.counters["records"] = double(crawl->hub.count());
        crawl.reset();
        state.ResumeTiming();
    }
}

void BM_Save(benchmark::State& state) {
    Crawl crawl;
    load(crawl, state);
    const QString out = QDir::tempPath() + "/trellium-bench-save.plist";
    for (auto _ : state)
        CrawlDatabase::writeToLocation(out, crawl.hub, crawl.seo, true, false);
    state.counters["MB"] = double(QFile(out).size()) / (1 << 20);
    QFile::remove(out);
}

} // namespace

BENCHMARK(BM_Load)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_Save)->Unit(benchmark::kMillisecond)->Iterations(3);
