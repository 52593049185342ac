#include "platform/Plist.h"

#include <QDateTime>
#include <QFile>
#include <QSaveFile>
#include <QStringList>
#include <QTimeZone>
#include <plist/plist++.h>

#include <memory>

namespace {

// Property-list dates count from the start of 2001, UTC.
constexpr qint64 referenceDateOffset = 978307200;

QVariant toVariant(const PList::Node* node);

QVariantMap toMap(const PList::Dictionary& dict) {
    QVariantMap out;
    for (auto it = dict.Begin(); it != dict.End(); ++it)
        out.insert(QString::fromStdString(it->first), toVariant(it->second));
    return out;
}

QVariant toVariant(const PList::Node* node) {
    switch (node->GetType()) {
    case PLIST_STRING:
        return QString::fromStdString(static_cast<const PList::String*>(node)->GetValue());
    case PLIST_BOOLEAN:
        return static_cast<const PList::Boolean*>(node)->GetValue();
    case PLIST_UINT:
        // Stored as 64 bits; the XML writer and reader treat them as signed.
        return qint64(static_cast<const PList::Integer*>(node)->GetValue());
    case PLIST_REAL:
        return static_cast<const PList::Real*>(node)->GetValue();
    case PLIST_DATE: {
        const timeval t = static_cast<const PList::Date*>(node)->GetValue();
        return QDateTime::fromMSecsSinceEpoch(
            (qint64(t.tv_sec) + referenceDateOffset) * 1000 + t.tv_usec / 1000, QTimeZone::utc());
    }
    case PLIST_DATA: {
        const std::vector<char> bytes = static_cast<const PList::Data*>(node)->GetValue();
        return QByteArray(bytes.data(), qsizetype(bytes.size()));
    }
    case PLIST_ARRAY: {
        // The array gives no const access to its items.
        auto* array = const_cast<PList::Array*>(static_cast<const PList::Array*>(node));
        QVariantList out;
        for (uint32_t i = 0; i < array->GetSize(); ++i)
            out.append(toVariant((*array)[i]));
        return out;
    }
    case PLIST_DICT:
        return toMap(*static_cast<const PList::Dictionary*>(node));
    default:
        return QVariant();
    }
}

std::unique_ptr<PList::Node> toNode(const QVariant& value);

std::unique_ptr<PList::Dictionary> toDictionary(const QVariantMap& map) {
    auto dict = std::make_unique<PList::Dictionary>();
    for (auto it = map.begin(); it != map.end(); ++it) {
        if (std::unique_ptr<PList::Node> node = toNode(it.value()))
            dict->Set(it.key().toStdString(), node.get()); // the dictionary keeps a copy
    }
    return dict;
}

std::unique_ptr<PList::Node> toNode(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Bool:
        return std::make_unique<PList::Boolean>(value.toBool());
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
        return std::make_unique<PList::Integer>(uint64_t(value.toLongLong()));
    case QMetaType::Double:
    case QMetaType::Float:
        return std::make_unique<PList::Real>(value.toDouble());
    case QMetaType::QDateTime: {
        const qint64 ms = value.toDateTime().toMSecsSinceEpoch() - referenceDateOffset * 1000;
        timeval t{};
        t.tv_sec = ms / 1000;
        t.tv_usec = (ms % 1000) * 1000;
        return std::make_unique<PList::Date>(t);
    }
    case QMetaType::QByteArray: {
        const QByteArray bytes = value.toByteArray();
        return std::make_unique<PList::Data>(std::vector<char>(bytes.begin(), bytes.end()));
    }
    case QMetaType::QVariantList:
    case QMetaType::QStringList: {
        auto array = std::make_unique<PList::Array>();
        for (const QVariant& item : value.toList()) {
            if (std::unique_ptr<PList::Node> node = toNode(item))
                array->Append(node.get()); // the array keeps a copy
        }
        return array;
    }
    case QMetaType::QVariantMap:
        return toDictionary(value.toMap());
    case QMetaType::UnknownType:
        return nullptr;
    default:
        return std::make_unique<PList::String>(value.toString().toStdString());
    }
}

} // namespace

namespace Plist {

bool fromData(const QByteArray& bytes, QVariantMap& out) {
    out.clear();
    std::unique_ptr<PList::Structure> root;
    if (bytes.startsWith("bplist"))
        root.reset(PList::Structure::FromBin(std::vector<char>(bytes.begin(), bytes.end())));
    else if (!bytes.isEmpty())
        root.reset(PList::Structure::FromXml(bytes.toStdString()));
    const auto* dict = dynamic_cast<const PList::Dictionary*>(root.get());
    if (!dict)
        return false;
    out = toMap(*dict);
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
