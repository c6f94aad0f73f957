#Runs kgrqt - map as a user would and checks its exit code, its messages and
#the pictures it writes.CASE names the check; PROGRAM and OUT(a scratch
#directory) come from the test 's command line. Checks of the map' s content
#need the installed map data and print "SKIPPED" without it.
include(${CMAKE_CURRENT_LIST_DIR} /../../ common / check_run_common.cmake)

    if (DEFINED ENV{KGRQT_MAPDATA_DIR} AND NOT "$ENV{KGRQT_MAPDATA_DIR}" STREQUAL
                                               "") set(mapdata $ENV{
        KGRQT_MAPDATA_DIR}) else() set(mapdata / opt / larkspur / data / maps / kmd) endif()

        function(skip_without_mapdata) foreach (
            f coasts.vector.kmd political.vector.kmd rivers.vector.kmd bluemarble
                .world .200407.v01.grid.kmd) if (NOT EXISTS ${mapdata} /
                                                 ${f}) message("SKIPPED: no ${mapdata}/${f} "
                                                               "(tools/install-mapdata.sh builds "
                                                               "it)") return () endif() endforeach()
            set(have_mapdata TRUE PARENT_SCOPE) endfunction()

#A picture with more in it than a blank one : a PNG of one colour at these
#sizes is a few kilobytes.
                function(expect_not_blank path bytes) file(SIZE ${
                    path} size) if (size LESS bytes) message(FATAL_ERROR
                                                             "${path} has only ${size} bytes: "
                                                             "blank?") endif() endfunction()

                    if (CASE STREQUAL "snapshot") run(0 --snapshot ${OUT} / map.png-- size 640x320) expect_text(
                        "${out}"
                        "Map: edp about 20 0, 360 degrees across, layers bluemarble, political, "
                        "rivers") expect_text("${out}"
                                              "Snapshot written to ${OUT}/map.png") expect_png(${OUT} / map.png 640 320)
                        skip_without_mapdata() if (have_mapdata) run(0 --snapshot ${OUT} / plain.png-- size 640x320 --plain-- projection geog) expect_png(
                            ${OUT} /
                            plain
                                .png 640 320) expect_not_blank(${OUT} /
                                                               plain
                                                                   .png 100000) endif() elseif(CASE STREQUAL "headless")
#Without a display and without-- snapshot, a picture in the working
#directory.
                            run(0 --mapdata ${OUT} / none) expect_text(
                                "${out}"
                                "Snapshot written to ${OUT}/kgrqt-map.png")
                                expect_png(${OUT} / kgrqt - map.png 1200 700) elseif(
                                    CASE
                                        STREQUAL "arguments") run(2 --bogus) expect_text("${err}"
                                                                                         "kgrqt-"
                                                                                         "map: "
                                                                                         "unknown "
                                                                                         "option "
                                                                                         "or "
                                                                                         "missing "
                                                                                         "value "
                                                                                         "'--"
                                                                                         "bogus'") expect_text("${err}"
                                                                                                               "usage: kgrqt-map") run(2 --projection utm) expect_text("${err}"
                                                                                                                                                                       "kgrqt-map: bad projection 'utm' (edp, merc or geog)")
                                    run(2 --center 91 0) expect_text(
                                        "${err}"
                                        "kgrqt-map: bad centre '91 0'") run(2 --zoom 0)
                                        expect_text(
                                            "${err}"
                                            "kgrqt-map: bad zoom '0'") run(2 --size 10x10) expect_text("${err}"
                                                                                                       "kgrqt-map: bad size '10x10'")
                                            run(2 --layers coasts,
                                                roads-- snapshot ${OUT} / map.png) expect_text("${"
                                                                                               "err"
                                                                                               "}"
                                                                                               "kgr"
                                                                                               "qt-"
                                                                                               "map"
                                                                                               ": "
                                                                                               "map"
                                                                                               "_ma"
                                                                                               "ke:"
                                                                                               " un"
                                                                                               "kno"
                                                                                               "wn "
                                                                                               "map"
                                                                                               " la"
                                                                                               "ye"
                                                                                               "r")
                                                expect_text(
                                                    "${err}"
                                                    "no map layer 'roads' (defined: bluemarble, "
                                                    "dem_srtm30, water_mask, coasts, political, "
                                                    "rivers)") if (EXISTS ${OUT} /
                                                                   map
                                                                       .png) message(FATAL_ERROR
                                                                                     "a picture "
                                                                                     "was written "
                                                                                     "after a bad "
                                                                                     "layer list") endif() elseif(CASE
                                                                                                                      STREQUAL "layers")
