#pragma once

#include "views/CrawlPace.h"

#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>

class LinkCheckerHub;
class QChartView;
class QLabel;
class QLineSeries;
class QValueAxis;

// The live part of the progress step: links per second, elapsed time, an estimate of the time
// left, the URL last sent, and a chart of links good, bad and not yet checked over the crawl.
// From the first crawl on it samples the hub twice a second; a sample of an idle hub is cheap.
class ProgressPage : public QWidget {
    Q_OBJECT
  public:
    explicit ProgressPage(LinkCheckerHub& hub, QWidget* parent = nullptr);

    // A new crawl: the clock and the chart start again.
    void crawlStarted();
    // Takes one sample and draws it; the timer calls it.
    void sample();

    const CrawlPace& pace() const { return crawlPace; }
    QLineSeries* badLine() const { return bad; }
    QLineSeries* doneLine() const { return done; }
    QLineSeries* totalLine() const { return total; }

  private:
    void addPoint(QLineSeries* series, double x, double y);
    // The request out longest, and how many more are out.
    QString requestsOut() const;

    LinkCheckerHub& hub;
    CrawlPace crawlPace;
    QElapsedTimer clock;
    QTimer timer;
    QLabel* rate = nullptr;
    QLabel* elapsed = nullptr;
    QLabel* left = nullptr;
    QLabel* current = nullptr;
    QChartView* chart = nullptr;
    QLineSeries* bad = nullptr;
    QLineSeries* done = nullptr;
    QLineSeries* total = nullptr;
    QValueAxis* xAxis = nullptr;
    QValueAxis* yAxis = nullptr;
    qint64 highest = 0;
};
