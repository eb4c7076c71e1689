#!/usr/bin/env python3
"""The packages: the .deb installs into a fresh root with Depends from dpkg-shlibdeps, its
desktop entry and AppStream record validate, and the installed app finds its keymap tool;
the .tar.gz bundle started from Downloads moves to ~/Applications/Vistrel and relaunches once."""

import glob
import os
import re
import subprocess
import tarfile
import time

from PIL import Image

import harness
from vistrel_app import MAIN_TITLE_PREFIX, VistrelApp, swap_problems

ICON_SIZES = (16, 22, 24, 32, 48, 64, 128, 256, 512)


def make_package(session, generator, suffix):
    """Runs CPack on the build tree into a scratch folder; the one package file it made."""
    out = session.scratch("packages-" + generator)
    status, output = checked([harness.tool_path("cpack"), "-G", generator, "-B", out, "--config",
                              os.path.join(session.build_dir, "CPackConfig.cmake")], timeout=240)
    found = glob.glob(os.path.join(out, "*" + suffix))
    if status != 0 or len(found) != 1:
        raise AssertionError("cpack -G %s made %r:\n%s" % (generator, found, output))
    return found[0]


def checked(argv, timeout=120, **kwargs):
    result = subprocess.run(argv, capture_output=True, timeout=timeout, **kwargs)
    return result.returncode, (result.stdout + result.stderr).decode("utf-8", "replace")


class PackagingTests(harness.SystemTestCase):

    def test_deb_installs_validates_and_runs_with_its_keymap_tool(self):
        session = self.start_session()
        deb = make_package(session, "DEB", ".deb")

        fields = subprocess.run([harness.tool_path("dpkg-deb"), "-f", deb, "Package", "Version", "Depends"],
                                capture_output=True, check=True).stdout.decode()
        self.assertIn("Package: vistrel\n", fields)
        depends = {d.strip().split(" ")[0] for d in
                   re.search(r"^Depends: (.*)$", fields, re.M).group(1).split(",")}
        for package in ("libc6", "libqt6widgets6", "libqt6network6", "libx11-6", "libxtst6",
                        "libsqlite3-0", "qt6-image-formats-plugins"):
            self.assertIn(package, depends)

        # A fresh root with its own, empty package database: what dpkg installs there is
        # exactly what the package holds.
        root = session.scratch("root")
        admin = os.path.join(root, "var", "lib", "dpkg")
        for folder in ("info", "updates", "triggers"):
            os.makedirs(os.path.join(admin, folder))
        for name in ("status", "available"):
            open(os.path.join(admin, name), "w").close()
        status, output = checked([harness.tool_path("dpkg"), "--root=" + root, "--force-depends",
                                  "--force-script-chrootless", "--no-triggers", "-i", deb])
        self.assertEqual(status, 0, output)
        status, output = checked([harness.tool_path("dpkg"), "--root=" + root, "-s", "vistrel"])
        self.assertIn("Status: install ok installed", output)

        usr = os.path.join(root, "usr")
        desktop_file = os.path.join(usr, "share", "applications", "vistrel.desktop")
        self.assertEqual(checked([harness.tool_path("desktop-file-validate"), desktop_file]), (0, ""))
        status, output = checked([harness.tool_path("appstreamcli"), "validate", "--no-net",
                                  os.path.join(usr, "share", "metainfo", "local.tarnwick.Vistrel.metainfo.xml")])
        self.assertEqual(status, 0, output)
        icons = os.path.join(usr, "share", "icons", "hicolor")
        self.assertTrue(os.path.isfile(os.path.join(icons, "scalable", "apps", "vistrel.svg")))
        for size in ICON_SIZES:
            with Image.open(os.path.join(icons, "%dx%d" % (size, size), "apps", "vistrel.png")) as icon:
                self.assertEqual(icon.size, (size, size))
                self.assertEqual(icon.mode, "RGBA")
                # The tile's corner is clear, its middle is the dark tile or the lime mark.
                self.assertEqual(icon.getpixel((0, 0))[3], 0)
                self.assertEqual(icon.getpixel((size // 2, size // 5))[3], 255)
        binaries = os.path.join(usr, "bin")
        self.assertEqual(sorted(os.listdir(binaries)), ["vistrel", "vistrel-keymap"])
        file_type = subprocess.run([harness.tool_path("file"), "-b", os.path.join(binaries, "vistrel")],
                                   capture_output=True, check=True).stdout.decode()
        self.assertIn("stripped", file_type)
        self.assertNotIn("not stripped", file_type)

        # The installed app: Windows Mode in force proves it found the keymap tool beside it.
        x = session.x
        before = x.keymap()
        app = session.spawn("installed-vistrel", [os.path.join(binaries, "vistrel")])
        window = x.wait_for_window(prefix=MAIN_TITLE_PREFIX, pid=app.pid)
        x.wait_keymap(lambda k: not swap_problems(k), 20, "the Command/Control swap")
        with open(desktop_file, encoding="utf-8") as f:
            wm_class = re.search(r"^StartupWMClass=(.*)$", f.read(), re.M).group(1)
        self.assertEqual(window.wm_class[-1], wm_class)
        status, output = checked([os.path.join(binaries, "vistrel"), "quit"], env=session.env)
        self.assertEqual(status, 0, output)
        self.assertEqual(app.wait(10), 0)
        self.assertEqual(x.keymap().differences(before), [])

    def test_bundle_from_downloads_moves_to_applications_and_relaunches_once(self):
        session = self.start_session()
        bundle_archive = make_package(session, "TGZ", ".tar.gz")
        downloads = os.path.join(session.home, "Downloads")
        with tarfile.open(bundle_archive) as archive:
            archive.extractall(downloads)
        (top,) = os.listdir(downloads)
        downloaded = os.path.join(downloads, top, "bin", "vistrel")
        target = os.path.join(session.home, "Applications", "Vistrel")
        # An older copy is there already; nothing of it may survive.
        os.makedirs(os.path.join(target, "bin"))
        with open(os.path.join(target, "bin", "left-over"), "w") as f:
            f.write("from an older version")

        x = session.x
        started = time.monotonic()
        first = session.spawn("downloaded-vistrel", [downloaded])
        self.assertEqual(first.wait(20), 0)
        lived = time.monotonic() - started
        self.assertGreaterEqual(lived, 0.5)
        moved = os.path.join(target, "bin", "vistrel")
        window = x.wait_for_window(prefix=MAIN_TITLE_PREFIX, timeout=30)
        self.assertEqual(os.path.realpath("/proc/%d/exe" % window.pid), os.path.realpath(moved))
        self.assertEqual(sorted(os.listdir(os.path.join(target, "bin"))), ["vistrel", "vistrel-keymap"])
        self.assertTrue(os.path.exists(downloaded))
        # The moved copy is where it belongs: it stays, and nobody relaunches again.
        app = VistrelApp(session)
        app.wait_swapped()
        self.assertEqual([w.pid for w in x.windows(prefix=MAIN_TITLE_PREFIX)], [window.pid])
        self.assertTrue(os.path.exists("/proc/%d" % window.pid))
        status, output = checked([moved, "quit"], env=session.env)
        self.assertEqual(status, 0, output)


if __name__ == "__main__":
    harness.main()
