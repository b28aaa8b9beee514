# How everything of this project is compiled: `mox_compile_options(target)` gives a target the common settings.

if(PROJECT_IS_TOP_LEVEL)
  set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

  get_property(multi_config GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
  if(NOT multi_config AND NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Kind of build" FORCE)
  endif()

  find_program(MOX_CCACHE ccache)
  mark_as_advanced(MOX_CCACHE)
  if(MOX_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${MOX_CCACHE}")
  endif()
endif()

# The sanitizers' flags, for the project itself and for what links a library built with them. Converting a real number
# that the integer type cannot hold is silent otherwise, so it is checked too.
set(MOX_SANITIZER_FLAGS "")
if(MOX_SANITIZE)
  set(MOX_SANITIZER_FLAGS -fsanitize=address,undefined,float-cast-overflow -fno-sanitize-recover=all)
  add_compile_options(${MOX_SANITIZER_FLAGS} -fno-omit-frame-pointer)
  add_link_options(${MOX_SANITIZER_FLAGS})
  add_compile_definitions(_GLIBCXX_ASSERTIONS)
elseif(MOX_SANITIZE_THREADS)
  set(MOX_SANITIZER_FLAGS -fsanitize=thread)
  add_compile_options(${MOX_SANITIZER_FLAGS} -fno-omit-frame-pointer)
  add_link_options(${MOX_SANITIZER_FLAGS})
  # It cannot live with addresses as random as some kernels make them, so they are not made random where that is allowed.
  execute_process(COMMAND setarch -R true RESULT_VARIABLE refused OUTPUT_QUIET ERROR_QUIET)
  if(refused EQUAL 0)
    set(CMAKE_CROSSCOMPILING_EMULATOR setarch -R)
  endif()
endif()

# Amounts must not depend on the processor: a multiplication and an addition are never fused into one rounding. The
# formulas are partly templates in headers, so whoever includes them needs the same setting.
set(MOX_EXACTNESS_FLAGS -ffp-contract=off)

function(mox_compile_options target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  # A library can be put into a shared object; its own functions are inlined all the same.
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF POSITION_INDEPENDENT_CODE ON)
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-semantic-interposition>)
  target_compile_options(${target} PUBLIC ${MOX_EXACTNESS_FLAGS})
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # False alarms about the standard library's own code: std::string (https://gcc.gnu.org/PR105329, PR105651) and
    # std::variant and std::optional (PR80635). The sanitizers and clang watch over the same faults.
    target_compile_options(${target} PRIVATE -Wno-restrict -Wno-maybe-uninitialized)
  endif()
  if(MOX_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
