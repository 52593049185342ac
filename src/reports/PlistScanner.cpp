#include "reports/PlistScanner.h"

#include <QIODevice>
#include <QStringDecoder>
#include <algorithm>
#include <cstring>

namespace {

// Bytes read at a time; a unit larger than what is in memory doubles it.
constexpr qsizetype chunk = 1 << 20;
// Values nested deeper than this are refused: a hostile file would otherwise run the stack out.
constexpr int maxDepth = 512;

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// The bytes that end the plain run of a text.
struct Specials {
    bool table[256] = {};
    constexpr Specials() { table['<'] = table['&'] = table['\r'] = true; }
};
constexpr Specials specials;

bool isSpecial(char c) {
    return specials.table[static_cast<unsigned char>(c)];
}

bool startsWith(const char* at, const char* end, const char* prefix) {
    const qsizetype n = qsizetype(std::strlen(prefix));
    return end - at >= n && std::memcmp(at, prefix, size_t(n)) == 0;
}

QByteArrayView trimmed(QByteArrayView text) {
    while (!text.isEmpty() && isSpace(text.front()))
        text = text.sliced(1);
    while (!text.isEmpty() && isSpace(text.back()))
        text.chop(1);
    return text;
}

// The encoding a file is in, when it is not UTF-8: from a byte-order mark, the first
// characters of UTF-16 without one, or the XML declaration. Empty for UTF-8.
QByteArray declaredEncoding(QByteArrayView head) {
    if (head.startsWith("\xFF\xFE") || (head.size() > 1 && head[0] == '<' && head[1] == 0))
        return "UTF-16LE";
    if (head.startsWith("\xFE\xFF") || (head.size() > 1 && head[0] == 0 && head[1] == '<'))
        return "UTF-16BE";
    if (!head.startsWith("<?xml"))
        return {};
    const qsizetype close = head.indexOf("?>");
    const QByteArrayView declaration = head.first(close < 0 ? head.size() : close);
    const qsizetype at = declaration.indexOf("encoding");
    if (at < 0)
        return {};
    qsizetype open = declaration.indexOf('=', at) + 1;
    while (open > 0 && open < declaration.size() && isSpace(declaration[open]))
        ++open;
    if (open <= 0 || open >= declaration.size() || (declaration[open] != '"' && declaration[open] != '\''))
        return {};
    const qsizetype stop = declaration.indexOf(declaration[open], open + 1);
    const QByteArray name = declaration.sliced(open + 1, (stop < 0 ? declaration.size() : stop) - open - 1)
                                .toByteArray()
                                .toLower();
    return name == "utf-8" || name == "utf8" || name == "us-ascii" ? QByteArray() : name;
}

} // namespace

PlistScanner::PlistScanner(QIODevice& device) : device(device) {}

bool PlistScanner::start() {
    if (!refill(0))
        return false;
    if (QByteArrayView(p, end - p).startsWith("\xEF\xBB\xBF"))
        p += 3;
    const QByteArray encoding = declaredEncoding(QByteArrayView(p, end - p));
    if (encoding.isEmpty())
        return true;
    // Rare enough to be read whole and turned into UTF-8 before scanning.
    QStringDecoder decoder(encoding.constData());
    if (!decoder.isValid())
        return fail(QString("the encoding \"%1\" is not known").arg(QString::fromLatin1(encoding)));
    const QString text = decoder(buffer + device.readAll());
    buffer = text.toUtf8();
    atEof = true;
    p = buffer.constData();
    end = p + buffer.size();
    if (decoder.hasError())
        return fail(QString("bytes that are not %1").arg(QString::fromLatin1(encoding)));
    return true;
}

bool PlistScanner::refill(qsizetype mark) {
    linesBefore += std::count(buffer.constBegin(), buffer.constBegin() + mark, '\n');
    buffer.remove(0, mark);
    const qsizetype kept = buffer.size();
    const qsizetype target = std::max(chunk, 2 * kept);
    buffer.resize(target);
    qsizetype filled = kept;
    bool readFailed = false;
    while (filled < target) {
        const qint64 got = device.read(buffer.data() + filled, target - filled);
        if (got <= 0) {
            atEof = true;
            readFailed = got < 0;
            break;
        }
        filled += qsizetype(got);
    }
    buffer.resize(filled);
    p = buffer.constData();
    end = p + filled;
    shortInput = false;
    return !readFailed || fail(QString("the file can't be read: %1").arg(device.errorString()));
}

