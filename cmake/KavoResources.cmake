# kavo_compile_resources(variable name DEPENDS ...): the source file that rcc makes of <name>.qrc, which
# lies in the folder's build folder together with what it lists.
#
# No path of ours is given to rcc or stands in a list: a folder may have a name with characters that XML
# wants written otherwise, or that rcc mistakes where the locale is not UTF-8. AUTORCC is not used
# either: it lets the shell read the path, and quotes or an ampersand in it take the command apart.
#
# rcc writes down when each file was changed last, which is the time of the build for those that the
# build makes. All get one time, so that the same sources give the same bytes.
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
