#pragma once

#include <QDateTime>
#include <QString>

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

// The end of `trellium crawl`: the result in its format, the notes and the status line, each
// where it belongs. Returns the exit status.
int printCrawlResult(LinkCheckerHub& hub, const Preferences& preferences, const QString& statusLine,
                     const QDateTime& started, bool filesFailed, const OutputOptions& output,
                     bool jsonToStdout);
