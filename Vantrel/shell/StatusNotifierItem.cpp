#include "Vantrel/shell/StatusNotifierItem.h"

#include "Vantrel/Logging.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QtEndian>

// The platform theme makes Qt's own tray icon; asking it is how QSystemTrayIcon decides too.
#if __has_include(<qpa/qplatformtheme.h>) && __has_include(<QtGui/private/qguiapplication_p.h>)
#include <QtGui/private/qguiapplication_p.h>
#include <qpa/qplatformsystemtrayicon.h>
#include <qpa/qplatformtheme.h>
#define VANTREL_HAVE_QPA 1
#endif

#include <memory>

namespace vantrel {

namespace {

constexpr const char* watcherInterface = "org.kde.StatusNotifierWatcher";
// Calls to the watcher are answered at once by a live one; a hung one must not
// keep the item waiting longer than this for a retry at the next appearance.
constexpr int callTimeoutMs = 2000;

} // namespace

QDBusArgument& operator<<(QDBusArgument& argument, const SniPixmap& pixmap) {
    argument.beginStructure();
    argument << pixmap.width << pixmap.height << pixmap.argb;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, SniPixmap& pixmap) {
    argument.beginStructure();
    argument >> pixmap.width >> pixmap.height >> pixmap.argb;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const SniToolTip& toolTip) {
    argument.beginStructure();
    argument << toolTip.iconName << toolTip.pixmaps << toolTip.title << toolTip.text;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, SniToolTip& toolTip) {
    argument.beginStructure();
    argument >> toolTip.iconName >> toolTip.pixmaps >> toolTip.title >> toolTip.text;
    argument.endStructure();
    return argument;
}

bool StatusNotifierItem::qtTrayIsStatusNotifier() {
#ifdef VANTREL_HAVE_QPA
    // Non-null exactly when QSystemTrayIcon uses the platform's icon rather than XEmbed.
    QPlatformTheme* theme = QGuiApplicationPrivate::platformTheme();
    return theme &&
           std::unique_ptr<QPlatformSystemTrayIcon>(theme->createPlatformSystemTrayIcon()) != nullptr;
#else
    return false; // as before: XEmbed, or Qt's item for a watcher present at start
#endif
}

SniPixmaps StatusNotifierItem::pixmapsFrom(const QList<QImage>& images) {
    SniPixmaps pixmaps;
    for (const QImage& source : images) {
        const QImage image = source.convertToFormat(QImage::Format_ARGB32);
        SniPixmap pixmap{image.width(), image.height(), {}};
        pixmap.argb.resize(qsizetype(image.width()) * image.height() * 4);
        auto* out = reinterpret_cast<uchar*>(pixmap.argb.data());
        for (int y = 0; y < image.height(); ++y) {
            const auto* row = reinterpret_cast<const quint32*>(image.constScanLine(y));
            for (int x = 0; x < image.width(); ++x, out += 4) {
                qToBigEndian<quint32>(row[x], out);
            }
        }
        pixmaps.append(pixmap);
    }
    return pixmaps;
}

StatusNotifierItem::StatusNotifierItem(const QString& id, const QString& title, const QString& toolTip,
                                       SniPixmaps pixmaps, QDBusConnection bus, QObject* parent)
    : QObject(parent), m_bus(std::move(bus)), m_id(id), m_title(title), m_toolTip(toolTip),
      m_pixmaps(std::move(pixmaps)) {
    qDBusRegisterMetaType<SniPixmap>();
    qDBusRegisterMetaType<SniPixmaps>();
    qDBusRegisterMetaType<SniToolTip>();
}

StatusNotifierItem::~StatusNotifierItem() {
    stop();
}

SniToolTip StatusNotifierItem::toolTip() const {
    return SniToolTip{{}, {}, m_title, m_toolTip};
}

bool StatusNotifierItem::start() {
    if (!m_bus.isConnected()) {
        return false;
    }
    if (!m_exported) {
        // Local to this process: no round trip to the bus daemon.
        m_exported = m_bus.registerObject(QLatin1String(itemPath), this,
                                          QDBusConnection::ExportAllProperties |
                                              QDBusConnection::ExportScriptableSlots |
                                              QDBusConnection::ExportScriptableSignals);
        if (!m_exported) {
            qCWarning(lcShell) << "tray: cannot export the status notifier item:"
                               << m_bus.lastError().message();
            return false;
        }
    }
    m_watcher = new QDBusServiceWatcher(QLatin1String(watcherService), m_bus,
                                        QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString& oldOwner, const QString& newOwner) {
                if (!oldOwner.isEmpty()) {
                    watcherGone();
                }
                if (!newOwner.isEmpty()) {
                    watcherAppeared();
                }
            });
    // A host announces itself to the watcher after the item may have registered.
    // From any sender: naming the watcher's well-known name would make Qt look up its owner
    // with a call that waits for the answer.
    m_bus.connect(QString(), QLatin1String(watcherPath), QLatin1String(watcherInterface),
                  QStringLiteral("StatusNotifierHostRegistered"), this, SLOT(hostRegistered()));
    // A watcher that was there before the program: registering is the question
    // whether one is there (an error answer when not).
    watcherAppeared();
    return true;
}

