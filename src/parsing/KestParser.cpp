#include "parsing/KestParser.h"

#include "parsing/ParserLog.h"
#include "parsing/TextEncodings.h"
#include "platform/SyncFetch.h"

#include <QDir>
#include <QFile>
#include <cstring>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

Q_LOGGING_CATEGORY(lcParser, "trellium.parser", QtInfoMsg)

namespace {

signed char asciiLower(signed char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<signed char>(c + 32) : c;
}

bool isOneOf(signed char c, const char* letters) {
    for (; *letters; ++letters) {
        if (c == *letters)
            return true;
    }
    return false;
}

bool isSeparator(signed char c) {
    return c == ' ' || c == '\r' || c == '\n' || c == '\t';
}

// The bytes one fetch of the page as text would have been read in: the charset the server
// names, else UTF-8 when the bytes are valid UTF-8, else unknown.
quint64 encodingOfFetchedText(const SyncFetchResult& fetched) {
    if (quint64 id = TextEncoding::encodingOfContentType(fetched.contentType))
        return id;
    if (TextEncoding::isValidUtf8(fetched.body.constData(), fetched.body.size()))
        return TextEncoding::UTF8;
    return TextEncoding::Unknown;
}

QString pathExtension(const QString& url) {
    const QString last = url.section(QLatin1Char('/'), -1);
    const qsizetype dot = last.lastIndexOf(QLatin1Char('.'));
    return dot < 0 ? QString() : last.mid(dot + 1);
}

} // namespace

KestParser::KestParser() = default;

namespace {
bool newParsersReadByteByByte = false;
}

void KestParser::readByteByByte(bool on) {
    newParsersReadByteByByte = on;
}

void KestParser::setData(const QByteArray& bytesIn) {
    byteByByte = newParsersReadByteByByte;
    if (byteByByte)
        tagReadByBytes = std::make_unique<ByteBuffer>(ByteBuffer::tagCap);
    data = bytesIn;
    bytes = data.constData();
    l = static_cast<quint64>(data.size());
    index.build(bytes, l);
}

void KestParser::setXMLMode() {
    xmlmode = true;
    qCInfo(lcParser) << "setting xml mode";
}

std::unique_ptr<KestParser>
KestParser::initWithDataWithuserAgentStringWithSEOCachePageCheckNoIndexCheckNofollowUseEncoding(
    const QByteArray& pageData, const QString&, bool withSEO, bool cachePageToo, bool checkNoIndex,
    bool checkNofollow, quint64 encoding) {
    auto parser = std::make_unique<KestParser>();
    KestParser& p = *parser;

    p.useEncoding = encoding;
    if (encoding == 0)
        qCInfo(lcParser) << "parser initiated with nil text encoding";
    // The page's own declaration beats the encoding the crawl detected.
    if (quint64 declared = encodingForCharset(extractCharsetFromHTML(pageData)))
        p.useEncoding = declared;

    p.textContent.clear();
    p.seoOn = false;
    p.endHead = 0;
    p.wordCount = 0;
    p.characterCount = 0;
    p.insideWord = false;
    p.isScriptOrComment = false;
    p.plaintextmode = false;
    p.xmlmode = false;
    p.insideBrackets = true;
    p.followNofollow = checkNofollow;
    p.countingWords = false;

    if (pageData.isNull()) {
        qCInfo(lcParser) << "data is invalid";
        return nullptr;
    }
    p.setData(pageData);

    // Each pass leaves the cursor and the word bookkeeping as the next one finds it, so the
    // order of these passes is part of the result.
    p.metatitle = p.findTitle();
    p.reset();

    const std::optional<QString> base = p.findBaseHref();
    if (base && !base->isEmpty()) {
        const QUrl url(*base, QUrl::StrictMode);
        if (url.isValid()) {
            p.codebase = url;
            p.codebaseText = *base;
        }
    }
    p.reset();

    if (withSEO) {
        p.metadescription = QString();
        p.keywords = QString();
        p.canonical = QString();
        p.findKeywordsAndDescription();
        p.headings = p.findHeadings();
        p.reset();
    }

    if (checkNoIndex) {
        p.shouldBeIndexed = !p.headContainsNoIndex();
        p.reset();
    } else {
        p.shouldBeIndexed = true;
    }

    if (checkNofollow) {
        p.headContainsNofollow = p.headContainsNoFollow();
        p.reset();
    } else {
        p.headContainsNofollow = false;
    }

    if (cachePageToo)
        p.cachePage();
    p.seoOn = withSEO;
    p.startCountingWords();
    return parser;
}

