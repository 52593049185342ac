#include "analysis/SEOManager.h"
#include "app/AppDelegate.h"
#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"
#include "platform/Plist.h"
#include "reports/CrawlDatabase.h"
#include "reports/CrawlDatabaseCommands.h"
#include "support/QtPrinting.h"
#include "support/RecordingUserInterface.h"
#include "support/TempHome.h"

#include <QFile>
#include <QTemporaryDir>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

struct Crawl {
    KestConfigManager config;
    Preferences preferences;
    RecordingUserInterface ui;
    LinkCheckerHub hub{config, preferences, ui};
    SEOManager seo{config, preferences, hub};
    Crawl() { config.setDefaults(); }
};

// A record with every field set to something other than its initial value, texts that need
// escaping or cannot be carried by XML at all among them.
LinkCheckerUrlPtr fullRecord(LinkCheckerHub& hub) {
    auto r = std::make_shared<LinkCheckerUrl>(&hub);
    r->setLinkUrlTrimQuery("http://example.com/a?b=1&c=<2>", false);
    r->setRedir("http://example.com/final");
    r->setStatus("301 moved > 200 OK");
    r->setLinkText(QString("Go & \"see\" \u00e9\u20ac \U0001F600") + QChar(0x01) + "!");
    r->setLinkPageTitle("Final page");
    r->setMetaDescription("desc");
    r->setCanonical("http://example.com/canon");
    r->setHeadings("H1 H2");
    r->setKeywords("k1, k2");
    r->setChangeFrequency("weekly");
    r->setValidatorStatus("Invalid");
    r->setTargetLastModified("Mon, 02 Nov 2026 10:00:00 GMT");
    r->setTimestamp("23 Nov 2026, 14:05:09");
    r->setFileSize(5000);
    r->setFileSizeCompressed(3072);
    r->setDistanceFromHome(3);
    r->setWordCount(412);
    r->setSpelling(4);
    r->setGrammar(2);
    r->setValidatorErrors(7);
    r->setValidatorWarnings(-1);
    r->setResponseTime(0.1);
    r->setLoadTimeInterval(2.5);
    r->setIsHTML(false);
    r->setIsImage(true);
    r->setIsStartingPoint(true);
    r->setIsInternal(false);
    r->setIsBlacklisted(true);
    r->setIsInBadCollection(true);
    r->setHeadContainsNoIndex(true);
    r->setHeadContainsNoFollow(true);
    r->setOnPageName({"Home", "About"});
    r->setOnPageUrl({"http://example.com/", "http://example.com/about"});
    r->setOnPageLinkText({"one", "two"});
    r->setNoFollowArray({true, false});
    auto image = std::make_shared<LinkCheckerUrl>(&hub);
    image->setLinkUrlTrimQuery("http://example.com/i.png", false);
    r->addLinkedImage(image);
    return r;
}

// The same record as the settings writer would see it: a dictionary of every key.
QVariantMap dictionaryOf(const LinkCheckerUrl& r, bool inSEO) {
    QVariantMap d;
    QVariantList images;
    for (const auto& image : r.getLinkedImagesArray())
        images << image->getActualurl();
    QVariantList nofollow;
    for (bool flag : r.getNofollowArray())
        nofollow << flag;
    d = {{"onPageName", r.getOnPageNameArray()},
         {"onPageUrl", r.getOnPageUrlArray()},
         {"onPageLinkText", r.getOnPageLinkTextArray()},
         {"linkedImages", images},
         {"nofollow", nofollow},
         {"linkText", r.getLinkText()},
         {"linkPageTitle", r.getLinkPageTitle()},
         {"linkUrl", r.getLinkUrl()},
         {"status", r.getStatus()},
         {"redir", r.getRedir()},
         {"actualLinkUrl", r.getActualurl()},
         {"changeFrequency", r.getChangeFrequency()},
         {"metaDescription", r.getMetaDescription()},
         {"canonical", r.getCanonical()},
         {"headings", r.getHeadings()},
         {"keywords", r.getKeywords()},
         {"validatorStatus", r.getValidatorStatus()},
         {"timestamp", r.getTimestamp()},
         {"fileSizeBytes", r.getFileSizeInBytes()},
         {"fileSize", r.getFileSizeInKBytes()},
         {"fileSizeCompressed", r.getFileSizeCompressedInBytes()},
         {"distanceFromHome", r.getDistanceFromHome()},
         {"wordCount", r.getWordCount()},
         {"spellingCount", r.getSpelling()},
         {"grammarCount", r.getGrammar()},
         {"validatorErrors", r.getValidatorErrors()},
         {"validatorWarnings", r.getValidatorWarnings()},
         {"responseTimeInterval", r.getResponseTime()},
         {"loadTimeInterval", r.getLoadTime()},
         {"isHTML", r.getIsHTML()},
         {"isImage", r.getIsImage()},
         {"isStartingPoint", r.isStartingPoint()},
         {"isInternal", r.isInternal()},
         {"isBlacklisted", r.isBlacklisted()},
         {"isInBadCollection", r.isInBadCollection()},
         {"headContainsNoIndex", r.getHeadContainsNoIndex()},
         {"headContainsNoFollow", r.getHeadContainsNoFollow()},
         {"isInSEOManagersCollection", inSEO}};
    if (r.getTargetLastModified())
        d.insert("targetLastModified", *r.getTargetLastModified());
    return d;
}

