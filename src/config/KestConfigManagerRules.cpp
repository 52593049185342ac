#include "config/KestConfigManager.h"

QVariantMap KestConfigManager::newSitemapRule() {
    return {{"contains", QStringLiteral("edit_me")},
            {"priority", QStringLiteral("0.5")},
            {"update", QStringLiteral("weekly")}};
}

void KestConfigManager::addSitemapRule() {
    sitemapRules.append(newSitemapRule());
    setDocumentEdited(true);
    if (ruleTableChanged)
        ruleTableChanged();
}

void KestConfigManager::deleteSitemapRule(int row) {
    if (row < 0 || row >= sitemapRules.size())
        return;
    sitemapRules.removeAt(row);
    setDocumentEdited(true);
    if (ruleTableChanged)
        ruleTableChanged();
}

void KestConfigManager::setSitemapRuleValue(int row, const QString& key, const QString& text) {
    if (row < 0 || row >= sitemapRules.size())
        return;
    // A rule read from a file written elsewhere may be no map at all; the edit makes it one.
    QVariantMap rule = sitemapRules[row].toMap();
    rule.insert(key, text);
    sitemapRules[row] = rule;
    setDocumentEdited(true);
}

std::optional<QVariantMap> KestConfigManager::ruleThatApplies(const QString& url) const {
    std::optional<QVariantMap> found;
    // No early exit: a later rule overrides an earlier one.
    for (const QVariant& entry : sitemapRules) {
        const QVariantMap rule = entry.toMap();
        const QString contains = rule.value("contains").toString();
        if (!contains.isEmpty() && url.contains(contains, Qt::CaseInsensitive))
            found = rule;
    }
    return found;
}
