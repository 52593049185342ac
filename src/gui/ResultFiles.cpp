#include "gui/ResultFiles.h"

#include "app/AppDelegate.h"
#include "platform/UserInterface.h"
#include "reports/CrawlDatabase.h"
#include "reports/CrawlDatabaseCommands.h"

#include <QDialog>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QTableWidget>
#include <QVBoxLayout>

namespace {

const QString recentKey = QStringLiteral("TrelliumRecentResults");
const QString filter = QStringLiteral("Saved crawls (*.plist)");

} // namespace

ResultFiles::ResultFiles(QWidget* window_, AppDelegate& app_, UserInterface& ui_)
    : QObject(window_), window(window_), app(app_), ui(ui_) {}

void ResultFiles::addToMenu(QMenu* file) {
    file->addAction("Open Results…", QKeySequence::Open, this, [this] { openResults(); });
    recentMenu = file->addMenu("Open Recent Results");
    fillRecentMenu();
    file->addAction("Save Results…", QKeySequence::Save, this, [this] { saveResults(); });
    file->addAction("Compare with…", QKeySequence("Ctrl+Shift+D"), this, [this] { compareWith(); });
}

void ResultFiles::saveResults() {
    CrawlDatabaseCommands& commands = app.getDatabaseCommands();
    if (commands.saveLinksMenuItem())
        remember(commands.getLastPath());
}

void ResultFiles::openResults() {
    CrawlDatabaseCommands& commands = app.getDatabaseCommands();
    if (app.getHub().getCrawlState() == LinkCheckerHub::CrawlState::Running)
        app.getHub().stop();
    if (commands.loadLinks())
        remember(commands.getLastPath());
}

void ResultFiles::openPath(const QString& path) {
    if (app.getHub().getCrawlState() == LinkCheckerHub::CrawlState::Running)
        app.getHub().stop();
    if (app.getDatabaseCommands().loadFromPath(path))
        remember(path);
}

void ResultFiles::compareWith() {
    const QString path = QFileDialog::getOpenFileName(window, "Compare with", QString(), filter);
    if (!path.isEmpty())
        compareWithPath(path);
}

void ResultFiles::compareWithPath(const QString& path) {
    CrawlDatabase::Loaded older;
    QString why;
    if (!CrawlDatabase::readFile(path, app.getHub(), older, &why)) {
        ui.alert("No data",
                 QString("Either the file is the wrong type of file or contains no link data.\n\n%1: %2")
                     .arg(path, why));
        return;
    }
    showComparison(path, CrawlComparison::compare(older.records, CrawlDatabase::recordsOf(app.getHub())));
}

void ResultFiles::offerAutosave() {
    const Preferences& preferences = app.getPreferences();
    const QString path = CrawlDatabaseCommands::autosavePath();
    if (!preferences.contains("autosave") || !preferences.boolValue("autosave") || !QFileInfo::exists(path))
        return;
    const int answer = ui.alert("Open the last results?",
                                QString("The results were kept when Trellium last quit (%1).\rOpen them now?")
                                    .arg(QFileInfo(path).lastModified().toString(Qt::TextDate)),
                                {"Open", "Not Now"});
    if (answer == 0)
        openPath(path);
}

QStringList ResultFiles::recentFiles() const {
    return app.getPreferences().value(recentKey).toStringList();
}

void ResultFiles::remember(const QString& path) {
    if (path.isEmpty())
        return;
    const QString absolute = QFileInfo(path).absoluteFilePath();
    QStringList recent = recentFiles();
    recent.removeAll(absolute);
    recent.prepend(absolute);
    while (recent.size() > maxRecent)
        recent.removeLast();
    app.getPreferences().setValueAndStore(recentKey, recent);
    fillRecentMenu();
}

void ResultFiles::fillRecentMenu() {
    if (!recentMenu)
        return;
    recentMenu->clear();
    const QStringList recent = recentFiles();
    for (const QString& path : recent)
        recentMenu->addAction(QFileInfo(path).fileName() + "  —  " + QFileInfo(path).path(), this,
                              [this, path] { openPath(path); });
    recentMenu->setEnabled(!recent.isEmpty());
}

void ResultFiles::showComparison(const QString& olderPath, const QList<CrawlComparison::Change>& changes) {
    if (!dialog) {
        dialog = new QDialog(window);
        dialog->resize(900, 500);
        auto* layout = new QVBoxLayout(dialog);
        layout->addWidget(new QLabel(dialog));
        auto* table = new QTableWidget(0, 4, dialog);
        table->setHorizontalHeaderLabels({"Change", "Old Status", "New Status", "URL"});
        table->horizontalHeader()->setStretchLastSection(true);
        table->setEditTriggers(QAbstractItemView::NoEditTriggers);
        table->setSortingEnabled(true);
        layout->addWidget(table);
    }
    dialog->setWindowTitle("Compared with " + QFileInfo(olderPath).fileName());
    dialog->findChild<QLabel*>()->setText(
        QString("From %1 to the results on show: %2")
            .arg(QFileInfo(olderPath).fileName(), CrawlComparison::countsLine(changes)));
    auto* table = dialog->findChild<QTableWidget*>();
    table->setSortingEnabled(false);
    table->setRowCount(int(changes.size()));
    for (int row = 0; row < changes.size(); ++row) {
        const CrawlComparison::Change& change = changes[row];
        const QStringList cells = {CrawlComparison::kindName(change.kind), change.oldStatus, change.newStatus,
                                   change.url};
        for (int column = 0; column < cells.size(); ++column)
            table->setItem(row, column, new QTableWidgetItem(cells[column]));
    }
    table->setSortingEnabled(true);
    dialog->show();
    dialog->raise();
}
