// The byte stream to a GPIB-Ethernet adapter: one TCP connection, opened with the link and closed
// with it, with Nagle's delay off so that each line leaves when it is written.
#pragma once

#include <QTcpSocket>
#include <string>

#include "link/byte_stream.h"

namespace kelvara {

class QtTcpStream : public ByteStream {
  public:
    // "HOST", "HOST:PORT" or "[V6ADDRESS]:PORT"; port 1234 when not given.
    explicit QtTcpStream(std::string host_and_port);
    ~QtTcpStream() override;

    bool open() override;
    void close() override;
    bool is_open() const override;
    bool write(const std::string& bytes) override;
    std::string read(double wait_seconds) override;
    std::string error() const override { return error_; }
    std::string where() const override;

    static constexpr int kConnectWaitMs = 3000;

  private:
    QTcpSocket socket_;
    std::string given_;
    std::string host_;
    int port_ = 0;
    std::string error_;
};

}  // namespace kelvara
