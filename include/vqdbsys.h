/*
 * VqDbSys: tables, memo files, indexes and expressions of the xBASE family.
 *
 * Every function returns 0 or a negative result code (VQ_E_*) unless it says otherwise, and on
 * failure first stores a detail code into the database block it works under. The detail code is
 * never cleared by a later success. A handle comes from an open or create function, belongs to the
 * library, and is given back with the matching close function. A null, foreign or closed handle
 * gives VQ_E_BAD_HANDLE. A null pointer where a text, buffer or out argument is needed gives
 * VQ_E_RANGE. Texts are bytes ended by a zero byte; file names may use `\` and `/`.
 *
 * Closed handles. Closing a handle ends it whatever the result. Its address is not given to another
 * handle of the kind before 4096 more of them have been closed, so a late call is refused, and a
 * member copy of a closed database finds nothing; a host that keeps closed handles longer than that
 * may meet somebody else's. A late call stores its detail code into the block that the handle was
 * opened with: the block has to live as long as calls with its handles, closed ones included, may
 * come.
 *
 * Threads. The library starts none and keeps no state of its own between calls. Threads may call it
 * at the same time with different blocks and the handles opened under them; calls under one block
 * come one after another. A handle is closed by one thread while no other uses it, or any handle
 * that depends on it: a table after its indexes, and a database closes all that it has opened.
 */
#ifndef VQDBSYS_H_
#define VQDBSYS_H_

#include <stdint.h>

#if defined(_WIN32)
#define VQ_CALL __stdcall
#else
#define VQ_CALL
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Result codes -------------------------------------------------------------------------- */

#define VQ_OK 0
#define VQ_E_UNAVAILABLE (-1)       /* no result / not available */
#define VQ_E_UNKNOWN_NAME (-2)      /* not found in a lookup */
#define VQ_E_FORMAT (-3)            /* bad file format */
#define VQ_E_RANGE (-4)             /* argument out of range */
#define VQ_E_NOT_FOUND (-5)         /* file, or key, not found */
#define VQ_E_INDEX_START (-6)       /* before the first key */
#define VQ_E_INDEX_END (-7)         /* past the last key */
#define VQ_E_INDEX_PAGE (-8)        /* index page error; key already in a unique index */
#define VQ_E_MISMATCH (-9)          /* structures or expressions do not match */
#define VQ_E_BAD_HANDLE (-10)       /* null, foreign or closed handle */
#define VQ_E_NOT_ALLOWED (-11)      /* operation not allowed here */
#define VQ_E_UNKNOWN_KIND (-12)     /* unknown dialect or index kind */
#define VQ_E_NO_DRIVER (-13)        /* no driver for this kind */
#define VQ_E_NO_MEMORY (-14)        /* out of memory */
#define VQ_E_ENCRYPTED (-15)        /* table is encrypted */
#define VQ_E_READ_ONLY (-16)        /* table is open read-only */
#define VQ_E_IO (-17)               /* read, write, seek or close failed, or a file was short */
#define VQ_E_TOO_MANY_FILES (-18)   /* too many open files */
#define VQ_E_ACCESS_DENIED (-19)    /* access denied */
#define VQ_E_DISK_FULL (-20)        /* disk full */
#define VQ_E_TEXT_LIMIT (-21)       /* expression: text, name or literal too long */
#define VQ_E_OPEN_QUOTE (-22)       /* expression: quote or bracket not closed */
#define VQ_E_UNKNOWN_FUNCTION (-23) /* expression: unknown function */
#define VQ_E_STRAY_POINT (-24)      /* expression: "." that starts nothing */
#define VQ_E_OPERAND (-25)          /* expression: operand of the wrong type or unknown */
#define VQ_E_ARGUMENT_TYPE (-27)    /* expression: function argument of the wrong type */
#define VQ_E_TOO_FEW (-28)          /* expression: too few arguments; list line too short */
#define VQ_E_TOO_MANY (-29)         /* expression: too many arguments */
#define VQ_E_PARENTHESES (-30)      /* expression: unbalanced parentheses */
#define VQ_E_DIVISION (-31)         /* expression: division by zero */
#define VQ_E_EMPTY (-32)            /* expression: null or empty */
#define VQ_E_NO_HANDLER (-33)       /* expression: no handler for a token */
#define VQ_E_NOT_LOCKED (-35)       /* lock not held */
#define VQ_E_LOCK_UNKNOWN (-36)     /* record lock status unknown */
#define VQ_E_LOCKED (-37)           /* somebody else holds the record */
#define VQ_E_FILE_LOCKED (-38)      /* somebody else holds the file */
#define VQ_E_LOCK_ROUTINE (-39)     /* lock routine failure */
#define VQ_E_LOCK_REFUSED (-40)     /* the system refused the lock request */
#define VQ_E_CANCELLED (-41)        /* the progress callback cancelled the work */

/* ---- Dialects, kinds and options ------------------------------------------------------------- */

/* The dialect of a database block (DBinit). */
#define VQ_DIALECT_DBASE3 1      /* dBASE III memo files, NDX indexes */
#define VQ_DIALECT_DBASE4 2      /* dBASE IV memo files, MDX indexes */
#define VQ_DIALECT_DBASE5 4      /* the same, with up to 1024 fields and field types B and G */
#define VQ_DIALECT_DBASE 7       /* all of them */
#define VQ_DIALECT_FOXPRO 8      /* FoxPro tables, without memo files */
#define VQ_DIALECT_FOXBASE 32776 /* FoxPro tables, dBASE III memo files */
#define VQ_DIALECT_CLIPPER 16    /* dBASE III tables and memo files, the FIELD-> prefix */

/* Run-time flags of a database block; they add up. */
#define VQ_FLAG_FIELDS_ONLY 1  /* records of the host lack the deletion flag */
#define VQ_FLAG_CACHED_READS 2 /* reads in mode 2 are served from the buffers */
#define VQ_FLAG_DURABLE 4      /* flush and close wait until the device has the data */

/* Modes of opening; they add up. The last three are for DBopen and DBuse alone. */
#define VQ_OPEN_EXCLUSIVE 0
#define VQ_OPEN_READ_ONLY 1
#define VQ_OPEN_SHARED 2
#define VQ_OPEN_SHARED_CACHED 4
#define VQ_OPEN_NO_INDEX_LIST 32  /* the index list is not written */
#define VQ_OPEN_NO_MEMO_CREATE 64 /* a missing memo file is not made: the open fails */
#define VQ_OPEN_WITHOUT_MEMO 192  /* nor does the open fail without it */

/* How DBopen is told which indexes to open. */
#define VQ_SPECS_ARRAY 1
#define VQ_SPECS_CHAIN 2

/* Kinds of the members of a database, and of index descriptions. */
#define VQ_KIND_TABLE 1
#define VQ_KIND_DBASE4_MEMO 2
#define VQ_KIND_DBASE3_MEMO 4
#define VQ_KIND_FOXPRO_MEMO 8
#define VQ_KIND_MDX 16
#define VQ_KIND_TAG 32 /* of an MDX file */
#define VQ_KIND_NDX 64
#define VQ_KIND_NDX3 128
#define VQ_KIND_FOXIDX 256
#define VQ_KIND_FOXCDX 512
#define VQ_KIND_FOXCDX_TAG 768
#define VQ_KIND_CLIPNTX 1024

/* Options of index builds; they add up. */
#define VQ_BUILD_UNIQUE 1
#define VQ_BUILD_NDX3 2       /* dNindex: the dBASE III form */
#define VQ_BUILD_DESCENDING 2 /* tags: from the highest key down */

/* Flags that an index tells of itself; they add up. */
#define VQ_INDEX_DESCENDING 8
#define VQ_INDEX_UNIQUE 4096

/* What an expression delivers (dErun); VQ_RUN_KEY and one of the others add up. */
#define VQ_RUN_VALUE 0
#define VQ_RUN_KEY 0x01
#define VQ_RUN_PACKED_KEY 0x10   /* numbers as packed decimals */
#define VQ_RUN_ORDERED_KEY 0x100 /* numbers as doubles whose bytes sort */
#define VQ_RUN_TEXT_KEY 0x400    /* numbers and dates as texts */

/* Forms of keys in the conversions. */
#define VQ_KEY_PACKED 0
#define VQ_KEY_DOUBLE 1
#define VQ_KEY_ORDERED 4
#define VQ_KEY_TEXT 8

/* Memo files. */
#define VQ_MEMO_BLOCK_UNIT 512       /* bytes that memo_block_setting counts in */
#define VQ_MEMO_MAX_BLOCK_SETTING 32 /* of memo_block_setting; the least is 1 */
#define VQ_MEMO_REFERENCE_BYTES 10   /* of a memo field */
#define VQ_MEMO_TYPE_TEXT 1

/* ---- Records shared with the host ------------------------------------------------------------ */

/* Progress of long work: units done and in all. A non-zero answer cancels: the operation returns
 * VQ_E_CANCELLED and leaves every file as it was. */
typedef int32_t(VQ_CALL* VqProgress)(void* context, uint32_t done, uint32_t total);

#pragma pack(push, 1)

/* The database block: owned by the host, prepared by DBinit, and kept alive while any handle
 * opened with it is open. 527 bytes. */
typedef struct VqBlock {
  uint32_t kind;                /*   0 VQ_DIALECT_* */
  int32_t detail;               /*   4 detail code of the last failure */
  int32_t result;               /*   8 result of a failed call that returns a handle */
  uint16_t runtime_flags;       /*  12 VQ_FLAG_* */
  uint32_t memo_block_setting;  /*  14 block size of new dBASE IV memo files / 512, 1..32 */
  uint32_t page_count_setting;  /*  18 workspace of the external sort in units of 16384 bytes */
  int32_t record_number;        /*  22 number of the record last appended, -1 meanwhile */
  uint32_t table_access;        /*  26 table buffers that DBuse asks for */
  int32_t index_open_parameter; /*  30 page buffers that DBuse asks for */
  uint32_t century;             /*  34 non-zero: years have four digits */
  uint32_t first_setting;       /*  38 1 */
  uint32_t exact;               /*  42 non-zero: exact comparison of texts */
  uint32_t date_format;         /*  46 0..6, see dUsetdate */
  uint32_t language;            /*  50 1: collate character keys by weights */
  uint32_t count_setting;       /*  54 runs merged at once by the external sort */
  uint32_t index_kind;          /*  58 default index kind and lock scheme, 0..6 */
  /* The library's own 465 bytes. */
  int32_t system_error;         /*  62 system's number of the last refused lock request */
  char temporary_directory[88]; /*  66 see dUtmpdir */
  char field_name[16];          /* 154 scratch of dDcreat */
  uint64_t progress;            /* 170 see dUsetprog */
  uint64_t progress_context;    /* 178 */
  uint64_t random_state;        /* 186 of the expression function RAND; 0: not yet seeded */
  uint32_t lock_wait;           /* 194 see dUsetwait */
  uint8_t reserved[329];        /* 198 */
} VqBlock;

#pragma pack(pop)

typedef struct VqTable VqTable;
typedef struct VqMemo VqMemo;
typedef struct VqIndex VqIndex; /* an NDX file, an MDX file or a tag of one */
typedef struct VqExpr VqExpr;
typedef struct VqDatabase VqDatabase;

#pragma pack(push, 1)

/* A copy of one member of a database's index group, as GRPmember hands it out. */
typedef struct VqMember {
  uint32_t kind;        /* VQ_KIND_* */
  void* handle;         /* table, memo or index handle */
  const char* name;     /* file name */
  const char* tag;      /* tags only */
  VqExpr* key_program;  /* indexes with a key; null otherwise */
  void* filter_program; /* tags: VqExpr* or null; table: the VqBlock */
  int32_t key_length;
  char key_type;
  VqDatabase* owner; /* set in copies only */
  uint32_t flags;    /* table: number of index members */
  uint32_t driver_column;
} VqMember;

#pragma pack(pop)

typedef struct VqIndexSpec {
  uint32_t kind; /* VQ_KIND_MDX, VQ_KIND_NDX, VQ_KIND_NDX3, ... */
  const char* name;
  int32_t parameter; /* page buffers */
  struct VqIndexSpec* next;
} VqIndexSpec;

/* A field of a table, as dDfield gives it. */
typedef struct VqField {
  char name[11]; /* in capitals, ended by a zero byte */
  char type;     /* C, N, F, D, L, M, B, G or P, or what another program wrote */
  uint32_t length;
  uint32_t decimals;
  uint32_t offset; /* in a record with its deletion flag: 1 for the first field */
} VqField;

