#!/usr/bin/env bash
# Runs every program at the limits of a tree and measures the growth of time and memory:
# scale.sh BUILD [PLOT.svg [SCRATCH]]. Prints the tables of doc/speed.md and draws doc/scale.svg.
# Times and memory are medians over the rounds; the memory of a pipe is that of its first program.
# Exits if a run has an unexpected status. The scratch directory needs up to 7 GB and is in memory by
# default, so that no disk is measured.
set -euo pipefail
build=$(realpath "$1")
plot=${2:+$(realpath "$2")}
bench=$(realpath "$(dirname "$0")")
"$bench/../scripts/install-packages.sh" time gnuplot-nox
ROUNDS=${ROUNDS:-3}
. "$bench/rounds.sh"
scratch=$(mktemp -d "${3:-/dev/shm}/scale-XXXXXX")
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"
for tool in compile show diff find; do
    declare "$tool=$build/bin/ocmd_$tool"
done
link=$build/bin/ocmd_link
utility=$build/bin/ocmd_gen
tree=$build/bench/make_tree

# ---- Runs and their figures ----

# [status=STATUS] run COMMAND [SINK]: runs the command once per round and stores elapsed milliseconds,
# CPU milliseconds and maximum resident KB.
run() {
    local TIMEFORMAT='%R %U %S' ended
    rm -f runs
    for ((round = 0; round < rounds; round++)); do
        ended=0
        { time eval "/usr/bin/time -q -o memory -f %M $1 ${2:->/dev/null}" 2>errors; } 2>spent ||
            ended=$?
        if [ "$ended" != "${status:-0}" ]; then
            echo "status $ended instead of ${status:-0}: $1"
            head -n 5 errors
            exit 1
        fi >&2
        awk '{ print 1000 * $1, 1000 * ($2 + $3) }' spent | paste -d ' ' - memory >>runs
    done
}
figure() { awk -v column="$1" -v unit="$2" '{ print $column / unit }' runs | median | cut -d. -f1; }
clocked() { figure 1 1; }
cpu() { figure 2 1; }
megabytes() { figure 3 1024; }
figures() { echo "$(clocked) | $(cpu) | $(megabytes)"; }

# ---- Grammars to link ----

# subtrees COUNT NODES MAINS: COUNT grammars of as many nodes each, with 192 words below a word
# where they suffice, to attach to MAINS words in turn.
subtrees() {
    awk -v count="$1" -v nodes="$2" -v mains="$3" 'BEGIN {
        for (s = 1; s <= count; s++) {
            file = "sub" s ".yaml"
            printf "below: main%d\nwords:\n  top%d:\n    words:\n", (s - 1) % mains + 1, s >file
            for (left = nodes - 1; left > 0;) {
                printf "      part%d:\n        command: do_part\n        words:\n", left-- >file
                for (i = 1; i <= 192 && left > 0; i++)
                    printf "          item%d: do_item\n", left-- >file
            }
            close(file)
        }
    }'
}

# crowded_subtrees COUNT NODES: the same, where all words side by side share the words below them.
crowded_subtrees() {
    awk -v count="$1" -v nodes="$2" 'BEGIN {
        for (s = 1; s <= count; s++) {
            file = "sub" s ".yaml"
            printf "below: main%d\nwords: {top%d: {words: ", s, s >file
            layer(nodes - 1, 1)
            print "}}" >file
            close(file)
        }
    }
    function layer(left, level, words, w) {
        words = left < 192 ? left : 192
        printf "&layer%d {w1: ", level >file
        if (left == words) {
            printf "do_it" >file
        } else {
            printf "{words: " >file
            layer(left - words, level + 1)
            printf "}" >file
        }
        for (w = 2; w <= words; w++)
            printf left == words ? ", w%d: do_it" : ", w%d: {words: *layer%d}", w, level + 1 >file
        printf "}" >file
    }'
}

# chain_subtrees COUNT LEVELS: each to attach to the last word of the one before.
chain_subtrees() {
    awk -v count="$1" -v levels="$2" 'BEGIN {
        for (s = 1; s <= count; s++) {
            file = "sub" s ".yaml"
            printf "below: %s\nwords: ", s == 1 ? "main1" : "last" s - 1 >file
            for (level = 1; level < levels; level++)
                printf "{w%d: {words: ", level >file
            printf "{last: {name: last%d, command: do_it}}", s >file
            for (level = 1; level < levels; level++)
                printf "}}" >file
            print "" >file
            close(file)
        }
    }'
}

compile_subtrees() {
    link_root "$1" >root.yaml
    "$compile" -W no-dead-end -W no-depth root.yaml sub*.yaml
}

# ---- Trees at the limits ----

# The lines of a listing as a saved configuration, of which 100,000 are enough.
save_configuration() {
    "$utility" -s "$1.par" 2>/dev/null | sed -n 's/\[o]//g; s/^\[.*]\.  //p' | head -n 100000 || true
}

# [statuses="FULL CROWDED CHAIN"] row WORK COMMAND [SINK], where TREE stands for the tree
row() {
    local cells='' shape status
    for shape in full crowded chain; do
        status=${statuses:-0 0 0}
        case $shape in
        full) status=${status%% *} ;;
        crowded) status=${status#* } status=${status% *} ;;
        chain) status=${status##* } ;;
        esac
        run "${2//TREE/$shape}" "${3:+${3//TREE/$shape}}"
        cells+=" $(figures) |"
    done
    echo "| $1 |$cells ${statuses:-0} |"
}

