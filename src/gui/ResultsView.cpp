#include "gui/ResultsView.h"

#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"
#include "gui/QtUserInterface.h"
#include "views/KestOnPage.h"
#include "views/KestReportDataSource.h"
#include "views/TableExport.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QTabWidget>
#include <QTableView>
#include <QTableWidget>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>

namespace {

// The fields of a record in the inspector, with their labels.
const QList<QPair<const char*, const char*>> inspectorFields = {
    {"linkurl", "URL"},
    {"actualurl", "Requested URL"},
    {"status", "Status"},
    {"redir", "Redirected to"},
    {"linktext", "Link text"},
    {"linkpagetitle", "Page title"},
    {"timestamp", "Time stamp"},
    {"distance", "Distance from home"},
    {"onpagecount", "Occurrences"},
    {"linkcount", "Links on the page"},
    {"filesize", "File size"},
    {"filesizecompressed", "Compressed size"},
    {"responsetime", "Response time"},
    {"changefrequency", "Change frequency"},
    {"lastmodified", "Last modified"},
    {"canonical", "Canonical"},
    {"robots", "Robots"},
    {"metadescription", "Meta description"},
    {"keywords", "Keywords"},
    {"headings", "Headings"},
    {"wordcount", "Word count"},
    {"imageqty", "Images"},
    {"imageweight", "Image weight"},
};

// The filter choice: title and tag.
const QList<QPair<const char*, int>> filterTags = {{"All links", LinkTreeSource::NoFilter},
                                                   {"Internal links", LinkTreeSource::InternalOnly},
                                                   {"Images", LinkTreeSource::ImagesOnly},
                                                   {"External links", LinkTreeSource::ExternalOnly}};

const QStringList allColumnTitles = {"Status",  "URL",        "Redirected To", "Link Text",
                                     "On Page", "Time Stamp", "Distance",      "Nofollow"};

void setUpView(QAbstractItemView* view) {
    view->setAlternatingRowColors(false);
    view->setSelectionBehavior(QAbstractItemView::SelectRows);
    view->setSelectionMode(QAbstractItemView::SingleSelection);
    view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    view->setContextMenuPolicy(Qt::ActionsContextMenu);
}

} // namespace