/* Given to dEparse as the table: names are not bound and types are not checked. */
#define VQ_NO_TABLE ((VqTable*)(intptr_t)-4)

/* ---- dD: tables ------------------------------------------------------------------------------ */

/*
 * Names get the extension "DBF" when they have none; what follows a `;` is left off. Records and
 * fields count from 1. A caller's record is dDreclen bytes, the first of them the deletion flag
 * (' ' live, '*' deleted); with run-time flag 1 of the block it is the fields alone. Detail code
 * nn0 of an operation stands for a null argument, nn1 for a bad handle.
 *
 * Open modes: 0 exclusive; 1 read-only; 2 shared, reads go to the file and the record count is
 * taken from it; 4 shared, reads come from the buffers. The bits add up. In exclusive modes changes
 * wait in the buffers for dDflush or dDclose; in shared modes they are written at once. Modes 2 and
 * 3 may have no buffers, any other has at least one.
 *   "Exclusive" is the host's word that nobody else has the table; it keeps nobody out, and what
 * two handles write beside each other then is lost. Modes with bit 4 see what others have changed
 * since only where a block was not in the buffers yet, and others' new records (without bit 2) only
 * after an append of their own: dDlkgetr gives a record as it is now, dDclearbuf makes every later
 * read do so, mode 6 brings the count. Run-time flag 2 makes mode 2 read as mode 6 does.
 *   What is written has reached the system and outlives the program; a loss of power may take it
 * back until the device has it. With run-time flag 4 of the block, dDflush and dDclose, like the
 * flush and close of memo files and indexes, wait for the device (244, -17).
 *
 * Details of the buffers, from any operation on records:
 *   10061 -17 a changed block that makes room could not be written
 *   10062 -17 nor one that is read again
 *   10063 -17 reading failed             10064 -17 the file lacks a record that its header counts
 */

/* Creates a table with `count` fields and no records, over any file of that name. `fields` holds
 * 2 * count texts: name, type, name, type, ... Types: C1..C254; N1..N20 and F1..F20 with decimals
 * behind a point ("N10.2", at most length - 2); D (8 bytes); L (1); M (10); B and G (10, kinds with
 * bit 4); P (10, kinds with bit 8). Names: up to 10 letters, digits and `_`, no digit first; they
 * are put into capitals. What is refused leaves an older file alone, and one that somebody else has
 * locked is refused (-38, 10431; -40, 10432); a failure to write (155, 163, 164) removes it.
 *   151 -4  count (1..255, with kind bit 4 1..1024)      152 -14 no memory
 *   153     file not created: -5, -17 to -20             155 -17 descriptors not written
 *   156 -4  name longer than 10 characters               157 -11 character in a name
 *   158 -11 name taken                                   159 -4  character length
 *   160 -4  numeric length or decimals                   161 -11 type unknown to the dialect
 *   162 -4  record longer than 4000 bytes without its flag (kind bit 4: 32767, bit 8: 65500)
 *   163 -17 last descriptors not written                 164 -17 header not written */
int32_t VQ_CALL dDcreat(VqBlock* block, const char* name, int32_t count, const char* const* fields);

/* Opens a table with this many buffers. Null on failure, with the result code in block->result.
 *   10421 -5  no such file          10422     not opened: -17, -18 too many files, -19 denied, -20
 *   311  -17  shorter than a header   312  -3 header length below 65, or record length 0
 *   10042 -3  record length 0       10043 -14 no memory        10044 -17 descriptors not read
 *   10045 -15 encrypted             10046 -3  version          10047 -14 no memory for the buffers
 *   10048 -3  no fields, or fields that do not fit the record */
VqTable* VQ_CALL dDopen(VqBlock* block, const char* name, uint32_t mode, int32_t buffers);

/* Flushes, closes the file and frees the handle, whatever the result: that of the flush, or -17
 * with 306 when only closing failed. */
int32_t VQ_CALL dDclose(VqTable* table);

/* What kind of table a file is: 4 dBASE IV memo, 8 dBASE III memo, 32 FoxPro memo, plus 2 with a
 * production MDX file, plus 16 when encrypted. 281 (-17) short file, 282 (-3) version. */
int32_t VQ_CALL dDmode(VqBlock* block, const char* name);

/* The number of fields. Bad handle: 181. */
int32_t VQ_CALL dDfields(VqTable* table);
/* The name of a field, at most 10 characters and a zero byte. 222 (-4) number. */
int32_t VQ_CALL dDfldnm(VqTable* table, int32_t number, char* name);
/* All that is known of a field. An addition to the family. Bad handle: 221. 222 (-4) number. */
int32_t VQ_CALL dDfield(VqTable* table, int32_t number, VqField* field);
/* The number of the field of this name, in any case. Bad handle: 221. 222 (-4) unknown name. */
int32_t VQ_CALL dDfldno(VqTable* table, const char* name);
/* The record length with the deletion flag. Makes no signature test; 0 for a closed handle. */
int32_t VQ_CALL dDreclen(VqTable* table);
/* The number of records, under open mode bit 2 as the file says now (kind bit 16: as its size
 * says). 423 (-17) header not read, 424 (-17) size unknown. */
int32_t VQ_CALL dDreccnt(VqTable* table, uint32_t* count);
/* The date of the last update, the year in full; out arguments may be null. Bad handle: 161. */
int32_t VQ_CALL dDdate(VqTable* table, int32_t* month, int32_t* day, int32_t* year);
/* The bytes of memory that opening the table with this many buffers takes; a negative number counts
 * as 1. Details as for dDopen; 10047 (-14) for more than 2147483647. */
int32_t VQ_CALL dDbuffs(VqBlock* block, const char* name, int32_t buffers);

/* Reads a record. 262 (-4) number below 1, 263 (-4) beyond the last record, 264 (-17) not read, 265
 * (-17) not even its flag byte. */
int32_t VQ_CALL dDgetrec(VqTable* table, uint32_t recno, void* record);
/* Reads `count` records from `first` on, as dDgetrec reads each, to places that follow one another.
 * Stops at the first that it does not get, with that one's result and detail; *got is how many it
 * has read. An addition to the family. */
int32_t VQ_CALL dDgetrecs(VqTable* table, uint32_t first, uint32_t count, void* records,
                          uint32_t* got);

/* Appends a record; its number goes to block->record_number, which is -1 after a failure.
 *   323 -16 read-only            324 -38 somebody else appends or has the file
 *   325 -40 lock refused         327 -20 the table would reach its locked bytes
 *   331 -17 record not written   332 -17 nor the fields behind its flag (long records)
 *   333 -17 end mark not written 335 -17 record count not written
 *   341 -17 a full changed block not written             423, 424 see dDreccnt
 *   353 -39 the record is appended, but the append lock could not be released */
int32_t VQ_CALL dDapprec(VqTable* table, const void* record);

/* Overwrites a record. With run-time flag 1 this makes it live. In shared modes a record that
 * somebody else has locked is refused.
 *   463 -16 read-only            464 -4  number below 1     465 -4  beyond the last record
 *   467 -17 not written          10064 -17 the file lacks it
 *   10453 -37 locked by somebody else                       10454 -36 the system cannot tell */
int32_t VQ_CALL dDupdrec(VqTable* table, uint32_t recno, const void* record);
/* Set and clear the deletion flag of a record; results as for dDupdrec. */
int32_t VQ_CALL dDdelrec(VqTable* table, uint32_t recno);
int32_t VQ_CALL dDrclrec(VqTable* table, uint32_t recno);

/* Inserts a record before the given one; recno may be the last plus 1. What waits in the buffers is
 * written first, then the records behind move in the file, so that whatever stops it each of them
 * stays there, one perhaps twice. 272 (-11) shared, 273 (-16) read-only, 274 (-4) number, 275 (-14)
 * no memory; else as for dDapprec and dDflush. */
int32_t VQ_CALL dDinsrec(VqTable* table, uint32_t recno, const void* record);
/* Removes a record; those behind it move up, as safely. The file keeps its length, but in dialect
 * 16. 402 (-11) shared, 403 (-16) read-only, 404 (-4) number, 405 (-14) no memory; else as for
 * dDinsrec. */
int32_t VQ_CALL dDrmrec(VqTable* table, uint32_t recno);
/* The deletion flag of a record, 0x20 or 0x2A. Makes no signature test; a closed handle has no
 * records. 382 (-4) number below 1, 383 (-4) beyond the last record, 384 (-17) not read. */
int32_t VQ_CALL dDrecsta(VqTable* table, uint32_t recno);

/* Writes changed blocks (242, -17) and, when the record count changed, count and date (243, -17).
 * When blocks fail, as on a full disk, the count becomes that of the records which are whole in the
 * file, and the others wait on for the next flush; after dDclose they are lost. */
int32_t VQ_CALL dDflush(VqTable* table);
/* Flushes and empties the buffers. Bad handle: 461. */
int32_t VQ_CALL dDclearbuf(VqTable* table);

/* Tables as whole files: none of them may be open. What of a table that is packed or appended to
 * somebody else has locked is refused (-38, 483 or 484), and so is replacing a table that somebody
 * else has locked (-38, 10431; -40, 10432). Handles that have a table open which was replaced get
 * -17 from then on; close them. A file with several names (hard links) is not replaced:
 * VQ_E_NOT_ALLOWED with the detail of the step. Two names of one file, over links or by other
 * paths, count as the same. */

/* Creates table `to` with the fields of table `from` and no records. Field names pass the tests of
 * dDcreat again (151..164); types are taken as they are. 141 (-11) a name is null or both are the
 * same; else results of dDopen. */
int32_t VQ_CALL dDcopy(VqBlock* block, const char* from, const char* to);
/* 0 when both tables have the same fields, their names in any case; else -9 (191), or results of
 * dDopen. */
int32_t VQ_CALL dDcmpstr(VqBlock* block, const char* first, const char* second);
/* Appends the records of `source` to `target`, whose date stays; or makes `target` a copy of
 * `source` when there is none. A failure leaves the records of `target`, their count and the date
 * as they were; behind the end mark the file may stay longer. Progress in pieces of 16384 bytes.
 *   341     source not opened     342 -14 no memory             343     target not opened
 *   344 -17 not a header          345     target not created    346, 347 not opened again
 *   348, 349 -17 no header        350 -20 the target would reach the locked bytes, -17 it lacks
 *                                         records
 *   351 -9  record lengths        352     end mark of the target not restored
 *   353 -17 count not written     357 -17 not written
 *   358 -3  source shorter than its header says, -17 not read; else as for dDcmpstr */
int32_t VQ_CALL dDcat(VqBlock* block, const char* target, const char* source);
/* Replaces a table, in one step, by a copy without the records whose flag byte is not a blank. The
 * production index flag is cleared, since record numbers change; the memo file stays as it is. The
 * copy, which has the table's rights, is made in the temporary directory and goes from there beside
 * the table when it lies on another device. Progress in records.
 *
 * WARNING. Every index of the table, and its index list, goes on naming the records by their
 * numbers of before, and DBuse and DBopen would open it as sound. Use DBpack for a table that has
 * indexes, or build them again before anyone opens them.
 *   291 no temporary file    292 -14 no memory   293 the copy could not take the table's place
 *   294 -17 header not copied; else as for dDopen, dDcreat, dDlkfil, dDgetrec and
 *   dDapprec */
int32_t VQ_CALL dDpack(VqBlock* block, const char* name);

/* Writes the records of table `source`, deletion flags and all, to a new table `target` in the
 * order of the keys: field names with `/A` (ascending, also without it) or `/D` (descending) behind
 * them, and `C` behind that to ignore the case of letters, separated by commas:
 * "CITY/A,AMOUNT/D,NAME/AC". Fields of the types C (by bytes, with language 1 by its weights), N,
 * F, D and L have an order; a blank number counts as 0. Records with equal keys keep their order.
 * The target appears, or takes the place of an older one, only when it is complete. Works in
 * page_count_setting * 16384 bytes of memory and merges count_setting runs at once; the runs are
 * files in the temporary directory. Memo texts stay where they are: the target holds the same
 * references. Progress: every record twice.
 *   440 null block
 *   441 -11 a text missing or empty, source and target the same, a key that is none
 *   442 -4  no such field, -11 a field without order
 *   443     the temporary file cannot be made or put in place
 *   10071 -41 cancelled                     10261, 10263, 10264 -17 temporary files
 *   10262, 10272 -14 no memory; else as for dDopen, dDcreat and dDapprec */
int32_t VQ_CALL dDsort(VqBlock* block, const char* source, const char* target, const char* keys);
/* Clears the production index flag of a table. 101 (-17) short file, 102 (-3) no table, 104 (-17)
 * not written. */
