#include "views/KestReportDataSource.h"

#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"
#include "platform/UserInterface.h"
#include "views/TableExport.h"

#include <QtDebug>
#include <climits>
#include <new>
#include <system_error>

// What a row needs of a record, copied on the caller's thread so that the rows can be made
// elsewhere while the crawl goes on changing the records. The copies share their text.
struct KestReportDataSource::RecordSnapshot {
    std::shared_ptr<LinkCheckerUrl> record;
    QString linkUrl, redir, timestamp, status;
    int distance = 0;
    QStringList shownPages; // column "1": the page's title or URL by displayPageTitle
    qsizetype occurrences = 0;
    QStringList linkTexts;
    QList<bool> nofollow;
    bool bad = false;
};

// The rows made by a report on its own thread, waiting to be taken over.
struct PendingRows {
    std::vector<std::shared_ptr<KestReportItem>> rows, badRows;
    int highestId = 0;
};

namespace {

void setIfNotNull(QString& field, const QString& value) {
    if (!value.isNull())
        field = value;
}

struct ColumnRule {
    const char* title;
    const char* identifier;
    const char* preference;
};

const ColumnRule flatColumnRules[] = {
    {"Status", "status", "LorraneFlatViewColsStatus"},
    {"URL", "linkurl", "LorraneFlatViewColsLinkurl"},
    {"Redirected To", "redir", "LorraneFlatViewColsRedir"},
    {"Link Text", "linktext", "LorraneFlatViewColsLinkText"},
    {"On Page", "onpageurl", "LorraneFlatViewColsOnPage"},
    {"Time Stamp", "timestamp", "LorraneFlatViewColsTimeStamp"},
    {"Distance", "distance", "LorraneFlatViewColsDistance"},
    {"Nofollow", "nofollow", "LorraneFlatViewColsNofollow"},
};

QString htmlKey(const QString& identifier) {
    if (identifier == "onpageurl")
        return "onpageurlhtml";
    if (identifier == "linkurl")
        return "linkurlhtml";
    if (identifier == "redir")
        return "linkredirhtml";
    return identifier;
}

} // namespace

KestReportDataSource::KestReportDataSource(const Preferences& preferences_) : preferences(preferences_) {}

KestReportDataSource::~KestReportDataSource() {
    if (worker.joinable())
        worker.join();
}

// ---------------------------------------------------------------- building the rows

std::vector<KestReportDataSource::RecordSnapshot> KestReportDataSource::takeSnapshot(LinkCheckerHub& hub) {
    std::vector<RecordSnapshot> records;
    const qsizetype n = hub.count();
    records.reserve(size_t(n));
    const bool titles = hub.displayPageTitle();
    for (qsizetype i = 0; i < n; ++i) {
        const auto record = hub.getnthofAllItems(i);
        if (!record)
            continue;
        RecordSnapshot s;
        s.record = record;
        s.linkUrl = record->getLinkUrl();
        s.redir = record->getRedir();
        s.timestamp = record->getTimestamp();
        s.status = record->getStatus();
        s.distance = record->getDistanceFromHome();
        s.occurrences = record->getOnPageUrlArray().size();
        s.shownPages = titles ? record->getOnPageNameArray() : record->getOnPageUrlArray();
        s.linkTexts = record->getOnPageLinkTextArray();
        s.nofollow = record->getNofollowArray();
        s.bad = !record->shouldBeMemberOfBadCollection();
        records.push_back(std::move(s));
    }
    return records;
}

void KestReportDataSource::doReport(LinkCheckerHub& hub, bool onThisThread) {
    waitForReport();
    clear();
    std::vector<RecordSnapshot> records = takeSnapshot(hub);
    if (onThisThread) {
        buildRows(std::move(records));
        waitForReport();
        return;
    }
    // Shared, so the records are still here should the thread fail to start.
    auto shared = std::make_shared<std::vector<RecordSnapshot>>(std::move(records));
    try {
        worker = std::thread([this, shared] { buildRows(std::move(*shared)); });
    } catch (const std::system_error& error) {
        // No thread to be had (a crawl that ran out of memory ends here): the rows are built
        // here instead, so the finish still has its report.
        qInfo().noquote() << QString("report built on the caller's thread: %1").arg(error.what());
        buildRows(std::move(*shared));
        waitForReport();
    }
}

