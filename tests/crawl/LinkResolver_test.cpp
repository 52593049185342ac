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
        // Made from its text as well, so both ways keep the host's letter case alike.
        const LinkResolver resolver{QUrl(base), base};
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

TEST(LinkResolver, HostsKeepTheirLetterCase) {
    struct Case {
        const char* base;
        const char* link;
        const char* absolute;
        const char* host;
    };
    const Case cases[] = {
        {"http://Ex.COM/d/p.html", "q.html", "http://Ex.COM/d/q.html", "Ex.COM"},
        {"http://Ex.COM/d/p.html", "../q b.html", "http://Ex.COM/q%20b.html", "Ex.COM"},
        {"http://Ex.COM/", "//OTHER.org/x", "http://OTHER.org/x", "OTHER.org"},
        {"http://ex.com/", "HTTP://User@Ex.Com:81/x?a=B", "http://User@Ex.Com:81/x?a=B", "Ex.Com"},
        {"http://Ex.COM/", "http://[::AB]/x", "http://[::AB]/x", "::AB"},
        // Not a change of case alone: the URL class's form stands.
        {"http://ex.com/", "http://xn--caf-dma.COM/", "http://xn--caf-dma.com/", "café.com"},
        {"http://Ex.COM/", "http:x", "http:x", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.base) + " + " + c.link);
        const auto result = LinkResolver(QUrl(c.base), c.base).resolve(c.link);
        EXPECT_EQ(result.absolute, c.absolute);
        EXPECT_EQ(result.host, c.host);
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
