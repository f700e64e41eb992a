# The building blocks of the tree: one library per layer, one test program per group of tests, one program per fuzz
# target. Sources are listed explicitly.
#
#   add_layer(pdf SOURCES File.cc ... USES base images_filters [LIBS ZLIB::ZLIB])
#   add_test_library(support SOURCES ... USES ... [LIBS ...])
#   add_layer_test(pdf SOURCES ScannerTest.cc ... USES pdf [LIBS brevex_support] [TIMEOUT 120])
#   add_fuzz_target(pdf_scanner SOURCE ScannerFuzz.cc USES pdf [RUNS 500])
#
# USES names layers (the folder below src/ with _ for /), LIBS any other library or target. A layer links only what it
# uses; scripts/check-layers holds the same edges for the includes.

if(BREVEX_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  find_program(BREVEX_CCACHE_PROGRAM ccache)
  if(BREVEX_CCACHE_PROGRAM)
    set(CMAKE_C_COMPILER_LAUNCHER ${BREVEX_CCACHE_PROGRAM})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${BREVEX_CCACHE_PROGRAM})
  endif()
endif()

if(BREVEX_SANITIZE)
  add_compile_options(-fsanitize=${BREVEX_SANITIZE} -fno-omit-frame-pointer -g1)
  add_link_options(-fsanitize=${BREVEX_SANITIZE})
  if(BREVEX_SANITIZE MATCHES undefined)
    add_compile_options(-fno-sanitize-recover=undefined)
  endif()
endif()
if(BREVEX_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES Clang)
    message(FATAL_ERROR "BREVEX_FUZZ needs clang")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link)
  add_compile_definitions(BREVEX_SMALL_LIMITS)
endif()
if(BREVEX_COVERAGE)
  add_compile_options(--coverage)
  add_link_options(--coverage)
endif()

add_library(brevex_warnings INTERFACE)
target_compile_options(brevex_warnings INTERFACE -Wall -Wextra -Wshadow -Wconversion
  $<$<BOOL:${BREVEX_WERROR}>:-Werror>)

# Links the layers of the list to the target. A layer whose folder is absent is skipped, an unknown name is an error.
function(brevex_use_layers target)
  foreach(layer IN LISTS ARGN)
    if(NOT layer IN_LIST BREVEX_LAYERS)
      message(FATAL_ERROR "${target}: there is no layer ${layer}")
    endif()
    target_link_libraries(${target} PUBLIC $<TARGET_NAME_IF_EXISTS:brevex_${layer}>)
  endforeach()
endfunction()

function(brevex_add_part target type)
  cmake_parse_arguments(PARSE_ARGV 2 ARG "" "" "SOURCES;USES;LIBS")
  if(ARG_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "${target}: unexpected ${ARG_UNPARSED_ARGUMENTS}")
  endif()
  if(type STREQUAL EXECUTABLE)
    add_executable(${target} ${ARG_SOURCES})
  else()
    add_library(${target} ${type} ${ARG_SOURCES})
  endif()
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/include)
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:brevex_warnings>)
  brevex_use_layers(${target} ${ARG_USES})
  target_link_libraries(${target} PRIVATE ${ARG_LIBS})
endfunction()

function(add_layer name)
  if(NOT name IN_LIST BREVEX_LAYERS)
    message(FATAL_ERROR "${name} is missing in BREVEX_LAYER_FOLDERS")
  endif()
  brevex_add_part(brevex_${name} STATIC ${ARGN})
endfunction()

function(add_test_library name)
  brevex_add_part(brevex_${name} STATIC ${ARGN})
  target_include_directories(brevex_${name} PUBLIC ${PROJECT_SOURCE_DIR})
endfunction()

# The program is named NAME_test, the test NAME. It runs in the root of the source tree.
function(add_layer_test name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "TIMEOUT" "SOURCES;USES;LIBS")
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 120)
  endif()
  brevex_add_part(${name}_test EXECUTABLE SOURCES ${ARG_SOURCES} USES ${ARG_USES}
    LIBS ${ARG_LIBS} GTest::gmock GTest::gtest_main)
  target_include_directories(${name}_test PRIVATE ${PROJECT_SOURCE_DIR})
  add_test(NAME ${name} COMMAND ${name}_test WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
  set_tests_properties(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT} ENVIRONMENT "${BREVEX_TEST_ENVIRONMENT}")
endfunction()

set(BREVEX_TEST_ENVIRONMENT "UBSAN_OPTIONS=print_stacktrace=1;LC_ALL=C.UTF-8")

# The program is named fuzz_NAME. With BREVEX_FUZZ it is driven by libFuzzer; otherwise a small driver runs every seed
# of fuzz/seeds/NAME and RUNS fixed mutations of them as the test fuzz_NAME.
function(add_fuzz_target name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "SOURCE;RUNS" "USES;LIBS")
  if(NOT ARG_RUNS)
    set(ARG_RUNS 500)
  endif()
  set(seeds ${PROJECT_SOURCE_DIR}/fuzz/seeds/${name})
  if(BREVEX_FUZZ)
    brevex_add_part(fuzz_${name} EXECUTABLE SOURCES ${ARG_SOURCE} USES ${ARG_USES} LIBS ${ARG_LIBS} -fsanitize=fuzzer)
    add_test(NAME fuzz_${name} COMMAND fuzz_${name} -runs=0 ${seeds})
  else()
    brevex_add_part(fuzz_${name} EXECUTABLE SOURCES ${ARG_SOURCE} ${PROJECT_SOURCE_DIR}/fuzz/StandaloneDriver.cc
      USES ${ARG_USES} LIBS ${ARG_LIBS})
    add_test(NAME fuzz_${name} COMMAND fuzz_${name} ${seeds} ${ARG_RUNS})
  endif()
  set_tests_properties(fuzz_${name} PROPERTIES TIMEOUT 300 ENVIRONMENT "${BREVEX_TEST_ENVIRONMENT}")
endfunction()
