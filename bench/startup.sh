#!/usr/bin/env bash
# Start-up benchmark: what each process maps, how long the small jobs take from start to
# finish, the window's first frame, and single-file conversions against the plain tools,
# measured A/B interleaved in one run. Prints counts, milliseconds (wall and CPU, medians)
# and ratios ours/theirs. RUNS (default 5) sets the runs of each pair; PHOTO (default
# 4000x3000) the photo's size. LONG=1 adds the long jobs, where the fixed cost must not
# show: a batch of BATCH (default 6) photos, 1080p → 720p, zip and unzip of a folder.
set -euo pipefail
cli=$(realpath "${KELVANE_CLI:-build/kelvane-cli/kelvane-cli}")
app=$(realpath "${KELVANE_APP:-$(dirname "$cli")/../Kelvane/kelvane}")
interleaved=$(realpath "$(dirname "$0")/interleaved.py")
runs=${RUNS:-5}
photo=${PHOTO:-4000x3000}
batch=${BATCH:-6}
work=$(mktemp -d /tmp/kelvane-bench-XXXXXX)
trap 'rm -rf "$work"' EXIT
cd "$work"
export QT_QPA_PLATFORM=offscreen

# median_ms COMMAND… : median wall time of hyperfine runs, in milliseconds (outputs named
# "(converted…)" are removed before each run).
median_ms() {
    local count=$1; shift
    hyperfine --style none --warmup 1 --runs "$count" --export-json "$work/h.json" \
        --prepare "rm -rf $work/in/*converted* $work/in/*resized* $work/theirs.*" "$@" >/dev/null 2>&1
    python3 -c 'import json,sys; print(" ".join("%.1f" % (r["median"] * 1000) for r in json.load(open(sys.argv[1]))["results"]))' "$work/h.json"
}

# libraries COMMAND… : shared objects each process of the command loaded, one line per
# process: "<count> <executable>".
libraries() {
    rm -rf "$work/ld" && mkdir "$work/ld"
    LD_DEBUG=files LD_DEBUG_OUTPUT="$work/ld/p" "$@" >/dev/null 2>&1 || true
    for file in "$work"/ld/p.*; do
        local count exe
        count=$(grep -c 'generating link map' "$file" || true)
        exe=$(grep -m1 -o 'needed by [^ ]*' "$file" | head -1 | sed 's/needed by //')
        echo "$count $(basename "${exe:-?}")"
    done | sort -k2
}

