#include "link/qt/qt_serial_port.h"

#include <poll.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace kelvara {

namespace {

QSerialPort::Parity parity_of(char p) {
    switch (p) {
        case 'E':
            return QSerialPort::EvenParity;
        case 'N':
            return QSerialPort::NoParity;
        case 'M':
            return QSerialPort::MarkParity;
        case 'S':
            return QSerialPort::SpaceParity;
        default:
            return QSerialPort::OddParity;
    }
}

QSerialPort::DataBits data_bits_of(int bits) {
    switch (bits) {
        case 5:
            return QSerialPort::Data5;
        case 6:
            return QSerialPort::Data6;
        case 7:
            return QSerialPort::Data7;
        default:
            return QSerialPort::Data8;
    }
}

bool is_pseudo_terminal(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0 || !S_ISCHR(st.st_mode)) return false;
    // Unix98 pseudo-terminal slaves use majors 136 to 143.
    const auto m = major(st.st_rdev);
    return m >= 136 && m <= 143;
}

// How long take_input() waits for the first byte: short, so that the reply loop's time-out and
// the window stay responsive, long enough not to spin.
constexpr int kInputWaitMs = 10;
constexpr int kWriteWaitMs = 2000;

}  // namespace

QtSerialPort::QtSerialPort() = default;

QtSerialPort::~QtSerialPort() {
    close();
}

bool QtSerialPort::open(int port, const std::string& device, const SerialSettings& settings) {
    close();
    dead_ = false;
    opened_ = device.empty() ? serial_device_for_port(port) : device;
    if (opened_.empty()) {
        error_ = "no serial port " + std::to_string(port) + " on this machine";
        return false;
    }
    port_.setPortName(QString::fromStdString(opened_));
    if (!port_.open(QIODevice::ReadWrite)) {
        error_ = opened_ + ": " + port_.errorString().toStdString();
        return false;
    }
    // Every setting is tried even when one is refused.
    bool ok = port_.setBaudRate(settings.baud);
    ok = port_.setParity(parity_of(settings.parity)) && ok;
    ok = port_.setDataBits(data_bits_of(settings.data_bits)) && ok;
    ok = port_.setStopBits(settings.stop_bits == 2 ? QSerialPort::TwoStop : QSerialPort::OneStop) &&
         ok;
    ok = port_.setFlowControl(QSerialPort::NoFlowControl) && ok;
    // A pseudo-terminal (the simulator, a serial-over-network bridge) has no line and refuses
    // 7 data bits; the bytes still pass unchanged, so it is used as it is.
    if (!ok && !is_pseudo_terminal(opened_)) {
        error_ = opened_ + ": " + port_.errorString().toStdString();
        port_.close();
        return false;
    }
    // A setting the pseudo-terminal refused is no sign of a dead line later.
    port_.clearError();
    error_.clear();
    return true;
}

void QtSerialPort::close() {
    if (port_.isOpen()) port_.close();
}

bool QtSerialPort::is_open() const {
    return port_.isOpen();
}

void QtSerialPort::discard_input() {
    if (!port_.isOpen()) return;
    port_.readAll();  // what Qt has already buffered
    port_.clear(QSerialPort::Input);
}

void QtSerialPort::write(const std::string& bytes) {
    if (!port_.isOpen() || dead_) return;
    port_.write(bytes.data(), static_cast<qint64>(bytes.size()));
    // The procedures pause right after a command: the bytes must be on the line by then.
    while (port_.bytesToWrite() > 0 && port_.waitForBytesWritten(kWriteWaitMs)) {
    }
    if (port_.bytesToWrite() > 0) check_line();
}

std::string QtSerialPort::take_input() {
    if (!port_.isOpen() || dead_) return {};
    if (port_.bytesAvailable() == 0 && !port_.waitForReadyRead(kInputWaitMs)) check_line();
    const QByteArray data = port_.readAll();
    return std::string(data.constData(), static_cast<std::size_t>(data.size()));
}

bool line_hung_up(const QSerialPort& port) {
    pollfd fd{static_cast<int>(port.handle()), POLLIN, 0};
    return fd.fd >= 0 && ::poll(&fd, 1, 0) == 1 && (fd.revents & (POLLHUP | POLLERR | POLLNVAL));
}

void QtSerialPort::check_line() {
    if (dead_) return;
    if (line_hung_up(port_)) {
        dead_ = true;
        error_ = opened_ + ": " + kLineHungUp;
        return;
    }
    const QSerialPort::SerialPortError e = port_.error();
    if (e != QSerialPort::NoError && e != QSerialPort::TimeoutError) {
        dead_ = true;
        error_ = opened_ + ": " + port_.errorString().toStdString();
    }
}

std::string QtSerialPort::device_name(int port) const {
    return serial_device_for_port(port);
}

}  // namespace kelvara
