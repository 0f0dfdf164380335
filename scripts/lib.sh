# What the commands of this folder share. To be sourced in the root of the repository.

launcher=()
if command -v ccache >/dev/null; then
    launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    # What was compiled in one clone serves the next one, wherever it lies.
    export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
fi

# build_release NAME TARGET...: quietly; the messages are in build/NAME-build.log and shown on failure.
build_release() {
    local log=build/$1-build.log
    shift
    mkdir -p build
    printf 'Building the release (build/release, messages in %s) ...\n' "$log"
    {
        cmake --preset release "${launcher[@]}" &&
            cmake --build --preset release --parallel "$(nproc)" --target "$@"
    } >"$log" 2>&1 || {
        tail -n 40 "$log" >&2
        printf 'The build failed; all of its messages are in %s.\n' "$log" >&2
        exit 1
    }
}