int32_t VQ_CALL dDapart(VqBlock* block, const char* name);

/*
 * Locks on bytes beyond the data, against every other handle in any process; a request never waits,
 * unless the host has asked for that (dUsetwait). Where the bytes lie depends on the lock scheme
 * (dUsetnet) at the time of opening:
 *   scheme 0: file 0xEFFFFFFE, append 0xEFFFFFFF, record n 0xEFFFFFFE - n
 *   scheme 1: file 1000000000, append 1134217727, record n 1000000000 + n
 *   scheme 2: file and append 0xEFFFFFFF,         record n 0xEFFFFFFF - n
 *   scheme 3: file 0x7FFFFFFE, append 0x7FFFFFFD, record n 0x40000000 + n
 * Locking the file takes its byte and the append byte; index and memo files are locked at the
 * file's byte (scheme 0: two bytes). Tables grow up to 1000000000 bytes in scheme 1, 0x40000001 in
 * scheme 3 and 0xEFFFFFFE in the others. Schemes 4 to 6, which the kinds 8, 32776 and 16 begin
 * with, have no locks: -13, and nothing keeps two programs from writing the same record; their
 * index and memo files are kept whole by the bytes of scheme 0. A refusal leaves the system's
 * number in block->system_error. Locking what the handle holds already changes nothing. Closing the
 * table releases all its locks.
 */

/* The whole file: nobody else can lock it, lock a record or append.
 *   482 -13 scheme without locks    483 -38 somebody else has it or appends
 *   484 -37 somebody else has a record      485 -40 system           486 -14 no memory */
int32_t VQ_CALL dDlkfil(VqTable* table);
/* 492 (-13), 493 (-35) not held, 494 (-39) system. */
int32_t VQ_CALL dDulkfil(VqTable* table);
/* One record.
 *   502 -4  number that no lock can name    503 -13 scheme without locks
 *   504 -37 somebody else has it            505 -38 somebody else has the file
 *   506 -14 no memory                       507 -40 system */
int32_t VQ_CALL dDlkrec(VqTable* table, uint32_t recno);
/* Results as for dDulkfil. */
int32_t VQ_CALL dDulkrec(VqTable* table, uint32_t recno);
/* Locks a record, then reads it from the file, whatever the buffers hold, so that a change made to
 * it loses nobody else's. A number beyond the count is looked for in the file in every shared mode.
 * Lets go of the record when it cannot be read. Results of both. */
int32_t VQ_CALL dDlkgetr(VqTable* table, uint32_t recno, void* record);
/* The number of locked records; up to `max` of their numbers, the oldest lock first. */
int32_t VQ_CALL dDlklist(VqTable* table, uint32_t* records, int32_t max);
/* The lock taken last: a record number, or 0 for the file. -35 when there is none. */
int32_t VQ_CALL dDlktop(VqTable* table, uint32_t* recno);
/* The number of locks held, the file's included. */
int32_t VQ_CALL dDlkcnt(VqTable* table);
/* Releases the lock taken last; results as for dDulkfil. */
int32_t VQ_CALL dDpoplk(VqTable* table);
/* The append position, which dDapprec else locks for itself. 324 (-38), 325 (-40), 326 (-13). */
int32_t VQ_CALL dDlkapp(VqTable* table);
/* 326 (-13), 352 (-35) not held, 353 (-39) system. Bad handle: 351. */
int32_t VQ_CALL dDulkapp(VqTable* table);
/* Who holds a record: 0 this handle (it or the file), -35 nobody, -37 somebody else (10453).
 * 10451 (-4) number, 10452 (-13), 10454 (-36) the system cannot tell. */
int32_t VQ_CALL dDlkrsta(VqTable* table, uint32_t recno);
/* Who holds the file, in the same way. */
int32_t VQ_CALL dDlkfsta(VqTable* table);

/* ---- dU: conversions, calendar and settings -------------------------------------------------- */

/* Writes a file name as the library takes it into out (128 bytes) and returns out: up to the first
 * `;`, with "." and the extension when it has none, in capitals. Longer than 127 characters: an
 * empty text. */
char* VQ_CALL dUexpnm(const char* name, const char* extension, char* out);
/* A blank date is month, day and year 9999, and 8 blanks in a field. A key kind is a sum of bits:
 * 1 or 2 a little-endian double (8 bytes), 4 a double whose bytes sort as the numbers do (8 bytes),
 * 8 text; without these a number is packed decimal (12 bytes) and a date has no key. A date key
 * holds the day number + 1721425; day 1 is 1 January of year 1. */

/* Writes 8 bytes, YYYYMMDD. 4001: no valid date, or a year of five digits. */
int32_t VQ_CALL dU3itodf(VqBlock* block, int32_t month, int32_t day, int32_t year, char* field);
/* Reads 8 bytes. The numbers are not checked. */
int32_t VQ_CALL dUdfto3i(const char* field, int32_t* month, int32_t* day, int32_t* year);
/* Writes 8 bytes, or none for a packed kind. The block may be null. 4021: no valid date. */
int32_t VQ_CALL dU3itodk(VqBlock* block, uint32_t kind, int32_t month, int32_t day, int32_t year,
                         void* key);
int32_t VQ_CALL dUdftodk(VqBlock* block, uint32_t kind, const char* field, void* key);
/* The date of a key; a blank key, a damaged one and a packed kind give the blank date. */
int32_t VQ_CALL dUdkto3i(uint32_t kind, const void* key, int32_t* month, int32_t* day,
                         int32_t* year);
/* The day number, or VQ_E_RANGE with 4071 when the date is not valid. */
int32_t VQ_CALL dU3itoJ(VqBlock* block, int32_t month, int32_t day, int32_t year);
int32_t VQ_CALL dUJto3i(int32_t day_number, int32_t* month, int32_t* day, int32_t* year);
/* The day number of a text in the block's date format: its three numbers in the format's order,
 * `/`, `.` or `-` between them, blanks around them; years of one or two digits are 19yy. 4071: no
 * valid date. */
int32_t VQ_CALL dUatoJ(VqBlock* block, const char* text);
/* The key of a number; kind 8 writes nothing. A packed key takes the first 16 of the value's 25
 * significant digits: 2899999999999999 for 0.29, where dUnftonk takes 29 from a field. */
int32_t VQ_CALL dUdtonk(uint32_t kind, double value, void* key);
/* The key of a numeric field, `width` bytes of text; a packed key takes all its digits. Kind 8
 * copies the text. 4081: wider than 20. */
int32_t VQ_CALL dUnftonk(VqBlock* block, uint32_t kind, const char* field, int32_t width,
                         void* key);
/* Not for kind 8 (VQ_E_RANGE), whose keys do not tell their width. */
int32_t VQ_CALL dUnktod(uint32_t kind, const void* key, double* value);
/* A numeric key as field text of `width` bytes with a zero byte behind it; width and decimals as
 * for dUdtonf. */
int32_t VQ_CALL dUnktoa(uint32_t kind, const void* key, int32_t width, int32_t decimals,
                        char* text);
/* Reads the number that `width` bytes of text begin with, 0 when there is none. VQ_E_RANGE: 40
 * bytes or more. */
int32_t VQ_CALL dUnftod(const char* field, int32_t width, double* value);
/* dUdtonf of the number that a text begins with. 4041: width or decimals out of range. */
int32_t VQ_CALL dUatonf(VqBlock* block, const char* text, int32_t width, int32_t decimals,
                        char* field);
/* Writes `width` bytes (1..254): the number right-aligned with so many decimals (0..width - 2),
 * rounded to the nearest; in exponent form (` .123E+9`) when it does not fit; `*` when that does
 * not fit either. With kind 16 zeros stand for the leading blanks, the sign before them. The block
 * may be null. 4061: width or decimals out of range. */
int32_t VQ_CALL dUdtonf(VqBlock* block, double value, int32_t width, int32_t decimals, char* field);
/* Copies `width` bytes and a zero byte. */
int32_t VQ_CALL dUfldtoa(const char* field, int32_t width, char* text);
/* Writes `width` bytes: the text, cut or filled with blanks. */
int32_t VQ_CALL dUatocf(const char* text, int32_t width, char* field);
/* Looks at the 10 bytes of a memo field: 1 a block number, 0 blank (blanks, or blanks and then
 * zeros), -1 anything else. */
int32_t VQ_CALL dUcheck_mfld(const char* field);
/* Writes 10 blanks. */
int32_t VQ_CALL dUinitmf(char* field);
/* Today by the local clock; 1 January 1980 when it cannot be read. */
int32_t VQ_CALL dUtoday(int32_t* month, int32_t* day, int32_t* year);
/* 1 for a leap year, else 0. */
int32_t VQ_CALL dUleap(int32_t year);
/* Writes "6.00" and its zero byte (5 bytes); returns the text. */
char* VQ_CALL dUversion(char* text);

/* Settings go into the block and are read from there; these return it. */

/* Language 1: indexes opened from now on sort character keys in dictionary order of code page
 * 1252. Any other: by bytes. */
VqBlock* VQ_CALL dUsetlang(VqBlock* block, int32_t language);
/* Lock scheme of tables opened from now on, and default index kind: 0..6, any other is 0. */
VqBlock* VQ_CALL dUsetnet(VqBlock* block, int32_t scheme);
/* How long calls under this block try again, in milliseconds, where somebody else has locked what
 * they need, before they give -37 or -38; below 1 they never wait, which is how a block begins. An
 * addition to the described interface. It goes for dDlkfil, dDlkrec, dDlkgetr, dDlkapp, dNlkfil and
 * dXlkfil, for appending, updating, deleting and recalling (dD and DB), and for memo files. Nothing
 * is changed, and no lock of the call is held, between two tries; who waits for whom does not
 * matter, so that hosts which lock several things in different orders wait in vain for each other
 * until the time is over. */
VqBlock* VQ_CALL dUsetwait(VqBlock* block, int32_t milliseconds);
/* Whether years in date texts have four digits, else two. */
VqBlock* VQ_CALL dUsetcent(VqBlock* block, int32_t on);
/* Whether expressions compare whole texts, else only as far as the right one goes. */
VqBlock* VQ_CALL dUsetexact(VqBlock* block, int32_t on);
/* Date texts: 0 mm/dd/yy, 1 yy.mm.dd, 2 dd/mm/yy, 3 dd-mm-yy, 4 dd.mm.yy, 5 mm-dd-yy, 6 yy/mm/dd;
 * any other is 0. */
VqBlock* VQ_CALL dUsetdate(VqBlock* block, int32_t format);
/* Where temporary files are made, with a `\` added when none ends it; null or empty: the current
 * directory. VQ_E_UNKNOWN_NAME: longer than 85 characters, nothing changed. */
int32_t VQ_CALL dUtmpdir(VqBlock* block, const char* directory);
/* A function that long work under this block tells its progress to, with the context: pack, sort,
 * index building, concatenation, compaction. Null: none. A non-zero answer cancels the work (-41,
 * 10071), which leaves every file as it was. The function must not use the handles of that work. */
VqBlock* VQ_CALL dUsetprog(VqBlock* block, VqProgress function, void* context);

/* ---- dE: expressions ------------------------------------------------------------------------- */

/* What a token of an expression is refused for has detail 5000 + the token's number, functions 20
 * ABS to 95 PADR and operators
 *    1 +    2 -     3 *    4 /    5 **    6 <      7 <=    8 >
 *    9 >=  10 =    11 ==  12 <>  13 $    14 .AND. 15 .OR. 16 .NOT.
 * docs/expressions.md has the language.
 *   500n -25 operand types refused, or operands missing
 *   50nn -27 argument of the wrong type, -28 too few arguments, -29 too many
 *   50nn -14 no memory for a text (while running)   5004 -31 division by zero (while running)
 *   6051 -33 the function is not there              6052 -25 no value, or more than one */

/* Compiles a text for a table, whose field names it may use; a null table: no fields; VQ_NO_TABLE:
 * no fields, and types are checked only when it runs. The caller gives the handle back with dEfree;
 * the table may be closed before. Writes the result's type (C N F D L M) and greatest length in
 * bytes (C with an open length 254; N F D 8; L 1); with VQ_NO_TABLE the type stays as it was and
 * length is the number of words of the program. On failure *out is null, type and length 0.
 *   6001 -32 text null or empty         6011 -21 more than 239 characters, blanks between words not
 *   6012 -22 quote not closed                    counted; 6014 within a literal, 6017 within a name
 *   6013 -21 literal over 239 bytes     6018 -21 name over 239 bytes
 *   6016 -24 "." that starts nothing    6020 -23 unknown function
 *   6022 -30 unbalanced parentheses     6033, 6034 -25 unknown name
 *   6042 -9  ")" before its "("         6007 -10 bad table handle
 *   -14 no memory: 6002 words           6003 program           6004, 6006 run stack
 *                  6005 check of types  6031, 6032 literals    6041 operators */
