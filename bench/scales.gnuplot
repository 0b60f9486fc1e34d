# Plots the cost of more objects: gnuplot -e "data='FILE'; picture='FILE'; contestants=N; keys='KEY KEY...'"
# The data has two blocks for each contestant, first over the number of scalars and then over that of columns, with
# lines of: number, GETs per second, seconds of a walk, seconds until everything is served, resident KiB. The keys
# are those of each plot in order, one for each contestant.
set encoding utf8
set terminal svg size 1100,1400 dynamic noenhanced font 'sans-serif,15' background 'white'
set output picture
set multiplot layout 4,2 title 'What more objects cost' font ',19'
set grid
set tics nomirror
set lmargin 11
set rmargin 3
set style data linespoints
set linetype 1 linecolor '#1f5fa8' linewidth 2.5 pointtype 7 pointsize 0.6
set linetype 2 linecolor '#aaaaaa' linewidth 2 pointtype 5 pointsize 0.6
set linetype 3 linecolor '#666666' linewidth 2 pointtype 9 pointsize 0.6
array over[2] = ['scalars, beside a table of 6 columns', 'columns of 8 rows, beside 50 scalars']
array titles[4] = ['GET', 'Walk of them all', 'Start-up until all is served', 'Resident memory']
array labels[4] = ['requests per second', 'ms', 'ms', 'MiB']
array factors[4] = [1, 1000, 1000, 1.0 / 1024]
do for [figure=1:4] {
    do for [half=1:2] {
        # In the corner without lines.
        if (figure == 2 || (figure == 3 && half == 1)) {
            set key top left Left reverse samplen 2
            set offsets 0, 0, graph 0.35, 0
        } else {
            set key bottom right Left reverse samplen 2
            set offsets 0, 0, graph 0.05, 0
        }
        set title titles[figure] font ',16'
        set xlabel over[half]
        set ylabel labels[figure]
        set xrange [0:*]
        set yrange [0:*]
        plot for [place=1:contestants] data index 2 * (place - 1) + half - 1 \
            using 1:(column(figure + 1) * factors[figure]) \
            title word(keys, (2 * (figure - 1) + half - 1) * contestants + place) linetype place
    }
}
unset multiplot
