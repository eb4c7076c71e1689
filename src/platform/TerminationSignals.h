#pragma once

#include <QObject>
#include <functional>

class QSocketNotifier;

// Turns SIGTERM, SIGINT and SIGHUP into a call on the GUI thread, so an orderly quit
// (which removes the keyboard mapping) runs even when the session kills the app.
class TerminationSignals : public QObject {
public:
    explicit TerminationSignals(std::function<void()> onSignal, QObject *parent = nullptr);
    ~TerminationSignals() override;

private:
    std::function<void()> m_onSignal;
    QSocketNotifier *m_notifier = nullptr;
};
