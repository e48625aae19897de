#include "support/memo_files.h"

namespace vqdb::testing {

std::string reference_to(std::uint32_t block) {
  const std::string digits = std::to_string(block);
  return std::string(10 - digits.size(), '0') + digits;
}

std::uint32_t block_of(const std::string& reference) {
  const std::size_t digits = reference.find_first_not_of(' ');
  return digits == std::string::npos
             ? 0
             : static_cast<std::uint32_t>(std::stoul(reference.substr(digits)));
}

std::uint32_t read_le32(std::string_view bytes, std::size_t offset) {
  std::uint32_t value = 0;
  for (std::size_t i = 4; i-- > 0;) {
    value = value << 8 | static_cast<std::uint8_t>(bytes.at(offset + i));
  }
  return value;
}

VqBlock memo_block(std::uint32_t kind, std::uint32_t block_setting) {
  VqBlock block = {};
  block.kind = kind;
  block.memo_block_setting = block_setting;
  block.count_setting = 20;
  return block;
}

std::string memo_table(std::uint8_t version, std::size_t memo_fields,
                       const std::vector<std::string>& references) {
  const auto field = [](std::string name, char type, char length) {
    name.resize(11, '\0');
    return name + type + std::string(4, '\0') + length + std::string(15, '\0');
  };
  const std::size_t records = memo_fields == 0 ? 0 : references.size() / memo_fields;
  const std::size_t record_length = 1 + 4 + 10 * memo_fields;
  const std::size_t header_length = 33 + 32 * (1 + memo_fields);
  std::string file = {static_cast<char>(version), 95, 1, 2};
  file += le32(static_cast<std::uint32_t>(records));
  file += le32(static_cast<std::uint32_t>(header_length | record_length << 16));
  file.resize(32, '\0');
  file += field("CODE", 'C', 4);
  for (std::size_t i = 0; i < memo_fields; ++i) file += field("M" + std::to_string(i), 'M', 10);
  file += '\r';
  for (std::size_t i = 0; i < references.size(); ++i) {
    if (i % memo_fields == 0) file += " code";
    file += references[i];
  }
  return file + '\x1A';
}

MemoFile::MemoFile(VqBlock& block, const std::string& name, Layout layout, std::uint32_t mode)
    : layout_(layout),
      handle_(layout == Layout::dbase4 ? lib.dTopen(&block, name.c_str(), mode)
                                       : lib.dTopen3(&block, name.c_str(), mode)) {}

MemoFile::~MemoFile() { close(); }

void create_memos(VqBlock& block, const std::string& name, MemoFile::Layout layout) {
  write_file(name + ".DBF", memo_table(0x03, 1, {}));
  EXPECT_EQ(
      0, (layout == MemoFile::Layout::dbase4 ? lib.dTcreat : lib.dTcreat3)(&block, name.c_str()));
}

std::int32_t MemoFile::close() {
  VqMemo* const handle = std::exchange(handle_, nullptr);
  if (handle == nullptr) return 0;
  return layout_ == Layout::dbase4 ? lib.dTclose(handle) : lib.dTclose3(handle);
}

std::int32_t MemoFile::write_new(std::string_view text, std::string& reference) {
  const auto length = static_cast<std::int32_t>(text.size());
  return layout_ == Layout::dbase4
             ? lib.dTnewmm(handle_, 0, length, text.data(), reference.data())
             : lib.dTnewmm3(handle_, 0, 0, std::string(text).c_str(), reference.data());
}

std::int32_t MemoFile::append(std::string_view text, std::string& reference, std::int32_t* moved) {
  const auto length = static_cast<std::int32_t>(text.size());
  return layout_ == Layout::dbase4
             ? lib.dTaddmm(handle_, length, text.data(), reference.data(), moved)
             : lib.dTaddmm3(handle_, 0, std::string(text).c_str(), reference.data(), moved);
}

std::int32_t MemoFile::replace(std::string_view text, std::string& reference, std::int32_t* moved) {
  const auto length = static_cast<std::int32_t>(text.size());
  return layout_ == Layout::dbase4
             ? lib.dTupdmm(handle_, 0, length, text.data(), reference.data(), moved)
             : lib.dTupdmm3(handle_, 0, 0, std::string(text).c_str(), reference.data(), moved);
}

std::int32_t MemoFile::read(const std::string& reference, std::string& text) {
  std::int32_t size = 0;
  const std::int32_t sized = layout_ == Layout::dbase4
                                 ? lib.dTmemosz(handle_, reference.c_str(), &size)
                                 : lib.dTmemsz3(handle_, reference.c_str(), &size);
  if (sized != 0) return sized;
  text.assign(static_cast<std::size_t>(size) + 1, '?');
  std::int32_t done = 0;
  const auto get = layout_ == Layout::dbase4 ? lib.dTgetmm : lib.dTgetmm3;
  const std::int32_t result = get(handle_, reference.c_str(), 0, size, text.data(), &size, &done);
  const bool ended = done == 1 && text[static_cast<std::size_t>(size)] == '\0';
  text.resize(static_cast<std::size_t>(size));
  return result == 0 && !ended ? -1 : result;
}

std::string fault_in_dbase4(const std::string& file, const std::vector<std::string>& references,
                            bool leaks_allowed) {
  if (file.size() < 24) return "no header";
  const std::size_t block_size = read_le32(file, 20) & 0xFFFF;
  const std::size_t blocks = (file.size() + block_size - 1) / block_size;
  std::vector<char> owner(blocks, '-');
  owner[0] = 'H';
  const auto claim = [&](std::size_t first, std::size_t count, char who) -> std::string {
    const std::string run =
        std::string(1, who) + " run " + std::to_string(first) + "+" + std::to_string(count);
    if (first == 0 || count == 0 || first + count > blocks) return run + " leaves the file";
    for (std::size_t i = first; i < first + count; ++i) {
      if (owner[i] != '-') return run + " overlaps with " + owner[i];
      owner[i] = who;
    }
    return {};
  };

  for (const std::string& reference : references) {
    const std::size_t first = block_of(reference);
    if (first * block_size + 8 > file.size()) return "reference behind the file: " + reference;
    const std::size_t stored = read_le32(file, first * block_size + 4);
    if (file.compare(first * block_size, 4, std::string("\xFF\xFF\x08\0", 4)) != 0) {
      return "no memo at " + reference;
    }
    if (first * block_size + stored > file.size()) return "text leaves the file: " + reference;
    const std::string fault = claim(first, (stored + block_size - 1) / block_size, 'M');
    if (!fault.empty()) return fault;
  }
  std::size_t next = read_le32(file, 0);
  while (next * block_size < file.size()) {
    if (next == 0 || next * block_size + 8 > file.size()) return "chain leaves the file";
    const std::string fault = claim(next, read_le32(file, next * block_size + 4), 'F');
    if (!fault.empty()) return fault;
    next = read_le32(file, next * block_size);
  }
  if (leaks_allowed) return {};
  if (next > blocks) return "gap before the end of the chain";
  const auto lost = std::find(owner.begin(), owner.end(), '-');
  return lost == owner.end() ? std::string()
                             : "block " + std::to_string(lost - owner.begin()) + " is lost";
}

}  // namespace vqdb::testing
