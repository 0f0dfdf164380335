# What the environment decides stays as it is: flags, definitions, libraries.
. "$(dirname "$0")/expect.sh"

# settings OPTION...: those of the daemon's first file in a fresh build folder, with cmake's OPTIONs
settings() {
    rm -rf "$work/build"
    cmake -S . -B "$work/build" -G Ninja -DBUILD_TESTING=OFF "$@" >"$work/log" 2>&1 || {
        cat "$work/log"
        return 1
    }
    ninja -C "$work/build" -t commands CertificateService |
        sed -n '/ -c [^ ]*\/core\/daemon\/main.cpp/ s/ /\n/gp' |
        grep -E -e '^-(D_FORTIFY_SOURCE=.*|O.*|g|Werror)$' | sort | tr '\n' ' '
}

# expect_settings WANTED OPTION...
expect_settings() {
    local wanted=$1 seen
    shift
    seen=$(settings "$@")
    [ "$seen" = "$wanted" ] || fail "with \"$*\": \"$seen\", not \"$wanted\""
}

unset CXXFLAGS
expect_settings "-D_FORTIFY_SOURCE=2 -O3 "
expect_settings "-g " -DCMAKE_BUILD_TYPE=Debug
expect_settings "-D_FORTIFY_SOURCE=2 -O2 -Werror " --preset release -B "$work/build"
expect_settings "-D_FORTIFY_SOURCE=3 -O3 " -DCMAKE_CXX_FLAGS=-D_FORTIFY_SOURCE=3
CXXFLAGS="-O2 -D_FORTIFY_SOURCE=3" \
    expect_settings "-D_FORTIFY_SOURCE=3 -O2 " -DCMAKE_BUILD_TYPE=None

mkdir -p "$work/old/hiredis"
printf '#define HIREDIS_%s\n' "MAJOR 0" "MINOR 13" "PATCH 3" >"$work/old/hiredis/hiredis.h"
expect 1 "hiredis 0.14 or later is needed" settings -DHIREDIS_INCLUDE_DIR="$work/old"
