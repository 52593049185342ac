#include "support/LoopbackListener.h"

#include <arpa/inet.h>
#include <csignal>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QtGlobal>

LoopbackListener::LoopbackListener(const char* owner_) : owner(owner_) {
    std::signal(SIGPIPE, SIG_IGN);
    fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    int pipeFds[2] = {-1, -1};
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        listen(fd, SOMAXCONN) != 0 || getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0 ||
        pipe(pipeFds) != 0)
        qFatal("%s: cannot listen", owner);
    port = ntohs(address.sin_port);
    wakeFd = pipeFds[0];
    wakeWriteFd = pipeFds[1];
}

LoopbackListener::~LoopbackListener() {
    close(fd);
    close(wakeFd);
    close(wakeWriteFd);
}

void LoopbackListener::wakeUp() {
    const char stop = 's';
    if (write(wakeWriteFd, &stop, 1) != 1)
        qWarning("%s: cannot wake the server thread", owner);
}
