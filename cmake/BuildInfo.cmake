# Gives a target the implementation of system/build_info.h. The script runs with every build, but
# touches the source only when its content changes.
find_package(Git QUIET)

function(qorvs_add_build_info target)
    set(output ${CMAKE_BINARY_DIR}/generated/build_info.cpp)
    add_custom_target(qorvs_build_info
        COMMAND ${CMAKE_COMMAND}
            -DOUTPUT=${output} -DSOURCE_DIR=${CMAKE_SOURCE_DIR} -DGIT=${GIT_EXECUTABLE}
            -P ${CMAKE_SOURCE_DIR}/cmake/WriteBuildInfo.cmake
        BYPRODUCTS ${output}
        COMMENT "Checking the commit identifier"
        VERBATIM)
    target_sources(${target} PRIVATE ${output})
    add_dependencies(${target} qorvs_build_info)
endfunction()
