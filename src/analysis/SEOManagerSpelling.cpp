// The spelling table of the site's pages, its counts, the recheck after a review, and its
// section reports and exports.
#include "analysis/SEOManager.h"

#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"
#include "parsing/KestParser.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <algorithm>

namespace {

const QString spellingHead =
    QStringLiteral("<h1>Spelling</h1>\n<p>%1 page(s) included, %2 with spelling issues");
const QString spellingAndGrammarHead = QStringLiteral(
    "<h1>Spelling &amp; grammar</h1>\n<p>%1 page(s) included, %2 spelling issues, %3 grammar issues");
const QString nothingWrongClose = QStringLiteral("</p><p>&nbsp;</p>\n");

bool hasSpellingIssues(const LinkCheckerUrl& page) {
    return page.getSpelling() > 0;
}

bool hasAnyIssues(const LinkCheckerUrl& page) {
    return page.getSpelling() > 0 || page.getGrammar() > 0;
}

bool anyPage(const LinkCheckerUrl&) {
    return true;
}

} // namespace

kestreliaTableView SEOManager::spellingTableView() {
    kestreliaTableView table(
        {{"actualurl", "URL", 400}, {"spelling", "Spelling", 80}, {"grammar", "Grammar", 80}});
    table.setLFIdentifier("spelling");
    return table;
}

const std::vector<LinkCheckerUrlPtr>& SEOManager::getSpellingCollection() {
    if (!spellingCollection) {
        spellingCollection.emplace();
        spellingPagesCount = 0;
        grammarPagesCount = 0;
        for (const LinkCheckerUrlPtr& page : collection) {
            // The page counts take in reviewed pages too; the table does not list them.
            if (!page->spellingReviewed()) {
                const bool listed = spellingFilterTag == allUnreviewed ||
                                    (spellingFilterTag == withSpelling && page->getSpelling() > 0) ||
                                    (spellingFilterTag == withGrammar && page->getGrammar() > 0);
                if (listed)
                    spellingCollection->push_back(page);
            }
            if (page->getSpelling() > 0)
                ++spellingPagesCount;
            if (page->getGrammar() > 0)
                ++grammarPagesCount;
        }
        // The list keeps the table's order until it is built again or the column changes, which
        // is what sorting it at each question would give.
        if (!spellingSortKey.isEmpty())
            spellingDidClickColumn(spellingSortKey, spellingSortAscending);
    }
    return *spellingCollection;
}

void SEOManager::clearSpellingCollection() {
    spellingCollection.reset();
}

qsizetype SEOManager::spellingRowCount() {
    if (!configManager.flagForKey("checkSpelling") && !configManager.flagForKey("checkGrammar"))
        return 0;
    return qsizetype(getSpellingCollection().size());
}

LinkCheckerUrlPtr SEOManager::spellingRecordAt(qsizetype row) {
    const std::vector<LinkCheckerUrlPtr>& pages = getSpellingCollection();
    return row >= 0 && size_t(row) < pages.size() ? pages[size_t(row)] : nullptr;
}

void SEOManager::spellingfilter(int tag) {
    spellingFilterTag = tag;
    clearSpellingCollection();
    spellingTableChanged();
}

void SEOManager::spellingDidClickColumn(const QString& key, bool ascending) {
    spellingSortKey = key;
    spellingSortAscending = ascending;
    if (!spellingCollection || key.isEmpty())
        return;
    const bool numeric = KestDataObject::isNumber(key);
    std::stable_sort(spellingCollection->begin(), spellingCollection->end(),
                     [&](const LinkCheckerUrlPtr& a, const LinkCheckerUrlPtr& b) {
                         int order = 0;
                         if (numeric) {
                             const double x = a->getFieldAsNumberByName(key);
                             const double y = b->getFieldAsNumberByName(key);
                             order = x < y ? -1 : x > y ? 1 : 0;
                         } else {
                             order = QString::compare(a->getFieldByName(key).toString(),
                                                      b->getFieldByName(key).toString(), Qt::CaseInsensitive);
                         }
                         return ascending ? order < 0 : order > 0;
                     });
}

void SEOManager::spellingDiallogDidFinishReviewing(qsizetype selectedRow) {
    if (selectedRow < 0)
        return;
    const LinkCheckerUrlPtr page = spellingRecordAt(selectedRow);
    if (page && preferences.boolValue("removeWhenSpellingReviewedButton")) {
        page->setSpellingReviewed(true);
        clearSpellingCollection();
    }
}

void SEOManager::spellingTableChanged() {
    if (onSpellingTableChanged)
        onSpellingTableChanged();
}

