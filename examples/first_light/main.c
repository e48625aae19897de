/*
 * Takes a table that some other program wrote, copies its records into a new table with three
 * indexes, changes some of them, and checks after each step that every index agrees with the table.
 *
 *   first_light SOURCE.DBF
 *
 * The new files (PLACES.DBF, NAMES.NDX, NUMBERS.NDX, MIXED.NDX, PLACES.DD) go to the current
 * folder, where none of them may be. The source is only read. It needs two character fields and a
 * numeric one.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "first_light.h"

const char* const kFiles[kIndexes] = {"names", "numbers", "mixed"};

/* Creating a file replaces one of the same name, so nothing is created where there is one. */
static void expect_room(Demo* demo) {
  int taken = dDmode(&demo->block, "places") != VQ_E_NOT_FOUND;
  for (int i = 0; i < kIndexes; ++i) {
    taken |= dNbuffs(&demo->block, kFiles[i], 1) != VQ_E_NOT_FOUND;
  }
  if (!taken) return;
  fprintf(stderr,
          "PLACES.DBF or one of its indexes is in this folder already. Nothing was done.\n");
  exit(1);
}

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
}

static void find_members(Demo* demo) {
  for (int i = 0; i < kIndexes; ++i) {
    check("GRPmember", &demo->block,
          GRPmember(demo->database, VQ_KIND_NDX, kFiles[i], NULL, &demo->order[i]));
  }
}

static void open_with_indexes(Demo* demo) {
  VqIndexSpec specs[kIndexes];
  VqIndexSpec* failed = NULL;
  for (int i = 0; i < kIndexes; ++i) {
    specs[i] = (VqIndexSpec){VQ_KIND_NDX, kFiles[i], 10, NULL};
  }
  check("DBopen", &demo->block,
        DBopen(&demo->block, "places", VQ_OPEN_EXCLUSIVE, 10, VQ_SPECS_ARRAY, kIndexes, specs,
               &demo->database, &failed));
  find_members(demo);
  for (int i = 0; i < kIndexes; ++i) {
    char expression[241];
    int32_t flags = 0;
    check("DBexpr", &demo->block,
          DBexpr(&demo->order[i], expression, (int32_t)sizeof expression, &flags));
    printf("Index %s is by %s\n", kFiles[i], expression);
  }
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
  VqTable* const source = dDopen(&demo->block, source_name, VQ_OPEN_READ_ONLY, 10);
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
    if (recno != i + 1) wrong("table", recno, "the number of the appended record is another one");
  }
  printf("Appended %u records of %d bytes, each with a key in three indexes, in %.1f ms\n",
         (unsigned)count, plan->record_length, (double)(clock() - begin) * 1000 / CLOCKS_PER_SEC);
  free(records);
  check("dDclose", &demo->block, dDclose(source));
}

static void show(Demo* demo, int index, const char* title) {
  const Plan* const plan = &demo->plan;
  char key[kMaxKey + 1];
  uint32_t recno = 0;
  printf("\n%s\n", title);
  check("DBrewind", &demo->block, DBrewind(&demo->order[index]));
  for (int i = 0; i < 4; ++i) {
    const int result = DBnextrec(&demo->order[index], demo->record, &recno, key);
    if (result == VQ_E_INDEX_END) return;
    check("DBnextrec", &demo->block, result);
    printf("  record %4u %c %-14.*s  %-26.*s %16.2f\n", (unsigned)recno, demo->record[0],
           smaller(plan->group->width, 14), demo->record + plan->group->offset,
           smaller(plan->name->width, 26), demo->record + plan->name->offset,
           number_of(plan, demo->record));
  }
}

static void set_number(Demo* demo, double value) {
  const Column* const column = demo->plan.number;
  char field[kNumberWidth + 1];
  check("dUdtonf", &demo->block,
        dUdtonf(&demo->block, value, column->width, column->decimals, field));
  memcpy(demo->record + column->offset, field, (size_t)column->width);
}

