#include "config/UAStringManager.h"

#include "config/Preferences.h"

#include <QStringList>

const QList<QPair<QString, QString>>& UAStringManager::agents() {
    static const QList<QPair<QString, QString>> list = {
        {"Safari 7.1", "Mozilla/5.0 (Macintosh; Intel Mac OS X 10_9_5) AppleWebKit/600.1.17 (KHTML, like "
                       "Gecko) Version/7.1 Safari/537.85.10"},
        {"Firefox 25.0", "Mozilla/5.0 (Macintosh; Intel Mac OS X 10.6; rv:25.0) Gecko/20100101 Firefox/25.0"},
        {"IE 10 / Windows", "Mozilla/5.0 (compatible; MSIE 10.0; Windows NT 6.1; WOW64; Trident/6.0)"},
        {"Chrome 36.0",
         "Mozilla/5.0 (Macintosh; Intel Mac OS X 10_9_2) AppleWebKit/537.36 (KHTML, like Gecko) "
         "Chrome/36.0.1944.0 Safari/537.36"},
        {"Opera 11", "Opera/9.80 (Macintosh; Intel Mac OS X 10.6.8; U; fr) Presto/2.9.168 Version/11.52"},
        {"Trellium", "Trellium/5"},
    };
    return list;
}

QStringList UAStringManager::populateMenu() const {
    QStringList titles;
    for (const auto& agent : agents())
        titles << agent.first;
    return titles;
}

bool UAStringManager::itemSelected(const QString& title) {
    for (const auto& agent : agents()) {
        if (agent.first == title) {
            preferences.setValue("userAgentString", agent.second);
            return true;
        }
    }
    return false;
}
