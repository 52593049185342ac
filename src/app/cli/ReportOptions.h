#pragma once

#include <QList>
#include <QString>
#include <functional>

class KestConfigManager;
class LinkCheckerHub;
class Preferences;
class QCommandLineParser;
class SEOManager;

// What a report is made from: the records of a crawl just run or of a saved one.
struct ReportSources {
    LinkCheckerHub& hub;
    Preferences& preferences;
    KestConfigManager& config;
    SEOManager& seo;
};

// One KIND of --report KIND=FILE: writes its file, or answers false with why.
struct ReportKind {
    QString name;
    std::function<bool(ReportSources& sources, const QString& file, QString* why)> write;
};

// The kinds of each job, each from the job's own command file.
QList<ReportKind> linkReportKinds();
QList<ReportKind> sitemapReportKinds();
QList<ReportKind> validationReportKinds();
QList<ReportKind> seoReportKinds();
QList<ReportKind> spellingReportKinds();

// The reports of the crawl commands: --report KIND=FILE (repeatable) and --bad-only.
void addReportOptions(QCommandLineParser& parser);
// Checks the options before the crawl; on a bad one says why in error.
bool checkReportOptions(const QCommandLineParser& parser, QString* error);
// Writes the reports asked for once the crawl is over: 0, or 2 when a file cannot be written.
// command names the program in messages ("trellium crawl").
int writeRequestedReports(const QCommandLineParser& parser, ReportSources& sources, const char* command);
