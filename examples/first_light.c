/*
 * Takes a table that some other program wrote, copies its records into a new table with three
 * indexes, changes some of them, and checks after each step that every index agrees with the table.
 *
 *   first_light SOURCE.DBF
 *
 * The new files (PLACES.DBF, NAMES.NDX, NUMBERS.NDX, MIXED.NDX, PLACES.DD) go to the current
 * folder. The source is only read. It needs two character fields and a numeric one.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

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
} Column;

typedef struct Plan {
  Column columns[kMaxColumns];
  int count;
  int record_length;
  const Column* name;   /* the character column that tells the records best apart */
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

static const char* const kFiles[kIndexes] = {"names", "numbers", "mixed"};

static void fail(const char* what, const VqBlock* block, int result) {
  fprintf(stderr, "%s failed: result %d, detail %d\n", what, result, (int)block->detail);
  exit(1);
}

static void check(const char* what, const VqBlock* block, int result) {
  if (result < 0) fail(what, block, result);
}

static void wrong(const char* index, uint32_t recno, const char* what) {
  fprintf(stderr, "Index %s, record %u: %s\n", index, (unsigned)recno, what);
  exit(1);
}

static void* take(size_t bytes) {
  void* const memory = calloc(1, bytes);
  if (memory == NULL) {
    fprintf(stderr, "Out of memory\n");
    exit(1);
  }
  return memory;
}

static int trimmed_length(const char* text) {
  size_t length = strlen(text);
  while (length > 0 && text[length - 1] == ' ') --length;
  return (int)length;
}

/* ---- Reading the source and laying out the new table ---------------------------------------- */

/* Widens the column for one more value: texts to their longest, numbers to 20 places at most. */
static void measure(Column* column, const char* text, int* integer_digits) {
  const int length = trimmed_length(text);
  if (column->type == 'C' && length > column->width) column->width = length;
  if (column->type == 'N') {
    const char* const start = text + strspn(text, " ");
    const char* const point = strchr(start, '.');
    const int whole = point != NULL ? (int)(point - start) : (int)strlen(start);
    const int decimals = point != NULL ? (int)strlen(point + 1) : 0;
    if (whole > *integer_digits) *integer_digits = whole;
    if (decimals > column->decimals) column->decimals = decimals;
  }
}

/* How many different values the column has among the first 1000 records. */
static int count_distinct(VqTable* source, const Column* column, const char* records, int length,
                          uint32_t count) {
  const uint32_t limit = count < 1000 ? count : 1000;
  char(*const texts)[256] = take(limit * sizeof *texts);
  int distinct = 0;
  for (uint32_t i = 0; i < limit; ++i) {
    uint32_t j = 0;
    DBexfield(source, records + i * (size_t)length, column->name, texts[i]);
    while (j < i && strcmp(texts[i], texts[j]) != 0) ++j;
    distinct += j == i;
  }
  free(texts);
  return distinct;
}

static void plan_column(Demo* demo, VqTable* source, const char* name, const char* records,
                        uint32_t count) {
  Plan* const plan = &demo->plan;
  Column column = {0};
  VqExpr* program = NULL;
  int32_t width = 0;
  int integer_digits = 1;
  char text[256];
  const int length = dDreclen(source);
  check("dEparse", &demo->block,
        dEparse(&demo->block, name, source, &program, &column.type, &width));
  dEfree(program);
  if (column.type == 'F') column.type = 'N';
  if (strchr("CNDL", column.type) == NULL || plan->count == kMaxColumns) return;
  strncpy(column.name, name, sizeof column.name - 1);
  column.width = column.type == 'C' ? 1 : (int)width;
  for (uint32_t i = 0; i < count; ++i) {
    DBexfield(source, records + i * (size_t)length, name, text);
    measure(&column, text, &integer_digits);
  }
  if (column.type == 'N') {
    const int room = kNumberWidth - integer_digits - 2; /* one for the point, one for a minus */
    if (column.decimals > room) column.decimals = room > 0 ? room : 0;
    column.width = integer_digits + 1 + (column.decimals > 0 ? column.decimals + 1 : 0);
    if (column.width > kNumberWidth) column.width = kNumberWidth;
  }
  column.offset = plan->record_length;
  column.distinct = count_distinct(source, &column, records, length, count);
  plan->record_length += column.width;
  plan->columns[plan->count++] = column;
}

