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

bool read(Crawl& crawl, CrawlDatabase::Loaded& loaded, benchmark::State& state) {
    QString why;
    if (CrawlDatabase::readFile(databasePath(), crawl.hub, loaded, &why))
        return true;
    state.SkipWithError(qPrintable("set TRELLIUM_BENCH_DATABASE to a saved crawl: " + why));
    return false;
}

void load(Crawl& crawl, benchmark::State& state) {
    CrawlDatabase::Loaded loaded;
    if (read(crawl, loaded, state))
        CrawlDatabase::apply(std::move(loaded), crawl.hub, crawl.seo);
}

// The file read into records (argument 0), and the records also handed to the hub (1): what
// the person waits for. The flat report is then built on a thread of its own, not timed.
void BM_Load(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        auto crawl = std::make_unique<Crawl>();
        CrawlDatabase::Loaded loaded;
        state.ResumeTiming();
        if (!read(*crawl, loaded, state))
            break;
        state.counters["records"] = double(loaded.records.size());
        if (state.range(0))
            CrawlDatabase::apply(std::move(loaded), crawl->hub, crawl->seo);
        state.PauseTiming();
        crawl->hub.getReportDataSource().waitForReport();
        loaded = CrawlDatabase::Loaded();
        crawl.reset();
        state.ResumeTiming();
    }
}

void BM_Save(benchmark::State& state) {
    Crawl crawl;
    load(crawl, state);
    crawl.hub.getReportDataSource().waitForReport();
    const QString out = QDir::tempPath() + "/trellium-bench-save.plist";
    for (auto _ : state)
        CrawlDatabase::writeToLocation(out, crawl.hub, crawl.seo, true, false);
    state.counters["MB"] = double(QFile(out).size()) / (1 << 20);
    QFile::remove(out);
}

} // namespace

BENCHMARK(BM_Load)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_Save)->Unit(benchmark::kMillisecond)->Iterations(3);
