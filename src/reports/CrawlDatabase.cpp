#include "reports/CrawlDatabase.h"

#include "analysis/SEOManager.h"
#include "crawl/LinkCheckerHub.h"
#include "platform/Plist.h"
#include "reports/PlistScanner.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSaveFile>
#include <QtDebug>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// ---------------------------------------------------------------- writing

// The bytes of the property-list writer: a tab per level, <, > and & escaped (quotes are not),
// reals in 17 significant digits with "0.0" for zero, empty containers self-closed. Characters
// that XML 1.0 cannot carry are left out, as the writer of the settings files does.
class PlistOut {
  public:
    explicit PlistOut(QIODevice* device) : device(device) { buffer.reserve(chunk + 4096); }

    void begin() {
        buffer += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                  "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                  "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                  "<plist version=\"1.0\">\n<dict>\n";
    }
    void end() { buffer += "</dict>\n</plist>\n"; }

    void key(int depth, const char* name) {
        indent(depth);
        buffer += "<key>";
        buffer += name;
        buffer += "</key>\n";
    }
    void string(int depth, const char* name, const QString& value) {
        key(depth, name);
        stringValue(depth, value);
    }
    void stringValue(int depth, const QString& value) {
        indent(depth);
        buffer += "<string>";
        appendText(value);
        buffer += "</string>\n";
        spill();
    }
    void strings(int depth, const char* name, const QStringList& values) {
        key(depth, name);
        if (openArray(depth, values.isEmpty()))
            return;
        for (const QString& value : values)
            stringValue(depth + 1, value);
        closeArray(depth);
    }
    void booleans(int depth, const char* name, const QList<bool>& values) {
        key(depth, name);
        if (openArray(depth, values.isEmpty()))
            return;
        for (bool value : values)
            booleanValue(depth + 1, value);
        closeArray(depth);
    }
    void boolean(int depth, const char* name, bool value) {
        key(depth, name);
        booleanValue(depth, value);
    }
    void integer(int depth, const char* name, qint64 value) {
        key(depth, name);
        indent(depth);
        buffer += "<integer>";
        buffer += QByteArray::number(value);
        buffer += "</integer>\n";
    }
    void real(int depth, const char* name, double value) {
        key(depth, name);
        indent(depth);
        buffer += "<real>";
        buffer += realText(value);
        buffer += "</real>\n";
    }
    bool openArray(int depth, bool empty) {
        indent(depth);
        buffer += empty ? "<array/>\n" : "<array>\n";
        return empty;
    }
    void closeArray(int depth) {
        indent(depth);
        buffer += "</array>\n";
    }
    void openDict(int depth) {
        indent(depth);
        buffer += "<dict>\n";
    }
    void closeDict(int depth) {
        indent(depth);
        buffer += "</dict>\n";
        spill();
    }

    // Hands what is gathered to the device; false once a write has failed.
    bool flush() {
        if (device && ok && !buffer.isEmpty())
            ok = device->write(buffer) == buffer.size();
        if (device)
            buffer.clear();
        return ok;
    }
    QByteArray take() { return std::move(buffer); }

  private:
    static constexpr qsizetype chunk = 1 << 20;

    void spill() {
        if (device && buffer.size() >= chunk)
            flush();
    }
    void indent(int depth) { buffer.append(depth, '\t'); }

    static bool fitsXml(const QString& text) {
        for (qsizetype i = 0; i < text.size(); ++i) {
            const char16_t u = text[i].unicode();
            if (u >= 0x20 && u < 0xD800)
                continue;
            if ((u < 0x20 && u != '\t' && u != '\n' && u != '\r') || u >= 0xFFFE)
                return false;
            if (QChar::isHighSurrogate(u) && i + 1 < text.size() && text[i + 1].isLowSurrogate())
                ++i;
            else if (QChar::isSurrogate(u))
                return false;
        }
        return true;
    }
    void appendText(const QString& text) {
        const QByteArray utf8 = fitsXml(text) ? text.toUtf8() : Plist::xmlCharacters(text).toUtf8();
        qsizetype start = 0;
        for (qsizetype i = 0; i < utf8.size(); ++i) {
            const char c = utf8[i];
            const char* entity = c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '&' ? "&amp;" : nullptr;
            if (!entity)
                continue;
            buffer.append(utf8.constData() + start, i - start);
            buffer += entity;
            start = i + 1;
        }
        buffer.append(utf8.constData() + start, utf8.size() - start);
    }
    void booleanValue(int depth, bool value) {
        indent(depth);
        buffer += value ? "<true/>\n" : "<false/>\n";
    }
    static QByteArray realText(double value) {
        if (std::isnan(value))
            return "nan";
        if (std::isinf(value))
            return value > 0 ? "+infinity" : "-infinity";
        if (value == 0.0)
            return "0.0";
        char text[64];
        const auto result = std::to_chars(text, text + sizeof text, value, std::chars_format::general, 17);
        return QByteArray(text, result.ptr - text);
    }

