# Describes the binary interface that HEADER declares: functions with their arguments and constants
# with their values in one file, and what a compiler makes of the records, which depends on the size
# of a pointer, in another. Fails when these are not what the folder ABI holds or when NAMES are not
# the functions; with ACCEPT set, writes them there instead. COMPILER may be a cross compiler: the
# numbers are taken from its assembler text, so nothing has to run.
cmake_minimum_required(VERSION 3.22)

# Declarations and macros without comments. Lists end where a semicolon or bracket stands, so these
# are put away meanwhile.
file(READ ${HEADER} text)
string(REPLACE ";" "@semicolon@" text "${text}")
string(REPLACE "[" "@open@" text "${text}")
string(REPLACE "]" "@close@" text "${text}")
string(REGEX REPLACE "/[*]([^*]|[*]+[^*/])*[*]+/" " " text "${text}")
string(REGEX MATCHALL "#define VQ_[A-Z0-9_]+ [^\n]+" macros "${text}")
string(REGEX REPLACE "(^|\n)#[^\n]*" "\\1" text "${text}")
string(REGEX REPLACE "[ \n]+" " " text "${text}")
string(REPLACE " VQ_CALL " " " text "${text}")

set(interface "")
set(functions "")
set(questions "")
string(REGEX MATCHALL "[A-Za-z0-9_]+ ?(const )?[A-Za-z0-9_]*[*]? [A-Za-z0-9_]+[(][^()]*[)]@semicolon@"
                      declarations "${text}")
foreach(declaration IN LISTS declarations)
  string(REPLACE "@semicolon@" "" declaration "${declaration}")
  string(STRIP "${declaration}" declaration)
  string(REGEX MATCH "([A-Za-z0-9_]+)[(]" name "${declaration}")
  list(APPEND functions ${CMAKE_MATCH_1})
  string(APPEND interface "${declaration}\n")
endforeach()
file(STRINGS ${NAMES} exported)
set(undeclared ${exported})
list(REMOVE_ITEM undeclared "" ${functions})
set(unexported ${functions})
list(REMOVE_ITEM unexported "" ${exported})
if(undeclared OR unexported)
  message(FATAL_ERROR "${HEADER}: exported but not declared: ${undeclared}; "
                      "declared but not exported: ${unexported}")
endif()

string(REGEX MATCHALL "typedef [A-Za-z0-9_]+[(][^()]*[)][(][^()]*[)]@semicolon@" pointers "${text}")
foreach(pointer IN LISTS pointers)
  string(REGEX REPLACE "@semicolon@" "\n" pointer "${pointer}")
  string(APPEND interface "${pointer}")
endforeach()

# Every record and member is a question to the compiler: offset and size.
set(rest "${text}")
while(rest MATCHES "typedef struct [A-Za-z]+ {([^{}]*)} ([A-Za-z]+)@semicolon@")
  set(record ${CMAKE_MATCH_2})
  set(members "${CMAKE_MATCH_1}")
  string(REPLACE "${CMAKE_MATCH_0}" "" rest "${rest}")
  string(APPEND questions "RECORD(${record})\n")
  string(REPLACE "@semicolon@" ";" members "${members}")
  foreach(member IN LISTS members)
    string(STRIP "${member}" member)
    if(member MATCHES "^(.* )([A-Za-z0-9_]+)((@open@.*)?)$")
      set(name ${CMAKE_MATCH_2})
      set(type "${CMAKE_MATCH_1}${CMAKE_MATCH_3}")
      string(REPLACE " @open@" "[" type "${type}")
      string(REPLACE "@close@" "]" type "${type}")
      string(STRIP "${type}" type)
      string(APPEND questions "MEMBER(${record}, ${name}, ${type})\n")
    endif()
  endforeach()
endwhile()
foreach(macro IN LISTS macros)
  if(macro MATCHES "^#define (VQ_[A-Z0-9_]+) " AND NOT CMAKE_MATCH_1 STREQUAL "VQ_CALL")
    string(APPEND questions "CONSTANT(${CMAKE_MATCH_1})\n")
  endif()
