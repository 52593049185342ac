// `trellium validate` as a user runs it: against the real Markup Validator, and against services
// that cannot be used.
#include "ChildRun.h"
#include "support/LocalValidator.h"
#include "support/TempHome.h"
#include "support/TestServer.h"
#include "support/ValidationSite.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

// The counts the service gives, the table of pages with issues, the reports, and exit 1 for the
// page with errors; the run waits for the last answer after the crawl.
TEST(ValidateCommand, ValidatesASiteWithTheRealValidator) {
    LocalValidator validator;
    ASSERT_TRUE(validator.isRunning()) << validator.failure();
    TempHome home;
    TestServer site;
    addValidationSite(site);
    QTemporaryDir folder;
    const QString csv = folder.filePath("v.csv"), bad = folder.filePath("bad.html");
    // One request at a time keeps the pages, and so the rows, in the order of the links.
    const ChildRun run =
        trellium({"validate", site.url("/"), "--threads", "1", "--validator", validator.baseUrl() + "/",
                  "--validation-delay", "0.2", "--validation-timeout", "15", "--report",
                  "validation-csv=" + csv, "--report", "validation-bad=" + bad});
    EXPECT_EQ(run.exitCode, 1) << run.out << run.err;
    EXPECT_TRUE(run.out.contains(QRegularExpression("3 +0  Invalid +" + site.url("/errors.html"))))
        << run.out;
    EXPECT_TRUE(run.out.contains(QRegularExpression("0 +2  Valid +" + site.url("/warnings.html"))))
        << run.out;
    EXPECT_TRUE(run.out.contains("3 pages validated, 1 with errors, 1 with warnings (of 3 pages)"))
        << run.out;
    EXPECT_TRUE(run.err.contains("3 pages validated")) << run.err;
    EXPECT_EQ(readText(csv), "\"URL\",\"Status\",\"Errors\",\"Warnings\"\r\"" + site.url("/") +
                                 "\",\"Valid\",\"0\",\"0\"\r\"" + site.url("/errors.html") +
                                 "\",\"Invalid\",\"3\",\"0\"\r\"" + site.url("/warnings.html") +
                                 "\",\"Valid\",\"0\",\"2\"\r");
    EXPECT_TRUE(readText(bad).startsWith(
        "<h1>HTML Validation</h1>\n<p>3 page(s) included, 1 with errors, 1 with warnings</p>\n<table>"));
    EXPECT_FALSE(readText(bad).contains("uri=" + site.url("/") + " >")) << readText(bad);
}

// A service that is refused, answers 500 or is no URL at all: the run still ends, and says so.
TEST(ValidateCommand, ServicesThatCannotBeUsed) {
    TempHome home;
    TestServer site;
    site.addPage("/", "<html><head><title>One</title></head><body></body></html>");
    site.addPage("/broken/check", "<html><head><title>Server Trouble</title></head></html>", "text/html",
                 500);
    const struct {
        QString validator;
        int exitCode;
        const char* said; // on standard output, or on standard error for a refused option
    } cases[] = {
        {site.url("/broken"), 0, "1 pages validated, 0 with errors, 0 with warnings (of 1 pages)"},
        {"http://127.0.0.1:1", 0, "1 pages validated, 0 with errors, 0 with warnings (of 1 pages)"},
        {"not a url", 2, "--validator takes an http or https URL, 'local' or 'w3c', not 'not a url'"},
        {"ftp://127.0.0.1/", 2, "--validator takes an http or https URL"},
    };
    for (const auto& c : cases) {
        const ChildRun run = trellium({"validate", site.url("/"), "--validator", c.validator,
                                       "--validation-delay", "0.05", "--validation-timeout", "2"});
        EXPECT_EQ(run.exitCode, c.exitCode) << c.validator << run.out << run.err;
        EXPECT_TRUE((run.out + run.err).contains(c.said)) << c.validator << run.out << run.err;
    }
    const ChildRun slow = trellium({"validate", site.url("/"), "--validation-delay", "soon"});
    EXPECT_EQ(slow.exitCode, 2);
    EXPECT_TRUE(slow.err.contains("--validation-delay takes a number of seconds")) << slow.err;
}

} // namespace
