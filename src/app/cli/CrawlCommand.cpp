#include "app/cli/Commands.h"

#include <cstdio>

// Placeholder until the command lands.
int runCrawlCommand(const QStringList&) {
    std::fputs("trellium crawl: not available yet\n", stderr);
    return 2;
}
