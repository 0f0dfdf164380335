# _FORTIFY_SOURCE, where the compiler optimises and nobody else defines it: neither the compiler by
# itself nor the flags from outside (CXXFLAGS, CMAKE_CXX_FLAGS). Two definitions would be an error.
include(CheckCXXSourceCompiles)

# add_fortify_source(TARGET): for whatever links the interface library TARGET.
function(add_fortify_source target)
    set(configurations ${CMAKE_BUILD_TYPE} ${CMAKE_CONFIGURATION_TYPES})
    set(CMAKE_REQUIRED_QUIET ON)
    set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
    foreach(CMAKE_TRY_COMPILE_CONFIGURATION IN LISTS configurations)
        # The flags may have changed since the last time.
        unset(fortify_source_is_free CACHE)
        check_cxx_source_compiles([[
            #if defined _FORTIFY_SOURCE || !defined __OPTIMIZE__
            #error
            #endif
            int main() {}
        ]] fortify_source_is_free)
        if(fortify_source_is_free)
            target_compile_definitions(${target} INTERFACE
                $<$<CONFIG:${CMAKE_TRY_COMPILE_CONFIGURATION}>:_FORTIFY_SOURCE=2>)
        endif()
    endforeach()
endfunction()
