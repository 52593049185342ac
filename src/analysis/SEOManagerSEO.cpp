#include "analysis/SEOManager.h"

#include "analysis/SectionReport.h"
#include "config/Preferences.h"
#include "platform/UserInterface.h"
#include "views/TableExport.h"

#include <QtDebug>

using namespace Qt::StringLiterals;

// The SEO table: its columns, its filter and keyword search, its counters, its reports.

namespace {

const char* const seoTableIdentifier = "SEO";

// The columns that a search decorates with their own count.
int countFor(const LinkCheckerUrl& page, const QString& identifier, bool contentColumn) {
    if (identifier == u"actualurl")
        return page.getOcurrencesInUrl();
    if (identifier == u"linkpagetitle")
        return page.getOcurrencesInTitle();
    if (identifier == u"metadescription")
        return page.getOcurrencesInDescription();
    if (identifier == u"keywords")
        return page.getOcurrencesInKeywords();
    if (identifier == u"headings")
        return page.getOcurrencesInHeadings();
    if (contentColumn && identifier == u"filesize")
        return page.getOcurrencesInArchive();
    return -1;
}

} // namespace

// ---------------------------------------------------------------- the walk

SEOManager::ItemPtr SEOManager::getnthVisibleItem(qsizetype n) const {
    return nthVisibleIn(SEOSortArray, n);
}

SEOManager::ItemPtr SEOManager::nthVisibleIn(const std::optional<std::vector<ItemPtr>>& sorted,
                                             qsizetype n) const {
    qsizetype seen = -1;
    const std::vector<ItemPtr>& order = sorted ? *sorted : collection;
    for (size_t i = 0; i < collection.size(); ++i) {
        const ItemPtr& item = i < order.size() ? order[i] : collection[i];
        if (item && item->getVisible2() && ++seen == n)
            return item;
    }
    return nullptr;
}

std::vector<SEOManager::ItemPtr> SEOManager::visibleItems() const {
    std::vector<ItemPtr> items;
    const std::vector<ItemPtr>& order = SEOSortArray ? *SEOSortArray : collection;
    for (size_t i = 0; i < collection.size(); ++i) {
        const ItemPtr& item = i < order.size() ? order[i] : collection[i];
        if (item && item->getVisible2())
            items.push_back(item);
    }
    return items;
}

qsizetype SEOManager::numberOfRowsInSEOTable() const {
    return std::count_if(collection.begin(), collection.end(),
                         [](const ItemPtr& page) { return page->getVisible2(); });
}

// ---------------------------------------------------------------- columns

const QList<SEOManager::SEOColumn>& SEOManager::optionalSEOColumns() {
    static const QList<SEOColumn> columns = {
        {"Canonical", "canonical", "TrelliumSEOViewColsCanonical", true},
        {"Response time", "responsetime", "TrelliumSEOViewColsResponseTime", false},
        {"Image count", "imageqty", "TrelliumSEOViewColsImageCount", true},
        {"Image weight", "imageweight", "TrelliumSEOViewColsImageWeight", true},
        {"Link count", "linkcount", "TrelliumSEOViewColsLinkCount", false},
        {"Word count", "wordcount", "TrelliumSEOViewColsWordCount", false},
        {"Content", "filesize", "TrelliumSEOViewColsContent", false},
        {"Internal backlinks", "onpagecount", "TrelliumSEOViewColsBacklinks", false},
        {"Last modified", "lastmodified", "TrelliumSEOViewColsLastModified", false},
        {"Robots", "robots", "TrelliumSEOViewColsRobots", false},
    };
    return columns;
}

bool SEOManager::isSEOColumnOn(const SEOColumn& column, const Preferences& preferences) {
    const QVariant stored = preferences.value(column.preference);
    return stored.isValid() ? stored.toBool() : !column.added;
}

kestreliaTableView SEOManager::seoTableView(const Preferences& preferences) {
    QList<TableColumn> columns = {{"actualurl", "URL", 300},
                                  {"linkpagetitle", "Title", 200},
                                  {"metadescription", "Description", 250},
                                  {"keywords", "Keywords", 150},
                                  {"headings", "Headings", 200}};
    for (const SEOColumn& column : optionalSEOColumns())
        if (isSEOColumnOn(column, preferences))
            columns.append({column.identifier, column.title, 100});
    kestreliaTableView table(columns);
    table.setLFIdentifier(seoTableIdentifier);
    return table;
}

bool SEOManager::shouldLogModifiedDate() const {
    return isSEOColumnOn(optionalSEOColumns()[8], preferences);
}

bool SEOManager::shouldCheckRobotsTag() const {
    return isSEOColumnOn(optionalSEOColumns()[9], preferences);
}

// ---------------------------------------------------------------- filter and search

const QList<SEOManager::SEOFilterChoice>& SEOManager::seoFilterChoices() {
    static const QList<SEOFilterChoice> choices = {
        {0, "all", "All pages"},
        {1, "no-title", "Missing title"},
        {7, "no-description", "Missing description"},
        {2, "copies", "Duplicate content (same title and size)"},
        {6, "duplicate-titles", "Duplicate titles"},
        {3, "nofollow", "Nofollow in head"},
        {4, "too-many-links", "Too many links"},
        {5, "description-length", "Description too short or too long"},
    };
    return choices;
}

