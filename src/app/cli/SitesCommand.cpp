#include "app/cli/Commands.h"

#include <cstdio>

// Placeholder until the command lands.
int runSitesCommand(const QStringList&) {
    std::fputs("trellium sites: not available yet\n", stderr);
    return 2;
}
