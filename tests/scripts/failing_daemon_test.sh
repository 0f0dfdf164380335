# A daemon that cannot start shows why: in the demo, which ends there, and in the shell.
. "$(dirname "$0")/expect.sh"
. scripts/lib.sh

: >"$work/libcertificate_backend.so.1"
export LD_LIBRARY_PATH=$work SANDBOX_WRITABLE=$work
expect 1 "libcertificate_backend.so.1: file too short" scripts/sandbox scripts/demo-steps \
    "$(programs_of "$build")"
expect 1 "libcertificate_backend.so.1: file too short" scripts/shell --build "$build" true
