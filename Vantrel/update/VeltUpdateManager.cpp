#include "Vantrel/update/VeltUpdateManager.h"

#include "Vantrel/update/QtUpdateDialogs.h"
#include "Vantrel/update/ReleaseFeed.h"
#include "Vantrel/update/UpdateDecisions.h"

#include "VantrelCore/DecodingError.h"
#include "VantrelCore/ReleaseError.h"

#include <QDir>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSaveFile>
#include <QTemporaryFile>

namespace vantrel {

namespace {

QString fromStd(const std::string& text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

int httpStatus(QNetworkReply* reply) {
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    return status.isValid() ? status.toInt() : 0;
}

} // namespace

VeltUpdateManager::VeltUpdateManager(QObject* parent) : VeltUpdateManager(Environment{}, parent) {}

VeltUpdateManager::VeltUpdateManager(Environment environment, QObject* parent)
    : QObject(parent), m_environment(std::move(environment)),
      m_configuration(VeltConfiguration::read(m_environment.info)) {
    if (m_environment.dialogs) {
        m_dialogs = m_environment.dialogs;
    } else {
        m_ownDialogs = std::make_unique<QtUpdateDialogs>();
        m_dialogs = m_ownDialogs.get();
    }
    m_tls = QSslConfiguration::defaultConfiguration();
    if (!m_environment.trustedCertificates.isEmpty()) {
        m_tls.setCaCertificates(m_environment.trustedCertificates);
    }
    if (m_environment.temporaryDirectory.isEmpty()) {
        m_environment.temporaryDirectory = QDir::tempPath();
    }
    // Like an ephemeral session: nothing cached, no cookies, no redirects followed.
    m_network.setRedirectPolicy(QNetworkRequest::ManualRedirectPolicy);
    m_network.setAutoDeleteReplies(false);
}

VeltUpdateManager::~VeltUpdateManager() {
    if (m_reply) {
        m_reply->disconnect(this);
        m_reply->abort();
        delete m_reply.data();
    }
}

QString VeltUpdateManager::unavailableText() {
    return UpdateDecisions::unavailableText();
}

QString VeltUpdateManager::updateInstructionsText() {
    return UpdateDecisions::updateInstructionsText();
}

QString VeltUpdateManager::saveMessageText() {
    return UpdateDecisions::saveMessageText();
}

void VeltUpdateManager::checkForUpdates() {
    if (m_checking) {
        return;
    }
    const std::optional<QUrl> origin = m_configuration.apiOrigin();
    if (!origin || m_configuration.releasePublicKey.isEmpty()) {
        showError(QString::fromUtf8(ReleaseError::configurationMissing().what()));
        return;
    }
    setChecking(true);
    m_tooLarge = false;
    m_release.reset();
    QNetworkRequest feedRequest = request(ReleaseFeed::url(*origin), m_environment.feedTimeoutMs);
    feedRequest.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    QNetworkReply* reply = m_network.get(feedRequest);
    m_reply = reply;
    connect(reply, &QNetworkReply::metaDataChanged, this, [this, reply] { onFeedData(reply, 0); });
    connect(reply, &QNetworkReply::downloadProgress, this,
            [this, reply](qint64 received, qint64) { onFeedData(reply, received); });
    // Queued: the alerts that follow run their own event loops, and must not do
    // so inside the reply's signal, where closing the manager would delete the
    // reply under its own feet.
    connect(
        reply, &QNetworkReply::finished, this, [this, reply] { onFeedFinished(reply); },
        Qt::QueuedConnection);
}

QNetworkRequest VeltUpdateManager::request(const QUrl& url, int timeoutMs) const {
    QNetworkRequest request(url);
    request.setSslConfiguration(m_tls);
    request.setTransferTimeout(timeoutMs);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    return request;
}

void VeltUpdateManager::onFeedData(QNetworkReply* reply, qint64 received) {
    if (m_tooLarge) {
        return;
    }
    const QVariant length = reply->header(QNetworkRequest::ContentLengthHeader);
    const std::optional<qint64> announced =
        length.isValid() ? std::optional(length.toLongLong()) : std::nullopt;
    if (UpdateDecisions::exceedsLimit(announced, received,
                                      static_cast<qint64>(ReleaseFeed::maximumBodyBytes))) {
        m_tooLarge = true;
        reply->abort();
    }
}

void VeltUpdateManager::onFeedFinished(QNetworkReply* reply) {
    reply->deleteLater();
    m_reply.clear();
    const UpdateDecisions::TransferEnd transfer = transferEnd(reply);
    // Nothing is read from a cut-off or failed answer.
    const QByteArray body =
        transfer.cutOff || transfer.error != QNetworkReply::NoError ? QByteArray() : reply->readAll();
    if (const std::optional<QString> failure = UpdateDecisions::feedFailure(transfer, body.size())) {
        fail(*failure);
        return;
    }
    offerRelease(body);
}

void VeltUpdateManager::offerRelease(const QByteArray& body) {
    const QPointer<VeltUpdateManager> self(this);
    try {
        const std::optional<std::string> artifact =
            ReleaseFeed::decode(std::string_view(body.constData(), static_cast<std::size_t>(body.size())));
        std::optional<VeltRelease> release;
        if (artifact) {
            release = VeltRelease::verify(*artifact, m_configuration.releasePublicKey.toStdString());
        }
        switch (
            UpdateDecisions::offerFor(release, installedBuild(m_environment.info), m_environment.system)) {
        case UpdateDecisions::Offer::upToDate:
            alert(UpdateDecisions::upToDateAlert());
            break;
        case UpdateDecisions::Offer::incompatible:
            alert(UpdateDecisions::incompatibleAlert(*release));
            break;
        case UpdateDecisions::Offer::download:
            if (const int choice = alert(UpdateDecisions::offerAlert(*release)); self && choice == 0) {
                m_release = std::move(release);
                startDownload();
                return; // the download finishes the check
            }
            break;
        }
    } catch (const ReleaseError& error) {
        showError(QString::fromUtf8(error.what()));
    } catch (const DecodingError& error) {
        showError(QString::fromUtf8(error.what()));
    }
    if (self) {
        finish();
    }
}

void VeltUpdateManager::startDownload() {
    m_tooLarge = false;
    m_writeError.clear();
    m_download = std::make_unique<QTemporaryFile>(
        QDir(m_environment.temporaryDirectory).filePath(QStringLiteral("vantrel-update-XXXXXX.part")));
    if (!m_download->open()) {
        const QString error = m_download->errorString();
        m_download.reset();
        fail(error);
        return;
    }
    const QUrl url(fromStd(m_release->downloadURL), QUrl::StrictMode);
    QNetworkReply* reply = m_network.get(request(url, m_environment.downloadTimeoutMs));
    m_reply = reply;
    connect(reply, &QNetworkReply::readyRead, this, [this, reply] { onDownloadData(reply); });
    connect(
        reply, &QNetworkReply::finished, this, [this, reply] { onDownloadFinished(reply); },
        Qt::QueuedConnection);
}

void VeltUpdateManager::onDownloadData(QNetworkReply* reply) {
    if (!reply->isOpen()) {
        return; // aborted: nothing more to read
    }
    if (httpStatus(reply) != 200) {
        reply->readAll(); // an error page: not part of any archive
        return;
    }
    const QByteArray chunk = reply->readAll();
    if (!m_download || !m_writeError.isEmpty()) {
        return;
    }
    // More than the release's size can never verify; stop fetching at once.
    if (m_download->size() + chunk.size() > m_release->bytes) {
        m_tooLarge = true;
        reply->abort();
        return;
    }
    if (m_download->write(chunk) != chunk.size()) {
        m_writeError = m_download->errorString();
        reply->abort();
    }
}

void VeltUpdateManager::onDownloadFinished(QNetworkReply* reply) {
    reply->deleteLater();
    m_reply.clear();
    if (!m_tooLarge && m_writeError.isEmpty()) {
        onDownloadData(reply);
    }
    UpdateDecisions::DownloadEnd end;
    end.transfer = transferEnd(reply);
    end.writeError = m_writeError;
    end.https = reply->url().scheme() == QLatin1String("https");
    end.complete = !m_tooLarge && m_writeError.isEmpty() && m_download && m_download->flush() &&
                   m_download->size() == m_release->bytes;
    std::optional<QString> failure = UpdateDecisions::downloadFailure(end);
    QByteArray data;
    if (!failure) {
        m_download->seek(0);
        data = m_download->readAll();
        try {
            m_release->verifyDownload(
                std::string_view(data.constData(), static_cast<std::size_t>(data.size())));
        } catch (const ReleaseError& error) {
            failure = QString::fromUtf8(error.what());
            data.clear();
        }
    }
    // The temporary file goes whatever happened; only verified bytes in memory remain.
    m_download.reset();
    if (failure) {
        fail(*failure);
        return;
    }
    saveVerified(data);
}

void VeltUpdateManager::saveVerified(const QByteArray& data) {
    const QPointer<VeltUpdateManager> self(this);
    const QString proposedName = UpdateDecisions::proposedFileName(*m_release);
    const std::optional<QString> path = m_dialogs->chooseSaveLocation(proposedName, saveMessageText());
    if (!self) {
        return;
    }
    if (path) {
        // Written beside the target and renamed over it, so the user never sees half a file.
        QSaveFile file(*path);
        if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size() || !file.commit()) {
            showError(file.errorString());
        } else {
            m_dialogs->reveal(*path);
        }
    }
    if (self) {
        finish();
    }
}

UpdateDecisions::TransferEnd VeltUpdateManager::transferEnd(QNetworkReply* reply) const {
    return {m_tooLarge, reply->error(), reply->errorString(), httpStatus(reply)};
}

void VeltUpdateManager::fail(const QString& description) {
    // The alert runs its own event loop; the manager may be gone when it returns.
    const QPointer<VeltUpdateManager> self(this);
    showError(description);
    if (self) {
        finish();
    }
}

void VeltUpdateManager::showError(const QString& description) {
    alert(UpdateDecisions::errorAlert(description));
}

int VeltUpdateManager::alert(const UpdateAlert& content) {
    return m_dialogs->showAlert(content);
}

void VeltUpdateManager::setChecking(bool checking) {
    if (m_checking != checking) {
        m_checking = checking;
        emit checkingChanged(checking);
    }
}

void VeltUpdateManager::finish() {
    m_release.reset();
    m_download.reset();
    setChecking(false);
}

} // namespace vantrel
