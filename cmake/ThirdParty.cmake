# QuickJS and miniz: an installed copy when there is one, otherwise built from fetched sources as
# static objects whose symbols stay inside the shared object.
find_package(QuickJS QUIET)
find_package(miniz QUIET)

# Sets `directory` to the folder with the sources of `name`, fetched at the first call.
function(qorvs_fetch name directory)
    message(STATUS "${name} is not installed: using its sources (fetched once, kept for all builds)")
    execute_process(
        COMMAND ${CMAKE_SOURCE_DIR}/scripts/fetch_third_party.sh ${name}
        OUTPUT_VARIABLE folder OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE failed)
    if(failed)
        message(FATAL_ERROR
            "The sources of ${name} could not be fetched (see above). Install ${name}, or run "
            "scripts/fetch_third_party.sh ${name} where Debian's archive can be reached; it prints "
            "the folder to copy.")
    endif()
    message(STATUS "Sources of ${name}: ${folder}")
    set(${directory} ${folder} PARENT_SCOPE)
endfunction()

# Builds the static library `name`::`name` from `ARGN`, files in `directory`.
function(qorvs_add_third_party name directory)
    string(TOLOWER qorvs_${name} target)
    list(TRANSFORM ARGN PREPEND ${directory}/)
    add_library(${target} STATIC EXCLUDE_FROM_ALL ${ARGN})
    add_library(${name}::${name} ALIAS ${target})
    set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON C_VISIBILITY_PRESET hidden)
    target_include_directories(${target} SYSTEM INTERFACE ${directory})
    target_compile_options(${target} PRIVATE -w -ffile-prefix-map=${directory}=${name})
endfunction()

if(NOT TARGET miniz::miniz)
    qorvs_fetch(miniz directory)
    qorvs_add_third_party(miniz ${directory} miniz.c)
    target_compile_definitions(qorvs_miniz PRIVATE _LARGEFILE64_SOURCE)
endif()

if(NOT TARGET QuickJS::QuickJS)
    qorvs_fetch(quickjs directory)
    qorvs_add_third_party(QuickJS ${directory}
        quickjs.c cutils.c libregexp.c libunicode.c dtoa.c)
    file(STRINGS ${directory}/VERSION version LIMIT_COUNT 1)
    target_compile_definitions(qorvs_quickjs PRIVATE _GNU_SOURCE CONFIG_VERSION="${version}")
    target_link_libraries(qorvs_quickjs PUBLIC m Threads::Threads ${CMAKE_DL_LIBS})
endif()
