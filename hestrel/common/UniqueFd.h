// Hestrel (client library and server): a file descriptor owned by one object.
#pragma once

#include <unistd.h>

#include <utility>

namespace hestrel {

/// Owns one file descriptor; -1 is the empty state. Closing never throws.
class TUniqueFd {
 public:
  TUniqueFd() = default;
  explicit TUniqueFd(int Fd) : FFd(Fd) {}
  TUniqueFd(const TUniqueFd&) = delete;
  TUniqueFd& operator=(const TUniqueFd&) = delete;
  TUniqueFd(TUniqueFd&& Other) noexcept : FFd(std::exchange(Other.FFd, -1)) {}
  TUniqueFd& operator=(TUniqueFd&& Other) noexcept {
    if (this != &Other) Reset(std::exchange(Other.FFd, -1));
    return *this;
  }
  ~TUniqueFd() { Reset(); }

  int Get() const { return FFd; }
  bool Valid() const { return FFd >= 0; }
  int Release() { return std::exchange(FFd, -1); }
  void Reset(int Fd = -1) {
    if (FFd >= 0) ::close(FFd);
    FFd = Fd;
  }

 private:
  int FFd = -1;
};

}  // namespace hestrel
