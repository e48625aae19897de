# What cpack makes of the installed parts: for Windows one .zip file of them all, for Debian a package
# of each.
set(CPACK_PACKAGE_VENDOR "VqDbSys maintainers")
set(CPACK_PACKAGE_CONTACT "VqDbSys maintainers <maintainers@vqdbsys.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Database engine library for xBASE files")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_SOURCE_DIR}/build/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL library development)
if(TARGET vqdb)
  list(APPEND CPACK_COMPONENTS_ALL tools)
endif()

if(WIN32)
  math(EXPR bits "8 * ${CMAKE_SIZEOF_VOID_P}")
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME vqdbsys-${PROJECT_VERSION}-win${bits})
  include(CPack)
  return()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS library)
set(CPACK_COMPONENT_TOOLS_DEPENDS library)
# debian PART NAME SECTION SUMMARY: how the package of a part is called and described.
macro(debian part name section summary)
  set(CPACK_DEBIAN_${part}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${part}_PACKAGE_SECTION ${section})
  set(CPACK_COMPONENT_${part}_DESCRIPTION
      "${summary}
VqDbSys reads, writes and indexes DBF tables of the dBASE III, dBASE IV and
FoxPro kinds, with their memo files, NDX and MDX indexes and expressions.")
endmacro()
debian(LIBRARY libvqdbsys${PROJECT_VERSION_MAJOR} libs "engine for xBASE files: shared library")
debian(DEVELOPMENT libvqdbsys-dev libdevel "engine for xBASE files: development files")
debian(TOOLS vqdb database "tables, memo files and indexes at the command line")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS less)
# The system looks for libraries anew.
file(WRITE ${PROJECT_BINARY_DIR}/install/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/install/triggers)
include(CPack)
