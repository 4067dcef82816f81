#include "Vantrel/update/UpdateDecisions.h"

#include "VantrelCore/ReleaseError.h"

#include <gtest/gtest.h>

#include <vector>

using namespace vantrel;
using namespace vantrel::UpdateDecisions;
using Error = QNetworkReply::NetworkError;

namespace {

const QString unavailable = unavailableText();
const QString invalid = QString::fromUtf8(ReleaseError::invalidRelease().what());

VeltRelease release(int64_t build, std::string minimumOS = "6.1") {
    VeltRelease r;
    r.schema = 1;
    r.product = "velt";
    r.version = "1.4.0";
    r.build = build;
    r.minimumOS = std::move(minimumOS);
    r.downloadURL = "https://example.org/Vantrel-1.4.0.zip";
    r.sha256 = std::string(64, 'a');
    r.bytes = 1000;
    r.notes = "Faster cacti.";
    return r;
}

} // namespace

TEST(UpdateDecisions, SizeLimitCountsTheAnnouncedLengthAndTheBytesReceived) {
    struct Row {
        std::optional<qint64> announced;
        qint64 received;
        bool refused;
    };
    const std::vector<Row> rows = {
        {std::nullopt, 0, false},
        {std::nullopt, 100, false},
        {std::nullopt, 101, true},
        {100, 0, false},
        {101, 0, true},
        {50, 101, true},
        {0, 100, false},
        {-1, 0, false},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(exceedsLimit(row.announced, row.received, 100), row.refused)
            << "announced " << row.announced.value_or(-2) << ", received " << row.received;
    }
}

TEST(UpdateDecisions, TimeoutsSayTryAgainLaterOtherFailuresSayWhatHappened) {
    struct Row {
        Error error;
        QString text;
    };
    const std::vector<Row> rows = {
        {QNetworkReply::OperationCanceledError, unavailable},
        {QNetworkReply::TimeoutError, unavailable},
        {QNetworkReply::HostNotFoundError, "Host example.org not found"},
        {QNetworkReply::SslHandshakeFailedError, "Host example.org not found"},
        {QNetworkReply::ConnectionRefusedError, "Host example.org not found"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(networkFailureText(row.error, "Host example.org not found"), row.text) << row.error;
    }
}

TEST(UpdateDecisions, FeedAnswers) {
    struct Row {
        const char* what;
        TransferEnd transfer;
        qint64 bodyBytes;
        std::optional<QString> failure;
    };
    const QString refused = "Connection refused";
    const std::vector<Row> rows = {
        {"a good answer", {false, QNetworkReply::NoError, {}, 200}, 300, std::nullopt},
        {"an empty good answer", {false, QNetworkReply::NoError, {}, 200}, 0, std::nullopt},
        {"the largest body", {false, QNetworkReply::NoError, {}, 200}, 20'000, std::nullopt},
        {"a body past the limit", {false, QNetworkReply::NoError, {}, 200}, 20'001, unavailable},
        {"cut off for its size",
         {true, QNetworkReply::OperationCanceledError, "Operation canceled", 200},
         0,
         unavailable},
        {"no connection", {false, QNetworkReply::ConnectionRefusedError, refused, 0}, 0, refused},
        {"broken off after the headers",
         {false, QNetworkReply::RemoteHostClosedError, refused, 200},
         0,
         refused},
        {"timed out",
         {false, QNetworkReply::OperationCanceledError, "Operation canceled", 0},
         0,
         unavailable},
        {"not found", {false, QNetworkReply::ContentNotFoundError, "Not Found", 404}, 0, unavailable},
        {"a server error", {false, QNetworkReply::InternalServerError, "Internal", 500}, 0, unavailable},
        {"a redirect, not followed", {false, QNetworkReply::NoError, {}, 302}, 0, unavailable},
        {"no content", {false, QNetworkReply::NoError, {}, 204}, 0, unavailable},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(feedFailure(row.transfer, row.bodyBytes), row.failure) << row.what;
    }
}

TEST(UpdateDecisions, DownloadEnds) {
    struct Row {
        const char* what;
        DownloadEnd download;
        std::optional<QString> failure;
    };
    const TransferEnd ok{false, QNetworkReply::NoError, {}, 200};
    const TransferEnd cutOff{true, QNetworkReply::OperationCanceledError, "Operation canceled", 200};
    const TransferEnd dropped{false, QNetworkReply::RemoteHostClosedError, "Connection closed", 200};
    const TransferEnd timedOut{false, QNetworkReply::OperationCanceledError, "Operation canceled", 200};
    const TransferEnd notFound{false, QNetworkReply::ContentNotFoundError, "Not Found", 404};
    const std::vector<Row> rows = {
        {"complete", {ok, {}, true, true}, std::nullopt},
        {"short of the release's size", {ok, {}, true, false}, invalid},
        {"longer than the release's size", {cutOff, {}, true, false}, invalid},
        {"the disk is full", {cutOff, "No space left on device", true, false}, "No space left on device"},
        {"a write error beats a dropped connection", {dropped, "Disk full", true, false}, "Disk full"},
        {"the connection dropped", {dropped, {}, true, false}, "Connection closed"},
        {"timed out", {timedOut, {}, true, false}, unavailable},
        {"not found", {notFound, {}, true, false}, unavailable},
        {"not over HTTPS", {ok, {}, false, true}, unavailable},
        {"a redirect, not followed",
         {{false, QNetworkReply::NoError, {}, 302}, {}, true, false},
         unavailable},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(downloadFailure(row.download), row.failure) << row.what;
    }
}

TEST(UpdateDecisions, OffersOnlyANewerReleaseThisSystemRuns) {
    const SystemVersion system = SystemVersion::fromKernelRelease("6.2.0-39-generic");
    struct Row {
        const char* what;
        std::optional<VeltRelease> release;
        int64_t installed;
        Offer offer;
    };
    const std::vector<Row> rows = {
        {"no release", std::nullopt, 1, Offer::upToDate},
        {"the installed build", release(10), 10, Offer::upToDate},
        {"an older build", release(9), 10, Offer::upToDate},
        {"a newer build", release(11), 10, Offer::download},
        {"a newer build for this very system", release(11, "6.2"), 10, Offer::download},
        {"a newer build for a newer system", release(11, "6.3"), 10, Offer::incompatible},
        {"an older build for a newer system", release(9, "7.0"), 10, Offer::upToDate},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(offerFor(row.release, row.installed, system), row.offer) << row.what;
    }
}

TEST(UpdateDecisions, AlertsNameTheRelease) {
    EXPECT_EQ(upToDateAlert(),
              (UpdateAlert{"You’re up to date.", "You have the latest available version of Vantrel.", {}}));
    EXPECT_EQ(incompatibleAlert(release(11, "6.3")),
              (UpdateAlert{"Vantrel", "Vantrel 1.4.0 needs Linux 6.3 or later.", {}}));
    EXPECT_EQ(
        offerAlert(release(11)),
        (UpdateAlert{"Vantrel 1.4.0 is ready.",
                     "Faster cacti.\n\nDownload the update, quit Vantrel, and replace your existing app.",
                     {"Download Update", "Later"}}));
    EXPECT_EQ(errorAlert("Disk full"), (UpdateAlert{"Vantrel", "Disk full", {}}));
    EXPECT_EQ(proposedFileName(release(11)), "Vantrel-1.4.0.zip");
}