int32_t VQ_CALL dEparse(VqBlock* block, const char* text, VqTable* table, VqExpr** out, char* type,
                        int32_t* length);
/* Runs against a whole record, deletion flag included (null where no field is read), under the
 * settings of the block. Writes the value and its length in bytes. Options, a sum of bits:
 *   VQ_RUN_VALUE   texts, dates (in the date format) and logical values ("T" or "F") as texts of
 *                  at most max bytes (below 1: 1000), with a zero byte behind them: max + 1 bytes
 *                  in all; numbers as a double of 8 bytes, whatever max says
 *   VQ_RUN_KEY     the key: texts filled with blanks to their greatest length, up to max; a zero
 *                  byte only where max leaves room; dates and numbers as 8-byte doubles
 *   and for keys:
 *   VQ_RUN_PACKED_KEY (or 0x20)     numbers as packed decimals of 12 bytes
 *   VQ_RUN_ORDERED_KEY (or 0x200)   numbers as doubles whose bytes sort
 *   VQ_RUN_TEXT_KEY                 numbers as the field's text, dates as YYYYMMDD
 * A date field that holds no date has the key of a blank one. Details:
 *   6061 -32 null handle: an empty text; -10 bad handle
 *   6062 -4  a field is read and there is no record */
int32_t VQ_CALL dErun(VqBlock* block, VqExpr* expr, const void* record, uint32_t options,
                      int32_t max, void* buffer, int32_t* length);
/* Runs against the records of a table from `first` on, `count` of them, and writes the numbers of
 * those for which the value is true; recnos has room for all. Stops at the first record that cannot
 * be read, or whose run fails, with that result and the detail of dDgetrec or dErun in the table's
 * block; *got is how many numbers it has written. An addition to the family.
 *   6061 as for dErun            261 -10 bad table handle
 *   6063 -9  the value is no logical one, or a field lies behind this table's records
 *   6064 -14 no memory */
int32_t VQ_CALL dEfilter(VqExpr* expr, VqTable* table, uint32_t first, uint32_t count,
                         uint32_t* recnos, uint32_t* got);
/* dEparse, dErun with options 0 and max 1000, and dEfree. Buffer: 1001 bytes. */
int32_t VQ_CALL dEeval(VqBlock* block, const char* text, VqTable* table, const void* record,
                       void* buffer, char* type, int32_t* length);
/* Any address but that of a live expression is refused, and left alone. Bad handle: 6061. */
int32_t VQ_CALL dEfree(VqExpr* expr);

/* ---- f: texts -------------------------------------------------------------------------------- */

/* White space is blank, tab, line feed, vertical tab, form feed and carriage return. The output has
 * room for the result and its zero byte. */

/* These return the output, which may be the text's own buffer. Without leading white space. */
char* VQ_CALL fLTRIM(const char* text, char* out);
/* Without trailing white space. */
char* VQ_CALL fRTRIM(const char* text, char* out);
/* The first word alone: without leading white space, up to the next. */
char* VQ_CALL fALLTRIM(const char* text, char* out);

/* The text at `width` characters (below 0 is 0): cut when it is longer, else with fill characters
 * on its left, its right, or both sides, half of them (rounded down) on the left. Each side goes
 * through the fill from its start; the first character comes twice where it starts again (AB fills
 * as ABAABAAB). A null or empty fill is a blank. Return the length of `text`. */
int32_t VQ_CALL fPADL(const char* text, int32_t width, const char* fill, char* out);
int32_t VQ_CALL fPADR(const char* text, int32_t width, const char* fill, char* out);
int32_t VQ_CALL fPADC(const char* text, int32_t width, const char* fill, char* out);

/* ---- dN: NDX files --------------------------------------------------------------------------- */

/* An NDX file holds the keys of one table with their record numbers, in order. Names get the
 * extension NDX. A key has dNkeylen bytes: text padded with blanks, or, for types N, F and D, a
 * double (dates as Julian day numbers); dErun with option 1 makes it from a record. Equal keys may
 * stand side by side; one that is inserted goes before those that are there already, so equal keys
 * that were inserted one by one run from the record inserted last to the first.
 *
 * Mode: 0 alone, 1 for reading only, 2 or 4 shared. Alone, changes stay in the page buffers until
 * room is needed, dNflush or dNclose. In a shared mode every search, step and change locks the
 * index file (waiting some seconds for its turn at most), reads it afresh, writes its changes and
 * lets go; the lock's refusal and the system's failures are passed on with details 10431..10433,
 * 10191 and 10192 (VQ_E_IO). That lock lies at the file's byte of the table's lock scheme, and at
 * scheme 0's where the scheme has none (4 to 6, as in dialects 8, 16 and 32776): such tables are
 * appended to and changed without locks, but their indexes stay whole; every host that shares an
 * index has to use the same byte.
 *
 * Every operation on keys can end in these:
 *   10171 10172 10175 10211 10221 10245 -8  pages and counts that cannot be: a damaged file
 *   10173 -8  too many levels
 *   10174 10251 3174 3204 -8  pages that lead in a circle
 *   10193 -3  damaged header                10232 -20 no page numbers left
 *   10231 -17 header not written            10241 10242 -17 page not read
 *   10243 -17 page not written              10244 10341 -14 no memory
 *   10342 10345 -17 redo log not written, mark not taken back     10343 -17 redo log not read
 *   10344 -8  changes only: a flush stopped in the file, and its redo log is gone; build it again
 * A change that fails in mode 0 has not been made, and keys that were flushed before are in the
 * file whatever fails. When a process dies in the middle of writing, whoever uses the file next
 * completes it, or finds it as it was. A detail ending in 9: a null argument (-4). */

/* Makes an empty index, over an existing file. The format is a type letter C, N, F or D, for C the
 * key length 1..100 behind it, then U when the keys are unique; a leading 3 asks for the dBASE III
 * form. On failure there is no such file.
 *   3021 -4  expression over 240 characters     3022 -4  key length       3023 -11 type
 *   3024 -14 no memory                          3025     not created      3026 -17 not written
 *   3027 -38 somebody else has locked the file that is there; that others have it open cannot be
 *            seen otherwise, and they would lose what they change */
int32_t VQ_CALL dNcreat(VqBlock* block, const char* name, const char* expression,
                        const char* format);
/* Opens an index for a table, whose lock scheme and block it uses, with at least 4 page buffers of
 * 512 bytes. Null on failure, with the result code in the block.
 *   10421 -5  not found          10422     not opened           3151 -10 bad table handle
 *   10183 -17 header not read    10184, 10185 -14 no memory
 *   10186 -3  no index that its header can be true of
 *   10187 -9  its texts stand in the order of the other language (dUsetlang); only an index whose
 *             root page shows it can be refused, so open indexes under the language that they were
 *             made under */
VqIndex* VQ_CALL dNopen(VqTable* table, const char* name, uint32_t mode, int32_t buffers);
/* Flushes and closes. The handle is gone whatever the result. 3231: not closed. */
int32_t VQ_CALL dNclose(VqIndex* index);
/* The bytes of memory that an open handle with this many buffers needs, or a negative result.
 * 3251: header not read, or damaged. */
int32_t VQ_CALL dNbuffs(VqBlock* block, const char* name, int32_t buffers);
/* Tells that the keys are dates, which a file of the dBASE III form cannot say; returns the
 * handle. Bad handle: 3001. */
VqIndex* VQ_CALL dN3datek(VqIndex* index);
/* Writes changed pages and the header. Bad handle: 3071. */
int32_t VQ_CALL dNflush(VqIndex* index);

/* Changes. Refused when the file is open for reading only (VQ_E_READ_ONLY, detail ending in 3) and
 * for a null key or record number 0 (VQ_E_RANGE, ending in 2). */

/* Inserts an entry, which becomes the current one. Bad handle: 3161. 3164: a unique index has the
 * key (VQ_E_INDEX_PAGE). */
int32_t VQ_CALL dNputkey(VqIndex* index, const void* key, uint32_t recno);
/* Removes the entry with this key and this record number. There is no current entry then; dNnxtkey
 * gives the one that followed it, dNprvkey the one before it. Bad handle: 3211. 3214: there is none
 * (VQ_E_NOT_FOUND). */
int32_t VQ_CALL dNrmkey(VqIndex* index, const void* key, uint32_t recno);
/* Both in one. Bad handle: 3311. 3314: no such old entry (VQ_E_NOT_FOUND), nothing is inserted;
 * 3315: a unique index has the new key (VQ_E_INDEX_PAGE), nothing is removed. */
int32_t VQ_CALL dNupdkey(VqIndex* index, const void* old_key, const void* new_key, uint32_t recno);

/* The position. It survives changes by others: stepping goes on from the current entry's key and
 * record number. */

/* Makes the first entry with the key the current one. Without one VQ_E_NOT_FOUND: 3094 with the
 * record number of the first entry above the key, from which dNnxtkey and dNprvkey go on; 3093 with
 * record number 0 when none is above it. There is no current entry then. Bad handle: 3091. 3092:
 * null key. */
int32_t VQ_CALL dNgetrno(VqIndex* index, const void* key, uint32_t* recno);
/* Seeks `count` keys that follow one another and writes for each the record number of its first
 * entry, or 0 where there is none; *found is how many there are. The position is then the last
 * key's, as dNgetrno leaves it. Faster than one by one, above all where pages lie far apart in
 * memory. Stops at a key that cannot be sought, with what dNgetrno says of it; numbers from that
 * one on tell nothing. An addition to the family. */
int32_t VQ_CALL dNseeks(VqIndex* index, const void* keys, uint32_t count, uint32_t* recnos,
                        uint32_t* found);
/* Step to the next or previous entry; right after opening, to the first or last. VQ_E_INDEX_END:
 * 3203 reached, 3202 reached before. VQ_E_INDEX_START: 3173, 3172. Bad handle: 3201, 3171. */
int32_t VQ_CALL dNnxtkey(VqIndex* index, void* key, uint32_t* recno);
int32_t VQ_CALL dNprvkey(VqIndex* index, void* key, uint32_t* recno);
/* Steps to the next entry up to `count` times; the key of each goes to the place behind the one
 * before, its record number to recnos. Stops at the first step that fails, with what dNnxtkey says
 * of it; *got is how many entries there are, of which the last is the current one. Faster than one
 * by one. An addition to the family. */
int32_t VQ_CALL dNnxtkeys(VqIndex* index, uint32_t count, void* keys, uint32_t* recnos,
                          uint32_t* got);
/* The current entry. 3042: before the first (VQ_E_INDEX_START); 3043: past the last
 * (VQ_E_INDEX_END); 3044: none (VQ_E_NOT_FOUND). Bad handle: 3041. */
int32_t VQ_CALL dNcurkey(VqIndex* index, void* key, uint32_t* recno);
/* Before the first and past the last entry. Bad handle: 3191, 3081. */
int32_t VQ_CALL dNrewind(VqIndex* index);
int32_t VQ_CALL dNforwrd(VqIndex* index);

/* Copies the key expression with its zero byte into `size` bytes; flags, which may be null, gets
 * 4096 for a unique index, else 0. Bad handle: 3051. 3052: null text; 3053: too little room. */
int32_t VQ_CALL dNexpr(VqIndex* index, char* text, int32_t size, int32_t* flags);
/* The expression's length; flags, which may be null, gets 0. Bad handle: 3061. 3062: null. */
int32_t VQ_CALL dNexplen(VqIndex* index, int32_t* length, int32_t* flags);
/* The key's length in bytes, and its type letter. Bad handle: 3111, 3121. */
int32_t VQ_CALL dNkeylen(VqIndex* index);
int32_t VQ_CALL dNkeytyp(VqIndex* index);

/* Lock and unlock the index file for the caller; a request never waits. Without locks in the lock
 * scheme VQ_E_NO_DRIVER, detail ending in 2. Bad handle: 3131, 3221, 3141. */

/* 3133: refused. Locking what is held changes nothing. */
int32_t VQ_CALL dNlkfil(VqIndex* index);
/* 3223: not held (VQ_E_NOT_LOCKED); 3224: refused. */
int32_t VQ_CALL dNulkfil(VqIndex* index);
/* 0: this handle holds the lock. 3143: nobody (VQ_E_NOT_LOCKED); 3144: somebody else
 * (VQ_E_LOCKED); 3145: the system cannot tell. */