mkdir in
echo "Dear reader, thank you." > in/note.txt
echo "making inputs…"
# A photo-like picture (as in images.sh): smooth colour fields with a fine grain.
w=${photo%x*} h=${photo#*x}
for b in 0 1 2; do
    vips perlin "in/p$b.v" "$w" "$h" --cell-size $((96 + b * 31)) --seed "$b"
done
vips gaussnoise in/n.v "$w" "$h" --sigma 6
vips bandjoin "in/p0.v in/p1.v in/p2.v" in/rgb.v
vips linear in/rgb.v in/scaled.v 110 128
vips add in/scaled.v in/n.v in/grain.v
vips cast in/grain.v in/u8.v uchar
vips copy in/u8.v "in/photo.jpg[Q=90]"
vips copy in/photo.jpg in/photo.png
rm -f in/*.v
ffmpeg -nostdin -v error -y -f lavfi -i "testsrc2=s=1920x1080:r=30:d=10" -f lavfi -i "sine=d=10" \
    -c:v libx264 -preset ultrafast -b:v 8M -c:a aac -shortest in/clip.mp4
ffmpeg -nostdin -v error -y -f lavfi -i "sine=f=440:r=44100:d=180" -ac 2 -c:a libmp3lame \
    -b:a 192k in/song.mp3
mkdir in/folder && cp in/note.txt in/folder/

echo
echo "shared libraries mapped (count, process):"
libraries "$cli" recipes | sed 's/^/  recipes:   /'
for pair in "toPNG photo.jpg" "toWAV song.mp3" "docToHTML note.txt" "zip folder"; do
    set -- $pair
    libraries "$cli" convert --recipe "$1" "in/$2" | sed "s/^/  $1: /"
    rm -rf in/*converted* in/folder.zip
done
if [[ -x "$app" ]]; then
    KELVANE_FIRST_FRAME=1 libraries "$app" | sed 's/^/  window:    /'
fi

echo
echo "wall time (median ms):"
printf '  kelvane-cli recipes               %8s ms\n' "$(median_ms 30 "$cli recipes")"
printf '  TXT → HTML through a worker       %8s ms\n' \
    "$(median_ms 20 "$cli convert --recipe docToHTML in/note.txt")"
printf '  TXT → HTML in-process             %8s ms\n' \
    "$(median_ms 20 "$cli convert --in-process --recipe docToHTML in/note.txt")"
if [[ -x "$app" ]]; then
    # The window prints the time of its first frame and quits (KELVANE_FIRST_FRAME).
    frames=()
    for _ in 1 2 3 4 5; do
        start=$(date +%s%N)
        shown=$(KELVANE_FIRST_FRAME=1 "$app" 2>/dev/null | awk '/^first frame/ { print $3 }')
        frames+=($(( (shown - start) / 1000000 )))
    done
    printf '  window cold start to first frame  %8s ms\n' \
        "$(printf '%s\n' "${frames[@]}" | sort -n | sed -n 3p)"
fi

echo
echo "single files, ours / theirs (median of $runs A/B interleaved runs, wall and CPU):"
# pair label our-command their-command
pair() {
    local times
    mapfile -t times < <(python3 "$interleaved" "$runs" "rm -rf $work/in/*converted* \
        $work/in/*resized* $work/in/batch/*converted* $work/in/folder.zip $work/u/folder \
        $work/theirs*" "$2" "$3")
    read -r ours_wall ours_cpu <<<"${times[0]}"
    read -r theirs_wall theirs_cpu <<<"${times[1]}"
    printf '  %-30s ours %7s ms (%7s CPU)  theirs %7s ms (%7s CPU)  ratio %.2f (CPU %.2f)\n' \
        "$1" "$ours_wall" "$ours_cpu" "$theirs_wall" "$theirs_cpu" \
        "$(echo "$ours_wall / $theirs_wall" | bc -l)" "$(echo "$ours_cpu / $theirs_cpu" | bc -l)"
}
pair "12 MP JPG → PNG vs vips copy" "$cli convert --recipe toPNG in/photo.jpg" \
    "vips copy in/photo.jpg $work/theirs.png"
pair "12 MP PNG → JPG vs vips copy" "$cli convert --recipe toJPG in/photo.png" \
    "vips copy in/photo.png $work/theirs.jpg"
pair "resize 1024 vs vipsthumbnail" "$cli convert --recipe resize --max-dimension 1024 in/photo.jpg" \
    "vipsthumbnail in/photo.jpg -s 1024 -o $work/theirs.jpg"
pair "MP4 → MOV vs ffmpeg -c copy" "$cli convert --recipe toMOV in/clip.mp4" \
    "ffmpeg -nostdin -v error -i in/clip.mp4 -map 0 -c copy $work/theirs.mov"
pair "MP3 → WAV vs ffmpeg" "$cli convert --recipe toWAV in/song.mp3" \
    "ffmpeg -nostdin -v error -i in/song.mp3 $work/theirs.wav"

[[ ${LONG:-0} == 1 ]] || exit 0
echo
echo "long jobs, ours / theirs (the fixed cost must not show here):"
mkdir -p in/batch in/folder/photos
for n in $(seq 1 "$batch"); do
    cp in/photo.jpg "in/batch/photo$n.jpg"
done
python3 -c 'import random, sys
r = random.Random(7); words = ["".join(r.choice("abcdefghij") for _ in range(r.randint(2, 9))) for _ in range(3000)]
for i in range(200):
    open("%s/note%03d.txt" % (sys.argv[1], i), "w").write(" ".join(r.choice(words) for _ in range(3000)))' in/folder
cp in/photo.jpg in/photo.png in/clip.mp4 in/folder/photos/
ffmpeg -nostdin -v error -y -f lavfi -i "testsrc2=s=1920x1080:r=30:d=10" -f lavfi -i "sine=d=10" \
    -c:v libx264 -preset ultrafast -crf 18 -c:a aac -shortest in/hd.mp4
long_runs=${LONG_RUNS:-1}
runs=$long_runs pair "$batch photos JPG → PNG vs vips" "$cli convert --recipe toPNG in/batch" \
    "bash -c 'for f in in/batch/*.jpg; do vips copy \$f $work/theirs-\$(basename \$f .jpg).png; done'"
runs=$long_runs pair "1080p → 720p vs ffmpeg" "$cli convert --recipe video720 in/hd.mp4" \
    "ffmpeg -nostdin -v error -i in/hd.mp4 -vf scale=1280:720,format=yuv420p,setsar=1 -c:v libx264 \
    -preset faster -crf 21 -c:a aac -b:a 96k -ac 1 -movflags +faststart $work/theirs.mp4"
runs=$long_runs pair "zip a folder vs zip -r -6" "$cli convert --recipe zip in/folder" \
    "bash -c 'cd in && zip -r -6 -q $work/theirs.zip folder'"
mkdir "$work/u"
(cd in && zip -r -6 -q "$work/u/folder.zip" folder)
runs=$long_runs pair "unzip vs unzip" "$cli convert --recipe unzip $work/u/folder.zip" \
    "unzip -q $work/u/folder.zip -d $work/theirs-unzipped"
