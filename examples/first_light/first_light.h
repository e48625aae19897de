/* What the parts of the demonstration share. */
#ifndef FIRST_LIGHT_H_
#define FIRST_LIGHT_H_

#include <stddef.h>

#include "vqdbsys.h"

enum { kMaxColumns = 255, kMaxKey = 100, kGroupPart = 12, kNamePart = 20, kNumberWidth = 20 };
enum { kNames, kNumbers, kMixed, kIndexes };

typedef struct Column {
  char name[11];
  char type; /* C, N, D or L */
  int width;
  int decimals;
  int offset;   /* in the new record, behind the deletion flag */
  int distinct; /* different values in the source */
  int letters;  /* records whose value begins with a letter */
} Column;

typedef struct Plan {
  Column columns[kMaxColumns];
  int count;
  int record_length;
  const Column* name;   /* the character column that names the records best */
  const Column* group;  /* another one, with few values */
  const Column* number; /* the numeric column with most values */
} Plan;

typedef struct Demo {
  VqBlock block;
  VqDatabase* database;
  Plan plan;
  VqMember order[kIndexes];
  char* record; /* one record of the new table */
} Demo;

extern const char* const kFiles[kIndexes]; /* names of the index files */

/* ---- failure.c: every failure ends the program with what is known about it ---- */

void check(const char* what, const VqBlock* block, int result);
void fail(const char* what, const VqBlock* block, int result);
void wrong(const char* index, uint32_t recno, const char* what);
void* take(size_t bytes);

/* ---- plan.c: the layout of the new table, measured from the source's records ---- */

/* Adds the source's field to the plan, when it is of a type that the new table takes over. */
void plan_column(Demo* demo, VqTable* source, const char* name, const char* records,
                 uint32_t count);
void choose_columns(Plan* plan);
int trimmed_length(const char* text);
int smaller(int a, int b);

/* ---- verify.c: every index against the table, with keys computed here ---- */

int key_length(const Plan* plan, int index);
double number_of(const Plan* plan, const char* record);
uint32_t record_count(Demo* demo);
void read_record(Demo* demo, uint32_t recno);
/* Where a record stands in an index, from 1. As many keys of the table are smaller, or as many more
 * as are equal. */
uint32_t place_in(Demo* demo, int index, uint32_t recno);
void verify(Demo* demo);

#endif
