#include "gui/SingleInstance.h"

#include <QCryptographicHash>
#include <QDir>
#include <QLocalSocket>

QString SingleInstance::serverName() {
    const QByteArray home = QDir::homePath().toUtf8();
    return "trellium5-" +
           QString::fromLatin1(QCryptographicHash::hash(home, QCryptographicHash::Sha1).toHex().left(12));
}

bool SingleInstance::handToRunning(const QStringList& paths, const QString& name) {
    QLocalSocket socket;
    socket.connectToServer(name);
    if (!socket.waitForConnected(500))
        return false;
    QByteArray message;
    for (const QString& path : paths)
        message += QDir().absoluteFilePath(path).toUtf8() + '\n';
    message += '\n'; // an empty line ends the message
    socket.write(message);
    socket.waitForBytesWritten(1000);
    socket.disconnectFromServer();
    return true;
}

SingleInstance::SingleInstance(QObject* parent) : QObject(parent) {
    connect(&server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = server.nextPendingConnection()) {
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
                while (socket->canReadLine()) {
                    const QString line = QString::fromUtf8(socket->readLine()).trimmed();
                    if (line.isEmpty()) {
                        if (activated)
                            activated();
                    } else if (fileReceived) {
                        fileReceived(line);
                    }
                }
            });
        }
    });
}

bool SingleInstance::listen(const QString& name) {
    if (server.listen(name))
        return true;
    // A socket left behind by a program that died: nobody answers on it, so it can go.
    QLocalServer::removeServer(name);
    return server.listen(name);
}
