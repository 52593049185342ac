#pragma once

#include "support/LoopbackListener.h"

#include <QString>

#include <atomic>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

// An HTTP server on 127.0.0.1 and an ephemeral port that answers the way a hostile site does,
// one connection per thread so that each answer can stream or drip at its own pace:
//   /              a page linking every path below
//   /ok            a small page
//   /big           a page of hugeBytes (Content-Length says so)
//   /bomb          gzip that expands to hugeBytes, compressed on the fly (a few hundred KB sent)
//   /drip          a page of 1,000 bytes sent one byte every 50 ms
//   /redirect      302 to /ok with a body of hugeBytes
//   /challenge     401 with WWW-Authenticate and a body of hugeBytes
//   /header        200 with one header line of 200 KB
// Bodies stop early when the client goes away. The destructor ends every connection and returns.
class HostileServer {
  public:
    static constexpr long long hugeBytes = 256LL * 1024 * 1024;

    HostileServer();
    ~HostileServer();
    HostileServer(const HostileServer&) = delete;
    HostileServer& operator=(const HostileServer&) = delete;

    QString url(const QString& path) const; // "http://127.0.0.1:PORT" + path

  private:
    void acceptLoop();
    void serve(int fd);

    LoopbackListener listener{"HostileServer"};
    std::atomic<bool> stopping{false};
    std::mutex lock;
    std::set<int> open;
    std::vector<std::thread> workers;
    std::thread acceptor;
};
