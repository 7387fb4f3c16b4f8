# kavo_library(name SOURCES ... LINKS ...): one static library for one folder of the source tree.
# Headers are included by their path from the root, so that an include shows its layer.
function(kavo_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC "${CMAKE_SOURCE_DIR}")
  target_link_libraries(${name} PUBLIC ${ARG_LINKS} PRIVATE kavo_compiler)
endfunction()