// Every field the file carries, as text, for comparing a record before and after.
QStringList fieldsOf(const LinkCheckerUrl& r) {
    QStringList out;
    QString nofollow;
    for (bool flag : r.getNofollowArray())
        nofollow += flag ? '1' : '0';
    out << r.getOnPageNameArray().join('|') << r.getOnPageUrlArray().join('|')
        << r.getOnPageLinkTextArray().join('|') << nofollow << r.getLinkText() << r.getLinkPageTitle()
        << r.getLinkUrl() << r.getStatus() << r.getRedir() << r.getActualurl() << r.getChangeFrequency()
        << r.getMetaDescription() << r.getCanonical() << r.getHeadings() << r.getKeywords()
        << r.getValidatorStatus() << r.getTargetLastModified().value_or("(none)") << r.getTimestamp();
    for (double n :
         {double(r.getFileSizeInBytes()), double(r.getFileSizeInKBytes()),
          double(r.getFileSizeCompressedInBytes()), double(r.getDistanceFromHome()), double(r.getWordCount()),
          double(r.getSpelling()), double(r.getGrammar()), double(r.getValidatorErrors()),
          double(r.getValidatorWarnings()), r.getResponseTime(), r.getLoadTime()})
        out << QString::number(n, 'g', 17);
    for (bool b : {r.getIsHTML(), r.getIsImage(), r.isStartingPoint(), r.isInternal(), r.isBlacklisted(),
                   r.isInBadCollection(), r.getHeadContainsNoIndex(), r.getHeadContainsNoFollow()})
        out << (b ? "true" : "false");
    return out;
}

QByteArray wrap(const QByteArray& records, const QByteArray& rootExtra = "") {
    return "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>" + rootExtra +
           "<key>linkcheckerUrls</key><array>" + records + "</array></dict></plist>";
}

} // namespace

// The streamed writer makes the very bytes of the property-list writer, for a record with every
// field set and for one with every field at its initial value.
TEST(CrawlDatabase, WritesTheBytesOfThePropertyListWriter) {
    Crawl c;
    const LinkCheckerUrlPtr full = fullRecord(c.hub);
    const auto empty = std::make_shared<LinkCheckerUrl>(&c.hub);
    for (bool kickedOff : {false, true}) {
        const QByteArray streamed = CrawlDatabase::toXml(
            {full, empty}, [&](const LinkCheckerUrl& r) { return &r == full.get(); }, kickedOff);
        const QVariantMap root{
            {"linkcheckerUrls", QVariantList{dictionaryOf(*full, true), dictionaryOf(*empty, false)}},
            {"validationKickedOff", kickedOff}};
        EXPECT_EQ(streamed, Plist::toXml(root));
    }
    EXPECT_EQ(CrawlDatabase::toXml({}, nullptr, false),
              Plist::toXml({{"linkcheckerUrls", QVariantList()}, {"validationKickedOff", false}}));
}

