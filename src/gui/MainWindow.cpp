#include "gui/MainWindow.h"

#include "config/SiteStore.h"
#include "gui/AboutBox.h"
#include "gui/FieldChecks.h"
#include "gui/ItemModels.h"
#include "gui/MainToolBar.h"
#include "gui/PreferencesDialog.h"
#include "gui/ProgressPage.h"
#include "gui/ResultFiles.h"
#include "gui/ResultsNotice.h"
#include "gui/ResultsView.h"
#include "gui/ResultsWindows.h"
#include "gui/SEOTable.h"
#include "gui/SettingsFileIntake.h"
#include "gui/SettingsForm.h"
#include "gui/SitemapView.h"
#include "gui/SpellingView.h"
#include "gui/ValidatorView.h"
#include "gui/WindowMemory.h"
#include "views/LabelColours.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QProgressBar>
#include <QPushButton>
#include <QShortcut>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTableView>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>

namespace {

struct TaskInfo {
    NewUIController::Task task;
    const char* title;
    const char* description;
    bool landed; // whether the job behind the button exists yet
};

const TaskInfo tasks[] = {
    {NewUIController::linksButton, "Check links", "Crawl the site and report every link and image.", true},
    {NewUIController::sitemapButton, "XML sitemap", "Make a sitemap of the pages found.", true},
    {NewUIController::SEOButton, "SEO", "Page titles, descriptions, headings and keywords.", true},
    {NewUIController::validationButton, "HTML validation", "Check the pages with the W3C validator.", true},
    {NewUIController::spellingButton, "Spelling && grammar", "Review spelling and grammar of every page.",
     true},
    {NewUIController::monitoringButton, "Monitors", "Watch single URLs and alert when they fail.", false},
    {NewUIController::analysisButton, "Page weight", "Analyse the resources that one page loads.", false},
    {NewUIController::withActionsButton, "Crawl with actions", "Crawl and run the on-finish actions.", false},
    {NewUIController::searchPagesStep1Button, "Search pages", "Find pages that contain a text.", false},
    {NewUIController::orphanButton, "Orphaned pages", "Files on the server that no link reaches.", false},
};

const char* const stepNames[] = {"Sites", "Settings", "Tasks", "Progress", "Results"};

QPushButton* taskButton(const TaskInfo& info) {
    auto* button = new QPushButton;
    button->setObjectName(QString("task%1").arg(int(info.task)));
    button->setText(QString("%1\n%2").arg(info.title, info.description));
    button->setMinimumHeight(64);
    button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    button->setStyleSheet("QPushButton { text-align: left; padding: 8px 14px; }");
    if (!info.landed)
        button->setToolTip("This job is not available yet.");
    return button;
}

} // namespace