bool SEOManager::shouldDisplayBasedOnFilterButton(const LinkCheckerUrl& page) {
    switch (highlightSelector) {
    case 0:
        return true;
    case 1:
        return page.getLinkPageTitle().isEmpty();
    case 7:
        return page.getMetaDescription().isEmpty();
    case 2:
        return hasCopy(page);
    case 6:
        return hasSharedTitle(page);
    case 3:
        return page.getHeadContainsNoFollow();
    case 4:
        return page.getLinkCount() > preferences.intValue(u"SEOtoomanylinks"_s);
    case 5: {
        const qsizetype length = page.getMetaDescription().size();
        return length > preferences.intValue(u"SEOmetadescriptionmax"_s) ||
               length < preferences.intValue(u"SEOmetadescriptionmin"_s);
    }
    default:
        return false;
    }
}

void SEOManager::SEOfilter() {
    const QString term = SEOSearchTerm;
    for (const ItemPtr& page : collection) {
        page->setVisible2(true);
        if (!shouldDisplayBasedOnFilterButton(*page))
            page->setVisible2(false);
        else if (!term.isEmpty() && !page->countSEOTerm(term))
            page->setVisible2(false);
    }
    if (term.isEmpty()) {
        didClickSEOTableColumn(SEOSortKey, SEOSortAscending);
        return;
    }
    // The order of the numeric sort, descending, in which the later of two equal records comes
    // first; sorting the reversed list stably gives it without the insertion walk, which on a
    // large site of equal counts is quadratic.
    std::vector<ItemPtr> byTotal(collection.rbegin(), collection.rend());
    std::stable_sort(byTotal.begin(), byTotal.end(), [](const ItemPtr& a, const ItemPtr& b) {
        return a->getTotalOccurrences() > b->getTotalOccurrences();
    });
    sortArray = byTotal;
    SEOSortArray = std::move(byTotal);
}

void SEOManager::didClickSEOTableColumn(const QString& key, bool ascending) {
    SEOSortKey = key;
    SEOSortAscending = ascending;
    if (key.isEmpty()) {
        sortArray.reset();
        SEOSortArray.reset();
        return;
    }
    sortArray = SEOSortArray;
    qInfo().noquote() << "sorting by" << key;
    sortByColumnAscendingWithOptions(key, ascending, KestDataObject::isNumber(key) ? 1 : 0);
    SEOSortArray = sortArray;
}

QString SEOManager::SEOCellValue(const LinkCheckerUrl& page, const QString& identifier) const {
    const QString plain = page.getFieldByName(identifier).toString();
    if (SEOSearchTerm.isEmpty())
        return plain;
    const int count = countFor(page, identifier, preferences.boolValue(u"SEOCountKeywordsInContent"_s));
    return count < 0 ? plain : "(" + QString::number(count) + ") " + plain;
}

QString SEOManager::objectValueForSEOTableColumnRow(const QString& identifier, qsizetype row) const {
    const ItemPtr page = getnthVisibleItem(row);
    return page ? SEOCellValue(*page, identifier) : QString();
}

// ---------------------------------------------------------------- counters

int SEOManager::getSitemapWithoutTitle() const {
    return int(std::count_if(collection.begin(), collection.end(),
                             [](const ItemPtr& page) { return page->getLinkPageTitle().isEmpty(); }));
}

int SEOManager::getSitemapWithoutDescription() const {
    return int(std::count_if(collection.begin(), collection.end(),
                             [](const ItemPtr& page) { return page->getMetaDescription().isEmpty(); }));
}

void SEOManager::updateStatusFields() {
    statusCounts.pagesIncludedInSEO = int(count());
    statusCounts.withoutTitle = getSitemapWithoutTitle();
    statusCounts.withoutDescription = getSitemapWithoutDescription();
}

QString SEOManager::getShortSummary(int validationErrors, int validationWarnings) const {
    return QString("%1 without title, %2 without description\n%3 with html validation errors, %4 with "
                   "warnings\n")
        .arg(statusCounts.withoutTitle)
        .arg(statusCounts.withoutDescription)
        .arg(validationErrors)
        .arg(validationWarnings);
}

void SEOManager::clearSEOAndDuplicates() {
    SEOSortArray.reset();
    SEOSortKey.clear();
    SEOSortAscending = true;
    highlightSelector = 0;
    SEOSearchTerm.clear();
    statusCounts = {};
    duplicates.reset();
    duplicateTitles.reset();
    duplicateSizes.clear();
    groupedPages.clear();
}

// ---------------------------------------------------------------- reports and exports

namespace {

const QString seoHead = QStringLiteral(
    "<h1>SEO</h1>\n<p>%i page(s) included, %i without title, %i without description</p>\n%@\n");

// A page as the interactive exports see it: the displayed cells in place of the plain fields.
class DisplayedRow : public KestDataObject {
  public:
    DisplayedRow(const SEOManager& seo, const LinkCheckerUrl& page, bool singleQuotes)
        : seo(seo), page(page), singleQuotes(singleQuotes) {}
    QVariant getFieldByName(const QString& key) const override {
        QString value = seo.SEOCellValue(page, key);
        return singleQuotes ? value.replace(u'"', u'\'') : value;
    }

