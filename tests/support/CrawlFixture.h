#pragma once

// A crawl with its own settings, preferences and recording interface, run on the test's
// event loop against the local servers.
#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "crawl/LinkCheckerHub.h"
#include "support/RecordingUserInterface.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>
#include <functional>

struct Crawl {
    KestConfigManager config;
    Preferences preferences;
    RecordingUserInterface ui;
    LinkCheckerHub hub{config, preferences, ui};

    explicit Crawl(const QString& start) {
        config.setDefaults();
        config.setValueForKey("url", start);
        config.setValueForKey("timeOut", "5");
    }

    // Adds a record as link intake would, so the scheduler has more than the first page to send.
    LinkCheckerUrlPtr addLink(const QString& url, bool internal = true) {
        auto record = std::make_shared<LinkCheckerUrl>(&hub);
        record->setIsInternal(internal);
        record->setLinkUrlTrimQuery(url, false);
        hub.add(record);
        return record;
    }

    // Runs the event loop until the crawl reports its end, or the deadline passes.
    bool runToEnd(int milliseconds = 10000) {
        if (!ui.results.isEmpty())
            return true;
        QEventLoop loop;
        ui.onResults = [&](int) { loop.quit(); };
        QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
        loop.exec();
        ui.onResults = nullptr;
        return !ui.results.isEmpty();
    }

    // Starts the crawl and runs it to its end.
    bool goToEnd(int milliseconds = 10000) {
        hub.go();
        return runToEnd(milliseconds);
    }

    LinkCheckerUrlPtr first() const { return hub.getnthofAllItems(0); }

    // The record whose URL, as found or as requested, is the one given.
    LinkCheckerUrlPtr find(const QString& url) const {
        for (qsizetype i = 0; i < hub.count(); ++i) {
            const auto record = hub.getnthofAllItems(i);
            if (record->getLinkUrl() == url || record->getActualLinkUrl() == url)
                return record;
        }
        return nullptr;
    }
};

inline bool spinUntil(const std::function<bool()>& done, int milliseconds = 10000) {
    QElapsedTimer timer;
    timer.start();
    while (!done() && timer.elapsed() < milliseconds)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    return done();
}