std::unique_ptr<KestParser> KestParser::initWithUrlWithuserAgentString(const QString& urlString,
                                                                       const QString& userAgent) {
    static const QStringList notPages = {"DOC", "MOV", "WAV", "MP3", "ZIP", "MPG", "MP4", "PDF"};
    if (notPages.contains(pathExtension(urlString).toUpper()))
        return nullptr;
    const QUrl url(urlString, QUrl::StrictMode);
    if (!url.isValid() || url.scheme().isEmpty()) {
        qCInfo(lcParser) << "url is badly formed";
        return nullptr;
    }

    auto parser = std::make_unique<KestParser>();
    KestParser& p = *parser;
    p.countingWords = false;
    p.plaintextmode = false;
    p.headContainsNofollow = false;

    // The first fetch only learns the encoding the text would be read in.
    p.useEncoding = encodingOfFetchedText(fetchSynchronously(urlString, userAgent, 60));
    if (p.useEncoding == 0)
        p.useEncoding = TextEncoding::UTF8;

    const SyncFetchResult page = fetchSynchronously(urlString, userAgent, 60);
    if (!page.error.isEmpty() && page.body.isEmpty())
        return nullptr;
    p.setData(page.body.isNull() ? QByteArray("") : page.body);
    if (page.contentType.isEmpty()) {
        qCInfo(lcParser).noquote() << QStringLiteral("can't establish content type for %1").arg(urlString);
        return nullptr;
    }
    if (!page.contentType.contains(QLatin1String("html")))
        return nullptr;
    p.initialStatus = static_cast<qint32>(page.status);

    p.metatitle = p.findTitle();
    p.reset();

    QString base = p.findBaseHref().value_or(QString());
    if (base.isEmpty()) {
        QString local = urlString;
        if (local.size() > 1 && !local.endsWith(QLatin1Char('/')) &&
            !local.section(QLatin1Char('/'), -1).contains(QLatin1Char('.')))
            local += QLatin1Char('/');
        base = page.finalUrl.isEmpty() ? local : page.finalUrl;
    }
    p.codebase = QUrl(base, QUrl::StrictMode);
    p.codebaseText = base;
    p.reset();
    p.startCountingWords();
    return parser;
}

std::unique_ptr<KestParser> KestParser::initWithFilePath(const QString& path) {
    auto parser = std::make_unique<KestParser>();
    QString expanded = path;
    if (expanded.startsWith(QLatin1Char('~')))
        expanded.replace(0, 1, QDir::homePath());
    QFile file(expanded);
    if (file.open(QIODevice::ReadOnly))
        parser->data = file.readAll();
    parser->bytes = parser->data.constData();
    parser->plaintextmode = true;
    parser->l = 0;
    parser->indent = 0;
    return parser;
}

void KestParser::reset() {
    // Only the position and the counts: the bracket, word and comment states carry over.
    counter = 0;
    wordCount = 0;
    characterCount = 0;
}

void KestParser::rewindTo(qint64 position) {
    counter = static_cast<quint64>(position < 0 ? 0 : position);
}

bool KestParser::moveIntoNextTag() {
    if (aBuffer == '<') {
        if (!getNextByte())
            return false;
    } else if (!readPastNextLt()) {
        return false;
    }
    // The current byte is the one after a '<'.
    for (;;) {
        if (aBuffer != '!') {
            lastTagPassed = static_cast<qint32>(counter);
            return true;
        }
        if (!getNextByte())
            return false;
        // A declaration is not reported, and the byte after its "<!" is not looked at again.
        if (aBuffer == '-' && !skipComment())
            return false;
        if (!readPastNextLt())
            return false;
    }
}

bool KestParser::skipComment() {
    // One dash opens a comment, and a run of dashes directly before '>' closes it.
    isScriptOrComment = true;
    for (;;) {
        if (aBuffer == '-') {
            while (aBuffer == '-') {
                if (!getNextByte())
                    return false;
            }
            if (aBuffer == '>') {
                isScriptOrComment = false;
                return true;
            }
        }
        if (!skipTo('-'))
            return false;
    }
}

