#pragma once

#include "crawl/LinkCheckerUrl.h"

#include <QJsonObject>

// One record as a JSON object, the form of the command line's JSON Lines output.
QJsonObject recordToJson(const LinkCheckerUrl& record);
