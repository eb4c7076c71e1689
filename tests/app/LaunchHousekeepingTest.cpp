#include "app/LaunchHousekeeping.h"
#include "platform/fake/FakeProcessRunner.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

const QStringList temporaryPlaces = {"/tmp", "/media", "/run/media", "/h/Downloads"};

TEST(LaunchHousekeeping, OnlyABundlePassingThroughATemporaryPlaceMoves)
{
    struct Case {
        QString executable;
        QString expected;   // the bundle that moves, or empty
    };
    const QList<Case> cases = {
        {"/h/Downloads/Vistrel-0.1.0-Linux/bin/vistrel", "/h/Downloads/Vistrel-0.1.0-Linux"},
        {"/h/Downloads/../Downloads/V/bin/vistrel", "/h/Downloads/V"},
        {"/media/usb/Vistrel/bin/vistrel", "/media/usb/Vistrel"},
        {"/run/media/ann/KEY/Vistrel/bin/vistrel", "/run/media/ann/KEY/Vistrel"},
        {"/tmp/unpacked/bin/vistrel", "/tmp/unpacked"},
        {"/tmp/bin/vistrel", ""},                          // would carry all of /tmp along
        {"/h/Downloads/vistrel", ""},                      // not a bundle
        {"/usr/bin/vistrel", ""},
        {"/tmp/chroot/usr/bin/vistrel", ""},               // a package unpacked into a fresh root
        {"/opt/vistrel/bin/vistrel", ""},
        {"/h/Applications/Vistrel/bin/vistrel", ""},       // the target itself
        {"/h/Applications/Vistrel/old/bin/vistrel", ""},
        {"/h/src/vistrel/build/bin/vistrel", ""},          // not a temporary place
        {"/tmpfiles/x/bin/vistrel", ""},                   // a name that only starts like one
    };
    for (const Case &c : cases) {
        const LaunchHousekeeping::Locations locations{c.executable, "/h/Applications/Vistrel", temporaryPlaces, "/h/s"};
        EXPECT_EQ(LaunchHousekeeping::bundleToRelocate(locations).toStdString(), c.expected.toStdString())
            << c.executable.toStdString();
    }
}

TEST(LaunchHousekeeping, ABuildTreeAndABundleHoldingTheTargetStay)
{
    QTemporaryDir dir;
    const QString root = QFileInfo(dir.path()).canonicalFilePath();
    ASSERT_TRUE(QDir().mkpath(root + "/build/bin"));
    const LaunchHousekeeping::Locations built{root + "/build/bin/vistrel", root + "/home/Applications/Vistrel",
                                              {root}, root + "/s"};
    EXPECT_EQ(LaunchHousekeeping::bundleToRelocate(built), root + "/build");
    QFile(root + "/build/CMakeCache.txt").open(QIODevice::WriteOnly);
    EXPECT_EQ(LaunchHousekeeping::bundleToRelocate(built), QString());

    // A home inside the bundle: copying it into its own subfolder would never end.
    const LaunchHousekeeping::Locations enclosing{root + "/bundle/bin/vistrel",
                                                  root + "/bundle/home/Applications/Vistrel", {root}, root + "/s"};
    EXPECT_EQ(LaunchHousekeeping::bundleToRelocate(enclosing), QString());
}

struct Sandbox {
    QTemporaryDir dir;
    QString root = QFileInfo(dir.path()).canonicalFilePath();
    QString bundle = root + "/home/Downloads/Vistrel-0.1.0-Linux";
    QString target = root + "/home/Applications/Vistrel";
    FakeProcessRunner processes;
    int terminations = 0;

    static void write(const QString &path, const QByteArray &data)
    {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(data);
    }

