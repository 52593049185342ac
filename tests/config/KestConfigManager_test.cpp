#include "config/KestConfigManager.h"

#include <gtest/gtest.h>

TEST(KestConfigManager, BooleanRule) {
    struct Case {
        QVariant value;
        bool expected;
    };
    const Case cases[] = {{"YES", true},  {"NO", false},  {"1", true},    {"true", true},  {"  +007", true},
                          {"-0y", true},  {"000", false}, {QVariant(), false}, {"", false}, {"no", false},
                          {"Tuesday", true}, {" 0", false}};
    for (const Case& c : cases)
        EXPECT_EQ(KestConfigManager::boolValue(c.value), c.expected) << c.value.toString().toStdString();
}

TEST(KestConfigManager, BlankDictionaryHasTheSeventyFiveKeys) {
    const QVariantMap blank = KestConfigManager::compileBlankDict();
    EXPECT_EQ(blank.size(), 75);
    EXPECT_FALSE(blank.contains("delay"));
    EXPECT_EQ(blank.value("numberOfThreads").toString(), "12");
    EXPECT_EQ(blank.value("ignoreSlash").toString(), "YES");
}
