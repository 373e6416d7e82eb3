#!/usr/bin/env bash
# Compares --help, man page and completion of each program: man_test.sh SOURCE PROGRAM... Each program has a
# page, a completion and a column of doc/faults.md. For programs with --help, its options must equal those under OPTIONS and those of
# the completion; the checks of --list-checks must equal those under CHECKS, and the types of --list-types
# those under PARAMETER TYPES.
set -euo pipefail
source=$1
shift

# section PAGE NAME: prints the lines of the section.
section() {
    sed -nE "/^\.SH $2\$/,/^\.SH/{/^\.SH/d;s/\\\\-/-/g;s/\\\\\\(aq/'/g;p}" "$1"
}

status=0
same() { # same WHAT ONE OTHER
    diff <(printf '%s\n' "$2") <(printf '%s\n' "$3") && return
    echo "differs: $1"
    status=1
}

# completed PROGRAM WORD BEFORE: prints the completions, sorted.
completed() {
    . "$source/share/bash-completion/completions/ocmd"
    _ocmd "$@" || true # compopt works on command lines only
    printf '%s\n' "${COMPREPLY[@]}" | sort
}

tools=$(dirname "$1")
cd "$source/examples" # whose only directory is "switch"
same "kinds of files" $'main\nsubtrees' "$(completed "$tools/ocmd_show" = --kind)"
same "forms of functions" c "$(completed "$tools/ocmd_show" = --functions)"
same "files to show the functions of" switch/ "$(completed "$tools/ocmd_show" sw --functions)"
same "byte orders" "little" "$(COMP_WORDS=(ocmd_show --byte-order = l) COMP_CWORD=3 &&
    completed "$tools/ocmd_show" l =)"
same "saved configurations" "resolve.c" "$(completed "$tools/ocmd_find" re --config)"
same "directories" "switch" "$(completed "$tools/ocmd_link" '' -p)"

for tool in "$@"; do
    name=${tool##*/}
    page=$source/doc/man/$name.1
    same "name in $page" "$name" "$(section "$page" NAME | cut -d ' ' -f 1)"
    same "completion of $name" "complete -F _ocmd $name" \
        "$(. "$source/share/bash-completion/completions/ocmd" && complete -p "$name")"
    same "column of $name" "$name" "$(grep '^| Kind' "$source/doc/faults.md" | grep -ow "$name")"
    [ "$name" = ocmd_gen ] && continue
    options=$("$tool" --help | grep -oE '^ +(-., )?--[a-z-]+' | grep -oE -- '-[A-Za-z-]+' | sort)
    same "options of $tool and $page" "$options" \
        "$(section "$page" OPTIONS | awk 'term {print} {term = /^\.TP/}' |
            grep -oE -- '(^|[^A-Za-z-])--?[A-Za-z][a-z-]*' | grep -oE -- '-.*' | sort)"
    same "options of $tool and the completion" "$(grep -- -- <<<"$options")" \
        "$(completed "$tool" -- "$tool")"
    grep -q -- --list-types <<<"$options" && same "types of $tool and $page" \
        "$("$tool" --list-types)" "$(section "$page" "PARAMETER TYPES" | grep -P '\t')"
    grep -q -- --list-checks <<<"$options" || continue
    same "checks of $tool and $page" "$("$tool" --list-checks)" \
        "$(section "$page" CHECKS | awk -F'"' '
            function tell() { if (name) printf "%s\t%s\t%s\t%s\n", name, level, needs, finds }
            /^\.TP/ { tell(); name = needs = finds = "" }
            /^\.BR/ { split($1, words, " "); name = words[2]; level = $2; gsub(/[ ()]/, "", level) }
            /^Needs: / { needs = substr($0, 8, length($0) - 8); next }
            /^[^.]/ { finds = finds (finds ? " " : "") $0 }
            END { tell() }')"
done
exit $status