    QIODevice* device;
    QByteArray buffer;
    bool ok = true;
};

// One record's dictionary, its keys in the sorted order of the property-list writer.
void writeRecord(PlistOut& out, const LinkCheckerUrl& record, bool inSEOCollection) {
    constexpr int d = 3;
    out.openDict(2);
    out.string(d, "actualLinkUrl", record.getActualurl());
    out.string(d, "canonical", record.getCanonical());
    out.string(d, "changeFrequency", record.getChangeFrequency());
    out.integer(d, "distanceFromHome", record.getDistanceFromHome());
    out.integer(d, "fileSize", record.getFileSizeInKBytes());
    out.integer(d, "fileSizeBytes", record.getFileSizeInBytes());
    out.integer(d, "fileSizeCompressed", record.getFileSizeCompressedInBytes());
    out.integer(d, "grammarCount", record.getGrammar());
    out.boolean(d, "headContainsNoFollow", record.getHeadContainsNoFollow());
    out.boolean(d, "headContainsNoIndex", record.getHeadContainsNoIndex());
    out.string(d, "headings", record.getHeadings());
    out.boolean(d, "isBlacklisted", record.isBlacklisted());
    out.boolean(d, "isHTML", record.getIsHTML());
    out.boolean(d, "isImage", record.getIsImage());
    out.boolean(d, "isInBadCollection", record.isInBadCollection());
    out.boolean(d, "isInSEOManagersCollection", inSEOCollection);
    out.boolean(d, "isInternal", record.isInternal());
    out.boolean(d, "isStartingPoint", record.isStartingPoint());
    out.string(d, "keywords", record.getKeywords());
    out.string(d, "linkPageTitle", record.getLinkPageTitle());
    out.string(d, "linkText", record.getLinkText());
    out.string(d, "linkUrl", record.getLinkUrl());
    QStringList images;
    for (const LinkCheckerUrlPtr& image : record.getLinkedImagesArray())
        images.append(image->getActualurl());
    out.strings(d, "linkedImages", images);
    out.real(d, "loadTimeInterval", record.getLoadTime());
    out.string(d, "metaDescription", record.getMetaDescription());
    out.booleans(d, "nofollow", record.getNofollowArray());
    out.strings(d, "onPageLinkText", record.getOnPageLinkTextArray());
    out.strings(d, "onPageName", record.getOnPageNameArray());
    out.strings(d, "onPageUrl", record.getOnPageUrlArray());
    out.string(d, "redir", record.getRedir());
    out.real(d, "responseTimeInterval", record.getResponseTime());
    out.integer(d, "spellingCount", record.getSpelling());
    out.string(d, "status", record.getStatus());
    if (record.getTargetLastModified())
        out.string(d, "targetLastModified", *record.getTargetLastModified());
    out.string(d, "timestamp", record.getTimestamp());
    out.integer(d, "validatorErrors", record.getValidatorErrors());
    out.string(d, "validatorStatus", record.getValidatorStatus());
    out.integer(d, "validatorWarnings", record.getValidatorWarnings());
    out.integer(d, "wordCount", record.getWordCount());
    out.closeDict(2);
}

void writeAll(PlistOut& out, const std::vector<LinkCheckerUrlPtr>& records,
              const CrawlDatabase::Membership& inSEOCollection, bool validationKickedOff, bool allLinks) {
    out.begin();
    out.key(1, "linkcheckerUrls");
    bool any = false;
    for (const LinkCheckerUrlPtr& record : records) {
        if (!allLinks && !record->isInBadCollection())
            continue;
        if (!any)
            out.openArray(1, false);
        any = true;
        writeRecord(out, *record, inSEOCollection && inSEOCollection(*record));
    }
    if (any)
        out.closeArray(1);
    else
        out.openArray(1, true);
    out.boolean(1, "validationKickedOff", validationKickedOff);
    out.end();
}

