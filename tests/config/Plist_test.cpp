#include "platform/Plist.h"
#include "support/TempHome.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTimeZone>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

// A settings file as another program writes it: flags as strings, numbers as integers, the
// sitemap rules as an array of dictionaries, and one key this program does not know.
const char* foreignSettings = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
	<key>url</key>
	<string>https://www.example.org/</string>
	<key>name</key>
	<string>Example &amp; Co</string>
	<key>summaryReportFormat</key>
	<integer>1</integer>
	<key>sitemapRules</key>
	<array>
		<dict>
			<key>url</key>
			<string>/private</string>
			<key>exclude</key>
			<true/>
		</dict>
	</array>
	<key>futureKey</key>
	<real>2.5</real>
</dict>
</plist>
)";

QByteArray readAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

} // namespace

TEST(Plist, ReadsAFileWrittenElsewhere) {
    QVariantMap dict;
    ASSERT_TRUE(Plist::fromData(foreignSettings, dict));
    EXPECT_EQ(dict.value("url").toString(), "https://www.example.org/");
    EXPECT_EQ(dict.value("name").toString(), "Example & Co");
    EXPECT_EQ(dict.value("summaryReportFormat").toInt(), 1);
    const QVariantList rules = dict.value("sitemapRules").toList();
    ASSERT_EQ(rules.size(), 1);
    EXPECT_EQ(rules[0].toMap().value("url").toString(), "/private");
    EXPECT_EQ(rules[0].toMap().value("exclude").typeId(), QMetaType::Bool);
    EXPECT_DOUBLE_EQ(dict.value("futureKey").toDouble(), 2.5);
}

TEST(Plist, RoundTripKeepsEveryKind) {
    const QVariantMap in = {
        {"text", QString("é ü <&> \"q\"")},
        {"empty", QString("")},
        {"n", qint64(-5)},
        {"big", qint64(1) << 40},
        {"on", true},
        {"real", 0.25},
        {"data", QByteArray("\x00\x01\xff", 3)},
        {"list", QVariantList{"a", qint64(2), QDateTime(QDate(2001, 1, 2), QTime(3, 4), QTimeZone::utc())}},
        {"nested",
         QVariantMap{{"k", "v"}, {"d", QDateTime(QDate(1999, 12, 31), QTime(23, 59, 58), QTimeZone::utc())}}},
        {"when", QDateTime(QDate(2024, 3, 1), QTime(12, 30), QTimeZone::utc())}};
    QVariantMap out;
    ASSERT_TRUE(Plist::fromData(Plist::toXml(in), out));
    EXPECT_EQ(out, in);
    EXPECT_TRUE(Plist::toXml(in).contains("<date>2024-03-01T12:30:00Z</date>"));
    EXPECT_TRUE(Plist::toXml(in).startsWith("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist"));
}

// A new file renamed over the old one, never the old one rewritten in place; a write that fails
// leaves the old file as it was.
TEST(Plist, WritesByReplacingTheFile) {
    TempHome home;
    const QString path = home.path() + "/site";
    ASSERT_TRUE(Plist::writeFile(path, {{"url", "http://a/"}}));
    struct stat before {};
    ASSERT_EQ(stat(QFile::encodeName(path).constData(), &before), 0);
    ASSERT_TRUE(Plist::writeFile(path, {{"url", "http://b/"}}));
    struct stat after {};
    ASSERT_EQ(stat(QFile::encodeName(path).constData(), &after), 0);
    EXPECT_NE(before.st_ino, after.st_ino);
    EXPECT_EQ(Plist::readFile(path).value("url").toString(), "http://b/");
    EXPECT_EQ(QDir(home.path()).entryList(QDir::Files | QDir::Hidden), QStringList{"site"});

    EXPECT_FALSE(Plist::writeFile(home.path() + "/missing-folder/site", {{"url", "x"}}));
    const QByteArray old = readAll(path);
    // A folder in the way of the file: the write fails and nothing changes.
    QDir().mkdir(home.path() + "/dir");
    EXPECT_FALSE(Plist::writeFile(home.path() + "/dir", {{"url", "new"}}));
    EXPECT_EQ(readAll(path), old);
    EXPECT_TRUE(Plist::readFile(home.path() + "/nothing").isEmpty());
}

