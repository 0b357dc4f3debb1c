"""The dashboard through a screen reader's eyes: every page read from the AT-SPI tree, and a task
done with AT-SPI alone.

For each page: every showing control has a name and the role it works as, nothing showing is
left undrawn, the current page, list, size, view, section and service say so, every text a
sighted user reads is there, and no control lists an action twice. Then, driven only through
AT-SPI actions, text, focus and key events: Settings from the overflow menu, another unit,
back Home, a search written into the field as a screen reader's text entry does, the label opened
in its module, back to the dashboard, the module closed. Controls that open a popup (the More
button, the sort list) say whether it is open.

    run_a11y_test tst_a11y_host.py DASHBOARD_PROGRAM
"""

import os
import re
import shutil
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from a11y_session import (Atspi, Failure, GLib, Host, describe, pyatspi,  # noqa: E402
                          wait_for, walk)

# What a person can operate; each needs a name.
INTERACTIVE = {
    "push button", "toggle button", "push button menu", "check box", "radio button", "page tab",
    "link", "menu item", "check menu item", "radio menu item", "combo box", "list", "list item",
    "scroll bar", "slider", "spin button", "entry", "text", "password text", "tree", "tree item",
    "table", "table cell", "page tab list",
}
# Roles that show text a person reads.
TEXT_ROLES = {"label", "heading", "static", "paragraph", "alert", "notification", "text"}

# The side bar, on every page but a module's.
NAV_BUTTONS = ["Home", "Cloud", "Label Designer", "Premade Signs", "Arc Flash", "Chemical", "NFPA",
               "Pipe Marking", "Symbol Creator", "Printers", "Resources"]
NAV_LINKS = ["Request Support", "Live Chat", "Feedback"]
NAV_TEXTS = ["Korvex PRO", "Modules", "Help and resources"]
# The notice names the simulated printer whose firmware is behind.
FIRMWARE_NOTICE = "New firmware is available for Ondrel X100 on line 1."


class Report:
    def __init__(self):
        self.failures = []
        self.page = ""

    def fail(self, message):
        line = "FAIL [%s] %s" % (self.page, message)
        print(line, flush=True)
        self.failures.append(line)

    def check(self, condition, message):
        if not condition:
            self.fail(message)
        return condition


report = Report()


def role(node):
    return node.getRoleName()


def showing(node):
    try:
        return node.getState().contains(pyatspi.STATE_SHOWING)
    except GLib.Error:
        return False


def state(node, which):
    return node.getState().contains(which)


def actions(node):
    try:
        action = node.queryAction()
    except NotImplementedError:
        return []
    return [action.getName(i) for i in range(action.nActions)]


def extents(node):
    return node.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)


def showing_nodes(app):
    """Every showing node with its ancestors, read once."""
    nodes = []

    def visit(node, ancestors):
        try:
            count = node.childCount
        except GLib.Error:
            return
        for i in range(count):
            try:
                child = node.getChildAtIndex(i)
            except GLib.Error:
                continue
            if child is None or not showing(child):
                continue
            nodes.append((child, ancestors))
            visit(child, ancestors + [child])
    visit(app, [])
    return nodes


def find(app, role_name, name, shown=True):
    """The showing (or any) node of that role and name; name may be a compiled pattern."""
    for node, _ in walk(app):
        try:
            if role(node) != role_name:
                continue
            matches = name.fullmatch(node.name) if isinstance(name, re.Pattern) else node.name == name
            if matches and (not shown or showing(node)):
                return node
        except GLib.Error:
            continue
    return None


def wait_node(app, role_name, name, what=None):
    return wait_for(what or "%s %r to show" % (role_name, name), lambda: find(app, role_name, name))


def find_named(app, name, role_name=None):
    """The showing control of that name: of that role if there is one, else the last of
    another role (a page's controls follow the side bar's)."""
    found = None
    for node, _ in walk(app):
        try:
            matches = name.fullmatch(node.name) if isinstance(name, re.Pattern) else node.name == name
            if matches and role(node) in INTERACTIVE and showing(node):
                if role(node) == role_name:
                    return node
                found = node
        except GLib.Error:
            continue
    return found


def press(app, role_name, name):
    """Does a node's press action, as a screen reader's activate command does. A control of
    another role is a failure, but pressed all the same, so that one wrong role does not hide
    what the pages after it get wrong."""
    node = wait_for("%s %r to show" % (role_name, name), lambda: find_named(app, name, role_name))
    if role(node) != role_name:
        report.fail("%s should be a %s" % (describe(node), role_name))
    names = actions(node)
    if "Press" not in names:
        # Reported, then chosen from the keyboard, so that the pages behind it are checked too.
        report.fail("%s offers no press action (it offers %s)" % (describe(node), names))
        give_focus(node)
        key(0xff0d)  # Return
        return node
    node.queryAction().doAction(names.index("Press"))
    return node