#Missing files are named, and the map is drawn without them.
                                                    run(0 --mapdata ${OUT} / none-- layers coasts,
                                                        rivers-- snapshot ${OUT} /
                                                            none.png-- size 300x200) expect_text("$"
                                                                                                 "{"
                                                                                                 "o"
                                                                                                 "u"
                                                                                                 "t"
                                                                                                 "}"
                                                                                                 "l"
                                                                                                 "a"
                                                                                                 "y"
                                                                                                 "e"
                                                                                                 "r"
                                                                                                 "s"
                                                                                                 " "
                                                                                                 "c"
                                                                                                 "o"
                                                                                                 "a"
                                                                                                 "s"
                                                                                                 "t"
                                                                                                 "s"
                                                                                                 ","
                                                                                                 " "
                                                                                                 "r"
                                                                                                 "i"
                                                                                                 "v"
                                                                                                 "e"
                                                                                                 "r"
                                                                                                 "s") expect_text("${err}"
                                                                                                                  "kgrqt-map: layer coasts: no file ${OUT}/none/coasts.vector.kmd")
                                                        expect_png(${OUT} / none.png 300 200) skip_without_mapdata() if (have_mapdata) run(
                                                            0 --layers coasts-- projection merc-- center 50 10 --zoom 5 --plain-- snapshot
                                                                ${OUT} /
                                                            europe
                                                                .png-- size 600x400) expect_text("$"
                                                                                                 "{"
                                                                                                 "o"
                                                                                                 "u"
                                                                                                 "t"
                                                                                                 "}"
                                                                                                 "M"
                                                                                                 "a"
                                                                                                 "p"
                                                                                                 ":"
                                                                                                 " "
                                                                                                 "m"
                                                                                                 "e"
                                                                                                 "r"
                                                                                                 "c"
                                                                                                 " "
                                                                                                 "a"
                                                                                                 "b"
                                                                                                 "o"
                                                                                                 "u"
                                                                                                 "t"
                                                                                                 " "
                                                                                                 "5"
                                                                                                 "0"
                                                                                                 " "
                                                                                                 "1"
                                                                                                 "0"
                                                                                                 ","
                                                                                                 " "
                                                                                                 "7"
                                                                                                 "2"
                                                                                                 " "
                                                                                                 "d"
                                                                                                 "e"
                                                                                                 "g"
                                                                                                 "r"
                                                                                                 "e"
                                                                                                 "e"
                                                                                                 "s"
                                                                                                 " "
                                                                                                 "a"
                                                                                                 "c"
                                                                                                 "r"
                                                                                                 "o"
                                                                                                 "s"
                                                                                                 "s"
                                                                                                 ","
                                                                                                 " "
                                                                                                 "l"
                                                                                                 "a"
                                                                                                 "y"
                                                                                                 "e"
                                                                                                 "r"
                                                                                                 "s"
                                                                                                 " "
                                                                                                 "c"
                                                                                                 "o"
                                                                                                 "a"
                                                                                                 "s"
                                                                                                 "t"
                                                                                                 "s")
                                                            expect_png(${OUT} / europe.png 600 400)
                                                                expect_not_blank(
                                                                    ${OUT} /
                                                                    europe
                                                                        .png 10000) endif() elseif(CASE STREQUAL "vectors")
                                                                    run(0 --snapshot ${OUT} /
                                                                            map.svg-- size 400x300 --layers
                                                                                coasts,
                                                                        political) expect_text("${"
                                                                                               "out"
                                                                                               "}"
                                                                                               "Sna"
                                                                                               "psh"
                                                                                               "ot "
                                                                                               "wri"
                                                                                               "tte"
                                                                                               "n "
                                                                                               "to "
                                                                                               "${"
                                                                                               "OUT"
                                                                                               "}/"
                                                                                               "map"
                                                                                               ".sv"
                                                                                               "g")
                                                                        file(
                                                                            READ ${OUT} /
                                                                            map.svg
                                                                                svg) expect_text("$"
                                                                                                 "{"
                                                                                                 "s"
                                                                                                 "v"
                                                                                                 "g"
                                                                                                 "}"
                                                                                                 "<"
                                                                                                 "s"
                                                                                                 "v"
                                                                                                 "g")
                                                                            run(0 --snapshot
                                                                                        ${OUT} /
                                                                                    map.pdf-- size 400x300 --layers
                                                                                        coasts,
                                                                                political)
                                                                                file(READ ${OUT} / map.pdf pdf LIMIT 5 HEX) if (
                                                                                    NOT pdf
                                                                                        STREQUAL
                                                                                    "255044462d") #"%PDF-" message(FATAL_ERROR
                                                                                                                   "${OUT}/map.pdf is not a PDF file") endif()
                                                                                    run(2 --snapshot ${
                                                                                            OUT} /
                                                                                            no -
                                                                                        such -
                                                                                        directory /
                                                                                            map.svg)
                                                                                        expect_text(
                                                                                            "${err}"
                                                                                            "kgrqt-"
                                                                                            "map: "
                                                                                            "cannot"
                                                                                            " write"
                                                                                            " '${"
                                                                                            "OUT}/"
                                                                                            "no-"
                                                                                            "such-"
                                                                                            "direct"
                                                                                            "ory/"
                                                                                            "map."
                                                                                            "svg'") elseif(CASE STREQUAL "ratio")
#Twice the pixel density : twice the pixels each way.
                                                                                            run(0 --snapshot
                                                                                                    ${OUT} /
                                                                                                map.png-- size 320x200 --ratio 2 --mapdata
                                                                                                    ${OUT} /
                                                                                                none)
                                                                                                expect_png(
                                                                                                    ${OUT} /
                                                                                                    map.png 640 400)
                                                                                                    run(2 --ratio 9) expect_text(
                                                                                                        "${err}"
                                                                                                        "kgrqt-map: bad ratio '9' (1 to 8)") else()
                                                                                                        message(
                                                                                                            FATAL_ERROR
                                                                                                            "unknown case '${CASE}'")
                                                                                                            endif()
