#pragma once

// The real window in a fresh home, driven offscreen as a person would, against the local test
// server: the set-up the window tests share.
#include "config/SiteStore.h"
#include "gui/MainWindow.h"
#include "gui/SettingsForm.h"
#include "platform/Plist.h"
#include "support/CrawlFixture.h"
#include "support/TempHome.h"
#include "support/TestServer.h"

#include <QAbstractItemModel>
#include <QCheckBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>
#include <memory>

// Lets the window's events of that many milliseconds run, as a person's pause would.
inline void idle(int milliseconds = 100) {
    spinUntil([] { return false; }, milliseconds);
}

inline QStringList column(const QAbstractItemModel* model, int c) {
    QStringList cells;
    for (int r = 0; r < model->rowCount(); ++r)
        cells.append(model->index(r, c).data().toString());
    return cells;
}

// What a file holds; empty when it cannot be read.
inline QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

class WindowTest : public testing::Test {
  protected:
    TempHome home;
    TestServer server;
    std::unique_ptr<MainWindow> window;

    void TearDown() override { closeWindow(); }

    // A window as a launch makes it, handed these files.
    void startWindow(const QStringList& files = {}) {
        window = std::make_unique<MainWindow>();
        window->show();
        window->start(files);
        idle();
    }
    // The active window, as keys need.
    void activate() {
        window->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    }
    void closeWindow() {
        if (window)
            window->close();
        window.reset();
    }

    template <typename T = QWidget> T* find(const QString& name) {
        T* found = window->findChild<T*>(name);
        EXPECT_NE(found, nullptr) << name.toStdString();
        return found;
    }
    QPushButton* button(const QString& name) { return find<QPushButton>(name); }
    QPushButton* task(NewUIController::Task which) { return button(QString("task%1").arg(int(which))); }
    QAction* action(const QString& text) {
        for (QAction* a : window->findChildren<QAction*>())
            if (a->text() == text)
                return a;
        ADD_FAILURE() << "no action " << text.toStdString();
        return nullptr;
    }
    NewUIController& controller() { return window->uiController(); }
    KestConfigManager& config() { return window->appDelegate().getConfigManager(); }
    LinkCheckerHub& hub() { return window->appDelegate().getHub(); }
    QtUserInterface& ui() { return window->userInterface(); }

    // A settings file with every key, as the window writes and exports them.
    static void writeSettings(const QString& path, const QString& url, const QString& name) {
        QVariantMap site = KestConfigManager::compileBlankDict();
        site.insert("url", url);
        site.insert("name", name);
        ASSERT_TRUE(Plist::writeFile(path, site));
    }
    // A site on disk, as a previous session left it.
    static void storeSite(const QString& filename, const QString& url, const QString& name) {
        QDir().mkpath(SiteStore::storePath());
        writeSettings(SiteStore::pathForFilename(filename), url, name);
    }

    // The person's way to a new site: the New button, the dialog's fields, OK.
    void newSite(const QString& url, const QString& name) {
        button("sitesNew")->click();
        idle();
        auto* dialog = window->findChild<QDialog*>("newSiteDialog");
        ASSERT_NE(dialog, nullptr);
        auto* ok = dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok);
        EXPECT_FALSE(ok->isEnabled()) << "no site without a URL";
        dialog->findChild<QLineEdit*>("newSiteUrl")->setText(url);
        dialog->findChild<QLineEdit*>("newSiteName")->setText(name);
        ASSERT_TRUE(ok->isEnabled());
        ok->click();
        idle();
    }

    // A new site of the test server, its settings passed (with one box ticked), on the tasks step.
    void newSiteToTasks(const QString& name, const QString& tick = {}) {
        newSite(server.url("/"), name);
        button("nextButton")->click();
        if (!tick.isEmpty())
            window->settingsForm().checkBoxForKey(tick)->click();
        button("nextButton")->click();
        ASSERT_EQ(controller().getSelectedTab(), "3");
    }

    // Typed over the field's text, key by key.
    static void type(QLineEdit* edit, const QString& text) {
        edit->setFocus();
        edit->selectAll();
        QTest::keyClicks(edit, text);
    }

    void toTasks() {
        controller().jobSelection();
        idle();
        ASSERT_EQ(controller().getSelectedTab(), "3");
    }
    bool resultsShown() {
        return spinUntil([&] { return controller().getSelectedTab() == "5"; });
    }
    // Presses the task and waits for its results.
    void runTask(NewUIController::Task which) {
        task(which)->click();
        ASSERT_TRUE(resultsShown());
        idle();
    }

    // A picture for the README, taken only when TRELLIUM_SCREENSHOTS names a folder, so the
    // ordinary suite never writes one.
    void screenshot(const QString& name) {
        const QString folder = qEnvironmentVariable("TRELLIUM_SCREENSHOTS");
        if (folder.isEmpty())
            return;
        idle(300);
        EXPECT_TRUE(QDir().mkpath(folder) && window->grab().save(folder + "/" + name + ".png"))
            << name.toStdString();
    }
};