def editable(node):
    """The node's editable-text interface, or None."""
    try:
        return node.queryEditableText()
    except NotImplementedError:
        return None


def expect_expanded(node, expanded, what):
    """A control that opens a popup says whether it is open."""
    report.check(state(node, pyatspi.STATE_EXPANDABLE), "%s does not say it opens anything" % describe(node))
    try:
        wait_for("%s to say %s" % (describe(node), "expanded" if expanded else "collapsed"),
                 lambda: state(node, pyatspi.STATE_EXPANDED) == expanded)
    except Failure:
        report.fail("%s %s, but says %s" % (describe(node), what,
                                            "collapsed" if expanded else "expanded"))


def key(keysym):
    Atspi.generate_keyboard_event(keysym, None, Atspi.KeySynthType.SYM)


def type_text(text):
    Atspi.generate_keyboard_event(0, text, Atspi.KeySynthType.STRING)


def give_focus(node):
    names = actions(node)
    if "SetFocus" in names:
        node.queryAction().doAction(names.index("SetFocus"))
    else:
        node.queryComponent().grabFocus()
    wait_for("focus on %s" % describe(node), lambda: state(node, pyatspi.STATE_FOCUSED))


def focused_node(app):
    for node, _ in walk(app):
        try:
            if state(node, pyatspi.STATE_FOCUSED) and showing(node):
                return node
        except GLib.Error:
            continue
    return None


class Events:
    """AT-SPI events of one type, kept until read."""

    def __init__(self, kind):
        self.kind = kind
        self.seen = []
        pyatspi.Registry.registerEventListener(self.seen.append, kind)

    def clear(self):
        del self.seen[:]

    def wait(self, what, predicate):
        return wait_for(what, lambda: next((e for e in list(self.seen) if predicate(e)), None))


def check_page(app, page, controls, texts, current, absent=()):
    """Checks the showing tree against what the page draws.

    controls: (role, name or pattern) of every control drawn besides the side bar, the notice and
    the entries of lists; texts: every text drawn; current: (role, name) that must say selected
    or checked; absent: (role, name) not drawn, so not showing."""
    report.page = page
    nodes = showing_nodes(app)
    allowed = list(controls)
    allowed += [("push button", n) for n in NAV_BUTTONS + ["More"]]
    allowed += [("push button menu", "More")]
    allowed += [("link", n) for n in NAV_LINKS]
    allowed += [("push button", "Open printer maintenance"), ("push button", "Dismiss")]
    # A list's scroll bar, drawn when its entries reach past it (checked below).
    allowed += [("scroll bar", re.compile(r"Scroll the .+"))]

    def matches(pattern, name):
        return pattern.fullmatch(name) if isinstance(pattern, re.Pattern) else pattern == name

    def in_list_entry(ancestors):
        return any(role(a) == "list item" for a in ancestors)

    names_seen = set()
    for node, ancestors in nodes:
        try:
            r, name = role(node), node.name
        except GLib.Error:
            continue
        names_seen.add(name)
        if r in INTERACTIVE and not name.strip():
            report.fail("showing %s without a name (in %s)" % (r, " > ".join(describe(a) for a in ancestors[-3:])))
        acts = actions(node)
        duplicated = sorted({a for a in acts if acts.count(a) > 1})
        if duplicated:
            report.fail("%s lists %s twice" % (describe(node), ", ".join(duplicated)))
        box = extents(node)
        if box.width <= 0 or box.height <= 0:
            report.fail("%s is showing with no area (%dx%d)" % (describe(node), box.width, box.height))
        if r in INTERACTIVE - {"list", "page tab list"} and not in_list_entry(ancestors) and r != "list item":
            if not any(r == ar and matches(an, name) for ar, an in allowed):
                other = [ar for ar, an in allowed if matches(an, name)]
                if other:
                    report.fail("%s should be a %s" % (describe(node), other[0]))
                else:
                    report.fail("%s is showing, but the page does not draw it" % describe(node))
        if r == "scroll bar":
            value = node.queryValue()
            if not value.maximumValue > value.minimumValue:
                report.fail("%s is showing, but nothing draws it: there is nothing to scroll" % describe(node))
        if r == "text" and state(node, pyatspi.STATE_EDITABLE) and state(node, pyatspi.STATE_READ_ONLY):
            report.fail("%s is both editable and read-only" % describe(node))

    for r, name in controls:
        if not any(role(n) == r and matches(name, n.name) for n, _ in nodes):
            candidates = [describe(n) for n, _ in nodes if matches(name, n.name)]
            report.fail("no showing %s %s%s" % (r, name.pattern if isinstance(name, re.Pattern) else repr(name),
                                                " (there is %s)" % ", ".join(candidates) if candidates else ""))
    for text in texts + NAV_TEXTS:
        if not any(matches(text, n.name) and (role(n) in TEXT_ROLES or role(n) == "dialog") for n, _ in nodes):
            report.fail("the text %r is not in the tree" % text)
    for r, name in current:
        node = next((n for n, _ in nodes if role(n) == r and matches(name, n.name)), None)
        if node is None:
            continue  # reported above
        if not (state(node, pyatspi.STATE_SELECTED) or state(node, pyatspi.STATE_CHECKED)):
            report.fail("%s is the current one but says neither selected nor checked" % describe(node))
    for r, name in absent:
        for node, _ in nodes:
            if role(node) == r and matches(name, node.name):
                report.fail("%s is showing, but nothing draws it" % describe(node))
    return nodes


