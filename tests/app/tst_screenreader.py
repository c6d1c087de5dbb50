"""The built program as a screen reader meets it, over the accessibility bus.

tst_screenreader.py PROGRAM FOLDER, within a D-Bus session and an X server of its own;
the folder is empty and takes what the program needs.
"""
import os
import subprocess
import sys
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib

PATIENCE = 30  # seconds, for a loaded machine
ANSWER = 10000  # milliseconds that a call may take; a dialog would keep it for ever

spoken = []  # what a reader speaks by itself


def fail(message):
    sys.exit("FAILED: " + message)


def compare(what, actual, expected):
    if actual != expected:
        fail(f"{what} is {actual!r}, not {expected!r}")


def listen(event):
    source = event.source
    if event.detail1 and source and source.get_role() == Atspi.Role.NOTIFICATION:
        source.clear_cache()
        spoken.append(source.get_name())


def wait(what, condition):
    """The first true value of the condition."""
    GLib.timeout_add(20, lambda: True)  # wakes the loop
    deadline = time.monotonic() + PATIENCE
    while time.monotonic() < deadline:
        GLib.MainContext.default().iteration(True)
        try:
            value = condition()
        except GLib.Error:
            continue  # what it asked is gone, or not there yet
        if value:
            return value
    fail(f"{what}: not within {PATIENCE} seconds")


def objects(top):
    yield top
    for index in range(top.get_child_count()):
        child = top.get_child_at_index(index)
        if child:
            yield from objects(child)


def find(top, role, name):
    """The first such object below another one; a name of None is any."""
    try:
        for found in objects(top):
            if found.get_role() == role and name in (None, found.get_name()):
                return found
    except GLib.Error:
        pass  # gone while it was asked
    return None


def name_of(found):
    return found.get_name() if found else None


def application():
    desktop = Atspi.get_desktop(0)
    for index in range(desktop.get_child_count()):
        child = desktop.get_child_at_index(index)
        if child and child.get_name() == "Crayvell 1.0":
            return child
    return None


def press(top, role, name):
    pressed = wait(f"{name} to press", lambda: find(top, role, name))
    try:
        compare(f"the action of {name}", pressed.get_action_name(0), "Press")
        pressed.do_action(0)
    except GLib.Error as error:
        fail(f"pressing {name} is not answered: {error.message}")


def shown(top, name):
    return find(top, Atspi.Role.FILE_CHOOSER, name) or find(top, Atspi.Role.DIALOG, name)


def dialog(top, name):
    return wait(f"dialog {name}", lambda: shown(top, name))


def description(canvas):
    canvas.clear_cache()
    return canvas.get_description()


def check(program, folder):
    top = wait("the program on the bus", application)
    button = Atspi.Role.PUSH_BUTTON

    canvas = wait("the canvas", lambda: find(top, Atspi.Role.IMAGE, "Picture"))
    compare("the description of the empty canvas", description(canvas), "No photo is open")

    for role in (button, Atspi.Role.MENU_ITEM):
        press(top, role, "Open")
        opened = dialog(top, "Open Image")
        compare("the window's name behind its dialog",
                wait("the window", lambda: name_of(find(top, Atspi.Role.FRAME, None))), "Crayvell")
        press(opened, button, "Cancel")
        wait("the message of a cancelled dialog", lambda: "No file selected" in spoken)
        wait("the end of the dialog", lambda: not shown(top, "Open Image"))
        spoken.clear()

    photo = os.path.join(folder, "photo.ppm")
    with open(photo, "wb") as file:
        file.write(b"P6 32 20 255\n" + bytes(range(240)) * 8)
    press(top, button, "Open")
    opened = dialog(top, "Open Image")
    line = wait("the line for a name", lambda: find(opened, Atspi.Role.TEXT, "File name:"))
    Atspi.EditableText.set_text_contents(line, photo)
    press(opened, button, "Open")
    wait("the photo's description",
         lambda: description(canvas) == "Photo photo.ppm, 32 by 20 pixels")
    press(top, button, "Process")
    wait("the sketch's description",
         lambda: description(canvas) == "Sketch of photo.ppm, 32 by 20 pixels")

    press(top, Atspi.Role.MENU_ITEM, "Index")
    text = wait("the text of the help", lambda: find(dialog(top, "Help"), Atspi.Role.LABEL, None))
    for words in (text.get_name(), Atspi.Text.get_text(text, 0, -1)):
        if not words.startswith("Dear customer!") or not words.endswith("processing process."):
            fail(f"the help reads {words!r}")

    press(top, Atspi.Role.MENU_ITEM, "Quit")
    compare("the program's result", program.wait(PATIENCE), 0)


def main():
    Atspi.init()
    Atspi.set_timeout(ANSWER, ANSWER)
    listener = Atspi.EventListener.new(listen)
    listener.register("object:state-changed:showing")
    environment = dict(os.environ, HOME=sys.argv[2], XDG_CONFIG_HOME=sys.argv[2],
                       LC_ALL="C.UTF-8", QT_QPA_PLATFORM="xcb",
                       QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1")
    program = subprocess.Popen([sys.argv[1]], env=environment)
    try:
        check(program, sys.argv[2])
    finally:
        program.kill()
    print("Everything is heard")


main()
