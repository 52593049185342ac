#include "analysis/SEOManager.h"

#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "config/SiteStore.h"
#include "crawl/LinkCheckerHub.h"
#include "platform/UserInterface.h"
#include "views/TableExport.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QLocale>
#include <QProcess>
#include <QStandardPaths>
#include <algorithm>

namespace {

// The product's own web host, named in the comment at the top of every sitemap.
const char* const productWebHost = "https://trellium.app";
// The Sitemaps protocol's limit of URLs in one document; beyond it we still write one document.
constexpr qsizetype sitemapsProtocolLimit = 50000;

QString priorityByDistance(int distance) {
    switch (distance) {
    case 0:
        return QStringLiteral("1.0");
    case 1:
        return QStringLiteral("0.5");
    case 2:
        return QStringLiteral("0.3");
    default:
        return QStringLiteral("0.2");
    }
}

// The date of a Last-Modified header. The usual form, "Sun, 06 Nov 1994 08:49:37 GMT", is read
// here directly: the general reading goes through the time zone files for every page, which
// costs seconds on a large site. Anything else takes the general reading.
QDate lastModifiedDate(const LinkCheckerUrl& page) {
    static const QStringList months = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const QStringList parts = page.getTargetLastModified()->split(' ', Qt::SkipEmptyParts);
    if (parts.size() == 6 && parts[0].endsWith(',') && parts[5] == "GMT") {
        const QDate date(parts[3].toInt(), int(months.indexOf(parts[2])) + 1, parts[1].toInt());
        if (date.isValid())
            return date;
    }
    return QDate::fromString(page.getLastmodified(), Qt::ISODate);
}

void appendSitemapAnchor(QString& out, const LinkCheckerUrl& page) {
    out += "<a href = \"";
    out += page.getActualLinkUrl();
    out += "\">";
    out += page.getLinkPageTitle();
    out += "</a><br />\r";
}

} // namespace

const QStringList& SEOManager::sitemapChangeFrequencyTitles() {
    static const QStringList titles = {"None",   "always",  "hourly", "daily",
                                       "weekly", "monthly", "yearly", "never"};
    return titles;
}

const QStringList& SEOManager::sitemapPriorityTitles() {
    static const QStringList titles = {"By level", "None"};
    return titles;
}

int SEOManager::sitemapChangeFrequencyTag() const {
    const int tag = preferences.intValue("sitemapChangeFrequency");
    return tag >= 0 && tag < sitemapChangeFrequencyTitles().size() ? tag : 0;
}

QString SEOManager::sitemapChangeFrequencyTitle() const {
    return sitemapChangeFrequencyTitles().at(sitemapChangeFrequencyTag());
}

QString SEOManager::sitemapPriorityTitle() const {
    const int index = preferences.intValue("sitemapPriority");
    return sitemapPriorityTitles().value(index, sitemapPriorityTitles().first());
}

const std::vector<LinkCheckerUrlPtr>& SEOManager::getSitemapCollection() {
    if (sitemapCollection)
        return *sitemapCollection;
    std::vector<LinkCheckerUrlPtr> pages;
    for (const LinkCheckerUrlPtr& page : collection)
        if (page->canonicalMatchesUrl() && !page->getHeadContainsNoIndex())
            pages.push_back(page);
    // Sorted once per rebuild: the list is forgotten whenever the order asked for changes.
    if (!sitemapSortKey.isEmpty()) {
        const bool numeric = KestDataObject::isNumber(sitemapSortKey);
        std::stable_sort(
            pages.begin(), pages.end(), [&](const LinkCheckerUrlPtr& a, const LinkCheckerUrlPtr& b) {
                int order;
                if (numeric) {
                    const double x = a->getFieldAsNumberByName(sitemapSortKey);
                    const double y = b->getFieldAsNumberByName(sitemapSortKey);
                    order = x < y ? -1 : x > y ? 1 : 0;
                } else {
                    order = QString::compare(sitemapFieldByName(*a, sitemapSortKey),
                                             sitemapFieldByName(*b, sitemapSortKey), Qt::CaseInsensitive);
                }
                return sitemapSortAscending ? order < 0 : order > 0;
            });
    }
    sitemapCollection = std::move(pages);
    return *sitemapCollection;
}

void SEOManager::sitemapTableDidClickColumn(const QString& key, bool ascending) {
    sitemapSortKey = key;
    sitemapSortAscending = ascending;
    clearSitemapCollection();
}

