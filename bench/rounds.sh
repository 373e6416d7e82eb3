# What the measurements of whole processes share. Runs take turns within a round; times and ratios
# are medians over the rounds, each ratio taken within its round. Sourced, inside a scratch folder.
rounds=${ROUNDS:-9}

# Runs a command and adds its time in microseconds to those under a name.
clock() {
    local start end
    start=${EPOCHREALTIME/./}
    eval "$2"
    end=${EPOCHREALTIME/./}
    echo $((end - start)) >>"$1.times"
}
median() { sort -n | awk '{ value[NR] = $1 } END { printf "%.2f", value[int((NR + 1) / 2)] }'; }
milliseconds() { awk '{ print $1 / 1000 }' "$1.times" | median | cut -d. -f1; }
# ratio ONE OTHER [SIZE OTHER_SIZE], per unit of size where sizes are given
ratio() {
    paste "$1.times" "$2.times" | awk -v a="${3:-1}" -v b="${4:-1}" '{ print $1 / a / ($2 / b) }' |
        median
}
