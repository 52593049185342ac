#pragma once

#include <QString>
#include <QVariant>
#include <QVariantMap>

// The per-user global preferences, kept in memory while the process runs and stored
// through QSettings (organisation "Trellium", application "Trellium5").
class Preferences {
  public:
    Preferences();

    QVariant value(const QString& key) const;
    QString stringValue(const QString& key) const { return value(key).toString(); }
    int intValue(const QString& key) const { return value(key).toInt(); }
    bool boolValue(const QString& key) const;
    void setValue(const QString& key, const QVariant& value);

    // What requests send as User-Agent.
    QString userAgentString() const;

  private:
    QVariantMap values;
};
