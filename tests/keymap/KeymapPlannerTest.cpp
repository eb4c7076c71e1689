#include "keymap/KeymapPlanner.h"
#include "keymap/KeymapSnapshot.h"
#include "keymap/MappingRecord.h"

#include <gtest/gtest.h>

using namespace keymap;

namespace {

constexpr quint32 kControlL = 0xffe3, kControlR = 0xffe4, kSuperL = 0xffeb, kSuperR = 0xffec;
constexpr quint32 kCapsLock = 0xffe5, kEscape = 0xff1b, kLowerA = 0x61, kUpperA = 0x41, kF1 = 0xffbe;
constexpr quint8 kShiftMask = 0x01, kLockMask = 0x02, kControlMask = 0x04, kMod4Mask = 0x40;
constexpr int kLock = 1, kControl = 2, kMod4 = 6;
constexpr quint8 kOneLevel = 0, kAlphabetic = 2, kCtrlAlt = 12;

// A small keymap shaped like a real server's, one group per key: Super_L also sits on a second
// key (14, at level 2 only), mod4 holds both Super_L keys, and F1 (16) has five levels.
KeymapSnapshot sampleKeymap()
{
    // types, group info, width, keysyms, actions, explicit components, virtual modifiers, modifiers
    return {8, 16, {
        {{kOneLevel}, 1, 1, {kControlL}, {0x0405}, 0, 0, kControlMask},   // 8
        {{kOneLevel}, 1, 1, {kSuperL}, {0x4005}, 0, 0, kMod4Mask},        // 9
        {{kOneLevel}, 1, 1, {kControlR}, {0x0405}, 0, 0, kControlMask},   // 10
        {{kOneLevel}, 1, 1, {kSuperR}, {0x4005}, 0, 0, kMod4Mask},        // 11
        {{kOneLevel}, 1, 1, {kCapsLock}, {0x0203}, 0, 0, kLockMask},      // 12
        {{kOneLevel}, 1, 1, {kEscape}, {}, 0, 0, 0},                      // 13
        {{1}, 1, 2, {0, kSuperL}, {}, 0, 0, kMod4Mask},                   // 14
        {{kAlphabetic}, 1, 2, {kLowerA, kUpperA}, {}, 1, 0, 0},           // 15
        {{kCtrlAlt}, 1, 5, {kF1, kF1, kF1, kF1, 0x1008fe01}, {0, 0, 0, 0, 0x1050d}, 1, 0, 0},   // 16
    }};
}

TEST(KeymapPlanner, KeysTakeWholeEntriesFromTheOriginal)
{
    const KeymapSnapshot original = sampleKeymap();
    const std::map<int, int> swap{{8, 9}, {9, 8}, {10, 11}, {11, 10}};
    const KeymapSnapshot target = remappedKeymap(original, swap);
    for (int keycode = 8; keycode <= 16; ++keycode)
        EXPECT_EQ(target.key(keycode), original.key(swap.contains(keycode) ? swap.at(keycode) : keycode)) << keycode;
    const auto modifiers = target.modifierKeycodes();
    EXPECT_EQ(modifiers[kControl], (std::vector<int>{9, 11}));
    // The unmoved second Super_L key stays in mod4 next to the moved keys.
    EXPECT_EQ(modifiers[kMod4], (std::vector<int>{8, 10, 14}));
    EXPECT_EQ(modifiers[kLock], (std::vector<int>{12}));
    // The last keycode counts too.
    EXPECT_EQ(remappedKeymap(original, {{16, 12}}).modifierKeycodes()[kLock], (std::vector<int>{12, 16}));
}

TEST(KeymapPlanner, WritesEveryStoredDifferenceButModifiers)
{
    const KeymapSnapshot original = sampleKeymap();
    // The last keycode of the map, so neither scan may stop short of it.
    const struct { const char *name; void (*change)(KeyEntry &); bool written, producesDifferently; } cases[] = {
        {"modifier only", [](KeyEntry &k) { k.modifiers = kShiftMask; }, false, true},
        {"keysym", [](KeyEntry &k) { k.keysyms[0] = kLowerA; }, true, true},
        {"action", [](KeyEntry &k) { k.actions = {0x1}; }, true, false},
        {"explicit flags", [](KeyEntry &k) { k.explicitComponents = 0x10; }, true, false},
        {"virtual modifiers", [](KeyEntry &k) { k.virtualModifiers = 0x800; }, true, false},
        {"type of the used group", [](KeyEntry &k) { k.types[0] = 3; }, true, true},
        {"type of an unused group", [](KeyEntry &k) { k.types[2] = 3; }, true, false},
    };
    for (const auto &c : cases) {
        KeymapSnapshot current = original;
        c.change(current.key(16));
        EXPECT_EQ(keycodesToWrite(current, original), c.written ? std::vector<int>{16} : std::vector<int>{}) << c.name;
        EXPECT_EQ(keycodesProducingDifferently(current, original),
                  c.producesDifferently ? std::vector<int>{16} : std::vector<int>{}) << c.name;
    }
}

TEST(KeymapPlanner, AdoptsWhatSomeoneElseChangedUnderTheMapping)
{
    const KeymapSnapshot original = sampleKeymap();
    const std::map<int, int> swap{{8, 9}, {9, 8}, {10, 11}, {11, 10}};
    const KeymapSnapshot inForce = remappedKeymap(original, swap);
    // Another layout: every key reloaded, 15 now types z, the swap gone.
    KeymapSnapshot layout = original;
    layout.key(15).keysyms = {0x7a, 0x5a};
    KeymapSnapshot shorter = layout;
    shorter.maxKeycode = 15;
    shorter.keys.pop_back();

    const struct { const char *name; KeymapSnapshot current; std::optional<KeymapSnapshot> adopted; } cases[] = {
        {"our own keymap: nothing to adopt", inForce, std::nullopt},
        {"only actions re-derived: nothing to adopt",
         [&] { KeymapSnapshot k = inForce; k.key(8).actions = {0x9}; return k; }(), std::nullopt},
        {"a new layout is the new original", layout, layout},
        {"one unmapped key rewritten on top of the swap",
         [&] { KeymapSnapshot k = inForce; k.key(15).keysyms = {0x7a, 0x5a}; return k; }(), layout},
        {"a swapped key rewritten by hand keeps the hand-made entry",
         [&] { KeymapSnapshot k = inForce; k.key(8).keysyms = {kCapsLock}; return k; }(),
         [&] { KeymapSnapshot k = original; k.key(8) = inForce.key(8); k.key(8).keysyms = {kCapsLock}; return k; }()},
        {"another keycode range is taken whole", shorter, shorter},
    };
    for (const auto &c : cases)
        EXPECT_TRUE(adoptedOriginal(original, swap, c.current) == c.adopted) << c.name;
}

TEST(MappingRecord, RoundTripsAndRejectsDamage)
{
    const std::map<int, int> mapping{{37, 133}, {66, 9}, {133, 37}, {255, 8}};
    EXPECT_EQ(decodeMapping(encodeMapping(mapping)), mapping);
    EXPECT_EQ(decodeMapping(encodeMapping({})), (std::map<int, int>{}));
    const QByteArray cases[] = {   // count says more than there is; trailing token; keycode below 8 or
        // above 255; one source twice
        "", "VISTREL_MAPPING 1", "VISTREL_MAPPING 2 1 37 133", "OTHER 1 1 37 133", "VISTREL_MAPPING 1 2 37 133",
        "VISTREL_MAPPING 1 1 37 133 66", "VISTREL_MAPPING 1 1 7 133", "VISTREL_MAPPING 1 1 37 256",
        "VISTREL_MAPPING 1 2 37 133 37 9", "VISTREL_MAPPING 1 -1", "VISTREL_MAPPING 1 1 0x25 133",
    };
    for (const QByteArray &text : cases)
        EXPECT_FALSE(decodeMapping(text)) << text.constData();
}

TEST(KeymapPlanner, ReportsKeycodesOutsideTheMap)
{
    const KeymapSnapshot map = sampleKeymap();
    EXPECT_FALSE(keycodeOutside(map, {{8, 16}, {16, 8}}));
    EXPECT_EQ(keycodeOutside(map, {{8, 17}}), 17);
    EXPECT_EQ(keycodeOutside(map, {{7, 8}}), 7);
}

TEST(KeymapSnapshot, RoundTripsThroughItsTextAndRejectsDamage)
{
    KeymapSnapshot map = sampleKeymap();
    map.key(13).keysyms[0] = 0x1000000 + 0x20AC;   // a Unicode keysym keeps its high bits
    map.key(13).actions = {0xFEDCBA9876543210};    // every action byte survives
    map.key(14).groupInfo = 0x42;                  // two groups, redirect bits kept
    map.key(14).keysyms = {0, kSuperL, kLowerA, kUpperA};
    map.key(14).types = {1, kAlphabetic, 0, 0};
    map.key(14).virtualModifiers = 0xFFFF;
    map.key(13 - 5) = KeyEntry{};                  // a key with no groups at all
    EXPECT_TRUE(decodeSnapshot(encodeSnapshot(map)) == map);

    const QByteArray good = encodeSnapshot(sampleKeymap());
    const QByteArray header = "VISTREL_KEYMAP 2 8 16\n";
    ASSERT_TRUE(good.startsWith(header));
    const QByteArray body = good.mid(header.size());
    const QByteArray f1Line = "12 0 0 0 1 5 1 0 0 5 ffbe ffbe ffbe ffbe 1008fe01 5 0 0 0 0 1050d\n";
    ASSERT_TRUE(good.contains(f1Line));
    const struct { const char *name; QByteArray text; } cases[] = {
        {"empty", ""}, {"other magic", "OTHER_KEYMAP" + good.mid(14)},
        {"older version", "VISTREL_KEYMAP 1 8 16\n" + body}, {"min above max", "VISTREL_KEYMAP 2 16 8\n" + body},
        {"keycode below 8", "VISTREL_KEYMAP 2 7 16\n" + body}, {"one key missing", "VISTREL_KEYMAP 2 8 17\n" + body},
        {"keysym count off", QByteArray(good).replace(f1Line, "12 0 0 0 1 5 1 0 0 4 ffbe ffbe ffbe ffbe 0\n")},
        {"action count off", QByteArray(good).replace(f1Line, "12 0 0 0 1 5 1 0 0 5 ffbe ffbe ffbe ffbe 1008fe01 1 0\n")},
        {"five groups", QByteArray(good).replace(f1Line, "12 0 0 0 5 1 1 0 0 5 ffbe ffbe ffbe ffbe 1008fe01 0\n")},
        {"keysym not hex", QByteArray(good).replace("ffbe ffbe ffbe ffbe", "zz ffbe ffbe ffbe")},
        {"type out of byte range", QByteArray(good).replace(f1Line, "300 0 0 0 1 5 1 0 0 5 ffbe ffbe ffbe ffbe 1008fe01 0\n")},
        {"trailing token", good + "7\n"}, {"truncated", good.left(good.size() - 8)},
    };
    for (const auto &c : cases)
        EXPECT_FALSE(decodeSnapshot(c.text)) << c.name;
}

} // namespace
