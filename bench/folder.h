// The folder that the benchmarks work in: one below the system's temporary folder (TMPDIR), made
// on first use and removed when the program ends.
#ifndef VQDBSYS_BENCH_FOLDER_H_
#define VQDBSYS_BENCH_FOLDER_H_

#include <string>
#include <string_view>

namespace vqdb::bench {

// Full name of a file there.
std::string file_in_folder(std::string_view name);

// The same, after removing the file if it exists.
std::string fresh_file(std::string_view name);

}  // namespace vqdb::bench

#endif  // VQDBSYS_BENCH_FOLDER_H_
