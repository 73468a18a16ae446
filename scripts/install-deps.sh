#!/usr/bin/env bash
# Installs the Debian packages Kelvane needs to build, run and test (and, with --bench,
# to benchmark). Idempotent: only
# missing packages are installed, and nothing happens when all are present. Works as root
# or through sudo, without questions.
set -euo pipefail

packages=(
    # Toolchain
    build-essential
    clang
    libclang-rt-14-dev
    cmake
    ninja-build
    pkg-config
    # Libraries
    qt6-base-dev
    libarchive-dev
    libvips-dev
    libcairo2-dev
    libpoppler-private-dev
    libqpdf-dev
    libavformat-dev
    libavcodec-dev
    libavfilter-dev
    libswscale-dev
    libswresample-dev
    libavutil-dev
    # The window: Qt Quick, its QML modules, and the icon font its symbols come from
    qt6-declarative-dev
    qml6-module-qtquick
    qml6-module-qtquick-controls
    qml6-module-qtquick-templates
    qml6-module-qtquick-layouts
    qml6-module-qtquick-window
    qml6-module-qtqml-workerscript
    qml6-module-qtquick-dialogs
    qml6-module-qtquick-shapes
    qml6-module-qt-labs-folderlistmodel
    qml6-module-qt-labs-platform
    qml6-module-qttest
    # The desktop's own file chooser, through the XDG desktop portal where the desktop has one
    qt6-xdgdesktopportal-platformtheme
    fonts-material-design-icons-iconfont
    fontconfig
    fonts-dejavu-core
    fonts-liberation2
    # The Drop Dock watches drags on the X11 desktop (XFixes, XInput 2)
    libx11-dev
    libxfixes-dev
    libxi-dev
    # Documents name fonts that are not installed: these share their metrics (Calibri, Cambria)
    fonts-crosextra-carlito
    fonts-crosextra-caladea
    # Legacy Word documents are read by a command-line tool run as a child process
    antiword
    # TIFF and other pictures inside documents, through Qt's image readers
    qt6-image-formats-plugins
    # Windows metafile drawings inside documents; enhanced metafiles through SVG
    libwmf-dev
    libemf2svg-dev
    librsvg2-dev
    # Tests: an independent document reader, and poppler to read PDFs back
    libgtest-dev
    libgmock-dev
    pandoc
    libpoppler-qt6-dev
    poppler-utils
    # Tests: clips made and probed with the ffmpeg tools, independent zip readers
    ffmpeg
    libarchive-tools
    unzip
    python3
    # Tests: the real window and the Drop Dock in an X session, driven from the outside
    xvfb
    openbox
    xdotool
    x11-utils
    # Tests: the desktop entry and the software-centre metadata checked as installed
    desktop-file-utils
    appstream
    # Fuzzing: the CPU time of each run is measured with GNU time
    time
)

# `--bench` adds the reference tools the benchmarks time our CLI against, and those that
# rebuild the document fixtures (tests/fixtures/files/documents/source/make.sh).
if [[ "${1:-}" == "--bench" ]]; then
    packages+=(bc hyperfine libreoffice-writer-nogui libvips-tools imagemagick zip python3-docx)
fi

missing=()
for package in "${packages[@]}"; do
    status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
    [[ "$status" == "install ok installed" ]] || missing+=("$package")
done

if [[ ${#missing[@]} -eq 0 ]]; then
    exit 0
fi

if [[ $(id -u) -eq 0 ]]; then
    as_root=()
elif command -v sudo >/dev/null 2>&1; then
    as_root=(sudo)
else
    echo "install-deps: these packages are missing and neither root nor sudo is available:" >&2
    echo "  ${missing[*]}" >&2
    exit 1
fi

echo "install-deps: installing ${missing[*]}"
apt_options=(-y -q --no-install-recommends -o DPkg::Lock::Timeout=600)
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -q
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install "${apt_options[@]}" "${missing[@]}"
