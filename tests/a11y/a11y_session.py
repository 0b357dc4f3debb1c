"""The dashboard host under an AT-SPI bus of the test's own, read and driven through pyatspi.

Runs inside a D-Bus session and an X server of its own (run_a11y_test starts both). Waiting is
always for a state of the tree or an AT-SPI event, bounded by a deadline; nothing sleeps for a
fixed time.
"""

import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib, Gio  # noqa: E402

import pyatspi  # noqa: E402

# A loaded machine shares two cores among several builds: deadlines are generous, and only
# ever reached when something is wrong.
DEADLINE_S = 30.0


class Failure(Exception):
    pass


def pump(timeout_ms):
    """Runs the GLib main context (AT-SPI events) until an event arrives or timeout_ms pass."""
    context = GLib.MainContext.default()
    fired = []
    source = GLib.timeout_source_new(timeout_ms)
    source.set_callback(lambda *_: fired.append(True) or False)
    source.attach(context)
    context.iteration(True)
    if not fired:
        source.destroy()
    while context.pending():
        context.iteration(False)


def wait_for(what, predicate, deadline_s=DEADLINE_S):
    """Returns the first true value of predicate(), checked again after every AT-SPI event
    (and at least every 50 ms, as not every change of the tree sends one)."""
    end = time.monotonic() + deadline_s
    last_error = None
    while True:
        try:
            value = predicate()
            if value:
                return value
        except GLib.Error as error:  # a node that went away between two calls
            last_error = error
        if time.monotonic() > end:
            raise Failure("timed out waiting for %s%s" % (what, " (%s)" % last_error if last_error else ""))
        pump(50)


class Host:
    """The real dashboard program with its demo modules, a simulated printer with newer firmware
    and a home of its own."""

    def __init__(self, program):
        self.program = program
        self.work = tempfile.mkdtemp(prefix="korvex-a11y-")
        self.process = None
        self.bus_launcher = None
        self.app = None

    def start_bus(self):
        launcher = "/usr/libexec/at-spi-bus-launcher"
        self.bus_launcher = subprocess.Popen([launcher, "--launch-immediately"],
                                             stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        # The launcher owns org.a11y.Bus once the accessibility bus is up.
        connection = Gio.bus_get_sync(Gio.BusType.SESSION, None)

        def bus_up():
            reply = connection.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                         "org.freedesktop.DBus", "NameHasOwner",
                                         GLib.Variant("(s)", ("org.a11y.Bus",)),
                                         GLib.VariantType("(b)"), Gio.DBusCallFlags.NONE, -1, None)
            return reply.unpack()[0]
        wait_for("the AT-SPI bus launcher", bus_up)

    def start(self):
        home = os.path.join(self.work, "home")
        runtime = os.path.join(self.work, "runtime")
        os.makedirs(home)
        os.makedirs(runtime, mode=0o700)
        printers = os.path.join(self.work, "printers.json")
        firmware = os.path.join(self.work, "firmware.json")
        with open(printers, "w") as f:
            json.dump({"printers": [{
                "name": "Ondrel X100 on line 1", "driver": "Ondrel X100 Series", "port": "USB001",
                "location": "Line 1", "status": 0, "supplyId": "Y-4421", "ribbonIds": ["R-10"],
                "firmwareVersion": "1.4.2-118", "type": 3, "default": True}]}, f)
        with open(firmware, "w") as f:
            json.dump({"printerTypes": [{"type": 3, "latestVersion": "1.4.3-120"}]}, f)
        env = dict(os.environ)
        env.update({
            "HOME": home,
            "XDG_CONFIG_HOME": os.path.join(home, ".config"),
            "XDG_DATA_HOME": os.path.join(home, ".local/share"),
            "XDG_CACHE_HOME": os.path.join(home, ".cache"),
            "XDG_STATE_HOME": os.path.join(home, ".local/state"),
            "XDG_RUNTIME_DIR": runtime,
            "QT_QPA_PLATFORM": "xcb",
            "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1",
            "KORVEX_SIMULATED_PRINTERS": printers,
            "KORVEX_FIRMWARE_MANIFEST": firmware,
            "KORVEX_REAL_PRINTERS": "0",
            "LC_ALL": "C.UTF-8",
        })
        env.pop("XDG_CONFIG_DIRS", None)
        env.pop("QT_ACCESSIBILITY", None)
        self.home = home
        self.process = subprocess.Popen([self.program], env=env, cwd=home)

        def registered():
            if self.process.poll() is not None:
                raise Failure("the dashboard exited with %s" % self.process.returncode)
            desktop = pyatspi.Registry.getDesktop(0)
            for i in range(desktop.childCount):
                app = desktop.getChildAtIndex(i)
                if app is not None and app.get_process_id() == self.process.pid and app.childCount > 0:
                    return app
            return None
        self.app = wait_for("the dashboard on the AT-SPI bus", registered)
        self.app.set_cache_mask(Atspi.Cache.NONE)
        return self.app

    def stop(self):
        if self.process and self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
            try:
                self.process.wait(20)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
        if self.bus_launcher and self.bus_launcher.poll() is None:
            self.bus_launcher.terminate()
            self.bus_launcher.wait()
        shutil.rmtree(self.work, ignore_errors=True)


def states(node):
    return node.getState()


def has(node, state):
    return node.getState().contains(state)


def walk(node, depth=0):
    yield node, depth
    try:
        count = node.childCount
    except GLib.Error:
        return
    for i in range(count):
        try:
            child = node.getChildAtIndex(i)
        except GLib.Error:
            continue
        if child is not None:
            yield from walk(child, depth + 1)


def describe(node):
    try:
        return "%s %r" % (node.getRoleName(), node.name)
    except GLib.Error:
        return "<gone>"
