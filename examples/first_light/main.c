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

#include "first_light.h"

const char* const kFiles[kIndexes] = {"names", "numbers", "mixed"};

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

  DBrewind(&demo->order[kNumbers]);
  check("DBnextrec", &demo->block, DBnextrec(&demo->order[kNumbers], demo->record, &recno, key));
  const double below = number_of(plan, demo->record) - 1;
  DBforward(&demo->order[kNumbers]);
  check("DBprevrec", &demo->block, DBprevrec(&demo->order[kNumbers], demo->record, &recno, key));
  set_number(demo, below);
  check("DBupdrec", &demo->block, DBupdrec(demo->database, recno, demo->record));
  printf("\nRecord %u, the last by %s, now has %.2f there\n", (unsigned)recno, plan->number->name,
         below);
  show(demo, kNumbers, "By number again: it comes first");

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
  printf("\nHalved %s in %d records; %d are now marked as deleted\n", plan->number->name, halved,
         deleted);
  show(demo, kMixed, "By group and name again");
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