// ---------------------------------------------------------------- reading

enum class Key {
    OnPageName,
    OnPageUrl,
    OnPageLinkText,
    Nofollow,
    LinkText,
    LinkPageTitle,
    LinkUrl,
    Status,
    Redir,
    ChangeFrequency,
    MetaDescription,
    Canonical,
    Headings,
    Keywords,
    ValidatorStatus,
    TargetLastModified,
    Timestamp,
    FileSizeBytes,
    FileSizeCompressed,
    DistanceFromHome,
    WordCount,
    SpellingCount,
    GrammarCount,
    ValidatorErrors,
    ValidatorWarnings,
    ResponseTimeInterval,
    LoadTimeInterval,
    IsHTML,
    IsStartingPoint,
    IsInternal,
    IsImage,
    IsBlacklisted,
    IsInBadCollection,
    HeadContainsNoIndex,
    HeadContainsNoFollow,
    IsInSEOManagersCollection,
    Count
};
enum class Kind { Strings, Booleans, Text, Integer, Real, Boolean };

struct KeyInfo {
    Key key;
    Kind kind;
};

// The keys read back; any other key (`linkedImages`, `actualLinkUrl`, `fileSize`, or one this
// program does not know) is passed over.
const QHash<QByteArray, KeyInfo>& readKeys() {
    static const QHash<QByteArray, KeyInfo> keys = {
        {"onPageName", {Key::OnPageName, Kind::Strings}},
        {"onPageUrl", {Key::OnPageUrl, Kind::Strings}},
        {"onPageLinkText", {Key::OnPageLinkText, Kind::Strings}},
        {"nofollow", {Key::Nofollow, Kind::Booleans}},
        {"linkText", {Key::LinkText, Kind::Text}},
        {"linkPageTitle", {Key::LinkPageTitle, Kind::Text}},
        {"linkUrl", {Key::LinkUrl, Kind::Text}},
        {"status", {Key::Status, Kind::Text}},
        {"redir", {Key::Redir, Kind::Text}},
        {"changeFrequency", {Key::ChangeFrequency, Kind::Text}},
        {"metaDescription", {Key::MetaDescription, Kind::Text}},
        {"canonical", {Key::Canonical, Kind::Text}},
        {"headings", {Key::Headings, Kind::Text}},
        {"keywords", {Key::Keywords, Kind::Text}},
        {"validatorStatus", {Key::ValidatorStatus, Kind::Text}},
        {"targetLastModified", {Key::TargetLastModified, Kind::Text}},
        {"timestamp", {Key::Timestamp, Kind::Text}},
        {"fileSizeBytes", {Key::FileSizeBytes, Kind::Integer}},
        {"fileSizeCompressed", {Key::FileSizeCompressed, Kind::Integer}},
        {"distanceFromHome", {Key::DistanceFromHome, Kind::Integer}},
        {"wordCount", {Key::WordCount, Kind::Integer}},
        {"spellingCount", {Key::SpellingCount, Kind::Integer}},
        {"grammarCount", {Key::GrammarCount, Kind::Integer}},
        {"validatorErrors", {Key::ValidatorErrors, Kind::Integer}},
        {"validatorWarnings", {Key::ValidatorWarnings, Kind::Integer}},
        {"responseTimeInterval", {Key::ResponseTimeInterval, Kind::Real}},
        {"loadTimeInterval", {Key::LoadTimeInterval, Kind::Real}},
        {"isHTML", {Key::IsHTML, Kind::Boolean}},
        {"isStartingPoint", {Key::IsStartingPoint, Kind::Boolean}},
        {"isInternal", {Key::IsInternal, Kind::Boolean}},
        {"isImage", {Key::IsImage, Kind::Boolean}},
        {"isBlacklisted", {Key::IsBlacklisted, Kind::Boolean}},
        {"isInBadCollection", {Key::IsInBadCollection, Kind::Boolean}},
        {"headContainsNoIndex", {Key::HeadContainsNoIndex, Kind::Boolean}},
        {"headContainsNoFollow", {Key::HeadContainsNoFollow, Kind::Boolean}},
        {"isInSEOManagersCollection", {Key::IsInSEOManagersCollection, Kind::Boolean}},
    };
    return keys;
}

