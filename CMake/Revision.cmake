# orvel_add_revision(TARGET [NAMESPACE]): adds a source to TARGET that defines the build revision, looked up at every build,
# as BuildRevision of that namespace, which is the daemon's unless another is given.
function(orvel_add_revision target)
  set(namespace ${ARGV1})
  if(NOT namespace)
    set(namespace OrvelDriver)
  endif()
  set(output ${CMAKE_CURRENT_BINARY_DIR}/Revision.cpp)
  add_custom_target(${target}Revision
    COMMAND ${CMAKE_COMMAND} -DSOURCE_DIR=${CMAKE_SOURCE_DIR} -DREVISION=${ORVEL_REVISION} -DNAMESPACE=${namespace} -DOUTPUT=${output}
            -P ${CMAKE_SOURCE_DIR}/CMake/WriteRevision.cmake
    BYPRODUCTS ${output}
    VERBATIM)
  target_sources(${target} PRIVATE ${output})
  add_dependencies(${target} ${target}Revision)
endfunction()
