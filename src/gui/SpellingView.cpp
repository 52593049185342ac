#include "gui/SpellingView.h"

#include "analysis/SEOManager.h"
#include "analysis/spellingDialogue.h"
#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "gui/ExportPanel.h"
#include "platform/SpellChecker.h"

#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QDesktopServices>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QTableView>
#include <QTextEdit>
#include <QToolButton>
#include <QUrl>
#include <QVBoxLayout>

int SpellingTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(seo.spellingRowCount());
}

int SpellingTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(SEOManager::spellingTableView().tableColumns.size());
}

QVariant SpellingTableModel::data(const QModelIndex& index, int role) const {
    if (role != Qt::DisplayRole || !index.isValid())
        return {};
    const LinkCheckerUrlPtr page = seo.spellingRecordAt(index.row());
    return page
               ? page->getFieldByName(SEOManager::spellingTableView().tableColumns[index.column()].identifier)
               : QVariant();
}

QVariant SpellingTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    return SEOManager::spellingTableView().tableColumns.value(section).title;
}

void SpellingTableModel::sort(int column, Qt::SortOrder order) {
    beginResetModel();
    seo.spellingDidClickColumn(SEOManager::spellingTableView().tableColumns.value(column).identifier,
                               order == Qt::AscendingOrder);
    endResetModel();
}

void SpellingTableModel::reload() {
    beginResetModel();
    endResetModel();
}

