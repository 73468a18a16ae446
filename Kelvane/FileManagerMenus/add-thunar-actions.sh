#!/bin/sh
# Adds Kelvane's recipes to Thunar's right-click menu for the user who runs it. Thunar keeps
# custom actions per user, in ~/.config/Thunar/uca.xml; earlier Kelvane actions there are
# replaced, the user's own are kept. Restart Thunar (thunar -q) to see them.
set -eu
here=$(dirname "$0")
actions="$here/thunar-actions.xml"
[ -f "$actions" ] || actions=/usr/share/kelvane/thunar/thunar-actions.xml
list="${XDG_CONFIG_HOME:-$HOME/.config}/Thunar/uca.xml"
mkdir -p "$(dirname "$list")"
python3 - "$list" "$actions" <<'PY'
import os, sys, xml.etree.ElementTree as tree
list_path, ours_path = sys.argv[1], sys.argv[2]
mine = tree.parse(list_path).getroot() if os.path.exists(list_path) else tree.Element("actions")
kept = [a for a in mine.findall("action")
        if not (a.findtext("unique-id") or "").startswith("kelvane-")]
merged = tree.Element("actions")
merged.extend(kept + tree.parse(ours_path).getroot().findall("action"))
partial = list_path + ".kelvane-new"
tree.ElementTree(merged).write(partial, encoding="UTF-8", xml_declaration=True)
os.replace(partial, list_path)
print("Added Kelvane's actions to", list_path)
PY
