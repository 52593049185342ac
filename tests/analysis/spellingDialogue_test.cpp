// The review's walk over one page with the real checker and a temporary personal word list.
#include "analysis/spellingDialogue.h"
#include "support/TempHome.h"

#include <QLoggingCategory>
#include <gtest/gtest.h>

namespace {

struct Review : testing::Test {
    TempHome home;
    spellingDialogue dialogue;
    int beeps = 0;

    void SetUp() override {
        QLoggingCategory::setFilterRules(QStringLiteral("trellium.parser.info=false"));
        ASSERT_TRUE(SpellChecker::sharedSpellChecker().setLanguage("en_US"));
        dialogue.onBeep = [this] { ++beeps; };
    }
    void open(const QByteArray& body) {
        dialogue.showForPageData("http://example.org/",
                                 "<html><head></head>\n<body><p>" + body + "</p></body></html>", 4);
    }
    QString marked() const {
        const auto& e = dialogue.extractField();
        return e.text.mid(e.marked.location, e.marked.length);
    }
};

} // namespace

TEST_F(Review, PassageEdgesAndTheNoErrorsText) {
    // (text, range) -> passage: near the start it begins at the text, near the end it stops one
    // character short, and line ends become blanks.
    const struct {
        QString text;
        TextRange range;
        QString passage;
        qint64 markedAt;
    } cases[] = {
        {"ab qwzx cd", {3, 4}, "...ab qwzx c...", 6},
        {QString(30, 'x') + " qwzx\nend", {31, 4}, "..." + QString(24, 'x') + " qwzx en...", 28},
        {"a", {}, "", TextRange::NotFound},
    };
    for (const auto& c : cases) {
        const spellingDialogue::Extract e = spellingDialogue::extractFor(c.text, c.range);
        EXPECT_EQ(e.text, c.passage) << qPrintable(c.text);
        EXPECT_EQ(e.marked.location, c.markedAt) << qPrintable(c.text);
    }

    open("The cat sat on the mat.");
    EXPECT_EQ(dialogue.infoField(), "No spellling errors found on this page");
    EXPECT_TRUE(dialogue.extractField().text.isEmpty());
    EXPECT_TRUE(dialogue.suggestionTexts().isEmpty());
    dialogue.switchMode(spellingDialogue::grammarMode);
    EXPECT_EQ(dialogue.infoField(), "No grammar errors found on this page");
    EXPECT_FALSE(dialogue.learnButtonEnabled());
}

TEST_F(Review, WalkBeepsAtBothEndsAndGoesBackByTheStack) {
    open("The hause is big. A qwzx. One blorpt.");
    EXPECT_EQ(dialogue.infoField(), "1 of 3");
    EXPECT_EQ(marked(), "hause");
    EXPECT_TRUE(dialogue.suggestionTexts().contains("house"));
    dialogue.previous();
    EXPECT_EQ(beeps, 1);
    dialogue.next();
    dialogue.next();
    EXPECT_EQ(dialogue.infoField(), "3 of 3");
    EXPECT_EQ(marked(), "blorpt");
    dialogue.next();
    EXPECT_EQ(beeps, 2);
    EXPECT_EQ(dialogue.getCurrentError(), 3);
    dialogue.previous();
    EXPECT_EQ(dialogue.infoField(), "2 of 3");
    EXPECT_EQ(marked(), "qwzx");
    dialogue.next();
    EXPECT_EQ(marked(), "blorpt") << "the cursor went back with the stack";

    // After a mode switch the first issue is not on the stack: next then previous beeps.
    dialogue.switchMode(spellingDialogue::spellingMode);
    dialogue.next();
    const int before = beeps;
    dialogue.previous();
    EXPECT_EQ(beeps, before + 1);
    EXPECT_EQ(dialogue.getCurrentError(), 1);
}

TEST_F(Review, LearningTheThirdOfFiveWithRepeatsLeavesTwo) {
    open("One qwzx. Two blorpt. Three zzapt. Four zzapt. Five zzapt.");
    dialogue.next();
    dialogue.next();
    ASSERT_EQ(dialogue.getCurrentWord(), "zzapt");
    ASSERT_EQ(dialogue.infoField(), "3 of 5");
    ASSERT_TRUE(dialogue.learnSpelling());
    EXPECT_EQ(dialogue.getSpellingCount(), 2);
    EXPECT_EQ(beeps, 1) << "the third next ran past the end";
    EXPECT_EQ(dialogue.infoField(), "2 of 2");

    open("Only qwzx here.");
    ASSERT_TRUE(dialogue.learnSpelling());
    EXPECT_EQ(dialogue.infoField(), "No spellling errors found on this page");
    EXPECT_TRUE(dialogue.extractField().text.isEmpty());
}
