# Steps of a run, and its summary: the seconds of each step, and skipped steps. Sourced by the other scripts
# of this directory, in the root of the clone.
step_name=
step_start=0
summary=

end_step() {
    [ -z "$step_name" ] ||
        summary+=$(printf '%5d s  %s' $((SECONDS - step_start)) "$step_name")$'\n'
}

# step NAME: starts a step and ends the previous one.
step() {
    end_step
    step_name=$*
    step_start=$SECONDS
    printf '\n== %s\n' "$step_name"
}

skip() {
    echo "skipped: $1"
    step_name+=" (skipped: $1)"
}

# or_skip REASON COMMAND...: runs the command; its status 77 means that it cannot run here.
or_skip() {
    local status=0
    "${@:2}" || status=$?
    case $status in
    0) ;;
    77) skip "$1" ;;
    *) exit "$status" ;;
    esac
}

# build_and_test PRESET [OPTION OF ctest...]
build_and_test() {
    cmake --preset "$1" >/dev/null
    cmake --build --preset "$1"
    ctest --preset "$1" -j "$(nproc)" "${@:2}"
}

finish() {
    local status=$?
    end_step
    printf '\n%s%5d s  in total\n' "$summary" "$SECONDS"
    [ "$status" = 0 ] || echo "FAILED in the last step"
}
trap finish EXIT

export TSH_WARNINGS_AS_ERRORS=ON TSH_UNITY_BUILD=ON
# Presets share objects with the same flags.
export CCACHE_DIR=$PWD/build/ccache CCACHE_BASEDIR=$PWD
export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
