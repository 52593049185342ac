#include "gui/QtUserInterface.h"

#include <QDesktopServices>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QPushButton>
#include <QUrl>

namespace {
// A crawl reports every record; a person can read a few lines a second.
constexpr int progressIntervalMs = 250;
} // namespace

QString QtUserInterface::saveFilterFor(const QString& suggestedName) {
    static const QList<QPair<const char*, const char*>> kinds = {
        {"csv", "CSV files (*.csv)"},          {"txt", "Tab-delimited text (*.txt)"},
        {"html", "HTML files (*.html *.htm)"}, {"xml", "XML files (*.xml)"},
        {"pdf", "PDF files (*.pdf)"},          {"lcsettings", "Site settings (*.lcsettings)"},
        {"plist", "Property lists (*.plist)"}, {"dot", "Graphviz files (*.dot)"},
    };
    const QString suffix = QFileInfo(suggestedName).suffix().toLower();
    for (const auto& [extension, filter] : kinds)
        if (suffix == extension)
            return QString("%1;;All files (*)").arg(filter);
    return {};
}

QtUserInterface::QtUserInterface(QObject* parent) : QObject(parent) {
    progressTimer.setSingleShot(true);
    connect(&progressTimer, &QTimer::timeout, this, [this] { flushProgress(); });
    sinceProgress.start();
}

int QtUserInterface::alert(const QString& title, const QString& text, const QStringList& buttons) {
    if (!answersAhead.isEmpty())
        return answersAhead.takeFirst();
    QMessageBox box(parentWidget);
    box.setWindowTitle(title);
    box.setText(title);
    // The core's texts use carriage returns as paragraph breaks.
    box.setInformativeText(QString(text).replace('\r', '\n'));
    box.setIcon(QMessageBox::Warning);
    QList<QAbstractButton*> made;
    for (const QString& label : buttons)
        made.append(box.addButton(label, made.isEmpty() ? QMessageBox::AcceptRole : QMessageBox::RejectRole));
    if (!made.isEmpty())
        box.setDefaultButton(qobject_cast<QPushButton*>(made.first()));
    box.exec();
    const int index = int(made.indexOf(box.clickedButton()));
    return index < 0 ? 0 : index;
}

QString QtUserInterface::chooseSaveFile(const QString& title, const QString& suggestedName) {
    if (!filesAhead.isEmpty())
        return filesAhead.takeFirst();
    return QFileDialog::getSaveFileName(parentWidget, title, suggestedName, saveFilterFor(suggestedName));
}

QString QtUserInterface::chooseOpenFile(const QString& title) {
    if (!filesAhead.isEmpty())
        return filesAhead.takeFirst();
    if (title.contains("directory"))
        return chooseFolder(title);
    return QFileDialog::getOpenFileName(parentWidget, title);
}

QString QtUserInterface::chooseFolder(const QString& title) {
    if (!filesAhead.isEmpty())
        return filesAhead.takeFirst();
    return QFileDialog::getExistingDirectory(parentWidget, title);
}

void QtUserInterface::progress(qint64 done, qint64 total, const QString& line) {
    pendingDone = done;
    pendingTotal = total;
    pendingLine = line;
    progressPending = true;
    if (sinceProgress.elapsed() >= progressIntervalMs || total == 0)
        flushProgress();
    else if (!progressTimer.isActive())
        progressTimer.start(progressIntervalMs - int(sinceProgress.elapsed()));
}

void QtUserInterface::flushProgress() {
    progressTimer.stop();
    if (!progressPending)
        return;
    progressPending = false;
    sinceProgress.restart();
    if (onProgress)
        onProgress(pendingDone, pendingTotal, pendingLine);
}

void QtUserInterface::crawlCommandsChanged(bool stopped) {
    if (onCrawlCommandsChanged)
        onCrawlCommandsChanged(stopped);
}

void QtUserInterface::crawlHasPaused() {
    flushProgress();
    if (onCrawlHasPaused)
        onCrawlHasPaused();
}

void QtUserInterface::crawlHasContinued() {
    if (onCrawlHasContinued)
        onCrawlHasContinued();
}

void QtUserInterface::crawlDidntGetOffGround() {
    if (onCrawlDidntGetOffGround)
        onCrawlDidntGetOffGround();
}

void QtUserInterface::reloadView(const QString& view) {
    if (onReloadView)
        onReloadView(view);
}

void QtUserInterface::showResults(int action) {
    flushProgress();
    if (onShowResults)
        onShowResults(action);
}

void QtUserInterface::openInBrowser(const QString& url) {
    QDesktopServices::openUrl(QUrl(url));
}
