#include "gui/SEOTable.h"

#include "analysis/SEOManager.h"
#include "config/Preferences.h"
#include "gui/QtUserInterface.h"
#include "views/LabelColours.h"

#include <QAction>
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
#include <QListWidget>
#include <QMenu>
#include <QTableView>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>

namespace {

// A tool button that opens its menu; the menu is given back to be filled.
std::pair<QToolButton*, QMenu*> menuButton(const char* name, const char* text) {
    auto* button = new QToolButton;
    button->setObjectName(name);
    button->setText(text);
    button->setPopupMode(QToolButton::InstantPopup);
    return {button, new QMenu(button)};
}

} // namespace

// ---------------------------------------------------------------- the model

SEOTableModel::SEOTableModel(SEOManager& seo_, const Preferences& preferences_, QObject* parent)
    : QAbstractTableModel(parent), seo(seo_), preferences(preferences_) {}

void SEOTableModel::reload() {
    beginResetModel();
    columns = SEOManager::seoTableView(preferences).tableColumns;
    rows = seo.visibleItems();
    endResetModel();
}

std::shared_ptr<LinkCheckerUrl> SEOTableModel::pageAt(int row) const {
    return row >= 0 && size_t(row) < rows.size() ? rows[size_t(row)] : nullptr;
}

int SEOTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(rows.size());
}

int SEOTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(columns.size());
}

QVariant SEOTableModel::data(const QModelIndex& index, int role) const {
    const auto page = pageAt(index.row());
    if (!page || index.column() >= columns.size())
        return {};
    if (role == Qt::DisplayRole || role == Qt::ToolTipRole)
        return seo.SEOCellValue(*page, columns[index.column()].identifier);
    return {};
}

QVariant SEOTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section < columns.size())
        return columns[section].title;
    return {};
}

void SEOTableModel::sort(int column, Qt::SortOrder order) {
    if (column < 0 || column >= columns.size())
        return;
    seo.didClickSEOTableColumn(columns[column].identifier, order == Qt::AscendingOrder);
    beginResetModel();
    rows = seo.visibleItems();
    endResetModel();
}

// ---------------------------------------------------------------- the view

SEOTable::SEOTable(SEOManager& seo_, Preferences& preferences_, QtUserInterface& ui_, QWidget* parent)
    : QWidget(parent), seo(seo_), preferences(preferences_), ui(ui_), rows(seo_, preferences_) {
    setObjectName("SEOResultsView");
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* bar = new QHBoxLayout;
    filterChoice = new QComboBox;
    filterChoice->setObjectName("highlightSelector");
    for (const SEOManager::SEOFilterChoice& choice : SEOManager::seoFilterChoices())
        filterChoice->addItem(choice.title, choice.tag);
    search = new QLineEdit;
    search->setObjectName("SEOSearchBox");
    search->setPlaceholderText("Count a keyword in URLs, titles, descriptions, keywords and headings");
    search->setClearButtonEnabled(true);
    bar->addWidget(filterChoice);
    bar->addWidget(search, 1);
    bar->addWidget(makeColumnButton());
    bar->addWidget(makeExportButton());
    layout->addLayout(bar);

    view = new QTableView;
    view->setObjectName("SEOTableView");
    view->setModel(&rows);
    // No sort until a header is clicked (enabling sorting would sort by the URL, descending).
    view->horizontalHeader()->setSortIndicator(-1, Qt::AscendingOrder);
    view->setSortingEnabled(true);
    view->horizontalHeader()->setSortIndicatorShown(false);
    view->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    view->verticalHeader()->hide();
    view->verticalHeader()->setDefaultSectionSize(22);
    view->setSelectionBehavior(QAbstractItemView::SelectRows);
    view->setSelectionMode(QAbstractItemView::SingleSelection);
    view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    view->setWordWrap(false);
    view->setContextMenuPolicy(Qt::ActionsContextMenu);
    const std::pair<const char*, void (SEOTable::*)()> actions[] = {{"Inspect…", &SEOTable::showInspector},
                                                                    {"Copy URL", &SEOTable::copyURL},
                                                                    {"Open in browser", &SEOTable::openPage}};
    for (const auto& [title, slot] : actions) {
        auto* action = new QAction(title, view);
        connect(action, &QAction::triggered, this, slot);
        view->addAction(action);
    }
    connect(view, &QAbstractItemView::doubleClicked, this, [this] { showInspector(); });
    layout->addWidget(view, 1);
    counters = new QLabel;
    counters->setObjectName("SEOCounters");
    layout->addWidget(counters);

    connect(filterChoice, &QComboBox::currentIndexChanged, this, [this] {
        seo.setHighlightSelector(filterChoice->currentData().toInt());
        reload();
    });
    connect(search, &QLineEdit::textChanged, this, [this](const QString& term) {
        seo.setSEOSearchTerm(term);
        reload();
    });
}

void SEOTable::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    reload();
}

