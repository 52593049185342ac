#pragma once

#include "reports/CrawlComparison.h"

#include <QObject>
#include <QStringList>
#include <functional>

class AppDelegate;
class UserInterface;
class QMenu;
class QWidget;
class QDialog;

// The window's commands for result files: Save Results, Open Results and its list of recent
// files, the offer to reopen the results kept at the last quit, and Compare with…, which shows
// what changed between a saved crawl and the results on show.
class ResultFiles : public QObject {
  public:
    ResultFiles(QWidget* window, AppDelegate& app, UserInterface& ui);

    // Adds the commands to the File menu.
    void addToMenu(QMenu* file);

    void saveResults();
    void openResults();
    void openPath(const QString& path);
    void compareWith();
    void compareWithPath(const QString& path);
    // At start: when the autosave preference is on and a file was kept at the last quit, asks
    // whether to open it.
    void offerAutosave();

    // Most recent first, at most maxRecent; kept as the preference TrelliumRecentResults.
    QStringList recentFiles() const;
    static constexpr int maxRecent = 8;
    // The comparison window last shown (for tests); null before the first.
    QDialog* comparisonDialog() const { return dialog; }

  private:
    void remember(const QString& path);
    void fillRecentMenu();
    void showComparison(const QString& olderPath, const QList<CrawlComparison::Change>& changes);

    QWidget* window;
    AppDelegate& app;
    UserInterface& ui;
    QMenu* recentMenu = nullptr;
    QDialog* dialog = nullptr;
};
