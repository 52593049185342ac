// The extra readings of a page: anchor targets and the resources it loads.
#include "parsing/PageScan.h"
#include "support/QtPrinting.h"

#include <gtest/gtest.h>

TEST(PageScan, AnchorTargets) {
    struct Case {
        const char* html;
        QStringList targets;
    };
    const Case cases[] = {
        {R"(<h1 id="a">x</h1><P ID='b'>y</P><div id=c>z</div>)", {"a", "b", "c"}},
        {R"(<a name="old"></a><span name="no"></span><div data-id="no" xid="no"></div>)", {"old"}},
        {R"(<p id="caf&eacute;"></p><p id="a&amp;b"></p><p id="with space"></p>)",
         {"café", "a&b", "with space"}},
        {R"(<!-- <p id="gone"> --><script>x = '<p id="gone">';</script><style>p[id="gone"]{}</style><i id="kept">)",
         {"kept"}},
        {R"(<SCRIPT>if (a<b) {}</script ><b id="after">)", {"after"}},
        {R"(<p title="a > b" id="q">)", {"q"}},
        {R"(<p id="cut)", {"cut"}}, // a page cut short still gives what it has
        {"", {}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(PageScan::anchorTargets(c.html), c.targets) << c.html;
}

TEST(PageScan, Resources) {
    const std::pair<const char*, QStringList> cases[] = {
        {R"(<link rel="stylesheet" href="/a.css"><LINK REL="Shortcut Icon" HREF="/f.ico"><link rel=preload href=/p.js>)",
         {"stylesheet /a.css", "icon /f.ico"}},
        {R"(<link rel="apple-touch-icon" href=" /t.png "><link href="/no-rel.css">)", {"icon /t.png"}},
        {R"(<script src="/s.js?a=1&amp;b=2"></script><script>var x = '<script src="/no.js">';</script>)",
         {"script /s.js?a=1&b=2"}},
        {R"(<iframe src="/f.html"></iframe><video poster="/p.jpg"><source src="/v.mp4"></video>)",
         {"iframe /f.html", "poster /p.jpg", "source /v.mp4"}},
        {R"(<img src="/i.png" srcset="/a.png 1x, /b.png 2x"><picture><source srcset="/c.webp"></picture>)",
         {"srcset /a.png", "srcset /b.png", "srcset /c.webp"}},
        {R"(<script src=""></script><img srcset=""><!-- <script src="/c.js"></script> -->)", {}},
    };
    for (const auto& [html, expected] : cases) {
        QStringList found;
        for (const PageScan::Resource& resource : PageScan::resources(html))
            found.append(resource.kind + " " + resource.url);
        EXPECT_EQ(found, expected) << html;
    }
}

TEST(PageScan, SrcsetCandidates) {
    const std::pair<const char*, QStringList> cases[] = {
        {"a.png 1x, b.png 2x", {"a.png", "b.png"}},
        {"a.png,b.png", {"a.png,b.png"}}, // a comma inside a URL belongs to it
        {"a.png, b.png", {"a.png", "b.png"}},
        {"  a.png 480w,\n b.png   800w  ", {"a.png", "b.png"}},
        {"img.php?w=1,2 1x, c.png", {"img.php?w=1,2", "c.png"}},
        {"a.png (x, y), b.png", {"a.png", "b.png"}},
        {",,", {}},
    };
    for (const auto& [srcset, urls] : cases)
        EXPECT_EQ(PageScan::srcsetUrls(srcset), urls) << srcset;
}
