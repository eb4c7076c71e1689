#include "TestDisplay.h"
#include "platform/x11/X11ApplicationRegistry.h"

#include <QGuiApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

const QString ownName = QStringLiteral("Registry test");

// Each test gets its own window manager (EWMH lists come from it) and its own windows.
class X11ApplicationRegistryTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(display.isConnected());
        ASSERT_TRUE(settings.isValid());
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("HOME"), settings.path());
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), settings.path());
        environment.insert(QStringLiteral("XDG_CACHE_HOME"), settings.path());
        windowManager.setProcessEnvironment(environment);
        windowManager.start(QStringLiteral("/usr/bin/openbox"), {QStringLiteral("--sm-disable")});
        ASSERT_TRUE(windowManager.waitForStarted());
        ASSERT_TRUE(display.waitForWindowManager());

        auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
        ASSERT_NE(x11, nullptr);
        registry = std::make_unique<X11ApplicationRegistry>(
            x11->connection(), display.root(), QCoreApplication::applicationPid(), ownName);
    }

    void TearDown() override
    {
        for (auto &window : windows) {
            window->terminate();
            window->waitForFinished();
        }
        windowManager.terminate();
        windowManager.waitForFinished();
    }

    qint64 openWindow(const QString &title, const QString &type = QStringLiteral("normal"))
    {
        auto process = std::make_unique<QProcess>();
        process->start(QStringLiteral(VISTREL_TEST_WINDOW),
                       {QStringLiteral("--title"), title, QStringLiteral("--type"), type});
        if (!process->waitForStarted())
            return 0;
        const qint64 pid = process->processId();
        windows.push_back(std::move(process));
        return pid;
    }

    std::optional<RunningApplication> find(qint64 pid)
    {
        for (const RunningApplication &application : registry->runningApplications())
            if (application.pid == pid)
                return application;
        return std::nullopt;
    }

    QString describeApplications()
    {
        QStringList entries;
        for (const RunningApplication &application : registry->runningApplications())
            entries.append(QStringLiteral("%1 %2").arg(application.pid).arg(application.name));
        return entries.join(QStringLiteral(", "));
    }

    bool listed(const QList<qint64> &pids)
    {
        for (const qint64 pid : pids)
            if (!find(pid))
                return false;
        return true;
    }

    // The pid behind _NET_ACTIVE_WINDOW, read on the test's own connection.
    std::optional<qint64> activePid()
    {
        XcbProperties &properties = display.properties();
        const auto active = properties.cardinals(
            display.root(), properties.atom("_NET_ACTIVE_WINDOW"), XCB_ATOM_WINDOW);
        if (active.empty() || active.front() == XCB_WINDOW_NONE)
            return std::nullopt;
        const auto pid = properties.cardinals(active.front(), properties.atom("_NET_WM_PID"),
                                              XCB_ATOM_CARDINAL);
        return pid.empty() ? std::nullopt : std::optional<qint64>(pid.front());
    }

    // Every listed window of these pids is mapped. The window manager decides whether to
    // focus a new window when it maps it, so once all are viewable no late focus change
    // can follow.
    bool viewable(std::initializer_list<qint64> pids)
    {
        XcbProperties &properties = display.properties();
        int seen = 0;
        for (const xcb_window_t window : properties.cardinals(
                 display.root(), properties.atom("_NET_CLIENT_LIST"), XCB_ATOM_WINDOW)) {
            const auto pid = properties.cardinals(window, properties.atom("_NET_WM_PID"), XCB_ATOM_CARDINAL);
            if (pid.empty() || std::find(pids.begin(), pids.end(), qint64(pid.front())) == pids.end())
                continue;
            auto *attributes = xcb_get_window_attributes_reply(
                display.connection(), xcb_get_window_attributes(display.connection(), window), nullptr);
            const bool mapped = attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
            std::free(attributes);
            if (!mapped)
                return false;
            ++seen;
        }
        return seen == int(pids.size());
    }

    std::optional<qint64> topmostPid()
    {
        XcbProperties &properties = display.properties();
        const auto stacking = properties.cardinals(
            display.root(), properties.atom("_NET_CLIENT_LIST_STACKING"), XCB_ATOM_WINDOW);
        if (stacking.empty())
            return std::nullopt;
        const auto pid = properties.cardinals(stacking.back(), properties.atom("_NET_WM_PID"),
                                              XCB_ATOM_CARDINAL);
        return pid.empty() ? std::nullopt : std::optional<qint64>(pid.front());
    }

    TestDisplay display{QString::fromLocal8Bit(qgetenv("DISPLAY"))};
    QTemporaryDir settings;
    QProcess windowManager;
    std::vector<std::unique_ptr<QProcess>> windows;
    std::unique_ptr<X11ApplicationRegistry> registry;
};

TEST_F(X11ApplicationRegistryTest, ListsWindowOwnersAndItself)
{
    const qint64 alpha = openWindow(QStringLiteral("Alpha"));
    const qint64 beta = openWindow(QStringLiteral("Beta – β"));
    const qint64 tool = openWindow(QStringLiteral("Palette"), QStringLiteral("tool"));
    ASSERT_TRUE(display.waitUntil([&] { return listed({alpha, beta, tool}); }, 15000))
        << describeApplications().toStdString();

    struct Expected {
        qint64 pid;
        QString name;
        bool regular;
    };
    const Expected expected[] = {
        {alpha, QStringLiteral("Alpha"), true},
        {beta, QStringLiteral("Beta – β"), true},
        {tool, QStringLiteral("Palette"), false},
        // No window of ours is shown, yet we are a regular application.
        {QCoreApplication::applicationPid(), ownName, true},
    };
    for (const Expected &e : expected) {
        SCOPED_TRACE(e.name.toStdString());
        const std::optional<RunningApplication> application = find(e.pid);
        ASSERT_TRUE(application);
        EXPECT_EQ(application->name, e.name);
        EXPECT_EQ(application->regular, e.regular);
        EXPECT_FALSE(application->terminated);
    }

    QList<qint64> pids;
    for (const RunningApplication &application : registry->runningApplications())
        pids.append(application.pid);
    EXPECT_EQ(pids.size(), QSet<qint64>(pids.begin(), pids.end()).size()) << "one entry per pid";
}

TEST_F(X11ApplicationRegistryTest, ActivationBringsTheApplicationToFront)
{
    const qint64 alpha = openWindow(QStringLiteral("Alpha"));
    const qint64 beta = openWindow(QStringLiteral("Beta"));
    ASSERT_TRUE(display.waitUntil([&] { return listed({alpha, beta}); }, 15000))
        << describeApplications().toStdString();
    ASSERT_TRUE(display.waitUntil([&] { return viewable({alpha, beta}); }));

    for (const qint64 pid : {alpha, beta, alpha}) {
        SCOPED_TRACE(pid);
        EXPECT_TRUE(registry->activate(pid));
        // Focused, and its window on top of the stacking order.
        EXPECT_TRUE(display.waitUntil([&] { return activePid() == pid && topmostPid() == pid; }));
        EXPECT_EQ(registry->frontmostPid(), pid);
    }
}

TEST_F(X11ApplicationRegistryTest, ActivationWithoutWindowsFails)
{
    EXPECT_FALSE(registry->activate(QCoreApplication::applicationPid()));
    EXPECT_FALSE(registry->activate(4194304));   // above any Linux pid
}

} // namespace
