// HTML validation against the real Markup Validator and against local servers that misbehave as a
// service can: pacing, header reading, counting, the finish after the crawl, the section reports.
#include "analysis/SEOManager.h"
#include "analysis/ValidationRunner.h"
#include "support/CrawlFixture.h"
#include "support/LocalValidator.h"
#include "support/TestServer.h"
#include "support/ValidationSite.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <memory>

namespace {

// A crawl with the SEO collection and validation switched on, pointed at a validator.
struct ValidatingCrawl : Crawl {
    SEOManager seo{config, preferences, hub};
    int finishes = 0;
    bool crawlWasOverAtFinish = false;

    ValidatingCrawl(const QString& start, const QString& validator, const QString& delay = "0.05")
        : Crawl(start) {
        preferences.setValue("validationURL", validator);
        preferences.setValue("validationdelay", delay);
        preferences.setValue("validationtimeout", "5");
        seo.onValidationFinished = [this] {
            ++finishes;
            crawlWasOverAtFinish = !ui.results.isEmpty();
        };
    }
    // Pages handed to the collection directly, with no crawl: the runner ends once it has
    // caught up, as after a crawl.
    LinkCheckerUrlPtr addPage(const QString& url) {
        auto page = addLink(url);
        seo.add(page);
        return page;
    }
    void validateAlone() {
        preferences.setValue("ValidationEnabled", true);
        seo.setCrawlFinished(true);
        seo.kickOffValidation();
    }
    bool settled(int milliseconds = 10000) {
        return spinUntil(
            [&] { return !seo.isValidationRunnerRunning() && seo.getValidationsInFlight() == 0; },
            milliseconds);
    }
};

// ---------------------------------------------------------------- the real validator

class RealValidator : public testing::Test {
  protected:
    static void SetUpTestSuite() { validator = std::make_unique<LocalValidator>(); }
    static void TearDownTestSuite() { validator.reset(); }
    void SetUp() override {
        if (!validator->isRunning())
            GTEST_FAIL() << "the local validator did not start: " << qPrintable(validator->failure());
    }
    static std::unique_ptr<LocalValidator> validator;
};
std::unique_ptr<LocalValidator> RealValidator::validator;

// One valid page, one with errors, one whose missing charset earns warnings: the service's own
// counts arrive while the crawl goes on, and the finish comes once, after the crawl's.
TEST_F(RealValidator, CountsOfAFixtureSiteAndTheFinishAfterTheCrawl) {
    TestServer site;
    addValidationSite(site);
    ValidatingCrawl crawl(site.url("/"), validator->baseUrl(), "0.2");
    // The validator is a Perl CGI started afresh for each page: seconds each on a busy machine.
    crawl.preferences.setValue("validationtimeout", "30");
    crawl.hub.setActionWhenFinished(18);
    crawl.hub.go();
    ASSERT_TRUE(crawl.runToEnd());
    ASSERT_TRUE(spinUntil([&] { return crawl.finishes > 0; }, 30000));
    ASSERT_TRUE(crawl.settled(15000));

    const struct {
        const char* path;
        const char* status;
        int errors, warnings;
    } expected[] = {
        {"/", "Valid", 0, 0}, {"/errors.html", "Invalid", 3, 0}, {"/warnings.html", "Valid", 0, 2}};
    for (const auto& e : expected) {
        const auto page = crawl.find(site.url(e.path));
        ASSERT_TRUE(page) << e.path;
        EXPECT_EQ(page->getValidatorStatus(), e.status) << e.path;
        EXPECT_EQ(page->getValidatorErrors(), e.errors) << e.path;
        EXPECT_EQ(page->getValidatorWarnings(), e.warnings) << e.path;
        // The validator's answer never touches the link's own status.
        EXPECT_EQ(page->getStatus(), "200 no error") << e.path;
    }
    EXPECT_EQ(crawl.seo.getNumberValidated(), 3);
    EXPECT_EQ(crawl.seo.getNumberValidationErrors(), 1);
    EXPECT_EQ(crawl.seo.getNumberValidationWarnings(), 1);
    EXPECT_EQ(crawl.finishes, 1);
    EXPECT_TRUE(crawl.crawlWasOverAtFinish);
    EXPECT_TRUE(crawl.seo.getValidationFinsihed());
    EXPECT_FALSE(crawl.seo.isValidationRunnerRunning());
}

// ---------------------------------------------------------------- services that misbehave

// Each service is a local server answering the validator's POST in its own way; the page gets
// the verdict named, and the count says whether it was counted.
TEST(Validation, ServicesThatMisbehaveEndInTheDefinedStatus) {
    TestServer service;
    service.addPage("/plain/check", "<html><head><title>Not a validator</title></head></html>");
    service.addPage("/broken/check", "<html><head><title>Internal Server Error</title></head></html>",
                    "text/html", 500);
    service.addPage("/lower/check", "", "text/html", 200,
                    {{"X-W3c-Validator-Status", "Invalid"},
                     {"X-W3c-Validator-Errors", "4"},
                     {"X-W3c-Validator-Warnings", "1"}});
    service.addPage("/partial/check", "", "text/html", 200, {{"X-W3C-Validator-Status", "Abort"}});
    service.addPage("/slow/check", "late");
    service.setResponseDelay("/slow/check", 4000);
    service.addRedirect("/loop/check", "/loop/check", 302);
    const struct {
        QString validator;
        const char* status;
        int errors, warnings, counted;
    } cases[] = {
        {service.url("/plain"), "Not a validator", -1, -1, 1},
        {service.url("/broken"), "Internal Server Error", -1, -1, 1},
        {service.url("/lower"), "Invalid", 4, 1, 1},
        {service.url("/partial"), "Abort", 0, 0, 1},
        {service.url("/slow"), "The request timed out.", -1, -1, 1},
        {service.url("/loop"), "recurring redirect", -1, -1, 1},
        {service.url("/nothing"), "Not Found", -1, -1, 1},
        {"not a url", "", -1, -1, 0},
        {"127.0.0.1/w3c-validator", "", -1, -1, 0},
    };
    for (const auto& c : cases) {
        ValidatingCrawl crawl(service.url("/page.html"), c.validator);
        crawl.preferences.setValue("validationtimeout", "1");
        auto page = crawl.addPage(service.url("/page.html"));
        page->setStatus("200 no error");
        crawl.validateAlone();
        ASSERT_TRUE(crawl.settled()) << qPrintable(c.validator);
        EXPECT_EQ(page->getValidatorStatus(), c.status) << qPrintable(c.validator);
        EXPECT_EQ(page->getValidatorErrors(), c.errors) << qPrintable(c.validator);
        EXPECT_EQ(page->getValidatorWarnings(), c.warnings) << qPrintable(c.validator);
        EXPECT_EQ(crawl.seo.getNumberValidated(), c.counted) << qPrintable(c.validator);
        EXPECT_EQ(page->getStatus(), "200 no error") << qPrintable(c.validator);
        EXPECT_EQ(crawl.hub.getNumberDone(), 0u) << qPrintable(c.validator);
    }
}

// The POST: the address unescaped and squeezed into ASCII, the form's type, the agent. A click
// validates one page again and counts it again; starting over zeroes and counts anew.
TEST(Validation, RequestAndRevalidation) {
    TestServer service;
    service.addPage("/v/check", "", "text/html", 200,
                    {{"X-W3C-Validator-Status", "Invalid"},
                     {"X-W3C-Validator-Errors", "3"},
                     {"X-W3C-Validator-Warnings", "2"}});
    ValidatingCrawl crawl(service.url("/"), service.url("/v"));
    crawl.preferences.setValue("userAgentString", "TrelliumTest/1");
    crawl.addPage(service.url("/a b/ü.html?x=1&y=2"));
    crawl.addPage(service.url("/two.html"));
    crawl.validateAlone();
    ASSERT_TRUE(crawl.settled());
    const auto requests = service.requestsFor("/v/check");
    ASSERT_EQ(requests.size(), 2);
    EXPECT_EQ(requests[0].method, "POST");
    EXPECT_EQ(requests[0].body, "uri=" + service.url("/a b/?.html?x=1&y=2").toLatin1());
    EXPECT_EQ(requests[0].header("Content-Type"), "application/x-www-form-urlencoded");
    EXPECT_EQ(requests[0].header("User-Agent"), "TrelliumTest/1");
    EXPECT_EQ(crawl.seo.getNumberValidated(), 2);
    EXPECT_EQ(crawl.seo.getNumberValidationErrors(), 2);
    EXPECT_EQ(crawl.seo.getNumberValidationWarnings(), 2);

    crawl.seo.validatorRowClicked(1);
    ASSERT_TRUE(spinUntil([&] { return crawl.seo.getNumberValidated() == 3; }));
    EXPECT_EQ(crawl.seo.getNumberValidationErrors(), 3);
    EXPECT_EQ(service.requestsFor("/v/check").size(), 3);

    crawl.seo.reValidate();
    EXPECT_EQ(crawl.seo.getNumberValidated(), 0);
    EXPECT_EQ(crawl.seo.getnthItem(0)->getValidatorErrors(), -1);
    ASSERT_TRUE(spinUntil([&] { return crawl.seo.getNumberValidated() == 2; }));
    EXPECT_EQ(crawl.seo.getNumberValidationWarnings(), 2);
    // After starting over the runner keeps polling, since the crawl counts as not finished.
    EXPECT_TRUE(crawl.seo.isValidationRunnerRunning());
}

// ---------------------------------------------------------------- pacing

// One page per delay, the delay read anew at each pass; 0 and unreadable mean 0.2 s.
TEST(Validation, RunnerHandsOutOnePagePerDelayReadEachPass) {
    const struct {
        const char* text;
        double seconds;
    } delays[] = {{"0", 0.2}, {"", 0.2}, {"abc", 0.2}, {"-1", 0.2}, {"0.5", 0.5}, {" 2 ", 2.0}};
    for (const auto& d : delays)
        EXPECT_DOUBLE_EQ(ValidationRunner::delayFromText(d.text), d.seconds) << d.text;

    QObject owner;
    ValidationRunner runner;
    QString delay = "0.3";
    QList<qint64> passes;
    QElapsedTimer clock;
    clock.start();
    runner.setValidationDelay([&] { return delay; });
    runner.start(&owner, [&] {
        passes.append(clock.elapsed());
        if (passes.size() == 3)
            delay = "0"; // changed mid-run: the next wait is already the new one
        return passes.size() < 6;
    });
    runner.setCrawlFinished(true);
    ASSERT_TRUE(spinUntil([&] { return !runner.isRunning(); }, 5000));
    ASSERT_EQ(passes.size(), 6); // ends on the first pass that hands out nothing
    for (int i = 1; i < passes.size(); ++i) {
        const qint64 wanted = i < 3 ? 300 : 200;
        const qint64 gap = passes[i] - passes[i - 1];
        EXPECT_GE(gap, wanted - 5) << "pass " << i;
        EXPECT_LT(gap, wanted + 150) << "pass " << i;
    }
}

// While the crawl is not finished the runner polls on after catching up; a stop holds it.
TEST(Validation, RunnerWaitsForTheCrawlAndAStopHoldsIt) {
    TestServer service;
    service.addPage("/v/check", "", "text/html", 200, {{"X-W3C-Validator-Status", "Valid"}});
    ValidatingCrawl crawl(service.url("/"), service.url("/v"));
    crawl.preferences.setValue("ValidationEnabled", true);
    crawl.addPage(service.url("/one.html"));
    crawl.seo.kickOffValidation();
    ASSERT_TRUE(spinUntil([&] { return crawl.seo.getNumberValidated() == 1; }));
    ASSERT_TRUE(spinUntil([&] { return crawl.seo.getValidationFinsihed(); }));
    EXPECT_TRUE(crawl.seo.isValidationRunnerRunning());

    crawl.seo.setStopPressed(true);
    crawl.addPage(service.url("/two.html"));
    EXPECT_FALSE(crawl.seo.getValidationFinsihed());
    spinUntil([] { return false; }, 500);
    EXPECT_EQ(crawl.seo.getNumberValidated(), 1);

    crawl.seo.setStopPressed(false);
    ASSERT_TRUE(spinUntil([&] { return crawl.seo.getNumberValidated() == 2; }));
    crawl.seo.setCrawlFinished(true);
    ASSERT_TRUE(spinUntil([&] { return !crawl.seo.isValidationRunnerRunning(); }));
    // The hub's crawl never finished here, so no second stage was asked for.
    EXPECT_EQ(crawl.finishes, 0);
}

// ---------------------------------------------------------------- reports, byte for byte

struct ReportPages : ValidatingCrawl {
    ReportPages() : ValidatingCrawl("http://example.com/", "http://localhost/w3c-validator") {
        preferences.setValue("ValidationEnabled", true);
        preferences.setValue("LorraneDisplayLabels", true);
        set(addPage("http://example.com/"), "Valid", 0, 0);
        set(addPage("http://example.com/bad.html"), "Invalid", 3, 2);
        addPage("http://example.com/new.html");
    }
    void set(const LinkCheckerUrlPtr& page, const QString& status, int errors, int warnings) {
        page->setValidatorStatus(status);
        page->setValidatorErrors(errors);
        page->setValidatorWarnings(warnings);
        seo.incNumberValidated(page);
    }
};

TEST(Validation, SectionReportsAndExportsByteForByte) {
    ReportPages pages;
    const QString colour =
        TableExport::rgbText(*KestLabelColours::rowColourForConstant(2, pages.preferences));
    const QString head =
        "<table><tr><th class = actualurl>URL</th><th class = validatorstatus>Status</th>"
        "<th class = validatorerrors>Errors</th><th class = validatorwarnings>Warnings</th></tr>";
    // A row of the page at the path; an alternate row has the colour.
    auto row = [&](const QString& path, const QStringList& values, bool alternate) {
        auto cell = [&](const QString& id, const QString& value) {
            return (alternate ? "<td class = \"" + id + " alt\" style = \"background:" + colour + "\">"
                              : "<td class = " + id + " >") +
                   value + "</td>";
        };
        const QString url = "http://example.com/" + path;
        return "<tr>" +
               cell("actualurl",
                    "<a href = https://validator.w3.org/check?uri=" + url + " >" + url + "</a>") +
               cell("validatorstatus", values[0]) + cell("validatorerrors", values[1]) +
               cell("validatorwarnings", values[2]) + "</tr>";
    };
    const QString intro =
        "<h1>HTML Validation</h1>\n<p>2 page(s) included, 1 with errors, 1 with warnings</p>\n";
    EXPECT_EQ(pages.seo.getValidationReport(), intro + head + row("", {"Valid", "0", "0"}, false) +
                                                   row("bad.html", {"Invalid", "3", "2"}, true) +
                                                   row("new.html", {"", "", ""}, false) + "</table><br />\n");
    // Only the page with an issue, and no colour at all; it is the first row written, so not alternate.
    EXPECT_EQ(pages.seo.getBadValidationReport(),
              intro + head + row("bad.html", {"Invalid", "3", "2"}, false) + "</table><br />\n");
    EXPECT_EQ(pages.seo.exportValidatorAsCSV(),
              "\"URL\",\"Status\",\"Errors\",\"Warnings\"\r\"http://example.com/\",\"Valid\",\"0\",\"0\"\r"
              "\"http://example.com/bad.html\",\"Invalid\",\"3\",\"2\"\r\"http://example.com/"
              "new.html\",\"\",\"\",\"\"\r");
    const QString html = pages.seo.exportValidatorAsHTML();
    EXPECT_TRUE(html.startsWith(
        "<html><head><title>Data Export from Trellium</title><meta http-equiv=\"Content-Type\" "
        "content=\"text/html; charset=UTF-8\" /><body>" +
        QString(TableExport::styleBlock) + "<table><tr><table><tr><th class = actualurl>"));
    EXPECT_TRUE(html.contains("<a href = http://example.com/bad.html >http://example.com/bad.html</a>"));
    EXPECT_TRUE(html.endsWith("<td class = validatorwarnings ></td></tr></body></head></html>"));
    EXPECT_FALSE(html.contains("</table>"));

    QTemporaryDir folder;
    const QString path = folder.filePath("v.csv");
    ASSERT_TRUE(pages.seo.exportValidationReportAsCSVAndSaveTo(path));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(file.readAll()), pages.seo.exportValidatorAsCSV());
    EXPECT_FALSE(pages.seo.exportValidationReportAsCSVAndSaveTo(folder.filePath("missing/v.csv")));