MainWindow::MainWindow() : app(ui), controller(app, ui) {
    setObjectName("mainWindow");
    ui.setParentWidget(this);
    resize(1180, 760);
    setMinimumSize(860, 560);

    auto* central = new QWidget;
    auto* outer = new QHBoxLayout(central);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->setSpacing(0);

    stepBar = new QListWidget;
    stepBar->setObjectName("stepBar");
    stepBar->setFixedWidth(170);
    stepBar->setFrameShape(QFrame::NoFrame);
    stepBar->setStyleSheet("QListWidget { background: palette(alternate-base); padding-top: 12px; }"
                           "QListWidget::item { padding: 10px 14px; border-radius: 6px; margin: 2px 8px; }"
                           "QListWidget::item:selected { background: palette(highlight); "
                           "color: palette(highlighted-text); }");
    for (int i = 0; i < 5; ++i)
        stepBar->addItem(QString("%1   %2").arg(i + 1).arg(stepNames[i]));
    outer->addWidget(stepBar);

    auto* right = new QWidget;
    auto* column = new QVBoxLayout(right);
    column->setContentsMargins(20, 16, 20, 12);
    column->setSpacing(12);
    stepHeading = new QLabel;
    stepHeading->setObjectName("stepHeading");
    QFont headingFont = stepHeading->font();
    headingFont.setPointSizeF(headingFont.pointSizeF() * 1.4);
    headingFont.setBold(true);
    stepHeading->setFont(headingFont);
    column->addWidget(stepHeading);

    pages = new QStackedWidget;
    settings = new SettingsForm(app.getConfigManager(), controller);
    results = new ResultsView(app.getHub(), app.getPreferences(), ui);
    spellingView = new SpellingView(app.getSEOManager(), app.getConfigManager(), app.getPreferences(), ui);
    results->addSubView(spellingView, "Spelling");
    resultsPage = new QWidget;
    auto* resultsLayout = new QVBoxLayout(resultsPage);
    resultsLayout->setContentsMargins(0, 0, 0, 0);
    resultsNotice = new ResultsNotice;
    resultsLayout->addWidget(resultsNotice);
    resultsLayout->addWidget(results);
    sitemapView = new SitemapView(app.getSEOManager(), app.getConfigManager(), app.getPreferences(), ui);
    resultsLayout->addWidget(sitemapView);
    validatorView = new ValidatorView(app.getSEOManager(), app.getPreferences(), ui);
    resultsLayout->addWidget(validatorView);
    seoTable = new SEOTable(app.getSEOManager(), app.getPreferences(), ui);
    seoTable->hide();
    resultsLayout->addWidget(seoTable);
    // Each kind of results may show in a window of its own instead; the views come back here.
    resultsWindows = std::make_unique<ResultsWindows>(this);
    resultsWindows->addView("linksResultsView", results, [resultsLayout](QWidget* view) {
        resultsLayout->insertWidget(1, view);
        view->show();
    });
    auto backIntoStep5 = [resultsLayout](QWidget* view) { resultsLayout->addWidget(view); };
    resultsWindows->addView("sitemapResultsView", sitemapView, backIntoStep5);
    resultsWindows->addView("validationResultsView", validatorView, backIntoStep5);
    resultsWindows->addView("seoResultsView", seoTable, backIntoStep5);
    resultsWindows->addView("spellingResultsView", spellingView,
                            [this](QWidget* view) { results->addSubView(view, "Spelling"); });
    pages->addWidget(makeSitesPage());
    pages->addWidget(settings);
    pages->addWidget(makeTasksPage());
    pages->addWidget(makeProgressPage());
    pages->addWidget(resultsPage);
    column->addWidget(pages, 1);

    auto* moves = new QHBoxLayout;
    previousButton = new QPushButton("Previous");
    previousButton->setObjectName("previousButton");
    nextButton = new QPushButton("Next");
    nextButton->setObjectName("nextButton");
    nextButton->setDefault(false);
    moves->addStretch(1);
    moves->addWidget(previousButton);
    moves->addWidget(nextButton);
    column->addLayout(moves);
    outer->addWidget(right, 1);
    setCentralWidget(central);

    connect(previousButton, &QPushButton::clicked, this, [this] { controller.previous(); });
    connect(nextButton, &QPushButton::clicked, this, [this] { controller.next(); });
    connect(stepBar, &QListWidget::itemClicked, this, [this](QListWidgetItem* item) {
        switch (stepBar->row(item)) {
        case 0:
            controller.sites();
            break;
        case 1:
            controller.settings();
            break;
        case 2:
            controller.jobSelection();
            break;
        case 3:
            controller.selectTabViewItemWithIdentifier("4");
            break;
        case 4:
            controller.results();
            break;
        }
        refresh();
    });

    resultFiles = new ResultFiles(this, app, ui);
    makeMenus();

    // The core's news reaches the window here.
    ui.onProgress = [this](qint64 done, qint64 total, const QString& line) {
        showProgress(done, total, line);
    };
    ui.onCrawlHasPaused = [this] {
        controller.crawlHasPaused();
        results->reloadData();
        refresh();
    };
    ui.onCrawlHasContinued = [this] { controller.crawlHasContinued(); };
    ui.onCrawlDidntGetOffGround = [this] {
        resultsBelongToSelectedSite();
        controller.crawlDidntGetOffGround();
    };
    ui.onCrawlCommandsChanged = [this](bool stopped) {
        if (!stopped && app.getHub().getNumberDone() == 0) {
            results->resetFilter();
            progressDetails->crawlStarted();
            resultsBelongToSelectedSite();
        }
        refresh();
    };
    // Views reload when a crawl stops or ends, never per record while it runs.
    ui.onReloadView = [this](const QString&) {
        if (reloadPosted || app.getHub().getCrawlState() == LinkCheckerHub::CrawlState::Running)
            return;
        // Answers that arrive after a stop each ask; one reload serves them all.
        reloadPosted = true;
        QTimer::singleShot(0, this, [this] {
            reloadPosted = false;
            results->reloadData();
        });
    };
    ui.onShowResults = [this](int action) {
        // Validation asked for after the crawl: switched on and started, and its table shown.
        if (action == 5) {
            app.getPreferences().setValue("ValidationEnabled", true);
            app.getSEOManager().kickOffValidation();
            action = 18;
        }
        results->newResults();
        sitemapView->reloadData();
        controller.displayResults(action);
        // The spelling task's results are its tab beside the link views.
        if (controller.getResultsView() == "spellingResultsView")
            results->showSubView(spellingView);
        // A run with on-finish actions shows no results and ends on the progress step; the
        // person must be able to move on from there.
        if (controller.getSelectedTab() == "4") {
            controller.previousButtonEnabled = true;
            refresh();
        }
    };
    app.getDatabaseCommands().dataDidLoad = [this] {
        app.bringToFront();
        results->reloadData(true);
        controller.dataDidLoad();
    };
    controller.changed = [this] { refresh(); };
    controller.showResultsWindow = [this](const QString& kind) { showResultsWindow(kind); };
    controller.hideResultsWindow = [this](const QString& kind) { hideResultsWindow(kind); };
    // With results apart, validation's start brings its table's window to the front.
    app.getSEOManager().onKickOffValidation = [this] {
        if (app.getPreferences().intValue("displayTrelliumResults") == 1)
            showResultsWindow("validationResultsView");
    };
    app.bringToFront = [this] {
        showNormal();
        raise();
        activateWindow();
    };
    app.getConfigManager().addNewSiteSelectedObserver([this] {
        settings->load();
        reloadSites();
    });
    // Key equivalents of the task buttons are off while a text field is edited.
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) {
        if (qobject_cast<QLineEdit*>(now))
            controller.disableAllKeys();
        else
            controller.enableAllKeys();
    });
}

