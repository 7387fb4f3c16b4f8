# All compiler flags and definitions of the project, as one interface target.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_library(kavo_compiler INTERFACE)

target_compile_options(kavo_compiler INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Wold-style-cast
  -Werror=switch -Werror=return-type
  $<$<BOOL:${KAVO_WARNINGS_AS_ERRORS}>:-Werror>)

# A build that is handed on contains no path of the machine, so that the same sources give the same bytes
# in any folder. Debug builds keep full paths for debuggers. The option holds for all targets, because
# generated sources need it too.
if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
  add_compile_options(
    "-ffile-prefix-map=${CMAKE_BINARY_DIR}=build" "-ffile-prefix-map=${CMAKE_SOURCE_DIR}=.")
endif()

target_compile_definitions(kavo_compiler INTERFACE
  QT_NO_CAST_FROM_ASCII
  QT_NO_CAST_TO_ASCII
  QT_NO_CAST_FROM_BYTEARRAY
  QT_NO_URL_CAST_FROM_STRING
  QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
  QT_NO_FOREACH
  QT_USE_QSTRINGBUILDER
  QT_DEPRECATED_WARNINGS
  QT_DISABLE_DEPRECATED_BEFORE=0x050E00)

if(KAVO_SANITIZERS)
  target_compile_options(kavo_compiler INTERFACE
    -fsanitize=${KAVO_SANITIZERS} -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  target_link_options(kavo_compiler INTERFACE -fsanitize=${KAVO_SANITIZERS})
endif()
