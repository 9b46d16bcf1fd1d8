# Runs the gravok tool as a user would and checks each command's exit status and
# output. Arguments: -DGRAVOK=<tool> -DWORK_DIR=<scratch folder> -DBARE_MODULE=<a
# module without entry points> -DDATA_DIR=<tests/data> and, when it is built,
# -DLANDXML_PLUGIN=<the LandXML plug-in module> and -DDXF_PLUGIN=<the DXF plug-in
# module>.
# A full-disk case of an earlier run that stopped half-way may have left its tmpfs.
execute_process(COMMAND umount ${WORK_DIR}/full OUTPUT_QUIET ERROR_QUIET)
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
set(failures "")

# expect(<status> <regex> <arguments>...): the tool exits with <status> and its
# standard output and error together match <regex>.
function(expect status regex)
  execute_process(COMMAND ${GRAVOK} ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out
                  ERROR_VARIABLE err)
  if(NOT rc STREQUAL status OR NOT "${out}${err}" MATCHES "${regex}")
    string(REPLACE ";" " " args "${ARGN}")
    set(failures "${failures}\ngravok ${args}\n  exit ${rc} (wanted ${status})\n  ${out}${err}"
        PARENT_SCOPE)
  endif()
endfunction()

set(d ${WORK_DIR})
file(WRITE ${d}/square.node "# a unit square\n4 2 1 1\n0 0 0 5 1\n1 1 0 6 1\n2 1 1 7 1\n3 0 1 8 1\n")
file(WRITE ${d}/square.ele "2 3 0\n0 0 1 2\n1 0 2 3\n")
file(WRITE ${d}/unused.node "5 2 1 0\n1 0 0 5\n2 1 0 6\n3 1 1 7\n4 0 1 8\n5 9 9 9\n")
file(WRITE ${d}/unused.ele "2 3 0\n1 1 2 3\n2 1 3 4\n")
file(WRITE ${d}/broken.ele "2 3 0\n0 0 1 2\n1 0 2 30\n")
file(COPY_FILE ${d}/square.node ${d}/broken.node)
file(WRITE ${d}/twice.node "5 2 1 0\n0 0 0 5\n1 1 0 6\n2 1 1 7\n3 0 1 8\n4 0 0 9\n")
file(WRITE ${d}/twice.ele "2 3 0\n0 0 1 2\n1 4 2 3\n")
# A vertex line with four fields: the design's .poly reader ends the process on it.
file(WRITE ${d}/short.poly "2 2 1 1\n0 0 0 5 1\n1 1 0 6\n0 0\n")

expect(1 "1 finding:.*vertex 4: no triangle uses it" inspect ${d}/unused.ele)
expect(1 "\"check\": \"unused-vertex\"" inspect --json ${d}/unused.node)
expect(2 "broken.ele:3: .*vertex 30" inspect ${d}/broken.node)
expect(2 "short.poly:3" inspect ${d}/short.poly)
expect(2 "no provider opens it" inspect nowhere:at-all)
expect(2 "gravok_plugin_register" inspect ${d}/square.node --plugin ${BARE_MODULE})
expect(2 "gravok_plugin_register" --plugin ${BARE_MODULE} inspect ${d}/square.node)
expect(2 "nonexistent-module" inspect ${d}/square.node --plugin ${d}/nonexistent-module.so)
expect(2 "unknown command 'frobnicate'; the commands are: providers, inspect" frobnicate)
expect(2 "unknown command 'frob'; the commands of 'mesh' are: clean" --plugin x mesh frob)
expect(0 "gravok.node-ele \\(source\\): [^\n]*\\[built in\\]" --no-plugins providers)

# --version prints the project's version, as the top-level CMakeLists.txt gives it.
file(STRINGS ${DATA_DIR}/../../CMakeLists.txt project_line
     REGEX "^project\\(gravok-data VERSION [0-9.]+")
string(REGEX MATCH "[0-9]+\\.[0-9]+\\.[0-9]+" version "${project_line}")
string(REPLACE "." "\\." version "${version}")
expect(0 "^gravok ${version} \\(gravok-data ${version}\\)\n$" --version)
expect(0 "gravok.node-ele \\(source\\)" providers)
expect(1 "vertex 4: welds into vertex 0" inspect ${d}/twice.node)

# JSON problem documents: a store loses nothing, a dump read back dumps the same bytes.
expect(0 "nothing lost" roundtrip json:${d}/roundtrip.json)
expect(0 "" dump ${d}/roundtrip.json ${d}/dump1.json)
expect(0 "" dump json:${d}/dump1.json ${d}/dump2.json)
execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${d}/dump1.json ${d}/dump2.json
                RESULT_VARIABLE differ)
if(differ)
  set(failures "${failures}\na dump read back and dumped again differs")
