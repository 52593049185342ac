#pragma once

#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"
#include "support/QtPrinting.h"
#include "support/RecordingUserInterface.h"

#include <gtest/gtest.h>

// A hub filled by hand the way link intake fills it.
struct ViewsFixture {
    KestConfigManager config;
    Preferences preferences;
    RecordingUserInterface ui;
    LinkCheckerHub hub{config, preferences, ui};

    ViewsFixture() {
        config.setDefaults();
        preferences.setValue("LorraneDisplayLabels", false);
    }

    LinkCheckerUrlPtr link(const QString& url, const QString& status, int distance = 1) {
        auto r = std::make_shared<LinkCheckerUrl>(&hub);
        r->setLinkUrlTrimQuery(url, false);
        r->setStatus(status);
        r->setDistanceFromHome(distance);
        r->setIsInBadCollection(!r->shouldBeMemberOfBadCollection());
        hub.add(r);
        return r;
    }
    static void occur(const LinkCheckerUrlPtr& r, const QString& page, const QString& text,
                      bool nofollow = false, const QString& title = "Title") {
        r->addOnPageUrl(page);
        r->addOnPageName(title);
        r->addOnPageLinkText(text);
        r->addNofollow(nofollow);
    }
    // Ends the crawl as the stop command does, so the trees show children and the report is made.
    void stopCrawl() {
        hub.countBadCollection();
        hub.stop();
        hub.getReportDataSource().waitForReport();
    }
};
