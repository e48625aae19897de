#include <stdio.h>
#include <stdlib.h>

#include "first_light.h"

void fail(const char* what, const VqBlock* block, int result) {
  fprintf(stderr, "%s failed: result %d, detail %d\n", what, result, (int)block->detail);
  exit(1);
}

void check(const char* what, const VqBlock* block, int result) {
  if (result < 0) fail(what, block, result);
}

void wrong(const char* index, uint32_t recno, const char* what) {
  fprintf(stderr, "Wrong: %s, record %u: %s\n", index, (unsigned)recno, what);
  exit(1);
}

void* take(size_t bytes) {
  void* const memory = calloc(1, bytes);
  if (memory == NULL) {
    fprintf(stderr, "Out of memory\n");
    exit(1);
  }
  return memory;
}
