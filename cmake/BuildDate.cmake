# BUILD_DATE: the moment that the build carries, in seconds since 1970: SOURCE_DATE_EPOCH from the
# environment, else the commit's time, else now. The same commit gives the same bytes.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
    find_program(GIT git)
    if(GIT)
        execute_process(COMMAND ${GIT} -C ${PROJECT_SOURCE_DIR} log -1 --format=%ct
            OUTPUT_VARIABLE BUILD_DATE OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    endif()
endif()
if(NOT BUILD_DATE MATCHES "^[0-9]+$")
    string(TIMESTAMP BUILD_DATE "%s" UTC)
endif()
