#pragma once

#include "app/AppDelegate.h"
#include "app/NewUIController.h"
#include "gui/QtUserInterface.h"

#include <QMainWindow>
#include <QMap>
#include <memory>

class ProgressPage;
class QAction;
class QCheckBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QProgressBar;
class QPushButton;
class QStackedWidget;
class QTableView;
class QTreeView;
class MainToolBar;
class ResultsNotice;
class ResultsView;
class SitemapView;
class ValidatorView;
class SpellingView;
class SettingsForm;
class SEOTable;
class SiteListModel;

// The main window: a step bar on the left, the five steps on the right, Previous and Next
// below. It draws the state of NewUIController and forwards every command to it or to the
// site list; it decides nothing itself.
class ResultFiles;
class ResultsWindows;

class MainWindow : public QMainWindow {
    Q_OBJECT
  public:
    MainWindow();
    ~MainWindow() override;

    // The program's start: preferences and sites, then any settings files handed over, then
    // the end of launching, which starts their crawl.
    void start(const QStringList& files = {});
    // A settings file from the desktop or a second launch: the unattended start.
    void openFile(const QString& path);

    AppDelegate& appDelegate() { return app; }
    NewUIController& uiController() { return controller; }
    QtUserInterface& userInterface() { return ui; }
    ResultsView& resultsView() { return *results; }
    SEOTable& seoResultsView() { return *seoTable; }
    ResultFiles& resultFilesCommands() { return *resultFiles; }
    SettingsForm& settingsForm() { return *settings; }
    QTableView* siteTable() const { return sitesTable; }

    // Commands of the site list.
    void beginNewDialog(const QString& url = QString());
    void renameMenuItem();
    void changeURLMenuItem();
    void deleteMenuItem();
    void openListDialog();
    void showPreferences();

  protected:
    void closeEvent(QCloseEvent* event) override;

  private:
    QWidget* makeSitesPage();
    QWidget* makeTasksPage();
    QWidget* makeProgressPage();
    void moveTaskFocus(bool up);
    void pressFocusedTask();
    void resultsBelongToSelectedSite();
    void makeMenus();
    void refresh();
    void reloadSites();
    void showProgress(qint64 done, qint64 total, const QString& line);
    void exportResultsOnShow(bool html);
    void showResultsWindow(const QString& kind);
    void hideResultsWindow(const QString& kind);

    QtUserInterface ui;
    AppDelegate app;
    NewUIController controller;
    bool terminated = false;
    bool reloadPosted = false;

    QListWidget* stepBar = nullptr;
    QStackedWidget* pages = nullptr;
    QLabel* stepHeading = nullptr;
    QPushButton* previousButton = nullptr;
    QPushButton* nextButton = nullptr;

    SiteListModel* sitesModel = nullptr;
    QTableView* sitesTable = nullptr;
    QLineEdit* sitesSearch = nullptr;
    SettingsForm* settings = nullptr;
    SEOTable* seoTable = nullptr;
    QWidget* resultsPage = nullptr;
    ResultsView* results = nullptr;
    SitemapView* sitemapView = nullptr;
    ValidatorView* validatorView = nullptr;
    SpellingView* spellingView = nullptr;
    ResultFiles* resultFiles = nullptr;
    std::unique_ptr<ResultsWindows> resultsWindows;

    QMap<NewUIController::Task, QPushButton*> taskButtons;
    QCheckBox* newCrawlButton = nullptr;
    QLabel* taskSite = nullptr;

    QLabel* progressSite = nullptr;
    QProgressBar* progressBar = nullptr;
    QLabel* progressLine = nullptr;
    ProgressPage* progressDetails = nullptr;
    QPushButton* crawlButton = nullptr;
    QPushButton* partialResultsButton = nullptr;

    QAction* newAction = nullptr;
    QAction* openAction = nullptr;
    QAction* crawlAction = nullptr;
    QAction* partialResultsMenuItem = nullptr;
    QList<QAction*> resultsActions;
    MainToolBar* toolBar = nullptr;
    ResultsNotice* resultsNotice = nullptr;
    QString resultsSite; // the name of the site whose crawl the views show
};
