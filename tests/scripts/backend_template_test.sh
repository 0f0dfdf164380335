# The template of a backend builds by its own CMakeLists.txt, and is a backend: it does nothing yet, but
# no harm either.
. "$(dirname "$0")/expect.sh"

cmake -S packaging/backend_template -B "$work/build" -G Ninja \
    -DCERTIFICATE_SERVICE_INCLUDE_DIR="$root" -DCMAKE_CXX_FLAGS=-Werror >"$work/log" 2>&1 &&
    cmake --build "$work/build" >>"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
library=$work/build/libcertificate_backend.so.1
export SANDBOX_WRITABLE=$work
check() {
    scripts/sandbox "$build/bin/certificate-backend-check" "$library" "$@"
}
expect 0 "3 checks: 3 passed, 0 with faults, 0 with notes" check --only "parameters of signing requests do no harm"
expect 1 "200 was expected, not code 500 with Base.1.9.InternalError" check --only "is installed"
