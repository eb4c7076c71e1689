#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QTimer>
#include <functional>
#include <memory>

class QLabel;
class QPushButton;
class QScreen;
class QWidget;

// The small "Đang quay" window shown while recording: a red dot, the time recorded and a
// "Dừng" button whose callback runs at most once. GUI thread only.
class RecordingHUDController : public QObject {
    Q_OBJECT
public:
    static inline const QString title = QStringLiteral("Đang quay");
    static inline const QString stopTitle = QStringLiteral("Dừng");

    // "mm:ss"; minutes keep counting past an hour (75 minutes read 75:00).
    static QString elapsedText(qint64 seconds);

    RecordingHUDController(QScreen *screen, std::function<void()> stop, QObject *parent = nullptr);
    ~RecordingHUDController() override;

    void show();
    void close();

    QWidget *window() const;
    QString timeText() const;
    QPushButton *stopButton() const { return m_stopButton; }
    // One tick of the clock; the timer calls it every second.
    void tick();

private:
    std::unique_ptr<QWidget> m_window;
    QLabel *m_timeLabel = nullptr;
    QPushButton *m_stopButton = nullptr;
    QTimer m_timer;
    QElapsedTimer m_started;
    std::function<void()> m_stop;
};