static void choose_columns(Plan* plan) {
  for (int i = 0; i < plan->count; ++i) {
    const Column* const column = &plan->columns[i];
    if (column->type == 'C' && (plan->name == NULL || column->distinct > plan->name->distinct)) {
      plan->name = column;
    }
    if (column->type == 'N' &&
        (plan->number == NULL || column->distinct > plan->number->distinct)) {
      plan->number = column;
    }
  }
  for (int i = 0; i < plan->count; ++i) {
    const Column* const column = &plan->columns[i];
    if (column->type == 'C' && column != plan->name && column->distinct > 1 &&
        (plan->group == NULL || column->distinct < plan->group->distinct)) {
      plan->group = column;
    }
  }
  if (plan->name == NULL || plan->group == NULL || plan->number == NULL) {
    fprintf(stderr, "The source needs two character fields and a numeric one\n");
    exit(2);
  }
}

/* ---- Keys, computed here from the record so that the library's can be checked ---------------- */

static int smaller(int a, int b) { return a < b ? a : b; }

static int key_length(const Plan* plan, int index) {
  if (index == kNumbers) return 8;
  if (index == kNames) return smaller(plan->name->width, kMaxKey);
  return smaller(plan->group->width, kGroupPart) + smaller(plan->name->width, kNamePart);
}

static double number_of(const Plan* plan, const char* record) {
  char text[kNumberWidth + 1] = "";
  memcpy(text, record + plan->number->offset, (size_t)plan->number->width);
  return strtod(text, NULL);
}

static void expected_key(const Plan* plan, int index, const char* record, char* key) {
  if (index == kNumbers) {
    const double value = number_of(plan, record);
    memcpy(key, &value, sizeof value);
  } else if (index == kNames) {
    memcpy(key, record + plan->name->offset, (size_t)key_length(plan, kNames));
  } else {
    const int group = smaller(plan->group->width, kGroupPart);
    memcpy(key, record + plan->group->offset, (size_t)group);
    memcpy(key + group, record + plan->name->offset, (size_t)(key_length(plan, kMixed) - group));
    for (int i = 0; i < key_length(plan, kMixed); ++i) {
      if (key[i] >= 'a' && key[i] <= 'z') key[i] = (char)(key[i] - 'a' + 'A');
    }
  }
}

static int compare_keys(const Plan* plan, int index, const char* a, const char* b) {
  if (index == kNumbers) {
    double x;
    double y;
    memcpy(&x, a, sizeof x);
    memcpy(&y, b, sizeof y);
    return (x > y) - (x < y);
  }
  return memcmp(a, b, (size_t)key_length(plan, index));
}

/* ---- The new table and its indexes ------------------------------------------------------------
 */

static void create_files(Demo* demo) {
  const Plan* const plan = &demo->plan;
  char types[kMaxColumns][16];
  const char* fields[2 * kMaxColumns];
  char expression[241];
  char format[8];
  for (int i = 0; i < plan->count; ++i) {
    const Column* const column = &plan->columns[i];
    snprintf(types[i], sizeof types[i], column->type == 'N' ? "N%d.%d" : "%c%d",
             column->type == 'N' ? column->width : column->type,
             column->type == 'N' ? column->decimals : column->width);
    fields[2 * i] = column->name;
    fields[2 * i + 1] = types[i];
  }
  check("DBcreat", &demo->block, DBcreat(&demo->block, "places", plan->count, fields));

  snprintf(format, sizeof format, "C%d", key_length(plan, kNames));
  check("dNcreat", &demo->block, dNcreat(&demo->block, kFiles[kNames], plan->name->name, format));
  check("dNcreat", &demo->block, dNcreat(&demo->block, kFiles[kNumbers], plan->number->name, "N"));
  snprintf(expression, sizeof expression, "UPPER(SUBSTR(%s,1,%d)+SUBSTR(%s,1,%d))",
           plan->group->name, smaller(plan->group->width, kGroupPart), plan->name->name,
           smaller(plan->name->width, kNamePart));
  snprintf(format, sizeof format, "C%d", key_length(plan, kMixed));
  check("dNcreat", &demo->block, dNcreat(&demo->block, kFiles[kMixed], expression, format));
  printf("Indexes: %s by %s, %s by %s, %s by %s\n", kFiles[kNames], plan->name->name,
         kFiles[kNumbers], plan->number->name, kFiles[kMixed], expression);
}

