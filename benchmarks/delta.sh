#!/usr/bin/env bash
# Delta documents from JSON to render info, beside the JavaScript reference (quill-delta: parsing and eachLine) on the same
# documents: time a line, throughput, peak memory against the input, and how many times as fast.
#   benchmarks/delta.sh
# Both sides repeat the same document, one after the other, for two seconds and at least three times, and the fastest
# run of each counts. Ours goes from the bytes of the JSON text to the render info and frees both; the reference parses
# the text, which is a string already, and visits the lines, and may leave its garbage for later. Documents are the same
# each time. Nothing is set in the allocator, so that large documents pay for the pages that they take.
# Needs node and npm; what it installs and makes lies in build/benchmarks/delta. Exits with 1 when a figure is not held:
# at least 5 times as fast on each document, at most 40 ns a plain line and 250 ns a styled one (on a quiet machine).
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

folder=$PWD/build/benchmarks/delta
program=build/release/benchmarks/DeltaBenchmark
mkdir -p "$folder"
cmake --preset release >"$folder/build.log"
cmake --build --preset release --target DeltaBenchmark >>"$folder/build.log"
if [[ ! -d $folder/node_modules/quill-delta ]]; then
  npm install --silent --no-audit --no-fund --prefix "$folder" quill-delta@5.1.0
fi
node benchmarks/delta/documents.mjs "$folder"

for name in styled-20 plain-10000 styled-1000 styled-10000 styled-100000 styled-1000000 plain-1000000; do
  ours=$("$program" "$folder/$name.json")
  theirs=$(NODE_PATH=$folder/node_modules node benchmarks/delta/reference.cjs "$folder/$name.json")
  echo "{\"name\":\"$name\",\"ours\":$ours,\"theirs\":$theirs}"
done | node benchmarks/delta/report.cjs