// What is read back: every field that the file carries, for a full record and an empty one;
// linked images never come back; sizes in KB are derived, not read.
TEST(CrawlDatabase, RoundTripKeepsEveryReadField) {
    Crawl c;
    const LinkCheckerUrlPtr full = fullRecord(c.hub);
    const auto empty = std::make_shared<LinkCheckerUrl>(&c.hub);
    const QByteArray bytes = CrawlDatabase::toXml({full, empty}, nullptr, true);
    CrawlDatabase::Loaded loaded;
    QString why;
    ASSERT_TRUE(CrawlDatabase::readData(bytes, c.hub, loaded, &why)) << why.toStdString();
    ASSERT_EQ(loaded.records.size(), 2u);
    EXPECT_TRUE(loaded.validationKickedOff);
    QStringList expected = fieldsOf(*full);
    expected[4].remove(QChar(0x01)); // a control character has no form in XML
    EXPECT_EQ(fieldsOf(*loaded.records[0]), expected);
    EXPECT_TRUE(loaded.records[0]->getLinkedImagesArray().isEmpty());
    EXPECT_EQ(fieldsOf(*loaded.records[1]), fieldsOf(*empty));
    EXPECT_EQ(loaded.records[1]->getValidatorErrors(), -1);
    EXPECT_FALSE(loaded.records[1]->getTargetLastModified().has_value());
}

// The reader's own rules, on files as another program could write them: keys in any order,
// unknown keys, missing keys.
TEST(CrawlDatabase, ReaderRules) {
    struct Case {
        const char* name;
        QByteArray dict;
        std::function<void(const LinkCheckerUrl&)> check;
    };
    const Case cases[] = {
        {"size in KB derived from bytes, stored KB ignored",
         "<key>fileSize</key><integer>999</integer><key>fileSizeBytes</key><integer>5000</integer>",
         [](const LinkCheckerUrl& r) { EXPECT_EQ(r.getFileSizeInKBytes(), 4); }},
        {"compressed size in KB comes back unchanged", "<key>fileSizeCompressed</key><integer>3</integer>",
         [](const LinkCheckerUrl& r) { EXPECT_EQ(r.getFileSizeCompressedInBytes(), 3); }},
        {"image flag from the link text, overruled by isImage",
         "<key>isImage</key><false/><key>linkText</key><string>[img alt] logo</string>",
         [](const LinkCheckerUrl& r) { EXPECT_FALSE(r.getIsImage()); }},
        {"isImage true stands", "<key>linkText</key><string>logo</string><key>isImage</key><true/>",
         [](const LinkCheckerUrl& r) { EXPECT_TRUE(r.getIsImage()); }},
        {"empty on-page URL becomes no url",
         "<key>onPageUrl</key><array><string>http://a/</string><string></string></array>",
         [](const LinkCheckerUrl& r) {
             EXPECT_EQ(r.getOnPageUrlArray(), QStringList({"http://a/", "no url"}));
         }},
        {"actualLinkUrl is recomputed, not read",
         "<key>actualLinkUrl</key><string>http://elsewhere/</string><key>linkUrl</key>"
         "<string>http://a/x</string><key>redir</key><string></string>",
         [](const LinkCheckerUrl& r) { EXPECT_EQ(r.getActualurl(), "http://a/x"); }},
        {"missing numbers are zero, missing texts empty, no last-modified",
         "<key>unknownKey</key><dict><key>x</key><date>2020-01-01T00:00:00Z</date></dict>",
         [](const LinkCheckerUrl& r) {
             EXPECT_EQ(r.getValidatorErrors(), 0);
             EXPECT_EQ(r.getWordCount(), 0);
             EXPECT_FALSE(r.getIsHTML());
             EXPECT_TRUE(r.getStatus().isEmpty());
             EXPECT_FALSE(r.getTargetLastModified().has_value());
         }},
        {"validator errors of -1 stay -1; a real may be written as an integer",
         "<key>validatorErrors</key><integer>-1</integer><key>responseTimeInterval</key><integer>2</integer>",
         [](const LinkCheckerUrl& r) {
             EXPECT_EQ(r.getValidatorErrors(), -1);
             EXPECT_EQ(r.getResponseTime(), 2.0);
         }},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        Crawl c;
        CrawlDatabase::Loaded loaded;
        QString why;
        ASSERT_TRUE(CrawlDatabase::readData(wrap("<dict>" + test.dict + "</dict>"), c.hub, loaded, &why))
            << why.toStdString();
        test.check(*loaded.records.at(0));
    }
}

