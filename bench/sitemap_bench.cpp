// The sitemap of a large site: 20,001 pages with rules and Last-Modified dates, built from the SEO
// collection and written to disk the way `trellium sitemap` writes it after the crawl.
#include "analysis/SEOManager.h"
#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"
#include "platform/UserInterface.h"

#include <QTemporaryDir>
#include <benchmark/benchmark.h>

namespace {

struct QuietInterface : UserInterface {
    int alert(const QString&, const QString&, const QStringList&) override { return 0; }
    QString chooseSaveFile(const QString&, const QString&) override { return {}; }
    QString chooseOpenFile(const QString&) override { return {}; }
    void progress(qint64, qint64, const QString&) override {}
};

struct LargeSite {
    static constexpr int pages = 20001;
    KestConfigManager config;
    Preferences preferences;
    QuietInterface ui;
    LinkCheckerHub hub{config, preferences, ui};
    SEOManager seo{config, preferences, hub};

    LargeSite() {
        config.setDefaults();
        config.getSitemapRules().append(
            QVariantMap{{"contains", "/section1"}, {"priority", "0.8"}, {"update", "daily"}});
        config.getSitemapRules().append(
            QVariantMap{{"contains", "page9"}, {"priority", "0.1"}, {"update", "yearly"}});
        for (int i = 0; i < pages; ++i) {
            auto r = std::make_shared<LinkCheckerUrl>(&hub);
            r->setLinkUrlTrimQuery(
                QString("http://example.com/section%1/page%2.html?a=1&b=%2").arg(i % 40).arg(i), false);
            r->setDistanceFromHome(i % 7);
            r->setIsHTML(true);
            r->setIsInternal(true);
            r->setTargetLastModified("Mon, 29 Dec 2025 10:00:00 GMT");
            seo.pageFromCrawl(r, true);
        }
    }
};

void BM_SitemapWrite(benchmark::State& state) {
    static LargeSite site;
    QTemporaryDir dir;
    const QString path = dir.filePath("sitemap.xml");
    for (auto _ : state) {
        site.seo.clearSitemapCollection();
        benchmark::DoNotOptimize(site.seo.exportXMLSitemapAndSaveTo(path));
    }
}
BENCHMARK(BM_SitemapWrite)->Unit(benchmark::kMillisecond);

} // namespace