SpellingReviewDialog::SpellingReviewDialog(SEOManager& seo, QWidget* parent)
    : QDialog(parent), review(std::make_unique<spellingDialogue>(&seo)) {
    setObjectName("spellingDialogue");
    setWindowTitle("Spelling & grammar");
    resize(640, 420);
    auto* layout = new QVBoxLayout(this);
    urlField = new QLineEdit;
    urlField->setReadOnly(true);
    urlField->setObjectName("urlField");
    extractField = new QTextEdit;
    extractField->setReadOnly(true);
    extractField->setObjectName("extractField");
    extractField->setMaximumHeight(90);
    infoField = new QLabel;
    infoField->setObjectName("infoField");
    suggestionTable = new QListWidget;
    suggestionTable->setObjectName("suggestionTable");
    mode = new QComboBox;
    mode->setObjectName("mode");
    mode->addItem("Spelling", int(spellingDialogue::spellingMode));
    mode->addItem("Grammar", int(spellingDialogue::grammarMode));
    learnButton = new QPushButton("Learn");
    learnButton->setObjectName("learnButton");
    auto* previousButton = new QPushButton("Previous");
    auto* nextButton = new QPushButton("Next");
    auto* visitButton = new QPushButton("Visit");
    auto* top = new QHBoxLayout;
    top->addWidget(urlField, 1);
    top->addWidget(mode);
    layout->addLayout(top);
    layout->addWidget(extractField);
    layout->addWidget(infoField);
    layout->addWidget(new QLabel("Guesses:"));
    layout->addWidget(suggestionTable, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(visitButton);
    buttons->addStretch(1);
    buttons->addWidget(learnButton);
    buttons->addWidget(previousButton);
    buttons->addWidget(nextButton);
    layout->addLayout(buttons);

    review->onBeep = [] { QApplication::beep(); };
    connect(nextButton, &QPushButton::clicked, this, [this] {
        review->next();
        draw();
    });
    connect(previousButton, &QPushButton::clicked, this, [this] {
        review->previous();
        draw();
    });
    connect(learnButton, &QPushButton::clicked, this, [this] {
        QString why;
        if (!review->learnSpelling(&why))
            QMessageBox::warning(this, "Learn", why);
        draw();
    });
    connect(visitButton, &QPushButton::clicked, this, [this] {
        QUrl url(review->urlField(), QUrl::StrictMode);
        if (!url.isValid())
            url = QUrl::fromEncoded(QUrl::toPercentEncoding(review->urlField(), ":/?#[]@!$&'()*+,;=%"));
        QDesktopServices::openUrl(url);
    });
    connect(mode, &QComboBox::currentIndexChanged, this, [this] {
        review->switchMode(spellingDialogue::Mode(mode->currentData().toInt()));
        draw();
    });
}

SpellingReviewDialog::~SpellingReviewDialog() = default;

void SpellingReviewDialog::showForPage(const QString& url, const QString& userAgent, qsizetype row) {
    selectedRow = row;
    mode->blockSignals(true);
    mode->setCurrentIndex(review->getMode() == spellingDialogue::spellingMode ? 0 : 1);
    mode->blockSignals(false);
    review->showForPage(url, userAgent);
    draw();
    show();
    raise();
}

void SpellingReviewDialog::draw() {
    urlField->setText(review->urlField());
    // The passage with the issue marked in colour.
    const spellingDialogue::Extract& extract = review->extractField();
    QString html;
    if (extract.marked.found() && extract.marked.location <= extract.text.size()) {
        html = extract.text.left(extract.marked.location).toHtmlEscaped() +
               "<span style=\"background:#ffd0d0\">" +
               extract.text.mid(extract.marked.location, extract.marked.length).toHtmlEscaped() + "</span>" +
               extract.text.mid(extract.marked.end()).toHtmlEscaped();
    } else {
        html = extract.text.toHtmlEscaped();
    }
    extractField->setHtml(html);
    infoField->setText(review->infoField());
    suggestionTable->clear();
    suggestionTable->addItems(review->suggestionTexts());
    learnButton->setEnabled(review->learnButtonEnabled());
}

void SpellingReviewDialog::closeEvent(QCloseEvent* event) {
    review->windowWillClose(selectedRow);
    QDialog::closeEvent(event);
}

SpellingView::SpellingView(SEOManager& seo_, KestConfigManager& config_, Preferences& preferences_,
                           UserInterface& ui_, QWidget* parent)
    : QWidget(parent), seo(seo_), config(config_), preferences(preferences_), ui(ui_), model(seo_) {
    setObjectName("spellingResultsView");
    auto* layout = new QVBoxLayout(this);
    auto* bar = new QHBoxLayout;
    filter = new QComboBox;
    filter->setObjectName("spellingFilter");
    filter->addItem("All pages not reviewed", int(SEOManager::allUnreviewed));
    filter->addItem("Pages with spelling issues", int(SEOManager::withSpelling));
    filter->addItem("Pages with grammar issues", int(SEOManager::withGrammar));
    counts = new QLabel;
    counts->setObjectName("spellingCounts");
    auto* exports = new QToolButton;
    exports->setObjectName("spellingExport");
    exports->setText("Export");
    exports->setPopupMode(QToolButton::InstantPopup);
    auto* menu = new QMenu(exports);
    menu->addAction("Export Spelling as CSV…", this, &SpellingView::exportAsCSV);
    menu->addAction("Export Spelling as HTML…", this, &SpellingView::exportAsHTML);
    exports->setMenu(menu);
    bar->addWidget(filter);
    bar->addStretch(1);
    bar->addWidget(counts);
    bar->addWidget(exports);
    layout->addLayout(bar);
    view = new QTableView;
    view->setObjectName("spellingTable");
    view->setModel(&model);
    // Unsorted until a header is clicked: enabling sorting would otherwise sort at once, by the
    // first column, descending.
    view->horizontalHeader()->setSortIndicator(-1, Qt::AscendingOrder);
    view->setSortingEnabled(true);
    view->setSelectionBehavior(QAbstractItemView::SelectRows);
    view->setSelectionMode(QAbstractItemView::SingleSelection);
    view->horizontalHeader()->setStretchLastSection(true);
    layout->addWidget(view, 1);
    review = new SpellingReviewDialog(seo, this);

    connect(filter, &QComboBox::currentIndexChanged, this,
            [this] { seo.spellingfilter(filter->currentData().toInt()); });
    connect(view, &QTableView::doubleClicked, this, [this] { openSelected(); });
    seo.onSpellingTableChanged = [this] { reloadData(); };
}

void SpellingView::reloadData() {
    model.reload();
    const bool grammar = config.flagForKey("checkGrammar");
    seo.getSpellingCollection();
    QString text = QString("%1 page(s), %2 with spelling issues%3")
                       .arg(seo.count())
                       .arg(int(seo.getSpellingPagesCount()))
                       .arg(grammar ? QString(", %1 with grammar issues").arg(int(seo.getGrammarPagesCount()))
                                    : QString());
    // A missing dictionary is said here, where its zero counts would otherwise mislead.
    SpellChecker& checker = SpellChecker::sharedSpellChecker();
    const QString language = checker.language();
    QStringList problems;
    if (config.flagForKey("checkSpelling"))
        problems << checker.spellingProblem(language);
    if (grammar)
        problems << checker.grammarProblem(language);
    problems.removeAll(QString());
    if (!problems.isEmpty())
        text += " (" + problems.join("; ") + ")";
    counts->setText(text);
}

void SpellingView::exportAsCSV() {
    ExportPanel::save(ui, "spelling.csv", seo.exportSpellingAsCSV(SEOManager::spellingTableView()));
}

void SpellingView::exportAsHTML() {
    ExportPanel::save(ui, "spelling.html", seo.exportSpellingAsHTML(SEOManager::spellingTableView()));
}

void SpellingView::openSelected() {
    const QModelIndexList rows = view->selectionModel()->selectedRows();
    if (rows.isEmpty())
        return;
    const qsizetype row = rows.first().row();
    const LinkCheckerUrlPtr page = seo.spellingRecordAt(row);
    if (!page)
        return;
    // The page is fetched anew, so the text under review is today's.
    review->showForPage(page->getActualLinkUrl(), preferences.stringValue("userAgentString"), row);
}

void SpellingView::showEvent(QShowEvent* event) {
    reloadData();
    QWidget::showEvent(event);
}
