# Reads the tables of docs/errors.md into rows of C++: the document and the words that the library
# gives are one.
set(errors_document ${PROJECT_SOURCE_DIR}/docs/errors.md)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${errors_document})
file(STRINGS ${errors_document} lines REGEX "^[|] -?[0-9]+ [|]")
set(results "")
set(details "")
foreach(line IN LISTS lines)
  if(line MATCHES "^[|] (-?[0-9]+) [|] VQ_[A-Z_]+ [|] (.*) [|]$")
    string(APPEND results "    {${CMAKE_MATCH_1}, \"${CMAKE_MATCH_2}\"},\n")
  elseif(line MATCHES "^[|] ([0-9]+) [|] (.*) [|]$")
    string(APPEND details "    {${CMAKE_MATCH_1}, \"${CMAKE_MATCH_2}\"},\n")
  else()
    message(FATAL_ERROR "${errors_document}: not a row of results or details: ${line}")
  endif()
endforeach()
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/generated/result_texts.inc CONTENT "${results}" @ONLY)
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/generated/detail_texts.inc CONTENT "${details}" @ONLY)

# Whoever adds a detail code adds its words.
file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/*.cpp
     ${PROJECT_SOURCE_DIR}/src/*.h)
set(check ${PROJECT_SOURCE_DIR}/cmake/check_details.cmake)
set(stamp ${PROJECT_BINARY_DIR}/generated/details.stamp)
add_custom_command(
  OUTPUT ${stamp}
  COMMAND ${CMAKE_COMMAND} -DDOCUMENT=${errors_document} -DROOT=${PROJECT_SOURCE_DIR}/src
          -DSTAMP=${stamp} -P ${check}
  DEPENDS ${errors_document} ${sources} ${check}
  COMMENT "Checking that every detail has words"
  VERBATIM)
add_custom_target(vq_details DEPENDS ${stamp})
add_dependencies(vq_exports vq_details)
