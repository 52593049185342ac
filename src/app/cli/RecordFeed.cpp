#include "app/cli/RecordFeed.h"

#include "app/TerminalUserInterface.h"
#include "crawl/LinkCheckerHub.h"
#include "views/RecordJson.h"

#include <QJsonDocument>
#include <QSaveFile>
#include <cstdio>

namespace {

QByteArray jsonLine(const LinkCheckerUrl& record) {
    return QJsonDocument(recordToJson(record)).toJson(QJsonDocument::Compact) + '\n';
}

} // namespace

bool RecordFeed::openJson(const QString& path, QString* why) {
    jsonPath = path;
    const bool opened = path == "-" ? json.open(stdout, QIODevice::WriteOnly | QIODevice::Unbuffered)
                                    : (json.setFileName(path), json.open(QIODevice::WriteOnly));
    if (!opened && why)
        *why = json.errorString();
    return opened;
}

void RecordFeed::recordChecked(const LinkCheckerUrl& record) {
    if (seen.contains(&record))
        return;
    seen.insert(&record);
    if (verbose)
        ui.printLine(record.getStatus() + "  " + record.getActualLinkUrl());
    if (json.isOpen())
        writeJson(record);
}

void RecordFeed::writeJson(const LinkCheckerUrl& record) {
    json.write(jsonLine(record));
    json.flush();
}

bool RecordFeed::finish(const LinkCheckerHub& hub, QString* why) {
    for (qsizetype i = 0; i < hub.count(); ++i) {
        const LinkCheckerUrl& record = *hub.getnthofAllItems(i);
        if (seen.contains(&record))
            continue;
        // Records that got their status in the last moments; on standard output also those the
        // crawl never reached, so that it carries every record, as the file does.
        if (verbose && !record.getStatus().isEmpty())
            ui.printLine(record.getStatus() + "  " + record.getActualLinkUrl());
        if (json.isOpen() && jsonPath == "-")
            writeJson(record);
    }
    if (!json.isOpen() || jsonPath == "-")
        return true;
    json.close();
    QSaveFile complete(jsonPath);
    if (complete.open(QIODevice::WriteOnly)) {
        for (qsizetype i = 0; i < hub.count(); ++i)
            complete.write(jsonLine(*hub.getnthofAllItems(i)));
        if (complete.commit())
            return true;
    }
    if (why)
        *why = complete.errorString();
    return false;
}