def nav_role(name):
    return "link" if name in NAV_LINKS else "push button"


def page_controls(page_name):
    """The side bar's current entry."""
    return [("push button", page_name)] if page_name else []


HOME_TEXTS = ["Home", "Open a recent label, browse your label folder or start a module.",
              "Premade safety signs", "Start from a ready-made sign and adapt it to your site.",
              "Guides and videos", "Printer guides, supplies and how-to videos in one place.",
              FIRMWARE_NOTICE]
HOME_CONTROLS = [
    ("push button", "Browse signs"), ("push button", "See resources"),
    ("page tab", "Recently viewed"), ("page tab", "My Labels"), ("page tab", "Favorites"),
    ("radio button", "Small tiles"), ("radio button", "Medium tiles"), ("radio button", "Large tiles"),
    ("radio button", "Show as tiles"), ("radio button", "Show as rows"),
    ("text", "Search labels"), ("combo box", re.compile(r"Sort by: .+")),
    ("list", "Labels"),
]
HOME_CURRENT = [("radio button", "Medium tiles"), ("radio button", "Show as tiles"), ("push button", "Home")]
# Drawn by nothing on the dashboard's pages: the folded update notice and module notice, and
# the module bar while no module is shown.
NOT_DRAWN = [("push button", "Update now"), ("push button", "Back to the dashboard"),
             ("push button", re.compile(r"Close ?.*"))]


def check_notices(nodes):
    dismiss = [n for n, _ in nodes if role(n) == "push button" and n.name == "Dismiss"]
    report.check(len(dismiss) == 1, "%d showing \"Dismiss\" buttons; only the firmware notice is drawn" % len(dismiss))
    alert = next((n for n, _ in nodes if role(n) == "alert" and n.name == FIRMWARE_NOTICE), None)
    report.check(alert is not None, "the firmware notice is not an alert")


def list_entries(nodes, list_name="Labels"):
    return [n for n, ancestors in nodes if role(n) == "list item"
            and ancestors and role(ancestors[-1]) == "list" and ancestors[-1].name == list_name]


def expect_state(app, role_name, name, what):
    """Waits for the node to say selected or checked: the change is made before the press
    returns, so a short deadline only shortens a failing run."""
    def says():
        node = find(app, role_name, name)
        return node is not None and (state(node, pyatspi.STATE_SELECTED) or state(node, pyatspi.STATE_CHECKED))
    try:
        wait_for(what, says, 10)
        return True
    except Failure:
        report.fail("%s %r never says selected or checked" % (role_name, name))
        return False


def check_home(app):
    tabs = [("Recently viewed", "recent", lambda e: e and all(", viewed " in n.name for n in e)),
            ("My Labels", "my labels", lambda e: any(n.name == "Folder Line 2" for n in e)),
            ("Favorites", "favorites", lambda e: len(e) == 1)]
    for tab, label, filled in tabs:
        report.page = "Home, " + label
        press(app, "page tab", tab)
        wait_for("the %s list" % tab, lambda: filled(list_entries(showing_nodes(app))))
        expect_state(app, "page tab", tab, "the %s tab to say selected" % tab)
        controls = list(HOME_CONTROLS)
        if tab == "My Labels":
            controls += [("push button", "Up one folder"), ("push button", "Go to My Labels"),
                         ("push button", "Open the folder in the file browser")]
        nodes = check_page(app, "Home, " + label, controls, HOME_TEXTS,
                           HOME_CURRENT + [("page tab", tab)], NOT_DRAWN)
        check_notices(nodes)
        entries = list_entries(nodes)
        for entry in entries:
            report.check(actions(entry).count("Press") == 1, "%s cannot be pressed" % describe(entry))
        selected = [e for e in entries if state(e, pyatspi.STATE_SELECTED)]
        report.check(len(selected) <= 1, "%d entries say selected" % len(selected))
        for other, _, _ in tabs:
            if other != tab:
                node = find(app, "page tab", other)
                report.check(node is None or not state(node, pyatspi.STATE_SELECTED),
                             "%s says selected while %s is shown" % (other, tab))