endforeach()

get_filename_component(folder ${SCRATCH} DIRECTORY)
get_filename_component(header_dir ${HEADER} DIRECTORY)
file(MAKE_DIRECTORY ${folder})
file(WRITE ${SCRATCH}.c "#include <stddef.h>
#include \"vqdbsys.h\"
#define RECORD(record) \\
  __asm__(\"@@record \" #record \" %c0 %c1\" ::\"i\"(sizeof(record)), \"i\"(_Alignof(record)));
#define MEMBER(record, name, type) \\
  __asm__(\"@@member \" #record \".\" #name \" %c0 %c1 \" #type \\
          ::\"i\"(offsetof(record, name)), \"i\"(sizeof(((record*)0)->name)));
#define CONSTANT(name) __asm__(\"@@constant \" #name \" %c0\" ::\"i\"((long long)(name)));
void tell(void) {
  __asm__(\"@@pointer %c0\" ::\"i\"(sizeof(void*)));
${questions}}
")
execute_process(COMMAND ${COMPILER} -O1 -ffreestanding -w -fno-pic -I${header_dir} -S -o ${SCRATCH}.s
                        ${SCRATCH}.c COMMAND_ERROR_IS_FATAL ANY)
file(STRINGS ${SCRATCH}.s answers REGEX "@@")
set(records "")
foreach(answer IN LISTS answers)
  if(answer MATCHES "@@pointer ([0-9]+)")
    math(EXPR bits "8 * ${CMAKE_MATCH_1}")
  elseif(answer MATCHES "@@record ([^ ]+) ([0-9]+) ([0-9]+)")
    string(APPEND records "${CMAKE_MATCH_1}: ${CMAKE_MATCH_2} bytes, alignment ${CMAKE_MATCH_3}\n")
  elseif(answer MATCHES "@@member ([^ ]+) ([0-9]+) ([0-9]+) (.*)$")
    string(APPEND records "${CMAKE_MATCH_1} at ${CMAKE_MATCH_2}: ${CMAKE_MATCH_3} bytes, "
                          "${CMAKE_MATCH_4}\n")
  elseif(answer MATCHES "@@constant ([^ ]+) (-?[0-9]+)")
    string(APPEND interface "${CMAKE_MATCH_1} ${CMAKE_MATCH_2}\n")
  endif()
endforeach()

# compare FILE TEXT: a difference is told line by line.
function(compare name found)
  set(file ${ABI}/${name})
  if(ACCEPT)
    file(WRITE ${file} "${found}")
    return()
  endif()
  set(kept "")
  if(EXISTS ${file})
    file(READ ${file} kept)
  endif()
  string(REPLACE "[" "(" kept "${kept}")
  string(REPLACE "]" ")" kept "${kept}")
  string(REPLACE "[" "(" found "${found}")
  string(REPLACE "]" ")" found "${found}")
  string(REGEX REPLACE "\n" ";" kept_lines "${kept}")
  string(REGEX REPLACE "\n" ";" found_lines "${found}")
  set(gone ${kept_lines})
  list(REMOVE_ITEM gone "" ${found_lines})
  set(new ${found_lines})
  list(REMOVE_ITEM new "" ${kept_lines})
  if(NOT gone AND NOT new)
    return()
  endif()
  list(JOIN gone "\n  - " gone)
  list(JOIN new "\n  + " new)
  string(APPEND differences "${file}\n  - ${gone}\n  + ${new}\n")
  set(differences "${differences}" PARENT_SCOPE)
endfunction()
set(differences "")
compare(interface.txt "${interface}")
compare(records-${bits}.txt "${records}")
if(differences)
  message(FATAL_ERROR "The binary interface is not what these files say:\n${differences}"
                      "What may change is told in docs/abi.md; the target abi_accept accepts it.")
endif()
file(TOUCH ${SCRATCH}.stamp)
