#include "keyboard/KeyRemapper.h"
#include "platform/fake/FakeHotKeyService.h"
#include "platform/fake/FakeProcessRunner.h"

#include <QCoreApplication>
#include <gtest/gtest.h>
#include <memory>

namespace {

using Registration = FakeHotKeyService::Registration;
using Kind = FakeHotKeyService::Event::Kind;

constexpr quint32 command = 0x100;
constexpr quint32 shift = 0x200;
constexpr quint32 control = 0x1000;

// Key codes are ANSI virtual key codes: 4=21, 5=23, 6=22, L=37, Q=12, Tab=48.
QList<Registration> expectedKeys(quint32 m)
{
    return {{21, m, 4, 0}, {23, m, 5, 0}, {22, m, 6, 0}, {37, m, 12, 0},
            {12, m, 15, 0}, {48, m, 13, 0}, {48, m | shift, 14, 0}};
}

QList<Registration> withoutHandles(QList<Registration> list)
{
    for (Registration &r : list)
        r.handle = 0;
    return list;
}

QList<Registration> logged(const FakeHotKeyService &hotKeys, Kind kind)
{
    QList<Registration> result;
    for (const auto &event : hotKeys.log)
        if (event.kind == kind)
            result.append(event.registration);
    return withoutHandles(result);
}

struct Fixture {
    FakeProcessRunner processes;
    FakeHotKeyService hotKeys;
    std::unique_ptr<KeyRemapper> remapper =
        std::make_unique<KeyRemapper>(processes, hotKeys, QStringLiteral("/usr/libexec/vistrel-keymap"));
    QList<BridgeCommand> delivered;
    void listen()
    {
        remapper->commandHandler = [this](BridgeCommand c) { delivered.append(c); };
    }
};

TEST(KeyRemapperHotKeys, RegistersSevenKeysInOrderWithTheMask)
{
    for (const quint32 m : {command, control}) {
        Fixture f;
        f.remapper->installHotKeys(m);
        EXPECT_EQ(withoutHandles(f.hotKeys.active()), expectedKeys(m));
        EXPECT_EQ(logged(f.hotKeys, Kind::registered), expectedKeys(m));
        EXPECT_TRUE(f.hotKeys.hasPressHandler());
        EXPECT_EQ(f.remapper->hotKeyModifiers(), m);
    }
}

TEST(KeyRemapperHotKeys, SameMaskTwiceRegistersOnce)
{
    Fixture f;
    f.remapper->installHotKeys(command);
    f.remapper->installHotKeys(command);
    EXPECT_EQ(f.hotKeys.log.size(), 7);
    EXPECT_EQ(f.hotKeys.setPressHandlerCalls(), 1);
}

TEST(KeyRemapperHotKeys, SwitchingUnregistersAllBeforeRegisteringAnew)
{
    Fixture f;
    f.remapper->installHotKeys(command);
    const QList<Registration> first = f.hotKeys.active();
    f.remapper->installHotKeys(control);

    ASSERT_EQ(f.hotKeys.log.size(), 21);
    for (int i = 7; i < 14; ++i)
        EXPECT_EQ(f.hotKeys.log[i].kind, Kind::unregistered) << i;
    QList<Registration> unregistered;
    for (int i = 7; i < 14; ++i)
        unregistered.append(f.hotKeys.log[i].registration);
    EXPECT_EQ(unregistered, first);
    EXPECT_EQ(withoutHandles(f.hotKeys.active()), expectedKeys(control));
    EXPECT_EQ(f.remapper->hotKeyModifiers(), control);
}

TEST(KeyRemapperHotKeys, UninstallClearsEverythingAndAllowsReinstall)
{
    Fixture f;
    f.remapper->installHotKeys(control);
    f.remapper->uninstallHotKeys();
    EXPECT_TRUE(f.hotKeys.active().isEmpty());
    EXPECT_FALSE(f.hotKeys.hasPressHandler());
    EXPECT_FALSE(f.remapper->hotKeyModifiers().has_value());

    f.remapper->installHotKeys(control);   // same mask, but nothing is registered any more
    EXPECT_EQ(withoutHandles(f.hotKeys.active()), expectedKeys(control));
}

TEST(KeyRemapperHotKeys, RefusedCombinationLeavesTheOthersWorking)
{
    Fixture f;
    f.listen();
    f.hotKeys.refuse(48, command | shift);
    f.remapper->installHotKeys(command);
    EXPECT_EQ(f.hotKeys.active().size(), 6);
    EXPECT_FALSE(f.hotKeys.press(48, command | shift));
    EXPECT_TRUE(f.hotKeys.press(48, command));
    QCoreApplication::processEvents();
    EXPECT_EQ(f.delivered, QList<BridgeCommand>{BridgeCommand::switchApplication(false)});

    f.remapper->uninstallHotKeys();
    EXPECT_EQ(f.hotKeys.count(Kind::unregistered), 6);   // nothing to release for the refused one
}

TEST(KeyRemapperHotKeys, PressDeliversItsCommandOnALaterTurn)
{
    using K = BridgeCommand::Kind;
    struct Case { quint32 key; quint32 extra; BridgeCommand expected; };
    const Case cases[] = {
        {21, 0, BridgeCommand::of(K::screenshot)},
        {23, 0, BridgeCommand::of(K::video)},
        {22, 0, BridgeCommand::of(K::scrollingScreenshot)},
        {37, 0, BridgeCommand::of(K::lock)},
        {12, 0, BridgeCommand::of(K::quit)},
        {48, 0, BridgeCommand::switchApplication(false)},
        {48, shift, BridgeCommand::switchApplication(true)},
    };
    for (const quint32 m : {command, control}) {
        Fixture f;
        f.listen();
        f.remapper->installHotKeys(m);
        for (const Case &c : cases) {
            SCOPED_TRACE(testing::Message() << "key " << c.key << " mask " << (m | c.extra));
            f.delivered.clear();
            ASSERT_TRUE(f.hotKeys.press(c.key, m | c.extra));
            EXPECT_TRUE(f.delivered.isEmpty());   // never from inside event dispatch
            QCoreApplication::processEvents();
            EXPECT_EQ(f.delivered, QList<BridgeCommand>{c.expected});
        }
    }
}

TEST(KeyRemapperHotKeys, PressesThatMustDoNothing)
{
    // Ids that are not ours.
    {
        Fixture f;
        f.listen();
        f.remapper->installHotKeys(command);
        for (const quint32 id : {0u, 1u, 7u, 16u, 0x544E5743u})
            f.hotKeys.pressId(id);
        QCoreApplication::processEvents();
        EXPECT_TRUE(f.delivered.isEmpty());
    }
    // A press with no commandHandler is consumed, not kept for a later handler.
    {
        Fixture f;
        f.remapper->installHotKeys(command);
        ASSERT_TRUE(f.hotKeys.press(21, command));
        QCoreApplication::processEvents();
        f.listen();
        QCoreApplication::processEvents();
        EXPECT_TRUE(f.delivered.isEmpty());
    }
    // A press still queued when the remapper goes away.
    {
        Fixture f;
        f.listen();
        f.remapper->installHotKeys(command);
        ASSERT_TRUE(f.hotKeys.press(21, command));
        f.remapper.reset();
        QCoreApplication::processEvents();
        EXPECT_TRUE(f.delivered.isEmpty());
    }
}

TEST(KeyRemapperHotKeys, StartAndStopMoveTheHotKeysWithTheMapping)
{
    Fixture f;
    f.listen();
    f.remapper->start();
    EXPECT_TRUE(f.hotKeys.activeFor(21, control).has_value());
    f.remapper->stop();
    EXPECT_TRUE(f.hotKeys.activeFor(21, command).has_value());
    EXPECT_FALSE(f.hotKeys.activeFor(21, control).has_value());
    EXPECT_EQ(f.hotKeys.active().size(), 7);
}

} // namespace
