#include "analysis/SEOManager.h"
#include "app/cli/CliInput.h"
#include "app/cli/Commands.h"
#include "app/cli/CrawlJob.h"
#include "app/cli/CrawlOutput.h"
#include "app/cli/ReportOptions.h"
#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"
#include "reports/PageArchive.h"
#include "views/TableExport.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <cstdio>
#include <unistd.h>

// `trellium seo`: the crawl with the SEO action, then the SEO table on the terminal.

namespace {

QString filterNames() {
    QStringList names;
    for (const SEOManager::SEOFilterChoice& choice : SEOManager::seoFilterChoices())
        names << choice.name;
    return names.join(", ");
}

// The page's problems, as the filter tags name them.
QStringList problemsOf(SEOManager& seo, const LinkCheckerUrl& page) {
    QStringList problems;
    const int saved = seo.getHighlightSelector();
    for (const SEOManager::SEOFilterChoice& choice : SEOManager::seoFilterChoices()) {
        if (choice.tag == 0 || (choice.tag == 5 && page.getMetaDescription().isEmpty()))
            continue;
        seo.setHighlightSelector(choice.tag);
        if (seo.shouldDisplayBasedOnFilterButton(page))
            problems << choice.name;
    }
    seo.setHighlightSelector(saved);
    return problems;
}

QJsonObject pageToJson(SEOManager& seo, const LinkCheckerUrl& page, bool counted) {
    QJsonObject json{{"url", page.getActualLinkUrl()},
                     {"title", page.getLinkPageTitle()},
                     {"description", page.getMetaDescription()},
                     {"keywords", page.getKeywords()},
                     {"headings", page.getHeadings()},
                     {"canonical", page.getCanonical()},
                     {"robots", page.getRobots()},
                     {"wordCount", page.getWordCount()},
                     {"linkCount", page.getLinkCount()},
                     {"fileSize", page.getFileSizeInBytes()},
                     {"responseTime", page.getResponseTime()},
                     {"imageCount", page.getLinkedImagesArray().size()},
                     {"imageWeightKb", page.getTotalImageWeightAsNumber()},
                     {"backlinks", page.getOnpagecount()},
                     {"lastModified", page.getLastmodified()},
                     {"problems", QJsonArray::fromStringList(problemsOf(seo, page))}};
    if (counted)
        json.insert("occurrences", QJsonObject{{"url", page.getOcurrencesInUrl()},
                                               {"title", page.getOcurrencesInTitle()},
                                               {"description", page.getOcurrencesInDescription()},
                                               {"keywords", page.getOcurrencesInKeywords()},
                                               {"headings", page.getOcurrencesInHeadings()},
                                               {"content", page.getOcurrencesInArchive()},
                                               {"total", page.getTotalOccurrences()}});
    return json;
}

QString clipped(const QString& text, int width) {
    const QString flat = text.simplified();
    return flat.size() <= width ? flat : flat.left(width - 3) + "...";
}

int printSeoResult(CrawlContext& context, const QString& archiveDir) {
    SEOManager& seo = context.seo;
    const bool counted = !seo.getSEOSearchTerm().isEmpty();
    const std::vector<LinkCheckerUrlPtr> rows = seo.visibleItems();
    FILE* out = context.jsonToStdout ? stderr : stdout;
    if (!context.output.quiet) {
        std::fprintf(out, "%-50s %-30s %6s %6s %8s %s%s\n", "URL", "Title", "Words", "Links", "Time",
                     counted ? "Count  " : "", "Problems");
        for (const LinkCheckerUrlPtr& page : rows) {
            const QString count = counted ? QString("%1 ").arg(page->getTotalOccurrences(), 6) : "";
            std::fprintf(
                out, "%-50s %-30s %6s %6d %8.3f %s%s\n",
                qPrintable(LinkCheckerUrl::truncateURLByAddingElipsisInMiddle(page->getActualLinkUrl())),
                qPrintable(clipped(page->getLinkPageTitle(), 30)),
                qPrintable(page->getFieldByName("wordcount").toString()), page->getLinkCount(),
                page->getResponseTime(), qPrintable(count), qPrintable(problemsOf(seo, *page).join(", ")));
        }
    }
    const SEOManager::SEOStatusCounts& c = seo.getSEOStatusCounts();
    std::fprintf(context.jsonToStdout ? stderr : stdout,
                 "%d page(s) included, %d without title, %d without description, %d shown\n",
                 c.pagesIncludedInSEO, c.withoutTitle, c.withoutDescription, int(rows.size()));

    const QString jsonPath = CliInput::expandTilde(context.parser.value("json"));
    if (!jsonPath.isEmpty()) {
        QByteArray lines;
        for (const LinkCheckerUrlPtr& page : rows)
            lines += QJsonDocument(pageToJson(seo, *page, counted)).toJson(QJsonDocument::Compact) + '\n';
        if (jsonPath == "-") {
            std::fwrite(lines.constData(), 1, size_t(lines.size()), stdout);
        } else {
            QString why;
            // The pages replace the records the crawl wrote there.
            QFile::remove(jsonPath);
            if (!TableExport::writeTextAtomically(jsonPath, QString::fromUtf8(lines), &why)) {
                std::fprintf(stderr, "trellium seo: cannot write %s: %s\n", qPrintable(jsonPath),
                             qPrintable(why));
                context.filesFailed = true;
            }
        }
    }
    if (!archiveDir.isEmpty()) {
        QString copiedTo;
        if (PageArchive::copyArchiveTo(archiveDir, &copiedTo))
            std::fprintf(stderr, "pages archived in %s\n", qPrintable(copiedTo));
        else {
            std::fprintf(stderr, "trellium seo: cannot copy the archive to %s\n", qPrintable(archiveDir));
            context.filesFailed = true;
        }
    }
    if (context.filesFailed)
        return 2;
    return c.withoutTitle > 0 || c.withoutDescription > 0 ? 1 : 0;
}

} // namespace

