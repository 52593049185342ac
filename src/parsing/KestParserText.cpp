// Charset detection, entity decoding and the byte-level trimming of URL buffers.
#include "parsing/EntityTable.h"
#include "parsing/KestParser.h"
#include "parsing/TextEncodings.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

qsizetype indexIn(const QByteArray& haystack, const char* needle, qsizetype limit) {
    // The match must lie wholly before `limit`.
    const qsizetype at = haystack.indexOf(needle);
    if (at < 0 || at + static_cast<qsizetype>(std::strlen(needle)) > limit)
        return -1;
    return at;
}

bool isCharsetPadding(QChar c) {
    return c == QLatin1Char(' ') || c == QLatin1Char('=') || c == QLatin1Char('"') || c == QLatin1Char('\'');
}

// Digits only, all of them consumed; overflow counts as too large.
std::optional<unsigned> scanNumber(QStringView digits, int base) {
    if (digits.isEmpty())
        return std::nullopt;
    unsigned value = 0;
    for (QChar c : digits) {
        int digit = -1;
        const char16_t u = c.unicode();
        if (u >= '0' && u <= '9')
            digit = u - '0';
        else if (base == 16 && u >= 'a' && u <= 'f')
            digit = u - 'a' + 10;
        else if (base == 16 && u >= 'A' && u <= 'F')
            digit = u - 'A' + 10;
        if (digit < 0)
            return std::nullopt;
        value = value * base + digit;
        if (value > 0xFFFF)
            value = 0x10000;
    }
    return value;
}

struct HtmlEntityView {
    QLatin1StringView escape;
    char16_t unit;
};

// The entity table in the order of its escapes, for a binary search.
const std::vector<HtmlEntityView>& entitiesByEscape() {
    static const std::vector<HtmlEntityView> rows = [] {
        std::vector<HtmlEntityView> sorted;
        for (const HtmlEntity& entity : htmlEntityTable())
            sorted.push_back({QLatin1StringView(entity.escape), entity.unit});
        std::sort(sorted.begin(), sorted.end(), [](const HtmlEntityView& a, const HtmlEntityView& b) {
            return a.escape.compare(b.escape) < 0;
        });
        return sorted;
    }();
    return rows;
}

std::optional<QChar> decodeEscape(QStringView escape) {
    if (escape.at(1) == QLatin1Char('#')) {
        const bool hex = escape.at(2) == QLatin1Char('x') || escape.at(2) == QLatin1Char('X');
        const QStringView digits = hex ? escape.mid(3, escape.size() - 4) : escape.mid(2, escape.size() - 3);
        const std::optional<unsigned> value = scanNumber(digits, hex ? 16 : 10);
        // Only the first plane, and neither 0 nor U+FFFF.
        if (value && *value > 0 && *value < 0xFFFF)
            return QChar(static_cast<char16_t>(*value));
        return std::nullopt;
    }
    // Each escape stands in the table once, so the row found here is the first match in order.
    const std::vector<HtmlEntityView>& rows = entitiesByEscape();
    const auto row = std::lower_bound(
        rows.begin(), rows.end(), escape,
        [](const HtmlEntityView& entity, QStringView text) { return text.compare(entity.escape) > 0; });
    if (row != rows.end() && escape.compare(row->escape) == 0)
        return QChar(row->unit);
    return std::nullopt;
}

} // namespace

std::optional<QString> KestParser::extractCharsetFromHTML(const QByteArray& html) {
    if (html.isEmpty())
        return std::nullopt;
    // Raw bytes, exact case only: "body" or "BODY" limits the search, "charset" or "CHARSET"
    // is looked for before it, and the answer runs to the next '>'.
    qsizetype limit = html.indexOf("body");
    if (limit < 0)
        limit = html.indexOf("BODY");
    if (limit < 0)
        limit = html.size() - 1;
    qsizetype at = indexIn(html, "charset", limit);
    if (at < 0)
        at = indexIn(html, "CHARSET", limit);
    if (at < 0)
        return std::nullopt;
    const qsizetype from = at + 7;
    const qsizetype gt = html.indexOf('>', from);
    if (gt < 0 || gt >= limit)
        return std::nullopt;
    std::optional<QString> text =
        TextEncoding::decode(html.constData() + from, gt - from, TextEncoding::ASCII);
    if (!text)
        return std::nullopt;
    qsizetype begin = 0;
    qsizetype end = text->size();
    while (begin < end && isCharsetPadding(text->at(begin)))
        ++begin;
    while (end > begin && isCharsetPadding(text->at(end - 1)))
        --end;
    return text->mid(begin, end - begin);
}

