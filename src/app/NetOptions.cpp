#include "app/NetOptions.h"

#include "crawl/CrawlExtras.h"

#include <QCommandLineParser>

void addNetOptions(QCommandLineParser& parser) {
    parser.addOptions({
        {"insecure", "Accept any certificate, on every link (for staging sites with self-signed ones)."},
        {"retry",
         "Ask again up to N times after an answer listed by --retry-on, waiting 1, 2, 4... "
         "seconds or what Retry-After says (at most 60); the last answer counts.",
         "N"},
        {"retry-on", "Statuses that are retried (default 429,5xx), e.g. 429,502..504.", "CODES"},
        {"accept",
         "Statuses that count as good, all others as bad, e.g. 200..299,403 (codes, ranges "
         "and classes such as 2xx).",
         "CODES"},
        {"check-anchors", "A link to an internal page with a #fragment that no id or anchor name of "
                          "that page has is bad (\"fragment not found\")."},
        {"exclude",
         "Do not check URLs that REGEX matches anywhere (repeatable; case matters, (?i) "
         "ignores it).",
         "REGEX"},
        {"include", "Check only URLs that a REGEX matches anywhere; the start always is (repeatable).",
         "REGEX"},
        {"max-redirects",
         "Most redirects followed for one link; one more is \"recurring redirect\" "
         "(default 101).",
         "N"},
        {"check-resources", "Also check what pages load: stylesheets, icons, scripts, iframes, srcset "
                            "images, <source> and video posters; checked, not followed."},
    });
}

namespace {

bool readPatterns(const QCommandLineParser& parser, const char* option, QList<QRegularExpression>& out,
                  QString* error) {
    for (const QString& pattern : parser.values(option)) {
        QRegularExpression re(pattern);
        if (!re.isValid()) {
            *error = QString("--%1 '%2' is no regular expression: %3").arg(option, pattern, re.errorString());
            return false;
        }
        re.optimize();
        out.append(re);
    }
    return true;
}

bool readCount(const QCommandLineParser& parser, const char* option, int& out, QString* error) {
    bool ok = false;
    out = parser.value(option).toInt(&ok);
    if (!ok || out < 0) {
        *error = QString("--%1 takes a whole number of at least 0").arg(option);
        return false;
    }
    return true;
}

bool readCodes(const QCommandLineParser& parser, const char* option, std::optional<StatusCodeSet>& out,
               QString* error) {
    out = StatusCodeSet::parse(parser.value(option));
    if (!out)
        *error = QString("--%1 takes status codes such as 200..299,403 or 429,5xx, not '%2'")
                     .arg(option, parser.value(option));
    return out.has_value();
}

} // namespace

bool readNetOptions(const QCommandLineParser& parser, CrawlExtras& extras, QString* error) {
    extras.insecure = parser.isSet("insecure");
    extras.checkAnchors = parser.isSet("check-anchors");
    extras.checkResources = parser.isSet("check-resources");
    if (parser.isSet("retry") && !readCount(parser, "retry", extras.retry.attempts, error))
        return false;
    if (parser.isSet("retry-on")) {
        if (!parser.isSet("retry")) {
            *error = "--retry-on needs --retry N";
            return false;
        }
        std::optional<StatusCodeSet> codes;
        if (!readCodes(parser, "retry-on", codes, error))
            return false;
        extras.retry.on = *codes;
    }
    if (parser.isSet("accept") && !readCodes(parser, "accept", extras.accept, error))
        return false;
    if (parser.isSet("max-redirects")) {
        int most = 0;
        if (!readCount(parser, "max-redirects", most, error))
            return false;
        extras.maxRedirects = most;
    }
    return readPatterns(parser, "exclude", extras.exclude, error) &&
           readPatterns(parser, "include", extras.include, error);
}
