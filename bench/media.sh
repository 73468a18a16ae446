#!/usr/bin/env bash
# Media benchmark: our CLI against the ffmpeg tool with equivalent settings, same inputs, same
# run. Prints seconds, the ratio ours/theirs and the peak resident memory of each side.
# Sizes scale down with SCALE (default 0.2 on a 2-core machine: a ~200 MB rewrap, a 12 s
# 1080p→720p clip, a 4 s HEVC clip); SCALE=1 gives the full 1 GB / 60 s / 20 s inputs.
set -euo pipefail
cli=${KELVANE_CLI:-build/kelvane-cli/kelvane-cli}
scale=${SCALE:-0.2}
work=$(mktemp -d /tmp/kelvane-bench-XXXXXX)
trap 'rm -rf "$work"' EXIT
secs() { awk -v s="$scale" -v n="$1" 'BEGIN { v = s * n; if (v < 1) v = 1; printf "%d", v }'; }

gen() { ffmpeg -nostdin -v error -y "$@"; }
echo "making inputs (scale $scale)…"
# Rewrap input: high-bitrate H.264 + AAC, sized by bit rate × length.
rewrap_s=$(secs 300)
gen -f lavfi -i "testsrc2=s=1920x1080:r=30:d=$rewrap_s" -f lavfi -i "sine=d=$rewrap_s" \
    -c:v libx264 -preset ultrafast -b:v 27M -c:a aac -shortest "$work/big.mp4"
gen -f lavfi -i "testsrc2=s=1920x1080:r=30:d=$(secs 60)" -f lavfi -i "sine=d=$(secs 60)" \
    -c:v libx264 -preset ultrafast -crf 18 -c:a aac -shortest "$work/hd60.mp4"
gen -f lavfi -i "testsrc2=s=1920x1080:r=30:d=$(secs 20)" -f lavfi -i "sine=d=$(secs 20)" \
    -c:v libx264 -preset ultrafast -crf 18 -c:a aac -shortest "$work/hd20.mp4"
# A phone's HDR clip: 10-bit HEVC tagged HLG, made small and fast (the encode is not measured).
gen -f lavfi -i "testsrc2=s=1920x1080:r=30:d=$(secs 20)" -f lavfi -i "sine=d=$(secs 20)" \
    -pix_fmt yuv420p10le -c:v libx265 -preset ultrafast -x265-params log-level=error \
    -color_primaries bt2020 -color_trc arib-std-b67 -colorspace bt2020nc -c:a aac -shortest \
    "$work/hlg20.mp4"
gen -f lavfi -i "testsrc2=s=1280x720:r=30:d=10" -c:v libx264 -preset ultrafast "$work/gif10.mp4"
gen -f lavfi -i "sine=f=440:r=48000:d=$(secs 1800)" -ac 2 -c:a libmp3lame -b:a 192k "$work/talk.mp3"
printf 'inputs: rewrap %s MB, 1080p %s s and %s s, audio %s s\n' \
    "$(( $(stat -c %s "$work/big.mp4") / 1000000 ))" "$(secs 60)" "$(secs 20)" "$(secs 1800)"

# time_mem OUT… → "seconds peakKB" of one run
time_mem() {
    /usr/bin/time -f '%e %M' -o "$work/time.txt" "$@" >/dev/null 2>&1
    cat "$work/time.txt"
}
clean() { rm -f "$work"/*converted* "$work"/theirs.*; }
compare() { # label, our recipe + options…, -- , their ffmpeg arguments…
    local label=$1; shift
    local ours=() theirs=()
    while [[ $1 != -- ]]; do ours+=("$1"); shift; done; shift
    theirs=("$@")
    clean
    read -r ot om < <(time_mem "$cli" convert "${ours[@]}")
    local size_ours; size_ours=$(stat -c %s "$work"/*converted* 2>/dev/null | head -1)
    read -r tt tm < <(time_mem ffmpeg -nostdin -v error -y "${theirs[@]}")
    local size_theirs; size_theirs=$(stat -c %s "$work"/theirs.* | head -1)
    printf '%-16s ours %7.2f s %6d MB  ffmpeg %7.2f s %6d MB  ratio %.2f  size %.1f/%.1f MB\n' \
        "$label" "$ot" $((om / 1024)) "$tt" $((tm / 1024)) "$(echo "$ot / $tt" | bc -l)" \
        "$(echo "${size_ours:-0} / 1000000" | bc -l)" "$(echo "$size_theirs / 1000000" | bc -l)"
}

compare "rewrap→MOV" --recipe toMOV "$work/big.mp4" -- \
    -i "$work/big.mp4" -map 0:v -map 0:a -c copy "$work/theirs.mov"
compare "1080p→720p" --recipe video720 "$work/hd60.mp4" -- \
    -i "$work/hd60.mp4" -vf scale=1280:720,format=yuv420p,setsar=1 -c:v libx264 -preset faster \
    -crf 21 -c:a aac -b:a 96k -ac 1 -movflags +faststart "$work/theirs.mp4"
compare "HEVC 1080p" --recipe videoHEVC "$work/hd20.mp4" -- \
    -i "$work/hd20.mp4" -c:v libx265 -preset veryfast -crf 22 -tag:v hvc1 -x265-params log-level=error \
    -c:a aac -b:a 96k -ac 1 -movflags +faststart "$work/theirs.mp4"
compare "HDR→720p SDR" --recipe video720 "$work/hlg20.mp4" -- \
    -i "$work/hlg20.mp4" -vf "scale=1280:720:flags=bicubic,zscale=tin=18:pin=9:min=9:rin=limited:\
t=linear:npl=100,format=gbrpf32le,zscale=p=bt709,tonemap=hable:desat=0,zscale=t=bt709:m=bt709:\
r=limited,format=yuv420p,setsar=1" -c:v libx264 -preset faster -crf 21 -color_primaries bt709 \
    -color_trc bt709 -colorspace bt709 -c:a aac -b:a 96k -ac 1 -movflags +faststart \
    "$work/theirs.mp4"
for format in wav aiff caf; do
    recipe=to$(echo "$format" | tr a-z A-Z)
    compare "audio→$format" --recipe "$recipe" "$work/talk.mp3" -- \
        -i "$work/talk.mp3" -c:a "$([[ $format == aiff ]] && echo pcm_s16be || echo pcm_s16le)" \
        "$work/theirs.$format"
done
compare "GIF 10 s 12 fps" --recipe videoToGIF --gif-fps 12 --gif-width 480 --gif-max-seconds 10 \
    "$work/gif10.mp4" -- -i "$work/gif10.mp4" -t 10 -filter_complex \
    "fps=12,scale=480:-1:flags=lanczos,split[a][b];[a]palettegen[p];[b][p]paletteuse" \
    "$work/theirs.gif"
