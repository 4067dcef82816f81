#pragma once

#include <QObject>

class QSocketNotifier;

namespace vantrel {

// Turns SIGTERM and SIGINT into an orderly QCoreApplication::quit(), so that
// the code after the event loop (saving the best score, releasing the
// shortcut) runs. The handler only writes a byte to a pipe; the event loop reads it.
class QuitOnSignal : public QObject {
    Q_OBJECT

public:
    explicit QuitOnSignal(QObject* parent = nullptr);
    ~QuitOnSignal() override;

    int signalReceived() const { return m_signal; }

private:
    void readSignal();

    QSocketNotifier* m_notifier = nullptr;
    int m_signal = 0;
};

} // namespace vantrel
