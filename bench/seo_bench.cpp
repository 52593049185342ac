// The SEO table of a large crawl: a keyword counted over 20,000 pages without and with the page
// archive, and the archive's writes, one page at a time as the crawl makes them.
#include "analysis/SEOManager.h"
#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"
#include "platform/UserInterface.h"
#include "reports/PageArchive.h"

#include <QTemporaryDir>
#include <benchmark/benchmark.h>

namespace {

struct QuietInterface : UserInterface {
    int alert(const QString&, const QString&, const QStringList&) override { return 0; }
    QString chooseSaveFile(const QString&, const QString&) override { return {}; }
    QString chooseOpenFile(const QString&) override { return {}; }
    void progress(qint64, qint64, const QString&) override {}
};

QByteArray pageBytes(int i) {
    QByteArray body =
        "<html><head><title>Page " + QByteArray::number(i) + " about garden tools</title></head><body>";
    for (int p = 0; p < 40; ++p)
        body += "<p>Spades, forks and rakes for every garden; compost and seeds in season.</p>";
    return body + "</body></html>";
}

struct LargeSite {
    static constexpr int pages = 20000;
    QTemporaryDir home;
    KestConfigManager config;
    Preferences preferences;
    QuietInterface ui;
    LinkCheckerHub hub{config, preferences, ui};
    SEOManager seo{config, preferences, hub};

    LargeSite() {
        qputenv("XDG_DATA_HOME", home.path().toUtf8());
        config.setDefaults();
        for (int i = 0; i < pages; ++i) {
            auto r = std::make_shared<LinkCheckerUrl>(&hub);
            r->setLinkUrlTrimQuery(QString("http://example.com/section%1/page%2.html").arg(i % 40).arg(i),
                                   false);
            r->setLinkPageTitle(QString("Page %1 about garden tools").arg(i));
            r->setMetaDescription("Spades, forks and rakes for every garden");
            r->setHeadings("Garden tools");
            r->setFileSize(pageBytes(i).size());
            seo.add(r);
        }
    }
    static LargeSite& get() {
        static LargeSite site;
        return site;
    }
};

void BM_KeywordWithoutArchive(benchmark::State& state) {
    LargeSite& site = LargeSite::get();
    PageArchive::clearArchiveFolder();
    site.seo.setSEOSearchTerm("garden");
    for (auto _ : state)
        site.seo.SEOfilter();
}
BENCHMARK(BM_KeywordWithoutArchive)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_ArchiveWrites(benchmark::State& state) {
    LargeSite& site = LargeSite::get();
    PageArchive::clearArchiveFolder();
    int i = 0;
    for (auto _ : state) {
        const LinkCheckerUrlPtr page = site.seo.getCollection()[size_t(i % LargeSite::pages)];
        PageArchive::archivePageInBackground(page->getActualLinkUrl(), pageBytes(i % LargeSite::pages));
        ++i;
    }
    // The loop's time is what the event loop spends; the disk's own time is not counted.
    PageArchive::waitForArchiveWrites();
}
BENCHMARK(BM_ArchiveWrites)->Unit(benchmark::kMicrosecond)->Iterations(LargeSite::pages);

void BM_KeywordWithArchive(benchmark::State& state) {
    LargeSite& site = LargeSite::get();
    site.seo.setSEOSearchTerm("garden");
    for (auto _ : state)
        site.seo.SEOfilter();
}
BENCHMARK(BM_KeywordWithArchive)->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace
