#include "analysis/SEOManager.h"
#include "app/NetOptions.h"
#include "app/TerminalUserInterface.h"
#include "app/cli/CliInput.h"
#include "app/cli/Commands.h"
#include "app/cli/CrawlJob.h"
#include "app/cli/CrawlOutput.h"
#include "app/cli/Interruption.h"
#include "app/cli/RecordFeed.h"
#include "app/cli/ReportOptions.h"
#include "app/cli/SiteOptions.h"
#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"
#include "reports/CrawlDatabase.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDateTime>
#include <QFileInfo>
#include <QRegularExpression>
#include <QUrl>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <unistd.h>

namespace {

struct CrawlOptions {
    QString start;
    QString jsonPath;
    OutputOptions output;
    CrawlExtras extras;
};

// Reads the flags into the site's working copy; on bad input prints why and returns false.
bool readOptions(const CrawlJob& job, const QStringList& args, QCommandLineParser& parser,
                 KestConfigManager& config, Preferences& preferences, CrawlOptions& out) {
    const QByteArray command = ("trellium " + job.name).toUtf8();
    const char* name = command.constData();
    parser.setApplicationDescription(job.description);
    parser.addHelpOption();
    parser.addPositionalArgument("start", "URL or local path to start from");
    parser.addOptions({
        {"threads", "Most requests in flight at one time (default 12).", "N"},
        {"timeout", "Seconds of silence after which a request fails (default 30).", "S"},
        {"max-time", "Seconds a whole request may take (default ten times the time-out).", "S"},
        {"max-page-size", "Megabytes of one page kept; a larger page fails (default 50, 0 for no limit).",
         "MB"},
        {"delay", "Seconds to wait before each request (default 0).", "S"},
        {"user-agent", "User-Agent header to send.", "TEXT"},
        {"header", "Extra request header 'Name: value' (up to three).", "HEADER"},
        {"json", "Write one JSON object per record to FILE ('-' for standard output).", "FILE"},
        {"save", "Save the results to FILE.plist, for 'trellium open' and 'trellium diff'.", "FILE"},
        {"images", "Check images too."},
        {"ignore-query", "URLs that differ only in their query are one link (internal links)."},
        {"keep-slash", "A final slash makes a URL different."},
        {"single-page", "Check the links of the starting page only."},
        {"nofollow", "Do not follow links marked nofollow."},
        {"error-pages", "Also take links from pages that answered with an error status."},
        {"unique-titles", "Pages with a title already seen are not followed."},
        {"hash-is-bad", "A link to \"#\" or to nothing counts as a bad link."},
        {"no-external", "Do not check external links."},
        {"do-not-check", "Do not check URLs containing TERM (repeatable).", "TERM"},
        {"do-not-follow", "Check but do not follow pages containing TERM (repeatable).", "TERM"},
        {"only-follow", "Follow only pages containing TERM (repeatable).", "TERM"},
        {"check-content", "The follow rules also look at the page's content."},
        {"robots-txt", "Do not check URLs that robots.txt disallows."},
        {"links-limit", "Most records a crawl keeps (default 200000).", "N"},
        {"levels-limit", "Greatest distance from the start at which pages are read (default 100).", "N"},
        {"soft-404", "Report pages that say they were not found as 404 'soft 404'."},
        {"soft-404-term", "A text that marks a soft 404 page (repeatable; replaces the default list).",
         "TEXT"},
    });
    addReportOptions(parser);
    addSiteOptions(parser);
    addOutputOptions(parser);
    addNetOptions(parser);
    parser.addOptions(job.options);
    QStringList argv = args;
    argv.prepend(command);
    if (!parser.parse(argv)) {
        std::fprintf(stderr, "%s: %s\n", name, qPrintable(parser.errorText()));
        return false;
    }
    if (parser.isSet("help") || parser.isSet("help-all")) {
        std::fputs(
            qPrintable(parser.helpText().replace(QRegularExpression("^Usage: \\S+"), "Usage: " + command)),
            stdout);
        std::exit(0);
    }
    const QStringList positional = parser.positionalArguments();
    QString sourceError;
    if (usesStoredSettings(parser)) {
        if (!loadStoredSettings(parser, config, &sourceError)) {
            std::fprintf(stderr, "%s: %s\n", name, qPrintable(sourceError));
            return false;
        }
    } else if (positional.size() != 1 || positional[0].trimmed().isEmpty()) {
        std::fprintf(stderr, "%s: give one starting URL or path (see --help)\n", name);
        return false;
    } else {
        // A path that does not exist then fails to open with a clear message instead of
        // being taken for a host name.
        out.start = CliInput::startFromArgument(positional[0]);
        config.setValueForKey("url", out.start);
    }

    // A number option of at least minimum is handed to store; bad input is told and refused.
    auto number = [&](const char* option, double minimum, const std::function<void(const QString&)>& store) {
        if (!parser.isSet(option))
            return true;
        bool ok = false;
        const double value = parser.value(option).toDouble(&ok);
        if (!ok || value < minimum) {
            std::fprintf(stderr, "%s: --%s takes a number of at least %g, not '%s'\n", name, option, minimum,
                         qPrintable(parser.value(option)));
            return false;
        }
        store(parser.value(option));
        return true;
    };
    auto setting = [&config](const char* key) {
        return [&config, key](const QString& value) { config.setValueForKey(key, value); };
    };
    // The request bounds are preferences: they belong to the machine rather than to the site.
    auto preference = [&preferences](const char* key) {
        return [&preferences, key](const QString& value) { preferences.setValue(key, value); };
    };
    if (!number("threads", 0, setting("numberOfThreads")) || !number("timeout", 0.001, setting("timeOut")) ||
        !number("delay", 0, setting("delay")) ||
        !number("max-time", 0.001, preference("TrelliumMaxRequestTime")) ||
        !number("max-page-size", 0, preference("TrelliumMaxPageSize")))
        return false;
    if (parser.isSet("user-agent"))
        preferences.setValue("userAgentString", parser.value("user-agent"));
    const QStringList headers = parser.values("header");
    if (headers.size() > 3) {
        std::fprintf(stderr, "%s: at most three --header options\n", name);
        return false;
    }
    for (int i = 0; i < headers.size(); ++i) {
        const qsizetype colon = headers[i].indexOf(':');
        if (colon <= 0) {
            std::fprintf(stderr, "%s: --header takes 'Name: value', not '%s'\n", name,
                         qPrintable(headers[i]));
            return false;
        }
        config.setValueForKey(QString("customHeaderKey%1").arg(i + 1), headers[i].left(colon).trimmed());
        config.setValueForKey(QString("customHeaderValue%1").arg(i + 1), headers[i].mid(colon + 1).trimmed());
    }
    const struct {
        const char* option;
        const char* key;
        const char* value;
    } flags[] = {{"images", "checkImages", "YES"},
                 {"ignore-query", "followQuerystring", "YES"},
                 {"keep-slash", "ignoreSlash", "NO"},
                 {"single-page", "followCheckbox", "YES"},
                 {"nofollow", "nofollowCheckbox", "YES"},
                 {"error-pages", "checkErrorPages", "YES"},
                 {"unique-titles", "uniqueTitles", "YES"},
                 {"hash-is-bad", "KestreliaHashIsBad", "YES"},
                 {"no-external", "KestreliaSitemapOnly", "YES"},
                 {"check-content", "blacklistCheckContent", "YES"},
                 {"robots-txt", "blacklistByRobotsTxt", "YES"}};
    for (const auto& flag : flags)
        if (parser.isSet(flag.option))
            config.setValueForKey(flag.key, QString(flag.value));
    // Given terms replace a stored site's list; none given leave it.
    if (parser.isSet("do-not-check"))
        config.setCheckBlacklistArray(KestConfigManager::trimEachItemInArray(parser.values("do-not-check")));
    if (parser.isSet("do-not-follow"))
        config.setFollowBlacklistArray(
            KestConfigManager::trimEachItemInArray(parser.values("do-not-follow")));
    if (parser.isSet("only-follow"))
        config.setFollowWhitelistArray(KestConfigManager::trimEachItemInArray(parser.values("only-follow")));
    for (const char* limit : {"links-limit", "levels-limit"}) {
        if (!parser.isSet(limit))
            continue;
        bool ok = false;
        const int value = parser.value(limit).toInt(&ok);
        if (!ok || value < 0) {
            std::fprintf(stderr, "%s: --%s takes a whole number of at least 0\n", name, limit);
            return false;
        }
        preferences.setValue(QString(limit).remove('-'), value);
    }
    if (parser.isSet("soft-404"))
        preferences.setValue("soft404Button", true);
    if (parser.isSet("soft-404-term"))
        preferences.setValue("soft404Terms", parser.values("soft-404-term").join("\n"));
    out.jsonPath = CliInput::expandTilde(parser.value("json"));
    QString why;
    if (!out.jsonPath.isEmpty() && out.jsonPath != "-" && !CliInput::isWritableFile(out.jsonPath, &why)) {
        std::fprintf(stderr, "%s: cannot write %s: %s\n", name, qPrintable(out.jsonPath), qPrintable(why));
        return false;
    }
    const QString savePath = CliInput::expandTilde(parser.value("save"));
    if (!savePath.isEmpty() && !CliInput::isWritableFile(savePath, &why)) {
        std::fprintf(stderr, "%s: cannot write %s: %s\n", name, qPrintable(savePath), qPrintable(why));
        return false;
    }
    QString reportError;
    if (!checkReportOptions(parser, &reportError) ||
        !readOutputOptions(parser, out.jsonPath == "-", out.output, &reportError) ||
        !readNetOptions(parser, out.extras, &reportError)) {
        std::fprintf(stderr, "%s: %s\n", name, qPrintable(reportError));
        return false;
    }
    return true;
}

} // namespace