    Sandbox()
    {
        write(bundle + "/bin/vistrel", "new app");
        QFile::setPermissions(bundle + "/bin/vistrel", QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        write(bundle + "/bin/vistrel-keymap", "new tool");
        write(bundle + "/share/applications/vistrel.desktop", "[Desktop Entry]");
        write(target + "/bin/vistrel", "old app");
        write(target + "/bin/left-over", "from an older version");
    }

    LaunchHousekeeping::Locations locations() const
    {
        return LaunchHousekeeping::standard(bundle + "/bin/vistrel", root + "/home", root + "/home/Downloads",
                                            root + "/support");
    }

    static QByteArray read(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
};

TEST(LaunchHousekeeping, RelocationReplacesTheOlderCopyStartsTheNewOneAndEndsHalfASecondLater)
{
    Sandbox box;
    LaunchHousekeeping housekeeping(box.locations(), box.processes, {}, [&box] { ++box.terminations; });
    QElapsedTimer clock;
    clock.start();
    ASSERT_TRUE(housekeeping.relocateFromDiskImageIfNeeded());

    EXPECT_EQ(Sandbox::read(box.target + "/bin/vistrel"), "new app");
    EXPECT_EQ(Sandbox::read(box.target + "/bin/vistrel-keymap"), "new tool");
    EXPECT_EQ(Sandbox::read(box.target + "/share/applications/vistrel.desktop"), "[Desktop Entry]");
    EXPECT_FALSE(QFile::exists(box.target + "/bin/left-over"));
    EXPECT_TRUE(QFileInfo(box.target + "/bin/vistrel").isExecutable());
    EXPECT_TRUE(QFile::exists(box.bundle + "/bin/vistrel"));   // the download is left alone
    EXPECT_EQ(box.processes.calls, (QList<FakeProcessRunner::Call>{{box.target + "/bin/vistrel", {}, true}}));

    EXPECT_EQ(box.terminations, 0);
    while (box.terminations == 0 && clock.elapsed() < 3000)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 20);
    EXPECT_EQ(box.terminations, 1);
    EXPECT_GE(clock.elapsed(), 450);
}

TEST(LaunchHousekeeping, AFailedRelocationLetsTheLaunchGoOnQuietly)
{
    struct Case {
        const char *label;
        bool startSucceeds;
        bool applicationsIsAFile;
        int expectedStarts;
    };
    const QList<Case> cases = {
        {"the copy does not start", false, false, 1},
        {"the target cannot be made", true, true, 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.label);
        Sandbox box;
        box.processes.detachedStarts = c.startSucceeds;
        if (c.applicationsIsAFile) {
            QDir(box.root + "/home/Applications").removeRecursively();
            Sandbox::write(box.root + "/home/Applications", "not a folder");
        }
        LaunchHousekeeping housekeeping(box.locations(), box.processes, {}, [&box] { ++box.terminations; });
        EXPECT_FALSE(housekeeping.relocateFromDiskImageIfNeeded());
        EXPECT_EQ(box.processes.calls.size(), c.expectedStarts);
        QElapsedTimer clock;
        clock.start();
        while (clock.elapsed() < 700)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
        EXPECT_EQ(box.terminations, 0);
    }
}

TEST(LaunchHousekeeping, PermissionResetRunsUntilItSucceedsOnceAndNeverWithoutATool)
{
    struct Case {
        const char *label;
        QString tool;
        QList<ProcessResult> results;   // one per launch
        QList<bool> migrated;           // what each launch reports
        int runs;
    };
    const QList<Case> cases = {
        {"no tool on this platform", {}, {}, {false, false}, 0},
        {"succeeds once", "/usr/bin/tccutil", {FakeProcessRunner::exited(0)}, {true, false, false}, 1},
        {"fails, then succeeds", "/usr/bin/tccutil", {FakeProcessRunner::exited(1), FakeProcessRunner::exited(0)},
         {false, true, false}, 2},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.label);
        Sandbox box;
        box.processes.queuedResults = c.results;
        QList<bool> migrated;
        for (qsizetype launch = 0; launch < c.migrated.size(); ++launch) {
            LaunchHousekeeping housekeeping(box.locations(), box.processes, c.tool, {});
            migrated.append(housekeeping.migrateLegacyScreenCapturePermission());
        }
        EXPECT_EQ(migrated, c.migrated);
        EXPECT_EQ(box.processes.runCount(), c.runs);
        for (const auto &call : box.processes.runs())
            EXPECT_EQ(call.arguments, (QStringList{"reset", "ScreenCapture", "local.tarnwick.macos"}));
        EXPECT_EQ(QFile::exists(box.root + "/support/" + LaunchHousekeeping::migrationMarker),
                  c.migrated.contains(true));
    }
}

} // namespace
