# PROGRAM_DIRECTORY: where the programs of this build are started from.
#
# In a cross build with an emulator that is a folder of launchers, one for each program, which hand it
# to the emulator: whatever starts a program by its path need not know, and the kernel need not either.
set(PROGRAM_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
if(CMAKE_CROSSCOMPILING_EMULATOR)
    set(PROGRAM_DIRECTORY ${CMAKE_BINARY_DIR}/launch)
    list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " emulator)
    foreach(program CertificateService certificatectl certificateweb certificate-backend-check)
        file(WRITE ${PROGRAM_DIRECTORY}/${program}
            "#!/bin/sh\nexec ${emulator} ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${program} \"$@\"\n")
        file(CHMOD ${PROGRAM_DIRECTORY}/${program} PERMISSIONS
            OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
    endforeach()
endif()
