# The library as hosts link it: a shared library whose only visible symbols are those of
# src/exports/exports.list, and on Linux an archive with the same property.
set(list_file ${PROJECT_SOURCE_DIR}/src/exports/exports.list)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list_file})
file(STRINGS ${list_file} VQ_EXPORTS)
list(SORT VQ_EXPORTS)
list(REMOVE_DUPLICATES VQ_EXPORTS)

set(generated ${PROJECT_BINARY_DIR}/generated)
set(map "{\n")
set(def "LIBRARY vqdbsys.dll\nEXPORTS\n")
set(inc "")
set(names "")
if(VQ_EXPORTS)
  string(APPEND map "global:\n")
endif()
foreach(name IN LISTS VQ_EXPORTS)
  string(APPEND map "  ${name};\n")
  string(APPEND def "  ${name}\n")
  string(APPEND inc "VQ_EXPORTED(${name})\n")
  string(APPEND names "${name}\n")
endforeach()
string(APPEND map "local: *;\n};\n")
file(CONFIGURE OUTPUT ${generated}/vqdbsys.map CONTENT "${map}" @ONLY)
file(CONFIGURE OUTPUT ${generated}/vqdbsys.def CONTENT "${def}" @ONLY)
file(CONFIGURE OUTPUT ${generated}/exported_functions.inc CONTENT "${inc}" @ONLY)
file(CONFIGURE OUTPUT ${generated}/exported_names.txt CONTENT "${names}" @ONLY)
set(VQ_GENERATED_DIR ${generated})

if(NOT VQ_OBJECTS OR NOT VQ_EXPORTS)
  return()
endif()

add_library(vqdbsys SHARED ${VQ_OBJECTS} ${VQ_FAULT_OFF})
add_library(VqDbSys::vqdbsys ALIAS vqdbsys)
target_include_directories(vqdbsys INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>)
set_target_properties(vqdbsys PROPERTIES LINKER_LANGUAGE CXX)

# The header declares the interface that the folder abi/ holds, for this size of a pointer.
file(GLOB abi_files CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/abi/*.txt)
set(abi_check ${PROJECT_SOURCE_DIR}/cmake/check_abi.cmake)
set(abi_command
    ${CMAKE_COMMAND} -DHEADER=${PROJECT_SOURCE_DIR}/include/vqdbsys.h -DABI=${PROJECT_SOURCE_DIR}/abi
    -DNAMES=${generated}/exported_names.txt -DSCRATCH=${generated}/abi/interface
    -DCOMPILER=${CMAKE_C_COMPILER})
add_custom_command(
  OUTPUT ${generated}/abi/interface.stamp
  COMMAND ${abi_command} -P ${abi_check}
  DEPENDS ${PROJECT_SOURCE_DIR}/include/vqdbsys.h ${generated}/exported_names.txt ${abi_files}
          ${abi_check}
  COMMENT "Checking the binary interface"
  VERBATIM)
add_custom_target(vqdbsys_abi ALL DEPENDS ${generated}/abi/interface.stamp)
add_dependencies(vqdbsys vqdbsys_abi)
add_custom_target(abi_accept COMMAND ${abi_command} -DACCEPT=ON -P ${abi_check} VERBATIM)

if(WIN32)
  set_target_properties(vqdbsys PROPERTIES PREFIX "" LINK_DEPENDS ${generated}/vqdbsys.def)
  enable_language(RC)
  target_sources(vqdbsys PRIVATE ${generated}/vqdbsys.def
                                 ${PROJECT_SOURCE_DIR}/src/exports/vqdbsys.rc)
  # The definition file names the functions plainly; the linker finds the decorated ones.
  target_link_options(vqdbsys PRIVATE -Wl,--enable-stdcall-fixup)
  find_program(VQ_LLVM_DLLTOOL NAMES llvm-dlltool)
  file(MAKE_DIRECTORY ${generated}/import)
  add_custom_command(
    TARGET vqdbsys
    POST_BUILD
    COMMAND ${CMAKE_COMMAND} -DNM=${CMAKE_NM} -DDLLTOOL=${CMAKE_DLLTOOL}
            -DOBJECTS=$<TARGET_OBJECTS:vq_exports> -DNAMES=${generated}/exported_names.txt
            -DLIBRARY=$<TARGET_LINKER_FILE:vqdbsys> -DDEFINITION=${generated}/import/vqdbsys
            -DLLVM_DLLTOOL=${VQ_LLVM_DLLTOOL} -P ${PROJECT_SOURCE_DIR}/cmake/import_library.cmake
    VERBATIM)
else()
  set_target_properties(
    vqdbsys PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
                       LINK_DEPENDS ${generated}/vqdbsys.map)
  target_link_options(vqdbsys PRIVATE -Wl,--version-script=${generated}/vqdbsys.map)
  if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
    target_link_options(vqdbsys PRIVATE -Wl,--no-undefined)
  endif()

  # One relocatable object in which every symbol but the exported ones is local.
  add_custom_command(
    OUTPUT ${PROJECT_BINARY_DIR}/libvqdbsys.a
    COMMAND ${CMAKE_LINKER} -r --force-group-allocation -o ${generated}/vqdbsys_all.o ${VQ_OBJECTS}
            ${VQ_FAULT_OFF}
    COMMAND ${CMAKE_OBJCOPY} --keep-global-symbols=${generated}/exported_names.txt
            ${generated}/vqdbsys_all.o
    COMMAND ${CMAKE_COMMAND} -E rm -f ${PROJECT_BINARY_DIR}/libvqdbsys.a
    COMMAND ${CMAKE_AR} rcs ${PROJECT_BINARY_DIR}/libvqdbsys.a ${generated}/vqdbsys_all.o
    DEPENDS ${VQ_OBJECTS} ${VQ_FAULT_OFF} ${generated}/exported_names.txt
    COMMAND_EXPAND_LISTS VERBATIM)
  add_custom_target(vqdbsys_archive ALL DEPENDS ${PROJECT_BINARY_DIR}/libvqdbsys.a)
endif()

add_custom_command(
  TARGET vqdbsys
  POST_BUILD
  COMMAND ${CMAKE_COMMAND} -DNM=${CMAKE_NM} -DOBJDUMP=${CMAKE_OBJDUMP} -DLIBRARY=$<TARGET_FILE:vqdbsys>
          -DNAMES=${generated}/exported_names.txt -P ${PROJECT_SOURCE_DIR}/cmake/check_exports.cmake
  VERBATIM)
