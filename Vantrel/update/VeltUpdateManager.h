#pragma once

#include "Vantrel/update/UpdateDecisions.h"
#include "Vantrel/update/UpdateDialogs.h"
#include "Vantrel/update/VeltConfiguration.h"

#include "VantrelCore/SystemVersion.h"
#include "VantrelCore/VeltRelease.h"

#include <QByteArray>
#include <QList>
#include <QNetworkAccessManager>
#include <QObject>
#include <QPointer>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QString>

#include <memory>
#include <optional>

class QNetworkReply;
class QNetworkRequest;
class QTemporaryFile;

namespace vantrel {

// Answers "Check for Updates…": asks the release service for the latest
// signed release, verifies it, tells the user the outcome and, if they agree,
// downloads the archive, verifies its size and digest and lets them save it.
// It never installs anything. Main thread only; one check at a time.
// It fetches, asks and saves; what each outcome means (offer or not, which
// failure to report) is decided by the pure functions in UpdateDecisions.
class VeltUpdateManager : public QObject {
    Q_OBJECT
public:
    static constexpr int requestTimeoutMs = 20'000;  // the feed request, without progress
    static constexpr int archiveTimeoutMs = 120'000; // the archive download, without progress

    // Where the manager's knowledge of the outside world comes from. The
    // defaults are the real ones; tests replace them.
    struct Environment {
        InfoDictionary info = compiledInfoDictionary();
        UpdateDialogs* dialogs = nullptr;           // not owned; nullptr: real dialogs
        QList<QSslCertificate> trustedCertificates; // empty: the system's certificate authorities
        QString temporaryDirectory;                 // empty: the system's temporary folder
        SystemVersion system = SystemVersion::running();
        // How long a transfer may go without progress before it is given up.
        int feedTimeoutMs = requestTimeoutMs;
        int downloadTimeoutMs = archiveTimeoutMs;
    };

    explicit VeltUpdateManager(QObject* parent = nullptr);
    explicit VeltUpdateManager(Environment environment, QObject* parent = nullptr);
    ~VeltUpdateManager() override;

    // Whether a check (with any download it started) is under way.
    bool isChecking() const { return m_checking; }

    // The user-facing texts.
    static QString unavailableText();
    static QString updateInstructionsText();
    static QString saveMessageText();

public slots:
    // Starts a check and returns at once; ignored while one is under way.
    void checkForUpdates();

signals:
    void checkingChanged(bool checking);

private:
    void startDownload();
    void onFeedFinished(QNetworkReply* reply);
    void onFeedData(QNetworkReply* reply, qint64 received);
    void onDownloadData(QNetworkReply* reply);
    void onDownloadFinished(QNetworkReply* reply);
    void offerRelease(const QByteArray& body);
    void saveVerified(const QByteArray& data);
    void showError(const QString& description);
    void fail(const QString& description); // shows the error alert and ends the check
    int alert(const UpdateAlert& content);
    QNetworkRequest request(const QUrl& url, int timeoutMs) const;
    UpdateDecisions::TransferEnd transferEnd(QNetworkReply* reply) const;
    void setChecking(bool checking);
    void finish();

    Environment m_environment;
    VeltConfiguration m_configuration;
    std::unique_ptr<UpdateDialogs> m_ownDialogs;
    UpdateDialogs* m_dialogs = nullptr;
    QSslConfiguration m_tls;
    QNetworkAccessManager m_network;

    bool m_checking = false;
    QPointer<QNetworkReply> m_reply;
    bool m_tooLarge = false; // the reply carried more than its limit and was cut off
    std::optional<VeltRelease> m_release;
    std::unique_ptr<QTemporaryFile> m_download;
    QString m_writeError;
};

} // namespace vantrel
