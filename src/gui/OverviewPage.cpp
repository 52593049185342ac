#include "gui/OverviewPage.h"

#include "crawl/LinkCheckerHub.h"

#include <QBarCategoryAxis>
#include <QBarSeries>
#include <QBarSet>
#include <QChart>
#include <QChartView>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QHorizontalBarSeries>
#include <QLabel>
#include <QSplitter>
#include <QTableWidget>
#include <QVBoxLayout>
#include <QValueAxis>
#include <algorithm>

namespace {

QTableWidget* makeTable(const QString& name, const QStringList& headers) {
    auto* table = new QTableWidget(0, int(headers.size()));
    table->setObjectName(name);
    table->setHorizontalHeaderLabels(headers);
    table->verticalHeader()->hide();
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    table->horizontalHeader()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    table->setWordWrap(false);
    return table;
}

QTableWidgetItem* numberItem(double value, int decimals = 0) {
    auto* item = new QTableWidgetItem(QString::number(value, 'f', decimals));
    item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    return item;
}

} // namespace

OverviewPage::OverviewPage(LinkCheckerHub& hub_, QWidget* parent) : QWidget(parent), hub(hub_) {
    setObjectName("overviewPage");
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 6, 0, 0);
    summary = new QLabel;
    summary->setObjectName("overviewSummary");
    summary->setTextInteractionFlags(Qt::TextSelectableByMouse);
    summary->setWordWrap(true);
    layout->addWidget(summary);

    // Charts across the top, where their categories have room; the tables below them.
    splitter = new QSplitter(Qt::Vertical);
    splitter->setObjectName("overviewSplitter");
    auto* charts = new QWidget;
    auto* chartsLayout = new QHBoxLayout(charts);
    chartsLayout->setContentsMargins(0, 0, 0, 0);
    codeChart =
        makeChart("Links by status code", codeBars, QColor(0x3b, 0x6e, 0xa8), OverviewSelection::Code);
    // Seven ranges would be cut short under narrow bars: these bars lie, their names beside them.
    timeChart = makeChart("Answers by response time", timeBars, QColor(0x5b, 0x9a, 0x5b),
                          OverviewSelection::ResponseTime, true);
    depthChart = makeChart("Pages by depth from the start", pageDepthBars, QColor(0xc0, 0x7a, 0x2b),
                           OverviewSelection::Depth);
    for (QChartView* chart : {codeChart, timeChart, depthChart})
        chartsLayout->addWidget(chart);
    splitter->addWidget(charts);
    auto* tables = new QSplitter(Qt::Horizontal);
    tables->setObjectName("overviewTables");
    classTable = makeTable("overviewClasses", {"Status", "Links"});
    slowTable = makeTable("overviewSlowest", {"Slowest pages", "Seconds"});
    tables->addWidget(classTable);
    tables->addWidget(slowTable);
    tables->setStretchFactor(0, 1);
    tables->setStretchFactor(1, 2);
    splitter->addWidget(tables);
    splitter->setStretchFactor(0, 3);
    splitter->setStretchFactor(1, 2);
    layout->addWidget(splitter, 1);

    connect(classTable, &QTableWidget::cellClicked, this, [this](int row, int) {
        const QVariant statusClass = classTable->item(row, 0)->data(Qt::UserRole);
        if (selected && statusClass.isValid())
            selected({OverviewSelection::StatusClass, statusClass.toInt()});
    });
}

