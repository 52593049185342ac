// The validator table in the window: its rows follow the switch, its colours the row rule, its
// counts the pages; the Preferences buttons choose the service.
#include "analysis/SEOManager.h"
#include "gui/PreferencesDialog.h"
#include "gui/ValidatorView.h"
#include "support/CrawlFixture.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
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
    ValidatorView view(seo, crawl.preferences);
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

} // namespace
