#include "gui/ExtraColumns.h"

#include "config/Preferences.h"
#include "crawl/LinkCheckerUrl.h"
#include "crawl/StatusCodeSet.h"
#include "views/CrawlOverview.h"

#include <QLocale>
#include <QSet>

namespace ExtraColumns {

const QList<Column>& all() {
    static const QList<Column> columns = {
        {"x-code", "Code", "Code", true},
        {"x-responsetime", "Response Time", "ResponseTime", true},
        {"x-contenttype", "Content Type", "ContentType", false},
        {"x-size", "Size", "Size", true},
        {"x-pagetitle", "Page Title", "PageTitle", false},
        {"x-linkingin", "Pages Linking In", "LinkingIn", true},
    };
    return columns;
}

QString preferenceKey(const QString& view, const Column& column) {
    return QString("Trellium%1ViewCols%2").arg(view, column.key);
}

QList<TableColumn> shown(const Preferences& preferences, const QString& view) {
    QList<TableColumn> columns;
    for (const Column& column : all()) {
        if (preferences.boolValue(preferenceKey(view, column)))
            columns.append({column.identifier, column.title, 110});
    }
    return columns;
}

bool isExtra(const QString& identifier) {
    return identifier.startsWith("x-");
}

QVariant sortValue(const LinkCheckerUrl& record, const QString& identifier) {
    const bool answered = CrawlOverview::hasAnswer(record);
    if (identifier == "x-code")
        return StatusCodeSet::leadingCode(record.getStatus());
    if (identifier == "x-responsetime")
        return answered ? record.getResponseTime() : -1.0;
    if (identifier == "x-size")
        return answered ? record.getFileSizeInBytes() : qint64(-1);
    if (identifier == "x-linkingin") {
        const QStringList& pages = record.getOnPageUrlArray();
        return int(QSet<QString>(pages.begin(), pages.end()).size());
    }
    return text(record, identifier);
}

QString text(const LinkCheckerUrl& record, const QString& identifier) {
    const bool answered = CrawlOverview::hasAnswer(record);
    if (identifier == "x-contenttype") {
        if (!answered)
            return {};
        return record.getIsImage()  ? "image"
               : record.getIsPDF()  ? "PDF"
               : record.getIsHTML() ? "HTML"
                                    : "other";
    }
    if (identifier == "x-pagetitle")
        return record.getLinkPageTitle();
    const QVariant value = sortValue(record, identifier);
    if (identifier == "x-code")
        return value.toInt() ? value.toString() : QString();
    if (identifier == "x-responsetime")
        return answered ? QString::number(value.toDouble(), 'f', 3) : QString();
    if (identifier == "x-size")
        return answered
                   ? QLocale().formattedDataSize(value.toLongLong(), 1, QLocale::DataSizeTraditionalFormat)
                   : QString();
    if (identifier == "x-linkingin")
        return value.toString();
    return {};
}

} // namespace ExtraColumns
