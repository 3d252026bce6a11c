#include "link/qt/qt_serial_stream.h"

#include <cmath>

#include "link/qt/qt_serial_port.h"

namespace kelvara {

namespace {
constexpr int kWriteWaitMs = 2000;
}

QtSerialStream::QtSerialStream(std::string device, int port)
    : device_(std::move(device)), port_number_(port) {}

QtSerialStream::~QtSerialStream() {
    close();
}

std::string QtSerialStream::where() const {
    return device_.empty() ? "serial port " + std::to_string(port_number_) : device_;
}

bool QtSerialStream::open() {
    close();
    dead_ = false;
    if (device_.empty()) {
        error_ = "no such serial port on this machine";
        return false;
    }
    port_.setPortName(QString::fromStdString(device_));
    if (!port_.open(QIODevice::ReadWrite)) {
        error_ = port_.errorString().toStdString();
        return false;
    }
    const bool ok = port_.setBaudRate(kBaud) && port_.setDataBits(QSerialPort::Data8) &&
                    port_.setParity(QSerialPort::NoParity) &&
                    port_.setStopBits(QSerialPort::OneStop) &&
                    port_.setFlowControl(QSerialPort::NoFlowControl);
    if (!ok) {
        error_ = port_.errorString().toStdString();
        port_.close();
        return false;
    }
    error_.clear();
    return true;
}

void QtSerialStream::close() {
    if (port_.isOpen()) port_.close();
}

bool QtSerialStream::is_open() const {
    // An unplugged adapter shows as a resource error while the port object stays open.
    return port_.isOpen() && !dead_ && port_.error() != QSerialPort::ResourceError;
}

void QtSerialStream::check_line() {
    // Without this the reader would spin until its time-out and take a pulled adapter for
    // silence.
    if (line_hung_up(port_)) {
        dead_ = true;
        error_ = kLineHungUp;
    }
}

bool QtSerialStream::write(const std::string& bytes) {
    if (!is_open()) return false;
    if (port_.write(bytes.data(), static_cast<qint64>(bytes.size())) !=
        static_cast<qint64>(bytes.size())) {
        error_ = port_.errorString().toStdString();
        check_line();
        return false;
    }
    while (port_.bytesToWrite() > 0)
        if (!port_.waitForBytesWritten(kWriteWaitMs)) {
            error_ = port_.errorString().toStdString();
            check_line();
            return false;
        }
    return true;
}

std::string QtSerialStream::read(double wait_seconds) {
    if (!is_open()) return {};
    if (port_.bytesAvailable() == 0 &&
        !port_.waitForReadyRead(static_cast<int>(std::lround(wait_seconds * 1000))))
        check_line();
    const QByteArray data = port_.readAll();
    return std::string(data.constData(), static_cast<std::size_t>(data.size()));
}

}  // namespace kelvara
