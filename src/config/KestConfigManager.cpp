#include "config/KestConfigManager.h"

#include "config/Preferences.h"
#include "platform/Plist.h"
#include "platform/UserInterface.h"

#include <QDateTime>
#include <QDebug>
#include <QFileInfo>
#include <QLocale>

namespace {

const QStringList customKeys = {"customHeaderKey1",   "customHeaderKey2",   "customHeaderKey3",
                                "customHeaderValue1", "customHeaderValue2", "customHeaderValue3",
                                "customPostKey1",     "customPostKey2",     "customPostKey3",
                                "customPostValue1",   "customPostValue2",   "customPostValue3"};
const QStringList authenticationKeys = {"authenticationusername", "authenticationpassword",
                                        "authenticationusernamefieldname", "authenticationpasswordfieldname"};
const QStringList ftpKeys = {"ftpserver", "ftpusername", "ftppassword", "ftpdirectory"};
const QStringList orphanKeys = {"orphanftpserver",    "orphanftpusername", "orphanftppassword",
                                "orphanftpdirectory", "orphanftpthreads",  "orphanblacklist"};
const QStringList onFinishTextKeys = {"onFinishOpenFile", "onFinishSaveDirectory", "onFinishEmailAddress"};
const QStringList scheduleTextKeys = {"scheduleCalendarIntervalMinutes", "scheduleCalendarIntervalHours",
                                      "scheduleCalendarIntervalWeekday", "scheduleCalendarIntervalDay"};
const QStringList ruleListKeys = {"checkBlacklist", "followBlacklist", "followWhitelist"};

// Flags in the order the working copy applies them.
const QStringList crawlFlags = {"checkImages",           "followQuerystring",   "ignoreSlash",
                                "uniqueTitles",          "followCheckbox",      "nofollowCheckbox",
                                "checkErrorPages",       "wordpressUrls",       "archivePages",
                                "KestreliaSitemapOnly",  "KestreliaHashIsBad",  "KestreliaXmlNoBlacklisted",
                                "blacklistCheckContent", "blacklistByRobotsTxt"};
const QStringList onFinishFlags = {"runJS",
                                   "parsePDFs",
                                   "onFinishAlert",
                                   "onFinishOpen",
                                   "onFinishSaveSummary",
                                   "onFinishSaveSitemap",
                                   "onFinishFTPSitemap",
                                   "onFinishSendEmail"};
const QStringList lateFlags = {"onFinishSaveBadLinks", "onFinishSaveSEO", "onFinishSaveValidation",
                               "checkSpelling", "checkGrammar"};
const QStringList numberKeys = {"summaryReportFormat", "scheduleCalendarIntervalMatrix"};

QStringList allFlags() {
    return crawlFlags + QStringList{"TrelliumAttemptAuthentication"} + onFinishFlags + lateFlags;
}

bool isFlag(const QString& key) {
    static const QStringList flags = allFlags();
    return flags.contains(key);
}

QString yesNo(bool on) {
    return on ? QStringLiteral("YES") : QStringLiteral("NO");
}

QStringList splitRuleList(const QVariant& value) {
    const QString joined = value.toString();
    return joined.isEmpty() ? QStringList() : KestConfigManager::trimEachItemInArray(joined.split(','));
}

// The display name of the first language the user prefers, as the spelling setting shows it.
QString preferredLanguageDisplayName() {
    QLocale locale = QLocale::system();
    if (locale.language() == QLocale::C)
        locale = QLocale(QLocale::English, QLocale::UnitedStates);
    return QLocale::languageToString(locale.language()) + " (" +
           QLocale::territoryToString(locale.territory()) + ")";
}

} // namespace

KestConfigManager::KestConfigManager(Preferences* preferences_, UserInterface* ui_)
    : preferences(preferences_), ui(ui_) {
    // A fresh manager holds the defaults but counts as unedited until something changes.
    working = compileBlankDict();
    working.insert("delay", QStringLiteral("0"));
}

// --- Settings record ---------------------------------------------------------------------

