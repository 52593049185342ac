#include "app/cli/CrawlOutput.h"

#include "app/cli/Interruption.h"
#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"
#include "crawl/LinkCheckerUrl.h"
#include "views/RecordJson.h"

#include <QCommandLineParser>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QXmlStreamWriter>
#include <csignal>
#include <cstdio>
#include <optional>

namespace {

const QStringList formatNames = {"text", "json", "markdown", "junit"};

// Markdown tables of very large crawls would pass what CI job summaries accept (about a MiB).
constexpr int markdownRowLimit = 1000;

QString signalName(int signal) {
    return signal == SIGINT ? "SIGINT" : signal == SIGTERM ? "SIGTERM" : QString("signal %1").arg(signal);
}

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

// The limit that cut this crawl short; the links limit first, as reaching it also stops all
// further reading of pages.
std::optional<CrawlLimit> limitThatCut(const LinkCheckerHub& hub, const Preferences& preferences) {
    // The collection refuses records beyond the limit, and pages are no longer read from then on.
    const int links = preferences.intValue(QStringLiteral("linkslimit"));
    if (hub.count() >= links)
        return CrawlLimit{
            "links", links,
            QString("stopped at the links limit of %1: links beyond that were not checked").arg(links)};
    // A page that answered and would have been read, but lies deeper than the limit.
    const int levels = preferences.intValue(QStringLiteral("levelslimit"));
    for (qsizetype i = 0; i < hub.count(); ++i) {
        const LinkCheckerUrl& record = *hub.getnthofAllItems(i);
        if (record.getDistanceFromHome() > levels && record.isInternal() && record.getIsHTML() &&
            !record.isBlacklisted() && LinkCheckerUrl::firstDigit(record.getStatus()) == 2) {
            return CrawlLimit{
                "levels", levels,
                QString("stopped at the levels limit of %1: pages deeper than that were not read")
                    .arg(levels)};
        }
    }
    return std::nullopt;
}

CrawlSummary summarizeCrawl(LinkCheckerHub& hub, const Preferences& preferences) {
    CrawlSummary summary;
    summary.start = hub.getStartingUrl();
    summary.links = hub.count();
    summary.bad = hub.countBadCollection();
    for (qsizetype i = 0; i < hub.count(); ++i) {
        const LinkCheckerUrlPtr record = hub.getnthofAllItems(i);
        summary.records.append(record);
        summary.checked += !record->getStatus().isEmpty();
        summary.exempt += record->isExempt();
    }
    summary.limit = limitThatCut(hub, preferences);
    // A start that gave no answer at all: no connection, no such host, a time-out.
    if (!summary.records.isEmpty()) {
        const LinkCheckerUrl& first = *summary.records.first();
        if (!first.getStatus().isEmpty() && statusCode(first.getStatus()) == 0 && !first.isExempt())
            summary.startFailure =
                QString("could not reach %1: %2").arg(first.getActualLinkUrl(), first.getStatus());
    }
    return summary;
}

// 128 + the signal after an interruption; 2 when the start was not reached or a file could not
// be written; 1 with bad links; else 0.
int exitStatusOf(const CrawlSummary& summary, bool filesFailed) {
    if (summary.interruptedBy)
        return 128 + summary.interruptedBy;
    if (!summary.startFailure.isEmpty() || filesFailed)
        return 2;
    return summary.bad > 0 ? 1 : 0;
}

// The lines said after the result: the interruption, the limit, the start that was not reached.
QStringList closingNotes(const CrawlSummary& summary) {
    QStringList notes;
    if (summary.interruptedBy)
        notes.append(QString("stopped by %1: %2 of %3 links were not reached")
                         .arg(signalName(summary.interruptedBy))
                         .arg(summary.links - summary.checked)
                         .arg(summary.links));
    if (summary.limit)
        notes.append(summary.limit->message);
    if (!summary.startFailure.isEmpty())
        notes.append(summary.startFailure);
    return notes;
}

// One row per place a bad link stands: status, link, the page it is on ("" for the start,
// which no page links to).
struct BadRow {
    QString status, url, onPage;
};

QList<BadRow> badRows(const CrawlSummary& summary) {
    QList<BadRow> rows;
    for (const LinkCheckerUrlPtr& record : summary.records) {
        if (!record->isInBadCollection())
            continue;
        const QStringList& pages = record->getOnPageUrlArray();
        if (pages.isEmpty())
            rows.append({record->getStatus(), record->getLinkUrl(), QString()});
        for (const QString& page : pages)
            rows.append({record->getStatus(), record->getLinkUrl(), page});
    }
    return rows;
}

QByteArray textResult(const CrawlSummary& summary) {
    const QList<BadRow> rows = badRows(summary);
    if (rows.isEmpty())
        return {};
    qsizetype statusWidth = 6;
    for (const BadRow& row : rows)
        statusWidth = std::max(statusWidth, std::min<qsizetype>(row.status.size(), 32));
    QString text = QString("\nBad links (%1):\n").arg(rows.size());
    text += QString("  %1  URL  <-  ON PAGE\n").arg("STATUS", -int(statusWidth));
    for (const BadRow& row : rows)
        text += "  " + row.status.left(32).leftJustified(statusWidth) + "  " + row.url + "  <-  " +
                (row.onPage.isEmpty() ? "(start)" : row.onPage) + "\n";
    return text.toUtf8();
}

QByteArray jsonResult(const CrawlSummary& summary) {
    QJsonArray bad;
    for (const LinkCheckerUrlPtr& record : summary.records) {
        if (record->isInBadCollection())
            bad.append(QJsonObject{{"url", record->getLinkUrl()},
                                   {"actualUrl", record->getActualLinkUrl()},
                                   {"status", record->getStatus()},
                                   {"code", statusCode(record->getStatus())},
                                   {"onPages", QJsonArray::fromStringList(record->getOnPageUrlArray())}});
    }
    QJsonValue limit;
    if (summary.limit)
        limit = QJsonObject{{"name", summary.limit->name},
                            {"value", summary.limit->value},
                            {"message", summary.limit->message}};
    const QJsonObject result{
        {"start", summary.start},
        {"status", summary.statusLine},
        {"links", summary.links},
        {"checked", summary.checked},
        {"bad", summary.bad},
        {"exempt", summary.exempt},
        {"pending", summary.links - summary.checked},
        {"started", isoTimeWithZone(summary.started)},
        {"seconds", summary.seconds},
        {"limit", limit},
        {"interrupted", summary.interruptedBy ? QJsonValue(signalName(summary.interruptedBy)) : QJsonValue()},
        {"error", summary.startFailure.isEmpty() ? QJsonValue() : QJsonValue(summary.startFailure)},
        {"exitStatus", summary.exitStatus},
        {"badLinks", bad}};
    return QJsonDocument(result).toJson(QJsonDocument::Indented);
}

// A table cell that neither ends the cell nor the row, nor starts HTML.
QString cell(QString text) {
    return text.replace('\\', "\\\\")
        .replace('|', "\\|")
        .replace('<', "&lt;")
        .replace('\r', ' ')
        .replace('\n', ' ');
}

QByteArray markdownResult(const CrawlSummary& summary) {
    QString md = QString("### Trellium: %1\n\n").arg(cell(summary.statusLine));
    md += QString("Start: %1\n\n").arg(cell(summary.start));
    md += "| Links | Checked | Bad | Exempt | Not reached |\n|---:|---:|---:|---:|---:|\n";
    md += QString("| %1 | %2 | %3 | %4 | %5 |\n\n")
              .arg(summary.links)
              .arg(summary.checked)
              .arg(summary.bad)
              .arg(summary.exempt)
              .arg(summary.links - summary.checked);
    for (const QString& note : closingNotes(summary))
        md += QString("> **Note:** %1\n\n").arg(cell(note));
    const QList<BadRow> rows = badRows(summary);
    if (rows.isEmpty())
        return md.toUtf8();
    md += "| Status | Link | On page |\n|---|---|---|\n";
    for (qsizetype i = 0; i < rows.size() && i < markdownRowLimit; ++i)
        md += QString("| %1 | %2 | %3 |\n")
                  .arg(cell(rows[i].status), cell(rows[i].url),
                       rows[i].onPage.isEmpty() ? "(start)" : cell(rows[i].onPage));
    if (rows.size() > markdownRowLimit)
        md += QString("\n%1 more rows are left out; `--report bad-csv=FILE` writes them all.\n")
                  .arg(rows.size() - markdownRowLimit);
    return md.toUtf8();
}

// XML 1.0 has no place for most control characters, which links and their texts may hold.
QString xmlSafe(const QString& text) {
    QString safe;
    safe.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            safe += c;
            safe += text[++i];
        } else if ((c.unicode() >= 0x20 && !c.isSurrogate() && c.unicode() < 0xFFFE) || c == '\t' ||
                   c == '\n' || c == '\r') {
            safe += c;
        } else {
            safe += QChar(0xFFFD);
        }
    }
    return safe;
}

