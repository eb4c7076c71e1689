#include "TestDisplay.h"
#include "platform/x11/X11ApplicationRegistry.h"

#include <QGuiApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

const QString ownName = "Registry test";
const qint64 ownPid = QCoreApplication::applicationPid();

// A window manager of our own (EWMH lists come from it) and other applications' windows.
class X11ApplicationRegistryTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(display.isConnected());
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char *name : {"HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"})
            environment.insert(name, settings.path());
        windowManager.setProcessEnvironment(environment);
        // The startup command runs once the manager has taken over the display.
        windowManager.start("/usr/bin/openbox", {"--sm-disable", "--startup", "touch " + settings.filePath("up")});
        ASSERT_TRUE(QTest::qWaitFor([&] { return QFile::exists(settings.filePath("up")); }, 10000));
        registry = std::make_unique<X11ApplicationRegistry>(
            qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection(), display.root(), ownPid, ownName);
    }
    void TearDown() override
    {
        for (auto &process : windows) {
            process->terminate();
            process->waitForFinished();
        }
        windowManager.terminate();
        windowManager.waitForFinished();
    }

    qint64 openWindow(const QString &title, const QString &type = "normal")
    {
        windows.push_back(std::make_unique<QProcess>());
        windows.back()->start(VISTREL_TEST_WINDOW, {"--title", title, "--type", type});
        return windows.back()->waitForStarted() ? windows.back()->processId() : 0;
    }
    std::vector<quint32> rootWindows(const char *property)
    {
        return display.properties().cardinals(display.root(), display.properties().atom(property), XCB_ATOM_WINDOW);
    }
    qint64 pidOf(xcb_window_t window)
    {
        const auto pid = display.properties().cardinals(window, display.properties().atom("_NET_WM_PID"), XCB_ATOM_CARDINAL);
        return pid.empty() ? 0 : pid.front();
    }
    // Every pid has a managed, mapped window. The window manager decides whether to focus a
    // new window when it maps it, so once all are viewable no late focus change can follow.
    bool viewable(QList<qint64> pids)
    {
        xcb_connection_t *c = display.connection();
        for (const xcb_window_t window : rootWindows("_NET_CLIENT_LIST")) {
            auto *attributes = xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, window), nullptr);
            if (attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE)
                pids.removeAll(pidOf(window));
            std::free(attributes);
        }
        return pids.isEmpty();
    }

    TestDisplay display;
    QTemporaryDir settings;
    QProcess windowManager;
    std::vector<std::unique_ptr<QProcess>> windows;
    std::unique_ptr<X11ApplicationRegistry> registry;
};

TEST_F(X11ApplicationRegistryTest, ListsWindowOwnersOnceEachAndBringsThemToFront)
{
    const qint64 alpha = openWindow("Alpha"), beta = openWindow("Beta – β"), tool = openWindow("Palette", "tool");
    ASSERT_TRUE(display.waitUntil([&] { return viewable({alpha, beta, tool}); }, 15000));
    const QList<RunningApplication> all = registry->runningApplications();
    QList<qint64> pids;
    for (const RunningApplication &application : all)
        pids.append(application.pid);
    EXPECT_EQ(pids.size(), QSet<qint64>(pids.begin(), pids.end()).size()) << "one entry per pid";
    const struct { qint64 pid; QString name; bool regular; } expected[] = {
        {alpha, "Alpha", true},
        {beta, "Beta – β", true},
        {tool, "Palette", false},
        {ownPid, ownName, true},   // no window of ours is shown, yet we are a regular application
    };
    for (const auto &e : expected) {
        const qsizetype at = pids.indexOf(e.pid);
        ASSERT_GE(at, 0) << e.name.toStdString();
        EXPECT_EQ(std::tuple(all[at].name, all[at].regular, all[at].terminated), std::tuple(e.name, e.regular, false));
    }
    for (const qint64 pid : {alpha, beta, alpha}) {
        SCOPED_TRACE(pid);
        EXPECT_TRUE(registry->activate(pid));
        // Focused, and its window on top of the stacking order.
        EXPECT_TRUE(display.waitUntil([&] {
            const auto active = rootWindows("_NET_ACTIVE_WINDOW"), stacking = rootWindows("_NET_CLIENT_LIST_STACKING");
            return !active.empty() && pidOf(active.front()) == pid && !stacking.empty() && pidOf(stacking.back()) == pid;
        }));
        EXPECT_EQ(registry->frontmostPid(), pid);
    }
    EXPECT_FALSE(registry->activate(ownPid));   // no window to bring forward
    EXPECT_FALSE(registry->activate(4194304));   // above any Linux pid
}

} // namespace
