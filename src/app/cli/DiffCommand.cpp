#include "app/TerminalUserInterface.h"
#include "app/cli/CliInput.h"
#include "app/cli/Commands.h"
#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"
#include "reports/CrawlComparison.h"
#include "reports/CrawlDatabase.h"
#include "views/TableExport.h"

#include <QCommandLineParser>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <cstdio>
#include <cstdlib>

namespace {

using CrawlComparison::Change;

QByteArray textTable(const QList<Change>& changes) {
    if (changes.isEmpty())
        return "No link became bad or was fixed, and no page appeared or disappeared.\n";
    qsizetype oldWidth = 10, newWidth = 10;
    for (const Change& change : changes) {
        oldWidth = std::max(oldWidth, std::min<qsizetype>(change.oldStatus.size(), 32));
        newWidth = std::max(newWidth, std::min<qsizetype>(change.newStatus.size(), 32));
    }
    auto status = [](const QString& text, qsizetype width) {
        return (text.isEmpty() ? QString("-") : text.left(32)).leftJustified(width);
    };
    QString text =
        QString("  %1  %2  %3  URL\n")
            .arg(QString("CHANGE").leftJustified(16), QString("OLD STATUS").leftJustified(oldWidth),
                 QString("NEW STATUS").leftJustified(newWidth));
    for (const Change& change : changes)
        text += "  " + CrawlComparison::kindName(change.kind).leftJustified(16) + "  " +
                status(change.oldStatus, oldWidth) + "  " + status(change.newStatus, newWidth) + "  " +
                change.url + "\n";
    return text.toUtf8();
}

QByteArray jsonResult(const QString& older, const QString& newer, const QList<Change>& changes) {
    QJsonArray rows;
    for (const Change& change : changes)
        rows.append(QJsonObject{{"change", CrawlComparison::kindName(change.kind)},
                                {"url", change.url},
                                {"oldStatus", change.oldStatus},
                                {"newStatus", change.newStatus}});
    return QJsonDocument(QJsonObject{{"old", older}, {"new", newer}, {"changes", rows}}).toJson();
}

} // namespace

// `trellium diff OLD.plist NEW.plist`: what changed between two saved crawls of a site.
int runDiffCommand(const QStringList& args) {
    const char* name = "trellium diff";
    QCommandLineParser parser;
    parser.setApplicationDescription("Compares two saved crawls: links that became bad, links that were "
                                     "fixed, pages that appeared and pages that disappeared.");
    parser.addHelpOption();
    parser.addPositionalArgument("old", "OLD.plist, the earlier crawl");
    parser.addPositionalArgument("new", "NEW.plist, the later crawl");
    parser.addOption({"json", "Write the comparison as JSON to FILE ('-' for standard output).", "FILE"});
    if (!parser.parse(QStringList(name) + args)) {
        std::fprintf(stderr, "%s: %s\n", name, qPrintable(parser.errorText()));
        return 2;
    }
    if (parser.isSet("help")) {
        std::fputs(
            qPrintable(parser.helpText().replace(QRegularExpression("^Usage: \\S+"), "Usage: trellium diff")),
            stdout);
        return 0;
    }
    const QStringList files = parser.positionalArguments();
    if (files.size() != 2) {
        std::fprintf(stderr, "%s: give two saved crawls, OLD.plist NEW.plist (see --help)\n", name);
        return 2;
    }
    const QString jsonPath = CliInput::expandTilde(parser.value("json"));
    QString why;
    if (!jsonPath.isEmpty() && jsonPath != "-" && !CliInput::isWritableFile(jsonPath, &why)) {
        std::fprintf(stderr, "%s: cannot write %s: %s\n", name, qPrintable(jsonPath), qPrintable(why));
        return 2;
    }
    KestConfigManager config;
    config.setDefaults();
    Preferences preferences;
    preferences.load();
    TerminalUserInterface ui;
    LinkCheckerHub hub(config, preferences, ui);
    CrawlDatabase::Loaded crawls[2];
    for (int i = 0; i < 2; ++i) {
        const QString path = CliInput::expandTilde(files[i]);
        if (!CrawlDatabase::readFile(path, hub, crawls[i], &why)) {
            std::fprintf(stderr, "%s: cannot load %s: %s\n", name, qPrintable(path), qPrintable(why));
            return 2;
        }
    }
    const QList<Change> changes = CrawlComparison::compare(crawls[0].records, crawls[1].records);
    const int status = CrawlComparison::anyBecameBad(changes) ? 1 : 0;
    FILE* people = jsonPath == "-" ? stderr : stdout;
    if (jsonPath == "-") {
        std::fputs(jsonResult(files[0], files[1], changes).constData(), stdout);
    } else if (!jsonPath.isEmpty() &&
               !TableExport::writeTextAtomically(
                   jsonPath, QString::fromUtf8(jsonResult(files[0], files[1], changes)), &why)) {
        std::fprintf(stderr, "%s: cannot write %s: %s\n", name, qPrintable(jsonPath), qPrintable(why));
        return 2;
    }
    if (jsonPath != "-")
        std::fputs(textTable(changes).constData(), people);
    std::fprintf(people, "%s\n", qPrintable(CrawlComparison::countsLine(changes)));
    std::fflush(stdout);
    std::fflush(stderr);
    std::_Exit(status);
}
