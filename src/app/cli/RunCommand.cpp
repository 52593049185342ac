#include "app/TerminalUserInterface.h"
#include "app/UnattendedRun.h"
#include "app/cli/CliInput.h"
#include "app/cli/Commands.h"

#include <cstdio>

namespace {

const char* usage = "usage: trellium run FILE.lcsettings\n"
                    "\n"
                    "Crawls unattended the stored site that a settings file stands for, as a scheduled run\n"
                    "does. The file matches the stored site with the same schedule and the same URL (or\n"
                    "name); the stored site's settings are the ones used, and its status and date of the\n"
                    "last check are updated. A file that matches no site runs the site selected last.\n"
                    "\n"
                    "Prints the closing status line. Exit status: 0 when no link is bad, 1 when some are,\n"
                    "2 when the file cannot be opened, the crawl cannot start, or a settings file could\n"
                    "not be written (its path and the reason are printed; the old file stays as it was).\n";

} // namespace

int runRunCommand(const QStringList& args) {
    if (args.contains("--help") || args.contains("-h")) {
        std::fputs(usage, stdout);
        return 0;
    }
    if (args.size() != 1 || args[0].isEmpty()) {
        std::fprintf(stderr, "trellium run: give one settings file\n\n%s", usage);
        return UnattendedRun::CouldNotRun;
    }
    TerminalUserInterface ui;
    UnattendedRun run(ui);
    const int status = run.run(CliInput::expandTilde(args[0]));
    ui.finishProgressLine();
    if (!run.getWarning().isEmpty())
        std::fprintf(stderr, "trellium run: %s\n", qPrintable(run.getWarning()));
    if (!run.getErrorMessage().isEmpty()) {
        std::fprintf(stderr, "trellium run: %s\n", qPrintable(run.getErrorMessage()));
        return status;
    }
    // A file the run could not write was told as an alert when it happened; the crawl itself
    // ran, so its line is printed all the same.
    std::fprintf(stdout, "%s\n", qPrintable(run.getStatusLine()));
    return status;
}
