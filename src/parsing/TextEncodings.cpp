#include "parsing/TextEncodings.h"

#include <QSysInfo>
#include <QVarLengthArray>
#include <cerrno>
#include <cstring>
#include <iconv.h>
#include <map>

namespace TextEncoding {

namespace {

struct Row {
    quint64 id;
    const char* standard;
    const char* iconvName;
    bool asciiCompatible;
};

// Shift_JIS goes through Microsoft's code page 932, which is what pages labelled Shift_JIS use:
// glibc's strict SHIFT_JIS reads 0x5C as a yen sign, which would break every path with a backslash.
const Row rows[] = {
    {ASCII, "US-ASCII", "ASCII", true},
    {UTF8, "UTF-8", "UTF-8", true},
    {ISOLatin1, "ISO-8859-1", "ISO-8859-1", true},
    {ShiftJIS, "Shift_JIS", "CP932", true},
    {ISOLatin2, "ISO-8859-2", "ISO-8859-2", true},
    {Unicode, "UTF-16", "UTF-16", false},
    {WindowsCP1252, "windows-1252", "CP1252", true},
    {ISOLatinThai, "ISO-8859-11", "ISO-8859-11", true},
    {DOSThai, "windows-874", "CP874", true},
    {DOSChineseSimplif, "GBK", "GBK", true},
    {GB_2312_80, "GB2312", "EUC-CN", true},
    {Big5, "Big5", "BIG5", true},
    {HZ_GB_2312, "HZ-GB-2312", nullptr, false},
};

const Row* rowFor(quint64 id) {
    for (const Row& row : rows) {
        if (row.id == id)
            return &row;
    }
    return nullptr;
}

// One open converter per encoding and thread; opening one costs far more than a conversion.
class Converters {
  public:
    ~Converters() {
        for (auto& [name, cd] : open)
            iconv_close(cd);
    }
    iconv_t get(const char* from) {
        auto it = open.find(from);
        if (it != open.end())
            return it->second;
        const char* to = QSysInfo::ByteOrder == QSysInfo::LittleEndian ? "UTF-16LE" : "UTF-16BE";
        iconv_t cd = iconv_open(to, from);
        open.emplace(from, cd);
        return cd;
    }

