#pragma once

#include <QObject>

class QSocketNotifier;

// Turns the signals that ask a program to end (SIGTERM from a session's log-out, SIGINT,
// SIGHUP) into quitRequested() on the GUI thread, so the dashboard quits the way its menu
// does: asking its modules first. The handler only writes a byte to a pipe; a notifier reads
// it in the event loop. One instance per process; none on systems without these signals.
class QuitSignals : public QObject
{
    Q_OBJECT

public:
    explicit QuitSignals(QObject *parent = nullptr);
    ~QuitSignals() override;

    // False when the signals could not be caught (they then end the program as before).
    bool isWatching() const { return m_notifier != nullptr; }

Q_SIGNALS:
    // signalNumber: the signal that asked.
    void quitRequested(int signalNumber);

private:
    void readSignals();

    QSocketNotifier *m_notifier = nullptr;
};
