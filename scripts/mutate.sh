#!/usr/bin/env bash
# Mutation check: puts each fault of scripts/mutations.txt, one at a time,
# into a copy of the tree (build/mutate/tree, built in build/mutate/build),
# rebuilds it incrementally and runs the whole suite. A fault the suite does
# not notice survives. Fails when one survives, and when a fault's original
# text is no longer found exactly once: the list moves with the code.
#
#   scripts/mutate.sh [WORD]   only the faults whose description has WORD
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
list=$root/scripts/mutations.txt
work=$root/build/mutate
tree=$work/tree
build=$work/build
filter=${1:-}
jobs=$(nproc)
start=$SECONDS

# The faults as four arrays: description, file, original text, replacement.
whats=() files=() olds=() news=()
while IFS= read -r line || [[ -n $line ]]; do
    [[ -z $line || $line == \#* ]] && continue
    if [[ $line != [[:space:]]* ]]; then
        whats+=("$line") files+=("") olds+=("") news+=("")
        continue
    fi
    line=${line#"${line%%[![:space:]]*}"}
    last=$((${#whats[@]} - 1))
    case $line in
    "in "*) files[last]=${line#in } ;;
    "-"*) line=${line#-} && olds[last]=${line# } ;;
    "+"*) line=${line#+} && news[last]=${line# } ;;
    *) echo "mutations.txt: cannot read: $line" >&2 && exit 2 ;;
    esac
done <"$list"

# How often `old` occurs in `file`.
occurrences() {
    OLD=$2 perl -0777 -ne '$n = () = /\Q$ENV{OLD}\E/g; print $n' "$1"
}

stale=0
for i in "${!whats[@]}"; do
    file=$root/${files[i]}
    if [[ -z ${files[i]} || -z ${olds[i]} || ! -f $file ]]; then
        echo "no longer applies (file or text missing): ${whats[i]}"
        stale=$((stale + 1))
    elif [[ $(occurrences "$file" "${olds[i]}") != 1 ]]; then
        echo "no longer applies (text not found exactly once in ${files[i]}): ${whats[i]}"
        stale=$((stale + 1))
    fi
done
((stale == 0)) || exit 1

# The copy: the tracked and new files of the tree, rewritten only where they
# differ, so the build stays incremental from one run to the next.
mkdir -p "$tree" "$build"
git ls-files --cached --others --exclude-standard | sort >"$work/files"
while IFS= read -r path; do
    if [[ -f $path ]] && ! cmp -s "$path" "$tree/$path"; then
        mkdir -p "$tree/$(dirname "$path")"
        cp "$path" "$tree/$path"
    fi
done <"$work/files"
(cd "$tree" && find . -type f -printf '%P\n' | sort | comm -23 - "$work/files" | xargs -r rm --)

build_copy() {
    cmake --build "$build" -j "$jobs" >"$work/build.log" 2>&1
}
# The whole suite, the tests labelled with the changed file's folder first:
# most faults are caught there within seconds.
run_suite() {
    local changed=${1:-}
    flock /tmp/quorvel-app.lock bash -c '
        ctest --test-dir "$0" -j "$1" --stop-on-failure -L "^$2\$" &&
            ctest --test-dir "$0" -j "$1" --stop-on-failure -LE "^$2\$"' \
        "$build" "$jobs" "${changed%%/*}" >"$work/test.log" 2>&1
}

# Seconds the last suite took, waiting for the lock not counted.
suite_seconds() {
    awk '/^Total Test time/ { sum += $6 } END { printf "%d", sum }' "$work/test.log"
}

# Optimised less, and linked with gold or lld where there is one: most of a
# mutant's rebuild is relinking the test programs.
options=(-DCMAKE_BUILD_TYPE=Release "-DCMAKE_CXX_FLAGS_RELEASE=-O1 -DNDEBUG"
    -DQUORVEL_BUILD_BENCH=OFF -DQUORVEL_BUILD_EXAMPLES=OFF)
for linker in gold lld; do
    if command -v "ld.$linker" >/dev/null; then
        options+=("-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=$linker"
            "-DCMAKE_SHARED_LINKER_FLAGS=-fuse-ld=$linker")
        break
    fi
done

echo "== the copy, unchanged, builds and passes"
began=$SECONDS
cmake -S "$tree" -B "$build" -G Ninja "${options[@]}" >"$work/configure.log" ||
    { cat "$work/configure.log"; exit 1; }
if ! build_copy || ! run_suite; then
    cat "$work/build.log" "$work/test.log" | tail -40
    exit 1
fi
echo "   $((SECONDS - began)) s, the suite $(suite_seconds) s"

current=""
restore() {
    if [[ -n $current ]]; then
        cp "$root/$current" "$tree/$current" # a new time stamp: rebuilt next time
        current=""
    fi
}
trap restore EXIT

count=0 survivors=() building=0 testing=0
for i in "${!whats[@]}"; do
    [[ -n $filter && ${whats[i]} != *"$filter"* ]] && continue
    count=$((count + 1))
    began=$SECONDS
    current=${files[i]}
    OLD=${olds[i]} NEW=${news[i]} perl -0777 -pi -e 's/\Q$ENV{OLD}\E/$ENV{NEW}/' "$tree/$current"
    if ! build_copy; then
        verdict="killed (does not build)"
    else
        built=$((SECONDS - began))
        building=$((building + built))
        if ! run_suite "$current"; then
            verdict="killed by $(sed -n '/tests FAILED:/{n;s/^[[:space:]0-9-]*//;s/ (Failed)$//;p;q}' \
                "$work/test.log")"
        else
            verdict="SURVIVED"
            survivors+=("${whats[i]} (${files[i]})")
        fi
        testing=$((testing + $(suite_seconds)))
        verdict="$verdict (build ${built} s, tests $(suite_seconds) s)"
    fi
    restore
    echo "${whats[i]}: $verdict"
done

echo "== $count faults, ${#survivors[@]} survived, $((SECONDS - start)) s in all" \
    "(mutants: build $building s, tests $testing s)"
for survivor in "${survivors[@]}"; do
    echo "survived: $survivor"
done
((${#survivors[@]} == 0))
