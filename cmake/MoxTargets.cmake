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

# mox_test(NAME LIBRARIES LIBRARY... [THREADS LIBRARY...])
#
# The test program `mox_NAME_test` of the current folder's sources; those that end with threads_test.cpp are a program of
# their own, `mox_NAME_threads_test`, which the thread sanitizer builds alone, with the libraries of THREADS where these are fewer. Each
# of their tests is one of ctest's, named NAME.*. Those that end with "postgresql" get the server that ctest starts for all of them.
function(mox_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "LIBRARIES;THREADS")
  if(NOT arg_THREADS)
    set(arg_THREADS ${arg_LIBRARIES})
  endif()
  file(GLOB sources CONFIGURE_DEPENDS *.cpp)
  set(threads_sources ${sources})
  list(FILTER threads_sources INCLUDE REGEX "threads_test\\.cpp$")
  list(FILTER sources EXCLUDE REGEX "threads_test\\.cpp$")

  _mox_test_program(${name} mox_${name}_test "${sources}" "${arg_LIBRARIES}")
  if(threads_sources)
    _mox_test_program(${name} mox_${name}_threads_test "${threads_sources}" "${arg_THREADS}")
    add_dependencies(mox_thread_tests mox_${name}_threads_test)
  endif()
endfunction()

function(_mox_test_program name target sources libraries)
  add_executable(${target} ${sources})
  mox_compile_options(${target})
  target_link_libraries(${target} PRIVATE ${libraries} mox_test_source_dir GTest::gmock GTest::gtest_main)
  gtest_discover_tests(
    ${target} TEST_PREFIX ${name}. TEST_FILTER -*postgresql DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 120
  )
  gtest_discover_tests(
    ${target} TEST_PREFIX ${name}. TEST_FILTER *postgresql DISCOVERY_TIMEOUT 60
    PROPERTIES TIMEOUT 120 FIXTURES_REQUIRED postgresql ENVIRONMENT MOX_TEST_POSTGRESQL=${MOX_POSTGRESQL_SERVER}
  )
endfunction()
