// The link walk: which markup counts as a link, and the text shown for it.
#include "parsing/KestParser.h"

#include "parsing/ParserLog.h"
#include "parsing/TextEncodings.h"

#include <cstring>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

signed char asciiLower(signed char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<signed char>(c + 32) : c;
}

bool isSeparator(signed char c) {
    return c == ' ' || c == '\r' || c == '\n' || c == '\t';
}

bool isLetterA(signed char c) {
    return c == 'a' || c == 'A';
}

void trimQuotesAndSpaces(char* url) {
    KestParser::trimThisCharacterFromUrl('\'', url);
    KestParser::trimThisCharacterFromUrl('"', url);
    KestParser::trimThisCharacterFromUrl(' ', url);
}

bool nofollowAt(const char* p) {
    static const char word[] = "nofollow";
    for (int i = 0; i < 8; ++i) {
        if (asciiLower(static_cast<signed char>(p[i])) != word[i])
            return false;
    }
    return true;
}

// Case-insensitive, at every position in turn.
bool containsNofollowByBytes(const char* begin, const char* end) {
    for (const char* p = begin; end - p >= 8; ++p) {
        if (nofollowAt(p))
            return true;
    }
    return false;
}

bool containsNofollow(const char* begin, const char* end) {
    const char* p = begin;
#ifdef __SSE2__
    // Only where "no" starts, in either case, is the word compared: sixteen places at a time.
    // Setting the case bit turns 'N' into 'n' and 'O' into 'o', and no other byte into either.
    const __m128i caseBit = _mm_set1_epi8(0x20);
    for (; end - p >= 17; p += 16) {
        const __m128i here = _mm_or_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)), caseBit);
        const __m128i after = _mm_or_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 1)), caseBit);
        unsigned starts = static_cast<unsigned>(_mm_movemask_epi8(_mm_and_si128(
            _mm_cmpeq_epi8(here, _mm_set1_epi8('n')), _mm_cmpeq_epi8(after, _mm_set1_epi8('o')))));
        for (; starts; starts &= starts - 1) {
            const char* at = p + __builtin_ctz(starts);
            if (end - at >= 8 && nofollowAt(at))
                return true;
        }
    }
#endif
    return containsNofollowByBytes(p, end);
}

std::optional<QString> decodeAscii(ByteBuffer& buffer) {
    return TextEncoding::decode(buffer.constData(), buffer.measured(), TextEncoding::ASCII);
}

} // namespace

std::optional<QString> KestParser::getNextHrefTrim(bool checkImages, bool trim) {
    if (data.isNull()) {
        qCInfo(lcParser) << "getNextHref returning nil (no data)";
        return std::nullopt;
    }
    if (plaintextmode)
        return getNextHttp();
    if (xmlmode)
        return getNextXml();

    while (counter < l) {
        passTagsNoTestTakes("asfi");
        if (!moveIntoNextTag())
            return std::nullopt;
        lastWasImg = false;
        lastWasFrame = false;
        // Each test below fails at once, reading nothing, unless the tag starts with a space or
        // with the first letter of "a", "script", "frame" or "img".
        const signed char first = asciiLower(aBuffer);
        if (!byteByByte && first != ' ' && first != 'a' && first != 's' && first != 'f' && first != 'i')
            continue;

        // The tests run in this order, and a test that fails after consuming letters hands
        // the rest of the name to the next one.
        if (isThisAnATag()) {
            if (!followNofollow)
                nofollow = false;
            else if (headContainsNofollow)
                nofollow = true;
            else
                nofollow = isThisNofollow();
            if (!moveToStartOfUrl())
                continue;
            const signed char terminator = valueTerminator();
            if (zrefFound)
                return QStringLiteral("MCMS zref");
            ByteBuffer value(ByteBuffer::urlCap);
            if (!copyValue(value, terminator) || !readOnToTagEnd())
                return std::nullopt;
            if (trim)
                trimQuotesAndSpaces(value.terminated());
            return unescapeEntities(decodeByLadder(value).value_or(QString()));
        }
        if (isThisAScriptTag()) {
            if (!skipScript())
                return std::nullopt;
            continue;
        }
        if (isThisAFrameTag()) {
            if (!moveToStartOfSrc())
                continue;
            ByteBuffer value(ByteBuffer::urlCap);
            if (!copyValue(value, valueTerminator()) || !readOnToTagEnd())
                return std::nullopt;
            if (trim)
                trimQuotesAndSpaces(value.terminated());
            // Frames get one decoding step only, and keep their entities.
            std::optional<QString> url = TextEncoding::decode(value.constData(), value.measured(),
                                                              useEncoding ? useEncoding : TextEncoding::UTF8);
            if (!url)
                return std::nullopt;
            url->replace(QLatin1Char(' '), QLatin1String("%20"));
            lastWasFrame = true;
            return url;
        }
        if (isThisAnImgTag() && checkImages) {
            if (!moveToStartOfSrc())
                continue;
            // The cursor stays on the terminator, so that getLinkText finds an alt behind it.
            ByteBuffer value(ByteBuffer::urlCap);
            if (!copyValue(value, valueTerminator()))
                return std::nullopt;
            if (trim)
                trimQuotesAndSpaces(value.terminated());
            lastWasImg = true;
            return unescapeEntities(decodeByLadder(value).value_or(QString()));
        }
    }
    return std::nullopt;
}

