# Writes OUTPUT, which defines BuildRevision of NAMESPACE: the full hash of HEAD of the git checkout SOURCE_DIR, or outside a checkout the given REVISION.
set(hash "")
find_program(git git)
if(git)
  # The checkout may belong to another user than the one who builds, and may lie inside another checkout.
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
string(LENGTH "${hash}" length)
if(NOT length EQUAL 40 OR NOT hash MATCHES "^[0-9a-f]+$")
  message(FATAL_ERROR
    "Cannot tell the build revision: git is not installed, or ${SOURCE_DIR} is not a checkout with a commit, and ORVEL_REVISION is not a hash "
    "of 40 lower-case hexadecimal digits. Configure with -DORVEL_REVISION=HASH.")
endif()

string(CONCAT text
  "namespace ${NAMESPACE}\n{\n\n"
  "extern const char* const BuildRevision;\nconst char* const BuildRevision = \"${hash}\";\n\n"
  "} // namespace ${NAMESPACE}\n")
if(EXISTS ${OUTPUT})
  file(READ ${OUTPUT} written)
endif()
if(NOT text STREQUAL "${written}")
  file(WRITE ${OUTPUT} "${text}")
endif()
