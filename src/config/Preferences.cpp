#include "config/Preferences.h"

#include "config/KestConfigManager.h"
#include "platform/UrlRequest.h"

#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <QStorageInfo>
#include <QStringList>

namespace {

using Form = Preferences::Form;

struct Key {
    const char* name;
    Form form;
};

// The keys in the order they are read at start-up. The colours, view columns and limits
// follow, each in its own step.
const Key orderedKeys[] = {
    {"KestreliaShowPageTitle", Form::Index},
    {"displayTrelliumResults", Form::Index},
    {"htmlExportOptions", Form::Index},
    {"sitemapOptions", Form::Index},
    {"includelastmodinsitemap", Form::Bool},
    {"sitemapChangeFrequency", Form::Index},
    {"sitemapPriority", Form::Index},
    {"dontHighlight", Form::YesNo},
    {"LorraneDisplayLabels", Form::Bool},
    {"userAgentString", Form::Text},
    {"ignoreSubdomain", Form::YesNo},
    {"trimWhitespace", Form::YesNo},
    {"flagBlacklisted", Form::Bool},
    {"soft404Button", Form::Bool},
    {"soft404Terms", Form::Text},
    {"removeWhenSpellingReviewedButton", Form::Bool},
    {"dockProgCheckbox", Form::Bool},
    {"ValidationEnabled", Form::Bool},
    {"validateAll", Form::Bool},
    {"SitemapEnabled", Form::Bool},
    {"checkRobots", Form::Bool},
    {"checkRobotstxt", Form::Bool},
    {"dontShowTip", Form::Bool},
    {"validationURL", Form::Text},
    {"validationdelay", Form::Text},
    {"validationtimeout", Form::Text},
    {"SEOCountKeywordsInContent", Form::Bool},
    {"SEOtoomanylinks", Form::Text},
    {"SEOmetadescriptionmin", Form::Text},
    {"SEOmetadescriptionmax", Form::Text},
    {"monitorAlertWithAlert", Form::Bool},
    {"monitorAlertWithEmail", Form::Bool},
    {"monitorAlertWithLogFile", Form::Bool},
    {"monitorAlertEmailAddress", Form::Text},
    {"monitorAlertLogFileDirectory", Form::Text},
    {"iconView", Form::Bool},
    {"ShowThumbsInSites", Form::Text},
    {"newUISelectedFilename", Form::Text},
    {"autosave", Form::Bool},
    {"CustomReportHTMLHeader", Form::Text},
    {"CustomReportHTMLStyles", Form::Text},
    {"delay", Form::Text},
    {"timeout", Form::Text},
    {"useragent", Form::Text},
    {"KestreliaSitemapOnly", Form::Bool},
    {"KestreliaDrawerOpen", Form::Bool},
    {"monitor", Form::List},
    {"TrelliumMaxPageSize", Form::Text},
    {"TrelliumMaxRequestTime", Form::Text},
    // The window's list of recent result files, most recent first.
    {"TrelliumRecentResults", Form::List},
};

const char* colourClasses[] = {"2xx", "3xx", "4xx", "5xx"};
const char* colourComponents[] = {"R", "G", "B", "A"};

// clang-format off
const char* columnKeys[] = {
    "LorraneByLinkViewColsStatus",     "LorraneByLinkViewColsLinkurl",   "LorraneByLinkViewColsRedir",
    "LorraneByLinkViewColsLinkText",   "LorraneByLinkViewColsOnPage",    "LorraneByLinkViewColsTimeStamp",
    "LorraneByLinkViewColsDistance",   "LorraneByLinkViewColsNofollow",  "LorraneFlatViewColsStatus",
    "LorraneFlatViewColsLinkurl",      "LorraneFlatViewColsRedir",       "LorraneFlatViewColsLinkText",
    "LorraneFlatViewColsOnPage",       "LorraneFlatViewColsTimeStamp",   "LorraneFlatViewColsDistance",
    "LorraneFlatViewColsNofollow",     "TrelliumSEOViewColsCanonical",   "TrelliumSEOViewColsResponseTime",
    "TrelliumSEOViewColsImageCount",   "TrelliumSEOViewColsImageWeight", "TrelliumSEOViewColsLinkCount",
    "TrelliumSEOViewColsWordCount",    "TrelliumSEOViewColsContent",     "TrelliumSEOViewColsBacklinks",
    "TrelliumSEOViewColsLastModified", "TrelliumSEOViewColsRobots",
    // The window's further columns of the link views, off until switched on.
    "TrelliumByLinkViewColsCode", "TrelliumByLinkViewColsResponseTime", "TrelliumByLinkViewColsContentType",
    "TrelliumByLinkViewColsSize", "TrelliumByLinkViewColsPageTitle", "TrelliumByLinkViewColsLinkingIn",
    "TrelliumFlatViewColsCode", "TrelliumFlatViewColsResponseTime", "TrelliumFlatViewColsContentType",
    "TrelliumFlatViewColsSize", "TrelliumFlatViewColsPageTitle", "TrelliumFlatViewColsLinkingIn"};
// clang-format on

// Read only, or written elsewhere: never part of the write at quit.
const QStringList notWrittenAtQuit = {"autosave", "newUISelectedFilename"};

// A stored value in the form the program works with. The store may have lost the type (an
// INI file keeps text), so each form is read back by its own rule; a value of the wrong
// type reads as zero, false or empty.
QVariant fromStored(const QVariant& raw, Form form) {
    switch (form) {
    case Form::Bool:
        return KestConfigManager::boolValue(raw);
    case Form::YesNo:
    case Form::Text:
        return raw.toString();
    case Form::Index:
    case Form::Number:
        return KestConfigManager::intValue(raw);
    case Form::Float:
        return raw.toFloat();
    case Form::List:
        return raw.toList();
    }
    return raw;
}

QVariant toStored(const QVariant& value, Form form) {
    switch (form) {
    case Form::Bool:
        return KestConfigManager::boolValue(value);
    case Form::YesNo:
        return value.typeId() == QMetaType::Bool ? QString(value.toBool() ? "YES" : "NO") : value.toString();
    case Form::Index:
        return QString::number(KestConfigManager::intValue(value));
    case Form::Number:
        return qint64(value.toString().toDouble());
    case Form::Float:
        return value.toFloat();
    case Form::Text:
        return value.toString();
    case Form::List:
        return value.toList();
    }
    return value;
}

QSettings* openStore() {
    return new QSettings(Preferences::storeFilePath(), QSettings::NativeFormat);
}

// The store's writer keeps the old file when a write fails but says only that it failed; the
// reason is read off the folder the file lives in.
bool synced(QSettings& store, QString* error) {
    store.sync();
    if (store.status() == QSettings::NoError)
        return true;
    if (error) {
        const QFileInfo file(store.fileName());
        const QStorageInfo volume(file.absolutePath());
        if (!QFileInfo(file.absolutePath()).isDir())
            *error = "its folder could not be made";
        else if (volume.isValid() && volume.isReadOnly())
            *error = "Read-only file system";
        else if (volume.isValid() && volume.bytesAvailable() < 64 * 1024)
            *error = "No space left on device";
        else
            *error = "Permission denied";
    }
    return false;
}

bool isOwnAgent(const QString& agent) {
    return agent.size() > 9 && (agent.startsWith("trellium/") || agent.startsWith("Trellium/"));
}

} // namespace

