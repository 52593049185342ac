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

const QStringList kinds = {"flat-csv",    "flat-tsv",     "flat-html",   "bad-csv",     "bad-html",
                           "by-link-csv", "by-link-html", "by-page-csv", "by-page-html"};

bool splitReport(const QString& value, QString& kind, QString& file) {
    const qsizetype equals = value.indexOf('=');
    if (equals <= 0)
        return false;
    kind = value.left(equals);
    file = CliInput::expandTilde(value.mid(equals + 1));
    return kinds.contains(kind) && !file.isEmpty();
}

QString reportText(const QString& kind, LinkCheckerHub& hub, const Preferences& preferences) {
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

} // namespace

void addReportOptions(QCommandLineParser& parser) {
    parser.addOptions({
        {"report",
         "Write a link report after the crawl; KIND is one of " + kinds.join(", ") +
             ". May be given more than once.",
         "KIND=FILE"},
        {"bad-only", "Reports show bad links only, as the results window does with good links hidden."},
    });
}

bool checkReportOptions(const QCommandLineParser& parser, QString* error) {
    for (const QString& value : parser.values("report")) {
        QString kind, file;
        if (!splitReport(value, kind, file)) {
            if (error)
                *error = QString("--report takes KIND=FILE with KIND one of %1, not '%2'")
                             .arg(kinds.join(", "), value);
            return false;
        }
        // Found out now rather than after a long crawl.
        QString why;
        if (!CliInput::isWritableFile(file, &why)) {
            if (error)
                *error = QString("cannot write the %1 report to %2: %3").arg(kind, file, why);
            return false;
        }
    }
    return true;
}

int writeRequestedReports(const QCommandLineParser& parser, LinkCheckerHub& hub, Preferences& preferences) {
    const QStringList values = parser.values("report");
    if (parser.isSet("bad-only"))
        preferences.setValue("showHideGoodLinksCheckBox", true);
    if (values.isEmpty())
        return 0;
    KestReportDataSource& report = hub.getReportDataSource();
    report.waitForReport();
    hub.countBadCollection();
    // A crawl of one link makes no report of its own.
    if (report.count() == 0)
        hub.getReportDataSource().doReport(hub, true);
    for (const QString& value : values) {
        QString kind, file;
        splitReport(value, kind, file);
        bool written = false;
        QString why;
        if (kind == "bad-csv") {
            written = report.exportBadLinksAsFlatCSVAndSaveTo(file, report.tableView(), &why);
        } else {
            written = TableExport::writeTextAtomically(file, reportText(kind, hub, preferences), &why);
        }
        if (!written) {
            std::fprintf(stderr, "trellium crawl: cannot write the %s report to %s: %s\n", qPrintable(kind),
                         qPrintable(file), qPrintable(why));
            return 2;
        }
    }
    return 0;
}