void StatusNotifierItem::stop() {
    if (m_watcher) {
        delete m_watcher;
        m_watcher = nullptr;
        m_bus.disconnect(QString(), QLatin1String(watcherPath), QLatin1String(watcherInterface),
                         QStringLiteral("StatusNotifierHostRegistered"), this, SLOT(hostRegistered()));
    }
    if (m_exported) {
        m_bus.unregisterObject(QLatin1String(itemPath));
        m_exported = false;
    }
    ++m_generation;
    setState(false, false);
}

void StatusNotifierItem::watcherAppeared() {
    // The unique name: hosts find the item at itemPath on it, and claiming a
    // well-known name would be a call that waits for its answer.
    QDBusMessage call = QDBusMessage::createMethodCall(
        QLatin1String(watcherService), QLatin1String(watcherPath), QLatin1String(watcherInterface),
        QStringLiteral("RegisterStatusNotifierItem"));
    call << m_bus.baseService();
    call.setAutoStartService(false); // a watcher that is not running is not started for us
    auto* pending = new QDBusPendingCallWatcher(m_bus.asyncCall(call, callTimeoutMs), this);
    pending->setProperty("generation", m_generation);
    connect(pending, &QDBusPendingCallWatcher::finished, this, &StatusNotifierItem::registered);
}

void StatusNotifierItem::registered(QDBusPendingCallWatcher* call) {
    call->deleteLater();
    if (call->property("generation").toInt() != m_generation || !m_watcher) {
        return;
    }
    if (call->isError()) {
        qCDebug(lcShell) << "tray: no status notifier watcher:" << call->error().message();
        return;
    }
    qCInfo(lcShell) << "tray: registered with the status notifier watcher";
    setState(true, m_hostPresent);
    // Whether a panel will draw the item, or only a watcher holds it.
    QDBusMessage get = QDBusMessage::createMethodCall(
        QLatin1String(watcherService), QLatin1String(watcherPath),
        QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    get << QLatin1String(watcherInterface) << QStringLiteral("IsStatusNotifierHostRegistered");
    get.setAutoStartService(false);
    auto* pending = new QDBusPendingCallWatcher(m_bus.asyncCall(get, callTimeoutMs), this);
    const int generation = m_generation;
    connect(pending, &QDBusPendingCallWatcher::finished, this,
            [this, generation](QDBusPendingCallWatcher* w) {
                w->deleteLater();
                const QDBusPendingReply<QDBusVariant> reply = *w;
                if (generation == m_generation && !reply.isError() && reply.value().variant().toBool()) {
                    setState(m_registered, true);
                }
            });
}

void StatusNotifierItem::watcherGone() {
    ++m_generation;
    setState(false, false);
}

void StatusNotifierItem::hostRegistered() {
    if (m_watcher) {
        setState(m_registered, true);
    }
}

void StatusNotifierItem::setState(bool nowRegistered, bool host) {
    if (nowRegistered == m_registered && host == m_hostPresent) {
        return;
    }
    m_registered = nowRegistered;
    m_hostPresent = host;
    emit trayChanged();
}

void StatusNotifierItem::Activate(int, int) {
    emit activated();
}

void StatusNotifierItem::SecondaryActivate(int, int) {
    // A middle click: nothing of its own, as with the XEmbed icon.
}

void StatusNotifierItem::ContextMenu(int x, int y) {
    emit contextMenuRequested(QPoint(x, y));
}

void StatusNotifierItem::Scroll(int, const QString&) {}

} // namespace vantrel