    // Switched off: no rows, and the notice says why.
    pages.preferences.setValue("ValidationEnabled", false);
    EXPECT_EQ(pages.seo.numberOfValidatorRows(), 0);
    EXPECT_EQ(pages.seo.validatorNotice(), "HTML validations is disabled via global preferences");
}

TEST(Validation, NothingWrongGivesTheShortReportAndLoadedCountsFollowTheirRule) {
    ValidatingCrawl crawl("http://example.com/", "http://localhost/w3c-validator");
    crawl.addPage("http://example.com/");
    EXPECT_EQ(
        crawl.seo.getBadValidationReport(),
        "<h1>HTML Validation</h1>\n<p>0 page(s) included, 0 with errors, 0 with warnings</p><p>&nbsp;</p>\n");
    // A loaded crawl: every page counts as validated, validated or not, on top of the count.
    auto page = crawl.addPage("http://example.com/x.html");
    page->setValidatorErrors(1);
    page->setValidatorWarnings(-1);
    crawl.seo.countNumberValidated();
    crawl.seo.countNumberValidated();
    EXPECT_EQ(crawl.seo.getNumberValidated(), 4);
    EXPECT_EQ(crawl.seo.getNumberValidationErrors(), 1);
    EXPECT_EQ(crawl.seo.getNumberValidationWarnings(), 0);
    EXPECT_EQ(crawl.seo.validationDoubleClickUrl(1),
              "http://localhost/w3c-validator/check?uri=http://example.com/x.html");
}

// Validation runs for the validation results, and for the scheduled actions only when their
// validation or summary file is wanted; every other action switches it off.
TEST(Validation, TheActionNumberDecidesWhetherValidationRuns) {
    const struct {
        int action;
        const char* flag; // a site setting switched on first, or none
        bool enabled;
    } cases[] = {{18, nullptr, true},
                 {6, nullptr, false},
                 {6, "onFinishSaveValidation", true},
                 {6, "onFinishSaveSummary", true},
                 {6, "onFinishSaveSEO", false},
                 {1, "onFinishSaveValidation", false},
                 {5, nullptr, false}};
    for (const auto& c : cases) {
        Crawl crawl("http://example.com/");
        crawl.preferences.setValue("ValidationEnabled", !c.enabled);
        if (c.flag)
            crawl.config.setValueForKey(c.flag, QString("YES"));
        crawl.hub.setActionWhenFinished(c.action);
        EXPECT_EQ(crawl.preferences.boolValue("ValidationEnabled"), c.enabled)
            << c.action << " " << (c.flag ? c.flag : "");
    }
}

} // namespace