ResultsView::ResultsView(LinkCheckerHub& hub_, Preferences& preferences_, QtUserInterface& ui_,
                         QWidget* parent)
    : QWidget(parent), hub(hub_), preferences(preferences_), ui(ui_), tree(hub_, preferences_), byLink(tree),
      byPage(tree), byLinkModel(byLink, preferences_,
                                [this] {
                                    std::vector<OutlineItem> roots;
                                    for (const auto& record : tree.visibleItems())
                                        roots.push_back(OutlineItem{record, nullptr, QString()});
                                    return roots;
                                }),
      byPageModel(byPage, preferences_,
                  [this] {
                      std::vector<OutlineItem> roots;
                      const qsizetype n = tree.countPagesWithVisibleItems();
                      for (qsizetype i = 0; i < n; ++i)
                          roots.push_back(
                              OutlineItem{nullptr, nullptr, tree.getNthPageWithVisibleItems(i).value_or("")});
                      return roots;
                  }),
      flatModel(hub_.getReportDataSource(), preferences_) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);

    auto* bar = new QHBoxLayout;
    filterChoice = new QComboBox;
    filterChoice->setObjectName("linksFilter");
    for (const auto& [title, tag] : filterTags)
        filterChoice->addItem(title, tag);
    filterChoice->setToolTip("Show one kind of link only.");
    search = new QLineEdit;
    search->setObjectName("searchBox");
    search->setPlaceholderText("Search URLs, link texts and statuses");
    search->setClearButtonEnabled(true);
    badOnly = new QCheckBox("Show bad links only");
    badOnly->setObjectName("showHideGoodLinksCheckBox");
    badOnly->setChecked(preferences.boolValue("showHideGoodLinksCheckBox"));
    bar->addWidget(filterChoice);
    bar->addWidget(search, 1);
    bar->addWidget(badOnly);
    bar->addWidget(makeColumnButton());
    layout->addLayout(bar);

    subTabs = new QTabWidget;
    subTabs->setObjectName("linksSubTabs");
    subTabs->setDocumentMode(true);
    byLinkView = new QTreeView;
    byLinkView->setObjectName("byLinkOutlineView");
    byLinkView->setModel(&byLinkModel);
    byLinkView->setUniformRowHeights(true);
    byLinkView->setSortingEnabled(true);
    byLinkView->header()->setSortIndicatorShown(false);
    flatView = new QTableView;
    flatView->setObjectName("flatTableView");
    flatView->setModel(&flatModel);
    flatView->setSortingEnabled(true);
    flatView->horizontalHeader()->setSortIndicatorShown(false);
    flatView->verticalHeader()->setDefaultSectionSize(22);
    flatView->verticalHeader()->hide();
    flatView->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    flatView->setWordWrap(false);
    byPageView = new QTreeView;
    byPageView->setObjectName("byPageOutlineView");
    byPageView->setModel(&byPageModel);
    byPageView->setUniformRowHeights(true);
    for (QAbstractItemView* view :
         {static_cast<QAbstractItemView*>(byLinkView), static_cast<QAbstractItemView*>(flatView),
          static_cast<QAbstractItemView*>(byPageView)}) {
        setUpView(view);
        auto* copy = new QAction("Copy URL", view);
        connect(copy, &QAction::triggered, this, [this] { copyURL(); });
        auto* inspect = new QAction("Inspect…", view);
        connect(inspect, &QAction::triggered, this, [this] { doubleClick(); });
        view->addAction(inspect);
        view->addAction(copy);
        connect(view, &QAbstractItemView::doubleClicked, this, [this] { doubleClick(); });
    }
    subTabs->addTab(byLinkView, "By link");
    subTabs->addTab(flatView, "Flat");
    subTabs->addTab(byPageView, "By page");
    layout->addWidget(subTabs, 1);

    byLinkModel.sortByColumn = [this](const QString& identifier, bool ascending) {
        hub.didClickTableColumn(identifier, ascending);
    };
    flatModel.setTermIsEmpty(true);

    connect(filterChoice, &QComboBox::currentIndexChanged, this, [this] { filter(); });
    connect(search, &QLineEdit::textChanged, this, [this] { filter(); });
    connect(badOnly, &QCheckBox::toggled, this, [this](bool on) {
        preferences.setValue("showHideGoodLinksCheckBox", on);
        reloadData(true);
    });
    applyColumns();
}

QWidget* ResultsView::makeColumnButton() {
    auto* button = new QToolButton;
    button->setObjectName("columns");
    button->setText("Columns");
    button->setPopupMode(QToolButton::InstantPopup);
    button->setToolTip("Choose the columns of the link views.");
    auto* menu = new QMenu(button);
    auto* colours = menu->addAction("Colour rows by status");
    colours->setCheckable(true);
    colours->setChecked(preferences.boolValue("LorraneDisplayLabels"));
    connect(colours, &QAction::toggled, this, [this](bool on) {
        preferences.setValue("LorraneDisplayLabels", on);
        reloadData(true);
    });
    menu->addSection("By link");
    const QList<TableColumn> byLinkNow = ByLinkColumns::columns(preferences);
    for (const QString title : {"Status", "URL", "Redirected To", "Link Text", "On Page / Number of Pages",
                                "Time Stamp", "Distance", "Nofollow"}) {
        QAction* action = menu->addAction(title);
        action->setCheckable(true);
        action->setChecked(std::any_of(byLinkNow.begin(), byLinkNow.end(),
                                       [&](const TableColumn& c) { return c.title == title; }));
        connect(action, &QAction::toggled, this, [this, title](bool on) {
            ByLinkColumns::alterTableColumns(title, on, preferences);
            applyColumns();
        });
    }
    menu->addSection("Flat");
    const QList<TableColumn> flatNow = KestReportDataSource::flatColumns(preferences);
    for (const QString& title : allColumnTitles) {
        QAction* action = menu->addAction(title);
        action->setCheckable(true);
        action->setChecked(std::any_of(flatNow.begin(), flatNow.end(),
                                       [&](const TableColumn& c) { return c.title == title; }));
        connect(action, &QAction::toggled, this, [this, title](bool on) {
            KestReportDataSource::alterTableColumns(title, on, preferences);
            applyColumns();
        });
    }
    button->setMenu(menu);
    return button;
}