QString Preferences::defaultReportStyles() {
    return "<style>\ntable{\n\tpadding:2px;\n\tmargin:2px;border:none;\n\tfont-family:monospace;text-align:"
           "left;\n}\n"
           "th{\n\tbackground:#eee;\n}\ntd{\n\theight:1em;\n\twhite-space:nowrap;\n\toverflow:hidden;\n}\n"
           "td.alt{\n\tbackground:#f0f0ff;\n} \np{\n\tfont-family:arial,sans-serif;\n}\n</style>\n\n";
}

Preferences::Preferences() {
    // The initial values of the preferences form.
    values.insert("KestreliaShowPageTitle", 0);
    values.insert("displayTrelliumResults", 0);
    values.insert("htmlExportOptions", 0);
    values.insert("sitemapOptions", 0);
    values.insert("includelastmodinsitemap", false);
    // The sitemap's site-wide choices: change frequency "weekly" (its tag), priority by level.
    values.insert("sitemapChangeFrequency", 4);
    values.insert("sitemapPriority", 0);
    values.insert("dontHighlight", QStringLiteral("NO"));
    values.insert("LorraneDisplayLabels", true);
    const float colours[4][4] = {{0.85f, 1.0f, 0.85f, 1.0f},
                                 {1.0f, 1.0f, 0.8f, 1.0f},
                                 {1.0f, 0.82f, 0.82f, 1.0f},
                                 {1.0f, 0.88f, 0.75f, 1.0f}};
    for (int c = 0; c < 4; ++c) {
        for (int k = 0; k < 4; ++k)
            values.insert(QString("Lorrane%1Colour%2").arg(colourClasses[c], colourComponents[k]),
                          colours[c][k]);
    }
    values.insert("userAgentString", QString(defaultUserAgent));
    values.insert("ignoreSubdomain", QStringLiteral("NO"));
    values.insert("trimWhitespace", QStringLiteral("YES"));
    values.insert("flagBlacklisted", false);
    values.insert("soft404Button", false);
    values.insert("soft404Terms", QStringLiteral("page not found\nnot found\n404 error\nno longer available\n"
                                                 "page does not exist\ncould not be found"));
    values.insert("removeWhenSpellingReviewedButton", true);
    values.insert("dockProgCheckbox", true);
    values.insert("ValidationEnabled", false);
    values.insert("validateAll", false);
    values.insert("SitemapEnabled", false);
    values.insert("checkRobots", true);
    values.insert("checkRobotstxt", true);
    values.insert("dontShowTip", false);
    values.insert("validationURL", QStringLiteral("https://validator.w3.org"));
    values.insert("validationdelay", QStringLiteral("1"));
    values.insert("validationtimeout", QStringLiteral("30"));
    values.insert("SEOCountKeywordsInContent", false);
    values.insert("SEOtoomanylinks", QStringLiteral("100"));
    values.insert("SEOmetadescriptionmin", QStringLiteral("70"));
    values.insert("SEOmetadescriptionmax", QStringLiteral("160"));
    values.insert("monitorAlertWithAlert", true);
    values.insert("monitorAlertWithEmail", false);
    values.insert("monitorAlertWithLogFile", false);
    values.insert("linkslimit", 200000);
    values.insert("levelslimit", 100);
    values.insert("iconView", false);
    values.insert("TrelliumMaxPageSize", QStringLiteral("50"));
    values.insert("TrelliumMaxRequestTime", QString());
    // The flat report shows all its columns and the by-link outline its link text until the
    // user switches them off; the other optional columns start hidden.
    for (const char* key : columnKeys) {
        const QString name(key);
        const bool shown = name.startsWith("LorraneFlatViewCols") ||
                           name == "LorraneByLinkViewColsLinkText" || name == "LorraneByLinkViewColsStatus" ||
                           name == "LorraneByLinkViewColsLinkurl" || name == "LorraneByLinkViewColsOnPage";
        values.insert(key, shown);
    }
    // The SEO table's columns that exist unless switched off.
    for (const char* key :
         {"TrelliumSEOViewColsResponseTime", "TrelliumSEOViewColsLinkCount", "TrelliumSEOViewColsWordCount",
          "TrelliumSEOViewColsContent", "TrelliumSEOViewColsBacklinks", "TrelliumSEOViewColsLastModified",
          "TrelliumSEOViewColsRobots"})
        values.insert(key, true);
}

