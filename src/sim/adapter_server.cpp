#include "sim/adapter_server.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>

#include "sim/pty_server.h"

namespace kelvara::sim {

AdapterServer::AdapterServer(PrologixAdapter& adapter, Clock& clock)
    : adapter_(adapter), clock_(clock) {}

AdapterServer::~AdapterServer() {
    for (int fd : {master_, slave_, listener_, client_, wake_[0], wake_[1]})
        if (fd >= 0) ::close(fd);
}

bool AdapterServer::open_pty(std::string* error) {
    return open_raw_pty(master_, slave_, address_, error) && open_wake_pipe(wake_, error);
}

bool AdapterServer::listen_tcp(int port, std::string* error) {
    listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (listener_ < 0) return failed_call(error, "socket");
    const int on = 1;
    ::setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in at{};
    at.sin_family = AF_INET;
    at.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    at.sin_port = htons(static_cast<std::uint16_t>(port));
    if (::bind(listener_, reinterpret_cast<sockaddr*>(&at), sizeof at) != 0)
        return failed_call(error, "bind");
    if (::listen(listener_, 4) != 0) return failed_call(error, "listen");
    socklen_t size = sizeof at;
    if (::getsockname(listener_, reinterpret_cast<sockaddr*>(&at), &size) != 0)
        return failed_call(error, "getsockname");
    address_ = "127.0.0.1:" + std::to_string(ntohs(at.sin_port));
    return open_wake_pipe(wake_, error);
}

void AdapterServer::stop() {
    wake_server(wake_);
}

void AdapterServer::drop_client() {
    ::close(client_);
    client_ = -1;
    adapter_.disconnected();
}

void AdapterServer::hang_up() {
    if (slave_ >= 0) {
        // Closing the terminal throws away what its client has not read yet: the adapter's last
        // words are given a moment to be taken first.
        for (int tries = 0; tries < 100; ++tries) {
            int waiting = 0;
            if (::ioctl(slave_, FIONREAD, &waiting) != 0 || waiting == 0) break;
            pollfd wake{wake_[0], POLLIN, 0};
            if (::poll(&wake, 1, 10) > 0) break;
        }
    }
    if (client_ >= 0) ::shutdown(client_, SHUT_WR);  // what was sent still arrives, then the end
    for (int* fd : {&master_, &slave_, &client_, &listener_}) {
        if (*fd >= 0) ::close(*fd);
        *fd = -1;
    }
    hung_up_ = true;
}

void AdapterServer::deliver(const std::string& bytes) {
    const int fd = master_ >= 0 ? master_ : client_;
    for (std::size_t done = 0; fd >= 0 && done < bytes.size();) {
        const auto n = master_ >= 0
                           ? ::write(fd, bytes.data() + done, bytes.size() - done)
                           : ::send(fd, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            if (client_ >= 0) drop_client();
            return;
        }
        done += static_cast<std::size_t>(n);
    }
}

void AdapterServer::serve() {
    char buffer[4096];
    for (;;) {
        const int data = master_ >= 0 ? master_ : client_;
        // Between clients only the listening socket is watched: one client at a time.
        pollfd fds[2] = {{wake_[0], POLLIN, 0}, {data >= 0 ? data : listener_, POLLIN, 0}};
        int timeout_ms = -1;
        if (const auto next = adapter_.next_event())
            timeout_ms =
                static_cast<int>(std::clamp(std::ceil((*next - clock_.now()) * 1000), 0.0, 1000.0));
        if (::poll(fds, 2, timeout_ms) < 0) {
            if (errno == EINTR) continue;
            return;
        }
        if (fds[0].revents) return;
        if (data < 0) {
            if (fds[1].revents & POLLIN) {
                client_ = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
                const int on = 1;
                if (client_ >= 0) ::setsockopt(client_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
            }
            continue;
        }
        if (fds[1].revents & POLLIN) {
            const auto n = ::read(data, buffer, sizeof buffer);
            if (n > 0) {
                adapter_.receive(std::string(buffer, static_cast<std::size_t>(n)));
                if (after_input) after_input();
            } else if (client_ >= 0 && (n == 0 || (errno != EINTR && errno != EAGAIN))) {
                drop_client();
                continue;
            }
        } else if (fds[1].revents & (POLLERR | POLLHUP)) {
            if (client_ >= 0) {
                drop_client();
                continue;
            }
            // No client on the pseudo-terminal at the moment; the slave we hold keeps it up.
            pollfd wake{wake_[0], POLLIN, 0};
            if (::poll(&wake, 1, 50) > 0) return;
        }
        deliver(adapter_.take_output());
        if (adapter_.hung_up()) return hang_up();
    }
}

}  // namespace kelvara::sim
