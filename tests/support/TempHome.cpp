#include "support/TempHome.h"

#include <QDir>
#include <cstdlib>

TempHome::TempHome()
    : oldHome(qgetenv("HOME")), oldData(qgetenv("XDG_DATA_HOME")), oldConfig(qgetenv("XDG_CONFIG_HOME")) {
    qputenv("HOME", dir.path().toUtf8());
    qputenv("XDG_DATA_HOME", (dir.path() + "/.local/share").toUtf8());
    qputenv("XDG_CONFIG_HOME", (dir.path() + "/.config").toUtf8());
    QDir().mkpath(dir.path() + "/.local/share");
    QDir().mkpath(dir.path() + "/.config");
}

TempHome::~TempHome() {
    qputenv("HOME", oldHome);
    oldData.isEmpty() ? qunsetenv("XDG_DATA_HOME") : qputenv("XDG_DATA_HOME", oldData);
    oldConfig.isEmpty() ? qunsetenv("XDG_CONFIG_HOME") : qputenv("XDG_CONFIG_HOME", oldConfig);
}
