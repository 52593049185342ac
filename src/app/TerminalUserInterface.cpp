#include "app/TerminalUserInterface.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace {

// The line is redrawn in place only on a terminal that understands the escapes: not into a
// file or pipe, and not on TERM=dumb (Emacs shells, some CI logs) or with no TERM at all.
bool redrawsInPlace() {
    const char* term = std::getenv("TERM");
    return isatty(STDERR_FILENO) && term && *term && std::strcmp(term, "dumb") != 0;
}

} // namespace

TerminalUserInterface::TerminalUserInterface() : interactive(redrawsInPlace()) {
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
    if (!progressShown || total <= 0 || line.isEmpty())
        return;
    const bool due = sinceLastLine.elapsed() >= (interactive ? 250 : 3000);
    // A terminal shows a count that has caught up at once. A log does not: small crawls catch up
    // after every page, and the closing status line says the last count anyway.
    if (line == lastLine || !(due || (interactive && done >= total)))
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

void TerminalUserInterface::printLine(const QString& text) {
    if (lineOpen)
        std::fputs("\r\033[K", stderr);
    lineOpen = false;
    // The progress line comes back with the next count, even if that count is the same.
    lastLine.clear();
    std::fprintf(stderr, "%s\n", qPrintable(text));
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
