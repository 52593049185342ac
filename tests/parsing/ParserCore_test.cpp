#include "ParserTestSupport.h"

using namespace parsertest;

namespace {

// A parser positioned at the start of `html`, as after construction.
std::unique_ptr<KestParser> atStart(const QByteArray& html) {
    auto parser = parse(html);
    parser->reset();
    return parser;
}

QString tagText(const std::optional<KestXmlTag>& tag) {
    if (!tag)
        return QStringLiteral("<none>");
    return (tag->isClosing() ? QStringLiteral("closing:") : QStringLiteral("open:")) + tag->getData();
}

} // namespace

TEST(ParserCore, GetTag) {
    const QByteArray longTag = "<p " + QByteArray(1500, 'x') + "><q>";
    struct Case {
        const char* name;
        QByteArray html;
        QStringList tags;
    };
    const Case cases[] = {
        {"a path makes a start tag closing", "<a href=\"x/y\">", {"closing:a href=\"x/y\""}},
        {"self-closing, slash dropped", "<br/>", {"closing:br"}},
        {"end tag, leading slash dropped", "</p>", {"closing:p"}},
        {"leading spaces stay", "< p>", {"open: p"}},
        {"doctype is skipped", "<!DOCTYPE html><p>", {"open:p"}},
        {"comment closes on a single dash", "<!-- a->b <q> --><p>", {"open:q", "open:p"}},
        {"<!-> is a whole comment", "<!-><q>", {"open:q"}},
        {"comment hides tags", "<!-- <q> --><p>", {"open:p"}},
        {"quotes are not tracked", "<a title=\"x>y\">", {"open:a title=\"x"}},
        {"1,500-byte tag cut at 1,000", longTag, {"open:p " + QString(998, QLatin1Char('x')), "open:q"}},
        {"undecodable byte ends the scan", "<p title=\"\xff\"><q>", {}},
        {"page ends inside a tag", "<p><q", {"open:p"}},
        {"page ends inside a comment", "<p><!-- <q>", {"open:p"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto parser = atStart(c.html);
        QStringList got;
        while (std::optional<KestXmlTag> tag = parser->getTag(false))
            got << tagText(tag);
        EXPECT_EQ(got, c.tags);
    }
}

TEST(ParserCore, WordCount) {
    // Each page starts with a line end: the byte at position 0 is never counted, so a '<' there
    // would leave the first tag's name to be counted as a word.
    struct Case {
        const char* name;
        QByteArray html;
        int words;
    };
    const Case cases[] = {
        {"plain words", "\n<p>one two three</p>", 3},
        {"separators are bytes 1 to 38", "\n<p>a&b it's 9.5 x,y</p>", 5},
        {"NUL and high bytes are word bytes", QByteArray("\n<p>a\0b caf\xc3\xa9</p>", 17), 2},
        {"words after a comment are not counted", "\n<p>text <!-- c --> more <b>x</b>", 2},
        {"head words are not counted", "\n<html><head><title>T t</title></head>\n<body>a b</body>", 2},
        {"</head > leaves the head's words in", "\n<html><head><title>T t</title></head >\n<body>a b</body>",
         4},
        {"script content skipped", "\n<p>a<script>var b = c;</script> d</p>", 2},
        {"comment inside a script lets the rest count", "\n<p>a<script><!-- x --> y z</script></p>", 3},
        {"a page ending inside a comment counts nothing", "\n<p>a b <!-- c", 0},
        {"a tag name at position 0 counts", "<p>one two</p>", 3},
        // The construction passes run to the end of these pages, and the walk starts in the
        // states they leave: "ab" is not a new word when a word was still open at the end.
        {"left inside a word: the first word continues it", "\nab<p>c d", 2},
        {"left after a separator", "\nab<p>c d ", 3},
        {"left inside a tag", "\nab<p>c d<x", 2},
        {"left after a tag", "\nab<p>c d<x>", 3},
        {"left after '&', a separator", "\nab<p>c&", 2},
        {"left after an apostrophe, a word byte", "\nab<p>c'", 1},
        {"left after a high byte, a word byte", "\nab<p>c\xff", 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto parser = parse(c.html);
        walk(*parser);
        EXPECT_EQ(parser->getWordCount(), c.words);
        // A reset clears the count only: the walk after it counts the same again.
        parser->reset();
        EXPECT_EQ(parser->getWordCount(), 0);
        walk(*parser);
        EXPECT_EQ(parser->getWordCount(), c.words);
    }
}

TEST(ParserCore, GetDataRewindsToTheNextTag) {
    auto parser = atStart("<p>  some\ntext  <b>bold</b>");
    ASSERT_TRUE(parser->getTag(false));
    EXPECT_EQ(parser->getData(), QString("some\ntext"));
    EXPECT_EQ(tagText(parser->getTag(false)), QString("open:b"));
    EXPECT_EQ(parser->getData(), QString("bold"));
}

TEST(ParserCore, GetDataCapsAt1500Bytes) {
    auto parser = atStart("<p>" + QByteArray(2000, 'y') + "<q>");
    ASSERT_TRUE(parser->getTag(false));
    EXPECT_EQ(parser->getData()->size(), 1500);
    // Text that fills the buffer exactly is whole, and one that ends the page is lost.
    auto exact = atStart("<p>" + QByteArray(1500, 'y') + "<q>");
    ASSERT_TRUE(exact->getTag(false));
    EXPECT_EQ(exact->getData()->size(), 1500);
    auto unended = atStart("<p>" + QByteArray(1499, 'y'));
    ASSERT_TRUE(unended->getTag(false));
    EXPECT_EQ(unended->getData(), std::nullopt);
}

TEST(ParserCore, GetItemReadsFourDeepRecords) {
    auto parser = atStart("<db><rec><group><name>v</name><size>2</size></group></rec></db>");
    std::optional<KestDbItem> item = parser->getItem();
    ASSERT_TRUE(item);
    EXPECT_EQ(item->getData(), QString("v"));
    EXPECT_EQ(item->getName(), QString("name"));
    EXPECT_EQ(item->getParentName(), QString("group"));
    EXPECT_EQ(item->getGrandParentName(), QString("rec"));
    EXPECT_TRUE(item->isNewParent());
}

TEST(ParserCore, Recognisers) {
    struct Case {
        const char* html;
        bool (KestParser::*recognise)();
        bool expected;
    };
    const Case cases[] = {
        {"<  a href>", &KestParser::isThisAnATag, true},
        {"<a>", &KestParser::isThisAnATag, false},
        {"<AREA>", &KestParser::isThisAnATag, true},
        {"<base\thref>", &KestParser::isThisABaseTag, true},
        {"<basefont>", &KestParser::isThisABaseTag, false},
        {"<LINK\n", &KestParser::isThisALinkTag, true},
        {"<head>", &KestParser::isThisAHeadTag, true},
        {"<header>", &KestParser::isThisAHeadTag, false},
        {"<script>", &KestParser::isThisAScriptTag, true},
        {"<frame>", &KestParser::isThisAFrameTag, true},
        {"<iframe>", &KestParser::isThisAFrameTag, false},
        {"</script", &KestParser::isThisEndScriptTag, false},
        {"</SCRIPTx", &KestParser::isThisEndScriptTag, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.html);
        auto parser = atStart(c.html);
        ASSERT_TRUE(parser->moveIntoNextTag());
        EXPECT_EQ((parser.get()->*c.recognise)(), c.expected);
    }
}

TEST(ParserCore, Constructors) {
    EXPECT_EQ(parse(QByteArray()), nullptr); // no data at all
    auto empty = parse(QByteArray(""));
    ASSERT_TRUE(empty);
    EXPECT_EQ(empty->getLength(), 0u);
    EXPECT_EQ(empty->getTitle(), QString());
    EXPECT_FALSE(empty->getNextHrefTrim(true, true));

    // The page's declaration beats the encoding given.
    EXPECT_EQ(parse("<meta charset=\"Shift_JIS\"><p>", {.encoding = TextEncoding::UTF8})->getUseEncoding(),
              TextEncoding::ShiftJIS);
    EXPECT_EQ(parse("<meta charset=\"utf-8\"><p>", {.encoding = TextEncoding::ISOLatin1})->getUseEncoding(),
              TextEncoding::ISOLatin1);
}
