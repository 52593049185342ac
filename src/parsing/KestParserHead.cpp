// Head metadata: each value is found by a substring test on the raw text of one tag.
#include "parsing/KestParser.h"

#include "parsing/ParserLog.h"
#include "parsing/TextEncodings.h"

namespace {

char asciiLowerByte(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
}

QString withoutLineEnds(QString text) {
    text.remove(QLatin1Char('\r'));
    text.remove(QLatin1Char('\n'));
    return text;
}

// The value after `word`: delimited by a double quote if one follows anywhere, else by a
// single quote, and running to the next delimiter of the same kind or to the end of the text.
QString quotedValueAfter(const QString& text, QLatin1StringView word) {
    const qsizetype at = text.indexOf(word, 0, Qt::CaseInsensitive);
    if (at < 0)
        return QString();
    const qsizetype from = at + word.size();
    qsizetype open = text.indexOf(QLatin1Char('"'), from);
    QChar delimiter = QLatin1Char('"');
    if (open < 0) {
        open = text.indexOf(QLatin1Char('\''), from);
        delimiter = QLatin1Char('\'');
    }
    if (open < 0)
        return QString();
    const qsizetype close = text.indexOf(delimiter, open + 1);
    return close < 0 ? text.mid(open + 1) : text.mid(open + 1, close - open - 1);
}

} // namespace

// A tag as getTag reads it, for the scans that mostly only test its text. A tag whose bytes are
// ASCII in an encoding that keeps ASCII reads as those bytes, so its tests run on them as
// Latin-1; only other tags are decoded, and a tag that cannot be decoded ends the scan.
class KestParser::ScannedTag {
  public:
    explicit ScannedTag(const KestParser& parser) : asciiKept(TextEncoding::keepsAscii(parser.useEncoding)) {}

    bool read(KestParser& parser) {
        if (!parser.readTag(raw))
            return false;
        plain = asciiKept && raw.ascii;
        if (plain)
            return true;
        std::optional<QString> text = parser.decodeTag(raw.text, raw.size);
        if (!text)
            return false;
        decoded = *text;
        return true;
    }

    bool isClosing() const { return raw.closing; }
    QString text() const { return plain ? QString::fromLatin1(raw.text, raw.size) : decoded; }

    bool contains(QLatin1StringView word) const {
        return plain ? bytes().contains(word, Qt::CaseInsensitive)
                     : decoded.contains(word, Qt::CaseInsensitive);
    }
    // The next two take a lower-case word: on ASCII, Qt's case-insensitive test is then a
    // comparison of each byte in lower case.
    bool equals(QLatin1StringView word) const {
        if (!plain)
            return decoded.compare(word, Qt::CaseInsensitive) == 0;
        return raw.size == word.size() && sameLetters(raw.text, word);
    }
    // `word` found at `at`, case-insensitively, and wholly inside the text.
    bool hasAt(qsizetype at, QLatin1StringView word) const {
        if (!plain) {
            return decoded.size() >= at + word.size() &&
                   QStringView(decoded).sliced(at, word.size()).compare(word, Qt::CaseInsensitive) == 0;
        }
        return raw.size >= at + word.size() && sameLetters(raw.text + at, word);
    }
    bool startsWith(QLatin1StringView word) const {
        return plain ? bytes().startsWith(word) : decoded.startsWith(word);
    }

  private:
    static bool sameLetters(const char* text, QLatin1StringView word) {
        for (qsizetype i = 0; i < word.size(); ++i) {
            const char c = text[i];
            if ((c >= 'A' && c <= 'Z' ? c + 32 : c) != word.data()[i])
                return false;
        }
        return true;
    }
    QLatin1StringView bytes() const { return QLatin1StringView(raw.text, raw.size); }

    const bool asciiKept;
    TagBytes raw;
    bool plain = false;
    QString decoded;
};

namespace {

// The closing head tag, exactly: "</head >" does not end the head.
bool isEndOfHead(const KestParser::ScannedTag& tag) {
    return tag.isClosing() && tag.equals(QLatin1String("head"));
}

bool isEndOfBody(const KestParser::ScannedTag& tag) {
    return tag.isClosing() && tag.equals(QLatin1String("body"));
}

// "h1" first found at position 0 or 1, which is the same as standing at 0 or at 1.
bool startsHeading(const KestParser::ScannedTag& tag) {
    return !tag.isClosing() && (tag.hasAt(0, QLatin1String("h1")) || tag.hasAt(1, QLatin1String("h1")));
}

} // namespace