bool KestParser::skipScript() {
    // A comment inside the script clears the flag when it closes, so the rest of the script
    // counts for words; that is how the counts have always come out.
    isScriptOrComment = true;
    do {
        if (!moveIntoNextTag())
            return false;
    } while (!isThisEndScriptTag());
    isScriptOrComment = false;
    return true;
}

bool KestParser::isThisNofollow() {
    // The whole rest of the tag is searched, and bytes that are not UTF-8 count as nofollow.
    // Without a '>' the look ends at the end of the data.
    const quint64 from = qMin(counter, l);
    quint64 to = from;
    if (byteByByte) {
        while (to < l && bytes[to] != '>')
            ++to;
        if (!TextEncoding::isValidUtf8(bytes + from, static_cast<qsizetype>(to - from)))
            return true;
        return containsNofollowByBytes(bytes + from, bytes + to);
    }
    to = index.next(PageIndex::Gt, from, l);
    const bool ascii = index.next(PageIndex::High, from, to) == to;
    if (!ascii && !TextEncoding::isValidUtf8(bytes + from, static_cast<qsizetype>(to - from)))
        return true;
    return containsNofollow(bytes + from, bytes + to);
}

bool KestParser::moveToStartOfUrl() {
    insideQuotes = false;
    insideSingleQuotes = false;
    zrefFound = false;
    // The attribute must follow a byte of 32 or less (signed), so "data-href" and
    // `class="x"href` never match, while "href" inside another attribute's value does.
    signed char previous = aBuffer;
    for (;;) {
        while (aBuffer != 'h' && aBuffer != 'H' && aBuffer != 'z' && aBuffer != 'Z') {
            previous = aBuffer;
            if (!getNextByte() || aBuffer == '>')
                return false;
        }
        zrefFound = aBuffer == 'z' || aBuffer == 'Z';
        if (!getNextByte() || aBuffer == '>')
            return false;
        if (previous > 32)
            continue;
        if (asciiLower(aBuffer) != 'r')
            continue;
        if (!getNextByte() || aBuffer == '>')
            return false;
        if (asciiLower(aBuffer) != 'e')
            continue;
        if (!getNextByte() || aBuffer == '>')
            return false;
        if (asciiLower(aBuffer) != 'f')
            continue;
        break;
    }
    if (!getNextByte() || aBuffer == '>')
        return false;
    return skipToValueStart();
}

bool KestParser::skipToValueStart() {
    // No '=' is needed: whatever follows the name is the value.
    for (;;) {
        if (aBuffer == '"') {
            if (insideQuotes)
                return true;
            insideQuotes = true;
        } else if (aBuffer == '\'') {
            if (insideSingleQuotes)
                return true;
            insideSingleQuotes = true;
        } else if (aBuffer != ' ' && aBuffer != '=' && aBuffer != '\n' && aBuffer != '\r') {
            return true;
        }
        if (!getNextByte())
            return false;
    }
}

