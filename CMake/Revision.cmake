# orvel_add_revision(TARGET): adds a source to TARGET that defines the build revision, looked up at every build.
function(orvel_add_revision target)
  set(output ${CMAKE_CURRENT_BINARY_DIR}/Revision.cpp)
  add_custom_target(${target}Revision
    COMMAND ${CMAKE_COMMAND} -DSOURCE_DIR=${CMAKE_SOURCE_DIR} -DREVISION=${ORVEL_REVISION} -DOUTPUT=${output}
            -P ${CMAKE_SOURCE_DIR}/CMake/WriteRevision.cmake
    BYPRODUCTS ${output}
    VERBATIM)
  target_sources(${target} PRIVATE ${output})
  add_dependencies(${target} ${target}Revision)
endfunction()
