#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "config/UAStringManager.h"
#include "platform/Plist.h"
#include "support/QtPrinting.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

// Rules as another program writes them: plain ones, and entries of the wrong types.
const char* rulesFile = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0">
<dict>
	<key>sitemapRules</key>
	<array>
		<dict>
			<key>contains</key><string>/news/</string>
			<key>priority</key><string>0.8</string>
			<key>update</key><string>daily</string>
		</dict>
		<string>not a rule</string>
		<dict>
			<key>contains</key><array><string>/news/</string></array>
			<key>priority</key><string>0.1</string>
		</dict>
		<dict>
			<key>contains</key><string>ARCHIVE</string>
			<key>priority</key><real>0.25</real>
			<key>update</key><integer>7</integer>
		</dict>
	</array>
</dict>
</plist>
)";

QString ruleText(const std::optional<QVariantMap>& rule) {
    return rule ? rule->value("priority").toString() + "/" + rule->value("update").toString() : "none";
}

} // namespace

TEST(SitemapRules, TheLastMatchingRuleApplies) {
    const struct {
        QList<QStringList> rules; // contains, priority, update
        const char* url;
        const char* expected;
    } cases[] = {
        {{}, "http://a.test/x", "none"},
        {{{"", "0.1", "never"}}, "http://a.test/x", "none"},
        {{{"BLOG", "0.9", "daily"}}, "http://a.test/blog/1", "0.9/daily"},
        {{{"blog", "0.9", "daily"}}, "http://a.test/BLOG/1", "0.9/daily"},
        {{{"a.test", "0.1", "never"}, {"blog", "0.9", "daily"}}, "http://a.test/blog/1", "0.9/daily"},
        {{{"blog", "0.9", "daily"}, {"a.test", "0.1", "never"}}, "http://a.test/blog/1", "0.1/never"},
        {{{"blog", "0.9", "daily"}, {"shop", "0.1", "never"}}, "http://a.test/blog/1", "0.9/daily"},
        {{{"blog", "high", "fortnightly"}}, "http://a.test/blog", "high/fortnightly"},
    };
    for (const auto& c : cases) {
        KestConfigManager config;
        for (const QStringList& r : c.rules)
            config.getSitemapRules().append(
                QVariantMap{{"contains", r[0]}, {"priority", r[1]}, {"update", r[2]}});
        EXPECT_EQ(ruleText(config.ruleThatApplies(c.url)), c.expected) << c.url;
    }
}

// A new rule's values, removal by row, and in-place edits, each marking the site as edited.
TEST(SitemapRules, TableEdits) {
    KestConfigManager config;
    int refreshed = 0;
    config.ruleTableChanged = [&] { ++refreshed; };
    config.addSitemapRule();
    config.addSitemapRule();
    EXPECT_EQ(config.getSitemapRules()[0].toMap(),
              (QVariantMap{{"contains", "edit_me"}, {"priority", "0.5"}, {"update", "weekly"}}));
    EXPECT_TRUE(config.isDocumentEdited());
    config.setSitemapRuleValue(1, "contains", "shop");
    config.setSitemapRuleValue(1, "priority", "not a number");
    config.setSitemapRuleValue(5, "contains", "nowhere");
    config.deleteSitemapRule(0);
    config.deleteSitemapRule(3);
    config.deleteSitemapRule(-1);
    ASSERT_EQ(config.getSitemapRules().size(), 1);
    EXPECT_EQ(ruleText(config.ruleThatApplies("http://a.test/shop")), "not a number/weekly");
    EXPECT_EQ(refreshed, 3);
}

// Rules written elsewhere load from the file, wrong types and all, and go back as arrays of maps.
TEST(SitemapRules, ReadFromAFileWrittenElsewhereAndSavedBack) {
    QVariantMap dict;
    ASSERT_TRUE(Plist::fromData(rulesFile, dict));
    KestConfigManager config;
    config.implementSettingsFromDictionary(dict);
    ASSERT_EQ(config.getSitemapRules().size(), 4);
    EXPECT_EQ(ruleText(config.ruleThatApplies("http://www.example.org/news/1")), "0.8/daily");
    EXPECT_EQ(ruleText(config.ruleThatApplies("http://www.example.org/archive/2")), "0.25/7");
    EXPECT_EQ(ruleText(config.ruleThatApplies("http://www.example.org/not a rule")), "none");

    QTemporaryDir dir;
    const QString path = dir.filePath("site.lcsettings");
    ASSERT_TRUE(Plist::writeFile(path, config.compileConfigDict()));
    KestConfigManager reread;
    reread.implementSettingsFromDictionary(Plist::readFile(path));
    EXPECT_EQ(ruleText(reread.ruleThatApplies("http://www.example.org/news/1")), "0.8/daily");
    EXPECT_EQ(ruleText(reread.ruleThatApplies("http://www.example.org/Archive/")), "0.25/7");

    // The whole list of the wrong type is no list at all.
    reread.implementSettingsFromDictionary({{"sitemapRules", "contains=/x"}});
    EXPECT_TRUE(reread.getSitemapRules().isEmpty());
}

TEST(UAStringManager, ChoosingATitleCopiesItsAgent) {
    Preferences preferences;
    UAStringManager agents(preferences);
    EXPECT_EQ(agents.populateMenu(), (QStringList{"Safari 7.1", "Firefox 25.0", "IE 10 / Windows",
                                                  "Chrome 36.0", "Opera 11", "Trellium"}));
    EXPECT_TRUE(agents.itemSelected("IE 10 / Windows"));
    EXPECT_EQ(preferences.userAgentString(),
              "Mozilla/5.0 (compatible; MSIE 10.0; Windows NT 6.1; WOW64; Trident/6.0)");
    EXPECT_FALSE(agents.itemSelected("Lynx"));
    EXPECT_EQ(preferences.userAgentString(),
              "Mozilla/5.0 (compatible; MSIE 10.0; Windows NT 6.1; WOW64; Trident/6.0)");
    EXPECT_TRUE(agents.itemSelected("Opera 11"));
    EXPECT_TRUE(preferences.userAgentString().startsWith("Opera/9.80"));
}
