#include "app/UnattendedRun.h"

#include "app/AppDelegate.h"
#include "app/TerminalUserInterface.h"
#include "platform/Plist.h"

#include <QEventLoop>
#include <QFileInfo>

int UnattendedRun::run(const QString& settingsPath) {
    const QFileInfo file(settingsPath);
    QVariantMap settings;
    QString reason;
    if (!file.exists()) {
        errorMessage = QString("cannot open %1: no such file").arg(settingsPath);
        return CouldNotRun;
    }
    // Read without waiting: a FIFO or a device named here is refused, never read.
    if (!Plist::readFile(file.absoluteFilePath(), settings, &reason)) {
        errorMessage = QString("cannot open %1: not a settings file (%2)").arg(settingsPath, reason);
        return CouldNotRun;
    }

    AppDelegate app(ui);
    QEventLoop loop;
    bool ended = false;
    ui.onResults = [&](int) {
        ended = true;
        loop.quit();
    };
    app.awakeFromNib();
    // Handed over while launching, as the platform does when a schedule starts the program.
    app.applicationOpenFile(file.absoluteFilePath());
    app.applicationDidFinishLaunching();

    KestConfigManager& config = app.getConfigManager();
    LinkCheckerHub& hub = app.getHub();
    if (!config.didOpenSettings() && config.getSelectedRow() >= 0)
        warning = QString("%1 matches no stored site (same URL or name, same schedule); crawled the selected "
                          "site '%2' instead")
                      .arg(settingsPath, config.getNameOfSelectedSite());
    if (ui.crawlDidntStart() || hub.getCrawlState() == LinkCheckerHub::CrawlState::Idle) {
        errorMessage = config.didOpenSettings() || config.getSelectedRow() >= 0
                           ? QString("the crawl of %1 could not start").arg(config.getUrlOfSelectedSite())
                           : QString("%1 matches no stored site and no site is selected").arg(settingsPath);
        ui.onResults = nullptr;
        app.applicationShouldTerminate();
        fileFailures = config.getFileFailures();
        return CouldNotRun;
    }
    if (!ended)
        loop.exec();
    ui.onResults = nullptr;

    statusLine = config.getStatus();
    const int bad = hub.countBadCollection();
    app.applicationShouldTerminate();
    fileFailures = config.getFileFailures();
    if (!fileFailures.isEmpty())
        return SettingsNotSaved;
    return bad > 0 ? BadLinks : NoBadLinks;
}
