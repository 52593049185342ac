#pragma once

#include "analysis/SEOManager.h"
#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"
#include "support/QtPrinting.h"
#include "support/RecordingUserInterface.h"

#include <QDate>
#include <QLocale>

// An SEO collection filled the way the crawl's hand-over fills it.
struct SitemapFixture {
    KestConfigManager config;
    Preferences preferences;
    RecordingUserInterface ui;
    LinkCheckerHub hub{config, preferences, ui};
    SEOManager seo{config, preferences, hub};

    SitemapFixture() {
        config.setDefaults();
        seo.setUserInterface(&ui);
    }

    LinkCheckerUrlPtr page(const QString& url, int distance, const QString& title = "T") {
        auto r = std::make_shared<LinkCheckerUrl>(&hub);
        r->setLinkUrlTrimQuery(url, false);
        r->setDistanceFromHome(distance);
        r->setLinkPageTitle(title);
        r->setIsHTML(true);
        r->setIsInternal(true);
        r->setStatus("200 OK");
        seo.pageFromCrawl(r, true);
        return r;
    }
    void rule(const QString& contains, const QString& priority, const QString& update) {
        config.getSitemapRules().append(
            QVariantMap{{"contains", contains}, {"priority", priority}, {"update", update}});
    }
    // The document's fixed opening, dated today.
    static QString opening() {
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
               "<urlset xmlns=\"http://www.sitemaps.org/schemas/sitemap/0.9\">\n"
               "<!-- created with Trellium from https://trellium.app on " +
               QLocale().toString(QDate::currentDate(), QLocale::LongFormat) + "-->\n\n";
    }
};
