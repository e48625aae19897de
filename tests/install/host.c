/* What a host needs to have found: the header, the library, and in it all families of functions. */
#include <stdio.h>
#include <string.h>

#include "vqdbsys.h"

static VqBlock block;

static int fail(int line, int result) {
  printf("line %d: %d/%d\n", line, result, (int)block.detail);
  return 1;
}
#define CHECK(call)                                     \
  do {                                                  \
    const int result = (call);                          \
    if (result != VQ_OK) return fail(__LINE__, result); \
  } while (0)

int main(void) {
  const char* const fields[] = {"NAME", "C5", "QTY", "N3"};
  VqIndexSpec byname = {VQ_KIND_NDX, "byname", 4, NULL};
  VqDatabase* database;
  VqMember order;
  char record[9] = "", key[5];
  uint32_t number;

  CHECK(DBinit(&block, VQ_DIALECT_DBASE3));
  CHECK(DBcreat(&block, "parts", 2, fields));
  CHECK(dNcreat(&block, "byname", "NAME", "C5"));
  CHECK(DBopen(&block, "parts", VQ_OPEN_EXCLUSIVE, 1, VQ_SPECS_ARRAY, 1, &byname, &database, NULL));
  CHECK(DBapprec(database, " nuts 120", &number));
  CHECK(DBapprec(database, " bolts 75", &number));
  CHECK(GRPmember(database, VQ_KIND_NDX, "byname", NULL, &order));
  CHECK(DBrewind(&order));
  CHECK(DBnextrec(&order, record, &number, key));
  CHECK(DBclose(database));
  if (number != 2 || memcmp(record, " bolts 75", 9) != 0) return fail(__LINE__, 0);
  printf("%s %s\n", vqVersion(), vqErrorText(VQ_E_NOT_FOUND));
  return 0;
}