MainWindow::~MainWindow() {
    // The widgets go first, while the controller and the core they call still exist.
    disconnect(qApp, nullptr, this, nullptr);
    ui.onProgress = nullptr;
    ui.onCrawlHasPaused = nullptr;
    ui.onCrawlHasContinued = nullptr;
    ui.onCrawlDidntGetOffGround = nullptr;
    ui.onCrawlCommandsChanged = nullptr;
    ui.onReloadView = nullptr;
    ui.onShowResults = nullptr;
    controller.changed = nullptr;
    app.getDatabaseCommands().dataDidLoad = nullptr;
    controller.showResultsWindow = nullptr;
    controller.hideResultsWindow = nullptr;
    app.getSEOManager().onKickOffValidation = nullptr;
    resultsWindows.reset();
    delete takeCentralWidget();
}

void MainWindow::start(const QStringList& files) {
    WindowMemory::restoreGeometry(*this);
    WindowMemory::restoreSplitters(*this);
    app.awakeFromNib();
    reloadSites();
    settings->load();
    for (const QString& file : files)
        if (admitSettingsFile(app.getConfigManager(), ui, file, true))
            app.applicationOpenFile(file);
    app.applicationDidFinishLaunching();
    refresh();
    resultFiles->offerAutosave();
}

void MainWindow::openFile(const QString& path) {
    const QString absolute = QFileInfo(path).absoluteFilePath();
    if (admitSettingsFile(app.getConfigManager(), ui, absolute, true)) {
        reloadSites();
        app.applicationOpenFile(absolute);
    }
    reloadSites();
    refresh();
}

// A new crawl, or one that could not start, replaces the rows on show: the views drop the old
// ones at once rather than show them under the new site's name.
void MainWindow::resultsBelongToSelectedSite() {
    resultsSite = app.getConfigManager().getNameOfSelectedSite();
    results->reloadData(true);
}

void MainWindow::closeEvent(QCloseEvent* event) {
    if (!terminated) {
        WindowMemory::saveGeometry(*this);
        WindowMemory::saveSplitters(*this);
        terminated = app.applicationShouldTerminate();
        resultsWindows->closeAll();
    }
    event->accept();
}

// ---------------------------------------------------------------- step 1