static void find_members(Demo* demo) {
  for (int i = 0; i < kIndexes; ++i) {
    check("GRPmember", &demo->block,
          GRPmember(demo->database, 64, kFiles[i], NULL, &demo->order[i]));
  }
}

static void open_with_indexes(Demo* demo) {
  VqIndexSpec specs[kIndexes];
  VqIndexSpec* failed = NULL;
  for (int i = 0; i < kIndexes; ++i) {
    specs[i] = (VqIndexSpec){64, kFiles[i], 10, NULL};
  }
  check("DBopen", &demo->block,
        DBopen(&demo->block, "places", 0, 10, 1, kIndexes, specs, &demo->database, &failed));
  find_members(demo);
}

static void convert_record(Demo* demo, VqTable* source, const char* from) {
  const Plan* const plan = &demo->plan;
  char text[256];
  memset(demo->record, ' ', (size_t)plan->record_length);
  demo->record[0] = from[0];
  for (int i = 0; i < plan->count; ++i) {
    const Column* const column = &plan->columns[i];
    char* const to = demo->record + column->offset;
    check("DBexfield", &demo->block, DBexfield(source, from, column->name, text));
    if (column->type == 'N' && trimmed_length(text) > 0) {
      char field[kNumberWidth + 1];
      double value = 0;
      check("dUnftod", &demo->block, dUnftod(text, (int32_t)strlen(text), &value));
      check("dUdtonf", &demo->block,
            dUdtonf(&demo->block, value, column->width, column->decimals, field));
      memcpy(to, field, (size_t)column->width);
    } else {
      memcpy(to, text, (size_t)smaller((int)strlen(text), column->width));
    }
  }
}

static void copy_records(Demo* demo, const char* source_name) {
  Plan* const plan = &demo->plan;
  uint32_t count = 0;
  uint32_t recno = 0;
  char name[12] = "";
  VqTable* const source = dDopen(&demo->block, source_name, 1, 10);
  if (source == NULL) fail("Opening the source", &demo->block, demo->block.result);
  check("dDreccnt", &demo->block, dDreccnt(source, &count));
  const int length = dDreclen(source);
  char* const records = take((size_t)length * (count + 1));
  for (uint32_t i = 0; i < count; ++i) {
    check("dDgetrec", &demo->block, dDgetrec(source, i + 1, records + i * (size_t)length));
  }
  plan->record_length = 1;
  for (int i = 1; i <= dDfields(source); ++i) {
    check("dDfldnm", &demo->block, dDfldnm(source, i, name));
    plan_column(demo, source, name, records, count);
  }
  choose_columns(plan);
  printf("Read %s: %u records of %d bytes in %d fields\n", source_name, (unsigned)count, length,
         (int)dDfields(source));

  create_files(demo);
  open_with_indexes(demo);
  demo->record = take((size_t)plan->record_length + 1);
  const clock_t begin = clock();
  for (uint32_t i = 0; i < count; ++i) {
    convert_record(demo, source, records + i * (size_t)length);
    check("DBapprec", &demo->block, DBapprec(demo->database, demo->record, &recno));
  }
  printf("Appended %u records of %d bytes, each with a key in three indexes, in %.1f ms\n",
         (unsigned)count, plan->record_length, (double)(clock() - begin) * 1000 / CLOCKS_PER_SEC);
  free(records);
  check("dDclose", &demo->block, dDclose(source));
}