QByteArray junitResult(const CrawlSummary& summary) {
    qint64 skipped = 0;
    for (const LinkCheckerUrlPtr& record : summary.records)
        if (!record->isInBadCollection() && (record->getStatus().isEmpty() || record->isExempt()))
            ++skipped;
    const QString seconds = QString::number(summary.seconds, 'f', 3);
    QByteArray xml;
    QXmlStreamWriter out(&xml);
    out.setAutoFormatting(true);
    out.writeStartDocument();
    out.writeStartElement("testsuites");
    out.writeAttribute("name", "trellium");
    out.writeAttribute("tests", QString::number(summary.links));
    out.writeAttribute("failures", QString::number(summary.bad));
    out.writeAttribute("errors", "0");
    out.writeAttribute("skipped", QString::number(skipped));
    out.writeAttribute("time", seconds);
    out.writeStartElement("testsuite");
    out.writeAttribute("name", xmlSafe("links of " + summary.start));
    out.writeAttribute("tests", QString::number(summary.links));
    out.writeAttribute("failures", QString::number(summary.bad));
    out.writeAttribute("errors", "0");
    out.writeAttribute("skipped", QString::number(skipped));
    out.writeAttribute("time", seconds);
    out.writeAttribute("timestamp", summary.started.toLocalTime().toString(Qt::ISODate));
    out.writeStartElement("properties");
    for (const auto& [name, value] :
         {std::pair<QString, QString>{"start", summary.start}, {"status", summary.statusLine}}) {
        out.writeEmptyElement("property");
        out.writeAttribute("name", name);
        out.writeAttribute("value", xmlSafe(value));
    }
    out.writeEndElement();
    for (const LinkCheckerUrlPtr& record : summary.records) {
        out.writeStartElement("testcase");
        out.writeAttribute("name", xmlSafe(record->getLinkUrl()));
        out.writeAttribute("classname", record->isInternal() ? "internal" : "external");
        out.writeAttribute("time", QString::number(record->getResponseTime(), 'f', 3));
        const QString status = xmlSafe(record->getStatus());
        if (record->isInBadCollection()) {
            out.writeStartElement("failure");
            out.writeAttribute("message", status);
            out.writeAttribute("type", QString::number(statusCode(record->getStatus())));
            QString body = status;
            if (record->getActualLinkUrl() != record->getLinkUrl())
                body += "\nrequested: " + record->getActualLinkUrl();
            for (const QString& page : record->getOnPageUrlArray())
                body += "\nfound on: " + page;
            out.writeCharacters(xmlSafe(body));
            out.writeEndElement();
        } else if (record->getStatus().isEmpty()) {
            out.writeEmptyElement("skipped");
            out.writeAttribute("message", "not reached: the crawl was stopped");
        } else if (record->isExempt()) {
            out.writeEmptyElement("skipped");
            out.writeAttribute("message", status);
        }
        out.writeEndElement();
    }
    if (const QStringList notes = closingNotes(summary); !notes.isEmpty())
        out.writeTextElement("system-out", xmlSafe(notes.join('\n')));
    out.writeEndElement();
    out.writeEndElement();
    out.writeEndDocument();
    return xml;
}

