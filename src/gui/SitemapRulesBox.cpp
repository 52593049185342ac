#include "gui/SitemapRulesBox.h"

#include "config/KestConfigManager.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

const QStringList& SitemapRulesModel::keys() {
    static const QStringList list = {"contains", "priority", "update"};
    return list;
}

int SitemapRulesModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(config.getSitemapRules().size());
}

int SitemapRulesModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(keys().size());
}

QVariant SitemapRulesModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || (role != Qt::DisplayRole && role != Qt::EditRole))
        return {};
    return config.getSitemapRules().value(index.row()).toMap().value(keys().value(index.column())).toString();
}

bool SitemapRulesModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid() || role != Qt::EditRole)
        return false;
    config.setSitemapRuleValue(index.row(), keys().value(index.column()), value.toString());
    emit dataChanged(index, index);
    return true;
}

Qt::ItemFlags SitemapRulesModel::flags(const QModelIndex& index) const {
    return index.isValid() ? Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsEditable : Qt::NoItemFlags;
}

QVariant SitemapRulesModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    static const QStringList titles = {"URL contains", "Priority", "Change frequency"};
    return titles.value(section);
}

void SitemapRulesModel::reload() {
    beginResetModel();
    endResetModel();
}

SitemapRulesBox::SitemapRulesBox(KestConfigManager& config_, QWidget* parent)
    : QGroupBox("Sitemap", parent), config(config_), rules(config_) {
    setObjectName("sitemapRulesBox");
    auto* layout = new QVBoxLayout(this);
    auto* intro =
        new QLabel("Pages whose address contains the text get this priority and change frequency in "
                   "the XML sitemap; where several rules match, the last one wins.");
    intro->setWordWrap(true);
    layout->addWidget(intro);
    view = new QTableView;
    view->setObjectName("sitemapRuleTable");
    view->setModel(&rules);
    view->horizontalHeader()->setStretchLastSection(true);
    view->verticalHeader()->hide();
    view->setSelectionBehavior(QAbstractItemView::SelectRows);
    view->setSelectionMode(QAbstractItemView::SingleSelection);
    layout->addWidget(view, 1);
    auto* buttons = new QHBoxLayout;
    auto* add = new QPushButton("Add rule");
    add->setObjectName("addSitemapRule");
    auto* remove = new QPushButton("Remove rule");
    remove->setObjectName("deleteSitemapRule");
    buttons->addWidget(add);
    buttons->addWidget(remove);
    buttons->addStretch(1);
    layout->addLayout(buttons);
    connect(add, &QPushButton::clicked, this, &SitemapRulesBox::addRule);
    connect(remove, &QPushButton::clicked, this, &SitemapRulesBox::removeSelectedRule);
    // The settings of another site, or a rule added or removed, redraw the table.
    config.ruleTableChanged = [this] { rules.reload(); };
}

SitemapRulesBox::~SitemapRulesBox() {
    config.ruleTableChanged = nullptr;
}

void SitemapRulesBox::addRule() {
    config.addSitemapRule();
    view->selectRow(rules.rowCount() - 1);
}

void SitemapRulesBox::removeSelectedRule() {
    const QModelIndexList selected = view->selectionModel()->selectedRows();
    if (!selected.isEmpty())
        config.deleteSitemapRule(selected.first().row());
}
