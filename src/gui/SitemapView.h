#pragma once

#include <QAbstractTableModel>
#include <QDialog>
#include <QSortFilterProxyModel>
#include <QWidget>

class KestConfigManager;
class Preferences;
class QComboBox;
class QLabel;
class QLineEdit;
class QTableView;
class QtUserInterface;
class SEOManager;

// The sitemap table over SEOManager's sitemap list; the change frequency is edited in place.
class SitemapTableModel : public QAbstractTableModel {
    Q_OBJECT
  public:
    explicit SitemapTableModel(SEOManager& seo, QObject* parent = nullptr);
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    // A column click: the list is rebuilt in that order.
    void sort(int column, Qt::SortOrder order) override;
    void reload();

  private:
    SEOManager& seo;
    QStringList keys, titles;
};

// The FTP details of the sitemap upload, remembered in the site's settings.
class FtpSheet : public QDialog {
    Q_OBJECT
  public:
    FtpSheet(KestConfigManager& config, QWidget* parent = nullptr);
    // OK: the fields go into the site's working copy.
    void accept() override;
    QLineEdit* field(const QString& key) const;

  private:
    KestConfigManager& config;
    QList<QLineEdit*> fields;
};

// Step 5 of the sitemap task: the site-wide choices, the filter field, the table, the warning for
// sitemaps past the protocol's limit, and save and export.
class SitemapView : public QWidget {
    Q_OBJECT
  public:
    SitemapView(SEOManager& seo, KestConfigManager& config, Preferences& preferences, QtUserInterface& ui,
                QWidget* parent = nullptr);
    ~SitemapView() override;
    void reloadData();
    QTableView* table() const { return view; }
    QLineEdit* filterField() const { return filter; }
    QLabel* warningLabel() const { return warning; }
    SitemapTableModel& tableModel() { return model; }

  private:
    SEOManager& seo;
    Preferences& preferences;
    SitemapTableModel model;
    QSortFilterProxyModel filtered;
    QTableView* view = nullptr;
    QLineEdit* filter = nullptr;
    QComboBox* changeFrequency = nullptr;
    QComboBox* priority = nullptr;
    QLabel* warning = nullptr;
};
