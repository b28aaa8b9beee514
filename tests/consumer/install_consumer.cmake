# Installs a build, moves the installed tree elsewhere (nothing in it may know where it was), builds the consumers against
# it through find_package and through pkg-config, and compares what they print: one with the libraries, the same one with
# the shared object, and one with the application server's side.
#
# cmake -D BUILD_DIR=... -D SOURCE_DIR=... -D WORK_DIR=... -D CXX=... -D PYTHON=... -D FLAGS=... -P install_consumer.cmake

function(run)
  execute_process(
    COMMAND ${ARGN} WORKING_DIRECTORY "${WORK_DIR}" RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output
  )
  if(NOT status EQUAL 0)
    string(JOIN " " command ${ARGN})
    message(FATAL_ERROR "failed (${status}): ${command}\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

# The module is a description for pkg-config; each has a source, and a file with what it prints.
function(expect_figures program module)
  run("${program}")
  file(READ "${SOURCE_DIR}/${source_of_${module}}.txt" expected)
  if(NOT output STREQUAL expected)
    message(FATAL_ERROR "${program} printed\n${output}\ninstead of\n${expected}")
  endif()
  file(REMOVE "${WORK_DIR}/tvrtka.db")
endfunction()

set(modules mox mox-runtime mox-appserver)
set(source_of_mox main)
set(source_of_mox-runtime main)
set(source_of_mox-appserver company)

# The consumer is the README's example, letter for letter.
file(READ "${SOURCE_DIR}/main.cpp" consumer)
file(READ "${SOURCE_DIR}/../../README.md" readme)
string(FIND "${readme}" "${consumer}" place)
if(place EQUAL -1)
  message(FATAL_ERROR "the example in README.md is not tests/consumer/main.cpp")
endif()

file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}")
run("${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${WORK_DIR}/installed")
file(GLOB_RECURSE service "${WORK_DIR}/installed/*/moxd.service")
if(service)
  file(STRINGS "${service}" started REGEX "^ExecStart=")
  string(REGEX MATCH "=([^ ]+)" started "${started}")
  if(NOT EXISTS "${CMAKE_MATCH_1}" OR NOT CMAKE_MATCH_1 MATCHES "^${WORK_DIR}/installed/")
    message(FATAL_ERROR "moxd.service starts ${CMAKE_MATCH_1}, which is not what was installed")
  endif()
endif()
file(RENAME "${WORK_DIR}/installed" "${WORK_DIR}/prefix")

# Every installed header must find what it includes among the installed ones.
file(GLOB_RECURSE headers RELATIVE "${WORK_DIR}/prefix/include" "${WORK_DIR}/prefix/include/*.h")
list(TRANSFORM headers REPLACE "(.+)" "#include \"\\1\"\n")
list(JOIN headers "" every_header)
file(WRITE "${WORK_DIR}/every_header.cpp" "${every_header}")

# The shared object must show no name that is in none of them.
file(GLOB_RECURSE library "${WORK_DIR}/prefix/*/libMOX.so")
run("${PYTHON}" -B "${SOURCE_DIR}/visible_names.py" "${library}" "${WORK_DIR}/prefix/include/mox")

run(
  "${CMAKE_COMMAND}" -S "${SOURCE_DIR}" -B "${WORK_DIR}/by_package" -G Ninja
  "-DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix" "-DCMAKE_CXX_COMPILER=${CXX}" "-DCMAKE_CXX_FLAGS=${FLAGS}"
  "-DEVERY_HEADER=${WORK_DIR}/every_header.cpp"
)
run("${CMAKE_COMMAND}" --build "${WORK_DIR}/by_package")
foreach(module IN LISTS modules)
  expect_figures("${WORK_DIR}/by_package/with_${module}" ${module})
endforeach()

file(GLOB_RECURSE pc_file "${WORK_DIR}/prefix/*/mox.pc")
cmake_path(GET pc_file PARENT_PATH pc_dir)
set(ENV{PKG_CONFIG_PATH} "${pc_dir}")
foreach(module IN LISTS modules)
  run(pkg-config --cflags ${module})
  separate_arguments(compile_flags UNIX_COMMAND "${FLAGS} ${output}")
  run(pkg-config --libs ${module})
  separate_arguments(link_flags UNIX_COMMAND "${output}")
  run(
    "${CXX}" -std=c++20 ${compile_flags} "${SOURCE_DIR}/${source_of_${module}}.cpp" -o "${WORK_DIR}/with_${module}"
    ${link_flags} "-Wl,-rpath,${pc_dir}/.."
  )
  expect_figures("${WORK_DIR}/with_${module}" ${module})
endforeach()

file(REMOVE_RECURSE "${WORK_DIR}")
