#include "gui/SitemapView.h"

#include "analysis/SEOManager.h"
#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "gui/QtUserInterface.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTableView>
#include <QVBoxLayout>

namespace {

const char* const ftpKeys[] = {"ftpserver", "ftpusername", "ftppassword", "ftpdirectory"};
// The Sitemaps protocol's limit of URLs in one file.
constexpr qsizetype protocolLimit = 50000;

} // namespace

SitemapTableModel::SitemapTableModel(SEOManager& seo_, QObject* parent)
    : QAbstractTableModel(parent), seo(seo_) {
    reload();
}

int SitemapTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(seo.getSitemapCollectionCount());
}

int SitemapTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(keys.size());
}

QVariant SitemapTableModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || (role != Qt::DisplayRole && role != Qt::EditRole))
        return {};
    const auto& pages = seo.getSitemapCollection();
    if (size_t(index.row()) >= pages.size())
        return {};
    return seo.sitemapFieldByName(*pages[size_t(index.row())], keys.value(index.column()));
}

bool SitemapTableModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid() || role != Qt::EditRole || keys.value(index.column()) != "changefrequency")
        return false;
    seo.setSitemapChangeFrequencyForRow(index.row(), value.toString());
    emit dataChanged(this->index(0, 0), this->index(rowCount() - 1, columnCount() - 1));
    return true;
}

Qt::ItemFlags SitemapTableModel::flags(const QModelIndex& index) const {
    if (!index.isValid())
        return Qt::NoItemFlags;
    const Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    return keys.value(index.column()) == "changefrequency" ? flags | Qt::ItemIsEditable : flags;
}

QVariant SitemapTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    return orientation == Qt::Horizontal && role == Qt::DisplayRole ? QVariant(titles.value(section))
                                                                    : QVariant();
}

void SitemapTableModel::sort(int column, Qt::SortOrder order) {
    beginResetModel();
    seo.sitemapTableDidClickColumn(keys.value(column), order == Qt::AscendingOrder);
    endResetModel();
}

void SitemapTableModel::reload() {
    beginResetModel();
    keys.clear();
    titles.clear();
    // The "Last modified" column comes and goes with includelastmodinsitemap.
    for (const TableColumn& column : seo.sitemapTableView().tableColumns) {
        keys << column.identifier;
        titles << column.title;
    }
    seo.clearSitemapCollection();
    endResetModel();
}

FtpSheet::FtpSheet(KestConfigManager& config_, QWidget* parent) : QDialog(parent), config(config_) {
    setObjectName("ftpSheet");
    setWindowTitle("Upload the sitemap");
    auto* form = new QFormLayout(this);
    const char* const labels[] = {"Server:", "User name:", "Password:", "Directory:"};
    for (int i = 0; i < 4; ++i) {
        auto* edit = new QLineEdit(config.stringForKey(ftpKeys[i]));
        edit->setObjectName(ftpKeys[i]);
        if (i == 2)
            edit->setEchoMode(QLineEdit::Password);
        fields << edit;
        form->addRow(labels[i], edit);
    }
    fields[0]->setPlaceholderText("ftp.example.com");
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    form->addRow(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &FtpSheet::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &FtpSheet::reject);
}

void FtpSheet::accept() {
    for (int i = 0; i < 4; ++i)
        config.setValueForKey(ftpKeys[i], fields[i]->text());
    QDialog::accept();
}

QLineEdit* FtpSheet::field(const QString& key) const {
    for (QLineEdit* edit : fields)
        if (edit->objectName() == key)
            return edit;
    return nullptr;
}

