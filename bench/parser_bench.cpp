// Reader throughput: construction (every head pass) plus the crawl's whole link walk, over
// generated pages shaped like real ones.
#include "parsing/KestParser.h"
#include "parsing/TextEncodings.h"

#include <QLoggingCategory>
#include <QRandomGenerator>
#include <benchmark/benchmark.h>
#include <vector>

namespace {

const char* const words[] = {"the",  "site",   "audit",  "links",   "caf&eacute;", "report", "page",
                             "with", "images", "&amp;",  "scripts", "content",     "more",   "über",
                             "data", "index",  "search", "&#8212;", "results",     "about"};

QByteArray sentence(QRandomGenerator& random, int count) {
    QByteArray out;
    for (int i = 0; i < count; ++i) {
        out += words[random.bounded(static_cast<int>(std::size(words)))];
        out += ' ';
    }
    return out;
}

QByteArray makePage(QRandomGenerator& random, int targetBytes) {
    QByteArray page =
        "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n"
        "<title>Generated page " +
        QByteArray::number(random.bounded(100000)) +
        " &amp; friends</title>\n"
        "<meta name=\"description\" content=\"" +
        sentence(random, 20) +
        "\">\n<meta name=\"keywords\" content=\"a, b, c\">\n"
        "<link rel=\"canonical\" href=\"https://example.com/page\">\n"
        "<link rel=\"stylesheet\" href=\"/css/site.css\">\n"
        "<script>window.dataLayer = window.dataLayer || []; if (a < b && c > d) { x = '<div>'; }"
        "</script>\n</head>\n<body class=\"home\">\n<!-- navigation -->\n<nav><ul>";
    for (int i = 0; i < 12; ++i)
        page += "<li><a href=\"/section/" + QByteArray::number(i) + "/\" class=\"nav-link\">Section " +
                QByteArray::number(i) + "</a></li>\n";
    page += "</ul></nav>\n<h1>Welcome to the generated page</h1>\n";
    while (page.size() < targetBytes) {
        switch (random.bounded(6)) {
        case 0:
            page += "<p>" + sentence(random, 40 + random.bounded(60)) + "</p>\n";
            break;
        case 1:
            page += "<p>" + sentence(random, 10) + "<a href=\"https://example.com/articles/" +
                    QByteArray::number(random.bounded(1000000)) + ".html?ref=home&amp;x=1\">" +
                    sentence(random, 4) + "</a> " + sentence(random, 12) + "</p>\n";
            break;
        case 2:
            page += "<figure><a href=\"/gallery/" + QByteArray::number(random.bounded(1000)) +
                    "\"><img src=\"/images/photo-" + QByteArray::number(random.bounded(1000)) +
                    ".jpg\" alt=\"" + sentence(random, 3) +
                    "\" width=\"640\" height=\"480\"></a>"
                    "<figcaption>" +
                    sentence(random, 8) + "</figcaption></figure>\n";
            break;
        case 3:
            page += "<!-- block " + QByteArray::number(random.bounded(1000)) +
                    " -- note --> \n"
                    "<div class=\"card\"><h2>" +
                    sentence(random, 5) + "</h2><span>" + sentence(random, 20) + "</span></div>\n";
            break;
        case 4:
            page += "<script type=\"text/javascript\">var s = document.createElement('script');"
                    " s.src = '/js/x.js'; if (i<n) { document.write('<a href=\"x\">'); }</script>\n";
            break;
        default:
            page += "<ul><li><a href=\"related-" + QByteArray::number(random.bounded(500)) +
                    ".html\" rel=\"nofollow\">" + sentence(random, 3) +
                    "</a></li><li><a href=\"#top\">Top</a>"
                    "</li></ul>\n";
            break;
        }
    }
    page += "<footer><a href=\"/privacy\">Privacy</a> &copy; 2024</footer>\n</body></html>\n";
    return page;
}

const std::vector<QByteArray>& pages() {
    static const std::vector<QByteArray> set = [] {
        QRandomGenerator random(42);
        std::vector<QByteArray> out;
        for (int i = 0; i < 24; ++i)
            out.push_back(makePage(random, 20000 + random.bounded(60000)));
        return out;
    }();
    return set;
}

void BM_ConstructAndWalk(benchmark::State& state) {
    QLoggingCategory::setFilterRules(QStringLiteral("trellium.parser.info=false"));
    const bool images = state.range(0) != 0;
    int64_t bytes = 0;
    size_t links = 0;
    for (auto _ : state) {
        for (const QByteArray& page : pages()) {
            auto parser = KestParser::
                initWithDataWithuserAgentStringWithSEOCachePageCheckNoIndexCheckNofollowUseEncoding(
                    page, QString(), true, false, true, true, TextEncoding::UTF8);
            while (std::optional<QString> url = parser->getNextHrefTrim(images, true)) {
                benchmark::DoNotOptimize(parser->getLinkText());
                ++links;
            }
            benchmark::DoNotOptimize(parser->getWordCount());
            bytes += page.size();
        }
    }
    state.SetBytesProcessed(bytes); // shown in binary units (Mi/s)
    // The same rate in decimal megabytes a second, as the target is stated.
    state.counters["MB/s"] =
        benchmark::Counter(static_cast<double>(bytes) / 1e6, benchmark::Counter::kIsRate);
    const double pageCount = static_cast<double>(state.iterations() * pages().size());
    state.counters["links/page"] = static_cast<double>(links) / pageCount;
    // With the iteration count, what instruction counts (callgrind) are divided by.
    state.counters["bytes/page"] = static_cast<double>(bytes) / pageCount;
}

} // namespace

BENCHMARK(BM_ConstructAndWalk)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
