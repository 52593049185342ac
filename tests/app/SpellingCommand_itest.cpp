// trellium spelling as a user runs it, against the local server, each run a new process with
// its own home: learned words must outlive the process that learned them.
#include "ChildRun.h"
#include "support/TestServer.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

QByteArray page(const char* body) {
    return QByteArray("<html><head><title>T</title></head>\n<body>") + body + "</body></html>";
}

struct SpellingCommand : testing::Test {
    QTemporaryDir home;
    TestServer server;
    void SetUp() override {
        server.addPage("/", page("<p>The qwzx cat sat on the mat.</p><a href=\"/de.html\">de</a>"));
        server.addPage("/de.html", page("<p>The house is big.</p>"));
        server.addPage("/german.html", page("<p>Das Haus ist gro\xc3\x9f und sch\xc3\xb6n.</p>"));
    }
    ChildRun run(const QStringList& args) { return trellium(QStringList{"spelling"} + args, home.path()); }
};

} // namespace

TEST_F(SpellingCommand, ListsPagesWithIssuesAndLearnsForLaterRuns) {
    const QString report = home.path() + "/spelling.csv";
    ChildRun first =
        run({server.url("/"), "--details", "--language", "en_US", "--report", "spelling-csv=" + report});
    EXPECT_EQ(first.exitCode, 1) << first.err;
    EXPECT_TRUE(first.out.contains(server.url("/") + "  spelling 1")) << first.out;
    EXPECT_TRUE(first.out.contains("    qwzx  ...")) << first.out;
    EXPECT_FALSE(first.out.contains("de.html")) << "a page with no issues is not listed";
    QFile csv(report);
    ASSERT_TRUE(csv.open(QIODevice::ReadOnly));
    EXPECT_TRUE(csv.readAll().startsWith("\"URL\",\"Spelling\",\"Grammar\"\r"));

    ChildRun learn = run({"--learn", "qwzx"});
    ASSERT_EQ(learn.exitCode, 0) << learn.err;
    ChildRun again = run({server.url("/")});
    EXPECT_EQ(again.exitCode, 0) << again.out << again.err;
    EXPECT_TRUE(again.err.contains("0 with spelling issues")) << again.err;
}

TEST_F(SpellingCommand, LanguagesAndWhatTheUserMustFix) {
    const struct {
        QStringList args;
        int exitCode;
        const char* says;
    } cases[] = {
        {{server.url("/german.html"), "--language", "de_DE", "--single-page"}, 0, "in de_DE"},
        {{server.url("/german.html"), "--language", "German (Germany)", "--single-page"}, 0, "in de_DE"},
        {{server.url("/german.html"), "--language", "en_US", "--single-page"}, 1, "1 with spelling issues"},
        {{server.url("/german.html"), "--language", "xx_XX"},
         2,
         "no spelling dictionary is installed for \"xx_XX\""},
        {{server.url("/german.html"), "--language", "de_DE", "--grammar", "--single-page"},
         0,
         "no grammar dictionary is installed"},
        {{"--learn", "two", "words"}, 2, "--learn WORD"},
    };
    for (const auto& c : cases) {
        const ChildRun r = run(c.args);
        EXPECT_EQ(r.exitCode, c.exitCode) << c.args.join(' ') << "\n" << r.out << r.err;
        EXPECT_TRUE(r.err.contains(c.says)) << c.args.join(' ') << "\n" << r.err;
    }

    // The word list's place is taken by a folder: the word is refused, with the reason.
    ASSERT_TRUE(QDir().mkpath(home.path() + "/share/Trellium5/personal-words.txt"));
    const ChildRun refused = run({"--learn", "qwzx"});
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_TRUE(refused.err.contains("Cannot write the personal word list")) << refused.err;
}