QWidget* MainWindow::makeSitesPage() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* bar = new QHBoxLayout;
    sitesSearch = new QLineEdit;
    sitesSearch->setObjectName("sitesSearch");
    sitesSearch->setPlaceholderText("Search sites");
    sitesSearch->setClearButtonEnabled(true);
    bar->addWidget(sitesSearch, 1);
    const QList<QPair<QString, std::function<void()>>> commands = {
        {"New…", [this] { beginNewDialog(); }},
        {"Rename", [this] { renameMenuItem(); }},
        {"Change URL", [this] { changeURLMenuItem(); }},
        {"Delete", [this] { deleteMenuItem(); }},
        {"Export…", [this] { app.getConfigManager().exportMenuItem(); }},
        {"Open…", [this] { openListDialog(); }},
    };
    for (const auto& [title, command] : commands) {
        auto* button = new QPushButton(title);
        button->setObjectName("sites" + QString(title).remove("…").remove(' '));
        connect(button, &QPushButton::clicked, this, command);
        bar->addWidget(button);
    }
    layout->addLayout(bar);

    sitesModel = new SiteListModel(app.getConfigManager(), this);
    sitesTable = new QTableView;
    sitesTable->setObjectName("siteList");
    sitesTable->setModel(sitesModel);
    sitesTable->setSelectionBehavior(QAbstractItemView::SelectRows);
    sitesTable->setSelectionMode(QAbstractItemView::SingleSelection);
    sitesTable->setEditTriggers(QAbstractItemView::EditKeyPressed);
    sitesTable->setSortingEnabled(true);
    sitesTable->horizontalHeader()->setSortIndicatorShown(false);
    sitesTable->verticalHeader()->hide();
    sitesTable->verticalHeader()->setDefaultSectionSize(30);
    sitesTable->setColumnWidth(0, 180);
    sitesTable->setColumnWidth(1, 260);
    sitesTable->setColumnWidth(2, 440);
    sitesTable->setWordWrap(false);
    sitesTable->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    sitesTable->horizontalHeader()->setStretchLastSection(true);
    sitesTable->setShowGrid(false);
    sitesTable->setAlternatingRowColors(true);
    layout->addWidget(sitesTable, 1);

    connect(sitesTable->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex& now) {
                if (now.isValid())
                    app.getConfigManager().selectRow(now.row());
            });
    connect(sitesTable, &QTableView::doubleClicked, this, [this] { controller.next(); });
    connect(sitesSearch, &QLineEdit::textChanged, this, [this](const QString& text) {
        app.getConfigManager().filter(text);
        reloadSites();
    });
    return page;
}

void MainWindow::reloadSites() {
    if (!sitesModel)
        return;
    const QSignalBlocker blocker(sitesTable->selectionModel());
    sitesModel->reload();
    const KestConfigManager& config = app.getConfigManager();
    const int row = config.store().displayRowOfIndex(config.getSelectedRow());
    if (row >= 0) {
        sitesTable->selectRow(row);
        sitesTable->setCurrentIndex(sitesModel->index(row, 0));
    }
}

void MainWindow::beginNewDialog(const QString& url) {
    controller.userWantsToOpenOrCreateASite();
    auto* dialog = new QDialog(this);
    dialog->setObjectName("newSiteDialog");
    dialog->setWindowTitle("New site");
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    auto* form = new QFormLayout(dialog);
    auto* urlField = new QLineEdit(url);
    urlField->setObjectName("newSiteUrl");
    urlField->setPlaceholderText("https://www.example.com/");
    urlField->setMinimumWidth(380);
    auto* nameField = new QLineEdit;
    nameField->setObjectName("newSiteName");
    nameField->setPlaceholderText("optional: the URL if left empty");
    auto* hint = new QLabel;
    hint->setObjectName("newSiteHint");
    hint->setWordWrap(true);
    hint->setStyleSheet("color: #b3261e;");
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    form->addRow("Starting URL:", urlField);
    form->addRow("Name:", nameField);
    form->addRow("", hint);
    form->addRow(buttons);
    // The list tells sites apart by name: two of one name would show one site twice, and the
    // second row would act on the first site's file.
    const QStringList names = app.getConfigManager().store().nameCollection;
    auto check = [urlField, nameField, hint, buttons, names] {
        const QString url = urlField->text().trimmed();
        const QString name = nameField->text().trimmed().isEmpty() ? url : nameField->text().trimmed();
        QString problem = startingUrlProblem(url);
        if (problem.isEmpty() && names.contains(name))
            problem =
                QString("A site named \"%1\" exists already; give this one a name of its own.").arg(name);
        hint->setText(problem);
        hint->setVisible(!problem.isEmpty());
        buttons->button(QDialogButtonBox::Ok)->setEnabled(problem.isEmpty());
    };
    check();
    connect(urlField, &QLineEdit::textChanged, dialog, check);
    connect(nameField, &QLineEdit::textChanged, dialog, check);
    connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    connect(buttons, &QDialogButtonBox::accepted, dialog, [this, dialog, urlField, nameField] {
        const QString url = urlField->text().trimmed();
        const QString name = nameField->text().trimmed();
        if (!app.getConfigManager().newSheetOK(url, name.isEmpty() ? url : name))
            return;
        reloadSites();
        settings->load();
        dialog->accept();
        refresh();
    });
    dialog->open();
}

