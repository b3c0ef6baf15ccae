#include "platform/consumed_buffer.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "platform/pages.h"

namespace platform {

ConsumedBuffer::ConsumedBuffer(std::size_t capacity) {
  resize(capacity);
}

ConsumedBuffer::ConsumedBuffer(ConsumedBuffer&& other) noexcept
    : begin_(std::exchange(other.begin_, nullptr)),
      size_(std::exchange(other.size_, 0)),
      capacity_(std::exchange(other.capacity_, 0)),
      given_back_(std::exchange(other.given_back_, 0)) {}

ConsumedBuffer::~ConsumedBuffer() {
  if (begin_ != nullptr) release_pages(begin_, given_back_, capacity_);
}

void ConsumedBuffer::resize(std::size_t capacity) {
  const std::size_t bytes = std::max<std::size_t>(1, (capacity + page_size() - 1) / page_size()) * page_size();
  char* const room = begin_ == nullptr ? new_pages(bytes) : larger_pages(begin_, capacity_, size_, bytes);
  if (room == nullptr) throw std::bad_alloc();
  begin_ = room;
  capacity_ = bytes;
}

void ConsumedBuffer::append(std::string_view bytes) {
  if (bytes.empty()) return;
  if (bytes.size() > capacity_ - size_) resize(std::max(2 * capacity_, size_ + bytes.size()));
  std::memcpy(begin_ + size_, bytes.data(), bytes.size());
  size_ += bytes.size();
}

void ConsumedBuffer::give_back_before(const char* address) {
  constexpr std::size_t at_once = std::size_t{1} << 22;
  const auto consumed = static_cast<std::size_t>(address - begin_);
  if (consumed < given_back_ + at_once) return;
  const std::size_t end = consumed / page_size() * page_size();
  if (give_back_pages(begin_, given_back_, end)) given_back_ = end;
}

}  // namespace platform
