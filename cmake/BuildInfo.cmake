# Writes the build information: cmake -DSOURCE_DIR=... -DBASE_VERSION=... -DTEMPLATE=... -DOUTPUT=...
# -P BuildInfo.cmake. SOURCE_DATE_EPOCH, when set, stands for the time of the build.
function(git_output variable)
    execute_process(
        COMMAND git ${ARGN}
        WORKING_DIRECTORY ${SOURCE_DIR}
        OUTPUT_VARIABLE output
        OUTPUT_STRIP_TRAILING_WHITESPACE
        ERROR_QUIET
        RESULT_VARIABLE result)
    if(NOT result EQUAL 0 OR path_in_repository)
        set(output "")
    endif()
    set(${variable} "${output}" PARENT_SCOPE)
endfunction()

string(TIMESTAMP PINPAD_BUILD_DATE "%Y-%m-%d %H:%M:%S UTC" UTC)

# Sources that lie inside another project's repository have no revision of their own.
git_output(path_in_repository rev-parse --show-prefix)

git_output(PINPAD_REVISION rev-parse --verify HEAD)
if(NOT PINPAD_REVISION MATCHES "^[0-9a-f]+$")
    set(PINPAD_REVISION "0000000000000000000000000000000000000000")
endif()

# Changes since the release of this version; since the beginning while it has none.
git_output(changes rev-list --count v${BASE_VERSION}..HEAD)
if(changes STREQUAL "")
    git_output(changes rev-list --count HEAD)
endif()
if(changes STREQUAL "")
    set(changes 0)
endif()
string(SUBSTRING ${PINPAD_REVISION} 0 7 short_revision)
set(PINPAD_VERSION "${BASE_VERSION}-${changes}-g${short_revision}")

configure_file(${TEMPLATE} ${OUTPUT} @ONLY)
