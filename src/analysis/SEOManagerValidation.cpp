// HTML validation of the collection's pages: the pacing, the requests to the Markup Validator, the
// counts, the validator table and its reports.
#include "analysis/SEOManager.h"
#include "analysis/ValidationRunner.h"
#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"
#include "platform/myNSURLConnection.h"

#include <QDir>
#include <QFile>
#include <QMetaObject>
#include <QObject>
#include <QSaveFile>
#include <QtDebug>
#include <algorithm>
#include <unistd.h>

namespace {

const QString publicValidator = QStringLiteral("https://validator.w3.org");
const QString localValidator = QStringLiteral("http://localhost/w3c-validator");

const char* const reportHead =
    "<h1>HTML Validation</h1>\n<p>%1 page(s) included, %2 with errors, %3 with warnings";

// What scripts/local-validator.sh leaves behind while its validator runs: the validator's address.
QString runningLocalValidator() {
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR", "/tmp");
    const QString folder = qEnvironmentVariable(
        "TRELLIUM_VALIDATOR_DIR", runtime + QString("/trellium-local-validator-%1").arg(getuid()));
    QFile file(QDir(folder).filePath("url"));
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    return QString::fromUtf8(file.readAll()).trimmed();
}

// The request body: the address as it stands, not escaped, squeezed into ASCII.
QByteArray postBody(const QString& url) {
    QByteArray body("uri=");
    for (QChar c : url)
        body.append(c.unicode() < 128 ? char(c.unicode()) : '?');
    return body;
}

} // namespace

void SEOManager::joinValidation() {
    validationContext = std::make_shared<QObject>();
    validationRunner = std::make_shared<ValidationRunner>();
    validationRunner->setValidationDelay([this] { return preferences.stringValue("validationdelay"); });
    hub.onValidated = [this](const LinkCheckerUrlPtr& page) { incNumberValidated(page); };
    hub.onCrawlFinishedChanged = [this](bool finished) { setCrawlFinished(finished); };
    hub.onStartValidation = [this] { kickOffValidation(); };
    hub.onValidationFinish = [this] {
        updateValidationProgressText(false);
        if (onValidationFinished)
            onValidationFinished();
    };
}

void SEOManager::leaveValidation() {
    hub.onValidated = nullptr;
    hub.onCrawlFinishedChanged = nullptr;
    hub.onStartValidation = nullptr;
    hub.onValidationFinish = nullptr;
    // The runner stops before the object its questions are queued to.
    validationRunner.reset();
    validationContext.reset();
}

// A new crawl: counts and cursor back to the start, nothing kicked off, the crawl not finished.
void SEOManager::resetValidation() {
    validatorSortArray.reset();
    nextPageToValidate = 0;
    numberValidated = numberValidationWarnings = numberValidationErrors = 0;
    validationsInFlight = 0;
    validationKickedOff = false;
    validationFinsihed = false;
    setCrawlFinished(false);
    updateValidationProgressText(false);
    validationCountsChanged();
}

// Each new page means the runner has not caught up; the starting page starts validation beside
// the crawl when it is switched on.
void SEOManager::validationPageArrived(const LinkCheckerUrlPtr& page) {
    validationFinsihed = false;
    if (page->isStartingPoint() && preferences.boolValue("ValidationEnabled"))
        kickOffValidation();
}

void SEOManager::kickOffValidation() {
    if (onKickOffValidation)
        onKickOffValidation();
    if (!preferences.boolValue("ValidationEnabled"))
        return;
    validationKickedOff = true;
    if (!validationRunner->isRunning())
        validationRunner->start(validationContext.get(), [this] { return getNextPageToValidate(); });
    updateValidationProgressText(true);
}

bool SEOManager::isValidationRunnerRunning() const {
    return validationRunner->isRunning();
}

bool SEOManager::getNextPageToValidate() {
    if (stopPressed() || hub.stopPressed() || !preferences.boolValue("ValidationEnabled"))
        return false;
    const LinkCheckerUrlPtr page = lfDataSource::getnthItem(nextPageToValidate);
    if (!page) {
        hub.validationIsFinished();
        validationFinsihed = true;
        return false;
    }
    ++nextPageToValidate;
    QMetaObject::invokeMethod(
        validationContext.get(), [this, page] { sendValidatorPostRequest(page); }, Qt::QueuedConnection);
    updateValidationProgressText(true);
    return true;
}

