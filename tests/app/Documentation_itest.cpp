// The manual page and the shell completions name every command, subcommand and option that the
// program's own help offers, so that neither falls behind when the command line grows.
#include "ChildRun.h"

#include <QFile>
#include <QRegularExpression>

#include <gtest/gtest.h>

namespace {

QString sourceFile(const QString& path) {
    QFile file(QStringLiteral(TRELLIUM_SOURCE_DIR "/") + path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path;
    return QString::fromUtf8(file.readAll());
}

// A whole word: "--retry" is not found inside "--retry-on", nor "set" inside "set-url".
bool namesWord(const QString& text, const QString& word) {
    return text.contains(QRegularExpression("(?<![\\w-])" + QRegularExpression::escape(word) + "(?![\\w-])"));
}

} // namespace

TEST(Documentation, NamesWhatTheHelpOffers) {
    struct Case {
        QStringList help;
        const char* name; // capture 1 of each match is a name the documents must hold
    };
    const Case cases[] = {
        {{"--help"}, "^  ([a-z]+) "},
        {{"crawl", "--help-all"}, "^\\s+(?:-h, )?(--[a-z0-9-]+)"},
        {{"validate", "--help-all"}, "^\\s+(?:-h, )?(--[a-z0-9-]+)"},
        {{"parse", "--help-all"}, "^\\s+(?:-h, )?(--[a-z0-9-]+)"},
        {{"sitemap", "--help-all"}, "^\\s+(?:-[a-z], )?(--[a-z0-9-]+)"},
        {{"seo", "--help-all"}, "^\\s+(?:-h, )?(--[a-z0-9-]+)"},
        {{"spelling", "--help-all"}, "^\\s+(?:-h, )?(--[a-z0-9-]+)"},
        {{"open", "--help"}, "^\\s+(?:-h, )?(--[a-z0-9-]+)"},
        {{"sites", "--help"}, "(?:^  |, )([a-z][a-z-]+)(?= [A-Z]| {2})"},
        {{"prefs", "--help"}, "[\\[|] ?([a-z]+)"},
    };
    // roff writes a hyphen as "\-" and changes font with "\fB" and the like.
    const QString manual =
        sourceFile("docs/trellium.1").replace("\\-", "-").remove(QRegularExpression("\\\\f[BIRP]"));
    const QString bash = sourceFile("data/completions/trellium.bash");
    const QString zsh = sourceFile("data/completions/_trellium");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.help.join(' ').toStdString());
        const QString help = trellium(c.help).out;
        QStringList names;
        auto matches = QRegularExpression(c.name, QRegularExpression::MultilineOption).globalMatch(help);
        while (matches.hasNext())
            names << matches.next().captured(1);
        EXPECT_GE(names.size(), 4) << help;
        for (const QString& name : names) {
            EXPECT_TRUE(namesWord(manual, name)) << "the manual page lacks " << name;
            EXPECT_TRUE(namesWord(bash, name)) << "the bash completion lacks " << name;
            EXPECT_TRUE(namesWord(zsh, name)) << "the zsh completion lacks " << name;
        }
    }
}
