#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and runs each for a fixed number of
# inputs. A finding makes the target exit non-zero and so fails this script.
# RUNS overrides the count, for a longer local session.
set -euo pipefail
cd "$(dirname "$0")/.."

runs="${RUNS:-100000}"
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz

corpus_root="build/fuzz/corpus"
for target in build/fuzz/fuzz/*_fuzz; do
    name="$(basename "$target")"
    mkdir -p "$corpus_root/$name"
    seeds=()
    if [ -d "fuzz/seeds/$name" ]; then
        seeds=("fuzz/seeds/$name")
    fi
    echo "-- $name: $runs runs"
    "$target" -runs="$runs" -seed=1 -max_len=4096 "$corpus_root/$name" "${seeds[@]}" 2>&1 | tail -n 2
done