// The values of one dictionary as read, before they are applied in their fixed order. A key
// not in the file leaves a null text, an empty list, zero or false.
struct Fields {
    QStringList lists[3];
    QList<bool> nofollow;
    QString texts[int(Key::Timestamp) - int(Key::LinkText) + 1];
    qint64 integers[int(Key::ValidatorWarnings) - int(Key::FileSizeBytes) + 1] = {};
    double reals[2] = {};
    bool flags[int(Key::Count) - int(Key::IsHTML)] = {};

    QString& text(Key key) { return texts[int(key) - int(Key::LinkText)]; }
    qint64 integer(Key key) const { return integers[int(key) - int(Key::FileSizeBytes)]; }
    bool flag(Key key) const { return flags[int(key) - int(Key::IsHTML)]; }
};

// Reads a saved crawl in one pass over its bytes, a record at a time: a file of half a million
// occurrences is read in about a second, where a general XML reader takes several.
class DatabaseReader {
  public:
    using Tag = PlistScanner::Tag;

    DatabaseReader(PlistScanner& in, LinkCheckerHub& hub) : in(in), hub(hub) {}

    bool read(CrawlDatabase::Loaded& out) {
        bool emptyRoot = false;
        if (!in.start() || !unit([&] { return readHeader(emptyRoot); }))
            return false;
        bool sawRecords = false;
        while (!emptyRoot) {
            QByteArray key;
            bool atClose = false;
            if (!unit([&] { return readRootKey(key, atClose); }))
                return false;
            if (atClose)
                break;
            if (key == "linkcheckerUrls") {
                sawRecords = true;
                if (!readRecords(out))
                    return false;
            } else if (key == "validationKickedOff") {
                if (!unit([&] { return readBoolean(key, out.validationKickedOff); }))
                    return false;
            } else if (!unit([&] { return skipValue(key); })) {
                return false;
            }
        }
        if (!unit([this] { return readTrailer(); }))
            return false;
        if (!sawRecords || out.records.empty())
            return fail(u"the file holds no link data"_s);
        return true;
    }

    QString error() const { return reason.isEmpty() ? in.error() : reason; }

  private:
    // Parses one unit of the file; one that runs past the bytes in memory is parsed again
    // once more are read.
    template <typename Parse> bool unit(Parse parse) {
        for (;;) {
            const qsizetype mark = in.mark();
            if (parse())
                return true;
            if (!in.needsMore() || !in.refill(mark))
                return false;
        }
    }
    bool fail(const QString& why) {
        if (reason.isEmpty() && !in.failed())
            reason = recordIndex >= 0 ? QString("record %1: %2").arg(recordIndex + 1).arg(why) : why;
        return false;
    }
    static QString name(QByteArrayView bytes) { return QString::fromUtf8(bytes); }
    bool wrongType(QByteArrayView key, const Tag& value, const char* expected) {
        return fail(
            QString("the key '%1' holds <%2> where %3 belongs").arg(name(key), name(value.name), expected));
    }

    bool readHeader(bool& emptyRoot) {
        Tag plist;
        Tag root;
        if (!in.tag(plist) || plist.closing || plist.name != "plist" || plist.empty) {
            if (in.needsMore())
                return false;
            reason = u"not a property list"_s;
            return false;
        }
        if (!in.tag(root))
            return false;
        if (root.closing || root.name != "dict")
            return fail(u"the property list's root is not a dictionary"_s);
        emptyRoot = root.empty;
        return true;
    }
    bool readTrailer() {
        Tag plist;
        if (!in.tag(plist))
            return false;
        if (!plist.closing || plist.name != "plist")
            return fail(u"the property list goes on after its dictionary"_s);
        return in.atEnd() || in.needsMore() || fail(u"the property list goes on after its dictionary"_s);
    }
    // A <key> and its text; the end of the dictionary instead sets atClose.
    bool readKey(QByteArrayView& key, bool& atClose) {
        Tag tag;
        if (!in.tag(tag))
            return false;
        atClose = tag.closing;
        if (tag.closing)
            return tag.name == "dict" || fail(QString("</%1> where </dict> belongs").arg(name(tag.name)));
        if (tag.name != "key")
            return fail(QString("<%1> where a <key> belongs").arg(name(tag.name)));
        key = {};
        return tag.empty || in.content("key", key);
    }
    bool readRootKey(QByteArray& key, bool& atClose) {
        QByteArrayView text;
        if (!readKey(text, atClose))
            return false;
        key = text.toByteArray();
        return true;
    }
    bool valueOf(QByteArrayView key, Tag& value) {
        if (!in.tag(value))
            return false;
        return !value.closing || fail(QString("the key '%1' has no value").arg(name(key)));
    }
    bool skipValue(QByteArrayView key) {
        Tag value;
        return valueOf(key, value) && in.skip(value);
    }