QString SEOManager::sitemapPriorityFor(const LinkCheckerUrl& page) const {
    if (const auto rule = configManager.ruleThatApplies(page.getActualLinkUrl()))
        return rule->value("priority").toString();
    return priorityByDistance(page.getDistanceFromHome());
}

QString SEOManager::sitemapChangeFrequencyFor(const LinkCheckerUrl& page) const {
    if (const auto rule = configManager.ruleThatApplies(page.getActualLinkUrl()))
        return rule->value("update").toString();
    return page.getChangeFrequency();
}

QString SEOManager::sitemapFieldByName(const LinkCheckerUrl& page, const QString& key) const {
    if (key == "priority")
        return sitemapPriorityFor(page);
    return page.getFieldByName(key).toString();
}

kestreliaTableView SEOManager::sitemapTableView() const {
    QList<TableColumn> columns = {{"actualurl", "URL", 300},
                                  {"priority", "Priority", 60},
                                  {"changefrequency", "Change frequency", 100}};
    if (preferences.boolValue("includelastmodinsitemap"))
        columns.append({"lastmodified", "Last modified", 100});
    kestreliaTableView table(columns);
    table.setLFIdentifier("sitemap");
    return table;
}

void SEOManager::setChangeFrequencyFromRules(LinkCheckerUrl& page) const {
    const auto rule = configManager.ruleThatApplies(page.getActualLinkUrl());
    page.setChangeFrequency(rule ? rule->value("update").toString() : sitemapChangeFrequencyTitle());
}

void SEOManager::updateChangeFrequencies() {
    for (const LinkCheckerUrlPtr& page : collection)
        setChangeFrequencyFromRules(*page);
    clearSitemapCollection();
    if (sitemapUi)
        sitemapUi->reloadView("sitemap");
}

void SEOManager::setSitemapChangeFrequencyForRow(qsizetype row, const QString& value) {
    // The row counts in `collection`, not in the sitemap list, as the table has always done.
    if (const LinkCheckerUrlPtr page = getnthItem(row))
        page->setChangeFrequency(value);
}

QString SEOManager::weekYearDate(const QDate& date) {
    int weekYear = date.year();
    date.weekNumber(&weekYear);
    return QString("%1-%2-%3")
        .arg(weekYear, 4, 10, QChar('0'))
        .arg(date.month(), 2, 10, QChar('0'))
        .arg(date.day(), 2, 10, QChar('0'));
}

QString SEOManager::getXMLSitemap() {
    const std::vector<LinkCheckerUrlPtr>& pages = getSitemapCollection();
    const bool writeChangeFrequency = sitemapChangeFrequencyTag() != 0;
    const bool writePriority = sitemapPriorityTitle() != "None";
    QHash<QString, QString> lastmods;
    QString text;
    text.reserve(qsizetype(pages.size()) * 160 + 300);
    text += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    text += "<urlset xmlns=\"http://www.sitemaps.org/schemas/sitemap/0.9\">\n";
    text += QString("<!-- created with Trellium from %1 on %2-->\n\n")
                .arg(productWebHost, QLocale().toString(QDate::currentDate(), QLocale::LongFormat));
    for (const LinkCheckerUrlPtr& page : pages) {
        text += "\t<url>\n\t\t<loc>";
        text += page->getActualLinkUrl();
        text += "</loc>\n";
        if (const auto& header = page->getTargetLastModified()) {
            // Pages published together share their date: each text is read once.
            auto known = lastmods.constFind(*header);
            if (known == lastmods.constEnd()) {
                const QDate date = lastModifiedDate(*page);
                known = lastmods.insert(*header, date.isValid() ? weekYearDate(date) : QString());
            }
            // A date that can't be read would make the document invalid: it is left out.
            if (!known->isEmpty())
                text += "\t\t<lastmod>" + *known + "</lastmod>\n";
            else
                qInfo("unreadable Last-Modified date %s of %s", qPrintable(*header),
                      qPrintable(page->getActualLinkUrl()));
        }
        const auto rule = configManager.ruleThatApplies(page->getActualLinkUrl());
        if (writeChangeFrequency) {
            text += "\t\t<changefreq>";
            text += rule ? rule->value("update").toString() : page->getChangeFrequency();
            text += "</changefreq>\n";
        }
        if (writePriority) {
            text += "\t\t<priority>";
            text +=
                rule ? rule->value("priority").toString() : priorityByDistance(page->getDistanceFromHome());
            text += "</priority>\n";
        }
        text += "\t</url>\n";
    }
    text += "</urlset>";
    if (qsizetype(pages.size()) > sitemapsProtocolLimit) {
        const QString warning =
            QString("The sitemap holds %1 URLs, more than the %2 the Sitemaps protocol allows in one file.")
                .arg(pages.size())
                .arg(sitemapsProtocolLimit);
        if (sitemapUi)
            sitemapUi->alert("Large sitemap", warning);
        else
            qWarning("%s", qPrintable(warning));
    }
    // Nothing else is escaped: an ampersand already written as an entity is escaped once more.
    text.replace('&', QLatin1String("&amp;"));
    return text;
}

