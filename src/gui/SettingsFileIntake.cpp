#include "gui/SettingsFileIntake.h"

#include "config/KestConfigManager.h"
#include "platform/Plist.h"
#include "platform/UserInterface.h"

#include <QFileInfo>

bool admitSettingsFile(KestConfigManager& config, UserInterface& ui, const QString& path, bool crawlFollows) {
    const QVariantMap opened = QFileInfo(path).isFile() ? Plist::readFile(path) : QVariantMap();
    const QString url = opened.value("url").toString().trimmed();
    if (url.isEmpty()) {
        qInfo("not opening %s: no starting URL in it", qPrintable(path));
        ui.alert("Cannot open settings",
                 QString("%1 is no settings file of a site: it holds no starting URL.")
                     .arg(QFileInfo(path).fileName()));
        return false;
    }
    // A site hidden by the search still counts; opening clears the search anyway.
    config.filter(QString());
    if (config.displayRowMatchingSettings(opened) >= 0)
        return true;
    const QString name = opened.value("name").toString();
    const int answer = ui.alert(
        "Settings file matches no site",
        QString("%1 is for %2 (%3), which is none of your sites: no stored site has its URL or its name "
                "with the same schedule. %4")
            .arg(QFileInfo(path).fileName(), name.isEmpty() ? QString("a site") : name, url,
                 crawlFollows ? "Add it to your sites and crawl it?" : "Add it to your sites?"),
        {crawlFollows ? "Add and Crawl" : "Add Site", "Cancel"});
    if (answer != 0)
        return false;
    config.newURL(url, name.isEmpty() ? url : name);
    config.implementSettingsFromDictionary(opened);
    config.saveMenuItem();
    // The new site is the selected one, which is what the crawl takes if the file's few keys
    // still don't match the full set a new site is written with.
    return true;
}
