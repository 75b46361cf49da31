# Draws how the cost grows, from what the benchmarks wrote into the working directory. Points are medians, bars reach from
# the least to the most.
set terminal svg size 900,380 dynamic background rgb "white" font "sans-serif,13"
set style data yerrorlines
set key top left
set grid ytics lc rgb "#dddddd"
set border 3
set tics nomirror
set yrange [0:*]
relay = "#888888"; warn = "#0b6e99"; debug = "#c0504d"

set output "length.svg"
set key bottom right
set multiplot layout 1,2
set xlabel "frame, bytes"
set xrange [0:260]
set ylabel "round trip, µs"
plot "length-round-trip.tsv" using 1:2:3:4 lc rgb relay title "relay", "" using 1:5:6:7 lc rgb warn title "daemon, WARN", \
     "" using 1:8:9:10 lc rgb debug title "daemon, DEBUG"
set ylabel "CPU a frame, µs"
plot "length-processor-time.tsv" using 1:2:3:4 lc rgb relay title "relay", "" using 1:5:6:7 lc rgb warn title "daemon, WARN", \
     "" using 1:8:9:10 lc rgb debug title "daemon, DEBUG"
unset multiplot

set output "under-way.svg"
set multiplot layout 1,2
set xlabel "frames under way"
set xrange [0:15]
set key top right
set ylabel "CPU a frame, µs"
plot "under-way-processor-time.tsv" using 1:2:3:4 lc rgb relay title "relay", "" using 1:5:6:7 lc rgb warn title "daemon, WARN", \
     "" using 1:8:9:10 lc rgb debug title "daemon, DEBUG"
set key top left
set ylabel "frames a second"
plot "under-way-frames.tsv" using 1:2:3:4 lc rgb relay title "relay", "" using 1:5:6:7 lc rgb warn title "daemon, WARN", \
     "" using 1:8:9:10 lc rgb debug title "daemon, DEBUG"
unset multiplot

set output "queues.svg"
set terminal svg size 480,380
set xlabel "button queues"
set xrange [0.7:150]
set yrange [0.3:*]
set logscale xy
set ylabel "CPU a button event, µs"
plot "queues.tsv" using 1:2:3:4 lc rgb warn title "daemon, WARN"
unset logscale

set output "level.svg"
set terminal svg size 640,380
set xlabel "log level"
set ylabel "CPU a frame, ratio to the relay's"
set xrange [-0.6:4.6]
set yrange [0:*]
set style data boxerrorbars
set style fill solid 0.6
set boxwidth 0.35
plot "level.tsv" using ($0-0.2):2:3:4:(0.35):xtic(1) lc rgb warn title "1 under way", \
     "" using ($0+0.2):5:6:7:(0.35) lc rgb debug title "14 under way"
