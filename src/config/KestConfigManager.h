#pragma once

#include <QString>
#include <QStringList>
#include <QVariantMap>

// Holds the working copy of the selected site's settings. The crawl reads it live, so a
// change made while a crawl runs takes effect wherever the crawl next consults that key.
class KestConfigManager {
  public:
    KestConfigManager();

    // The defaults of a new site: every key a saved settings file carries.
    static QVariantMap compileBlankDict();
    // Overwrites the working copy from a settings dictionary.
    void implementSettingsFromDictionary(const QVariantMap& dict);
    void setDefaults();

    // Live reads of the working copy.
    QString stringForKey(const QString& key) const;
    bool flagForKey(const QString& key) const;
    double doubleForKey(const QString& key) const;
    void setValueForKey(const QString& key, const QVariant& value);

    QString getUrlOfSelectedSite() const { return stringForKey("url"); }
    const QStringList& getCheckBlacklistArray() const { return checkBlacklistArray; }
    const QStringList& getFollowBlacklistArray() const { return followBlacklistArray; }
    const QStringList& getFollowWhitelistArray() const { return followWhitelistArray; }
    void setCheckBlacklistArray(const QStringList& terms) { checkBlacklistArray = terms; }
    void setFollowBlacklistArray(const QStringList& terms) { followBlacklistArray = terms; }
    void setFollowWhitelistArray(const QStringList& terms) { followWhitelistArray = terms; }

    // Result of the last finished crawl, written back to the site.
    void setStatus(const QString& status);
    void setDateStamp();
    QString getStatus() const { return lastStatus; }
    QString getDateStamp() const { return lastDateStamp; }

    // The boolean reading of a stored flag: "YES", "true", "1" and the like are on.
    static bool boolValue(const QVariant& value);
    static QStringList trimEachItemInArray(const QStringList& items);

  private:
    QVariantMap working;
    QStringList checkBlacklistArray;
    QStringList followBlacklistArray;
    QStringList followWhitelistArray;
    QString lastStatus;
    QString lastDateStamp;
};