QVariantMap KestConfigManager::compileBlankDict() {
    QVariantMap d;
    const QStringList emptyTexts =
        QStringList{"url", "name"} + ruleListKeys + customKeys + authenticationKeys + ftpKeys + orphanKeys +
        QStringList{"sitemapsavedirectory", "sitemapsavefilename"} + onFinishTextKeys + scheduleTextKeys;
    for (const QString& key : emptyTexts)
        d.insert(key, QString());
    for (const QString& key : allFlags())
        d.insert(key, yesNo(false));
    d.insert("ignoreSlash", yesNo(true));
    d.insert("numberOfThreads", QStringLiteral("12"));
    d.insert("timeOut", QStringLiteral("30"));
    d.insert("defaultLocalFileName", QStringLiteral("index.html"));
    d.insert("orphanftpthreads", QStringLiteral("1"));
    d.insert("scheduleCalendarIntervalWeekday", QStringLiteral("Monday"));
    d.insert("summaryReportFormat", 0);
    d.insert("scheduleCalendarIntervalMatrix", 0);
    d.insert("sitemapRules", QVariantList());
    const QString language = preferredLanguageDisplayName();
    qInfo("displayName is %s", qPrintable(language));
    d.insert("language", language);
    return d;
}

QVariantMap KestConfigManager::compileConfigDict() {
    QVariantMap d;
    // dateStamp and status belong to the file: only setDateStamp and setStatus change them.
    if (creatingNewConfig) {
        if (!tempDateStamp.isEmpty())
            d.insert("dateStamp", tempDateStamp);
        if (!tempStatus.isEmpty())
            d.insert("status", tempStatus);
    } else if (selectedIndex >= 0 && SiteStore::filenameExists(selectedConfigFilename)) {
        const QVariantMap file = Plist::readFile(SiteStore::pathForFilename(selectedConfigFilename));
        for (const char* key : {"dateStamp", "status"}) {
            if (file.contains(key))
                d.insert(key, file.value(key));
        }
    }
    d.insert("url", getUrlOfSelectedSite());
    d.insert("checkBlacklist", checkBlacklistArray.join(','));
    d.insert("followBlacklist", followBlacklistArray.join(','));
    d.insert("followWhitelist", followWhitelistArray.join(','));
    const QStringList texts = QStringList{"numberOfThreads", "timeOut", "delay", "defaultLocalFileName"} +
                              customKeys + authenticationKeys + ftpKeys + orphanKeys +
                              QStringList{"sitemapsavedirectory", "sitemapsavefilename"} + onFinishTextKeys +
                              scheduleTextKeys;
    for (const QString& key : texts)
        d.insert(key, stringForKey(key));
    if (!stringForKey("language").isEmpty())
        d.insert("language", stringForKey("language"));
    refreshSitemapPath();
    if (selectedIndex >= 0)
        d.insert("name", getNameOfSelectedSite());
    for (const QString& key : allFlags())
        d.insert(key, yesNo(flagForKey(key)));
    d.insert("KestreliaMainWindowEdited", yesNo(edited));
    d.insert("selectedConfig", QString::number(selectedIndex));
    d.insert("sitemapRules", sitemapRules);
    for (const QString& key : numberKeys)
        d.insert(key, intValue(working.value(key)));
    if (stringForKey("scheduleCalendarIntervalWeekday").isEmpty())
        d.insert("scheduleCalendarIntervalWeekday", QStringLiteral("Monday"));
    return d;
}

void KestConfigManager::applyFlag(const QVariantMap& dict, const QString& key) {
    working.insert(key, yesNo(boolValue(dict.value(key))));
}

void KestConfigManager::applyText(const QVariantMap& dict, const QString& key, const QString& missing) {
    working.insert(key, dict.contains(key) ? dict.value(key).toString() : missing);
}

