#include "ParserTestSupport.h"

using namespace parsertest;

namespace {

struct LinkCase {
    const char* name;
    QByteArray html;
    bool images;
    bool trim;
    const char* expected; // summary(): "url|text ; url|text"
};

void runLinkCases(const std::vector<LinkCase>& cases) {
    for (const LinkCase& c : cases) {
        SCOPED_TRACE(c.name);
        // A leading paragraph puts the bracket bookkeeping in its ordinary state.
        auto parser = parse("<p>" + c.html);
        ASSERT_TRUE(parser);
        EXPECT_EQ(summary(walk(*parser, c.images, c.trim)), QString::fromUtf8(c.expected));
    }
}

} // namespace

TEST(LinkScanners, HrefSearchRules) {
    const QByteArray longValue(1200, 'x');
    runLinkCases({
        {"empty value", "<a href=\"\">t</a>", false, false, "|t"},
        {"unquoted value ends at space", "<a href=foo class=x>t</a>", false, false, "foo|t"},
        {"name followed by >", "<a href>t</a>", false, false, ""},
        {"next attribute taken for the value", "<a href rel=x>t</a>", false, false, "rel=x|t"},
        {"no byte of 32 or less before href", "<a class=\"x\"href=\"y\">t</a>", false, false, ""},
        {"data-href is not href", "<a data-href=\"y\">t</a>", false, false, ""},
        {"capitals and single quotes", "<A HREF='x'>t</A>", false, false, "x|t"},
        {"tab before href", "<a\thref=\"x\">t</a>", false, false, "x|t"},
        {"tab after = keeps the quotes", "<a href=\t\"x\">t</a>", false, false, "\"x\"|t"},
        {"tab after = trimmed", "<a href=\t\"x\">t</a>", false, true, "x|t"},
        {"href inside a title value", "<a title=\"see href here\" href=\"y\">t</a>", false, false,
         "here\"|t"},
        {"href inside a title value, trimmed", "<a title=\"see href here\" href=\"y\">t</a>", false, true,
         "here|t"},
        {"zref", "<a zref=\"x\">t</a>", false, false, "MCMS zref|t"},
        {"trailing space kept without trim", "<a href=\" x \">t</a>", false, false, "x |t"},
        {"trailing space trimmed", "<a href=\" x \">t</a>", false, true, "x|t"},
        {"value cut at 1,000 bytes, tag skipped", "<a href=\"" + longValue + "\" title=\"q\">t</a>", false,
         false, qPrintable(QString(1000, QLatin1Char('x')) + "|t")},
        {"line end in an unquoted value is dropped", "<a href=a\nb>t</a>", false, false, "ab|t"},
        {"dropped bytes do not count for the cap",
         "<a href=\"" + QByteArray(500, 'x') + "\r\n\t" + QByteArray(600, 'y') + "\">t</a>", false, false,
         qPrintable(QString(500, QLatin1Char('x')) + QString(500, QLatin1Char('y')) + "|t")},
        {"value of exactly 1,000 bytes", "<a href=\"" + QByteArray(1000, 'x') + "\">t</a>", false, false,
         qPrintable(QString(1000, QLatin1Char('x')) + "|t")},
        {"value of 999 bytes ending the page", "<a href=\"" + QByteArray(999, 'x'), false, false, ""},
        {"entities decoded, spaces kept", "<a href=\"a&amp;b c\">t</a>", false, false, "a&b c|t"},
        {"NUL is a control byte and is dropped", QByteArray("<a href=\"ab\0cd\">t</a>", 21), false, false,
         "abcd|t"},
        {"area is an anchor", "<area shape=rect href=\"m.html\">", false, false, "m.html|<none>"},
        {"any name beginning area", "<areax href=\"n\">t</a>", false, false, "n|t"},
        {"<a> without attributes", "<a>t</a>", false, false, ""},
        {"newline between < and name", "<\na href=\"x\">t</a>", false, false, ""},
        {"abbr is not an anchor", "<abbr href=\"q\">t</abbr>", false, false, ""},
        {"two anchors, the first unclosed", "<a href=\"1\">one<a href=\"2\">two</a>", false, false,
         "1|one ; 2|two"},
        {"stray > in a quoted title", "<a href=\"z\" title=\"x>y\">t</a>", false, false, "z|y\"t"},
        {"stray > before href loses the link", "<a title=\"x>y\" href=\"z\">t</a>", false, false, ""},
        {"truncated inside the value", "<a href=\"abc", false, false, ""},
        {"truncated before the tag end", "<a href=\"abc\" rel=", false, false, ""},
        {"undecodable value falls back to Latin-1", "<a href=\"caf\xe9\">t</a>", false, false, "café|t"},
    });
}

