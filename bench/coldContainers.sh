#!/bin/sh
# Cold container figures: each Cold* row of mlib_container_bench in a fresh process of its
# own, ROUNDS rounds, the pairs' order alternating from round to round. Prints each row's
# median CPU time and, per pair, the standard container's median / mlib's (above 1: mlib is
# faster).
#
#   bench/coldContainers.sh build/bench/bench/mlib_container_bench [ROUNDS, default 21]
set -eu
bench=$1
rounds=${2:-21}
pairs="MxMapInsert:StdMapInsert MxMapLookup:StdMapLookup MxMapRemove:StdMapRemove
SyncMapTwoThreads:StdMapRecursiveMutexTwoThreads MxListAddTailAndWalk:StdListPushBackAndWalk"
out=$(mktemp)
trap 'rm -f "$out"' EXIT

cpuTime() {  # one fresh process; prints "row cpu_time_in_ms"
  "$bench" --benchmark_filter="^Cold$1(/|\$)" --benchmark_format=csv 2>/dev/null |
    awk -F, -v row="$1" 'NR > 1 && $1 ~ /^"Cold/ {
      t = $4; u = $5; gsub(/"/, "", u)
      if (u == "ns") t /= 1e6; else if (u == "us") t /= 1e3; else if (u == "s") t *= 1e3
      print row, t }'
}

round=1
while [ "$round" -le "$rounds" ]; do
  for pair in $pairs; do
    mine=${pair%%:*}
    theirs=${pair#*:}
    if [ $((round % 2)) -eq 1 ]; then
      cpuTime "$mine" >>"$out"
      cpuTime "$theirs" >>"$out"
    else
      cpuTime "$theirs" >>"$out"
      cpuTime "$mine" >>"$out"
    fi
  done
  round=$((round + 1))
done

median() { grep "^$1 " "$out" | awk '{ print $2 }' | sort -g | awk '{ v[NR] = $1 }
  END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }

for pair in $pairs; do
  mine=${pair%%:*}
  theirs=${pair#*:}
  m=$(median "$mine")
  t=$(median "$theirs")
  awk -v a="$mine" -v b="$theirs" -v m="$m" -v t="$t" -v n="$rounds" 'BEGIN {
    printf "%-22s %10.4g ms   %-32s %10.4g ms   ratio %.2f  (cold, median of %d)\n",
           a, m, b, t, t / m, n }'
done
