#pragma once

#include "capture/selector/RegionSelectorController.h"

#include <memory>

// The one region selector on screen, shared by every capture flow: opening a new one
// silently dismisses the one before, whose completion then never runs. GUI thread only.
class RegionSelectorSlot {
public:
    explicit RegionSelectorSlot(const ScreenEnvironment &screens) : m_screens(screens) {}

    void open(const QString &prompt, QScreen *screen, const QImage &frozenImage,
              RegionSelectorController::Completion completion)
    {
        dismiss();
        m_current = std::make_unique<RegionSelectorController>(prompt, screen, frozenImage,
                                                               std::move(completion), m_screens);
    }
    // Released, not finished: the selector goes away without calling its completion.
    void dismiss() { m_current.reset(); }
    RegionSelectorController *current() const { return m_current.get(); }

private:
    const ScreenEnvironment &m_screens;
    std::unique_ptr<RegionSelectorController> m_current;
};
