#include "crawl/StartProbes.h"
#include "crawl/UrlRules.h"

#include "support/QtPrinting.h"
#include <QUrl>

#include <gtest/gtest.h>

TEST(StartProbes, DirectoryLimit) {
    struct Case {
        const char* url;
        bool wordpress;
        const char* term;
    };
    const Case cases[] = {
        {"http://a.com", false, ""},
        {"http://a.com/", false, ""},
        {"http://a.com/page.html", false, ""},
        {"http://a.com/dir/page.html", false, "/dir"},
        {"http://a.com/dir/", false, "/dir"},
        {"http://a.com/dir/sub/", false, "/dir/sub"},
        {"http://a.com:8080/dir/x.php", false, "/dir"},
        {"http://WWW.A.com/dir/x.html", false, "/dir"},
        {"http://a.com/blog/post/", true, "/blog"},
        {"http://a.com/blog/", true, ""},
        {"http://a.com/blog", true, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.url);
        const QUrl url(c.url);
        EXPECT_EQ(StartProbes::directoryLimitTerm(c.url, url.host(), url.port(), c.wordpress), c.term);
    }
}

TEST(StartProbes, RobotsGroups) {
    struct Case {
        const char* name;
        const char* text;
        QStringList terms;
    };
    const Case cases[] = {
        {"star first, Google later",
         "User-agent: *\nDisallow: /private\n\nUser-agent: Googlebot\nDisallow: /g\n",
         {"/private"}},
        {"Google first", "User-agent: Googlebot\nDisallow: /g\nUser-agent: *\nDisallow: /s\n", {"/g"}},
        {"image bot is not Google", "User-agent: Googlebot-Image\nDisallow: /img\n", {}},
        {"other robots", "User-agent: Bingbot\nDisallow: /b\n", {}},
        {"a line not for us between two", "User-agent: *\nUser-agent: Bingbot\nDisallow: /x\n", {}},
        {"carriage returns only", "User-agent: *\rDisallow: /cr\r", {"/cr"}},
        {"value cut at a colon", "User-agent: *\nDisallow: /a:b\n", {"/a"}},
        {"empty disallow", "User-agent: *\nDisallow:\nDisallow: /\n", {"/"}},
        {"single line", "Disallow: /x", {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(StartProbes::parseRobotsTxt(c.text), c.terms);
    }
    // "Disallow: /" yields a term of one character, which no URL test ever matches.
    const QStringList slash = {"/"};
    EXPECT_FALSE(UrlRules::stringContainsOneOfTheseTerms("http://a.com/page", &slash));
    EXPECT_EQ(StartProbes::robotsTxtAddress("secure.example.com"), "http://secure.example.com/robots.txt");
}

TEST(UrlRules, StartCompletionAndHosts) {
    EXPECT_EQ(UrlRules::completeStartUrl("a.com"), "http://a.com");
    EXPECT_EQ(UrlRules::completeStartUrl("www.example.com"), "http://www.example.com");
    EXPECT_EQ(UrlRules::completeStartUrl("https://x.org/"), "https://x.org/");
    EXPECT_EQ(UrlRules::completeStartUrl("/Users/me/My Site/index.html"),
              "file:///Users/me/My%20Site/index.html");
    EXPECT_EQ(UrlRules::completeStartUrl("/Library/a&amp;b"), "file:///Library/a&b");
    EXPECT_EQ(UrlRules::completeStartUrl("/Library/a&amp;lt;b&gt;"), "file:///Library/a&lt;b>");

    struct Case {
        const char* host;
        QStringList domains;
        bool ignoreSubdomain;
        bool internal;
    };
    const Case cases[] = {
        {"a.com", {}, false, true},
        {"a.com", {"a.com"}, false, true},
        {"A.com", {"a.com"}, true, false},
        {"www.a.com", {"a.com"}, false, false},
        {"www.a.com", {"a.com"}, true, true},
        {"a.com", {"www.a.com"}, true, true},
        {"x.a.com", {"y.a.com"}, true, false},
        {"evil.a.com.attacker.net", {"a.com"}, true, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.host);
        EXPECT_EQ(UrlRules::compareHostWithDomain(c.host, c.domains, c.ignoreSubdomain), c.internal);
    }
    const std::pair<const char*, const char*> extensions[] = {
        {"/a/b.html", "html"}, {"/x.tar.gz", "gz"},  {"/v1.2/notes", ""}, {"/dir/", ""}, {"", ""},
        {"/end.", ""},         {"/doc.pdf/", "pdf"}, {"/", ""},
    };
    for (const auto& [path, extension] : extensions)
        EXPECT_EQ(UrlRules::pathExtension(path), extension) << path;
    EXPECT_TRUE(UrlRules::isMailtoEtc("page.html?call=tel:123"));
    EXPECT_TRUE(UrlRules::isMailtoEtc("MAILTO:me@x.org"));
    EXPECT_FALSE(UrlRules::isMailtoEtc("telephone.html"));
    const QStringList terms = {"x", "SECRET"};
    EXPECT_TRUE(UrlRules::stringContainsOneOfTheseTerms("http://a.com/secret/", &terms));
    EXPECT_FALSE(UrlRules::stringContainsOneOfTheseTerms("http://x.com/", &terms));
}
