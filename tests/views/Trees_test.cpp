#include "ViewsFixture.h"

#include "views/LinkTreeSource.h"
#include "views/TableExport.h"

namespace {

const QString home = "http://example.com/index.html";

// A start page that links twice to one broken link, with two texts.
struct TwiceLinked : ViewsFixture {
    LinkCheckerUrlPtr start = link(home, "200 no error", 0);
    LinkCheckerUrlPtr broken = link("http://example.com/l", "404 not found");
    LinkTreeSource tree{hub, preferences};
    ByLinkOutline byLink{tree};
    ByPageOutline byPage{tree};

    TwiceLinked() {
        preferences.setValue("LorraneByLinkViewColsLinkText", true);
        occur(broken, home, "first");
        occur(broken, home, "second", true);
    }
};

QString childTexts(const std::vector<LinkTreeSource::OnPagePtr>& children) {
    QStringList texts;
    for (const auto& child : children)
        texts.append(child ? child->getFieldByName("linktext") + "@" + QString::number(child->getIndex())
                           : "none");
    return texts.join(' ');
}

} // namespace

TEST(LinkTrees, ByLinkOutlineAsCSV) {
    TwiceLinked f;
    f.stopCrawl();
    const lfOutlineView outline = ByLinkColumns::outline(f.byLink, f.preferences);
    EXPECT_EQ(TreeExport::exportAsCSVFromOutlineView(outline),
              "\"Status\",\"URL\",\"Link Text\",\"On Page / Number of Pages\"\r"
              "\"200 no error\",\"http://example.com/index.html\",\"\",\"\"\r"
              "\"404 not found\",\"http://example.com/l\",\"\",\"2 occurrences over more than one page\"\r"
              "\"\",\"\t\",\"first\",\"http://example.com/index.html\"\r"
              "\"\",\"\t\",\"second\",\"http://example.com/index.html\"\r");
}

TEST(LinkTrees, ByPageOutlineAsHTMLWithColours) {
    TwiceLinked f;
    f.preferences.setValue("LorraneDisplayLabels", true);
    f.preferences.setValue("LorraneByLinkViewColsLinkText", false);
    f.preferences.setValue("LorraneByLinkViewColsNofollow", true);
    f.stopCrawl();
    const lfOutlineView outline = ByLinkColumns::outline(f.byPage, f.preferences);
    const QString head =
        "<table><tr><th class = status>Status</th><th class = linkurl>URL</th>"
        "<th class = onpageurl>On Page / Number of Pages</th><th class = nofollow>Nofollow</th></tr>";
    // A row of the four columns; an alternate row marks its classes, a coloured one has the 4xx red.
    auto row = [](bool alternate, bool coloured, const QStringList& values) {
        QString out = "<tr>";
        const char* ids[] = {"status", "linkurl", "onpageurl", "nofollow"};
        for (int i = 0; i < 4; ++i)
            out += "<td class = " + (alternate ? "\"" + QString(ids[i]) + " alt\"" : QString(ids[i])) +
                   (coloured ? " style = \"background:rgb(255,209,209)\">" : " >") + values[i] + "</td>";
        return out + "</tr>";
    };
    const QString start = "<a href = http://example.com/index.html >http://example.com/index.html</a>",
                  broken = "&nbsp;&nbsp;<a href = http://example.com/l >http://example.com/l</a>";
    const QString body = QString(TableExport::styleBlock) + "<table><tr>" + head +
                         row(false, false, {"", start, "", ""}) +
                         row(true, true, {"404 not found", broken, start, "No"}) +
                         row(false, true, {"404 not found", broken, start, "Yes"}) + "</table><br />";
    EXPECT_EQ(TreeExport::exportAsHTMLFromOutlineView(outline),
              "<html><head><title>Data Export from Trellium</title><meta http-equiv=\"Content-Type\" "
              "content=\"text/html; charset=UTF-8\" /></head><body>" +
                  body + "</body></html>");
}

TEST(LinkTrees, DuringACrawlRootsHaveNoChildren) {
    TwiceLinked f;
    const OutlineItem root = f.byLink.childOfItem(1, nullptr);
    EXPECT_EQ(root.record, f.broken);
    EXPECT_TRUE(f.byLink.isItemExpandable(root));
    EXPECT_EQ(f.byLink.numberOfChildrenOfItem(&root), 0);
    f.stopCrawl();
    EXPECT_EQ(f.byLink.numberOfChildrenOfItem(&root), 2);
}

TEST(LinkTrees, EachOccurrenceOnAPageKeepsItsOwnPlace) {
    ViewsFixture f;
    // The page holds a, b, a, c, a; b is hidden; a also stands on another page in between.
    auto a = f.link("http://example.com/a", "200 no error");
    auto b = f.link("http://example.com/b", "200 no error");
    auto c = f.link("http://example.com/c", "200 no error");
    f.occur(a, home, "a1");
    f.occur(b, home, "b1");
    f.occur(a, "http://example.com/other", "elsewhere");
    f.occur(a, home, "a2");
    f.occur(c, home, "c1");
    f.occur(a, home, "a3");
    b->setVisible(false);
    LinkTreeSource tree(f.hub, f.preferences);

    std::vector<LinkTreeSource::OnPagePtr> oneByOne;
    for (int n = 0; n < 5; ++n)
        oneByOne.push_back(tree.getNthVisibleItemForPage(n, home));
    EXPECT_EQ(childTexts(oneByOne), "a1@0 a2@2 c1@0 a3@3 none");
    EXPECT_EQ(childTexts(tree.visibleItemsForPage(home)), "a1@0 a2@2 c1@0 a3@3");
    EXPECT_EQ(tree.countVisibleItemsforThisPage(home), 4);
    EXPECT_EQ(tree.countItemsforThisPage(home), 5);
    EXPECT_EQ(tree.countVisibleItemsforThisPage("http://example.com/unknown"), 0);
}

