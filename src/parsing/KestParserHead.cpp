// Head metadata: each value is found by a substring test on the raw text of one tag.
#include "parsing/KestParser.h"

#include "parsing/ParserLog.h"
#include "parsing/TextEncodings.h"

namespace {

// The closing head tag, exactly: "</head >" does not end the head.
bool isEndOfHead(const KestXmlTag& tag) {
    return tag.isClosing() && tag.getData().compare(QLatin1String("head"), Qt::CaseInsensitive) == 0;
}

bool isEndOfBody(const KestXmlTag& tag) {
    return tag.isClosing() && tag.getData().compare(QLatin1String("body"), Qt::CaseInsensitive) == 0;
}

// "h1" first found at position 0 or 1, which is the same as standing at 0 or at 1.
bool startsHeading(const KestXmlTag& tag) {
    if (tag.isClosing())
        return false;
    const QStringView text = tag.getData();
    const auto at = [&text](qsizetype i) {
        return text.size() >= i + 2 && text.mid(i, 2).compare(QLatin1String("h1"), Qt::CaseInsensitive) == 0;
    };
    return at(0) || at(1);
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

struct KestParser::HrefScan {
    enum Kind { Value, Zref, Nothing, EndOfFile } kind;
    QString value;
};

QString KestParser::findTitle() {
    // Lower case only, and a later title wins; the search does not stop at the body.
    std::optional<QString> title;
    std::optional<KestXmlTag> tag = getTag(false);
    while (tag) {
        if (tag->getData().startsWith(QLatin1String("title")) && !tag->isClosing()) {
            title = getData();
            if (title)
                *title = withoutLineEnds(*title);
        }
        tag = getTag(false);
        if (tag && isEndOfHead(*tag)) {
            endHead = static_cast<qint32>(counter);
            return title.value_or(QString());
        }
    }
    if (title)
        return *title;
    endHead = 0;
    return QString();
}

KestParser::HrefScan KestParser::hrefOfNext(bool (KestParser::*recognise)()) {
    while (counter < l) {
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
    HrefScan scan = hrefOfNext(&KestParser::isThisABaseTag);
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
    HrefScan scan = hrefOfNext(&KestParser::isThisALinkTag);
    if (scan.kind == HrefScan::Nothing || scan.kind == HrefScan::EndOfFile)
        return std::nullopt;
    if (scan.kind == HrefScan::Value && scan.value == QLatin1String("/"))
        return QString();
    return scan.value;
}

void KestParser::findKeywordsAndDescription() {
    std::optional<KestXmlTag> tag = getTag(false);
    while (tag) {
        // The tests are not exclusive, and any tag holding "canonical" gives the canonical.
        if (tag->contains(QLatin1String("meta"))) {
            if (tag->contains(QLatin1String("description")) &&
                !tag->contains(QLatin1String("og:description")))
                metadescription = withoutLineEnds(pullOutMetaDescription(tag->getData()));
            if (tag->contains(QLatin1String("keywords")))
                keywords = withoutLineEnds(pullOutMetaDescription(tag->getData()));
        }
        if (tag->contains(QLatin1String("canonical")))
            canonical = withoutLineEnds(pullOutHref(tag->getData()));
        tag = getTag(false);
        if (tag && isEndOfHead(*tag))
            return;
    }
}

QString KestParser::findHeadings() {
    QStringList list;
    std::optional<KestXmlTag> tag = getTag(false);
    while (tag) {
        if (startsHeading(*tag)) {
            QString text;
            while (tag && !(tag->isClosing() && tag->contains(QLatin1String("h1")))) {
                const std::optional<QString> piece = getData();
                if (piece && !piece->isEmpty())
                    text += *piece;
                tag = getTag(false);
            }
            if (text.isEmpty())
                text = QStringLiteral("[empty heading]");
            // A heading over 160 characters is shortened and then never listed.
            if (text.size() <= 160)
                list.append(text);
            else
                text = text.left(159) + QLatin1String("...");
        }
        tag = getTag(false);
        if (tag && isEndOfBody(*tag))
            break;
    }
    return list.join(QLatin1String(", "));
}

template <typename Test> bool KestParser::headContains(Test test) {
    std::optional<KestXmlTag> tag = getTag(false);
    while (tag) {
        if (tag->contains(QLatin1String("meta")) && test(*tag))
            return true;
        tag = getTag(false);
        if (tag && isEndOfHead(*tag))
            return false;
    }
    return false;
}

bool KestParser::headContainsNoIndex() {
    return headContains([](const KestXmlTag& tag) { return tag.contains(QLatin1String("noindex")); });
}

bool KestParser::headContainsNoFollow() {
    return headContains([](const KestXmlTag& tag) { return tag.contains(QLatin1String("nofollow")); });
}

QString KestParser::pullOutMetaDescription(const QString& tagText) {
    return quotedValueAfter(tagText, QLatin1String("content"));
}

QString KestParser::pullOutHref(const QString& tagText) {
    return quotedValueAfter(tagText, QLatin1String("href"));
}
