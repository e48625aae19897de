option(VQ_BUILD_TESTS "Build the tests" ON)
option(VQ_BUILD_EXAMPLES "Build the example programs" ON)
option(VQ_BUILD_TOOLS "Build the command-line programs" ON)
option(VQ_BUILD_BENCH "Build the benchmarks where their libraries are installed" OFF)
option(VQ_BUILD_FUZZ "Build only the library objects and the fuzz targets (clang)" OFF)
option(VQ_PARTIAL "Link although functions are missing; they crash when called" ON)

set(CMAKE_C_STANDARD 11)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})

find_program(VQ_CCACHE ccache)
if(VQ_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${VQ_CCACHE})
  set(CMAKE_C_COMPILER_LAUNCHER ${VQ_CCACHE})
endif()

if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # Unique symbols cannot be hidden in the archive.
  add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-fno-gnu-unique>)
endif()
if(WIN32)
  # Programs run anywhere: no MinGW run-time DLL has to lie beside them.
  add_link_options(-static)
endif()

add_library(vq_warnings INTERFACE)
target_compile_options(vq_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)

# Linked by the test programs only: a half-built tree can run the tests of the rooms that exist.
add_library(vq_partial INTERFACE)
if(VQ_PARTIAL)
  target_link_options(vq_partial INTERFACE -Wl,--warn-unresolved-symbols)
  if(NOT WIN32)
    # The loader refuses position-independent programs with calls to nowhere.
    target_link_options(vq_partial INTERFACE
                        $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:-no-pie>)
  endif()
endif()
