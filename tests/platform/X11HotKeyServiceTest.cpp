#include "TestDisplay.h"
#include "platform/x11/X11HotKeyService.h"
#include "platform/x11/X11Keymap.h"
#include "platform/x11/X11KeySynthesizer.h"

#include <QAbstractNativeEventFilter>
#include <QGuiApplication>
#include <QTest>
#include <QWindow>
#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <memory>

namespace {

constexpr quint32 sentinelId = 5;
constexpr quint32 numLockKey = 71;   // keypad Clear, Num_Lock on X
constexpr quint32 capsLockKey = 57;
constexpr quint32 shiftKey = 56;
constexpr quint32 optionKey = 58;
constexpr quint16 mod2 = XCB_MOD_MASK_2;   // NumLock on the default server keymap

// Counts the MappingNotify events Qt's connection has seen.
class MappingWatcher : public QAbstractNativeEventFilter {
public:
    int seen = 0;
    bool nativeEventFilter(const QByteArray &type, void *message, qintptr *) override
    {
        const auto *event = static_cast<const xcb_generic_event_t *>(message);
        if (type == "xcb_generic_event_t" && (event->response_type & 0x7f) == XCB_MAPPING_NOTIFY)
            ++seen;
        return false;
    }
};

class X11HotKeyServiceTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
        ASSERT_NE(x11, nullptr);
        connection = x11->connection();
        ASSERT_TRUE(other.isConnected());
        service = std::make_unique<X11HotKeyService>(connection, other.root());
        service->setPressHandler([this](quint32 id) { fired.append(id); });
        keys = X11KeySynthesizer::open(qgetenv("DISPLAY"));
        ASSERT_NE(keys, nullptr);
        ASSERT_NE(service->registerHotKey(VirtualKey::five, HotKeyModifier::command, sentinelId), 0u);
    }

    void tap(quint32 key)
    {
        ASSERT_TRUE(keys->postKey(key, true));
        ASSERT_TRUE(keys->postKey(key, false));
    }

    void press(const QList<quint32> &modifiers, quint32 key)
    {
        for (const quint32 modifier : modifiers)
            ASSERT_TRUE(keys->postKey(modifier, true));
        tap(key);
        for (auto it = modifiers.crbegin(); it != modifiers.crend(); ++it)
            ASSERT_TRUE(keys->postKey(*it, false));
    }

    // The ids fired by one chord. A sentinel chord follows it: events arrive in order, so
    // once the sentinel is in, anything the chord would have fired is in as well.
    QList<quint32> firedBy(const QList<quint32> &modifiers, quint32 key)
    {
        fired.clear();
        press(modifiers, key);
        press({VirtualKey::command}, VirtualKey::five);
        EXPECT_TRUE(QTest::qWaitFor([this] { return fired.contains(sentinelId); }, 5000));
        QList<quint32> result = fired;
        result.removeOne(sentinelId);
        return result;
    }

    xcb_keycode_t keycodeOf(quint32 keysym) { return X11Keymap::fetch(connection).keycodeFor(keysym); }

    xcb_connection_t *connection = nullptr;
    TestDisplay other{QString::fromLocal8Bit(qgetenv("DISPLAY"))};
    std::unique_ptr<X11HotKeyService> service;
    std::unique_ptr<X11KeySynthesizer> keys;
    QList<quint32> fired;
};

