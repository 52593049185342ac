#include "support/RawServer.h"

#include <map>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include <QtGlobal>

RawServer::RawServer(Mode mode) : mode(mode) {
    // The socket listens already, so clients may connect before the thread runs.
    thread = std::thread([this] { run(); });
}

RawServer::~RawServer() {
    listener.wakeUp();
    thread.join();
}

QString RawServer::url(const QString& path) const {
    return QString("http://127.0.0.1:%1%2").arg(listener.port).arg(path);
}

void RawServer::run() {
    // What each open connection has sent so far; answered once the request head is complete.
    std::map<int, std::string> clients;
    for (;;) {
        std::vector<pollfd> fds = {{listener.wakeFd, POLLIN, 0}, {listener.fd, POLLIN, 0}};
        for (const auto& client : clients)
            fds.push_back({client.first, POLLIN, 0});
        if (poll(fds.data(), fds.size(), -1) < 0)
            continue;
        if (fds[0].revents)
            break;
        if (fds[1].revents & POLLIN) {
            const int fd = accept(listener.fd, nullptr, nullptr);
            if (fd >= 0)
                clients[fd];
        }
        for (size_t i = 2; i < fds.size(); ++i) {
            if (!fds[i].revents)
                continue;
            const int fd = fds[i].fd;
            char buffer[4096];
            const ssize_t got = recv(fd, buffer, sizeof buffer, 0);
            if (got <= 0) {
                close(fd);
                clients.erase(fd);
                continue;
            }
            std::string& received = clients[fd];
            received.append(buffer, size_t(got));
            if (mode == Mode::Hang || received.find("\r\n\r\n") == std::string::npos)
                continue;
            if (mode == Mode::Garbage) {
                // No status line at all, so no client can take it for HTTP/0.9 or a partial answer.
                const char garbage[] = "\x16\x03\x01 SSH-2.0-garbage \x00\xff\xfe not http at all\r\n\r\n";
                if (send(fd, garbage, sizeof garbage - 1, MSG_NOSIGNAL) < 0)
                    qWarning("RawServer: cannot send");
            } else {
                const linger abort{1, 0};
                setsockopt(fd, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
            }
            close(fd);
            clients.erase(fd);
        }
    }
    for (const auto& client : clients)
        close(client.first);
}
