#include "gui/ResultsView.h"

#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"
#include "gui/ExtraColumns.h"
#include "gui/OverviewPage.h"
#include "gui/QtUserInterface.h"
#include "gui/ResultsContextMenu.h"
#include "gui/WindowMemory.h"
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
#include <QPushButton>
#include <QScopedValueRollback>
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
    byLinkView->header()->setSortIndicatorShown(true);
    flatView = new QTableView;
    flatView->setObjectName("flatTableView");
    flatView->setModel(&flatModel);
    flatView->setSortingEnabled(true);
    flatView->horizontalHeader()->setSortIndicatorShown(true);
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
        installResultsContextMenu(view, *this);
        connect(view, &QAbstractItemView::doubleClicked, this, [this] { doubleClick(); });
    }
    overview = new OverviewPage(hub);
    overview->selected = [this](const OverviewSelection& selection) { showSelection(selection); };
    subTabs->addTab(overview, "Overview");
    subTabs->addTab(byLinkView, "By link");
    subTabs->addTab(flatView, "Flat");
    subTabs->addTab(byPageView, "By page");
    layout->addWidget(subTabs, 1);

    auto* below = new QHBoxLayout;
    selectionBar = new QWidget;
    auto* selectionLayout = new QHBoxLayout(selectionBar);
    selectionLayout->setContentsMargins(0, 0, 0, 0);
    selectionText = new QLabel;
    selectionText->setObjectName("overviewSelection");
    auto* showAll = new QPushButton("Show all");
    showAll->setObjectName("showAllLinks");
    selectionLayout->addWidget(selectionText);
    selectionLayout->addWidget(showAll);
    selectionBar->hide();
    shownCount = new QLabel;
    shownCount->setObjectName("shownCount");
    below->addWidget(selectionBar);
    below->addStretch(1);
    below->addWidget(shownCount);
    layout->addLayout(below);
    connect(showAll, &QPushButton::clicked, this, [this] { filter(); });
    connect(subTabs, &QTabWidget::currentChanged, this, [this] { updateShownCount(); });
    rememberColumnWidths(byLinkView, "byLink", [this] { return byLinkModel.getColumns(); });
    rememberColumnWidths(flatView, "flat", [this] { return flatModel.getColumns(); });
    rememberColumnWidths(byPageView, "byPage", [this] { return byPageModel.getColumns(); });

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
    clearSortIndicators();
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
    auto addExtras = [this, menu](const QString& view) {
        for (const ExtraColumns::Column& column : ExtraColumns::all()) {
            QAction* action = menu->addAction(column.title);
            action->setObjectName(ExtraColumns::preferenceKey(view, column));
            action->setCheckable(true);
            action->setChecked(preferences.boolValue(action->objectName()));
            connect(action, &QAction::toggled, this, [this, key = action->objectName()](bool on) {
                preferences.setValueAndStore(key, on);
                applyColumns();
            });
        }
    };
    addExtras("ByLink");
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
    addExtras("Flat");
    button->setMenu(menu);
    return button;
}

void ResultsView::applyColumns() {
    const QList<TableColumn> byLinkColumns =
        ByLinkColumns::columns(preferences) + ExtraColumns::shown(preferences, "ByLink");
    byLinkModel.setColumns(byLinkColumns);
    byPageModel.setColumns(byLinkColumns);
    flatModel.setColumns(KestReportDataSource::flatColumns(preferences) +
                         ExtraColumns::shown(preferences, "Flat"));
    reloadTables();
}

void ResultsView::applyColumnWidths() {
    const QScopedValueRollback<bool> arranging(arrangingColumns, true);
    auto apply = [](auto* view, const QString& name, const QList<TableColumn>& columns) {
        for (int c = 0; c < columns.size(); ++c) {
            const QString& identifier = columns[c].identifier;
            const int standard = identifier == "linkurl" || identifier == "onpageurl" ? 320
                                 : identifier == "status"                             ? 200
                                 : ExtraColumns::isExtra(identifier)                  ? 110
                                                                                      : 140;
            view->setColumnWidth(c, WindowMemory::columnWidth(name, identifier).value_or(standard));
        }
    };
    apply(byLinkView, "byLink", byLinkModel.getColumns());
    apply(flatView, "flat", flatModel.getColumns());
    apply(byPageView, "byPage", byPageModel.getColumns());
}

void ResultsView::rememberColumnWidths(QAbstractItemView* view, const QString& name,
                                       std::function<QList<TableColumn>()> columns) {
    QHeaderView* header = qobject_cast<QTreeView*>(view) ? static_cast<QTreeView*>(view)->header()
                                                         : static_cast<QTableView*>(view)->horizontalHeader();
    connect(header, &QHeaderView::sectionResized, this, [this, name, columns](int logical, int, int size) {
        // Widths set by the program are not the user's choice.
        if (arrangingColumns)
            return;
        const QList<TableColumn> now = columns();
        if (logical >= 0 && logical < now.size())
            WindowMemory::setColumnWidth(name, now[logical].identifier, size);
    });
}

void ResultsView::reloadData(bool whateverTheCrawl) {
    if (!whateverTheCrawl && !tree.childrenShown())
        return;
    overview->reload();
    reloadTables();
}

