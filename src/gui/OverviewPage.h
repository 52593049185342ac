#pragma once

#include "views/CrawlOverview.h"

#include <QWidget>
#include <functional>

class LinkCheckerHub;
class QBarSet;
class QChartView;
class QLabel;
class QSplitter;
class QTableWidget;

// The first tab of the results: the counts of the crawl and three charts. It draws a
// CrawlOverview and decides nothing; a click on a bar or a count row hands the selection on.
class OverviewPage : public QWidget {
    Q_OBJECT
  public:
    explicit OverviewPage(LinkCheckerHub& hub, QWidget* parent = nullptr);

    void reload();
    const CrawlOverview& overview() const { return counts; }

    // The bars of the three charts, in the order of their categories.
    QBarSet* statusCodeBars() const { return codeBars; }
    QBarSet* responseTimeBars() const { return timeBars; }
    QBarSet* depthBars() const { return pageDepthBars; }
    // What each bar of the status code chart stands for.
    const QList<int>& statusCodes() const { return codes; }
    const QList<int>& depths() const { return depthValues; }

    std::function<void(const OverviewSelection&)> selected;

  private:
    QChartView* makeChart(const QString& title, QBarSet*& bars, const QColor& colour,
                          OverviewSelection::Kind kind, bool lying = false);
    void fillChart(QChartView* view, QBarSet* bars, const QStringList& categories, const QList<int>& values);
    QString countsText() const;

    LinkCheckerHub& hub;
    CrawlOverview counts;
    QList<int> codes;
    QList<int> depthValues;

    QLabel* summary = nullptr;
    QTableWidget* classTable = nullptr;
    QTableWidget* slowTable = nullptr;
    QSplitter* splitter = nullptr;
    QChartView* codeChart = nullptr;
    QChartView* timeChart = nullptr;
    QChartView* depthChart = nullptr;
    QBarSet* codeBars = nullptr;
    QBarSet* timeBars = nullptr;
    QBarSet* pageDepthBars = nullptr;
};
