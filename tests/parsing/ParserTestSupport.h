#pragma once

#include "parsing/KestParser.h"
#include "parsing/TextEncodings.h"

#include <QByteArray>
#include <QLoggingCategory>
#include <QString>
#include <QStringList>
#include <gtest/gtest.h>
#include <memory>
#include <sys/mman.h>
#include <unistd.h>

// Readable values in failure messages.
inline void PrintTo(const QString& text, std::ostream* out) {
    *out << '"' << text.toStdString() << '"';
}

namespace parsertest {

struct Options {
    bool seo = true;
    bool noIndex = true;
    bool nofollow = true;
    quint64 encoding = TextEncoding::UTF8;
};

inline void quietLog() {
    QLoggingCategory::setFilterRules(QStringLiteral("trellium.parser.info=false"));
}

inline std::unique_ptr<KestParser> parse(const QByteArray& html, Options o = {}) {
    quietLog();
    return KestParser::initWithDataWithuserAgentStringWithSEOCachePageCheckNoIndexCheckNofollowUseEncoding(
        html, QString(), o.seo, false, o.noIndex, o.nofollow, o.encoding);
}

struct Link {
    QString url;
    std::optional<QString> text;
    bool nofollow;
};

// The crawl's walk: every link, then its text, then its nofollow flag.
inline std::vector<Link> walk(KestParser& parser, bool images = false, bool trim = false) {
    std::vector<Link> links;
    while (std::optional<QString> url = parser.getNextHrefTrim(images, trim)) {
        std::optional<QString> text = parser.getLinkText();
        links.push_back({*url, text, parser.lastLinkWasNofollow()});
        if (links.size() > 100000)
            break; // a loop that never ends is a failure, not a hang
    }
    return links;
}

// "url|text" per link, joined with " ; ", for compact table rows.
inline QString summary(const std::vector<Link>& links) {
    QStringList parts;
    for (const Link& link : links)
        parts << link.url + QLatin1Char('|') + link.text.value_or(QStringLiteral("<none>"));
    return parts.join(QLatin1String(" ; "));
}

// Bytes that end right before an inaccessible page: any read past the end faults.
class GuardedBytes {
  public:
    explicit GuardedBytes(const QByteArray& content) {
        const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        const size_t dataPages = (static_cast<size_t>(content.size()) + page - 1) / page;
        total = (dataPages + 1) * page;
        void* p = mmap(nullptr, total, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        base = static_cast<char*>(p);
        mprotect(base + dataPages * page, page, PROT_NONE);
        char* start = base + dataPages * page - content.size();
        memcpy(start, content.constData(), static_cast<size_t>(content.size()));
        bytes = QByteArray::fromRawData(start, content.size());
        if (bytes.isNull())
            bytes = QByteArray("");
    }
    ~GuardedBytes() { munmap(base, total); }
    GuardedBytes(const GuardedBytes&) = delete;
    GuardedBytes& operator=(const GuardedBytes&) = delete;
    const QByteArray& get() const { return bytes; }

  private:
    char* base = nullptr;
    size_t total = 0;
    QByteArray bytes;
};

} // namespace parsertest
