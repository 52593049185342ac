// A crawl saved with --save and shown again by `trellium open`, and two saved crawls compared by
// `trellium diff`, run as a user runs them.
#include "ChildRun.h"
#include "support/QtPrinting.h"
#include "support/TempHome.h"
#include "support/TestServer.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QUrl>

#include <gtest/gtest.h>

namespace {

QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(missing)");
}

void writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path;
    file.write(bytes);
}

QStringList reportArgs(const QString& folder) {
    QStringList args;
    for (const char* kind :
         {"flat-csv", "flat-html", "bad-csv", "by-link-csv", "by-link-html", "by-page-csv", "by-page-html"})
        args << "--report" << QString("%1=%2/%1").arg(kind, folder);
    return args;
}

} // namespace

// The reports of a saved crawl opened again are those of the crawl, byte for byte, and so is
// its status line; nothing is fetched. The file keeps no place of a link on its page, so a
// loaded page lists its links in the order they were first met in the crawl: here, as on the
// pages.
TEST(SavedCrawl, OpenGivesTheReportsOfTheCrawl) {
    TempHome home;
    TestServer server;
    server.addPage("/", "<title>Home</title><a href=/a.html>a &amp; b</a><a href=/status/404>gone</a>"
                        "<img src=/i.png alt=pic><a href=/status/500>err</a>");
    server.addPage("/a.html", "<title>A</title><a href=/status/404>x</a><a href=/b.html>b</a>");
    server.addPage("/b.html", "<title>B</title><a href=/a.html>a</a>");
    server.addPage("/i.png", "png", "image/png");
    QTemporaryDir dir;
    QDir().mkpath(dir.filePath("crawl"));
    QDir().mkpath(dir.filePath("open"));
    const QString saved = dir.filePath("crawl.plist");
    const ChildRun crawl = trellium(QStringList{"crawl", server.url("/"), "--images", "--save", saved} +
                                    reportArgs(dir.filePath("crawl")));
    ASSERT_EQ(crawl.exitCode, 1) << crawl.err;
    server.resetRecords();
    const ChildRun open = trellium(QStringList{"open", saved} + reportArgs(dir.filePath("open")));
    EXPECT_EQ(open.exitCode, 1) << open.err;
    EXPECT_TRUE(server.requests().isEmpty());
    EXPECT_EQ(open.out.trimmed().split('\n').last(), crawl.out.trimmed().split('\n').last());
    for (const QString& name : QDir(dir.filePath("crawl")).entryList(QDir::Files)) {
        SCOPED_TRACE(name.toStdString());
        EXPECT_EQ(contents(dir.filePath("open/" + name)), contents(dir.filePath("crawl/" + name)));
    }
    EXPECT_EQ(QDir(dir.filePath("crawl")).entryList(QDir::Files).size(), 7);
}

// Two crawls of a folder changed in between: the PDF that went missing broke, the one that came
// was fixed, one page was added and one removed.
TEST(SavedCrawl, DiffListsWhatBrokeAndWhatWasFixed) {
    TempHome home;
    QTemporaryDir dir;
    const QString site = dir.filePath("site");
    QDir().mkpath(site);
    writeFile(site + "/index.html", "<a href=a.html>a</a><a href=old.pdf>o</a><a href=fix.pdf>f</a>"
                                    "<a href=gone.html>g</a>");
    writeFile(site + "/a.html", "<p>a</p>");
    writeFile(site + "/gone.html", "<p>gone</p>");
    writeFile(site + "/old.pdf", "%PDF-1.4");
    ASSERT_EQ(trellium({"crawl", site + "/index.html", "--save", dir.filePath("old.plist")}).exitCode, 1);
    writeFile(site + "/index.html", "<a href=a.html>a</a><a href=old.pdf>o</a><a href=fix.pdf>f</a>"
                                    "<a href=new.html>n</a>");
    QFile::remove(site + "/old.pdf");
    QFile::remove(site + "/gone.html");
    writeFile(site + "/fix.pdf", "%PDF-1.4");
    writeFile(site + "/new.html", "<p>new</p>");
    ASSERT_EQ(trellium({"crawl", site + "/index.html", "--save", dir.filePath("new.plist")}).exitCode, 1);

    const ChildRun diff =
        trellium({"diff", dir.filePath("old.plist"), dir.filePath("new.plist"), "--json", "-"});
    EXPECT_EQ(diff.exitCode, 1) << diff.err;
    QStringList changes;
    for (const QJsonValue& change : QJsonDocument::fromJson(diff.out.toUtf8()).object()["changes"].toArray())
        changes << change["change"].toString() + " " + QUrl(change["url"].toString()).fileName();
    EXPECT_EQ(changes, QStringList({"became bad old.pdf", "fixed fix.pdf", "page appeared new.html",
                                    "page disappeared gone.html"}));
    EXPECT_TRUE(diff.err.contains("1 became bad, 1 fixed, 1 pages appeared, 1 pages disappeared"))
        << diff.err;

    // The other way round nothing became bad but the PDF that is now missing; as a table.
    const ChildRun text = trellium({"diff", dir.filePath("new.plist"), dir.filePath("new.plist")});
    EXPECT_EQ(text.exitCode, 0);
    EXPECT_TRUE(text.out.startsWith("No link became bad")) << text.out;
    const ChildRun table = trellium({"diff", dir.filePath("old.plist"), dir.filePath("new.plist")});
    EXPECT_TRUE(
        table.out.contains(QRegularExpression("became bad +\\S.* +The requested URL was not found +file:")))
        << table.out;
}

// Files that are no saved crawl, and places that cannot be written, end with a reason and
// exit status 2, before any crawl.
TEST(SavedCrawl, BadFilesOnTheCommandLine) {
    TempHome home;
    QTemporaryDir dir;
    writeFile(dir.filePath("page.plist"), "<html>not a list</html>");
    struct Case {
        QStringList args;
        const char* message;
    };
    const Case cases[] = {
        {{"open", dir.filePath("page.plist")}, "cannot load"},
        {{"open", dir.filePath("missing.plist")}, "No such file"},
        {{"open"}, "give one saved crawl"},
        {{"diff", dir.filePath("missing.plist"), dir.filePath("page.plist")}, "cannot load"},
        {{"diff", dir.filePath("page.plist")}, "give two saved crawls"},
        {{"crawl", "http://127.0.0.1:1/", "--save", dir.filePath("no/such/folder/x.plist")}, "cannot write"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.args.join(' ').toStdString());
        const ChildRun run = trellium(c.args);
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_TRUE(run.err.contains(c.message)) << run.err;
    }
}