    bool readBoolean(QByteArrayView key, bool& out) {
        Tag value;
        return valueOf(key, value) && booleanValue(key, value, out);
    }
    bool booleanValue(QByteArrayView key, const Tag& value, bool& out) {
        out = value.name == "true";
        if (!out && value.name != "false")
            return wrongType(key, value, "<true/> or <false/>");
        return in.skip(value);
    }
    // Texts repeat across the records by the thousand (the URL and title of a page on every
    // link it holds): each distinct text is kept once, as the crawl keeps it. Looked up by its
    // bytes without a copy; a copy is made only for a text not met before.
    QString shared(QByteArrayView bytes) {
        const auto it = pool.constFind(QByteArray::fromRawData(bytes.data(), bytes.size()));
        if (it != pool.constEnd())
            return *it;
        return *pool.insert(bytes.toByteArray(), QString::fromUtf8(bytes));
    }
    bool textValue(QByteArrayView key, const Tag& value, QString& out) {
        if (value.name != "string")
            return wrongType(key, value, "a string");
        QByteArrayView bytes;
        if (!value.empty && !in.content(value.name, bytes))
            return false;
        out = shared(bytes);
        return true;
    }
    // An integer, or a real, which another writer may have written as an integer.
    template <typename T> bool numberValue(QByteArrayView key, const Tag& value, T& out) {
        constexpr bool whole = std::is_integral_v<T>;
        if (value.name != "integer" && (whole || value.name != "real"))
            return wrongType(key, value, whole ? "an integer" : "a real");
        QByteArrayView text;
        if (!value.empty && !in.content(value.name, text))
            return false;
        text = text.trimmed();
        if (text.startsWith('+'))
            text = text.sliced(1);
        const auto [end, ec] = std::from_chars(text.begin(), text.end(), out);
        return (!text.isEmpty() && ec == std::errc() && end == text.end()) ||
               fail(QString("the key '%1' holds no %2").arg(name(key), whole ? "whole number" : "number"));
    }
    template <typename T, typename Element>
    bool arrayValue(QByteArrayView key, const Tag& value, QList<T>& out, const char* expected,
                    Element element) {
        if (value.name != "array")
            return wrongType(key, value, expected);
        if (value.empty)
            return true;
        for (;;) {
            Tag item;
            if (!in.tag(item))
                return false;
            if (item.closing)
                return item.name == "array" ||
                       fail(QString("</%1> where </array> belongs").arg(name(item.name)));
            T one{};
            if (!(this->*element)(key, item, one))
                return false;
            out.append(one);
        }
    }

    bool readRecords(CrawlDatabase::Loaded& out) {
        bool more = false;
        if (!unit([&] { return openRecords(more); }))
            return false;
        recordIndex = qsizetype(out.records.size());
        while (more) {
            if (!unit([&] { return readRecord(out, more); }))
                return false;
            recordIndex = qsizetype(out.records.size());
        }
        recordIndex = -1;
        return true;
    }
    bool openRecords(bool& more) {
        Tag value;
        if (!valueOf("linkcheckerUrls", value))
            return false;
        if (value.name != "array")
            return wrongType("linkcheckerUrls", value, "an array of dictionaries");
        more = !value.empty;
        return true;
    }
    // The next record of the list, or the list's end, which clears more.
    bool readRecord(CrawlDatabase::Loaded& out, bool& more) {
        Tag tag;
        if (!in.tag(tag))
            return false;
        if (tag.closing) {
            more = false;
            return tag.name == "array" || fail(QString("</%1> where </array> belongs").arg(name(tag.name)));
        }
        if (tag.name != "dict")
            return fail(QString("<%1> where a dictionary belongs").arg(name(tag.name)));
        Fields fields;
        if (!tag.empty && !readFields(fields))
            return false;
        out.records.push_back(makeRecord(fields));
        out.inSEOCollection.push_back(fields.flag(Key::IsInSEOManagersCollection));
        return true;
    }

