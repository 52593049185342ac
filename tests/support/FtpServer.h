#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

// A real FTP server (pyftpdlib) on 127.0.0.1 and an ephemeral port, serving a fresh temporary
// folder with one user who may read and write. It runs from the end of the constructor until
// the destructor, which stops it. Needs Debian's python3-pyftpdlib.
class FtpServer {
  public:
    FtpServer(QString user = "user", QString password = "secret");
    ~FtpServer();
    FtpServer(const FtpServer&) = delete;
    FtpServer& operator=(const FtpServer&) = delete;

    bool isRunning() const { return serverPort > 0; }
    int port() const { return serverPort; }
    // "127.0.0.1:PORT", the form the FTP server field takes.
    QString hostAndPort() const { return QString("127.0.0.1:%1").arg(serverPort); }
    // The served folder: what a client uploads lands here.
    QString root() const { return dir.path(); }
    // Why the server could not be started, when it could not.
    QString startError() const { return error; }

  private:
    QTemporaryDir dir;
    QProcess process;
    int serverPort = 0;
    QString error;
};
