#include "gui/ValidatorView.h"

#include "analysis/SEOManager.h"
#include "config/Preferences.h"
#include "gui/ExportPanel.h"

#include <QBrush>
#include <QColor>
#include <QDesktopServices>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableView>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>

ValidatorModel::ValidatorModel(SEOManager& seo_, QObject* parent) : QAbstractTableModel(parent), seo(seo_) {}

int ValidatorModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(seo.numberOfValidatorRows());
}

int ValidatorModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(SEOManager::validatorTableView().tableColumns.size());
}

QVariant ValidatorModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid())
        return {};
    if (role == Qt::DisplayRole) {
        const auto page = seo.validatorRowAt(index.row());
        const QString key = SEOManager::validatorTableView().tableColumns.value(index.column()).identifier;
        return page ? page->getFieldByName(key) : QVariant(QString());
    }
    if (role == Qt::BackgroundRole) {
        const auto colour = seo.validatorLabelColorForRow(index.row());
        if (colour)
            return QBrush(QColor::fromRgbF(float(colour->red), float(colour->green), float(colour->blue),
                                           float(colour->alpha)));
    }
    return {};
}

QVariant ValidatorModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal)
        return {};
    // The first click on a column sorts ascending, whatever the column before was sorted by.
    if (role == Qt::InitialSortOrderRole)
        return int(Qt::AscendingOrder);
    if (role != Qt::DisplayRole)
        return {};
    return SEOManager::validatorTableView().tableColumns.value(section).title;
}

void ValidatorModel::sort(int column, Qt::SortOrder order) {
    beginResetModel();
    seo.validatorTableDidClickColumn(SEOManager::validatorTableView().tableColumns.value(column).identifier,
                                     order == Qt::AscendingOrder);
    endResetModel();
}

void ValidatorModel::reload() {
    beginResetModel();
    endResetModel();
}

ValidatorView::ValidatorView(SEOManager& seo_, Preferences& preferences_, UserInterface& ui_, QWidget* parent)
    : QWidget(parent), seo(seo_), preferences(preferences_), ui(ui_), model(seo_) {
    setObjectName("validatorView");
    auto* layout = new QVBoxLayout(this);
    notice = new QLabel;
    notice->setObjectName("validatorNotice");
    notice->setWordWrap(true);
    counts = new QLabel;
    counts->setObjectName("validatorCounts");
    progress = new QLabel;
    progress->setObjectName("validatorProgress");
    view = new QTableView;
    view->setObjectName("validatorTable");
    view->setModel(&model);
    view->setSelectionBehavior(QAbstractItemView::SelectRows);
    view->setSelectionMode(QAbstractItemView::SingleSelection);
    // Unsorted until a header is clicked: the pages stand in the order they were found.
    view->horizontalHeader()->setSortIndicator(-1, Qt::AscendingOrder);
    view->setSortingEnabled(true);
    view->horizontalHeader()->setStretchLastSection(true);
    view->setColumnWidth(0, 420);
    auto* buttons = new QHBoxLayout;
    auto* again = new QPushButton("Validate all again");
    auto* csv = new QPushButton("Export CSV…");
    auto* html = new QPushButton("Export HTML…");
    buttons->addWidget(again);
    buttons->addStretch(1);
    buttons->addWidget(csv);
    buttons->addWidget(html);
    layout->addWidget(notice);
    layout->addWidget(counts);
    layout->addWidget(progress);
    layout->addWidget(view, 1);
    layout->addLayout(buttons);

    // A click validates that page again, and it is counted again; a double-click shows the
    // validator's own report of it.
    connect(view, &QTableView::clicked, this,
            [this](const QModelIndex& index) { seo.validatorRowClicked(index.row()); });
    connect(view, &QTableView::doubleClicked, this, [this](const QModelIndex& index) {
        const QString url = seo.validationDoubleClickUrl(index.row());
        if (!url.isEmpty())
            QDesktopServices::openUrl(QUrl(url));
    });
    connect(again, &QPushButton::clicked, this, [this] { seo.reValidate(); });
    connect(csv, &QPushButton::clicked, this, &ValidatorView::exportAsCSV);
    connect(html, &QPushButton::clicked, this, &ValidatorView::exportAsHTML);

    seo.onValidationCountsChanged = [this] { reload(); };
    seo.onValidationProgressText = [this](const QString& text) { progress->setText(text); };
    // Pages join the collection while the crawl runs: the table follows them.
    poll = new QTimer(this);
    connect(poll, &QTimer::timeout, this, [this] {
        if (isVisible() && model.rowCount() != shownRows)
            reload();
    });
    poll->start(500);
    reload();
}

ValidatorView::~ValidatorView() {
    seo.onValidationCountsChanged = nullptr;
    seo.onValidationProgressText = nullptr;
}

void ValidatorView::reload() {
    // A new crawl drops the sort; the arrow goes with it.
    if (!seo.isValidatorTableSorted() && view->horizontalHeader()->sortIndicatorSection() >= 0)
        view->horizontalHeader()->setSortIndicator(-1, Qt::AscendingOrder);
    model.reload();
    shownRows = model.rowCount();
    notice->setText(seo.validatorNotice());
    notice->setVisible(!notice->text().isEmpty());
    showCounts();
}

// Errors in red once there are any; warnings in orange from the first validated page on.
void ValidatorView::showCounts() {
    const QString good = "darkgreen";
    const QString errors = seo.getNumberValidationErrors() == 0 ? good : "firebrick";
    const QString warnings = seo.getNumberValidated() > 0 ? "darkorange" : good;
    counts->setText(QString("%1 pages validated, <span style=\"color:%2\">%3 with errors</span>, "
                            "<span style=\"color:%4\">%5 with warnings</span>")
                        .arg(seo.getNumberValidated())
                        .arg(errors)
                        .arg(seo.getNumberValidationErrors())
                        .arg(warnings)
                        .arg(seo.getNumberValidationWarnings()));
}

void ValidatorView::exportAsCSV() {
    ExportPanel::save(ui, "validation.csv", seo.exportValidatorAsCSV());
}

void ValidatorView::exportAsHTML() {
    ExportPanel::save(ui, "validation.html", seo.exportValidatorAsHTML());
}
