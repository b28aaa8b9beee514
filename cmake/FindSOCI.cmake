# SOCI 4.0 with its backends for SQLite and PostgreSQL, which Debian ships without a CMake package: the targets SOCI::core,
# SOCI::sqlite3 and SOCI::postgresql.

find_path(SOCI_INCLUDE_DIR soci/soci.h)
find_library(SOCI_core_LIBRARY soci_core)
find_library(SOCI_sqlite3_LIBRARY soci_sqlite3)
find_library(SOCI_postgresql_LIBRARY soci_postgresql)
find_path(PQ_INCLUDE_DIR libpq-fe.h PATH_SUFFIXES postgresql)
find_library(PQ_LIBRARY pq)
mark_as_advanced(
  SOCI_INCLUDE_DIR SOCI_core_LIBRARY SOCI_sqlite3_LIBRARY SOCI_postgresql_LIBRARY PQ_INCLUDE_DIR PQ_LIBRARY
)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(
  SOCI
  REQUIRED_VARS SOCI_core_LIBRARY SOCI_sqlite3_LIBRARY SOCI_postgresql_LIBRARY SOCI_INCLUDE_DIR PQ_INCLUDE_DIR PQ_LIBRARY
  REASON_FAILURE_MESSAGE "on Debian it is in libsoci-dev, with libpq-dev"
)

if(SOCI_FOUND AND NOT TARGET SOCI::core)
  find_package(SQLite3 REQUIRED)  # the backend's header includes SQLite's

  add_library(SOCI::core UNKNOWN IMPORTED)
  set_target_properties(
    SOCI::core PROPERTIES IMPORTED_LOCATION "${SOCI_core_LIBRARY}" INTERFACE_INCLUDE_DIRECTORIES "${SOCI_INCLUDE_DIR}"
  )
  add_library(SOCI::sqlite3 UNKNOWN IMPORTED)
  set_target_properties(SOCI::sqlite3 PROPERTIES IMPORTED_LOCATION "${SOCI_sqlite3_LIBRARY}")
  target_link_libraries(SOCI::sqlite3 INTERFACE SOCI::core SQLite::SQLite3)
  add_library(SOCI::postgresql UNKNOWN IMPORTED)
  set_target_properties(
    SOCI::postgresql PROPERTIES IMPORTED_LOCATION "${SOCI_postgresql_LIBRARY}" INTERFACE_INCLUDE_DIRECTORIES
                                                                               "${PQ_INCLUDE_DIR}"
  )
  target_link_libraries(SOCI::postgresql INTERFACE SOCI::core "${PQ_LIBRARY}")
endif()
