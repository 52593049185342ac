// The sitemap task in the window: rules on step 2, the table on step 5, save and upload through
// the FTP sheet to a real local FTP server.
#include "WindowFixture.h"
#include "gui/QtUserInterface.h"
#include "gui/ResultsView.h"
#include "gui/SitemapRulesBox.h"
#include "gui/SitemapView.h"
#include "support/FtpServer.h"
#include "support/QtPrinting.h"

#include <QApplication>
#include <QHeaderView>
#include <QLabel>
#include <QTableView>
#include <QTimer>

namespace {

// Fills the FTP sheet as soon as it shows, and presses OK.
void answerFtpSheet(const QStringList& values) {
    QTimer::singleShot(50, [values] {
        for (QWidget* top : QApplication::topLevelWidgets()) {
            auto* sheet = qobject_cast<FtpSheet*>(top);
            if (!sheet || !sheet->isVisible())
                continue;
            const char* keys[] = {"ftpserver", "ftpusername", "ftppassword", "ftpdirectory"};
            for (int i = 0; i < 4; ++i)
                sheet->field(keys[i])->setText(values[i]);
            sheet->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click();
            return;
        }
        answerFtpSheet(values);
    });
}

using SitemapWindow = WindowTest;

} // namespace

TEST_F(SitemapWindow, RulesTableAndUpload) {
    server.addPage("/", "<a href=/about.html>a</a><a href=/team.html>t</a><a href=/gone.html>g</a>");
    server.addPage("/about.html", "about");
    server.addPage("/team.html", "team");
    FtpServer ftp("web", "pw");
    ASSERT_TRUE(ftp.isRunning()) << ftp.startError().toStdString();
    startWindow();
    config().newURL(server.url("/"), "Demo");
    controller().settings();
    idle();

    // Step 2: a new rule holds the defaults; edits in place are stored as typed.
    auto* rules = window->findChild<SitemapRulesBox*>("sitemapRulesBox");
    ASSERT_NE(rules, nullptr);
    rules->findChild<QPushButton*>("addSitemapRule")->click();
    rules->findChild<QPushButton*>("addSitemapRule")->click();
    ASSERT_EQ(rules->model().rowCount(), 2);
    EXPECT_EQ(column(rules->table()->model(), 0), (QStringList{"edit_me", "edit_me"}));
    rules->model().setData(rules->model().index(0, 0), "ABOUT", Qt::EditRole);
    rules->model().setData(rules->model().index(0, 1), "0.9", Qt::EditRole);
    rules->table()->selectRow(1);
    rules->findChild<QPushButton*>("deleteSitemapRule")->click();
    ASSERT_EQ(config().getSitemapRules().size(), 1);

    // Step 5 after the sitemap task: the table instead of the link views, with its filter.
    controller().pressTaskButton(NewUIController::sitemapButton);
    ASSERT_TRUE(resultsShown());
    idle();
    auto* view = window->findChild<SitemapView*>("sitemapView");
    ASSERT_NE(view, nullptr);
    EXPECT_TRUE(view->isVisible());
    EXPECT_FALSE(window->resultsView().isVisible());
    // Pages enter in the order their answers came; a click on the URL header orders them.
    view->table()->horizontalHeader()->setSortIndicator(0, Qt::AscendingOrder);
    EXPECT_EQ(column(view->table()->model(), 0),
              (QStringList{server.url("/"), server.url("/about.html"), server.url("/team.html")}));
    EXPECT_EQ(column(view->table()->model(), 1), (QStringList{"1.0", "0.9", "0.5"}));
    EXPECT_EQ(column(view->table()->model(), 2), (QStringList{"weekly", "weekly", "weekly"}));
    view->filterField()->setText("TEAM");
    EXPECT_EQ(column(view->table()->model(), 0), QStringList{server.url("/team.html")});
    view->filterField()->clear();
    EXPECT_TRUE(view->warningLabel()->isHidden());

    // Save and upload: the sheet's details go with the site; a refusal is the alert.
    window->appDelegate().getPreferences().setValue("sitemapOptions", 1);
    const QString local = home.path() + "/sitemap.xml";
    ui().filesAhead = {local};
    answerFtpSheet({ftp.hostAndPort(), "web", "pw", ""});
    view->findChild<QPushButton*>("exportXML")->click();
    const QByteArray uploaded = contents(ftp.root() + "/sitemap.xml");
    EXPECT_FALSE(uploaded.isEmpty());
    EXPECT_EQ(uploaded, contents(local));
    EXPECT_TRUE(ui().answersAhead.isEmpty());
    const QVariantMap stored =
        Plist::readFile(SiteStore::pathForFilename(config().getSelectedConfigFilename()));
    // Saved as typed, before the upload writes the normalised form into the working copy.
    EXPECT_EQ(stored.value("ftpserver").toString(), ftp.hostAndPort());
    EXPECT_EQ(config().stringForKey("ftpserver"), "ftp://" + ftp.hostAndPort());
    EXPECT_EQ(stored.value("ftpusername").toString(), "web");

    ui().filesAhead = {local};
    ui().answersAhead = {0};
    answerFtpSheet({ftp.hostAndPort(), "web", "wrong", ""});
    view->findChild<QPushButton*>("exportXML")->click();
    EXPECT_TRUE(ui().answersAhead.isEmpty()) << "the ftp unsuccessful alert was shown";
}