  private:
    std::map<const char*, iconv_t> open;
};

std::optional<QString> decodeWithIconv(const char* bytes, qsizetype length, const char* from) {
    thread_local Converters converters;
    iconv_t cd = converters.get(from);
    if (cd == reinterpret_cast<iconv_t>(-1))
        return std::nullopt;
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
    QString out(length + 4, Qt::Uninitialized);
    char* in = const_cast<char*>(bytes);
    size_t inLeft = static_cast<size_t>(length);
    qsizetype used = 0;
    for (;;) {
        char* outPtr = reinterpret_cast<char*>(out.data() + used);
        size_t outLeft = static_cast<size_t>(out.size() - used) * 2;
        const size_t before = outLeft;
        const size_t rc = iconv(cd, &in, &inLeft, &outPtr, &outLeft);
        used += static_cast<qsizetype>((before - outLeft) / 2);
        if (rc != static_cast<size_t>(-1))
            break;
        if (errno != E2BIG)
            return std::nullopt; // an undefined or incomplete sequence
        out.resize(out.size() * 2 + 16);
    }
    // A stateful encoding may still owe its shift back to the initial state.
    char* outPtr = reinterpret_cast<char*>(out.data() + used);
    size_t outLeft = static_cast<size_t>(out.size() - used) * 2;
    const size_t before = outLeft;
    if (iconv(cd, nullptr, nullptr, &outPtr, &outLeft) == static_cast<size_t>(-1))
        return std::nullopt;
    used += static_cast<qsizetype>((before - outLeft) / 2);
    out.truncate(used);
    return out;
}

// HZ (RFC 1843) is missing from glibc: 7-bit GB 2312 between "~{" and "~}".
std::optional<QString> decodeHz(const char* bytes, qsizetype length) {
    QString out;
    QVarLengthArray<char, 256> gb;
    bool inGb = false;
    for (qsizetype i = 0; i < length; ++i) {
        const unsigned char c = static_cast<unsigned char>(bytes[i]);
        if (c >= 0x80)
            return std::nullopt;
        if (c == '~') {
            if (i + 1 >= length)
                return std::nullopt;
            const char next = bytes[++i];
            if (!inGb && next == '~')
                out += QLatin1Char('~');
            else if (!inGb && next == '\n')
                continue;
            else if (!inGb && next == '{')
                inGb = true;
            else if (inGb && next == '}')
                inGb = false;
            else
                return std::nullopt;
            continue;
        }
        if (!inGb) {
            out += QLatin1Char(static_cast<char>(c));
            continue;
        }
        if (i + 1 >= length)
            return std::nullopt;
        gb.clear();
        gb.append(static_cast<char>(c | 0x80));
        gb.append(static_cast<char>(static_cast<unsigned char>(bytes[++i]) | 0x80));
        std::optional<QString> han = decodeWithIconv(gb.constData(), gb.size(), "EUC-CN");
        if (!han)
            return std::nullopt;
        out += *han;
    }
    if (inGb)
        return std::nullopt;
    return out;
}

} // namespace

bool isAscii(const char* bytes, qsizetype length) {
    qsizetype i = 0;
    for (; i + 8 <= length; i += 8) {
        quint64 chunk;
        std::memcpy(&chunk, bytes + i, 8);
        if (chunk & 0x8080808080808080ull)
            return false;
    }
    for (; i < length; ++i) {
        if (static_cast<unsigned char>(bytes[i]) >= 0x80)
            return false;
    }
    return true;
}

bool keepsAscii(quint64 encoding) {
    const Row* row = rowFor(encoding);
    return !row || row->asciiCompatible;
}

const char* standardName(quint64 encoding) {
    const Row* row = rowFor(encoding);
    return row ? row->standard : nullptr;
}

quint64 encodingOfContentType(const QString& contentType) {
    const qsizetype at = contentType.indexOf(QLatin1String("charset="), 0, Qt::CaseInsensitive);
    if (at < 0)
        return Unknown;
    QString name = contentType.mid(at + 8).section(QLatin1Char(';'), 0, 0).trimmed();
    name.remove(QLatin1Char('"'));
    return encodingForStandardName(name);
}

quint64 encodingForStandardName(const QString& name) {
    const QString wanted = name.trimmed().toLower();
    struct Alias {
        const char* name;
        quint64 id;
    };
    static const Alias aliases[] = {
        {"us-ascii", ASCII},
        {"ascii", ASCII},
        {"utf-8", UTF8},
        {"utf8", UTF8},
        {"iso-8859-1", ISOLatin1},
        {"latin1", ISOLatin1},
        {"shift_jis", ShiftJIS},
        {"sjis", ShiftJIS},
        {"windows-31j", ShiftJIS},
        {"iso-8859-2", ISOLatin2},
        {"utf-16", Unicode},
        {"windows-1252", WindowsCP1252},
        {"cp1252", WindowsCP1252},
        {"iso-8859-11", ISOLatinThai},
        {"tis-620", ISOLatinThai},
        {"windows-874", DOSThai},
        {"gbk", DOSChineseSimplif},
        {"cp936", DOSChineseSimplif},
        {"gb2312", GB_2312_80},
        {"big5", Big5},
        {"hz-gb-2312", HZ_GB_2312},
    };
    for (const Alias& alias : aliases) {
        if (wanted == QLatin1String(alias.name))
            return alias.id;
    }
    return Unknown;
}

bool isValidUtf8(const char* bytes, qsizetype length) {
    const auto* p = reinterpret_cast<const unsigned char*>(bytes);
    const auto* end = p + length;
    while (p < end) {
        // Eight ASCII bytes at a time.
        while (end - p >= 8) {
            quint64 chunk;
            std::memcpy(&chunk, p, 8);
            if (chunk & 0x8080808080808080ull)
                break;
            p += 8;
        }
        if (p == end)
            break;
        const unsigned char c = *p;
        if (c < 0x80) {
            ++p;
            continue;
        }
        int extra;
        unsigned minimum;
        unsigned value;
        if (c >= 0xC2 && c <= 0xDF) {
            extra = 1, minimum = 0x80, value = c & 0x1F;
        } else if (c >= 0xE0 && c <= 0xEF) {
            extra = 2, minimum = 0x800, value = c & 0x0F;
        } else if (c >= 0xF0 && c <= 0xF4) {
            extra = 3, minimum = 0x10000, value = c & 0x07;
        } else {
            return false;
        }
        if (end - p <= extra)
            return false;
        for (int i = 1; i <= extra; ++i) {
            if ((p[i] & 0xC0) != 0x80)
                return false;
            value = (value << 6) | (p[i] & 0x3F);
        }
        if (value < minimum || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF))
            return false;
        p += extra + 1;
    }
    return true;
}

std::optional<QString> decode(const char* bytes, qsizetype length, quint64 encoding) {
    const Row* row = rowFor(encoding);
    if (!row)
        return std::nullopt;
    switch (encoding) {
    case ISOLatin1:
        return QString::fromLatin1(bytes, length);
    case UTF8:
        if (isAscii(bytes, length))
            return QString::fromLatin1(bytes, length);
        if (!isValidUtf8(bytes, length))
            return std::nullopt;
        return QString::fromUtf8(bytes, length);
    case ASCII:
        if (!isAscii(bytes, length))
            return std::nullopt;
        return QString::fromLatin1(bytes, length);
    case HZ_GB_2312:
        return decodeHz(bytes, length);
    default:
        break;
    }
    if (row->asciiCompatible && isAscii(bytes, length))
        return QString::fromLatin1(bytes, length);
    return decodeWithIconv(bytes, length, row->iconvName);
}

std::optional<QString> decodeByLadder(const char* bytes, qsizetype length, quint64 useEncoding) {
    if (useEncoding != Unknown) {
        if (auto text = decode(bytes, length, useEncoding))
            return text;
    }
    for (quint64 rung : {UTF8, ISOLatin1, Unicode, ASCII}) {
        if (auto text = decode(bytes, length, rung))
            return text;
    }
    return std::nullopt;
}

} // namespace TextEncoding
