#include "support/FtpServer.h"

#include <QFile>

namespace {

// Serves argv[1] to the user argv[2] with the password argv[3]; prints the port it got.
const char* const serverScript = R"(
import logging, sys
from pyftpdlib.authorizers import DummyAuthorizer
from pyftpdlib.handlers import FTPHandler
from pyftpdlib.servers import FTPServer
logging.getLogger("pyftpdlib").setLevel(logging.CRITICAL)
root, user, password = sys.argv[1:4]
authorizer = DummyAuthorizer()
authorizer.add_user(user, password, root, perm="elradfmwMT")
handler = FTPHandler
handler.authorizer = authorizer
handler.auth_failed_timeout = 0.1
server = FTPServer(("127.0.0.1", 0), handler)
print(server.address[1], flush=True)
server.serve_forever(handle_exit=False)
)";

// Debian's interpreter, where python3-pyftpdlib lives, before any other python3 on PATH.
QString python() {
    return QFile::exists("/usr/bin/python3") ? QString("/usr/bin/python3") : QString("python3");
}

} // namespace

FtpServer::FtpServer(QString user, QString password) {
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(python(), {"-c", serverScript, dir.path(), user, password});
    if (!process.waitForStarted(5000)) {
        error = process.errorString();
        return;
    }
    while (!process.canReadLine() && process.waitForReadyRead(10000)) {
    }
    serverPort = process.readLine().trimmed().toInt();
    if (serverPort <= 0)
        error = "pyftpdlib did not start (is python3-pyftpdlib installed?)";
}

FtpServer::~FtpServer() {
    if (process.state() == QProcess::NotRunning)
        return;
    process.terminate();
    if (!process.waitForFinished(3000)) {
        process.kill();
        process.waitForFinished(3000);
    }
}