TEST(LinkTrees, FilterByTermAndTag) {
    struct Case {
        const char* term;
        int tag;
        const char* visible; // initials of the visible records
    };
    const Case cases[] = {
        {"", LinkTreeSource::NoFilter, "IEG"},
        {"503", LinkTreeSource::NoFilter, "E"}, // found in the status only
        {"OTHER.org", LinkTreeSource::NoFilter, "E"},
        {"", LinkTreeSource::InternalOnly, "IG"},
        {"", LinkTreeSource::ExternalOnly, "E"},
        {"", LinkTreeSource::ImagesOnly, "G"},
        {"example", LinkTreeSource::ExternalOnly, ""},
        {"", 7, "IEG"},
    };
    ViewsFixture f;
    auto internal = f.link("http://example.com/i", "200 no error");
    auto external = f.link("http://other.org/e", "503 service unavailable");
    external->setIsInternal(false);
    auto image = f.link("http://example.com/g.png", "200 no error");
    image->setIsImage(true);
    for (const auto& r : {internal, external, image})
        f.occur(r, home, "text");
    f.stopCrawl();
    LinkTreeSource tree(f.hub, f.preferences);
    const std::pair<char, LinkCheckerUrlPtr> records[] = {{'I', internal}, {'E', external}, {'G', image}};
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.term) + " tag " + std::to_string(c.tag));
        tree.filter(c.term, c.tag);
        QString visible, reportVisible;
        for (const auto& [initial, record] : records)
            if (record->getVisible())
                visible += initial;
        for (const auto& row : f.hub.getReportDataSource().getCollection())
            if (row->getVisible())
                reportVisible += row->getLinkUrl() == internal->getLinkUrl()   ? 'I'
                                 : row->getLinkUrl() == external->getLinkUrl() ? 'E'
                                                                               : 'G';
        EXPECT_EQ(visible, c.visible);
        EXPECT_EQ(reportVisible, c.visible);
        const bool filtered = *c.term || c.tag;
        EXPECT_EQ(tree.numberOfRowsInTableView(), filtered ? visible.size() : 3);
        EXPECT_EQ(tree.countPagesWithVisibleItems(), visible.isEmpty() ? 0 : 1);
    }
}

TEST(LinkTrees, BadLinksOnly) {
    struct Case {
        const char* brokenStatus;
        qsizetype roots, pages, rows;
    };
    const Case cases[] = {
        {"200 no error", 0, 0, 0}, // no bad link at all: everything is empty
        {"404 not found", 1, 1, 3},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.brokenStatus);
        TwiceLinked f;
        f.broken->setStatus(c.brokenStatus);
        f.broken->setIsInBadCollection(!f.broken->shouldBeMemberOfBadCollection());
        f.preferences.setValue("showHideGoodLinksCheckBox", true);
        f.stopCrawl();
        EXPECT_EQ(f.byLink.numberOfChildrenOfItem(nullptr), c.roots);
        EXPECT_EQ(f.tree.getnthVisibleItem(0), c.roots ? f.broken : nullptr);
        EXPECT_EQ(f.byPage.numberOfChildrenOfItem(nullptr), c.pages);
        EXPECT_EQ(f.tree.pageHasAtLeastOneVisibleItem(home), c.pages > 0);
        EXPECT_EQ(f.tree.getNthPageWithVisibleItems(c.pages), QString(""));
        const lfOutlineView outline = ByLinkColumns::outline(f.byLink, f.preferences);
        EXPECT_EQ(outline.numberOfRows(), c.rows);
        EXPECT_EQ(TableExport::csvThroughOutline(outline).count('\r'), c.rows + 1);
    }
}

TEST(LinkTrees, ColumnSwitches) {
    Preferences preferences;
    for (const char* title : {"Link Text", "Redirected To", "Time Stamp", "Distance", "Nofollow"})
        ByLinkColumns::alterTableColumns(title, QString(title) == "Link Text", preferences);
    auto titles = [&] {
        QStringList out;
        for (const TableColumn& column : ByLinkColumns::columns(preferences))
            out.append(column.identifier);
        return out.join(',');
    };
    EXPECT_EQ(titles(), "status,linkurl,linktext,onpageurl");
    ByLinkColumns::alterTableColumns("Status", false, preferences); // stored, but the column stays
    ByLinkColumns::alterTableColumns("Link Text", false, preferences);
    ByLinkColumns::alterTableColumns("Distance", true, preferences);
    ByLinkColumns::alterTableColumns("Redirected To", true, preferences);
    EXPECT_EQ(titles(), "status,linkurl,redir,onpageurl,distance");
    EXPECT_FALSE(preferences.boolValue("LorraneByLinkViewColsStatus"));
}
