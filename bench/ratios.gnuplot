# Draws the rates of all contestants against that of bare+queue: gnuplot -e "data='FILE'; picture='FILE'; contestants=N"
# The first line of the data names the contestants, each further one has a load and a ratio for each of them.
set encoding utf8
set terminal svg size 1000,520 dynamic noenhanced font 'sans-serif,15' background 'white'
set output picture
set datafile separator ','
set title 'Requests per second on one core' font ',19'
set ylabel 'rate relative to bare+queue'
set style data histograms
set style histogram clustered gap 1.5
set style fill solid 0.9 border -1
set boxwidth 0.95
set grid ytics
set yrange [0:*]
set key outside bottom center horizontal Left reverse maxrows 1
set tics nomirror
set xtics scale 0
set arrow 1 from graph 0, first 1 to graph 1, first 1 nohead dashtype 2 linecolor '#444444' front
set linetype 1 linecolor '#1f5fa8'
set linetype 2 linecolor '#bbbbbb'
set linetype 3 linecolor '#777777'
set linetype 4 linecolor '#d1701c'
set linetype 5 linecolor '#4f8f4f'
set linetype 6 linecolor '#7b5ea7'
plot for [place=2:contestants+1] data using place:xtic(1) title columnheader(place) linetype place-1
