# Common functions of the process benchmarks, to be sourced in a scratch directory. Runs alternate within
# a round; times and ratios are medians over the rounds; each ratio is that of one round.
rounds=${ROUNDS:-9}

# clock NAME COMMAND: runs the command and appends its time in microseconds to NAME.times.
clock() {
    local start end
    start=${EPOCHREALTIME/./}
    eval "$2"
    end=${EPOCHREALTIME/./}
    echo $((end - start)) >>"$1.times"
}
median() { sort -n | awk '{ value[NR] = $1 } END { printf "%.2f", value[int((NR + 1) / 2)] }'; }
milliseconds() { awk '{ print $1 / 1000 }' "$1.times" | median | cut -d. -f1; }
# ratio ONE OTHER [SIZE OTHER_SIZE]: the ratio of the times, per unit of size if sizes are given
ratio() {
    paste "$1.times" "$2.times" | awk -v a="${3:-1}" -v b="${4:-1}" '{ print $1 / a / ($2 / b) }' |
        median
}

# loading SHOW: prints the command of ocmd_show that only loads and validates files.
loading() { echo "$1 --check $("$1" --list-checks | sed 's/\t.*//; s/^/-Wno-/' | tr '\n' ' ')"; }

# grammar AREAS STYLE: prints a grammar of 1,531 words per area, with one line per key (0) or per word (1),
# or with quotes and comments (2). No words are shared.
grammar() {
    awk -v areas="$1" -v style="$2" 'BEGIN {
        print "words:"
        for (a = 1; a <= areas; a++) {
            printf "  area%d:\n    help: Area %d\n    words:\n", a, a
            for (b = 1; b <= 30; b++) {
                printf "      part%d:\n        help: Part %d of area %d\n        words:\n", b, b, a
                for (c = 1; c <= 50; c++)
                    if (style == 2)
                        printf "          # Item %d\n          item%d: {\"help\": \"Item %d\", " \
                            "function: '\''set_%d_%d'\'', terminal: yes}\n", c, c, c, a, c
                    else if (style == 1)
                        printf "          item%d: {help: Item %d, function: set_%d_%d, terminal: yes}\n",
                            c, c, a, c
                    else
                        printf "          item%d:\n            help: Item %d\n" \
                            "            function: set_%d_%d\n            terminal: yes\n", c, c, a, c
            }
        }
    }'
}

# link_root COUNT: prints the grammar of a root with COUNT attach points, main1, main2 ...
link_root() {
    seq "$1" | awk 'BEGIN { print "words:" } { printf "  main%d: {name: main%d}\n", $1, $1 }'
}

# change_ten_words OLD NEW: changes ten words of a tree from make_tree
change_ten_words() {
    python3 - "$1" "$2" <<'PYTHON'
import sys
tree = bytearray(open(sys.argv[1], "rb").read())
step = len(tree) // 1000 // 11
for node in range(step, 11 * step, step):
    word = tree.find(b"word", node * 1000)
    tree[word : word + 4] = b"wort"
open(sys.argv[2], "wb").write(tree)
PYTHON
}