QList<ReportKind> seoReportKinds() {
    auto kind = [](const char* name, std::function<QString(SEOManager&)> text) {
        return ReportKind{name, [text](ReportSources& sources, const QString& file, QString* why) {
                              return TableExport::writeTextAtomically(file, text(sources.seo), why);
                          }};
    };
    return {
        ReportKind{"seo-csv", [](ReportSources& sources, const QString& file,
                                 QString* why) { return sources.seo.exportSEOAsCSVAndSaveTo(file, why); }},
        kind("seo-html", [](SEOManager& seo) { return seo.getSEOAsHTML(); }),
        kind("seo-report", [](SEOManager& seo) { return seo.getSEOReport(); }),
        kind("seo-bad", [](SEOManager& seo) { return seo.getBadSEOReport(); }),
        kind("duplicates-csv", [](SEOManager& seo) { return seo.getDuplicatesAsCSV(); }),
    };
}

int runSeoCommand(const QStringList& args) {
    static QString archiveDir;
    static int filterTag = 0;
    CrawlJob job;
    job.name = "seo";
    job.description = "Crawls a site and lists its pages with their titles, descriptions, headings, word and "
                      "link counts, response times and problems; counts a keyword; finds duplicates.";
    job.action = 3;
    job.options = {
        {"keyword", "Count TERM in each page's URL, title, description, keywords and headings.", "TERM"},
        {"in-content", "With --keyword, count in the text of the pages too (they are kept while crawling)."},
        {"filter", "Show only the pages of one filter: " + filterNames() + ".", "NAME"},
        {"archive", "Copy the crawled pages, as received, into a new folder in DIR.", "DIR"},
    };
    job.readOptions = [](CrawlContext& context) {
        const QCommandLineParser& parser = context.parser;
        if (parser.isSet("filter")) {
            const QString name = parser.value("filter");
            bool known = false;
            for (const SEOManager::SEOFilterChoice& choice : SEOManager::seoFilterChoices())
                if (name == choice.name) {
                    filterTag = choice.tag;
                    known = true;
                }
            if (!known) {
                std::fprintf(stderr, "trellium seo: --filter takes one of %s, not '%s'\n",
                             qPrintable(filterNames()), qPrintable(name));
                return false;
            }
        }
        if (parser.isSet("in-content") && !parser.isSet("keyword")) {
            std::fprintf(stderr, "trellium seo: --in-content needs --keyword\n");
            return false;
        }
        if (parser.isSet("keyword") && parser.value("keyword").isEmpty()) {
            std::fprintf(stderr, "trellium seo: --keyword needs a term\n");
            return false;
        }
        // The pages are kept in the archive while crawling when their text is searched or copied.
        if (parser.isSet("in-content"))
            context.preferences.setValue("SEOCountKeywordsInContent", true);
        archiveDir = CliInput::expandTilde(parser.value("archive"));
        if (!archiveDir.isEmpty()) {
            if (!QFileInfo(archiveDir).isDir() ||
                access(QFile::encodeName(archiveDir).constData(), W_OK) != 0) {
                std::fprintf(stderr, "trellium seo: --archive needs a folder that can be written: %s\n",
                             qPrintable(archiveDir));
                return false;
            }
            context.preferences.setValue("SEOCountKeywordsInContent", true);
        }
        return true;
    };
    // The counters, the filter and the keyword are settled before the reports are written.
    job.afterCrawl = [](CrawlContext& context, std::function<void()> done) {
        SEOManager& seo = context.seo;
        seo.updateStatusFields();
        // A new crawl clears the filter choice, so it is made now.
        seo.setHighlightSelector(filterTag);
        seo.setSEOSearchTerm(context.parser.value("keyword"));
        seo.SEOfilter();
        done();
    };
    job.printResult = [](CrawlContext& context) { return printSeoResult(context, archiveDir); };
    return runCrawlJob(args, job);
}
