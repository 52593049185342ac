// The reader takes stretches of bytes at once (page index, runs of text and values, tags read in
// one piece, states settled a run at a time). Reading every byte one at a time, as the rules are
// written, must give the same results: the same links, texts, flags, head values, tags, word
// counts and cursor positions after every call.
#include "ParserTestSupport.h"

#include <QRandomGenerator>
#include <QTextStream>

#include "parsing/PageIndex.h"

using namespace parsertest;

namespace {

class ByteByByte {
  public:
    ByteByByte() { KestParser::readByteByByte(true); }
    ~ByteByByte() { KestParser::readByteByByte(false); }
};

struct Reading {
    Options options;
    bool images = false;
    bool trim = false;
    enum Mode { Html, PlainText, Xml } mode = Html;
};

// Everything the crawl and the SEO table take from a page, and where the cursor stood.
QString transcript(const QByteArray& page, const Reading& run) {
    std::unique_ptr<KestParser> parser = parse(page, run.options);
    if (!parser)
        return QStringLiteral("no parser");
    QString out;
    QTextStream s(&out);
    KestParser& p = *parser;
    s << p.getTitle() << '|' << p.getDescription() << '|' << p.getKeywords() << '|' << p.getHeadings() << '|'
      << p.getCanonical().value_or(QStringLiteral("<absent>")) << '|'
      << (p.getBaseHref() ? p.getBaseHref()->toString() : QStringLiteral("<absent>")) << '|'
      << p.getShouldBeIndexed() << p.getHeadContainsNoFollow() << '|' << p.getUseEncoding() << '|'
      << p.position() << '|' << p.getWordCount() << '\n';
    if (run.mode == Reading::PlainText)
        p.setPlainTextMode();
    if (run.mode == Reading::Xml)
        p.setXMLMode();
    for (int links = 0; links < 20000; ++links) {
        const std::optional<QString> url = p.getNextHrefTrim(run.images, run.trim);
        s << (url ? *url : QStringLiteral("<end>")) << ' ' << p.position() << ' ' << p.getWordCount();
        if (!url)
            break;
        const std::optional<QString> text = p.getLinkText();
        s << " [" << text.value_or(QStringLiteral("<none>")) << "] " << (text && text->isNull()) << ' '
          << p.position() << ' ' << p.getWordCount() << ' ' << p.lastLinkWasNofollow() << '\n';
    }
    // Then every tag, as the head scans take them, and every way into one.
    p.reset();
    while (const std::optional<KestXmlTag> tag = p.getTag(false))
        s << (tag->isClosing() ? "</" : "<") << tag->getData() << "> " << p.position() << ' '
          << p.getWordCount() << '\n';
    p.reset();
    while (p.moveIntoNextTag())
        s << p.position() << ' ';
    s << p.getWordCount() << '\n';
    return out;
}

void expectSameReading(const QByteArray& page, const Reading& run) {
    QString byBytes;
    {
        ByteByByte slow;
        byBytes = transcript(page, run);
    }
    const QString inStretches = transcript(page, run);
    if (byBytes != inStretches) {
        ADD_FAILURE() << "page (" << page.size()
                      << " bytes): " << page.left(600).toPercentEncoding(" <>/=\"'!-&#;").toStdString()
                      << "\nbyte by byte:\n"
                      << byBytes.left(3000).toStdString() << "\nin stretches:\n"
                      << inStretches.left(3000).toStdString();
    }
}

// Pieces chosen for the places where taking bytes in one piece could go wrong: comments closing
// on one dash, scripts holding '<', "/a" and "img" inside attributes, NULs, bytes from 0x80 up,
// invalid UTF-8, words at the edges of tags, values and tags past the 1,000-byte cap.
const QByteArrayList pieceGroups[] = {
    {"<", ">", "<!-", "-->", "->", "<!--", "--", "-", "<!", "<!DOCTYPE html>", "<<", "</", "/"},
    {"<a href=\"x\">", "<a ", "<A HREF='y z'>", "<area href=u>", "<a href>", "<a zref=\"q\">",
     "<a title=\"see href here\" href=\"y\">", "</a>", "<a href=\"/assets/x.png\">"},
    {"<img src=\"i.png\" alt=\"t\">", "<img alt='' src=j>", "<img src=k>", "<img", " img ", "imgbox"},
    {"<script>", "</script>", "<script src=\"s.js\">", "<frame src=\"f g\">", "<iframe src=h>",
     "<base href=\"http://b/\">", "<base href=//c/>"},
    {"<title>", "</title>", "<title lang=x>", "</head>", "<head>", "<h1>", "</h1>", "<h1 class=\"a/b\">",
     "</body>", "<body>"},
    {"<meta name=robots content=\"noindex,nofollow\">", "<meta name=\"description\" content=\"d e\">",
     "<meta name=keywords content='k'>", "<link rel=canonical href=\"/c\">", "<meta charset=\"iso-8859-1\">"},
    {"rel=\"nofollow\"", "NoFollow", "nofollo", "word", "two words", " ", "  ", "\t", "\n"},
    {"\r\n", "!\"#$%&", "'", "\"", "=", "&amp;", "&eacute;", "&#65;", "&", ";", "a b", "a\tb"},
    {"\x80", "\xc3\xa9", "\xff", "\xe2\x80", "\xfe\xff", "<loc>", "</loc>", "http://x.y/z,", ", ",
     "<a href=\"x\" rel=nofollow>"},
};

QByteArrayList allPieces() {
    QByteArrayList pieces;
    for (const QByteArrayList& group : pieceGroups)
        pieces += group;
    return pieces;
}

QByteArray randomPage(QRandomGenerator& random) {
    static const QByteArrayList pieces = allPieces();
    const int count = static_cast<int>(pieces.size());
    QByteArray page;
    const int length = random.bounded(1, 120);
    for (int i = 0; i < length; ++i) {
        const int pick = random.bounded(count + 3);
        if (pick < count)
            page += pieces[pick];
        else if (pick == count)
            page += QByteArray(1, '\0');
        else if (pick == count + 1)
            page += QByteArray(random.bounded(990, 1010), random.bounded(2) ? 'x' : ' ');
        else
            page += QByteArray(1, static_cast<char>(random.bounded(256)));
    }
    return page;
}

// A page shaped like a real one, as the benchmark makes them, cut anywhere.
QByteArray realisticPage(QRandomGenerator& random) {
    QByteArray page = "<!DOCTYPE html><html><head><meta charset=\"utf-8\"><title>T &amp; u</title>\n"
                      "<meta name=\"description\" content=\"about\"><link rel=\"canonical\" href=\"/c\">"
                      "<script>if (a < b) { x = '<div>'; }</script></head><body><!-- nav -->";
    for (int i = 0; i < 60; ++i) {
        switch (random.bounded(5)) {
        case 0:
            page += "<p>Some words here, caf\xc3\xa9 &amp; more.</p>\n";
            break;
        case 1:
            page += "<a href=\"/p/" + QByteArray::number(i) + "\" class=\"l\">Link " + QByteArray::number(i) +
                    "</a> ";
            break;
        case 2:
            page += "<a href=\"/g\"><img src=\"/i/" + QByteArray::number(i) + ".jpg\" alt=\"pic\"></a>";
            break;
        case 3:
            page += "<!-- c -- d --> text <h1>Head " + QByteArray::number(i) + "</h1>";
            break;
        default:
            page += "<ul><li><a href=\"r.html\" rel=\"nofollow\">R</a></li></ul>\n";
            break;
        }
    }
    page += "<footer><a href=\"/privacy\">Privacy</a></footer></body></html>\n";
    return page.left(random.bounded(page.size() + 1));
}

Reading randomRun(QRandomGenerator& random) {
    static const quint64 encodings[] = {TextEncoding::UTF8, TextEncoding::Unknown, TextEncoding::ISOLatin1,
                                        TextEncoding::ShiftJIS, TextEncoding::ASCII};
    Reading run;
    run.options.seo = random.bounded(4) != 0;
    run.options.noIndex = random.bounded(2);
    run.options.nofollow = random.bounded(4) != 0;
    run.options.encoding = encodings[random.bounded(static_cast<int>(std::size(encodings)))];
    run.images = random.bounded(2);
    run.trim = random.bounded(2);
    const int mode = random.bounded(12);
    run.mode = mode == 0 ? Reading::PlainText : mode == 1 ? Reading::Xml : Reading::Html;
    return run;
}

} // namespace

