# Everything the build takes from the distribution.
find_package(Threads REQUIRED)
find_package(nlohmann_json 3.11 REQUIRED)
find_package(OpenSSL 3.0 REQUIRED)

find_path(HIREDIS_INCLUDE_DIR hiredis/hiredis.h REQUIRED)
find_library(HIREDIS_LIBRARY hiredis REQUIRED)
add_library(hiredis UNKNOWN IMPORTED)
set_target_properties(hiredis PROPERTIES
    IMPORTED_LOCATION ${HIREDIS_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${HIREDIS_INCLUDE_DIR})
