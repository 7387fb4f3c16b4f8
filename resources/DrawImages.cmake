# Draws SVG files to PNG and GIF files at build time. Lettering is set in Manrope if fontconfig finds it.

find_program(RSVG_CONVERT rsvg-convert)
if(NOT RSVG_CONVERT)
  message(FATAL_ERROR "rsvg-convert is missing: install the Debian package librsvg2-bin.")
endif()
find_program(IMAGEMAGICK_CONVERT NAMES convert-im6.q16 convert)
if(NOT IMAGEMAGICK_CONVERT)
  message(FATAL_ERROR "ImageMagick is missing: install the Debian package imagemagick.")
endif()

# kavo_draw(output source width): draws images/<source> into the PNG file `output`.
function(kavo_draw output source width)
  get_filename_component(folder "${output}" DIRECTORY)
  set(drawing "${CMAKE_CURRENT_SOURCE_DIR}/images/${source}")
  add_custom_command(
    OUTPUT "${output}"
    COMMAND ${CMAKE_COMMAND} -E make_directory "${folder}"
    COMMAND "${RSVG_CONVERT}" --keep-aspect-ratio --width=${width} --output "${output}" "${drawing}"
    DEPENDS "${drawing}"
    VERBATIM)
endfunction()

# kavo_draw_image(name source width): makes a PNG for the compiled resources and appends its path to the
# directory property KAVO_IMAGES. The PNG is compressed again with the filter "up", because it is then decoded
# in a third of the time, which shortens the start of the program.
function(kavo_draw_image name source width)
  set(output "${CMAKE_CURRENT_BINARY_DIR}/images/${name}")
  set(drawn "${CMAKE_CURRENT_BINARY_DIR}/drawn/${name}")
  kavo_draw("${drawn}" "${source}" ${width})
  add_custom_command(
    OUTPUT "${output}"
    COMMAND ${CMAKE_COMMAND} -E make_directory "${CMAKE_CURRENT_BINARY_DIR}/images"
    COMMAND "${IMAGEMAGICK_CONVERT}" "${drawn}" -strip -define png:compression-filter=2
            -define png:compression-level=9 "${output}"
    DEPENDS "${drawn}"
    VERBATIM)
  set_property(DIRECTORY APPEND PROPERTY KAVO_IMAGES "${output}")
endfunction()

# kavo_draw_animation(name template width): does the same for a GIF.
function(kavo_draw_animation name template width)
  set(output "${CMAKE_CURRENT_BINARY_DIR}/images/${name}")
  set(drawing "${CMAKE_CURRENT_SOURCE_DIR}/images/${template}")
  set(script "${CMAKE_CURRENT_SOURCE_DIR}/DrawLoading.cmake")
  add_custom_command(
    OUTPUT "${output}"
    COMMAND ${CMAKE_COMMAND} -E make_directory "${CMAKE_CURRENT_BINARY_DIR}/images"
    COMMAND ${CMAKE_COMMAND}
            "-DTEMPLATE=${drawing}" "-DFRAMES=${CMAKE_CURRENT_BINARY_DIR}/frames/${width}"
            "-DWIDTH=${width}" "-DOUTPUT=${output}" "-DRSVG_CONVERT=${RSVG_CONVERT}"
            "-DIMAGEMAGICK_CONVERT=${IMAGEMAGICK_CONVERT}" -P "${script}"
    DEPENDS "${drawing}" "${script}"
    COMMENT "Drawing ${name}"
    VERBATIM)
  set_property(DIRECTORY APPEND PROPERTY KAVO_IMAGES "${output}")
endfunction()