endif()
expect(0 "" copy ${d}/square.node ${d}/square.json)
expect(0 "mesh: 4 vertices, 2 triangles.*0 findings" inspect ${d}/square.json)
expect(0 "" copy --records-only ${d}/roundtrip.json ${d}/records.json)
file(WRITE ${d}/truncated.json "{\"format\": \"gravok-problem\", \"version\": 1, \"mesh\": {\"x\": [1, 2")
expect(2 "truncated.json: line 1" inspect ${d}/truncated.json)
file(WRITE ${d}/wrong.json "{\"format\": \"gravok-problem\", \"version\": 1, \"max_slope\": \"steep\"}")
expect(2 "/max_slope" inspect ${d}/wrong.json)
expect(2 "square.txt: no store provider opens it" copy ${d}/square.node ${d}/square.txt)

# Volumes: the unit square of square.node (z 5, 6, 7, 8 at its corners, two
# triangles) against a flat one at 6 nets 1/3; the example problem (survey-sized
# origin) against itself moved up to 2 m fills 15416.667 m3, 156.25 of them in the pond.
file(WRITE ${d}/flat.node "4 2 1 0\n0 0 0 6\n1 1 0 6\n2 1 1 6\n3 0 1 6\n")
file(COPY_FILE ${d}/square.ele ${d}/flat.ele)
file(WRITE ${d}/far.node "4 2 1 0\n0 5 5 6\n1 6 5 6\n2 6 6 6\n3 5 6 6\n")
file(COPY_FILE ${d}/square.ele ${d}/far.ele)
file(WRITE ${d}/half.poly "4 2 0 0\n0 0 0\n1 0.5 0\n2 0.5 1\n3 0 1\n4 0\n0 0 1\n1 1 2\n2 2 3\n3 3 0\n")
file(WRITE ${d}/bowtie.poly "4 2 0 0\n0 0 0\n1 1 0\n2 0 1\n3 1 1\n4 0\n0 0 1\n1 1 2\n2 2 3\n3 3 0\n")
file(WRITE ${d}/rings.poly "6 2 0 0\n0 0 0\n1 1 0\n2 0 1\n3 5 5\n4 6 5\n5 5 6\n6 0\n0 0 1\n1 1 2\n2 2 0\n3 3 4\n4 4 5\n5 5 3\n")
expect(0 "compared area 1\\.000 units.*net +0\\.333 units" volume ${d}/flat.node ${d}/square.node)
expect(0 "cut +0\\.444 units.*fill +0\\.111 units.*net +-0\\.333 units" volume ${d}/square.node ${d}/flat.node)
expect(0 "\"cut\": [0-9.e-]+, \"fill\": [0-9.e-]+, \"net\": 0\\.333[0-9]*, \"cut_area\": [0-9.e-]+, \"fill_area\": [0-9.e-]+, \"area\": 1,\n \"base_layered_area\""
       volume ${d}/flat.node ${d}/square.node --json)
expect(0 "inside .*half.poly.*compared area 0\\.500" volume ${d}/flat.node ${d}/square.node --boundary ${d}/half.poly)
expect(1 "boundary: it is not a simple polygon" volume ${d}/flat.node ${d}/square.node --boundary ${d}/bowtie.poly)
expect(2 "more than one ring" volume ${d}/flat.node ${d}/square.node --boundary ${d}/rings.poly)
expect(1 "do not overlap in plan" volume ${d}/square.node ${d}/far.node)
expect(2 "missing.poly" volume ${d}/flat.node ${d}/square.node --boundary ${d}/missing.poly)
file(READ ${DATA_DIR}/../../docs/examples/small-problem.json example)
string(REPLACE "\"nan\"" "0.5" example "${example}")
file(WRITE ${d}/example.json "${example}")
string(REPLACE "[1.25, 0.75, -0.5, 0.5]" "[2, 2, 2, 2]" raised "${example}")
file(WRITE ${d}/raised.json "${raised}")
expect(0 "fill +15416\\.667 m.*Pond 1:\n  compared area 100\\.000 m.*fill +156\\.250 m"
       volume ${d}/example.json ${d}/raised.json --by-element)
# A top in arcseconds (no length) is taken in the base's unit, not converted.
string(REPLACE "\"linear\": {\"type\": 2," "\"linear\": {\"type\": 8," arcsec "${raised}")
file(WRITE ${d}/raised-arcsec.json "${arcsec}")
expect(0 "compared area 10000\\.000 m.*fill +15416\\.667 m"
       volume ${d}/example.json ${d}/raised-arcsec.json)
expect(0 "\"elements\": \\[\n  {\"kind\": \"Pond\", \"number\": 1, \"cut\": 0, \"fill\": 156\\.25"
       volume ${d}/example.json ${d}/raised.json --by-element --json)
expect(0 "inside .*example.json, Pond 1\ncompared area 100\\.000 m.*fill +156\\.250 m"
       volume ${d}/example.json ${d}/raised.json --boundary ${d}/example.json)

# The cut/fill map; a mesh whose triangles have no area draws nothing and says so.
expect(0 "cutfill.svg: 2 triangles drawn, cut 0.111111, fill 0.444444, net 0.333333"
       plot ${d}/flat.node --compare ${d}/square.node -o ${d}/cutfill.svg)
