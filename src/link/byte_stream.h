// A byte stream to a GPIB adapter: a serial device or a TCP connection. The adapter's protocol
// lives above it (prologix_driver.h); each transport only moves bytes.
#pragma once

#include <string>

namespace kelvara {

class ByteStream {
  public:
    virtual ~ByteStream() = default;
    // Opens the device or connection; false with error() telling why.
    virtual bool open() = 0;
    virtual void close() = 0;
    // False once closed, and once the device or connection has gone away.
    virtual bool is_open() const = 0;
    // Returns once the bytes are on their way (flushed, not left in a buffer of ours); false
    // when the stream failed.
    virtual bool write(const std::string& bytes) = 0;
    // Everything that has arrived; when nothing has, waits at most `wait_seconds` for the first
    // byte by blocking, never by spinning. A wait of 0 only takes what is there.
    virtual std::string read(double wait_seconds) = 0;
    // Why the last open() or write() failed.
    virtual std::string error() const = 0;
    // The device or host it reaches, as the user gave it ("/dev/ttyUSB0", "lab-gpib:1234").
    virtual std::string where() const = 0;
};

}  // namespace kelvara