void KestReportDataSource::buildRows(std::vector<RecordSnapshot> records) {
    // Runs on the report's thread: touches nothing of this source but the pending rows.
    PendingRows made;
    {
        std::lock_guard lock(rowsMutex);
        made.highestId = pendingBase;
    }
    try {
        // The rows live side by side in one block that the row pointers share; one allocation
        // instead of one per row.
        size_t total = 0;
        for (const RecordSnapshot& s : records)
            total += size_t(s.occurrences);
        auto block = std::make_shared<std::vector<KestReportItem>>();
        block->reserve(total);
        made.rows.reserve(total);
        for (const RecordSnapshot& s : records) {
            if (s.occurrences == 0)
                continue;
            auto part = std::make_shared<KestReportItem::RecordPart>();
            part->distanceFromHome = s.distance;
            setIfNotNull(part->linkUrl, s.linkUrl);
            setIfNotNull(part->redir, s.redir);
            setIfNotNull(part->timestamp, s.timestamp);
            setIfNotNull(part->status, s.status);
            part->lcurl = s.record;
            for (qsizetype j = 0; j < s.occurrences; ++j) {
                KestReportItem& row = block->emplace_back(part);
                row.setOnPageUrl(s.shownPages.value(j, ""));
                row.setLinkText(s.linkTexts.value(j, ""));
                row.setNofollow(j < s.nofollow.size() ? s.nofollow[j] : false);
                row.setOwner(this);
                row.setID(++made.highestId);
                made.rows.emplace_back(block, &row);
                if (s.bad)
                    made.badRows.push_back(made.rows.back());
            }
        }
    } catch (const std::bad_alloc&) {
        qInfo() << "**** unable to add more data to flat view report";
    }
    if (made.rows.size() > size_t(INT_MAX)) {
        qInfo().noquote() << QString("*** unable to display flat list as its members (%1) exceeds internal "
                                     "limits. clearing it and returning")
                                 .arg(made.rows.size());
        made.rows.clear();
        made.badRows.clear();
    }
    std::lock_guard lock(rowsMutex);
    pending = std::make_unique<PendingRows>(std::move(made));
}

void KestReportDataSource::waitForReport() {
    if (worker.joinable())
        worker.join();
    std::unique_ptr<PendingRows> made;
    {
        std::lock_guard lock(rowsMutex);
        made = std::move(pending);
    }
    if (!made)
        return;
    collection = std::move(made->rows);
    badCollection = std::move(made->badRows);
    highestId = made->highestId;
    reloadData();
}

void KestReportDataSource::clear() {
    waitForReport();
    collection.clear();
    badCollection.clear();
    currentSortField.reset();
    std::lock_guard lock(rowsMutex);
    pendingBase = highestId;
}

void KestReportDataSource::reloadData() const {
    if (reloadHandler)
        reloadHandler();
}

// ---------------------------------------------------------------- reading

bool KestReportDataSource::showingBadLinksOnly() const {
    return preferences.boolValue("showHideGoodLinksCheckBox");
}

const std::vector<KestReportDataSource::ItemPtr>& KestReportDataSource::shownList() const {
    return showingBadLinksOnly() ? badCollection : collection;
}

qsizetype KestReportDataSource::countVisible(const std::vector<ItemPtr>& list) {
    return std::count_if(list.begin(), list.end(), [](const ItemPtr& row) { return row->getVisible(); });
}

void KestReportDataSource::filter(const QString& term, int tag) {
    searchBox = term;
    filterButton = tag;
    for (const ItemPtr& row : collection) {
        bool visible = term.isEmpty() || row->contains(term);
        const LinkCheckerUrl* record = row->getLcurl().get();
        if (record && ((tag == 2 && !record->isInternal()) || (tag == 4 && record->isInternal()) ||
                       (tag == 3 && !record->getIsImage())))
            visible = false;
        row->setVisible(visible);
    }
    reloadData();
}

qsizetype KestReportDataSource::numberOfRowsInTableView(const kestreliaTableView*) const {
    const std::vector<ItemPtr>& list = shownList();
    if (termIsEmpty() && filterButton == 1)
        return qsizetype(list.size());
    return countVisible(list);
}

KestReportDataSource::ItemPtr KestReportDataSource::getnthItem(qsizetype n) const {
    const std::vector<ItemPtr>& list = shownList();
    return n >= 0 && size_t(n) < list.size() ? list[size_t(n)] : nullptr;
}

KestReportDataSource::ItemPtr KestReportDataSource::getnthVisibleItem(qsizetype n) const {
    qsizetype seen = -1;
    for (const ItemPtr& row : shownList())
        if (row->getVisible() && ++seen == n)
            return row;
    return nullptr;
}

std::vector<KestReportDataSource::ItemPtr> KestReportDataSource::visibleItems() const {
    std::vector<ItemPtr> rows;
    for (const ItemPtr& row : shownList())
        if (row->getVisible())
            rows.push_back(row);
    return rows;
}

