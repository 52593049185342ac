#include "app/TerminalUserInterface.h"

#include <cstdio>
#include <unistd.h>

TerminalUserInterface::TerminalUserInterface() : interactive(isatty(STDERR_FILENO)) {
    sinceLastLine.start();
}

int TerminalUserInterface::alert(const QString& title, const QString& text, const QStringList&) {
    finishProgressLine();
    std::fprintf(stderr, "%s: %s\n", qPrintable(title), qPrintable(text));
    return 0;
}

QString TerminalUserInterface::chooseSaveFile(const QString&, const QString&) {
    return QString();
}

QString TerminalUserInterface::chooseOpenFile(const QString&) {
    return QString();
}

// On a terminal the line is redrawn a few times a second; into a file or pipe a line every
// few seconds is enough to show that work goes on.
void TerminalUserInterface::progress(qint64 done, qint64 total, const QString& line) {
    if (total <= 0 || line.isEmpty())
        return;
    const bool last = done >= total;
    if (line == lastLine || (!last && sinceLastLine.elapsed() < (interactive ? 250 : 3000)))
        return;
    lastLine = line;
    sinceLastLine.restart();
    if (interactive) {
        std::fprintf(stderr, "\r\033[K%s", qPrintable(line));
        lineOpen = true;
    } else {
        std::fprintf(stderr, "%s\n", qPrintable(line));
    }
    std::fflush(stderr);
}

void TerminalUserInterface::finishProgressLine() {
    if (lineOpen)
        std::fputc('\n', stderr);
    lineOpen = false;
}

void TerminalUserInterface::showResults(int action) {
    finishProgressLine();
    if (onResults)
        onResults(action);
}
