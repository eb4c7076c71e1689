#include "capture/recording/RecordingHUDController.h"

#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>
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
    // Drawn by us, not the window manager, which would add buttons that must not be there.
    // It never takes the focus from what is being recorded; clicks still reach the button.
    w->setWindowFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint
                      | Qt::WindowDoesNotAcceptFocus);
    w->setObjectName(QStringLiteral("recordingHud"));
    w->setAttribute(Qt::WA_StyledBackground);
    w->setStyleSheet(QStringLiteral("#recordingHud { background: rgb(246, 246, 248); border: 1px solid rgb(168, 168, 174); }"));
    w->setFixedSize(220, 58);

    auto *layout = new QHBoxLayout(w);
    layout->setSpacing(10);
    layout->setContentsMargins(14, 8, 12, 8);
    auto *dot = new QLabel(QStringLiteral("●"), w);
    QFont dotFont = dot->font();
    dotFont.setPixelSize(18);
    dot->setFont(dotFont);
    dot->setStyleSheet(QStringLiteral("color: rgb(255, 59, 48);"));
    auto *heading = new QLabel(title, w);
    QFont headingFont = heading->font();
    headingFont.setPixelSize(11);
    headingFont.setBold(true);
    heading->setFont(headingFont);
    m_timeLabel = new QLabel(elapsedText(0), w);
    m_timeLabel->setObjectName(QStringLiteral("timeLabel"));
    QFont timeFont = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    timeFont.setPixelSize(15);
    m_timeLabel->setFont(timeFont);
    auto *texts = new QVBoxLayout;
    texts->setSpacing(0);
    texts->addWidget(heading);
    texts->addWidget(m_timeLabel);
    m_stopButton = new QPushButton(stopTitle, w);
    m_stopButton->setObjectName(QStringLiteral("stopButton"));
    layout->addWidget(dot);
    layout->addLayout(texts, 1);
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
