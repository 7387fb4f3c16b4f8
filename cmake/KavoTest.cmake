# kavo_test(name SOURCES ... [LINKS ...] [LABELS ...]): one Qt Test executable, which is one test of ctest.
#
# Each test has the name of its folder as a label. Three more labels say in which build scripts/test --all
# runs a test; tests without any of them run in the plain build:
#   engine      under sanitizers; set by itself in the folders below, which show at most a message box
#   everywhere  under sanitizers and in the plain build, where the test does more
#   long        in the plain build
# Tests draw off-screen. KAVO_TEST_PLATFORM=xcb shows them on the display.
set(KAVO_TEST_PLATFORM "offscreen" CACHE STRING "Qt platform that the tests run on")
set(KAVO_ENGINE_TEST_FOLDERS core downloads packages tools probe integration support)

# The programs of `ctest -L "engine|everywhere"` and of `ctest -L threads`.
add_custom_target(engine_tests)
add_custom_target(thread_tests)

# Qt is not built for ThreadSanitizer, which therefore ignores what Qt's libraries do to memory. It still
# sees the system calls of Qt's locks and queues, and checks all loads and stores of our code, including the
# templates of Qt's headers.
string(CONCAT KAVO_TSAN_OPTIONS
  "ignore_noninstrumented_modules=1:second_deadlock_stack=1:"
  "suppressions=${CMAKE_SOURCE_DIR}/tests/support/thread.supp:print_suppressions=0")

# ThreadSanitizer cannot map its shadow memory if addresses are randomised over more than 28 bits. setarch
# switches that off for one program where it may.
set(KAVO_TEST_LAUNCHER "")
if(KAVO_SANITIZERS MATCHES "thread" AND EXISTS /proc/sys/vm/mmap_rnd_bits)
  file(READ /proc/sys/vm/mmap_rnd_bits bits)
  execute_process(COMMAND setarch -R true RESULT_VARIABLE result OUTPUT_QUIET ERROR_QUIET)
  if(bits GREATER 28 AND result EQUAL 0)
    set(KAVO_TEST_LAUNCHER setarch -R)
  endif()
endif()

# Environment of all tests, without the locale.
string(CONCAT KAVO_TEST_ENVIRONMENT
  "QT_QPA_PLATFORM=${KAVO_TEST_PLATFORM};"
  "LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tests/support/leaks.supp:print_suppressions=0;"
  "TSAN_OPTIONS=${KAVO_TSAN_OPTIONS}")

# kavo_test_labels(variable [LABEL...]): sets the variable to the labels of a test in the current folder,
# including the given ones.
function(kavo_test_labels variable)
  get_filename_component(folder "${CMAKE_CURRENT_SOURCE_DIR}" NAME)
  set(labels ${folder} ${ARGN})
  if(folder IN_LIST KAVO_ENGINE_TEST_FOLDERS AND NOT labels MATCHES "(^|;)(long|everywhere)(;|$)")
    list(APPEND labels engine)
  endif()
  list(REMOVE_DUPLICATES labels)
  set(${variable} ${labels} PARENT_SCOPE)
endfunction()

# kavo_test_again(name test [ARGUMENTS ...] ENVIRONMENT ...): runs a test once more, with other arguments or
# in another environment.
function(kavo_test_again name test)
  cmake_parse_arguments(ARG "" "" "ARGUMENTS;ENVIRONMENT" ${ARGN})
  kavo_test_labels(labels)
  add_test(NAME ${name} COMMAND ${KAVO_TEST_LAUNCHER} $<TARGET_FILE:${test}> ${ARG_ARGUMENTS})
  set_tests_properties(${name} PROPERTIES
    ENVIRONMENT "${KAVO_TEST_ENVIRONMENT};LC_ALL=C.UTF-8;${ARG_ENVIRONMENT}"
    LABELS "${labels}"
    TIMEOUT 300)
endfunction()

function(kavo_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINKS;LABELS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  set_target_properties(${name} PROPERTIES
    AUTOMOC ON
    RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests-bin")
  target_link_libraries(${name} PRIVATE kavo_test_support ${ARG_LINKS} kavo_compiler Qt5::Test)
  target_precompile_headers(${name} REUSE_FROM kavo_test_support)
  # This file is mostly empty. Reading the precompiled header would take most of its compilation.
  set_source_files_properties("${CMAKE_CURRENT_BINARY_DIR}/${name}_autogen/mocs_compilation.cpp"
    PROPERTIES SKIP_PRECOMPILE_HEADERS ON)

  kavo_test_labels(labels ${ARG_LABELS})
  if("engine" IN_LIST labels OR "everywhere" IN_LIST labels)
    add_dependencies(engine_tests ${name})
  endif()
  if("threads" IN_LIST labels)
    add_dependencies(thread_tests ${name})
  endif()

  add_test(NAME ${name} COMMAND ${KAVO_TEST_LAUNCHER} $<TARGET_FILE:${name}>)
  set_tests_properties(${name} PROPERTIES
    ENVIRONMENT "${KAVO_TEST_ENVIRONMENT};LC_ALL=C.UTF-8"
    LABELS "${labels}"
    TIMEOUT 300)
endfunction()
