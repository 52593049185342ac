#include "crawl/RetryPolicy.h"

#include <QLocale>
#include <algorithm>
#include <cmath>

double RetryPolicy::waitBefore(int retry, const QByteArray& retryAfter, const QDateTime& now) {
    const QByteArray value = retryAfter.trimmed();
    if (!value.isEmpty()) {
        bool ok = false;
        const qlonglong seconds = value.toLongLong(&ok);
        if (ok)
            return std::clamp(double(seconds), 0.0, longestWait);
        // An HTTP date: "Sun, 06 Nov 1994 08:49:37 GMT", always in UTC.
        QDateTime when =
            QLocale::c().toDateTime(QString::fromLatin1(value), "ddd, dd MMM yyyy HH:mm:ss 'GMT'");
        when.setTimeSpec(Qt::UTC);
        if (when.isValid())
            return std::clamp(double(now.msecsTo(when)) / 1000.0, 0.0, longestWait);
        // A value that is neither: the usual schedule.
    }
    return std::min(std::pow(2.0, std::max(0, retry - 1)), longestWait);
}
