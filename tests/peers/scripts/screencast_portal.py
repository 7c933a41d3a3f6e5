#!/usr/bin/python3
"""A stand-in for the desktop's ScreenCast portal on the test's session bus.

It grants every share at once (no dialog), answering each request with the
Response signal as the real portal does, and gives the PipeWire node it was
told. The options of every call are appended to a JSON-lines record, so a
test can see what the client asked for.

  screencast_portal.py RECORD_FILE NODE_ID [--cancel]
"""
import json
import os
import socket
import sys

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

RECORD, NODE = sys.argv[1], int(sys.argv[2])
CANCEL = "--cancel" in sys.argv

XML = """
<node>
  <interface name="org.freedesktop.portal.ScreenCast">
    <method name="CreateSession"><arg type="a{sv}" direction="in"/><arg type="o" direction="out"/></method>
    <method name="SelectSources"><arg type="o" direction="in"/><arg type="a{sv}" direction="in"/><arg type="o" direction="out"/></method>
    <method name="Start"><arg type="o" direction="in"/><arg type="s" direction="in"/><arg type="a{sv}" direction="in"/><arg type="o" direction="out"/></method>
    <method name="OpenPipeWireRemote"><arg type="o" direction="in"/><arg type="a{sv}" direction="in"/><arg type="h" direction="out"/></method>
    <property name="version" type="u" access="read"/>
  </interface>
  <interface name="org.freedesktop.portal.Session">
    <method name="Close"/>
  </interface>
</node>
"""
NODE_INFO = Gio.DBusNodeInfo.new_for_xml(XML)
connection = None
tokens = 0


def record(method, options):
    with open(RECORD, "a") as out:
        out.write(json.dumps({"method": method, "options": options}) + "\n")


def request_path(sender, token):
    return "/org/freedesktop/portal/desktop/request/%s/%s" % (sender[1:].replace(".", "_"), token)


def respond(path, code, results):
    def emit():
        connection.emit_signal(None, path, "org.freedesktop.portal.Request", "Response",
                               GLib.Variant("(ua{sv})", (code, results)))
        return False
    GLib.idle_add(emit)


def pipewire_fd():
    """A connection to the test's PipeWire when there is one, as the real portal gives."""
    path = os.path.join(os.environ.get("XDG_RUNTIME_DIR", "/nonexistent"), "pipewire-0")
    if os.path.exists(path):
        sock = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        sock.connect(path)
        return sock.detach()
    return os.open("/dev/null", os.O_RDWR)


def on_call(conn, sender, path, interface, method, params, invocation):
    global tokens
    if interface == "org.freedesktop.portal.Session":
        record("Close", {"session": path})
        invocation.return_value(None)
        return
    args = params.unpack()
    options = args[-1]
    record(method, options)
    if method == "OpenPipeWireRemote":
        fds = Gio.UnixFDList.new_from_array([pipewire_fd()])
        invocation.return_value_with_unix_fd_list(GLib.Variant("(h)", (0,)), fds)
        return
    req = request_path(sender, options["handle_token"])
    invocation.return_value(GLib.Variant("(o)", (req,)))
    if method == "CreateSession":
        session = "/org/freedesktop/portal/desktop/session/%s/%s" % (
            sender[1:].replace(".", "_"), options["session_handle_token"])
        conn.register_object(session, NODE_INFO.interfaces[1], on_call, None, None)
        respond(req, 0, {"session_handle": GLib.Variant("s", session)})
    elif method == "SelectSources":
        respond(req, 0, {})
    elif method == "Start":
        if CANCEL:
            respond(req, 1, {})
            return
        tokens += 1
        respond(req, 0, {
            "streams": GLib.Variant("a(ua{sv})", [(NODE, {"size": GLib.Variant("(ii)", (1280, 720))})]),
            "restore_token": GLib.Variant("s", "granted-%d" % tokens),
        })


def on_get(conn, sender, path, interface, prop):
    return GLib.Variant("u", 4)


def on_bus(conn, name):
    global connection
    connection = conn
    conn.register_object("/org/freedesktop/portal/desktop", NODE_INFO.interfaces[0], on_call, on_get, None)


Gio.bus_own_name(Gio.BusType.SESSION, "org.freedesktop.portal.Desktop", Gio.BusNameOwnerFlags.NONE,
                 on_bus, None, lambda *a: sys.exit(1))
GLib.MainLoop().run()
