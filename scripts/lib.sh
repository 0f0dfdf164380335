# What the commands of this folder share. To be sourced in the root of the repository.

launcher=()
if command -v ccache >/dev/null; then
    launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
    # What was compiled in one clone serves the next one, wherever it lies.
    export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
fi

# build_preset PRESET NAME TARGET...: quietly; the messages are in build/NAME-build.log and shown on
# failure.
build_preset() {
    local preset=$1 log=build/$2-build.log
    shift 2
    mkdir -p build
    printf 'Building the preset %s (build/%s, messages in %s) ...\n' "$preset" "$preset" "$log"
    {
        cmake --preset "$preset" "${launcher[@]}" &&
            cmake --build --preset "$preset" --parallel "$(nproc)" --target "$@"
    } >"$log" 2>&1 || {
        tail -n 40 "$log" >&2
        printf 'The build failed; all of its messages are in %s.\n' "$log" >&2
        exit 1
    }
}

# programs_of BUILD: the folder that programs of a build folder are started from. What was built for
# another machine has launchers, which call the emulator.
programs_of() {
    if [ -d "$1/launch" ]; then
        printf '%s/launch' "$1"
    else
        printf '%s/bin' "$1"
    fi
}