def check_folder(app):
    press(app, "page tab", "My Labels")
    folder = wait_node(app, "list item", "Folder Line 2")
    acts = actions(folder)
    if not report.check("Press" in acts, "the folder entry cannot be pressed"):
        return
    folder.queryAction().doAction(acts.index("Press"))
    wait_node(app, "push button", "Go to Line 2", "the folder Line 2 to open")
    nodes = check_page(app, "My Labels, folder Line 2",
                       HOME_CONTROLS + [("push button", "Up one folder"), ("push button", "Go to My Labels"),
                                        ("push button", "Go to Line 2"),
                                        ("push button", "Open the folder in the file browser")],
                       HOME_TEXTS, HOME_CURRENT + [("page tab", "My Labels")], NOT_DRAWN)
    names = sorted(e.name for e in list_entries(nodes))
    report.check(any(n.startswith("Conveyor Pinch Point.kxld") for n in names)
                 and any(n.startswith("Lockout Point 7.kxld") for n in names),
                 "the folder's labels are not listed: %s" % names)
    press(app, "push button", "Go to My Labels")
    wait_node(app, "list item", "Folder Line 2", "the label folder again")


def check_scrolling(app):
    """Large tiles in My Labels reach past the list: its scroll bar shows, and moves by its
    actions, each listed once."""
    report.page = "My Labels, large tiles"
    press(app, "page tab", "My Labels")
    press(app, "radio button", "Large tiles")
    try:
        bar = wait_node(app, "scroll bar", "Scroll the labels", "the labels' scroll bar, with large tiles")
        value = bar.queryValue()
        before = value.currentValue
        acts = actions(bar)
        report.check(sorted(a for a in acts if a != "SetFocus") == ["Decrease", "Increase"],
                     "%s offers %s" % (describe(bar), acts))
        bar.queryAction().doAction(acts.index("Increase"))
        wait_for("%s to move down" % describe(bar), lambda: value.currentValue > before)
        bar.queryAction().doAction(acts.index("Decrease"))
        wait_for("%s to move back" % describe(bar), lambda: value.currentValue == before)
    except (Failure, ValueError) as failure:
        report.fail(str(failure))
    press(app, "radio button", "Medium tiles")
    press(app, "page tab", "Recently viewed")


def list_names(app):
    return [e.name for e in list_entries(showing_nodes(app))]


def check_live_lists(app, host):
    """My Labels follows its folder while it is shown, and a label opened in a module is then
    in Recently viewed, with no restart."""
    folder = os.path.join(host.home, "Documents", "KorvexPro", "mylabels")
    if not report.check(os.path.isdir(os.path.join(folder, "Line 2")), "no label folder at %s" % folder):
        return
    press(app, "push button", "Home")
    wait_node(app, "heading", "Home")
    press(app, "page tab", "My Labels")
    wait_node(app, "list item", "Folder Line 2")
    # Sorted first of the files, so it is on screen.
    copied = os.path.join(folder, "A Live Copy.kxld")
    shutil.copy(os.path.join(folder, "Emergency Exit.kxld"), copied)
    wait_node(app, "list item", re.compile(r"A Live Copy\.kxld, viewed .*"), "the copied label to be listed")
    renamed = os.path.join(folder, "A Live Rename.kxld")
    os.rename(copied, renamed)
    wait_node(app, "list item", re.compile(r"A Live Rename\.kxld, viewed .*"), "the renamed label to be listed")
    wait_for("the old name to go", lambda: not any(n.startswith("A Live Copy") for n in list_names(app)))
    os.remove(renamed)
    wait_for("the deleted label to go", lambda: not any(n.startswith("A Live") for n in list_names(app)))

    press(app, "page tab", "Recently viewed")
    wait_node(app, "list item", re.compile(r".+, viewed .+"), "the recent labels")
    report.check(not any(n.startswith("Tank 3 NFPA Diamond.kxnf") for n in list_names(app)),
                 "Tank 3 NFPA Diamond is recently viewed before it was opened")
    press(app, "page tab", "My Labels")
    press(app, "list item", re.compile(r"Tank 3 NFPA Diamond\.kxnf, viewed .*"))
    close = wait_node(app, "push button", re.compile(r"Close .+"), "the label's module to show")
    module = close.name[len("Close "):]
    press(app, "push button", "Back to the dashboard")
    wait_node(app, "heading", "Home", "the dashboard again")
    press(app, "page tab", "Recently viewed")
    wait_node(app, "list item", re.compile(r"Tank 3 NFPA Diamond\.kxnf, viewed today"),
              "the label opened in %s to be recently viewed" % module)
    press(app, "push button", module)
    press(app, "push button", "Close " + module)
    wait_for("%s to stop" % module, lambda: find(app, "push button", module).description == "")
    wait_node(app, "heading", "Home", "the dashboard after closing the module")


