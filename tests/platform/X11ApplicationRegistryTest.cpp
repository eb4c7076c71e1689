#include "TestDisplay.h"
#include "platform/x11/X11ApplicationRegistry.h"

#include <QGuiApplication>
#include <QProcess>
#include <QTemporaryDir>
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
        windowManager.start("/usr/bin/openbox", {"--sm-disable"});
        ASSERT_TRUE(windowManager.waitForStarted());
        ASSERT_TRUE(windowManagerServes());
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

    // A manager serves requests once it answers a _NET_REQUEST_FRAME_EXTENTS, which it only
    // does from its main loop; one still starting may drop the request, so it is repeated.
    bool windowManagerServes()
    {
        xcb_connection_t *c = display.connection();
        const xcb_window_t probe = xcb_generate_id(c);
        xcb_create_window(c, XCB_COPY_FROM_PARENT, probe, display.root(), 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          XCB_COPY_FROM_PARENT, 0, nullptr);
        const xcb_client_message_event_t request{.response_type = XCB_CLIENT_MESSAGE, .format = 32, .sequence = 0, .window = probe,
                                                 .type = display.properties().atom("_NET_REQUEST_FRAME_EXTENTS"), .data = {}};
        bool serving = false;
        for (int attempt = 0; !serving && attempt < 100; ++attempt) {
            xcb_send_event(c, 0, display.root(), XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                           reinterpret_cast<const char *>(&request));
            xcb_flush(c);
            serving = display.waitUntil(
                [&] { return !display.properties().cardinals(probe, display.properties().atom("_NET_FRAME_EXTENTS"), XCB_ATOM_CARDINAL).empty(); }, 100);
        }
        xcb_destroy_window(c, probe);
        return serving;
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