bool KestParser::readPastNextLt() {
    // skipTo('<') and getNextByte, in one read when both bytes are there.
    if (byteByByte || counter >= l)
        return skipTo('<') && getNextByte();
    const quint64 lt = index.next(PageIndex::Lt, counter, l);
    if (lt + 1 >= l) {
        readOnTo(l);
        return false;
    }
    readOnTo(lt + 2);
    return true;
}

void KestParser::passTagsNoTestTakes(const char* firstLetters) {
    // A walk whose recognisers all fail on the first byte of a tag, before reading anything,
    // unless it is a space or one of `firstLetters` (lower case), reads nothing but the tag's
    // first byte and goes on to the next '<'. Those tags are passed here in one read, up to
    // and including the '<' of the next tag a test could take, so that moveIntoNextTag enters
    // it. Stops also before "<!", which moveIntoNextTag must see, and before a tag that ends
    // the page, where the walk's own end test decides.
    if (byteByByte || aBuffer == '<' || counter >= l)
        return;
    quint64 lt = counter;
    for (;; ++lt) {
        lt = index.next(PageIndex::Lt, lt, l);
        if (lt + 2 >= l)
            break;
        const signed char first = asciiLower(static_cast<signed char>(bytes[lt + 1]));
        if (first == '!' || first == ' ' || isOneOf(first, firstLetters))
            break;
    }
    readOnTo(qMin(lt + 1, l));
}

void KestParser::readOnTo(quint64 end) {
    // The same as calling getNextByte until `counter` reaches `end`, but with the bookkeeping
    // done a stretch at a time: this is where the reader spends its time.
    if (byteByByte) {
        while (counter < end)
            getNextByte();
        return;
    }
    if (counter >= end)
        return;
    const quint64 firstCounted = static_cast<quint64>(static_cast<qint64>(endHead)) + 1;
    if (!isScriptOrComment && end > firstCounted) {
        const quint64 from = qMax(counter, firstCounted);
        if (countingWords)
            countStretch(from, end);
        else
            noteUnsettled(from, end);
    }
    counter = end;
    aBuffer = static_cast<signed char>(bytes[end - 1]);
}

void KestParser::countStretch(quint64 p, quint64 stop) {
    while (p < stop) {
        if (insideBrackets) {
            p = index.next(PageIndex::Lt | PageIndex::Gt, p, stop);
            if (p == stop)
                break;
            insideWord = false;
            insideBrackets = bytes[p++] == '<';
        } else {
            // Up to the next '<' a '>' only ends a word, as any separator does.
            const quint64 lt = index.next(PageIndex::Lt, p, stop);
            wordCount += index.wordStarts(p, lt, insideWord);
            if (lt > p)
                insideWord = index.has(PageIndex::Word, lt - 1);
            p = lt;
            if (lt < stop) {
                ++p;
                insideBrackets = true;
                insideWord = false;
            }
        }
    }
}

void KestParser::settleStretch(quint64 from, quint64 stop) {
    // The states countStretch leaves, without the count: the last '<' or '>' sets the bracket
    // state, and outside brackets each later byte sets the word state by its own class.
    const quint64 p = index.afterLast(PageIndex::Lt | PageIndex::Gt, from, stop);
    if (p > from) {
        insideBrackets = bytes[p - 1] == '<';
        insideWord = false;
    }
    if (!insideBrackets && p < stop)
        insideWord = index.has(PageIndex::Word, stop - 1);
}

void KestParser::settleUnsettled() {
    if (unsettledFrom < unsettledTo)
        settleStretch(unsettledFrom, unsettledTo);
    unsettledFrom = unsettledTo = 0;
}

void KestParser::startCountingWords() {
    settleUnsettled();
    countingWords = true;
}

int KestParser::textBeforeBracket(int limit) const {
    if (counter >= l || byteByByte)
        return 0;
    const quint64 stop = counter + qMin(l - counter, static_cast<quint64>(limit));
    return static_cast<int>(index.next(PageIndex::Lt | PageIndex::Gt, counter, stop) - counter);
}

bool KestParser::skipTo(char wanted) {
    if (counter >= l)
        return false;
    if (byteByByte) {
        while (getNextByte()) {
            if (aBuffer == wanted)
                return true;
        }
        return false;
    }
    quint64 hit = l;
    if (wanted == '<') {
        hit = index.next(PageIndex::Lt, counter, l);
    } else if (wanted == '>') {
        hit = index.next(PageIndex::Gt, counter, l);
    } else if (const void* found = std::memchr(bytes + counter, wanted, static_cast<size_t>(l - counter))) {
        hit = static_cast<quint64>(static_cast<const char*>(found) - bytes);
    }
    readOnTo(hit < l ? hit + 1 : l);
    return hit < l;
}

