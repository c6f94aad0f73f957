# Runs kgrqt-plot as a user would and checks its exit code, its messages
# and the picture it writes. CASE names the check; PROGRAM, SAMPLE and OUT
# (a scratch directory) come from the test's command line.
file(REMOVE_RECURSE ${OUT})
file(MAKE_DIRECTORY ${OUT})
# No display, whatever the machine has.
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

if(CASE STREQUAL "snapshot")
  run(0 --snapshot ${OUT}/plot.png --size 640x300 ${SAMPLE})
  expect_text("${out}" "IU_COLA_00_LHZ: 4200 points in 1 segment, 2010-02-27T06:50:00.070")
  expect_text("${out}" "Snapshot written to ${OUT}/plot.png")
  expect_png(${OUT}/plot.png 640 300)
elseif(CASE STREQUAL "headless")
  # Without a display and without --snapshot, a picture in the working
  # directory; also on an explicit off-screen platform, where no window
  # could ever be closed.
  run(0 ${SAMPLE})
  expect_text("${out}" "Snapshot written to ${OUT}/kgrqt-plot.png")
  expect_png(${OUT}/kgrqt-plot.png 900 400)
  file(REMOVE ${OUT}/kgrqt-plot.png)
  set(ENV{QT_QPA_PLATFORM} offscreen)
  run(0 ${SAMPLE})
  expect_png(${OUT}/kgrqt-plot.png 900 400)
elseif(CASE STREQUAL "missing")
  run(2 --snapshot ${OUT}/plot.png ${OUT}/no-such.mseed)
  expect_text("${err}" "kgrqt-plot: cannot plot '${OUT}/no-such.mseed'")
  expect_text("${err}" "Cannot open '${OUT}/no-such.mseed': No such file or directory")
  if(EXISTS ${OUT}/plot.png)
    message(FATAL_ERROR "a picture of nothing was written")
  endif()
elseif(CASE STREQUAL "arguments")
  run(2)
  expect_text("${err}" "usage: kgrqt-plot")
  run(2 --size 10x10 ${SAMPLE})
  expect_text("${err}" "kgrqt-plot: bad size '10x10'")
  run(2 --bogus ${SAMPLE})
  expect_text("${err}" "kgrqt-plot: unknown option '--bogus'")
  run(2 ${SAMPLE} ${SAMPLE})
  expect_text("${err}" "kgrqt-plot: more than one file")
  run(2 --color no-such-colour --snapshot ${OUT}/plot.png ${SAMPLE})
  expect_text("${err}" "kgrqt-plot: cannot show the trace")
else()
  message(FATAL_ERROR "unknown case '${CASE}'")
endif()
