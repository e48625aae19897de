/* Several programs book the seats of one hall at the same time, and no seat is sold twice.
 *
 *   booking HALL new COUNT            makes the table HALL with so many free seats
 *   booking HALL book HOLDER [TIMES]  books a seat, so many times, or until there is none
 *   booking HALL list                 shows the seats by their holders
 */
#define _POSIX_C_SOURCE 199309L /* nanosleep */

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#if defined(_WIN32)
#include <windows.h>
#else
#include <time.h>
#endif

#include "vqdbsys.h"

enum { SEAT = 6, HOLDER = 20, RECORD = 1 + SEAT + HOLDER, PAUSES = 500, MILLISECONDS = 10 };

static VqBlock block;
static VqDatabase* db;
static VqMember seats;   /* in the order of the table */
static VqMember holders; /* in the order of the holders; free seats, which have none, come first */

static void check(int result) {
  if (result == VQ_OK) return;
  fprintf(stderr, "failed: %s (result %d, detail %d)\n", vqErrorText(result), result,
          (int)block.detail);
  exit(1);
}

/* Somebody else holds what we need, and will let go of it: nothing was changed, try again. */
static int is_busy(int result) {
  return result == VQ_E_LOCKED || result == VQ_E_FILE_LOCKED || result == VQ_E_LOCK_UNKNOWN;
}

static void pause_a_little(void) {
#if defined(_WIN32)
  Sleep(MILLISECONDS);
#else
  struct timespec pause = {0, MILLISECONDS * 1000000L};
  nanosleep(&pause, NULL);
#endif
}

static void open_hall(const char* name) {
  VqIndexSpec index = {VQ_KIND_NDX, name, 16, NULL};
  /* Shared: reads come from the file, and changes are in it when a call returns. */
  check(DBopen(&block, name, VQ_OPEN_SHARED, 1, VQ_SPECS_ARRAY, 1, &index, &db, NULL));
  check(GRPmember(db, VQ_KIND_TABLE, NULL, NULL, &seats));
  check(GRPmember(db, VQ_KIND_NDX, NULL, NULL, &holders));
}

static void make_hall(const char* name, int count) {
  const char* const fields[] = {"SEAT", "N6", "HOLDER", "C20"};
  char record[RECORD + 1] = " ";
  uint32_t number;
  check(DBcreat(&block, name, 2, fields));
  check(dNcreat(&block, name, "HOLDER", "C20"));
  open_hall(name);
  for (int seat = 1; seat <= count; ++seat) {
    check(dUdtonf(&block, seat, SEAT, 0, record + 1));
    memset(record + 1 + SEAT, ' ', HOLDER);
    check(DBapprec(db, record, &number));
  }
}

static int is_free(const char* record) {
  for (int i = 0; i < HOLDER; ++i) {
    if (record[1 + SEAT + i] != ' ') return 0;
  }
  return 1;
}

/* Books the seat if it is still free, by the rule of every change in a shared table: lock the
 * record, read it again under the lock, decide, write, let go. */
static int book_seat(uint32_t number, const char* holder, char* record) {
  int result = dDlkgetr(seats.handle, number, record);
  if (result != VQ_OK) return result;
  if (is_free(record)) {
    memset(record + 1 + SEAT, ' ', HOLDER);
    memcpy(record + 1 + SEAT, holder, strlen(holder));
    result = DBupdrec(db, number, record); /* moves the key in the index as well */
  } else {
    result = VQ_E_LOCKED; /* somebody was faster */
  }
  check(dDulkrec(seats.handle, number));
  return result;
}

/* Books one seat. 0 when all are taken. */
static uint32_t book(const char* holder) {
  char record[RECORD + 1] = "", key[HOLDER + 1], nobody[HOLDER + 1];
  uint32_t number;
  memset(nobody, ' ', HOLDER);
  for (int pauses = 0; pauses < PAUSES; ++pauses) {
    int result = DBgetrec(&holders, nobody, record, &number);
    if (result == VQ_E_NOT_FOUND) return 0;
    /* A free seat that somebody is booking at this moment: look at the next one. */
    while (result == VQ_OK && is_free(record)) {
      result = book_seat(number, holder, record);
      if (result == VQ_OK) return number;
      if (!is_busy(result)) check(result);
      result = DBnextrec(&holders, record, &number, key);
    }
    if (result != VQ_E_INDEX_END && !is_busy(result)) check(result);
    pause_a_little();
  }
  check(VQ_E_LOCKED);
  return 0;
}

static void list(void) {
  char record[RECORD + 1] = "", key[HOLDER + 1];
  uint32_t number;
  int result;
  check(DBrewind(&holders));
  while ((result = DBnextrec(&holders, record, &number, key)) == VQ_OK) {
    printf("%.*s %.*s\n", SEAT, record + 1, (int)strcspn(record + 1 + SEAT, " "),
           record + 1 + SEAT);
  }
  check(result == VQ_E_INDEX_END ? VQ_OK : result);
}

int main(int argc, char** argv) {
  const int times = argc > 4 ? atoi(argv[4]) : 1;
  uint32_t number = 1;
  check(DBinit(&block, VQ_DIALECT_DBASE3));
  if (argc == 4 && strcmp(argv[2], "new") == 0) {
    make_hall(argv[1], atoi(argv[3]));
  } else if (argc >= 4 && strcmp(argv[2], "book") == 0 && strlen(argv[3]) <= HOLDER) {
    open_hall(argv[1]);
    for (int i = 0; i < times && number != 0; ++i) {
      number = book(argv[3]);
      if (number != 0) printf("%s has seat %u\n", argv[3], (unsigned)number);
    }
    if (number == 0) puts("no seat is free");
  } else if (argc == 3 && strcmp(argv[2], "list") == 0) {
    open_hall(argv[1]);
    list();
  } else {
    fputs("usage: booking HALL new COUNT | book HOLDER [TIMES] | list\n", stderr);
    return 2;
  }
  check(DBclose(db));
  return 0;
}