bool KestParser::skipLeadingSpaces() {
    while (aBuffer == ' ') {
        if (!getNextByte())
            return false;
    }
    return true;
}

bool KestParser::matchName(const char* lowerName) {
    // Most tags fail on their first byte, before anything is read.
    if (aBuffer != ' ' && asciiLower(aBuffer) != *lowerName)
        return false;
    if (!skipLeadingSpaces())
        return false;
    for (; *lowerName; ++lowerName) {
        if (asciiLower(aBuffer) != *lowerName)
            return false;
        if (!getNextByte())
            return false;
    }
    return true;
}

bool KestParser::isThisAnATag() {
    if (!matchName("a"))
        return false;
    if (isSeparator(aBuffer))
        return true;
    // Any name beginning "area" is an anchor too; nothing after it is checked.
    if (asciiLower(aBuffer) != 'r')
        return false;
    if (!getNextByte() || asciiLower(aBuffer) != 'e')
        return false;
    if (!getNextByte() || aBuffer == '>')
        return false;
    return asciiLower(aBuffer) == 'a';
}

bool KestParser::isThisABaseTag() {
    return matchName("base") && isSeparator(aBuffer);
}

bool KestParser::isThisALinkTag() {
    return matchName("link") && isSeparator(aBuffer);
}

bool KestParser::isThisAnImgTag() {
    return matchName("img") && isSeparator(aBuffer);
}

bool KestParser::isThisAHeadTag() {
    return matchName("head") && (isSeparator(aBuffer) || aBuffer == '>');
}

bool KestParser::isThisAScriptTag() {
    return matchName("script") && (isSeparator(aBuffer) || aBuffer == '>');
}

bool KestParser::isThisAFrameTag() {
    return matchName("frame") && (isSeparator(aBuffer) || aBuffer == '>');
}

// The byte after the name is read but may be anything.
bool KestParser::isThisEndScriptTag() {
    return matchName("/script");
}

std::optional<KestXmlTag> KestParser::getTag(bool continueTag) {
    TagBytes raw;
    ByteBuffer buffer(ByteBuffer::tagCap);
    if (continueTag) {
        if (!readTagByBytes(buffer, raw.closing))
            return std::nullopt;
        raw.text = buffer.constData();
        raw.size = buffer.measured();
    } else if (!readTag(raw)) {
        return std::nullopt;
    }
    std::optional<QString> text = decodeTag(raw.text, raw.size);
    if (!text)
        return std::nullopt;
    KestXmlTag tag;
    tag.setData(*text);
    tag.setClosing(raw.closing);
    return tag;
}

bool KestParser::readTagByBytes(ByteBuffer& buffer, bool& closing) {
    // Quotes are not tracked, and any '/' marks the tag closing, paths in attributes included.
    closing = false;
    while (aBuffer != '>' && !buffer.full()) {
        if (aBuffer == '/')
            closing = true;
        if (aBuffer != '/' || buffer.size() > 0)
            buffer.push(aBuffer);
        if (!getNextByte())
            return false;
    }
    if (buffer.size() > 0 && buffer.back() == '/')
        buffer.pop();
    return true;
}