  private:
    const SEOManager& seo;
    const LinkCheckerUrl& page;
    bool singleQuotes;
};

} // namespace

QString SEOManager::getSEOReport() const {
    const SEOStatusCounts& c = statusCounts;
    // The base export asks for as many rows as the collection holds; those past the SEO walk's
    // end come back as none and are left out, so the table holds the visible pages only.
    return SectionReport::withBody(seoHead, {c.pagesIncludedInSEO, c.withoutTitle, c.withoutDescription},
                                   getDataAsHTMLusingTableView(seoTableView(preferences)));
}

QString SEOManager::getBadSEOReport() const {
    const SEOStatusCounts& c = statusCounts;
    const QList<int> counts = {c.pagesIncludedInSEO, c.withoutTitle, c.withoutDescription};
    if (getSitemapWithoutTitle() == 0 && getSitemapWithoutDescription() == 0)
        return SectionReport::nothingWrong(seoHead, counts);
    const std::vector<ItemPtr> rows = visibleItems();
    // A page lacking both its title and its description is left out; one lacking only one of
    // them, or neither, is written. That is the report's long-standing row test.
    const QString table = SectionReport::badRows(
        seoTableView(preferences), numberOfRowsInSEOTable(),
        [&](qsizetype r) -> const KestDataObject* {
            if (size_t(r) >= rows.size())
                return nullptr;
            const LinkCheckerUrl& page = *rows[size_t(r)];
            return page.getLinkPageTitle().isEmpty() && page.getMetaDescription().isEmpty() ? nullptr : &page;
        },
        [](qsizetype) { return std::nullopt; });
    return SectionReport::withBody(seoHead, counts, table);
}

QString SEOManager::getSEOAsCSV() const {
    const kestreliaTableView table = seoTableView(preferences);
    const qsizetype rowCount = numberOfRowsInSEOTable();
    const std::vector<ItemPtr> rows = visibleItems();
    QString out = TableExport::csvHeader(table);
    QStringList fields;
    // The record test looks at the stored order while the cells come from the table's rows.
    for (qsizetype r = 0; r < rowCount; ++r) {
        if (size_t(r) >= collection.size() || !collection[size_t(r)]->getVisible())
            continue;
        fields.clear();
        for (const TableColumn& column : table.tableColumns) {
            QString value = size_t(r) < rows.size() ? SEOCellValue(*rows[size_t(r)], column.identifier) : "";
            fields.append(value.replace(u'"', u'\''));
        }
        TableExport::appendQuotedLine(out, fields);
    }
    return out;
}

QString SEOManager::getSEOAsHTML() const {
    const kestreliaTableView table = seoTableView(preferences);
    const std::vector<ItemPtr> rows = visibleItems();
    std::vector<DisplayedRow> displayed;
    displayed.reserve(rows.size());
    for (const ItemPtr& page : rows)
        displayed.emplace_back(*this, *page, false);
    QString body = TableExport::htmlThroughTable(
        table, qsizetype(displayed.size()), [&](qsizetype r) { return &displayed[size_t(r)]; },
        [](qsizetype) { return std::nullopt; });
    // This export opens its table twice and never closes it; files made by it keep that form.
    body.chop(int(qstrlen("</table><br />")));
    return TableExport::wrapPageInsideHead(TableExport::styleBlock + QString("<table><tr>") + body);
}

namespace {

bool saveThroughPanel(UserInterface& ui, const QString& text, const QString& type) {
    QString path = ui.chooseSaveFile("Export", "SEO." + type);
    if (path.isEmpty())
        return false;
    if (!path.endsWith("." + type))
        path += "." + type;
    if (TableExport::writeTextAtomically(path, text))
        return true;
    qInfo().noquote() << QString("Unsuccessful exporting data to %1\n").arg(path);
    return false;
}

} // namespace

bool SEOManager::exportSEOAsCSV(UserInterface& ui) const {
    return saveThroughPanel(ui, getSEOAsCSV(), "csv");
}

bool SEOManager::exportSEOAsHTML(UserInterface& ui) const {
    return saveThroughPanel(ui, getSEOAsHTML(), "html");
}

bool SEOManager::exportSEOAsCSVAndSaveTo(const QString& path, QString* why) const {
    QString error;
    const std::vector<ItemPtr> rows = visibleItems();
    const QString text =
        TableExport::csvThroughTable(seoTableView(preferences), qsizetype(rows.size()), [&](qsizetype r) {
            return static_cast<const KestDataObject*>(rows[size_t(r)].get());
        });
    if (TableExport::writeTextAtomically(path, text, &error))
        return true;
    qInfo().noquote() << QString("Error writing SEO: %1\nSuggest: %2\nReason: %3")
                             .arg(path, "check that the folder exists and can be written", error);
    if (why)
        *why = error;
    return false;
}
