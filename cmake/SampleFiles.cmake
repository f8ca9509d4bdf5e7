# Sets sample_files to a source with some files word for word: those of examples/site are in the program, so that it can
# make a site wherever it is, and so is the page that it serves.
set(sample_files ${CMAKE_CURRENT_BINARY_DIR}/SampleFiles.cpp)
set(content "#include \"SampleFiles.h\"\n\nnamespace vqloan::client::files {\n")
foreach(entry settings:examples/site/SvrDisp.ini parameters:examples/site/CLIENT.PAR schema:examples/site/schema.sql
              page:client/http/page.html)
  string(REGEX MATCH "^([a-z]+):(.+)$" matched ${entry})
  set(name ${CMAKE_MATCH_1})
  set(file ${PROJECT_SOURCE_DIR}/${CMAKE_MATCH_2})
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
  file(SIZE ${file} size)
  file(READ ${file} bytes HEX)
  string(REGEX REPLACE "(..)" "\\\\x\\1" bytes ${bytes})
  string(APPEND content "const std::string_view ${name}(\"${bytes}\", ${size});\n")
endforeach()
file(GENERATE OUTPUT ${sample_files} CONTENT "${content}}\n")