TEST(LinkScanners, FramesScriptsAndImages) {
    runLinkCases({
        {"frame", "<frame src=\"f.html\">", false, false, "f.html|"},
        {"frame keeps entities, escapes spaces", "<frame src=\"a&amp;b c\">", false, false, "a&amp;b%20c|"},
        {"iframe is ignored", "<iframe src=\"i.html\"></iframe>", true, false, ""},
        {"frameset is not a frame", "<frameset src=\"s.html\">", false, false, ""},
        {"undecodable frame value ends the walk", "<frame src=\"caf\xe9\"><a href=\"after\">t</a>", false,
         false, ""},
        {"script content skipped", "<script>w('<a href=\"s.html\">')</script><a href=\"after\">t</a>", false,
         false, "after|t"},
        {"unclosed script swallows the rest", "<script>x<a href=\"s\">t</a>", false, false, ""},
        {"name carried into the next test", "<ascript><a href=\"hidden\"></script><a href=\"seen\">t</a>",
         false, false, "seen|t"},
        {"images off", "<img src=\"y\" alt=\"x\">", false, false, ""},
        {"image with alt behind src", "<img src=\"y\" alt=\"x\">", true, false, "y|[img alt]:x"},
        {"image with alt before src", "<img alt=\"x\" src=\"y\">", true, false, "y|[img alt]"},
        {"image with empty alt", "<img src=\"y\" alt=\"\">", true, false, "y|[img alt]:no alt text"},
        {"image with unquoted alt", "<img src=\"y\" alt=x>", true, false, "y|[img alt]"},
        {"image without alt", "<img src=\"y\"><p>", true, false, "y|[img alt]"},
        {"image single-quoted alt", "<img src='y' alt='q r'>", true, false, "y|[img alt]:q r"},
        {"<img> without separator", "<img>", true, false, ""},
        {"image after a line end", "<img\nsrc=\"y\" alt=\"x\">", true, false, "y|[img alt]:x"},
        {"data-src counts as src", "<img data-src=\"d\" src=\"e\">", true, false, "d|[img alt]"},
        {"srcset counts as src", "<img srcset=\"a 1x\" src=\"e\">", true, false, "a 1x|[img alt]"},
    });
}

TEST(LinkScanners, LinkText) {
    runLinkCases({
        {"words", "<a href=\"u\">words here</a>", false, false, "u|words here"},
        {"words then an image", "<a href=\"u\">words <img src=\"i.png\" alt=\"x\"></a>", false, false,
         "u|words [linked img]:x"},
        {"image with alt", "<a href=\"u\"><img src=\"i.png\" alt=\"x\"></a>", false, false,
         "u|[linked img]:x"},
        {"image with empty alt", "<a href=\"u\"><img src=\"i.png\" alt=\"\"></a>", false, false,
         "u|[linked img]:no alt text"},
        {"image without alt", "<a href=\"u\"><img src=\"i.png\"></a>", false, false, "u|[linked img]"},
        {"image with unquoted alt", "<a href=\"u\"><img src=\"i.png\" alt=x></a>", false, false,
         "u|[linked img]"},
        {"linked image met again by the walk", "<a href=\"u\"><img src=\"i.png\" alt=\"x\"></a>", true, false,
         "u|[linked img]:x ; i.png|[img alt]:x"},
        {"no text", "<a href=\"u\"></a>", false, false, "u|"},
        {"single line end", "<a href=\"u\">\n</a>", false, false, "u|"},
        {"line ends stay inside", "<a href=\"u\">a\nb</a>", false, false, "u|a\nb"},
        {"pieces joined without separator", "<a href=\"u\">a<b>b</b>c</a>", false, false, "u|abc"},
        {"comment skipped by the brackets", "<a href=\"u\">a<!-- c -->b</a>", false, false, "u|ab"},
        {"/a in an attribute ends the text", "<a href=\"u\">go <span data-x=\"/assets/y\">more</span></a>",
         false, false, "u|go"},
        {"img in a class is an image", "<a href=\"u\">x<span class=\"imgbox\">t</span></a>", false, false,
         "u|x[linked img]"},
        {"a and a space in a value is a new anchor", "<a href=\"u\">x <b class=\"a b\">y</b></a>", false,
         false, "u|x"},
        {"entities decoded", "<a href=\"u\">Tom &amp; Jerry</a>", false, false, "u|Tom & Jerry"},
        {"end of data inside the text", "<a href=\"u\">dangling", false, false, "u|<none>"},
    });
}

