// `trellium seo` run as a child against the local test server.
#include "ChildRun.h"
#include "support/QtPrinting.h"
#include "support/TempHome.h"
#include "support/TestServer.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

namespace {

TestServer& seoSite() {
    static TestServer* server = [] {
        auto* s = new TestServer;
        s->addPage("/",
                   "<title>Home \"page\"</title><meta name=description content=\"Welcome home to the site\">"
                   "<a href=/a>a</a><a href=/b>b</a>");
        s->addPage("/a",
                   "<title>Apples</title><meta name=description content=\"All about apples here\">apples");
        s->addPage("/b", "<title>Bare</title>no description");
        return s;
    }();
    return *server;
}

TEST(SeoCommand, TableReportsJsonAndExitStatus) {
    TempHome home;
    const QString dir = home.path();
    const ChildRun run =
        trellium({"seo", seoSite().url("/"), "--keyword", "apples", "--in-content", "--json", dir + "/p.json",
                  "--report", "seo-csv=" + dir + "/s.csv", "--report", "seo-bad=" + dir + "/bad.html",
                  "--report", "duplicates-csv=" + dir + "/d.csv", "--archive", dir});
    EXPECT_EQ(run.exitCode, 1) << run.err; // one page lacks its description
    EXPECT_TRUE(run.out.contains("3 page(s) included, 0 without title, 1 without description, 1 shown"))
        << run.out;
    EXPECT_TRUE(run.out.contains("Apples")) << run.out;
    const QJsonObject json = QJsonDocument::fromJson(readText(dir + "/p.json").toUtf8()).object();
    EXPECT_EQ(json["title"].toString(), "Apples");
    EXPECT_EQ(json["occurrences"].toObject()["total"].toInt(), 3); // title, description, text
    // The plain CSV keeps the quote as it stands, filtered to the keyword's page.
    EXPECT_EQ(readText(dir + "/s.csv").section('\r', 1, 1).section(',', 0, 1),
              "\"" + seoSite().url("/a") + "\",\"Apples\"");
    EXPECT_TRUE(readText(dir + "/bad.html")
                    .startsWith("<h1>SEO</h1>\n<p>3 page(s) included, 0 without title, 1 "
                                "without description</p>\n<table>"));
    EXPECT_EQ(readText(dir + "/d.csv"), "\"Title\",\"URL\",\"Size in bytes\"\r");
    EXPECT_EQ(QDir(dir).entryList({"Kestrelia archived pages *"}).size(), 1);
}

TEST(SeoCommand, BadOptionsExitTwo) {
    TempHome home;
    for (const QStringList& args : {QStringList{"--filter", "nonsense"}, QStringList{"--in-content"},
                                    QStringList{"--archive", home.path() + "/missing"}}) {
        const ChildRun run = trellium(QStringList{"seo", seoSite().url("/")} + args);
        EXPECT_EQ(run.exitCode, 2) << args.join(' ').toStdString();
    }
    const ChildRun filtered = trellium({"seo", seoSite().url("/"), "--filter", "no-description"});
    EXPECT_EQ(filtered.exitCode, 1);
    EXPECT_TRUE(filtered.out.contains("1 shown")) << filtered.out;
}

} // namespace
