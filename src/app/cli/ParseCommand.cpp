#include "app/cli/Commands.h"

#include <cstdio>

// Placeholder until the command lands.
int runParseCommand(const QStringList&) {
    std::fputs("trellium parse: not available yet\n", stderr);
    return 2;
}
