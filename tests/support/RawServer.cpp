#include "support/RawServer.h"

#include <arpa/inet.h>
#include <csignal>
#include <map>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include <QtGlobal>

RawServer::RawServer(Mode mode) : mode(mode) {
    std::signal(SIGPIPE, SIG_IGN);
    listenFd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (listenFd < 0 || bind(listenFd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        listen(listenFd, SOMAXCONN) != 0 ||
        getsockname(listenFd, reinterpret_cast<sockaddr*>(&address), &length) != 0 || pipe(wakeFds) != 0)
        qFatal("RawServer: cannot listen");
    portNumber = ntohs(address.sin_port);
    // The socket listens already, so clients may connect before the thread runs.
    thread = std::thread([this] { run(); });
}

RawServer::~RawServer() {
    const char stop = 's';
    if (write(wakeFds[1], &stop, 1) != 1)
        qWarning("RawServer: cannot wake the server thread");
    thread.join();
    close(listenFd);
    close(wakeFds[0]);
    close(wakeFds[1]);
}

QString RawServer::url(const QString& path) const {
    return QString("http://127.0.0.1:%1%2").arg(portNumber).arg(path);
}

void RawServer::run() {
    // What each open connection has sent so far; answered once the request head is complete.
    std::map<int, std::string> clients;
    for (;;) {
        std::vector<pollfd> fds = {{wakeFds[0], POLLIN, 0}, {listenFd, POLLIN, 0}};
        for (const auto& client : clients)
            fds.push_back({client.first, POLLIN, 0});
        if (poll(fds.data(), fds.size(), -1) < 0)
            continue;
        if (fds[0].revents)
            break;
        if (fds[1].revents & POLLIN) {
            const int fd = accept(listenFd, nullptr, nullptr);
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
