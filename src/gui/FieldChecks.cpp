#include "gui/FieldChecks.h"

#include "crawl/UrlRules.h"

#include <QFileInfo>
#include <QUrl>

QString startingUrlProblem(const QString& typed) {
    const QString text = typed.trimmed();
    if (text.isEmpty())
        return "Enter the address where the crawl starts, such as https://www.example.com/.";
    if (!text.contains("://") && (text.startsWith('/') || text.startsWith('~')))
        return "A folder or file on this computer is written as a file URL, such as file:///home/me/site/.";
    const QString url = UrlRules::completeStartUrl(text);
    const QString scheme = url.section("://", 0, 0).toLower();
    if (scheme == "file") {
        const QString path = QUrl(url).toLocalFile();
        return QFileInfo::exists(path) ? QString() : QString("There is no file or folder %1.").arg(path);
    }
    if (scheme != "http" && scheme != "https")
        return QString("The scheme \"%1\" can't be crawled: use http:// or https://.").arg(scheme);
    const QUrl parsed = UrlRules::makeUrl(url);
    const QString host = url.section("://", 1).section('/', 0, 0).section('@', -1).section(':', 0, 0);
    if (host.isEmpty())
        return "The address has no host: write it as https://www.example.com/.";
    if (!parsed.isValid() || parsed.host().isEmpty())
        return QString("\"%1\" is no valid host name (letters, digits, hyphens and dots, no spaces).")
            .arg(host);
    return {};
}

QString ruleTermProblem(bool doNotCheck, const QString& term) {
    const QString t = term.trimmed();
    if (t.size() != 1)
        return {};
    // "Do not check" skips terms this short; the follow rules test them as they stand.
    if (doNotCheck)
        return QString("\"Do not check\" skips a term of one character (\"%1\"), so this rule never "
                       "matches. Use two characters or more.")
            .arg(t);
    return QString("A term of one character (\"%1\") is found in almost every address, so this rule "
                   "applies nearly everywhere. Use two characters or more.")
        .arg(t);
}

QString numberProblem(const QString& typed, double minimum, double maximum, bool whole,
                      bool minimumExcluded) {
    const QString range = minimumExcluded ? QString("more than %1 and up to %2").arg(minimum).arg(maximum)
                                          : QString("from %1 to %2").arg(minimum).arg(maximum);
    const QString wanted = QString("Enter a %1 %2.").arg(whole ? "whole number" : "number", range);
    const QString text = typed.trimmed();
    bool ok = false;
    const double value = whole ? double(text.toLongLong(&ok)) : text.toDouble(&ok);
    if (text.isEmpty() || !ok)
        return wanted;
    if (value < minimum || (minimumExcluded && value == minimum) || value > maximum)
        return QString("%1 is out of range. %2").arg(text, wanted);
    return {};
}
