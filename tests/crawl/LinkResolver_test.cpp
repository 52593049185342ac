#include "crawl/LinkResolver.h"
#include "support/QtPrinting.h"

#include <gtest/gtest.h>

// The shortcut must write exactly what the URL class writes, or the same link would make two records.
TEST(LinkResolver, ShortcutAgreesWithTheUrlClass) {
    const char* bases[] = {"http://a.com",
                           "http://a.com/",
                           "https://a.com:8443/dir/page.html",
                           "http://a.com/dir/sub/",
                           "http://a.com/dir?x=1#f",
                           "http://User@A.COM/p/q.html",
                           "http://a.com/%7Edir/",
                           "http://a.com/d%20ir/x.html"};
    const char* links[] = {"/p/1.html", "p/1.html", "1.html",     "/",       "a/b/c?x=1&y=2", "a//b",
                           "x.html?",   "/a?b/c",   "Index.HTML", "~user/x", "dir/..x/y",     "./a",
                           "../a",      "a/./b",    "a/..",       ".",       "?q=1",          "//other.org/x",
                           "a b",       "a%20b",    "#top",       "a:b",     "/p#f",          "é.html"};
    for (const char* base : bases) {
        const LinkResolver resolver{QUrl(base)};
        for (const char* link : links) {
            SCOPED_TRACE(std::string(base) + " + " + link);
            const auto quick = resolver.resolve(link);
            const auto reference = resolver.resolveWithUrlClass(link);
            EXPECT_EQ(quick.absolute, reference.absolute);
            EXPECT_EQ(quick.host, reference.host);
            EXPECT_EQ(quick.scheme, reference.scheme);
            EXPECT_EQ(quick.neededEscaping, reference.neededEscaping);
        }
    }
}

TEST(LinkResolver, WhatCountsAsAPlainPath) {
    struct Case {
        const char* link;
        bool plain;
    };
    const Case cases[] = {{"/p/1.html", true}, {"a/b?x=1&y=2", true}, {"../a", false}, {"a/./b", false},
                          {"?q", false},       {"//h/x", false},      {"a b", false},  {"a%20b", false},
                          {"a#b", false},      {"mailto:x", false},   {"", false},     {"dir/..x", true}};
    for (const Case& c : cases)
        EXPECT_EQ(LinkResolver::isPlainPath(c.link), c.plain) << c.link;
}
