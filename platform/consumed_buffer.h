// Memory that is filled once, read from its beginning to its end, and given back meanwhile.
#pragma once

#include <cstddef>
#include <string_view>

namespace platform {

class ConsumedBuffer {
 public:
  /// Makes room for `capacity` bytes, which become resident when they are filled.
  explicit ConsumedBuffer(std::size_t capacity);
  ConsumedBuffer(ConsumedBuffer&& other) noexcept;
  ConsumedBuffer(const ConsumedBuffer&) = delete;
  ConsumedBuffer& operator=(ConsumedBuffer&&) = delete;
  ConsumedBuffer& operator=(const ConsumedBuffer&) = delete;
  ~ConsumedBuffer();

  /// Throws std::bad_alloc. Must not be called any more once something was given back.
  void append(std::string_view bytes);

  /// Returns all bytes. Those that were given back must not be read.
  [[nodiscard]] std::string_view bytes() const { return {begin_, size_}; }

  /// Gives back the pages before an address within the bytes. This is done for many pages at a time.
  void give_back_before(const char* address);

 private:
  void resize(std::size_t capacity);

  char* begin_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;  ///< whole pages
  std::size_t given_back_ = 0;
};

}  // namespace platform
