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

QByteArray page(const QString& title, const QString& body, const QString& head = QString()) {
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

// The log lines written while it lives.
struct LogCapture {
    static inline QStringList lines;
    QtMessageHandler previous;
    LogCapture() {
        lines.clear();
        previous = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext&, const QString& message) { lines.append(message); });
    }
    ~LogCapture() { qInstallMessageHandler(previous); }
    bool mentions(const QString& text) const {
        return std::any_of(lines.begin(), lines.end(),
                           [&](const QString& line) { return line.contains(text); });
    }
};

} // namespace

TEST(LinkIntakeEdges, TextsTheUrlClassRefusesAreDroppedAndLogged) {
    struct Case {
        const char* link;
        bool logged;
    };
    const Case cases[] = {
        {"http://127.0.0.1:65536/", true},
        {"http://[::1/x", true},
        {"http://a b/", true},
        {"http://x:abc/", true},
        {"http://ex!ample/", true},
        // No URL by the rules themselves, not by refusal: passed over quietly.
        {"#", false},
        // Escaped and tried again, so it makes the one record besides the start.
        {"/a b.html", false},
    };
    TestServer server;
    QStringList links;
    for (const Case& c : cases)
        links.append(c.link);
    server.addPage("/", page("Home", anchors(links)));
    LogCapture log;
    Crawl crawl(server.url("/"));
    crawl.hub.go();
    ASSERT_TRUE(crawl.runToEnd());
    for (const Case& c : cases)
        EXPECT_EQ(log.mentions(QString("badly formed url: %1 ").arg(c.link)), c.logged) << c.link;
    ASSERT_EQ(crawl.hub.count(), 2);
    EXPECT_EQ(crawl.hub.getnthofAllItems(1)->getStatus(), "404 not found");
}

TEST(LinkIntakeEdges, LocalFilesAreOpenedOnlyFromLocalPages) {
    QTemporaryDir dir;
    QFile secret(dir.filePath("secret.txt"));
    ASSERT_TRUE(secret.open(QIODevice::WriteOnly));
    secret.write("password");
    secret.close();
    ASSERT_TRUE(secret.copy(dir.filePath("other.txt")));
    const QString secretUrl = QUrl::fromLocalFile(secret.fileName()).toString();
    const QString otherUrl = QUrl::fromLocalFile(dir.filePath("other.txt")).toString();
    QString upperScheme = otherUrl;
    upperScheme.replace("file:", "FILE:");

    TestServer server;
    server.addPage("/", page("Remote", anchors({secretUrl, "/local-link.html"})));
    server.addPage("/local-link.html", page("Remote 2", anchors({upperScheme})));
    QFile index(dir.filePath("index.html"));
    ASSERT_TRUE(index.open(QIODevice::WriteOnly));
    // The folder in the query lets the page past the local start's folder limit.
    index.write(page("Local", anchors({"secret.txt", server.url("/local-link.html?via=" + dir.path())})));
    index.close();

    const QString refused = "local file not checked";
    struct Case {
        const char* name;
        QString start;
        QString added;        // a record put in by hand, not by a page
        QString secretStatus; // the status of the link to secret.txt, as found on a page
        QString otherStatus;  // that of a link to other.txt with its scheme in capitals
    };
    const Case cases[] = {
        {"http start", server.url("/"), QString(), refused, refused},
        {"http start, file record added by hand", server.url("/"), secretUrl, refused, refused},
        // A local page reads the file; a page it reaches over http still may not.
        {"local start", QUrl::fromLocalFile(index.fileName()).toString(), QString(),
         "200 no error (not http)", refused},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Crawl crawl(c.start);
        crawl.hub.go();
        if (!c.added.isEmpty())
            crawl.addLink(c.added, false);
        ASSERT_TRUE(crawl.runToEnd());
        for (const auto& [url, status] : {std::pair{secretUrl, c.secretStatus}, {otherUrl, c.otherStatus}}) {
            const auto record = crawl.find(url);
            ASSERT_TRUE(record) << url.toStdString();
            EXPECT_EQ(record->getStatus(), status);
            if (status == refused) {
                // Shown, exempt from checking, and not a bad link.
                EXPECT_TRUE(record->isExempt());
                EXPECT_FALSE(record->isInBadCollection());
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
        QString redirectTarget;
    };
    const Case cases[] = {
        {"localhost",
         {at("localhost", "/b"), at("localhost", "/c")},
         {at("LocalHost", "/a")},
         at("localhost", "/b")},
        {"LocalHost",
         {at("LocalHost", "/a"), at("LocalHost", "/b")},
         {at("localhost", "/c")},
         at("LocalHost", "/b")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.startHost);
        Crawl crawl(at(c.startHost, "/"));
        crawl.preferences.setValue("ignoreSubdomain", "YES");
        crawl.preferences.setValue("SEOEnabledCheckBox", true);
        crawl.hub.go();
        ASSERT_TRUE(crawl.runToEnd());
        EXPECT_EQ(crawl.hub.getDomains(), QStringList({c.startHost}));
        for (const QString& url : c.internal + c.external) {
            const auto record = crawl.find(url);
            ASSERT_TRUE(record) << url.toStdString();
            EXPECT_EQ(record->getLinkUrl(), url);
            // Requested under the host the server knows, whatever its case.
            EXPECT_EQ(record->getStatus(), "200 no error") << url.toStdString();
            const bool internal = c.internal.contains(url);
            EXPECT_EQ(record->isInternal(), internal) << url.toStdString();
            // Only internal pages are read.
            EXPECT_EQ(crawl.find(url + "-child") != nullptr, internal) << url.toStdString();
        }
        EXPECT_EQ(crawl.find(at(c.startHost, "/r"))->getRedir(), c.redirectTarget);
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

    struct Case {
        const char* name;
        bool byLinkColumn, flatColumn;
        bool detected;
    };
    const Case cases[] = {
        {"default columns", false, true, true},
        {"by-link column alone", true, false, true},
        {"no nofollow column", false, false, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Crawl crawl(server.url("/"));
        crawl.preferences.setValue("LorraneByLinkViewColsNofollow", c.byLinkColumn);
        crawl.preferences.setValue("LorraneFlatViewColsNofollow", c.flatColumn);
        crawl.hub.go();
        ASSERT_TRUE(crawl.runToEnd());
        EXPECT_EQ(crawl.find(server.url("/meta"))->getRobots(), c.detected ? "nofollow" : "");
        // The nofollow of every occurrence, read back from the flat export's last column.
        crawl.preferences.setValue("LorraneFlatViewColsNofollow", true);
        KestReportDataSource& report = crawl.hub.getReportDataSource();
        report.doReport(crawl.hub, true);
        const QStringList rows = report.getFlatCSV(report.tableView()).split('\r');
        const QString yes = c.detected ? "\"Yes\"" : "\"No\"";
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
        crawl.hub.go();
        ASSERT_TRUE(crawl.runToEnd());
        EXPECT_TRUE(QRegularExpression(c.pattern).match(crawl.first()->getTimestamp()).hasMatch())
            << crawl.first()->getTimestamp().toStdString();
    }
    QLocale::setDefault(before);
}
