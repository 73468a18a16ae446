"""The file managers' right-click menus, as written at build time, against the catalogue as
kelvane-cli tells it and the shared MIME database file managers match with.

Usage: file_manager_menus_test.py MENUS_DIR KELVANE_CLI EXTENSION_SOURCE"""
import configparser
import glob
import json
import os
import subprocess
import sys
import tempfile
import types
import unittest
import xml.etree.ElementTree as tree

MENUS, CLI, NAUTILUS_EXTENSION = sys.argv[1:4]
SAMPLES = ["a.jpg", "a.heic", "a.png", "a.webp", "a.mp4", "a.mkv", "a.mov", "a.mp3",
           "a.flac", "a.wav", "a.docx", "a.txt", "a.csv", "a.rtf", "a.pdf", "a.zip"]


def mime_of(name):
    """The shared MIME database's type for a name, by its highest-weighted glob."""
    best = None
    with open("/usr/share/mime/globs2", encoding="utf-8") as globs:
        for line in globs:
            if line.startswith("#"):
                continue
            weight, mime, pattern = line.rstrip("\n").split(":")[:3]
            if pattern == "*" + os.path.splitext(name)[1] and (best is None or int(weight) > best[0]):
                best = (int(weight), mime)
    return best[1]


def suggested(*names):
    answer = subprocess.run([CLI, "suggest", "--json", *names], capture_output=True, check=True)
    return [recipe["id"] for recipe in json.loads(answer.stdout)]


def key_file(path, group):
    parser = configparser.ConfigParser(interpolation=None, delimiters=("=",))
    parser.optionxform = str
    parser.read(path, encoding="utf-8")
    return parser, parser[group]


# The validator knows only the application, link and folder types; a service menu's type is
# the file manager's own and uses these two keys of the application type, and one of its own.
# Saved e-mails are files too, though the validator doubts their "message/" types.
SERVICE_TYPE_KEYS = {f'key "{key}" is present in group "Desktop Entry", but the type is "Service"'
                     for key in ("MimeType", "Actions")} | {'key "ExcludeServiceTypes"',
                                                            '"message" is a media type'}


def validation_errors(path):
    check = subprocess.run(["desktop-file-validate", path], capture_output=True, text=True)
    return [line for line in (check.stdout + check.stderr).splitlines()
            if line.strip() and not any(known in line for known in SERVICE_TYPE_KEYS)]


def mime_parents():
    parents = {}
    with open("/usr/share/mime/subclasses", encoding="utf-8") as subclasses:
        for line in subclasses:
            child, parent = line.split()
            parents.setdefault(child, []).append(parent)
    return parents


PARENTS = mime_parents()


def lineage(mime):
    """The type and every type it inherits, as the shared MIME database defines them."""
    found, pending = set(), [mime]
    while pending:
        current = pending.pop()
        if current in found:
            continue
        found.add(current)
        implicit = ["text/plain"] if current.startswith("text/") else []
        pending.extend(PARENTS.get(current, implicit if current != "text/plain" else []))
    return found


def service_menu_matches(entry, mime, count):
    """The service menus' own rule: every file's type or an inherited one is listed, none is
    excluded, and the number of files is allowed."""
    types = set(listed(entry["MimeType"]))
    excluded = set(entry.get("ExcludeServiceTypes", "").split(",")) - {""}
    is_file = mime != "inode/directory"
    if is_file and "application/octet-stream" in types:
        types |= lineage(mime)
    return (bool(lineage(mime) & types) and not lineage(mime) & excluded
            and count >= int(entry.get("X-KDE-MinNumberOfUrls", 0))
            and count <= int(entry.get("X-KDE-MaxNumberOfUrls", count)))


def listed(value):
    return [item for item in value.split(";") if item]


class ServiceMenus(unittest.TestCase):
    def test_one_menu_offers_each_selection_exactly_its_suggestions_in_order(self):
        menus = []
        for path in sorted(glob.glob(os.path.join(MENUS, "kio", "*.desktop"))):
            self.assertEqual(validation_errors(path), [])
            parser, entry = key_file(path, "Desktop Entry")
            self.assertEqual(entry["X-KDE-Submenu"], "Convert with Kelvane")
            actions = listed(entry["Actions"])
            # The file manager shows them sorted by name, whatever order the file lists.
            self.assertEqual(sorted(actions), actions)
            recipes = []
            for action in actions:
                recipe = action.split("-", 1)[1]
                self.assertEqual(parser["Desktop Action " + action]["Exec"],
                                 f"kelvane --recipe {recipe} --quiet %F")
                recipes.append(recipe)
            menus.append((entry, recipes))
        with tempfile.TemporaryDirectory() as folder:
            for sample in SAMPLES + ["a.epub", "a.xlsx", "a.c", folder]:
                mime = "inode/directory" if sample == folder else mime_of(sample)
                for count in (1, 2):
                    shown = [recipes for entry, recipes in menus
                             if service_menu_matches(entry, mime, count)]
                    copies = [sample] if sample == folder else [f"{n}{sample}" for n in range(count)]
                    self.assertEqual(shown, [suggested(*copies)], f"{count} × {sample}")


