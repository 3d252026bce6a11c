#include "sim/pty_server.h"

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "link/serial_port.h"

namespace kelvara::sim {

bool failed_call(std::string* error, const char* what) {
    if (error) *error = std::string(what) + ": " + std::strerror(errno);
    return false;
}

bool open_raw_pty(int& master, int& slave, std::string& slave_path, std::string* error) {
    master = ::posix_openpt(O_RDWR | O_NOCTTY);
    if (master < 0) return failed_call(error, "posix_openpt");
    if (::grantpt(master) != 0) return failed_call(error, "grantpt");
    if (::unlockpt(master) != 0) return failed_call(error, "unlockpt");
    const char* name = ::ptsname(master);
    if (!name) return failed_call(error, "ptsname");
    slave_path = name;
    slave = ::open(name, O_RDWR | O_NOCTTY);
    if (slave < 0) return failed_call(error, "open slave");
    termios settings{};
    if (::tcgetattr(slave, &settings) != 0) return failed_call(error, "tcgetattr");
    ::cfmakeraw(&settings);
    if (::tcsetattr(slave, TCSANOW, &settings) != 0) return failed_call(error, "tcsetattr");
    return true;
}

bool open_wake_pipe(int (&wake)[2], std::string* error) {
    if (::pipe(wake) != 0) return failed_call(error, "pipe");
    ::fcntl(wake[1], F_SETFL, O_NONBLOCK);
    return true;
}

void wake_server(const int (&wake)[2]) {
    if (wake[1] < 0) return;
    const char byte = 1;
    const auto ignored = ::write(wake[1], &byte, 1);  // a full pipe already means "stop"
    (void)ignored;
}

PtyServer::PtyServer(Instrument& instrument) : instrument_(instrument) {}

PtyServer::~PtyServer() {
    for (int fd : {master_, slave_, wake_[0], wake_[1]})
        if (fd >= 0) ::close(fd);
}

bool PtyServer::open(std::string* error) {
    if (!open_raw_pty(master_, slave_, slave_path_, error) || !open_wake_pipe(wake_, error))
        return false;
    // A client that stops reading must not leave the server stuck in a write that stop() cannot
    // interrupt.
    ::fcntl(master_, F_SETFL, ::fcntl(master_, F_GETFL) | O_NONBLOCK);
    return true;
}

void PtyServer::stop() {
    wake_server(wake_);
}

void PtyServer::serve() {
    char buffer[4096];
    while (!stopping_ && !hung_up_) {
        pollfd fds[2] = {{master_, POLLIN, 0}, {wake_[0], POLLIN, 0}};
        if (::poll(fds, 2, -1) < 0) {
            if (errno == EINTR) continue;
            return;
        }
        if (fds[1].revents) return;
        if (fds[0].revents & POLLIN) {
            const auto n = ::read(master_, buffer, sizeof buffer);
            if (n > 0) handle_bytes(buffer, n);
        } else if (fds[0].revents & (POLLERR | POLLHUP)) {
            pause(0.05);  // no client at the moment; the slave we hold keeps the line up
        }
    }
}

void PtyServer::handle_bytes(const char* data, long count) {
    for (long i = 0; i < count && !stopping_; ++i) {
        const char c = data[i];
        if (c != '\r' && c != '\n') {
            partial_ += c;
            continue;
        }
        if (partial_.empty()) continue;  // the second half of CR LF
        const std::string reply = instrument_.handle(partial_);
        partial_.clear();
        if (after_command) after_command();
        if (!reply.empty()) send(reply);
        if (instrument_.hangup_due()) return hang_up();
    }
}

void PtyServer::hang_up() {
    // Closing both sides ends the terminal: its clients read end-of-file, their writes fail.
    for (int* fd : {&master_, &slave_}) {
        if (*fd >= 0) ::close(*fd);
        *fd = -1;
    }
    hung_up_ = true;
}

void PtyServer::pause(double seconds) {
    // Waits, but wakes at once for stop().
    pollfd fd{wake_[0], POLLIN, 0};
    if (::poll(&fd, 1, static_cast<int>(seconds * 1000)) > 0) stopping_ = true;
}

bool PtyServer::write_all(const char* data, std::size_t size) {
    std::size_t done = 0;
    while (done < size && !stopping_) {
        const auto n = ::write(master_, data + done, size - done);
        if (n > 0) {
            done += static_cast<std::size_t>(n);
            continue;
        }
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && errno != EAGAIN) return false;
        // The terminal is full: wait until the client reads, or for stop().
        pollfd fds[2] = {{master_, POLLOUT, 0}, {wake_[0], POLLIN, 0}};
        if (::poll(fds, 2, -1) < 0 && errno != EINTR) return false;
        if (fds[1].revents) stopping_ = true;
    }
    return done == size;
}

void PtyServer::send(const std::string& reply) {
    const Faults& f = instrument_.faults;
    const bool faulty = instrument_.reply_faults_active();
    if (faulty && f.reply_delay > 0) pause(f.reply_delay);
    double spacing = 0;  // seconds between two bytes
    if (faulty && f.trickle > 0)
        spacing = f.trickle;
    else if (f.line_baud > 0) {
        // The characters keep the model's frame at whatever speed the fault sets.
        SerialSettings line = profile(instrument_.model()).serial;
        line.baud = f.line_baud;
        spacing = seconds_per_character(line);
    }
    const std::size_t pieces =
        faulty && f.split_pieces > 1 ? static_cast<std::size_t>(f.split_pieces) : 1;
    const std::size_t size = std::max<std::size_t>(1, reply.size() / pieces);
    using clock = std::chrono::steady_clock;
    const auto begin = clock::now();
    std::size_t sent = 0;
    for (std::size_t start = 0, piece = 0; start < reply.size() && !stopping_; ++piece) {
        const std::size_t length = piece + 1 >= pieces ? reply.size() - start : size;
        for (std::size_t at = start; at < start + length && !stopping_;) {
            // At a pace: a character is handed over once the line has carried its last bit,
            // in writes at most 10 ms apart so that a fast line still leaves in small pieces.
            std::size_t due = start + length - at;
            if (spacing > 0) {
                const double next = static_cast<double>(sent + 1) * spacing -
                                    std::chrono::duration<double>(clock::now() - begin).count();
                if (next > 0) pause(std::min(next, std::max(spacing, 0.01)));
                const double elapsed = std::chrono::duration<double>(clock::now() - begin).count();
                const auto carried = static_cast<std::size_t>(elapsed / spacing);
                if (carried <= sent) continue;
                due = std::min(carried - sent, due);
            }
            if (!write_all(reply.data() + at, due)) return;
            at += due;
            sent += due;
        }
        start += length;
        if (start < reply.size()) pause(0.05);  // the pieces arrive as separate reads
    }
}

}  // namespace kelvara::sim
