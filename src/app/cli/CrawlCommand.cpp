#include "app/NetOptions.h"
#include "app/TerminalUserInterface.h"
#include "app/cli/Commands.h"
#include "app/cli/ReportOptions.h"
#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"
#include "views/RecordJson.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QUrl>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace {

struct CrawlOptions {
    QString start;
    QString jsonPath;
    CrawlExtras extras;
};

// Reads the flags into the site's working copy; on bad input prints why and returns false.
bool readOptions(const QStringList& args, QCommandLineParser& parser, KestConfigManager& config,
                 Preferences& preferences, CrawlOptions& out) {
    parser.setApplicationDescription("Checks a site from its starting URL, or a local folder or file, and "
                                     "reports every link it meets.");
    parser.addHelpOption();
    parser.addPositionalArgument("start", "URL or local path to start from");
    parser.addOptions({
        {"threads", "Most requests in flight at one time (default 12).", "N"},
        {"timeout", "Seconds of silence after which a request fails (default 30).", "S"},
        {"delay", "Seconds to wait before each request (default 0).", "S"},
        {"user-agent", "User-Agent header to send.", "TEXT"},
        {"header", "Extra request header 'Name: value' (up to three).", "HEADER"},
        {"json", "Write one JSON object per record to FILE ('-' for standard output).", "FILE"},
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
    addNetOptions(parser);
    QStringList argv = args;
    argv.prepend("trellium crawl");
    if (!parser.parse(argv)) {
        std::fprintf(stderr, "trellium crawl: %s\n", qPrintable(parser.errorText()));
        return false;
    }
    if (parser.isSet("help")) {
        std::fputs(qPrintable(parser.helpText().replace(QRegularExpression("^Usage: \\S+"),
                                                        "Usage: trellium crawl")),
                   stdout);
        std::exit(0);
    }
    const QStringList positional = parser.positionalArguments();
    if (positional.size() != 1 || positional[0].trimmed().isEmpty()) {
        std::fputs("trellium crawl: give one starting URL or path (see --help)\n", stderr);
        return false;
    }
    out.start = positional[0];
    // Anything that names a path is crawled as local files; a path that does not exist then
    // fails to open with a clear message instead of being taken for a host name.
    const bool looksLikePath =
        out.start.startsWith('/') || out.start.startsWith('.') || out.start.startsWith('~');
    if (!out.start.contains("://") && (looksLikePath || QFileInfo::exists(out.start))) {
        const QFileInfo path(out.start);
        out.start = QUrl::fromLocalFile(path.absoluteFilePath()).toString();
        // A folder's own links are relative to the folder, which its URL must say with a final slash.
        if (path.isDir() && !out.start.endsWith('/'))
            out.start += '/';
    }
    config.setValueForKey("url", out.start);

    auto number = [&](const char* option, const char* key, double minimum) {
        if (!parser.isSet(option))
            return true;
        bool ok = false;
        const double value = parser.value(option).toDouble(&ok);
        if (!ok || value < minimum) {
            std::fprintf(stderr, "trellium crawl: --%s takes a number of at least %g\n", option, minimum);
            return false;
        }
        config.setValueForKey(key, parser.value(option));
        return true;
    };
    if (!number("threads", "numberOfThreads", 0) || !number("timeout", "timeOut", 0.001) ||
        !number("delay", "delay", 0))
        return false;
    if (parser.isSet("user-agent"))
        preferences.setValue("userAgentString", parser.value("user-agent"));
    const QStringList headers = parser.values("header");
    if (headers.size() > 3) {
        std::fputs("trellium crawl: at most three --header options\n", stderr);
        return false;
    }
    for (int i = 0; i < headers.size(); ++i) {
        const qsizetype colon = headers[i].indexOf(':');
        if (colon <= 0) {
            std::fprintf(stderr, "trellium crawl: --header takes 'Name: value', not '%s'\n",
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
    config.setCheckBlacklistArray(KestConfigManager::trimEachItemInArray(parser.values("do-not-check")));
    config.setFollowBlacklistArray(KestConfigManager::trimEachItemInArray(parser.values("do-not-follow")));
    config.setFollowWhitelistArray(KestConfigManager::trimEachItemInArray(parser.values("only-follow")));
    for (const char* limit : {"links-limit", "levels-limit"}) {
        if (!parser.isSet(limit))
            continue;
        bool ok = false;
        const int value = parser.value(limit).toInt(&ok);
        if (!ok || value < 0) {
            std::fprintf(stderr, "trellium crawl: --%s takes a whole number of at least 0\n", limit);
            return false;
        }
        preferences.setValue(QString(limit).remove('-'), value);
    }
    if (parser.isSet("soft-404"))
        preferences.setValue("soft404Button", true);
    if (parser.isSet("soft-404-term"))
        preferences.setValue("soft404Terms", parser.values("soft-404-term").join("\n"));
    out.jsonPath = parser.value("json");
    QString reportError;
    if (!checkReportOptions(parser, &reportError) || !readNetOptions(parser, out.extras, &reportError)) {
        std::fprintf(stderr, "trellium crawl: %s\n", qPrintable(reportError));
        return false;
    }
    return true;
}

bool writeJsonLines(const LinkCheckerHub& hub, const QString& path) {
    QFile file;
    const bool toStdout = path == "-";
    if (toStdout ? !file.open(stdout, QIODevice::WriteOnly)
                 : (file.setFileName(path), !file.open(QIODevice::WriteOnly))) {
        std::fprintf(stderr, "trellium crawl: cannot write %s: %s\n", qPrintable(path),
                     qPrintable(file.errorString()));
        return false;
    }
    for (qsizetype i = 0; i < hub.count(); ++i) {
        file.write(QJsonDocument(recordToJson(*hub.getnthofAllItems(i))).toJson(QJsonDocument::Compact));
        file.write("\n");
    }
    return true;
}

} // namespace

int runCrawlCommand(const QStringList& args) {
    KestConfigManager config;
    config.setDefaults();
    Preferences preferences;
    preferences.load();
    // The records of the command line carry the page facts, which only the SEO reading collects.
    preferences.setValue("SEOEnabledCheckBox", true);
    CrawlOptions options;
    QCommandLineParser parser;
    if (!readOptions(args, parser, config, preferences, options))
        return 2;

    TerminalUserInterface ui;
    LinkCheckerHub hub(config, preferences, ui);
    hub.setCrawlExtras(options.extras);
    bool finished = false;
    ui.onResults = [&](int) {
        finished = true;
        QCoreApplication::quit();
    };
    hub.setActionWhenFinished(1);
    hub.go("Go");
    if (ui.crawlDidntStart() || hub.getCrawlState() == LinkCheckerHub::CrawlState::Idle)
        return 2;
    if (!finished)
        QCoreApplication::exec();

    if (!options.jsonPath.isEmpty() && !writeJsonLines(hub, options.jsonPath))
        return 2;
    if (const int status = writeRequestedReports(parser, hub, preferences))
        return status;
    if (isatty(STDOUT_FILENO) && options.jsonPath != "-")
        printBadLinksTable(hub, stdout);
    // The closing status line goes where it does not mix with records written to standard output.
    std::fprintf(options.jsonPath == "-" ? stderr : stdout, "%s\n", qPrintable(config.getStatus()));
    // Everything is written. Freeing hundreds of thousands of records one by one, and waiting
    // for a flat report nobody asked for, would take longer than the system takes to drop them.
    std::fflush(stdout);
    std::fflush(stderr);
    std::_Exit(hub.countBadCollection() > 0 ? 1 : 0);
}