int printLinkResult(CrawlContext& context) {
    return printCrawlResult(context.hub, context.preferences, context.config.getStatus(), context.started,
                            context.filesFailed, context.output, context.jsonToStdout);
}

int runCrawlJob(const QStringList& args, const CrawlJob& job) {
    const QByteArray command = ("trellium " + job.name).toUtf8();
    const char* name = command.constData();
    KestConfigManager config;
    config.setDefaults();
    Preferences preferences;
    preferences.load();
    // The records of the command line carry the page facts, which only the SEO reading collects.
    preferences.setValue("SEOEnabledCheckBox", true);
    CrawlOptions options;
    QCommandLineParser parser;
    if (!readOptions(job, args, parser, config, preferences, options))
        return 2;

    TerminalUserInterface ui;
    ui.setProgressShown(!options.output.quiet);
    LinkCheckerHub hub(config, preferences, ui);
    SEOManager seo(config, preferences, hub);
    CrawlContext context{parser, config,         preferences, hub,   seo,
                         ui,     options.output, QDateTime(), false, options.jsonPath == "-"};
    if (job.readOptions && !job.readOptions(context))
        return 2;
    hub.setCrawlExtras(options.extras);
    RecordFeed feed(ui, options.output.verbose);
    QString why;
    if (!options.jsonPath.isEmpty() && !feed.openJson(options.jsonPath, &why)) {
        std::fprintf(stderr, "%s: cannot write %s: %s\n", name, qPrintable(options.jsonPath),
                     qPrintable(why));
        return 2;
    }
    if (feed.wanted())
        hub.onRecordChecked = [&feed](const LinkCheckerUrlPtr& record) { feed.recordChecked(*record); };
    bool finished = false;
    auto quit = [&] {
        finished = true;
        QCoreApplication::quit();
    };
    ui.onResults = [&](int) {
        if (job.afterCrawl)
            job.afterCrawl(context, quit);
        else
            quit();
    };
    // A signal stops the crawl as Pause does and closes it with what it has.
    Interruption interruption;
    interruption.onSignal = [&](int) {
        if (!hub.isCrawlFinished()) {
            hub.stop();
            hub.isFinished();
        }
        QCoreApplication::quit();
    };
    context.started = QDateTime::currentDateTime();
    if (job.beforeStart)
        job.beforeStart(context);
    hub.setActionWhenFinished(job.action);
    hub.go("Go");
    if (ui.crawlDidntStart() || hub.getCrawlState() == LinkCheckerHub::CrawlState::Idle) {
        const QUrl start(options.start);
        std::fprintf(stderr, "%s: could not start from %s\n", name,
                     qPrintable(start.isLocalFile() ? start.toLocalFile() : options.start));
        return 2;
    }
    if (!finished)
        QCoreApplication::exec();
    ui.finishProgressLine();

    if (!feed.finish(hub, &why)) {
        std::fprintf(stderr, "%s: cannot write %s: %s\n", name, qPrintable(options.jsonPath),
                     qPrintable(why));
        context.filesFailed = true;
    }
    const QString savePath = CliInput::expandTilde(parser.value("save"));
    if (!savePath.isEmpty() &&
        !CrawlDatabase::writeToLocation(savePath, hub, seo, true, seo.getValidationKickedOff(), &why)) {
        std::fprintf(stderr, "%s: cannot save the results to %s: %s\n", name, qPrintable(savePath),
                     qPrintable(why));
        context.filesFailed = true;
    }
    ReportSources sources{hub, preferences, config, seo};
    context.filesFailed |= writeRequestedReports(parser, sources, name) != 0;
    const int status = job.printResult ? job.printResult(context) : printLinkResult(context);
    // Everything is written. Freeing hundreds of thousands of records one by one, and waiting
    // for a flat report nobody asked for, would take longer than the system takes to drop them.
    std::fflush(stdout);
    std::fflush(stderr);
    std::_Exit(status);
}

int runCrawlCommand(const QStringList& args) {
    CrawlJob job;
    job.name = "crawl";
    job.description =
        "Checks a site from its starting URL, or a local folder or file, and reports every link "
        "it meets.";
    return runCrawlJob(args, job);
}
