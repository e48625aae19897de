# Makes what hosts link with. A 32-bit compiler decorates the names that it makes from the header
# (_DBinit@8), the DLL shows the plain ones; in 64 bits both are plain. OBJECTS hold the functions
# that NAMES lists.
#   LIBRARY           the import library of MinGW
#   DEFINITION.def    the names for other tools: exported name, and in 32 bits the decorated one
#   DEFINITION.lib    the import library of MSVC, where LLVM_DLLTOOL is there to make it
cmake_minimum_required(VERSION 3.22)
execute_process(COMMAND ${NM} -P --defined-only ${OBJECTS} OUTPUT_VARIABLE symbols
                COMMAND_ERROR_IS_FATAL ANY)
file(STRINGS ${NAMES} names)
set(plain "LIBRARY vqdbsys.dll\nEXPORTS\n")
set(decorated "${plain}")
set(machine i386:x86-64)
foreach(name IN LISTS names)
  if(symbols MATCHES "\n_${name}(@[0-9]+) T ")
    set(machine i386)
    string(APPEND decorated "  ${name}${CMAKE_MATCH_1}\n")
    string(APPEND plain "  ${name}=_${name}${CMAKE_MATCH_1}\n")
  elseif(symbols MATCHES "\n${name} T ")
    string(APPEND decorated "  ${name}\n")
    string(APPEND plain "  ${name}\n")
  else()
    message(FATAL_ERROR "${name} is not defined as a stdcall function")
  endif()
endforeach()
file(WRITE ${LIBRARY}.def "${decorated}")
file(WRITE ${DEFINITION}.def "${plain}")
execute_process(COMMAND ${DLLTOOL} --kill-at --input-def ${LIBRARY}.def --dllname vqdbsys.dll
                        --output-lib ${LIBRARY} COMMAND_ERROR_IS_FATAL ANY)
if(LLVM_DLLTOOL)
  execute_process(COMMAND ${LLVM_DLLTOOL} -m ${machine} -k -d ${LIBRARY}.def -D vqdbsys.dll
                          -l ${DEFINITION}.lib COMMAND_ERROR_IS_FATAL ANY)
endif()
file(REMOVE ${LIBRARY}.def)
