#pragma once

#include "gui/ItemModels.h"
#include "views/LinkTreeSource.h"

#include <QWidget>
#include <functional>
#include <memory>

class LinkCheckerHub;
class LinkCheckerUrl;
class OverviewPage;
class QLabel;
struct OverviewSelection;
class Preferences;
class QAbstractItemView;
class QCheckBox;
class QComboBox;
class QLineEdit;
class QTabWidget;
class QTableView;
class QTreeView;
class QtUserInterface;

// Step 5 for the links task: the by-link outline, the flat report and the by-page outline as
// sub-tabs, with the filter, the search, the bad-links switch and the column switches.
class ResultsView : public QWidget {
    Q_OBJECT
  public:
    ResultsView(LinkCheckerHub& hub, Preferences& preferences, QtUserInterface& ui,
                QWidget* parent = nullptr);

    // Reloads the three views; while a crawl runs they wait for it to stop or end.
    void reloadData(bool whateverTheCrawl = false);
    // Fresh results: everything reloaded and the overview in front.
    void newResults();
    // A further view of the results (the spelling table) as a tab beside the link views.
    void addSubView(QWidget* view, const QString& title);
    void showSubView(QWidget* view);
    // A new crawl starts unfiltered.
    void resetFilter();
    void filter();

    // The front sub-tab's identifier: "0" overview, "1" by link, "2" flat, "3" by page.
    QString frontSubTab() const;
    void selectSubTab(const QString& identifier);
    void exportAsCSVMenuItem();
    void exportAsHTMLMenuItem();
    void exportAsTDLMenuItem();
    void copyURL();
    void doubleClick();
    // Only the links an overview part stands for, until the filter changes or "Show all".
    void showSelection(const OverviewSelection& selection);

    // The URL of the current row's link and of the page it is on; "" where there is none.
    QString selectedLinkUrl() const;
    QString selectedPageUrl() const;
    QtUserInterface& userInterface() { return ui; }
    OverviewPage* overviewPage() const { return overview; }
    QLabel* shownCountLabel() const { return shownCount; }
    QLabel* selectionLabel() const { return selectionText; }

    QTableView* flatTable() const { return flatView; }
    QTreeView* byLinkTree() const { return byLinkView; }
    QTreeView* byPageTree() const { return byPageView; }
    FlatReportModel& flatReportModel() { return flatModel; }
    QLineEdit* searchField() const { return search; }
    QCheckBox* badOnlySwitch() const { return badOnly; }

    // The record that a view row stands for: the inspector and copying use it.
    std::shared_ptr<LinkCheckerUrl> selectedRecord() const;
    void showInspector(const std::shared_ptr<LinkCheckerUrl>& record);

  private:
    void applyColumns();
    // The tables alone: a filter or a column changes nothing the overview counts.
    void reloadTables();
    void applyColumnWidths();
    void rememberColumnWidths(QAbstractItemView* view, const QString& name,
                              std::function<QList<TableColumn>()> columns);
    void updateShownCount();
    void clearSortIndicators();
    QWidget* makeColumnButton();
    QString selectedOutlineUrl() const;
    // The tab an export or a menu command works on: the by-link view stands for the overview.
    QString tableSubTab() const;

    LinkCheckerHub& hub;
    Preferences& preferences;
    QtUserInterface& ui;
    LinkTreeSource tree;
    ByLinkOutline byLink;
    ByPageOutline byPage;
    OutlineModel byLinkModel;
    OutlineModel byPageModel;
    FlatReportModel flatModel;

    QComboBox* filterChoice = nullptr;
    QLineEdit* search = nullptr;
    QCheckBox* badOnly = nullptr;
    QTabWidget* subTabs = nullptr;
    QTreeView* byLinkView = nullptr;
    QTableView* flatView = nullptr;
    QTreeView* byPageView = nullptr;
    OverviewPage* overview = nullptr;
    QLabel* shownCount = nullptr;
    QWidget* selectionBar = nullptr;
    QLabel* selectionText = nullptr;
    bool arrangingColumns = false;
};
