#!/usr/bin/env bash
# Image and PDF benchmark: batches of 12-megapixel photos JPG→PNG, PNG→JPG and JPG→BMP with our CLI
# against the vips CLI and ImageMagick's convert; shrinking a 12 MP photo to 1 MB against one
# plain encode; shrinking a 12 MP HEIC to 2 MB; a 100-page PDF to PNG at 144 dpi against pdftoppm; peak memory of one 24 MP
# conversion. Inputs are generated here. Prints seconds and ratios ours/theirs.
# BATCH (default 10; the full figure is 50) sets how many photos each batch holds.
set -euo pipefail
cli=$(realpath "${KELVANE_CLI:-build/kelvane-cli/kelvane-cli}")
batch=${BATCH:-10}
work=$(mktemp -d /tmp/kelvane-bench-XXXXXX)
trap 'rm -rf "$work"' EXIT
cd "$work"

seconds() { # command… → wall-clock seconds of one run
    local start end
    start=$(date +%s.%N)
    "$@" >/dev/null 2>&1
    end=$(date +%s.%N)
    echo "$end - $start" | bc -l
}
ratio() { echo "$1 / $2" | bc -l; }

# A photo-like picture: smooth colour fields with fine grain, different for each seed.
make_photo() { # width height seed output
    local w=$1 h=$2 seed=$3 out=$4 b
    for b in 0 1 2; do
        vips perlin "$work/p$b.v" "$w" "$h" --cell-size $((96 + seed * 7 + b * 31)) --seed $((seed * 3 + b))
    done
    vips gaussnoise "$work/n.v" "$w" "$h" --sigma 6
    vips bandjoin "$work/p0.v $work/p1.v $work/p2.v" "$work/rgb.v"
    vips linear "$work/rgb.v" "$work/scaled.v" 110 128
    vips add "$work/scaled.v" "$work/n.v" "$work/grain.v"
    vips cast "$work/grain.v" "$work/u8.v" uchar
    vips copy "$work/u8.v" "$out"
    rm -f "$work"/*.v
}

mkdir -p jpg png
echo "generating $batch photos of 4000 × 3000…"
for n in $(seq 1 "$batch"); do
    i=$(printf '%02d' "$n")
    make_photo 4000 3000 "$n" "jpg/photo$i.jpg[Q=90]"
    vips copy "jpg/photo$i.jpg" "png/photo$i.png"
done

# One folder per contestant so nobody's results are anybody's inputs.
run_batch() { # recipe ext-in ext-out
    local recipe=$1 from=$2 to=$3 ours vipst magick
    rm -rf ours vipsout magick && mkdir ours vipsout magick
    cp "$from"/*."$from" ours/
    ours=$(seconds "$cli" convert --recipe "$recipe" ours/*."$from")
    vipst=$(seconds bash -c "for f in $from/*.$from; do vips copy \"\$f\" vipsout/\$(basename \"\$f\" .$from).$to; done")
    magick=$(seconds bash -c "for f in $from/*.$from; do convert \"\$f\" magick/\$(basename \"\$f\" .$from).$to; done")
    printf '%-4s→%-4s %2d photos  ours %7.2f s  vips %7.2f s (ratio %.2f)  convert %7.2f s (ratio %.2f)\n' \
        "$from" "$to" "$batch" "$ours" "$vipst" "$(ratio "$ours" "$vipst")" "$magick" "$(ratio "$ours" "$magick")"
}
run_batch toPNG jpg png
run_batch toJPG png jpg
run_batch toBMP jpg bmp

# Shrink to 1 MB against one plain JPEG encode of the same photo.
rm -rf shrink && mkdir shrink && cp png/photo01.png shrink/photo.png
single=$(seconds "$cli" convert --recipe toJPG shrink/photo.png)
shrunk=$(seconds "$cli" convert --recipe shrink --target-mb 1 shrink/photo.png)
bytes=$(stat -c %s "shrink/photo (shrunk).jpg")
printf 'shrink 12 MP → 1 MB  %6.2f s = %.1f single encodes (%6.2f s)  result %d bytes, %.1f %% of the target\n' \
    "$shrunk" "$(ratio "$shrunk" "$single")" "$single" "$bytes" "$(echo "$bytes / 10000" | bc -l)"

# Shrink a 12 MP HEIC to 2 MB: every full-size x265 encode takes seconds, so their number is
# the cost. CPU seconds are printed too, since wall-clock time depends on what else runs.
vips copy png/photo01.png "shrink/phone.heic[Q=90]"
heic=$( { /usr/bin/time -f '%e %U %S' "$cli" convert --recipe shrink --target-mb 2 shrink/phone.heic >/dev/null 2>/dev/null; } 2>&1 | tail -1)
bytes=$(stat -c %s "shrink/phone (shrunk).heic")
read -r wall user sys <<<"$heic"
printf 'shrink 12 MP HEIC → 2 MB  %6.2f s (%.1f s CPU)  result %d bytes, %.1f %% of the target\n' \
    "$wall" "$(echo "$user + $sys" | bc -l)" "$bytes" "$(echo "$bytes / 20000" | bc -l)"

# A 100-page PDF of text and shapes, written directly.
python3 - <<'PY'
pages = 100
objects = ["<< /Type /Catalog /Pages 2 0 R >>", None,
           "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>"]
kids = []
for p in range(pages):
    lines = [f"BT /F1 11 Tf 72 {720 - 14 * i} Td (Page {p + 1}, line {i + 1}: the quick brown fox jumps over the lazy dog 0123456789) Tj ET"
             for i in range(46)]
    shapes = [f"{0.2 + 0.1 * (i % 7):.2f} {0.5:.2f} {0.9 - 0.1 * (i % 5):.2f} rg {72 + 40 * i} 40 30 20 re f" for i in range(12)]
    content = "\n".join(lines + shapes).encode()
    objects.append(b"<< /Length %d >>\nstream\n" % len(content) + content + b"\nendstream")
    objects.append(f"<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /Resources << /Font << /F1 3 0 R >> >> /Contents {len(objects)} 0 R >>")
    kids.append(f"{len(objects)} 0 R")
objects[1] = f"<< /Type /Pages /Kids [{' '.join(kids)}] /Count {pages} >>"
out = bytearray(b"%PDF-1.4\n")
offsets = []
for number, body in enumerate(objects, 1):
    offsets.append(len(out))
    out += f"{number} 0 obj\n".encode() + (body if isinstance(body, bytes) else body.encode()) + b"\nendobj\n"
xref = len(out)
out += f"xref\n0 {len(objects) + 1}\n0000000000 65535 f \n".encode()
out += b"".join(f"{o:010d} 00000 n \n".encode() for o in offsets)
out += f"trailer\n<< /Size {len(objects) + 1} /Root 1 0 R >>\nstartxref\n{xref}\n%%EOF\n".encode()
open("doc.pdf", "wb").write(out)
PY
mkdir -p poppler
ours=$(seconds "$cli" convert --recipe pdfToPNG --pdf-image-dpi 144 doc.pdf)
theirs=$(seconds pdftoppm -r 144 -png doc.pdf poppler/page)
printf '100-page PDF → PNG at 144 dpi  ours %6.2f s  pdftoppm %6.2f s  ratio %.2f (%d and %d files)\n' \
    "$ours" "$theirs" "$(ratio "$ours" "$theirs")" "$(ls "doc (pages)" | wc -l)" "$(ls poppler | wc -l)"

# Peak memory of one 24-megapixel conversion.
make_photo 6000 4000 99 "big.jpg[Q=90]"
for recipe in toPNG toHEIC shrink; do
    kb=$(/usr/bin/time -v "$cli" convert --recipe "$recipe" big.jpg 2>&1 >/dev/null | awk '/Maximum resident/ { print $6 }')
    printf 'peak memory, 24 MP %-7s %6.0f MiB\n' "$recipe" "$(echo "$kb / 1024" | bc -l)"
done