def module_processes(host, label):
    """The host's child processes that were given the label."""
    found = []
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        try:
            with open("/proc/%s/stat" % entry) as f:
                parent = int(f.read().rsplit(")", 1)[1].split()[1])
            with open("/proc/%s/cmdline" % entry, "rb") as f:
                arguments = f.read().split(b"\0")
        except (OSError, IndexError, ValueError):
            continue
        if parent == host.process.pid and any(a.endswith(label.encode()) for a in arguments):
            found.append(int(entry))
    return found


def check_labels_of_one_module(app, host):
    """Two labels of one module run as two copies of it: each has a side bar entry named by its
    file that shows it, and closing one leaves the other and the pages as they were. The first
    is opened with a real double-click, which starts one copy."""
    labels = ["Emergency Exit.kxld", "Forklift Traffic.kxld"]
    press(app, "push button", "Home")
    wait_node(app, "heading", "Home")
    for label in labels:
        press(app, "page tab", "My Labels")
        tile = wait_node(app, "list item", re.compile(re.escape(label) + r", viewed .*"))
        if label == labels[0]:
            box = extents(tile)
            pyatspi.Registry.generateMouseEvent(box.x + box.width // 2, box.y + box.height // 3,
                                                pyatspi.MOUSE_B1D)
        else:
            press(app, "list item", tile.name)
        wait_node(app, "push button", "Back to the dashboard", "the module of %s to show" % label)
        if label == labels[0]:
            wait_for("the module of %s to run" % label, lambda: module_processes(host, label))
            running = module_processes(host, label)
            report.check(len(running) == 1, "a double-click on %s started %d processes" % (label, len(running)))
        wait_node(app, "push button", label, "a side bar entry for %s" % label)
        press(app, "push button", "Back to the dashboard")
        wait_node(app, "heading", "Home", "the dashboard again")
    for label in labels:
        report.check(find(app, "push button", label) is not None, "%s has no side bar entry" % label)
    for label in labels:
        press(app, "push button", label)
        close = wait_node(app, "push button", re.compile(r"Close .+"), "the module of %s to show" % label)
        wait_for("the entry of %s to say selected" % label,
                 lambda: state(find(app, "push button", label), pyatspi.STATE_SELECTED), 10)
        others = [other for other in labels if other != label and find(app, "push button", other) is not None]
        close.queryAction().doAction(actions(close).index("Press"))
        wait_for("the entry of %s to go" % label, lambda: find(app, "push button", label) is None)
        wait_node(app, "heading", "Home", "the pages after closing %s" % label)
        report.check(find(app, "push button", "Back to the dashboard") is None,
                     "the module bar still shows after closing %s" % label)
        for other in others:
            report.check(find(app, "push button", other) is not None,
                         "closing %s also took %s's entry" % (label, other))


def check_views(app):
    """Size and view are radio buttons that say which one is on."""
    report.page = "Home, sizes and views"
    press(app, "page tab", "Recently viewed")
    for size in ["Small tiles", "Large tiles", "Medium tiles"]:
        node = press(app, "radio button", size) if find(app, "radio button", size) else None
        if not report.check(node is not None, "no radio button %r" % size):
            return
        wait_for("%s to say checked" % size, lambda: state(find(app, "radio button", size), pyatspi.STATE_CHECKED))
    press(app, "radio button", "Show as rows")
    wait_for("rows to say checked", lambda: state(find(app, "radio button", "Show as rows"), pyatspi.STATE_CHECKED))
    report.check(not state(find(app, "radio button", "Show as tiles"), pyatspi.STATE_CHECKED),
                 "tiles and rows both say checked")
    nodes = check_page(app, "Home, rows", HOME_CONTROLS[:8] + [("radio button", "Show as tiles"), ("radio button", "Show as rows")]
                       + HOME_CONTROLS[10:], HOME_TEXTS,
                       [("radio button", "Medium tiles"), ("radio button", "Show as rows")], NOT_DRAWN)
    report.check(list_entries(nodes), "the rows show no entries")
    press(app, "radio button", "Show as tiles")
    wait_for("tiles to say checked", lambda: state(find(app, "radio button", "Show as tiles"), pyatspi.STATE_CHECKED))