QString KestReportDataSource::objectValueForTableColumnRow(const QString& identifier, qsizetype row) const {
    const ItemPtr item = getnthVisibleItem(row);
    return item ? item->getFieldByName(identifier).toString() : QString("");
}

std::optional<LabelColour> KestReportDataSource::labelColorForRow(qsizetype row) const {
    if (!preferences.boolValue("LorraneDisplayLabels"))
        return std::nullopt;
    const ItemPtr item = termIsEmpty() ? getnthItem(row) : getnthVisibleItem(row);
    if (!item)
        return std::nullopt;
    return KestLabelColours::rowColourForConstant(item->getColour(), preferences);
}

std::function<std::optional<LabelColour>(qsizetype)> KestReportDataSource::exportColours() const {
    if (!preferences.boolValue("LorraneDisplayLabels"))
        return [](qsizetype) { return std::optional<LabelColour>(); };
    // The same rows as labelColorForRow, gathered once.
    auto rows = std::make_shared<std::vector<ItemPtr>>(termIsEmpty() ? shownList() : visibleItems());
    return [this, rows](qsizetype row) -> std::optional<LabelColour> {
        if (row < 0 || size_t(row) >= rows->size())
            return std::nullopt;
        return KestLabelColours::rowColourForConstant((*rows)[size_t(row)]->getColour(), preferences);
    };
}

// ---------------------------------------------------------------- sorting

void KestReportDataSource::didClickTableColumn(const QString& identifier, bool ascending) {
    currentSortField = identifier;
    currentSortAscending = ascending;
    auto before = [](const ItemPtr& a, const ItemPtr& b) { return a->caseInsensitiveCompare(*b) < 0; };
    std::stable_sort(collection.begin(), collection.end(), before);
    std::stable_sort(badCollection.begin(), badCollection.end(), before);
    reloadData();
}

// ---------------------------------------------------------------- columns

QList<TableColumn> KestReportDataSource::flatColumns(const Preferences& preferences) {
    QList<TableColumn> shown, all;
    for (const ColumnRule& column : flatColumnRules) {
        all.append(TableColumn{column.identifier, column.title});
        if (!preferences.contains(column.preference) || preferences.boolValue(column.preference))
            shown.append(all.last());
    }
    // A report with every column switched off could be neither read nor exported: it shows all.
    return shown.isEmpty() ? all : shown;
}

void KestReportDataSource::alterTableColumns(const QString& title, bool on, Preferences& preferences) {
    for (const ColumnRule& column : flatColumnRules)
        if (title == column.title)
            preferences.setValue(column.preference, on);
}

// ---------------------------------------------------------------- exports

QString KestReportDataSource::getDataAsHTMLusingTableView(const kestreliaTableView& table) const {
    const std::vector<ItemPtr>& list = shownList();
    const auto colourAt = exportColours();
    QString out;
    out.reserve(100);
    out += "<table><tr>";
    for (const TableColumn& column : table.tableColumns)
        out += QString("<th class = %1>%2</th>").arg(column.identifier, column.title);
    out += "</tr>";
    bool alternate = false;
    for (size_t r = 0; r < list.size(); ++r) {
        const KestReportItem& row = *list[r];
        if (!row.getVisible())
            continue;
        out += "<tr>";
        const std::optional<LabelColour> colour = colourAt(qsizetype(r));
        for (const TableColumn& column : table.tableColumns) {
            out += "<td ";
            out += alternate ? QString("class = \"%1 %2\" ").arg(column.identifier, "alt")
                             : QString("class = %1 ").arg(column.identifier);
            if (colour)
                out += QString("style = \"background:%1\"").arg(TableExport::rgbText(*colour));
            out += '>';
            const QString value = row.getFieldByName(column.identifier).toString();
            if (value.contains("http://") || value.contains("https://"))
                out += QString("<a href = %1 >%2</a>").arg(value, value);
            else
                out += value;
            out += "</td>";
        }
        out += "</tr>";
        alternate = !alternate;
    }
    out += "</table><br />";
    return out;
}

