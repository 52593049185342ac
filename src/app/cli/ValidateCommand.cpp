// `trellium validate`: a crawl whose pages go to the Markup Validator as they arrive, and whose end
// waits for the validator's last answer.
#include "analysis/SEOManager.h"
#include "app/cli/Commands.h"
#include "app/cli/CrawlJob.h"
#include "app/cli/CrawlOutput.h"
#include "app/cli/ReportOptions.h"
#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"
#include "views/TableExport.h"

#include <QCommandLineParser>
#include <QTimer>
#include <QUrl>
#include <cstdio>
#include <memory>

namespace {

// A base address of a validator, without the trailing slash that "/check" would double.
bool readValidatorUrl(const QString& text, QString& base) {
    base = text.trimmed();
    while (base.endsWith('/'))
        base.chop(1);
    const QUrl url(base, QUrl::StrictMode);
    return url.isValid() && (url.scheme() == "http" || url.scheme() == "https") && !url.host().isEmpty();
}

bool readSeconds(const QCommandLineParser& parser, const char* option, double minimum, QString& out) {
    if (!parser.isSet(option))
        return true;
    bool ok = false;
    const double value = parser.value(option).toDouble(&ok);
    if (!ok || value < minimum) {
        std::fprintf(stderr, "trellium validate: --%s takes a number of seconds of at least %g, not '%s'\n",
                     option, minimum, qPrintable(parser.value(option)));
        return false;
    }
    out = parser.value(option);
    return true;
}

bool readOptions(CrawlContext& context) {
    const QCommandLineParser& parser = context.parser;
    if (parser.isSet("validator")) {
        const QString value = parser.value("validator");
        QString base;
        if (value == "local") {
            context.seo.implementLocalValidator();
        } else if (value == "w3c") {
            context.seo.implementW3CValidator();
        } else if (readValidatorUrl(value, base)) {
            context.preferences.setValue("validationURL", base);
        } else {
            std::fprintf(
                stderr,
                "trellium validate: --validator takes an http or https URL, 'local' or 'w3c', not '%s'\n",
                qPrintable(value));
            return false;
        }
    }
    QString delay, timeout;
    if (!readSeconds(parser, "validation-delay", 0, delay) ||
        !readSeconds(parser, "validation-timeout", 0.001, timeout))
        return false;
    if (!delay.isEmpty())
        context.preferences.setValue("validationdelay", delay);
    if (!timeout.isEmpty())
        context.preferences.setValue("validationtimeout", timeout);
    return true;
}

// The live count, on standard error beside the crawl's progress line.
void beforeStart(CrawlContext& context, const std::shared_ptr<bool>& finished) {
    context.seo.onValidationFinished = [finished] { *finished = true; };
    if (context.output.quiet)
        return;
    context.seo.onValidationProgressText = [](const QString& text) {
        if (!text.isEmpty())
            std::fprintf(stderr, "\r%s ", qPrintable(text));
    };
}

// Done when the validator has caught up with the crawl and its last answers are in. A crawl that
// never kicked validation off (no page could be read) has nothing to wait for.
void afterCrawl(CrawlContext& context, const std::shared_ptr<bool>& finished,
                const std::function<void()>& done) {
    SEOManager& seo = context.seo;
    if (!seo.getValidationKickedOff()) {
        done();
        return;
    }
    auto* poll = new QTimer(&context.hub);
    QObject::connect(poll, &QTimer::timeout, poll, [poll, finished, &seo, done] {
        if (!*finished || seo.getValidationsInFlight() > 0)
            return;
        poll->stop();
        poll->deleteLater();
        done();
    });
    poll->start(50);
}

// The crawl's own result, then the pages with errors or warnings and the counts; exit 1 when a
// page has validation errors, 2 as the crawl would.
int printResult(CrawlContext& context) {
    if (printLinkResult(context) == 2)
        return 2;
    FILE* out = context.jsonToStdout ? stderr : stdout;
    const SEOManager& seo = context.seo;
    if (!context.output.quiet) {
        bool heading = false;
        for (const LinkCheckerUrlPtr& page : seo.getCollection()) {
            if (page->getValidatorErrors() <= 0 && page->getValidatorWarnings() <= 0)
                continue;
            if (!heading) {
                std::fprintf(out, "%6s %8s  %-10s %s\n", "Errors", "Warnings", "Status", "URL");
                heading = true;
            }
            std::fprintf(out, "%6d %8d  %-10s %s\n", std::max(0, page->getValidatorErrors()),
                         std::max(0, page->getValidatorWarnings()), qPrintable(page->getValidatorStatus()),
                         qPrintable(page->getActualLinkUrl()));
        }
    }
    std::fprintf(out, "%d pages validated, %d with errors, %d with warnings (of %lld pages)\n",
                 seo.getNumberValidated(), seo.getNumberValidationErrors(), seo.getNumberValidationWarnings(),
                 static_cast<long long>(seo.getSEOCollectionCount()));
    if (context.filesFailed)
        return 2;
    return seo.getNumberValidationErrors() > 0 ? 1 : 0;
}

} // namespace

QList<ReportKind> validationReportKinds() {
    using Text = QString (*)(const SEOManager&);
    const struct {
        const char* name;
        Text text;
    } kinds[] = {
        {"validation-csv", [](const SEOManager& seo) { return seo.validationReportCSV(); }},
        {"validation-html", [](const SEOManager& seo) { return seo.exportValidatorAsHTML(); }},
        {"validation-report", [](const SEOManager& seo) { return seo.getValidationReport(); }},
        {"validation-bad", [](const SEOManager& seo) { return seo.getBadValidationReport(); }},
    };
    QList<ReportKind> out;
    for (const auto& kind : kinds)
        out.append({kind.name, [text = kind.text](ReportSources& sources, const QString& file, QString* why) {
                        return TableExport::writeTextAtomically(file, text(sources.seo), why);
                    }});
    return out;
}

int runValidateCommand(const QStringList& args) {
    auto finished = std::make_shared<bool>(false);
    CrawlJob job;
    job.name = "validate";
    job.description = "Crawls a site and sends each of its pages to a W3C Markup Validator while the crawl "
                      "goes on; reports the pages with errors and warnings.";
    job.action = 18;
    job.options = {
        {"validator",
         "Base URL of the Markup Validator (its /check is called), 'local' for the one "
         "scripts/local-validator.sh runs, or 'w3c' for the public service.",
         "URL"},
        {"validation-delay",
         "Seconds between two pages sent to the validator (default from the preferences; "
         "0 means 0.2).",
         "S"},
        {"validation-timeout", "Seconds a validation request may take.", "S"},
    };
    job.readOptions = readOptions;
    job.beforeStart = [finished](CrawlContext& context) { beforeStart(context, finished); };
    job.afterCrawl = [finished](CrawlContext& context, std::function<void()> done) {
        afterCrawl(context, finished, done);
    };
    job.printResult = printResult;
    return runCrawlJob(args, job);
}
