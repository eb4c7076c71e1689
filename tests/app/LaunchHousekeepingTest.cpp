#include "app/LaunchHousekeeping.h"
#include "platform/fake/FakeProcessRunner.h"
#include "support/TestFiles.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

namespace {

TEST(LaunchHousekeeping, OnlyABundlePassingThroughATemporaryPlaceMovesNeverABuildTreeOrOneHoldingTheTarget)
{
    // The target's own folder counts as temporary here, so only the target rule keeps it.
    const QStringList temporary{"/tmp", "/media", "/h/Downloads", "/h/Applications"};
    const std::pair<QString, QString> cases[] = {   // executable, the bundle that moves
        {"/h/Downloads/Vistrel-0.1.0-Linux/bin/vistrel", "/h/Downloads/Vistrel-0.1.0-Linux"},
        {"/h/Downloads/../Downloads/V/bin/vistrel", "/h/Downloads/V"},
        {"/media/usb/Vistrel/bin/vistrel", "/media/usb/Vistrel"},
        {"/tmp/unpacked/bin/vistrel", "/tmp/unpacked"},
        {"/tmp/bin/vistrel", ""},                          // would carry all of /tmp along
        {"/h/Downloads/vistrel", ""},                      // not a bundle
        {"/tmp/chroot/usr/bin/vistrel", ""},               // a package unpacked into a fresh root
        {"/h/Applications/Vistrel/bin/vistrel", ""},       // the target itself
        {"/h/Applications/Vistrel/old/bin/vistrel", ""},
        {"/h/src/vistrel/build/bin/vistrel", ""},          // not a temporary place
        {"/tmpfiles/x/bin/vistrel", ""},                   // a name that only starts like one
    };
    for (const auto &[executable, expected] : cases)
        EXPECT_EQ(LaunchHousekeeping::bundleToRelocate({executable, "/h/Applications/Vistrel", temporary, "/h/s"}),
                  expected);
    // A build tree and a bundle holding the target stay.
    QTemporaryDir dir;
    const QString root = QFileInfo(dir.path()).canonicalFilePath();
    ASSERT_TRUE(QDir().mkpath(root + "/build/bin"));
    const LaunchHousekeeping::Locations built{root + "/build/bin/vistrel", root + "/home/Applications/Vistrel",
                                              {root}, root + "/s"};
    EXPECT_EQ(LaunchHousekeeping::bundleToRelocate(built), root + "/build");
    writeFile(root + "/build/CMakeCache.txt", "");
    EXPECT_EQ(LaunchHousekeeping::bundleToRelocate(built), QString());
    // A home inside the bundle: copying it into its own subfolder would never end.
    EXPECT_EQ(LaunchHousekeeping::bundleToRelocate({root + "/bundle/bin/vistrel",
                                                    root + "/bundle/home/Applications/Vistrel", {root}, root + "/s"}),
              QString());
}

// A downloaded bundle and an older copy in the target.
struct Sandbox {
    QTemporaryDir dir;
    QString root = QFileInfo(dir.path()).canonicalFilePath();
    QString bundle = root + "/home/Downloads/Vistrel-0.1.0-Linux";
    QString target = root + "/home/Applications/Vistrel";
    FakeProcessRunner processes;
    int terminations = 0;

    Sandbox()
    {
        writeFile(bundle + "/bin/vistrel", "new app");
        QFile::setPermissions(bundle + "/bin/vistrel", QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        writeFile(bundle + "/share/applications/vistrel.desktop", "[Desktop Entry]");
        writeFile(target + "/bin/vistrel", "old app");
        writeFile(target + "/bin/left-over", "from an older version");
    }
    LaunchHousekeeping housekeeping(const QString &permissionTool = {})
    {
        return {LaunchHousekeeping::standard(bundle + "/bin/vistrel", root + "/home", root + "/home/Downloads",
                                             root + "/support"),
                processes, permissionTool, [this] { ++terminations; }};
    }
};

TEST(LaunchHousekeeping, RelocationReplacesTheOlderCopyStartsTheNewOneAndEndsHalfASecondLater)
{
    // A copy that cannot start, or a target that cannot be made, lets the launch go on quietly.
    for (const auto &[starts, blocked] : {std::pair(true, false), {false, false}, {true, true}}) {
        SCOPED_TRACE(testing::Message() << "starts " << starts << " blocked " << blocked);
        Sandbox box;
        box.processes.detachedStarts = starts;
        if (blocked) {
            QDir(box.root + "/home/Applications").removeRecursively();
            writeFile(box.root + "/home/Applications", "not a folder");
        }
        QElapsedTimer clock;
        clock.start();
        const bool moved = starts && !blocked;
        auto housekeeping = box.housekeeping();   // its timer ends the launch
        EXPECT_EQ(housekeeping.relocateFromDiskImageIfNeeded(), moved);
        EXPECT_EQ(box.processes.calls, (blocked ? QList<FakeProcessRunner::Call>{}
                                                : QList<FakeProcessRunner::Call>{{box.target + "/bin/vistrel", {}, true}}));
        EXPECT_EQ(box.terminations, 0);
        EXPECT_EQ(QTest::qWaitFor([&] { return box.terminations > 0; }, moved ? 3000 : 700), moved);
        EXPECT_EQ(box.terminations, int(moved));
        if (moved) {
            EXPECT_GE(clock.elapsed(), 450);
            EXPECT_EQ(readFile(box.target + "/bin/vistrel"), "new app");
            EXPECT_EQ(readFile(box.target + "/share/applications/vistrel.desktop"), "[Desktop Entry]");
            EXPECT_FALSE(QFile::exists(box.target + "/bin/left-over"));
            EXPECT_TRUE(QFileInfo(box.target + "/bin/vistrel").isExecutable());
            EXPECT_TRUE(QFile::exists(box.bundle + "/bin/vistrel"));   // the download is left alone
        }
    }
}

TEST(LaunchHousekeeping, PermissionResetRunsUntilItSucceedsOnceAndNeverWithoutATool)
{
    const auto exited = FakeProcessRunner::exited;
    // results: one per launch; migrated: what each launch reports
    const struct { const char *label; QString tool; QList<ProcessResult> results; QList<bool> migrated; } cases[] = {
        {"no tool on this platform", {}, {}, {false, false}},
        {"succeeds once", "/usr/bin/tccutil", {exited(0, {})}, {true, false, false}},
        {"fails, then succeeds", "/usr/bin/tccutil", {exited(1, {}), exited(0, {})}, {false, true, false}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.label);
        Sandbox box;
        box.processes.queuedResults = c.results;
        QList<bool> migrated;
        for (qsizetype launch = 0; launch < c.migrated.size(); ++launch)
            migrated.append(box.housekeeping(c.tool).migrateLegacyScreenCapturePermission());
        EXPECT_EQ(migrated, c.migrated);
        EXPECT_EQ(box.processes.calls, QList<FakeProcessRunner::Call>(
                                           c.results.size(), {c.tool, {"reset", "ScreenCapture", "local.tarnwick.macos"}}));
        EXPECT_EQ(QFile::exists(box.root + "/support/" + LaunchHousekeeping::migrationMarker),
                  c.migrated.contains(true));
    }
}

} // namespace
