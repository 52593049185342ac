// Any bytes at all: the reader must end every walk without reading past the data. The pages
// sit right before an inaccessible memory page, so a read past the end faults.
#include "ParserTestSupport.h"

#include <QRandomGenerator>

using namespace parsertest;

namespace {

const QByteArray sample =
    "<!DOCTYPE html><html><head><meta charset=\"utf-8\"><title>Sample &amp; page</title>"
    "<meta name=\"description\" content=\"d\"><meta name=\"robots\" content=\"nofollow\">"
    "<link rel=\"canonical\" href=\"/c\"><base href=\"http://e.com/\"></head>\n<body><h1>Head<img src=a.png "
    "alt=\"x\"></h1><!-- comment -> --><script>if (a<b) x='</a>';</script><p>Text &eacute; "
    "<a href=\"one.html\" rel=nofollow>one <img src=\"i.png\" alt=\"\"></a> <area href=two>"
    "<frame src=\"f.html\"><iframe src=\"n.html\"></iframe><img src='p.png' alt='q'>"
    "<a zref=\"z\">z</a><a title=\"href x\" href=\"y\">y</a></p></body></html>";

// Construction with every flag, then every walk the reader has.
void exercise(const QByteArray& bytes, quint64 encoding = TextEncoding::UTF8) {
    GuardedBytes guarded(bytes);
    auto parser = parse(guarded.get(), {.encoding = encoding});
    ASSERT_TRUE(parser);
    walk(*parser, true, true);
    walk(*parser, false, false);
    for (bool plain : {true, false}) {
        auto modal = parse(guarded.get(), {.encoding = encoding});
        if (plain)
            modal->setPlainTextMode();
        else
            modal->setXMLMode();
        walk(*modal, true, false);
    }
    parser->reset();
    while (parser->getNextImg()) {
        parser->getData();
    }
    parser->reset();
    while (parser->getNextScriptSrc()) {
    }
    parser->reset();
    while (parser->findNextLinkHref()) {
    }
    parser->reset();
    for (int i = 0; i < 1000 && parser->getItem(); ++i) {
    }
    KestParser::extractCharsetFromHTML(guarded.get());
}

} // namespace

// From the empty page up; a page with no data at all makes no parser (ParserCore.Constructors).
TEST(BadInput, EveryTruncationOfARealisticPage) {
    for (qsizetype n = 0; n <= sample.size(); ++n) {
        SCOPED_TRACE(n);
        exercise(sample.left(n));
    }
}

TEST(BadInput, TruncatedPageLosesOnlyTheLastLink) {
    auto whole = parse(sample);
    const auto all = walk(*whole, true, false);
    auto cut = parse(sample.left(sample.indexOf("href=\"y\"") + 7));
    const auto some = walk(*cut, true, false);
    ASSERT_EQ(some.size() + 1, all.size());
    for (size_t i = 0; i < some.size(); ++i)
        EXPECT_EQ(some[i].url, all[i].url);
}

TEST(BadInput, RandomBytes) {
    QRandomGenerator random(20240611);
    static const char chars[] = "<>!-/\"'= \t\r\nahrefzsimgltcpbody;&#x1\x80\xff";
    const QByteArray alphabet(chars, sizeof(chars)); // the terminating NUL too
    for (int round = 0; round < 400; ++round) {
        QByteArray bytes(random.bounded(1, 3000), Qt::Uninitialized);
        const bool anyByte = round % 2 == 0;
        for (char& c : bytes)
            c = anyByte ? static_cast<char>(random.bounded(256))
                        : alphabet.at(random.bounded(static_cast<int>(alphabet.size())));
        SCOPED_TRACE(round);
        exercise(bytes, round % 3 == 0 ? TextEncoding::Unknown : TextEncoding::ShiftJIS);
    }
}

TEST(BadInput, NulBytesAndInvalidEncodings) {
    QByteArray withNuls = sample;
    for (qsizetype i = 0; i < withNuls.size(); i += 7)
        withNuls[i] = '\0';
    exercise(withNuls);
    QByteArray highBytes = sample;
    for (qsizetype i = 3; i < highBytes.size(); i += 5)
        highBytes[i] = '\xff';
    for (quint64 encoding : {TextEncoding::UTF8, TextEncoding::Unicode, TextEncoding::HZ_GB_2312,
                             TextEncoding::Big5, quint64{77}})
        exercise(highBytes, encoding);
}

TEST(BadInput, TenMegabytePage) {
    QByteArray page = "<html><head><title>big</title></head>\n<body>";
    while (page.size() < 10 * 1024 * 1024)
        page += sample;
    page += QByteArray(5000, '<'); // a long run of bare brackets at the very end
    GuardedBytes guarded(page);
    auto parser = parse(guarded.get());
    const auto links = walk(*parser, true, true);
    EXPECT_GT(links.size(), 10000u);
    EXPECT_GT(parser->getWordCount(), 100000);
}

TEST(BadInput, UnendedConstructs) {
    for (const char* html : {"<", "<!", "<!-", "<!--", "<a", "<a ", "<a href", "<a href=", "<a href=\"",
                             "<img src=\"x\" alt=\"", "<script>", "<title>", "<base href=", "<h1>",
                             "<frame src", "<a href=x>", "<a href=x><img", "&", "<a href='&#x"}) {
        SCOPED_TRACE(html);
        exercise(html);
    }
}
