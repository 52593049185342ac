#pragma once

#include <QString>

struct CrawlExtras;
class QCommandLineParser;

// The options of `trellium crawl` beyond the site settings: --insecure, --retry, --retry-on,
// --accept, --check-anchors, --exclude, --include, --max-redirects, --check-resources.
void addNetOptions(QCommandLineParser& parser);
// Reads them; on a bad one says why in error and returns false.
bool readNetOptions(const QCommandLineParser& parser, CrawlExtras& extras, QString* error);
