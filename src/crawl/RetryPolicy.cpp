#include "crawl/RetryPolicy.h"

#include <algorithm>
#include <cmath>

double RetryPolicy::waitBefore(int retry, const QByteArray& retryAfter, const QDateTime& now) {
    const QByteArray value = retryAfter.trimmed();
    if (!value.isEmpty()) {
        bool ok = false;
        const qlonglong seconds = value.toLongLong(&ok);
        if (ok)
            return std::clamp(double(seconds), 0.0, longestWait);
        const QDateTime when = QDateTime::fromString(QString::fromLatin1(value), Qt::RFC2822Date);
        if (when.isValid())
            return std::clamp(double(now.msecsTo(when)) / 1000.0, 0.0, longestWait);
        // A value that is neither: the usual schedule.
    }
    return std::min(std::pow(2.0, std::max(0, retry - 1)), longestWait);
}
