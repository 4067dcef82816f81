#pragma once

#include "Vantrel/panel/PanelKeys.h"

#include <QObject>

class QWidget;

namespace vantrel {

class GameStore;

// The open playfield's keyboard. Watches every key event of the application
// (installed on qApp, so child widgets never eat a game key first), takes the
// ones meant for the open panel, decides them with decidePanelKey and reports
// what the user wants as actionRequested. Handled keys go no further.
class PanelKeyboard : public QObject {
    Q_OBJECT

public:
    // `panel` is the panel window; `store` says whether the playfield is open.
    PanelKeyboard(QWidget& panel, const GameStore& store, QObject* parent = nullptr);
    ~PanelKeyboard() override;

    // Stops watching; idempotent.
    void stop();

signals:
    // Emitted while the key event is being delivered, before it is swallowed.
    void actionRequested(PanelKeyAction action);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool forPanel(QObject* watched) const;

    QWidget& m_panel;
    const GameStore& m_store;
    bool m_watching = false;
};

} // namespace vantrel
