#include "TestDisplay.h"
#include "platform/x11/X11HotKeyService.h"
#include "platform/x11/X11Keymap.h"
#include "platform/x11/X11KeySynthesizer.h"

#include <QGuiApplication>
#include <QProcess>
#include <QTest>
#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

constexpr quint32 sentinelId = 5, numLockKey = 71, capsLockKey = 57, shiftKey = 56, optionKey = 58;
// Caps Lock, Num Lock (mod 2 on the default server keymap) and both.
const QList<quint16> lockVariants{0, XCB_MOD_MASK_LOCK, XCB_MOD_MASK_2, XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2};

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

    void press(const QList<quint32> &modifiers, quint32 key)
    {
        for (const quint32 modifier : modifiers)
            ASSERT_TRUE(keys->postKey(modifier, true));
        ASSERT_TRUE(keys->postKey(key, true));
        ASSERT_TRUE(keys->postKey(key, false));
        for (auto it = modifiers.crbegin(); it != modifiers.crend(); ++it)
            ASSERT_TRUE(keys->postKey(*it, false));
    }

    // The ids fired by one chord. A sentinel chord follows it: events arrive in order, so
    // once the sentinel is in, anything the chord would have fired is in as well. A vector:
    // Qt 6.4 compares two empty QLists with memcmp on null, which the sanitizer stops on.
    std::vector<quint32> firedBy(const QList<quint32> &modifiers, quint32 key)
    {
        fired.clear();
        press(modifiers, key);
        press({VirtualKey::command}, VirtualKey::five);
        EXPECT_TRUE(QTest::qWaitFor([this] { return fired.contains(sentinelId); }, 5000));
        fired.removeOne(sentinelId);
        return {fired.begin(), fired.end()};
    }

    // Whether another client can take super+key under every lock state, so none of ours is held.
    bool othersCanGrab(xcb_keycode_t key)
    {
        bool all = true;
        for (const quint16 lock : lockVariants) {
            all = other.grabKey(key, XCB_MOD_MASK_4 | lock) && all;
            other.ungrabKey(key, XCB_MOD_MASK_4 | lock);
        }
        return all;
    }

    xcb_keycode_t keycodeOf(quint32 keysym) { return X11Keymap::fetch(connection).keycodeFor(keysym); }

    xcb_connection_t *connection = nullptr;
    TestDisplay other;
    std::unique_ptr<X11HotKeyService> service;
    std::unique_ptr<X11KeySynthesizer> keys;
    QList<quint32> fired;
};

TEST_F(X11HotKeyServiceTest, FiresOnlyForTheExactModifiersWhateverTheLockState)
{
    using namespace HotKeyModifier;
    for (auto [key, modifiers, id] : {std::tuple<quint32, quint32, quint32>{VirtualKey::four, command, 4}, {VirtualKey::tab, command, 13},
                                      {VirtualKey::tab, command | shift, 14}, {VirtualKey::l, control, 12}, {VirtualKey::q, option, 15}})
        ASSERT_NE(service->registerHotKey(key, modifiers, id), 0u);
    const quint32 super = VirtualKey::command;
    const struct { const char *name; QList<quint32> modifiers; quint32 key; std::vector<quint32> expected; } cases[] = {
        {"super+4", {super}, VirtualKey::four, {4}},
        {"4 alone", {}, VirtualKey::four, {}},
        {"super+shift+4 has an extra modifier", {super, shiftKey}, VirtualKey::four, {}},
        {"super+tab", {super}, VirtualKey::tab, {13}},
        {"super+shift+tab", {super, shiftKey}, VirtualKey::tab, {14}},
        {"control+l", {VirtualKey::control}, VirtualKey::l, {12}},
        {"super+l is not registered", {super}, VirtualKey::l, {}},
        {"alt+q", {optionKey}, VirtualKey::q, {15}},
    };
    for (const QList<quint32> &locks : QList<QList<quint32>>{{}, {numLockKey}, {capsLockKey}, {numLockKey, capsLockKey}}) {
        for (const quint32 lock : locks)
            press({}, lock);
        for (const auto &c : cases) {
            SCOPED_TRACE(testing::Message() << c.name << ", lock keys " << testing::PrintToString(locks));
            EXPECT_EQ(firedBy(c.modifiers, c.key), c.expected);
        }
        for (const quint32 lock : locks)
            press({}, lock);
    }
    // It fires on the press, before the release; no auto-repeat, which would release the key.
    const quint32 repeatOff = XCB_AUTO_REPEAT_MODE_OFF;
    std::free(xcb_request_check(other.connection(), xcb_change_keyboard_control_checked(other.connection(), XCB_KB_AUTO_REPEAT_MODE, &repeatOff)));
    fired.clear();
    ASSERT_TRUE(keys->postKey(VirtualKey::command, true) && keys->postKey(VirtualKey::four, true));
    EXPECT_TRUE(QTest::qWaitFor([this] { return fired.contains(4); }, 5000));
    ASSERT_TRUE(keys->postKey(VirtualKey::four, false) && keys->postKey(VirtualKey::command, false));
    // The synthesizer refuses keys without a keysym and displays it cannot open.
    EXPECT_FALSE(keys->postKey(200, true));
    EXPECT_EQ(X11KeySynthesizer::open(":987"), nullptr);
}

