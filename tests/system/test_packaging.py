#!/usr/bin/env python3
"""The .deb in a fresh root, and the .tar.gz bundle moving itself to ~/Applications."""

import glob
import os
import re
import subprocess
import tarfile
import time
from pathlib import Path

from PIL import Image

import harness
from vistrel_app import MAIN_TITLE_PREFIX, VistrelApp, swap_problems

ICON_SIZES = (16, 22, 24, 32, 48, 64, 128, 256, 512)


def make_package(session, generator, suffix):
    """Runs CPack on the build tree into a scratch folder; the one package file it made."""
    out = session.scratch("packages-" + generator)
    output = checked(["cpack", "-G", generator, "-B", out, "--config",
                      os.path.join(session.build_dir, "CPackConfig.cmake")], timeout=240)
    found = glob.glob(os.path.join(out, "*" + suffix))
    if len(found) != 1:
        raise AssertionError("cpack -G %s made %r:\n%s" % (generator, found, output))
    return found[0]


def checked(argv, timeout=120, **kwargs):
    """The output of a command that must succeed."""
    result = subprocess.run([harness.tool_path(argv[0])] + argv[1:], stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, timeout=timeout, **kwargs)
    if result.returncode != 0:
        raise AssertionError("%s exited %d:\n%s" % (argv[0], result.returncode, result.stdout.decode()))
    return result.stdout.decode("utf-8", "replace")


class PackagingTests(harness.SystemTestCase):

    def test_deb_installs_validates_and_runs_with_its_keymap_tool(self):
        session = self.start_session()
        deb = make_package(session, "DEB", ".deb")

        fields = checked(["dpkg-deb", "-f", deb, "Package", "Version", "Depends"])
        self.assertIn("Package: vistrel\n", fields)
        depends = {d.strip().split(" ")[0] for d in
                   re.search(r"^Depends: (.*)$", fields, re.M).group(1).split(",")}
        self.assertLessEqual({"libc6", "libqt6widgets6", "libqt6network6", "libx11-6", "libxtst6", "libsqlite3-0",
                              "qt6-image-formats-plugins"}, depends)

        # A fresh root with its own, empty package database: what dpkg installs there is
        # exactly what the package holds.
        root = session.scratch("root")
        admin = os.path.join(root, "var", "lib", "dpkg")
        for folder in ("info", "updates", "triggers"):
            os.makedirs(os.path.join(admin, folder))
        for name in ("status", "available"):
            open(os.path.join(admin, name), "w").close()
        checked(["dpkg", "--root=" + root, "--force-depends", "--force-script-chrootless", "--no-triggers", "-i", deb])
        self.assertIn("Status: install ok installed", checked(["dpkg", "--root=" + root, "-s", "vistrel"]))

        usr = os.path.join(root, "usr")
        desktop_file = os.path.join(usr, "share", "applications", "vistrel.desktop")
        self.assertEqual(checked(["desktop-file-validate", desktop_file]), "")
        checked(["appstreamcli", "validate", "--no-net",
                 os.path.join(usr, "share", "metainfo", "local.tarnwick.Vistrel.metainfo.xml")])
        icons = os.path.join(usr, "share", "icons", "hicolor")
        self.assertTrue(os.path.isfile(os.path.join(icons, "scalable", "apps", "vistrel.svg")))
        for size in ICON_SIZES:
            with Image.open(os.path.join(icons, "%dx%d" % (size, size), "apps", "vistrel.png")) as icon:
                # The tile's corner is clear, its middle is the dark tile or the lime mark.
                alphas = icon.getpixel((0, 0))[3], icon.getpixel((size // 2, size // 5))[3]
                self.assertEqual((icon.size, icon.mode, alphas), ((size, size), "RGBA", (0, 255)))
        binaries = os.path.join(usr, "bin")
        self.assertEqual(sorted(os.listdir(binaries)), ["vistrel", "vistrel-keymap"])
        self.assertRegex(checked(["file", "-b", os.path.join(binaries, "vistrel")]), r"(?<!not) stripped")

        # The installed app: Windows Mode in force proves it found the keymap tool beside it.
        x = session.x
        before = x.keymap()
        app = session.spawn("installed-vistrel", [os.path.join(binaries, "vistrel")])
        window = x.wait_for_window(prefix=MAIN_TITLE_PREFIX, pid=app.pid)
        x.wait_keymap(lambda k: not swap_problems(k), 20, "the Command/Control swap")
        wm_class = re.search(r"^StartupWMClass=(.*)$", Path(desktop_file).read_text(encoding="utf-8"), re.M).group(1)
        self.assertEqual(window.wm_class[-1], wm_class)
        checked([os.path.join(binaries, "vistrel"), "quit"], env=session.env)
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
        Path(target, "bin", "left-over").write_text("from an older version")

        x = session.x
        started = time.monotonic()
        first = session.spawn("downloaded-vistrel", [downloaded])
        self.assertEqual(first.wait(20), 0)
        self.assertGreaterEqual(time.monotonic() - started, 0.5)
        moved = os.path.join(target, "bin", "vistrel")
        window = x.wait_for_window(prefix=MAIN_TITLE_PREFIX, timeout=30)
        self.assertEqual(os.path.realpath("/proc/%d/exe" % window.pid), os.path.realpath(moved))
        self.assertEqual(sorted(os.listdir(os.path.join(target, "bin"))), ["vistrel", "vistrel-keymap"])
        self.assertTrue(os.path.exists(downloaded))
        # The moved copy is where it belongs: it stays, and nobody relaunches again.
        VistrelApp(session).wait_swapped()
        self.assertEqual([w.pid for w in x.windows(prefix=MAIN_TITLE_PREFIX)], [window.pid])
        self.assertTrue(os.path.exists("/proc/%d" % window.pid))
        checked([moved, "quit"], env=session.env)


if __name__ == "__main__":
    harness.main()
