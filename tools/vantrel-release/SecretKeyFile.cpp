#include "SecretKeyFile.h"

#include <sodium.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vantrel::release {

namespace {

bool writeAll(int fd, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            return false;
        }
        done += static_cast<std::size_t>(n);
    }
    return true;
}

} // namespace

std::string SecretKeyFile::create(const SignedArtifact::KeyPair& keys) const {
    // O_EXCL: an existing key is never replaced, not even through a symbolic link.
    const int fd = ::open(m_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0) {
        if (errno == EEXIST) {
            return m_path + " already exists; refusing to overwrite it";
        }
        return "cannot create " + m_path + ": " + std::strerror(errno);
    }
    std::string text = SignedArtifact::base64(keys.secretKey.data(), keys.secretKey.size()) + "\n";
    // Set the mode outright: the umask can only narrow 0600, but a secret key
    // must not depend on the caller's umask being sane.
    const bool ok = ::fchmod(fd, 0600) == 0 && writeAll(fd, text) && ::fsync(fd) == 0;
    const int savedErrno = errno;
    sodium_memzero(text.data(), text.size());
    ::close(fd);
    if (!ok) {
        ::unlink(m_path.c_str());
        return "cannot write " + m_path + ": " + std::strerror(savedErrno);
    }
    return {};
}

std::optional<SignedArtifact::KeyPair> SecretKeyFile::read(std::string& error) const {
    const int fd = ::open(m_path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        error = "cannot read " + m_path + ": " + std::strerror(errno);
        return std::nullopt;
    }
    char buffer[512];
    std::size_t size = 0;
    while (size < sizeof buffer) {
        const ssize_t n = ::read(fd, buffer + size, sizeof buffer - size);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            break;
        }
        size += static_cast<std::size_t>(n);
    }
    ::close(fd);
    std::string_view text(buffer, size);
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == ' ')) {
        text.remove_suffix(1);
    }
    auto bytes = SignedArtifact::fromBase64(text);
    sodium_memzero(buffer, sizeof buffer);
    std::optional<SignedArtifact::KeyPair> keys;
    if (bytes) {
        keys = SignedArtifact::KeyPair::fromSecretKey(*bytes);
        sodium_memzero(bytes->data(), bytes->size());
    }
    if (!keys) {
        error = m_path + " does not hold a release secret key (made by \"vantrel-release keygen\")";
    }
    return keys;
}

bool SecretKeyFile::readableByOthers() const {
    struct stat info {};
    return ::stat(m_path.c_str(), &info) == 0 && (info.st_mode & 0077) != 0;
}

} // namespace vantrel::release
