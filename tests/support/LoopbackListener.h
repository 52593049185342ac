#pragma once

// A socket listening on 127.0.0.1 and an ephemeral port, and a pipe that wakes the thread
// polling it: what the raw test servers share. Fatal when the system refuses.
class LoopbackListener {
  public:
    explicit LoopbackListener(const char* owner);
    ~LoopbackListener();
    LoopbackListener(const LoopbackListener&) = delete;
    LoopbackListener& operator=(const LoopbackListener&) = delete;

    // Makes wakeFd readable, for the polling thread to see that it must return.
    void wakeUp();

    int fd = -1;
    int wakeFd = -1;
    int port = 0;

  private:
    const char* owner;
    int wakeWriteFd = -1;
};