    bool readFields(Fields& fields) {
        const auto& keys = readKeys();
        for (;;) {
            QByteArrayView key;
            bool atClose = false;
            if (!readKey(key, atClose))
                return false;
            if (atClose)
                return true;
            // The key's bytes stay where they are while its value is read.
            Tag value;
            if (!valueOf(key, value))
                return false;
            const auto it = keys.constFind(QByteArray::fromRawData(key.data(), key.size()));
            if (it == keys.constEnd()) {
                if (!in.skip(value))
                    return false;
                continue;
            }
            const Key which = it->key;
            bool ok = false;
            switch (it->kind) {
            case Kind::Strings:
                ok = arrayValue(key, value, fields.lists[int(which)], "an array of strings",
                                &DatabaseReader::textValue);
                break;
            case Kind::Booleans:
                ok = arrayValue(key, value, fields.nofollow, "an array of booleans",
                                &DatabaseReader::booleanValue);
                break;
            case Kind::Text:
                ok = textValue(key, value, fields.text(which));
                break;
            case Kind::Integer:
                ok = numberValue(key, value, fields.integers[int(which) - int(Key::FileSizeBytes)]);
                break;
            case Kind::Real:
                ok = numberValue(key, value, fields.reals[int(which) - int(Key::ResponseTimeInterval)]);
                break;
            case Kind::Boolean:
                ok = booleanValue(key, value, fields.flags[int(which) - int(Key::IsHTML)]);
                break;
            }
            if (!ok)
                return false;
        }
    }

    // The keys are applied in a fixed order whatever their order in the file: the link text's
    // image flag comes before `isImage`, which has the last word.
    LinkCheckerUrlPtr makeRecord(Fields& f) {
        auto record = std::make_shared<LinkCheckerUrl>(&hub);
        record->setOnPageName(f.lists[int(Key::OnPageName)]);
        QStringList pages = f.lists[int(Key::OnPageUrl)];
        for (QString& page : pages) {
            if (page.isEmpty()) {
                qInfo().noquote() << QString("empty string submitted to url:%1").arg(f.text(Key::LinkUrl));
                page = shared("no url");
            }
        }
        record->setOnPageUrl(pages);
        record->setOnPageLinkText(f.lists[int(Key::OnPageLinkText)]);
        record->setNoFollowArray(f.nofollow);
        auto setText = [&](Key key, void (LinkCheckerUrl::*setter)(const QString&)) {
            if (!f.text(key).isNull())
                (record.get()->*setter)(f.text(key));
        };
        setText(Key::LinkText, &LinkCheckerUrl::setLinkText);
        setText(Key::LinkPageTitle, &LinkCheckerUrl::setLinkPageTitle);
        record->setLinkUrlTrimQuery(f.text(Key::LinkUrl), false);
        setText(Key::Status, &LinkCheckerUrl::setStatus);
        setText(Key::Redir, &LinkCheckerUrl::setRedir);
        record->setActualLinkUrl();
        setText(Key::ChangeFrequency, &LinkCheckerUrl::setChangeFrequency);
        setText(Key::MetaDescription, &LinkCheckerUrl::setMetaDescription);
        setText(Key::Canonical, &LinkCheckerUrl::setCanonical);
        setText(Key::Headings, &LinkCheckerUrl::setHeadings);
        setText(Key::Keywords, &LinkCheckerUrl::setKeywords);
        setText(Key::ValidatorStatus, &LinkCheckerUrl::setValidatorStatus);
        setText(Key::TargetLastModified, &LinkCheckerUrl::setTargetLastModified);
        setText(Key::Timestamp, &LinkCheckerUrl::setTimestamp);
        record->setFileSize(f.integer(Key::FileSizeBytes));
        // Stored in KB, handed over in bytes.
        record->setFileSizeCompressed(f.integer(Key::FileSizeCompressed) << 10);
        record->setDistanceFromHome(int(f.integer(Key::DistanceFromHome)));
        record->setWordCount(int(f.integer(Key::WordCount)));
        record->setSpelling(int(f.integer(Key::SpellingCount)));
        record->setGrammar(int(f.integer(Key::GrammarCount)));
        record->setValidatorErrors(int(f.integer(Key::ValidatorErrors)));
        record->setValidatorWarnings(int(f.integer(Key::ValidatorWarnings)));
        record->setResponseTime(f.reals[0]);
        record->setLoadTimeInterval(f.reals[1]);
        record->setIsHTML(f.flag(Key::IsHTML));
        record->setIsStartingPoint(f.flag(Key::IsStartingPoint));
        record->setIsInternal(f.flag(Key::IsInternal));
        record->setIsImage(f.flag(Key::IsImage));
        record->setIsBlacklisted(f.flag(Key::IsBlacklisted));
        record->setIsInBadCollection(f.flag(Key::IsInBadCollection));
        record->setHeadContainsNoIndex(f.flag(Key::HeadContainsNoIndex));
        record->setHeadContainsNoFollow(f.flag(Key::HeadContainsNoFollow));
        return record;
    }

