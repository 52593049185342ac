#include "analysis/SEOManager.h"
#include "app/TerminalUserInterface.h"
#include "app/cli/CliInput.h"
#include "app/cli/Commands.h"
#include "app/cli/CrawlOutput.h"
#include "app/cli/RecordFeed.h"
#include "app/cli/ReportOptions.h"
#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"
#include "reports/CrawlDatabase.h"

#include <QCommandLineParser>
#include <QDateTime>
#include <QRegularExpression>
#include <cstdio>
#include <cstdlib>

// `trellium open FILE.plist`: a saved crawl shown and reported as if it had just run, without
// a single request.
int runOpenCommand(const QStringList& args) {
    const char* name = "trellium open";
    QCommandLineParser parser;
    parser.setApplicationDescription(
        "Shows the results of a saved crawl (trellium crawl --save, or Save in the window) and writes "
        "its reports, without touching the network.");
    parser.addHelpOption();
    parser.addPositionalArgument("file", "FILE.plist of a saved crawl");
    parser.addOption({"json", "Write one JSON object per record to FILE ('-' for standard output).", "FILE"});
    addReportOptions(parser);
    addOutputOptions(parser);
    if (!parser.parse(QStringList(name) + args)) {
        std::fprintf(stderr, "%s: %s\n", name, qPrintable(parser.errorText()));
        return 2;
    }
    if (parser.isSet("help")) {
        std::fputs(
            qPrintable(parser.helpText().replace(QRegularExpression("^Usage: \\S+"), "Usage: trellium open")),
            stdout);
        return 0;
    }
    if (parser.positionalArguments().size() != 1) {
        std::fprintf(stderr, "%s: give one saved crawl, FILE.plist (see --help)\n", name);
        return 2;
    }
    const QString path = CliInput::expandTilde(parser.positionalArguments()[0]);
    const QString jsonPath = CliInput::expandTilde(parser.value("json"));
    OutputOptions output;
    QString why;
    if (!checkReportOptions(parser, &why) || !readOutputOptions(parser, jsonPath == "-", output, &why)) {
        std::fprintf(stderr, "%s: %s\n", name, qPrintable(why));
        return 2;
    }

    KestConfigManager config;
    config.setDefaults();
    Preferences preferences;
    preferences.load();
    // As a crawl of the command line has them, so the reports come out the same.
    preferences.setValue("SEOEnabledCheckBox", true);
    TerminalUserInterface ui;
    ui.setProgressShown(false);
    LinkCheckerHub hub(config, preferences, ui);
    SEOManager seo(config, preferences, hub);
    RecordFeed feed(ui, false);
    if (!jsonPath.isEmpty() && !feed.openJson(jsonPath, &why)) {
        std::fprintf(stderr, "%s: cannot write %s: %s\n", name, qPrintable(jsonPath), qPrintable(why));
        return 2;
    }
    CrawlDatabase::Loaded loaded;
    if (!CrawlDatabase::readFile(path, hub, loaded, &why)) {
        std::fprintf(stderr, "%s: cannot load %s: %s\n", name, qPrintable(path), qPrintable(why));
        return 2;
    }
    const QDateTime started = QDateTime::currentDateTime();
    CrawlDatabase::apply(std::move(loaded), hub, seo);

    bool filesFailed = false;
    if (!feed.finish(hub, &why)) {
        std::fprintf(stderr, "%s: cannot write %s: %s\n", name, qPrintable(jsonPath), qPrintable(why));
        filesFailed = true;
    }
    ReportSources sources{hub, preferences, config, seo};
    filesFailed |= writeRequestedReports(parser, sources, name) != 0;
    hub.getReportDataSource().waitForReport();
    const int status =
        printCrawlResult(hub, preferences, config.getStatus(), started, filesFailed, output, jsonPath == "-");
    // As after a crawl: the records are dropped with the process rather than one by one.
    std::fflush(stdout);
    std::fflush(stderr);
    std::_Exit(status);
}
