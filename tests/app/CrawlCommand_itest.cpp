// `trellium crawl` run as a child against the local test server: what it prints at the end, the
// limits it names, a start it cannot reach, and what a signal leaves behind.
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
        s->addPage("/", "<html><body><a href=\"/a.html\">a</a> <a href=\"/deep/1.html\">d</a> "
                        "<a href=\"/status/404\">x</a> <a href=\"/status/500\">y</a></body></html>");
        s->addPage("/a.html",
                   "<html><body><a href=\"/status/404\">x</a> <a href=\"/\">home</a></body></html>");
        s->addPage("/deep/1.html", "<html><body><a href=\"/deep/2.html\">2</a></body></html>");
        s->addPage("/deep/2.html", "<html><body><a href=\"/deep/3.html\">3</a></body></html>");
        s->addPage("/deep/3.html", "<html><body>bottom</body></html>");
        s->addPage("/int/", "<html><body><a href=\"/int/a.html\">a</a> <a href=\"/int/b.html\">b</a> "
                            "<a href=\"/slow?ms=20000\">slow</a></body></html>");
        s->addPage("/int/a.html", "<html><body>a</body></html>");
        s->addPage("/int/b.html", "<html><body>b</body></html>");
        return s;
    }();
    return *server;
}

struct ChildRun {
    int exitCode = -1;
    QByteArray out, err;
};

ChildRun trellium(const QStringList& args) {
    QProcess process;
    process.start(TRELLIUM_PROGRAM, args);
    process.waitForFinished(20000);
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            process.readAllStandardOutput(), process.readAllStandardError()};
}

QJsonObject parseObject(const QByteArray& text) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << qPrintable(error.errorString()) << "\n"
                                                     << text.constData();
    return document.object();
}

} // namespace

// Each format on a site with a 404 linked from two pages and a 500 from one: three rows of bad
// links, two bad records, seven records in all.
TEST(CrawlCommand, FormatsTellTheBadLinks) {
    TempHome home;
    const QString start = site().url("/");
    struct Case {
        const char* format;
        std::function<void(const ChildRun&)> check;
    };
    const Case cases[] = {
        {"text",
         [&](const ChildRun& run) {
             EXPECT_TRUE(run.out.contains("Bad links (3):")) << run.out.constData();
             EXPECT_EQ(run.out.count("404 not found"), 2);
             EXPECT_TRUE(run.out.endsWith("7 of 7 links checked, 2 bad\n")) << run.out.constData();
         }},
        {"json",
         [&](const ChildRun& run) {
             const QJsonObject summary = parseObject(run.out);
             EXPECT_EQ(summary["links"].toInt(), 7);
             EXPECT_EQ(summary["bad"].toInt(), 2);
             EXPECT_EQ(summary["status"].toString(), "7 of 7 links checked, 2 bad");
             EXPECT_TRUE(summary["limit"].isNull());
             EXPECT_EQ(summary["exitStatus"].toInt(), 1);
             QList<int> codes;
             for (const QJsonValue& bad : summary["badLinks"].toArray())
                 codes.append(bad["code"].toInt());
             EXPECT_EQ(codes, QList<int>({404, 500}));
             EXPECT_EQ(summary["badLinks"][0]["onPages"].toArray().size(), 2);
             // The status line goes where it does not spoil the JSON.
             EXPECT_TRUE(run.err.contains("7 of 7 links checked, 2 bad"));
         }},
        {"markdown",
         [&](const ChildRun& run) {
             const QStringList lines = QString(run.out).split('\n');
             EXPECT_EQ(lines.first(), "### Trellium: 7 of 7 links checked, 2 bad");
             EXPECT_TRUE(lines.contains("| 7 | 7 | 2 | 0 | 0 |")) << run.out.constData();
             EXPECT_TRUE(lines.contains("| Status | Link | On page |"));
             EXPECT_EQ(lines.filter(QRegularExpression("^\\| (404|500) ")).size(), 3) << run.out.constData();
             EXPECT_FALSE(run.out.contains("Note:"));
         }},
        {"junit",
         [&](const ChildRun& run) {
             // Read back by a real XML parser: cases, failures, and the totals agree.
             QTemporaryDir dir;
             QFile xml(dir.filePath("junit.xml"));
             ASSERT_TRUE(xml.open(QIODevice::WriteOnly));
             xml.write(run.out);
             xml.close();
             QProcess python;
             python.start("python3", {"-c",
                                      "import sys, xml.etree.ElementTree as ET\n"
                                      "r = ET.parse(sys.argv[1]).getroot()\n"
                                      "print(r.tag, len(r.findall('.//testcase')),"
                                      " len(r.findall('.//testcase/failure')), r.get('failures'))",
                                      xml.fileName()});
             ASSERT_TRUE(python.waitForFinished(10000));
             EXPECT_EQ(python.readAllStandardOutput().trimmed(), "testsuites 7 2 2")
                 << python.readAllStandardError().constData();
         }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.format);
        const ChildRun run = trellium({"crawl", start, "--format", c.format});
        EXPECT_EQ(run.exitCode, 1) << run.err.constData();
        c.check(run);
    }
}

