#pragma once

#include "crawl/LinkCheckerHub.h"

#include <QLabel>

// A line above the results that says whose they are when that is not plain: results of
// another site than the selected one, a crawl that is running (its rows show when it ends or
// pauses), or a paused crawl's partial results. Hidden otherwise.
class ResultsNotice : public QLabel {
    Q_OBJECT
  public:
    explicit ResultsNotice(QWidget* parent = nullptr);

    // The site the results were crawled from, and the selected one, by name.
    void update(const QString& resultsSite, const QString& selectedSite, LinkCheckerHub::CrawlState state);
    static QString textFor(const QString& resultsSite, const QString& selectedSite,
                           LinkCheckerHub::CrawlState state);
};
