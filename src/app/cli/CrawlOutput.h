#pragma once

#include "crawl/LinkCheckerUrl.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <optional>

class LinkCheckerHub;
class Preferences;
class QCommandLineParser;

// What `trellium crawl` prints when a crawl is over: --format text|json|markdown|junit on
// standard output, with --quiet and --verbose for what comes before it.
struct OutputOptions {
    enum class Format { Text, Json, Markdown, JUnit };
    Format format = Format::Text;
    bool quiet = false;
    bool verbose = false;
};

void addOutputOptions(QCommandLineParser& parser);
// False with the reason for a format that is no format, or a pair of options that exclude each other.
bool readOutputOptions(const QCommandLineParser& parser, bool jsonToStdout, OutputOptions& out,
                       QString* error);

// A limit of the preferences that kept part of the site out of the crawl.
struct CrawlLimit {
    QString name; // "levels" or "links"
    int value = 0;
    QString message;
};

// The end of a crawl, as every format tells it.
struct CrawlSummary {
    QString start;
    QString statusLine;
    QDateTime started;
    double seconds = 0;
    qint64 links = 0, checked = 0, bad = 0, exempt = 0;
    std::optional<CrawlLimit> limit;
    // Why the start could not be reached at all; empty when it answered.
    QString startFailure;
    int interruptedBy = 0; // the signal that stopped the crawl, 0 for none
    int exitStatus = 0;
    QList<LinkCheckerUrlPtr> records; // every record, in the order found
};

// The limits that cut this crawl short, the links limit first.
QList<CrawlLimit> limitsReached(const LinkCheckerHub& hub, const Preferences& preferences);
CrawlSummary summarizeCrawl(LinkCheckerHub& hub, const Preferences& preferences);
// 128 + the signal after an interruption; 2 when the start was not reached or a file could not
// be written; 1 with bad links; else 0.
int exitStatusOf(const CrawlSummary& summary, bool filesFailed);
// The lines said after the result: the limit, the start that was not reached, the interruption.
QStringList closingNotes(const CrawlSummary& summary);
QByteArray formatResult(const CrawlSummary& summary, OutputOptions::Format format);
