// A terminal for a command to write to.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace tests {

/// A terminal, as a pseudo-terminal's two ends.
class Terminal {
 public:
  /// `columns`: its width; 0 if nobody knows it.
  explicit Terminal(unsigned short columns = 0) : master_(posix_openpt(O_RDWR | O_NOCTTY)) {
    if (master_ < 0 || grantpt(master_) != 0 || unlockpt(master_) != 0) std::abort();
    name_ = ptsname(master_);
    kept_open_ = open(name_.c_str(), O_RDWR | O_NOCTTY);
    termios plain{};
    tcgetattr(kept_open_, &plain);
    plain.c_oflag &= ~static_cast<tcflag_t>(OPOST);
    tcsetattr(kept_open_, TCSANOW, &plain);
    const winsize size{24, columns, 0, 0};
    ioctl(kept_open_, TIOCSWINSZ, &size);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;
  ~Terminal() {
    close(kept_open_);
    close(master_);
  }

  [[nodiscard]] const std::string& name() const { return name_; }

  /// Waits until something is written to it, for a minute at most, and returns that.
  [[nodiscard]] std::string awaited_text() const {
    pollfd ready{master_, POLLIN, 0};
    poll(&ready, 1, 60000);
    return text();
  }

  /// Returns everything that was written to it.
  [[nodiscard]] std::string text() const {
    std::string all;
    pollfd ready{master_, POLLIN, 0};
    char part[4096];
    while (poll(&ready, 1, 100) > 0) {
      const ssize_t count = read(master_, part, sizeof part);
      if (count <= 0) break;
      all.append(part, static_cast<std::size_t>(count));
    }
    return all;
  }

 private:
  int master_;
  int kept_open_ = -1;
  std::string name_;
};

}  // namespace tests
