#!/usr/bin/env bash
# Document benchmark: a DOCX of about 100 pages (text, headings, tables, pictures) to PDF with our CLI,
# against LibreOffice's converter (cold: a fresh profile each run) and pandoc's DOCX to HTML
# on the same file. Prints seconds (median of the runs) and the ratio ours/theirs; then one
# run each on a DOCX of photos (PHOTOS, default 20), with the size of both PDFs. Then, for
# the report and every committed document fixture, the seconds of one run of each, the page
# counts of both PDFs and the words each kept of those pandoc reads in the source (RTF: in its
# DOCX twin).
set -euo pipefail
cli=${KELVANE_CLI:-build/kelvane-cli/kelvane-cli}
runs=${RUNS:-5}
work=$(mktemp -d /tmp/kelvane-bench-XXXXXX)
trap 'rm -rf "$work"' EXIT

python3 bench/make_fixtures.py "$work" 115
(cd "$work" && pandoc report.md -o report.docx)

median() { sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }
seconds() { # command… → wall-clock seconds of one run
    local start end
    start=$(date +%s.%N)
    "$@" >/dev/null 2>&1 || true
    end=$(date +%s.%N)
    echo "$end - $start" | bc -l
}
time_runs() { for _ in $(seq "$runs"); do seconds "$@"; rm -f "$work"/report\ \(converted*; done | median; }

ours=$(time_runs "$cli" convert --recipe docToPDF "$work/report.docx")
pages=$("$cli" convert --recipe docToPDF "$work/report.docx" >/dev/null 2>&1; pdfinfo "$work/report (converted).pdf" | awk '/^Pages/ { print $2 }')
printf 'kelvane docToPDF   %6.3f s  (%s pages)\n' "$ours" "$pages"

pandoc_html=$(time_runs pandoc -f docx -t html "$work/report.docx" -o "$work/pandoc.html")
printf 'pandoc docx→html   %6.3f s  ratio ours/theirs %.2f\n' "$pandoc_html" "$(echo "$ours / $pandoc_html" | bc -l)"

if command -v soffice >/dev/null 2>&1; then
    soffice_cold_file() { # FILE: converted with a fresh profile into $work/soffice
        local profile
        profile=$(mktemp -d "$work/profile-XXXXXX")
        soffice -env:UserInstallation=file://"$profile" --headless --convert-to pdf --outdir "$work/soffice" "$1"
    }
    soffice_cold() { soffice_cold_file "$work/report.docx"; }
    office=$(time_runs soffice_cold)
    soffice_cold >/dev/null 2>&1
    office_pages=$(pdfinfo "$work/soffice/report.pdf" | awk '/^Pages/ { print $2 }')
    printf 'soffice docx→pdf   %6.3f s  ratio ours/theirs %.2f (cold, %s pages)\n' "$office" "$(echo "$ours / $office" | bc -l)" "$office_pages"
else
    echo "soffice not installed: 'make bench' installs it (libreoffice-writer-nogui)"
fi

# A document of photos: the pictures should go into the PDF as they are, quickly and in
# little memory.
if command -v soffice >/dev/null 2>&1 && command -v vips >/dev/null 2>&1; then
    python3 bench/photo_document.py "$work" "${PHOTOS:-20}"
    photos_ours=$(seconds "$cli" convert --recipe docToPDF "$work/photos.docx")
    photos_pdf="$work/photos (converted).pdf"
    photos_lo=$(seconds soffice_cold_file "$work/photos.docx")
    printf '\nphotos.docx (%s photos, %s MB) to PDF: ours %.3f s, %s MB; soffice %.3f s, %s MB; ratio %.2f\n' \
        "${PHOTOS:-20}" "$(($(stat -c %s "$work/photos.docx") / 1000000))" "$photos_ours" \
        "$(($(stat -c %s "$photos_pdf") / 1000000))" "$photos_lo" \
        "$(($(stat -c %s "$work/soffice/photos.pdf") / 1000000))" "$(echo "$photos_ours / $photos_lo" | bc -l)"
    rm -f "$work/photos.docx" "$photos_pdf" "$work/soffice/photos.pdf"
fi

# words FILE → the distinct runs of letters in a text file, lower-cased, one a line
words() { grep -oP '\p{L}+' "$1" | tr '[:upper:]' '[:lower:]' | sort -u; }
kept() { # reference-words our-words → "kept/total"
    printf '%s/%s' "$(comm -12 "$1" "$2" | wc -l)" "$(wc -l <"$1")"
}
pages() { pdfinfo "$1" 2>/dev/null | awk '/^Pages/ { print $2 }'; }

command -v soffice >/dev/null 2>&1 || exit 0
printf '\n%-24s %8s %8s %6s %6s %12s %12s\n' file ours-s lo-s pages lo-pages words-ours words-lo
rm -f "$work"/*converted*
cp tests/fixtures/files/documents/*.{docx,odt,rtf} "$work/"
profile=$(mktemp -d "$work/profile-XXXXXX")
for file in "$work/report.docx" "$work"/*.odt "$work"/*.rtf "$work"/[!r]*.docx; do
    name=$(basename "$file")
    stem=${name%.*}
    source=$file
    [[ $name == *.rtf ]] && source="$work/$stem.docx"
    pandoc -t plain "$source" 2>/dev/null | sed 's/\\[A-Za-z]*//g' >"$work/ref.txt"
    words "$work/ref.txt" >"$work/ref.words"
    ours_time=$(seconds "$cli" convert --recipe docToPDF "$file")
    ours="$work/$stem (converted).pdf"
    pdftotext "$ours" "$work/ours.txt" 2>/dev/null || : >"$work/ours.txt"
    words "$work/ours.txt" >"$work/ours.words"
    mkdir -p "$work/lo-$stem"
    lo_time=$(seconds soffice -env:UserInstallation=file://"$profile" --headless --convert-to pdf \
        --outdir "$work/lo-$stem" "$file")
    pdftotext "$work/lo-$stem/$stem.pdf" "$work/lo.txt" 2>/dev/null || : >"$work/lo.txt"
    words "$work/lo.txt" >"$work/lo.words"
    printf '%-24s %8.3f %8.3f %6s %6s %12s %12s\n' "$name" "$ours_time" "$lo_time" \
        "$(pages "$ours")" "$(pages "$work/lo-$stem/$stem.pdf")" \
        "$(kept "$work/ref.words" "$work/ours.words")" "$(kept "$work/ref.words" "$work/lo.words")"
    rm -f "$ours"
done
