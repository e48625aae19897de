/* A table of cities, kept in the order of their population. */
#include <stdio.h>

#include "vqdbsys.h"

int main(void) {
  const char* fields[] = {"CITY", "C12", "PEOPLE", "N8"};
  VqIndexSpec index = {64, "people", 4, NULL}, *failed;
  VqDatabase* db;
  VqMember order;
  VqBlock block;
  char record[22] = "", key[8];
  uint32_t number;

  if (DBinit(&block, 1) || DBcreat(&block, "cities", 2, fields) ||
      dNcreat(&block, "people", "PEOPLE", "N") ||
      DBopen(&block, "cities", 0, 1, 1, 1, &index, &db, &failed))
    return printf("failed, detail %d\n", (int)block.detail);
  DBapprec(db, " Porto         231800", &number); /* flag byte, 12 for CITY, 8 for PEOPLE */
  DBapprec(db, " Lisboa        545796", &number);
  DBapprec(db, " Braga         193349", &number);
  GRPmember(db, 64, "people", NULL, &order);
  for (DBrewind(&order); DBnextrec(&order, record, &number, key) == 0;) puts(record + 1);
  return DBclose(db);
}
