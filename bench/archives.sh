#!/usr/bin/env bash
# Archive benchmark: one generated tree (photos, a video, text, many small files; SIZE_MB in
# all, 1000 by default) zipped with our CLI against `zip -r -6` and `bsdtar -a -cf x.zip`,
# and our archive expanded against `unzip`. Prints seconds (median of RUNS), peak memory,
# archive sizes and the ratio ours/theirs.
set -euo pipefail
cli=$(realpath "${KELVANE_CLI:-build/kelvane-cli/kelvane-cli}")
runs=${RUNS:-3}
size_mb=${SIZE_MB:-1000}
work=$(mktemp -d /tmp/kelvane-bench-XXXXXX)
trap 'rm -rf "$work"' EXIT

# --- the tree: 30% photos, 20% video, 30% text, 20% small files -------------------------
tree="$work/Tree"
mkdir -p "$tree/Photos" "$tree/Video" "$tree/Text" "$tree/Small"
photos=$((size_mb * 30 / 100 / 2)) # noisy 3000×2000 JPEGs come out near 2 MB
ffmpeg -loglevel error -f lavfi -i "testsrc2=size=3000x2000:rate=1,noise=alls=40:allf=t" \
    -frames:v "$photos" -q:v 3 "$tree/Photos/IMG_%04d.jpg"
ffmpeg -loglevel error -f lavfi -i "testsrc2=size=1280x720:rate=30,noise=alls=30:allf=t" \
    -t 600 -c:v libx264 -preset ultrafast -fs $((size_mb * 20 / 100))M "$tree/Video/clip.mp4"
python3 - "$tree" "$size_mb" <<'PY'
import os, random, sys
tree, size_mb = sys.argv[1], int(sys.argv[2])
rng = random.Random(7)
words = [''.join(rng.choice('abcdefghijklmnopqrstuvwxyz') for _ in range(rng.randint(2, 10)))
         for _ in range(5000)]
def text(size):
    out, n = [], 0
    while n < size:
        line = ' '.join(rng.choice(words) for _ in range(12)) + '\n'
        out.append(line); n += len(line)
    return ''.join(out)
chunk = text(8 << 20)
for i in range(max(1, size_mb * 30 // 100 // 8)):
    with open(os.path.join(tree, 'Text', 'log%03d.txt' % i), 'w') as f:
        f.write(chunk[i % 1000:] + chunk[:i % 1000])
small = size_mb * 20 // 100 * 1000 // 10  # files of about 10 KB
for i in range(small):
    folder = os.path.join(tree, 'Small', 'd%02d' % (i % 50))
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, 'note%05d.txt' % i), 'w') as f:
        f.write(chunk[i * 7919 % (len(chunk) - 20000):][:rng.randint(2000, 18000)])
PY
echo "tree: $(du -sm "$tree" | cut -f1) MB, $(find "$tree" -type f | wc -l) files"

median() { sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }
# command… → "seconds peak-kB" of one run
measure() {
    /usr/bin/time -o "$work/time.txt" -f '%e %M' "$@" >/dev/null 2>&1
    tail -1 "$work/time.txt"
}
# name cleanup command… → median seconds and the last run's peak memory
time_runs() {
    local cleanup=$1; shift
    local all=() peak=0 line
    for _ in $(seq "$runs"); do
        eval "$cleanup"
        sync
        line=$(measure "$@")
        all+=("${line% *}")
        peak=${line#* }
    done
    printf '%s %s\n' "$(printf '%s\n' "${all[@]}" | median)" "$peak"
}
ratio() { echo "$1 / $2" | bc -l; }
mb() { echo "scale=1; $(stat -c %s "$1") / 1000000" | bc; }

cd "$work"
read -r ours ours_kb < <(time_runs 'rm -f "$work/Tree.zip"' "$cli" convert --recipe zip "$tree")
printf 'kelvane zip        %7.2f s  %5d MB peak  archive %s MB\n' "$ours" $((ours_kb / 1024)) "$(mb Tree.zip)"

read -r info info_kb < <(time_runs 'rm -f "$work/info.zip"' zip -r -6 -q info.zip Tree)
printf 'zip -r -6          %7.2f s  %5d MB peak  archive %s MB  ratio ours/theirs %.2f\n' \
    "$info" $((info_kb / 1024)) "$(mb info.zip)" "$(ratio "$ours" "$info")"

read -r bsd bsd_kb < <(time_runs 'rm -f "$work/bsd.zip"' bsdtar -a -cf bsd.zip Tree)
printf 'bsdtar -a -cf      %7.2f s  %5d MB peak  archive %s MB  ratio ours/theirs %.2f\n' \
    "$bsd" $((bsd_kb / 1024)) "$(mb bsd.zip)" "$(ratio "$ours" "$bsd")"

# Both expand the same archive (ours); the folder named after it holds "Tree".
mv "$tree" "$work/Original"
read -r unz unz_kb < <(time_runs 'rm -rf "$work/Tree"' "$cli" convert --recipe unzip "$work/Tree.zip")
printf 'kelvane unzip      %7.2f s  %5d MB peak\n' "$unz" $((unz_kb / 1024))
read -r them them_kb < <(time_runs 'rm -rf "$work/out"' unzip -q Tree.zip -d out)
printf 'unzip              %7.2f s  %5d MB peak  ratio ours/theirs %.2f\n' \
    "$them" $((them_kb / 1024)) "$(ratio "$unz" "$them")"
diff -r "$work/Original" "$work/Tree/Tree" >/dev/null && echo "our expanded tree matches the original"
diff -r "$work/Original" "$work/out/Tree" >/dev/null && echo "unzip's tree matches the original"
