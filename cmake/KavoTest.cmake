# kavo_test(name SOURCES ... [LINKS ...] [LABELS ...]): one Qt Test executable that is also one test
# of ctest.
#
# The label of a test is the name of its folder; those of the folders that need no window but the odd
# message box also carry "engine": scripts/test --all runs them under sanitizers, all others in a plain build.
# Of the engine's tests, "long" ones run in the plain build alone, and those that are made larger where
# there is no sanitizer run in both and carry "everywhere"; neither are "engine". Tests draw off-screen;
# KAVO_TEST_PLATFORM=xcb brings them to the display.
set(KAVO_TEST_PLATFORM "offscreen" CACHE STRING "Qt platform that the tests run on")
set(KAVO_ENGINE_TEST_FOLDERS core downloads packages tools probe integration support)

# Everything that `ctest -L "engine|everywhere"` runs, and of it what `ctest -L threads` runs.
add_custom_target(engine_tests)
add_custom_target(thread_tests)

# Qt is not built for ThreadSanitizer. Its locks and queues are seen by the system calls beneath
# them, which order the two sides of a hand-over; what its own code does to its own memory between
# them is not to be judged. Every load and store of our code is, templates of Qt's headers included.
string(CONCAT KAVO_TSAN_OPTIONS
  "ignore_noninstrumented_modules=1:second_deadlock_stack=1:"
  "suppressions=${CMAKE_SOURCE_DIR}/tests/support/thread.supp:print_suppressions=0")

# ThreadSanitizer finds no room for its shadow when the addresses of a program are spread over more
# than 28 bits; where that can be switched off for one program, it is.
set(KAVO_TEST_LAUNCHER "")
if(KAVO_SANITIZERS MATCHES "thread" AND EXISTS /proc/sys/vm/mmap_rnd_bits)
  file(READ /proc/sys/vm/mmap_rnd_bits bits)
  execute_process(COMMAND setarch -R true RESULT_VARIABLE result OUTPUT_QUIET ERROR_QUIET)
  if(bits GREATER 28 AND result EQUAL 0)
    set(KAVO_TEST_LAUNCHER setarch -R)
  endif()
endif()

# What every test finds in its environment, but for the locale.
string(CONCAT KAVO_TEST_ENVIRONMENT
  "QT_QPA_PLATFORM=${KAVO_TEST_PLATFORM};"
  "LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tests/support/leaks.supp:print_suppressions=0;"
  "TSAN_OPTIONS=${KAVO_TSAN_OPTIONS}")

# kavo_test_labels(variable [LABEL...]): those of a test of the current folder, with these of its own.
function(kavo_test_labels variable)
  get_filename_component(folder "${CMAKE_CURRENT_SOURCE_DIR}" NAME)
  set(labels ${folder} ${ARGN})
  if(folder IN_LIST KAVO_ENGINE_TEST_FOLDERS AND NOT labels MATCHES "(^|;)(long|everywhere)(;|$)")
    list(APPEND labels engine)
  endif()
  list(REMOVE_DUPLICATES labels)
  set(${variable} ${labels} PARENT_SCOPE)
endfunction()

# kavo_test_again(name test [ARGUMENTS ...] ENVIRONMENT ...): a test once more, with other arguments or
# another environment.
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
  # Mostly empty: reading the precompiled header would be nearly all of its compilation.
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