namespace {

// A binary list made object by object: object 0 is the root, references take two bytes.
QByteArray bplist(const QList<QByteArray>& objects) {
    QByteArray out = "bplist00";
    QList<quint32> offsets;
    for (const QByteArray& object : objects) {
        offsets.append(quint32(out.size()));
        out += object;
    }
    const quint64 table = quint64(out.size());
    for (quint32 offset : offsets)
        out += QByteArray(1, char(offset >> 24)) + char(offset >> 16) + char(offset >> 8) + char(offset);
    out += QByteArray(6, '\0') + char(4) + char(2);
    for (quint64 value : {quint64(objects.size()), quint64(0), table})
        for (int shift = 56; shift >= 0; shift -= 8)
            out += char(value >> shift);
    return out;
}

// An array or dictionary marker with its count, then two-byte references.
QByteArray container(char kind, const QList<int>& refs, qsizetype count) {
    QByteArray out(1, char(kind | char(count < 15 ? count : 15)));
    if (count >= 15)
        out += QByteArray("\x11") + char(count >> 8) + char(count);
    for (int ref : refs)
        out += QByteArray(1, char(ref >> 8)) + char(ref);
    return out;
}
QByteArray array(const QList<int>& refs) {
    return container(char(0xA0), refs, refs.size());
}
QByteArray dict(const QList<int>& keys, const QList<int>& values) {
    return container(char(0xD0), keys + values, keys.size());
}
QByteArray ascii(const QByteArray& text) {
    return char(0x50 | text.size()) + text;
}

// A root {"k": chain} where the chain is `levels` arrays, each holding the next `width` times;
// the last holds `innermost` (-1: nothing).
QList<QByteArray> chain(int levels, int innermost = -1, int width = 1) {
    QList<QByteArray> objects = {dict({1}, {2}), ascii("k")};
    for (int i = 0; i < levels; ++i)
        objects.append(i + 1 < levels ? array(QList<int>(width, i + 3))
                                      : (innermost < 0 ? array({}) : array({innermost})));
    return objects;
}

QByteArray xmlChain(int levels) {
    return "<plist><dict><key>k</key>" + QByteArray("<array>").repeated(levels) +
           QByteArray("</array>").repeated(levels) + "</dict></plist>";
}

} // namespace

