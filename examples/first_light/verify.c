#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "first_light.h"

int key_length(const Plan* plan, int index) {
  if (index == kNumbers) return 8;
  if (index == kNames) return smaller(plan->name->width, kMaxKey);
  return smaller(plan->group->width, kGroupPart) + smaller(plan->name->width, kNamePart);
}

double number_of(const Plan* plan, const char* record) {
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

static VqMember table_of(Demo* demo) {
  VqMember table;
  check("GRPmember", &demo->block, GRPmember(demo->database, VQ_KIND_TABLE, NULL, NULL, &table));
  return table;
}

uint32_t record_count(Demo* demo) {
  uint32_t count = 0;
  check("dDreccnt", &demo->block, dDreccnt(table_of(demo).handle, &count));
  return count;
}

void read_record(Demo* demo, uint32_t recno) {
  const VqMember table = table_of(demo);
  uint32_t read = 0;
  check("DBgetrec", &demo->block,
        DBgetrec(&table, (const void*)(uintptr_t)recno, demo->record, &read));
}

uint32_t place_in(Demo* demo, int index, uint32_t recno) {
  char key[kMaxKey + 1];
  char other[kMaxKey + 1];
  uint32_t at = 0;
  uint32_t place = 0;
  uint32_t smaller_keys = 0;
  uint32_t equal_keys = 0;
  check("DBrewind", &demo->block, DBrewind(&demo->order[index]));
  for (; at != recno; ++place) {
    check("DBnextrec", &demo->block, DBnextrec(&demo->order[index], demo->record, &at, key));
  }
  for (uint32_t i = 1; i <= record_count(demo); ++i) {
    read_record(demo, i);
    expected_key(&demo->plan, index, demo->record, other);
    const int order = compare_keys(&demo->plan, index, other, key);
    smaller_keys += order < 0;
    equal_keys += order == 0;
  }
  if (place <= smaller_keys || place > smaller_keys + equal_keys) {
    wrong(kFiles[index], recno, "the record is in another place than its key");
  }
  return place;
}

static void check_searches(Demo* demo, int index, uint32_t count) {
  char key[kMaxKey + 1];
  char found[kMaxKey + 1];
  for (uint32_t i = 1; i <= count; ++i) {
    uint32_t recno = 0;
    read_record(demo, i);
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

void verify(Demo* demo) {
  const uint32_t count = record_count(demo);
  printf("\n");
  for (int index = 0; index < kIndexes; ++index) {
    check_walks(demo, index, count);
    check_searches(demo, index, count);
    printf("Checked %s: %u keys forwards, %u backwards, %u searched; all agree with the table\n",
           kFiles[index], (unsigned)count, (unsigned)count, (unsigned)count);
  }
}
