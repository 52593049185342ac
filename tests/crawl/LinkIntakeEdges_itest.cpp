// Link intake at its edges: texts the URL class refuses, local files seen from the network, the
// letter case of hosts, nofollow in a default crawl and the time stamp's form.
#include "support/CrawlFixture.h"
#include "support/QtPrinting.h"
#include "support/TestServer.h"
#include "views/KestReportDataSource.h"

#include <QFile>
#include <QLocale>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

QByteArray page(const QString& title, const QString& body, const QString& head = {}) {
    return QString("<html><head><title>%1</title>%3</head><body>%2</body></html>")
        .arg(title, body, head)
        .toUtf8();
}

QString anchors(const QStringList& links) {
    QString html;
    for (const QString& link : links)
        html += QString("<a href=\"%1\">x</a>\n").arg(link);
    return html;
}

// The log lines of the test running now.
QStringList logLines;

} // namespace

TEST(LinkIntakeEdges, TextsTheUrlClassRefusesAreDroppedAndLogged) {
    const std::pair<const char*, bool> cases[] = {
        {"http://127.0.0.1:65536/", true},
        {"http://[::1/x", true},
        {"http://a b/", true},
        {"http://ex!ample/", true},
        {"#", false},         // no URL by the rules themselves, not by refusal: passed over quietly
        {"/a b.html", false}, // escaped and tried again: the one record besides the start
    };
    TestServer server;
    QStringList links;
    for (const auto& [link, logged] : cases)
        links.append(link);
    server.addPage("/", page("Home", anchors(links)));
    logLines.clear();
    const QtMessageHandler previous = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext&, const QString& line) { logLines.append(line); });
    Crawl crawl(server.url("/"));
    const bool ended = crawl.goToEnd();
    qInstallMessageHandler(previous);
    ASSERT_TRUE(ended);
    const QString log = logLines.join('\n');
    for (const auto& [link, logged] : cases)
        EXPECT_EQ(log.contains(QString("badly formed url: %1 ").arg(link)), logged) << link;
    ASSERT_EQ(crawl.hub.count(), 2);
    EXPECT_EQ(crawl.hub.getnthofAllItems(1)->getStatus(), "404 not found");
}