void MainWindow::renameMenuItem() {
    controller.sites();
    if (app.startControlTitle() == "Pause")
        return;
    const int row = app.getConfigManager().store().displayRowOfIndex(app.getConfigManager().getSelectedRow());
    if (row >= 0)
        sitesTable->edit(sitesModel->index(row, 0));
}

void MainWindow::changeURLMenuItem() {
    const int row = app.getConfigManager().store().displayRowOfIndex(app.getConfigManager().getSelectedRow());
    if (row >= 0)
        sitesTable->edit(sitesModel->index(row, 1));
}

void MainWindow::deleteMenuItem() {
    if (app.getConfigManager().deleteMenuItem()) {
        reloadSites();
        settings->load();
    }
    refresh();
}

void MainWindow::openListDialog() {
    const QString path = ui.chooseOpenFile("Select a file");
    if (path.isEmpty())
        return;
    if (QFileInfo(path).suffix() == "lcsettings") {
        if (admitSettingsFile(app.getConfigManager(), ui, path, false)) {
            app.openPanelDidEnd(path);
            statusBar()->showMessage(
                QString("Opened %1: the site %2 is selected, and saving writes to that file.")
                    .arg(QFileInfo(path).fileName(), app.getConfigManager().getNameOfSelectedSite()));
        }
        reloadSites();
        settings->load();
        refresh();
    } else {
        beginNewDialog(QUrl::fromLocalFile(path).toString());
    }
}

void MainWindow::showPreferences() {
    auto* dialog = new PreferencesDialog(app.getPreferences(), this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->changed = [this] { results->reloadData(true); };
    dialog->show();
}

// ---------------------------------------------------------------- step 3

QWidget* MainWindow::makeTasksPage() {
    auto* page = new QWidget;
    page->setObjectName("tasksPage");
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    taskSite = new QLabel;
    taskSite->setObjectName("taskSite");
    taskSite->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(taskSite);
    newCrawlButton = new QCheckBox("Crawl anew (untick to use the results you have)");
    newCrawlButton->setObjectName("newCrawlButton");
    newCrawlButton->setToolTip(
        "A changed setting proposes a new crawl; untick to see the results of the last "
        "crawl of this site at once.");
    connect(newCrawlButton, &QCheckBox::toggled, this, [this](bool on) { controller.setNewCrawlButton(on); });
    layout->addWidget(newCrawlButton);
    auto* grid = new QGridLayout;
    grid->setSpacing(10);
    int i = 0;
    for (const TaskInfo& info : tasks) {
        QPushButton* button = taskButton(info);
        taskButtons.insert(info.task, button);
        const NewUIController::Task task = info.task;
        connect(button, &QPushButton::clicked, this, [this, task] { controller.pressTaskButton(task); });
        grid->addWidget(button, i / 2, i % 2);
        ++i;
    }
    layout->addLayout(grid);
    auto* actions = new QPushButton("On-finish actions and schedule…");
    actions->setObjectName("actionsButton");
    actions->setEnabled(false);
    actions->setToolTip("This job is not available yet.");
    layout->addWidget(actions, 0, Qt::AlignLeft);
    layout->addStretch(1);

    auto shortcut = [this, page](const QKeySequence& keys, std::function<void()> f) {
        auto* s = new QShortcut(keys, page);
        s->setContext(Qt::WidgetWithChildrenShortcut);
        connect(s, &QShortcut::activated, this, f);
    };
    shortcut(Qt::Key_Up, [this] { moveTaskFocus(true); });
    shortcut(Qt::Key_Down, [this] { moveTaskFocus(false); });
    shortcut(Qt::Key_Return, [this] { pressFocusedTask(); });
    shortcut(Qt::Key_Enter, [this] { pressFocusedTask(); });
    return page;
}

// The ring of the arrow keys and the keyboard focus are one: a task reached either way is
// the one Enter presses.
void MainWindow::moveTaskFocus(bool up) {
    up ? controller.upArrow() : controller.downArrow();
    if (controller.focusRingShown && controller.taskTabPosition >= 0)
        if (QPushButton* button =
                taskButtons.value(NewUIController::goButtonArray[controller.taskTabPosition]))
            button->setFocus(Qt::TabFocusReason);
}

void MainWindow::pressFocusedTask() {
    for (auto it = taskButtons.begin(); it != taskButtons.end(); ++it) {
        if (it.value()->hasFocus()) {
            if (it.value()->isEnabled())
                it.value()->click();
            return;
        }
    }
    controller.goKey();
}

// ---------------------------------------------------------------- step 4

QWidget* MainWindow::makeProgressPage() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 24, 0, 0);
    layout->setSpacing(14);
    progressSite = new QLabel;
    progressSite->setObjectName("progressSite");
    layout->addWidget(progressSite);
    progressBar = new QProgressBar;
    progressBar->setObjectName("progressBar");
    progressBar->setRange(0, 0);
    progressBar->setTextVisible(false);
    progressBar->setMinimumHeight(22);
    layout->addWidget(progressBar);
    progressLine = new QLabel;
    progressLine->setObjectName("progressLine");
    layout->addWidget(progressLine);
    auto* buttons = new QHBoxLayout;
    crawlButton = new QPushButton("Pause");
    crawlButton->setObjectName("crawlButton");
    crawlButton->setMinimumWidth(120);
    partialResultsButton = new QPushButton("Show partial results");
    partialResultsButton->setObjectName("partialResults");
    buttons->addWidget(crawlButton);
    buttons->addWidget(partialResultsButton);
    buttons->addStretch(1);
    layout->addLayout(buttons);
    progressDetails = new ProgressPage(app.getHub());
    layout->addWidget(progressDetails, 1);
    connect(crawlButton, &QPushButton::clicked, this, [this] {
        app.go();
        refresh();
    });
    connect(partialResultsButton, &QPushButton::clicked, this, [this] {
        results->reloadData(true);
        controller.partialResultsMenuItem();
    });
    return page;
}