SitemapView::SitemapView(SEOManager& seo_, KestConfigManager& config, Preferences& preferences_,
                         QtUserInterface& ui, QWidget* parent)
    : QWidget(parent), seo(seo_), preferences(preferences_), model(seo_) {
    setObjectName("sitemapView");
    seo.setUserInterface(&ui);
    // The upload asks for the FTP details on the main window; they are saved with the site on OK.
    seo.beginFTPDialog = [this, &config] {
        FtpSheet sheet(config, window());
        return sheet.exec() == QDialog::Accepted;
    };

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* bar = new QHBoxLayout;
    filter = new QLineEdit;
    filter->setObjectName("sitemapFilter");
    filter->setPlaceholderText("Filter by address");
    filter->setClearButtonEnabled(true);
    bar->addWidget(filter, 1);
    bar->addWidget(new QLabel("Change frequency:"));
    changeFrequency = new QComboBox;
    changeFrequency->setObjectName("sitemapChangeFrequency");
    changeFrequency->addItems(SEOManager::sitemapChangeFrequencyTitles());
    changeFrequency->setCurrentIndex(seo.sitemapChangeFrequencyTag());
    bar->addWidget(changeFrequency);
    bar->addWidget(new QLabel("Priority:"));
    priority = new QComboBox;
    priority->setObjectName("sitemapPriority");
    priority->addItems(SEOManager::sitemapPriorityTitles());
    priority->setCurrentText(seo.sitemapPriorityTitle());
    bar->addWidget(priority);
    auto* save = new QPushButton("Save sitemap…");
    save->setObjectName("exportXML");
    auto* csv = new QPushButton("Export CSV…");
    auto* html = new QPushButton("Export HTML…");
    bar->addWidget(save);
    bar->addWidget(csv);
    bar->addWidget(html);
    layout->addLayout(bar);

    warning = new QLabel;
    warning->setObjectName("sitemapWarning");
    warning->setWordWrap(true);
    warning->hide();
    layout->addWidget(warning);

    filtered.setSourceModel(&model);
    filtered.setFilterKeyColumn(0);
    filtered.setFilterCaseSensitivity(Qt::CaseInsensitive);
    view = new QTableView;
    view->setObjectName("sitemapTable");
    view->setModel(&filtered);
    view->verticalHeader()->hide();
    view->horizontalHeader()->setStretchLastSection(true);
    view->horizontalHeader()->setSectionsClickable(true);
    view->horizontalHeader()->setSortIndicatorShown(true);
    view->setSelectionBehavior(QAbstractItemView::SelectRows);
    layout->addWidget(view, 1);

    connect(filter, &QLineEdit::textChanged, &filtered, &QSortFilterProxyModel::setFilterFixedString);
    // The list itself is sorted, so the proxy only filters.
    connect(view->horizontalHeader(), &QHeaderView::sortIndicatorChanged, this,
            [this](int column, Qt::SortOrder order) { model.sort(column, order); });
    connect(changeFrequency, &QComboBox::currentIndexChanged, this, [this](int tag) {
        preferences.setValue("sitemapChangeFrequency", tag);
        seo.updateChangeFrequencies();
        reloadData();
    });
    connect(priority, &QComboBox::currentIndexChanged, this, [this](int index) {
        preferences.setValue("sitemapPriority", index);
        reloadData();
    });
    connect(save, &QPushButton::clicked, this, [this] { seo.exportXML(); });
    connect(csv, &QPushButton::clicked, this, [this] { seo.exportSitemapAsCSV(); });
    connect(html, &QPushButton::clicked, this, [this] { seo.exportSitemapAsHTMLMenuItem(); });
}

SitemapView::~SitemapView() {
    seo.beginFTPDialog = nullptr;
    seo.setUserInterface(nullptr);
}

void SitemapView::reloadData() {
    // A new crawl drops the sort; the arrow goes with it.
    QHeaderView* header = view->horizontalHeader();
    if (!seo.isSitemapTableSorted() && header->sortIndicatorSection() >= 0) {
        const QSignalBlocker quiet(header);
        header->setSortIndicator(-1, Qt::AscendingOrder);
    }
    model.reload();
    const qsizetype pages = seo.getSitemapCollectionCount();
    warning->setText(QString("This sitemap holds %1 URLs, more than the %2 that the Sitemaps protocol allows "
                             "in one file; search engines may read only part of it.")
                         .arg(pages)
                         .arg(protocolLimit));
    warning->setVisible(pages > protocolLimit);
}
