#include "platform/x11/QtProcessRunner.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

TEST(QtProcessRunner, ReportsStartAndExitStatus)
{
    struct Case {
        const char *name;
        QString program;
        QStringList arguments;
        bool started;
        int exitCode;
    };
    const Case cases[] = {
        {"success", QStringLiteral("/bin/true"), {}, true, 0},
        {"exit status passed through", QStringLiteral("/bin/sh"), {QStringLiteral("-c"), QStringLiteral("exit 7")}, true, 7},
        {"killed by a signal", QStringLiteral("/bin/sh"), {QStringLiteral("-c"), QStringLiteral("kill -KILL $$")}, true, -1},
        {"missing program", QStringLiteral("/nonexistent/vistrel-tool"), {}, false, -1},
        {"not executable", QStringLiteral("/etc/hostname"), {}, false, -1},
        {"relative name is not looked up", QStringLiteral("true"), {}, false, -1},
    };
    QtProcessRunner runner;
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const ProcessResult result = runner.run(c.program, c.arguments);
        EXPECT_EQ(result.started, c.started);
        if (c.started) {
            EXPECT_EQ(result.exitCode, c.exitCode);
        }
        EXPECT_EQ(result.succeeded(), c.started && c.exitCode == 0);
    }
}

TEST(QtProcessRunner, PassesArgumentsIntactAndMergesOutput)
{
    QtProcessRunner runner;
    const ProcessResult printed = runner.run(
        QStringLiteral("/usr/bin/printf"),
        {QStringLiteral("[%s]"), QStringLiteral("two words"), QStringLiteral(" $HOME; *"),
         QString(), QStringLiteral("ä\"'")});
    EXPECT_EQ(printed.output, QByteArray("[two words][ $HOME; *][][ä\"']"));

    const ProcessResult merged = runner.run(
        QStringLiteral("/bin/sh"), {QStringLiteral("-c"), QStringLiteral("echo out; echo err >&2; exit 3")});
    EXPECT_TRUE(merged.output.contains("out\n"));
    EXPECT_TRUE(merged.output.contains("err\n"));
    EXPECT_EQ(merged.exitCode, 3);
}

TEST(QtProcessRunner, ChattyChildDoesNotBlock)
{
    // Several times the pipe's capacity; a runner that only reads at exit would hang.
    QtProcessRunner runner;
    const ProcessResult result = runner.run(
        QStringLiteral("/usr/bin/head"), {QStringLiteral("-c"), QStringLiteral("4000000"), QStringLiteral("/dev/zero")});
    EXPECT_TRUE(result.succeeded());
    EXPECT_EQ(result.output.size(), 4000000);
}

TEST(QtProcessRunner, StartsDetached)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString marker = dir.filePath(QStringLiteral("started with space"));
    QtProcessRunner runner;
    EXPECT_TRUE(runner.startDetached(QStringLiteral("/usr/bin/touch"), {marker}));
    EXPECT_TRUE(QTest::qWaitFor([&] { return QFile::exists(marker); }, 5000));

    EXPECT_FALSE(runner.startDetached(QStringLiteral("/nonexistent/vistrel-tool"), {}));
    EXPECT_FALSE(runner.startDetached(QStringLiteral("touch"), {marker}));
}

TEST(QtProcessRunner, CompanionReadsEndOfFileHoweverWeLeave)
{
    // The child writes down its session and what it read until end of file.
    const QString script = QStringLiteral(
        "cut -d' ' -f6 /proc/$$/stat > \"$1.session\"; cat > \"$1.tmp\"; mv \"$1.tmp\" \"$1\"");
    const struct {
        const char *name;
        bool finish;
        QByteArray read;
    } cases[] = {
        {"finished: a stop line, then end of file", true, "stop\n"},
        {"handle dropped, as when we die: end of file alone", false, ""},
    };
    QtProcessRunner runner;
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        QTemporaryDir dir;
        ASSERT_TRUE(dir.isValid());
        const QString record = dir.filePath(QStringLiteral("read"));
        auto companion = runner.startCompanion(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), script,
                                                                           QStringLiteral("sh"), record});
        ASSERT_TRUE(companion);
        EXPECT_TRUE(companion->isRunning());
        if (c.finish) {
            companion->finish();
            EXPECT_FALSE(companion->isRunning());
        } else {
            companion.reset();
        }
        // Both ways wait for the child to exit.
        QFile read(record);
        ASSERT_TRUE(read.open(QIODevice::ReadOnly));
        EXPECT_EQ(read.readAll(), c.read);
        QFile session(record + QStringLiteral(".session"));
        ASSERT_TRUE(session.open(QIODevice::ReadOnly));
        EXPECT_NE(session.readAll().trimmed().toLongLong(), qint64(getsid(0)))
            << "the companion shares our session, so a signal to our group would end it";
    }
    EXPECT_FALSE(runner.startCompanion(QStringLiteral("sh"), {}));
    EXPECT_FALSE(runner.startCompanion(QStringLiteral("/nonexistent/vistrel-keymap"), {}));
}

} // namespace