def check_sort_announces(app):
    """The arrows move through the sort options, and each one is spoken."""
    report.page = "Home, sort"
    names = Events("object:property-change:accessible-name")
    box = wait_node(app, "combo box", re.compile(r"Sort by.*"))
    before = box.name
    give_focus(box)
    names.clear()
    key(0xff54)  # Down
    try:
        event = names.wait("the sort list to announce the next option",
                           lambda e: e.source is not None and role(e.source) == "combo box"
                           and e.source.name != before)
        report.check(event.source.name == "Sort by: Name Z to A",
                     "the sort list announced %r after A to Z" % event.source.name)
    except Failure as failure:
        report.fail(str(failure))
    key(0xff52)  # Up, back to A to Z
    wait_for("the sort list back on A to Z", lambda: find(app, "combo box", re.compile(r"Sort by.*")).name == before)
    box = find(app, "combo box", re.compile(r"Sort by.*"))
    expect_expanded(box, False, "is closed")
    press(app, "combo box", re.compile(r"Sort by.*"))
    wait_node(app, "menu item", "Name Z to A", "the sort options to show")
    expect_expanded(box, True, "shows its options")
    key(0xff1b)  # Escape
    wait_for("the sort options to close", lambda: find(app, "menu item", "Name Z to A") is None)
    expect_expanded(box, False, "closed its options")


def check_favorites(app):
    press(app, "page tab", "Favorites")
    wait_for("the favourites", lambda: len(list_entries(showing_nodes(app))) == 1)
    nodes = check_page(app, "Favorites", HOME_CONTROLS, HOME_TEXTS, HOME_CURRENT + [("page tab", "Favorites")], NOT_DRAWN)
    entries = list_entries(nodes)
    report.check(any(e.name.startswith("Emergency Exit.kxld") for e in entries),
                 "the favourite Emergency Exit is not listed: %s" % [e.name for e in entries])
    press(app, "page tab", "Recently viewed")


def check_cloud(app):
    press(app, nav_role("Cloud"), "Cloud")
    wait_node(app, "heading", "Cloud", "the Cloud page")
    for service in ["Dropbox", "Google Drive", "OneDrive"]:
        press(app, "page tab", service)
        expect_state(app, "page tab", service, "%s to say selected" % service)
        check_page(app, "Cloud, " + service,
                   [("page tab", "Dropbox"), ("page tab", "Google Drive"), ("page tab", "OneDrive"),
                    ("list", "Cloud labels")],
                   ["Cloud", "Favorite labels kept in your cloud storage.", "No cloud labels from this service",
                    "Labels you mark as favorites in a cloud folder of the modules are listed here.", FIRMWARE_NOTICE],
                   [("page tab", service), ("push button", "Cloud")], NOT_DRAWN)
    press(app, "page tab", "Dropbox")


def check_resources(app):
    press(app, nav_role("Resources"), "Resources")
    wait_node(app, "heading", "Resources", "the Resources page")
    nodes = check_page(app, "Resources",
                       [("push button", "Browse signs"), ("list", "Resources"), ("link", re.compile(r".+"))],
                       ["Resources", "Supplies, guides and downloads for your printers, and how-to videos.",
                        "Premade safety signs", "Hundreds of compliant signs, ready to print on your supplies.",
                        FIRMWARE_NOTICE],
                       [("push button", "Resources")], NOT_DRAWN)
    links = [n for n, a in nodes if role(n) == "link" and a and role(a[-1]) == "list"]
    report.check(len(links) >= 3, "%d resources are links" % len(links))


SETTINGS_SECTIONS = {
    "Units": ([("radio button", "Inches"), ("radio button", "Centimeters"), ("radio button", "Millimeters")],
              ["Units", "Sizes of labels and signs are shown in these units."]),
    "Language": ([("combo box", re.compile(r"Language: .+"))],
                 ["Language", "The dashboard changes language at once; modules use it when they start next."]),
    "Appearance": ([("radio button", "Light"), ("radio button", "Dark")],
                   ["Appearance", "Choose a light or a dark look for the dashboard."]),
    "Privacy": ([("check box", "Send anonymous usage data"), ("check box", "Use hardware acceleration (after a restart)")],
                ["Privacy", "Anonymous usage data tells us which features are used. It never contains your labels or files."]),
    "Cloud": ([("push button", "Show cloud labels")],
              ["Cloud", "Labels you mark as favorites in Dropbox, Google Drive or OneDrive folders of the modules are listed on the Cloud page."]),
    "Reset Settings": ([("push button", "Reset settings…")],
                       ["Reset Settings", "Units, language, appearance, privacy and hardware acceleration go back to their defaults. Your labels and favorites stay."]),
}


def open_settings(app):
    press(app, "push button menu", "More") if find(app, "push button menu", "More") else press(app, "push button", "More")
    wait_node(app, "menu item", "Settings", "the overflow menu")
    press(app, "menu item", "Settings")
    wait_node(app, "heading", "Settings", "the Settings page")