bool SEOManager::writeSitemapText(const QString& path, const QString& text, QString* error) {
    QString why;
    if (TableExport::writeTextAtomically(path, text, &why))
        return true;
    qInfo("Error writing xml: %s\nSuggest: %s\nReason: %s", qPrintable(why), "choose another location",
          qPrintable(why));
    if (error)
        *error = why;
    return false;
}

bool SEOManager::exportXMLSitemapAndSaveTo(const QString& path, QString* error) {
    return writeSitemapText(path, getXMLSitemap(), error);
}

bool SEOManager::exportXMLSitemapAndFTP(const QString& path) {
    const QString text = getXMLSitemap();
    // The folder's own path, which is no file: this write fails and costs a log line only. What
    // goes to the server is the file at `path`, written beforehand by the caller.
    sitemapLocation = SiteStore::storePath() + "/temp";
    writeSitemapText(sitemapLocation, text, nullptr);
    sitemapLocation = path;
    return transferFiles();
}

void SEOManager::exportXML() {
    const QString text = getXMLSitemap();
    sitemapLocation.clear();
    const int row = preferences.contains("sitemapOptions") ? preferences.intValue("sitemapOptions") : 0;
    if (row < 2) {
        QString suggested = configManager.getSitemapSaveFilename();
        if (!configManager.getSitemapSaveDirectory().isEmpty())
            suggested = QDir(configManager.getSitemapSaveDirectory()).filePath(suggested);
        if (sitemapUi)
            sitemapLocation = sitemapUi->chooseSaveFile("Save the XML sitemap", suggested);
    } else {
        const QString temp = SiteStore::storePath() + "/temp";
        QDir().mkpath(temp);
        sitemapLocation = temp + "/sitemap.xml";
    }
    if (sitemapLocation.isEmpty())
        return;
    // A failed write is logged and the flow goes on to the upload, as it always has.
    writeSitemapText(sitemapLocation, text, nullptr);
    const QFileInfo saved(sitemapLocation);
    configManager.setValueForKey("sitemapsavedirectory", saved.path());
    configManager.setValueForKey("sitemapsavefilename", saved.fileName());
    configManager.setDocumentEdited(true);
    if (row > 0 && beginFTPDialog && beginFTPDialog()) {
        configManager.saveFtpDetails();
        transferFiles();
    }
}

QString SEOManager::normalisedFtpServer(const QString& server) {
    if (server.size() < 6 || !server.contains("://"))
        return "ftp://" + server;
    if (server.contains("http://"))
        return "ftp://" + server.mid(7);
    return server;
}

bool SEOManager::transferFiles() {
    QString server = configManager.stringForKey("ftpserver");
    if (server.isEmpty())
        return false;
    server = normalisedFtpServer(server);
    configManager.setValueForKey("ftpserver", server);
    const QFileInfo file(sitemapLocation);
    const QString target =
        QString("%1/%2/%3").arg(server, configManager.stringForKey("ftpdirectory"), file.fileName());
    qInfo("server + dir + filename =  %s", qPrintable(target));
    const QString credentials = QString("%1:%2").arg(configManager.stringForKey("ftpusername"),
                                                     configManager.stringForKey("ftppassword"));

    QProcess curl;
    curl.setWorkingDirectory(file.path());
    qInfo("current directory set to %s", qPrintable(file.path()));
    qInfo("curl -T %s %s -u %s", qPrintable(file.fileName()), qPrintable(target), qPrintable(credentials));
    const QString program = QStandardPaths::findExecutable("curl");
    int exitCode = -1;
    if (program.isEmpty()) {
        qInfo("ftp error: curl was not found on PATH");
    } else {
        // The same arguments as the terminal command above; -s keeps curl's progress meter out of
        // our output, -S keeps its error text in.
        curl.start(program, {"-s", "-S", "-T", file.fileName(), target, "-u", credentials});
        curl.waitForFinished(-1);
        exitCode = curl.exitStatus() == QProcess::NormalExit && curl.error() != QProcess::FailedToStart
                       ? curl.exitCode()
                       : -1;
    }
    if (exitCode == 0) {
        qInfo("ftp of %s completed successfully\n", qPrintable(sitemapLocation));
        return true;
    }
    qInfo("ftp error:%s exit code: %i\n", curl.readAllStandardError().trimmed().constData(), exitCode);
    if (sitemapUi)
        sitemapUi->alert("ftp unsuccessful", QString::asprintf("ftp error: exit code: %i\n", exitCode));
    return false;
}

