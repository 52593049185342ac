// The real checker (Enchant with hunspell, link-grammar) under the parser's walks, with the
// personal word list in a temporary home.
#include "parsing/KestParser.h"
#include "platform/SpellChecker.h"
#include "support/TempHome.h"

#include <QFile>
#include <QLoggingCategory>
#include <gtest/gtest.h>

namespace {

std::unique_ptr<KestParser> page(const QByteArray& body) {
    QLoggingCategory::setFilterRules(QStringLiteral("trellium.parser.info=false"));
    return KestParser::initWithDataWithuserAgentStringWithSEOCachePageCheckNoIndexCheckNofollowUseEncoding(
        "<html><head><meta charset=utf-8></head>\n<body>" + body + "</body></html>", QString(), true, false,
        false, false, 4);
}

QString wordAt(KestParser& parser, const TextRange& range) {
    return range.found() ? parser.getTextContent().mid(range.location, range.length) : QString("<none>");
}

class SpellCheckerTest : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(checker.setLanguage("en_US")); }
    void TearDown() override { checker.setLanguage("en_US"); }
    TempHome home;
    SpellChecker& checker = SpellChecker::sharedSpellChecker();
};

} // namespace

TEST_F(SpellCheckerTest, CountsAndWalksPassOverWebAddresses) {
    auto parser = page("<p>The qwzx cat. See example.com and EXAMPLE.COM, then www.xqzt.org; "
                       "well-known xyzzyq. Route 66 won't-be-checked.</p>");
    // example.com and www.xqzt.org are addresses; the capitals are not, by a case-sensitive test.
    EXPECT_EQ(parser->getSpellingCount(), 3);

    QStringList walked;
    std::vector<TextRange> ranges;
    for (TextRange r = parser->getFirstSpelling(); r.found(); r = parser->getNextSpelling()) {
        walked << wordAt(*parser, r);
        ranges.push_back(r);
    }
    EXPECT_EQ(walked, QStringList({"qwzx", "EXAMPLE.COM", "xyzzyq"}));
    EXPECT_FALSE(parser->getNextSpelling().found()) << "the end stays the end";

    // Back to the first hit: the walk goes on from behind it. An absent range leaves the cursor.
    parser->spellingCursorBackTo(ranges[0]);
    const qint64 cursor = parser->getSpellingCursor();
    parser->spellingCursorBackTo(TextRange{});
    EXPECT_EQ(parser->getSpellingCursor(), cursor);
    EXPECT_EQ(wordAt(*parser, parser->getNextSpelling()), "EXAMPLE.COM");
}

TEST_F(SpellCheckerTest, PositionsAreStringPositionsNotBytes) {
    auto parser = page("<p>Gr\xc3\xbc\xc3\x9f"
                       "e \xe6\x97\xa5\xe6\x9c\xac caf\xc3\xa9 qwzx</p>");
    TextRange hit;
    for (hit = parser->getFirstSpelling(); hit.found() && wordAt(*parser, hit) != "qwzx";)
        hit = parser->getNextSpelling();
    ASSERT_TRUE(hit.found());
    EXPECT_EQ(parser->getTextContent().indexOf("qwzx"), hit.location);
}

TEST_F(SpellCheckerTest, LearnedWordsCountNowAndInLaterRunsButAnUnwritableListIsTold) {
    auto parser = page("<p>Our qwzx product beats every other qwzx. Flurbo.</p>");
    ASSERT_EQ(parser->getSpellingCount(), 3);
    QString why;
    ASSERT_TRUE(checker.learnWord("qwzx", &why)) << qPrintable(why);
    EXPECT_EQ(parser->getSpellingCount(), 1) << "both repeats leave the count at once";

    // The list is a plain file in the data folder, so another process's word counts too.
    QFile list(SpellChecker::personalWordListPath());
    ASSERT_TRUE(list.open(QIODevice::ReadOnly));
    EXPECT_EQ(list.readAll(), "qwzx\n");
    list.close();
    ASSERT_TRUE(list.open(QIODevice::Append));
    list.write("Flurbo\n");
    list.close();
    EXPECT_TRUE(checker.hasLearnedWord("Flurbo")) << "a change on disk is read again";

    // Not written, not learned: the caller gets the reason to show.
    TempHome elsewhere;
    ASSERT_TRUE(QDir().mkpath(SpellChecker::personalWordListPath()));
    EXPECT_FALSE(checker.learnWord("blorpt", &why));
    EXPECT_TRUE(why.contains("personal word list")) << qPrintable(why);
    EXPECT_FALSE(checker.hasLearnedWord("blorpt"));
}

