#include "ParserTestSupport.h"
#include "parsing/EntityTable.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QUrl>

using namespace parsertest;

TEST(Charset, ExtractCharsetFromHTML) {
    struct Case {
        const char* name;
        QByteArray html;
        std::optional<QString> charset;
    };
    const Case cases[] = {
        {"http-equiv", "<meta http-equiv=\"Content-Type\" content=\"text/html; charset=iso-8859-15\"><body>",
         "iso-8859-15"},
        {"leftovers stay", "<meta charset=\"utf-8\" /><body>", "utf-8\" /"},
        {"unquoted", "<meta charset=utf-8><body>", "utf-8"},
        {"capitals", "<META CHARSET=\"Big5\"><BODY>", "Big5"},
        {"mixed case is not seen", "<meta Charset=\"Big5\"><body>", std::nullopt},
        {"only after body", "<html><body><script>x='charset=Big5>'</script>", std::nullopt},
        {"body in a comment moves the limit", "<!-- body --><meta charset=\"Big5\"><body>", std::nullopt},
        {"first occurrence wins", "<form accept-charset=\"x\"><meta charset=\"Big5\"><body>", "x"},
        {"no > before the limit", "<meta charset=\"Big5\"", std::nullopt},
        {"the last byte is out of reach without body", "<meta charset=\"Big5\">", std::nullopt},
        {"non-ASCII", "<meta charset=\"\xe9\"><body>", std::nullopt},
        {"empty data", "", std::nullopt},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(KestParser::extractCharsetFromHTML(c.html), c.charset);
    }
}

TEST(Charset, EncodingForCharsetRules) {
    using namespace TextEncoding;
    struct Case {
        const char* charset;
        quint64 encoding;
    };
    const Case cases[] = {
        {"iso-8859-1", ISOLatin1},
        {"iso-8859-15", ISOLatin1},
        {"ISO-8859-10", Unknown},
        {"iso-8859-2", ISOLatin2},
        {"windows-1252", WindowsCP1252},
        {"tis-620", ISOLatinThai},
        {"windows-874", DOSThai},
        {"Shift_JIS", ShiftJIS},
        {"shift_jis", Unknown},
        {"gb2312", DOSChineseSimplif},
        {"HZ-GB-2312", HZ_GB_2312},
        {"GB_2312-80", GB_2312_80},
        {"Big5", Big5},
        {"big5", Unknown},
        {"utf-8", Unknown},
        {"euc-jp", Unknown},
        {"windows-1251", Unknown},
        {"1252 8859-2", ISOLatin2},
        {"8859-10 8859-1", Unknown},
        {"", Unknown},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.charset);
        EXPECT_EQ(KestParser::encodingForCharset(QString(c.charset)), c.encoding);
    }
    EXPECT_EQ(KestParser::encodingForCharset(std::nullopt), Unknown);
}

// Each name of the list on its own is read by TableIsTheFixedList.
TEST(Entities, Unescape) {
    struct Case {
        const char* in;
        QString out;
    };
    const Case cases[] = {
        {"&#65;", "A"},
        {"&#x41;", "A"},
        {"&#X41;", "A"},
        {"&#65", "&#65"},
        {"&#65536;", "&#65536;"},
        {"&#65535;", "&#65535;"},
        {"&#65534;", QString(QChar(0xFFFE))},
        {"&#0;", "&#0;"},
        {"&#99999999999;", "&#99999999999;"},
        {"&#x;", "&#x;"},
        {"&#12a;", "&#12a;"},
        {"&#-1;", "&#-1;"},
        {"&abcdefghij;", "&abcdefghij;"},
        {"&AMP;", "&AMP;"},
        {"&AAAA;", "&AAAA;"},
        {"&zzzz;", "&zzzz;"},
        {"&amq;", "&amq;"},
        {"&abcdefgh;&lt;", "&abcdefgh;<"},
        {"&amp&lt;", "&amp<"},
        {"&#x00041;x&#00000065;", "Ax&#00000065;"},
        {"&\xc3\xa9t\xc3\xa9;", "&\xc3\xa9t\xc3\xa9;"},
        {"a & b; c", "a & b; c"},
        {"&amp;amp;", "&amp;"},
        {"&lt;&gt;", "<>"},
        {"&&lt;", "&<"},
        {"&lt", "&lt"},
        {"x&;y", "x&;y"},
        {"no entities", "no entities"},
        {"&copy; 2024 &mdash; &euro;5", "© 2024 — €5"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.in);
        EXPECT_EQ(KestParser::unescapeEntities(QString::fromUtf8(c.in)), c.out);
    }
}

