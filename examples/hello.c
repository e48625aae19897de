/* hello.c: a table of cities, kept in the order of their population. */
#include <stdio.h>
#include <stdlib.h>

#include "vqdbsys.h"

static VqBlock block;

static void check(int result) {
  if (result == VQ_OK) return;
  fprintf(stderr, "failed: result %d, detail %d\n", result, (int)block.detail);
  exit(1);
}

int main(void) {
  const char* const fields[] = {"CITY", "C12", "PEOPLE", "N8"};
  /* The deletion flag, 12 characters for CITY, 8 for PEOPLE. */
  const char* const cities[] = {" Porto         231800", " Lisboa        545796",
                                " Braga         193349"};
  VqIndexSpec index = {VQ_KIND_NDX, "people", 4, NULL};
  VqDatabase* db;
  VqMember order;
  char record[22] = "", key[8];
  uint32_t number;
  int result;

  check(DBinit(&block, VQ_DIALECT_DBASE3));
  check(DBcreat(&block, "cities", 2, fields));
  check(dNcreat(&block, "people", "PEOPLE", "N"));
  check(DBopen(&block, "cities", VQ_OPEN_EXCLUSIVE, 1, VQ_SPECS_ARRAY, 1, &index, &db, NULL));
  for (int i = 0; i < 3; ++i) check(DBapprec(db, cities[i], &number));
  check(GRPmember(db, VQ_KIND_NDX, "people", NULL, &order));
  check(DBrewind(&order));
  while ((result = DBnextrec(&order, record, &number, key)) == VQ_OK) puts(record + 1);
  check(result == VQ_E_INDEX_END ? VQ_OK : result);
  check(DBclose(db));
  return 0;
}