// Texts in the forms any XML writer may use, files in other encodings, and a record larger than
// the reader takes in at once: the link text comes back the same.
TEST(CrawlDatabase, XmlFormsOfOtherWriters) {
    const QString text = u"Caf\u00e9 \u20ac <&> \"'\n"_s;
    auto file = [](const QByteArray& linkText, const QByteArray& more = "") {
        return wrap("<dict>" + more + "<key>linkText</key>" + linkText + "</dict>");
    };
    const QByteArray latin1 =
        file("<string>Caf\xe9 &#x20AC; &lt;&amp;&gt; \"'\n</string>")
            .replace("<?xml version=\"1.0\"?>", "<?xml version='1.0' encoding='ISO-8859-1'?>");
    QByteArray utf16 = "\xFF\xFE";
    const QString utf16Text =
        QString::fromUtf8(file("<string>Caf\u00e9 \u20ac &lt;&amp;&gt; \"'\n</string>"));
    utf16.append(reinterpret_cast<const char*>(utf16Text.utf16()), utf16Text.size() * 2);
    QByteArray pages = "<key>onPageUrl</key><array>";
    for (int i = 0; i < 40000; ++i)
        pages += "<string>http://example.com/a/long/page/address/" + QByteArray::number(i) + "</string>";
    pages += "</array>";
    const struct {
        const char* name;
        QByteArray bytes;
    } cases[] = {
        {"entities", file("<string>Caf&#233; &#x20AC; &lt;&amp;&gt; &quot;&apos;&#10;</string>")},
        {"character data, a comment and CR LF",
         file("<string>Caf\u00e9 <!-- note -->\u20ac <![CDATA[<&>]]> \"'\r\n</string>")},
        {"whitespace and a comment between tags",
         file("\n  <string>Caf\u00e9 \u20ac &lt;&amp;&gt; \"'\n</string >\n", "<!-- first -->\n")},
        {"UTF-16 with a byte-order mark", utf16},
        {"a declared ISO-8859-1", latin1},
        {"a record larger than one read",
         file("<string>Caf\u00e9 \u20ac &lt;&amp;&gt; \"'\n</string>", pages)},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        Crawl c;
        CrawlDatabase::Loaded loaded;
        QString why;
        ASSERT_TRUE(CrawlDatabase::readData(test.bytes, c.hub, loaded, &why)) << why.toStdString();
        EXPECT_EQ(loaded.records.at(0)->getLinkText(), text);
    }
}

// The site's slash setting in force when loading trims the stored URLs, whatever was crawled.
TEST(CrawlDatabase, IgnoreSlashOfTheSelectedSiteApplies) {
    Crawl c;
    c.config.setValueForKey("ignoreSlash", QString("YES"));
    CrawlDatabase::Loaded loaded;
    ASSERT_TRUE(CrawlDatabase::readData(
        wrap("<dict><key>linkUrl</key><string>http://a/b/</string><key>redir</key><string></string></dict>"),
        c.hub, loaded));
    EXPECT_EQ(loaded.records[0]->getLinkUrl(), "http://a/b");
    EXPECT_TRUE(loaded.records[0]->getRedir().isEmpty());
}

