#include "Vantrel/update/UpdateDecisions.h"

#include "Vantrel/update/ReleaseFeed.h"

#include "VantrelCore/ReleaseError.h"

namespace vantrel::UpdateDecisions {

namespace {

QString fromStd(const std::string& text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// A failure of the connection itself, before or during the answer. (An HTTP
// error status also sets an error; the status check after it covers that.)
bool connectionFailed(const TransferEnd& transfer) {
    return transfer.error != QNetworkReply::NoError &&
           (transfer.httpStatus == 0 || transfer.httpStatus == 200);
}

} // namespace

QString unavailableText() {
    return QStringLiteral("Vantrel couldn’t check or download updates right now. Please try again later.");
}

QString updateInstructionsText() {
    return QStringLiteral("Download the update, quit Vantrel, and replace your existing app.");
}

QString saveMessageText() {
    return QStringLiteral("Save your verified Vantrel update. After you quit Vantrel, replace your existing "
                          "app with the new one.");
}

UpdateAlert errorAlert(const QString& description) {
    return {QStringLiteral("Vantrel"), description, {}};
}

bool exceedsLimit(std::optional<qint64> announcedLength, qint64 received, qint64 limit) {
    return (announcedLength && *announcedLength > limit) || received > limit;
}

QString networkFailureText(QNetworkReply::NetworkError error, const QString& errorString) {
    if (error == QNetworkReply::OperationCanceledError || error == QNetworkReply::TimeoutError) {
        return unavailableText();
    }
    return errorString;
}

std::optional<QString> feedFailure(const TransferEnd& transfer, qint64 bodyBytes) {
    if (transfer.cutOff) {
        return unavailableText();
    }
    if (connectionFailed(transfer)) {
        return networkFailureText(transfer.error, transfer.errorString);
    }
    if (transfer.httpStatus != 200 || bodyBytes > static_cast<qint64>(ReleaseFeed::maximumBodyBytes)) {
        return unavailableText();
    }
    return std::nullopt;
}

std::optional<QString> downloadFailure(const DownloadEnd& download) {
    const TransferEnd& transfer = download.transfer;
    if (!download.writeError.isEmpty()) {
        return download.writeError;
    }
    if (!transfer.cutOff && connectionFailed(transfer)) {
        return networkFailureText(transfer.error, transfer.errorString);
    }
    if (transfer.httpStatus != 200 || !download.https) {
        return unavailableText();
    }
    // Cut off for passing the release's size, or short of it: it can never verify.
    if (transfer.cutOff || !download.complete) {
        return QString::fromUtf8(ReleaseError::invalidRelease().what());
    }
    return std::nullopt;
}

Offer offerFor(const std::optional<VeltRelease>& release, int64_t installedBuild,
               const SystemVersion& system) {
    if (!release || installedBuild >= release->build) {
        return Offer::upToDate;
    }
    if (!release->isCompatible(system)) {
        return Offer::incompatible;
    }
    return Offer::download;
}

UpdateAlert upToDateAlert() {
    return {QStringLiteral("You’re up to date."),
            QStringLiteral("You have the latest available version of Vantrel."),
            {}};
}

UpdateAlert incompatibleAlert(const VeltRelease& release) {
    return {QStringLiteral("Vantrel"),
            QStringLiteral("Vantrel %1 needs Linux %2 or later.")
                .arg(fromStd(release.version), fromStd(release.minimumOS)),
            {}};
}

UpdateAlert offerAlert(const VeltRelease& release) {
    return {QStringLiteral("Vantrel %1 is ready.").arg(fromStd(release.version)),
            fromStd(release.notes) + QStringLiteral("\n\n") + updateInstructionsText(),
            {QStringLiteral("Download Update"), QStringLiteral("Later")}};
}

QString proposedFileName(const VeltRelease& release) {
    return QStringLiteral("Vantrel-%1.zip").arg(fromStd(release.version));
}

} // namespace vantrel::UpdateDecisions
