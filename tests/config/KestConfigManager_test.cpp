#include "config/KestConfigManager.h"
#include "support/QtPrinting.h"
#include "support/TempHome.h"

#include <gtest/gtest.h>

// The rule for flags, and the YES or NO that a flag read by it is saved as.
TEST(KestConfigManager, BooleanRule) {
    struct Case {
        QVariant value;
        bool expected;
    };
    const Case cases[] = {{"YES", true},    {"NO", false},  {"1", true},       {"true", true},
                          {"  +007", true}, {"-0y", true},  {"000", false},    {QVariant(), false},
                          {"", false},      {"no", false},  {"Tuesday", true}, {" 0", false},
                          {true, true},     {false, false}, {"\n\tyes", true}, {"+-1", false}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.value.toString().toStdString());
        EXPECT_EQ(KestConfigManager::boolValue(c.value), c.expected);
        KestConfigManager config;
        config.implementSettingsFromDictionary({{"checkImages", c.value}});
        EXPECT_EQ(config.compileConfigDict().value("checkImages").toString(), c.expected ? "YES" : "NO");
    }
}

TEST(KestConfigManager, BlankDictionaryHasTheSeventyFiveKeys) {
    const QVariantMap blank = KestConfigManager::compileBlankDict();
    EXPECT_EQ(blank.size(), 75);
    for (const char* absent : {"delay", "dateStamp", "status", "selectedConfig", "KestreliaMainWindowEdited"})
        EXPECT_FALSE(blank.contains(absent)) << absent;
    EXPECT_EQ(blank.value("numberOfThreads").toString(), "12");
    EXPECT_EQ(blank.value("ignoreSlash").toString(), "YES");
    EXPECT_EQ(blank.value("followQuerystring").toString(), "NO");
    EXPECT_EQ(blank.value("scheduleCalendarIntervalWeekday").toString(), "Monday");
    EXPECT_EQ(blank.value("summaryReportFormat").typeId(), QMetaType::Int);
    EXPECT_EQ(blank.value("sitemapRules").typeId(), QMetaType::QVariantList);
    EXPECT_FALSE(blank.value("language").toString().isEmpty());
}

TEST(KestConfigManager, FileWithOnlyUrlLoadsWithTheMissingValues) {
    KestConfigManager config;
    config.setValueForKey("numberOfThreads", "40");
    config.implementSettingsFromDictionary({{"url", "http://example.com/"}}); // a file with its URL only

    EXPECT_EQ(config.stringForKey("url"), "http://example.com/");
    for (const char* flag : {"ignoreSlash", "followQuerystring", "checkImages", "followCheckbox", "runJS",
                             "checkSpelling", "onFinishSendEmail", "TrelliumAttemptAuthentication"})
        EXPECT_FALSE(config.flagForKey(flag)) << flag;
    const QPair<const char*, const char*> texts[] = {
        {"timeOut", "30"},         {"delay", "0"},           {"defaultLocalFileName", "index.html"},
        {"orphanftpthreads", "1"}, {"numberOfThreads", "1"}, {"scheduleCalendarIntervalWeekday", "Monday"},
        {"ftpserver", ""},         {"checkBlacklist", ""}};
    for (const auto& [key, expected] : texts)
        EXPECT_EQ(config.stringForKey(key), expected) << key;
    EXPECT_EQ(config.getSummaryReportFormat(), 0);
    EXPECT_TRUE(config.getSitemapRules().isEmpty());
}

TEST(KestConfigManager, NumbersTypedAsTextAreReadByTheirRules) {
    struct Case {
        const char* key;
        QVariant stored;
        const char* expected;
    };
    const Case cases[] = {
        {"timeOut", "0", "30"},
        {"timeOut", "-5", "30"},
        {"timeOut", "abc", "30"},
        {"timeOut", "", "30"},
        {"timeOut", "12", "12"},
        {"timeOut", " 7s", " 7s"},
        {"delay", "", ""},
        {"delay", "2.5", "2.5"},
        {"numberOfThreads", "12", "12"},
        {"numberOfThreads", "500", "100"},
        {"numberOfThreads", "0", "1"},
        {"numberOfThreads", "-3", "1"},
        {"numberOfThreads", "2.5", "2.5"},
        {"numberOfThreads", "junk", "1"},
    };
    for (const Case& c : cases) {
        KestConfigManager config;
        config.implementSettingsFromDictionary({{c.key, c.stored}});
        EXPECT_EQ(config.stringForKey(c.key), c.expected)
            << c.key << " = " << c.stored.toString().toStdString();
    }
}

TEST(KestConfigManager, RuleListsAreTrimmedOnLoadAndJoinedOnSave) {
    KestConfigManager config;
    config.implementSettingsFromDictionary({{"checkBlacklist", " a , ,b "}, {"followWhitelist", " "}});
    EXPECT_EQ(config.getCheckBlacklistArray(), QStringList({"a", "b"}));
    EXPECT_TRUE(config.getFollowWhitelistArray().isEmpty());
    EXPECT_TRUE(config.getFollowBlacklistArray().isEmpty());
    const QVariantMap saved = config.compileConfigDict();
    EXPECT_EQ(saved.value("checkBlacklist").toString(), "a,b");
    EXPECT_EQ(saved.value("followWhitelist").toString(), "");
}

