#include "Vantrel/platform/PortalHotKey.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QLoggingCategory>

namespace vantrel::platform {

// One element of the a(sa{sv}) shortcut lists the portal exchanges.
struct PortalShortcut {
    QString id;
    QVariantMap properties;
};

QDBusArgument& operator<<(QDBusArgument& argument, const PortalShortcut& shortcut) {
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PortalShortcut& shortcut) {
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument;
}

} // namespace vantrel::platform

Q_DECLARE_METATYPE(vantrel::platform::PortalShortcut)

namespace vantrel::platform {

namespace {

Q_LOGGING_CATEGORY(lcPortal, "vantrel.portal", QtInfoMsg)

constexpr const char* requestInterface = "org.freedesktop.portal.Request";
constexpr const char* sessionInterface = "org.freedesktop.portal.Session";
constexpr const char* registryInterface = "org.freedesktop.host.portal.Registry";

void registerTypes() {
    static const bool done = [] {
        qDBusRegisterMetaType<PortalShortcut>();
        qDBusRegisterMetaType<QList<PortalShortcut>>();
        return true;
    }();
    Q_UNUSED(done);
}

// The session handle arrives as a string in the published interface; some
// portals send an object path. Either is accepted.
QString pathValue(const QVariant& value) {
    if (value.metaType() == QMetaType::fromType<QDBusObjectPath>()) {
        return value.value<QDBusObjectPath>().path();
    }
    return value.toString();
}

} // namespace

PortalHotKey::PortalHotKey(QString appId, QDBusConnection bus, QObject* parent)
    : HotKey(parent), m_appId(std::move(appId)), m_bus(std::move(bus)) {
    registerTypes();
}

PortalHotKey::~PortalHotKey() {
    release();
}

bool PortalHotKey::grab(QString* error) {
    if (m_step != Step::idle) {
        return true;
    }
    release(); // after a refusal: start again from a clean slate
    if (!m_bus.isConnected()) {
        *error = QStringLiteral("no session bus, so no GlobalShortcuts portal");
        setState(State::unavailable, *error);
        return false;
    }
    setState(State::pending, QStringLiteral("asking the desktop's GlobalShortcuts portal"));
    probe();
    return true;
}

void PortalHotKey::release() {
    ++m_generation;
    stopListening();
    if (!m_session.isEmpty()) {
        // Sent, not awaited: the portal ends the session and nothing here depends on it.
        m_bus.send(QDBusMessage::createMethodCall(QLatin1String(service), m_session,
                                                  QLatin1String(sessionInterface), QStringLiteral("Close")));
        m_bus.disconnect(QString(), m_session, QLatin1String(sessionInterface), QStringLiteral("Closed"),
                         this, SLOT(onSessionClosed(QVariantMap)));
        m_session.clear();
    }
    if (m_subscribed) {
        m_bus.disconnect(QString(), QLatin1String(path), QLatin1String(interface),
                         QStringLiteral("Activated"), this, SLOT(onActivated(QDBusMessage)));
        m_subscribed = false;
    }
    m_step = Step::idle;
    m_portal.clear();
    setState(State::released, QString());
}

void PortalHotKey::probe() {
    m_step = Step::probing;
    QDBusMessage get = QDBusMessage::createMethodCall(QLatin1String(service), QLatin1String(path),
                                                      QStringLiteral("org.freedesktop.DBus.Properties"),
                                                      QStringLiteral("Get"));
    get << QLatin1String(interface) << QStringLiteral("version");
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(get, m_probeTimeout), this);
    const quint64 generation = m_generation;
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, generation] {
        watcher->deleteLater();
        if (generation != m_generation) {
            return;
        }
        const QDBusMessage reply = watcher->reply();
        if (reply.type() != QDBusMessage::ReplyMessage) {
            fail(State::unavailable, QStringLiteral("no GlobalShortcuts portal (%1)").arg(reply.errorName()));
            return;
        }
        m_portal = reply.service();
        // Signals are matched without a sender name (resolving one would wait on
        // the bus) and checked against the portal's unique name in the slots.
        if (!m_subscribed) {
            m_subscribed = m_bus.connect(QString(), QLatin1String(path), QLatin1String(interface),
                                         QStringLiteral("Activated"), this, SLOT(onActivated(QDBusMessage)));
        }
        if (!m_subscribed) {
            fail(State::refused, QStringLiteral("could not listen to the GlobalShortcuts portal (%1)")
                                     .arg(m_bus.lastError().message()));
            return;
        }
        const uint version = reply.arguments().value(0).value<QDBusVariant>().variant().toUInt();
        qCDebug(lcPortal) << "GlobalShortcuts portal version" << version << "at" << m_portal;
        registerHost();
    });
}