// The limit that kept pages out is named at the end, in the text and in the summaries; a limit
// the crawl never met is not.
TEST(CrawlCommand, SaysWhichLimitCutTheCrawlShort) {
    TempHome home;
    const QString start = site().url("/");
    const QString levels = "stopped at the levels limit of 1: pages deeper than that were not read";
    const QString links = "stopped at the links limit of 4: links beyond that were not checked";
    struct Case {
        QStringList options;
        QString message; // empty: no limit is named
        const char* name;
    };
    const Case cases[] = {
        {{}, "", ""},
        {{"--levels-limit", "3"}, "", ""},
        {{"--levels-limit", "1"}, levels, "levels"},
        {{"--links-limit", "4"}, links, "links"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.options.join(' ').toStdString());
        const ChildRun text = trellium(QStringList{"crawl", start} + c.options);
        EXPECT_EQ(QString(text.out).contains("stopped at"), !c.message.isEmpty()) << text.out.constData();
        if (!c.message.isEmpty()) {
            EXPECT_TRUE(QString(text.out).contains(c.message + "\n")) << text.out.constData();
        }
        const QJsonObject summary =
            parseObject(trellium(QStringList{"crawl", start, "--format", "json"} + c.options).out);
        EXPECT_EQ(summary["limit"]["name"].toString(), c.name);
        EXPECT_EQ(summary["limit"]["message"].toString(), c.message);
        const ChildRun markdown = trellium(QStringList{"crawl", start, "--format", "markdown"} + c.options);
        EXPECT_EQ(QString(markdown.out).contains("> **Note:** " + c.message), !c.message.isEmpty());
    }
}

// A start that gives no answer at all ends with status 2 and says what could not be reached.
TEST(CrawlCommand, StartThatCannotBeReachedExitsTwo) {
    TempHome home;
    struct Case {
        QString start;
        QString said; // in the lines on standard error and output
    };
    const Case cases[] = {
        {"http://127.0.0.1:1/", "could not reach http://127.0.0.1:1/: "},
        {"/no/such/folder/here", "/no/such/folder/here"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.start.toStdString());
        const ChildRun run = trellium({"crawl", c.start});
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_TRUE(QString(run.out + run.err).contains(c.said))
            << run.out.constData() << run.err.constData();
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
        QDeadlineTimer deadline(10000);
        QFile file(json);
        while (!deadline.hasExpired() &&
               (!file.open(QIODevice::ReadOnly) || (file.readAll().count('\n') < 3 && (file.close(), true))))
            QThread::msleep(20);
        file.close();
        ASSERT_EQ(process.state(), QProcess::Running) << "the crawl ended before the signal";
        ASSERT_FALSE(deadline.hasExpired()) << "finished records were not written while the crawl ran";
        ::kill(pid_t(process.processId()), signal);
        ASSERT_TRUE(process.waitForFinished(10000));
        EXPECT_EQ(process.exitCode(), 128 + signal);
        const QString out = process.readAllStandardOutput();
        EXPECT_TRUE(out.endsWith("3 of 4 links checked, 0 bad\n")) << qPrintable(out);
        EXPECT_TRUE(out.contains(QString("stopped by %1: 1 of 4 links were not reached")
                                     .arg(signal == SIGINT ? "SIGINT" : "SIGTERM")));

        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const QList<QByteArray> lines = file.readAll().trimmed().split('\n');
        ASSERT_EQ(lines.size(), 4);
        int finished = 0;
        for (const QByteArray& line : lines) {
            const QJsonObject record = parseObject(line);
            if (record["url"].toString().contains("/slow")) {
                EXPECT_EQ(record["status"].toString(), "");
                EXPECT_EQ(record["code"].toInt(), 0);
                continue;
            }
            ++finished;
            EXPECT_EQ(record["code"].toInt(), 200);
            EXPECT_TRUE(isoWithZone.match(record["time"].toString()).hasMatch()) << line.constData();
            const QDateTime time = QDateTime::fromString(record["time"].toString(), Qt::ISODateWithMs);
            EXPECT_LT(std::abs(time.secsTo(QDateTime::currentDateTime())), 60);
        }
        EXPECT_EQ(finished, 3);
        QFile report(csv);
        ASSERT_TRUE(report.open(QIODevice::ReadOnly));
        EXPECT_TRUE(report.readAll().contains("/int/a.html"));
    }
}

