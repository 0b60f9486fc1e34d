# Draws the samples of a soak: gnuplot -e "samples='FILE'; picture='FILE'; warmUpEnd=SECONDS; base=KIB; noise=KIB"
# with the end of the warm-up, the resident memory at that time, and the growth that is still noise.
set terminal svg size 900,960 dynamic font 'sans-serif,15' background 'white'
set output picture
set datafile separator ','
set multiplot layout 3,1 title 'The agent under load' font ',19'
set xlabel 'time (s)'
set grid
set lmargin 12
set rmargin 12
set xrange [0:*]
set arrow 1 from warmUpEnd, graph 0 to warmUpEnd, graph 1 nohead dashtype 2 linecolor '#888888'
set label 1 ' warm-up ends' at warmUpEnd, graph 0.92 textcolor '#666666'

set title sprintf('Resident memory, against %d KiB at the end of the warm-up', base)
set ylabel 'change (KiB)'
set yrange [*<-100:100<*]
set ytics nomirror
set y2label 'requests (thousands)'
set y2range [0:*]
set y2tics
set key bottom right horizontal
plot samples using 1:($3-base) skip 1 with lines linewidth 2.5 linecolor '#1f5fa8' title 'change', \
     noise with lines dashtype 3 linecolor '#b03030' title 'limit of the growth', \
     samples using 1:($2/1000) skip 1 axes x1y2 with lines linewidth 1 linecolor '#999999' title 'requests'
unset y2label
unset y2tics
unset y2range
unset label 1
set ytics mirror

set title 'Open descriptors'
set ylabel 'descriptors'
set yrange [0:10<*]
plot samples using 1:5 skip 1 with steps linewidth 2.5 linecolor '#1f5fa8' notitle

set title 'Messages waiting in the queues'
set ylabel 'messages'
set yrange [0:5<*]
set key top right horizontal
plot samples using 1:6 skip 1 with points pointtype 6 pointsize 0.5 linecolor '#1f5fa8' title 'requests', \
     samples using 1:7 skip 1 with points pointtype 2 pointsize 0.5 linecolor '#d1701c' title 'answers'
unset multiplot