struct KestParser::HrefScan {
    enum Kind { Value, Zref, Nothing, EndOfFile } kind;
    QString value;
};

QString KestParser::findTitle() {
    // Lower case only, and a later title wins; the search does not stop at the body.
    std::optional<QString> title;
    ScannedTag tag(*this);
    bool more = tag.read(*this);
    while (more) {
        if (tag.startsWith(QLatin1String("title")) && !tag.isClosing()) {
            title = getData();
            if (title)
                *title = withoutLineEnds(*title);
        }
        more = tag.read(*this);
        if (more && isEndOfHead(tag)) {
            endHead = static_cast<qint32>(counter);
            return title.value_or(QString());
        }
    }
    if (title)
        return *title;
    endHead = 0;
    return QString();
}

KestParser::HrefScan KestParser::hrefOfNext(bool (KestParser::*recognise)(), const char* firstLetter) {
    while (counter < l) {
        passTagsNoTestTakes(firstLetter);
        if (!moveIntoNextTag())
            return {HrefScan::Nothing, {}};
        if (!(this->*recognise)() || !moveToStartOfUrl())
            continue;
        const signed char terminator = insideQuotes ? '"' : ' ';
        if (zrefFound)
            return {HrefScan::Zref, QStringLiteral("MCMS zref")};
        // Control bytes are kept here, unlike in the link scanners.
        ByteBuffer value(ByteBuffer::urlCap);
        while (aBuffer != terminator && aBuffer != '"' && aBuffer != '\'' && aBuffer != '>' &&
               !value.full()) {
            value.push(aBuffer);
            if (!getNextByte())
                return {HrefScan::Nothing, {}};
        }
        if (!readOnToTagEnd())
            return {HrefScan::Nothing, {}};
        char* url = value.terminated();
        trimThisCharacterFromUrl('\'', url);
        trimThisCharacterFromUrl('"', url);
        trimWhitespaceFromUrl(url);
        std::optional<QString> text = TextEncoding::decode(url, value.measured(), TextEncoding::ASCII);
        if (!text)
            return {HrefScan::Nothing, {}};
        QString result = unescapeEntities(*text);
        result.replace(QLatin1Char(' '), QLatin1String("%20"));
        return {HrefScan::Value, result};
    }
    qCInfo(lcParser) << "reached end of file";
    return {HrefScan::EndOfFile, {}};
}

std::optional<QString> KestParser::findBaseHref() {
    if (data.isNull()) {
        qCInfo(lcParser) << "returning nil";
        return std::nullopt;
    }
    // The whole document is searched: a base tag in the body counts, the first one wins.
    HrefScan scan = hrefOfNext(&KestParser::isThisABaseTag, "b");
    switch (scan.kind) {
    case HrefScan::Nothing:
        return std::nullopt;
    case HrefScan::EndOfFile:
        return QString();
    case HrefScan::Zref:
        return scan.value;
    case HrefScan::Value:
        break;
    }
    QString& value = scan.value;
    if (value == QLatin1String("/") || value == QLatin1String("//"))
        return QString();
    if (value.startsWith(QLatin1String("//")))
        value.prepend(QLatin1String("http:"));
    // So a relative base such as "images/" becomes "http://images/".
    if (value.size() < 7 && value.size() > 2)
        value.prepend(QLatin1String("http://"));
    else if (!value.contains(QLatin1String("://")) && value.size() > 2)
        value.prepend(QLatin1String("http://"));
    return value;
}

std::optional<QString> KestParser::findNextLinkHref() {
    if (data.isNull()) {
        qCInfo(lcParser) << "returning nil";
        return std::nullopt;
    }
    HrefScan scan = hrefOfNext(&KestParser::isThisALinkTag, "l");
    if (scan.kind == HrefScan::Nothing || scan.kind == HrefScan::EndOfFile)
        return std::nullopt;
    if (scan.kind == HrefScan::Value && scan.value == QLatin1String("/"))
        return QString();
    return scan.value;
}

