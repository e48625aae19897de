#include <ctype.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "first_light.h"

int trimmed_length(const char* text) {
  size_t length = strlen(text);
  while (length > 0 && text[length - 1] == ' ') --length;
  return (int)length;
}

int smaller(int a, int b) { return a < b ? a : b; }

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

void plan_column(Demo* demo, VqTable* source, const char* name, const char* records,
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
    column.letters += isalpha((unsigned char)text[0]) != 0;
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

/* Names begin with letters, codes seldom do; otherwise the column with more values is better. */
static int names_better(const Column* column, const Column* than) {
  if (than == NULL) return 1;
  if ((column->letters > 0) != (than->letters > 0)) return column->letters > 0;
  return column->distinct > than->distinct;
}

void choose_columns(Plan* plan) {
  for (int i = 0; i < plan->count; ++i) {
    const Column* const column = &plan->columns[i];
    if (column->type == 'C' && names_better(column, plan->name)) {
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
