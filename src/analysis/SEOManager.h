#pragma once

#include "crawl/LinkCheckerUrl.h"
#include "views/lfDataSource.h"

#include <QDate>
#include <QSet>
#include <QStringList>
#include <functional>
#include <optional>

class KestConfigManager;
class LinkCheckerHub;
class Preferences;
class UserInterface;

// The site's own HTML pages, as one list of the hub's records, from which the SEO, sitemap,
// validator and spelling tables are fed. Pages arrive through the hub's hand-over during the
// crawl; a new crawl clears the list. Each job keeps its part of this class in a file of its own
// (SEOManager*.cpp).
class SEOManager : public lfDataSource<LinkCheckerUrl> {
  public:
    SEOManager(KestConfigManager& configManager, Preferences& preferences, LinkCheckerHub& hub);
    ~SEOManager() override;
    SEOManager(const SEOManager&) = delete;
    SEOManager& operator=(const SEOManager&) = delete;

    // ---- the collection
    void add(const LinkCheckerUrlPtr& page) override;
    void clear() override;
    bool isInSEOManagersCollection(const LinkCheckerUrl& page) const { return members.contains(&page); }
    qsizetype getSEOCollectionCount() const { return count(); }
    const std::vector<LinkCheckerUrlPtr>& getCollection() const { return collection; }
    // What the hub hands over for each parsed page of the site (see LinkCheckerHub::onSitePage).
    void pageFromCrawl(const LinkCheckerUrlPtr& page, bool isNew);
    void setStopPressed(bool pressed) { stopPressedFlag = pressed; }
    bool stopPressed() const { return stopPressedFlag; }

    // ---- SEO table, counters and keyword search (SEOManagerSEO.cpp)

    // ---- duplicates (SEOManagerDuplicates.cpp)

    // ---- sitemap (SEOManagerSitemap.cpp)
    // The site-wide change-frequency choice (preference `sitemapChangeFrequency`, its tag):
    // tag 0 writes no element, the other titles are the values themselves.
    static const QStringList& sitemapChangeFrequencyTitles();
    // The site-wide priority choice (preference `sitemapPriority`, its index): the title "None"
    // writes no element; otherwise a page's priority follows its distance from home.
    static const QStringList& sitemapPriorityTitles();
    int sitemapChangeFrequencyTag() const;
    QString sitemapChangeFrequencyTitle() const;
    QString sitemapPriorityTitle() const;
    // The pages that go into the sitemap, in the sitemap table's order; built when asked.
    const std::vector<LinkCheckerUrlPtr>& getSitemapCollection();
    qsizetype getSitemapCollectionCount() { return qsizetype(getSitemapCollection().size()); }
    void clearSitemapCollection() { sitemapCollection.reset(); }
    // A column click of the sitemap table: the list is rebuilt in that order.
    void sitemapTableDidClickColumn(const QString& key, bool ascending);
    // The page's values as the sitemap writes them (the rule's where one applies).
    QString sitemapPriorityFor(const LinkCheckerUrl& page) const;
    QString sitemapChangeFrequencyFor(const LinkCheckerUrl& page) const;
    // A sitemap table cell: getFieldByName, with `priority` as the sitemap gives it.
    QString sitemapFieldByName(const LinkCheckerUrl& page, const QString& key) const;
    // The sitemap table's columns; "Last modified" only while `includelastmodinsitemap` is on.
    kestreliaTableView sitemapTableView() const;
    // The page's own change frequency: its rule's `update`, else the site-wide title.
    void setChangeFrequencyFromRules(LinkCheckerUrl& page) const;
    void updateChangeFrequencies();
    // An edit of the change-frequency cell: stored in the row-th of `collection`.
    void setSitemapChangeFrequencyForRow(qsizetype row, const QString& value);
    QString getXMLSitemap();
    bool exportXMLSitemapAndSaveTo(const QString& path, QString* error = nullptr);
    bool exportXMLSitemapAndFTP(const QString& path);
    // Interactive save and upload, as `sitemapOptions` says.
    void exportXML();
    // Uploads `sitemapLocation` with the site's FTP settings through curl; false on failure,
    // which is logged and shown as the "ftp unsuccessful" alert.
    bool transferFiles();
    static QString normalisedFtpServer(const QString& server);
    // "YYYY-MM-dd" with the week-numbering (ISO 8601) year, as the sitemap writes dates.
    static QString weekYearDate(const QDate& date);
    QString getSitemapLocation() const { return sitemapLocation; }
    void setSitemapLocation(const QString& path) { sitemapLocation = path; }
    void setUserInterface(UserInterface* ui) { sitemapUi = ui; }
    // The window's FTP sheet: answers true on OK, with the FTP fields of the site set.
    std::function<bool()> beginFTPDialog;
    // Exports of the sitemap table.
    QString sitemapAsCSV();
    QString sitemapAsHTML();
    QString sitemapAsHeirarcicalHTML();
    void exportSitemapAsCSV();
    void exportSitemapAsHTML();
    void exportSitemapAsHeirarcicalHTML();
    // Only on a finished crawl: the tree when `htmlExportOptions` is 1, else the plain page.
    void exportSitemapAsHTMLMenuItem();

    // ---- validation (SEOManagerValidation.cpp)

    // ---- spelling and grammar (SEOManagerSpelling.cpp)

  protected:
    KestConfigManager& configManager;
    Preferences& preferences;
    LinkCheckerHub& hub;

  private:
    // Membership by address: the collection's own order stays the list's.
    QSet<const LinkCheckerUrl*> members;
    bool stopPressedFlag = false;

    // ---- SEO state

    // ---- duplicates state

    // ---- sitemap state
    std::optional<std::vector<LinkCheckerUrlPtr>> sitemapCollection;
    QString sitemapSortKey;
    bool sitemapSortAscending = true;
    QString sitemapLocation;
    UserInterface* sitemapUi = nullptr;
    bool writeSitemapText(const QString& path, const QString& text, QString* error);
    void saveSitemapExport(const QString& text, const QString& type);

    // ---- validation state

    // ---- spelling state
};
