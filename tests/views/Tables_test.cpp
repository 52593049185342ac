#include "ViewsFixture.h"

#include "views/lfDataSource.h"

namespace {

// A record with one number, for the base source's own behaviour.
struct Numbered : KestDataObject {
    Numbered(QString name, double value) : name(std::move(name)), value(value) {}
    QVariant getFieldByName(const QString& key) const override { return key == "name" ? name : QString(); }
    double getFieldAsNumberByName(const QString& key) const override {
        return key == "wordcount" ? value : 0;
    }
    QString name;
    double value;
};

using Source = lfDataSource<Numbered>;

QString names(const Source& source) {
    QString out;
    for (qsizetype i = 0; i < source.count(); ++i)
        out += source.getnthSortedItem(i)->name;
    return out;
}

const QString longUrl = "http://example.com/" + QString(41, 'x'); // 60 characters
const QString longUrlShort = longUrl.left(23) + "..." + longUrl.right(27);

} // namespace

TEST(lfDataSource, IdsAreGivenOrRaised) {
    Source source;
    auto a = std::make_shared<Numbered>("a", 0);
    source.add(a);
    EXPECT_EQ(a->getID(), 1);
    auto b = std::make_shared<Numbered>("b", 0);
    b->setID(40);
    source.add(b);
    auto c = std::make_shared<Numbered>("c", 0);
    source.add(c);
    EXPECT_EQ(b->getID(), 40);
    EXPECT_EQ(c->getID(), 41);
    EXPECT_EQ(source.getItemById(41), c);
    source.clear();
    EXPECT_EQ(source.getHighestId(), 0);
    EXPECT_EQ(source.getnthItem(0), nullptr);
}

TEST(lfDataSource, NumericSortPutsTheLaterOfEqualValuesFirst) {
    struct Case {
        const char* values; // one digit a record, records named P, Q, R, ...
        bool ascending;
        const char* order;
    };
    const Case cases[] = {
        {"575", true, "RPQ"},
        {"575", false, "QRP"},
        // Past six records the probes at one half and three quarters decide where the walk starts.
        {"31415926", true, "SQVPRTWU"},
        {"31415926", false, "UWTRPVSQ"},
        {"55555555", true, "WVUTSRQP"},
    };
    for (const Case& c : cases) {
        Source source;
        const QString values = c.values;
        for (qsizetype i = 0; i < values.size(); ++i)
            source.add(std::make_shared<Numbered>(QString(QChar(char16_t('P' + i))), values[i].digitValue()));
        source.sortByColumnAscendingWithOptions("wordcount", c.ascending, 1);
        SCOPED_TRACE(std::string(c.values) + (c.ascending ? " ascending" : " descending"));
        EXPECT_EQ(names(source), QString(c.order));
    }
}

TEST(lfDataSource, SortArrayOutlivesDeletionAndTakesNewRecordsAtTheEnd) {
    Source source;
    auto p = std::make_shared<Numbered>("P", 5);
    source.add(p);
    source.add(std::make_shared<Numbered>("Q", 7));
    source.didClickTableColumn("wordcount", false);
    EXPECT_EQ(names(source), "QP");
    source.add(std::make_shared<Numbered>("R", 9));
    EXPECT_EQ(names(source), "QPR");
    source.deleteItem(p);
    EXPECT_EQ(source.count(), 2);
    EXPECT_EQ(source.getnthSortedItem(1), p);
    source.didClickTableColumn("name", false); // text
    EXPECT_EQ(names(source), "RQ");
}

TEST(lfDataSource, CompareGivesZeroUnlessNumericAndFinite) {
    Numbered a("a", 2), b("b", 3), inf("i", std::numeric_limits<double>::infinity());
    EXPECT_EQ(Source::compareWithColumnOptions(a, b, "wordcount", 1), -1);
    EXPECT_EQ(Source::compareWithColumnOptions(b, a, "wordcount", 1), 1);
    EXPECT_EQ(Source::compareWithColumnOptions(a, b, "wordcount", 0), 0);
    EXPECT_EQ(Source::compareWithColumnOptions(a, inf, "wordcount", 1), 0);
}

TEST(TableExports, ThroughATable) {
    ViewsFixture f;
    kestreliaTableView table({{"status", "Status"}, {"linkurl", "URL"}});
    EXPECT_EQ(f.hub.getDataAsCSVUsingTableView(table), "\"Status\",\"URL\"\r");
    EXPECT_EQ(f.hub.getDataAsHTMLusingTableView(table),
              "<table><tr><th class = status>Status</th><th class = linkurl>URL</th></tr></table><br />");

    auto a = f.link("http://example.com/a", "200 no error");
    f.link(longUrl, "404 not found");
    f.link("http://example.com/hidden", "200 no error")->setVisible(false);

    // The hub's plain row count is the whole collection: the hidden record's row is asked
    // for beyond the visible ones and comes out empty.
    EXPECT_EQ(f.hub.getDataAsCSVUsingTableView(table), "\"Status\",\"URL\"\r"
                                                       "\"200 no error\",\"http://example.com/a\"\r"
                                                       "\"404 not found\",\"" +
                                                           longUrl +
                                                           "\"\r"
                                                           "\"\",\"\"\r");
    EXPECT_EQ(f.hub.getDataAsHTMLusingTableView(table),
              "<table><tr><th class = status>Status</th><th class = linkurl>URL</th></tr>"
              "<tr><td class = status >200 no error</td><td class = linkurl ><a href = http://example.com/a "
              ">http://example.com/a</a></td></tr>"
              "<tr><td class = \"status alt\" >404 not found</td><td class = \"linkurl alt\" ><a href = " +
                  longUrl + " >" + longUrlShort +
                  "</a></td></tr>"
                  "</table><br />");

    table.setLFIdentifier("validator");
    a->setStatus("see https://example.com/why");
    EXPECT_TRUE(f.hub.getDataAsHTMLusingTableView(table).contains(
        "<a href = https://validator.w3.org/check?uri=see https://example.com/why >see "
        "https://example.com/why</a>"));
}

TEST(LabelColours, ConstantsPickTheStatusClassColours) {
    Preferences preferences;
    preferences.setValue("Lorrane4xxColourR", 1.0);
    preferences.setValue("Lorrane4xxColourG", 0.5);
    preferences.setValue("Lorrane4xxColourB", 0.25);
    preferences.setValue("Lorrane4xxColourA", 1.0);
    const LabelColour fourxx{1.0, 0.5, 0.25, 1.0};
    EXPECT_EQ(KestLabelColours::rowColourForConstant(3, preferences), fourxx);
    EXPECT_EQ(KestLabelColours::rowColourForConstant(0, preferences), std::nullopt);
    EXPECT_EQ(KestLabelColours::rowColourForConstant(5, preferences), std::nullopt);
    EXPECT_EQ(KestLabelColours::labelColorForConstant(0, preferences), KestLabelColours::colorWellNone());
    EXPECT_EQ(KestLabelColours::labelColorForConstant(3, preferences), fourxx);
    EXPECT_EQ(TableExport::rgbText(fourxx), "rgb(255,127,63)");
    preferences.setValue("LorraneDisplayLabels", false);
    EXPECT_EQ(KestLabelColours::rowColourForConstant(3, preferences), std::nullopt);
    EXPECT_EQ(KestLabelColours::labelColorForConstant(3, preferences), fourxx);
}
