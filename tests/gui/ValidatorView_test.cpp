// The validator table in the window: its rows follow the switch, its colours the row rule, its
// counts the pages; the Preferences buttons choose the service.
#include "analysis/SEOManager.h"
#include "gui/PreferencesDialog.h"
#include "gui/ValidatorView.h"
#include "support/CrawlFixture.h"

#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableView>
#include <QTest>
#include <gtest/gtest.h>

namespace {

TEST(ValidatorView, RowsColoursCountsAndTheServiceButtons) {
    Crawl crawl("http://example.com/");
    SEOManager seo(crawl.config, crawl.preferences, crawl.hub);
    crawl.preferences.setValue("LorraneDisplayLabels", true);
    crawl.preferences.setValue("ValidationEnabled", false);
    const struct {
        const char* url;
        const char* status;
        int errors, warnings;
    } pages[] = {{"http://example.com/", "Valid", 0, 0}, {"http://example.com/bad.html", "Invalid", 3, 2}};
    for (const auto& p : pages) {
        auto page = crawl.addLink(p.url);
        seo.add(page);
        page->setValidatorStatus(p.status);
        page->setValidatorErrors(p.errors);
        page->setValidatorWarnings(p.warnings);
    }
    ValidatorView view(seo, crawl.preferences, crawl.ui);
    EXPECT_EQ(view.tableModel().rowCount(), 0);
    EXPECT_EQ(view.findChild<QLabel*>("validatorNotice")->text(),
              "HTML validations is disabled via global preferences");

    crawl.preferences.setValue("ValidationEnabled", true);
    crawl.preferences.setValue("validateAll", true);
    for (const auto& p : pages)
        seo.incNumberValidated(seo.getnthItem(&p - pages));
    ValidatorModel& model = view.tableModel();
    ASSERT_EQ(model.rowCount(), 2);
    EXPECT_EQ(model.data(model.index(1, 1), Qt::DisplayRole).toString(), "Invalid");
    EXPECT_EQ(model.data(model.index(1, 2), Qt::DisplayRole).toString(), "3");
    EXPECT_FALSE(model.data(model.index(0, 0), Qt::BackgroundRole).isValid());
    EXPECT_TRUE(model.data(model.index(1, 0), Qt::BackgroundRole).isValid());
    EXPECT_TRUE(view.findChild<QLabel*>("validatorCounts")->text().contains("1 with errors"));
    EXPECT_TRUE(view.findChild<QLabel*>("validatorNotice")->isHidden());

    PreferencesDialog dialog(crawl.preferences);
    const struct {
        const char* button;
        QString url;
    } choices[] = {{"validatorW3C", "https://validator.w3.org"},
                   {"validatorLocal", SEOManager::localValidatorUrl()}};
    for (const auto& c : choices) {
        dialog.findChild<QPushButton*>(c.button)->click();
        EXPECT_EQ(crawl.preferences.stringValue("validationURL"), c.url);
        EXPECT_EQ(dialog.findChild<QLineEdit*>("validationURL")->text(), c.url);
    }
}

// Clicks on the headers: the first ascending, the next descending, numbers as numbers (10 after
// 9), text without regard to case; equal numbers put the later page first; the arrow follows.
TEST(ValidatorView, HeaderClicksSortTheTable) {
    Crawl crawl("http://example.com/");
    SEOManager seo(crawl.config, crawl.preferences, crawl.hub);
    crawl.preferences.setValue("ValidationEnabled", true);
    for (const auto& [name, errors] : {std::pair{"b", 9}, {"C", 10}, {"a", 0}, {"d", 9}}) {
        seo.add(crawl.addLink(QString("http://example.com/") + name));
        seo.getnthItem(seo.count() - 1)->setValidatorErrors(errors);
    }
    ValidatorView view(seo, crawl.preferences, crawl.ui);
    view.resize(900, 400);
    view.show();
    QHeaderView* header = view.table()->horizontalHeader();
    auto rows = [&] {
        QString order;
        for (int r = 0; r < view.tableModel().rowCount(); ++r)
            order += view.tableModel().data(view.tableModel().index(r, 0), Qt::DisplayRole).toString().back();
        return order;
    };
    EXPECT_EQ(rows(), "bCad");
    const struct {
        int column;
        const char* order;
        Qt::SortOrder arrow;
    } clicks[] = {{2, "adbC", Qt::AscendingOrder},
                  {2, "Cdba", Qt::DescendingOrder},
                  {0, "abCd", Qt::AscendingOrder},
                  {0, "dCba", Qt::DescendingOrder}};
    for (const auto& c : clicks) {
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                          QPoint(header->sectionViewportPosition(c.column) + 10, header->height() / 2));
        EXPECT_EQ(rows(), c.order) << "after a click on column " << c.column;
        EXPECT_EQ(header->sortIndicatorSection(), c.column);
        EXPECT_EQ(header->sortIndicatorOrder(), c.arrow);
    }
    // A new crawl puts the pages back in the order found, without an arrow.
    seo.clear();
    EXPECT_EQ(header->sortIndicatorSection(), -1);
}

} // namespace
