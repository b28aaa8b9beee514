# SOCI 4.0 with its SQLite backend, which Debian ships without a CMake package: the targets SOCI::core and SOCI::sqlite3.

find_path(SOCI_INCLUDE_DIR soci/soci.h)
find_library(SOCI_core_LIBRARY soci_core)
find_library(SOCI_sqlite3_LIBRARY soci_sqlite3)
mark_as_advanced(SOCI_INCLUDE_DIR SOCI_core_LIBRARY SOCI_sqlite3_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(
  SOCI
  REQUIRED_VARS SOCI_core_LIBRARY SOCI_sqlite3_LIBRARY SOCI_INCLUDE_DIR
  REASON_FAILURE_MESSAGE "on Debian it is in libsoci-dev"
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
endif()
