#include "crawl/StatusCodeSet.h"

#include <QStringList>

namespace {

// A code of exactly three digits, 100 to 999.
std::optional<int> codeOf(const QString& text) {
    if (text.size() != 3)
        return std::nullopt;
    bool ok = false;
    const int code = text.toInt(&ok);
    if (!ok || code < 100 || !text[0].isDigit())
        return std::nullopt;
    return code;
}

} // namespace

std::optional<StatusCodeSet> StatusCodeSet::parse(const QString& text) {
    StatusCodeSet set;
    const QStringList items = text.split(',');
    for (const QString& raw : items) {
        const QString item = raw.trimmed().toLower();
        int first = 0, last = 0;
        if (item.size() == 3 && item.endsWith(u"xx") && item[0] >= '1' && item[0] <= '9') {
            first = item[0].digitValue() * 100;
            last = first + 99;
        } else if (const qsizetype dots = item.indexOf(u".."); dots >= 0) {
            const auto from = codeOf(item.left(dots)), to = codeOf(item.mid(dots + 2));
            if (!from || !to || *from > *to)
                return std::nullopt;
            first = *from;
            last = *to;
        } else if (const auto code = codeOf(item)) {
            first = last = *code;
        } else {
            return std::nullopt;
        }
        for (int code = first; code <= last; ++code)
            set.codes.set(size_t(code));
    }
    return set;
}

int StatusCodeSet::leadingCode(const QString& status) {
    if (status.size() < 3 || (status.size() > 3 && status[3] != u' '))
        return 0;
    return codeOf(status.left(3)).value_or(0);
}
