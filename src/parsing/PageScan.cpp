#include "parsing/PageScan.h"

#include "parsing/KestParser.h"

#include <functional>

namespace {

struct Attribute {
    QByteArray name; // lower case
    QByteArray value;
};
using TagHandler = std::function<void(const QByteArray& name, const QList<Attribute>& attributes)>;

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f';
}

qsizetype skipPast(const QByteArray& html, qsizetype from, const char* marker) {
    const qsizetype at = html.indexOf(marker, from);
    return at < 0 ? html.size() : at + qsizetype(qstrlen(marker));
}

// Reads the tag that starts at html[i] == '<' and returns the index after it.
qsizetype readTag(const QByteArray& html, qsizetype i, const TagHandler& handler) {
    const qsizetype n = html.size();
    if (QByteArrayView(html).sliced(i).startsWith("<!--"))
        return skipPast(html, i + 4, "-->");
    if (i + 1 < n && (html[i + 1] == '!' || html[i + 1] == '?' || html[i + 1] == '/'))
        return skipPast(html, i + 1, ">");
    qsizetype p = i + 1;
    while (p < n && !isSpace(html[p]) && html[p] != '>' && html[p] != '/')
        ++p;
    const QByteArray name = html.mid(i + 1, p - i - 1).toLower();
    if (name.isEmpty() || !std::isalpha(static_cast<unsigned char>(name[0])))
        return i + 1;
    QList<Attribute> attributes;
    while (p < n && html[p] != '>') {
        if (isSpace(html[p]) || html[p] == '/') {
            ++p;
            continue;
        }
        const qsizetype start = p;
        while (p < n && !isSpace(html[p]) && html[p] != '=' && html[p] != '>' && html[p] != '/')
            ++p;
        Attribute attribute{html.mid(start, p - start).toLower(), {}};
        while (p < n && isSpace(html[p]))
            ++p;
        if (p < n && html[p] == '=') {
            ++p;
            while (p < n && isSpace(html[p]))
                ++p;
            if (p < n && (html[p] == '"' || html[p] == '\'')) {
                const qsizetype close = html.indexOf(html[p], p + 1);
                const qsizetype end = close < 0 ? n : close;
                attribute.value = html.mid(p + 1, end - p - 1);
                p = end + 1;
            } else {
                const qsizetype valueStart = p;
                while (p < n && !isSpace(html[p]) && html[p] != '>')
                    ++p;
                attribute.value = html.mid(valueStart, p - valueStart);
            }
        }
        attributes.append(attribute);
    }
    handler(name, attributes);
    // The text of a script or style element is no markup.
    if (name == "script" || name == "style") {
        const QByteArray close = "</" + name;
        for (qsizetype at = html.indexOf("</", p); at >= 0; at = html.indexOf("</", at + 2))
            if (at + close.size() <= n &&
                qstrnicmp(html.constData() + at, close.constData(), uint(close.size())) == 0)
                return at;
        return n;
    }
    return p + 1;
}

void forEachTag(const QByteArray& html, const TagHandler& handler) {
    qsizetype i = html.indexOf('<');
    while (i >= 0 && i < html.size()) {
        i = readTag(html, i, handler);
        i = html.indexOf('<', i);
    }
}

QString textOf(const QByteArray& value) {
    return KestParser::unescapeEntities(QString::fromUtf8(value));
}

const QByteArray* find(const QList<Attribute>& attributes, const char* name) {
    for (const Attribute& attribute : attributes)
        if (attribute.name == name)
            return &attribute.value;
    return nullptr;
}

} // namespace

namespace PageScan {

QStringList anchorTargets(const QByteArray& html) {
    QStringList targets;
    forEachTag(html, [&](const QByteArray& name, const QList<Attribute>& attributes) {
        if (const QByteArray* id = find(attributes, "id"))
            targets.append(textOf(*id));
        if (name == "a")
            if (const QByteArray* anchorName = find(attributes, "name"))
                targets.append(textOf(*anchorName));
    });
    return targets;
}

QStringList srcsetUrls(const QString& srcset) {
    QStringList urls;
    qsizetype i = 0;
    const qsizetype n = srcset.size();
    while (i < n) {
        while (i < n && (srcset[i].isSpace() || srcset[i] == u','))
            ++i;
        const qsizetype start = i;
        while (i < n && !srcset[i].isSpace())
            ++i;
        QString url = srcset.mid(start, i - start);
        // A comma that ends the URL ends the candidate; commas inside it belong to it.
        const bool endsCandidate = url.endsWith(u',');
        while (url.endsWith(u','))
            url.chop(1);
        if (!url.isEmpty())
            urls.append(url);
        if (endsCandidate)
            continue;
        // Skip the descriptors, up to the comma that ends the candidate (not one in brackets).
        int depth = 0;
        while (i < n && (srcset[i] != u',' || depth > 0)) {
            depth += srcset[i] == u'(' ? 1 : srcset[i] == u')' ? -1 : 0;
            ++i;
        }
    }
    return urls;
}

QList<Resource> resources(const QByteArray& html) {
    QList<Resource> found;
    auto add = [&](const QByteArray* value, const char* kind) {
        if (!value)
            return;
        const QString url = textOf(*value).trimmed();
        if (!url.isEmpty())
            found.append({url, QString::fromLatin1(kind)});
    };
    forEachTag(html, [&](const QByteArray& name, const QList<Attribute>& attributes) {
        if (name == "link") {
            const QByteArray* rel = find(attributes, "rel");
            const QList<QByteArray> tokens =
                rel ? rel->toLower().simplified().split(' ') : QList<QByteArray>();
            if (tokens.contains("stylesheet"))
                add(find(attributes, "href"), "stylesheet");
            else if (std::any_of(tokens.begin(), tokens.end(),
                                 [](const QByteArray& t) { return t.contains("icon"); }))
                add(find(attributes, "href"), "icon");
        } else if (name == "script") {
            add(find(attributes, "src"), "script");
        } else if (name == "iframe") {
            add(find(attributes, "src"), "iframe");
        } else if (name == "video") {
            add(find(attributes, "poster"), "poster");
        } else if (name == "source") {
            add(find(attributes, "src"), "source");
        }
        if (name == "img" || name == "source")
            if (const QByteArray* srcset = find(attributes, "srcset"))
                for (const QString& url : srcsetUrls(textOf(*srcset)))
                    found.append({url, QStringLiteral("srcset")});
    });
    return found;
}

} // namespace PageScan
