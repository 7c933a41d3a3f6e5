#!/usr/bin/python3
"""A stand-in for the desktop's GlobalShortcuts portal on the test's session bus.

It binds every shortcut as asked (no dialog), answering each request with the
Response signal as the real portal does, and records every call as a JSON
line. The test presses a shortcut through org.tavorin.Test.Activate, which
emits Activated for the session that bound it last.

  global_shortcuts_portal.py RECORD_FILE [--refuse]
"""
import json
import sys

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

RECORD = sys.argv[1]
REFUSE = "--refuse" in sys.argv
PATH = "/org/freedesktop/portal/desktop"

XML = """
<node>
  <interface name="org.freedesktop.portal.GlobalShortcuts">
    <method name="CreateSession"><arg type="a{sv}" direction="in"/><arg type="o" direction="out"/></method>
    <method name="BindShortcuts"><arg type="o" direction="in"/><arg type="a(sa{sv})" direction="in"/>
      <arg type="s" direction="in"/><arg type="a{sv}" direction="in"/><arg type="o" direction="out"/></method>
    <signal name="Activated"><arg type="o"/><arg type="s"/><arg type="t"/><arg type="a{sv}"/></signal>
    <property name="version" type="u" access="read"/>
  </interface>
  <interface name="org.freedesktop.portal.Session">
    <method name="Close"/>
  </interface>
  <interface name="org.tavorin.Test">
    <method name="Activate"><arg type="s" direction="in"/></method>
  </interface>
</node>
"""
NODE_INFO = Gio.DBusNodeInfo.new_for_xml(XML)
bound_session = None


def record(entry):
    with open(RECORD, "a") as out:
        out.write(json.dumps(entry) + "\n")


def respond(conn, path, code, results):
    def emit():
        conn.emit_signal(None, path, "org.freedesktop.portal.Request", "Response",
                         GLib.Variant("(ua{sv})", (code, results)))
        return False
    GLib.idle_add(emit)


def on_call(conn, sender, path, interface, method, params, invocation):
    global bound_session
    args = params.unpack()
    if interface == "org.freedesktop.portal.Session":
        record({"method": "Close", "session": path})
        if bound_session == path:
            bound_session = None
        invocation.return_value(None)
        return
    if interface == "org.tavorin.Test":
        if bound_session:
            conn.emit_signal(None, PATH, "org.freedesktop.portal.GlobalShortcuts", "Activated",
                             GLib.Variant("(osta{sv})", (bound_session, args[0], 0, {})))
        invocation.return_value(None)
        return
    options = args[-1]
    request = "%s/request/%s/%s" % (PATH, sender[1:].replace(".", "_"), options["handle_token"])
    invocation.return_value(GLib.Variant("(o)", (request,)))
    if method == "CreateSession":
        session = "%s/session/%s/%s" % (PATH, sender[1:].replace(".", "_"), options["session_handle_token"])
        conn.register_object(session, NODE_INFO.interfaces[1], on_call, None, None)
        record({"method": method, "session": session})
        respond(conn, request, 0, {"session_handle": GLib.Variant("s", session)})
    elif method == "BindShortcuts":
        record({"method": method, "session": args[0], "shortcuts": args[1]})
        if REFUSE:
            respond(conn, request, 2, {})
            return
        bound_session = args[0]
        respond(conn, request, 0, {})


def on_bus(conn, name):
    conn.register_object(PATH, NODE_INFO.interfaces[0], on_call, lambda *a: GLib.Variant("u", 1), None)
    conn.register_object(PATH, NODE_INFO.interfaces[2], on_call, None, None)


Gio.bus_own_name(Gio.BusType.SESSION, "org.freedesktop.portal.Desktop", Gio.BusNameOwnerFlags.NONE,
                 on_bus, None, lambda *a: sys.exit(1))
GLib.MainLoop().run()