/* ---- Showing and checking ---------------------------------------------------------------------
 */

static void show(Demo* demo, int index, const char* title) {
  const Plan* const plan = &demo->plan;
  char key[kMaxKey + 1];
  uint32_t recno = 0;
  printf("\n%s\n", title);
  DBrewind(&demo->order[index]);
  for (int i = 0; i < 4; ++i) {
    if (DBnextrec(&demo->order[index], demo->record, &recno, key) != 0) return;
    printf("  record %4u %c %-14.*s  %-26.*s %16.2f\n", (unsigned)recno, demo->record[0],
           smaller(plan->group->width, 14), demo->record + plan->group->offset,
           smaller(plan->name->width, 26), demo->record + plan->name->offset,
           number_of(plan, demo->record));
  }
}

/* Checks the entry just stepped to: the key is what its record says, and in order. */
static void check_entry(Demo* demo, int index, uint32_t recno, const char* key,
                        const char* previous, int direction) {
  char expected[kMaxKey + 1];
  expected_key(&demo->plan, index, demo->record, expected);
  if (compare_keys(&demo->plan, index, key, expected) != 0) {
    wrong(kFiles[index], recno, "the key is not what the record says");
  }
  if (previous != NULL && compare_keys(&demo->plan, index, key, previous) * direction < 0) {
    wrong(kFiles[index], recno, "the key is out of order");
  }
}

static void check_walks(Demo* demo, int index, uint32_t count) {
  VqMember* const order = &demo->order[index];
  uint32_t* const forwards = take((count + 1) * sizeof *forwards);
  char* const seen = take(count + 2);
  char keys[2][kMaxKey + 1];
  uint32_t recno = 0;
  uint32_t steps = 0;
  int result = 0;
  check("DBrewind", &demo->block, DBrewind(order));
  while ((result = DBnextrec(order, demo->record, &recno, keys[steps % 2])) == 0) {
    if (recno < 1 || recno > count) wrong(kFiles[index], recno, "there is no such record");
    if (seen[recno]++) wrong(kFiles[index], recno, "the record came twice");
    check_entry(demo, index, recno, keys[steps % 2], steps > 0 ? keys[(steps + 1) % 2] : NULL, 1);
    forwards[steps++] = recno;
  }
  if (result != VQ_E_INDEX_END) fail("DBnextrec", &demo->block, result);
  if (steps != count) wrong(kFiles[index], steps, "the walk ended before all records came");

  check("DBforward", &demo->block, DBforward(order));
  for (; (result = DBprevrec(order, demo->record, &recno, keys[steps % 2])) == 0; --steps) {
    if (steps == 0 || recno != forwards[steps - 1]) {
      wrong(kFiles[index], recno, "the way back is another one");
    }
    check_entry(demo, index, recno, keys[steps % 2], steps < count ? keys[(steps + 1) % 2] : NULL,
                -1);
  }
  if (result != VQ_E_INDEX_START) fail("DBprevrec", &demo->block, result);
  if (steps != 0) wrong(kFiles[index], steps, "the way back ended early");
  free(forwards);
  free(seen);
}

static void check_searches(Demo* demo, int index, uint32_t count) {
  char key[kMaxKey + 1];
  char found[kMaxKey + 1];
  VqMember table;
  check("GRPmember", &demo->block, GRPmember(demo->database, 1, NULL, NULL, &table));
  for (uint32_t i = 1; i <= count; ++i) {
    uint32_t recno = 0;
    check("DBgetrec", &demo->block,
          DBgetrec(&table, (const void*)(uintptr_t)i, demo->record, &recno));
    expected_key(&demo->plan, index, demo->record, key);
    if (DBgetrec(&demo->order[index], key, demo->record, &recno) != 0) {
      wrong(kFiles[index], i, "its key is not found");
    }
    expected_key(&demo->plan, index, demo->record, found);
    if (compare_keys(&demo->plan, index, key, found) != 0) {
      wrong(kFiles[index], recno, "another key was found");
    }
  }
}