/* Makes the last record of an index its current one, and the record buffer's. */
static uint32_t read_last(Demo* demo, int index) {
  char key[kMaxKey + 1];
  uint32_t recno = 0;
  check("DBforward", &demo->block, DBforward(&demo->order[index]));
  check("DBprevrec", &demo->block, DBprevrec(&demo->order[index], demo->record, &recno, key));
  return recno;
}

static void rename_last(Demo* demo) {
  const Plan* const plan = &demo->plan;
  const uint32_t recno = read_last(demo, kNames);
  demo->record[plan->name->offset] = '!';
  check("DBupdrec", &demo->block, DBupdrec(demo->database, recno, demo->record));
  printf("\nRecord %u, the last by name, now begins with '!'\n", (unsigned)recno);
  printf("By name it is now number %u\n", (unsigned)place_in(demo, kNames, recno));
}

static void lower_last(Demo* demo) {
  const Plan* const plan = &demo->plan;
  char key[kMaxKey + 1];
  uint32_t recno = 0;
  check("DBrewind", &demo->block, DBrewind(&demo->order[kNumbers]));
  check("DBnextrec", &demo->block, DBnextrec(&demo->order[kNumbers], demo->record, &recno, key));
  const double least = number_of(plan, demo->record);
  recno = read_last(demo, kNumbers);
  set_number(demo, least - 1);
  check("DBupdrec", &demo->block, DBupdrec(demo->database, recno, demo->record));
  printf("\nRecord %u, the last by %s, now has %.2f there\n", (unsigned)recno, plan->number->name,
         number_of(plan, demo->record));
  printf("By number it is now number %u\n", (unsigned)place_in(demo, kNumbers, recno));
}

/* Halves the number of every third record, and marks every tenth as deleted but not every
 * twentieth. */
static void change_many(Demo* demo) {
  const Plan* const plan = &demo->plan;
  const uint32_t count = record_count(demo);
  unsigned halved = 0;
  unsigned deleted = 0;
  for (uint32_t i = 1; i <= count; ++i) {
    if (i % 3 == 0) {
      read_record(demo, i);
      set_number(demo, number_of(plan, demo->record) / 2);
      const double expected = number_of(plan, demo->record);
      check("DBupdrec", &demo->block, DBupdrec(demo->database, i, demo->record));
      read_record(demo, i);
      if (number_of(plan, demo->record) != expected) wrong("table", i, "the number is another one");
      ++halved;
    }
    if (i % 10 == 0) check("DBdelrec", &demo->block, DBdelrec(demo->database, i));
    if (i % 20 == 0) check("DBrclrec", &demo->block, DBrclrec(demo->database, i));
  }
  for (uint32_t i = 1; i <= count; ++i) {
    const int flag = DBrecsta(demo->database, i);
    check("DBrecsta", &demo->block, flag);
    if (i % 10 == 0 && flag != (i % 20 == 0 ? ' ' : '*')) wrong("table", i, "the deletion flag");
    deleted += flag == '*';
  }
  printf("\nHalved %s in %u records; %u are now marked as deleted\n", plan->number->name, halved,
         deleted);
}

int main(int argc, char** argv) {
  static Demo demo;
  if (argc != 2) {
    fprintf(stderr, "usage: first_light SOURCE.DBF\n");
    return 2;
  }
  check("DBinit", &demo.block, DBinit(&demo.block, VQ_DIALECT_DBASE3));
  expect_room(&demo);
  copy_records(&demo, argv[1]);
  show(&demo, kNames, "By name");
  show(&demo, kNumbers, "By number");
  show(&demo, kMixed, "By group and name");
  verify(&demo);
  rename_last(&demo);
  show(&demo, kNames, "By name again");
  lower_last(&demo);
  show(&demo, kNumbers, "By number again");
  change_many(&demo);
  show(&demo, kMixed, "By group and name again");
  verify(&demo);
  check("DBclose", &demo.block, DBclose(demo.database));

  check("DBuse", &demo.block, DBuse(&demo.block, "places", VQ_OPEN_EXCLUSIVE, &demo.database));
  find_members(&demo);
  printf("\nClosed, and opened again by the list of indexes beside the table\n");
  verify(&demo);
  check("DBclose", &demo.block, DBclose(demo.database));
  free(demo.record);
  return 0;
}