quint64 KestParser::encodingForCharset(const std::optional<QString>& charset) {
    if (!charset)
        return TextEncoding::Unknown;
    // Case-sensitive substring tests in a fixed order; "2312" only sets a fallback.
    const QString& s = *charset;
    auto has = [&s](const char* part) { return s.contains(QLatin1String(part)); };
    if (has("8859-1") && !has("8859-10"))
        return TextEncoding::ISOLatin1;
    if (has("8859-2"))
        return TextEncoding::ISOLatin2;
    if (has("1252"))
        return TextEncoding::WindowsCP1252;
    if (has("620"))
        return TextEncoding::ISOLatinThai;
    if (has("874"))
        return TextEncoding::DOSThai;
    if (has("Shift_JIS"))
        return TextEncoding::ShiftJIS;
    quint64 fallback = TextEncoding::Unknown;
    if (has("2312"))
        fallback = TextEncoding::DOSChineseSimplif;
    if (has("HZ-GB-2312"))
        return TextEncoding::HZ_GB_2312;
    if (has("2312-80"))
        return TextEncoding::GB_2312_80;
    if (has("Big5"))
        return TextEncoding::Big5;
    return fallback;
}

QString KestParser::unescapeEntities(const QString& text) {
    if (!text.contains(QLatin1Char('&')))
        return text;
    return gtm_stringByUnescapingFromHTML(text);
}

QString KestParser::gtm_stringByUnescapingFromHTML(const QString& text) {
    // From the last '&' backwards, replacing in a copy so positions still to come stay valid.
    // Each escape must close before the '&' handled before it. One pass: "&amp;lt;" gives "&lt;".
    const QChar* chars = text.constData();
    QString result = text;
    qsizetype windowEnd = text.size();
    for (qsizetype amp = windowEnd - 1; amp >= 0; --amp) {
        if (chars[amp] != QLatin1Char('&'))
            continue;
        // Only a ';' that makes an escape of 4 to 10 characters can count: look no further.
        const qsizetype last = qMin(windowEnd, amp + 10);
        qsizetype semicolon = amp + 1;
        while (semicolon < last && chars[semicolon] != QLatin1Char(';'))
            ++semicolon;
        const qsizetype length = semicolon - amp + 1;
        if (semicolon < last && length >= 4) {
            if (std::optional<QChar> unit = decodeEscape(QStringView(chars + amp, length)))
                result.replace(amp, length, *unit);
        }
        windowEnd = amp;
    }
    return result;
}

QString KestParser::addPercentEscapesBrief(const QString& text) {
    QString result = text;
    result.replace(QLatin1Char(' '), QLatin1String("%20"));
    result.replace(QLatin1Char('}'), QLatin1String("%7D"));
    result.replace(QLatin1Char('{'), QLatin1String("%7B"));
    return result;
}

void KestParser::trimThisCharacterFromUrl(char character, char* url) {
    // Only this one byte value goes: callers pass each quote and the space in turn.
    size_t end = std::strlen(url);
    while (end > 0 && url[end - 1] == character)
        --end;
    size_t begin = 0;
    while (begin < end && url[begin] == character)
        ++begin;
    std::memmove(url, url + begin, end - begin);
    url[end - begin] = 0;
}

void KestParser::trimWhitespaceFromUrl(char* url) {
    // Signed: bytes from 0x80 up are below 33 and go with the white space.
    size_t end = std::strlen(url);
    while (end > 0 && static_cast<signed char>(url[end - 1]) < 33)
        --end;
    size_t begin = 0;
    while (begin < end && static_cast<signed char>(url[begin]) < 33)
        ++begin;
    std::memmove(url, url + begin, end - begin);
    url[end - begin] = 0;
}
