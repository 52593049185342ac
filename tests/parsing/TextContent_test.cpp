// The visible text of a page: what the recognisers keep out, and the byte forms that become text.
#include "ParserTestSupport.h"

using parsertest::parse;

namespace {

QString textOf(const QByteArray& html, quint64 encoding = TextEncoding::UTF8) {
    auto parser = parse(html, {true, true, true, encoding});
    return parser ? parser->getTextContent() : QString("<no parser>");
}

} // namespace

TEST(TextContent, KeepsAndDropsTheRightWords) {
    struct Case {
        const char* name;
        QByteArray html;
        QStringList present;
        QStringList absent;
        quint64 encoding = TextEncoding::UTF8;
    };
    const Case cases[] = {
        {"each '>' leaves a space", "<body><p>one</p><p>two</p></body>", {" one ", " two "}, {"onetwo"}},
        {"script", "<body><script>xkeep</script>ykeep</body>", {"ykeep"}, {"xkeep"}},
        {"style", "<body><STYLE>p{}</STYLE>ykeep</body>", {"ykeep"}, {"p{}"}},
        {"style close ends a script", "<body><script>a=1</style>after</body>", {"after"}, {"a=1"}},
        {"a self-closed script runs to the next script close",
         "<body><script src=\"a.js\"/>lost<p>gone</p></script>back</body>",
         {"back"},
         {"lost", "gone"}},
        {"comment, and the text up to the next tag behind it",
         "<body>a1<!-- b2 -->c3<i>d4</i></body>",
         {"a1", "d4"},
         {"b2", "c3"}},
        {"three dashes do not close a comment",
         "<body>a1<!-- x --->b2--><i>c3</i></body>",
         {"a1", "c3"},
         {"b2", "x"}},
        {"a tag inside a word splits it", "<body>spel<b>ling</b></body>", {"spel ling"}, {"spelling"}},
        {"Windows apostrophe by number", "<body>it&#146;s</body>", {"it's"}, {"&#"}},
        {"Windows dashes by number", "<body>a&#150;b&#151;c</body>", {"a-b-c"}, {}},
        {"named entities", "<body>caf&eacute; &amp; tea</body>", {"café & tea"}, {"&amp;"}},
        // The byte right behind the head is not bracket-tracked, so a tag there shows its name,
        // as it counts as a word.
        {"a tag right behind the head", "<html><head></head><body>x</body></html>", {"body"}, {"<", ">"}},
        {"a tag after a gap behind the head", "<html><head></head> <body>x</body></html>", {"x"}, {"body"}},
        {"head text is not page text",
         "<html><head><title>Titled</title></head><body>x</body></html>",
         {"x"},
         {"Titled"}},
        {"mixed scripts",
         "<meta charset=utf-8><body>Gr\xc3\xbc\xc3\x9f"
         "e \xe6\x97\xa5\xe6\x9c\xac</body>",
         {"Grüße 日本"},
         {}},
        {"bytes the page's encoding cannot take fall to Latin-1",
         "<body>caf\xe9 ol\xe9</body>",
         {"café olé"},
         {},
         TextEncoding::Unknown},
        {"NUL does not end the text", QByteArray("<body>before\0after</body>", 25), {"after"}, {}},
    };
    for (const Case& c : cases) {
        const QString text = textOf(c.html, c.encoding);
        for (const QString& word : c.present)
            EXPECT_TRUE(text.contains(word))
                << c.name << ": " << qPrintable(word) << " not in " << qPrintable(text);
        for (const QString& word : c.absent)
            EXPECT_FALSE(text.contains(word))
                << c.name << ": " << qPrintable(word) << " in " << qPrintable(text);
    }
}

TEST(TextContent, SizeLimitAndRepeatedWalks) {
    QByteArray page(KestParser::textContentLimit, 'a');
    page.replace(0, 6, "<body>");
    EXPECT_FALSE(textOf(page).isEmpty()) << "a page of exactly the limit is read";
    page.append('a');
    EXPECT_TRUE(textOf(page).isEmpty());

    // A second walk gives the same text and leaves the word count as the first did.
    auto parser = parse("<html><head></head><body>one two <b>three</b></body></html>");
    const QString first = parser->getTextContent();
    const int words = parser->getWordCount();
    parser->reset();
    EXPECT_EQ(parser->getTextContent(), first);
    EXPECT_EQ(parser->getWordCount(), words);
}

TEST(TextContent, WebAddressesAreCaseSensitive) {
    const std::pair<const char*, bool> cases[] = {
        {"http://x", true}, {"www.x", true},  {"x.com", true},    {"x.co.uk", true}, {"a.html", true},
        {"WWW.X", false},   {"X.COM", false}, {"https:x", false}, {"plain", false},
    };
    for (const auto& [word, expected] : cases)
        EXPECT_EQ(KestParser::isWebAddress(word), expected) << word;
}
