"""Installs the build into a scratch root and checks what a user's machine would get: the
programs, the worker where the programs look for it, a desktop entry and software-centre
metadata that their validators accept, the icons; then builds the Debian package and checks
its files and the dependencies it states."""

import os
import subprocess
import sys
import tempfile

APP_ID = "app.kelvane.Kelvane"
FILES = [
    "usr/bin/kelvane",
    "usr/bin/kelvane-cli",
    "usr/libexec/kelvane/kelvane-worker",
] + [f"usr/lib/kelvane/kelvane-{module}.so" for module in ("images", "media", "documents",
                                                           "document-pictures", "archives")
] + [
    f"usr/share/applications/{APP_ID}.desktop",
    f"usr/share/metainfo/{APP_ID}.metainfo.xml",
    f"usr/share/icons/hicolor/scalable/apps/{APP_ID}.svg",
    # The file managers' menus.
    "usr/share/kio/servicemenus/kelvane-01.desktop",
    "usr/share/nemo/actions/kelvane-01-toPNG.nemo_action",
    "usr/share/nautilus-python/extensions/kelvane_nautilus.py",
    "usr/share/kelvane/thunar/thunar-actions.xml",
    "usr/share/kelvane/thunar/add-thunar-actions.sh",
] + [f"usr/share/icons/hicolor/{size}x{size}/apps/{APP_ID}.png"
     for size in (16, 24, 32, 48, 64, 128, 256, 512)]
# One of each kind the recipes read must open with the application.
MIME_TYPES = ["image/jpeg", "image/png", "image/heif", "image/webp", "video/mp4",
              "video/x-matroska", "video/quicktime", "audio/mpeg", "audio/flac", "audio/x-wav",
              "application/pdf", "application/zip", "text/plain", "text/markdown", "application/rtf",
              "application/vnd.openxmlformats-officedocument.wordprocessingml.document",
              "application/vnd.oasis.opendocument.text", "application/msword"]
ACTIONS = ["images", "video", "audio", "documents", "archives"]
DEPENDS = ["libqt6quick6", "libvips42", "libavcodec59", "qml6-module-qtquick-dialogs",
           "qml6-module-qt-labs-folderlistmodel", "qml6-module-qtquick-shapes",
           "fonts-material-design-icons-iconfont"]


def run(*command, **options):
    return subprocess.run(command, capture_output=True, text=True, **options)


def desktop_entry_keys(path):
    keys = {}
    with open(path, encoding="utf-8") as entry:
        for line in entry:
            if line.startswith("["):
                if line.strip() != "[Desktop Entry]":
                    break
            elif "=" in line:
                key, value = line.rstrip("\n").split("=", 1)
                keys[key] = value
    return keys


def check_root(root, failures):
    for name in FILES:
        if not os.path.isfile(os.path.join(root, name)):
            failures.append(f"not installed: /{name}")
    entry = os.path.join(root, "usr/share/applications", APP_ID + ".desktop")
    metainfo = os.path.join(root, "usr/share/metainfo", APP_ID + ".metainfo.xml")
    if os.path.isfile(entry):
        validated = run("desktop-file-validate", entry)
        if validated.returncode != 0 or validated.stdout.strip():
            failures.append("desktop-file-validate: " + validated.stdout + validated.stderr)
        keys = desktop_entry_keys(entry)
        types = keys.get("MimeType", "").split(";")
        failures.extend(f"MimeType lacks {name}" for name in MIME_TYPES if name not in types)
        if keys.get("Actions", "").split(";")[:-1] != ACTIONS:
            failures.append(f"Actions={keys.get('Actions')}, expected {ACTIONS}")
    if os.path.isfile(metainfo):
        validated = run("appstreamcli", "validate", "--no-net", metainfo)
        if validated.returncode != 0:
            failures.append("appstreamcli validate: " + validated.stdout + validated.stderr)


def check_worker_found(root, failures):
    """The installed CLI converts through the installed worker, wherever the root is."""
    with tempfile.TemporaryDirectory() as work:
        text = os.path.join(work, "notes.txt")
        with open(text, "w", encoding="utf-8") as notes:
            notes.write("Installed and working.\n")
        converted = run(os.path.join(root, "usr/bin/kelvane-cli"), "convert", "--recipe",
                        "docToHTML", text, env=dict(os.environ, ASAN_OPTIONS="detect_leaks=0"),
                        timeout=120)
        result = os.path.join(work, "notes (converted).html")
        if converted.returncode != 0 or not os.path.isfile(result):
            failures.append("the installed kelvane-cli did not convert: "
                            + converted.stdout + converted.stderr)
        elif "Installed and working." not in open(result, encoding="utf-8").read():
            failures.append("the installed kelvane-cli wrote an HTML file without the text")


def check_package(build, work, failures):
    packed = run("cpack", "-G", "DEB", "-B", work, "--config",
                 os.path.join(build, "CPackConfig.cmake"), timeout=600)
    packages = [name for name in os.listdir(work) if name.endswith(".deb")]
    if packed.returncode != 0 or len(packages) != 1:
        failures.append("cpack: " + packed.stdout + packed.stderr)
        return
    package = os.path.join(work, packages[0])
    if not packages[0].startswith("kelvane_") or not packages[0].endswith("_amd64.deb"):
        failures.append(f"the package is named {packages[0]}")
    listed = run("dpkg-deb", "--contents", package).stdout
    paths = {line.split()[-1].lstrip(".").lstrip("/") for line in listed.splitlines()}
    failures.extend(f"the package lacks /{name}" for name in FILES if name not in paths)
    depends = run("dpkg-deb", "--field", package, "Depends").stdout
    failures.extend(f"the package does not depend on {name}" for name in DEPENDS
                    if name not in depends)
    if "python3-nautilus" not in run("dpkg-deb", "--field", package, "Recommends").stdout:
        failures.append("the package does not recommend python3-nautilus")


def main(build):
    failures = []
    with tempfile.TemporaryDirectory() as work:
        root = os.path.join(work, "root")
        installed = run("cmake", "--install", build, "--prefix", "/usr",
                        env=dict(os.environ, DESTDIR=root), timeout=300)
        if installed.returncode != 0:
            failures.append("cmake --install: " + installed.stdout + installed.stderr)
        else:
            check_root(root, failures)
            check_worker_found(root, failures)
        packages = os.path.join(work, "packages")
        os.mkdir(packages)
        check_package(build, packages, failures)
    for failure in failures:
        print("FAIL:", failure)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
