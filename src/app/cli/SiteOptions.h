#pragma once

#include <QString>

class KestConfigManager;
class QCommandLineParser;

// `trellium crawl --site NAME` and `--settings FILE.lcsettings`: the settings of a stored site
// or of a settings file, which the other flags then override for this run only.
void addSiteOptions(QCommandLineParser& parser);
bool usesStoredSettings(const QCommandLineParser& parser);
// Loads the settings into the working copy. A stored site is selected, so that the crawl
// writes its status and date of the last check back to it; the flags never reach its file.
// False, with the reason in error, when nothing could be loaded.
bool loadStoredSettings(const QCommandLineParser& parser, KestConfigManager& config, QString* error);
