#include "capture/scrollingflow/ScrollingCaptureRun.h"

#include "capture/scrolling/ScrollMetrics.h"
#include "capture/scrollingflow/ScrollingCaptureLoop.h"
#include "platform/ApplicationRegistry.h"
#include "platform/KeyStateReader.h"
#include "platform/PointerInput.h"
#include "platform/ScreenGrabber.h"
#include "platform/WindowList.h"

#include <QCoreApplication>
#include <QThread>
#include <future>
#include <thread>

// The loop's view of the world. Everything here runs on the loop's thread; what needs
// the GUI thread goes there through onGui() and is waited for.
class ScrollingCaptureRun::Steps : public ScrollCaptureSteps {
public:
    Steps(ScrollingCaptureRun &run, QPoint centre, qint64 ownPid) : m_run(run), m_centre(centre), m_ownPid(ownPid) {}

    void prepare() override
    {
        const auto window = ScrollingCaptureLoop::windowUnder(m_run.m_.windows.onScreenWindows(), m_centre, m_ownPid);
        if (window) {
            const qint64 pid = window->pid;
            onGui([this, pid] { return m_run.m_.applications.activate(pid); });
        }
        m_run.m_.pointer.warpCursor(m_centre);
    }

    std::optional<ScrollFrame> grabFrame() override
    {
        // The grabber hands out its shared segment, so the cut is copied before leaving.
        const auto cut = onGui([this]() -> QImage {
            QScreen *screen = m_run.m_screen;
            if (!screen)
                return {};
            const QImage whole = m_run.m_.grabber.grabScreen(screen);
            const auto rect = ScrollingCapture::framePixelRect(m_run.m_region, QRectF(screen->geometry()), whole.size());
            return rect ? whole.copy(*rect) : QImage();
        });
        if (!cut || cut->isNull())
            return std::nullopt;
        return ScrollFrame::fromImage(*cut);
    }

    void scrollLineDown() override { m_run.m_.pointer.scrollLineDown(m_centre); }
    bool isEscapeHeld() override { return m_run.m_.keys.isKeyHeld(KeyStateReader::escapeKey); }
    bool isReturnHeld() override { return m_run.m_.keys.isKeyHeld(KeyStateReader::returnKey); }

    void sleep(std::chrono::milliseconds duration) override
    {
        // In slices, so that a run being torn down is not kept waiting.
        const auto end = std::chrono::steady_clock::now() + duration;
        while (!aborted() && std::chrono::steady_clock::now() < end)
            std::this_thread::sleep_for(std::min<std::chrono::nanoseconds>(end - std::chrono::steady_clock::now(),
                                                                            std::chrono::milliseconds(10)));
    }
    void block(std::chrono::microseconds duration) override { std::this_thread::sleep_for(duration); }

    void frameKept(int count, bool manual) override
    {
        onGui([this, count, manual] {
            if (m_run.m_onFrameCaptured)
                m_run.m_onFrameCaptured(count, manual);
            return true;
        });
    }

    bool aborted() override { return m_run.m_abort.load(); }

private:
    // Runs fn on the GUI thread and waits for it; nothing when the run is going away.
    template <typename F>
    auto onGui(F fn) -> std::optional<decltype(fn())>
    {
        using Result = decltype(fn());
        auto promise = std::make_shared<std::promise<Result>>();
        std::future<Result> future = promise->get_future();
        QMetaObject::invokeMethod(&m_run, [promise, fn] { promise->set_value(fn()); }, Qt::QueuedConnection);
        while (future.wait_for(std::chrono::milliseconds(20)) != std::future_status::ready) {
            if (aborted())
                return std::nullopt;
        }
        try {
            return future.get();
        } catch (const std::future_error &) {
            return std::nullopt;   // the call was dropped with the run
        }
    }

    ScrollingCaptureRun &m_run;
    QPoint m_centre;
    qint64 m_ownPid;
};

ScrollingCaptureRun::ScrollingCaptureRun(Services services, QScreen *screen, const QRectF &region, bool automaticWeb,
                                         FrameReport onFrameCaptured, Completion completion, QObject *parent)
    : QObject(parent),
      m_(services),
      m_screen(screen),
      m_region(region),
      m_automaticWeb(automaticWeb),
      m_onFrameCaptured(std::move(onFrameCaptured)),
      m_completion(std::move(completion))
{
}

ScrollingCaptureRun::~ScrollingCaptureRun()
{
    m_abort = true;
    if (m_thread)
        m_thread->wait();
}

void ScrollingCaptureRun::start()
{
    if (m_thread || !m_screen)
        return;
    // Qt keeps each screen's top-left where the X server has it and scales from there.
    const QPointF origin = m_screen->geometry().topLeft();
    const QPoint centre = (origin + (m_region.center() - origin) * m_screen->devicePixelRatio()).toPoint();
    const qint64 ownPid = QCoreApplication::applicationPid();
    const bool automaticWeb = m_automaticWeb;
    const double logicalWidth = m_region.width();
    m_thread.reset(QThread::create([this, centre, ownPid, automaticWeb, logicalWidth] {
        std::optional<QImage> image;
        try {
            Steps steps(*this, centre, ownPid);
            image = ScrollingCaptureLoop::capture(steps, automaticWeb, logicalWidth);
        } catch (...) {
            image.reset();   // a failed run is a run with nothing to show
        }
        if (m_abort)
            return;
        QMetaObject::invokeMethod(this, [this, image] {
            if (m_completion)
                m_completion(image);
        }, Qt::QueuedConnection);
    }));
    m_thread->start();
}