bool PlistScanner::have(qsizetype n) {
    if (end - p >= n)
        return true;
    if (atEof)
        return fail(QStringLiteral("the file ends early"));
    shortInput = true;
    return false;
}

bool PlistScanner::shortOf(qsizetype n) {
    shortInput = end - p < n && !atEof;
    return shortInput;
}

bool PlistScanner::tag(Tag& tag) {
    for (;;) {
        while (p < end && isSpace(*p))
            ++p;
        if (!have(2))
            return false;
        if (*p != '<')
            return fail(QStringLiteral("text where a tag belongs"));
        if (p[1] != '!' && p[1] != '?')
            break;
        if (!skipMarkup())
            return false;
    }
    const char* q = p + 1;
    tag.closing = *q == '/';
    if (tag.closing)
        ++q;
    const char* name = q;
    while (q < end && !isSpace(*q) && *q != '/' && *q != '>')
        ++q;
    const char* nameEnd = q;
    // Attributes (only the root has one) are passed over; a quoted value may hold '>'.
    char quote = 0;
    for (; q < end && (quote || *q != '>'); ++q) {
        if (quote && *q == quote)
            quote = 0;
        else if (!quote && (*q == '"' || *q == '\''))
            quote = *q;
    }
    if (q == end)
        return have(end - p + 1);
    if (nameEnd == name)
        return fail(QStringLiteral("a tag without a name"));
    tag.name = QByteArrayView(name, nameEnd - name);
    tag.empty = !tag.closing && q[-1] == '/';
    p = q + 1;
    return true;
}

// Comments, processing instructions and the doctype (with its internal subset, if any).
bool PlistScanner::skipMarkup() {
    if (shortOf(9))
        return false;
    if (p[1] == '?')
        return skipPast("?>");
    if (startsWith(p, end, "<!--"))
        return skipPast("-->");
    if (startsWith(p, end, "<![CDATA["))
        return fail(QStringLiteral("character data where a tag belongs"));
    const char* q = p;
    while (q < end && *q != '>' && *q != '[')
        ++q;
    if (q < end && *q == '[') {
        p = q;
        if (!skipPast("]"))
            return false;
    }
    return skipPast(">");
}

bool PlistScanner::skipPast(const char* terminator) {
    const qsizetype at = QByteArrayView(p, end - p).indexOf(terminator);
    if (at < 0)
        return have(end - p + 1);
    p += at + qsizetype(std::strlen(terminator));
    return true;
}

bool PlistScanner::content(QByteArrayView name, QByteArrayView& text) {
    // Most texts are plain and end in their own end tag: handed out where they lie.
    const char* q = p;
    while (q < end && !isSpecial(*q))
        ++q;
    const qsizetype n = name.size();
    if (end - q >= n + 3 && q[0] == '<' && q[1] == '/' && std::memcmp(q + 2, name.data(), size_t(n)) == 0 &&
        q[n + 2] == '>') {
        text = QByteArrayView(p, q - p);
        p = q + n + 3;
        return true;
    }
    if (!decodeText(name))
        return false;
    text = scratch;
    return true;
}