TEST(LinkScanners, LinkTextCapOf1500Bytes) {
    const QByteArray x1499(1499, 'x');
    struct Case {
        const char* name;
        QByteArray html;
        QString text;
    };
    const Case cases[] = {
        {"text cut at the cap", "<a href=\"u\">" + x1499 + "yz</a>", QString(x1499) + "y"},
        {"the cap reached by a later piece", "<a href=\"u\">" + x1499 + "<b>yz</b></a>",
         QString(x1499) + "y"},
        {"the cap reached just before a tag", "<a href=\"u\">" + x1499 + "y<img src=\"i\" alt=\"q\"></a>",
         QString(x1499) + "y"},
        {"a page ending at the cap", "<a href=\"u\">" + x1499 + "y", QString(x1499) + "y"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto parser = parse("<p>" + c.html);
        std::vector<Link> links = walk(*parser);
        ASSERT_EQ(links.size(), 1u);
        EXPECT_EQ(links[0].text.value_or("<none>"), c.text);
    }
}

TEST(LinkScanners, Nofollow) {
    struct Case {
        const char* name;
        QByteArray html;
        bool checkNofollow;
        bool linkReturned;
        bool expected;
    };
    const Case cases[] = {
        {"rel nofollow", "<p><a rel=\"nofollow\" href=\"u\">t</a>", true, true, true},
        {"capitals", "<p><a href=\"u\" rel=\"NoFollow\">t</a>", true, true, true},
        {"word anywhere in the tag", "<p><a href=\"/nofollow/x\">t</a>", true, true, true},
        {"not asked for", "<p><a rel=\"nofollow\" href=\"u\">t</a>", false, true, false},
        {"word only in the text", "<p><a href=\"u\">nofollow</a>", true, true, false},
        {"invalid UTF-8 counts as nofollow", "<p><a href=\"u\" title=\"caf\xe9\">t</a>", true, true, true},
        {"valid UTF-8 does not", "<p><a href=\"u\" title=\"caf\xc3\xa9\">t</a>", true, true, false},
        {"head nofollow covers every anchor",
         "<head><meta name=robots content=nofollow></head><a href=u>t</a>", true, true, true},
        // The value is lost at the end of the data, but the look has run to the end safely.
        {"no > after the tag", "<p><a href=u nofollow", true, false, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto parser = parse(c.html, {.nofollow = c.checkNofollow});
        ASSERT_TRUE(parser);
        EXPECT_EQ(parser->getNextHrefTrim(false, false).has_value(), c.linkReturned);
        EXPECT_EQ(parser->lastLinkWasNofollow(), c.expected);
    }
}

TEST(LinkScanners, NofollowOfAnImageIsTheLastAnchors) {
    auto parser = parse("<p><a rel=nofollow href=u>t</a><img src=\"i\">");
    std::vector<Link> links = walk(*parser, true);
    ASSERT_EQ(links.size(), 2u);
    EXPECT_TRUE(links[1].nofollow);
}

TEST(LinkScanners, PlainTextMode) {
    auto parser = parse("http://a.com/x, http://b.com/y\n'http://c.com/&amp;'  word\x80tail,,");
    parser->setPlainTextMode();
    EXPECT_EQ(summary(walk(*parser)),
              QString("http://a.com/x| ; http://b.com/y| ; http://c.com/&| ; word| ; tail|"));
}

TEST(LinkScanners, SitemapMode) {
    auto parser = parse("<?xml version=\"1.0\"?><urlset><url><loc>http://a/</loc></url>"
                        "<url><LOC>\nhttp://b/\n</LOC></url><url><loc/></url></urlset>");
    parser->setXMLMode();
    EXPECT_EQ(summary(walk(*parser)), QString("http://a/| ; http://b/|"));
}

TEST(LinkScanners, ImageAndScriptWalks) {
    auto parser =
        parse("<script src=\"a b.js\"></script><img src='i&amp;j.png' alt=\"x\"><img src=\"\xe9\">");
    parser->reset();
    EXPECT_EQ(parser->getNextScriptSrc(), QString("a%20b.js"));
    EXPECT_EQ(parser->getData(), QString("[img src]")); // set by the script walk too
    parser->reset();
    EXPECT_EQ(parser->getNextImg(), QString("i&j.png"));
    EXPECT_EQ(parser->getNextImg(), std::nullopt); // ASCII only
}
