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
    bool line_dead() const override { return dead_; }
    std::string device_name(int port) const override;

    // Why the last open() failed or the line died ("" when neither).
    std::string error() const override { return error_; }
    // The device the last open() used.
    const std::string& opened_device() const { return opened_; }

  private:
    // Looks at the port after a wait that brought nothing: a hang-up, a removed device or an
    // I/O error ends the line for good.
    void check_line();

    QSerialPort port_;
    bool dead_ = false;
    std::string error_;
    std::string opened_;
};

// True when the port's device hung up or was removed. Such a device reads as end-of-file and
// every wait on it returns at once; its descriptor says so whatever Qt made of it.
bool line_hung_up(const QSerialPort& port);
inline constexpr const char* kLineHungUp = "the line hung up or the device was removed";

}  // namespace kelvara