bool KestParser::readTag(TagBytes& tag) {
    // What readTagByBytes would store is one stretch of the page, found here by the index:
    // the tag starts on the byte after its '<', and leading slashes are not stored. For the
    // common tag, not "<!" and not at the end of the page, entering it is left to the one read
    // that takes the whole tag below.
    quint64 first = l;
    if (!byteByByte && aBuffer != '<' && counter < l) {
        const quint64 lt = index.next(PageIndex::Lt, counter, l);
        if (lt + 1 < l && bytes[lt + 1] != '!') {
            first = lt + 1;
            lastTagPassed = static_cast<qint32>(lt + 2);
        }
    }
    if (first == l) {
        if (!moveIntoNextTag())
            return false;
        first = counter - 1;
    }
    if (byteByByte) {
        *tagReadByBytes = ByteBuffer(ByteBuffer::tagCap);
        if (!readTagByBytes(*tagReadByBytes, tag.closing))
            return false;
        tag.text = tagReadByBytes->constData();
        tag.size = tagReadByBytes->measured();
        return true;
    }
    quint64 start = first;
    while (start < l && bytes[start] == '/')
        ++start;
    const quint64 cap = ByteBuffer::tagCap;
    const quint64 stop = start + qMin(l - start, cap);
    quint64 end = index.next(PageIndex::Gt, start, stop);
    if (end < stop) {
        readOnTo(end + 1);
    } else {
        // A full buffer: the byte after it has been read too, so it must exist.
        end = start + cap;
        if (end >= l) {
            readOnTo(l);
            return false;
        }
        readOnTo(end + 1);
    }
    tag.text = bytes + start;
    tag.size = static_cast<qsizetype>(end - start);
    // Most tags hold no '/', NUL or byte from 0x80 up: one look settles all three.
    tag.ascii = index.next(PageIndex::Slash | PageIndex::Nul | PageIndex::High, start, end) == end;
    if (tag.ascii) {
        tag.closing = start > first;
        return true;
    }
    tag.closing = start > first || index.next(PageIndex::Slash, start, end) < end;
    if (tag.size > 0 && tag.text[tag.size - 1] == '/')
        --tag.size;
    // An embedded NUL ends the text.
    tag.size = static_cast<qsizetype>(index.next(PageIndex::Nul, start, start + tag.size) - start);
    tag.ascii = index.next(PageIndex::High, start, start + tag.size) == start + tag.size;
    return true;
}

std::optional<QString> KestParser::decodeTag(const char* text, qsizetype n) const {
    if (useEncoding != 0) {
        if (auto decoded = TextEncoding::decode(text, n, useEncoding))
            return decoded;
    }
    if (auto decoded = TextEncoding::decode(text, n, TextEncoding::UTF8)) {
        qCInfo(lcParser).noquote()
            << QStringLiteral("getTag tried to convert tag using encoding %1 but failed, utf gives %2")
                   .arg(static_cast<qint32>(useEncoding))
                   .arg(*decoded);
        return decoded;
    }
    if (auto decoded = TextEncoding::decode(text, n, TextEncoding::ASCII)) {
        qCInfo(lcParser).noquote() << QStringLiteral("getTag tried to convert tag using encoding %1 but "
                                                     "failed, utf8 also failed, ascii gives %2")
                                          .arg(static_cast<qint32>(useEncoding))
                                          .arg(*decoded);
        return decoded;
    }
    return std::nullopt;
}

signed char KestParser::valueTerminator() const {
    if (insideSingleQuotes)
        return '\'';
    if (insideQuotes)
        return '"';
    return ' ';
}

bool KestParser::readOnToTagEnd() {
    return aBuffer == '>' || skipTo('>');
}

quint64 KestParser::endOfValueRun(quint64 from, quint64 limit, signed char terminator) const {
    // The first byte in [from, limit) that is the terminator, '>' or from 0 to 31, or `limit`.
    quint64 end = from;
#ifdef __SSE2__
    const __m128i stopByte = _mm_set1_epi8(terminator);
    const __m128i gt = _mm_set1_epi8('>');
    const __m128i lastControl = _mm_set1_epi8(31);
    for (; limit - end >= 16; end += 16) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + end));
        const __m128i control = _mm_cmpeq_epi8(_mm_min_epu8(v, lastControl), v);
        const __m128i stops =
            _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(v, stopByte), _mm_cmpeq_epi8(v, gt)), control);
        if (const int mask = _mm_movemask_epi8(stops))
            return end + static_cast<quint64>(__builtin_ctz(static_cast<unsigned>(mask)));
    }
#endif
    for (; end < limit; ++end) {
        const signed char c = static_cast<signed char>(bytes[end]);
        if (c == terminator || c == '>' || (c >= 0 && c <= 31))
            break;
    }
    return end;
}

bool KestParser::copyValue(ByteBuffer& buffer, signed char terminator) {
    while (aBuffer != terminator && aBuffer != '>' && !buffer.full()) {
        if (aBuffer < 0 || aBuffer > 31)
            buffer.push(aBuffer);
        // The bytes that follow and would each be stored in turn, with room for all of them,
        // are read in one piece; the last of them is then the current byte.
        const quint64 limit = counter + qMin(l - qMin(counter, l), static_cast<quint64>(buffer.room()) + 1);
        const quint64 end = byteByByte ? counter : endOfValueRun(counter, limit, terminator);
        if (end - counter > 1 && !byteByByte) {
            buffer.append(bytes + counter, static_cast<int>(end - counter - 1));
            readOnTo(end);
            continue;
        }
        if (!getNextByte())
            return false;
    }
    return true;
}

