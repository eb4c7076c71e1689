#pragma once

// What a global hot key asks the app to do.
struct BridgeCommand {
    enum class Kind { switchApplication, screenshot, scrollingScreenshot, video, lock, quit };

    Kind kind = Kind::screenshot;
    bool reverse = false;   // switchApplication only: previous instead of next

    static constexpr BridgeCommand switchApplication(bool reverse) { return {Kind::switchApplication, reverse}; }
    static constexpr BridgeCommand of(Kind kind) { return {kind, false}; }
    friend bool operator==(const BridgeCommand &, const BridgeCommand &) = default;
};
