#pragma once

#include <QList>
#include <QString>
#include <optional>

// The pace of a running crawl from samples of how many links were done at what time: links per
// second over the recent past, and an estimate of the time left. The total grows while pages
// are read, so the estimate is of what is known now and is given only once the pace is known.
class CrawlPace {
  public:
    // Seconds of samples the pace is taken over.
    static constexpr double window = 10.0;

    void clear() { samples.clear(); }
    // Time in seconds since any fixed moment, links done, links known.
    void sample(double seconds, qint64 done, qint64 total);

    double elapsed() const;
    // Links per second over the window; nothing before a second has passed.
    std::optional<double> linksPerSecond() const;
    // Seconds left at the present pace; nothing when there is no pace or nothing left.
    std::optional<double> secondsLeft() const;

    // "1:05" or "1:02:03".
    static QString clockText(double seconds);

  private:
    struct Sample {
        double seconds;
        qint64 done;
        qint64 total;
    };
    QList<Sample> samples;
    double started = 0;
};
