#pragma once

#include <QAbstractTableModel>
#include <QGroupBox>

class KestConfigManager;
class QTableView;

// The site's sitemap rules as a table: contains, priority, update, each edited in place and
// stored as typed.
class SitemapRulesModel : public QAbstractTableModel {
    Q_OBJECT
  public:
    explicit SitemapRulesModel(KestConfigManager& config, QObject* parent = nullptr)
        : QAbstractTableModel(parent), config(config) {}
    static const QStringList& keys();
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    void reload();

  private:
    KestConfigManager& config;
};

// The "Sitemap" group of step 2: the rule table with its add and remove buttons.
class SitemapRulesBox : public QGroupBox {
    Q_OBJECT
  public:
    explicit SitemapRulesBox(KestConfigManager& config, QWidget* parent = nullptr);
    ~SitemapRulesBox() override;
    QTableView* table() const { return view; }
    SitemapRulesModel& model() { return rules; }
    void addRule();
    void removeSelectedRule();

  private:
    KestConfigManager& config;
    SitemapRulesModel rules;
    QTableView* view = nullptr;
};
