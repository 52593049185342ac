#include "platform/Plist.h"

#include "platform/BinaryPlist.h"
#include "platform/LocalFile.h"

#include <QDateTime>
#include <QFile>
#include <QSaveFile>
#include <QStringList>
#include <QTimeZone>
#include <QXmlStreamReader>
#include <plist/plist.h>

#include <memory>
#include <type_traits>

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
        // A copy: the reader's view of the name dies with the next read.
        const QString name = xml.name().toString();
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

std::string xmlText(const QString& text) {
    return Plist::xmlCharacters(text).toStdString();
}

// Nodes are built with libplist's C interface, where a parent takes its children over: the
// C++ wrappers copy every child into its parent and leak the copies of nested arrays.
using Node = std::unique_ptr<std::remove_pointer_t<plist_t>, decltype(&plist_free)>;

Node owned(plist_t node) {
    return Node(node, &plist_free);
}

Node toNode(const QVariant& value);

Node toDictionary(const QVariantMap& map) {
    Node dict = owned(plist_new_dict());
    for (auto it = map.begin(); it != map.end(); ++it) {
        if (Node child = toNode(it.value()))
            plist_dict_set_item(dict.get(), xmlText(it.key()).c_str(), child.release());
    }
    return dict;
}

Node toNode(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Bool:
        return owned(plist_new_bool(value.toBool()));
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
        return owned(plist_new_uint(uint64_t(value.toLongLong())));
    case QMetaType::Double:
    case QMetaType::Float:
        return owned(plist_new_real(value.toDouble()));
    case QMetaType::QDateTime: {
        if (!value.toDateTime().isValid())
            return owned(nullptr); // no text to write; the key is left out
        // libplist makes dates from 32-bit seconds; from their XML text they span any year.
        const std::string xml = "<plist><date>" +
                                value.toDateTime().toUTC().toString(Qt::ISODate).toStdString() +
                                "</date></plist>";
        plist_t date = nullptr;
        plist_from_xml(xml.c_str(), uint32_t(xml.size()), &date);
        return owned(date);
    }
    case QMetaType::QByteArray: {
        const QByteArray bytes = value.toByteArray();
        return owned(plist_new_data(bytes.constData(), uint64_t(bytes.size())));
    }
    case QMetaType::QVariantList:
    case QMetaType::QStringList: {
        Node array = owned(plist_new_array());
        for (const QVariant& item : value.toList()) {
            if (Node child = toNode(item))
                plist_array_append_item(array.get(), child.release());
        }
        return array;
    }
    case QMetaType::QVariantMap:
        return toDictionary(value.toMap());
    case QMetaType::UnknownType:
        return owned(nullptr);
    default:
        return owned(plist_new_string(xmlText(value.toString()).c_str()));
    }
}

} // namespace

namespace Plist {

QString xmlCharacters(const QString& text) {
    QString out;
    out.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            out.append(c);
            out.append(text[++i]);
            continue;
        }
        const char16_t u = c.unicode();
        if ((u < 0x20 && u != '\t' && u != '\n' && u != '\r') || c.isSurrogate() || u == 0xFFFE ||
            u == 0xFFFF)
            continue;
        out.append(c);
    }
    return out;
}

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
    char* xml = nullptr;
    uint32_t length = 0;
    plist_to_xml(toDictionary(dict).get(), &xml, &length);
    const QByteArray out(xml, qsizetype(length));
    plist_to_xml_free(xml);
    return out;
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