    PlistScanner& in;
    LinkCheckerHub& hub;
    QString reason;
    qsizetype recordIndex = -1;
    QHash<QByteArray, QString> pool;
};

bool readFrom(QIODevice& device, LinkCheckerHub& hub, CrawlDatabase::Loaded& out, QString* error) {
    out = CrawlDatabase::Loaded();
    PlistScanner scanner(device);
    DatabaseReader reader(scanner, hub);
    if (reader.read(out))
        return true;
    out = CrawlDatabase::Loaded();
    if (error)
        *error = reader.error();
    return false;
}

} // namespace

namespace CrawlDatabase {

QByteArray toXml(const std::vector<LinkCheckerUrlPtr>& records, const Membership& inSEOCollection,
                 bool validationKickedOff) {
    PlistOut out(nullptr);
    writeAll(out, records, inSEOCollection, validationKickedOff, true);
    return out.take();
}

std::vector<LinkCheckerUrlPtr> recordsOf(const LinkCheckerHub& hub) {
    std::vector<LinkCheckerUrlPtr> records;
    records.reserve(size_t(hub.count()));
    for (qsizetype i = 0; i < hub.count(); ++i)
        records.push_back(hub.getnthofAllItems(i));
    return records;
}

bool writeToLocation(const QString& path, const LinkCheckerHub& hub, const SEOManager& seo, bool allLinks,
                     bool validationKickedOff, QString* error) {
    QSaveFile file(path);
    bool ok = file.open(QIODevice::WriteOnly);
    if (ok) {
        PlistOut out(&file);
        writeAll(
            out, recordsOf(hub),
            [&seo](const LinkCheckerUrl& record) { return seo.isInSEOManagersCollection(record); },
            validationKickedOff, allLinks);
        // Flushed and checked before the commit: a commit alone would put a short file in place
        // of the old one when the disk is full.
        ok = out.flush() && file.flush() && file.commit();
    }
    if (ok)
        return true;
    if (error)
        *error = file.errorString();
    file.cancelWriting();
    return false;
}

bool readFile(const QString& path, LinkCheckerHub& hub, Loaded& out, QString* error) {
    out = Loaded();
    auto failWith = [error](const QString& why) {
        if (error)
            *error = why;
        return false;
    };
    // Opened without waiting and judged by what was opened: a FIFO or a device is never read.
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return failWith(QString::fromLocal8Bit(std::strerror(errno)));
    struct stat info {};
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        ::close(fd);
        return failWith(S_ISDIR(info.st_mode) ? u"a folder, not a file"_s : u"not a regular file"_s);
    }
    if (info.st_size >= maxFileSize) {
        ::close(fd);
        return failWith(QString("too large: %1 MB, where a saved crawl stays below %2 MB")
                            .arg(info.st_size >> 20)
                            .arg(maxFileSize >> 20));
    }
    QFile file;
    if (!file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)) {
        ::close(fd);
        return failWith(file.errorString());
    }
    return readFrom(file, hub, out, error);
}

bool readData(const QByteArray& bytes, LinkCheckerHub& hub, Loaded& out, QString* error) {
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    return readFrom(buffer, hub, out, error);
}

void apply(Loaded&& loaded, LinkCheckerHub& hub, SEOManager& seo) {
    hub.clear();
    seo.clear();
    for (size_t i = 0; i < loaded.records.size(); ++i) {
        const LinkCheckerUrlPtr& record = loaded.records[i];
        for (const QString& page : record->getOnPageUrlArray())
            hub.addLinkForPage(record, page);
        hub.add(record);
        if (loaded.inSEOCollection[i])
            seo.add(record);
    }
    const bool kickedOff = loaded.validationKickedOff;
    loaded = Loaded();
    hub.loadDidFinish();
    // The page tables stand as after a finished crawl: the counters recounted from the records.
    seo.setValidationKickedOff(kickedOff);
    seo.setCrawlFinished(true);
    seo.countNumberValidated();
    seo.updateStatusFields();
}

} // namespace CrawlDatabase
