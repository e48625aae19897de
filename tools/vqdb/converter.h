// Texts of one code page to UTF-8 and back, by the system's own conversion.
#ifndef VQDB_CONVERTER_H_
#define VQDB_CONVERTER_H_

#include <memory>
#include <string>
#include <string_view>

namespace tool {

class Converter {
 public:
  virtual ~Converter() = default;
  // Converts from the start and appends. Returns how many bytes were converted: all of them, or as
  // many as stand before the first that cannot be.
  virtual std::size_t to_utf8(std::string_view bytes, std::string& out) = 0;
  virtual std::size_t from_utf8(std::string_view bytes, std::string& out) = 0;
};

// Null when the system does not know the code page. `name` is a number (1252) or a name.
std::unique_ptr<Converter> open_converter(const std::string& name);

}  // namespace tool

#endif  // VQDB_CONVERTER_H_
