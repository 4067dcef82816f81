#pragma once

#include <QByteArray>
#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QImage>
#include <QList>
#include <QMetaType>
#include <QObject>
#include <QPoint>
#include <QString>

class QDBusArgument;
class QDBusMessage;
class QDBusPendingCallWatcher;
class QDBusServiceWatcher;

namespace vantrel {

// One size of an icon as a StatusNotifierItem carries it: ARGB32 in network byte order.
struct SniPixmap {
    int width = 0;
    int height = 0;
    QByteArray argb;
};
using SniPixmaps = QList<SniPixmap>;

struct SniToolTip {
    QString iconName;
    SniPixmaps pixmaps;
    QString title;
    QString text;
};

QDBusArgument& operator<<(QDBusArgument& argument, const SniPixmap& pixmap);
const QDBusArgument& operator>>(const QDBusArgument& argument, SniPixmap& pixmap);
QDBusArgument& operator<<(QDBusArgument& argument, const SniToolTip& toolTip);
const QDBusArgument& operator>>(const QDBusArgument& argument, SniToolTip& toolTip);

// The tray icon for a StatusNotifierWatcher that appears after the program
// started. Qt looks for a watcher once, when the first QSystemTrayIcon is made,
// and falls back to XEmbed for good; this item is registered whenever a watcher
// is (or comes) on the session bus, and again after a watcher restarts. It has
// no exported menu: hosts call ContextMenu and the program opens its own.
// Nothing here waits on the bus.
class StatusNotifierItem : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category READ category)
    Q_PROPERTY(QString Id READ id)
    Q_PROPERTY(QString Title READ title)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(int WindowId READ windowId)
    Q_PROPERTY(QString IconName READ emptyName)
    Q_PROPERTY(vantrel::SniPixmaps IconPixmap READ iconPixmap)
    Q_PROPERTY(QString OverlayIconName READ emptyName)
    Q_PROPERTY(vantrel::SniPixmaps OverlayIconPixmap READ noPixmaps)
    Q_PROPERTY(QString AttentionIconName READ emptyName)
    Q_PROPERTY(vantrel::SniPixmaps AttentionIconPixmap READ noPixmaps)
    Q_PROPERTY(QString AttentionMovieName READ emptyName)
    Q_PROPERTY(vantrel::SniToolTip ToolTip READ toolTip)
    Q_PROPERTY(bool ItemIsMenu READ itemIsMenu)
    Q_PROPERTY(QDBusObjectPath Menu READ menu)

public:
    static constexpr const char* watcherService = "org.kde.StatusNotifierWatcher";
    static constexpr const char* watcherPath = "/StatusNotifierWatcher";
    static constexpr const char* itemPath = "/StatusNotifierItem";

    StatusNotifierItem(const QString& id, const QString& title, const QString& toolTip, SniPixmaps pixmaps,
                       QDBusConnection bus = QDBusConnection::sessionBus(), QObject* parent = nullptr);
    ~StatusNotifierItem() override;

    // Exports the item and follows the watcher; false when the bus refused the object.
    bool start();
    // Withdraws the item (at exit); the watcher drops it when the object goes.
    void stop();

    // A watcher has accepted the item.
    bool isRegistered() const { return m_registered; }
    // ... and says a host (a panel that draws items) is there to show it.
    bool hostPresent() const { return m_registered && m_hostPresent; }

    QString category() const { return QStringLiteral("ApplicationStatus"); }
    QString id() const { return m_id; }
    QString title() const { return m_title; }
    QString status() const { return QStringLiteral("Active"); }
    int windowId() const { return 0; }
    QString emptyName() const { return {}; }
    SniPixmaps iconPixmap() const { return m_pixmaps; }
    SniPixmaps noPixmaps() const { return {}; }
    SniToolTip toolTip() const;
    bool itemIsMenu() const { return false; }
    // No exported menu: the host asks for one with ContextMenu.
    QDBusObjectPath menu() const { return QDBusObjectPath(QStringLiteral("/NO_DBUSMENU")); }

    // Whether Qt itself handed its tray icon to a StatusNotifier host (one was
    // there when the first QSystemTrayIcon was made): then Qt follows the
    // watcher and exports the menu, and this item is not needed. Asked after
    // that first icon exists; the answer is Qt's cached one, no bus call.
    static bool qtTrayIsStatusNotifier();

    // The icon as hosts get it, from ARGB32 images of each size.
    static SniPixmaps pixmapsFrom(const QList<QImage>& images);

public slots:
    // Called by the host over the bus: a primary click, a middle click, a right
    // click (with the pointer's position, or 0,0 where the host does not know it).
    Q_SCRIPTABLE void Activate(int x, int y);
    Q_SCRIPTABLE void SecondaryActivate(int x, int y);
    Q_SCRIPTABLE void ContextMenu(int x, int y);
    Q_SCRIPTABLE void Scroll(int delta, const QString& orientation);

signals:
    Q_SCRIPTABLE void NewTitle();
    Q_SCRIPTABLE void NewIcon();
    Q_SCRIPTABLE void NewAttentionIcon();
    Q_SCRIPTABLE void NewOverlayIcon();
    Q_SCRIPTABLE void NewToolTip();
    Q_SCRIPTABLE void NewStatus(const QString& status);

    // For the program (not exported).
    void activated();
    void contextMenuRequested(QPoint at);
    // isRegistered() or hostPresent() changed.
    void trayChanged();

private slots:
    void hostRegistered();

private:
    void watcherAppeared();
    void watcherGone();
    void registered(QDBusPendingCallWatcher* call);
    void setState(bool nowRegistered, bool host);

    QDBusConnection m_bus;
    QString m_id;
    QString m_title;
    QString m_toolTip;
    SniPixmaps m_pixmaps;
    QDBusServiceWatcher* m_watcher = nullptr;
    bool m_exported = false;
    bool m_registered = false;
    bool m_hostPresent = false;
    // Bumped when the watcher goes: answers to calls made before are stale.
    int m_generation = 0;
};

} // namespace vantrel

Q_DECLARE_METATYPE(vantrel::SniPixmap)
Q_DECLARE_METATYPE(vantrel::SniToolTip)
