#include "platform/consumed_buffer.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace platform {

namespace {

std::size_t page_size() {
  static const auto size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  return size;
}

}  // namespace

ConsumedBuffer::ConsumedBuffer(std::size_t capacity) {
  resize(capacity);
}

ConsumedBuffer::ConsumedBuffer(ConsumedBuffer&& other) noexcept
    : begin_(std::exchange(other.begin_, nullptr)),
      size_(std::exchange(other.size_, 0)),
      capacity_(std::exchange(other.capacity_, 0)),
      given_back_(std::exchange(other.given_back_, 0)) {}

ConsumedBuffer::~ConsumedBuffer() {
  if (begin_ != nullptr && given_back_ < capacity_) munmap(begin_ + given_back_, capacity_ - given_back_);
}

void ConsumedBuffer::resize(std::size_t capacity) {
  const std::size_t pages = std::max<std::size_t>(1, (capacity + page_size() - 1) / page_size());
  void* const room = moved_to(pages * page_size());
  if (room == MAP_FAILED) throw std::bad_alloc();
  begin_ = static_cast<char*>(room);
  capacity_ = pages * page_size();
}

void* ConsumedBuffer::moved_to(std::size_t capacity) {
#if defined(__linux__)
  // The pages keep their content under other addresses, so the bytes are never held twice.
  if (begin_ != nullptr) return mremap(begin_, capacity_, capacity, MREMAP_MAYMOVE);
#endif
  void* const room = mmap(nullptr, capacity, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (room != MAP_FAILED && begin_ != nullptr) {
    std::memcpy(room, begin_, size_);
    munmap(begin_, capacity_);
  }
  return room;
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
  if (munmap(begin_ + given_back_, end - given_back_) == 0) given_back_ = end;
}

}  // namespace platform
