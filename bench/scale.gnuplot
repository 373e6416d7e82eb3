# How time and memory grow with nodes and with lines: draws nodes.dat and lines.dat, which
# bench/scale.sh makes, as an SVG on standard output. A dashed line grows in proportion.
set terminal svg size 800,600 font "sans-serif,12" background "white"
set multiplot layout 2,2
set logscale xy
unset mxtics
unset mytics
set grid linecolor "#dddddd"
set key top left Left reverse samplen 2
set samples 2
set style data linespoints
set linetype 1 linecolor "#1b6ca8" linewidth 2
set linetype 2 linecolor "#3a9d5d" linewidth 2
set linetype 3 linecolor "#c0392b" linewidth 2
set linetype 4 linecolor "#8e5ea2" linewidth 2
set linetype 5 linecolor "#c77f0a" linewidth 2
set linetype 6 linecolor "#888888" dashtype 2
works = "check summary diff compile link"
time = "CPU time, ms"
memory = "Memory at most, MB"

set xlabel "Nodes of a tree"
set xrange [3500:80000]
set xtics 4096,2
set yrange [1:2000]
set ylabel time
plot for [i = 1:5] "nodes.dat" using 1:(column(2 * i)) linetype i title word(works, i), \
    x / 500 with lines linetype 6 notitle
set yrange [4:400]
set ylabel memory
plot for [i = 1:5] "nodes.dat" using 1:(column(2 * i + 1)) linetype i title word(works, i), \
    x / 1000 with lines linetype 6 notitle

set xlabel "Lines of a listing, millions"
set xrange [0.8:130]
set xtics (1, 3, 10, 30, 100)
set yrange [10:4000]
set ylabel time
plot "lines.dat" using ($1 / 1e6):2 linetype 1 title "listing", \
    8 * x with lines linetype 6 notitle
set yrange [4:400]
set ylabel memory
plot "lines.dat" using ($1 / 1e6):3 linetype 1 title "listing"