expect(1 "do not overlap in plan" plot ${d}/square.node --compare ${d}/far.node -o ${d}/apart.svg)
file(WRITE ${d}/line.node "3 2 1 0\n0 0 0 1\n1 1 1 1\n2 2 2 1\n")
file(WRITE ${d}/line.ele "1 3 0\n0 0 1 2\n")

# The demo at its smallest size, 4 cells a side; a size beyond the range is refused.
expect(0 "copy: .*site.json.*wrote:\n  [^\n]*site.json  [0-9]+ bytes\n$"
       demo ${d}/site-only --triangles 200 --site-only)

# A real surface from design software, through the LandXML plug-in module.
if(LANDXML_PLUGIN)
  set(civil ${DATA_DIR}/landxml/civil_example_clean.xml)
  expect(0 "host: Autodesk Civil 3D 2023.*mesh: 29 vertices, 45 triangles.*0 findings"
         inspect ${civil} --plugin ${LANDXML_PLUGIN})
  expect(0 "" copy ${civil} ${d}/civil.json --plugin ${LANDXML_PLUGIN})
  expect(0 "origin: 0, 0, 0.*host: Autodesk Civil 3D 2023.*29 vertices" inspect ${d}/civil.json)
  expect(1 "differences" roundtrip landxml:${d}/lossy.xml --plugin ${LANDXML_PLUGIN})
  # Every surface, and what describes the file, goes to JSON and back to LandXML; what
  # the copy answers is then exactly what the original answers.
  expect(0 "surface 0: A \\(29 vertices, 45 triangles\\)\nsurface 1: B \\(92 vertices.*surface 2: C"
         inspect ${d}/civil.json)
  set(skyfall ${DATA_DIR}/landxml/civil_sweref99_skyfall.xml)
  foreach(file IN ITEMS ${civil} ${skyfall})
    get_filename_component(stem ${file} NAME_WE)
    expect(0 "" copy ${file} ${d}/${stem}.json --plugin ${LANDXML_PLUGIN})
    expect(0 "" copy ${d}/${stem}.json ${d}/${stem}.back.xml --plugin ${LANDXML_PLUGIN})
    expect(0 "" dump ${file} ${d}/${stem}.first.json --plugin ${LANDXML_PLUGIN})
    expect(0 "" dump ${d}/${stem}.back.xml ${d}/${stem}.back.json --plugin ${LANDXML_PLUGIN})
    execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${d}/${stem}.first.json
                            ${d}/${stem}.back.json RESULT_VARIABLE differ)
    if(differ)
      set(failures "${failures}\n${stem}: LandXML -> JSON -> LandXML answers differently")
    endif()
  endforeach()
  expect(0 "coordinate system: EPSG:3007, SWEREF 99 12 00, SWEREF-99-12-00\napplication: Autodesk Civil 3D 2023\nsurface 0: Underlag skyfall: Description\n"
         inspect ${d}/civil_sweref99_skyfall.json)
  file(READ ${d}/civil_sweref99_skyfall.back.xml back)
  if(NOT back MATCHES "<CoordinateSystem [^>]*epsgCode=\"3007\"" OR
     NOT back MATCHES "<Application name=\"Autodesk Civil 3D\" version=\"2023\"" OR
     NOT back MATCHES "<Surface name=\"Underlag skyfall\" desc=\"Description\">")
    set(failures "${failures}\nskyfall: coordinate system, application or description lost")
  endif()
  # Records alone move the current surface and no description; the copy declares the
  # rest.
  expect(0 "dropped 2 surfaces besides the current one.*dropped [0-9]+ descriptions"
         copy --records-only ${civil} ${d}/civil-first.json --plugin ${LANDXML_PLUGIN})
  # One surface by name or id; an unknown one names those there are.
  expect(0 "" copy ${civil} ${d}/b.json --surface B --plugin ${LANDXML_PLUGIN})
  expect(0 "surface 1: B\nmesh: 92 vertices" inspect ${d}/b.json)
  expect(0 "" copy ${civil} ${d}/c.xml --surface 2 --plugin ${LANDXML_PLUGIN})
  expect(0 "surface 0: C\nmesh: 143 vertices" inspect ${d}/c.xml --plugin ${LANDXML_PLUGIN})
  expect(2 "has no surface \"D\"; its surfaces: 0 \"A\", 1 \"B\", 2 \"C\""
         copy ${civil} ${d}/d.json --surface D --plugin ${LANDXML_PLUGIN})
  # Its three surfaces lie side by side: nothing to compare between any two.
  expect(1 "surface \"A\".*surface \"C\".*do not overlap in plan"
         volume ${civil} ${civil} --base-surface A --top-surface 2 --plugin ${LANDXML_PLUGIN})
  expect(0 "compared area 106\\.923 m.*net +0\\.000 m"
         volume ${civil} ${civil} --base-surface C --top-surface C --plugin ${LANDXML_PLUGIN})
  expect(2 "has no surface \"D\"; its surfaces: 0 \"A\", 1 \"B\", 2 \"C\""
         volume ${civil} ${civil} --top-surface D --plugin ${LANDXML_PLUGIN})
