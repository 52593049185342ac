// `trellium crawl` run as a child against the local test server: what it prints at the end, the
// limits it names, a start it cannot reach, and what a signal leaves behind.
#include "ChildRun.h"
#include "support/CrawlFixture.h"
#include "support/QtPrinting.h"
#include "support/TempHome.h"
#include "support/TestServer.h"

#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>
#include <csignal>

#include <gtest/gtest.h>

namespace {

// One site for the whole program. "/" and "/a.html" both link to the 404; "/deep/" is a chain
// three pages deep; "/int/" has two quick pages and one that answers after 20 seconds.
TestServer& site() {
    static TestServer* server = [] {
        auto* s = new TestServer;
        s->addPage("/", "<a href=/a.html>a</a><a href=/deep/1.html>d</a><a href=/status/404>x</a>"
                        "<a href=/status/500>y</a>");
        s->addPage("/a.html", "<a href=/status/404>x</a><a href=/>home</a>");
        s->addPage("/deep/1.html", "<a href=2.html>2</a>");
        s->addPage("/deep/2.html", "<a href=3.html>3</a>");
        s->addPage("/deep/3.html", "bottom");
        s->addPage("/int/", "<a href=a.html>a</a><a href=b.html>b</a><a href=/slow?ms=20000>slow</a>");
        s->addPage("/int/a.html", "a");
        s->addPage("/int/b.html", "b");
        return s;
    }();
    return *server;
}

QJsonObject parseObject(const QString& text) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8(), &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << error.errorString() << "\n" << text;
    return document.object();
}

} // namespace

// Each format on a site with a 404 linked from two pages and a 500 from one: three rows of bad
// links, two bad records, seven records in all; no limit is named.
TEST(CrawlCommand, FormatsTellTheBadLinks) {
    TempHome home;
    const QString status = "7 of 7 links checked, 2 bad";
    auto crawl = [](const char* format) {
        const ChildRun run = trellium({"crawl", site().url("/"), "--format", format});
        EXPECT_EQ(run.exitCode, 1) << format << run.err;
        return run;
    };
    const QString text = crawl("text").out;
    EXPECT_TRUE(text.contains("Bad links (3):")) << text;
    EXPECT_EQ(text.count("404 not found"), 2);
    EXPECT_FALSE(text.contains("stopped at"));
    EXPECT_TRUE(text.endsWith(status + "\n")) << text;

    const ChildRun json = crawl("json");
    const QJsonObject summary = parseObject(json.out);
    const QJsonObject expected{
        {"links", 7}, {"bad", 2}, {"status", status}, {"limit", QJsonValue()}, {"exitStatus", 1}};
    for (const QString& key : expected.keys())
        EXPECT_EQ(summary[key], expected[key]) << key;
    const QJsonArray bad = summary["badLinks"].toArray();
    ASSERT_EQ(bad.size(), 2);
    EXPECT_EQ(bad[0]["code"].toInt(), 404);
    EXPECT_EQ(bad[1]["code"].toInt(), 500);
    EXPECT_EQ(bad[0]["onPages"].toArray().size(), 2);
    EXPECT_TRUE(json.err.contains(status)); // where it does not spoil the JSON

    const QString markdownOut = crawl("markdown").out;
    const QStringList markdown = markdownOut.split('\n');
    EXPECT_EQ(markdown.first(), "### Trellium: " + status);
    EXPECT_TRUE(markdown.contains("| 7 | 7 | 2 | 0 | 0 |")) << markdownOut;
    EXPECT_TRUE(markdown.contains("| Status | Link | On page |"));
    EXPECT_EQ(markdown.filter(QRegularExpression("^\\| (404|500) ")).size(), 3) << markdownOut;
    EXPECT_FALSE(markdownOut.contains("Note:"));

    // JUnit read back by a real XML parser: cases, failures, and the totals agree.
    QProcess python;
    python.start("python3", {"-c", "import sys, xml.etree.ElementTree as ET\n"
                                   "r = ET.fromstring(sys.stdin.read())\n"
                                   "print(r.tag, len(r.findall('.//testcase')),"
                                   " len(r.findall('.//testcase/failure')), r.get('failures'))"});
    python.write(crawl("junit").out.toUtf8());
    python.closeWriteChannel();
    ASSERT_TRUE(python.waitForFinished(10000));
    EXPECT_EQ(python.readAllStandardOutput().trimmed(), "testsuites 7 2 2")
        << python.readAllStandardError().constData();
}

