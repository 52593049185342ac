#include "reports/CrawlDatabase.h"

#include "analysis/SEOManager.h"
#include "crawl/LinkCheckerHub.h"
#include "platform/Plist.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSaveFile>
#include <QSet>
#include <QXmlStreamReader>
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
const QHash<QString, KeyInfo>& readKeys() {
    static const QHash<QString, KeyInfo> keys = {
        {u"onPageName"_s, {Key::OnPageName, Kind::Strings}},
        {u"onPageUrl"_s, {Key::OnPageUrl, Kind::Strings}},
        {u"onPageLinkText"_s, {Key::OnPageLinkText, Kind::Strings}},
        {u"nofollow"_s, {Key::Nofollow, Kind::Booleans}},
        {u"linkText"_s, {Key::LinkText, Kind::Text}},
        {u"linkPageTitle"_s, {Key::LinkPageTitle, Kind::Text}},
        {u"linkUrl"_s, {Key::LinkUrl, Kind::Text}},
        {u"status"_s, {Key::Status, Kind::Text}},
        {u"redir"_s, {Key::Redir, Kind::Text}},
        {u"changeFrequency"_s, {Key::ChangeFrequency, Kind::Text}},
        {u"metaDescription"_s, {Key::MetaDescription, Kind::Text}},
        {u"canonical"_s, {Key::Canonical, Kind::Text}},
        {u"headings"_s, {Key::Headings, Kind::Text}},
        {u"keywords"_s, {Key::Keywords, Kind::Text}},
        {u"validatorStatus"_s, {Key::ValidatorStatus, Kind::Text}},
        {u"targetLastModified"_s, {Key::TargetLastModified, Kind::Text}},
        {u"timestamp"_s, {Key::Timestamp, Kind::Text}},
        {u"fileSizeBytes"_s, {Key::FileSizeBytes, Kind::Integer}},
        {u"fileSizeCompressed"_s, {Key::FileSizeCompressed, Kind::Integer}},
        {u"distanceFromHome"_s, {Key::DistanceFromHome, Kind::Integer}},
        {u"wordCount"_s, {Key::WordCount, Kind::Integer}},
        {u"spellingCount"_s, {Key::SpellingCount, Kind::Integer}},
        {u"grammarCount"_s, {Key::GrammarCount, Kind::Integer}},
        {u"validatorErrors"_s, {Key::ValidatorErrors, Kind::Integer}},
        {u"validatorWarnings"_s, {Key::ValidatorWarnings, Kind::Integer}},
        {u"responseTimeInterval"_s, {Key::ResponseTimeInterval, Kind::Real}},
        {u"loadTimeInterval"_s, {Key::LoadTimeInterval, Kind::Real}},
        {u"isHTML"_s, {Key::IsHTML, Kind::Boolean}},
        {u"isStartingPoint"_s, {Key::IsStartingPoint, Kind::Boolean}},
        {u"isInternal"_s, {Key::IsInternal, Kind::Boolean}},
        {u"isImage"_s, {Key::IsImage, Kind::Boolean}},
        {u"isBlacklisted"_s, {Key::IsBlacklisted, Kind::Boolean}},
        {u"isInBadCollection"_s, {Key::IsInBadCollection, Kind::Boolean}},
        {u"headContainsNoIndex"_s, {Key::HeadContainsNoIndex, Kind::Boolean}},
        {u"headContainsNoFollow"_s, {Key::HeadContainsNoFollow, Kind::Boolean}},
        {u"isInSEOManagersCollection"_s, {Key::IsInSEOManagersCollection, Kind::Boolean}},
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

class DatabaseReader {
  public:
    DatabaseReader(QXmlStreamReader& xml, LinkCheckerHub& hub) : xml(xml), hub(hub) {}

    bool read(CrawlDatabase::Loaded& out) {
        if (!xml.readNextStartElement() || xml.name() != "plist"_L1)
            return fail(u"not a property list"_s);
        if (!xml.readNextStartElement() || xml.name() != "dict"_L1)
            return fail(u"the property list's root is not a dictionary"_s);
        bool sawRecords = false;
        while (ok() && nextKey()) {
            const QString key = elementText();
            if (!valueStart(key))
                break;
            if (key == "linkcheckerUrls"_L1) {
                sawRecords = true;
                readRecords(out);
            } else if (key == "validationKickedOff"_L1) {
                out.validationKickedOff = readBoolean(key);
            } else {
                skipValue();
            }
        }
        if (ok() && xml.readNextStartElement())
            return fail(u"the property list goes on after its dictionary"_s);
        if (ok() && (!sawRecords || out.records.empty()))
            return fail(u"the file holds no link data"_s);
        return ok();
    }

    QString error() const {
        if (!reason.isEmpty())
            return reason;
        return QString("line %1: %2").arg(xml.lineNumber()).arg(xml.errorString());
    }

  private:
    bool ok() const { return reason.isEmpty() && !xml.hasError(); }
    bool fail(const QString& why) {
        if (reason.isEmpty())
            reason = recordIndex >= 0 ? QString("record %1: %2").arg(recordIndex + 1).arg(why) : why;
        return false;
    }
    // The next <key> of a dictionary; false at its end.
    bool nextKey() {
        if (!xml.readNextStartElement())
            return false;
        if (xml.name() == "key"_L1)
            return true;
        return fail(QString("<%1> where a <key> belongs").arg(xml.name()));
    }
    bool valueStart(const QString& key) {
        return xml.readNextStartElement() || fail(QString("the key '%1' has no value").arg(key));
    }
    bool wrongType(const QString& key, const char* expected) {
        return fail(QString("the key '%1' holds <%2> where %3 belongs").arg(key, xml.name(), expected));
    }
    void skipValue() { xml.skipCurrentElement(); }

    bool readBoolean(const QString& key) {
        const bool value = xml.name() == "true"_L1;
        if (!value && xml.name() != "false"_L1)
            return wrongType(key, "<true/> or <false/>");
        xml.skipCurrentElement();
        return value;
    }
    QString readText(const QString& key) {
        if (xml.name() != "string"_L1) {
            wrongType(key, "a string");
            return QString();
        }
        return elementText();
    }
    qint64 readInteger(const QString& key) {
        if (xml.name() != "integer"_L1) {
            wrongType(key, "an integer");
            return 0;
        }
        bool isNumber = false;
        const qint64 value = elementText().trimmed().toLongLong(&isNumber);
        if (!isNumber && ok())
            fail(QString("the key '%1' holds no whole number").arg(key));
        return value;
    }
    double readReal(const QString& key) {
        if (xml.name() != "real"_L1 && xml.name() != "integer"_L1) {
            wrongType(key, "a real");
            return 0;
        }
        const QString text = elementText().trimmed();
        bool isNumber = false;
        double value = text.toDouble(&isNumber);
        if (!isNumber && (text == "nan"_L1 || text.endsWith("infinity"_L1))) {
            value = text == "nan"_L1 ? std::nan("") : text.startsWith('-') ? -INFINITY : INFINITY;
            isNumber = true;
        }
        if (!isNumber && ok())
            fail(QString("the key '%1' holds no number").arg(key));
        return value;
    }
    // Texts repeat across the records by the thousand (the URL and title of a page on every
    // link it holds): each distinct text is kept once, as the crawl keeps it.
    // Looked up without a copy; a copy is made only for a text not met before.
    QString shared(QStringView text) {
        const auto it = pool.constFind(QString::fromRawData(text.data(), text.size()));
        return it != pool.constEnd() ? *it : *pool.insert(text.toString());
    }
    // The text of the element just opened, read up to its end. Most texts arrive in one piece
    // and are looked up where the reader holds them.
    QString elementText() {
        QXmlStreamReader::TokenType token = xml.readNext();
        QString text;
        int pieces = 0;
        for (;; token = xml.readNext()) {
            if (token == QXmlStreamReader::Characters && pieces++ == 0)
                text = shared(xml.text());
            else if (token == QXmlStreamReader::Characters)
                text.append(xml.text());
            else if (token != QXmlStreamReader::Comment && token != QXmlStreamReader::ProcessingInstruction)
                break;
        }
        if (token != QXmlStreamReader::EndElement) {
            if (!xml.hasError())
                fail(QString("<%1> inside a text").arg(xml.name()));
            return QString();
        }
        return pieces > 1 ? shared(text) : text;
    }

    void readStrings(const QString& key, QStringList& out) {
        if (xml.name() != "array"_L1) {
            wrongType(key, "an array of strings");
            return;
        }
        while (ok() && xml.readNextStartElement())
            out.append(readText(key));
    }
    void readBooleans(const QString& key, QList<bool>& out) {
        if (xml.name() != "array"_L1) {
            wrongType(key, "an array of booleans");
            return;
        }
        while (ok() && xml.readNextStartElement())
            out.append(readBoolean(key));
    }

    void readRecords(CrawlDatabase::Loaded& out) {
        if (xml.name() != "array"_L1) {
            wrongType(u"linkcheckerUrls"_s, "an array of dictionaries");
            return;
        }
        recordIndex = 0;
        while (ok() && xml.readNextStartElement()) {
            if (xml.name() != "dict"_L1) {
                fail(QString("<%1> where a dictionary belongs").arg(xml.name()));
                break;
            }
            Fields fields;
            readFields(fields);
            if (!ok())
                break;
            out.records.push_back(makeRecord(fields));
            out.inSEOCollection.push_back(fields.flag(Key::IsInSEOManagersCollection));
            ++recordIndex;
        }
        recordIndex = -1;
    }

    void readFields(Fields& fields) {
        const auto& keys = readKeys();
        while (ok() && nextKey()) {
            const QString key = elementText();
            if (!valueStart(key))
                return;
            const auto it = keys.constFind(key);
            if (it == keys.constEnd()) {
                skipValue();
                continue;
            }
            const Key which = it->key;
            switch (it->kind) {
            case Kind::Strings:
                readStrings(key, fields.lists[int(which)]);
                break;
            case Kind::Booleans:
                readBooleans(key, fields.nofollow);
                break;
            case Kind::Text:
                fields.text(which) = readText(key);
                break;
            case Kind::Integer:
                fields.integers[int(which) - int(Key::FileSizeBytes)] = readInteger(key);
                break;
            case Kind::Real:
                fields.reals[int(which) - int(Key::ResponseTimeInterval)] = readReal(key);
                break;
            case Kind::Boolean:
                fields.flags[int(which) - int(Key::IsHTML)] = readBoolean(key);
                break;
            }
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
                page = shared(u"no url"_s);
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

    QXmlStreamReader& xml;
    LinkCheckerHub& hub;
    QString reason;
    qsizetype recordIndex = -1;
    QSet<QString> pool;
};

bool readFrom(QXmlStreamReader& xml, LinkCheckerHub& hub, CrawlDatabase::Loaded& out, QString* error) {
    out = CrawlDatabase::Loaded();
    DatabaseReader reader(xml, hub);
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
    QXmlStreamReader xml(&file);
    return readFrom(xml, hub, out, error);
}

bool readData(const QByteArray& bytes, LinkCheckerHub& hub, Loaded& out, QString* error) {
    QXmlStreamReader xml(bytes);
    return readFrom(xml, hub, out, error);
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