void PortalHotKey::registerHost() {
    if (m_appId.isEmpty()) {
        createSession();
        return;
    }
    // Unsandboxed programs are known to the portal by the app ID their launcher
    // gave them (a systemd scope) or by this registration. Older portals lack the
    // registry and a program the launcher already named cannot register again:
    // both are fine, so the answer only decides when to go on.
    QDBusMessage registration =
        QDBusMessage::createMethodCall(QLatin1String(service), QLatin1String(path),
                                       QLatin1String(registryInterface), QStringLiteral("Register"));
    registration << m_appId << QVariantMap();
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(registration, m_probeTimeout), this);
    const quint64 generation = m_generation;
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, generation] {
        watcher->deleteLater();
        if (generation != m_generation) {
            return;
        }
        if (watcher->isError()) {
            qCDebug(lcPortal) << "host registration:" << watcher->error().name();
        }
        createSession();
    });
}

void PortalHotKey::createSession() {
    m_step = Step::creating;
    QVariantMap options;
    options.insert(QStringLiteral("handle_token"), nextToken());
    options.insert(QStringLiteral("session_handle_token"), QStringLiteral("vantrel%1").arg(m_generation));
    request(QStringLiteral("CreateSession"), {options},
            options.value(QStringLiteral("handle_token")).toString());
}

void PortalHotKey::bindShortcuts() {
    m_step = Step::binding;
    PortalShortcut toggle;
    toggle.id = QLatin1String(shortcutId);
    toggle.properties.insert(QStringLiteral("description"),
                             QStringLiteral("Open or close the Vantrel playfield"));
    toggle.properties.insert(QStringLiteral("preferred_trigger"), QStringLiteral("ALT+LOGO+space"));
    QVariantMap options;
    options.insert(QStringLiteral("handle_token"), nextToken());
    request(QStringLiteral("BindShortcuts"),
            {QVariant::fromValue(QDBusObjectPath(m_session)),
             QVariant::fromValue(QList<PortalShortcut>{toggle}), QString(), options},
            options.value(QStringLiteral("handle_token")).toString());
}

void PortalHotKey::request(const QString& method, const QList<QVariant>& arguments, const QString& token) {
    // Listen before calling, so that a quick Response cannot be missed.
    stopListening();
    m_request = requestPath(token);
    m_bus.connect(QString(), m_request, QLatin1String(requestInterface), QStringLiteral("Response"), this,
                  SLOT(onResponse(uint, QVariantMap)));
    QDBusMessage call = QDBusMessage::createMethodCall(QLatin1String(service), QLatin1String(path),
                                                       QLatin1String(interface), method);
    call.setArguments(arguments);
    // The reply only names the request; the answer comes in its Response, which
    // may wait for the user, so the call itself has the bus's usual timeout.
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    const quint64 generation = m_generation;
    const QString expected = m_request;
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, generation, method, expected] {
        watcher->deleteLater();
        if (generation != m_generation) {
            return;
        }
        QDBusPendingReply<QDBusObjectPath> reply = *watcher;
        if (reply.isError()) {
            fail(State::refused, QStringLiteral("the GlobalShortcuts portal refused %1 (%2: %3)")
                                     .arg(method, reply.error().name(), reply.error().message()));
            return;
        }
        // The reply can come after the request's Response: if it landed before
        // the watcher existed, its report is queued behind the answer. The answer
        // was heard, and listening for it again would miss the next request's.
        if (m_request != expected) {
            return;
        }
        const QString handle = reply.value().path();
        if (handle != m_request) {
            // A portal older than handle tokens picks its own path.
            m_bus.disconnect(QString(), m_request, QLatin1String(requestInterface),
                             QStringLiteral("Response"), this, SLOT(onResponse(uint, QVariantMap)));
            m_request = handle;
            m_bus.connect(QString(), m_request, QLatin1String(requestInterface), QStringLiteral("Response"),
                          this, SLOT(onResponse(uint, QVariantMap)));
        }
    });
}

