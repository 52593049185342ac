#pragma once

#include <QAbstractTableModel>
#include <QWidget>

class Preferences;
class QLabel;
class QTableView;
class QTimer;
class SEOManager;
class UserInterface;

// The validator table as a Qt model: the collection's pages with their validator status, errors
// and warnings, none while validation is switched off, coloured by the row rule.
class ValidatorModel : public QAbstractTableModel {
  public:
    ValidatorModel(SEOManager& seo, QObject* parent = nullptr);
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    // A click on a column header: the table's own order; a column of -1 drops it.
    void sort(int column, Qt::SortOrder order) override;
    void reload();

  private:
    SEOManager& seo;
};

// The validation results: the notice, the three counts, the progress text, the table and its
// exports. A click on a row validates that page again; a double-click opens the validator's own
// page for it in the browser.
class ValidatorView : public QWidget {
    Q_OBJECT
  public:
    ValidatorView(SEOManager& seo, Preferences& preferences, UserInterface& ui, QWidget* parent = nullptr);
    ~ValidatorView() override;

    void reload();
    void exportAsCSV();
    void exportAsHTML();
    QTableView* table() const { return view; }
    ValidatorModel& tableModel() { return model; }

  private:
    void showCounts();

    SEOManager& seo;
    Preferences& preferences;
    UserInterface& ui;
    ValidatorModel model;
    QLabel* notice = nullptr;
    QLabel* counts = nullptr;
    QLabel* progress = nullptr;
    QTableView* view = nullptr;
    QTimer* poll = nullptr;
    int shownRows = -1;
};
