// trellium spelling: a crawl that checks the spelling (and grammar) of every page of the site.
#include "analysis/SEOManager.h"
#include "analysis/spellingDialogue.h"
#include "app/cli/Commands.h"
#include "app/cli/CrawlJob.h"
#include "app/cli/ReportOptions.h"
#include "config/KestConfigManager.h"
#include "crawl/LinkCheckerHub.h"
#include "platform/SpellChecker.h"
#include "views/TableExport.h"

#include <QCommandLineParser>
#include <cstdio>

namespace {

const char* const name = "trellium spelling";

// Guesses shown with --details for each misspelt word.
constexpr int shownGuesses = 3;

int learn(const QStringList& args) {
    const qsizetype at = args.indexOf("--learn");
    if (args.size() != 2 || at + 1 >= args.size()) {
        std::fprintf(stderr, "%s: use 'trellium spelling --learn WORD' on its own\n", name);
        return 2;
    }
    QString why;
    const QString word = args[at + 1];
    if (!SpellChecker::sharedSpellChecker().learnWord(word, &why)) {
        std::fprintf(stderr, "%s: %s\n", name, qPrintable(why));
        return 2;
    }
    std::printf("Learned \"%s\" (%s)\n", qPrintable(word.trimmed()),
                qPrintable(SpellChecker::personalWordListPath()));
    return 0;
}

// The language asked for by identifier or display name, else the site's, else the default.
bool chooseLanguage(CrawlContext& context) {
    SpellChecker& checker = SpellChecker::sharedSpellChecker();
    QString wanted = context.parser.value("language");
    if (wanted.isEmpty() && !context.config.stringForKey("language").isEmpty())
        wanted = checker.identifierForLanguage(context.config.stringForKey("language"));
    if (wanted.isEmpty())
        wanted = checker.defaultLanguage();
    else if (!checker.availableLanguages().contains(wanted) &&
             !checker.identifierForLanguage(wanted).isEmpty())
        wanted = checker.identifierForLanguage(wanted);
    if (!checker.setLanguage(wanted)) {
        std::fprintf(stderr, "%s: %s; installed: %s\n", name,
                     qPrintable(checker.spellingProblem(wanted.isEmpty() ? "(none)" : wanted)),
                     qPrintable(checker.availableLanguages().join(", ")));
        return false;
    }
    context.config.setValueForKey("language", SpellChecker::displayNameForLanguage(wanted));
    if (context.parser.isSet("grammar")) {
        const QString problem = checker.grammarProblem(wanted);
        if (!problem.isEmpty())
            std::fprintf(stderr, "%s: %s; grammar is not checked, spelling goes on\n", name,
                         qPrintable(problem));
    }
    return true;
}

void printDetails(const LinkCheckerUrl& page, quint64 encoding, bool grammar) {
    spellingDialogue review;
    review.showForPageData(page.getActualLinkUrl(), page.getData(), encoding);
    for (int i = 0; i < review.getSpellingCount(); ++i) {
        if (i > 0)
            review.next();
        const QStringList guesses = review.suggestionTexts().mid(0, shownGuesses);
        std::printf("    %s  %s%s\n", qPrintable(review.getCurrentWord()),
                    qPrintable(review.extractField().text),
                    guesses.isEmpty() ? "" : qPrintable("  guesses: " + guesses.join(", ")));
    }
    if (!grammar)
        return;
    review.switchMode(spellingDialogue::grammarMode);
    for (int i = 0; i < review.getGrammarCount(); ++i) {
        if (i > 0)
            review.next();
        std::printf("    grammar: %s  %s\n", qPrintable(review.getCurrentWord().simplified()),
                    qPrintable(review.suggestionTexts().value(0)));
    }
}

int printSpellingResult(CrawlContext& context) {
    const bool grammar = context.parser.isSet("grammar");
    const bool details = context.parser.isSet("details");
    SEOManager& seo = context.seo;
    seo.spellingfilter(SEOManager::allUnreviewed);
    int withIssues = 0;
    for (const LinkCheckerUrlPtr& page : seo.getSpellingCollection()) {
        if (page->getSpelling() <= 0 && page->getGrammar() <= 0)
            continue;
        ++withIssues;
        if (grammar)
            std::printf("%s  spelling %d  grammar %d\n", qPrintable(page->getActualLinkUrl()),
                        page->getSpelling(), page->getGrammar());
        else
            std::printf("%s  spelling %d\n", qPrintable(page->getActualLinkUrl()), page->getSpelling());
        if (details)
            printDetails(*page, context.hub.getDetectedEncoding(), grammar);
    }
    std::fflush(stdout);
    const QString language = SpellChecker::sharedSpellChecker().language();
    if (grammar)
        std::fprintf(stderr, "%lld page(s) checked in %s, %d with spelling issues, %d with grammar issues\n",
                     static_cast<long long>(seo.count()), qPrintable(language),
                     int(seo.getSpellingPagesCount()), int(seo.getGrammarPagesCount()));
    else
        std::fprintf(stderr, "%lld page(s) checked in %s, %d with spelling issues\n",
                     static_cast<long long>(seo.count()), qPrintable(language),
                     int(seo.getSpellingPagesCount()));
    if (context.filesFailed)
        return 2;
    return withIssues > 0 ? 1 : 0;
}

bool writeSpelling(ReportSources& sources, const QString& file, QString* why,
                   QString (SEOManager::*form)(const kestreliaTableView&)) {
    return TableExport::writeTextAtomically(file, (sources.seo.*form)(SEOManager::spellingTableView()), why);
}

} // namespace

QList<ReportKind> spellingReportKinds() {
    auto withGrammar = [](ReportSources& sources) { return sources.config.flagForKey("checkGrammar"); };
    return {
        {"spelling-csv",
         [](ReportSources& s, const QString& file, QString* why) {
             return writeSpelling(s, file, why, &SEOManager::exportSpellingAsCSV);
         }},
        {"spelling-html",
         [](ReportSources& s, const QString& file, QString* why) {
             return writeSpelling(s, file, why, &SEOManager::exportSpellingAsHTML);
         }},
        {"spelling-report",
         [withGrammar](ReportSources& s, const QString& file, QString* why) {
             return writeSpelling(s, file, why,
                                  withGrammar(s) ? &SEOManager::getSpellingAndGrammarReport
                                                 : &SEOManager::getSpellingReport);
         }},
        {"spelling-bad",
         [withGrammar](ReportSources& s, const QString& file, QString* why) {
             return writeSpelling(s, file, why,
                                  withGrammar(s) ? &SEOManager::getBadSpellingAndGrammarReport
                                                 : &SEOManager::getBadSpellingReport);
         }},
    };
}

int runSpellingCommand(const QStringList& args) {
    if (args.contains("--learn"))
        return learn(args);
    CrawlJob job;
    job.name = "spelling";
    job.description =
        "Checks the spelling, and with --grammar the grammar, of every page of a site; lists the "
        "pages with issues.";
    job.action = 8;
    job.options = {
        {"language", "Spelling language: an installed dictionary such as en_US, or its name.", "LANG"},
        {"grammar", "Check grammar too."},
        {"details", "Show each misspelt word with its passage and first guesses."},
        {"learn", "Add WORD to the personal word list (used alone).", "WORD"},
    };
    job.readOptions = [](CrawlContext& context) {
        context.config.setValueForKey("checkSpelling", "YES");
        context.config.setValueForKey("checkGrammar", context.parser.isSet("grammar") ? "YES" : "NO");
        return chooseLanguage(context);
    };
    job.printResult = printSpellingResult;
    return runCrawlJob(args, job);
}