bool PlistScanner::decodeText(QByteArrayView name) {
    scratch.clear();
    const char* q = p;
    auto ranOut = [this] { return have(end - p + 1); };
    for (;;) {
        const char* run = q;
        while (q < end && !isSpecial(*q))
            ++q;
        scratch.append(run, q - run);
        if (q == end || (*q == '<' && q + 1 == end))
            return ranOut();
        if (end - q < 9 && !atEof) {
            shortInput = true;
            return false;
        }
        if (*q == '\r') {
            // Line ends are read as XML reads them: CR LF and a lone CR both become LF.
            scratch += '\n';
            q += q + 1 < end && q[1] == '\n' ? 2 : 1;
        } else if (*q == '&') {
            if (!appendEntity(q))
                return false;
        } else if (q + 1 < end && q[1] == '/') {
            const char* close = static_cast<const char*>(std::memchr(q, '>', size_t(end - q)));
            if (!close)
                return ranOut();
            const QByteArrayView closing = trimmed(QByteArrayView(q + 2, close - q - 2));
            if (closing != name) {
                p = q;
                return fail(QString("</%1> where </%2> belongs")
                                .arg(QString::fromUtf8(closing), QString::fromUtf8(name)));
            }
            p = close + 1;
            return true;
        } else if (startsWith(q, end, "<![CDATA[")) {
            const qsizetype stop = QByteArrayView(q, end - q).indexOf("]]>");
            if (stop < 0)
                return ranOut();
            scratch.append(q + 9, stop - 9);
            q += stop + 3;
        } else if (startsWith(q, end, "<!--") || startsWith(q, end, "<?")) {
            const char* terminator = q[1] == '?' ? "?>" : "-->";
            const qsizetype stop = QByteArrayView(q, end - q).indexOf(terminator);
            if (stop < 0)
                return ranOut();
            q += stop + qsizetype(std::strlen(terminator));
        } else {
            const char* inner = q + 1;
            while (inner < end && !isSpace(*inner) && *inner != '/' && *inner != '>')
                ++inner;
            p = q;
            return fail(QString("<%1> inside a text").arg(QString::fromUtf8(q + 1, inner - q - 1)));
        }
    }
}

bool PlistScanner::appendEntity(const char*& q) {
    const char* semi = q + 1;
    while (semi < end && semi - q < 12 && *semi != ';')
        ++semi;
    if (semi == end && !atEof)
        return have(end - p + 1);
    const QByteArrayView name(q + 1, semi - q - 1);
    if (semi == end || *semi != ';') {
        p = q;
        return fail(QStringLiteral("a '&' that begins no entity"));
    }
    static constexpr struct {
        const char* name;
        char value;
    } named[] = {{"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"quot", '"'}, {"apos", '\''}};
    for (const auto& entity : named) {
        if (name == entity.name) {
            scratch += entity.value;
            q = semi + 1;
            return true;
        }
    }
    bool isNumber = false;
    const uint code = name.startsWith("#x")  ? name.sliced(2).toByteArray().toUInt(&isNumber, 16)
                      : name.startsWith('#') ? name.sliced(1).toByteArray().toUInt(&isNumber, 10)
                                             : 0;
    if (!isNumber || code == 0 || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) {
        p = q;
        return fail(QString("the entity &%1; is not known").arg(QString::fromUtf8(name)));
    }
    const char32_t character = code;
    scratch += QString::fromUcs4(&character, 1).toUtf8();
    q = semi + 1;
    return true;
}

bool PlistScanner::skip(const Tag& opened, int depth) {
    if (opened.empty)
        return true;
    if (depth > maxDepth)
        return fail(QStringLiteral("values nested too deep"));
    if (opened.name != "dict" && opened.name != "array") {
        QByteArrayView text;
        return content(opened.name, text);
    }
    for (;;) {
        Tag inner;
        if (!tag(inner))
            return false;
        if (inner.closing)
            return inner.name == opened.name ||
                   fail(QString("</%1> where </%2> belongs")
                            .arg(QString::fromUtf8(inner.name), QString::fromUtf8(opened.name)));
        if (!skip(inner, depth + 1))
            return false;
    }
}

bool PlistScanner::atEnd() {
    for (;;) {
        while (p < end && isSpace(*p))
            ++p;
        if (p == end) {
            shortInput = !atEof;
            return atEof;
        }
        if (*p != '<' || !have(2) || (p[1] != '!' && p[1] != '?'))
            return false;
        if (!skipMarkup())
            return false;
    }
}

bool PlistScanner::fail(const QString& why) {
    if (errorText.isEmpty())
        errorText = QString("line %1: %2").arg(lineAt(p)).arg(why);
    return false;
}

qsizetype PlistScanner::lineAt(const char* at) const {
    return linesBefore + std::count(buffer.constData(), at, '\n') + 1;
}
