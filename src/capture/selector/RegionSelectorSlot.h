#pragma once

#include "capture/selector/RegionSelectorController.h"

#include <functional>
#include <memory>

// The one region selector on screen, shared by every capture flow. Opening a new one
// dismisses the one before without its completion; its `superseded` runs instead, so the
// attempt that opened it still ends once. GUI thread only.
class RegionSelectorSlot {
public:
    explicit RegionSelectorSlot(const ScreenEnvironment &screens) : m_screens(screens) {}

    void open(const QString &prompt, QScreen *screen, const QImage &frozenImage,
              RegionSelectorController::Completion completion, std::function<void()> superseded = {})
    {
        std::function<void()> previous = m_current ? std::move(m_superseded) : nullptr;
        m_superseded = std::move(superseded);
        m_current.reset();   // the old selector's teardown must not undo the new one's setup
        m_current = std::make_unique<RegionSelectorController>(prompt, screen, frozenImage,
                                                               std::move(completion), m_screens);
        if (previous)
            previous();
    }
    // Released, not finished: the selector goes away without calling its completion.
    void dismiss()
    {
        m_current.reset();
        m_superseded = nullptr;
    }
    RegionSelectorController *current() const { return m_current.get(); }

private:
    const ScreenEnvironment &m_screens;
    std::unique_ptr<RegionSelectorController> m_current;
    std::function<void()> m_superseded;
};
