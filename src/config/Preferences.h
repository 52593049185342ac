#pragma once

#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <optional>

class KestConfigManager;
class QSettings;

// The per-user global preferences. The running program works on the values held here;
// load() reads the stored ones at start-up over the initial values, save() writes them all
// back at a regular quit, so a change is lost if the process dies. Stored through QSettings
// (organisation "Trellium", application "Trellium5") in a file under the config folder.
class Preferences {
  public:
    // How a preference is kept in the store.
    enum class Form { Bool, YesNo, Index, Text, Number, Float, List };

    // The agent sent when the user has set none.
    static constexpr const char* defaultUserAgent = "Trellium/5";
    static QString defaultReportStyles();

    // Holds the initial values; reads nothing from disk.
    Preferences();

    // Where the preferences live: ~/.config/Trellium/Trellium5.conf on Linux. Built from the
    // current environment each time, so a test that moves HOME gets a store of its own.
    static QString storeFilePath();

    // The three registered defaults, which stand whenever the store has no value of its own.
    void registerDefaults();
    // Registers the defaults, then reads every stored preference in the order of the table,
    // the limits last. A missing key keeps its initial value.
    void load();
    // Writes every value in its stored form; called once at a regular quit. False, with the
    // reason in `error`, when the store could not be written; it then stays as it was.
    bool save(QString* error = nullptr) const;
    // The site values that are kept as preferences at quit: delay, timeout, KestreliaSitemapOnly.
    void takeFromSite(const KestConfigManager& site);

    QVariant value(const QString& key) const;
    QString stringValue(const QString& key) const { return value(key).toString(); }
    int intValue(const QString& key) const;
    bool boolValue(const QString& key) const;
    bool contains(const QString& key) const { return values.contains(key) || registered.contains(key); }
    void setValue(const QString& key, const QVariant& value);
    // Sets and writes at once: `newUISelectedFilename` does not wait for quit. A value the
    // store already holds is not written again. False, with the reason, when the write failed.
    bool setValueAndStore(const QString& key, const QVariant& value, QString* error = nullptr);
    void remove(const QString& key);
    // Sets and writes one preference at once, converted to the form it is stored in.
    void setValueAndStoreInItsForm(const QString& key, const QVariant& value);

    // Every preference the program keeps, in the order they are read at start-up.
    static QStringList knownKeys();
    // The stored form of a preference; none for a key the program does not keep.
    static std::optional<Form> formOfKey(const QString& key);

    // What requests send as User-Agent.
    QString userAgentString() const;
    // The most bytes of one page kept (TrelliumMaxPageSize, in MB); 0 for no bound.
    qint64 maximumPageSize() const;
    // The longest a whole request may take (TrelliumMaxRequestTime, in seconds); unset, ten
    // times the silence time-out of the site.
    double maximumRequestTime(double timeOut) const;

  private:
    QVariantMap values;
    QVariantMap registered;
};
