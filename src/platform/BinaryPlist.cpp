#include "platform/BinaryPlist.h"

#include <QDateTime>
#include <QHash>
#include <QTimeZone>
#include <QVariantList>
#include <QVariantMap>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr qsizetype headerSize = 8;
constexpr qsizetype trailerSize = 32;

class Reader {
  public:
    Reader(const QByteArray& bytes, int maxDepth) : bytes(bytes), maxDepth(maxDepth) {}

    bool readRoot(QVariant& root) {
        if (bytes.size() < headerSize + trailerSize || !bytes.startsWith("bplist0"))
            return failWith("not a binary property list");
        const qsizetype trailer = bytes.size() - trailerSize;
        offsetSize = byteAt(trailer + 6);
        refSize = byteAt(trailer + 7);
        const quint64 objects = bigEndian(trailer + 8, 8);
        const quint64 top = bigEndian(trailer + 16, 8);
        const quint64 table = bigEndian(trailer + 24, 8);
        objectsEnd = trailer;
        // Every object takes a byte at least, so a count beyond the size is a lie.
        if (offsetSize < 1 || offsetSize > 8 || refSize < 1 || refSize > 8 || objects == 0 ||
            objects > quint64(bytes.size()) || top >= objects || table < quint64(headerSize) ||
            table > quint64(trailer) || objects * offsetSize > quint64(trailer) - table)
            return failWith("damaged binary property list trailer");
        objectCount = objects;
        offsetTable = qsizetype(table);
        int height = 0;
        return readObject(top, 1, root, height);
    }

    QString error;

  private:
    struct Done {
        QVariant value;
        int height = 0; // levels of arrays and dictionaries in the value, itself included
        bool inProgress = false;
    };

    bool failWith(const QString& reason) {
        if (error.isEmpty())
            error = reason;
        return false;
    }

    int byteAt(qsizetype at) const { return static_cast<unsigned char>(bytes[at]); }

    quint64 bigEndian(qsizetype at, int size) const {
        quint64 value = 0;
        for (int i = 0; i < size; ++i)
            value = (value << 8) | quint64(byteAt(at + i));
        return value;
    }

    // True when `size` bytes from `at` lie among the objects.
    bool fits(qsizetype at, quint64 size) const {
        return at >= headerSize && at <= objectsEnd && size <= quint64(objectsEnd - at);
    }

    // The element count of a marker: in its low four bits, or in an integer that follows.
    bool count(qsizetype& at, int info, quint64& out) {
        if (info != 0xF) {
            out = quint64(info);
            return true;
        }
        if (!fits(at, 1) || (byteAt(at) >> 4) != 0x1)
            return failWith("damaged count in binary property list");
        const int size = 1 << (byteAt(at) & 0x3);
        if (!fits(at + 1, quint64(size)))
            return failWith("damaged count in binary property list");
        out = bigEndian(at + 1, size);
        at += 1 + size;
        return true;
    }

    bool refs(qsizetype at, quint64 n, QList<quint64>& out) {
        if (n > quint64(objectsEnd) / refSize || !fits(at, n * refSize))
            return failWith("binary property list runs past its end");
        out.reserve(qsizetype(n));
        for (quint64 i = 0; i < n; ++i)
            out.append(bigEndian(at + qsizetype(i * refSize), refSize));
        return true;
    }

    bool readObject(quint64 index, int depth, QVariant& out, int& height) {
        if (index >= objectCount)
            return failWith("binary property list refers to a missing object");
        Done& done = cache[index];
        if (done.inProgress)
            return failWith("binary property list contains itself");
        if (done.height > 0 || done.value.isValid()) {
            if (depth - 1 + done.height > maxDepth)
                return tooDeep();
            out = done.value;
            height = done.height;
            return true;
        }
        done.inProgress = true;
        const bool ok = decode(index, depth, out, height);
        Done& after = cache[index]; // the table may have grown meanwhile
        after.inProgress = false;
        if (ok) {
            after.value = out;
            after.height = height;
        }
        return ok;
    }

    bool tooDeep() { return failWith(QString("nested deeper than %1 levels").arg(maxDepth)); }