// Every kind of bad file gives a reason and no records.
TEST(CrawlDatabase, BadFilesAreRefusedWithAReason) {
    QTemporaryDir dir;
    const QByteArray good = wrap("<dict><key>linkUrl</key><string>http://a/</string></dict>");
    struct Case {
        const char* name;
        QByteArray bytes; // written to the file unless empty
        const char* reason;
    };
    const Case cases[] = {
        {"truncated", good.left(good.size() - 30), "line"},
        {"not a property list", "<html><body>hello</body></html>", "not a property list"},
        {"not XML at all", "\x89PNG\r\n\x1a\n\0\0\0", "not a property list"},
        {"root is an array", "<plist><array><string>x</string></array></plist>", "root is not a dictionary"},
        {"string where an integer belongs", wrap("<dict><key>wordCount</key><string>12</string></dict>"),
         "record 1: the key 'wordCount'"},
        {"array where a string belongs", wrap("<dict><key>status</key><array/></dict>"),
         "'status' holds <array>"},
        {"string where an array belongs", wrap("<dict><key>onPageUrl</key><string>x</string></dict>"),
         "'onPageUrl'"},
        {"records not an array", "<plist><dict><key>linkcheckerUrls</key><string/></dict></plist>",
         "'linkcheckerUrls'"},
        {"bad integer text", wrap("<dict/><dict><key>wordCount</key><integer>many</integer></dict>"),
         "record 2: the key 'wordCount' holds no whole number"},
        {"no records key", "<plist><dict><key>other</key><true/></dict></plist>", "no link data"},
        {"empty root dictionary", "<plist><dict/></plist>", "no link data"},
        {"empty record list", wrap(""), "no link data"},
        {"truncated after a whole read",
         good.left(good.size() - 30).replace("http://a/", QByteArray(3 << 20, 'x')), "ends early"},
        {"end tag of another element", wrap("<dict><key>status</key><string>x</integer></dict>"),
         "</integer> where </string> belongs"},
        {"unknown entity", wrap("<dict><key>status</key><string>&nbsp;</string></dict>"), "&nbsp;"},
        {"missing file", "", "No such file"},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        const QString path = dir.filePath(QString(test.name) + ".plist");
        if (!test.bytes.isEmpty()) {
            QFile file(path);
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(test.bytes);
        }
        Crawl c;
        CrawlDatabase::Loaded loaded;
        QString why;
        EXPECT_FALSE(CrawlDatabase::readFile(path, c.hub, loaded, &why));
        EXPECT_TRUE(why.contains(test.reason)) << why.toStdString();
        EXPECT_TRUE(loaded.records.empty());
    }
    // A folder, and a file of a gigabyte (sparse: no disk is used), are refused before reading.
    Crawl c;
    CrawlDatabase::Loaded loaded;
    QString why;
    EXPECT_FALSE(CrawlDatabase::readFile(dir.path(), c.hub, loaded, &why));
    EXPECT_TRUE(why.contains("folder")) << why.toStdString();
    QFile huge(dir.filePath("huge.plist"));
    ASSERT_TRUE(huge.open(QIODevice::WriteOnly) && huge.resize(qint64(1) << 30));
    huge.close();
    EXPECT_FALSE(CrawlDatabase::readFile(huge.fileName(), c.hub, loaded, &why));
    EXPECT_TRUE(why.contains("too large")) << why.toStdString();
}

// A write that fails part-way (the file size limit stands in for a full disk) leaves the file
// that was there whole, and says why.
TEST(CrawlDatabase, FailedWriteLeavesTheOldFile) {
    QTemporaryDir dir;
    Crawl c;
    for (int i = 0; i < 3000; ++i) {
        const LinkCheckerUrlPtr r = fullRecord(c.hub);
        c.hub.add(r);
    }
    const QString path = dir.filePath("links.plist");
    QFile old(path);
    ASSERT_TRUE(old.open(QIODevice::WriteOnly));
    old.write("old contents");
    old.close();
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit saved{};
    getrlimit(RLIMIT_FSIZE, &saved);
    rlimit small = saved;
    small.rlim_cur = 256 * 1024;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    QString why;
    const bool written = CrawlDatabase::writeToLocation(path, c.hub, c.seo, true, false, &why);
    setrlimit(RLIMIT_FSIZE, &saved);
    EXPECT_FALSE(written);
    EXPECT_FALSE(why.isEmpty());
    ASSERT_TRUE(old.open(QIODevice::ReadOnly));
    EXPECT_EQ(old.readAll(), "old contents");
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList{"links.plist"});
}

// Loading puts the records into the hub as a finished crawl: the by-page lookup rebuilt, the SEO
// collection given its pages back, records beyond the links limit dropped.
TEST(CrawlDatabase, ApplyRebuildsLookupsAndSEOCollection) {
    TempHome home;
    QTemporaryDir dir;
    const QString path = dir.filePath("crawl.plist");
    {
        Crawl saved;
        for (int i = 0; i < 4; ++i) {
            auto r = std::make_shared<LinkCheckerUrl>(&saved.hub);
            saved.hub.add(r);
            r->setLinkUrlTrimQuery(QString("http://a/%1").arg(i), false);
            r->setStatus(i == 2 ? "404 Not Found" : "200 OK");
            r->setIsInBadCollection(i == 2);
            r->addOnPageUrl("http://a/0");
            if (i % 2 == 0)
                saved.seo.add(r);
        }
        ASSERT_TRUE(CrawlDatabase::writeToLocation(path, saved.hub, saved.seo, true, false));
        // Bad links only: one record, its page still named.
        const QString bad = dir.filePath("bad.plist");
        ASSERT_TRUE(CrawlDatabase::writeToLocation(bad, saved.hub, saved.seo, false, false));
        CrawlDatabase::Loaded loaded;
        ASSERT_TRUE(CrawlDatabase::readFile(bad, saved.hub, loaded));
        ASSERT_EQ(loaded.records.size(), 1u);
        EXPECT_EQ(loaded.records[0]->getLinkUrl(), "http://a/2");
    }
    Crawl c;
    c.preferences.setValue("linkslimit", 3);
    CrawlDatabase::Loaded loaded;
    ASSERT_TRUE(CrawlDatabase::readFile(path, c.hub, loaded));
    CrawlDatabase::apply(std::move(loaded), c.hub, c.seo);
    EXPECT_EQ(c.hub.count(), 3);
    EXPECT_TRUE(c.hub.isCrawlFinished());
    EXPECT_EQ(c.hub.getNumberDone(), 3u);
    EXPECT_EQ(c.hub.getBadCollectionCount(), 1);
    // The dropped fourth record stays in the page lookup, as the by-page list is filled first.
    EXPECT_EQ(c.hub.getByPageDictionary().value("http://a/0").size(), 4);
    EXPECT_EQ(c.seo.count(), 2);
    EXPECT_EQ(c.hub.getnthofAllItems(0)->getID(), 1);
}

