// Commands whose implementation has not landed yet answer plainly instead of failing to link.
// Each stub is removed by the change that brings the real command.
#include "app/cli/Commands.h"

#include <cstdio>

int runParseCommand(const QStringList&) {
    std::fputs("trellium parse: not available yet\n", stderr);
    return 2;
}

int runSitesCommand(const QStringList&) {
    std::fputs("trellium sites: not available yet\n", stderr);
    return 2;
}

int runCrawlCommand(const QStringList&) {
    std::fputs("trellium crawl: not available yet\n", stderr);
    return 2;
}
