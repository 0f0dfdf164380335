# Everything the build takes from the distribution.
find_package(Threads REQUIRED)
find_package(nlohmann_json 3.11 REQUIRED)
find_package(OpenSSL 3.0 REQUIRED)

find_path(HIREDIS_INCLUDE_DIR hiredis/hiredis.h REQUIRED)
find_library(HIREDIS_LIBRARY hiredis REQUIRED)
# The version stands in the header: hiredis's own CMake package is younger than what is needed, and
# its pkg-config file would answer for another folder than the header found.
file(STRINGS ${HIREDIS_INCLUDE_DIR}/hiredis/hiredis.h hiredis_version
    REGEX "^#define HIREDIS_(MAJOR|MINOR|PATCH) +[0-9]+$")
list(TRANSFORM hiredis_version REPLACE "^[^0-9]+" "")
list(JOIN hiredis_version "." hiredis_version)
# Before 0.14 a reply's length is an int, and long texts are cut.
if(hiredis_version VERSION_LESS 0.14)
    message(FATAL_ERROR "hiredis 0.14 or later is needed (earlier ones cut long replies); "
        "${HIREDIS_INCLUDE_DIR}/hiredis/hiredis.h is version \"${hiredis_version}\"")
endif()
message(STATUS "Found hiredis ${hiredis_version}: ${HIREDIS_LIBRARY}")
add_library(hiredis UNKNOWN IMPORTED)
set_target_properties(hiredis PROPERTIES
    IMPORTED_LOCATION ${HIREDIS_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${HIREDIS_INCLUDE_DIR})
