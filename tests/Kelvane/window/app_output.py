"""What the application prints that means its interface is broken: a QML module that is not
installed, a component that failed to load, a script error or a binding that cannot hold."""

import re

# Qt's QML engine names the file and line ("qrc:/…/RootView.qml:12:5: …") or the engine.
_QML_PROBLEM = re.compile(
    r"\.qml:\d+|qrc:/|QQmlApplicationEngine|QQmlComponent|is not installed|TypeError|"
    r"ReferenceError|Binding loop|Cannot assign|Unable to assign|non-native|[Ff]ailed to load")


def qml_problems(stderr):
    """The lines of `stderr` that report a fault of the QML interface."""
    return [line for line in stderr.splitlines() if _QML_PROBLEM.search(line)]
