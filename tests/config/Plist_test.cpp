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
	<key>checkImages</key>
	<string>YES</string>
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

TEST(Plist, RejectsWhatIsNotADictionary) {
    const char* bad[] = {"", "garbage", "<plist><array/></plist>", "<plist><dict><key>a</key></plist>"};
    for (const char* bytes : bad) {
        QVariantMap dict{{"left", "over"}};
        EXPECT_FALSE(Plist::fromData(bytes, dict)) << bytes;
        EXPECT_TRUE(dict.isEmpty());
    }
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

TEST(Plist, WritesByReplacingTheFile) {
    TempHome home;
    const QString path = home.path() + "/site";
    ASSERT_TRUE(Plist::writeFile(path, {{"url", "http://a/"}}));
    struct stat before {};
    ASSERT_EQ(stat(QFile::encodeName(path).constData(), &before), 0);
    ASSERT_TRUE(Plist::writeFile(path, {{"url", "http://b/"}}));
    struct stat after {};
    ASSERT_EQ(stat(QFile::encodeName(path).constData(), &after), 0);
    // A new file renamed over the old one, never the old one rewritten in place.
    EXPECT_NE(before.st_ino, after.st_ino);
    EXPECT_EQ(Plist::readFile(path).value("url").toString(), "http://b/");
    EXPECT_EQ(QDir(home.path()).entryList(QDir::Files | QDir::Hidden), QStringList{"site"});
}

TEST(Plist, FailedWriteLeavesTheOldFile) {
    TempHome home;
    const QString path = home.path() + "/missing-folder/site";
    EXPECT_FALSE(Plist::writeFile(path, {{"url", "x"}}));
    const QString file = home.path() + "/site";
    ASSERT_TRUE(Plist::writeFile(file, {{"url", "old"}}));
    const QByteArray old = readAll(file);
    // A folder in the way of the file: the write fails and nothing changes.
    QDir().mkdir(home.path() + "/dir");
    EXPECT_FALSE(Plist::writeFile(home.path() + "/dir", {{"url", "new"}}));
    EXPECT_EQ(readAll(file), old);
    EXPECT_TRUE(Plist::readFile(home.path() + "/nothing").isEmpty());
}
