# "Convert with Kelvane" in the file manager's right-click menu: the recipes that fit the
# selected files, ranked by kelvane-cli exactly as the window ranks them.
import json
import os
import subprocess

from gi.repository import GObject, Nautilus

# Suggestions depend only on the files' extensions and on whether there is more than one,
# so a large selection is asked about through a few files of each extension.
FILES_ASKED_PER_EXTENSION = 2
SUGGEST_TIMEOUT_SECONDS = 3


def local_paths(files):
    paths = []
    for info in files:
        location = info.get_location() if info.get_uri_scheme() == "file" else None
        path = location.get_path() if location is not None else None
        if not path:
            return []
        paths.append(path)
    return paths


def representatives(paths):
    asked, per_extension = [], {}
    for path in paths:
        extension = os.path.splitext(path)[1].lower()
        if per_extension.get(extension, 0) < FILES_ASKED_PER_EXTENSION:
            per_extension[extension] = per_extension.get(extension, 0) + 1
            asked.append(path)
    return asked


def suggestions(paths):
    try:
        answer = subprocess.run(
            ["kelvane-cli", "suggest", "--json", *representatives(paths)],
            capture_output=True, timeout=SUGGEST_TIMEOUT_SECONDS, check=True)
        recipes = json.loads(answer.stdout)
    except (OSError, subprocess.SubprocessError, ValueError):
        return []
    return [r for r in recipes if isinstance(r, dict) and "id" in r and "title" in r]


class KelvaneMenuProvider(GObject.GObject, Nautilus.MenuProvider):
    def get_file_items(self, *arguments):
        # Older versions of the extension interface pass the window before the files.
        paths = local_paths(arguments[-1])
        recipes = suggestions(paths) if paths else []
        if not recipes:
            return []
        top = Nautilus.MenuItem(name="Kelvane::Convert", label="Convert with Kelvane",
                                tip="", icon="app.kelvane.Kelvane")
        submenu = Nautilus.Menu()
        top.set_submenu(submenu)
        for recipe in recipes:
            item = Nautilus.MenuItem(name="Kelvane::" + recipe["id"], label=recipe["title"],
                                     tip="", icon="")
            item.connect("activate", self.convert, recipe["id"], paths)
            submenu.append_item(item)
        return [top]

    def convert(self, _item, recipe, paths):
        subprocess.Popen(["kelvane", "--recipe", recipe, "--quiet", *paths],
                         start_new_session=True)