TEST_F(X11HotKeyServiceTest, OneRegistrationPerCombinationReleasedWholeAndNoneTakenFromOthers)
{
    const quint32 handle = service->registerHotKey(VirtualKey::four, HotKeyModifier::command, 4);
    ASSERT_NE(handle, 0u);
    EXPECT_EQ(service->registerHotKey(VirtualKey::four, HotKeyModifier::command, 40), 0u);
    service->unregisterHotKey(0);
    EXPECT_EQ(firedBy({VirtualKey::command}, VirtualKey::four), std::vector<quint32>{4});
    // Different modifiers on the same key are a different combination.
    EXPECT_NE(service->registerHotKey(VirtualKey::four, HotKeyModifier::control, 41), 0u);

    service->unregisterHotKey(handle);
    EXPECT_EQ(firedBy({VirtualKey::command}, VirtualKey::four), std::vector<quint32>{});
    EXPECT_TRUE(othersCanGrab(keycodeOf(XK_4)));

    // A combination held elsewhere is refused without side effects.
    const xcb_keycode_t six = keycodeOf(XK_6);
    for (const quint16 held : lockVariants) {
        SCOPED_TRACE(held);
        ASSERT_TRUE(other.grabKey(six, XCB_MOD_MASK_4 | held));
        EXPECT_EQ(service->registerHotKey(VirtualKey::six, HotKeyModifier::command, 6), 0u);
        other.ungrabKey(six, XCB_MOD_MASK_4 | held);
        EXPECT_TRUE(othersCanGrab(six));   // the variants grabbed before the refusal were given back
    }
    // Once the other client lets go, the same combination can be had.
    EXPECT_NE(service->registerHotKey(VirtualKey::six, HotKeyModifier::command, 6), 0u);
    EXPECT_EQ(firedBy({VirtualKey::command}, VirtualKey::six), std::vector<quint32>{6});
}

TEST_F(X11HotKeyServiceTest, GrabsFollowTheKeysymWhenTheKeymapChanges)
{
    ASSERT_NE(service->registerHotKey(VirtualKey::four, HotKeyModifier::command, 4), 0u);
    const xcb_keycode_t four = keycodeOf(XK_4), spare = keycodeOf(XK_F9);
    ASSERT_TRUE(four && spare);
    // Moves 4 to another key and back, as the keymap tool does for a user's mapping.
    for (const auto &[to, from] : {std::pair{spare, four}, {four, spare}}) {
        const QString moves[] = {QString("keycode %1 = 4 dollar").arg(to), QString("keycode %1 = F9").arg(from)};
        ASSERT_EQ(QProcess::execute("xmodmap", {"-e", moves[0], "-e", moves[1]}), 0);
        EXPECT_TRUE(QTest::qWaitFor(
            [&] { return keycodeOf(XK_4) == to && firedBy({VirtualKey::command}, VirtualKey::four) == std::vector<quint32>{4}; }));
    }
}

} // namespace
