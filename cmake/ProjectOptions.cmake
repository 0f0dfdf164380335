# Compiler and linker settings shared by every target: link project_options privately.
add_library(project_options INTERFACE)
target_include_directories(project_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(project_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wformat=2 -Wcast-qual
    -Wnon-virtual-dtor -Woverloaded-virtual -Wundef
    -fstack-protector-strong -ffunction-sections -fdata-sections)
target_link_options(project_options INTERFACE
    -Wl,--gc-sections -Wl,--as-needed -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)

# What a board runs holds no path of the machine that built it: sources are named from the build folder,
# as ccache names them too.
file(RELATIVE_PATH source_name ${CMAKE_BINARY_DIR} ${PROJECT_SOURCE_DIR})
string(REGEX REPLACE "/$" "" source_name "${source_name}")
if(NOT source_name MATCHES "^[./]+$")
    set(source_name .)
endif()
target_compile_options(project_options INTERFACE
    $<$<CONFIG:Release>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=${source_name}>)

# GCC 12 sees an overlap in std::string's own concatenation when it optimises.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(project_options INTERFACE -Wno-restrict)
endif()

if(NOT SANITIZE STREQUAL "")
    # With a sanitizer's own code in between, GCC takes std::regex for uninitialised.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        target_compile_options(project_options INTERFACE -Wno-maybe-uninitialized)
    endif()
    target_compile_options(project_options INTERFACE
        -fsanitize=${SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(project_options INTERFACE -fsanitize=${SANITIZE})
else()
    include(FortifySource)
    add_fortify_source(project_options)
endif()

if(COVERAGE)
    target_compile_options(project_options INTERFACE --coverage -fprofile-update=atomic)
    target_link_options(project_options INTERFACE --coverage)
endif()

# compile_for_size(TARGET): code that waits for the server between any two steps, and whose own
# steps cost nothing beside that.
function(compile_for_size target)
    target_compile_options(${target} PRIVATE $<$<CONFIG:Release,RelWithDebInfo>:-Os>)
endfunction()
