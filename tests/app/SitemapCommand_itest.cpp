// `trellium sitemap` run as a child against the local test server and a local FTP server.
#include "ChildRun.h"
#include "config/SiteStore.h"
#include "platform/Plist.h"
#include "support/FtpServer.h"
#include "support/QtPrinting.h"
#include "support/TempHome.h"
#include "support/TestServer.h"

#include <QDir>
#include <gtest/gtest.h>

namespace {

TestServer& site() {
    static TestServer* server = [] {
        auto* s = new TestServer;
        s->addPage("/",
                   "<a href=/news/1.html>n</a><a href='/list?a=1&amp;b=2'>l</a><a href=/private.html>p</a>"
                   "<a href=/status/404>x</a>");
        s->addPage("/news/1.html", "<a href=/news/2.html>n</a>", "text/html", 200,
                   {{"Last-Modified", "Mon, 29 Dec 2025 10:00:00 GMT"}});
        s->addPage("/news/2.html", "two");
        s->addPage("/list", "list");
        s->addPage("/private.html", "<html><head><meta name=robots content=noindex></head></html>");
        return s;
    }();
    return *server;
}

int xmllint(const QString& path) {
    return QProcess::execute("xmllint", {"--noout", path});
}

} // namespace

// The document of a crawled site with rules and choices from the command line, well-formed to
// xmllint, and the three sitemap reports beside it.
TEST(SitemapCommand, WritesTheSitemapAndItsReports) {
    TempHome home;
    const QString out = home.path() + "/map.xml";
    const ChildRun run = trellium({"sitemap", site().url("/"), "-o", out, "--rule", "NEWS=0.9,daily",
                                   "--rule", "news/2=0.4,fortnightly", "--changefreq", "monthly", "--lastmod",
                                   "--report", "sitemap-csv=" + home.path() + "/s.csv", "--report",
                                   "sitemap-tree-html=" + home.path() + "/t.html", "--report",
                                   "sitemap-html=" + home.path() + "/p.html"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(run.out.startsWith("sitemap: 4 pages written to " + out)) << run.out;
    EXPECT_TRUE(run.err.contains("unknown change frequency 'fortnightly'")) << run.err;
    EXPECT_EQ(xmllint(out), 0);
    const QString text = readText(out);
    const QString base = site().baseUrl();
    for (const QString& part :
         {"\t<url>\n\t\t<loc>" + base +
              "/</loc>\n\t\t<changefreq>monthly</changefreq>\n\t\t<priority>1.0</priority>\n",
          "<loc>" + base +
              "/news/1.html</loc>\n\t\t<lastmod>2026-12-29</lastmod>\n\t\t<changefreq>daily</changefreq>\n"
              "\t\t<priority>0.9</priority>\n",
          "<loc>" + base +
              "/news/2.html</loc>\n\t\t<changefreq>fortnightly</changefreq>\n\t\t<priority>0.4</priority>",
          "<loc>" + base +
              "/list?a=1&amp;b=2</loc>\n\t\t<changefreq>monthly</changefreq>\n\t\t<priority>0.5</priority>"})
        EXPECT_TRUE(text.contains(part)) << part << "\n" << text;
    EXPECT_FALSE(text.contains("private")) << text;
    EXPECT_TRUE(readText(home.path() + "/s.csv")
                    .startsWith("\"URL\",\"Priority\",\"Change frequency\",\"Last modified\"\r"));
    EXPECT_TRUE(
        readText(home.path() + "/t.html").contains("&bull;&nbsp;<a href = \"" + base + "/news/1.html\">"));
    EXPECT_TRUE(readText(home.path() + "/p.html").contains("<a href = \"" + base + "/\">"));
}

// Bad input is told before any crawl, and no file is left behind.
TEST(SitemapCommand, RefusesBadInput) {
    TempHome home;
    const QString out = home.path() + "/none.xml";
    const struct {
        QStringList args;
        const char* message;
    } cases[] = {
        {{"--rule", "=0.5,daily"}, "has nothing to look for"},
        {{"--rule", "blog"}, "--rule takes 'CONTAINS=PRIORITY,UPDATE'"},
        {{"--rule", "blog=0.5"}, "--rule takes"},
        {{"--changefreq", "sometimes"}, "--changefreq takes none, always"},
        {{"--priority", "high"}, "--priority takes level or none"},
        {{"--upload"}, "--upload needs the site's FTP server"},
        {{"--ftp", "http://host/dir"}, "--ftp takes"},
        {{"-o", home.path() + "/missing/dir/map.xml"}, "cannot write"},
    };
    for (const auto& c : cases) {
        QStringList args = {"sitemap", site().url("/news/2.html")};
        if (!c.args.contains("-o"))
            args << "-o" << out;
        const ChildRun run = trellium(args + c.args);
        EXPECT_EQ(run.exitCode, 2) << c.args.join(' ');
        EXPECT_TRUE(run.err.contains(c.message)) << run.err;
    }
    EXPECT_FALSE(QFile::exists(out));
}

// Upload: to the folder of an --ftp URL whose password holds ":" and "@", and with a stored site's
// rules and FTP settings; a server that refuses ends in the alert and exit status 1.
TEST(SitemapCommand, UploadsByFtp) {
    TempHome home;
    FtpServer ftp("web", "se:cr@t");
    ASSERT_TRUE(ftp.isRunning()) << ftp.startError();
    ASSERT_TRUE(QDir(ftp.root()).mkpath("www/maps"));
    const QString out = home.path() + "/sitemap.xml";
    ChildRun run = trellium({"sitemap", site().url("/"), "-o", out, "--quiet", "--ftp",
                             "ftp://web:se%3Acr%40t@" + ftp.hostAndPort() + "/www/maps/"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_TRUE(run.out.contains(", uploaded")) << run.out;
    EXPECT_EQ(readText(ftp.root() + "/www/maps/sitemap.xml"), readText(out));

    ASSERT_EQ(trellium({"sites", "add", site().url("/"), "--name", "S"}).exitCode, 0);
    SiteStore store;
    store.loadAllUrls();
    const QString file =
        SiteStore::pathForFilename(store.fileNameCollection[store.nameCollection.indexOf("S")]);
    QVariantMap settings = Plist::readFile(file);
    settings.insert("sitemapRules", QVariantList{QVariantMap{
                                        {"contains", "/LIST"}, {"priority", "0.1"}, {"update", "never"}}});
    settings.insert("ftpserver", ftp.hostAndPort());
    settings.insert("ftpusername", "web");
    settings.insert("ftppassword", "se:cr@t");
    settings.insert("ftpdirectory", "www");
    ASSERT_TRUE(Plist::writeFile(file, settings));
    run = trellium({"sitemap", "--site", "S", "-o", out, "--upload"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    const QString uploaded = readText(ftp.root() + "/www/sitemap.xml");
    EXPECT_EQ(uploaded, readText(out));
    EXPECT_TRUE(
        uploaded.contains("b=2</loc>\n\t\t<changefreq>never</changefreq>\n\t\t<priority>0.1</priority>"))
        << uploaded;

    run = trellium(
        {"sitemap", "--site", "S", "-o", out, "--ftp", "ftp://web:wrong@" + ftp.hostAndPort() + "/www"});
    EXPECT_EQ(run.exitCode, 1) << run.err;
    EXPECT_TRUE(run.err.contains("ftp unsuccessful: ftp error: exit code: 67")) << run.err;
    EXPECT_TRUE(run.out.contains(", upload failed")) << run.out;
}
