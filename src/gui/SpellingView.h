#pragma once

#include <QAbstractTableModel>
#include <QDialog>
#include <QWidget>
#include <memory>

class KestConfigManager;
class Preferences;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QTableView;
class QTextEdit;
class SEOManager;
class UserInterface;
class spellingDialogue;

// The rows of the spelling table: the manager's spelling list, drawn as it stands.
class SpellingTableModel : public QAbstractTableModel {
  public:
    explicit SpellingTableModel(SEOManager& seo) : seo(seo) {}
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    void sort(int column, Qt::SortOrder order) override;
    void reload();

  private:
    SEOManager& seo;
};

// The review window: the page, the passage with the issue marked, the position, the guesses.
class SpellingReviewDialog : public QDialog {
  public:
    SpellingReviewDialog(SEOManager& seo, QWidget* parent);
    ~SpellingReviewDialog() override;
    void showForPage(const QString& url, const QString& userAgent, qsizetype row);
    spellingDialogue& logic() { return *review; }

  protected:
    void closeEvent(QCloseEvent* event) override;

  private:
    void draw();
    std::unique_ptr<spellingDialogue> review;
    qsizetype selectedRow = -1;
    QLineEdit* urlField;
    QTextEdit* extractField;
    QLabel* infoField;
    QListWidget* suggestionTable;
    QComboBox* mode;
    QPushButton* learnButton;
};

// The spelling task's results: the filter by kind, the page counts, the table and its exports.
class SpellingView : public QWidget {
  public:
    SpellingView(SEOManager& seo, KestConfigManager& config, Preferences& preferences, UserInterface& ui,
                 QWidget* parent = nullptr);
    void reloadData();
    // The table as it shows, to a file the person chooses.
    void exportAsCSV();
    void exportAsHTML();
    SpellingReviewDialog& dialogue() { return *review; }
    QTableView* table() const { return view; }

  protected:
    void showEvent(QShowEvent* event) override;

  private:
    void openSelected();
    SEOManager& seo;
    KestConfigManager& config;
    Preferences& preferences;
    UserInterface& ui;
    SpellingTableModel model;
    QComboBox* filter;
    QLabel* counts;
    QTableView* view;
    SpellingReviewDialog* review;
};