TEST(Entities, TableIsTheFixedList) {
    const auto table = htmlEntityTable();
    ASSERT_EQ(table.size(), 253u);
    EXPECT_STREQ(table.front().escape, "&quot;");
    EXPECT_STREQ(table[2].escape, "&apos;");
    EXPECT_STREQ(table.back().escape, "&diams;");
    for (size_t i = 1; i < table.size(); ++i)
        EXPECT_LT(table[i - 1].unit, table[i].unit) << table[i].escape;
    for (const HtmlEntity& entity : table) {
        const qsizetype length = qstrlen(entity.escape);
        EXPECT_TRUE(length >= 4 && length <= 10) << entity.escape;
        EXPECT_EQ(KestParser::unescapeEntities(QString::fromLatin1(entity.escape)),
                  QString(QChar(entity.unit)));
    }
}

TEST(UrlBuffers, TrimmingAndEscapes) {
    struct Case {
        const char* in;
        char character; // 0: trimWhitespaceFromUrl
        const char* out;
    };
    const Case cases[] = {
        {"'x'", '\'', "x"},     {"\"'x'\"", '"', "'x'"}, {"''", '\'', ""},
        {"'a'b'", '\'', "a'b"}, {"", ' ', ""},           {" \t x \n", 0, "x"},
        {"\xe9x\xe9", 0, "x"},  {"\x01\x02", 0, ""},     {"a b", 0, "a b"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.in);
        char buffer[64];
        qstrcpy(buffer, c.in);
        if (c.character)
            KestParser::trimThisCharacterFromUrl(c.character, buffer);
        else
            KestParser::trimWhitespaceFromUrl(buffer);
        EXPECT_STREQ(buffer, c.out);
    }
    EXPECT_EQ(KestParser::addPercentEscapesBrief("a b{c}|"), QString("a%20b%7Bc%7D|"));
}

TEST(Encodings, DecodersOfTheTable) {
    using namespace TextEncoding;
    struct Case {
        quint64 encoding;
        QByteArray bytes;
        std::optional<QString> text;
    };
    const Case cases[] = {
        {ASCII, "plain", "plain"},
        {ASCII, "caf\xe9", std::nullopt},
        {UTF8, "caf\xc3\xa9", QString::fromUtf8("café")},
        {UTF8, "\xc0\xaf", std::nullopt},     // overlong
        {UTF8, "\xed\xa0\x80", std::nullopt}, // a surrogate
        {ISOLatin1, "caf\xe9", QString::fromUtf8("café")},
        {ISOLatin2, "\xb1", QString::fromUtf8("ą")},
        {WindowsCP1252, "\x80\x93", QString::fromUtf8("€“")},
        {WindowsCP1252, "\x81", std::nullopt},
        {ShiftJIS, "\x93\xfa\x96\x7b\x8c\xea", QString::fromUtf8("日本語")},
        {ShiftJIS, "a\\b", "a\\b"},
        {ISOLatinThai, "\xa1", QString::fromUtf8("ก")},
        {DOSThai, "\xa1", QString::fromUtf8("ก")},
        {DOSChineseSimplif, "\xd6\xd0\xce\xc4", QString::fromUtf8("中文")},
        {GB_2312_80, "\xd6\xd0\xce\xc4", QString::fromUtf8("中文")},
        {Big5, "\xa4\xa4\xa4\xe5", QString::fromUtf8("中文")},
        {HZ_GB_2312, "a~{VPND~}b~~", QString::fromUtf8("a中文b~")},
        {HZ_GB_2312, "~{VP", std::nullopt},
        {Unicode, QByteArray("\xfe\xff\x00\x41", 4), "A"},
        {Unicode, QByteArray("\x00\x41\x00", 3), std::nullopt},
        {Unknown, "x", std::nullopt},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.encoding);
        EXPECT_EQ(decode(c.bytes.constData(), c.bytes.size(), c.encoding), c.text);
    }
}

