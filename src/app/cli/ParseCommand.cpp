#include "app/cli/CliInput.h"
#include "app/cli/Commands.h"
#include "config/Preferences.h"
#include "parsing/KestParser.h"
#include "parsing/TextEncodings.h"
#include "platform/SyncFetch.h"

#include <QCommandLineParser>
#include <QFile>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <cstdio>

namespace {

struct ParseOptions {
    QString source;
    bool images = false;
    bool trim = false;
    bool verbose = false;
    std::optional<quint64> encoding;
};

// Values go out one per line, so line ends and tabs inside them are written as escapes.
QString field(const QString& text) {
    QString out;
    out.reserve(text.size());
    for (QChar c : text) {
        if (c == QLatin1Char('\\'))
            out += QLatin1String("\\\\");
        else if (c == QLatin1Char('\t'))
            out += QLatin1String("\\t");
        else if (c == QLatin1Char('\n'))
            out += QLatin1String("\\n");
        else if (c == QLatin1Char('\r'))
            out += QLatin1String("\\r");
        else
            out += c;
    }
    return out;
}

void printLine(const QString& name, const QString& value) {
    std::printf("%s\t%s\n", qPrintable(name), field(value).toUtf8().constData());
}

// An encoding given as a number or as a standard name such as Shift_JIS.
std::optional<quint64> encodingArgument(const QString& text) {
    bool ok = false;
    const quint64 number = text.toULongLong(&ok, 0);
    if (ok && (number == 0 || TextEncoding::standardName(number)))
        return number;
    if (const quint64 named = TextEncoding::encodingForStandardName(text))
        return named;
    return std::nullopt;
}

bool readOptions(const QStringList& args, ParseOptions& out) {
    QCommandLineParser parser;
    parser.setApplicationDescription("Reads one page the way the crawl does and prints what it finds: head "
                                     "metadata, word count, and every link with its text and nofollow "
                                     "flag, tab-separated.");
    parser.addHelpOption();
    parser.addPositionalArgument("source", "a local HTML file, or an http, https or file URL");
    parser.addOptions({
        {"images", "Report images as links too."},
        {"trim", "Trim quotes and spaces around link values."},
        {"encoding",
         "Encoding of the page: a number of the encoding table or a name such as Shift_JIS "
         "(default: from the server, else unknown). A charset the page declares wins.",
         "ID"},
        {"verbose", "Show the reader's log lines on standard error."},
    });
    QStringList argv = args;
    argv.prepend("trellium parse");
    if (!parser.parse(argv)) {
        std::fprintf(stderr, "trellium parse: %s\n", qPrintable(parser.errorText()));
        return false;
    }
    if (parser.isSet("help") || parser.isSet("help-all")) {
        std::fputs(qPrintable(parser.helpText().replace(QRegularExpression("^Usage: \\S+"),
                                                        "Usage: trellium parse")),
                   stdout);
        std::exit(0);
    }
    const QStringList positional = parser.positionalArguments();
    if (positional.size() != 1 || positional[0].isEmpty()) {
        std::fputs("trellium parse: give one file or URL (see --help)\n", stderr);
        return false;
    }
    out.source = CliInput::expandTilde(positional[0]);
    out.images = parser.isSet("images");
    out.trim = parser.isSet("trim");
    out.verbose = parser.isSet("verbose");
    if (parser.isSet("encoding")) {
        out.encoding = encodingArgument(parser.value("encoding"));
        if (!out.encoding) {
            std::fprintf(stderr, "trellium parse: unknown encoding '%s'\n",
                         qPrintable(parser.value("encoding")));
            return false;
        }
    }
    return true;
}

struct Page {
    QByteArray bytes;
    quint64 encoding = 0;
};

// Reads the page from disk or the network; on failure prints why and returns nothing.
std::optional<Page> loadPage(const ParseOptions& options) {
    Page page;
    // The crawl's bound on one page holds here too, so a bomb or an endless body ends in a message.
    Preferences preferences;
    preferences.load();
    const qint64 limit = preferences.maximumPageSize();
    if (options.source.contains(QLatin1String("://"))) {
        const SyncFetchResult fetched =
            fetchSynchronously(options.source, QStringLiteral("Trellium/5"), 60, limit);
        if (!fetched.error.isEmpty()) {
            std::fprintf(stderr, "trellium parse: %s: %s\n", qPrintable(options.source),
                         qPrintable(fetched.error));
            return std::nullopt;
        }
        page.bytes = fetched.body;
        const qsizetype at = fetched.contentType.indexOf(QLatin1String("charset="), 0, Qt::CaseInsensitive);
        if (at >= 0)
            page.encoding = TextEncoding::encodingForStandardName(
                fetched.contentType.mid(at + 8).section(QLatin1Char(';'), 0, 0).remove(QLatin1Char('"')));
    } else {
        QFile file(options.source);
        if (!file.open(QIODevice::ReadOnly)) {
            std::fprintf(stderr, "trellium parse: cannot read %s: %s\n", qPrintable(options.source),
                         qPrintable(file.errorString()));
            return std::nullopt;
        }
        if (limit > 0 && file.size() > limit) {
            std::fprintf(stderr, "trellium parse: %s: page too large\n", qPrintable(options.source));
            return std::nullopt;
        }
        page.bytes = file.readAll();
    }
    // An empty page is still a page; only a missing one is "no data" to the reader.
    if (page.bytes.isNull())
        page.bytes = QByteArray("");
    if (options.encoding)
        page.encoding = *options.encoding;
    return page;
}

} // namespace

int runParseCommand(const QStringList& args) {
    ParseOptions options;
    if (!readOptions(args, options))
        return 2;
    if (!options.verbose)
        QLoggingCategory::setFilterRules(QStringLiteral("trellium.parser.info=false"));
    const std::optional<Page> page = loadPage(options);
    if (!page)
        return 2;

    auto parser =
        KestParser::initWithDataWithuserAgentStringWithSEOCachePageCheckNoIndexCheckNofollowUseEncoding(
            page->bytes, QString(), true, false, true, true, page->encoding);

    // The word count is complete only once the link walk has run to the end.
    QStringList links;
    while (std::optional<QString> url = parser->getNextHrefTrim(options.images, options.trim)) {
        const QString text = parser->getLinkText().value_or(QString());
        links.append(
            QStringLiteral("link\t%1\t%2\t%3")
                .arg(field(*url), field(text),
                     parser->lastLinkWasNofollow() ? QStringLiteral("nofollow") : QStringLiteral("follow")));
    }

    const quint64 encoding = parser->getUseEncoding();
    const char* encodingName = TextEncoding::standardName(encoding);
    printLine("title", parser->getTitle());
    printLine("description", parser->getDescription());
    printLine("keywords", parser->getKeywords());
    printLine("canonical", parser->getCanonical().value_or(QString()));
    printLine("headings", parser->getHeadings());
    printLine("base", parser->getBaseHref() ? parser->getBaseHref()->toString() : QString());
    printLine("index", parser->getShouldBeIndexed() ? "yes" : "no");
    printLine("head-nofollow", parser->getHeadContainsNoFollow() ? "yes" : "no");
    printLine("words", QString::number(parser->getWordCount()));
    printLine("encoding", QStringLiteral("%1 %2").arg(encoding).arg(encodingName ? encodingName : "unknown"));
    for (const QString& line : links)
        std::printf("%s\n", line.toUtf8().constData());
    return 0;
}