QByteArray formatResult(const CrawlSummary& summary, OutputOptions::Format format) {
    switch (format) {
    case OutputOptions::Format::Json:
        return jsonResult(summary);
    case OutputOptions::Format::Markdown:
        return markdownResult(summary);
    case OutputOptions::Format::JUnit:
        return junitResult(summary);
    case OutputOptions::Format::Text:
        break;
    }
    return textResult(summary);
}

} // namespace

void addOutputOptions(QCommandLineParser& parser) {
    parser.addOptions({
        {"format",
         "What to print at the end: text (the bad links, default), json (a summary object), markdown (a "
         "summary and a table, for CI job summaries) or junit (one test case per link).",
         "FORMAT"},
        {"quiet", "Print only the result: no progress."},
        {"verbose", "Print a line for every link as it is checked."},
        {"version", "Show the version."},
    });
}

bool readOutputOptions(const QCommandLineParser& parser, bool jsonToStdout, OutputOptions& out,
                       QString* error) {
    const QString format = parser.value("format");
    if (parser.isSet("format")) {
        const qsizetype index = formatNames.indexOf(format);
        if (index < 0) {
            *error = QString("--format takes one of %1, not '%2'").arg(formatNames.join(", "), format);
            return false;
        }
        out.format = OutputOptions::Format(index);
    }
    if (jsonToStdout && out.format != OutputOptions::Format::Text) {
        *error = QString("--json - and --format %1 would both write to standard output").arg(format);
        return false;
    }
    out.quiet = parser.isSet("quiet");
    out.verbose = parser.isSet("verbose");
    if (out.quiet && out.verbose) {
        *error = "--quiet and --verbose exclude each other";
        return false;
    }
    return true;
}

int printCrawlResult(LinkCheckerHub& hub, const Preferences& preferences, const QString& statusLine,
                     const QDateTime& started, bool filesFailed, const OutputOptions& output,
                     bool jsonToStdout) {
    CrawlSummary summary = summarizeCrawl(hub, preferences);
    summary.statusLine = statusLine;
    summary.started = started;
    summary.seconds = started.msecsTo(QDateTime::currentDateTime()) / 1000.0;
    summary.interruptedBy = Interruption::received();
    summary.exitStatus = exitStatusOf(summary, filesFailed);
    // Records or a machine-readable result own standard output; the lines for people then go to
    // standard error.
    const bool text = output.format == OutputOptions::Format::Text;
    FILE* people = text && !jsonToStdout ? stdout : stderr;
    std::fputs(formatResult(summary, output.format).constData(), text ? people : stdout);
    for (const QString& note : closingNotes(summary))
        std::fprintf(people, "%s\n", qPrintable(note));
    std::fprintf(people, "%s\n", qPrintable(summary.statusLine));
    return summary.exitStatus;
}