// The limit that kept pages out is named at the end, in the text and in the summaries; a limit
// the crawl met exactly, and so kept nothing out, is not.
TEST(CrawlCommand, SaysWhichLimitCutTheCrawlShort) {
    TempHome home;
    struct Case {
        QStringList options;
        QString message; // empty: no limit is named
        const char* name;
    };
    const Case cases[] = {
        {{"--levels-limit", "3"}, "", ""},
        {{"--levels-limit", "1"},
         "stopped at the levels limit of 1: pages deeper than that were not read",
         "levels"},
        {{"--links-limit", "4"},
         "stopped at the links limit of 4: links beyond that were not checked",
         "links"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.options.join(' ').toStdString());
        auto crawl = [&](const char* format) {
            return trellium(QStringList{"crawl", site().url("/"), "--format", format} + c.options).out;
        };
        const QString text = crawl("text");
        EXPECT_EQ(text.contains("stopped at"), !c.message.isEmpty()) << text;
        EXPECT_TRUE(text.contains(c.message + "\n")) << text;
        const QJsonObject summary = parseObject(crawl("json"));
        EXPECT_EQ(summary["limit"]["name"].toString(), c.name);
        EXPECT_EQ(summary["limit"]["message"].toString(), c.message);
        EXPECT_EQ(crawl("markdown").contains("> **Note:** " + c.message), !c.message.isEmpty());
    }
}

// A start that gives no answer at all ends with status 2 and says what could not be reached.
TEST(CrawlCommand, StartThatCannotBeReachedExitsTwo) {
    TempHome home;
    for (const QString& start : QStringList{"http://127.0.0.1:1/", "/no/such/folder/here"}) {
        SCOPED_TRACE(start.toStdString());
        const ChildRun run = trellium({"crawl", start});
        EXPECT_EQ(run.exitCode, 2);
        const QString said = start.startsWith("http") ? "could not reach " + start + ": " : start;
        EXPECT_TRUE((run.out + run.err).contains(said)) << run.out << run.err;
    }
}

// SIGINT and SIGTERM while a page is still loading: the records finished before the signal
// were already in the JSON Lines file while the crawl ran, and after it the file holds every
// record, the report is written, the status line printed, and the exit status is the shell's.
TEST(CrawlCommand, SignalStopsTheCrawlAndKeepsWhatWasFinished) {
    TempHome home;
    QTemporaryDir dir;
    const QRegularExpression isoWithZone(
        "^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d(\\.\\d+)?(Z|[+-]\\d\\d:\\d\\d)$");
    for (const int signal : {SIGINT, SIGTERM}) {
        SCOPED_TRACE(signal);
        const QString json = dir.filePath(QString("records-%1.jsonl").arg(signal));
        const QString csv = dir.filePath(QString("flat-%1.csv").arg(signal));
        QProcess process;
        process.start(TRELLIUM_PROGRAM, {"crawl", site().url("/int/"), "--json", json, "--report",
                                         "flat-csv=" + csv, "--threads", "4"});
        ASSERT_TRUE(process.waitForStarted());
        // The start and the two quick pages reach the file while the slow page holds the crawl.
        auto lines = [&] {
            QFile file(json);
            return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed().split('\n')
                                                  : QList<QByteArray>();
        };
        ASSERT_TRUE(spinUntil([&] { return lines().size() >= 3; }))
            << "finished records were not written while the crawl ran";
        ASSERT_EQ(process.state(), QProcess::Running) << "the crawl ended before the signal";
        ::kill(pid_t(process.processId()), signal);
        ASSERT_TRUE(process.waitForFinished(10000));
        EXPECT_EQ(process.exitCode(), 128 + signal);
        const QString out = process.readAllStandardOutput();
        EXPECT_TRUE(out.endsWith("3 of 4 links checked, 0 bad\n")) << out;
        EXPECT_TRUE(out.contains(QString("stopped by %1: 1 of 4 links were not reached")
                                     .arg(signal == SIGINT ? "SIGINT" : "SIGTERM")));

        const QList<QByteArray> records = lines();
        ASSERT_EQ(records.size(), 4);
        int unfinished = 0;
        for (const QByteArray& line : records) {
            const QJsonObject record = parseObject(line);
            const bool slow = record["url"].toString().contains("/slow");
            unfinished += slow;
            EXPECT_EQ(record["code"].toInt(), slow ? 0 : 200) << line.constData();
            EXPECT_EQ(record["status"].toString().isEmpty(), slow) << line.constData();
            const QString time = record["time"].toString();
            const QDateTime when = QDateTime::fromString(time, Qt::ISODateWithMs);
            EXPECT_TRUE(slow || (isoWithZone.match(time).hasMatch() &&
                                 std::abs(when.secsTo(QDateTime::currentDateTime())) < 60))
                << line.constData();
        }
        EXPECT_EQ(unfinished, 1);
        EXPECT_TRUE(readText(csv).contains("/int/a.html"));
    }
}

