#pragma once

#include <QStringList>

// Each command of the `trellium` program takes the arguments after its own name and
// returns the process exit status.
int runCrawlCommand(const QStringList& args);
int runParseCommand(const QStringList& args);
int runSitesCommand(const QStringList& args);
int runRunCommand(const QStringList& args);
int runPrefsCommand(const QStringList& args);
int runSitemapCommand(const QStringList& args);
int runValidateCommand(const QStringList& args);
int runSeoCommand(const QStringList& args);
int runSpellingCommand(const QStringList& args);
int runOpenCommand(const QStringList& args);
int runDiffCommand(const QStringList& args);
