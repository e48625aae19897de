#include "converter.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>

namespace tool {
namespace {

const iconv_t kNone = reinterpret_cast<iconv_t>(-1);

class OneWay {
 public:
  OneWay(const std::string& from, const std::string& to)
      : state_(::iconv_open(to.c_str(), from.c_str())) {}
  ~OneWay() {
    if (is_open()) ::iconv_close(state_);
  }
  OneWay(const OneWay&) = delete;
  OneWay& operator=(const OneWay&) = delete;

  bool is_open() const { return state_ != kNone; }

  std::size_t convert(std::string_view bytes, std::string& out) {
    ::iconv(state_, nullptr, nullptr, nullptr, nullptr);
    char* from = const_cast<char*>(bytes.data());
    std::size_t left = bytes.size();
    std::array<char, 1024> room;
    while (left > 0) {
      char* to = room.data();
      std::size_t free = room.size();
      const std::size_t result = ::iconv(state_, &from, &left, &to, &free);
      out.append(room.data(), room.size() - free);
      if (result == static_cast<std::size_t>(-1) && errno != E2BIG) break;
    }
    // What a code page with shift states still owes.
    char* to = room.data();
    std::size_t free = room.size();
    ::iconv(state_, nullptr, nullptr, &to, &free);
    out.append(room.data(), room.size() - free);
    return bytes.size() - left;
  }

 private:
  iconv_t state_;
};

class IconvConverter : public Converter {
 public:
  explicit IconvConverter(const std::string& name)
      : decoder_(name, "UTF-8"), encoder_("UTF-8", name) {}
  bool is_open() const { return decoder_.is_open() && encoder_.is_open(); }
  std::size_t to_utf8(std::string_view bytes, std::string& out) override {
    return decoder_.convert(bytes, out);
  }
  std::size_t from_utf8(std::string_view bytes, std::string& out) override {
    return encoder_.convert(bytes, out);
  }

 private:
  OneWay decoder_;
  OneWay encoder_;
};

}  // namespace

std::unique_ptr<Converter> open_converter(const std::string& name) {
  const bool is_number =
      std::ranges::all_of(name, [](unsigned char c) { return std::isdigit(c) != 0; });
  auto converter = std::make_unique<IconvConverter>(is_number ? "CP" + name : name);
  if (!converter->is_open()) return nullptr;
  return converter;
}

}  // namespace tool