QString KestReportDataSource::htmlRows(const std::vector<ItemPtr>& list,
                                       const kestreliaTableView& table) const {
    const auto colourAt = exportColours();
    QString out;
    out.reserve(100);
    out += "<table><tr>";
    for (const TableColumn& column : table.tableColumns)
        out += "<th style = max-width:" + QString::asprintf("%0.0f", column.width) + "px>" + column.title +
               "</th>";
    out += "</tr>";
    QStringList keys;
    for (const TableColumn& column : table.tableColumns)
        keys.append(htmlKey(column.identifier));
    bool alternate = false;
    qsizetype v = 0;
    for (const ItemPtr& row : list) {
        if (!row->getVisible())
            continue;
        out += "<tr>";
        const std::optional<LabelColour> colour = colourAt(v);
        for (const QString& key : keys) {
            out += "<td ";
            if (colour)
                out += "style = background:" + TableExport::rgbText(*colour);
            else if (alternate)
                out += "style = background:#f0f0ff ";
            out += '>';
            out += row->getFieldByName(key).toString();
            out += "</td>";
        }
        out += "</tr>";
        alternate = !alternate;
        ++v;
    }
    out += "</table><br />";
    return out;
}

QString KestReportDataSource::getExportAsHTML(const kestreliaTableView& table) const {
    return TableExport::wrapPageWithStrayHead(TableExport::styleBlock + htmlRows(shownList(), table));
}

QString KestReportDataSource::getBadLinksAsHTML(const kestreliaTableView& table) const {
    if (badCollection.empty())
        return "<p>&nbsp;</p>";
    return htmlRows(badCollection, table);
}

QString KestReportDataSource::delimited(const std::vector<ItemPtr>& list, qsizetype bound,
                                        const kestreliaTableView& table, QChar separator) const {
    QString out = TableExport::csvHeader(table, separator);
    QStringList fields;
    const size_t end = std::min(list.size(), size_t(std::max<qsizetype>(bound, 0)));
    for (size_t i = 0; i < end; ++i) {
        const KestReportItem& row = *list[i];
        if (!row.getVisible())
            continue;
        fields.clear();
        for (const TableColumn& column : table.tableColumns)
            fields.append(row.getFieldByName(column.identifier).toString());
        TableExport::appendQuotedLine(out, fields, separator);
    }
    return out;
}

QString KestReportDataSource::getFlatCSV(const kestreliaTableView& table) const {
    const std::vector<ItemPtr>& list = shownList();
    return delimited(list, qsizetype(list.size()), table, ',');
}

QString KestReportDataSource::getFlatTDL(const kestreliaTableView& table) const {
    // Bounded by the count of visible rows, not the list's size: with a filter on, visible
    // rows further down the list are left out, as the tab export always did.
    return delimited(shownList(), numberOfRowsInTableView(&table), table, '\t');
}

bool KestReportDataSource::exportBadLinksAsFlatCSVAndSaveTo(const QString& path,
                                                            const kestreliaTableView& table,
                                                            QString* errorText) const {
    qInfo().noquote() << QString("exporting %1 bad links as CSV to %2").arg(badCollection.size()).arg(path);
    for (const ItemPtr& row : badCollection)
        if (!row->getVisible())
            qInfo() << "not visible";
    QString error;
    if (TableExport::writeTextAtomically(
            path, delimited(badCollection, qsizetype(badCollection.size()), table, ','), &error))
        return true;
    qInfo().noquote()
        << QString("Error writing bad links: %1\nSuggest: %2\nReason: %3").arg(error, "", error);
    if (errorText)
        *errorText = error;
    return false;
}

bool KestReportDataSource::confirmLargeExport(UserInterface& ui) const {
    if (showingBadLinksOnly() || qsizetype(collection.size()) <= largeExport)
        return true;
    const int answer = ui.alert(
        "Large export",
        "With the present settings, the exported file will contain a very large number of links, many of "
        "which may be OK. If you continue, there may be problems generating or displaying the file. Consider "
        "cancelling and showing bad links only before generating this report.",
        {"Cancel", "Continue"});
    return answer == 1;
}

void KestReportDataSource::saveWithPanel(UserInterface& ui, const QString& text, const QString& fileType) {
    const QString path = ui.chooseSaveFile("Export", "export." + fileType);
    if (path.isEmpty())
        return;
    if (!TableExport::writeTextAtomically(path, text))
        qInfo().noquote() << QString("Unsuccessful exporting data to %1\n").arg(path);
}

void KestReportDataSource::exportAsHTML(UserInterface& ui, const kestreliaTableView& table) const {
    if (confirmLargeExport(ui))
        saveWithPanel(ui, getExportAsHTML(table), "html");
}

void KestReportDataSource::exportAsFlatCSV(UserInterface& ui, const kestreliaTableView& table) const {
    if (confirmLargeExport(ui))
        saveWithPanel(ui, getFlatCSV(table), "csv");
}

void KestReportDataSource::exportAsFlatTDL(UserInterface& ui, const kestreliaTableView& table) const {
    saveWithPanel(ui, getFlatTDL(table), "txt");
}
