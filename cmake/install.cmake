# What `cmake --install` puts in place: the exported library with its soname, the public headers
# under include/norvik/, the norvik tool with its man page and bash completion, a CMake package
# (find_package(Norvik) -> Norvik::norvik) and a pkg-config file; `cpack` makes a .deb of it.
# The static library and every header outside NORVIK_PUBLIC_HEADERS stay in the build tree.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# Headers include one another from the project root ("common/dynalist.h"), so consumers get
# include/norvik on their include path and write the same paths ("sql/norvik_sql.h").
# The list is the closure of what CNorvikSql, CAuditDBSys and InstallSchema need: a new public
# class adds its header and the headers that header includes (the install test compiles them all).
set(NORVIK_PUBLIC_HEADERS
  common/dynalist.h
  common/hw_list.h
  common/ipaddress.h
  common/sortlist.h
  common/stringtable.h
  interface/asset_history_record.h
  interface/norvik.h
  kb/audbase.h
  kb/auditdbsys.h
  kb/index_recset.h
  kb/query.h
  kb/recset.h
  kb/table.h
  kb/tabledb.h
  platform/cstring.h
  platform/ctime.h
  platform/exceptions.h
  platform/odbc_database.h
  platform/types.h
  platform/ui_hooks.h
  sql/norvik_sql.h
  sql/schema_installer.h
  sql/sql_database.h
)
set(NORVIK_INCLUDE_SUBDIR ${CMAKE_INSTALL_INCLUDEDIR}/norvik)
foreach(header IN LISTS NORVIK_PUBLIC_HEADERS)
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${PROJECT_SOURCE_DIR}/${header} DESTINATION ${NORVIK_INCLUDE_SUBDIR}/${folder})
endforeach()

# 0.x releases promise no binary compatibility between minor versions, so the soname carries both.
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(NORVIK_SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
  set(NORVIK_COMPATIBILITY SameMinorVersion)
else()
  set(NORVIK_SOVERSION ${PROJECT_VERSION_MAJOR})
  set(NORVIK_COMPATIBILITY SameMajorVersion)
endif()
set_target_properties(norvik PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${NORVIK_SOVERSION} EXPORT_NAME norvik)
target_include_directories(norvik INTERFACE $<INSTALL_INTERFACE:${NORVIK_INCLUDE_SUBDIR}>)
target_compile_features(norvik INTERFACE cxx_std_20)

# The installed tool finds the library beside it wherever the prefix is.
file(RELATIVE_PATH NORVIK_BIN_TO_LIB /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
set_target_properties(norvik_cli PROPERTIES INSTALL_RPATH "$ORIGIN/${NORVIK_BIN_TO_LIB}")

install(TARGETS norvik EXPORT NorvikTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
)
install(TARGETS norvik_cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

set(NORVIK_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Norvik)
install(EXPORT NorvikTargets NAMESPACE Norvik:: DESTINATION ${NORVIK_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/NorvikConfig.cmake.in
  ${PROJECT_BINARY_DIR}/NorvikConfig.cmake INSTALL_DESTINATION ${NORVIK_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/NorvikConfigVersion.cmake
  COMPATIBILITY ${NORVIK_COMPATIBILITY})
install(FILES ${PROJECT_BINARY_DIR}/NorvikConfig.cmake ${PROJECT_BINARY_DIR}/NorvikConfigVersion.cmake
  DESTINATION ${NORVIK_CMAKE_DIR})

# The .pc file finds its prefix from its own place, so it holds for any --prefix and DESTDIR.
file(RELATIVE_PATH NORVIK_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" NORVIK_PC_TO_PREFIX "${NORVIK_PC_TO_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/norvik.pc.in ${PROJECT_BINARY_DIR}/norvik.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/norvik.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The man page is made from the tool's own help texts (help2man), so it never lags behind them.
find_program(NORVIK_HELP2MAN help2man)
if(NORVIK_HELP2MAN)
  set(NORVIK_MANPAGE ${PROJECT_BINARY_DIR}/norvik.1)
  add_custom_command(
    OUTPUT ${NORVIK_MANPAGE}
    COMMAND ${PROJECT_SOURCE_DIR}/scripts/make-manpage.sh $<TARGET_FILE:norvik_cli> ${NORVIK_MANPAGE}
    DEPENDS norvik_cli ${PROJECT_SOURCE_DIR}/scripts/make-manpage.sh
    COMMENT "Making the norvik man page from its help texts"
  )
  add_custom_target(norvik_manpage ALL DEPENDS ${NORVIK_MANPAGE})
  install(FILES ${NORVIK_MANPAGE} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
else()
  message(STATUS "help2man not found: no man page (scripts/install-deps.sh installs it)")
endif()
install(FILES ${PROJECT_SOURCE_DIR}/cli/norvik.bash-completion RENAME norvik
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)

# The server's systemd unit (not enabled: a site creates its database first, see the README),
# and the package's postinst that makes the unprivileged user it runs as.
install(FILES ${PROJECT_SOURCE_DIR}/cmake/norvik.service DESTINATION lib/systemd/system)

# `make package`: one .deb with the tool, the library and what a program needs to build with it.
# The driver manager and the SQLite ODBC driver (which registers "SQLite3" in odbcinst.ini, the
# driver the tool names) are what `norvik init` needs on a fresh machine; shlibdeps adds the rest.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME norvik)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Norvik developers <norvik@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Audit Database and Knowledge Base library and the norvik tool")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION database)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "unixodbc, libsqliteodbc, adduser")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/postinst)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "odbc-postgresql")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
include(CPack)
