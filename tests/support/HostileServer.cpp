#include "support/HostileServer.h"

#include <chrono>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <zlib.h>

#include <QtGlobal>

namespace {

bool sendAll(int fd, const char* data, size_t size) {
    while (size > 0) {
        const ssize_t sent = send(fd, data, size, MSG_NOSIGNAL);
        if (sent <= 0)
            return false;
        data += sent;
        size -= size_t(sent);
    }
    return true;
}

bool sendText(int fd, const std::string& text) {
    return sendAll(fd, text.data(), text.size());
}

// hugeBytes of page text, or less if the client leaves first.
void sendHugeBody(int fd) {
    const std::string block(64 * 1024, 'a');
    for (long long sent = 0; sent < HostileServer::hugeBytes; sent += static_cast<long long>(block.size()))
        if (!sendText(fd, block))
            return;
}

// Blanks deflated block by block, so the server never holds what the client would expand.
void sendGzipBomb(int fd) {
    z_stream stream{};
    deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
    std::string input(256 * 1024, ' ');
    std::string output(64 * 1024, '\0');
    bool open = true;
    for (long long fed = 0; open && fed < HostileServer::hugeBytes;
         fed += static_cast<long long>(input.size())) {
        const bool last = fed + static_cast<long long>(input.size()) >= HostileServer::hugeBytes;
        stream.next_in = reinterpret_cast<Bytef*>(input.data());
        stream.avail_in = uInt(input.size());
        do {
            stream.next_out = reinterpret_cast<Bytef*>(output.data());
            stream.avail_out = uInt(output.size());
            deflate(&stream, last ? Z_FINISH : Z_NO_FLUSH);
            const size_t made = output.size() - stream.avail_out;
            open = open && sendAll(fd, output.data(), made);
        } while (open && stream.avail_out == 0);
    }
    deflateEnd(&stream);
}

} // namespace

HostileServer::HostileServer() {
    acceptor = std::thread([this] { acceptLoop(); });
}

HostileServer::~HostileServer() {
    stopping = true;
    listener.wakeUp();
    acceptor.join();
    {
        // A worker blocked in send or in a drip's sleep sees the shut socket and returns.
        std::lock_guard guard(lock);
        for (int fd : open)
            shutdown(fd, SHUT_RDWR);
    }
    for (std::thread& worker : workers)
        worker.join();
}

QString HostileServer::url(const QString& path) const {
    return QString("http://127.0.0.1:%1%2").arg(listener.port).arg(path);
}

void HostileServer::acceptLoop() {
    for (;;) {
        pollfd fds[] = {{listener.wakeFd, POLLIN, 0}, {listener.fd, POLLIN, 0}};
        if (poll(fds, 2, -1) < 0)
            continue;
        if (fds[0].revents)
            return;
        const int fd = accept(listener.fd, nullptr, nullptr);
        if (fd < 0)
            continue;
        std::lock_guard guard(lock);
        open.insert(fd);
        workers.emplace_back([this, fd] { serve(fd); });
    }
}

void HostileServer::serve(int fd) {
    // Requests on one connection are answered in turn until an answer closes it.
    std::string received;
    bool keepOpen = true;
    while (keepOpen && !stopping) {
        size_t end;
        while ((end = received.find("\r\n\r\n")) == std::string::npos) {
            char buffer[4096];
            const ssize_t got = recv(fd, buffer, sizeof buffer, 0);
            if (got <= 0 || stopping) {
                keepOpen = false;
                break;
            }
            received.append(buffer, size_t(got));
        }
        if (!keepOpen)
            break;
        const size_t space = received.find(' ');
        const std::string path = received.substr(space + 1, received.find(' ', space + 1) - space - 1);
        received.erase(0, end + 4);

        const std::string huge = std::to_string(hugeBytes);
        if (path == "/") {
            const std::string page =
                "<html><head><title>hostile</title></head><body>"
                "<a href=\"/ok\">ok</a> <a href=\"/big\">big</a> <a href=\"/bomb\">bomb</a> "
                "<a href=\"/drip\">drip</a> <a href=\"/redirect\">redirect</a> "
                "<a href=\"/challenge\">challenge</a> <a href=\"/header\">header</a>"
                "</body></html>";
            keepOpen = sendText(fd, "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: " +
                                        std::to_string(page.size()) + "\r\n\r\n" + page);
        } else if (path == "/ok") {
            keepOpen = sendText(fd, "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: 13\r\n\r\n"
                                    "<p>fine</p>\r\n");
        } else if (path == "/big") {
            if (sendText(fd, "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: " + huge +
                                 "\r\n\r\n"))
                sendHugeBody(fd);
            keepOpen = false;
        } else if (path == "/bomb") {
            if (sendText(fd, "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Encoding: gzip\r\n"
                             "Connection: close\r\n\r\n"))
                sendGzipBomb(fd);
            keepOpen = false;
        } else if (path == "/drip") {
            bool sending =
                sendText(fd, "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nContent-Length: 1000\r\n\r\n");
            for (int i = 0; sending && i < 1000 && !stopping; ++i) {
                sending = sendText(fd, "a");
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
            }
            keepOpen = false;
        } else if (path == "/redirect" || path == "/challenge") {
            const std::string head =
                path == "/redirect" ? "HTTP/1.1 302 Found\r\nLocation: /ok\r\n"
                                    : "HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Basic realm=\"x\"\r\n";
            if (sendText(fd, head + "Content-Type: text/html\r\nContent-Length: " + huge + "\r\n\r\n"))
                sendHugeBody(fd);
            keepOpen = false;
        } else if (path == "/header") {
            keepOpen = sendText(fd, "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nX-Padding: " +
                                        std::string(200 * 1024, 'a') + "\r\nContent-Length: 0\r\n\r\n");
        } else {
            keepOpen = sendText(fd, "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n");
        }
    }
    std::lock_guard guard(lock);
    open.erase(fd);
    close(fd);
}