void SEOTable::reload() {
    // A new crawl clears the filter choice and the term; the controls show them as they are.
    {
        const QSignalBlocker blockFilter(filterChoice);
        const QSignalBlocker blockSearch(search);
        filterChoice->setCurrentIndex(std::max(0, filterChoice->findData(seo.getHighlightSelector())));
        search->setText(seo.getSEOSearchTerm());
    }
    seo.updateStatusFields();
    seo.SEOfilter();
    rows.reload();
    const QList<TableColumn> columns = SEOManager::seoTableView(preferences).tableColumns;
    for (int c = 0; c < columns.size(); ++c)
        view->setColumnWidth(c, int(columns[c].width));
    const SEOManager::SEOStatusCounts& c = seo.getSEOStatusCounts();
    auto coloured = [this](int count, int constantAbove) {
        const LabelColour colour =
            KestLabelColours::labelColorForConstant(count > 0 ? constantAbove : 1, preferences);
        // The status colours are light backgrounds, as in the link tables' rows.
        return QString("<span style=\"background-color:rgb(%1,%2,%3)\">&nbsp;%4&nbsp;</span>")
            .arg(int(colour.red * 255))
            .arg(int(colour.green * 255))
            .arg(int(colour.blue * 255))
            .arg(count);
    };
    counters->setText(QString("%1 page(s) included, %2 without title, %3 without description, %4 shown")
                          .arg(c.pagesIncludedInSEO)
                          .arg(coloured(c.withoutTitle, 3), coloured(c.withoutDescription, 2))
                          .arg(rows.rowCount()));
}

std::shared_ptr<LinkCheckerUrl> SEOTable::selectedPage() const {
    const QModelIndexList selected = view->selectionModel()->selectedRows();
    return selected.isEmpty() ? nullptr : rows.pageAt(selected.first().row());
}

void SEOTable::copyURL() {
    if (const auto page = selectedPage())
        QApplication::clipboard()->setText(page->getActualLinkUrl());
}

void SEOTable::openPage() {
    const auto page = selectedPage();
    if (!page)
        return;
    // Text that is not a valid URL as it stands is percent-escaped as UTF-8 first.
    QUrl url(page->getActualLinkUrl(), QUrl::StrictMode);
    if (!url.isValid())
        url = QUrl::fromEncoded(QUrl::toPercentEncoding(page->getActualLinkUrl(), ":/?#[]@!$&'()*+,;=%"));
    ui.openInBrowser(url.toString());
}

void SEOTable::showInspector() {
    const auto page = selectedPage();
    if (!page)
        return;
    QDialog dialog(this);
    dialog.setObjectName("SEOInspector");
    dialog.setWindowTitle(page->getLinkPageTitle().isEmpty() ? page->getLinkUrl() : page->getLinkPageTitle());
    auto* form = new QFormLayout;
    auto seconds = [](double value) { return value > 0 ? QString("%1 seconds").arg(value, 0, 'f', 4) : ""; };
    const std::pair<const char*, QString> fields[] = {
        {"URL", page->getLinkUrl()},
        {"Title", page->getLinkPageTitle()},
        {"Distance", QString::number(page->getDistanceFromHome())},
        {"Headings", page->getHeadings()},
        {"Description", page->getMetaDescription()},
        {"Keywords", page->getKeywords()},
        {"Response time", seconds(page->getResponseTime())},
        {"Load time", seconds(page->getLoadTime())},
        {"Images", page->getImageqty()},
        {"Image weight", page->getTotalImageWeight()},
        {"Size", QString("%1 bytes").arg(page->getFileSizeInBytes())},
        {"Word count", page->getFieldByName("wordcount").toString()},
        {"Link count", page->getLinkcount()},
        {"Canonical", page->getCanonical()},
        {"Time stamp", page->getTimestamp()},
        {"Backlinks", QString::number(page->getOnpagecount())},
    };
    for (const auto& [label, value] : fields) {
        auto* text = new QLabel(value);
        text->setTextInteractionFlags(Qt::TextSelectableByMouse);
        text->setWordWrap(true);
        form->addRow(label, text);
    }
    for (const char* flag : {"noindex", "nofollow"}) {
        auto* box = new QCheckBox(flag);
        box->setChecked(page->getRobots().contains(flag));
        box->setAttribute(Qt::WA_TransparentForMouseEvents);
        box->setFocusPolicy(Qt::NoFocus);
        form->addRow("", box);
    }
    auto* duplicates = new QListWidget;
    duplicates->setObjectName("duplicatesTableView");
    for (const auto& other : seo.duplicatesOf(*page))
        duplicates->addItem(other->getActualLinkUrl());
    form->addRow("Copies (same title and size)", duplicates);
    auto* layout = new QVBoxLayout(&dialog);
    layout->addLayout(form);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    layout->addWidget(buttons);
    dialog.exec();
}

QWidget* SEOTable::makeColumnButton() {
    auto [button, menu] = menuButton("SEOColumns", "Columns");
    for (const SEOManager::SEOColumn& column : SEOManager::optionalSEOColumns()) {
        QAction* action = menu->addAction(column.title);
        action->setCheckable(true);
        action->setChecked(SEOManager::isSEOColumnOn(column, preferences));
        const QString key = column.preference;
        connect(action, &QAction::toggled, this, [this, key](bool on) {
            preferences.setValue(key, on);
            rows.reload();
        });
    }
    button->setMenu(menu);
    return button;
}

QWidget* SEOTable::makeExportButton() {
    auto [button, menu] = menuButton("SEOExport", "Export");
    connect(menu->addAction("Export SEO as CSV…"), &QAction::triggered, this,
            [this] { seo.exportSEOAsCSV(ui); });
    connect(menu->addAction("Export SEO as HTML…"), &QAction::triggered, this,
            [this] { seo.exportSEOAsHTML(ui); });
    button->setMenu(menu);
    return button;
}