TEST(Encodings, CharsetOfAContentType) {
    using namespace TextEncoding;
    const std::pair<const char*, quint64> cases[] = {
        {"text/html; charset=Shift_JIS", ShiftJIS},
        {"text/html;CHARSET=\"utf-8\"; format=flowed", UTF8},
        {"text/html; charset= windows-1252 ", WindowsCP1252},
        {"text/html", Unknown},
        {"text/html; charset=", Unknown},
        {"text/html; charset=klingon", Unknown},
    };
    for (const auto& [type, encoding] : cases)
        EXPECT_EQ(encodingOfContentType(type), encoding) << type;
}

TEST(Encodings, ShiftJisPage) {
    const QByteArray page =
        "<html><head><meta http-equiv=\"Content-Type\" content=\"text/html; charset=Shift_JIS\">"
        "<title>\x93\xfa\x96\x7b\x8c\xea</title></head>\n"
        "<body><a href=\"x.html\">\x83\x8a\x83\x93\x83\x4e</a></body></html>";
    auto parser = parse(page, {.encoding = TextEncoding::UTF8});
    EXPECT_EQ(parser->getUseEncoding(), TextEncoding::ShiftJIS);
    EXPECT_EQ(parser->getTitle(), QString::fromUtf8("日本語"));
    EXPECT_EQ(summary(walk(*parser)), QString::fromUtf8("x.html|リンク"));
}

TEST(Encodings, Windows1252Page) {
    const QByteArray page =
        "<html><head><meta http-equiv=\"Content-Type\" content=\"text/html; charset=windows-1252\">"
        "<title>Caf\xe9 \x80 \x93quoted\x94</title></head>\n"
        "<body><a href=\"menu.html\">Men\xfc \x96 prix</a></body></html>";
    auto parser = parse(page, {.encoding = TextEncoding::UTF8});
    EXPECT_EQ(parser->getUseEncoding(), TextEncoding::WindowsCP1252);
    EXPECT_EQ(parser->getTitle(), QString::fromUtf8("Café € “quoted”"));
    EXPECT_EQ(summary(walk(*parser)), QString::fromUtf8("menu.html|Menü – prix"));
}

TEST(UrlConstructor, FileUrls) {
    quietLog();
    QTemporaryDir dir;
    auto write = [&dir](const QString& name, const QByteArray& bytes) {
        QFile file(dir.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return QUrl::fromLocalFile(file.fileName()).toString();
    };
    const QString page = write("page.html", "<html><head><title>Local</title></head><body>"
                                            "<a href=\"a.html\">a</a></body></html>");
    auto parser = KestParser::initWithUrlWithuserAgentString(page, "Trellium-test");
    ASSERT_TRUE(parser);
    EXPECT_EQ(parser->getTitle(), QString("Local"));
    ASSERT_TRUE(parser->getBaseHref());
    EXPECT_EQ(parser->getBaseHref()->toString(), page);
    EXPECT_EQ(parser->getInitialStatus(), 200);
    EXPECT_EQ(parser->getNextHrefTrim(false, false), QString("a.html"));

    EXPECT_EQ(KestParser::initWithUrlWithuserAgentString(write("notes.txt", "<title>x</title>"), "t"),
              nullptr);
    EXPECT_EQ(KestParser::initWithUrlWithuserAgentString(write("doc.PDF", "<title>x</title>"), "t"), nullptr);
    EXPECT_EQ(KestParser::initWithUrlWithuserAgentString(page + ".missing", "t"), nullptr);
    EXPECT_EQ(KestParser::initWithUrlWithuserAgentString("not a url at all", "t"), nullptr);
}

TEST(FilePathConstructor, ReadsNothing) {
    auto parser = KestParser::initWithFilePath("~/does-not-matter.txt");
    ASSERT_TRUE(parser);
    EXPECT_EQ(parser->getLength(), 0u);
    EXPECT_FALSE(parser->getNextHrefTrim(false, false));
}
