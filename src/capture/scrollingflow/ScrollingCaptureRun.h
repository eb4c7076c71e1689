#pragma once

#include <QImage>
#include <QObject>
#include <QPointer>
#include <QRectF>
#include <QScreen>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>

class ApplicationRegistry;
class KeyStateReader;
class PointerInput;
class QThread;
class ScreenGrabber;
class WindowList;

// One run of the capture loop on a thread of its own. The loop hops back to the GUI thread
// for each grab (the screen grabber and Qt's screens live there), for activating the
// application and for each progress report; the result arrives on the GUI thread.
// Destroying the run stops the loop and waits for its thread. Created on the GUI thread.
class ScrollingCaptureRun : public QObject {
    Q_OBJECT
public:
    struct Services {
        ScreenGrabber &grabber;
        ApplicationRegistry &applications;
        WindowList &windows;
        PointerInput &pointer;
        KeyStateReader &keys;
    };
    using FrameReport = std::function<void(int count, bool manual)>;
    using Completion = std::function<void(std::optional<QImage> image)>;

    ScrollingCaptureRun(Services services, QScreen *screen, const QRectF &region, bool automaticWeb,
                        FrameReport onFrameCaptured, Completion completion, QObject *parent = nullptr);
    ~ScrollingCaptureRun() override;

    void start();

private:
    class Steps;

    Services m_;
    QPointer<QScreen> m_screen;
    QRectF m_region;
    bool m_automaticWeb;
    FrameReport m_onFrameCaptured;
    Completion m_completion;
    std::atomic<bool> m_abort{false};   // written on the GUI thread, read by the loop
    std::unique_ptr<QThread> m_thread;
};