void MainWindow::showProgress(qint64 done, qint64 total, const QString& line) {
    progressBar->setRange(0, total > 0 ? int(qMin<qint64>(total, INT_MAX)) : 0);
    progressBar->setValue(int(qMin<qint64>(done, INT_MAX)));
    progressLine->setText(line);
    // The count takes the 2xx colour while no link is bad and the 4xx colour once one is.
    const LabelColour colour = KestLabelColours::labelColorForConstant(
        app.getHub().getBadCollectionCount() < 1 ? 1 : 3, app.getPreferences());
    progressLine->setStyleSheet(QString("QLabel { background: %1; color: %2; padding: 4px 8px; }")
                                    .arg(backgroundForColour(colour).value<QColor>().name(QColor::HexArgb),
                                         foregroundForColour(colour).value<QColor>().name()));
    statusBar()->showMessage(line);
}

// ---------------------------------------------------------------- menus

void MainWindow::makeMenus() {
    QMenu* file = menuBar()->addMenu("&File");
    newAction = file->addAction("New Site…", QKeySequence::New, this, [this] { beginNewDialog(); });
    // Ctrl+O and Ctrl+S open and save results, the files a person keeps; a site's settings are
    // saved on leaving its step anyway, so their commands take the keys with Shift.
    openAction = file->addAction("Open Settings File…", QKeySequence("Ctrl+Shift+O"), this,
                                 [this] { openListDialog(); });
    file->addAction("Save Settings", QKeySequence("Ctrl+Shift+S"), this,
                    [this] { app.getConfigManager().saveMenuItem(); });
    file->addAction("Export Settings…", QKeySequence("Ctrl+Shift+E"), this,
                    [this] { app.getConfigManager().exportMenuItem(); });
    file->addSeparator();
    resultFiles->addToMenu(file);
    file->addSeparator();
    // The platform's key for preferences is empty on Linux desktops; Ctrl+, is the common one.
    file->addAction("Preferences…", QKeySequence("Ctrl+,"), this, [this] { showPreferences(); });
    file->addSeparator();
    file->addAction("Quit", QKeySequence::Quit, this, [this] { close(); });

    QMenu* crawl = menuBar()->addMenu("&Crawl");
    crawl->addAction("Check Links", QKeySequence("Ctrl+L"), this, [this] {
        // Without a site the crawl would have no address and the window would wait on progress.
        if (app.getConfigManager().getSelectedRow() < 0) {
            controller.sites();
            statusBar()->showMessage("Select or create a site first; then Check Links crawls it.");
            return;
        }
        controller.pressTaskButton(NewUIController::linksButton);
    });
    crawlAction = crawl->addAction("Pause", QKeySequence("Ctrl+P"), this, [this] {
        if (app.getHub().getCrawlState() == LinkCheckerHub::CrawlState::Running ||
            app.startControlTitle() == "Continue")
            app.go();
        refresh();
    });
    partialResultsMenuItem = crawl->addAction("Show Partial Results", this, [this] {
        results->reloadData(true);
        controller.partialResultsMenuItem();
    });

    QMenu* view = menuBar()->addMenu("&Results");
    resultsActions.append(view->addAction("Export as CSV…", QKeySequence("Ctrl+E"), this,
                                          [this] { exportResultsOnShow(false); }));
    resultsActions.append(view->addAction("Export as HTML…", QKeySequence("Ctrl+Alt+E"), this,
                                          [this] { exportResultsOnShow(true); }));
    resultsActions.append(view->addAction("Export Flat Report as Tab-delimited…", this,
                                          [this] { results->exportAsTDLMenuItem(); }));
    view->addSeparator();
    resultsActions.append(
        view->addAction("Copy URL", QKeySequence("Ctrl+Shift+C"), this, [this] { results->copyURL(); }));
    resultsActions.append(
        view->addAction("Inspect…", QKeySequence("Ctrl+I"), this, [this] { results->doubleClick(); }));
    view->addSeparator();
    for (int i = 1; i <= 3; ++i) {
        static const char* const names[] = {"By Link", "Flat", "By Page"};
        resultsActions.append(view->addAction(names[i - 1], QKeySequence(QString("Ctrl+Shift+%1").arg(i)),
                                              this,
                                              [this, i] { results->selectSubTab(QString::number(i)); }));
    }

    QMenu* go = menuBar()->addMenu("&Go");
    go->addAction("Sites", QKeySequence("Ctrl+1"), this, [this] { controller.sites(); });
    go->addAction("Settings", QKeySequence("Ctrl+2"), this, [this] { controller.settings(); });
    go->addAction("Tasks", QKeySequence("Ctrl+3"), this, [this] { controller.jobSelection(); });
    go->addAction("Results", QKeySequence("Ctrl+5"), this, [this] { controller.results(); });
    go->addSeparator();
    go->addAction("Previous", QKeySequence("Alt+Left"), this, [this] {
        if (previousButton->isEnabled())
            controller.previous();
    });
    go->addAction("Next", QKeySequence("Alt+Right"), this, [this] {
        if (nextButton->isEnabled())
            controller.next();
    });

    QMenu* help = menuBar()->addMenu("&Help");
    help->addAction("Trellium Manual (README)", QKeySequence::HelpContents, this,
                    [] { QDesktopServices::openUrl(AboutBox::readmeUrl()); });
    help->addAction("About Trellium", this, [this] {
        auto* about = new AboutBox(this);
        about->setAttribute(Qt::WA_DeleteOnClose);
        about->show();
    });

    toolBar = new MainToolBar(app, controller, this);
    toolBar->exportResults = [this] {
        results->reloadData(true);
        exportResultsOnShow(false);
    };
    addToolBar(Qt::TopToolBarArea, toolBar);
}

