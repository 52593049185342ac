#include "gui/WindowMemory.h"

#include "config/Preferences.h"

#include <QSettings>
#include <QSplitter>
#include <QWidget>

namespace {

QSettings store() {
    return QSettings(Preferences::storeFilePath(), QSettings::NativeFormat);
}

const QString group = "TrelliumWindow/";

} // namespace

namespace WindowMemory {

void saveGeometry(const QWidget& window) {
    store().setValue(group + window.objectName() + "/geometry", window.saveGeometry());
}

bool restoreGeometry(QWidget& window) {
    const QByteArray saved = store().value(group + window.objectName() + "/geometry").toByteArray();
    return !saved.isEmpty() && window.restoreGeometry(saved);
}

void saveSplitters(const QWidget& root) {
    QSettings settings = store();
    for (const QSplitter* splitter : root.findChildren<QSplitter*>()) {
        if (!splitter->objectName().isEmpty())
            settings.setValue(group + "splitters/" + splitter->objectName(), splitter->saveState());
    }
}

void restoreSplitters(QWidget& root) {
    const QSettings settings = store();
    for (QSplitter* splitter : root.findChildren<QSplitter*>()) {
        const QByteArray saved = settings.value(group + "splitters/" + splitter->objectName()).toByteArray();
        if (!splitter->objectName().isEmpty() && !saved.isEmpty())
            splitter->restoreState(saved);
    }
}

std::optional<int> columnWidth(const QString& view, const QString& identifier) {
    bool ok = false;
    const int width = store().value(group + "columns/" + view + "/" + identifier).toInt(&ok);
    return ok && width > 0 ? std::optional<int>(width) : std::nullopt;
}

void setColumnWidth(const QString& view, const QString& identifier, int width) {
    if (width > 0)
        store().setValue(group + "columns/" + view + "/" + identifier, width);
}

} // namespace WindowMemory