void KestParser::findKeywordsAndDescription() {
    ScannedTag tag(*this);
    bool more = tag.read(*this);
    while (more) {
        // The tests are not exclusive, and any tag holding "canonical" gives the canonical.
        if (tag.contains(QLatin1String("meta"))) {
            if (tag.contains(QLatin1String("description")) && !tag.contains(QLatin1String("og:description")))
                metadescription = withoutLineEnds(pullOutMetaDescription(tag.text()));
            if (tag.contains(QLatin1String("keywords")))
                keywords = withoutLineEnds(pullOutMetaDescription(tag.text()));
        }
        if (tag.contains(QLatin1String("canonical")))
            canonical = withoutLineEnds(pullOutHref(tag.text()));
        more = tag.read(*this);
        if (more && isEndOfHead(tag))
            return;
    }
}

void KestParser::passTagsNoHeadingTestTakes() {
    // Tags that can neither start a heading nor end the body, and that hold only ASCII so they
    // read as themselves, are passed in one read: the state is then as if each had been read.
    // Stops before "<!", a tag cut by the cap, the page's last bytes and any tag that might count.
    if (byteByByte || aBuffer == '<' || !TextEncoding::keepsAscii(useEncoding))
        return;
    quint64 passed = counter;
    quint64 lastLt = 0;
    for (;;) {
        const quint64 lt = index.next(PageIndex::Lt, passed, l);
        if (lt + 1 >= l || bytes[lt + 1] == '!')
            break;
        quint64 start = lt + 1;
        while (start < l && bytes[start] == '/')
            ++start;
        const quint64 stop = start + qMin(l - start, static_cast<quint64>(ByteBuffer::tagCap));
        const quint64 gt = index.next(PageIndex::Gt, start, stop);
        if (gt == stop || index.next(PageIndex::Nul | PageIndex::High, start, gt) < gt)
            break;
        const char* text = bytes + start;
        const quint64 size = gt - start;
        auto hasAt = [text, size](quint64 at, const char* word) {
            for (quint64 i = 0; word[i]; ++i) {
                if (at + i >= size || asciiLowerByte(text[at + i]) != word[i])
                    return false;
            }
            return true;
        };
        if (hasAt(0, "h1") || hasAt(1, "h1") || ((size == 4 || size == 5) && hasAt(0, "body")))
            break;
        passed = gt + 1;
        lastLt = lt;
    }
    if (passed > counter) {
        readOnTo(passed);
        lastTagPassed = static_cast<qint32>(lastLt + 2);
    }
}

QString KestParser::findHeadings() {
    QStringList list;
    ScannedTag tag(*this);
    bool more = tag.read(*this);
    while (more) {
        if (startsHeading(tag)) {
            QString text;
            while (more && !(tag.isClosing() && tag.contains(QLatin1String("h1")))) {
                const std::optional<QString> piece = getData();
                if (piece && !piece->isEmpty())
                    text += *piece;
                more = tag.read(*this);
            }
            if (text.isEmpty())
                text = QStringLiteral("[empty heading]");
            // A heading over 160 characters is shortened and then never listed.
            if (text.size() <= 160)
                list.append(text);
            else
                text = text.left(159) + QLatin1String("...");
        }
        passTagsNoHeadingTestTakes();
        more = tag.read(*this);
        if (more && isEndOfBody(tag))
            break;
    }
    return list.join(QLatin1String(", "));
}

bool KestParser::headContains(QLatin1StringView word) {
    ScannedTag tag(*this);
    bool more = tag.read(*this);
    while (more) {
        if (tag.contains(QLatin1String("meta")) && tag.contains(word))
            return true;
        more = tag.read(*this);
        if (more && isEndOfHead(tag))
            return false;
    }
    return false;
}

bool KestParser::headContainsNoIndex() {
    return headContains(QLatin1String("noindex"));
}

bool KestParser::headContainsNoFollow() {
    return headContains(QLatin1String("nofollow"));
}

QString KestParser::pullOutMetaDescription(const QString& tagText) {
    return quotedValueAfter(tagText, QLatin1String("content"));
}

QString KestParser::pullOutHref(const QString& tagText) {
    return quotedValueAfter(tagText, QLatin1String("href"));
}
