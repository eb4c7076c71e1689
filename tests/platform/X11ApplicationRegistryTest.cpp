#include "TestDisplay.h"
#include "platform/x11/X11ApplicationRegistry.h"

#include <QGuiApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace {

const QString ownName = "Registry test";
const qint64 ownPid = QCoreApplication::applicationPid();

// Each test gets its own window manager (EWMH lists come from it) and its own windows.
class X11ApplicationRegistryTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(display.isConnected());
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char *name : {"HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"})
            environment.insert(name, settings.path());
        windowManager.setProcessEnvironment(environment);
        windowManager.start("/usr/bin/openbox", {"--sm-disable"});
        ASSERT_TRUE(windowManager.waitForStarted());
        ASSERT_TRUE(display.waitForWindowManager());
        auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
        ASSERT_NE(x11, nullptr);
        registry = std::make_unique<X11ApplicationRegistry>(x11->connection(), display.root(), ownPid, ownName);
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
    std::optional<RunningApplication> find(qint64 pid)
    {
        const QList<RunningApplication> all = registry->runningApplications();
        const auto it = std::find_if(all.begin(), all.end(), [&](const RunningApplication &a) { return a.pid == pid; });
        return it == all.end() ? std::nullopt : std::optional(*it);
    }
    bool listed(std::initializer_list<qint64> pids)
    {
        return std::all_of(pids.begin(), pids.end(), [&](qint64 pid) { return find(pid).has_value(); });
    }
    std::vector<quint32> rootWindows(const char *property)
    {
        return display.properties().cardinals(display.root(), display.properties().atom(property), XCB_ATOM_WINDOW);
    }
    std::optional<qint64> pidOf(const std::vector<quint32> &windows, bool last = false)
    {
        if (windows.empty())
            return std::nullopt;
        const auto pid = display.properties().cardinals(last ? windows.back() : windows.front(),
                                                        display.properties().atom("_NET_WM_PID"), XCB_ATOM_CARDINAL);
        return pid.empty() ? std::nullopt : std::optional<qint64>(pid.front());
    }
    // Every window of these pids is mapped. The window manager decides whether to focus a
    // new window when it maps it, so once all are viewable no late focus change can follow.
    bool viewable(std::initializer_list<qint64> pids)
    {
        int seen = 0;
        xcb_connection_t *c = display.connection();
        for (const xcb_window_t window : rootWindows("_NET_CLIENT_LIST")) {
            if (const auto pid = pidOf({window}); pid && std::find(pids.begin(), pids.end(), *pid) != pids.end()) {
                auto *attributes = xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, window), nullptr);
                const bool mapped = attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
                std::free(attributes);
                if (!mapped)
                    return false;
                ++seen;
            }
        }
        return seen == int(pids.size());
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
    ASSERT_TRUE(display.waitUntil([&] { return listed({alpha, beta, tool}); }, 15000));
    const struct { qint64 pid; QString name; bool regular; } expected[] = {
        {alpha, "Alpha", true},
        {beta, "Beta – β", true},
        {tool, "Palette", false},
        {ownPid, ownName, true},   // no window of ours is shown, yet we are a regular application
    };
    for (const auto &e : expected) {
        const std::optional<RunningApplication> application = find(e.pid);
        ASSERT_TRUE(application) << e.name.toStdString();
        EXPECT_EQ(std::tuple(application->name, application->regular, application->terminated), std::tuple(e.name, e.regular, false));
    }
    QList<qint64> pids;
    for (const RunningApplication &application : registry->runningApplications())
        pids.append(application.pid);
    EXPECT_EQ(pids.size(), QSet<qint64>(pids.begin(), pids.end()).size()) << "one entry per pid";

    ASSERT_TRUE(display.waitUntil([&] { return viewable({alpha, beta, tool}); }));
    for (const qint64 pid : {alpha, beta, alpha}) {
        SCOPED_TRACE(pid);
        EXPECT_TRUE(registry->activate(pid));
        // Focused, and its window on top of the stacking order.
        EXPECT_TRUE(display.waitUntil([&] {
            return pidOf(rootWindows("_NET_ACTIVE_WINDOW")) == pid && pidOf(rootWindows("_NET_CLIENT_LIST_STACKING"), true) == pid;
        }));
        EXPECT_EQ(registry->frontmostPid(), pid);
    }
    EXPECT_FALSE(registry->activate(ownPid));   // no window to bring forward
    EXPECT_FALSE(registry->activate(4194304));   // above any Linux pid
}

} // namespace