void SEOManager::sendValidatorPostRequest(const LinkCheckerUrlPtr& page) {
    const QString base = preferences.stringValue("validationURL");
    const QUrl url(base + "/check", QUrl::StrictMode);
    if (base.isEmpty() || !url.isValid() || (url.scheme() != "http" && url.scheme() != "https") ||
        url.host().isEmpty()) {
        qInfo().noquote() << QString("connection can't be created to %1").arg(page->getLinkUrlForTesting());
        return;
    }
    const QByteArray body = postBody(page->getActualLinkUrl());
    UrlRequest request;
    request.url = url;
    request.method = "POST";
    request.body = body;
    request.setValueForHTTPHeaderField(QByteArray::number(body.size()), "Content-Length");
    request.setValueForHTTPHeaderField("application/x-www-form-urlencoded", "Content-Type");
    request.setValueForHTTPHeaderField(preferences.userAgentString().toUtf8(), "User-Agent");
    // The time-out bounds the whole request: a service that answers late is as good as none.
    request.timeoutInterval = preferences.stringValue("validationtimeout").toDouble();
    request.maximumTime = request.timeoutInterval;
    request.httpShouldHandleCookies = false;
    // Only a page without a verdict in its headers is read, for its title: a service's error
    // page is small, and nothing else is kept.
    request.maximumBodySize = defaultMaximumBodySize;
    page->setSentRequest();
    page->startConnection(request, myNSURLConnection::validatorIdentifier);
    ++validationsInFlight;
}

void SEOManager::updateValidationProgressText(bool on) {
    if (onValidationProgressText)
        onValidationProgressText(on ? QString("%1 pages validated").arg(nextPageToValidate) : QString(""));
}

void SEOManager::incNumberValidated(const LinkCheckerUrlPtr& page) {
    validationsInFlight = std::max(0, validationsInFlight - 1);
    ++numberValidated;
    if (page->getValidatorWarnings() > 0)
        ++numberValidationWarnings;
    if (page->getValidatorErrors() > 0)
        ++numberValidationErrors;
    validationCountsChanged();
}

// After a load. numberValidated is not zeroed first, and every page counts whether validated
// or not: kept as the product has always counted.
void SEOManager::countNumberValidated() {
    numberValidationWarnings = numberValidationErrors = 0;
    for (const LinkCheckerUrlPtr& page : collection) {
        ++numberValidated;
        if (page->getValidatorWarnings() > 0)
            ++numberValidationWarnings;
        if (page->getValidatorErrors() > 0)
            ++numberValidationErrors;
    }
    validationCountsChanged();
}

void SEOManager::validationCountsChanged() {
    if (onValidationCountsChanged)
        onValidationCountsChanged();
}

// Everything again from the first page. The runner is told the crawl is not finished, so it
// keeps polling after this pass and reports each catching-up.
void SEOManager::reValidate() {
    numberValidated = numberValidationWarnings = numberValidationErrors = 0;
    nextPageToValidate = 0;
    for (const LinkCheckerUrlPtr& page : collection) {
        page->setValidatorStatus("");
        page->setValidatorWarnings(-1);
        page->setValidatorErrors(-1);
    }
    validationCountsChanged();
    setCrawlFinished(false);
    if (!validationRunner->isRunning())
        validationRunner->start(validationContext.get(), [this] { return getNextPageToValidate(); });
}

// No count is reset: a page validated again is counted again.
void SEOManager::validateSinglePage(const LinkCheckerUrlPtr& page) {
    if (!page)
        return;
    QMetaObject::invokeMethod(
        validationContext.get(), [this, page] { sendValidatorPostRequest(page); }, Qt::QueuedConnection);
}

QString SEOManager::localValidatorUrl() {
    const QString running = runningLocalValidator();
    return running.isEmpty() ? localValidator : running;
}

QString SEOManager::publicValidatorUrl() {
    return publicValidator;
}

void SEOManager::implementLocalValidator() {
    preferences.setValue("validationURL", localValidatorUrl());
}

void SEOManager::implementW3CValidator() {
    preferences.setValue("validationURL", publicValidator);
}

void SEOManager::setCrawlFinished(bool finished) {
    validationCrawlFinished = finished;
    validationRunner->setCrawlFinished(finished);
}

// ---------------------------------------------------------------- the validator table

kestreliaTableView SEOManager::validatorTableView() {
    kestreliaTableView table({{"actualurl", "URL", 400},
                              {"validatorstatus", "Status", 120},
                              {"validatorerrors", "Errors", 70},
                              {"validatorwarnings", "Warnings", 70}});
    table.setLFIdentifier("validator");
    return table;
}

qsizetype SEOManager::numberOfValidatorRows() const {
    return preferences.boolValue("ValidationEnabled") ? count() : 0;
}

// The colour of the row-th page in stored order, whatever order the table shows.
std::optional<LabelColour> SEOManager::validatorLabelColorForRow(qsizetype row) const {
    const LinkCheckerUrlPtr page = lfDataSource::getnthItem(row);
    return KestLabelColours::rowColourForConstant(page ? page->getValidatorColour() : 0, preferences);
}

QString SEOManager::validatorNotice() const {
    if (!preferences.boolValue("ValidationEnabled"))
        return "HTML validations is disabled via global preferences";
    if (!preferences.boolValue("validateAll"))
        return "First page only will be checked. Other pages can be checked with single-click or more detail "
               "with double-click. Crawling all pages can be switched on in Preferences.";
    return QString();
}

LinkCheckerUrlPtr SEOManager::validatorRowAt(qsizetype row) const {
    return nthVisibleIn(validatorSortArray, row);
}