def check_menu(app):
    press(app, "push button menu", "More") if find(app, "push button menu", "More") else press(app, "push button", "More")
    wait_node(app, "menu item", "Settings", "the overflow menu")
    report.page = "overflow menu"
    more = find(app, "push button menu", "More") or find(app, "push button", "More")
    expect_expanded(more, True, "has its menu open")
    nodes = showing_nodes(app)
    items = [n for n, _ in nodes if role(n) == "menu item"]
    report.check(sorted(i.name for i in items) == ["About", "Quit", "Settings"],
                 "the menu lists %s" % [i.name for i in items])
    for item in items:
        acts = actions(item)
        report.check(acts.count("Press") == 1, "%s offers Press %d times" % (describe(item), acts.count("Press")))
    key(0xff1b)  # Escape
    wait_for("the menu to close", lambda: find(app, "menu item", "Settings") is None)
    expect_expanded(more, False, "closed its menu")


def check_about(app):
    press(app, "push button menu", "More") if find(app, "push button menu", "More") else press(app, "push button", "More")
    press(app, "menu item", "About")
    dialog = wait_node(app, "dialog", "About Korvex PRO", "the About box")
    report.page = "About"
    nodes = showing_nodes(app)
    inside = [n for n, a in nodes if dialog in a]
    texts = [n.name for n in inside if role(n) in TEXT_ROLES]
    for pattern in [r"Korvex PRO", r"Installed version: .+", r"Available version: .+", r"Licence agreement"]:
        report.check(any(re.fullmatch(pattern, t) for t in texts), "the About box does not read %r: %s" % (pattern, texts))
    licence = next((n for n in inside if n.name == "Licence agreement text"), None)
    if report.check(licence is not None, "no licence text"):
        report.check(not state(licence, pyatspi.STATE_EDITABLE), "the licence text says editable")
        report.check(state(licence, pyatspi.STATE_READ_ONLY), "the licence text does not say read-only")
        report.check(licence.queryText().characterCount > 100, "the licence text cannot be read")
        report.check(editable(licence) is None, "the licence text can be written through AT-SPI")
    close = next((n for n in inside if role(n) == "push button" and n.name == "Close"), None)
    if report.check(close is not None, "the About box has no Close button"):
        close.queryAction().doAction(actions(close).index("Press"))
        wait_for("the About box to close", lambda: find(app, "dialog", "About Korvex PRO") is None)


def check_settings(app):
    open_settings(app)
    for section, (controls, texts) in SETTINGS_SECTIONS.items():
        press(app, "page tab", section)
        wait_for("the %s section" % section, lambda: find(app, "heading", section))
        expect_state(app, "page tab", section, "the %s section to say selected" % section)
        current = [("page tab", section)]
        if section == "Units":
            current.append(("radio button", "Inches"))
        if section == "Appearance":
            current.append(("radio button", "Light"))
        check_page(app, "Settings, " + section,
                   controls + [("page tab", s) for s in SETTINGS_SECTIONS],
                   ["Settings"] + texts + [FIRMWARE_NOTICE], current, NOT_DRAWN)
    # The reset question.
    press(app, "push button", "Reset settings…")
    dialog = wait_node(app, "dialog", "Reset all settings?", "the reset question")
    report.page = "reset question"
    inside = [n for n, a in showing_nodes(app) if dialog in a]
    report.check(any(n.name == "This cannot be undone." for n in inside), "the reset warning is not read")
    names = sorted(n.name for n in inside if role(n) == "push button")
    report.check(names == ["Cancel", "Reset"], "the reset question offers %s" % names)
    press(app, "push button", "Cancel")
    wait_for("the reset question to close", lambda: find(app, "dialog", "Reset all settings?") is None)
    # A page change by keyboard takes focus to the new page.
    report.page = "Settings, keyboard"
    press(app, "page tab", "Cloud")
    button = wait_node(app, "push button", "Show cloud labels")
    give_focus(button)
    key(0xff0d)  # Return
    wait_node(app, "heading", "Cloud", "the Cloud page after Return")
    try:
        wait_for("focus on the Cloud page", lambda: (lambda f: f is not None and f.name == "Cloud labels")(focused_node(app)), 10)
    except Failure:
        f = focused_node(app)
        report.fail("after Return on \"Show cloud labels\", focus is on %s, not on the Cloud page"
                    % (describe(f) if f else "nothing showing"))


