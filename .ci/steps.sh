# Steps of a run, and its summary: the seconds that each step took, and what was skipped. Sourced by
# the scripts beside it, in the root of the clone.
step_name=
step_start=0
summary=

end_step() {
    [ -z "$step_name" ] ||
        summary+=$(printf '%5d s  %s' $((SECONDS - step_start)) "$step_name")$'\n'
}

# step NAME: ends the step before.
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

# or_skip REASON COMMAND...: status 77 of the command means that it cannot run here.
or_skip() {
    local status=0
    "${@:2}" || status=$?
    case $status in
    0) ;;
    77) skip "$1" ;;
    *) exit "$status" ;;
    esac
}

# build_and_test PRESET
build_and_test() {
    cmake --preset "$1" >/dev/null
    cmake --build --preset "$1"
    ctest --preset "$1" -j "$(nproc)"
}

finish() {
    local status=$?
    end_step
    printf '\n%s%5d s  in total\n' "$summary" "$SECONDS"
    [ "$status" = 0 ] || echo "FAILED in the last step"
}
trap finish EXIT

export TSH_WARNINGS_AS_ERRORS=ON
# Presets share objects that have the same flags.
export CCACHE_DIR=$PWD/build/ccache CCACHE_BASEDIR=$PWD
export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
