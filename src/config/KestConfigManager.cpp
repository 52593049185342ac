#include "config/KestConfigManager.h"

#include <QDateTime>
#include <QLocale>

KestConfigManager::KestConfigManager() { working = compileBlankDict(); }

QVariantMap KestConfigManager::compileBlankDict() {
    QVariantMap d;
    const char* emptyTexts[] = {"url",
                                "name",
                                "checkBlacklist",
                                "followBlacklist",
                                "followWhitelist",
                                "customHeaderKey1",
                                "customHeaderKey2",
                                "customHeaderKey3",
                                "customHeaderValue1",
                                "customHeaderValue2",
                                "customHeaderValue3",
                                "customPostKey1",
                                "customPostKey2",
                                "customPostKey3",
                                "customPostValue1",
                                "customPostValue2",
                                "customPostValue3",
                                "authenticationusername",
                                "authenticationpassword",
                                "authenticationusernamefieldname",
                                "authenticationpasswordfieldname",
                                "ftpserver",
                                "ftpusername",
                                "ftppassword",
                                "ftpdirectory",
                                "orphanftpserver",
                                "orphanftpusername",
                                "orphanftppassword",
                                "orphanftpdirectory",
                                "orphanblacklist",
                                "sitemapsavedirectory",
                                "sitemapsavefilename",
                                "onFinishOpenFile",
                                "onFinishSaveDirectory",
                                "onFinishEmailAddress",
                                "scheduleCalendarIntervalMinutes",
                                "scheduleCalendarIntervalHours",
                                "scheduleCalendarIntervalDay",
                                "language"};
    for (const char* key : emptyTexts)
        d.insert(key, QString());
    const char* offFlags[] = {"followQuerystring",
                              "checkImages",
                              "followCheckbox",
                              "nofollowCheckbox",
                              "checkErrorPages",
                              "uniqueTitles",
                              "wordpressUrls",
                              "KestreliaHashIsBad",
                              "KestreliaSitemapOnly",
                              "KestreliaXmlNoBlacklisted",
                              "blacklistCheckContent",
                              "blacklistByRobotsTxt",
                              "runJS",
                              "parsePDFs",
                              "archivePages",
                              "checkSpelling",
                              "checkGrammar",
                              "TrelliumAttemptAuthentication",
                              "onFinishAlert",
                              "onFinishOpen",
                              "onFinishSaveSummary",
                              "onFinishSaveBadLinks",
                              "onFinishSaveSEO",
                              "onFinishSaveValidation",
                              "onFinishSaveSitemap",
                              "onFinishFTPSitemap",
                              "onFinishSendEmail"};
    for (const char* key : offFlags)
        d.insert(key, QStringLiteral("NO"));
    d.insert("ignoreSlash", QStringLiteral("YES"));
    d.insert("numberOfThreads", QStringLiteral("12"));
    d.insert("timeOut", QStringLiteral("30"));
    d.insert("defaultLocalFileName", QStringLiteral("index.html"));
    d.insert("orphanftpthreads", QStringLiteral("1"));
    d.insert("scheduleCalendarIntervalWeekday", QStringLiteral("Monday"));
    d.insert("summaryReportFormat", 0);
    d.insert("scheduleCalendarIntervalMatrix", 0);
    d.insert("sitemapRules", QVariantList());
    return d;
}

void KestConfigManager::implementSettingsFromDictionary(const QVariantMap& dict) {
    for (auto it = dict.begin(); it != dict.end(); ++it)
        working.insert(it.key(), it.value());
    auto split = [&](const QString& key) {
        const QString joined = dict.value(key).toString();
        return joined.isEmpty() ? QStringList() : trimEachItemInArray(joined.split(','));
    };
    checkBlacklistArray = split("checkBlacklist");
    followBlacklistArray = split("followBlacklist");
    followWhitelistArray = split("followWhitelist");
    if (!dict.contains("delay"))
        working.insert("delay", QStringLiteral("0"));
}

void KestConfigManager::setDefaults() { implementSettingsFromDictionary(compileBlankDict()); }

QString KestConfigManager::stringForKey(const QString& key) const { return working.value(key).toString(); }

bool KestConfigManager::flagForKey(const QString& key) const { return boolValue(working.value(key)); }

double KestConfigManager::doubleForKey(const QString& key) const {
    return working.value(key).toString().trimmed().toDouble();
}

void KestConfigManager::setValueForKey(const QString& key, const QVariant& value) { working.insert(key, value); }

void KestConfigManager::setStatus(const QString& status) { lastStatus = status; }

void KestConfigManager::setDateStamp() {
    const QLocale locale;
    lastDateStamp = locale.toString(QDateTime::currentDateTime(), QLocale::ShortFormat);
}

bool KestConfigManager::boolValue(const QVariant& value) {
    if (value.typeId() == QMetaType::Bool)
        return value.toBool();
    const QString text = value.toString();
    int i = 0;
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

QStringList KestConfigManager::trimEachItemInArray(const QStringList& items) {
    QStringList out;
    for (const QString& item : items) {
        const QString trimmed = item.trimmed();
        if (!trimmed.isEmpty())
            out.append(trimmed);
    }
    return out;
}