// ---------------------------------------------------------------- drawing the state

void MainWindow::refresh() {
    const QString tab = controller.getSelectedTab();
    // Step 5 shows the table of the task that ran: the SEO, sitemap or validator table, the
    // link views (with the spelling tab) otherwise.
    const QString view = controller.getResultsView();
    // A view in a window of its own shows there, whatever step 5 holds.
    const std::pair<QWidget*, const char*> pageViews[] = {{validatorView, "validationResultsView"},
                                                          {seoTable, "seoResultsView"},
                                                          {sitemapView, "sitemapResultsView"}};
    for (const auto& [widget, name] : pageViews)
        if (widget->parent() == resultsPage)
            widget->setVisible(view == name);
    if (results->parent() == resultsPage)
        results->setVisible(view != "validationResultsView" && view != "seoResultsView" &&
                            view != "sitemapResultsView");
    const int index = tab.toInt() - 1;
    if (index >= 0 && index < pages->count() && pages->currentIndex() != index) {
        if (index == 1)
            settings->load();
        pages->setCurrentIndex(index);
    }
    {
        const QSignalBlocker blocker(stepBar);
        stepBar->setCurrentRow(index);
    }
    // The results step is titled after the site the results came from, which need not be the
    // selected one.
    const QString heading = tab == "5" && controller.getResultsView() == "linksResultsView"
                                ? NewUIController::titleFormatForAction(1).arg(resultsSite)
                                : controller.getWindowTitle();
    setWindowTitle(heading);
    stepHeading->setText(heading);
    previousButton->setEnabled(controller.previousButtonEnabled);
    nextButton->setEnabled(controller.nextButtonEnabled);

    KestConfigManager& config = app.getConfigManager();
    LinkCheckerHub& hub = app.getHub();
    const bool siteSelected = config.getSelectedRow() >= 0;
    const bool crawled = hub.getCrawlState() != LinkCheckerHub::CrawlState::Idle;
    const bool enabled[] = {true, siteSelected, siteSelected, crawled, crawled};
    for (int i = 0; i < 5; ++i) {
        QListWidgetItem* item = stepBar->item(i);
        item->setFlags(enabled[i] ? Qt::ItemIsEnabled | Qt::ItemIsSelectable : Qt::NoItemFlags);
    }
    newAction->setEnabled(controller.newAndOpenConnected);
    openAction->setEnabled(controller.newAndOpenConnected);

    const QString site =
        siteSelected ? QString("%1  —  %2").arg(config.getNameOfSelectedSite(), config.getUrlOfSelectedSite())
                     : QString();
    taskSite->setText(site);
    progressSite->setText(site);
    {
        const QSignalBlocker blocker(newCrawlButton);
        newCrawlButton->setChecked(controller.newCrawlButtonOn);
        newCrawlButton->setEnabled(controller.newCrawlButtonEnabled);
    }
    const NewUIController::Task ringed =
        controller.focusRingShown && controller.taskTabPosition >= 0
            ? NewUIController::goButtonArray.value(controller.taskTabPosition)
            : NewUIController::actionsButton;
    for (const TaskInfo& info : tasks) {
        QPushButton* button = taskButtons.value(info.task);
        bool on = info.landed;
        if (info.task == NewUIController::spellingButton)
            on = on && controller.spellingButtonEnabled;
        button->setEnabled(on);
        button->setStyleSheet(info.task == ringed
                                  ? "QPushButton { text-align: left; padding: 8px 14px; border: 2px solid "
                                    "palette(highlight); border-radius: 4px; }"
                                  : "QPushButton { text-align: left; padding: 8px 14px; }");
    }

    const QString title = app.startControlTitle();
    crawlButton->setText(title == "Go" ? "Pause" : title);
    crawlButton->setEnabled(hub.getCrawlState() == LinkCheckerHub::CrawlState::Running ||
                            hub.getCrawlState() == LinkCheckerHub::CrawlState::Paused);
    crawlAction->setText(title == "Continue" ? "Continue" : "Pause");
    partialResultsButton->setEnabled(controller.partialResultsMenuItemEnabled());
    partialResultsMenuItem->setEnabled(controller.partialResultsMenuItemEnabled());
    toolBar->refresh();
    resultsNotice->update(resultsSite, config.getNameOfSelectedSite(), hub.getCrawlState());
    for (QAction* action : resultsActions)
        action->setEnabled(tab == "5" || (resultsWindows->window("linksResultsView") &&
                                          resultsWindows->window("linksResultsView")->isVisible()));
}

// The export commands take the table in front: the spelling tab's own, or the link views'.
void MainWindow::exportResultsOnShow(bool html) {
    if (results->isAncestorOf(spellingView) && spellingView->isVisible())
        html ? spellingView->exportAsHTML() : spellingView->exportAsCSV();
    else
        html ? results->exportAsHTMLMenuItem() : results->exportAsCSVMenuItem();
}

void MainWindow::showResultsWindow(const QString& kind) {
    // The window is titled as step 5 would be for the same results.
    int action = 0;
    for (int a : {1, 2, 3, 8, 18, 10})
        if (NewUIController::resultsViewForAction(a) == kind)
            action = a;
    resultsWindows->show(
        kind, controller.getResultsWindows().value(kind, kind),
        NewUIController::titleFormatForAction(action).arg(app.getConfigManager().getNameOfSelectedSite()));
}

void MainWindow::hideResultsWindow(const QString& kind) {
    resultsWindows->hide(kind);
    // The spelling tab stands among the link views, which step 5 then shows.
    if (kind == "spellingResultsView")
        resultsWindows->hide("linksResultsView");
}