bool KestParser::moveToStartOfSrc() {
    insideQuotes = false;
    insideSingleQuotes = false;
    zrefFound = false;
    // Any "src" counts, "data-src" and "srcset" included.
    for (;;) {
        while (aBuffer != 's' && aBuffer != 'S') {
            if (!getNextByte() || aBuffer == '>')
                return false;
        }
        if (!getNextByte() || aBuffer == '>')
            return false;
        if (asciiLower(aBuffer) != 'r')
            continue;
        if (!getNextByte() || aBuffer == '>')
            return false;
        if (asciiLower(aBuffer) != 'c')
            continue;
        break;
    }
    if (!getNextByte())
        return false;
    while (aBuffer != '=') {
        if (aBuffer == '>' || !getNextByte())
            return false;
    }
    if (!getNextByte())
        return false;
    for (;;) {
        if (aBuffer == '"') {
            insideQuotes = true;
            return getNextByte();
        }
        if (aBuffer == '\'') {
            insideSingleQuotes = true;
            return getNextByte();
        }
        if (aBuffer != ' ')
            return aBuffer != '>';
        if (!getNextByte())
            return false;
    }
}

bool KestParser::digOutAlt() {
    insideQuotes = false;
    insideSingleQuotes = false;
    // The byte the search starts on is not tested for '>': after an unquoted src that ended on
    // the tag's '>', the search runs on into the text behind the tag.
    for (;;) {
        while (!isLetterA(aBuffer)) {
            if (!getNextByte() || aBuffer == '>')
                return false;
        }
        if (!getNextByte())
            return false;
        if (asciiLower(aBuffer) != 'l')
            continue;
        if (!getNextByte() || aBuffer == '>')
            return false;
        if (asciiLower(aBuffer) != 't')
            continue;
        if (!getNextByte())
            return false;
        break;
    }
    // Only a quoted value is found.
    while (aBuffer == ' ' || aBuffer == '=' || aBuffer == '"' || aBuffer == '\'') {
        if (aBuffer == '"') {
            insideQuotes = true;
            return getNextByte();
        }
        if (aBuffer == '\'') {
            insideSingleQuotes = true;
            return getNextByte();
        }
        if (!getNextByte())
            return false;
    }
    return false;
}

std::optional<QString> KestParser::getLinkText() {
    if (plaintextmode || xmlmode || lastWasFrame)
        return QString();
    ByteBuffer text(ByteBuffer::textCap);
    std::optional<qint64> restart;
    if (lastWasImg) {
        text.append("[img alt]");
        if (!copyAltText(text, true))
            return std::nullopt;
    } else {
        // Three detectors look at every byte inside brackets, attribute values included:
        // "/a" closes the link, "img" is a linked image, "a" and a separator a new anchor.
        int closeSeen = 0;
        int imgSeen = 0;
        int openSeen = 0;
        bool stop = false;
        while (!stop && !text.full()) {
            if (!insideBrackets) {
                // Up to the next bracket no detector can fire and every byte is stored: those
                // are taken in one piece.
                const int run = textBeforeBracket(text.room());
                if (run > 0) {
                    text.append(bytes + counter, run);
                    readOnTo(counter + static_cast<quint64>(run));
                    closeSeen = 0;
                    imgSeen = 0;
                    openSeen = 0;
                    continue;
                }
            }
            if (!getNextByte())
                return std::nullopt;
            const signed char byte = aBuffer;
            const bool inside = insideBrackets;

            if (byte == '/' && inside)
                closeSeen = 1;
            else if (closeSeen == 1 && isLetterA(byte) && inside)
                stop = true;
            else
                closeSeen = 0;

            const signed char lower = asciiLower(byte);
            if (lower == 'i' && inside)
                imgSeen = 1;
            else if (imgSeen == 1 && lower == 'm' && inside)
                imgSeen = 2;
            else if (imgSeen == 2 && lower == 'g' && inside)
                imgSeen = 3;
            else
                imgSeen = 0;
            if (imgSeen == 3) {
                stop = true;
                // Back before the image afterwards, so that the walk meets it again.
                restart = static_cast<qint64>(counter) - 5;
                text.append("[linked img]");
                if (!copyAltText(text, true))
                    return std::nullopt;
            }

            if (isLetterA(byte) && inside) {
                openSeen = 1;
            } else if (openSeen == 1 && isSeparator(byte) && inside) {
                stop = true;
                rewindTo(static_cast<qint64>(counter) - 3); // the '<' of the new anchor
            } else {
                openSeen = 0;
            }

            if (imgSeen != 3 && !inside && byte != '<' && byte != '>')
                text.push(byte);
        }
    }
    if (restart)
        rewindTo(*restart);
    if (text.size() == 0)
        return QString();
    return finishText(text);
}