void PortalHotKey::onResponse(uint response, const QVariantMap& results) {
    if (!calledFromDBus() || message().path() != m_request || message().service() != m_portal) {
        return;
    }
    stopListening();
    if (response != 0) {
        fail(State::refused, response == 1 ? QStringLiteral("the user declined it in the desktop's dialog")
                                           : QStringLiteral("the GlobalShortcuts portal ended the request"));
        return;
    }
    if (m_step == Step::creating) {
        m_session = pathValue(results.value(QStringLiteral("session_handle")));
        if (m_session.isEmpty()) {
            fail(State::refused, QStringLiteral("the GlobalShortcuts portal created no session"));
            return;
        }
        m_bus.connect(QString(), m_session, QLatin1String(sessionInterface), QStringLiteral("Closed"), this,
                      SLOT(onSessionClosed(QVariantMap)));
        bindShortcuts();
    } else if (m_step == Step::binding) {
        QString trigger;
        bool bound = false;
        const auto shortcuts = qdbus_cast<QList<PortalShortcut>>(
            results.value(QStringLiteral("shortcuts")).value<QDBusArgument>());
        for (const PortalShortcut& shortcut : shortcuts) {
            qCDebug(lcPortal) << "bound" << shortcut.id << shortcut.properties;
            if (shortcut.id == QLatin1String(shortcutId)) {
                bound = true;
                trigger = shortcut.properties.value(QStringLiteral("trigger_description")).toString();
            }
        }
        if (!bound) {
            // Answered, but without our shortcut among those it holds (KDE's portal
            // does this for a program it cannot name): nothing will ever fire.
            fail(State::refused, QStringLiteral("the GlobalShortcuts portal answered without binding it"));
            return;
        }
        m_step = Step::bound;
        setState(
            State::active,
            trigger.isEmpty()
                ? QStringLiteral("bound through the desktop's GlobalShortcuts portal (no key shown: the "
                                 "desktop's shortcut settings say which)")
                : QStringLiteral("bound through the desktop's GlobalShortcuts portal as %1").arg(trigger),
            trigger);
    }
}

void PortalHotKey::onActivated(const QDBusMessage& signal) {
    // (session_handle o, shortcut_id s, timestamp t, options a{sv})
    const QList<QVariant> arguments = signal.arguments();
    if (m_step != Step::bound || signal.service() != m_portal || arguments.size() < 2 ||
        arguments[0].value<QDBusObjectPath>().path() != m_session ||
        arguments[1].toString() != QLatin1String(shortcutId)) {
        return;
    }
    emit activated();
}

void PortalHotKey::onSessionClosed(const QVariantMap&) {
    if (!calledFromDBus() || message().service() != m_portal || message().path() != m_session) {
        return;
    }
    m_session.clear();
    fail(State::refused, QStringLiteral("the desktop closed the shortcut session"));
}

void PortalHotKey::stopListening() {
    if (!m_request.isEmpty()) {
        m_bus.disconnect(QString(), m_request, QLatin1String(requestInterface), QStringLiteral("Response"),
                         this, SLOT(onResponse(uint, QVariantMap)));
        m_request.clear();
    }
}

void PortalHotKey::fail(State state, const QString& detail) {
    qCDebug(lcPortal) << "global shortcut:" << detail;
    stopListening();
    m_step = Step::idle;
    ++m_generation;
    setState(state, detail);
}

QString PortalHotKey::requestPath(const QString& token) const {
    QString sender = m_bus.baseService();
    sender.remove(0, sender.startsWith(QLatin1Char(':')) ? 1 : 0);
    sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    return QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2").arg(sender, token);
}

QString PortalHotKey::nextToken() {
    return QStringLiteral("vantrel%1").arg(++m_tokenCount);
}

} // namespace vantrel::platform
