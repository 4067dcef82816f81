#include "WavCommand.h"

#include "CommandLine.h"

#include "VantrelCore/ArcadeCue.h"
#include "VantrelCore/Chiptune.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace vantrel::sim {

namespace {

std::string cueNames() {
    std::string names;
    for (ArcadeCue cue : allArcadeCues) {
        names += names.empty() ? "" : ", ";
        names += toString(cue);
    }
    return names;
}

int usageError(std::FILE* err, const std::string& message) {
    std::fprintf(err, "vantrel-sim: %s\nusage: vantrel-sim wav CUE [-o FILE]   (CUE: %s)\n", message.c_str(),
                 cueNames().c_str());
    return 2;
}

std::string folderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
        return ".";
    }
    return slash == 0 ? "/" : path.substr(0, slash);
}

bool writeAll(int fd, std::span<const uint8_t> bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            if (n == 0) {
                errno = EIO;
            }
            return false;
        }
        done += static_cast<std::size_t>(n);
    }
    return true;
}

std::string writeDirectly(const std::string& path, std::span<const uint8_t> bytes) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd < 0) {
        return std::strerror(errno);
    }
    std::string failure;
    if (!writeAll(fd, bytes)) {
        failure = std::strerror(errno);
    }
    if (::close(fd) != 0 && failure.empty()) {
        failure = std::strerror(errno);
    }
    return failure;
}

} // namespace

std::string writeFileAtomically(const std::string& path, std::span<const uint8_t> bytes) {
    if (path.empty()) {
        return "empty file name";
    }
    std::string target = path;
    struct stat info {};
    if (::stat(path.c_str(), &info) == 0) {
        if (S_ISDIR(info.st_mode)) {
            return std::strerror(EISDIR);
        }
        if (!S_ISREG(info.st_mode)) {
            return writeDirectly(path, bytes);
        }
        if (char* real = ::realpath(path.c_str(), nullptr)) {
            target = real;
            std::free(real);
        }
    }
    std::string temp = folderOf(target) + "/.vantrel-wav-XXXXXX";
    const int fd = ::mkstemp(temp.data());
    if (fd < 0) {
        return std::strerror(errno);
    }
    // mkstemp makes the file private (0600); give it the usual permissions of a new file.
    const mode_t mask = ::umask(0);
    ::umask(mask);
    ::fchmod(fd, 0666 & ~mask);

    std::string failure;
    if (!writeAll(fd, bytes) || ::fsync(fd) != 0) {
        failure = std::strerror(errno);
    }
    if (::close(fd) != 0 && failure.empty()) {
        failure = std::strerror(errno);
    }
    if (failure.empty() && ::rename(temp.c_str(), target.c_str()) != 0) {
        failure = std::strerror(errno);
    }
    if (!failure.empty()) {
        ::unlink(temp.c_str());
    }
    return failure;
}

int runWav(std::span<const std::string_view> args, std::FILE* out, std::FILE* err) {
    std::optional<std::string_view> cueName;
    std::optional<std::string> outputPath;
    for (std::size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "-o") {
            if (i + 1 >= args.size()) {
                return usageError(err, "-o needs a file name");
            }
            if (outputPath) {
                return usageError(err, "-o given twice");
            }
            outputPath = std::string(args[++i]);
        } else if (!cueName) {
            cueName = args[i];
        } else {
            return usageError(err, "unexpected argument '" + printable(args[i]) + "'");
        }
    }
    if (!cueName) {
        return usageError(err, "missing cue; the cues are " + cueNames());
    }
    const std::optional<ArcadeCue> cue = arcadeCueFromString(*cueName);
    if (!cue) {
        return usageError(err, "unknown cue '" + printable(*cueName) + "'; the cues are " + cueNames());
    }

    const std::vector<uint8_t> wav = Chiptune::waveData(*cue);
    if (outputPath) {
        const std::string failure = writeFileAtomically(*outputPath, wav);
        if (!failure.empty()) {
            std::fprintf(err, "vantrel-sim: cannot write '%s': %s\n", printable(*outputPath, 300).c_str(),
                         failure.c_str());
            return 1;
        }
        return 0;
    }
    if (std::fwrite(wav.data(), 1, wav.size(), out) != wav.size() || std::fflush(out) != 0) {
        std::fprintf(err, "vantrel-sim: cannot write to standard output: %s\n", std::strerror(errno));
        return 1;
    }
    return 0;
}

} // namespace vantrel::sim