void ResultsView::applyColumns() {
    const QList<TableColumn> byLinkColumns = ByLinkColumns::columns(preferences);
    byLinkModel.setColumns(byLinkColumns);
    byPageModel.setColumns(byLinkColumns);
    flatModel.setColumns(KestReportDataSource::flatColumns(preferences));
    reloadData(true);
    for (QTreeView* view : {byLinkView, byPageView}) {
        const auto& columns = view == byLinkView ? byLinkModel.getColumns() : byPageModel.getColumns();
        for (int c = 0; c < columns.size(); ++c)
            view->setColumnWidth(c, columns[c].identifier == "linkurl" || columns[c].identifier == "onpageurl"
                                        ? 320
                                    : columns[c].identifier == "status" ? 200
                                                                        : 140);
    }
    const auto& flatColumns = flatModel.getColumns();
    for (int c = 0; c < flatColumns.size(); ++c)
        flatView->setColumnWidth(
            c, flatColumns[c].identifier == "linkurl" || flatColumns[c].identifier == "onpageurl" ? 320
               : flatColumns[c].identifier == "status"                                            ? 200
                                                                                                  : 140);
}

void ResultsView::reloadData(bool whateverTheCrawl) {
    if (!whateverTheCrawl && !tree.childrenShown())
        return;
    byLinkModel.reload();
    byPageModel.reload();
    flatModel.reload();
}

void ResultsView::resetFilter() {
    const QSignalBlocker a(search), b(filterChoice);
    search->clear();
    filterChoice->setCurrentIndex(0);
    tree.resetFilter();
    flatModel.setTermIsEmpty(true);
}

void ResultsView::filter() {
    // The report's rows must be in place before their flags are set.
    hub.getReportDataSource().waitForReport();
    tree.filter(search->text(), filterChoice->currentData().toInt());
    flatModel.setTermIsEmpty(search->text().isEmpty());
    reloadData(true);
}

QString ResultsView::frontSubTab() const {
    return QString::number(subTabs->currentIndex() + 1);
}

void ResultsView::selectSubTab(const QString& identifier) {
    subTabs->setCurrentIndex(identifier.toInt() - 1);
}

void ResultsView::exportAsCSVMenuItem() {
    const QString tab = frontSubTab();
    KestReportDataSource& report = hub.getReportDataSource();
    report.waitForReport();
    if (tab == "2") {
        report.exportAsFlatCSV(ui, report.tableView());
        return;
    }
    lfOutlineView outline = tab == "1"
                                ? ByLinkColumns::outline(byLink, preferences)
                                : lfOutlineView(ByLinkColumns::columns(preferences), byPage, "linkurl");
    outline.reloadData();
    const QString text = TreeExport::exportAsCSVFromOutlineView(outline);
    const QString path = ui.chooseSaveFile("Export as CSV", "links.csv");
    if (!path.isEmpty() && !TableExport::writeTextAtomically(path, text))
        qInfo("Unsuccessful exporting data to %s\n", qPrintable(path));
}

void ResultsView::exportAsHTMLMenuItem() {
    const QString tab = frontSubTab();
    KestReportDataSource& report = hub.getReportDataSource();
    report.waitForReport();
    if (tab == "2") {
        report.exportAsHTML(ui, report.tableView());
        return;
    }
    lfOutlineView outline = tab == "1"
                                ? ByLinkColumns::outline(byLink, preferences)
                                : lfOutlineView(ByLinkColumns::columns(preferences), byPage, "linkurl");
    outline.reloadData();
    const QString text = TreeExport::exportAsHTMLFromOutlineView(outline);
    const QString path = ui.chooseSaveFile("Export as HTML", "links.html");
    if (!path.isEmpty() && !TableExport::writeTextAtomically(path, text))
        qInfo("Unsuccessful exporting data to %s\n", qPrintable(path));
}

void ResultsView::exportAsTDLMenuItem() {
    KestReportDataSource& report = hub.getReportDataSource();
    report.waitForReport();
    report.exportAsFlatTDL(ui, report.tableView());
}