// The corners of the command line that scripts and terminals meet.
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
        {{"crawl", start, "--quiet", "--verbose"}, 2, "", "exclude each other"},
        {{"crawl", start, "--format", "xml"}, 2, "", "--format takes one of text, json, markdown, junit"},
        {{"crawl", start, "--json", "-", "--format", "junit"}, 2, "", "both write to standard output"},
        // Quiet: the result, and nothing on standard error.
        {{"crawl", start, "--quiet"}, 1, "7 of 7 links checked, 2 bad", "-"},
        {{"crawl", start, "--verbose"}, 1, "", "404 not found  " + site().url("/status/404")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.args.join(' ').toStdString());
        const ChildRun run = trellium(c.args);
        EXPECT_EQ(run.exitCode, c.exitCode) << run.err.constData();
        EXPECT_TRUE(QString(run.out).contains(c.out)) << run.out.constData();
        if (c.err == "-") {
            EXPECT_EQ(run.err, "");
        } else {
            EXPECT_TRUE(QString(run.err).contains(c.err)) << run.err.constData();
        }
    }
    const ChildRun verbose = trellium({"crawl", start, "--verbose"});
    EXPECT_EQ(
        QString(verbose.err)
            .count(QRegularExpression("^\\d\\d\\d [^\\n]*  http://", QRegularExpression::MultilineOption)),
        7)
        << verbose.err.constData();
    const ChildRun sites = trellium({"sites", "--help"});
    EXPECT_TRUE(sites.out.endsWith("\n"));
}

// The progress line is redrawn in place only on a terminal that understands the escapes.
TEST(CrawlCommand, ProgressEscapesOnlyWhereUnderstood) {
    TempHome home;
    const QString command = QString("%1 %2 crawl %3").arg("%1", TRELLIUM_PROGRAM, site().url("/"));
    struct Case {
        const char* term; // run on a terminal (script's pseudo-terminal) with this TERM
        bool escapes;
    };
    for (const Case& c : {Case{"TERM=xterm", true}, Case{"TERM=dumb", false}, Case{"-u TERM", false}}) {
        SCOPED_TRACE(c.term);
        QProcess script;
        script.setStandardInputFile(QProcess::nullDevice());
        script.start("script", {"-qefc", command.arg(QString("env ") + c.term), "/dev/null"});
        ASSERT_TRUE(script.waitForFinished(20000));
        const QByteArray shown = script.readAllStandardOutput();
        EXPECT_TRUE(shown.contains("7 of 7 links checked, 2 bad")) << shown.constData();
        EXPECT_EQ(shown.contains("\r\033[K"), c.escapes) << shown.constData();
    }
}

// While the start is still being read (a synchronous fetch, with no event loop to hear the
// first signal), a second Ctrl-C ends the process at once.
TEST(CrawlCommand, SecondInterruptQuitsAtOnce) {
    TempHome home;
    const QString slowStart = "/slow?ms=15000";
    QProcess process;
    process.start(TRELLIUM_PROGRAM, {"crawl", site().url(slowStart)});
    ASSERT_TRUE(process.waitForStarted());
    QDeadlineTimer deadline(10000);
    while (!deadline.hasExpired() && site().requestsFor(slowStart).isEmpty())
        QThread::msleep(20);
    ASSERT_FALSE(site().requestsFor(slowStart).isEmpty());
    ::kill(pid_t(process.processId()), SIGINT);
    QThread::msleep(100);
    ::kill(pid_t(process.processId()), SIGINT);
    ASSERT_TRUE(process.waitForFinished(3000)) << "the second signal did not end the process";
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 130);
}