class NemoActions(unittest.TestCase):
    def test_each_recipe_shows_exactly_for_the_files_it_fits(self):
        shown = {}
        for path in sorted(glob.glob(os.path.join(MENUS, "nemo", "*.nemo_action"))):
            _, action = key_file(path, "Nemo Action")
            recipe = action["Exec"].split()[2]
            self.assertTrue(action["Name"].endswith(" with Kelvane"))
            self.assertEqual(action["Exec"], f"kelvane --recipe {recipe} --quiet %F")
            shown[recipe] = set(listed(action["Extensions"]))
        self.assertEqual(len(shown), 31)
        for sample in SAMPLES + ["a.epub", "a.JPEG"]:
            ending = os.path.splitext(sample)[1].lower()
            offered = sorted(r for r, endings in shown.items()
                             if ending in endings or "any" in endings)
            self.assertEqual(offered, sorted(set(suggested(sample)) | {"zip"}), sample)


class ThunarActions(unittest.TestCase):
    def test_the_snippet_merges_into_a_users_list_keeping_their_own(self):
        with tempfile.TemporaryDirectory() as home:
            os.makedirs(os.path.join(home, "Thunar"))
            own = os.path.join(home, "Thunar", "uca.xml")
            with open(own, "w", encoding="utf-8") as mine:
                mine.write("<actions><action><name>Mine</name><unique-id>1-2</unique-id>"
                           "<command>true</command><patterns>*</patterns></action></actions>")
            for _ in range(2):  # a second run replaces Kelvane's actions, never doubles them
                subprocess.run(["sh", os.path.join(MENUS, "thunar", "add-thunar-actions.sh")],
                               env=dict(os.environ, XDG_CONFIG_HOME=home), check=True,
                               capture_output=True)
            names = [a.findtext("name") for a in tree.parse(own).getroot().findall("action")]
        self.assertEqual(names[0], "Mine")
        self.assertEqual(len(names), 32)
        self.assertIn("Convert to JPG with Kelvane", names)


class FakeFile:
    def __init__(self, path, scheme="file"):
        self.path, self.scheme = path, scheme

    def get_uri_scheme(self):
        return self.scheme

    def get_location(self):
        return types.SimpleNamespace(get_path=lambda: self.path)


def load_nautilus_extension():
    class MenuItem:
        def __init__(self, name, label, tip, icon):
            self.name, self.label, self.submenu, self.handlers = name, label, None, []

        def set_submenu(self, submenu):
            self.submenu = submenu

        def connect(self, signal, handler, *extra):
            self.handlers.append((signal, handler, extra))

        def activate(self):
            for signal, handler, extra in self.handlers:
                handler(self, *extra)

    class Menu:
        def __init__(self):
            self.items = []

        def append_item(self, item):
            self.items.append(item)

    nautilus = types.SimpleNamespace(MenuItem=MenuItem, Menu=Menu, MenuProvider=object)
    gobject = types.SimpleNamespace(GObject=type("GObject", (), {}))
    sys.modules["gi"] = types.ModuleType("gi")
    sys.modules["gi.repository"] = types.SimpleNamespace(Nautilus=nautilus, GObject=gobject)
    namespace = {}
    with open(NAUTILUS_EXTENSION, encoding="utf-8") as source:
        exec(compile(source.read(), NAUTILUS_EXTENSION, "exec"), namespace)
    return namespace


class NautilusExtension(unittest.TestCase):
    def test_the_submenu_lists_the_suggestions_and_queues_the_chosen_one(self):
        extension = load_nautilus_extension()
        started = []
        # The suggestions are really asked for; only starting the application is recorded.
        extension["subprocess"] = types.SimpleNamespace(
            run=subprocess.run, SubprocessError=subprocess.SubprocessError,
            Popen=lambda command, **_: started.append(command))
        os.environ["PATH"] = os.path.dirname(CLI) + os.pathsep + os.environ["PATH"]
        provider = extension["KelvaneMenuProvider"]()
        for name, first in [("/home/me/Photo.jpg", "Convert to PNG"),
                            ("/home/me/Clip.mp4", "Convert to MOV")]:
            [top] = provider.get_file_items([FakeFile(name)])
            self.assertEqual(top.label, "Convert with Kelvane")
            labels = [item.label for item in top.submenu.items]
            self.assertEqual(labels[0], first)
            self.assertEqual(labels[-1], "Compress to Zip")
        top.submenu.items[0].activate()
        self.assertEqual(started, [["kelvane", "--recipe", "toMOV", "--quiet", "/home/me/Clip.mp4"]])
        self.assertEqual(provider.get_file_items([FakeFile("/x", scheme="sftp")]), [])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
