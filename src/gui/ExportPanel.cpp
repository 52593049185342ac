#include "gui/ExportPanel.h"

#include "platform/UserInterface.h"
#include "views/TableExport.h"

#include <QFileInfo>
#include <QtDebug>

bool ExportPanel::save(UserInterface& ui, const QString& suggestedName, const QString& text) {
    QString path = ui.chooseSaveFile("Export", suggestedName);
    if (path.isEmpty())
        return false;
    const QString suffix = "." + QFileInfo(suggestedName).suffix();
    if (!path.endsWith(suffix))
        path += suffix;
    if (TableExport::writeTextAtomically(path, text))
        return true;
    qInfo().noquote() << QString("Unsuccessful exporting data to %1\n").arg(path);
    return false;
}