endif()

# Drawings of AutoCAD (R12) and of another CAD program (R2018) through the DXF plug-in
# module: inspected, copied to DXF with nothing to drop and plotted; a problem with a NaN elevation is refused, and nothing is
# written; what DXF cannot hold is listed, and fails --strict; volumes between the two
# surfaces of a drawing.
if(DXF_PLUGIN)
  set(drawing ${DATA_DIR}/dxf/ezdxf_polylines_r12.dxf)
  expect(0 "host: DXF AC1009.*mesh: 4 vertices, 2 triangles.*break lines: 85.*0 findings"
         inspect "dxf:${drawing}?breaklines=T-2DPLINE-ALL" --plugin ${DXF_PLUGIN})
  # Warnings of the reader (no unit, arcs read as chords) but no loss.
  expect(0 "^(gravok: warning: [^\n]*\n)*$" copy --strict "dxf:${drawing}?breaklines=T-2DPLINE-ALL" ${d}/copy.dxf
         --plugin ${DXF_PLUGIN})
  expect(0 "mesh: 4 vertices, 2 triangles.*break lines: 85" inspect ${d}/copy.dxf
         --plugin ${DXF_PLUGIN})
  expect(0 "2 triangles drawn" plot ${d}/copy.dxf -o ${d}/copy.svg --plugin ${DXF_PLUGIN})
  # A drawing of a later version copies strictly too: its own $ACADVER is no loss, and
  # what the reader left out are warnings, not losses.
  expect(0 "^(gravok: warning: [^\n]*\n)*$" copy --strict ${DATA_DIR}/dxf/ezdxf_3dface_r2018.dxf ${d}/r2018.dxf
         --plugin ${DXF_PLUGIN})
  # (a 3D model, not a terrain: its vertical faces are findings, exit status 1)
  expect(1 "host: DXF AC1009.*mesh: 139 vertices, 66 triangles.*zero area in plan"
         inspect ${d}/r2018.dxf --plugin ${DXF_PLUGIN})
  # A drawing keeps no description: the DXF store declares it, as the .node store does.
  if(LANDXML_PLUGIN)
    expect(1 "dropped 1 descriptions \\(coordinate system, application, surfaces\\)"
           copy --strict ${DATA_DIR}/landxml/civil_sweref99_skyfall.xml ${d}/skyfall.dxf
           --plugin ${LANDXML_PLUGIN} --plugin ${DXF_PLUGIN})
  endif()
  # The example problem holds a NaN elevation on purpose.
  expect(1 "cannot write .*nan.dxf: .*not finite"
         copy ${DATA_DIR}/../../docs/examples/small-problem.json ${d}/nan.dxf
         --plugin ${DXF_PLUGIN})
  if(EXISTS ${d}/nan.dxf)
    set(failures "${failures}\nnan.dxf was written")
  endif()
  set(dropped "dropped 1 objectives\n.*dropped 2 settings \\(max slopes\\)")
  expect(0 "example.dxf: ${dropped}" copy ${d}/example.json ${d}/example.dxf
         --plugin ${DXF_PLUGIN})
  expect(1 "${dropped}" copy --strict ${d}/example.json ${d}/example.dxf
         --plugin ${DXF_PLUGIN})
  expect(2 "^gravok: [^\n]*missing.dxf: cannot be read: No such file or directory\n$"
         inspect ${d}/missing.dxf --plugin ${DXF_PLUGIN})
  expect(2 "square.node: not a DXF file" inspect dxf:${d}/square.node
         --plugin ${DXF_PLUGIN})
  # Two surfaces of one drawing in metres, each a unit square of one quadrilateral:
  # EG flat, FG raised at its third corner. Split along the diagonal from the first
  # corner to the third, FG lies 1/3 m³ above EG (the other diagonal would give 1/6).
  set(pairs 0 SECTION 2 HEADER 9 $INSUNITS 70 6 0 ENDSEC 0 SECTION 2 ENTITIES
      0 3DFACE 8 EG 10 0 20 0 30 0 11 1 21 0 31 0 12 1 22 1 32 0 13 0 23 1 33 0
      0 3DFACE 8 FG 10 0 20 0 30 0 11 1 21 0 31 0 12 1 22 1 32 1 13 0 23 1 33 0
      0 ENDSEC 0 EOF)
  string(JOIN "\n" two_surfaces ${pairs})
  file(WRITE ${d}/two.dxf "${two_surfaces}\n")
  expect(0 "surface \"EG\".*surface \"FG\".*compared area 1\\.000 m.*net +0\\.333 m"
         volume ${d}/two.dxf ${d}/two.dxf --base-surface EG --top-surface FG
         --plugin ${DXF_PLUGIN})
  expect(1 "^gravok: cannot write ${d}/nodir/two.dxf: No such file or directory\n$"
         copy ${d}/two.dxf ${d}/nodir/two.dxf --plugin ${DXF_PLUGIN})
