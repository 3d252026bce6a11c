// The byte stream to a GPIB-USB adapter: its serial device, raw, 8 data bits, no parity, 1 stop
// bit, no handshaking, 115200 baud (what the AR488 expects; adapters on USB CDC ignore it).
#pragma once

#include <QSerialPort>
#include <string>

#include "link/byte_stream.h"

namespace kelvara {

class QtSerialStream : public ByteStream {
  public:
    // device: the path to open; when empty, `port` is named as the one the user chose that
    // this machine does not have.
    explicit QtSerialStream(std::string device, int port = 0);
    ~QtSerialStream() override;

    bool open() override;
    void close() override;
    bool is_open() const override;
    bool write(const std::string& bytes) override;
    std::string read(double wait_seconds) override;
    std::string error() const override { return error_; }
    std::string where() const override;

    static constexpr int kBaud = 115200;

  private:
    void check_line();

    QSerialPort port_;
    bool dead_ = false;
    std::string device_;
    int port_number_;
    std::string error_;
};

}  // namespace kelvara