// The table keeps its own order apart from the SEO table's: the base sort runs on it and hands
// it back.
void SEOManager::validatorTableDidClickColumn(const QString& key, bool ascending) {
    if (key.isEmpty()) {
        validatorSortArray.reset();
        return;
    }
    qInfo() << "sorting validation table";
    sortArray = validatorSortArray;
    sortByColumnAscendingWithOptions(key, ascending, KestDataObject::isNumber(key) ? 1 : 0);
    validatorSortArray = sortArray;
}

QString SEOManager::validationDoubleClickUrl(qsizetype row) const {
    const LinkCheckerUrlPtr page = validatorRowAt(row);
    if (!page)
        return QString();
    return QString("%1/check?uri=%2").arg(preferences.stringValue("validationURL"), page->getActualLinkUrl());
}

void SEOManager::validatorRowClicked(qsizetype row) {
    validateSinglePage(lfDataSource::getnthItem(row));
}

// ---------------------------------------------------------------- reports and exports

QString SEOManager::getValidationReport() const {
    const kestreliaTableView table = validatorTableView();
    const std::vector<LinkCheckerUrlPtr> rows = visibleItems();
    const QString body = TableExport::htmlThroughTable(
        table, numberOfValidatorRows(),
        [&](qsizetype r) { return size_t(r) < rows.size() ? rows[size_t(r)].get() : nullptr; },
        [&](qsizetype r) { return validatorLabelColorForRow(r); });
    return QString(reportHead)
               .arg(numberValidated)
               .arg(numberValidationErrors)
               .arg(numberValidationWarnings) +
           "</p>\n" + body + "\n";
}

QString SEOManager::getBadValidationReport() const {
    const QString head =
        QString(reportHead).arg(numberValidated).arg(numberValidationErrors).arg(numberValidationWarnings);
    if (numberValidationErrors == 0 && numberValidationWarnings == 0)
        return head + "</p><p>&nbsp;</p>\n";
    const std::vector<LinkCheckerUrlPtr> rows = visibleItems();
    const QString body = TableExport::htmlThroughTable(
        validatorTableView(), numberOfValidatorRows(),
        [&](qsizetype r) -> const KestDataObject* {
            if (size_t(r) >= rows.size())
                return nullptr;
            const LinkCheckerUrl& page = *rows[size_t(r)];
            return page.getValidatorErrors() > 0 || page.getValidatorWarnings() > 0 ? &page : nullptr;
        },
        [](qsizetype) { return std::optional<LabelColour>(); });
    return head + "</p>\n" + body + "\n";
}

// The r-th page of the collection in stored order, hidden ones left out.
QString SEOManager::exportValidatorAsCSV() const {
    const kestreliaTableView table = validatorTableView();
    QString out = TableExport::csvHeader(table);
    const qsizetype rows = numberOfValidatorRows();
    for (qsizetype r = 0; r < rows; ++r) {
        const LinkCheckerUrlPtr page = lfDataSource::getnthItem(r);
        if (!page || !page->getVisible())
            continue;
        QStringList fields;
        for (const TableColumn& column : table.tableColumns)
            fields.append(page->getFieldByName(column.identifier).toString());
        TableExport::appendQuotedLine(out, fields);
    }
    return out;
}

// The table as shown: the opening table tag twice and no closing one, and a page whose head is
// never closed. Files made this way have always looked so.
QString SEOManager::exportValidatorAsHTML() const {
    const kestreliaTableView table = validatorTableView();
    QString out = QString(TableExport::styleBlock) + "<table><tr>" + "<table><tr>";
    for (const TableColumn& column : table.tableColumns)
        out += QString("<th class = %1>%2</th>").arg(column.identifier, column.title);
    out += "</tr>";
    const std::vector<LinkCheckerUrlPtr> rows = visibleItems();
    TableExport::appendRows(
        out, table, numberOfValidatorRows(),
        [&](qsizetype r) { return size_t(r) < rows.size() ? rows[size_t(r)].get() : nullptr; },
        [this](qsizetype r) { return validatorLabelColorForRow(r); });
    return TableExport::wrapPageInsideHead(out);
}

QString SEOManager::validationReportCSV() const {
    const std::vector<LinkCheckerUrlPtr> rows = visibleItems();
    const QString text =
        TableExport::csvThroughTable(validatorTableView(), numberOfValidatorRows(), [&](qsizetype r) {
            return size_t(r) < rows.size() ? static_cast<const KestDataObject*>(rows[size_t(r)].get())
                                           : nullptr;
        });
    return text;
}

bool SEOManager::exportValidationReportAsCSVAndSaveTo(const QString& path) const {
    const QString text = validationReportCSV();
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(text.toUtf8()) >= 0 && file.commit())
        return true;
    qInfo().noquote() << QString("Error writing SEO: %1\nSuggest: %2\nReason: %3")
                             .arg(file.errorString(), "Check the folder exists and can be written to", path);
    return false;
}
