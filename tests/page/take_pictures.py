#!/usr/bin/env python3
"""Takes the pictures of the server's page that the documents show.

Usage: take_pictures.py SERVER FOLDER
"""

import os
import pathlib
import sys
import tempfile

from browser import Browser
from classroom import Client, Server

# What a usual desktop has, so that the pictures do not depend on this one.
FONTS = """<?xml version="1.0"?><!DOCTYPE fontconfig SYSTEM "fonts.dtd">
<fontconfig>
  <alias binding="same"><family>sans-serif</family>
    <prefer><family>Noto Sans</family><family>WenQuanYi Micro Hei</family></prefer></alias>
  <alias binding="same"><family>system-ui</family>
    <prefer><family>Noto Sans</family><family>WenQuanYi Micro Hei</family></prefer></alias>
  <alias binding="same"><family>monospace</family>
    <prefer><family>DejaVu Sans Mono</family><family>WenQuanYi Micro Hei Mono</family></prefer></alias>
  <include ignore_missing="yes">/etc/fonts/fonts.conf</include>
</fontconfig>
"""


def teach(server):
    """A lesson with some of everything in it. Returns the clients, which have to live on."""
    teacher, student, guest = (Client(server.port) for _ in range(3))
    guest.request("Setting.Get.Version", {"dev": 1})
    guest.request("Course.Get.Coming", {"start": 0, "limit": 30})
    for client in (teacher, student):
        client.send("PING")
        client.receive()
    teacher.sign_in()
    student.sign_in("13900000001")
    courses = {"classroomID": 5001, "start": 0, "liveType": 1, "limit": 5, "draft": False}
    teacher.request("Course.Get.Items", courses)
    teacher.request("Classroom.Get.Items")
    server.control({"fault": "delay", "ms": 180, "count": 1, "command": "Course.Get.Coming"})
    student.request("Course.Get.Coming", {"start": 0, "limit": 10, "status": 1, "order": "asc"})
    server.control({"fault": "error", "code": 1000, "err": "try later", "command": "Course.Get.Info"})
    student.request("Course.Get.Info", {"roomID": "77"})
    server.control({"fault": "drop", "command": "User.Post.Cnick"})
    student.post("User.Post.Cnick", {"nick": "小明"})
    server.control({"push": "Rooms.Push.Message", "values": {"type": 3, "course": "77"}, "user": "100001"})
    teacher.receive()
    server.control({"fault": "delay", "ms": 250, "command": "Course.Post.Create"})
    student.request("User.Post.Gender", {"gender": 2})
    teacher.request("Course.Get.Items", courses)
    return teacher, student, guest


def take(browser, server, path, scheme):
    page = browser.open(server.page, scheme=scheme)
    page.wait("document.querySelectorAll('#connected li').length === 3")
    page.wait("[...document.querySelectorAll('#rows .note')].some((note) => note.textContent.includes('push'))")
    page.value("""(() => {
      const rows = [...document.querySelectorAll('#rows tr.out')];
      rows.findLast((row) => row.textContent.includes('Course.Get.Items')).click();
      document.querySelector('#scroll').scrollTop = 1e6;
      document.activeElement.blur();
    })()""")
    page.wait("document.querySelector('#tree summary')")
    page.picture(path)
    for complaint in page.complaints():
        print(complaint)
    page.close()


def main():
    program, folder = sys.argv[1], pathlib.Path(sys.argv[2])
    folder.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory() as temporary:
        fonts = pathlib.Path(temporary, "fonts.conf")
        fonts.write_text(FONTS, encoding="utf-8")
        os.environ["FONTCONFIG_FILE"] = str(fonts)
        with Server(program) as server, Browser() as browser:
            clients = teach(server)
            take(browser, server, folder / "page.png", "light")
            take(browser, server, folder / "page-dark.png", "dark")
            del clients


if __name__ == "__main__":
    main()
