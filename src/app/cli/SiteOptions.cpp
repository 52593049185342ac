#include "app/cli/SiteOptions.h"

#include "app/cli/CliInput.h"
#include "config/KestConfigManager.h"
#include "platform/Plist.h"

#include <QCommandLineParser>
#include <QFileInfo>

void addSiteOptions(QCommandLineParser& parser) {
    parser.addOptions({
        {"site",
         "Crawl the stored site NAME (its name or URL) with its settings; its status and date of "
         "the last check are updated. Other options override its settings for this run only.",
         "NAME"},
        {"settings", "Crawl with the settings of FILE.lcsettings; other options override them.", "FILE"},
    });
}

bool usesStoredSettings(const QCommandLineParser& parser) {
    return parser.isSet("site") || parser.isSet("settings");
}

bool loadStoredSettings(const QCommandLineParser& parser, KestConfigManager& config, QString* error) {
    if (!parser.positionalArguments().isEmpty() || (parser.isSet("site") && parser.isSet("settings"))) {
        *error = "give one of a starting URL or path, --site and --settings";
        return false;
    }
    if (parser.isSet("site")) {
        const QString name = parser.value("site");
        config.loadAllUrls();
        if (!config.selectUrl(name)) {
            *error = QString("no site named '%1' (see 'trellium sites list')").arg(name);
            return false;
        }
        return true;
    }
    const QString path = CliInput::expandTilde(parser.value("settings"));
    QVariantMap settings;
    if (!QFileInfo::exists(path)) {
        *error = QString("cannot open %1: no such file").arg(path);
        return false;
    }
    // Read as `run` reads its file: a FIFO or a device is refused with the reason, never read.
    QString reason;
    if (!Plist::readFile(path, settings, &reason)) {
        *error = QString("cannot open %1: not a settings file (%2)").arg(path, reason);
        return false;
    }
    if (settings.value("url").toString().trimmed().isEmpty()) {
        *error = QString("%1 has no starting URL").arg(path);
        return false;
    }
    config.implementSettingsFromDictionary(settings);
    return true;
}