trees() {
    local shape
    for shape in full crowded chain; do
        "$tree" $shape $shape.par
        change_ten_words $shape.par $shape.new.par
        save_configuration $shape >$shape.saved
    done
    echo "| Work | full, ms | CPU, ms | MB | crowded, ms | CPU, ms | MB |" \
        "chain, ms | CPU, ms | MB | Statuses |"
    echo "|---|---|---|---|---|---|---|---|---|---|---|"
    row "listing" "$utility -s TREE.par"
    row "dump" "$utility -gs TREE.par"
    row "summary" "$show TREE.par"
    row "validation" "$(loading "$show") TREE.par"
    row "--commands" "$show --commands TREE.par"
    row "--nodes" "$show --nodes TREE.par"
    # The nodes are not in a compiler's order.
    statuses="1 1 0" row "--yaml" "$show --yaml TREE.par" ">TREE.yaml"
    row "--json" "$show --json TREE.par"
    row "--dot" "$show --dot TREE.par"
    row "compile the YAML" "$compile --main -W no-redirect-root -o TREE.made.par TREE.yaml"
    row "diff with the compiled tree" "$diff TREE.par TREE.made.par"
    row "diff with itself" "$diff TREE.par TREE.par"
    statuses="1 1 1" row "diff, ten words changed" "$diff TREE.par TREE.new.par"
    row "find a line" "$find TREE.par word1"
    statuses="0 0 1" row "find, a saved configuration" "$find TREE.par --config=TREE.saved"
    rm full.* crowded.* chain.*
}

# ---- Links and many files ----

linked_row() {
    local nodes
    run "$link -o linked.par root.par sub*.par"
    nodes=$("$show" linked.par | awk '/ nodes:/ { print $NF; exit }')
    echo "| link $1 | $nodes | $(figures) | 0 |"
}

links() {
    echo "| Work | Nodes | ms | CPU, ms | MB | Status |"
    echo "|---|---|---|---|---|---|"
    subtrees 71 922 71
    compile_subtrees 71
    linked_row "71 subtree files"
    compile_subtrees 72
    status=1 run "$link -o refused.par root.par sub*.par"
    echo "| the same with one more node | 65537 | $(figures) | 1 |"
    rm sub*
    crowded_subtrees 71 922
    compile_subtrees 71
    linked_row "71 subtree files of shared words"
    rm sub*
    chain_subtrees 4 16249
    compile_subtrees 1
    linked_row "a chain of 4 subtree files"
    rm sub*

    subtrees 10000 5 100
    run "$compile -W no-dead-end sub*.yaml"
    echo "| compile ten thousand files | 50000 | $(figures) | 0 |"
    awk 'FNR == 1 { print "---" } { print }' sub*.yaml >all.yaml
    run "$compile -W no-dead-end all.yaml"
    echo "| compile ten thousand documents of one file | 50000 | $(figures) | 0 |"
    compile_subtrees 100
    linked_row "ten thousand subtree files"
    rm sub* all.*
}

# ---- Growth ----

# growth_of_nodes: the growth over the nodes of a tree, also in nodes.dat for the plot
growth_of_nodes() {
    local nodes cells
    echo "| Nodes | check, ms | MB | summary, ms | MB | diff, ms | MB | compile, ms | MB |" \
        "link, ms | MB |"
    echo "|---|---|---|---|---|---|---|---|---|---|---|"
    add() { cells+=" $(cpu) $(megabytes)"; }
    for nodes in 4096 8192 16384 32768 65536; do
        cells=$nodes
        "$tree" full old.par $nodes
        change_ten_words old.par new.par
        "$show" --yaml old.par >old.yaml 2>errors || [ $? = 1 ]
        subtrees 71 $((nodes / 71 - 1)) 71
        compile_subtrees 71
        run "$(loading "$show") old.par" && add
        run "$show old.par" && add
        status=1 run "$diff old.par new.par" && add
        run "$compile --main -W no-redirect-root -o made.par old.yaml" && add
        run "$link -o linked.par root.par sub*.par" && add
        rm sub*
        echo "$cells" >>nodes.dat
        echo "| ${cells// / | } |"
    done
}

# growth_of_lines: the growth over the lines of a listing to /dev/null, also in lines.dat for the plot
growth_of_lines() {
    local millions lines
    echo "| Lines | To | ms | CPU, ms | MB |"
    echo "|---|---|---|---|---|"
    for millions in 1 3 10 30 100; do
        "$tree" lines tree.par $millions
        lines=$("$show" tree.par | awk '/command lines/ { print $NF }')
        run "$utility -s tree.par"
        echo "| $lines | /dev/null | $(figures) |"
        echo "$lines $(cpu) $(megabytes)" >>lines.dat
    done
    run "$utility -s tree.par" "| wc -c >/dev/null"
    echo "| $lines | pipe | $(figures) |"
    run "$utility -s tree.par" ">listing"
    echo "| $lines | file | $(figures) |"
    rm listing
}

# Without what says nothing: groups of nothing, defaults, and who drew it.
slim() {
    sed -z -E 's/<(desc|title)>[^<]*nuplot[^<]*<[^>]*>\n//gi; s/gnuplot_//g
        s/<g [^>]*>\n<\/g>\n//g; s/ stroke-line(cap="butt"|join="miter")//g'
}

trees
echo
links
echo
growth_of_nodes
echo
growth_of_lines
[ -z "$plot" ] || gnuplot "$bench/scale.gnuplot" | slim >"$plot"
