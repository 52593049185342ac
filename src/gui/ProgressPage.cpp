#include "gui/ProgressPage.h"

#include "crawl/LinkCheckerHub.h"

#include <QAreaSeries>
#include <QChart>
#include <QChartView>
#include <QFormLayout>
#include <QLabel>
#include <QLineSeries>
#include <QVBoxLayout>
#include <QValueAxis>

namespace {

// Past this many points a series keeps every other one, so a long crawl draws as fast as a short one.
constexpr int mostPoints = 600;

QLabel* valueLabel(const QString& name) {
    auto* label = new QLabel("–");
    label->setObjectName(name);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

} // namespace

ProgressPage::ProgressPage(LinkCheckerHub& hub_, QWidget* parent) : QWidget(parent), hub(hub_) {
    setObjectName("progressDetails");
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* form = new QFormLayout;
    rate = valueLabel("progressRate");
    elapsed = valueLabel("progressElapsed");
    left = valueLabel("progressLeft");
    current = valueLabel("progressCurrent");
    current->setWordWrap(true);
    form->addRow("Links per second:", rate);
    form->addRow("Elapsed:", elapsed);
    form->addRow("Time left:", left);
    form->addRow("Checking:", current);
    layout->addLayout(form);

    auto* plot = new QChart;
    plot->setAnimationOptions(QChart::NoAnimation);
    plot->setMargins(QMargins(4, 4, 4, 4));
    bad = new QLineSeries(plot);
    done = new QLineSeries(plot);
    total = new QLineSeries(plot);
    // Stacked bands: bad at the bottom, good above it, the links still to check on top.
    const struct {
        const char* name;
        QLineSeries* upper;
        QLineSeries* lower;
        QColor colour;
    } bands[] = {{"Bad", bad, nullptr, QColor(0xc6, 0x3d, 0x3d)},
                 {"Good", done, bad, QColor(0x4c, 0x9a, 0x5b)},
                 {"Not yet checked", total, done, QColor(0xb8, 0xc4, 0xd6)}};
    xAxis = new QValueAxis;
    xAxis->setTitleText("seconds");
    xAxis->setLabelFormat("%i");
    yAxis = new QValueAxis;
    yAxis->setTitleText("links");
    yAxis->setLabelFormat("%i");
    plot->addAxis(xAxis, Qt::AlignBottom);
    plot->addAxis(yAxis, Qt::AlignLeft);
    for (const auto& band : bands) {
        auto* area = new QAreaSeries(band.upper, band.lower);
        area->setName(band.name);
        area->setColor(band.colour);
        area->setBorderColor(band.colour.darker(120));
        plot->addSeries(area);
        area->attachAxis(xAxis);
        area->attachAxis(yAxis);
    }
    plot->legend()->setAlignment(Qt::AlignBottom);
    chart = new QChartView(plot);
    chart->setObjectName("progressChart");
    chart->setRenderHint(QPainter::Antialiasing);
    chart->setMinimumHeight(220);
    layout->addWidget(chart, 1);

    timer.setInterval(500);
    connect(&timer, &QTimer::timeout, this, [this] { sample(); });
    xAxis->setRange(0, 10);
    yAxis->setRange(0, 10);
}

void ProgressPage::crawlStarted() {
    crawlPace.clear();
    clock.start();
    highest = 0;
    for (QLineSeries* series : {bad, done, total})
        series->clear();
    xAxis->setRange(0, 10);
    yAxis->setRange(0, 10);
    // The clock and the chart run from the start, not from the first tick of the timer.
    crawlPace.sample(0, 0, hub.count());
    for (QLineSeries* series : {bad, done})
        series->append(0, 0);
    total->append(0, double(hub.count()));
    timer.start();
}

void ProgressPage::addPoint(QLineSeries* series, double x, double y) {
    series->append(x, y);
    if (series->count() <= mostPoints)
        return;
    QList<QPointF> points = series->points();
    QList<QPointF> kept;
    for (qsizetype i = 0; i < points.size(); i += 2)
        kept.append(points[i]);
    if (kept.last() != points.last())
        kept.append(points.last());
    series->replace(kept);
}

void ProgressPage::sample() {
    const LinkCheckerHub::CrawlState state = hub.getCrawlState();
    if (state == LinkCheckerHub::CrawlState::Idle)
        return;
    const double seconds = clock.elapsed() / 1000.0;
    const qint64 doneNow = qint64(hub.getNumberDone());
    const qint64 totalNow = hub.count();
    const qint64 badNow = hub.getBadCollectionCount();
    const bool running = state == LinkCheckerHub::CrawlState::Running;
    // A paused or ended crawl adds no time to the pace, only its last counts.
    const QPointF lastDone = done->count() ? done->at(done->count() - 1) : QPointF(-1, -1);
    const QPointF lastTotal = total->count() ? total->at(total->count() - 1) : QPointF(-1, -1);
    if (running || lastDone.y() != double(doneNow) || lastTotal.y() != double(totalNow)) {
        crawlPace.sample(seconds, doneNow, totalNow);
        addPoint(bad, seconds, double(badNow));
        addPoint(done, seconds, double(doneNow));
        addPoint(total, seconds, double(totalNow));
        highest = std::max(highest, totalNow);
        xAxis->setRange(0, std::max(10.0, seconds));
        xAxis->applyNiceNumbers();
        yAxis->setRange(0, double(std::max<qint64>(10, highest + highest / 10)));
        yAxis->applyNiceNumbers();
    }
    const auto perSecond = crawlPace.linksPerSecond();
    rate->setText(perSecond ? QString::number(*perSecond, 'f', 1) : QString("–"));
    elapsed->setText(CrawlPace::clockText(crawlPace.elapsed()));
    const auto secondsLeft = running ? crawlPace.secondsLeft() : std::nullopt;
    // The total grows as pages are read, so the estimate is of the links known so far.
    const QString time = !secondsLeft       ? QString()
                         : *secondsLeft < 1 ? QString("under a second")
                                            : "about " + CrawlPace::clockText(*secondsLeft);
    left->setText(secondsLeft ? QString("%1 for the %2 links known so far").arg(time).arg(totalNow - doneNow)
                              : QString("–"));
    current->setText(running ? requestsOut() : QString("–"));
}

QString ProgressPage::requestsOut() const {
    // Requests go out in the order of the list, so those still out lie just behind the cursor;
    // the one sent first is the one the crawl has waited on longest.
    const int out = hub.getNumberOfThreadsDetached();
    std::shared_ptr<LinkCheckerUrl> oldest;
    int found = 0;
    for (int i = hub.getNextUrlIndex() - 1, walked = 0; i >= 0 && found < out && walked < 5000;
         --i, ++walked) {
        const auto record = hub.getnthofAllItems(i);
        if (record && record->getStatus().isEmpty() && record->getSentRequest()) {
            oldest = record;
            ++found;
        }
    }
    if (!oldest)
        return "–";
    return found > 1 ? QString("%1 and %2 more").arg(oldest->getLinkUrl()).arg(found - 1)
                     : oldest->getLinkUrl();
}
