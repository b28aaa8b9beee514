# Installs a build, moves the installed tree elsewhere (nothing in it may know where it was), builds the consumer
# against it through find_package and through pkg-config, and compares what the two programs print.
#
# cmake -D BUILD_DIR=... -D SOURCE_DIR=... -D WORK_DIR=... -D CXX=... -D FLAGS=... -P install_consumer.cmake

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT status EQUAL 0)
    string(JOIN " " command ${ARGN})
    message(FATAL_ERROR "failed (${status}): ${command}\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

function(expect_figures program)
  run("${program}")
  file(READ "${SOURCE_DIR}/expected.txt" expected)
  if(NOT output STREQUAL expected)
    message(FATAL_ERROR "${program} printed\n${output}\ninstead of\n${expected}")
  endif()
endfunction()

# The consumer is the README's example, letter for letter.
file(READ "${SOURCE_DIR}/main.cpp" consumer)
file(READ "${SOURCE_DIR}/../../README.md" readme)
string(FIND "${readme}" "${consumer}" place)
if(place EQUAL -1)
  message(FATAL_ERROR "the example in README.md is not tests/consumer/main.cpp")
endif()

file(REMOVE_RECURSE "${WORK_DIR}")
run("${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${WORK_DIR}/installed")
file(RENAME "${WORK_DIR}/installed" "${WORK_DIR}/prefix")

# Every installed header must find what it includes among the installed ones.
file(GLOB_RECURSE headers RELATIVE "${WORK_DIR}/prefix/include" "${WORK_DIR}/prefix/include/mox/*.h")
list(TRANSFORM headers REPLACE "(.+)" "#include \"\\1\"\n")
list(JOIN headers "" every_header)
file(WRITE "${WORK_DIR}/every_header.cpp" "${every_header}")

run(
  "${CMAKE_COMMAND}" -S "${SOURCE_DIR}" -B "${WORK_DIR}/by_package" -G Ninja
  "-DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix" "-DCMAKE_CXX_COMPILER=${CXX}" "-DCMAKE_CXX_FLAGS=${FLAGS}"
  "-DEVERY_HEADER=${WORK_DIR}/every_header.cpp"
)
run("${CMAKE_COMMAND}" --build "${WORK_DIR}/by_package")
expect_figures("${WORK_DIR}/by_package/consumer")

file(GLOB_RECURSE pc_file "${WORK_DIR}/prefix/*/mox.pc")
cmake_path(GET pc_file PARENT_PATH pc_dir)
set(ENV{PKG_CONFIG_PATH} "${pc_dir}")
run(pkg-config --cflags mox)
separate_arguments(compile_flags UNIX_COMMAND "${FLAGS} ${output}")
run(pkg-config --libs mox)
separate_arguments(link_flags UNIX_COMMAND "${output}")
run(
  "${CXX}" -std=c++20 ${compile_flags} "${SOURCE_DIR}/main.cpp" "${WORK_DIR}/every_header.cpp"
  -o "${WORK_DIR}/by_pkg_config" ${link_flags}
)
expect_figures("${WORK_DIR}/by_pkg_config")