TEST_F(SpellCheckerTest, TheLanguageDecidesWhatIsMisspelt) {
    const QStringList languages = checker.availableLanguages();
    ASSERT_TRUE(languages.contains("en_US") && languages.contains("de_DE"))
        << qPrintable(languages.join(' '));
    EXPECT_EQ(SpellChecker::displayNameForLanguage("de_DE"), "German (Germany)");
    EXPECT_EQ(checker.identifierForLanguage("English (United States)"), "en_US");

    auto german = page("<p>Das Haus ist sch\xc3\xb6n und gro\xc3\x9f.</p>");
    EXPECT_GT(german->getSpellingCount(), 2);
    ASSERT_TRUE(checker.setLanguage("de_DE"));
    EXPECT_EQ(german->getSpellingCount(), 0);
    EXPECT_GT(page("<p>The house is lovely.</p>")->getSpellingCount(), 0) << "'house' is not German";
    EXPECT_FALSE(checker.setLanguage("xx_XX"));
    EXPECT_EQ(checker.language(), "de_DE");
    EXPECT_FALSE(checker.spellingProblem("xx_XX").isEmpty());
    EXPECT_FALSE(checker.grammarProblem("de_DE").isEmpty()) << "only English grammar is installed";
}

TEST_F(SpellCheckerTest, HugeWordsAndRunsOfOneWordStayCheap) {
    EXPECT_EQ(page(QByteArray(10000, 'q'))->getSpellingCount(), 1);
    QByteArray repeated;
    while (repeated.size() < 1000000)
        repeated += "qwzx ";
    EXPECT_EQ(page(repeated)->getSpellingCount(), 200000);
    EXPECT_TRUE(checker.guessesForWordRangeInString({0, 10000}, QString(10000, 'q'), "en_US").isEmpty());
    const QStringList guesses = checker.guessesForWordRangeInString({4, 5}, "the hause", "en_US");
    EXPECT_TRUE(guesses.contains("house")) << qPrintable(guesses.join(' '));
}

TEST_F(SpellCheckerTest, GrammarHitsNameTheUnlinkedWordsAndABrokenSentenceEndsTheCount) {
    // The opening paragraph is too short to be a sentence.
    auto parser = page("<p>Intro.</p><p>The cat sat on the mat.</p><p>Cat the on mat the sat blue.</p>"
                       "<p>She writes good letters.</p>");
    EXPECT_EQ(parser->getGrammarCount(), 1);
    const TextRange hit = parser->getFirstGrammar();
    EXPECT_EQ(wordAt(*parser, hit), "Cat the on mat the sat blue.");
    ASSERT_EQ(parser->getGrammarDetails().size(), 1);
    const QString description =
        parser->getGrammarDetails()[0].toMap().value(SpellChecker::userDescriptionKey).toString();
    EXPECT_TRUE(description.contains("unlinked")) << qPrintable(description);
    EXPECT_FALSE(parser->getNextGrammar().found());
    EXPECT_TRUE(parser->getGrammarDetails().isEmpty());

    // A lone surrogate from a numeric entity makes the library refuse the sentence: the count
    // keeps what it had, and the walk, which has no guard, sees the error.
    auto broken =
        page("<p>Intro.</p><p>Cat the on mat the sat blue.</p><p>The dog &#55296; runs fast today.</p>"
             "<p>Dog the the the ran big.</p>");
    EXPECT_EQ(broken->getGrammarCount(), 1);
    broken->getFirstGrammar();
    EXPECT_THROW(broken->getNextGrammar(), GrammarCheckError);
}
