#include "platform/Plist.h"

#include "platform/BinaryPlist.h"
#include "platform/LocalFile.h"

#include <QDateTime>
#include <QFile>
#include <QSaveFile>
#include <QStringList>
#include <QTimeZone>
#include <QXmlStreamReader>
#include <plist/plist++.h>

#include <memory>

namespace {

// Reading goes through Qt's XML reader: the arrays that libplist++ 2.2 hands back from a
// parsed list come back empty.
class XmlReader {
  public:
    explicit XmlReader(const QByteArray& bytes) : xml(bytes) {}

    bool readRoot(QVariantMap& out) {
        if (!xml.readNextStartElement() || xml.name() != QLatin1String("plist") ||
            !xml.readNextStartElement() || xml.name() != QLatin1String("dict"))
            return failWith("not a property list with a dictionary at its root");
        out = readDict(1);
        if (error.isEmpty() && xml.hasError())
            failWith(xml.errorString());
        return error.isEmpty();
    }

    QString error;

  private:
    bool failWith(const QString& reason) {
        if (error.isEmpty())
            error = reason;
        return false;
    }

    QVariantMap readDict(int depth) {
        QVariantMap out;
        while (error.isEmpty() && xml.readNextStartElement()) {
            if (xml.name() != QLatin1String("key")) {
                failWith("a dictionary entry without its key");
                break;
            }
            const QString key = xml.readElementText();
            if (!xml.readNextStartElement()) {
                failWith(QString("no value for the key '%1'").arg(key));
                break;
            }
            out.insert(key, readValue(depth + 1));
        }
        return out;
    }

    QVariant readValue(int depth) {
        const QStringView name = xml.name();
        const bool container = name == QLatin1String("dict") || name == QLatin1String("array");
        if (container && depth > Plist::maxDepth) {
            failWith(QString("nested deeper than %1 levels").arg(Plist::maxDepth));
            return QVariant();
        }
        if (name == QLatin1String("dict"))
            return readDict(depth);
        if (name == QLatin1String("array")) {
            QVariantList out;
            while (error.isEmpty() && xml.readNextStartElement())
                out.append(readValue(depth + 1));
            return out;
        }
        if (name == QLatin1String("true") || name == QLatin1String("false")) {
            xml.skipCurrentElement();
            return name == QLatin1String("true");
        }
        const QString text = xml.readElementText();
        if (name == QLatin1String("string"))
            return text;
        if (name == QLatin1String("integer"))
            return text.trimmed().toLongLong();
        if (name == QLatin1String("real"))
            return text.trimmed().toDouble();
        if (name == QLatin1String("date"))
            return QDateTime::fromString(text.trimmed(), Qt::ISODate);
        if (name == QLatin1String("data"))
            return QByteArray::fromBase64(text.toLatin1());
        failWith(QString("unknown element <%1>").arg(name));
        return QVariant();
    }

    QXmlStreamReader xml;
};

// A node ready to be copied into its parent. Dates are taken from a parsed document, which
// then has to live until the copy is made.
struct MadeNode {
    std::unique_ptr<PList::Node> owned;
    std::unique_ptr<PList::Structure> document;
    const PList::Node* node = nullptr;
};

MadeNode toNode(const QVariant& value);

std::unique_ptr<PList::Dictionary> toDictionary(const QVariantMap& map) {
    auto dict = std::make_unique<PList::Dictionary>();
    for (auto it = map.begin(); it != map.end(); ++it) {
        const MadeNode made = toNode(it.value());
        if (made.node)
            dict->Set(it.key().toStdString(), made.node); // the dictionary keeps a copy
    }
    return dict;
}

MadeNode owning(std::unique_ptr<PList::Node> node) {
    MadeNode made;
    made.node = node.get();
    made.owned = std::move(node);
    return made;
}

MadeNode toNode(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Bool:
        return owning(std::make_unique<PList::Boolean>(value.toBool()));
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
        return owning(std::make_unique<PList::Integer>(uint64_t(value.toLongLong())));
    case QMetaType::Double:
    case QMetaType::Float:
        return owning(std::make_unique<PList::Real>(value.toDouble()));
    case QMetaType::QDateTime: {
        // A date node made in code, or a copy of a copy, trips an assertion of libplist 2.2;
        // a date read from XML copies cleanly, so the date goes through its XML text.
        const std::string xml = "<plist><dict><key>d</key><date>" +
                                value.toDateTime().toUTC().toString(Qt::ISODate).toStdString() +
                                "</date></dict></plist>";
        MadeNode made;
        made.document.reset(PList::Structure::FromXml(xml));
        auto* dict = dynamic_cast<PList::Dictionary*>(made.document.get());
        if (dict && dict->Find("d") != dict->End())
            made.node = dict->Find("d")->second;
        return made;
    }
    case QMetaType::QByteArray: {
        const QByteArray bytes = value.toByteArray();
        return owning(std::make_unique<PList::Data>(std::vector<char>(bytes.begin(), bytes.end())));
    }
    case QMetaType::QVariantList:
    case QMetaType::QStringList: {
        auto array = std::make_unique<PList::Array>();
        for (const QVariant& item : value.toList()) {
            const MadeNode made = toNode(item);
            if (made.node)
                array->Append(const_cast<PList::Node*>(made.node)); // the array keeps a copy
        }
        return owning(std::move(array));
    }
    case QMetaType::QVariantMap:
        return owning(toDictionary(value.toMap()));
    case QMetaType::UnknownType:
        return MadeNode();
    default:
        return owning(std::make_unique<PList::String>(value.toString().toStdString()));
    }
}

} // namespace

namespace Plist {

bool fromData(const QByteArray& bytes, QVariantMap& out, QString* error) {
    out.clear();
    QString reason;
    if (bytes.startsWith("bplist")) {
        QVariant root;
        if (BinaryPlist::read(bytes, maxDepth, root, reason)) {
            if (root.typeId() == QMetaType::QVariantMap)
                out = root.toMap();
            else
                reason = "not a property list with a dictionary at its root";
        }
    } else {
        XmlReader reader(bytes);
        if (!reader.readRoot(out))
            reason = reader.error;
    }
    if (reason.isEmpty())
        return true;
    out.clear();
    if (error)
        *error = reason;
    return false;
}

QByteArray toXml(const QVariantMap& dict) {
    return QByteArray::fromStdString(toDictionary(dict)->ToXml());
}

bool readFile(const QString& path, QVariantMap& out, QString* error) {
    out.clear();
    QByteArray bytes;
    QString reason;
    if (!LocalFile::readRegularFile(path, maxFileSize, bytes, reason)) {
        if (error)
            *error = reason;
        return false;
    }
    return fromData(bytes, out, error);
}

QVariantMap readFile(const QString& path) {
    QVariantMap out;
    readFile(path, out);
    return out;
}

bool writeFile(const QString& path, const QVariantMap& dict, QString* error) {
    QSaveFile file(path);
    const QByteArray bytes = toXml(dict);
    // The data is flushed before the commit and the flush checked: a commit alone renames an
    // empty file over the old one when the disk is full.
    const bool ok = file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush();
    if (ok && file.commit())
        return true;
    if (error)
        *error = file.errorString();
    file.cancelWriting();
    return false;
}

} // namespace Plist
