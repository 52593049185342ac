#pragma once

#include <QTemporaryDir>

// Points HOME and the XDG folders at a fresh temporary folder for the lifetime of the object,
// so tests never touch the user's real site store or preferences.
class TempHome {
  public:
    TempHome();
    ~TempHome();
    QString path() const { return dir.path(); }

  private:
    QTemporaryDir dir;
    QByteArray oldHome, oldData, oldConfig;
};