QString SEOManager::sitemapAsCSV() {
    const kestreliaTableView table = sitemapTableView();
    QString out = TableExport::csvHeader(table);
    // Rows counted in the sitemap list and taken from `collection`, as this export always has.
    const qsizetype rows = getSitemapCollectionCount();
    QStringList fields;
    for (qsizetype r = 0; r < rows && r < count(); ++r) {
        const LinkCheckerUrl& page = *collection[size_t(r)];
        if (!page.getVisible())
            continue;
        fields.clear();
        for (const TableColumn& column : table.tableColumns)
            fields.append(sitemapFieldByName(page, column.identifier));
        TableExport::appendQuotedLine(out, fields);
    }
    return out;
}

QString SEOManager::sitemapAsHTML() {
    const std::vector<LinkCheckerUrlPtr>& pages = getSitemapCollection();
    const qsizetype rows = qsizetype(pages.size());
    int maximum = 0;
    for (const LinkCheckerUrlPtr& page : pages)
        maximum = std::max(maximum, page->getDistanceFromHome());
    QString body;
    qsizetype written = 0;
    // Level by level; within one level the list's own order.
    for (int distance = 0; written < rows && distance <= maximum; ++distance) {
        for (const LinkCheckerUrlPtr& page : pages) {
            if (page->getDistanceFromHome() != distance)
                continue;
            appendSitemapAnchor(body, *page);
            ++written;
        }
    }
    return TableExport::wrapPageInsideHead(body);
}

QString SEOManager::sitemapAsHeirarcicalHTML() {
    std::vector<LinkCheckerUrlPtr> pages = getSitemapCollection();
    std::stable_sort(pages.begin(), pages.end(), [](const LinkCheckerUrlPtr& a, const LinkCheckerUrlPtr& b) {
        return QString::compare(a->getActualLinkUrl(), b->getActualLinkUrl(), Qt::CaseInsensitive) < 0;
    });
    QString body;
    for (const LinkCheckerUrlPtr& page : pages) {
        const int depth = page->getDirectoryDepth();
        body += QString("&nbsp;&nbsp;&nbsp;&nbsp;").repeated(depth);
        if (depth > 0)
            body += "&bull;&nbsp;";
        appendSitemapAnchor(body, *page);
    }
    return TableExport::wrapPageInsideHead(body);
}

void SEOManager::saveSitemapExport(const QString& text, const QString& type) {
    if (!sitemapUi)
        return;
    const QString path =
        sitemapUi->chooseSaveFile("Export the sitemap as " + type.toUpper(), "sitemap." + type);
    if (path.isEmpty())
        return;
    if (!TableExport::writeTextAtomically(path, text))
        qInfo("Unsuccessful exporting data to %s\n", qPrintable(path));
}

void SEOManager::exportSitemapAsCSV() {
    saveSitemapExport(sitemapAsCSV(), "csv");
}

void SEOManager::exportSitemapAsHTML() {
    saveSitemapExport(sitemapAsHTML(), "html");
}

void SEOManager::exportSitemapAsHeirarcicalHTML() {
    saveSitemapExport(sitemapAsHeirarcicalHTML(), "html");
}

void SEOManager::exportSitemapAsHTMLMenuItem() {
    if (!hub.isCrawlFinished())
        return;
    if (preferences.intValue("htmlExportOptions") == 1)
        exportSitemapAsHeirarcicalHTML();
    else
        exportSitemapAsHTML();
}