int32_t VQ_CALL dNlkfsta(VqIndex* index);

/* Makes an index with the keys of all records of the table, deleted ones too: a sorted stream
 * poured into full pages, in the workspace of the block's page-count setting. The expression gives
 * key type and length; texts of more than 100 characters, logical and memo values are refused as by
 * dNcreat. Options: VQ_BUILD_UNIQUE, which keeps the first record of each key, and VQ_BUILD_NDX3.
 * Equal keys run in the order of their records. The file takes its place in one step when it is
 * complete; whatever fails, an index that was there stays, and no temporary file is left. The
 * table's file lock is held meanwhile, unless the caller holds it; locks of others refuse it (483,
 * 484). VQ_E_CANCELLED: see dUsetprog.
 *   3101 -10 bad table handle               3103     the file cannot take its place
 *   3104 -11 the table is shared and there is such a file, which others may have open
 *   3105 -38 somebody else has locked the file that is there
 *   3021..3023, 3025, 3026 as for dNcreat   10262, 10272, 10282, 10292 -14 no memory
 *   10261, 10263, 10264 temporary files     10283 -17 not written     10284, 10285 too large
 * and what dEparse, dErun and dDgetrec report. */
int32_t VQ_CALL dNindex(VqTable* table, const char* name, const char* expression, uint32_t options);
/* Makes an existing index again, in its form and with its expression, key type and length. No
 * handle may be open on it.
 *   3181 -10 bad table handle
 *   3182 -11 the table is shared, and others would go on with the old file
 *   3183 -9  the expression gives another key type; else as for dNopen and dNindex
 *   3185 -38 somebody else has locked the file
 *   3186 -3  the header's two marks of a unique index contradict each other */
int32_t VQ_CALL dNreindex(VqTable* table, const char* name);

/* Copies an index file; the copy takes the place of `to` in one step when it is complete.
 *   10421 -5  not found          10422     not opened           3012 -11 the same file
 *   10431 -38 somebody else has locked the file that is there
 *   3013      not created        3014 -17 not read              3015, 3016 -17 not written */
int32_t VQ_CALL dNcopy(VqBlock* block, const char* from, const char* to);

/* ---- dX: MDX files --------------------------------------------------------------------------- */

/* An MDX file holds up to 47 indexes of one table, its tags. A tag has a name of up to 10 letters,
 * digits and `_` (no digit first, any case), a key expression, and maybe a FOR expression, which
 * says which records have a key in it. Names of files get the extension MDX. dXopen gives a handle
 * of the file, dXactidx one of a tag in it; all tags of a file share its page buffers. A key has
 * dXkeylen bytes: text padded with blanks, a packed decimal of 12 bytes (type N, which stands for F
 * as well), or a double (type D, a Julian day number); dErun with options 0x21 makes it from a
 * record. Keys descend in a descending tag; a unique tag has one record for each key. Only builds
 * evaluate the expressions: whoever changes a record puts and removes the keys, or lets the DB
 * functions do it.
 *
 * Modes, the position, equal keys and shared use are as for dN. So are the details of operations on
 * keys and locks, with 200 less in front of the last digit: 1164 where dNputkey has 3164. In a
 * shared mode another process may drop a tag that is active here; operations on its handle then
 * give -10, as on a handle that was given back, and it still has to be given back. They work again
 * once there is a tag of that name with the same keys and FOR expression; one that is defined
 * otherwise is another tag, with a handle of its own. Details of damaged trees are as for dN, and
 * any operation can end in these:
 *   10301 -17 header not read         10302 -3  no MDX header           10303 -3  tag table
 *   10304 -17 tag header not read     10306 -3  damaged tag header
 *   10311 -17 header not written      10312 -17 tag table not written   10313 -17 tag header
 *   10331 -17 free list not read      10332 -3  damaged free list
 *   10333 -20 no page numbers left    10335 -14 no memory
 *   10336 -3  damaged tree, so that no free block can be told from its; or the codes of its pages
 * A detail ending in 9: a null argument (-4). */

/* Makes an MDX file without tags for the table; it takes the place of an existing one in one step
 * when it is complete. No handle may be open on that.
 *   1021 -10 bad table handle         1025     not created              1026 -17 not written
 *   1024 -11 the table is shared, and there is such a file: others would go on with it
 *   1027 -38 somebody else has locked the file that is there */
int32_t VQ_CALL dXcreat(VqTable* table, const char* name);
/* Opens an MDX file for a table, whose lock scheme and block it uses, with at least 4 page buffers
 * of the file's block size (1024 to 16384 bytes). Null on failure, with the result code in the
 * block.
 *   10421 -5  not found               10422     not opened              1151 -10 bad table handle
 *   1153 -17 not identified           1154, 1155 -14 no memory */
VqIndex* VQ_CALL dXopen(VqTable* table, const char* name, uint32_t mode, int32_t buffers);
/* Flushes and closes. The handles of file and tags are gone whatever the result.
 *   1241 -10 bad handle               1242 -17 not closed */
int32_t VQ_CALL dXclose(VqIndex* file);
/* The handle of a tag. A tag that is active already gives the same handle, with its position; it
 * has to be given back as often. Null on failure, with the result code in the block.
 *   1001 -10 bad handle               1002 -2  no tag of this name      1003 -14 no memory
 *   1004 -9  texts in the order of the other language (dUsetlang) */
VqIndex* VQ_CALL dXactidx(VqIndex* file, const char* tag);
/* Gives a tag's handle back; what was changed stays in the file's buffers. Bad handle: 1031. */
int32_t VQ_CALL dXdeaidx(VqIndex* tag);
/* Writes the changes of all tags. Bad handle: 1071. */
int32_t VQ_CALL dXflush(VqIndex* file);
/* The bytes of memory that an open handle with this many buffers needs, or a negative result.
 *   1251  header not read (-17), or damaged (-3) */
int32_t VQ_CALL dXbuffs(VqBlock* block, const char* name, int32_t buffers);

/* The tags of a file: their number (bad handle: 1301), and a list of them, 19 bytes each: the page
 * of the tag's header (4), its name in capitals, filled with zero bytes (11), flags as dXexpr gives
 * them (4). The caller's list has room for all of them: for 47, the most a file can have, where
 * others may add some between the two calls. dXlistag lists them in the order in which they were
 * made, dXsortag in that of their names.
 *   1281, 1291 -10 bad handle         1282, 1292 -4  null list */
int32_t VQ_CALL dXtags(VqIndex* file);
int32_t VQ_CALL dXlistag(VqIndex* file, void* list);
int32_t VQ_CALL dXsortag(VqIndex* file, void* list);

/* Keys, by a tag's handle: see dNputkey to dNforwrd. */

int32_t VQ_CALL dXputkey(VqIndex* tag, const void* key, uint32_t recno);
int32_t VQ_CALL dXrmkey(VqIndex* tag, const void* key, uint32_t recno);
int32_t VQ_CALL dXupdkey(VqIndex* tag, const void* old_key, const void* new_key, uint32_t recno);
int32_t VQ_CALL dXgetrno(VqIndex* tag, const void* key, uint32_t* recno);
int32_t VQ_CALL dXseeks(VqIndex* tag, const void* keys, uint32_t count, uint32_t* recnos,
                        uint32_t* found);
int32_t VQ_CALL dXnxtkey(VqIndex* tag, void* key, uint32_t* recno);
int32_t VQ_CALL dXprvkey(VqIndex* tag, void* key, uint32_t* recno);
int32_t VQ_CALL dXnxtkeys(VqIndex* tag, uint32_t count, void* keys, uint32_t* recnos,
                          uint32_t* got);
int32_t VQ_CALL dXcurkey(VqIndex* tag, void* key, uint32_t* recno);
int32_t VQ_CALL dXrewind(VqIndex* tag);
int32_t VQ_CALL dXforwrd(VqIndex* tag);

/* Copies the key expression, its zero byte, the FOR expression (empty where every record has a key)
 * and its zero byte into `size` bytes; flags, which may be null, gets 4096 for a unique tag plus 8
 * for a descending one.
 *   1051 -10 bad handle               1052 -4  null text                1053 -4  too little room */
int32_t VQ_CALL dXexpr(VqIndex* tag, char* text, int32_t size, int32_t* flags);
/* The length of the key expression; flags, which may be null, gets that of the FOR expression. Bad
 * handle: 1061. 1062: null. */
int32_t VQ_CALL dXexplen(VqIndex* tag, int32_t* length, int32_t* flags);
/* The key's length in bytes, and its type letter C, N or D. Bad handle: 1111, 1121. */
int32_t VQ_CALL dXkeylen(VqIndex* tag);
int32_t VQ_CALL dXkeytyp(VqIndex* tag);

/* The lock of the file: see dNlkfil. Bad handle: 1131, 1221, 1141. */
int32_t VQ_CALL dXlkfil(VqIndex* file);
int32_t VQ_CALL dXulkfil(VqIndex* file);
int32_t VQ_CALL dXlkfsta(VqIndex* file);

/* Adds a tag with the keys of all records of the file's table, deleted ones too, for which the FOR
 * expression (null or empty: for all) is true. The format is a type letter C, N, F or D, for C the
 * key length 1..100 behind it, then D when keys descend, U when they are unique (the first record
 * of each key then has it). The key expression has to give that type; texts are cut or filled to
 * the length. While a tag is built nobody else can use a shared file. The tag is there when it is
 * complete, and not at all after a failure; equal keys run in the order of their records, negative
 * numbers and descending keys against it. When the file is the table's own, which has its name,
 * the table's production flag is set. Databases that have the file open take the tag up with their
 * next change of a record.
 *   1100 -16 opened for reading       1101 -10 bad file handle          1102 -10 table closed
 *   1103 -11 name                     1104 -11 there is such a tag      1105 -4  47 tags
 *   1106 -4  more than 220 characters 1107 -4  key length
 *   1108     key type (-11), or not that of the expression (-9)
 *   6511 -11 the FOR expression is not logical
 *   10314 -17 the tag is there, but the table's production flag could not be set
 *   10315 -5  others have removed the file: open it again
 *   and what dNindex reports of expressions, records, sorting and progress */
int32_t VQ_CALL dXindex(VqIndex* file, const char* tag, const char* key, const char* format,
                        const char* filter);
/* The same in one call: opens the file in the table's mode, or makes it when there is none, and
 * takes type and length of the keys from the expression. Options: VQ_BUILD_UNIQUE,
 * VQ_BUILD_DESCENDING. A file that was made goes again on failure, unless a tag is in it. Bad table
 * handle: 1271. */
int32_t VQ_CALL dXezindx(VqTable* table, const char* name, const char* tag, const char* key,
                         const char* filter, uint32_t options);
/* Builds every tag again into a new file, which takes the old one's place in one step when it is
 * complete; no free blocks are left then. No handle may be open on it. The table is locked
 * meanwhile; a lock of it that cannot be given back (-39) leaves the new file in place.
 *   1181 -10 bad table handle         1182 -11 shared table: others would go on with the old file
 *   1183 -9  an expression gives another key type                       1184 -14 no memory
 *   1185     the new file cannot take the old one's place
 *   1186 -17 the new file is in place, but not the mark of the production index in the table, which
 *            a pack takes away
 *   1187 -38 somebody else has locked the file; else as for dXopen and dXindex */
int32_t VQ_CALL dXreindx(VqTable* table, const char* name);
/* Drops a tag. Its blocks go to the free list, from which the tags of the file take theirs, unless
 * its tree is damaged: then they are lost until dXreindx. A handle of it can only be given back.
 *   1261 -10 bad file handle          1262 -2  no such tag              1263 -16 opened for reading
 */
int32_t VQ_CALL dXdeltag(VqIndex* file, const char* tag);
/* As dNcopy.
 *   1012 -11 the same file            1013     not created              1014 -17 not read
 *   1015, 1016 -17 not written */
int32_t VQ_CALL dXcopy(VqBlock* block, const char* from, const char* to);

/* ---- dT: memo files -------------------------------------------------------------------------- */