TEST(LinkIntakeEdges, LocalFilesAreOpenedOnlyFromLocalPages) {
    QTemporaryDir dir;
    const auto write = [&](const QString& name, const QByteArray& bytes) {
        QFile file(dir.filePath(name));
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
    };
    const QString secretUrl = QUrl::fromLocalFile(dir.filePath("secret.txt")).toString();
    const QString otherUrl = QUrl::fromLocalFile(dir.filePath("other.txt")).toString();
    TestServer server;
    server.addPage("/", page("Remote", anchors({secretUrl, "/local-link.html"})));
    server.addPage("/local-link.html",
                   page("Remote 2", anchors({QString(otherUrl).replace("file:", "FILE:")})));
    // The folder in the query lets the page past the local start's folder limit.
    ASSERT_TRUE(
        write("secret.txt", "password") && write("other.txt", "password") &&
        write("index.html",
              page("Local", anchors({"secret.txt", server.url("/local-link.html?via=" + dir.path())}))));

    const QString refused = "local file not checked";
    struct Case {
        const char* name;
        QString start;
        QString added;        // a record put in by hand, not by a page
        QString secretStatus; // of the link to secret.txt; other.txt, reached over http, is refused
    };
    const Case cases[] = {
        {"http start", server.url("/"), QString(), refused},
        {"http start, file record added by hand", server.url("/"), secretUrl, refused},
        {"local start", QUrl::fromLocalFile(dir.filePath("index.html")).toString(), QString(),
         "200 no error (not http)"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Crawl crawl(c.start);
        crawl.hub.go();
        if (!c.added.isEmpty())
            crawl.addLink(c.added, false);
        ASSERT_TRUE(crawl.runToEnd());
        for (const auto& [url, status] : {std::pair{secretUrl, c.secretStatus}, {otherUrl, refused}}) {
            const auto record = crawl.find(url);
            ASSERT_TRUE(record) << url.toStdString();
            EXPECT_EQ(record->getStatus(), status);
            if (status == refused) {
                // Shown, exempt from checking, and not a bad link.
                EXPECT_TRUE(record->isExempt());
                EXPECT_EQ(record->getColour(), 0);
                EXPECT_FALSE(record->hasData());
            }
        }
        EXPECT_EQ(crawl.hub.getBadCollectionCount(), 0);
    }
}

TEST(LinkIntakeEdges, HostLetterCaseIsKept) {
    TestServer server;
    const QString port = QString::number(server.port());
    auto at = [&](const QString& host, const QString& path) {
        return QString("http://%1:%2%3").arg(host, port, path);
    };
    server.addPage(
        "/", page("Home", anchors({at("LocalHost", "/a"), "/b", at("localhost", "/c"), "/r", "/based"})));
    for (const char* path : {"/a", "/b", "/c"})
        server.addPage(path, page(path, anchors({QString("%1-child").arg(path)}),
                                  QString("<link rel=\"canonical\" href=\"%1\">").arg(path)));
    server.addRedirect("/r", "/b");
    server.addPage("/based", page("Based", anchors({"based-child"}),
                                  QString("<base href=\"%1\">").arg(at("LocalHost", "/"))));

    struct Case {
        const char* startHost;
        QStringList internal, external; // record URLs, letter case as written
    };
    const Case cases[] = {
        {"localhost", {at("localhost", "/b"), at("localhost", "/c")}, {at("LocalHost", "/a")}},
        {"LocalHost", {at("LocalHost", "/a"), at("LocalHost", "/b")}, {at("localhost", "/c")}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.startHost);
        Crawl crawl(at(c.startHost, "/"));
        crawl.preferences.setValue("ignoreSubdomain", "YES");
        crawl.preferences.setValue("SEOEnabledCheckBox", true);
        ASSERT_TRUE(crawl.goToEnd());
        EXPECT_EQ(crawl.hub.getDomains(), QStringList({c.startHost}));
        for (const QString& url : c.internal + c.external) {
            SCOPED_TRACE(url.toStdString());
            const auto record = crawl.find(url);
            ASSERT_TRUE(record);
            EXPECT_EQ(record->getLinkUrl(), url);
            // Requested under the host the server knows, whatever its case.
            EXPECT_EQ(record->getStatus(), "200 no error");
            const bool internal = c.internal.contains(url);
            EXPECT_EQ(record->isInternal(), internal);
            // Only internal pages are read.
            EXPECT_EQ(crawl.find(url + "-child") != nullptr, internal);
        }
        EXPECT_EQ(crawl.find(at(c.startHost, "/r"))->getRedir(), at(c.startHost, "/b"));
        // A base names its host as it likes.
        EXPECT_TRUE(crawl.find(at("LocalHost", "/based-child")));
        // A page's canonical is written with the page's host as it stands.
        const auto b = crawl.find(at(c.startHost, "/b"));
        EXPECT_EQ(b->getCanonical(), at(c.startHost, "/b"));
        EXPECT_TRUE(b->canonicalMatchesUrl());
    }
}

TEST(LinkIntakeEdges, NofollowShowsInTheFlatExportAndTheRobotsField) {
    TestServer server;
    server.addPage("/", page("Home", "<a rel=\"nofollow\" href=\"/nf\">nf</a> <a href=\"/meta\">meta</a>"));
    server.addPage("/nf", page("NF", ""));
    server.addPage("/meta",
                   page("Meta", "<a href=\"/leaf\">leaf</a>", "<meta name=\"robots\" content=\"nofollow\">"));
    server.addPage("/leaf", page("Leaf", ""));

    // The two Nofollow column switches; whether nofollow is looked for.
    const std::tuple<bool, bool, bool> cases[] = {
        {false, true, true}, {true, false, true}, {false, false, false}};
    for (const auto& [byLinkColumn, flatColumn, detected] : cases) {
        SCOPED_TRACE(testing::Message() << byLinkColumn << flatColumn);
        Crawl crawl(server.url("/"));
        crawl.preferences.setValue("LorraneByLinkViewColsNofollow", byLinkColumn);
        crawl.preferences.setValue("LorraneFlatViewColsNofollow", flatColumn);
        ASSERT_TRUE(crawl.goToEnd());
        EXPECT_EQ(crawl.find(server.url("/meta"))->getRobots(), detected ? "nofollow" : "");
        // The nofollow of every occurrence, read back from the flat export's last column.
        crawl.preferences.setValue("LorraneFlatViewColsNofollow", true);
        KestReportDataSource& report = crawl.hub.getReportDataSource();
        report.doReport(crawl.hub, true);
        const QStringList rows = report.getFlatCSV(report.tableView()).split('\r');
        const QString yes = detected ? "\"Yes\"" : "\"No\"";
        for (const char* path : {"/nf", "/leaf", "/meta"}) {
            const QString url = "\"" + server.url(path) + "\"";
            const auto row =
                std::find_if(rows.begin(), rows.end(), [&](const QString& r) { return r.contains(url); });
            ASSERT_NE(row, rows.end()) << path;
            EXPECT_TRUE(row->endsWith(QString(path) == "/meta" ? "\"No\"" : yes)) << row->toStdString();
        }
    }
}

TEST(LinkIntakeEdges, TimeStampInTheLocalesMediumStyles) {
    struct Case {
        const char* locale;
        const char* fixed;   // 2026-11-23 14:05:09 written in it
        const char* pattern; // what a stamp made now looks like
    };
    const Case cases[] = {
        {"en_GB", "23 Nov 2026, 14:05:09", R"(^\d{1,2} [A-Z][a-z]{2} \d{4}, \d{2}:\d{2}:\d{2}$)"},
        {"en_US", "Nov 23, 2026, 2:05:09 PM",
         R"(^[A-Z][a-z]{2} \d{1,2}, \d{4}, \d{1,2}:\d{2}:\d{2}\s[AP]M$)"},
        {"de_DE", "23. Nov. 2026, 14:05:09", R"(^\d{1,2}\. \S+ \d{4}, \d{2}:\d{2}:\d{2}$)"},
    };
    TestServer server;
    server.addPage("/", page("Home", ""));
    const QLocale before;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.locale);
        const QLocale locale(c.locale);
        EXPECT_EQ(LinkCheckerUrl::timestampText(QDateTime(QDate(2026, 11, 23), QTime(14, 5, 9)), locale),
                  QString::fromUtf8(c.fixed));
        // The stamp of a request follows the locale of the moment, even within one second.
        QLocale::setDefault(locale);
        Crawl crawl(server.url("/"));
        ASSERT_TRUE(crawl.goToEnd());
        EXPECT_TRUE(QRegularExpression(c.pattern).match(crawl.first()->getTimestamp()).hasMatch())
            << crawl.first()->getTimestamp().toStdString();
    }
    QLocale::setDefault(before);
}
