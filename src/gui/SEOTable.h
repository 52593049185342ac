#pragma once

#include <QAbstractTableModel>
#include <QWidget>
#include <memory>
#include <vector>

class LinkCheckerUrl;
class Preferences;
class QComboBox;
class QLabel;
class QLineEdit;
class QTableView;
class QtUserInterface;
class SEOManager;
struct TableColumn;

// The SEO table's rows: the pages of the SEO walk, with the cells as the table shows them.
class SEOTableModel : public QAbstractTableModel {
    Q_OBJECT
  public:
    SEOTableModel(SEOManager& seo, const Preferences& preferences, QObject* parent = nullptr);
    void reload();
    std::shared_ptr<LinkCheckerUrl> pageAt(int row) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    void sort(int column, Qt::SortOrder order) override;

  private:
    SEOManager& seo;
    const Preferences& preferences;
    QList<TableColumn> columns;
    std::vector<std::shared_ptr<LinkCheckerUrl>> rows;
};

// Step 5 for the SEO task: the filter menu, the keyword search, the column switches, the
// counters line, the table, the page inspector with its duplicates, and the exports.
class SEOTable : public QWidget {
    Q_OBJECT
  public:
    SEOTable(SEOManager& seo, Preferences& preferences, QtUserInterface& ui, QWidget* parent = nullptr);

    // The counters, the filter and the search applied afresh, and the table redrawn.
    void reload();
    void copyURL();
    void openPage();
    void showInspector();
    QTableView* table() const { return view; }
    SEOTableModel& model() { return rows; }

  protected:
    void showEvent(QShowEvent* event) override;

  private:
    QWidget* makeColumnButton();
    QWidget* makeExportButton();
    std::shared_ptr<LinkCheckerUrl> selectedPage() const;

    SEOManager& seo;
    Preferences& preferences;
    QtUserInterface& ui;
    SEOTableModel rows;
    QComboBox* filterChoice = nullptr;
    QLineEdit* search = nullptr;
    QLabel* counters = nullptr;
    QTableView* view = nullptr;
};
