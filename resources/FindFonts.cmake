# The fonts of the compiled resources. For each that is OFF, the program uses a font of the system.

set(KAVO_FONT_TEXT /usr/share/fonts/truetype/manrope/Manrope-Regular.ttf CACHE FILEPATH
    "Font of all texts; OFF for the font of the system")
set(KAVO_FONT_BOLD /usr/share/fonts/truetype/manrope/Manrope-Bold.ttf CACHE FILEPATH
    "Bold font of the same family; OFF for none")
set(KAVO_FONT_ICONS /usr/share/fonts/opentype/font-awesome/FontAwesome.otf CACHE FILEPATH
    "Font Awesome 4.7; OFF for an installed one, or for no icons where there is none")
set(KAVO_FONT_TEXT_NOTICE /usr/share/doc/fonts-manrope/copyright CACHE FILEPATH
    "Licence of KAVO_FONT_TEXT and KAVO_FONT_BOLD, to be installed with the program")
set(KAVO_FONT_ICONS_NOTICE /usr/share/doc/fonts-font-awesome/copyright CACHE FILEPATH
    "Licence of KAVO_FONT_ICONS, to be installed with the program")

# kavo_add_font(variable name package): copies the file that the variable names to fonts/<name> in the build
# folder and appends its path to the directory property KAVO_FONTS.
function(kavo_add_font variable name package)
  set(path "${${variable}}")
  if(NOT path)
    message(STATUS "${variable} is ${path}: the program uses what the system has")
    return()
  endif()
  if(NOT EXISTS "${path}")
    message(FATAL_ERROR
      "The font ${path} is missing. Install the Debian package ${package}, or set ${variable} to "
      "the path of the font, or to OFF to use what the system has.")
  endif()
  set(output "${CMAKE_CURRENT_BINARY_DIR}/fonts/${name}")
  add_custom_command(
    OUTPUT "${output}"
    COMMAND ${CMAKE_COMMAND} -E make_directory "${CMAKE_CURRENT_BINARY_DIR}/fonts"
    COMMAND ${CMAKE_COMMAND} -E copy "${path}" "${output}"
    DEPENDS "${path}"
    VERBATIM)
  set_property(DIRECTORY APPEND PROPERTY KAVO_FONTS "${output}")
endfunction()
