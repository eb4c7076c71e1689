#pragma once

#include <QImage>
#include <QObject>
#include <QPointer>
#include <QRectF>
#include <QScreen>
#include <functional>
#include <optional>

class RegionSelectorView;
class ScreenEnvironment;

// One region selection on one screen: a borderless window above everything, the
// crosshair cursor and an application-wide Escape catcher, and a completion called at
// most once. Shown on construction. Destroying the controller before the user finishes
// takes everything down again without calling the completion. GUI thread only.
class RegionSelectorController : public QObject {
    Q_OBJECT
public:
    // rect: the selection in global logical pixels, or nothing on Escape.
    using Completion = std::function<void(std::optional<QRectF> rect, QScreen *screen)>;

    // targetScreen null: the screen under the pointer (the first screen if none is).
    // frozenImage null: the live screen shows through the window.
    RegionSelectorController(const QString &prompt, QScreen *targetScreen, QImage frozenImage,
                             Completion completion, const ScreenEnvironment &screens);
    ~RegionSelectorController() override;
    RegionSelectorController(const RegionSelectorController &) = delete;
    RegionSelectorController &operator=(const RegionSelectorController &) = delete;

    QScreen *targetScreen() const { return m_targetScreen; }
    RegionSelectorView *view() const { return m_view; }
    bool isFinished() const { return m_finished; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void finish(std::optional<QRectF> rect);
    void removeEscapeMonitor();

    QPointer<QScreen> m_targetScreen;
    RegionSelectorView *m_view = nullptr;   // deleted later, see the destructor
    Completion m_completion;
    bool m_finished = false;
    bool m_escapeMonitor = false;
};
