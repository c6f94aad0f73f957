# Helpers of the scripts that run a program as a user would: run it and
# check its exit code, its messages and the pictures it writes. PROGRAM and
# OUT (a scratch directory) come from the including script, which starts
# with an empty OUT and no display, whatever the machine has.
file(REMOVE_RECURSE ${OUT})
file(MAKE_DIRECTORY ${OUT})
unset(ENV{DISPLAY})
unset(ENV{WAYLAND_DISPLAY})
unset(ENV{QT_QPA_PLATFORM})

# Runs the program with the given arguments in OUT and expects an exit
# code; leaves the output in `out` and `err`.
function(run expected)
  execute_process(COMMAND ${PROGRAM} ${ARGN} WORKING_DIRECTORY ${OUT}
    RESULT_VARIABLE code OUTPUT_VARIABLE stdout ERROR_VARIABLE stderr TIMEOUT 50)
  if(NOT code STREQUAL "${expected}")
    message(FATAL_ERROR "${ARGN}: exit '${code}', expected ${expected}\n"
      "stdout: ${stdout}\nstderr: ${stderr}")
  endif()
  set(out "${stdout}" PARENT_SCOPE)
  set(err "${stderr}" PARENT_SCOPE)
endfunction()

function(expect_text text wanted)
  string(FIND "${text}" "${wanted}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "'${wanted}' not in:\n${text}")
  endif()
endfunction()

# A PNG file of the given size: its signature, then the IHDR width and
# height as big-endian words.
function(expect_png path width height)
  if(NOT EXISTS ${path})
    message(FATAL_ERROR "no file ${path}")
  endif()
  file(READ ${path} signature LIMIT 8 HEX)
  file(READ ${path} size OFFSET 16 LIMIT 8 HEX)
  if(NOT signature STREQUAL "89504e470d0a1a0a")
    message(FATAL_ERROR "${path} is not a PNG file")
  endif()
  math(EXPR w "(0x${size} >> 32) & 0xffffffff")
  math(EXPR h "0x${size} & 0xffffffff")
  if(NOT w EQUAL width OR NOT h EQUAL height)
    message(FATAL_ERROR "${path} is ${w} x ${h}, expected ${width} x ${height}")
  endif()
endfunction()