TEST_F(X11HotKeyServiceTest, FiresOnlyForTheExactModifiersWhateverTheLockState)
{
    ASSERT_NE(service->registerHotKey(VirtualKey::four, HotKeyModifier::command, 4), 0u);
    ASSERT_NE(service->registerHotKey(VirtualKey::tab, HotKeyModifier::command, 13), 0u);
    ASSERT_NE(service->registerHotKey(VirtualKey::tab, HotKeyModifier::command | HotKeyModifier::shift, 14), 0u);
    ASSERT_NE(service->registerHotKey(VirtualKey::l, HotKeyModifier::control, 12), 0u);
    ASSERT_NE(service->registerHotKey(VirtualKey::q, HotKeyModifier::option, 15), 0u);

    struct Case {
        const char *name;
        bool numLock;
        bool capsLock;
        QList<quint32> modifiers;
        quint32 key;
        QList<quint32> expected;
    };
    const Case cases[] = {
        {"super+4", false, false, {VirtualKey::command}, VirtualKey::four, {4}},
        {"4 alone", false, false, {}, VirtualKey::four, {}},
        {"super+shift+4 has an extra modifier", false, false, {VirtualKey::command, shiftKey}, VirtualKey::four, {}},
        {"super+tab", false, false, {VirtualKey::command}, VirtualKey::tab, {13}},
        {"super+shift+tab", false, false, {VirtualKey::command, shiftKey}, VirtualKey::tab, {14}},
        {"control+l", false, false, {VirtualKey::control}, VirtualKey::l, {12}},
        {"super+l is not registered", false, false, {VirtualKey::command}, VirtualKey::l, {}},
        {"alt+q", false, false, {optionKey}, VirtualKey::q, {15}},
        {"super+4 with num lock", true, false, {VirtualKey::command}, VirtualKey::four, {4}},
        {"4 alone with num lock", true, false, {}, VirtualKey::four, {}},
        {"super+shift+tab with caps lock", false, true, {VirtualKey::command, shiftKey}, VirtualKey::tab, {14}},
        {"control+l with both locks", true, true, {VirtualKey::control}, VirtualKey::l, {12}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        if (c.numLock)
            tap(numLockKey);
        if (c.capsLock)
            tap(capsLockKey);
        EXPECT_EQ(firedBy(c.modifiers, c.key), c.expected);
        if (c.numLock)
            tap(numLockKey);
        if (c.capsLock)
            tap(capsLockKey);
    }
}

TEST_F(X11HotKeyServiceTest, UnregisterReleasesEveryLockVariant)
{
    const quint32 handle = service->registerHotKey(VirtualKey::four, HotKeyModifier::command, 4);
    ASSERT_NE(handle, 0u);
    EXPECT_EQ(firedBy({VirtualKey::command}, VirtualKey::four), QList<quint32>{4});

    service->unregisterHotKey(handle);
    EXPECT_EQ(firedBy({VirtualKey::command}, VirtualKey::four), QList<quint32>{});
    // Another client can now take every variant, so none of ours is left behind.
    const xcb_keycode_t four = keycodeOf(XK_4);
    for (const quint16 lock : QList<quint16>{0, XCB_MOD_MASK_LOCK, mod2, XCB_MOD_MASK_LOCK | mod2}) {
        EXPECT_TRUE(other.grabKey(four, quint16(XCB_MOD_MASK_4 | lock))) << "lock bits " << lock;
        other.ungrabKey(four, quint16(XCB_MOD_MASK_4 | lock));
    }
}

TEST_F(X11HotKeyServiceTest, CombinationHeldElsewhereIsRefusedWithoutSideEffects)
{
    const xcb_keycode_t six = keycodeOf(XK_6);
    const QList<quint16> heldVariants{0, XCB_MOD_MASK_LOCK, mod2, XCB_MOD_MASK_LOCK | mod2};
    for (const quint16 held : heldVariants) {
        SCOPED_TRACE(held);
        ASSERT_TRUE(other.grabKey(six, quint16(XCB_MOD_MASK_4 | held)));
        EXPECT_EQ(service->registerHotKey(VirtualKey::six, HotKeyModifier::command, 6), 0u);
        other.ungrabKey(six, quint16(XCB_MOD_MASK_4 | held));
        // The variants grabbed before the refusal were given back.
        for (const quint16 lock : heldVariants) {
            EXPECT_TRUE(other.grabKey(six, quint16(XCB_MOD_MASK_4 | lock))) << "lock bits " << lock;
            other.ungrabKey(six, quint16(XCB_MOD_MASK_4 | lock));
        }
    }
    // Once the other client lets go, the same combination can be had.
    EXPECT_NE(service->registerHotKey(VirtualKey::six, HotKeyModifier::command, 6), 0u);
    EXPECT_EQ(firedBy({VirtualKey::command}, VirtualKey::six), QList<quint32>{6});
}

TEST_F(X11HotKeyServiceTest, SameCombinationTwiceIsRefused)
{
    const quint32 first = service->registerHotKey(VirtualKey::four, HotKeyModifier::command, 4);
    ASSERT_NE(first, 0u);
    EXPECT_EQ(service->registerHotKey(VirtualKey::four, HotKeyModifier::command, 40), 0u);
    service->unregisterHotKey(0);
    EXPECT_EQ(firedBy({VirtualKey::command}, VirtualKey::four), QList<quint32>{4});
    // Different modifiers on the same key are a different combination.
    EXPECT_NE(service->registerHotKey(VirtualKey::four, HotKeyModifier::control, 41), 0u);
}

TEST_F(X11HotKeyServiceTest, GrabsFollowTheKeysymWhenTheKeymapChanges)
{
    ASSERT_NE(service->registerHotKey(VirtualKey::four, HotKeyModifier::command, 4), 0u);
    MappingWatcher watcher;
    qApp->installNativeEventFilter(&watcher);

    const xcb_keycode_t four = keycodeOf(XK_4);
    const xcb_keycode_t spare = keycodeOf(XK_F9);
    ASSERT_NE(four, 0);
    ASSERT_NE(spare, 0);
    // Swap the two keys' keysyms, as the keymap tool does for a user's mapping.
    auto swapRows = [&] {
        const xcb_setup_t *setup = xcb_get_setup(other.connection());
        auto cookie = xcb_get_keyboard_mapping(other.connection(), setup->min_keycode,
                                               quint8(setup->max_keycode - setup->min_keycode + 1));
        auto *reply = xcb_get_keyboard_mapping_reply(other.connection(), cookie, nullptr);
        ASSERT_NE(reply, nullptr);
        const int width = reply->keysyms_per_keycode;
        const xcb_keysym_t *all = xcb_get_keyboard_mapping_keysyms(reply);
        const xcb_keysym_t *fourRow = all + (four - setup->min_keycode) * width;
        const xcb_keysym_t *spareRow = all + (spare - setup->min_keycode) * width;
        xcb_change_keyboard_mapping(other.connection(), 1, four, quint8(width), spareRow);
        xcb_change_keyboard_mapping(other.connection(), 1, spare, quint8(width), fourRow);
        free(reply);
        xcb_flush(other.connection());
    };

    swapRows();
    EXPECT_TRUE(QTest::qWaitFor([&] { return watcher.seen >= 2; }, 5000));
    QCoreApplication::processEvents();   // the service answers a burst of notices one turn later
    EXPECT_EQ(keycodeOf(XK_4), spare);
    EXPECT_EQ(firedBy({VirtualKey::command}, VirtualKey::four), QList<quint32>{4});

    swapRows();
    EXPECT_TRUE(QTest::qWaitFor([&] { return watcher.seen >= 4; }, 5000));
    QCoreApplication::processEvents();
    qApp->removeNativeEventFilter(&watcher);
    EXPECT_EQ(keycodeOf(XK_4), four);
    EXPECT_EQ(firedBy({VirtualKey::command}, VirtualKey::four), QList<quint32>{4});
}

TEST_F(X11HotKeyServiceTest, FiresWhileOurOwnWindowHasTheFocus)
{
    ASSERT_NE(service->registerHotKey(VirtualKey::four, HotKeyModifier::command, 4), 0u);
    QWindow window;
    window.resize(200, 100);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    window.requestActivate();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    EXPECT_EQ(firedBy({VirtualKey::command}, VirtualKey::four), QList<quint32>{4});
}

TEST(X11KeySynthesizer, RefusesKeysWithoutKeysym)
{
    auto keys = X11KeySynthesizer::open(qgetenv("DISPLAY"));
    ASSERT_NE(keys, nullptr);
    EXPECT_FALSE(keys->postKey(200, true));
    EXPECT_EQ(X11KeySynthesizer::open(":987"), nullptr);
}

} // namespace
