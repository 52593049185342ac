#include "platform/Plist.h"

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
QVariant readValue(QXmlStreamReader& xml, bool& ok);

QVariantMap readDict(QXmlStreamReader& xml, bool& ok) {
    QVariantMap out;
    while (ok && xml.readNextStartElement()) {
        if (xml.name() != QLatin1String("key")) {
            ok = false;
            break;
        }
        const QString key = xml.readElementText();
        if (!xml.readNextStartElement()) {
            ok = false;
            break;
        }
        out.insert(key, readValue(xml, ok));
    }
    return out;
}

QVariant readValue(QXmlStreamReader& xml, bool& ok) {
    const QStringView name = xml.name();
    if (name == QLatin1String("dict"))
        return readDict(xml, ok);
    if (name == QLatin1String("array")) {
        QVariantList out;
        while (ok && xml.readNextStartElement())
            out.append(readValue(xml, ok));
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
    ok = false;
    return QVariant();
}

bool readXml(const QByteArray& bytes, QVariantMap& out) {
    QXmlStreamReader xml(bytes);
    if (!xml.readNextStartElement() || xml.name() != QLatin1String("plist") || !xml.readNextStartElement() ||
        xml.name() != QLatin1String("dict"))
        return false;
    bool ok = true;
    out = readDict(xml, ok);
    return ok && !xml.hasError();
}

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

bool fromData(const QByteArray& bytes, QVariantMap& out) {
    out.clear();
    QByteArray xml = bytes;
    if (bytes.startsWith("bplist")) {
        // A binary list is turned into its XML form first.
        std::unique_ptr<PList::Structure> root(
            PList::Structure::FromBin(std::vector<char>(bytes.begin(), bytes.end())));
        if (!root)
            return false;
        xml = QByteArray::fromStdString(root->ToXml());
    }
    if (!readXml(xml, out)) {
        out.clear();
        return false;
    }
    return true;
}

QByteArray toXml(const QVariantMap& dict) {
    return QByteArray::fromStdString(toDictionary(dict)->ToXml());
}

bool readFile(const QString& path, QVariantMap& out) {
    out.clear();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    return fromData(file.readAll(), out);
}

QVariantMap readFile(const QString& path) {
    QVariantMap out;
    readFile(path, out);
    return out;
}

bool writeFile(const QString& path, const QVariantMap& dict) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    const QByteArray bytes = toXml(dict);
    if (file.write(bytes) != bytes.size()) {
        file.cancelWriting();
        return false;
    }
    return file.commit();
}

} // namespace Plist
