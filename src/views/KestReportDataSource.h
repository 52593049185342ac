#pragma once

#include "views/KestReportItem.h"
#include "views/lfDataSource.h"

#include <QList>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

class LinkCheckerHub;
class Preferences;
struct PendingRows;
class UserInterface;

// The flat report: one row per occurrence of every link, built from the hub's records after
// a crawl, and a second list of the rows whose link is bad. Gives the CSV, tab-delimited and
// HTML exports of links.
class KestReportDataSource : public lfDataSource<KestReportItem> {
  public:
    explicit KestReportDataSource(const Preferences& preferences);
    ~KestReportDataSource() override;

    // Rebuilds the rows from the hub. The records are read on the caller's thread, the rows
    // made on a thread of their own unless onThisThread.
    void doReport(LinkCheckerHub& hub, bool onThisThread);
    // Returns when no report is being built, the new rows in place.
    void waitForReport();
    // Empties both lists; ids go on rising over repeated reports.
    void clear() override;

    // Called when the rows have changed, on the thread that changed them.
    std::function<void()> reloadHandler;
    void reloadData() const;

    const std::vector<ItemPtr>& getCollection() const { return collection; }
    const std::vector<ItemPtr>& getBadCollection() const { return badCollection; }
    bool showingBadLinksOnly() const;
    // The list on show: the bad rows while only bad links show, otherwise all.
    const std::vector<ItemPtr>& shownList() const;

    static qsizetype countVisible(const std::vector<ItemPtr>& list);
    void filter(const QString& term, int tag);
    qsizetype numberOfRowsInTableView(const kestreliaTableView* = nullptr) const override;
    ItemPtr getnthItem(qsizetype n) const override;
    ItemPtr getnthVisibleItem(qsizetype n) const override;
    std::vector<ItemPtr> visibleItems() const override;
    QString objectValueForTableColumnRow(const QString& identifier, qsizetype row) const;
    std::optional<LabelColour> labelColorForRow(qsizetype row) const override;

    // Sorts both lists in place as text on the column, and remembers column and direction.
    void didClickTableColumn(const QString& identifier, bool ascending);
    const std::optional<QString>& getCurrentSortField() const { return currentSortField; }
    bool getCurrentSortAscending() const { return currentSortAscending; }

    // The columns on show, from their switches.
    static QList<TableColumn> flatColumns(const Preferences& preferences);
    kestreliaTableView tableView() const { return kestreliaTableView(flatColumns(preferences)); }
    static void alterTableColumns(const QString& title, bool on, Preferences& preferences);

    // Export texts.
    QString getDataAsHTMLusingTableView(const kestreliaTableView& table) const;
    QString getExportAsHTML(const kestreliaTableView& table) const;
    QString getFlatCSV(const kestreliaTableView& table) const;
    QString getFlatTDL(const kestreliaTableView& table) const;
    QString getBadLinksAsHTML(const kestreliaTableView& table) const;
    bool exportBadLinksAsFlatCSVAndSaveTo(const QString& path, const kestreliaTableView& table,
                                          QString* error = nullptr) const;

    // The interactive exports: warn when large, ask for a file, write it.
    void exportAsHTML(UserInterface& ui, const kestreliaTableView& table) const;
    void exportAsFlatCSV(UserInterface& ui, const kestreliaTableView& table) const;
    void exportAsFlatTDL(UserInterface& ui, const kestreliaTableView& table) const;
    // With good links shown, more than this many rows asks before exporting.
    static constexpr qsizetype largeExport = 10000;

  private:
    struct RecordSnapshot;
    static std::vector<RecordSnapshot> takeSnapshot(LinkCheckerHub& hub);
    void buildRows(std::vector<RecordSnapshot> records);
    bool termIsEmpty() const { return !searchBox || searchBox->isEmpty(); }
    // The colour of the v-th row written by an export, without a walk per row.
    std::function<std::optional<LabelColour>(qsizetype)> exportColours() const;
    QString htmlRows(const std::vector<ItemPtr>& list, const kestreliaTableView& table) const;
    QString delimited(const std::vector<ItemPtr>& list, qsizetype bound, const kestreliaTableView& table,
                      QChar separator) const;
    bool confirmLargeExport(UserInterface& ui) const;
    static void saveWithPanel(UserInterface& ui, const QString& text, const QString& fileType);

    const Preferences& preferences;
    std::vector<ItemPtr> badCollection;
    std::optional<QString> currentSortField;
    bool currentSortAscending = true;
    std::optional<QString> searchBox;
    int filterButton = 0;
    std::thread worker;
    // The report's thread hands its rows over here; they are taken over on the owner's thread.
    std::mutex rowsMutex;
    std::unique_ptr<PendingRows> pending;
    int pendingBase = 0;
};
