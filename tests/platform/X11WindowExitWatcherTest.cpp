#include "TestDisplay.h"
#include "platform/x11/X11WindowExitWatcher.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QTest>
#include <gtest/gtest.h>

namespace {

// The test plays the window manager from a second connection: a frame on the root with
// the client inside, unmapped only when the test says so.
class X11WindowExitWatcherTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(manager.isConnected());
        frame = window(manager.root());
        client = window(frame);
        sync();
    }

    // A round trip: the server has carried out every request this connection sent.
    void sync() { free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr)); }
    xcb_window_t window(xcb_window_t parent)
    {
        const xcb_window_t id = xcb_generate_id(c);
        xcb_create_window(c, XCB_COPY_FROM_PARENT, id, parent, 10, 10, 200, 100, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                          XCB_COPY_FROM_PARENT, 0, nullptr);
        xcb_map_window(c, id);
        return id;
    }
    void unmap(xcb_window_t window)
    {
        xcb_unmap_window(c, window);
        sync();
    }
    // Our client window leaves; the watcher waits for its frame to go, at most timeoutMs.
    void leave(int timeoutMs, bool announce = true)
    {
        finished = 0;
        if (announce)
            watcher.leaving(WId(client));
        watcher.whenGone(std::chrono::milliseconds(timeoutMs), [this] { ++finished; });
    }
    bool finishedWithin(int ms) { return QTest::qWaitFor([this] { return finished > 0; }, ms); }

    TestDisplay manager;
    xcb_connection_t *c = manager.connection();
    X11WindowExitWatcher watcher{qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection()};
    xcb_window_t frame = XCB_WINDOW_NONE, client = XCB_WINDOW_NONE;
    int finished = 0;
};

TEST_F(X11WindowExitWatcherTest, WaitsForTheFrameThenLetsGo)
{
    unmap(client);   // the app has hidden its window; the frame around it is still up
    leave(2000);
    EXPECT_FALSE(finishedWithin(150));
    unmap(frame);
    EXPECT_TRUE(finishedWithin(500));
    EXPECT_EQ(finished, 1);
    leave(2000);   // a window already unframed is not waited for
    EXPECT_TRUE(finishedWithin(150));
}

TEST_F(X11WindowExitWatcherTest, AManagerThatNeverAnswersHoldsUpOnlyUntilTheTimeout)
{
    QElapsedTimer clock;
    clock.start();
    leave(300);
    ASSERT_TRUE(finishedWithin(3000));
    EXPECT_GE(clock.elapsed(), 290);
    leave(300, false);   // what it gave up on is forgotten: the next capture is not held up by it
    EXPECT_TRUE(finishedWithin(150));
}

} // namespace