TEST(KestConfigManager, SitemapRulesAreIndependentOfTheLoadedDictionary) {
    const QVariantMap rule = {{"url", "/a"}, {"priority", "0.5"}};
    const QVariantMap dict = {{"sitemapRules", QVariantList{rule}}};
    KestConfigManager config;
    config.implementSettingsFromDictionary(dict);
    ASSERT_EQ(config.getSitemapRules().size(), 1);
    QVariantMap edited = config.getSitemapRules()[0].toMap();
    edited.insert("priority", "0.9");
    config.getSitemapRules()[0] = edited;
    EXPECT_EQ(dict.value("sitemapRules").toList()[0].toMap().value("priority").toString(), "0.5");

    config.implementSettingsFromDictionary({{"sitemapRules", QVariantList()}});
    EXPECT_TRUE(config.getSitemapRules().isEmpty());
    config.getSitemapRules().append(rule);
    config.implementSettingsFromDictionary({});
    EXPECT_TRUE(config.getSitemapRules().isEmpty());
}

// Applying any dictionary raises the edited mark through the content flag; a stored "NO" never
// lowers it, and only compiling the dictionary does not raise it.
TEST(KestConfigManager, EditedMarkOnlyRises) {
    KestConfigManager config;
    int changes = 0;
    config.settingsHaveChanged = [&] { ++changes; };
    EXPECT_FALSE(config.isDocumentEdited());
    config.setDefaults();
    EXPECT_TRUE(config.isDocumentEdited());
    EXPECT_GE(changes, 1);
    config.setDocumentEdited(false);
    config.implementSettingsFromDictionary({{"KestreliaMainWindowEdited", "NO"}});
    EXPECT_TRUE(config.isDocumentEdited());
    config.setDocumentEdited(false);
    config.compileConfigDict();
    EXPECT_FALSE(config.isDocumentEdited());
}

// Applied again, a dictionary leaves the working url and language where it lacks them, but not
// the FTP keys; the status line and the follow fields follow it.
TEST(KestConfigManager, ReappliedDictionary) {
    KestConfigManager config;
    config.implementSettingsFromDictionary({{"url", "http://a/"},
                                            {"language", "Deutsch"},
                                            {"ftpserver", "f"},
                                            {"dateStamp", "Jan 2, 2024 10:00"},
                                            {"status", "3 of 3"},
                                            {"followCheckbox", "YES"}});
    EXPECT_EQ(config.statusLine, "Last checked Jan 2, 2024 10:00, 3 of 3");
    EXPECT_FALSE(config.followRuleFieldsEnabled);
    config.implementSettingsFromDictionary({{"status", "3 of 3"}});
    EXPECT_EQ(config.stringForKey("url"), "http://a/");
    EXPECT_EQ(config.stringForKey("language"), "Deutsch");
    EXPECT_EQ(config.stringForKey("ftpserver"), "");
    EXPECT_EQ(config.statusLine, "");
    EXPECT_TRUE(config.followRuleFieldsEnabled);
}

TEST(KestConfigManager, CompiledDictionaryReloadsToTheSameDictionary) {
    TempHome home;
    KestConfigManager config;
    config.implementSettingsFromDictionary({{"url", "http://x/"},
                                            {"delay", "1"},
                                            {"checkBlacklist", "a,b"},
                                            {"checkGrammar", "YES"},
                                            {"summaryReportFormat", 1},
                                            {"scheduleCalendarIntervalMatrix", 2},
                                            {"scheduleCalendarIntervalDay", "15"},
                                            {"sitemapsavedirectory", "/tmp/s"},
                                            {"sitemapsavefilename", "map.xml"},
                                            {"sitemapRules", QVariantList{QVariantMap{{"url", "/p"}}}}});
    EXPECT_EQ(config.getSitemapPath(), "/tmp/s/map.xml");
    const QVariantMap first = config.compileConfigDict();
    KestConfigManager other;
    other.implementSettingsFromDictionary(first);
    other.setDocumentEdited(config.isDocumentEdited());
    EXPECT_EQ(other.compileConfigDict(), first);
    EXPECT_EQ(first.value("summaryReportFormat").toInt(), 1);
    EXPECT_FALSE(first.contains("name")); // no site selected
    EXPECT_FALSE(first.contains("dateStamp"));
}

TEST(KestConfigManager, IntegerReadingOfTypedNumbers) {
    const QPair<QVariant, int> cases[] = {{"12", 12},     {" 7abc", 7}, {"-5", -5},
                                          {"x", 0},       {"", 0},      {QVariant(), 0},
                                          {qint64(3), 3}, {"+4", 4},    {"99999999999", INT_MAX}};
    for (const auto& [text, expected] : cases)
        EXPECT_EQ(KestConfigManager::intValue(text), expected) << text.toString().toStdString();
}
