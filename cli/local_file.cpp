// Classifying and reading local files with a bound.
#include "cli/local_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace cli {

namespace {

std::string KindOf(const struct stat& status) {
    if (S_ISREG(status.st_mode)) return "";
    if (S_ISDIR(status.st_mode)) return "is a folder";
    if (S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode)) return "is a device";
    if (S_ISFIFO(status.st_mode)) return "is a FIFO";
    if (S_ISSOCK(status.st_mode)) return "is a socket";
    return "is not a regular file";
}

std::string SystemReason(int error) {
    return error == ENOENT || error == ENOTDIR ? "no such file or folder" : std::strerror(error);
}

// Closes the descriptor it holds.
class Descriptor {
public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor() {
        if (m_fd >= 0) ::close(m_fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return m_fd; }

private:
    int m_fd;
};

}  // namespace

std::string NotARegularFile(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return SystemReason(errno);
    return KindOf(status);
}

std::string SizeText(std::size_t bytes) {
    constexpr std::size_t kMebibyte = 1024 * 1024;
    if (bytes >= kMebibyte && bytes % kMebibyte == 0) return std::to_string(bytes / kMebibyte) + " MiB";
    return std::to_string(bytes) + " bytes";
}

bool ReadLocalFile(const std::string& path, std::size_t limit, std::string& bytes, std::string& error,
                   const std::string& tooLarge) {
    // O_NONBLOCK: opening a FIFO for reading would otherwise wait for a writer.
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    auto refuse = [&](const std::string& reason) {
        error = path + ": " + reason;
        return false;
    };
    if (file.get() < 0) return refuse(SystemReason(errno));
    struct stat status {};
    if (::fstat(file.get(), &status) != 0) return refuse(SystemReason(errno));
    if (const std::string kind = KindOf(status); !kind.empty()) return refuse(kind);
    const std::string tooLargeReason = tooLarge.empty() ? "larger than the " + SizeText(limit) + " allowed" : tooLarge;
    if (static_cast<unsigned long long>(status.st_size) > limit) return refuse(tooLargeReason);
    bytes.clear();
    bytes.reserve(static_cast<std::size_t>(status.st_size));
    char buffer[64 * 1024];
    for (;;) {
        const ssize_t got = ::read(file.get(), buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) return refuse(std::string("cannot be read: ") + std::strerror(errno));
        if (got == 0) return true;
        if (bytes.size() + static_cast<std::size_t>(got) > limit) return refuse(tooLargeReason);
        bytes.append(buffer, static_cast<std::size_t>(got));
    }
}

}  // namespace cli
