#pragma once

#include "crawl/LinkCheckerUrl.h"

#include <QFile>
#include <QSet>
#include <QString>

class LinkCheckerHub;
class TerminalUserInterface;

// Records as they get their final status: a line each on standard error with --verbose, and
// JSON Lines with --json, written and flushed one by one so that a crawl that is stopped or
// killed still leaves every record it finished. At the end a file is replaced by the complete
// list in the order found, each record with every place it was found; on standard output,
// which cannot be rewritten, the records not yet written follow instead.
class RecordFeed {
  public:
    RecordFeed(TerminalUserInterface& ui, bool verbose) : ui(ui), verbose(verbose) {}

    // Opens FILE, or standard output for "-"; false with the reason when it cannot be written.
    bool openJson(const QString& path, QString* why);
    bool wanted() const { return verbose || json.isOpen(); }
    void recordChecked(const LinkCheckerUrl& record);
    // False with the reason when the complete file could not be written; the streamed one stays.
    bool finish(const LinkCheckerHub& hub, QString* why);

  private:
    void writeJson(const LinkCheckerUrl& record);

    TerminalUserInterface& ui;
    bool verbose;
    QString jsonPath;
    QFile json;
    QSet<const LinkCheckerUrl*> seen;
};
