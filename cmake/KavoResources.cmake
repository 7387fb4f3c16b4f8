# kavo_compile_resources(variable name DEPENDS ...): sets the variable to the source file that rcc makes of
# <name>.qrc. The list and its files are in the current build folder.
#
# rcc gets relative paths only. The name of a folder may contain characters that have to be escaped in XML,
# or that rcc misreads in a locale without UTF-8. AUTORCC passes full paths through the shell, where quotes
# and ampersands break the command.
#
# rcc records the modification time of each file. Generated files have the time of the build, so all get one
# fixed time; the same sources then give the same bytes.
function(kavo_compile_resources variable name)
  cmake_parse_arguments(ARG "" "" "DEPENDS" ${ARGN})
  set(output "${CMAKE_CURRENT_BINARY_DIR}/qrc_${name}.cpp")
  add_custom_command(
    OUTPUT "${output}"
    COMMAND ${CMAKE_COMMAND} -E env QT_RCC_SOURCE_DATE_OVERRIDE=1
            "$<TARGET_FILE:Qt5::rcc>" --name ${name} --output qrc_${name}.cpp ${name}.qrc
    DEPENDS Qt5::rcc "${CMAKE_CURRENT_BINARY_DIR}/${name}.qrc" ${ARG_DEPENDS}
    WORKING_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}"
    COMMENT "Compiling the resources ${name}"
    VERBATIM)
  set_source_files_properties("${output}" PROPERTIES SKIP_AUTOGEN ON)
  set(${variable} "${output}" PARENT_SCOPE)
endfunction()
