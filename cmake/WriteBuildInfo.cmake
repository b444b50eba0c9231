# Writes OUTPUT, the source of system/build_info.h, from the checkout at SOURCE_DIR.
#
# Without SOURCE_DATE_EPOCH the date is that of the first build of the present state: a build in
# which neither the commit nor the list of changed files is new leaves the file alone.
set(commit "")
if(GIT AND EXISTS ${SOURCE_DIR}/.git)
    execute_process(
        COMMAND ${GIT} -C ${SOURCE_DIR} rev-parse HEAD
        OUTPUT_VARIABLE commit OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE failed)
    if(failed)
        set(commit "")
    endif()
endif()

if(commit STREQUAL "")
    set(commit "unknown")
else()
    execute_process(
        COMMAND ${GIT} --no-optional-locks -C ${SOURCE_DIR} status --porcelain
        OUTPUT_VARIABLE changes OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    string(REPLACE "\n" ", " changes "${changes}")
    if(NOT changes STREQUAL "")
        string(APPEND commit ", dirty: ${changes}")
    endif()
endif()
string(REPLACE "\\" "\\\\" commit "${commit}")
string(REPLACE "\"" "\\\"" commit "${commit}")

# TIMESTAMP takes the date from SOURCE_DATE_EPOCH itself when that is set.
string(TIMESTAMP date "%Y-%m-%dT%H:%M:%SZ" UTC)

set(head "#include \"system/build_info.h\"\n\nconst char* GetCommitHash() {\n    return \"${commit}\";\n}\n")
set(text "${head}\nconst char* GetBuildDate() {\n    return \"${date}\";\n}\n")

if(EXISTS ${OUTPUT})
    file(READ ${OUTPUT} old)
    string(FIND "${old}" "${head}" sameState)
    if(old STREQUAL text OR (sameState EQUAL 0 AND NOT DEFINED ENV{SOURCE_DATE_EPOCH}))
        return()
    endif()
endif()
file(WRITE ${OUTPUT} "${text}")