void SEOManager::reCheckSpellingCollection() {
    // The list as it stands now; a list just forgotten gives nothing to do.
    std::vector<LinkCheckerUrlPtr> pages;
    if (spellingCollection)
        for (const LinkCheckerUrlPtr& page : *spellingCollection)
            if (page->getSpelling() > 0)
                pages.push_back(page);
    const QString userAgent = preferences.stringValue("userAgentString");
    const quint64 encoding = hub.getDetectedEncoding();
    const std::weak_ptr<int> alive = spellingAlive;
    QThread* thread = QThread::create([pages, userAgent, encoding, alive, this] {
        for (const LinkCheckerUrlPtr& page : pages) {
            auto parser =
                page->hasData()
                    ? KestParser::
                          initWithDataWithuserAgentStringWithSEOCachePageCheckNoIndexCheckNofollowUseEncoding(
                              page->getData(), userAgent, false, false, false, false, encoding)
                    : KestParser::initWithUrlWithuserAgentString(page->getActualLinkUrl(), userAgent);
            if (parser)
                page->setSpelling(parser->getSpellingCount());
        }
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [alive, this] {
                if (alive.lock())
                    spellingTableChanged();
            },
            Qt::QueuedConnection);
    });
    QObject::connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    spellingRechecks.removeAll(nullptr);
    spellingRechecks.append(thread);
    thread->start();
}

bool SEOManager::waitForSpellingRechecks(int milliseconds) {
    const QDeadlineTimer deadline(milliseconds);
    for (const QPointer<QThread>& thread : std::as_const(spellingRechecks))
        if (thread && !thread->wait(deadline))
            return false;
    return true;
}

QString SEOManager::spellingTableHTML(const kestreliaTableView& table,
                                      bool (*wanted)(const LinkCheckerUrl&)) {
    // Rows come from the SEO table's walk, bounded by the spelling table's row count: a filter
    // left on in the SEO table narrows these reports too.
    const std::vector<LinkCheckerUrlPtr> visible = visibleItems();
    return TableExport::htmlThroughTable(
        table, spellingRowCount(),
        [&](qsizetype r) -> const KestDataObject* {
            if (size_t(r) >= visible.size() || !wanted(*visible[size_t(r)]))
                return nullptr;
            return visible[size_t(r)].get();
        },
        [](qsizetype) { return std::nullopt; });
}

QString SEOManager::getSpellingReport(const kestreliaTableView& table) {
    getSpellingCollection();
    return (spellingHead + "</p>\n%3\n")
        .arg(QString::number(count()), QString::number(int(spellingPagesCount)),
             spellingTableHTML(table, anyPage));
}

QString SEOManager::getSpellingAndGrammarReport(const kestreliaTableView& table) {
    getSpellingCollection();
    return (spellingAndGrammarHead + "</p>\n%4\n")
        .arg(QString::number(count()), QString::number(int(spellingPagesCount)),
             QString::number(int(grammarPagesCount)), spellingTableHTML(table, anyPage));
}

QString SEOManager::getBadSpellingReport(const kestreliaTableView& table) {
    getSpellingCollection();
    if (int(spellingPagesCount) == 0)
        return (spellingHead + nothingWrongClose).arg(count()).arg(0);
    return (spellingHead + "</p>\n%3\n")
        .arg(QString::number(count()), QString::number(int(spellingPagesCount)),
             spellingTableHTML(table, hasSpellingIssues));
}

QString SEOManager::getBadSpellingAndGrammarReport(const kestreliaTableView& table) {
    getSpellingCollection();
    if (int(spellingPagesCount) == 0 && int(grammarPagesCount) == 0)
        return (spellingAndGrammarHead + nothingWrongClose).arg(count()).arg(0).arg(0);
    return (spellingAndGrammarHead + "</p>\n%4\n")
        .arg(QString::number(count()), QString::number(int(spellingPagesCount)),
             QString::number(int(grammarPagesCount)), spellingTableHTML(table, hasAnyIssues));
}

QString SEOManager::exportSpellingAsCSV(const kestreliaTableView& table) {
    return TableExport::csvThroughTable(table, spellingRowCount(),
                                        [this](qsizetype r) { return spellingRecordAt(r).get(); });
}

QString SEOManager::exportSpellingAsHTML(const kestreliaTableView& table) {
    // The table is opened twice and never closed, and the page has no closing head before its
    // body: files made by earlier versions look so, and readers of them expect it.
    QString out = TableExport::styleBlock;
    out += "<table><tr><table><tr>";
    for (const TableColumn& column : table.tableColumns)
        out += QString("<th class = %1>%2</th>").arg(column.identifier, column.title);
    out += "</tr>";
    TableExport::appendRows(
        out, table, spellingRowCount(), [this](qsizetype r) { return spellingRecordAt(r).get(); },
        [](qsizetype) { return std::nullopt; });
    return TableExport::wrapPageInsideHead(out);
}