/* A memo field holds a reference: 10 characters, the number of the memo's first block, blank or 0
 * for none. A function that writes a memo elsewhere rewrites the reference in place and, where
 * there is a `moved`, sets it to 1 (else 0; it may be null); the host then writes the record. After
 * a failure, too, the reference names a memo that can be read.
 *
 * Names get the extension DBT, also in place of DBF. "notes;orders" is the memo file notes of the
 * table orders. Mode: 0 alone, 1 for reading only, 2 or 4 shared; in a shared mode every change
 * holds the lock of the memo file, and every read unless the system says that nobody has written
 * since the last one. While somebody else has the lock, either is refused at once
 * (VQ_E_FILE_LOCKED, or VQ_E_LOCK_REFUSED). Every change is handed to the system before the call
 * returns; under VQ_FLAG_DURABLE, closing waits until the device has it as well.
 *   10161 -10 bad handle                        10162 -4  null or empty reference
 *   10163 -17 reference above every block number
 * Writing through a handle of the other layout is VQ_E_NOT_ALLOWED, through one opened for reading
 * VQ_E_READ_ONLY, both with the detail ending in 2. */

/* dBASE IV layout: texts of any bytes, blocks of 512 to 16384 bytes, space used again. */

/* Makes the memo file, over an existing one, in blocks of the block's memo block setting (1..32)
 * times 512 bytes, and marks its table, which must exist, with version byte 0x8B. On failure there
 * is no memo file.
 *   2041     not created         2042 -17 not written           2052 -3  no table
 *   2051 -17 table not read      2053 -17 table not written */
int32_t VQ_CALL dTcreat(VqBlock* block, const char* name);
/* Null on failure, with the result code in the block.
 *   10421 -5  not found          10422     not opened           2143 -14 no memory
 *   2144, 2145 -17 not read      2146 -3  no dBASE IV memo file */
VqMemo* VQ_CALL dTopen(VqBlock* block, const char* name, uint32_t mode);
/* The handle is gone whatever the result, but for 2152 (-11): it is of the other layout. 2153
 * (-17): not closed, or not brought to the device. */
int32_t VQ_CALL dTclose(VqMemo* memo);
/* Writes a new memo of `length` bytes (0 or more) and fills the reference, which must not name one
 * already.
 *   2101 -11 the reference names a memo         2103 -4  bad length
 *   2114 -17 free blocks not read               2115 -20 no block numbers left
 *   2117 -3  the chain of free blocks is damaged
 *   2116, 2118..2123 -17 not written */
int32_t VQ_CALL dTnewmm(VqMemo* memo, int32_t ignored, int32_t length, const void* data,
                        char* reference);
/* Puts `length` bytes (1 or more) behind a memo; it moves when they do not fit in its blocks.
 *   2003 -4  bad length, or longer than 2147483647 together
 *   2005..2010 -17 not read or written          10321, 10323 -17 moved, but the old blocks are
 *                                               not free; else as for dTnewmm and dTmemosz
 * In a shared mode, for every function here:
 *   2161 -3, 2162, 2163 -17 the file's header cannot be read again */
int32_t VQ_CALL dTaddmm(VqMemo* memo, int32_t length, const void* data, char* reference,
                        int32_t* moved);
/* Replaces a memo by `length` bytes (1 or more); it moves unless the number of its blocks stays.
 * 2163 (-4): bad length; 2166 (-17): not written; else as for dTaddmm. */
int32_t VQ_CALL dTupdmm(VqMemo* memo, int32_t ignored, int32_t length, const void* data,
                        char* reference, int32_t* moved);
/* Reads at most `max` bytes from `offset` on and puts a zero byte behind them: the buffer has
 * max + 1 bytes, which a failure, too, may have changed. `length` gets the number of bytes read;
 * `done`, which may be null, 1 once nobody else keeps the file from being read.
 *   2062 -11 other layout        2063 -4  bad offset, maximum or null     2066 -17 not read
 *   2064 -4  offset at or behind the end of a text that is not empty; else as for dTmemosz */
int32_t VQ_CALL dTgetmm(VqMemo* memo, const char* reference, int32_t offset, int32_t max,
                        void* buffer, int32_t* length, int32_t* done);
/* The length in bytes.
 *   2082 -11 other layout                       2083 -17 not read, or behind the file
 *   2084 -3  no memo at the block               2085 -3  its length is damaged */
int32_t VQ_CALL dTmemosz(VqMemo* memo, const char* reference, int32_t* length);
/* 1: text. For both layouts. */
int32_t VQ_CALL dTmemotype(VqMemo* memo, const char* reference, int32_t* type);
/* The bytes of memory that an open handle on the file needs, or a negative result. 2091: the header
 * cannot be read (VQ_E_IO) or is damaged (VQ_E_FORMAT). For both layouts. */
int32_t VQ_CALL dTmemuse(VqBlock* block, const char* name);
/* Rebuilds a table's memo file with only the memos that its M fields name, in record order, without
 * free space, in the layout that the table is marked with and blocks of the present memo block
 * setting. The table must not be open elsewhere. The new file takes the old one's place in one
 * step; after a failure the old one is untouched and nothing else is left.
 *
 * WARNING. The references in the table are not rewritten: afterwards they name the wrong blocks of
 * the new file. Memos lie in the order of the records and, within one, of its fields, each in
 * length / block size + 1 blocks (length + 7 in the dBASE IV layout, length + 1 in the dBASE III
 * layout), from block 1 on; a host that keeps the table must write these numbers into its fields
 * before anyone reads a memo. A dBASE IV memo of more than 32768 bytes is not kept: its first 32768
 * bytes are repeated up to its length. Copy longer texts with dTgetmm and dTnewmm instead.
 *
 * VQ_E_CANCELLED: see dUsetprog. The details of the calls that it is made of, and
 *   1234 -14 no memory; -14 without a detail as well
 *   10431 -38 somebody else has locked the memo file
 *   19876 -17 the old file is in use            19877 -17 the new one cannot take its place */
int32_t VQ_CALL dToptimize(VqBlock* block, const char* name);

/* dBASE III layout: texts without the bytes 0 and 0x1A, which end them, and blocks of 512 bytes.
 * Every write puts a whole new memo behind all others, and only dToptimize frees the old ones. */

/* As dTcreat, with version byte 0x83. 2201: not created; 2202: not written. */
int32_t VQ_CALL dTcreat3(VqBlock* block, const char* name);
/* 2263: no memory; 2264: no memo file (VQ_E_FORMAT). */
VqMemo* VQ_CALL dTopen3(VqBlock* block, const char* name, uint32_t mode);
/* In mode 0 this is what stores the next free block.
 *   2272 -11 other layout        2273 -17 not closed, or not brought to the device
 *   2274 -17 next free block not stored */
int32_t VQ_CALL dTclose3(VqMemo* memo);
/* These four do the same: they write the text, up to its zero byte, as a new memo and rewrite the
 * reference, whatever it was. `moved`, which may be null, is set to 1.
 *   2282 -11 other layout, -16 opened for reading           2283 -4  null or empty text
 *   2284 -17 next free block not read, -3 damaged, -20 no block numbers left
 *   2285..2287 -17 not written */
int32_t VQ_CALL dTnewmm3(VqMemo* memo, int32_t ignored, int32_t ignored2, const char* text,
                         char* reference);
int32_t VQ_CALL dTaddmm3(VqMemo* memo, int32_t ignored, const char* text, char* reference,
                         int32_t* moved);
int32_t VQ_CALL dTupdmm3(VqMemo* memo, int32_t ignored, int32_t ignored2, const char* text,
                         char* reference, int32_t* moved);
int32_t VQ_CALL dTputmm3(VqMemo* memo, const char* text, char* reference);
/* WARNING. Reads the whole memo, however long, and puts a zero byte behind it: offset and maximum
 * are not looked at. Ask dTmemsz3 first and pass a buffer of one byte more than it says; where
 * others may write meanwhile, hold the record's lock from the one call to the other. 2222 (-11):
 * other layout; 2223 (-17): not read, or behind the file. */
int32_t VQ_CALL dTgetmm3(VqMemo* memo, const char* reference, int32_t ignored, int32_t ignored2,
                         void* buffer, int32_t* length, int32_t* done);
/* The length in bytes. 2242 (-11): other layout; 2243 (-17): not read, or behind the file. */
int32_t VQ_CALL dTmemsz3(VqMemo* memo, const char* reference, int32_t* length);

/* ---- DB: databases: a table, its memo file and its index group ------------------------------- */

/* The host prepares one block per dialect, then opens, works and closes. A database keeps every
 * index of its group in step with the table; memo texts are written by the dT functions, and their
 * references stored in the record before it is appended or rewritten.
 *
 * Bad handles of this family have the detail code that ends in 0. Codes of the tables, memo files,
 * indexes and expressions below come through unchanged. VQ_E_NO_DRIVER without a detail code: the
 * kind has no such operation (256, 512 and 1024 have none). */

/* Clears the block and sets the defaults of a dialect, one of VQ_DIALECT_*. VQ_E_UNKNOWN_KIND for
 * any other, and the block stays as it was. */
int32_t VQ_CALL DBinit(VqBlock* block, uint32_t kind);

/* Opens table `name` ("orders", or "orders;notes" to name its memo file), its memo file and `count`
 * indexes. `buffers` is for the table. `options`: VQ_SPECS_ARRAY, or VQ_SPECS_CHAIN through
 * `next`. The name of an MDX file may carry a tag behind a semicolon; else all its tags join.
 * `mode`: VQ_OPEN_*. The index list, from which DBuse opens the group again, is a file of the
 * table's name with extension DD. `out` becomes the database, to be given back to DBclose.
 * `failed` (may be null) becomes the one that could not be opened, else null. On failure
 * nothing stays open. A production MDX file that is not named goes stale: dDmode & 2 tells of it.
 * A missing memo file is made, unless somebody else makes it first; see VQ_OPEN_NO_MEMO_CREATE.
 *   6111 -11 neither form of descriptions     6112 -9  memo file missing
 *   6118 -11 a DBpack of this table has not come to its end: call it again
 *   6124 -25 tag without a key expression       6125 -25 filter that is not logical
 *   6127 -9  the index holds keys of another type, or of another length, than its expression gives
 *            on this table
 *   6128 -11 the file, or the tag, is a member already, under whatever name
 *   -14 no memory: 6113 members     6114 tag list       6115 index name     6116 table name
 *                  6117 memo name   6121, 6122 a tag's key and filter       6123 its name
 *                  6126 an index's expressions
 * A list holds names without blanks, tabs, `=` and line ends that are none of its keywords (MDX,
 * NDX, NDX3, FOXCDX, FOXIDX, CLIPNTX). A group with another name has no list: an older one is
 * removed, since it would open another group. */
int32_t VQ_CALL DBopen(VqBlock* block, const char* name, uint32_t mode, int32_t buffers,
                       uint32_t options, int32_t count, VqIndexSpec* specs, VqDatabase** out,
                       VqIndexSpec** failed);
/* The same with the indexes of the index list, none when there is no list, and with the block's
 * table_access and index_open_parameter.
 *   6302     list not opened                    6303 -3  empty list
 *   6305 -17 not read                           6307, 6311 -3 a line that is not keyword, "=", name
 *   6312 -3  no memory for a name
 *   -14 no memory: 6301 name        6304 text           6306 tokens         6308 description */
int32_t VQ_CALL DBuse(VqBlock* block, const char* name, uint32_t mode, VqDatabase** out);
/* Closes table, memo file and indexes, all of them even when one fails; returns the first failure.
 * 6120: bad handle. */
int32_t VQ_CALL DBclose(VqDatabase* database);

/* Fills a copy of a member, by its VQ_KIND_*: the table; any memo kind the memo file; else the
 * first index of that kind (VQ_KIND_NDX finds NDX3 as well) by that file name, any when it is null
 * or empty, and for tags by that tag name, whatever the case. The copy's texts, handle and programs
 * belong to the database. A copy of a tag holds as long as the tag is defined as it was; when it
 * was dropped and made with another key or FOR expression, a new copy is to be had.
 *   6131 -5  no memo file        6132 -11 no member kind        6133 -5  no such member
 * Asking for a tag takes up those of others (below), with the failures of that. */
int32_t VQ_CALL GRPmember(VqDatabase* database, uint32_t kind, const char* name, const char* tag,
                          VqMember* out);

/* Creates a table as dDcreat does, and its memo file when it has memo fields, over files of these
 * names; then removes files of the table's name with the extensions DD, MDX, NDX, CDX and IDX.
 * After a failure the older files are there, or the next open of the table completes the step as
 * after DBcompact. A memo file that is named behind a semicolon and is not the table's own must not
 * exist: it may be another table's.
 *   6371 -11 that memo file is there already, or is the table, or belongs to the table copied from
 *   6372     table and memo file cannot be put in their places */
