#pragma once

#include "Vantrel/update/UpdateDialogs.h"

#include "VantrelCore/SystemVersion.h"
#include "VantrelCore/VeltRelease.h"

#include <QNetworkReply>
#include <QString>

#include <cstdint>
#include <optional>

// What an update check decides, apart from fetching, asking and saving: pure
// functions of what the network, the release and the installed build said.
// VeltUpdateManager gathers the facts, calls these and shows the answer.
namespace vantrel::UpdateDecisions {

// The user-facing texts.
QString unavailableText();
QString updateInstructionsText();
QString saveMessageText();

// An alert that only tells: the application's name over `description`.
UpdateAlert errorAlert(const QString& description);

// Whether a transfer must be refused for its size, from the length its answer
// announced (if any) and the bytes received so far; both in bytes. Refused as
// soon as either passes `limit`, so an oversized answer is never read in full.
bool exceedsLimit(std::optional<qint64> announcedLength, qint64 received, qint64 limit);

// How a transfer (the feed request or the archive download) ended.
struct TransferEnd {
    bool cutOff = false; // refused for carrying more than its limit
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    QString errorString; // Qt's description of `error`
    int httpStatus = 0;  // 0: no HTTP answer
};

// What a failed connection means to the user. A transfer timeout shows as a
// cancelled operation; it says "try again later" instead.
QString networkFailureText(QNetworkReply::NetworkError error, const QString& errorString);

// Why the feed's answer cannot be read, or nullopt when its body of
// `bodyBytes` bytes is to be decoded.
std::optional<QString> feedFailure(const TransferEnd& transfer, qint64 bodyBytes);

// How the archive download ended, as far as the user hears of it.
struct DownloadEnd {
    TransferEnd transfer;
    QString writeError;    // empty: every byte received was written
    bool https = true;     // the answer came over HTTPS
    bool complete = false; // the temporary file holds exactly the release's byte count
};

// Why the download cannot be verified, or nullopt when its bytes are to be
// checked against the release's digest.
std::optional<QString> downloadFailure(const DownloadEnd& download);

// What a verified feed means: nothing newer (or no valid release), a newer
// release this system cannot run, or a newer release to offer.
enum class Offer { upToDate, incompatible, download };

Offer offerFor(const std::optional<VeltRelease>& release, int64_t installedBuild,
               const SystemVersion& system);

// The alert for each answer; `release` is needed for all but upToDate.
UpdateAlert upToDateAlert();
UpdateAlert incompatibleAlert(const VeltRelease& release);
UpdateAlert offerAlert(const VeltRelease& release); // button 0 downloads

// The file name proposed when saving the verified archive.
QString proposedFileName(const VeltRelease& release);

} // namespace vantrel::UpdateDecisions
