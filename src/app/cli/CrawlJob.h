#pragma once

#include <QCommandLineOption>
#include <QDateTime>
#include <QList>
#include <QString>
#include <functional>

class KestConfigManager;
class LinkCheckerHub;
class Preferences;
class QCommandLineParser;
class SEOManager;
class TerminalUserInterface;
struct OutputOptions;

// What one run of a crawl command holds, handed to the job's own steps.
struct CrawlContext {
    const QCommandLineParser& parser;
    KestConfigManager& config;
    Preferences& preferences;
    LinkCheckerHub& hub;
    SEOManager& seo;
    TerminalUserInterface& ui;
    const OutputOptions& output;
    QDateTime started;
    // Set when a --json or --report file could not be written.
    bool filesFailed = false;
    // --json - : the records go to standard output, so the result goes to standard error.
    bool jsonToStdout = false;
};

// A command that crawls: `crawl`, `seo`, `sitemap`, `validate`, `spelling`. They share the crawl
// options, the link reports, --json and the interruption; a job adds its options and its steps.
struct CrawlJob {
    QString name;        // "crawl": the command's name, used in messages and --help
    QString description; // the first line of --help
    int action = 1;      // what the crawl does when it finishes (the hub's actionWhenFinished)
    QList<QCommandLineOption> options;
    // Reads the job's own options once the crawl options are read; prints why and answers false
    // on bad input (exit 2).
    std::function<bool(CrawlContext&)> readOptions;
    // Just before the crawl starts.
    std::function<void(CrawlContext&)> beforeStart;
    // A stage that outlasts the crawl (validation): called when the crawl has finished, it calls
    // done() when its own work is over. Without it the run ends with the crawl.
    std::function<void(CrawlContext&, std::function<void()> done)> afterCrawl;
    // Prints the result and answers the exit status. Without it the link result is printed as
    // `crawl` prints it.
    std::function<int(CrawlContext&)> printResult;
};

// Parses args for the job, crawls, writes what was asked for and answers the exit status.
int runCrawlJob(const QStringList& args, const CrawlJob& job);
// The link result of `crawl`: the bad-links table and the status line; 0, 1 or 2.
int printLinkResult(CrawlContext& context);
