# Somebody else's project, the template of a backend, finds what is installed, and builds a backend: it
# does nothing yet, but no harm either, and the daemon takes it in the place of the reference library.
. "$(dirname "$0")/expect.sh"
. scripts/lib.sh

cmake --install "$build" --component dev --prefix "$work/usr" >"$work/log"
cached() {
    sed -n "s/^$1:[A-Z]*=//p" "$build/CMakeCache.txt"
}
cmake -S "$work/usr/share/certificate-service/backend_template" -B "$work/build" -G Ninja \
    -DCMAKE_PREFIX_PATH="$work/usr" -DCMAKE_CXX_FLAGS=-Werror \
    -DCMAKE_TOOLCHAIN_FILE="$(cached CMAKE_TOOLCHAIN_FILE)" >"$work/log" 2>&1 &&
    cmake --build "$work/build" >>"$work/log" 2>&1 || fail "$(cat "$work/log")"

library=$work/build/libcertificate_backend.so.1
dynamic=$(readelf -d "$library")
[[ $dynamic == *"soname: [libcertificate_backend.so.1]"* ]] || fail "$dynamic"
symbols=$("$(cached CMAKE_NM)" -D --defined-only --demangle "$library" |
    sed 's/^[^ ]* T //; s/(.*//' | sort | tr '\n' ' ')
handlers="createCertificateHandler deleteCertificateHandler generateCSRHandler replaceCertificateHandler "
[ "$symbols" = "$handlers" ] || fail "the backend exports: $symbols"

# The folder must be seen in the sandbox.
export SANDBOX_WRITABLE=$work
check() {
    scripts/sandbox "$(programs_of "$build")/certificate-backend-check" "$library" "$@"
}
expect 0 "3 checks: 3 passed, 0 with faults, 0 with notes" check --only "parameters of signing requests do no harm"
expect 1 "200 was expected, not code 500 with Base.1.9.InternalError" check --only "is installed"

LD_LIBRARY_PATH=$work/build expect 1 "Base.1.9.InternalError" scripts/shell --build "$build" \
    certificatectl create /redfish/v1/Managers/1/NetworkProtocol/HTTPS/Certificates server.pem

command -v pkg-config >/dev/null || exit 0
export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$(find "$work/usr" -name certificate-service.pc)")
flags=$(pkg-config --define-variable=prefix="$work/usr" --cflags certificate-service)
[ "${flags% }" = "-I$work/usr/include/certificate-service" ] || fail "pkg-config says $flags"
