# What `cmake --install` puts in place: the headers under their own paths, the libraries, the run-time package, the
# application server's side, the programs, and the descriptions for find_package(mox CONFIG) and pkg-config.

include(CMakePackageConfigHelpers)

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/mox")

get_property(libraries GLOBAL PROPERTY MOX_LIBRARIES)
install(TARGETS mox mox_runtime ${libraries} EXPORT moxTargets)
install(EXPORT moxTargets NAMESPACE mox:: DESTINATION "${package_dir}")
install(
  DIRECTORY "${PROJECT_SOURCE_DIR}/mox"
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
  FILES_MATCHING
  PATTERN "*.h"
  PATTERN "*_internal.h" EXCLUDE
)
# A set of its own, since only who asks for it needs SOCI.
if(TARGET mox_appserver)
  install(
    TARGETS mox_appserver EXPORT moxAppserverTargets
    PUBLIC_HEADER DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/appserver"
  )
  install(EXPORT moxAppserverTargets NAMESPACE mox:: DESTINATION "${package_dir}")
  install(FILES "${PROJECT_SOURCE_DIR}/cmake/FindSOCI.cmake" DESTINATION "${package_dir}")
endif()
if(TARGET mox_program)
  install(TARGETS mox_program)
endif()
if(TARGET mox_sender)
  install(TARGETS mox_sender)
endif()
if(TARGET mox_server_program)
  install(TARGETS mox_server_program)
  install(
    FILES "${PROJECT_SOURCE_DIR}/moxd/system/moxd.service" "${PROJECT_SOURCE_DIR}/moxd/system/moxd.socket"
          "${PROJECT_SOURCE_DIR}/moxd/system/moxd.ini"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/mox"
  )
  # The service names the program where it is installed, which is known only then.
  set(MOX_PROGRAMS "${CMAKE_INSTALL_BINDIR}")
  set(MOX_SERVICE "${CMAKE_INSTALL_DATADIR}/mox/moxd.service")
  string(
    CONFIGURE
      [[
file(READ "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/@MOX_SERVICE@" service)
string(REPLACE "/usr/bin/moxd" "${CMAKE_INSTALL_PREFIX}/@MOX_PROGRAMS@/moxd" service "${service}")
file(WRITE "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/@MOX_SERVICE@" "${service}")
]]
      name_the_program
    @ONLY
  )
  install(CODE "${name_the_program}")
  install(FILES "${PROJECT_SOURCE_DIR}/docs/OPERATIONS.md" DESTINATION "${CMAKE_INSTALL_DOCDIR}")
endif()
if(TARGET mox_desktop_program)
  install(TARGETS mox_desktop_program)
  set(share "${PROJECT_SOURCE_DIR}/desktop/share")
  install(FILES "${share}/mox-desktop.desktop" DESTINATION "${CMAKE_INSTALL_DATADIR}/applications")
  install(FILES "${share}/mox-desktop.svg" DESTINATION "${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps")
endif()

configure_package_config_file(
  "${PROJECT_SOURCE_DIR}/cmake/moxConfig.cmake.in" "${PROJECT_BINARY_DIR}/moxConfig.cmake"
  INSTALL_DESTINATION "${package_dir}"
)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/moxConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(
  FILES "${PROJECT_BINARY_DIR}/moxConfig.cmake" "${PROJECT_BINARY_DIR}/moxConfigVersion.cmake"
  DESTINATION "${package_dir}"
)

# pkg-config: the prefix is found from where the file lies, so an installed tree can be moved.
list(JOIN MOX_EXACTNESS_FLAGS " " MOX_PC_CFLAGS)
file(RELATIVE_PATH MOX_PC_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" MOX_PC_PREFIX "${MOX_PC_PREFIX}")

function(mox_pkg_config name description requires libraries)
  configure_file("${PROJECT_SOURCE_DIR}/cmake/mox.pc.in" "${PROJECT_BINARY_DIR}/${name}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${name}.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
endfunction()

# A static library comes before those it uses, which is the layers' order turned round.
set(link_order ${libraries})
list(REVERSE link_order)
list(TRANSFORM link_order PREPEND -l)
list(JOIN link_order " " link_order)
mox_pkg_config(mox "${PROJECT_DESCRIPTION}" "" "${link_order}")
mox_pkg_config(mox-runtime "${PROJECT_DESCRIPTION}, as a shared object" "" "-lMOX")
if(TARGET mox_appserver)
  mox_pkg_config(
    mox-appserver "The application server's side of mox" "mox sqlite3 libpq" "-lmox_appserver -lsoci_sqlite3 -lsoci_postgresql -lsoci_core"
  )
endif()