QString Preferences::storeFilePath() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           "/Trellium/Trellium5.conf";
}

void Preferences::registerDefaults() {
    registered.insert("CustomReportHTMLHeader", QStringLiteral("<h1>Generated by Trellium</h1>"));
    registered.insert("CustomReportHTMLStyles", defaultReportStyles());
    registered.insert("ShowThumbsInSites", QStringLiteral("1"));
}

void Preferences::load() {
    registerDefaults();
    std::unique_ptr<QSettings> store(openStore());
    store->sync();
    for (const Key& key : orderedKeys) {
        if (!store->contains(key.name))
            continue;
        const QVariant stored = fromStored(store->value(key.name), key.form);
        // An agent of our own kind is an old version's: the current one stands.
        if (QLatin1String(key.name) == QLatin1String("userAgentString") && isOwnAgent(stored.toString()))
            continue;
        values.insert(key.name, stored);
    }
    // A colour is taken only when its red is stored, and then all four parts together.
    for (const char* colourClass : colourClasses) {
        const QString prefix = QString("Lorrane%1Colour").arg(colourClass);
        if (!store->contains(prefix + "R"))
            continue;
        for (const char* component : colourComponents)
            values.insert(prefix + component, store->value(prefix + component).toFloat());
    }
    for (const char* key : columnKeys) {
        if (store->contains(key))
            values.insert(key, KestConfigManager::boolValue(store->value(key)));
    }
    for (const char* key : {"linkslimit", "levelslimit"}) {
        if (store->contains(key))
            values.insert(key, fromStored(store->value(key), Form::Number));
    }
}