    bool decode(quint64 index, int depth, QVariant& out, int& height) {
        const quint64 offset = bigEndian(offsetTable + qsizetype(index * offsetSize), offsetSize);
        if (offset >= quint64(objectsEnd) || !fits(qsizetype(offset), 1))
            return failWith("binary property list object out of bounds");
        qsizetype at = qsizetype(offset);
        const int marker = byteAt(at++);
        const int type = marker >> 4;
        const int info = marker & 0xF;
        height = 0;
        switch (type) {
        case 0x0:
            if (marker == 0x08 || marker == 0x09) {
                out = marker == 0x09;
                return true;
            }
            if (marker == 0x00) {
                out = QVariant();
                return true;
            }
            break;
        case 0x1: {
            const int size = 1 << (info & 0x7);
            if (info > 4 || !fits(at, quint64(size)))
                break;
            // Sixteen-byte integers carry their value in the low eight bytes.
            out = qint64(bigEndian(at + (size > 8 ? size - 8 : 0), size > 8 ? 8 : size));
            return true;
        }
        case 0x2:
            if (info == 2 && fits(at, 4)) {
                const quint32 raw = quint32(bigEndian(at, 4));
                float f;
                std::memcpy(&f, &raw, sizeof f);
                out = double(f);
                return true;
            }
            if (info == 3 && fits(at, 8)) {
                out = doubleAt(at);
                return true;
            }
            break;
        case 0x3:
            if (info == 3 && fits(at, 8)) {
                const double seconds = doubleAt(at);
                // Seconds from the first of January 2001; dates beyond some nineteen centuries
                // either way are refused, so that every date read can be written out again.
                if (!std::isfinite(seconds) || std::fabs(seconds) > 6e10)
                    break;
                out = QDateTime(QDate(2001, 1, 1), QTime(0, 0), QTimeZone::utc())
                          .addMSecs(qint64(std::llround(seconds * 1000)));
                return true;
            }
            break;
        case 0x4:
        case 0x5:
        case 0x6:
        case 0x7: {
            quint64 n = 0;
            if (!count(at, info, n))
                return false;
            const quint64 width = type == 0x6 ? 2 : 1;
            if (n > quint64(objectsEnd) / width || !fits(at, n * width))
                return failWith("binary property list runs past its end");
            const char* start = bytes.constData() + at;
            const qsizetype size = qsizetype(n);
            if (type == 0x4)
                out = QByteArray(start, size);
            else if (type == 0x5)
                out = QString::fromLatin1(start, size);
            else if (type == 0x7)
                out = QString::fromUtf8(start, size);
            else
                out = utf16BigEndian(at, size);
            return true;
        }
        case 0x8:
            if (fits(at, quint64(info) + 1)) {
                out = QVariantMap{{"CF$UID", qint64(bigEndian(at, info + 1))}};
                return true;
            }
            break;
        case 0xA:
        case 0xC:
        case 0xD:
            return container(type, info, at, depth, out, height);
        default:
            break;
        }
        return failWith(
            QString("unknown object 0x%1 in binary property list").arg(marker, 2, 16, QChar('0')));
    }

    bool container(int type, int info, qsizetype at, int depth, QVariant& out, int& height) {
        if (depth > maxDepth)
            return tooDeep();
        quint64 n = 0;
        if (!count(at, info, n))
            return false;
        if (n > quint64(objectsEnd))
            return failWith("binary property list runs past its end");
        QList<quint64> children;
        if (!refs(at, type == 0xD ? n * 2 : n, children))
            return false;
        int deepest = 0;
        auto child = [&](quint64 index, QVariant& value) {
            int h = 0;
            if (!readObject(index, depth + 1, value, h))
                return false;
            deepest = std::max(deepest, h);
            return true;
        };
        if (type != 0xD) {
            QVariantList list;
            list.reserve(children.size());
            for (quint64 index : children) {
                QVariant value;
                if (!child(index, value))
                    return false;
                list.append(value);
            }
            out = list;
        } else {
            QVariantMap map;
            for (quint64 i = 0; i < n; ++i) {
                QVariant key, value;
                if (!child(children[qsizetype(i)], key) || !child(children[qsizetype(n + i)], value))
                    return false;
                if (key.typeId() != QMetaType::QString)
                    return failWith("binary property list has a key that is no text");
                map.insert(key.toString(), value);
            }
            out = map;
        }
        height = deepest + 1;
        return true;
    }

    double doubleAt(qsizetype at) const {
        const quint64 raw = bigEndian(at, 8);
        double d;
        std::memcpy(&d, &raw, sizeof d);
        return d;
    }

    QString utf16BigEndian(qsizetype at, qsizetype units) const {
        QString out(units, Qt::Uninitialized);
        for (qsizetype i = 0; i < units; ++i)
            out[i] = QChar(char16_t(bigEndian(at + 2 * i, 2)));
        return out;
    }

    const QByteArray& bytes;
    const int maxDepth;
    int offsetSize = 0;
    int refSize = 0;
    quint64 objectCount = 0;
    qsizetype offsetTable = 0;
    qsizetype objectsEnd = 0;
    QHash<quint64, Done> cache;
};

} // namespace

namespace BinaryPlist {

bool read(const QByteArray& bytes, int maxDepth, QVariant& root, QString& error) {
    Reader reader(bytes, maxDepth);
    if (reader.readRoot(root))
        return true;
    root = QVariant();
    error = reader.error;
    return false;
}

} // namespace BinaryPlist