// The Open command: a bad file leaves the results as they were with the "No data" alert; a
// cancelled panel leaves them empty.
TEST(CrawlDatabase, OpenCommandKeepsOrClearsTheResults) {
    QTemporaryDir dir;
    Crawl c;
    c.hub.add(fullRecord(c.hub));
    CrawlDatabaseCommands commands(c.hub, c.seo, c.ui);
    c.ui.openAnswer = dir.filePath("missing.plist");
    EXPECT_FALSE(commands.loadLinks());
    ASSERT_EQ(c.ui.alerts.size(), 1);
    EXPECT_EQ(c.ui.alerts[0].first, "No data");
    EXPECT_TRUE(c.ui.alerts[0].second.startsWith(
        "Either the file is the wrong type of file or contains no link data."));
    EXPECT_EQ(c.hub.count(), 1);
    c.ui.openAnswer.clear();
    EXPECT_FALSE(commands.loadLinks());
    EXPECT_EQ(c.hub.count(), 0);
}

// Saving asks between bad and all links only above 50000 records with a bad one among them.
TEST(CrawlDatabase, SaveChoiceOnlyForBigCrawlsWithBadLinks) {
    struct Case {
        int records;
        bool anyBad;
        bool asked;
    };
    for (const Case test : {Case{50000, true, false}, Case{50001, false, false}, Case{50001, true, true}}) {
        SCOPED_TRACE(test.records);
        Crawl c;
        c.preferences.setValue("linkslimit", 0);
        for (int i = 0; i < test.records; ++i) {
            auto r = std::make_shared<LinkCheckerUrl>(&c.hub);
            r->setIsInBadCollection(test.anyBad && i == 7);
            c.hub.add(r);
        }
        CrawlDatabaseCommands commands(c.hub, c.seo, c.ui);
        c.ui.alertAnswer = 2; // cancel, when asked
        c.ui.saveAnswer.clear();
        commands.saveLinksMenuItem();
        EXPECT_EQ(c.ui.alerts.size(), test.asked ? 1 : 0);
    }
}

// With the preference on, quitting writes every record to the autosave file, which loads;
// quitting with nothing to keep leaves it.
TEST(CrawlDatabase, AutosaveAtQuitWritesTheResults) {
    TempHome home;
    {
        Preferences stored;
        stored.load();
        ASSERT_TRUE(stored.setValueAndStore("autosave", true));
    }
    RecordingUserInterface ui;
    AppDelegate app(ui);
    app.awakeFromNib();
    for (const char* status : {"200 OK", "404 Not Found"}) {
        auto r = std::make_shared<LinkCheckerUrl>(&app.getHub());
        r->setLinkUrlTrimQuery(QString("http://a/") + status, false);
        r->setStatus(status);
        r->setIsInBadCollection(status[0] == '4');
        app.getHub().add(r);
    }
    EXPECT_TRUE(app.applicationShouldTerminate());
    // A later run that quits with no results keeps the file for the next start.
    {
        AppDelegate empty(ui);
        empty.awakeFromNib();
        EXPECT_TRUE(empty.applicationShouldTerminate());
    }
    Crawl c;
    CrawlDatabase::Loaded loaded;
    QString why;
    ASSERT_TRUE(CrawlDatabase::readFile(CrawlDatabaseCommands::autosavePath(), c.hub, loaded, &why))
        << why.toStdString();
    ASSERT_EQ(loaded.records.size(), 2u);
    EXPECT_EQ(loaded.records[1]->getStatus(), "404 Not Found");
}