int32_t VQ_CALL DBcreat(VqBlock* block, const char* name, int32_t count, const char* const* fields);
/* Makes an empty table of the structure of another, and its memo file, in the same way. */
int32_t VQ_CALL DBcopy(VqBlock* block, const char* from, const char* to);

/* Reading records through a member: a copy of the table goes by record numbers, a copy of an index
 * by its keys; records that others have appended are read through an index in every shared mode.
 * `record` takes a whole record, or its fields with run-time flag 1; `recno` its
 * number. Detail 61x1 (VQ_E_NOT_ALLOWED): a member without an order. 61x0 (VQ_E_BAD_HANDLE):
 * the member's database is closed, or it never was a member. */

/* Finds a key of the index's key length; for the table, `key` is the record number itself, cast:
 * (const void *)(uintptr_t)n. VQ_E_NOT_FOUND: no such key; the record of the next key was read, or
 * none (`recno` 0) above the last. 6141. */
int32_t VQ_CALL DBgetrec(const VqMember* member, const void* key, void* record, uint32_t* recno);
/* The same without reading: `recno` alone. Steps go on from there. 6351; 6352 (VQ_E_RANGE): no such
 * record. */
int32_t VQ_CALL DBsetrec(const VqMember* member, const void* key, uint32_t* recno);
/* Step to the next or previous record, or stay. `key` takes the index's key; for the table it is
 * not used and may be null. 6151, 6161, 6171. */
int32_t VQ_CALL DBnextrec(const VqMember* member, void* record, uint32_t* recno, void* key);
int32_t VQ_CALL DBprevrec(const VqMember* member, void* record, uint32_t* recno, void* key);
int32_t VQ_CALL DBcurrec(const VqMember* member, void* record, uint32_t* recno, void* key);
/* Steps to the next record up to `count` times and reads each to the place behind the one before,
 * with its number. Stops at the first step that fails, with what DBnextrec says of it; *got is how
 * many records it has read. An addition to the family. */
int32_t VQ_CALL DBgetrecs(const VqMember* member, uint32_t count, void* records, uint32_t* recnos,
                          uint32_t* got);
/* Before the first record, behind the last. 6181, 6191. */
int32_t VQ_CALL DBrewind(const VqMember* member);
int32_t VQ_CALL DBforward(const VqMember* member);

/* Changing records. In shared modes the append lock, or the record's lock, is taken for the time of
 * the call unless the host holds it. The index files that the change touches are locked first, each
 * once, and let go when the last key is in: nobody finds the record by one index before its keys
 * are in the others. Locks of the table are refused at once; an index file is waited for, some
 * seconds at most. An update that changes no key locks and writes no index.
 *
 * Before a record is changed, the group takes up what others have done with the tags of its files:
 * one that was dropped and made anew is kept as it is now, and where a file joined with all its
 * tags, a new one joins. A dropped tag is left out until it is made again.
 *
 * What a failure leaves behind:
 * - A refused lock (-37, -38, -40), a damaged index header or a full memory (-14 with 6201, 6211 or
 *   6212): nothing is written. Call again.
 * - A tag of others that cannot be taken up, with the codes that DBopen would give (its expression,
 *   6124, 6125, 6127): nothing is written, since the record would be missing in that tag. Drop or
 *   rebuild it, then call again.
 * - A failure of the table (details of dDapprec and dDupdrec): the record as these leave it, and no
 *   key is touched.
 * - A key that cannot be made (codes of the expression), a unique index that refuses an update
 *   (-8), a damaged tree (-8, -3) or a failed write (-17, -20): the record is written, the indexes
 *   before the failing one in the group have its new key, those behind it have the old one. For
 *   DBapprec *recno is set, and the record lacks the keys of that index and of those behind it.
 * Repair after a failed DBupdrec: when the cause is gone, or at once where it was a refused key,
 * call DBupdrec with the record's former contents, which brings every index back in step, then with
 * others. The same contents again would find no key changed, and other new contents would leave the
 * old key in the indexes that were not reached. After a failed DBapprec: DBdelrec the record and
 * append again when the cause is gone; or rebuild with DBreindex, as for a damaged index.
 *
 * A change moves the position of each index whose key it moves: to the entry that came in, or
 * before the one that followed what went out. Hosts that walk an index while they change its keys
 * keep the key and seek it again. */

/* Appends, then inserts a key into every index; a key that a unique index holds already is no
 * failure, and the record stays out of that index. `recno` is set once the table has the record. */
int32_t VQ_CALL DBapprec(VqDatabase* database, const void* record, uint32_t* recno);
/* Rewrites a record, then moves the keys that changed; here a key that a unique index holds already
 * is VQ_E_INDEX_PAGE. The old keys are those of the record as the file has it now. An old key that
 * is not in its index, or cannot be made, is no failure. */
int32_t VQ_CALL DBupdrec(VqDatabase* database, uint32_t recno, const void* record);
/* Set and clear the deletion mark. The keys stay, but for indexes whose key or filter reads the
 * mark (DELETED()): these follow as with DBupdrec. */
int32_t VQ_CALL DBdelrec(VqDatabase* database, uint32_t recno);
int32_t VQ_CALL DBrclrec(VqDatabase* database, uint32_t recno);
/* The deletion flag of a record, ' ' or '*', or a negative result. */
int32_t VQ_CALL DBrecsta(VqDatabase* database, uint32_t recno);
/* Writes the changes of table and indexes out; returns the first failure. */
int32_t VQ_CALL DBflush(VqDatabase* database);
/* The same for one member. 6340: bad member; 6341 (VQ_E_NOT_ALLOWED): no member kind. */
int32_t VQ_CALL DBmember_flush(const VqMember* member);
/* Makes an index with the keys of the table's records and adds it to the group and the index list.
 * `kind`: VQ_KIND_NDX, VQ_KIND_NDX3 or VQ_KIND_MDX, for which `tag` names the tag and `filter` is
 * its FOR expression or null; both are ignored for the others. `options`: VQ_BUILD_UNIQUE and, for
 * tags, VQ_BUILD_DESCENDING. A shared table is locked meanwhile. An MDX file that is a member gets
 * the tag while it is open. After a failure the group is what it was; where the file was built and
 * could then not be opened, it is there without being a member.
 *   6320 -10 bad handle     6321 -11 the file is a member already      6322 -12 no index kind
 *   6323 -11 a name that the index list cannot hold (see DBopen); not with VQ_OPEN_NO_INDEX_LIST
 *   6324 -17 built and a member, but the index list could not be written: DBuse will not open it
 *   6325 -11 the table is being packed
 *   6326 -17 whether the file is a member cannot be told */
int32_t VQ_CALL DBindex(VqDatabase* database, uint32_t kind, const char* name, const char* tag,
                        const char* key, const char* filter, uint32_t options);
/* Builds every index file of the group again; its members are then positioned nowhere. Copies of
 * them stay good for the DB functions, however often it is called, but the handles in them do not.
 * It stops at the first failure, which leaves that file and those behind it as they were. 6330: bad
 * handle; 6331 (VQ_E_NOT_ALLOWED): shared table; 6332: read-only. */
int32_t VQ_CALL DBreindex(VqDatabase* database);
/* Packs a table as dDpack does and builds the indexes of its index list again; a table without a
 * list is packed alone. An addition to the interface as it was. Nobody may have the table open.
 * Progress of the pack, then of each index. Before the table is replaced the list gets a mark, with
 * which DBopen and DBuse refuse the table (6118) until the last index is built: after a crash, a
 * failure or a cancel in between no index is used with record numbers of before, and DBpack called
 * again finishes the work. Up to the mark, and while the table is packed, a failure or a cancel
 * leaves every file as it was. Indexes that the list does not name are not touched.
 *   6361 -17 the list cannot be marked; else as for DBuse, dDpack, dDlkfil and DBreindex */
int32_t VQ_CALL DBpack(VqBlock* block, const char* name);
/* Copies a field's bytes out of a record and puts a zero byte behind them. 221: bad handle; 222
 * (VQ_E_RANGE): no such field. */
int32_t VQ_CALL DBexfield(VqTable* table, const void* record, const char* name, char* out);

/* Questions to an index member. VQ_E_UNAVAILABLE: a driver column beyond 6. 6260: bad member. A
 * file of tags has no key and a tag has no tags: VQ_E_BAD_HANDLE with the detail of dXexpr,
 * dXexplen, dXlistag or dXsortag; DBkeylen and DBkeytype give 0 and leave VQ_E_BAD_HANDLE for the
 * value. */

/* The key expression and its zero byte; for a tag its filter expression and another behind it.
 * `flags`, which may be null: VQ_INDEX_*. */
int32_t VQ_CALL DBexpr(const VqMember* member, char* text, int32_t size, int32_t* flags);
int32_t VQ_CALL DBexplen(const VqMember* member, int32_t* length, int32_t* flags);
int32_t VQ_CALL DBkeylen(const VqMember* member, int32_t* length);
/* The key type letter. */
int32_t VQ_CALL DBkeytype(const VqMember* member, int32_t* type);
/* The tags of an MDX file, 19 bytes each: header page (4), name (11), flags as DBexpr gives them
 * (4); by name when `sorted`. */
int32_t VQ_CALL DBlist_tags(const VqMember* member, int32_t sorted, void* list);
/* The number of tags; VQ_E_UNAVAILABLE for a member that is no multiple-index file. */
int32_t VQ_CALL DBtags(const VqMember* member);

/* The memo file of a database. VQ_E_NOT_ALLOWED without a detail code: it has none. `reference`:
 * the 10 characters of a memo field. Arguments and details as for dTgetmm, dTmemosz, dTmemotype, or
 * as for dTgetmm3 and dTmemsz3 when the memo file is of the dBASE III layout.
 *
 * WARNING. From a dBASE III memo file DBgetmemo reads the whole memo, however long, and puts a zero
 * byte behind it: `offset` and `max` are not looked at. Ask DBmemosize first and pass a buffer of
 * one byte more than it says; that is safe with both layouts. */
int32_t VQ_CALL DBgetmemo(VqDatabase* database, const char* reference, int32_t offset, int32_t max,
                          void* buffer, int32_t* length, int32_t* done);
int32_t VQ_CALL DBmemosize(VqDatabase* database, const char* reference, int32_t* length);
int32_t VQ_CALL DBmemotype(VqDatabase* database, const char* reference, int32_t* type);

/* A memo file by its name, in the layout of the block's dialect. */

/* Bytes that an open handle of it takes. */
int32_t VQ_CALL DBmemomem(VqBlock* block, const char* name, int32_t* size);
/* Compacts it. The references that the table's records hold are NOT changed and no longer name the
 * right memos; see dToptimize. */
int32_t VQ_CALL DBoptimize(VqBlock* block, const char* name);

/* ---- vq: about the library itself --------------------------------------------------------------
 */

/* The library's version, such as "6.0.0". */
const char* VQ_CALL vqVersion(void);
/* The words for a result code, such as "not found" for -5, and for a detail code, such as "no such
 * file" for 10421; an empty text for a detail without words. Both lie in the library and stay
 * there. docs/errors.md is the table of them all. */
const char* VQ_CALL vqErrorText(int32_t result);
const char* VQ_CALL vqDetailText(int32_t detail);

/* ---- Whether files are sound -------------------------------------------------------------------
 *
 * An addition to the described interface. A check reads files byte by byte, works on damaged ones
 * that no open accepts, changes nothing, and hands each finding to the host.
 *
 * Checks return 0 when nothing of severity VQ_SEVERITY_ERROR was found, the number of such findings
 * when there are any, and a negative result when the check itself could not be done: a file that
 * is not there (VQ_E_NOT_FOUND), somebody else at work (VQ_E_FILE_LOCKED), no memory, a failing
 * disk, a host that cancels by its report or progress function (VQ_E_CANCELLED, 10071).
 *
 * Sharing. A check takes the file lock of the table (in the block's lock scheme) and the locks of
 * its memo and index files, waits some seconds for each, and holds them until it is done: nobody's
 * appended record, changed key or memo is met half way, and others' changes are refused meanwhile.
 * What it cannot see: changes that a handle of mode 0 still has in its buffers; and, between two
 * low-level calls of a host that holds no lock, a memo or key written without its record. Where
 * the lock scheme has no table locks (4 to 6), a table that changes during its check is
 * VQ_E_FILE_LOCKED with detail 6602; so is one that VQ_CHECK_UNLOCKED is used on.
 */

#define VQ_SEVERITY_NOTE 1    /* worth knowing; every operation works */
#define VQ_SEVERITY_WARNING 2 /* not as it should be, but nothing is misread for it */
#define VQ_SEVERITY_ERROR 3   /* damage: something is lost, or is read or written wrongly */

