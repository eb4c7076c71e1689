#include "platform/x11/QtProcessRunner.h"

#include "support/TestFiles.h"

#include <QTest>
#include <unistd.h>

TEST(QtProcessRunner, RunsTheExactProgramAndReportsHowItEnded)
{
    const struct { const char *name; QString program; QStringList arguments; bool started; int exitCode; QByteArray output; } cases[] = {
        {"success", "/bin/true", {}, true, 0, ""},
        {"status and merged output", "/bin/sh", {"-c", "echo out; echo err >&2; exit 7"}, true, 7, "out\nerr\n"},
        {"killed by a signal", "/bin/sh", {"-c", "kill -KILL $$"}, true, -1, ""},
        {"arguments arrive whole", "/usr/bin/printf", {"[%s]", "two words", " $HOME; *", "", "ä\"'"}, true, 0,
         "[two words][ $HOME; *][][ä\"']"},
        // Several times a pipe's capacity: a runner that only reads at exit would hang.
        {"chatty child", "/usr/bin/head", {"-c", "4000000", "/dev/zero"}, true, 0, QByteArray(4000000, '\0')},
        {"missing program", "/nonexistent/vistrel-tool", {}, false, -1, ""},
        {"not executable", "/etc/hostname", {}, false, -1, ""},
        {"relative name is not looked up", "true", {}, false, -1, ""},
    };
    QtProcessRunner runner;
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const ProcessResult r = runner.run(c.program, c.arguments);
        EXPECT_EQ(std::tuple(r.started, r.exitCode, r.succeeded()), std::tuple(c.started, c.exitCode, c.started && !c.exitCode));
        EXPECT_EQ(r.output, c.output);
    }
}

TEST(QtProcessRunner, StartsDetachedByAbsolutePathOnly)
{
    QTemporaryDir dir;
    const QString marker = dir.filePath("started with space");
    QtProcessRunner runner;
    EXPECT_TRUE(runner.startDetached("/usr/bin/touch", {marker}));
    EXPECT_TRUE(QTest::qWaitFor([&] { return QFile::exists(marker); }, 5000));
    EXPECT_FALSE(runner.startDetached("/nonexistent/vistrel-tool", {}));
    EXPECT_FALSE(runner.startDetached("touch", {marker}));
}

TEST(QtProcessRunner, CompanionReadsEndOfFileHoweverWeLeave)
{
    // The child writes down its session and what it read until end of file.
    const QString script = "cut -d' ' -f6 /proc/$$/stat > \"$1.session\"; cat > \"$1.tmp\"; mv \"$1.tmp\" \"$1\"";
    QtProcessRunner runner;
    for (const bool finish : {true, false}) {
        SCOPED_TRACE(finish ? "finished: a stop line, then end of file" : "dropped, as when we die: end of file");
        QTemporaryDir dir;
        const QString record = dir.filePath("read");
        auto companion = runner.startCompanion("/bin/sh", {"-c", script, "sh", record});
        ASSERT_TRUE(companion);
        EXPECT_TRUE(companion->isRunning());
        if (finish) {
            companion->finish();
            EXPECT_FALSE(companion->isRunning());
        }
        companion.reset();   // either way waits for the child to exit
        EXPECT_EQ(readFile(record), finish ? "stop\n" : "");
        EXPECT_NE(readFile(record + ".session").trimmed().toLongLong(), qint64(getsid(0)))
            << "the companion shares our session, so a signal to our group would end it";
    }
    EXPECT_FALSE(runner.startCompanion("sh", {}));
    EXPECT_FALSE(runner.startCompanion("/nonexistent/vistrel-keymap", {}));
}