TEST(ByteByByte, RandomAdversarialPages) {
    QRandomGenerator random(20261123);
    for (int round = 0; round < 1500; ++round) {
        const QByteArray page = randomPage(random);
        expectSameReading(page, randomRun(random));
        if (HasFailure())
            return;
    }
}

TEST(ByteByByte, RealisticPagesCutAnywhere) {
    QRandomGenerator random(977);
    for (int round = 0; round < 150; ++round) {
        const QByteArray page = realisticPage(random);
        expectSameReading(page, randomRun(random));
        if (HasFailure())
            return;
    }
}

// The cases the tables of the other tests name, read both ways under the crawl's settings.
TEST(ByteByByte, KnownQuirks) {
    const QByteArray pages[] = {
        "",
        "<head><title>t</title></head>text <!-- c --> more <b>x</b> <a href=\"q\">q</a>",
        "<head></head><p>a</p><!-- a->b --> b --> c <a href=x>y</a>",
        "<head></head><!-- never closed <a href=\"z\">z</a>",
        "<head></head><script>if (a<b) document.write('<a href=\"s\">')</script><a href=t>u</a>",
        "<head></head><script><!-- x --> y < z</script> words <a href=v>w</a>",
        "<a href=\"x\">text <img src=\"/p.png\" alt=\"alt\"> more</a><img src=q alt=\"\">",
        "<a href=\"x\" class=\"imgbox\">t</a><a href=\"y\" title=\"/a\">u</a><a href=z>a b</a>",
        "<a href=\"x\">one</a\n><a\thref=\"y\">two</a>",
        "<a href=\"x\" rel=\"nofollow\xff\">t</a><a href=\"y\">u</a><a href=\"w\" data=\"\xc3\xa9 "
        "NOFOLLOW\">v</a>",
        "<head><meta name=robots content=nofollow></head><a href=x>t</a>",
        "<a href=\"x\">unterminated",
        "<a href=\"x",
        "<title>A\r\nB</title><h1>h</h1><h1></h1></body><h1>late</h1>",
        "<a href=\"x\0y\">t\0u</a>",
    };
    for (const QByteArray& page : pages) {
        for (int flags = 0; flags < 4; ++flags) {
            Reading run;
            run.images = flags & 1;
            run.trim = flags & 2;
            expectSameReading(page, run);
        }
    }
    QByteArray longTag = "<a href=\"" + QByteArray(1200, 'u') + "\" title=\"" + QByteArray(1000, 't') +
                         "\">" + QByteArray(1600, 'w') + "</a><h1>" + QByteArray(2000, 'h') + "</h1>";
    expectSameReading(longTag, Reading{});
    // Tags that fill the 1,000-byte cap, ending the page or one byte before its end.
    expectSameReading("<p>a<" + QByteArray(1000, 't'), Reading{});
    expectSameReading("<p>a<" + QByteArray(1000, 't') + ">", Reading{});
    expectSameReading("<head></head>" + longTag, Reading{{}, true, true});
}

