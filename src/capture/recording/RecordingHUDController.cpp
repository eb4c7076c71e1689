#include "capture/recording/RecordingHUDController.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QWidget>

QString RecordingHUDController::elapsedText(qint64 seconds)
{
    return QStringLiteral("%1:%2").arg(seconds / 60, 2, 10, QLatin1Char('0')).arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

RecordingHUDController::RecordingHUDController(QScreen *screen, std::function<void()> stop, QObject *parent)
    : QObject(parent), m_window(std::make_unique<QWidget>()), m_stop(std::move(stop))
{
    m_started.start();
    QWidget *w = m_window.get();
    w->setWindowTitle(title);
    // A title bar without close, minimise or zoom buttons, above ordinary windows.
    w->setWindowFlags(Qt::Tool | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowStaysOnTopHint);
    w->setFixedSize(220, 58);

    auto *layout = new QHBoxLayout(w);
    layout->setSpacing(12);
    layout->setContentsMargins(14, 10, 14, 10);
    auto *dot = new QLabel(QStringLiteral("●"), w);
    QFont dotFont = dot->font();
    dotFont.setPixelSize(18);
    dot->setFont(dotFont);
    dot->setStyleSheet(QStringLiteral("color: rgb(255, 59, 48);"));
    m_timeLabel = new QLabel(elapsedText(0), w);
    m_timeLabel->setObjectName(QStringLiteral("timeLabel"));
    m_stopButton = new QPushButton(stopTitle, w);
    m_stopButton->setObjectName(QStringLiteral("stopButton"));
    layout->addWidget(dot);
    layout->addWidget(m_timeLabel, 1);
    layout->addWidget(m_stopButton);
    connect(m_stopButton, &QPushButton::clicked, this, [this] {
        // The callback is taken out on the first click; later clicks find nothing.
        std::function<void()> stop = std::move(m_stop);
        m_stop = nullptr;
        if (stop)
            stop();
    });

    if (screen) {
        w->setScreen(screen);
        const QRect area = screen->availableGeometry();
        w->move(area.right() + 1 - 240, area.top() + 32);
    }
    m_timer.setInterval(1000);
    connect(&m_timer, &QTimer::timeout, this, &RecordingHUDController::tick);
}

RecordingHUDController::~RecordingHUDController()
{
    m_timer.stop();
}

void RecordingHUDController::show()
{
    m_window->show();
    m_window->raise();
    m_timer.start();
}

void RecordingHUDController::close()
{
    m_timer.stop();
    m_window->hide();
}

QWidget *RecordingHUDController::window() const
{
    return m_window.get();
}

QString RecordingHUDController::timeText() const
{
    return m_timeLabel->text();
}

void RecordingHUDController::tick()
{
    m_timeLabel->setText(elapsedText(m_started.elapsed() / 1000));
}
