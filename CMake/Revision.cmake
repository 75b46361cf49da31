# orvel_add_revision(TARGET [NAMESPACE]): adds a source to TARGET that defines the build revision, looked up at every build,
# as BuildRevision of that namespace, which is the daemon's unless another is given.
function(orvel_add_revision target)
  set(NAMESPACE OrvelDriver)
  if(ARGC GREATER 1)
    set(NAMESPACE ${ARGV1})
  endif()
  set(SOURCE_DIR ${CMAKE_SOURCE_DIR})
  set(REVISION ${ORVEL_REVISION})
  set(OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/Revision.cpp)
  set(write ${CMAKE_SOURCE_DIR}/CMake/WriteRevision.cmake)
  include(${write}) # here too, so that a tree without a revision fails before anything is compiled
  add_custom_target(${target}Revision
    COMMAND ${CMAKE_COMMAND} -DSOURCE_DIR=${SOURCE_DIR} -DREVISION=${REVISION} -DNAMESPACE=${NAMESPACE} -DOUTPUT=${OUTPUT}
            -P ${write}
    BYPRODUCTS ${OUTPUT}
    VERBATIM)
  target_sources(${target} PRIVATE ${OUTPUT})
  add_dependencies(${target} ${target}Revision)
endfunction()
