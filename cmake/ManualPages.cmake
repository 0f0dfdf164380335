# Files that are installed compressed, the same bytes every time.
find_program(GZIP gzip REQUIRED)

# compress_file(FROM TO): TO.gz in the current build folder.
function(compress_file from to)
    execute_process(COMMAND ${GZIP} -9nc ${from}
        OUTPUT_FILE ${CMAKE_CURRENT_BINARY_DIR}/${to}.gz COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# install_manual_page(FILE COMPONENT): a page of the current source folder, such as certificatectl.1.
function(install_manual_page file component)
    compress_file(${CMAKE_CURRENT_SOURCE_DIR}/${file} ${file})
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
    string(REGEX REPLACE ".*\\." "" section ${file})
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${file}.gz
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT ${component})
endfunction()
