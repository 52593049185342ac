#pragma once

#include <QString>

class LinkCheckerHub;
class Preferences;
class QCommandLineParser;

// The link reports of `trellium crawl`: --report KIND=FILE (repeatable) and --bad-only.
void addReportOptions(QCommandLineParser& parser);
// Checks the options before the crawl; on a bad one says why in error.
bool checkReportOptions(const QCommandLineParser& parser, QString* error);
// Writes the reports asked for once the crawl is over: 0, or 2 when a file cannot be written.
int writeRequestedReports(const QCommandLineParser& parser, LinkCheckerHub& hub, Preferences& preferences);
