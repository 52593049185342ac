#pragma once

#include "support/LoopbackListener.h"

#include <QString>

#include <thread>

// A TCP server on 127.0.0.1 and an ephemeral port that misbehaves in one way, for the failures a
// real HTTP server never produces on demand:
//   Garbage  reads the request, answers bytes that are no HTTP response, closes
//   Reset    reads the request, then closes with SO_LINGER 0 so the client gets a reset
//   Hang     accepts and never answers; connections stay open until the server is destroyed
// The destructor closes every connection and returns at once.
class RawServer {
  public:
    enum class Mode { Garbage, Reset, Hang };

    explicit RawServer(Mode mode);
    ~RawServer();
    RawServer(const RawServer&) = delete;
    RawServer& operator=(const RawServer&) = delete;

    QString url(const QString& path) const; // "http://127.0.0.1:PORT" + path
    int port() const { return listener.port; }

  private:
    void run();

    Mode mode;
    LoopbackListener listener{"RawServer"};
    std::thread thread;
};