QChartView* OverviewPage::makeChart(const QString& title, QBarSet*& bars, const QColor& colour,
                                    OverviewSelection::Kind kind, bool lying) {
    auto* chart = new QChart;
    chart->setTitle(title);
    chart->legend()->hide();
    chart->setAnimationOptions(QChart::NoAnimation);
    chart->setMargins(QMargins(4, 4, 4, 4));
    bars = new QBarSet(title);
    bars->setColor(colour);
    bars->setLabelColor(QColor(0x33, 0x33, 0x33));
    QAbstractBarSeries* series = lying ? static_cast<QAbstractBarSeries*>(new QHorizontalBarSeries)
                                       : static_cast<QAbstractBarSeries*>(new QBarSeries);
    series->append(bars);
    series->setLabelsVisible(true);
    series->setLabelsPosition(QAbstractBarSeries::LabelsOutsideEnd);
    chart->addSeries(series);
    auto* categories = new QBarCategoryAxis;
    auto* values = new QValueAxis;
    values->setLabelFormat("%i");
    chart->addAxis(categories, lying ? Qt::AlignLeft : Qt::AlignBottom);
    chart->addAxis(values, lying ? Qt::AlignBottom : Qt::AlignLeft);
    series->attachAxis(categories);
    series->attachAxis(values);
    auto* view = new QChartView(chart);
    view->setObjectName(title);
    view->setRenderHint(QPainter::Antialiasing);
    view->setMinimumSize(220, 180);
    view->setToolTip("Click a bar to see its links in the tables.");
    connect(bars, &QBarSet::clicked, this, [this, kind](int index) {
        if (!selected || index < 0)
            return;
        int value = index;
        if (kind == OverviewSelection::Code)
            value = codes.value(index);
        else if (kind == OverviewSelection::Depth)
            value = depthValues.value(index);
        // Not inside the chart's own mouse handling: what the selection redraws may be the bar.
        QMetaObject::invokeMethod(
            this,
            [this, kind, value] {
                selected({kind, value});
            },
            Qt::QueuedConnection);
    });
    return view;
}

void OverviewPage::fillChart(QChartView* view, QBarSet* bars, const QStringList& categories,
                             const QList<int>& values) {
    QChart* chart = view->chart();
    bars->remove(0, bars->count());
    for (int v : values)
        bars->append(v);
    QBarCategoryAxis* x = nullptr;
    QValueAxis* y = nullptr;
    for (QAbstractAxis* axis : chart->axes()) {
        if (auto* c = qobject_cast<QBarCategoryAxis*>(axis))
            x = c;
        else if (auto* v = qobject_cast<QValueAxis*>(axis))
            y = v;
    }
    x->setCategories(categories);
    const int highest = values.isEmpty() ? 0 : *std::max_element(values.begin(), values.end());
    // Room above the tallest bar for its label; whole numbers on the axis.
    y->setRange(0, std::max(1, highest + std::max(1, highest / 8)));
    y->applyNiceNumbers();
}

void OverviewPage::reload() {
    counts = CrawlOverview::fromHub(hub);
    summary->setText(countsText());

    classTable->setRowCount(0);
    for (int c = 0; c < CrawlOverview::classCount; ++c) {
        if (counts.byClass[c] == 0)
            continue;
        const int row = classTable->rowCount();
        classTable->insertRow(row);
        auto* name = new QTableWidgetItem(CrawlOverview::className(c));
        name->setData(Qt::UserRole, c);
        classTable->setItem(row, 0, name);
        classTable->setItem(row, 1, numberItem(counts.byClass[c]));
    }
    slowTable->setRowCount(int(counts.slowest.size()));
    for (int i = 0; i < counts.slowest.size(); ++i) {
        slowTable->setItem(i, 0, new QTableWidgetItem(counts.slowest[i].url));
        slowTable->setItem(i, 1, numberItem(counts.slowest[i].seconds, 3));
    }

    codes = counts.byCode.keys();
    QStringList codeNames;
    for (int code : codes)
        codeNames.append(code == 0 ? QString("none") : QString::number(code));
    fillChart(codeChart, codeBars, codeNames, counts.byCode.values());

    QStringList bucketNames;
    for (int b = 0; b < CrawlOverview::bucketCount(); ++b)
        bucketNames.append(CrawlOverview::bucketName(b));
    fillChart(timeChart, timeBars, bucketNames, counts.byResponseTime);

    depthValues = counts.pagesByDepth.keys();
    QStringList depthNames;
    for (int depth : depthValues)
        depthNames.append(QString::number(depth));
    fillChart(depthChart, pageDepthBars, depthNames, counts.pagesByDepth.values());
}

QString OverviewPage::countsText() const {
    return QString("<b>%1</b> links: <b>%2</b> good, <b>%3</b> bad &nbsp;·&nbsp; %4 internal, %5 external "
                   "&nbsp;·&nbsp; %6 pages, %7 images, %8 other files")
        .arg(counts.links)
        .arg(counts.good)
        .arg(counts.bad)
        .arg(counts.internal)
        .arg(counts.external)
        .arg(counts.pages)
        .arg(counts.images)
        .arg(counts.otherFiles);
}
