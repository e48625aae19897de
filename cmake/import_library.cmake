# Makes the import library: hosts call the decorated names that their compiler makes from the
# header, the DLL shows the plain ones. OBJECTS hold the functions that NAMES lists.
cmake_minimum_required(VERSION 3.22)
execute_process(COMMAND ${NM} -P --defined-only ${OBJECTS} OUTPUT_VARIABLE symbols
                COMMAND_ERROR_IS_FATAL ANY)
file(STRINGS ${NAMES} names)
set(definition "LIBRARY vqdbsys.dll\nEXPORTS\n")
foreach(name IN LISTS names)
  if(NOT symbols MATCHES "\n_${name}(@[0-9]+) T ")
    message(FATAL_ERROR "${name} is not defined as a stdcall function")
  endif()
  string(APPEND definition "  ${name}${CMAKE_MATCH_1}\n")
endforeach()
file(WRITE ${LIBRARY}.def "${definition}")
execute_process(COMMAND ${DLLTOOL} --kill-at --input-def ${LIBRARY}.def --dllname vqdbsys.dll
                        --output-lib ${LIBRARY} COMMAND_ERROR_IS_FATAL ANY)
file(REMOVE ${LIBRARY}.def)