// What is no dictionary is refused. The root dictionary is the first level: 511 arrays below it
// are the deepest list read. Deeper lists, loops and lists that share one object all the way down
// end at once with a reason, never in a crash or a walk that does not end.
TEST(Plist, BadDeepAndTangledListsAreRefused) {
    // An object first met shallow and met again under 300 more levels.
    QList<QByteArray> shared = {dict({1, 2}, {3, 303}), ascii("a"), ascii("b")};
    for (int i = 0; i < 300; ++i)
        shared.append(i + 1 < 300 ? array({i + 4}) : array({}));
    for (int i = 0; i < 300; ++i)
        shared.append(i + 1 < 300 ? array({i + 304}) : array({3}));

    struct Case {
        const char* name;
        QByteArray bytes;
        const char* error; // nullptr: read
    };
    const Case cases[] = {
        {"empty", "", ""},
        {"garbage", "garbage", ""},
        {"array at the root", "<plist><array/></plist>", ""},
        {"key without value", "<plist><dict><key>a</key></plist>", ""},
        {"xml at the limit", xmlChain(511), nullptr},
        {"xml one past", xmlChain(512), "nested deeper than 512 levels"},
        {"xml 50,000 deep", xmlChain(50000), "nested deeper than 512 levels"},
        {"binary at the limit", bplist(chain(511)), nullptr},
        {"binary one past", bplist(chain(512)), "nested deeper than 512 levels"},
        {"binary 50,000 deep", bplist(chain(50000)), "nested deeper than 512 levels"},
        {"binary loop", bplist(chain(3, 2)), "contains itself"},
        {"binary diamond, 2^400 paths", bplist(chain(400, -1, 2)), nullptr},
        {"binary shared object too deep", bplist(shared), "nested deeper than 512 levels"},
        {"binary reference past the end", bplist({dict({1}, {9}), ascii("k")}), "missing object"},
        {"binary cut short", bplist(chain(3)).chopped(5), "binary property list"},
        // Ten UTF-16 units: the 12 bytes of offsets after them hold ten bytes, not twenty.
        {"binary count past the end", bplist({dict({1}, {2}), ascii("k"), QByteArray("\x6f\x10\x0a")}),
         "past its end"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        QVariantMap out{{"left", "over"}};
        QString error;
        EXPECT_EQ(Plist::fromData(c.bytes, out, &error), c.error == nullptr);
        EXPECT_TRUE(error.contains(c.error ? c.error : "")) << error.toStdString();
        EXPECT_EQ(out.isEmpty(), c.error != nullptr); // nothing half read
    }
}

TEST(Plist, BinaryValuesReadAsTheirKinds) {
    QByteArray utf16("\x62", 1);
    utf16 += QByteArray("\x00\xe9\x00\x21", 4); // "é!" in UTF-16, big-endian
    const QByteArray objects[] = {ascii("s"), utf16, ascii("n"),
                                  QByteArray("\x13\xff\xff\xff\xff\xff\xff\xff\xfe", 9), ascii("on"),
                                  QByteArray("\x09"), ascii("d"), QByteArray("\x42\x00\xff", 3), ascii("r"),
                                  QByteArray("\x23\x3f\xd0\x00\x00\x00\x00\x00\x00", 9), ascii("when"),
                                  // 86,400 seconds after 2001-01-01
                                  QByteArray("\x33\x40\xf5\x18\x00\x00\x00\x00\x00", 9)};
    QList<QByteArray> list = {dict({1, 3, 5, 7, 9, 11}, {2, 4, 6, 8, 10, 12})};
    for (const QByteArray& object : objects)
        list.append(object);
    QVariantMap out;
    ASSERT_TRUE(Plist::fromData(bplist(list), out));
    EXPECT_EQ(out.value("s").toString(), QString("é!"));
    EXPECT_EQ(out.value("n").toLongLong(), -2);
    EXPECT_EQ(out.value("on"), QVariant(true));
    EXPECT_EQ(out.value("d").toByteArray(), QByteArray("\x00\xff", 2));
    EXPECT_DOUBLE_EQ(out.value("r").toDouble(), 0.25);
    EXPECT_EQ(out.value("when").toDateTime(), QDateTime(QDate(2001, 1, 2), QTime(0, 0), QTimeZone::utc()));
}

// A name typed with a control character must not make the site's file unreadable.
TEST(Plist, WrittenTextAlwaysReadsBack) {
    const QString text = QString("a\x01") + QChar(0xD800) + "b\x1f" + QChar(0xFFFF) + "\tc";
    QVariantMap out;
    ASSERT_TRUE(Plist::fromData(Plist::toXml({{"name", text}, {QString("k\x02"), "v"}}), out));
    EXPECT_EQ(out.value("name").toString(), "ab\tc");
    EXPECT_EQ(out.value("k").toString(), "v");
}

// Files that are no regular file of a sane size are refused at once, without waiting on a
// FIFO or reading a device without end.
TEST(Plist, ReadsOnlyRegularFilesOfSaneSize) {
    TempHome home;
    const QString dir = home.path();
    ASSERT_EQ(mkfifo(QFile::encodeName(dir + "/fifo").constData(), 0600), 0);
    ASSERT_TRUE(QFile::link("/dev/zero", dir + "/zero"));
    ASSERT_TRUE(QFile::link(dir + "/fifo", dir + "/to-fifo"));
    QFile big(dir + "/big");
    ASSERT_TRUE(big.open(QIODevice::WriteOnly) && big.resize(Plist::maxFileSize + 1));
    big.close();
    ASSERT_TRUE(Plist::writeFile(dir + "/good", {{"url", "u"}}));
    const QPair<const char*, const char*> cases[] = {
        {"fifo", "a FIFO"}, {"zero", "a device"},        {"to-fifo", "a FIFO"}, {"big", "larger than"},
        {".", "a folder"},  {"missing", "No such file"}, {"good", nullptr},
    };
    for (const auto& [name, error] : cases) {
        SCOPED_TRACE(name);
        QVariantMap out;
        QString reason;
        EXPECT_EQ(Plist::readFile(dir + "/" + name, out, &reason), error == nullptr);
        EXPECT_TRUE(reason.contains(error ? error : "")) << reason.toStdString();
    }
}
