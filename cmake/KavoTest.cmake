# kavo_test(name SOURCES ... [LINKS ...] [LABELS ...]): one Qt Test executable that is also one test
# of ctest.
#
# The label of a test is the name of its folder; the folders that need no window but the odd message
# box also carry "engine", so that `ctest -L engine` leaves the window tests out. Tests draw
# off-screen; KAVO_TEST_PLATFORM=xcb brings them to the display.
set(KAVO_TEST_PLATFORM "offscreen" CACHE STRING "Qt platform that the tests run on")
set(KAVO_ENGINE_TEST_FOLDERS core downloads packages integration support)

# Everything that `ctest -L engine` runs.
add_custom_target(engine_tests)

function(kavo_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINKS;LABELS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  set_target_properties(${name} PROPERTIES
    AUTOMOC ON
    AUTORCC ON
    RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/tests-bin")
  target_link_libraries(${name} PRIVATE kavo_test_support ${ARG_LINKS} kavo_compiler Qt5::Test)

  get_filename_component(folder "${CMAKE_CURRENT_SOURCE_DIR}" NAME)
  set(labels ${folder} ${ARG_LABELS})
  if(folder IN_LIST KAVO_ENGINE_TEST_FOLDERS)
    list(APPEND labels engine)
    add_dependencies(engine_tests ${name})
  endif()
  list(REMOVE_DUPLICATES labels)

  string(CONCAT environment
    "QT_QPA_PLATFORM=${KAVO_TEST_PLATFORM};LC_ALL=C.UTF-8;"
    "LSAN_OPTIONS=suppressions=${CMAKE_SOURCE_DIR}/tests/support/leaks.supp:print_suppressions=0")
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES
    ENVIRONMENT "${environment}"
    LABELS "${labels}"
    TIMEOUT 120)
endfunction()