std::optional<QString> KestParser::getNextHttp() {
    if (!getNextByte())
        return std::nullopt;
    while (aBuffer <= 32 || aBuffer == ',') {
        if (!getNextByte())
            return std::nullopt;
    }
    ByteBuffer token(ByteBuffer::urlCap);
    while (aBuffer > 32 && aBuffer != ',' && !token.full()) {
        token.push(aBuffer);
        if (!getNextByte())
            aBuffer = 0;
    }
    KestParser::trimThisCharacterFromUrl('\'', token.terminated());
    KestParser::trimThisCharacterFromUrl('"', token.terminated());
    std::optional<QString> url = decodeAscii(token);
    if (!url)
        return std::nullopt;
    QString result = unescapeEntities(*url);
    result.replace(QLatin1Char(' '), QLatin1String("%20"));
    return result;
}

std::optional<QString> KestParser::getNextXml() {
    std::optional<QString> address;
    bool found = false;
    std::optional<KestXmlTag> tag = getTag(false);
    while (tag && !found) {
        qCInfo(lcParser).noquote() << (tag->isClosing() ? QStringLiteral("got closing tag %1")
                                                        : QStringLiteral("got opening tag %1"))
                                          .arg(tag->getData());
        if (tag->getData().compare(QLatin1String("loc"), Qt::CaseInsensitive) == 0 && !tag->isClosing()) {
            qCInfo(lcParser) << "got loc";
            address = getData();
            if (address) {
                address->remove(QLatin1Char('\r'));
                address->remove(QLatin1Char('\n'));
            }
            found = true;
        }
        // After the address this reads its closing tag.
        tag = getTag(false);
    }
    if (!found)
        return std::nullopt;
    qCInfo(lcParser).noquote()
        << QStringLiteral("returning %1").arg(address.value_or(QStringLiteral("(null)")));
    return address;
}

std::optional<QString> KestParser::nextSrcOf(bool (KestParser::*recognise)()) {
    while (counter < l) {
        if (!moveIntoNextTag())
            return std::nullopt;
        if (!(this->*recognise)() || !moveToStartOfSrc())
            continue;
        ByteBuffer value(ByteBuffer::urlCap);
        if (!copyValue(value, valueTerminator()) || !readOnToTagEnd())
            return std::nullopt;
        trimQuotesAndSpaces(value.terminated());
        std::optional<QString> url = decodeAscii(value);
        if (!url)
            return std::nullopt;
        QString result = unescapeEntities(*url);
        result.replace(QLatin1Char(' '), QLatin1String("%20"));
        // Set for scripts too, so a following getData reports "[img src]".
        lastWasImg = true;
        return result;
    }
    return std::nullopt;
}

std::optional<QString> KestParser::getNextImg() {
    if (data.isNull()) {
        qCInfo(lcParser) << "getNextHref returning nil (no data)";
        return std::nullopt;
    }
    return nextSrcOf(&KestParser::isThisAnImgTag);
}

std::optional<QString> KestParser::getNextScriptSrc() {
    if (data.isNull()) {
        qCInfo(lcParser) << "getNextScriptSrc returning nil (no data)";
        return std::nullopt;
    }
    return nextSrcOf(&KestParser::isThisAScriptTag);
}
