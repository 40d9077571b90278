// One TCP connection to a port of the loopback interface, for the local web API when tavio
// speaks HTTP itself. No thread and no busy loop: the connect, each send and each receive is
// one blocking call, bounded by the socket's own time-outs, which never reach past the
// deadline of the call.
#ifndef TAVIO_PLATFORM_LOOPBACK_SOCKET_H
#define TAVIO_PLATFORM_LOOPBACK_SOCKET_H

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace tavio {

/// A moment on the monotonic clock by which a call must be over.
using Deadline = std::chrono::steady_clock::time_point;
/// The moment that lies wait from now.
[[nodiscard]] Deadline deadline_after(std::chrono::milliseconds wait);
/// True once the moment has come.
[[nodiscard]] bool deadline_passed(Deadline deadline);

/// A connected socket to 127.0.0.1; closed when it goes.
class LoopbackSocket {
 public:
  /// Connects to port; nothing when refused, not connected by the deadline, or the port is
  /// out of range.
  [[nodiscard]] static std::optional<LoopbackSocket> connect(int port, Deadline deadline);

  LoopbackSocket(LoopbackSocket&& other) noexcept : fd_(other.fd_), wait_limit_(other.wait_limit_) {
    other.fd_ = -1;
  }
  LoopbackSocket& operator=(LoopbackSocket&& other) noexcept;
  LoopbackSocket(const LoopbackSocket&) = delete;
  LoopbackSocket& operator=(const LoopbackSocket&) = delete;
  ~LoopbackSocket();

  /// Sends every byte; false when the peer reset or closed the connection, or at the deadline.
  [[nodiscard]] bool send_all(std::string_view bytes, Deadline deadline);

  /// What one wait for the peer brought.
  enum class Received {
    kData,    ///< bytes were appended
    kClosed,  ///< the peer closed its side in order: nothing more will come
    kFailed,  ///< reset, or nothing came by the deadline
  };
  /// Waits until bytes arrive and appends what came (at most 16 KiB) to into.
  [[nodiscard]] Received receive(std::string& into, Deadline deadline);

  /// True when the connection lies idle as it should between a reply and the next request:
  /// the peer has not closed or reset it and has sent nothing unasked.
  [[nodiscard]] bool idle() const;

 private:
  explicit LoopbackSocket(int fd) : fd_(fd) {}
  /// Makes the socket's time-outs end a blocking call by the deadline; false when it passed
  /// or they cannot be set.
  [[nodiscard]] bool bound_waits(Deadline deadline);

  int fd_ = -1;
  /// The socket's send and receive time-out as last set; none at first.
  std::chrono::microseconds wait_limit_ = std::chrono::microseconds::max();
};

}  // namespace tavio

#endif
