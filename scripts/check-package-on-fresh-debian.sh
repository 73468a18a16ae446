#!/usr/bin/env bash
# Installs a built kelvane .deb into a freshly bootstrapped Debian 12 root and converts one file
# of each family there with the installed programs. It needs root, debootstrap and network
# access to a Debian mirror, and takes a few minutes, so it is a release check, not a test.
#
# Usage: sudo scripts/check-package-on-fresh-debian.sh path/to/kelvane_*.deb [ROOT_DIR]
set -euo pipefail

deb=$(realpath "$1")
root=${2:-/var/tmp/kelvane-fresh-debian}
mirror=${DEBIAN_MIRROR:-http://deb.debian.org/debian}

command -v debootstrap >/dev/null || apt-get install -y --no-install-recommends debootstrap
[ -x "$root/usr/bin/apt-get" ] || debootstrap --variant=minbase bookworm "$root" "$mirror"

cleanup() { umount -l "$root/proc" "$root/dev" 2>/dev/null || true; }
trap cleanup EXIT
mount -t proc proc "$root/proc"
mount --bind /dev "$root/dev"
cp /etc/resolv.conf "$root/etc/resolv.conf"
cp "$deb" "$root/tmp/kelvane.deb"

in_root() { chroot "$root" env DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8 bash -c "$1"; }

in_root 'apt-get update -q && apt-get install -y -q /tmp/kelvane.deb'

# Sample files are made with the host's tools, so the fresh root holds only the package.
samples="$root/root/samples"
rm -rf "$samples" && mkdir -p "$samples"
ffmpeg -v error -f lavfi -i testsrc=size=320x240:rate=25 -f lavfi -i sine=f=440 -t 2 \
    -c:v libx264 -pix_fmt yuv420p -c:a aac "$samples/clip.mp4"
ffmpeg -v error -f lavfi -i testsrc=size=320x240 -frames:v 1 "$samples/photo.jpg"
printf 'One line of text.\n' > "$samples/note.txt"

in_root 'cd /root/samples &&
  kelvane-cli convert --recipe toPNG photo.jpg &&
  kelvane-cli convert --recipe toHEIC photo.jpg &&
  kelvane-cli convert --recipe toMOV clip.mp4 &&
  kelvane-cli convert --recipe toWAV clip.mp4 &&
  kelvane-cli convert --recipe docToPDF note.txt &&
  kelvane-cli convert --recipe zip photo.jpg clip.mp4 &&
  rm -rf /root/shots && QT_QPA_PLATFORM=offscreen KELVANE_SNAPSHOT_DIR=/root/shots timeout 120 kelvane'
ls -l "$samples"
for result in "photo (converted).png" "photo (converted).heic" "clip (converted).mov" \
              "clip (converted).wav" "note (converted).pdf" "Archive.zip"; do
    [ -s "$samples/$result" ] || { echo "missing: $result" >&2; exit 1; }
done
shots=$(ls "$root/root/shots"/*.png | wc -l)
[ "$shots" -eq 19 ] || { echo "the window drew $shots of its 19 snapshots" >&2; exit 1; }
echo "The package installs, converts and draws its window on a fresh Debian 12."