endif()

# Failures reach the user: one line "gravok: cannot write PATH: REASON", a non-zero
# status, the old file as it was and no temporary file left.
# expect_unchanged(<folder> <listing before>): nothing in the folder changed.
function(listing folder out)
  file(GLOB_RECURSE names LIST_DIRECTORIES true RELATIVE ${folder} ${folder}/*)
  set(text "")
  foreach(name IN LISTS names)
    if(NOT IS_DIRECTORY ${folder}/${name})
      file(READ ${folder}/${name} content HEX)
      string(SHA1 content "${content}")
    else()
      set(content "folder")
    endif()
    string(APPEND text "${name} ${content}\n")
  endforeach()
  set(${out} "${text}" PARENT_SCOPE)
endfunction()
function(expect_unchanged folder before what)
  listing(${folder} after)
  if(NOT after STREQUAL before)
    set(failures "${failures}\n${what}: the folder changed:\n${before}--\n${after}"
        PARENT_SCOPE)
  endif()
endfunction()

file(MAKE_DIRECTORY ${d}/out.d ${d}/w)
expect(0 "4 kept" mesh clean ${d}/square.node -o ${d}/out.d/site --tolerance 0)
expect(0 "mesh: 4 vertices, 2 triangles.*0 findings" inspect ${d}/out.d/site.1.node)
listing(${d}/w before)
set(example ${DATA_DIR}/../../docs/examples/small-problem.json)

# Every command against every way it can end, as one table: a missing input, an input
# the user may not read, an output that cannot be written (a missing folder for files,
# a full device for standard output), a usage error, a finding and a clean run. Each
# row gives the exit status and the first line of the message: standard error when the
# command wrote to it, standard output otherwise. A case that cannot happen to a
# command is listed with the reason, so that a command or a case added later without
# its rows fails the test.
# row(<command> <case> <status> <first line regex> [AS_USER] [FULL_STDOUT] <arguments>...)
cmake_policy(SET CMP0057 NEW)  # if(IN_LIST)
set(commands providers inspect copy dump roundtrip mesh-clean uid classify plot volume demo)
set(cases missing unreadable unwritable usage finding clean)
set(rows "")
function(row command case status first)
  set(run ${GRAVOK})
  set(args ${ARGN})
  set(to_file "")
  list(GET args 0 word)
  if(word STREQUAL "AS_USER")
    list(POP_FRONT args)
    set(run ${as_user} ${GRAVOK})
    list(GET args 0 word)
  endif()
  if(word STREQUAL "FULL_STDOUT")
    list(POP_FRONT args)
    set(to_file OUTPUT_FILE /dev/full)
  endif()
  execute_process(COMMAND ${run} ${args} RESULT_VARIABLE rc OUTPUT_VARIABLE out
                  ERROR_VARIABLE err ${to_file})
  set(message "${err}")
  if(message STREQUAL "")
    set(message "${out}")
  endif()
  string(REGEX REPLACE "\n.*" "" line "${message}")
  if(NOT rc STREQUAL status OR NOT line MATCHES "^${first}$")
    string(REPLACE ";" " " words "${args}")
    set(failures "${failures}\n${command}, ${case}: gravok ${words}\n  exit ${rc} (wanted ${status})\n  first line: ${line}\n  wanted: ${first}"
        PARENT_SCOPE)
  endif()
  set(rows ${rows} ${command}:${case} PARENT_SCOPE)
endfunction()
function(no_row command case why)
  set(rows ${rows} ${command}:${case} PARENT_SCOPE)
endfunction()

# Inputs the user may not read: as root every file is readable, so the rows run the
# tool as nobody, in a folder only root may change (a plug-in module is loaded from
# nowhere else).
execute_process(COMMAND id -u OUTPUT_VARIABLE uid OUTPUT_STRIP_TRAILING_WHITESPACE)
set(as_user "")
if(uid STREQUAL "0")
  set(as_user setpriv --reuid=65534 --regid=65534 --clear-groups)
endif()
file(CHMOD ${d} PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
     WORLD_READ WORLD_EXECUTE)
file(COPY_FILE ${d}/square.node ${d}/locked.node)
file(COPY_FILE ${d}/square.ele ${d}/locked.ele)
file(COPY_FILE ${d}/square.json ${d}/locked.json)
file(COPY_FILE ${BARE_MODULE} ${d}/locked.so)
foreach(name locked.node locked.json locked.so)
  file(CHMOD ${d}/${name} PERMISSIONS OWNER_WRITE)
endforeach()
set(denied "Permission denied")
set(full "^gravok: cannot write the standard output: No space left on device")
set(nowhere "No such file or directory")
set(plugin_error "gravok: error: cannot load the plug-in module")

row(providers missing 2 "${plugin_error} '${d}/missing.so': .*${nowhere}"
    --plugin ${d}/missing.so providers)
row(providers unreadable 2 "${plugin_error} '${d}/locked.so': .*${denied}"
    AS_USER --plugin ${d}/locked.so providers)
row(providers unwritable 1 "${full}" FULL_STDOUT --no-plugins providers)
row(providers usage 2 "The following argument was not expected: extra" providers extra)
no_row(providers finding "it lists what is registered")
row(providers clean 0 "gravok.node-ele \\(store\\): .*\\[built in\\]" --no-plugins providers)

row(inspect missing 2 "gravok: ${d}/missing.node: ${nowhere}" inspect ${d}/missing.node)
row(inspect unreadable 2 "gravok: ${d}/locked.node: ${denied}" AS_USER inspect ${d}/locked.node)
row(inspect unwritable 1 "${full}" FULL_STDOUT inspect ${d}/square.node)
row(inspect usage 2 "location is required" inspect)
row(inspect finding 1 "{\"location\": \"${d}/unused.node\", \"summary\": .*\"findings\": \\[" inspect --json ${d}/unused.node)
row(inspect clean 0 "units: linear unknown, area unknown, volume unknown" inspect ${d}/square.node)

row(copy missing 2 "gravok: ${d}/missing.json: ${nowhere}" copy ${d}/missing.json ${d}/w/c.json)
row(copy unreadable 2 "gravok: ${d}/locked.json: ${denied}"
    AS_USER copy ${d}/locked.json ${d}/w/c.json)
row(copy unwritable 1 "gravok: cannot write ${d}/w/nodir/site.json: ${nowhere}"
    copy ${d}/square.node ${d}/w/nodir/site.json)
row(copy usage 2 "store is required" copy ${d}/square.node)
row(copy finding 1 "gravok: ${d}/records.node: dropped 2 objectives" copy --strict ${d}/records.json ${d}/records.node)
row(copy clean 0 "" copy --strict ${d}/square.node ${d}/square-copy.json)

row(dump missing 2 "gravok: ${d}/missing.node: ${nowhere}" dump ${d}/missing.node ${d}/w/d.json)
row(dump unreadable 2 "gravok: ${d}/locked.node: ${denied}"
    AS_USER dump ${d}/locked.node ${d}/w/d.json)
row(dump unwritable 1 "gravok: cannot write ${d}/w/nodir/d.json: ${nowhere}"
    dump ${d}/square.node ${d}/w/nodir/d.json)
row(dump usage 2 "file is required" dump ${d}/square.node)
no_row(dump finding "it writes whatever the source answers")
row(dump clean 0 "" dump ${d}/square.node ${d}/square-dump.json)

no_row(roundtrip missing "it reads only what it has written")
no_row(roundtrip unreadable "it reads only what it has written")
row(roundtrip unwritable 1 "gravok: cannot write ${d}/w/nodir/r.json: ${nowhere}"
    roundtrip json:${d}/w/nodir/r.json)
row(roundtrip usage 2 "store is required" roundtrip)
row(roundtrip finding 1 "/hostcad_version: \"roundtrip 1.0\" != \"\"" roundtrip ${d}/roundtrip.node)
row(roundtrip clean 0 "nothing lost" roundtrip json:${d}/roundtrip-clean.json)

row(mesh-clean missing 2 "gravok: ${d}/missing.node: ${nowhere}"
    mesh clean ${d}/missing.node -o ${d}/w/c --tolerance 0)
row(mesh-clean unreadable 2 "gravok: ${d}/locked.json: ${denied}"
    AS_USER mesh clean ${d}/locked.json -o ${d}/w/c --tolerance 0)
row(mesh-clean unwritable 1 "gravok: cannot write ${d}/w/nodir/c.1.node: ${nowhere}"
    mesh clean ${d}/square.node -o ${d}/w/nodir/c --tolerance 0)
row(mesh-clean usage 2 "--tolerance is required" mesh clean ${d}/square.node -o ${d}/w/c)
row(mesh-clean finding 1 "gravok: ${example}: vertex 3: z is NaN or infinite"
    mesh clean ${example} -o ${d}/w/c --tolerance 0)
row(mesh-clean clean 0 "5 vertices: 1 welded, 0 unused, 4 kept; 2 triangles"
    mesh clean ${d}/twice.node -o ${d}/clean --tolerance 0)
expect(0 "mesh: 4 vertices, 2 triangles.*0 findings" inspect ${d}/clean.1.node)

no_row(uid missing "it reads no file")
no_row(uid unreadable "it reads no file")
row(uid unwritable 1 "${full}" FULL_STDOUT uid {ABC})
row(uid usage 2 "text is required" uid)
no_row(uid finding "every text has a uid")
row(uid clean 0 "-7985353356520883703  {ABC}" uid {ABC})

no_row(classify missing "it reads no file")
no_row(classify unreadable "it reads no file")
row(classify unwritable 1 "${full}" FULL_STDOUT classify NorthDrainLine)
row(classify usage 2 "name is required" classify)
row(classify finding 1 "DrainLine  NorthDrainLine" classify NorthDrainLine Nothing)
row(classify clean 0 "DrainLine  NorthDrainLine" classify NorthDrainLine)

row(plot missing 2 "gravok: ${d}/missing.node: ${nowhere}" plot ${d}/missing.node -o ${d}/w/p.svg)
row(plot unreadable 2 "gravok: ${d}/locked.node: ${denied}"
    AS_USER plot ${d}/locked.node -o ${d}/w/p.svg)
row(plot unwritable 1 "gravok: cannot write ${d}/w/nodir/p.png: ${nowhere}"
    plot ${d}/square.node -o ${d}/w/nodir/p.png)
row(plot usage 2 "--output is required" plot ${d}/square.node)
row(plot finding 1 "gravok: the surface has 1 triangles, but none of any area in plan.*"
    plot ${d}/line.node -o ${d}/w/line.svg)
row(plot clean 0 "${d}/square.pdf: 2 triangles drawn, contours every 0.2"
    plot ${d}/square.node -o ${d}/square.pdf)

row(volume missing 2 "gravok: ${d}/missing.node: ${nowhere}" volume ${d}/missing.node ${d}/square.node)
row(volume unreadable 2 "gravok: ${d}/locked.json: ${denied}"
    AS_USER volume ${d}/square.node ${d}/locked.json)
row(volume unwritable 1 "${full}" FULL_STDOUT volume ${d}/flat.node ${d}/square.node)
row(volume usage 2 "top is required" volume ${d}/square.node)
row(volume finding 1 "gravok: .*do not overlap in plan.*" volume ${d}/square.node ${d}/far.node)
row(volume clean 0 "base  ${d}/flat.node \\(2 triangles\\)" volume ${d}/flat.node ${d}/square.node)

no_row(demo missing "it builds its own site")
no_row(demo unreadable "it builds its own site")
row(demo unwritable 1 "gravok: demo: output directory: cannot write ${d}/square.node/demo: Not a directory"
    demo ${d}/square.node/demo --triangles 32)
row(demo usage 2 "--triangles: Value 31 not in range 32 to 100000000"
    demo ${d}/no-demo --triangles 31)
no_row(demo finding "it builds a site of its own, with nothing to find")
row(demo clean 0 "build site: +34 vertices, 32 triangles, .*" demo ${d}/tiny-demo --triangles 32)

foreach(command IN LISTS commands)
  foreach(case IN LISTS cases)
    if(NOT "${command}:${case}" IN_LIST rows)
      set(failures "${failures}\nno row for ${command}, ${case}")
    endif()
  endforeach()
endforeach()
foreach(name locked.node locked.json locked.so)
  file(CHMOD ${d}/${name} PERMISSIONS OWNER_READ OWNER_WRITE)
endforeach()

expect(0 "^$" copy --strict ${example} ${d}/example.json)
expect_unchanged(${d}/w "${before}" "mesh clean and JSON copy")

if(LANDXML_PLUGIN)
  set(lx --plugin ${LANDXML_PLUGIN})
  file(WRITE ${d}/other.xml "<?xml version=\"1.0\"?>\n<svg/>\n")
  expect(2 "^gravok: ${d}/missing.xml: No such file or directory\n$" inspect ${d}/missing.xml ${lx})
  expect(2 "^gravok: ${d}/other.xml: not a LandXML document: the first element is <svg>\n$"
         inspect ${d}/other.xml ${lx})
  expect(2 "other.xml: not a LandXML document.*; it is left as it is"
         copy ${civil} ${d}/other.xml ${lx})
  file(COPY_FILE ${civil} ${d}/w/old.xml)
  listing(${d}/w before)
  expect(1 "^gravok: cannot write ${d}/w/nodir/out.xml: No such file or directory\n$"
         copy ${civil} ${d}/w/nodir/out.xml ${lx})
  expect(1 "^gravok: cannot write ${d}/w/old.xml: surface \"Existing ground\": vertex 3: z is NaN or infinite\n$"
         copy ${example} ${d}/w/old.xml ${lx})
  expect_unchanged(${d}/w "${before}" "LandXML copy")

endif()

# Values that mean nothing are refused; the JSON summary; units of area and volume.
expect(2 "--tolerance: must be at least 0, not -1" inspect ${d}/square.node --tolerance -1)
expect(2 "--tolerance: not a finite number: nan"
       mesh clean ${d}/square.node -o ${d}/w/x --tolerance nan)
expect(2 "--contour: must be above 0, not 0" plot ${d}/square.node -o ${d}/w/c.svg --contour 0)
expect(0 "^\\{\"location\": [^\n]*\"summary\": \\{\"units\": .*\"mesh\": \\{\"vertices\": 4, \"triangles\": 2\\}.*\"findings\": \\[\\]\\}\n$"
       inspect --json ${d}/square.node)
if(LANDXML_PLUGIN)
  expect(0 "area square foot \\(ft²\\), volume cubic yard \\(yd³\\)"
         inspect ${DATA_DIR}/landxml/blender_topo_s2.xml --plugin ${LANDXML_PLUGIN})
  file(WRITE ${d}/no-units.xml "<?xml version=\"1.0\"?>\n<LandXML><Surfaces><Surface name=\"A\"><Definition surfType=\"TIN\"><Pnts><P id=\"1\">0 0 1</P><P id=\"2\">0 1 1</P><P id=\"3\">1 0 1</P></Pnts><Faces><F>1 2 3</F></Faces></Definition></Surface></Surfaces></LandXML>\n")
  expect(0 "units: linear unknown.*gravok: warning: ${d}/no-units.xml:2: no <Units>: the units are unknown\n"
         inspect ${d}/no-units.xml --plugin ${LANDXML_PLUGIN})
endif()

# Every store against every way the system makes a write fail, as one table: a missing
# folder; a read-only folder and a sticky folder (as /tmp is) in which the rename over
# root's file fails, both as the user nobody, since root may write anything; a full
# disk, a tmpfs of 64 KiB filled to its last page (mounting takes root; where it
# cannot mount, the case says so and is left out). Each prints one line, "gravok:
# cannot write PATH: REASON", exits 1 and leaves the folder as it was.
expect(0 "site.json" demo ${d}/big --site-only --triangles 3000)
set(stores json node)
set(store_plugins)
if(LANDXML_PLUGIN)
  list(APPEND stores xml)
  list(APPEND store_plugins --plugin ${LANDXML_PLUGIN})
endif()
if(DXF_PLUGIN)
  list(APPEND stores dxf)
  list(APPEND store_plugins --plugin ${DXF_PLUGIN})
endif()
file(MAKE_DIRECTORY ${d}/full)
execute_process(COMMAND mount -t tmpfs -o size=64k tmpfs ${d}/full RESULT_VARIABLE mounted
                ERROR_VARIABLE mount_error)
if(NOT mounted EQUAL 0)
  message(STATUS "the full disk is not tested: cannot mount a tmpfs here: ${mount_error}")
endif()
if(NOT uid STREQUAL "0")
  message(STATUS "the failing rename is not tested: it takes a file of root's")
endif()
# write_fails(<folder> <reason> [AS_USER]): a copy into <folder>/site.EXT fails.
function(write_fails folder reason)
  set(run ${GRAVOK})
  if(ARGN STREQUAL "AS_USER")
    set(run ${as_user} ${GRAVOK})
  endif()
  listing(${folder} before)
  execute_process(COMMAND ${run} copy ${d}/big/site.json ${folder}/site.${ext} ${store_plugins}
                  RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 1 OR NOT "${out}${err}" STREQUAL "gravok: cannot write ${folder}/site.${ext}: ${reason}\n")
    set(failures "${failures}\n.${ext} into ${folder}: exit ${rc} (wanted 1)\n  ${out}${err}"
        PARENT_SCOPE)
  endif()
  listing(${folder} after)
  if(NOT after STREQUAL before)
    set(failures "${failures}\n.${ext} into ${folder}: the folder changed:\n${before}--\n${after}"
        PARENT_SCOPE)
  endif()
endfunction()
foreach(ext IN LISTS stores)
  set(old_file copy ${d}/square.node site.${ext} ${store_plugins})
  file(MAKE_DIRECTORY ${d}/wf-${ext} ${d}/ro-${ext} ${d}/sticky-${ext})
  write_fails(${d}/wf-${ext}/nodir "No such file or directory")
  execute_process(COMMAND ${GRAVOK} ${old_file} WORKING_DIRECTORY ${d}/ro-${ext}
                    OUTPUT_QUIET ERROR_QUIET)
  file(CHMOD ${d}/ro-${ext} PERMISSIONS OWNER_READ OWNER_EXECUTE WORLD_READ WORLD_EXECUTE)
  write_fails(${d}/ro-${ext} "Permission denied" AS_USER)
  if(uid STREQUAL "0")
    execute_process(COMMAND ${GRAVOK} ${old_file} WORKING_DIRECTORY ${d}/sticky-${ext}
                    OUTPUT_QUIET ERROR_QUIET)
    file(GLOB old ${d}/sticky-${ext}/*)
    execute_process(COMMAND chmod 666 ${old})
    execute_process(COMMAND chmod 1777 ${d}/sticky-${ext})
    write_fails(${d}/sticky-${ext} "Operation not permitted" AS_USER)
  endif()
  if(mounted EQUAL 0)
    file(GLOB old ${d}/full/*)
    if(old)
      file(REMOVE ${old})
    endif()
    execute_process(COMMAND ${GRAVOK} ${old_file} WORKING_DIRECTORY ${d}/full
                    OUTPUT_QUIET ERROR_QUIET)
    string(REPEAT "x" 53000 filler)
    file(WRITE ${d}/full/filler "${filler}")
    write_fails(${d}/full "No space left on device")
  endif()
  file(CHMOD ${d}/ro-${ext} PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
endforeach()
if(mounted EQUAL 0)
  execute_process(COMMAND umount ${d}/full)
endif()

if(failures)
  message(FATAL_ERROR "${failures}")
endif()