def task(app, host):
    """The task, through AT-SPI alone."""
    report.page = "task"
    press(app, "push button", "Home")
    wait_node(app, "heading", "Home")
    open_settings(app)
    # Chosen in the menu, the page takes focus once the menu has closed (where it was on the
    # page before, or on its sections): not the side bar, not the closed menu.
    outside = set(NAV_BUTTONS + NAV_LINKS + ["More", "About", "Settings", "Quit"])
    try:
        wait_for("focus on the Settings page",
                 lambda: (lambda f: f is not None and f.name not in outside)(focused_node(app)), 10)
    except Failure:
        f = focused_node(app)
        report.fail("after Settings is chosen in the menu, focus is on %s, not on the Settings page"
                    % (describe(f) if f else "nothing showing"))
    press(app, "page tab", "Units")
    wait_for("the Units section", lambda: find(app, "radio button", "Centimeters"))
    press(app, "radio button", "Centimeters")
    wait_for("Centimeters to say checked", lambda: state(find(app, "radio button", "Centimeters"), pyatspi.STATE_CHECKED))
    report.check(not state(find(app, "radio button", "Inches"), pyatspi.STATE_CHECKED), "Inches still says checked")

    press(app, "push button", "Home")
    wait_node(app, "heading", "Home")
    report.check(state(find(app, "push button", "Home"), pyatspi.STATE_SELECTED), "Home does not say selected")

    descriptions = Events("object:property-change:accessible-description")
    field = wait_node(app, "text", "Search labels")
    report.check(state(field, pyatspi.STATE_EDITABLE) and not state(field, pyatspi.STATE_READ_ONLY),
                 "the search field is not editable text")
    give_focus(field)
    writer = editable(field)
    if report.check(writer is not None, "the search field cannot be written through AT-SPI"):
        report.check(writer.setTextContents("Forklift"), "the search field refused its text")
    else:
        type_text("Forklift")
    entry = wait_node(app, "list item", re.compile(r"Forklift Traffic\.kxld, viewed .*"), "the search to find Forklift Traffic")
    wait_for("the search to leave one label",
             lambda: len(list_entries(showing_nodes(app))) == 1)
    report.check(field.queryText().getText(0, -1) == "Forklift", "the search field reads %r" % field.queryText().getText(0, -1))
    try:
        descriptions.wait("the search to announce its count",
                          lambda e: e.source is not None and e.source.name == "Search labels"
                          and e.source.description == "1 label")
    except Failure as failure:
        report.fail(str(failure))

    press(app, "list item", re.compile(r"Forklift Traffic\.kxld, viewed .*"))
    close = wait_node(app, "push button", re.compile(r"Close .+"), "the label's module to show")
    module = close.name[len("Close "):]
    back = wait_node(app, "push button", "Back to the dashboard")
    wait_for("the module to run", lambda: find(app, "push button", module).description == "Running")
    report.check(find(app, "panel", module) is not None, "the module area is not a panel named %r" % module)
    # A module running with a label file has an entry of its own below the module's, named by
    # the file: that one is the current one.
    file_entry = find(app, "push button", "Forklift Traffic.kxld")
    report.check(state(find(app, "push button", module), pyatspi.STATE_SELECTED)
                 or (file_entry is not None and state(file_entry, pyatspi.STATE_SELECTED)),
                 "neither %s nor its label's entry says selected" % module)

    back.queryAction().doAction(actions(back).index("Press"))
    wait_node(app, "heading", "Home", "the dashboard again")
    report.check(find(app, "push button", "Back to the dashboard") is None, "the module bar still shows")
    report.check(find(app, "push button", module).description == "Running", "%s no longer runs" % module)

    press(app, "push button", module)
    close = wait_node(app, "push button", "Close " + module, "the module again")
    close.queryAction().doAction(actions(close).index("Press"))
    wait_for("the module to stop", lambda: find(app, "push button", module).description == "")
    wait_node(app, "heading", "Home", "the dashboard after closing the module")


def main():
    program = sys.argv[1]
    if not os.access(program, os.X_OK):
        print("FAIL: %s is not built" % program)
        return 1
    host = Host(program)
    try:
        host.start_bus()
        app = host.start()
        try:
            wait_node(app, "push button", "Home", "the side bar")
        except Failure:
            nameless = [n for n, _ in walk(app) if role(n) == "push button" and not n.name]
            raise Failure("the side bar never showed a \"Home\" button; %d push buttons have no name, "
                          "so the front end's accessibility properties were not read" % len(nameless))
        wait_node(app, "list item", re.compile(r".+, viewed .+"), "the recent labels")
        report.page = "start"
        def check_live_lists_on_disk(app):
            check_live_lists(app, host)

        def check_labels_of_one_module_by_pointer(app):
            check_labels_of_one_module(app, host)
        steps = [check_home, check_folder, check_scrolling, check_views, check_sort_announces, check_favorites, check_cloud,
                 check_resources, check_menu, check_about, check_settings, check_live_lists_on_disk,
                 check_labels_of_one_module_by_pointer]
        for step in steps:
            try:
                step(app)
            except Failure as failure:
                report.fail("%s stopped: %s" % (step.__name__, failure))
                key(0xff1b)  # whatever popup the step left open
        try:
            task(app, host)
        except Failure as failure:
            report.fail("the task stopped: %s" % failure)
    except Failure as failure:
        report.fail(str(failure))
    finally:
        host.stop()
    if report.failures:
        print("%d failures" % len(report.failures))
        return 1
    print("PASS: every page reads as it looks, and the task is done through AT-SPI alone")
    return 0


if __name__ == "__main__":
    sys.exit(main())
