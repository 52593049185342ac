#include "app/cli/ReportOptions.h"

#include "app/cli/CliInput.h"

#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"
#include "views/KestReportDataSource.h"
#include "views/LinkTreeSource.h"
#include "views/TableExport.h"

#include <QCommandLineParser>
#include <cstdio>

namespace {

QString linkReportText(const QString& kind, LinkCheckerHub& hub, const Preferences& preferences) {
    KestReportDataSource& report = hub.getReportDataSource();
    const kestreliaTableView flat = report.tableView();
    if (kind == "flat-csv")
        return report.getFlatCSV(flat);
    if (kind == "flat-tsv")
        return report.getFlatTDL(flat);
    if (kind == "flat-html")
        return report.getExportAsHTML(flat);
    if (kind == "bad-html")
        return TableExport::wrapPage(TableExport::styleBlock + report.getBadLinksAsHTML(flat));
    LinkTreeSource tree(hub, preferences);
    ByLinkOutline byLink(tree);
    ByPageOutline byPage(tree);
    const lfOutlineDataSource& source =
        kind.startsWith("by-link") ? static_cast<const lfOutlineDataSource&>(byLink) : byPage;
    const lfOutlineView outline = ByLinkColumns::outline(source, preferences);
    return kind.endsWith("csv") ? TreeExport::exportAsCSVFromOutlineView(outline)
                                : TreeExport::exportAsHTMLFromOutlineView(outline);
}

const QList<ReportKind>& allKinds() {
    static const QList<ReportKind> kinds = linkReportKinds() + sitemapReportKinds() +
                                           validationReportKinds() + seoReportKinds() + spellingReportKinds();
    return kinds;
}

QStringList kindNames() {
    QStringList names;
    for (const ReportKind& kind : allKinds())
        names << kind.name;
    return names;
}

const ReportKind* splitReport(const QString& value, QString& file) {
    const qsizetype equals = value.indexOf('=');
    if (equals <= 0)
        return nullptr;
    file = CliInput::expandTilde(value.mid(equals + 1));
    for (const ReportKind& kind : allKinds())
        if (kind.name == value.left(equals))
            return file.isEmpty() ? nullptr : &kind;
    return nullptr;
}

} // namespace

QList<ReportKind> linkReportKinds() {
    QList<ReportKind> kinds;
    for (const char* name : {"flat-csv", "flat-tsv", "flat-html", "bad-html", "by-link-csv", "by-link-html",
                             "by-page-csv", "by-page-html"})
        kinds.append({name, [name](ReportSources& sources, const QString& file, QString* why) {
                          return TableExport::writeTextAtomically(
                              file, linkReportText(name, sources.hub, sources.preferences), why);
                      }});
    kinds.insert(3, {"bad-csv", [](ReportSources& sources, const QString& file, QString* why) {
                         KestReportDataSource& report = sources.hub.getReportDataSource();
                         return report.exportBadLinksAsFlatCSVAndSaveTo(file, report.tableView(), why);
                     }});
    return kinds;
}

void addReportOptions(QCommandLineParser& parser) {
    parser.addOptions({
        {"report",
         "Write a report after the crawl; KIND is one of " + kindNames().join(", ") +
             ". May be given more than once.",
         "KIND=FILE"},
        {"bad-only", "Reports show bad links only, as the results window does with good links hidden."},
    });
}

bool checkReportOptions(const QCommandLineParser& parser, QString* error) {
    for (const QString& value : parser.values("report")) {
        QString file;
        const ReportKind* kind = splitReport(value, file);
        if (!kind) {
            if (error)
                *error = QString("--report takes KIND=FILE with KIND one of %1, not '%2'")
                             .arg(kindNames().join(", "), value);
            return false;
        }
        // Found out now rather than after a long crawl.
        QString why;
        if (!CliInput::isWritableFile(file, &why)) {
            if (error)
                *error = QString("cannot write the %1 report to %2: %3").arg(kind->name, file, why);
            return false;
        }
    }
    return true;
}

int writeRequestedReports(const QCommandLineParser& parser, ReportSources& sources, const char* command) {
    const QStringList values = parser.values("report");
    if (parser.isSet("bad-only"))
        sources.preferences.setValue("showHideGoodLinksCheckBox", true);
    if (values.isEmpty())
        return 0;
    KestReportDataSource& report = sources.hub.getReportDataSource();
    report.waitForReport();
    sources.hub.countBadCollection();
    // A crawl of one link makes no report of its own.
    if (report.count() == 0)
        report.doReport(sources.hub, true);
    for (const QString& value : values) {
        QString file, why;
        const ReportKind* kind = splitReport(value, file);
        if (!kind->write(sources, file, &why)) {
            std::fprintf(stderr, "%s: cannot write the %s report to %s: %s\n", command,
                         qPrintable(kind->name), qPrintable(file), qPrintable(why));
            return 2;
        }
    }
    return 0;
}
