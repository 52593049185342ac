#pragma once

#include <cstring>

// The fixed local buffer every scanner copies into before decoding once. Its cap is part of
// what the scanners return: material past it is cut. Storage is sized for the largest cap
// plus the terminating NUL the trimming helpers expect.
class ByteBuffer {
  public:
    static constexpr int tagCap = 1000;
    static constexpr int urlCap = 1000;
    static constexpr int textCap = 1500;

    explicit ByteBuffer(int cap) : capacity(cap) { bytes[0] = 0; }

    int size() const { return count; }
    int room() const { return capacity - count; }
    bool full() const { return count >= capacity; }
    char back() const { return bytes[count - 1]; }
    void push(char c) { bytes[count++] = c; }
    void pop() { --count; }

    void append(const char* from, int n) {
        std::memcpy(bytes + count, from, static_cast<size_t>(n));
        count += n;
    }

    // Literal markers share the cap with the copied bytes; whatever does not fit is cut.
    void append(const char* literal) {
        while (*literal && count < capacity)
            bytes[count++] = *literal++;
    }

    // The buffer as the C string the trimming helpers work on.
    char* terminated() {
        bytes[count] = 0;
        return bytes;
    }

    // Length up to the first NUL: an embedded NUL ends the value.
    int measured() const { return static_cast<int>(strnlen(bytes, count)); }
    const char* constData() const { return bytes; }

  private:
    char bytes[textCap + 1];
    int count = 0;
    int capacity;
};
