#include "ParserTestSupport.h"

using namespace parsertest;

TEST(HeadMetadata, Title) {
    struct Case {
        const char* name;
        QByteArray html;
        const char* title;
    };
    const Case cases[] = {
        {"line ends removed, not replaced", "<title>A\r\nB</title></head>", "AB"},
        {"capitals are not a title", "<TITLE>x</TITLE></head>", ""},
        {"second title wins", "<title>a</title><title>b</title></head>", "b"},
        {"attributes allowed", "<title lang=\"en\">x</title></head>", "x"},
        {"any name beginning title", "<titlefoo>x</titlefoo></head>", "x"},
        {"a slash in an attribute makes it closing", "<title data-x=\"a/b\">x</title></head>", ""},
        {"no closing head: the last title in the page", "<title>a</title><body><title>b</title>", "b"},
        {"entities decoded", "<title>Fish &amp; Chips</title>", "Fish & Chips"},
        {"NUL ends the text", QByteArray("<title>ab\0cd</title>", 20), "ab"},
        {"image in the title", "<title>x<img src=\"p\" alt=\"q\"></title>", "x[linked img]:q"},
        {"page ends inside the title", "<title>unfinished", ""},
        {"empty page", "", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto parser = parse(c.html);
        ASSERT_TRUE(parser);
        EXPECT_EQ(parser->getTitle(), QString::fromUtf8(c.title));
    }
}

TEST(HeadMetadata, DescriptionKeywordsCanonical) {
    struct Case {
        const char* name;
        QByteArray head;
        const char* description;
        const char* keywords;
        const char* canonical;
        bool seo = true;
    };
    const Case cases[] = {
        {"og:description is never a source",
         "<meta name=\"description\" content=\"a\"><meta property=\"og:description\" content=\"b\">", "a", "",
         ""},
        {"twitter:description is", "<meta name=\"twitter:description\" content=\"t\">", "t", "", ""},
        {"keywords and description at once", "<meta name=\"keywords\" content=\"the description\">",
         "the description", "the description", ""},
        {"later meta overwrites",
         "<meta name=description content=\"1\"><meta name=description content=\"2\">", "2", "", ""},
        {"canonical link", "<link rel=\"canonical\" href=\"/x\">", "", "", "/x"},
        {"any tag holding canonical", "<a class=\"canonical\" href=\"/y\">", "", "", "/y"},
        {"double quote wins over an earlier single quote", "<meta name=description content='say \"hi\"'>",
         "hi", "", ""},
        {"unquoted value gives nothing", "<meta name=description content=plain>", "", "", ""},
        {"line ends removed", "<meta name=description content=\"a\r\nb\">", "ab", "", ""},
        {"after the head is not read", "</head><meta name=description content=\"late\">", "", "", ""},
        {"SEO off: no description, canonical absent",
         "<link rel=canonical href=\"/x\"><meta name=description content=\"d\">", "", "", "<absent>", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto parser = parse("<html><head>" + c.head + "</head><body></body>", {.seo = c.seo});
        ASSERT_TRUE(parser);
        EXPECT_EQ(parser->getDescription(), QString::fromUtf8(c.description));
        EXPECT_EQ(parser->getKeywords(), QString::fromUtf8(c.keywords));
        EXPECT_EQ(parser->getCanonical().value_or("<absent>"), QString::fromUtf8(c.canonical));
    }
}

TEST(HeadMetadata, Headings) {
    const QString h160(160, QLatin1Char('x'));
    const QString h161(161, QLatin1Char('x'));
    struct Case {
        const char* name;
        QByteArray body;
        QString headings;
    };
    const Case cases[] = {
        {"empty heading", "<h1></h1>", "[empty heading]"},
        {"160 characters are added whole", "<h1>" + h160.toLatin1() + "</h1>", h160},
        {"161 characters add nothing", "<h1>" + h161.toLatin1() + "</h1><h1>b</h1>", "b"},
        {"a slash in an attribute: not a start", "<h1 class=\"a/b\">x</h1>", ""},
        {"pieces joined without separator", "<h1>Main <b>heading</b></h1>", "Mainheading"},
        {"several, joined with comma", "<h1>a</h1><h2>no</h2><H1>b</H1>", "a, b"},
        {"one byte before h1 is allowed", "<ah1>x</ah1>", "x"},
        {"two bytes before h1 are not", "<abh1>x</abh1>", ""},
        {"linked image inside", "<h1>a<img src=\"p.png\" alt=\"pic\"></h1>", "a[linked img]:pic"},
        {"a closing tag holding h1 ends it", "<h1>a<a href=\"/h1/x\">b</a>c</h1>", "a"},
        {"end of body stops the search", "</body><h1>late</h1>", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto parser = parse("<html><head><title>t</title></head><body>" + c.body);
        ASSERT_TRUE(parser);
        EXPECT_EQ(parser->getHeadings(), c.headings);
    }
    // Without a closing head tag the head scan runs out of tags, and nothing is left to find.
    EXPECT_EQ(parse("<h1>x</h1>")->getHeadings(), QString());
}

TEST(HeadMetadata, BaseHref) {
    struct Case {
        const char* name;
        QByteArray html;
        std::optional<QString> found; // findBaseHref
        const char* codebase;         // after construction; "" for absent
    };
    const Case cases[] = {
        {"absolute", "<base href=\"http://e.com/d/\">", "http://e.com/d/", "http://e.com/d/"},
        {"slash alone", "<base href=\"/\">", "", ""},
        {"two slashes alone", "<base href=\"//\">", "", ""},
        {"scheme-relative", "<base href=\"//host/\">", "http://host/", "http://host/"},
        {"relative becomes a host", "<base href=\"images/\">", "http://images/", "http://images/"},
        {"short", "<base href=\"a.b\">", "http://a.b", "http://a.b"},
        {"two characters stay", "<base href=\"ab\">", "ab", "ab"},
        {"in the body counts, first wins",
         "<body><base target=x><base href=\"http://one/\"><base href=\"http://two/\">", "http://one/",
         "http://one/"},
        {"none", "<p>no base</p>", std::nullopt, ""},
        {"data ending in the last tag's name", "<p>no base</p><b", "", ""},
        {"NUL ends the value", QByteArray("<base href=\"http://e.com/\0x\">", 29), "http://e.com/",
         "http://e.com/"},
        {"non-ASCII value is absent", "<base href=\"http://caf\xc3\xa9/\">", std::nullopt, ""},
        {"spaces escaped", "<base href=\"http://e.com/a b/\">", "http://e.com/a%20b/", "http://e.com/a%20b/"},
        {"page ends inside the value", "<base href=\"http://e.com", std::nullopt, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto parser = parse(c.html);
        ASSERT_TRUE(parser);
        EXPECT_EQ(parser->getBaseHref() ? parser->getBaseHref()->toString(QUrl::FullyEncoded) : QString(),
                  QString(c.codebase));
        parser->reset();
        EXPECT_EQ(parser->findBaseHref(), c.found);
    }
}

TEST(HeadMetadata, NextLinkHref) {
    auto parser = parse("<link rel=stylesheet href=\"/s.css\"><link href=\"/\"><p>");
    parser->reset();
    EXPECT_EQ(parser->findNextLinkHref(), QString("/s.css"));
    EXPECT_EQ(parser->findNextLinkHref(), QString(""));
    EXPECT_EQ(parser->findNextLinkHref(), std::nullopt);
}

TEST(HeadMetadata, RobotsFlags) {
    struct Case {
        const char* name;
        QByteArray html;
        bool indexed;
        bool headNofollow;
        bool asked = true; // whether noindex and nofollow are looked for
    };
    const Case cases[] = {
        {"plain", "<head><meta name=robots content=all></head>", true, false},
        {"NOINDEX in capitals", "<head><meta name=\"robots\" content=\"NOINDEX\"></head>", false, false},
        {"after the head is not read", "<head></head><meta name=\"robots\" content=\"noindex,nofollow\">",
         true, false},
        {"</head > is no end of head", "<head></head ><meta name=\"robots\" content=\"noindex,nofollow\">",
         false, true},
        {"any meta holding the word", "<head><meta name=description content=\"we noindex\"></head>", false,
         false},
        {"a link is not a meta", "<head><link rel=nofollow href=x></head>", true, false},
        {"not asked for", "<head><meta name=robots content=noindex,nofollow></head>", true, false, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto parser = parse(c.html, {.noIndex = c.asked, .nofollow = c.asked});
        ASSERT_TRUE(parser);
        EXPECT_EQ(parser->getShouldBeIndexed(), c.indexed);
        EXPECT_EQ(parser->getHeadContainsNoFollow(), c.headNofollow);
    }
}

TEST(HeadMetadata, PullOut) {
    EXPECT_EQ(KestParser::pullOutMetaDescription("meta CONTENT=\"x\" y"), QString("x"));
    EXPECT_EQ(KestParser::pullOutMetaDescription("meta content=\"runs to the end"),
              QString("runs to the end"));
    EXPECT_EQ(KestParser::pullOutMetaDescription("meta name=x"), QString());
    EXPECT_EQ(KestParser::pullOutHref("link href='/a' rel=x"), QString("/a"));
}
