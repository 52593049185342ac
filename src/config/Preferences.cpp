#include "config/Preferences.h"

#include "config/KestConfigManager.h"

Preferences::Preferences() {
    values.insert("linkslimit", 200000);
    values.insert("levelslimit", 100);
    values.insert("soft404Terms", QStringLiteral("page not found\nnot found\n404 error\nno longer available"));
    values.insert("userAgentString", QStringLiteral("Trellium/5"));
    values.insert("KestreliaShowPageTitle", 0);
    values.insert("showHideGoodLinksCheckBox", false);
}

QVariant Preferences::value(const QString& key) const { return values.value(key); }

bool Preferences::boolValue(const QString& key) const { return KestConfigManager::boolValue(value(key)); }

void Preferences::setValue(const QString& key, const QVariant& v) { values.insert(key, v); }

QString Preferences::userAgentString() const {
    const QString agent = stringValue("userAgentString");
    return agent.isEmpty() ? QStringLiteral("Trellium/5") : agent;
}