static void verify(Demo* demo) {
  uint32_t count = 0;
  VqMember table;
  check("GRPmember", &demo->block, GRPmember(demo->database, 1, NULL, NULL, &table));
  check("dDreccnt", &demo->block, dDreccnt(table.handle, &count));
  printf("\n");
  for (int index = 0; index < kIndexes; ++index) {
    check_walks(demo, index, count);
    check_searches(demo, index, count);
    printf("Checked %s: %u keys forwards, %u backwards, %u searched; all agree with the table\n",
           kFiles[index], (unsigned)count, (unsigned)count, (unsigned)count);
  }
}

/* ---- Changing records -------------------------------------------------------------------------
 */

static void set_number(Demo* demo, double value) {
  const Column* const column = demo->plan.number;
  char field[kNumberWidth + 1];
  check("dUdtonf", &demo->block,
        dUdtonf(&demo->block, value, column->width, column->decimals, field));
  memcpy(demo->record + column->offset, field, (size_t)column->width);
}

static void change_records(Demo* demo) {
  const Plan* const plan = &demo->plan;
  char key[kMaxKey + 1];
  uint32_t recno = 0;
  uint32_t count = 0;
  int halved = 0;
  int deleted = 0;
  VqMember table;
  check("GRPmember", &demo->block, GRPmember(demo->database, 1, NULL, NULL, &table));
  check("dDreccnt", &demo->block, dDreccnt(table.handle, &count));

  DBforward(&demo->order[kNames]);
  check("DBprevrec", &demo->block, DBprevrec(&demo->order[kNames], demo->record, &recno, key));
  demo->record[plan->name->offset] = '!';
  check("DBupdrec", &demo->block, DBupdrec(demo->database, recno, demo->record));
  printf("\nRecord %u, the last by name, now begins with '!'\n", (unsigned)recno);
  show(demo, kNames, "By name again: it comes first");

  DBforward(&demo->order[kNumbers]);
  check("DBprevrec", &demo->block, DBprevrec(&demo->order[kNumbers], demo->record, &recno, key));
  set_number(demo, -1);
  check("DBupdrec", &demo->block, DBupdrec(demo->database, recno, demo->record));
  printf("\nRecord %u, the last by %s, now has -1 there\n", (unsigned)recno, plan->number->name);

  for (uint32_t i = 1; i <= count; ++i) {
    if (i % 3 == 0) {
      check("DBgetrec", &demo->block,
            DBgetrec(&table, (const void*)(uintptr_t)i, demo->record, &recno));
      set_number(demo, number_of(plan, demo->record) / 2);
      check("DBupdrec", &demo->block, DBupdrec(demo->database, i, demo->record));
      ++halved;
    }
    if (i % 10 == 0) {
      check("DBdelrec", &demo->block, DBdelrec(demo->database, i));
      ++deleted;
    }
    if (i % 20 == 0) {
      check("DBrclrec", &demo->block, DBrclrec(demo->database, i));
      --deleted;
    }
  }
  printf("Halved %s in %d records; %d are now marked as deleted\n", plan->number->name, halved,
         deleted);
  show(demo, kNumbers, "By number again");
}

int main(int argc, char** argv) {
  static Demo demo;
  if (argc != 2) {
    fprintf(stderr, "usage: first_light SOURCE.DBF\n");
    return 2;
  }
  check("DBinit", &demo.block, DBinit(&demo.block, 1));
  copy_records(&demo, argv[1]);
  show(&demo, kNames, "By name");
  show(&demo, kNumbers, "By number");
  show(&demo, kMixed, "By group and name");
  verify(&demo);
  change_records(&demo);
  verify(&demo);
  check("DBclose", &demo.block, DBclose(demo.database));

  check("DBuse", &demo.block, DBuse(&demo.block, "places", 0, &demo.database));
  find_members(&demo);
  printf("\nClosed, and opened again by the list of indexes beside the table\n");
  verify(&demo);
  check("DBclose", &demo.block, DBclose(demo.database));
  free(demo.record);
  return 0;
}