void KestConfigManager::implementSettingsFromDictionary(const QVariantMap& dict) {
    // 1. Rule lists: blank terms vanish, blanks around a term are lost.
    checkBlacklistArray = splitRuleList(dict.value("checkBlacklist"));
    followBlacklistArray = splitRuleList(dict.value("followBlacklist"));
    followWhitelistArray = splitRuleList(dict.value("followWhitelist"));

    // 2. numberOfThreads, clamped to the maximum first, then to the minimum.
    double threads = dict.value("numberOfThreads").toString().trimmed().toDouble();
    threads = std::min(threads, maximumNumberOfThreads);
    threads = std::max(threads, minimumNumberOfThreads);
    working.insert("numberOfThreads", QString::number(threads));

    // 3. timeOut and delay, then the first flags.
    const QString timeOut = dict.value("timeOut").toString();
    working.insert("timeOut", intValue(timeOut) > 0 ? timeOut : QStringLiteral("30"));
    applyText(dict, "delay", QStringLiteral("0"));
    for (const QString& key : crawlFlags) {
        applyFlag(dict, key);
        if (key == "followCheckbox")
            followRuleFieldsEnabled = !flagForKey(key);
        else if (key == "blacklistCheckContent")
            handleControl(key); // marks the form edited, as every applied dictionary does
        else if (key == "blacklistByRobotsTxt") {
            // 7. The status line.
            statusLine = dict.contains("dateStamp")
                             ? QString("%1 %2, %3")
                                   .arg("Last checked", dict.value("dateStamp").toString(),
                                        dict.value("status").toString())
                             : QString();
        }
    }

    // 8. url, 9. the edited mark: both only when present, and the mark only ever rises.
    if (dict.contains("url"))
        working.insert("url", dict.value("url").toString());
    if (boolValue(dict.value("KestreliaMainWindowEdited")))
        edited = true;

    // 10, 11. Login, custom fields, local file, FTP and orphan keys.
    applyFlag(dict, "TrelliumAttemptAuthentication");
    for (const QString& key : customKeys)
        applyText(dict, key);
    applyText(dict, "defaultLocalFileName", QStringLiteral("index.html"));
    for (const QString& key : ftpKeys)
        applyText(dict, key);
    for (const QString& key : orphanKeys)
        applyText(dict, key, key == "orphanftpthreads" ? QStringLiteral("1") : QString());
    onFinishFtpServer = stringForKey("ftpserver");
    for (const QString& key : authenticationKeys)
        applyText(dict, key);

    // 12, 13. Sitemap rules: Qt containers copy on write, so edits never reach `dict`.
    // A value of another type in a file written elsewhere is no list: Qt would make a text one rule.
    sitemapRules.clear();
    const QVariant rules = dict.value("sitemapRules");
    if (rules.typeId() == QMetaType::QVariantList)
        for (const QVariant& rule : rules.toList())
            sitemapRules.append(QVariantMap(rule.toMap()));
    if (ruleTableChanged)
        ruleTableChanged();

    // 14. Sitemap file.
    applyText(dict, "sitemapsavefilename");
    applyText(dict, "sitemapsavedirectory");
    refreshSitemapPath();

    // 15, 16. On-finish actions, schedule, and the late flags.
    for (const QString& key : onFinishFlags)
        applyFlag(dict, key);
    for (const QString& key : onFinishTextKeys)
        applyText(dict, key);
    working.insert("summaryReportFormat", intValue(dict.value("summaryReportFormat")));
    working.insert("scheduleCalendarIntervalMatrix", intValue(dict.value("scheduleCalendarIntervalMatrix")));
    for (const QString& key : scheduleTextKeys)
        applyText(dict, key, key == "scheduleCalendarIntervalWeekday" ? QStringLiteral("Monday") : QString());
    for (const QString& key : lateFlags)
        applyFlag(dict, key);

    // 17. Language: kept when missing, and handed to the spell checker either way.
    if (dict.contains("language"))
        working.insert("language", dict.value("language").toString());
    if (newLanguageSelected)
        newLanguageSelected(stringForKey("language"));
}

void KestConfigManager::setDefaults() {
    implementSettingsFromDictionary(compileBlankDict());
    if (ruleTableChanged)
        ruleTableChanged();
}

QString KestConfigManager::stringForKey(const QString& key) const {
    if (key == "checkBlacklist")
        return checkBlacklistArray.join(',');
    if (key == "followBlacklist")
        return followBlacklistArray.join(',');
    if (key == "followWhitelist")
        return followWhitelistArray.join(',');
    return working.value(key).toString();
}

bool KestConfigManager::flagForKey(const QString& key) const {
    return boolValue(working.value(key));
}

double KestConfigManager::doubleForKey(const QString& key) const {
    return working.value(key).toString().trimmed().toDouble();
}

void KestConfigManager::setValueForKey(const QString& key, const QVariant& value) {
    if (key == "checkBlacklist")
        checkBlacklistArray = splitRuleList(value);
    else if (key == "followBlacklist")
        followBlacklistArray = splitRuleList(value);
    else if (key == "followWhitelist")
        followWhitelistArray = splitRuleList(value);
    else if (key == "sitemapRules")
        sitemapRules = value.toList();
    else if (isFlag(key))
        working.insert(key, yesNo(boolValue(value)));
    else
        working.insert(key, value);
    if (key == "sitemapsavedirectory" || key == "sitemapsavefilename")
        refreshSitemapPath();
}

void KestConfigManager::changeSetting(const QString& key, const QVariant& value) {
    setValueForKey(key, value);
    handleControl(key);
}