bool KestParser::copyAltText(ByteBuffer& buffer, bool markEmpty) {
    if (!digOutAlt())
        return true;
    buffer.append(":");
    const signed char terminator = valueTerminator();
    if (markEmpty && aBuffer == terminator)
        buffer.append("no alt text");
    return copyValue(buffer, terminator);
}

std::optional<QString> KestParser::decodeByLadder(const ByteBuffer& buffer) const {
    return TextEncoding::decodeByLadder(buffer.constData(), buffer.measured(), useEncoding);
}

std::optional<QString> KestParser::finishText(const ByteBuffer& buffer) const {
    // ASCII bytes read as themselves in every first rung that keeps ASCII, so their white space
    // can be trimmed before decoding: one string made instead of two. A lone separator trims
    // to nothing either way.
    const int size = buffer.measured();
    if (!byteByByte && TextEncoding::keepsAscii(useEncoding) &&
        TextEncoding::isAscii(buffer.constData(), size)) {
        const char* begin = buffer.constData();
        const char* end = begin + size;
        if (buffer.size() == 1 && size == 1 && isSeparator(*begin))
            return QString();
        while (begin < end && QChar::isSpace(static_cast<uchar>(*begin)))
            ++begin;
        while (end > begin && QChar::isSpace(static_cast<uchar>(end[-1])))
            --end;
        return unescapeEntities(QString::fromLatin1(begin, end - begin));
    }
    std::optional<QString> text = decodeByLadder(buffer);
    if (!text)
        return QString();
    if (buffer.size() == 1 && text->size() == 1 &&
        isSeparator(static_cast<signed char>(text->at(0).unicode())))
        return QString();
    return unescapeEntities(text->trimmed());
}

std::optional<QString> KestParser::getData() {
    if (plaintextmode)
        return QString();
    ByteBuffer text(ByteBuffer::textCap);
    if (lastWasImg) {
        text.append("[img src]");
        if (!copyAltText(text, true))
            return std::nullopt;
    } else {
        while (aBuffer != '<' && !text.full()) {
            // Every byte up to the next '<' is stored: those are taken in one piece.
            const quint64 room =
                counter < l && !byteByByte ? qMin(l - counter, static_cast<quint64>(text.room())) : 0;
            const int run = static_cast<int>(index.next(PageIndex::Lt, counter, counter + room) - counter);
            if (run > 0) {
                text.append(bytes + counter, run);
                readOnTo(counter + run);
                continue;
            }
            if (!getNextByte())
                return std::nullopt;
            if (aBuffer != '<')
                text.push(aBuffer);
        }
        if (aBuffer == '<') {
            lastTagPassed = static_cast<qint32>(counter);
            if (!getNextByte())
                return std::nullopt;
            if (isThisAnImgTag()) {
                text.append("[linked img]");
                if (!copyAltText(text, false))
                    return std::nullopt;
            }
            // Back to the '<' so that the next scan finds this tag again.
            rewindTo(static_cast<qint64>(lastTagPassed) - 1);
        }
    }
    if (text.size() == 0)
        return QString();
    return finishText(text);
}

std::optional<KestDbItem> KestParser::getItem() {
    bool newParent = false;
    std::optional<KestXmlTag> tag;
    while (indent < 4) {
        tag = getTag(false);
        if (!tag)
            return std::nullopt;
        if (!tag->isClosing()) {
            ++indent;
            if (indent == 2)
                grandParent = tag->getData();
            if (indent == 3) {
                parent = tag->getData();
                newParent = true;
            }
        } else {
            --indent;
        }
        if (indent == 0)
            return std::nullopt;
    }
    std::optional<QString> text = getData();
    if (!text)
        return std::nullopt;
    content = *text;
    KestDbItem item;
    item.setData(content);
    item.setName(tag ? tag->getData() : QString());
    item.setParentName(parent);
    item.setGrandParentName(grandParent);
    item.setNewParent(newParent);
    getTag(true);
    --indent;
    return item;
}