// The page index is built with AVX2, SSE2 or plain code depending on the processor; every way
// must mark the same bytes, whatever the length's remainder of 64.
TEST(ByteByByte, PageIndexWaysAgree) {
    QRandomGenerator random(4242);
    static const char chars[] = "<>/ a'\t\x01\x26\x27\x80\xff";
    const PageIndex::Kind kinds[] = {PageIndex::Lt,  PageIndex::Gt,   PageIndex::Slash,
                                     PageIndex::Nul, PageIndex::High, PageIndex::Word};
    for (int round = 0; round < 200; ++round) {
        QByteArray page(random.bounded(0, 300), Qt::Uninitialized);
        for (char& c : page)
            c = random.bounded(4) ? chars[random.bounded(static_cast<int>(sizeof(chars)))]
                                  : static_cast<char>(random.bounded(256));
        const quint64 length = static_cast<quint64>(page.size());
        PageIndex best, sse2, plain;
        best.build(page.constData(), length, PageIndex::Way::Best);
        sse2.build(page.constData(), length, PageIndex::Way::Sse2);
        plain.build(page.constData(), length, PageIndex::Way::Plain);
        for (quint64 at = 0; at < length; ++at) {
            for (PageIndex::Kind kind : kinds) {
                ASSERT_EQ(best.has(kind, at), plain.has(kind, at)) << "kind " << kind << " at " << at;
                ASSERT_EQ(sse2.has(kind, at), plain.has(kind, at)) << "kind " << kind << " at " << at;
            }
            const signed char c = static_cast<signed char>(page[at]);
            ASSERT_EQ(plain.has(PageIndex::Word, at), (c <= 0 || c >= 39) && c != '>') << at;
            ASSERT_EQ(plain.has(PageIndex::Lt, at), c == '<') << at;
        }
    }
}
