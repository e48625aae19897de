// A host in C++: what the library throws inside stays inside, and what the host throws stays here.
#include <cstdio>
#include <stdexcept>
#include <string>

#include "vqdbsys.h"

namespace {

double evaluate(VqBlock& block, const std::string& text) {
  char value[1001];
  char type = '\0';
  std::int32_t length = 0;
  if (const int result = dEeval(&block, text.c_str(), nullptr, nullptr, value, &type, &length)) {
    throw std::runtime_error(text + ": " + vqErrorText(result));
  }
  if (type != 'N') throw std::runtime_error("no number");
  return *reinterpret_cast<const double*>(value);
}

}  // namespace

int main() {
  VqBlock block;
  if (DBinit(&block, VQ_DIALECT_DBASE4) != VQ_OK) return 1;
  try {
    if (evaluate(block, "LEN('four') * 10 + 2") != 42) return 1;
    evaluate(block, "NOSUCH(1)");
  } catch (const std::exception& error) {
    std::printf("%s %s\n", vqVersion(), error.what());
    return 0;
  }
  return 1;
}
