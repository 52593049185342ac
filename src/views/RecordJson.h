#pragma once

#include "crawl/LinkCheckerUrl.h"

#include <QJsonObject>

// One record as a JSON object, the form of the command line's JSON Lines output.
QJsonObject recordToJson(const LinkCheckerUrl& record);
// The number a status begins with, the newest answer of a redirect chain ("200 no error < 301
// moved permanently" is 200); 0 for a status that is no answer (a failure, "Not checked").
int statusCode(const QString& status);
// ISO 8601 with the local zone's offset, e.g. "2026-03-01T14:05:09.250+01:00".
QString isoTimeWithZone(const QDateTime& time);
