#include "readers/pqdif/inflate.h"

#include <fmt/format.h>
#include <zlib.h>

#include <algorithm>
#include <limits>

namespace readers::pqdif {
namespace {

/// Owns zlib's state for one stream.
class Inflater {
 public:
  explicit Inflater(std::string_view input) {
    // zlib only reads the input, but its interface predates const.
    stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(input.data()));
    stream_.avail_in = static_cast<uInt>(input.size());
    usable_ = inflateInit(&stream_) == Z_OK;
  }
  ~Inflater() {
    if (usable_) inflateEnd(&stream_);
  }
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;

  [[nodiscard]] bool usable() const { return usable_; }

  /// Unpacks more bytes to `to` and returns zlib's status.
  int next(char* to, std::size_t size) {
    stream_.next_out = reinterpret_cast<Bytef*>(to);
    stream_.avail_out = static_cast<uInt>(size);
    return inflate(&stream_, Z_NO_FLUSH);
  }

  [[nodiscard]] std::size_t room_left() const { return stream_.avail_out; }
  [[nodiscard]] std::size_t input_left() const { return stream_.avail_in; }
  [[nodiscard]] const char* message() const { return stream_.msg != nullptr ? stream_.msg : "invalid data"; }

 private:
  z_stream stream_{};
  bool usable_ = false;
};

}  // namespace

Unpacked unpack(std::string_view stream, std::size_t most) {
  Unpacked result;
  if (stream.size() > std::numeric_limits<uInt>::max()) return {{}, "its zlib stream is larger than 4 GB"};
  Inflater inflater(stream);
  if (!inflater.usable()) return {{}, "zlib has no memory to unpack it"};
  const std::size_t limit =
      std::min({most, most_unpacked, std::max(small_unpacked, most_unpacked_ratio * stream.size())});
  std::size_t filled = 0;
  for (;;) {
    // One byte more than the limit shows that a stream goes beyond it.
    const std::size_t room = std::min(std::max<std::size_t>(4096, 2 * filled), limit + 1);
    if (result.bytes.size() < room) result.bytes.resize(room);
    const int status = inflater.next(result.bytes.data() + filled, result.bytes.size() - filled);
    filled = result.bytes.size() - inflater.room_left();
    if (filled > limit) {
      return {{},
              fmt::format("its {} stored bytes unpack to more than {}, far more than measured data do", stream.size(),
                          limit)};
    }
    if (status == Z_STREAM_END) break;
    if (status == Z_BUF_ERROR || (status == Z_OK && inflater.input_left() == 0 && inflater.room_left() > 0)) {
      return {{}, fmt::format("its zlib stream of {} bytes breaks off", stream.size())};
    }
    if (status != Z_OK) {
      return {{},
              fmt::format("its zlib stream is damaged before byte {} ({})", stream.size() - inflater.input_left(),
                          inflater.message())};
    }
  }
  result.bytes.resize(filled);
  return result;
}

}  // namespace readers::pqdif