void ResultsView::reloadTables() {
    {
        const QScopedValueRollback<bool> arranging(arrangingColumns, true);
        byLinkModel.reload();
        byPageModel.reload();
        flatModel.reload();
    }
    applyColumnWidths();
    updateShownCount();
}

void ResultsView::newResults() {
    reloadData(true);
    clearSortIndicators();
    subTabs->setCurrentIndex(0);
}

void ResultsView::clearSortIndicators() {
    // Fresh rows stand in the crawl's order: no arrow until the user sorts.
    for (QHeaderView* header : {byLinkView->header(), flatView->horizontalHeader()}) {
        const QSignalBlocker blocker(header);
        header->setSortIndicator(-1, Qt::AscendingOrder);
    }
}

void ResultsView::updateShownCount() {
    const QString tab = frontSubTab();
    qsizetype shown = 0, all = 0;
    if (tab == "1") {
        shown = byLinkModel.rowCount();
        all = hub.count();
    } else if (tab == "2") {
        shown = flatModel.rowCount();
        all = qsizetype(hub.getReportDataSource().getCollection().size());
    } else if (tab == "3") {
        shown = byPageModel.rowCount();
        all = hub.getByPageDictionary().size();
    }
    shownCount->setVisible(tab != "0");
    shownCount->setText(QString("%1 of %2 shown").arg(shown).arg(all));
}

void ResultsView::showSelection(const OverviewSelection& selection) {
    KestReportDataSource& report = hub.getReportDataSource();
    report.waitForReport();
    resetFilter();
    tree.filter(QString(), LinkTreeSource::NoFilter);
    for (qsizetype i = 0; i < hub.count(); ++i) {
        LinkCheckerUrl& record = *hub.getnthofAllItems(i);
        record.setVisible(selection.matches(record));
    }
    for (const auto& row : report.getCollection())
        row->setVisible(row->getLcurl() && selection.matches(*row->getLcurl()));
    // The part picked may be all good links: the bad-links switch would hide every one.
    {
        const QSignalBlocker blocker(badOnly);
        badOnly->setChecked(false);
        preferences.setValue("showHideGoodLinksCheckBox", false);
    }
    selectionText->setText("Showing " + selection.describe() + ".");
    selectionBar->show();
    if (subTabs->currentIndex() == 0)
        subTabs->setCurrentIndex(1);
    reloadTables();
}

void ResultsView::resetFilter() {
    const QSignalBlocker a(search), b(filterChoice);
    search->clear();
    filterChoice->setCurrentIndex(0);
    tree.resetFilter();
    flatModel.setTermIsEmpty(true);
}

void ResultsView::filter() {
    selectionBar->hide();
    // The report's rows must be in place before their flags are set.
    hub.getReportDataSource().waitForReport();
    tree.filter(search->text(), filterChoice->currentData().toInt());
    flatModel.setTermIsEmpty(search->text().isEmpty());
    reloadTables();
}

QString ResultsView::frontSubTab() const {
    return QString::number(subTabs->currentIndex());
}

QString ResultsView::tableSubTab() const {
    const QString tab = frontSubTab();
    return tab == "0" ? "1" : tab;
}

void ResultsView::selectSubTab(const QString& identifier) {
    subTabs->setCurrentIndex(identifier.toInt());
}

void ResultsView::exportAsCSVMenuItem() {
    const QString tab = tableSubTab();
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
    const QString tab = tableSubTab();
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
    const QString tab = tableSubTab();
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
    const bool byLinkFront = tableSubTab() == "1";
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

QString ResultsView::selectedLinkUrl() const {
    if (tableSubTab() == "2") {
        const QModelIndex index = flatView->currentIndex();
        const KestReportItem* item = index.isValid() ? flatModel.itemAt(index.row()) : nullptr;
        return item ? item->getLinkUrl() : QString();
    }
    return selectedOutlineUrl();
}

QString ResultsView::selectedPageUrl() const {
    const QString tab = tableSubTab();
    if (tab == "2") {
        const QModelIndex index = flatView->currentIndex();
        const KestReportItem* item = index.isValid() ? flatModel.itemAt(index.row()) : nullptr;
        return item ? item->getOnPageUrl() : QString();
    }
    const bool byLinkFront = tab == "1";
    const QTreeView* view = byLinkFront ? byLinkView : byPageView;
    const OutlineItem* item = (byLinkFront ? byLinkModel : byPageModel).itemAt(view->currentIndex());
    if (!item)
        return {};
    if (!byLinkFront)
        return item->page;
    // A link row stands for all its places; the first is the page it was found on first.
    return item->isChild() ? item->child->getFieldByName("onpageurl")
                           : item->record->getOnPageUrlArray().value(0);
}

void ResultsView::copyURL() {
    const QString url = selectedLinkUrl();
    if (!url.isEmpty())
        QApplication::clipboard()->setText(url);
}

void ResultsView::doubleClick() {
    if (tableSubTab() == "2" && !flatView->currentIndex().isValid()) {
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

void ResultsView::showSubView(QWidget* view) {
    subTabs->setCurrentWidget(view);
}
