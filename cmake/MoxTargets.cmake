# One function for each sort of target. Sources are found by folder, so a new file needs no line here.

# mox_library(NAME [DEPENDS LAYER...])
#
# The static library `mox_NAME` (alias `mox::NAME`) of the current folder's sources. DEPENDS names the layers that it may
# use; its link line is the layer rule.
function(mox_library name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "DEPENDS")
  file(GLOB sources CONFIGURE_DEPENDS *.cpp)

  set(target mox_${name})
  add_library(${target} STATIC ${sources})
  mox_compile_options(${target})
  if(MOX_SANITIZE OR MOX_SANITIZE_THREADS)
    # Tests put millions of cases through the library; all else is compiled in half the time without the optimiser.
    target_compile_options(${target} PRIVATE -O1)
  endif()
  add_library(mox::${name} ALIAS ${target})
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name})
  target_include_directories(
    ${target} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>
  )
  list(TRANSFORM arg_DEPENDS PREPEND mox::)
  target_link_libraries(${target} PUBLIC ${arg_DEPENDS})
  set_property(GLOBAL APPEND PROPERTY MOX_LIBRARIES ${target})
endfunction()

# mox_test(NAME LIBRARIES LIBRARY...)
#
# The test program `mox_NAME_test` of the current folder's sources; each of its tests is one of ctest's, named NAME.*. Those
# that end with "postgresql" get the server that ctest starts for all of them.
function(mox_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "LIBRARIES")
  file(GLOB sources CONFIGURE_DEPENDS *.cpp)

  set(target mox_${name}_test)
  add_executable(${target} ${sources})
  mox_compile_options(${target})
  target_link_libraries(${target} PRIVATE ${arg_LIBRARIES} mox_test_source_dir GTest::gmock GTest::gtest_main)
  gtest_discover_tests(
    ${target} TEST_PREFIX ${name}. TEST_FILTER -*postgresql DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 120
  )
  gtest_discover_tests(
    ${target} TEST_PREFIX ${name}. TEST_FILTER *postgresql DISCOVERY_TIMEOUT 60
    PROPERTIES TIMEOUT 120 FIXTURES_REQUIRED postgresql ENVIRONMENT MOX_TEST_POSTGRESQL=${MOX_POSTGRESQL_SERVER}
  )
  if("${CMAKE_CURRENT_SOURCE_DIR}/threads_test.cpp" IN_LIST sources)
    add_dependencies(mox_thread_tests ${target})
  endif()
endfunction()