/* What was found. In the middle the severity: N note, W warning, E error. */

/* Tables. */
#define VQ_F_TABLE_SHORT 101        /* E no room for a header and its fields */
#define VQ_F_TABLE_VERSION 102      /* E version byte that the dialect does not read; no further */
#define VQ_F_TABLE_ENCRYPTED 103    /* E marked as encrypted; records are not looked at */
#define VQ_F_HEADER_LENGTH 104      /* E is not where the field list ends */
#define VQ_F_RECORD_LENGTH 105      /* E the fields do not fit a record */
#define VQ_F_RECORD_SLACK 106       /* W a record is longer than its fields */
#define VQ_F_UPDATE_DATE 107        /* W the date of the last update is none */
#define VQ_F_FIELD_NAME 108         /* E empty, or two fields of one name */
#define VQ_F_FIELD_LETTERS 109      /* W a name that expressions cannot use */
#define VQ_F_FIELD_TYPE 110         /* E no type of any dialect */
#define VQ_F_FIELD_LENGTH 111       /* E a length or decimals that the type does not have */
#define VQ_F_FIELDS_END 112         /* W nothing ends the field list */
#define VQ_F_COUNT_HIGH 113         /* E the header counts more records than the file holds */
#define VQ_F_COUNT_LOW 114          /* E whole records follow the last one that is counted */
#define VQ_F_END_MARK 115           /* W another byte stands where the end mark belongs */
#define VQ_F_END_MARK_MISSING 116   /* N the file ends with its last record */
#define VQ_F_TAIL 117               /* N bytes behind the end mark */
#define VQ_F_DELETION_FLAG 118      /* E neither blank nor asterisk */
#define VQ_F_FIELD_BYTES 119        /* W bytes that the field's type does not have */
#define VQ_F_MEMO_OUTSIDE 120       /* E a field names a memo behind the end of the memo file */
#define VQ_F_MEMO_SHARED 121        /* E two fields name the same memo */
#define VQ_F_MEMO_FILE_MISSING 122  /* E fields name memos, and there is no memo file */
#define VQ_F_PRODUCTION_MISSING 123 /* W marked as having an MDX file, which is not there */
#define VQ_F_VERSION_MEMO 124       /* E the version byte denies the memo file, or its layout */
/* Memo files. */
#define VQ_F_MEMO_SHORT 201      /* E no room for a header */
#define VQ_F_MEMO_BLOCK_SIZE 202 /* E a block size that cannot be; no further */
#define VQ_F_CHAIN_BROKEN 203    /* E the chain of free blocks leaves the file or never ends */
#define VQ_F_CHAIN_OVERLAP 204   /* E free blocks that are part of a memo, or free twice */
#define VQ_F_CHAIN_END 205       /* E new memos would begin far behind the end of the file */
#define VQ_F_MEMO_NONE 206       /* E a field names a block where no memo begins */
#define VQ_F_MEMO_LENGTH 207     /* E a memo is longer than the file */
#define VQ_F_MEMO_OVERLAP 208    /* E a memo runs into the next one */
#define VQ_F_MEMO_MARK 209       /* W a memo begins with a damaged mark */
#define VQ_F_BLOCKS_LOST 210     /* N blocks that are neither free nor in a memo that is named */
#define VQ_F_NEXT_FREE_OLD 211   /* W dBASE III: the header was not stored after the last memo */
#define VQ_F_MEMO_UNNAMED 212    /* N dBASE IV: a memo that no field names */
/* Indexes. */
#define VQ_F_INDEX_SHORT 301      /* E no room for a header, or for the pages that it counts */
#define VQ_F_INDEX_HEADER 302     /* E a header that no index has; no further */
#define VQ_F_INDEX_FLAGS 303      /* E places that tell the same disagree */
#define VQ_F_INDEX_EXPRESSION 304 /* E key or filter cannot be compiled for the table */
#define VQ_F_INDEX_TYPE 305       /* E the expression gives keys of another type or length */
#define VQ_F_PAGE_OUTSIDE 306     /* E a page number beyond the pages of the file */
#define VQ_F_PAGE_TWICE 307       /* E two places lead to one page */
#define VQ_F_PAGE_COUNT 308       /* E more keys than a page holds, or none above a child */
#define VQ_F_PAGE_LEVEL 309       /* E leaves on different levels, or too many levels */
#define VQ_F_PAGE_ORDER 310       /* E keys out of order */
#define VQ_F_PAGE_LEFTOVER 311    /* E entries that stand in the next page as well, or should */
#define VQ_F_PAGE_EMPTY 312       /* W a leaf without keys */
#define VQ_F_ENTRY_RECORD 313     /* E an entry for a record that the table does not have */
#define VQ_F_KEY_TWICE 314        /* E a unique index holds a key twice */
#define VQ_F_PAGES_LOST 315       /* N pages that nothing leads to */
#define VQ_F_INDEX_UNFINISHED 316 /* N a flush was cut off; the next open completes it */
#define VQ_F_KEY_MISSING 321      /* E the index lacks a record's key */
#define VQ_F_KEY_EXTRA 322        /* E an entry whose key is not its record's */
#define VQ_F_RECORD_TWICE 323     /* E a key and its record are entered twice */
#define VQ_F_TAG_TABLE 331        /* E MDX: an entry of the tag table */
#define VQ_F_TAG_THREADS 332      /* W MDX: the order of the tag names */
#define VQ_F_TAG_HEADER 333       /* E MDX: a tag's header */
#define VQ_F_FREE_LIST 334        /* E MDX: the free list, or a page in it and in use */
/* Groups. */
#define VQ_F_FILE_MISSING 401 /* E a file of the group is not there */
#define VQ_F_INDEX_LIST 402   /* E the index list cannot be read */
#define VQ_F_NOT_COMPARED 403 /* N an index was not compared with the table; the text says why */
#define VQ_F_PACK_CUT_OFF 404 /* E DBpack was cut off; DBpack or DBrepair completes it */

/* What a repair did. */
#define VQ_F_BACKUP 501     /* N where the file is kept as it was */
#define VQ_F_MENDED 502     /* N a table or memo file has been mended */
#define VQ_F_REBUILT 503    /* N an index has been built again */
#define VQ_F_NOT_MENDED 504 /* W a file that cannot be mended; the text says why */

/* A finding. The texts are the library's, and stay good until the report returns. */
typedef struct VqFinding {
  uint64_t offset;  /* of the first byte in question */
  int32_t severity; /* VQ_SEVERITY_ */
  int32_t code;     /* VQ_F_ */
  uint32_t record;  /* record number; 0: none */
  uint32_t page;    /* page of an index (in MDX files of 512 bytes) or block of a memo file */
  const char* file; /* the file's path */
  const char* name; /* field or tag; of VQ_F_BACKUP the copy; else null */
  const char* text; /* one sentence */
} VqFinding;

/* Takes a finding. A non-zero answer ends the work. It must not use handles on the files. */
typedef int32_t(VQ_CALL* VqReport)(void* context, const VqFinding* finding);

/* An index of a group: where no index list tells, or where the list is not to be believed. */
typedef struct VqIndexDef {
  uint32_t kind;      /* VQ_KIND_MDX, VQ_KIND_NDX or VQ_KIND_NDX3 */
  const char* name;   /* of the file */
  const char* tag;    /* MDX: a tag; each has its own VqIndexDef. null: all, as the file says */
  const char* key;    /* key expression; null: as the file says */
  const char* filter; /* MDX: FOR expression or null */
  uint32_t options;   /* VQ_BUILD_UNIQUE, VQ_BUILD_DESCENDING */
} VqIndexDef;

#define VQ_CHECK_FORM 1     /* indexes by themselves, not compared with the table */
#define VQ_CHECK_UNLOCKED 2 /* no locks are taken */

/* What a check or repair is told; null stands for all zero. */
typedef struct VqCheckOptions {
  uint32_t flags;            /* a sum of VQ_CHECK_ */
  int32_t index_count;       /* of `indexes`; 0: the indexes of the index list and, where the table
                                is marked so, its production MDX file */
  const VqIndexDef* indexes; /* may be null */
  const char* table;         /* for dNcheck and dXcheck: the table whose keys are in the index;
                                null: the index by itself */
  const char* backup;        /* for DBrepair: directory of the backups; null: beside each file */
} VqCheckOptions;

/* Checks a table ("orders", or "orders;notes" to name its memo file), its memo file and its
 * indexes, all against each other. `report` may be null: then only the result tells. Progress: the
 * records, once for the table and twice for each index. VQ_E_RANGE: block or name is null. 6601: a
 * file cannot be read; 6602 (VQ_E_FILE_LOCKED): the table changed meanwhile; 10431, 10432: a lock
 * that was not to be had; 10421, 10422: the table cannot be opened; 10272, 10261, 10263, 10264:
 * memory and temporary files for sorting keys. */
int32_t VQ_CALL DBcheck(VqBlock* block, const char* name, const VqCheckOptions* options,
                        VqReport report, void* context);
/* A table, and whether the memos that it names lie within its memo file. */
int32_t VQ_CALL dDcheck(VqBlock* block, const char* name, const VqCheckOptions* options,
                        VqReport report, void* context);
/* A memo file ("notes", or "notes;orders" for the memo file of another table) with the table that
 * tells what it holds and in which layout. */
int32_t VQ_CALL dTcheck(VqBlock* block, const char* name, const VqCheckOptions* options,
                        VqReport report, void* context);
/* An NDX file; an MDX file with all its tags. */
int32_t VQ_CALL dNcheck(VqBlock* block, const char* name, const VqCheckOptions* options,
                        VqReport report, void* context);
int32_t VQ_CALL dXcheck(VqBlock* block, const char* name, const VqCheckOptions* options,
                        VqReport report, void* context);

/* Mends what DBcheck finds in a group, also where DBopen fails. Nothing else may have its files
 * open. Each file that changes is first copied to a backup: its name with BAK, BA1, BA2, ... behind
 * it, the first that is free. Then a mended copy takes its place in one step; what is reported is
 * what was found and what was done. Returns 0 when the group is sound now, the number of errors
 * that remain, as DBcheck finds them, or a negative result; files that were mended before a failure
 * stay so.
 *
 * Tables: count, lengths, version byte, end of the fields and end mark become what the rest of the
 * file says, where only one value can be meant; a deletion flag that is none becomes a blank, so
 * that the record is kept. Records are never dropped; a last record that the file does not hold
 * whole is in the backup only. A table of which nothing tells where its records are stays as it is.
 * Memo files: every memo that a field names keeps its place, or, where another memo has it too,
 * gets one of its own at the end; so do memos that no field names, which DBcompact takes away; all
 * other blocks are free again. A field that names no memo becomes blank, unless none of the memos
 * that the table names is in the file: then it is another table's, and both stay as they are. Bytes
 * that a field's type does not have stay as they are. Indexes that do not check are built again
 * from their own header or, where that does not tell their key, from the host's list; keys are not
 * unique where the header contradicts itself.
 *
 * 6611: not written; 6612: backup not made; 6613 (VQ_E_NO_MEMORY); 6614: a file cannot take its
 * place, since it is open elsewhere; and those of DBcheck and of building indexes. */
int32_t VQ_CALL DBrepair(VqBlock* block, const char* name, const VqCheckOptions* options,
                         VqReport report, void* context);
/* Compacts the memo file of a table ("orders", or "orders;notes"), and rewrites the references in
 * the table with it: the safe way, where dToptimize leaves them as they are. Only memos that fields
 * of the types M, B, G and P name are kept, whole, whatever their length, in the order of records
 * and fields and in blocks of the size that the file has. Nothing else may have the files open.
 * Both are copied and take their places together: after a crash between the two, the next dDopen,
 * dTopen, DBopen or check completes the step by the journal beside the table (its name with a "$"
 * behind it; the new files have "$NEW"), so until then no other program may write to them. A table
 * without memo file is left as it is.
 *
 * 6621 (VQ_E_FORMAT): a check finds errors, or bytes in a memo field that may have named a memo, to
 * be mended first; 6622: the new files cannot take their places; 6611, 6613 and those of DBcheck.
 * After a failure all is as it was, or the next open completes the step. 10049, from dDopen,
 * dTopen, dDapart, dDcreat, dTcreat and the checks: the step cannot be completed. */
int32_t VQ_CALL DBcompact(VqBlock* block, const char* name);

/* The shut-down entry of old systems; does nothing and returns 1. */
int32_t VQ_CALL WEP(int32_t reason);

#ifdef __cplusplus
}
#endif

#endif /* VQDBSYS_H_ */
