# Writes OUTPUT, which defines BuildRevision of NAMESPACE. In a git checkout it is the full hash of HEAD of SOURCE_DIR; elsewhere
# it is the given REVISION, or else the hash of the commit from which `git archive` made SOURCE_DIR.
set(hash "")
find_program(git git NO_CACHE)
if(git)
  # The checkout may belong to a different user, and may lie inside another checkout.
  execute_process(
    COMMAND ${git} -c safe.directory=* -C ${SOURCE_DIR} rev-parse --show-toplevel HEAD
    OUTPUT_VARIABLE answer ERROR_QUIET RESULT_VARIABLE status OUTPUT_STRIP_TRAILING_WHITESPACE)
  file(REAL_PATH ${SOURCE_DIR} source_dir)
  if(status EQUAL 0 AND answer MATCHES "^(.*)\n([0-9a-f]+)$" AND CMAKE_MATCH_1 STREQUAL source_dir)
    set(hash ${CMAKE_MATCH_2})
  endif()
endif()
if(hash STREQUAL "")
  set(hash "${REVISION}")
endif()
if(hash STREQUAL "")
  file(STRINGS ${SOURCE_DIR}/CMake/ArchivedRevision hash LIMIT_COUNT 1)
endif()
string(LENGTH "${hash}" length)
if(NOT length EQUAL 40 OR NOT hash MATCHES "^[0-9a-f]+$")
  # The leading blank keeps the message in one line.
  message(FATAL_ERROR " No revision, as this is no git checkout and no archive of one, or git is missing: "
    "configure with -DORVEL_REVISION= and the 40 hexadecimal digits of the commit.")
endif()

string(CONCAT text
  "namespace ${NAMESPACE}\n{\n\n"
  "extern const char* const BuildRevision;\nconst char* const BuildRevision = \"${hash}\";\n\n"
  "} // namespace ${NAMESPACE}\n")
set(written "")
if(EXISTS ${OUTPUT})
  file(READ ${OUTPUT} written)
endif()
if(NOT text STREQUAL written)
  file(WRITE ${OUTPUT} "${text}")
endif()
