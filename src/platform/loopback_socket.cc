#include "platform/loopback_socket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

namespace tavio {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kHighestPort = 65535;

}  // namespace

Deadline deadline_after(std::chrono::milliseconds wait) { return Clock::now() + wait; }

bool deadline_passed(Deadline deadline) { return Clock::now() >= deadline; }

std::optional<LoopbackSocket> LoopbackSocket::connect(int port, Deadline deadline) {
  if (port <= 0 || port > kHighestPort) {
    return std::nullopt;
  }
  const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) {
    return std::nullopt;
  }
  LoopbackSocket socket(fd);
  // A blocking connect gives up when the send time-out runs out, so the deadline bounds it as
  // it bounds every send and receive after it. A signal cannot cut it short: tavio's handlers
  // end the run.
  if (!socket.bound_waits(deadline)) {
    return std::nullopt;
  }
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    return std::nullopt;  // refused, or not connected in time (EINPROGRESS)
  }
  return socket;
}

LoopbackSocket& LoopbackSocket::operator=(LoopbackSocket&& other) noexcept {
  if (this != &other) {
    if (fd_ >= 0) {
      ::close(fd_);
    }
    fd_ = other.fd_;
    wait_limit_ = other.wait_limit_;
    other.fd_ = -1;
  }
  return *this;
}

LoopbackSocket::~LoopbackSocket() {
  if (fd_ >= 0) {
    ::close(fd_);
  }
}

// A blocking call on the socket lasts at most its time-out (the kernel rounds it up to its
// clock tick). The time-out is shortened whenever less than it is left until the deadline, and
// otherwise kept: it is set in whole seconds while more than a second is left, so the next
// request, whose deadline lies as far ahead, finds it short enough and sets nothing.
bool LoopbackSocket::bound_waits(Deadline deadline) {
  using std::chrono::microseconds;
  using std::chrono::seconds;
  const auto left = std::chrono::duration_cast<microseconds>(deadline - Clock::now());
  if (left.count() <= 0) {
    return false;
  }
  if (left >= wait_limit_) {
    return true;
  }
  const microseconds limit =
      left >= seconds(1) ? microseconds(left / seconds(1) * seconds(1)) : left;
  // Zero would mean no time-out at all; left is at least a microsecond here.
  timeval time_out{};
  time_out.tv_sec = static_cast<time_t>(limit / seconds(1));
  time_out.tv_usec = static_cast<suseconds_t>((limit % seconds(1)).count());
  if (::setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &time_out, sizeof time_out) != 0 ||
      ::setsockopt(fd_, SOL_SOCKET, SO_SNDTIMEO, &time_out, sizeof time_out) != 0) {
    return false;
  }
  wait_limit_ = limit;
  return true;
}

bool LoopbackSocket::send_all(std::string_view bytes, Deadline deadline) {
  while (!bytes.empty()) {
    if (!bound_waits(deadline)) {
      return false;
    }
    // MSG_NOSIGNAL: a peer that went away fails the call instead of raising SIGPIPE.
    const ssize_t sent = ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent > 0) {
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    } else if (sent < 0 && (errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK)) {
      continue;  // a signal, or the time-out: the deadline decides
    } else {
      return false;
    }
  }
  return true;
}

LoopbackSocket::Received LoopbackSocket::receive(std::string& into, Deadline deadline) {
  char buffer[16384];
  while (true) {
    if (!bound_waits(deadline)) {
      return Received::kFailed;
    }
    const ssize_t got = ::recv(fd_, buffer, sizeof buffer, 0);
    if (got > 0) {
      into.append(buffer, static_cast<std::size_t>(got));
      return Received::kData;
    }
    if (got == 0) {
      return Received::kClosed;
    }
    if (errno != EINTR && errno != EAGAIN && errno != EWOULDBLOCK) {
      return Received::kFailed;
    }
  }
}

bool LoopbackSocket::idle() const {
  pollfd watched{fd_, POLLIN, 0};
  int ready;
  do {
    ready = ::poll(&watched, 1, 0);
  } while (ready < 0 && errno == EINTR);
  // Readable means an end of stream, a reset or bytes nobody asked for.
  return ready == 0;
}

}  // namespace tavio
