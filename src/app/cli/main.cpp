#include "app/cli/Commands.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <cstdio>

namespace {

const char* usage = "usage: trellium COMMAND [ARGS]\n"
                    "\n"
                    "commands:\n"
                    "  crawl URL|PATH [options]   check a site and report its links\n"
                    "  crawl --site NAME | --settings FILE.lcsettings [options]\n"
                    "                             check a stored site, or the site of a settings file\n"
                    "  sitemap URL|PATH [options] crawl a site and write (and upload) its XML sitemap\n"
                    "  seo URL|PATH [options]     list the pages of a site with their SEO metrics\n"
                    "  parse FILE|URL [options]   show what the page reader sees in one page\n"
                    "  validate URL|PATH [options]\n"
                    "                             check a site and its pages' HTML with a Markup Validator\n"
                    "  sites [SUBCOMMAND]         list and edit the stored sites\n"
                    "  run FILE.lcsettings        crawl a stored site unattended, as a schedule does\n"
                    "  prefs [SUBCOMMAND]         show and change the global preferences\n"
                    "  spelling URL|PATH [options] check the spelling (and grammar) of a site's pages\n"
                    "  spelling --learn WORD      add a word to the personal word list\n"
                    "  open FILE.plist [options]  show and report a crawl saved with --save\n"
                    "  diff OLD.plist NEW.plist   what broke and what was fixed between two saved crawls\n"
                    "\n"
                    "Run 'trellium COMMAND --help' for the options of a command. Every command also\n"
                    "takes --version. 'man trellium' tells more.\n";

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName("Trellium");
    QCoreApplication::setApplicationName("Trellium5");
    // The log is for developers: shown only when TRELLIUM_LOG is set.
    if (qEnvironmentVariableIsEmpty("TRELLIUM_LOG"))
        QLoggingCategory::setFilterRules("*.debug=false\n*.info=false");
    QStringList args = app.arguments().mid(1);
    if (args.isEmpty() || args[0] == "--help" || args[0] == "-h") {
        std::fputs(usage, args.isEmpty() ? stderr : stdout);
        return args.isEmpty() ? 2 : 0;
    }
    // Any command answers --version, before it looks at its other arguments.
    if (args[0] == "--version" || (args.size() > 1 && args.mid(1).contains("--version"))) {
        std::printf("trellium %s\n", TRELLIUM_VERSION);
        return 0;
    }
    const QString command = args.takeFirst();
    if (command == "crawl")
        return runCrawlCommand(args);
    if (command == "sitemap")
        return runSitemapCommand(args);
    if (command == "seo")
        return runSeoCommand(args);
    if (command == "parse")
        return runParseCommand(args);
    if (command == "sites")
        return runSitesCommand(args);
    if (command == "run")
        return runRunCommand(args);
    if (command == "prefs")
        return runPrefsCommand(args);
    if (command == "validate")
        return runValidateCommand(args);
    if (command == "spelling")
        return runSpellingCommand(args);
    if (command == "open")
        return runOpenCommand(args);
    if (command == "diff")
        return runDiffCommand(args);
    std::fprintf(stderr, "trellium: unknown command '%s'\n\n%s", qPrintable(command), usage);
    return 2;
}