void KestConfigManager::handleControl(const QString& key) {
    const bool on = flagForKey(key);
    if (key == "followCheckbox") {
        followRuleFieldsEnabled = !on;
    } else if (key == "blacklistCheckContent") {
        ruleScopeColumnWidth = on ? 180 : 100;
        if (ruleTableChanged)
            ruleTableChanged();
    } else if (key == "onFinishOpen" && on) {
        askForFile(key);
    } else if (key == "onFinishFTPSitemap" && on) {
        if (showFTPPanel)
            showFTPPanel();
    } else if (key == "onFinishSaveSitemap" && on) {
        askForFile(key);
    } else if ((key == "onFinishSaveSummary" || key == "onFinishSaveBadLinks" || key == "onFinishSaveSEO" ||
                key == "onFinishSaveValidation") &&
               on) {
        if (stringForKey("onFinishSaveDirectory").isEmpty())
            askForFile("onFinishSaveDirectory");
    } else if (key == "scheduleCalendarIntervalMatrix") {
        const int matrix = intValue(working.value(key));
        timeFieldsVisible = matrix != 0;
        dayOfMonthFieldVisible = matrix == 2;
        weekdayFieldVisible = matrix == 1;
    }
    edited = true;
    if (settingsHaveChanged)
        settingsHaveChanged();
}

// The file and folder choices behind some flags. A cancelled choice turns onFinishOpen off
// again, onFinishSaveSitemap only while no sitemap path exists, and leaves the others on.
void KestConfigManager::askForFile(const QString& key) {
    if (!ui)
        return;
    if (key == "onFinishOpen") {
        const QString path = ui->chooseOpenFile("Choose a file to open");
        if (path.isEmpty())
            working.insert("onFinishOpen", yesNo(false));
        else
            working.insert("onFinishOpenFile", path);
    } else if (key == "onFinishSaveSitemap") {
        const QString path = ui->chooseSaveFile("Choose a sitemap location and file", sitemapPath);
        if (path.isEmpty()) {
            if (sitemapPath.isEmpty())
                working.insert("onFinishSaveSitemap", yesNo(false));
            return;
        }
        const QFileInfo chosen(path);
        working.insert("sitemapsavedirectory", chosen.path());
        working.insert("sitemapsavefilename", chosen.fileName());
        refreshSitemapPath();
    } else if (key == "onFinishSaveDirectory") {
        const QString folder = ui->chooseOpenFile("Choose a directory to save reports");
        if (!folder.isEmpty())
            working.insert("onFinishSaveDirectory", folder);
    }
}

void KestConfigManager::refreshSitemapPath() {
    const QString folder = stringForKey("sitemapsavedirectory");
    const QString file = stringForKey("sitemapsavefilename");
    if (folder.isEmpty() || file.isEmpty())
        sitemapPath = folder + file;
    else
        sitemapPath = folder.endsWith('/') ? folder + file : folder + "/" + file;
}

bool KestConfigManager::boolValue(const QVariant& value) {
    if (value.typeId() == QMetaType::Bool)
        return value.toBool();
    const QString text = value.toString();
    qsizetype i = 0;
    while (i < text.size() && text[i].isSpace())
        ++i;
    if (i < text.size() && (text[i] == '+' || text[i] == '-'))
        ++i;
    while (i < text.size() && text[i] == '0')
        ++i;
    if (i >= text.size())
        return false;
    const QChar c = text[i];
    return c == 'Y' || c == 'y' || c == 'T' || c == 't' || (c >= '1' && c <= '9');
}

int KestConfigManager::intValue(const QVariant& value) {
    if (value.typeId() == QMetaType::Bool)
        return value.toBool() ? 1 : 0;
    const QString text = value.toString().trimmed();
    qsizetype end = 0;
    if (end < text.size() && (text[end] == '+' || text[end] == '-'))
        ++end;
    while (end < text.size() && text[end].isDigit())
        ++end;
    bool ok = false;
    const qlonglong number = text.left(end).toLongLong(&ok);
    if (!ok)
        return 0;
    return int(std::clamp<qlonglong>(number, INT_MIN, INT_MAX));
}

QStringList KestConfigManager::trimEachItemInArray(const QStringList& items) {
    QStringList out;
    for (const QString& item : items) {
        const QString trimmed = item.trimmed();
        if (!trimmed.isEmpty())
            out.append(trimmed);
    }
    return out;
}
