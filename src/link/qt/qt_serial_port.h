// The serial port over Qt SerialPort: the model's line settings, no flow control.
#pragma once

#include <QSerialPort>
#include <string>

#include "link/serial_port.h"

namespace kelvara {

class QtSerialPort : public SerialPort {
  public:
    QtSerialPort();
    ~QtSerialPort() override;

    bool open(int port, const std::string& device, const SerialSettings& settings) override;
    void close() override;
    bool is_open() const override;
    void discard_input() override;
    void write(const std::string& bytes) override;
    std::string take_input() override;
    std::string device_name(int port) const override;

    // Why the last open() failed ("" when it succeeded).
    const std::string& error() const { return error_; }
    // The device the last open() used.
    const std::string& opened_device() const { return opened_; }

  private:
    QSerialPort port_;
    std::string error_;
    std::string opened_;
};

}  // namespace kelvara