// The corners of the command line that scripts and terminals meet; whatever is printed ends
// its last line.
TEST(CrawlCommand, TerminalAndScriptCorners) {
    TempHome home;
    const QString start = site().url("/");
    struct Case {
        QStringList args;
        int exitCode;
        QString out; // standard output must contain it
        QString err; // standard error must contain it; "-" for empty
    };
    const Case cases[] = {
        {{"--version"}, 0, "trellium 5.", ""},
        {{"crawl", "--version"}, 0, "trellium 5.", ""},
        {{"crawl", "--help-all"}, 0, "Usage: trellium crawl", "-"},
        {{"parse", "--help-all"}, 0, "Usage: trellium parse", "-"},
        {{"sites", "--help"}, 0, "", "-"},
        {{"crawl", start, "--quiet", "--verbose"}, 2, "", "exclude each other"},
        {{"crawl", start, "--format", "xml"}, 2, "", "--format takes one of text, json, markdown, junit"},
        {{"crawl", start, "--json", "-", "--format", "junit"}, 2, "", "both write to standard output"},
        // Quiet: the result, and nothing on standard error.
        {{"crawl", start, "--quiet"}, 1, "7 of 7 links checked, 2 bad", "-"},
        // Verbose: a line for each of the seven records.
        {{"crawl", start, "--verbose"}, 1, "", "404 not found  " + site().url("/status/404")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.args.join(' ').toStdString());
        const ChildRun run = trellium(c.args);
        EXPECT_EQ(run.exitCode, c.exitCode) << run.err;
        EXPECT_TRUE(run.out.contains(c.out)) << run.out;
        EXPECT_TRUE(run.out.isEmpty() || run.out.endsWith('\n')) << run.out;
        EXPECT_TRUE(c.err == "-" ? run.err.isEmpty() : run.err.contains(c.err)) << run.err;
        if (c.args.contains("--verbose") && c.exitCode == 1) {
            const QRegularExpression record("^\\d\\d\\d [^\\n]*  http://",
                                            QRegularExpression::MultilineOption);
            EXPECT_EQ(run.err.count(record), 7) << run.err;
        }
    }
}

// The progress line is redrawn in place only on a terminal that understands the escapes.
TEST(CrawlCommand, ProgressEscapesOnlyWhereUnderstood) {
    TempHome home;
    const QString command = QString("%1 %2 crawl %3").arg("%1", TRELLIUM_PROGRAM, site().url("/"));
    // Run on a terminal (script's pseudo-terminal) with TERM set so, or unset.
    for (const auto& [term, escapes] :
         {std::pair{"TERM=xterm", true}, {"TERM=dumb", false}, {"-u TERM", false}}) {
        SCOPED_TRACE(term);
        QProcess script;
        script.setStandardInputFile(QProcess::nullDevice());
        script.start("script", {"-qefc", command.arg(QString("env ") + term), "/dev/null"});
        ASSERT_TRUE(script.waitForFinished(20000));
        const QByteArray shown = script.readAllStandardOutput();
        EXPECT_TRUE(shown.contains("7 of 7 links checked, 2 bad")) << shown.constData();
        EXPECT_EQ(shown.contains("\r\033[K"), escapes) << shown.constData();
    }
}

// While the start is still being read (a synchronous fetch, with no event loop to hear the
// first signal), a second Ctrl-C ends the process at once.
TEST(CrawlCommand, SecondInterruptQuitsAtOnce) {
    TempHome home;
    const QString slowStart = "/slow?ms=15000";
    QProcess process;
    process.start(TRELLIUM_PROGRAM, {"crawl", site().url(slowStart)});
    ASSERT_TRUE(spinUntil([&] { return !site().requestsFor(slowStart).isEmpty(); }));
    ::kill(pid_t(process.processId()), SIGINT);
    QThread::msleep(100);
    ::kill(pid_t(process.processId()), SIGINT);
    ASSERT_TRUE(process.waitForFinished(3000)) << "the second signal did not end the process";
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 130);
}
