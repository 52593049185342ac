#include "app/UnattendedRun.h"

#include "app/AppDelegate.h"
#include "app/TerminalUserInterface.h"
#include "platform/Plist.h"

#include <QEventLoop>
#include <QFileInfo>

int UnattendedRun::run(const QString& settingsPath) {
    const QFileInfo file(settingsPath);
    QVariantMap settings;
    if (!file.isFile()) {
        errorMessage = QString("cannot open %1: no such file").arg(settingsPath);
        return CouldNotRun;
    }
    if (!Plist::readFile(file.absoluteFilePath(), settings)) {
        errorMessage = QString("cannot open %1: not a settings file").arg(settingsPath);
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
        return CouldNotRun;
    }
    if (!ended)
        loop.exec();
    ui.onResults = nullptr;

    statusLine = config.getStatus();
    const int bad = hub.countBadCollection();
    app.applicationShouldTerminate();
    return bad > 0 ? BadLinks : NoBadLinks;
}
