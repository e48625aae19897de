# What `cmake --install` puts where, in the three parts that packages are made of: the library that
# programs run with, what building with it takes, and the command-line program.
if(NOT TARGET vqdbsys)
  return()
endif()
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/VqDbSys)

install(
  TARGETS vqdbsys
  EXPORT VqDbSysTargets
  RUNTIME COMPONENT library
  LIBRARY COMPONENT library NAMELINK_COMPONENT development
  ARCHIVE COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES include/vqdbsys.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

# Documents. A Debian package keeps its own, and a .zip file has the first of them on top.
if(WIN32)
  set(CMAKE_INSTALL_DOCDIR doc)
  install(FILES LICENSE DESTINATION . COMPONENT library)
elseif(VQ_DEBIAN_PACKAGES)
  set(CMAKE_INSTALL_DOCDIR share/doc/libvqdbsys-dev)
  # Every package has a changelog of Debian's form, which names what has the changes.
  set(changelog ${CMAKE_CURRENT_BINARY_DIR}/install/changelog)
  string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
  file(WRITE ${changelog}
       "vqdbsys (${PROJECT_VERSION}) unstable; urgency=medium\n\n"
       "  * What has changed stands in CHANGELOG.md of libvqdbsys-dev.\n\n"
       " -- VqDbSys maintainers <maintainers@vqdbsys.invalid>  ${now}\n")
  execute_process(COMMAND gzip -9nc INPUT_FILE ${changelog} OUTPUT_FILE ${changelog}.gz
                  COMMAND_ERROR_IS_FATAL ANY)
  foreach(part libvqdbsys${PROJECT_VERSION_MAJOR}=library libvqdbsys-dev=development vqdb=tools)
    string(REPLACE "=" ";" part ${part})
    list(POP_BACK part component)
    install(FILES LICENSE DESTINATION share/doc/${part} RENAME copyright COMPONENT ${component})
    install(FILES ${changelog}.gz DESTINATION share/doc/${part} COMPONENT ${component})
  endforeach()
else()
  install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT library)
endif()
install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
install(
  DIRECTORY docs
  DESTINATION ${CMAKE_INSTALL_DOCDIR}
  COMPONENT development
  FILES_MATCHING
  PATTERN "*.md")

# What an archive leaves to whoever links it, among them programs in C: the C++ library.
set(VQ_STATIC_LIBRARIES ${CMAKE_CXX_IMPLICIT_LINK_LIBRARIES})
list(REMOVE_ITEM VQ_STATIC_LIBRARIES ${CMAKE_C_IMPLICIT_LINK_LIBRARIES})
list(APPEND VQ_STATIC_LIBRARIES m)
list(REMOVE_DUPLICATES VQ_STATIC_LIBRARIES)
list(TRANSFORM VQ_STATIC_LIBRARIES PREPEND -l OUTPUT_VARIABLE VQ_STATIC_FLAGS)
list(JOIN VQ_STATIC_FLAGS " " VQ_STATIC_FLAGS)

install(
  EXPORT VqDbSysTargets
  NAMESPACE VqDbSys::
  DESTINATION ${package_dir}
  COMPONENT development)
configure_package_config_file(
  cmake/install/VqDbSysConfig.cmake.in ${PROJECT_BINARY_DIR}/install/VqDbSysConfig.cmake
  INSTALL_DESTINATION ${package_dir} PATH_VARS CMAKE_INSTALL_INCLUDEDIR CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/install/VqDbSysConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(
  FILES ${PROJECT_BINARY_DIR}/install/VqDbSysConfig.cmake
        ${PROJECT_BINARY_DIR}/install/VqDbSysConfigVersion.cmake
  DESTINATION ${package_dir}
  COMPONENT development)

if(WIN32)
  install(FILES ${VQ_GENERATED_DIR}/import/vqdbsys.def DESTINATION ${CMAKE_INSTALL_LIBDIR}
          COMPONENT development)
  if(VQ_LLVM_DLLTOOL)
    install(FILES ${VQ_GENERATED_DIR}/import/vqdbsys.lib DESTINATION ${CMAKE_INSTALL_LIBDIR}
            COMPONENT development)
  endif()
  include(cmake/install/windows_readme.cmake)
else()
  install(FILES ${PROJECT_BINARY_DIR}/libvqdbsys.a DESTINATION ${CMAKE_INSTALL_LIBDIR}
          COMPONENT development)
  # From its own place to the rest, so that the folder can be moved.
  file(RELATIVE_PATH VQ_UP "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
  string(REGEX REPLACE "/$" "" VQ_UP "${VQ_UP}")
  configure_file(cmake/install/vqdbsys.pc.in ${PROJECT_BINARY_DIR}/install/vqdbsys.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/install/vqdbsys.pc
          DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endif()

if(TARGET vqdb)
  if(WIN32)
    # What the program has in it of others.
    foreach(package libcli11-dev libfmt-dev nlohmann-json3-dev libcsv-dev)
      install(FILES /usr/share/doc/${package}/copyright DESTINATION doc/licenses
              RENAME ${package}.txt COMPONENT tools OPTIONAL)
    endforeach()
  else()
    file(RELATIVE_PATH to_library "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
    set_target_properties(vqdb PROPERTIES INSTALL_RPATH "\$ORIGIN/${to_library}")
  endif()
  install(TARGETS vqdb RUNTIME COMPONENT tools)
  if(VQ_HELP_DIR)
    set(zsh_dir ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
    if(VQ_DEBIAN_PACKAGES)
      set(zsh_dir ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions)
    endif()
    install(DIRECTORY ${VQ_HELP_DIR}/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools
            FILES_MATCHING PATTERN "*.1")
    if(VQ_DEBIAN_PACKAGES)
      install(CODE "file(GLOB pages \$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_MANDIR}/man1/*.1)
                    execute_process(COMMAND gzip -9nf \${pages} COMMAND_ERROR_IS_FATAL ANY)"
              COMPONENT tools)
    endif()
    install(FILES ${VQ_HELP_DIR}/vqdb.bash RENAME vqdb COMPONENT tools
            DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
    install(FILES ${VQ_HELP_DIR}/_vqdb DESTINATION ${zsh_dir} COMPONENT tools)
  endif()
endif()

include(cmake/packages.cmake)