bool Preferences::save(QString* error) const {
    std::unique_ptr<QSettings> store(openStore());
    QStringList written;
    auto write = [&](const QString& key, Form form) {
        written.append(key);
        if (values.contains(key) && !notWrittenAtQuit.contains(key))
            store->setValue(key, toStored(values.value(key), form));
    };
    for (const Key& key : orderedKeys)
        write(key.name, key.form);
    for (const char* colourClass : colourClasses) {
        for (const char* component : colourComponents)
            write(QString("Lorrane%1Colour%2").arg(colourClass, component), Form::Float);
    }
    for (const char* key : columnKeys)
        write(key, Form::Bool);
    write("linkslimit", Form::Number);
    write("levelslimit", Form::Number);
    // Preferences other parts keep under keys of their own go back as they are.
    for (auto it = values.begin(); it != values.end(); ++it) {
        if (!written.contains(it.key()))
            store->setValue(it.key(), it.value());
    }
    return synced(*store, error);
}

void Preferences::takeFromSite(const KestConfigManager& site) {
    values.insert("delay", site.stringForKey("delay"));
    values.insert("timeout", site.stringForKey("timeOut"));
    values.insert("KestreliaSitemapOnly", site.flagForKey("KestreliaSitemapOnly"));
}

QVariant Preferences::value(const QString& key) const {
    const auto found = values.constFind(key);
    return found != values.constEnd() ? *found : registered.value(key);
}

int Preferences::intValue(const QString& key) const {
    return KestConfigManager::intValue(value(key));
}

bool Preferences::boolValue(const QString& key) const {
    return KestConfigManager::boolValue(value(key));
}

void Preferences::setValue(const QString& key, const QVariant& v) {
    values.insert(key, v);
}

bool Preferences::setValueAndStore(const QString& key, const QVariant& v, QString* error) {
    values.insert(key, v);
    std::unique_ptr<QSettings> store(openStore());
    if (store->contains(key) && store->value(key) == v)
        return true;
    store->setValue(key, v);
    return synced(*store, error);
}

void Preferences::remove(const QString& key) {
    values.remove(key);
    std::unique_ptr<QSettings> store(openStore());
    store->remove(key);
}

QStringList Preferences::knownKeys() {
    QStringList keys;
    for (const Key& key : orderedKeys)
        keys.append(key.name);
    for (const char* colourClass : colourClasses) {
        for (const char* component : colourComponents)
            keys.append(QString("Lorrane%1Colour%2").arg(colourClass, component));
    }
    for (const char* key : columnKeys)
        keys.append(key);
    keys.append({"linkslimit", "levelslimit"});
    return keys;
}

std::optional<Form> Preferences::formOfKey(const QString& key) {
    for (const Key& known : orderedKeys) {
        if (key == QLatin1String(known.name))
            return known.form;
    }
    for (const char* colourClass : colourClasses) {
        for (const char* component : colourComponents) {
            if (key == QString("Lorrane%1Colour%2").arg(colourClass, component))
                return Form::Float;
        }
    }
    for (const char* column : columnKeys) {
        if (key == QLatin1String(column))
            return Form::Bool;
    }
    if (key == "linkslimit" || key == "levelslimit")
        return Form::Number;
    return std::nullopt;
}

void Preferences::setValueAndStoreInItsForm(const QString& key, const QVariant& v) {
    const std::optional<Form> form = formOfKey(key);
    setValueAndStore(key, form ? toStored(v, *form) : v);
}

qint64 Preferences::maximumPageSize() const {
    bool ok = false;
    const double megabytes = stringValue("TrelliumMaxPageSize").toDouble(&ok);
    if (!ok || megabytes < 0)
        return defaultMaximumBodySize;
    return qint64(megabytes * 1024 * 1024);
}

double Preferences::maximumRequestTime(double timeOut) const {
    bool ok = false;
    const double seconds = stringValue("TrelliumMaxRequestTime").toDouble(&ok);
    return ok && seconds > 0 ? seconds : 10 * timeOut;
}

QString Preferences::userAgentString() const {
    const QString agent = stringValue("userAgentString");
    return agent.isEmpty() ? QString(defaultUserAgent) : agent;
}
