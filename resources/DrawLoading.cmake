# Draws the frames of the loading animation from one drawing and joins them into a GIF.
# Variables: TEMPLATE, FRAMES (folder for the frames), WIDTH (pixels), OUTPUT, RSVG_CONVERT,
# IMAGEMAGICK_CONVERT.

set(frame_count 24)
math(EXPR step "360 / ${frame_count}")
file(READ "${TEMPLATE}" template)
file(MAKE_DIRECTORY "${FRAMES}")

set(frames "")
math(EXPR last "${frame_count} - 1")
foreach(index RANGE ${last})
  math(EXPR angle "${index} * ${step}")
  string(REPLACE "@ANGLE@" "${angle}" drawing "${template}")
  set(frame "${FRAMES}/${index}")
  file(WRITE "${frame}.svg" "${drawing}")
  execute_process(
    COMMAND "${RSVG_CONVERT}" --keep-aspect-ratio --width=${WIDTH} --output "${frame}.png" "${frame}.svg"
    COMMAND_ERROR_IS_FATAL ANY)
  list(APPEND frames "${frame}.png")
endforeach()

# A frame lasts 6 hundredths of a second, a turn about a second and a half.
execute_process(
  COMMAND "${IMAGEMAGICK_CONVERT}" -dispose Background -delay 6 -loop 0 ${frames} "${OUTPUT}"
  COMMAND_ERROR_IS_FATAL ANY)
