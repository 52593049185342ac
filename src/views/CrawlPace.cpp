#include "views/CrawlPace.h"

#include <cmath>

void CrawlPace::sample(double seconds, qint64 done, qint64 total) {
    // A count that falls means a new crawl began without a clear: start over.
    if (!samples.isEmpty() && (done < samples.last().done || seconds < samples.last().seconds))
        samples.clear();
    if (samples.isEmpty())
        started = seconds;
    samples.append({seconds, done, total});
    // Keep one sample older than the window, so the pace always spans the whole of it.
    while (samples.size() > 2 && samples.last().seconds - samples[1].seconds >= window)
        samples.removeFirst();
}

double CrawlPace::elapsed() const {
    return samples.isEmpty() ? 0 : samples.last().seconds - started;
}

std::optional<double> CrawlPace::linksPerSecond() const {
    if (samples.size() < 2)
        return std::nullopt;
    const Sample& from = samples.first();
    const Sample& to = samples.last();
    const double span = to.seconds - from.seconds;
    if (span < 1.0)
        return std::nullopt;
    return double(to.done - from.done) / span;
}

std::optional<double> CrawlPace::secondsLeft() const {
    const std::optional<double> pace = linksPerSecond();
    if (!pace || *pace <= 0)
        return std::nullopt;
    const qint64 left = samples.last().total - samples.last().done;
    if (left <= 0)
        return std::nullopt;
    return double(left) / *pace;
}

QString CrawlPace::clockText(double seconds) {
    const qint64 whole = qint64(std::floor(std::max(0.0, seconds)));
    const qint64 h = whole / 3600, m = whole / 60 % 60, s = whole % 60;
    return h > 0 ? QString("%1:%2:%3").arg(h).arg(m, 2, 10, QChar('0')).arg(s, 2, 10, QChar('0'))
                 : QString("%1:%2").arg(m).arg(s, 2, 10, QChar('0'));
}
