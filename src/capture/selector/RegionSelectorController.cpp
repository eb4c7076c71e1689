#include "capture/selector/RegionSelectorController.h"

#include "capture/selector/RegionSelectorView.h"
#include "platform/ScreenEnvironment.h"

#include <QGuiApplication>
#include <QKeyEvent>

RegionSelectorController::RegionSelectorController(const QString &prompt, QScreen *targetScreen,
                                                   QImage frozenImage, Completion completion,
                                                   const ScreenEnvironment &screens)
    : m_targetScreen(targetScreen), m_completion(std::move(completion))
{
    if (!m_targetScreen)
        m_targetScreen = screens.screenUnderCursor();
    if (!m_targetScreen && !screens.screens().isEmpty())
        m_targetScreen = screens.screens().constFirst();
    const QRect frame = m_targetScreen ? m_targetScreen->geometry() : QRect();

    m_view = new RegionSelectorView(QRectF(frame), std::move(frozenImage), prompt);
    // Above everything and outside the window manager's reach, so it maps at once,
    // exactly over the screen, on every desktop.
    m_view->setWindowFlags(Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint
                           | Qt::BypassWindowManagerHint | Qt::NoDropShadowWindowHint);
    if (m_targetScreen)
        m_view->setScreen(m_targetScreen);
    m_view->setGeometry(frame);
    m_view->selection().onComplete = [this](std::optional<QRectF> rect) { finish(rect); };

    qApp->installEventFilter(this);
    m_escapeMonitor = true;
    QGuiApplication::setOverrideCursor(Qt::CrossCursor);

    m_view->show();
    m_view->raise();
    // The window manager does not know this window, so it is not given the focus; the
    // keyboard is taken instead, so Escape reaches us wherever the focus is. Moving the
    // focus here would make the manager raise its focused window above the selector.
    m_view->grabKeyboard();
}

RegionSelectorController::~RegionSelectorController()
{
    removeEscapeMonitor();
    if (!m_finished)
        QGuiApplication::restoreOverrideCursor();
    if (m_view) {
        m_view->selection().onComplete = nullptr;
        m_view->releaseKeyboard();
        m_view->hide();
        // The window may be inside its own mouse handler (a completion that released us).
        m_view->deleteLater();
    }
}

bool RegionSelectorController::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::KeyPress
        && static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape) {
        m_view->selection().cancel();
        return true;
    }
    return QObject::eventFilter(watched, event);
}

void RegionSelectorController::removeEscapeMonitor()
{
    if (!m_escapeMonitor)
        return;
    qApp->removeEventFilter(this);
    m_escapeMonitor = false;
}

void RegionSelectorController::finish(std::optional<QRectF> rect)
{
    if (m_finished)
        return;
    m_finished = true;
    removeEscapeMonitor();
    QGuiApplication::restoreOverrideCursor();
    m_view->releaseKeyboard();
    m_view->hide();
    // The owner may release this controller from inside the completion.
    const Completion completion = std::move(m_completion);
    QScreen *screen = m_targetScreen;
    if (completion)
        completion(rect, screen);
}
