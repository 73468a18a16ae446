#!/usr/bin/env bash
# Document benchmark: a DOCX of about 100 pages (text, headings, tables, pictures) to PDF with our CLI,
# against LibreOffice's converter (cold: a fresh profile each run) and pandoc's DOCX to HTML
# on the same file. Prints seconds (median of the runs) and the ratio ours/theirs.
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
    "$@" >/dev/null 2>&1
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
    soffice_cold() {
        local profile
        profile=$(mktemp -d "$work/profile-XXXXXX")
        soffice -env:UserInstallation=file://"$profile" --headless --convert-to pdf --outdir "$work/soffice" "$work/report.docx"
    }
    office=$(time_runs soffice_cold)
    soffice_cold >/dev/null 2>&1
    office_pages=$(pdfinfo "$work/soffice/report.pdf" | awk '/^Pages/ { print $2 }')
    printf 'soffice docx→pdf   %6.3f s  ratio ours/theirs %.2f (cold, %s pages)\n' "$office" "$(echo "$ours / $office" | bc -l)" "$office_pages"
else
    echo "soffice not installed: 'make bench' installs it (libreoffice-writer-nogui)"
fi