std::shared_ptr<LinkCheckerUrl> ResultsView::selectedRecord() const {
    const QString tab = frontSubTab();
    if (tab == "2") {
        const QModelIndex index = flatView->currentIndex();
        const KestReportItem* item = index.isValid() ? flatModel.itemAt(index.row()) : nullptr;
        return item ? item->getLcurl() : nullptr;
    }
    const bool byLinkFront = tab == "1";
    const QTreeView* view = byLinkFront ? byLinkView : byPageView;
    const OutlineItem* item = (byLinkFront ? byLinkModel : byPageModel).itemAt(view->currentIndex());
    if (!item)
        return nullptr;
    // By link a record row inspects, by page a child row; the other rows do nothing.
    if (byLinkFront)
        return item->isChild() ? nullptr : item->record;
    return item->isChild() ? item->child->getLinkCheckerUrl() : nullptr;
}

QString ResultsView::selectedOutlineUrl() const {
    const bool byLinkFront = frontSubTab() == "1";
    const QTreeView* view = byLinkFront ? byLinkView : byPageView;
    const OutlineItem* item = (byLinkFront ? byLinkModel : byPageModel).itemAt(view->currentIndex());
    if (!item)
        return {};
    if (byLinkFront)
        return item->isChild() ? item->child->getFieldByName("onpageurl")
                               : item->record->getFieldByName("actualurl").toString();
    return item->isChild() ? item->child->getLinkCheckerUrl()->getFieldByName("actualurl").toString()
                           : item->page;
}

void ResultsView::copyURL() {
    QString url;
    if (frontSubTab() == "2") {
        const QModelIndex index = flatView->currentIndex();
        if (const KestReportItem* item = index.isValid() ? flatModel.itemAt(index.row()) : nullptr)
            url = item->getLinkUrl();
    } else {
        url = selectedOutlineUrl();
    }
    if (!url.isEmpty())
        QApplication::clipboard()->setText(url);
}

void ResultsView::doubleClick() {
    if (frontSubTab() == "2" && !flatView->currentIndex().isValid()) {
        ui.alert("Kestrelia", "No link selected");
        return;
    }
    if (const auto record = selectedRecord())
        showInspector(record);
}

void ResultsView::showInspector(const std::shared_ptr<LinkCheckerUrl>& record) {
    auto* dialog = new QDialog(window());
    dialog->setObjectName("inspector");
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(record->getFieldByName("linkurl").toString());
    dialog->resize(720, 600);
    auto* layout = new QVBoxLayout(dialog);
    auto* form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    for (const auto& [key, label] : inspectorFields) {
        auto* value = new QLineEdit(record->getFieldByName(key).toString());
        value->setObjectName(QString("inspector_") + key);
        value->setReadOnly(true);
        value->setFrame(false);
        value->setCursorPosition(0);
        form->addRow(QString(label) + ":", value);
    }
    layout->addLayout(form);
    layout->addWidget(new QLabel("Found on:"));
    const int count = record->getOnpagecount();
    auto* occurrences = new QTableWidget(count, 3);
    occurrences->setObjectName("inspectorOccurrences");
    occurrences->setHorizontalHeaderLabels({"On page", "Link text", "Nofollow"});
    occurrences->horizontalHeader()->setStretchLastSection(false);
    occurrences->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    occurrences->verticalHeader()->hide();
    occurrences->setEditTriggers(QAbstractItemView::NoEditTriggers);
    for (int i = 0; i < count; ++i) {
        const KestOnPage place(record, i);
        occurrences->setItem(i, 0, new QTableWidgetItem(place.getFieldByName("onpageurl")));
        occurrences->setItem(i, 1, new QTableWidgetItem(place.getFieldByName("linktext")));
        occurrences->setItem(i, 2, new QTableWidgetItem(place.getFieldByName("nofollow")));
    }
    layout->addWidget(occurrences, 1);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::close);
    layout->addWidget(buttons);
    dialog->show();
}

void ResultsView::addSubView(QWidget* view, const QString& title) {
    subTabs->addTab(view, title);
}
