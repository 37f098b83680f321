#include "PendingFile.hpp"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <filesystem>
#include <optional>
#include <utility>

#include "OutputError.hpp"

namespace vorlandi::cli {
namespace {

namespace fs = std::filesystem;

constexpr int kNone = -1;
constexpr mode_t kAllModeBits = 07777;
constexpr std::array kEndingSignals = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

// The temporary name, empty if there is none. It changes only while these signals are blocked.
std::array<char, PATH_MAX> temporaryName{};

extern "C" void removeAndEnd(int signal) {
    if (temporaryName[0] != '\0') unlink(temporaryName.data());
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

// Blocks the signals while a file and its temporary name are created or removed.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t blocked;
        sigemptyset(&blocked);
        for (const int signal : kEndingSignals)
            sigaddset(&blocked, signal);
        sigprocmask(SIG_BLOCK, &blocked, &before_);
    }
    ~SignalsBlocked() { sigprocmask(SIG_SETMASK, &before_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t before_{};
};

// A signal that is ignored, as under nohup, stays ignored.
void removeOnSignals() {
    for (const int signal : kEndingSignals) {
        struct sigaction present {};
        sigaction(signal, nullptr, &present);
        if (present.sa_handler == SIG_DFL) std::signal(signal, removeAndEnd);
    }
}

fs::path directoryOf(const fs::path& path) { return path.has_parent_path() ? path.parent_path() : "."; }

bool isInProc(const fs::path& directory) {
    struct statfs status {};
    return statfs(directory.c_str(), &status) == 0 && status.f_type == PROC_SUPER_MAGIC;
}

// The file at the end of all symbolic links; it may not exist yet. None for links to open files, such as /dev/stdout:
// these are written, not replaced.
std::optional<fs::path> targetOfLinks(fs::path path) {
    constexpr int kMostLinks = 40;  // as many as the kernel follows
    for (int links = 0; links <= kMostLinks; ++links) {
        std::error_code error;
        if (!fs::is_symlink(fs::symlink_status(path, error))) return path;
        if (isInProc(directoryOf(path))) return std::nullopt;
        path = path.parent_path() / fs::read_symlink(path, error);
    }
    return std::nullopt;
}

// Mode and owner of the file to be replaced. A new file gets the mode that open() would give it, and keeps its owner.
struct Ownership {
    mode_t mode;
    uid_t user = static_cast<uid_t>(-1);
    gid_t group = static_cast<gid_t>(-1);
};

// None if the target can't be replaced.
std::optional<Ownership> ownershipOf(const fs::path& target) {
    struct stat status {};
    if (stat(target.c_str(), &status) == 0) {
        const bool writable = faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) == 0;
        if (!S_ISREG(status.st_mode) || !writable) return std::nullopt;
        return Ownership{status.st_mode & kAllModeBits, status.st_uid, status.st_gid};
    }
    if (errno != ENOENT) return std::nullopt;
    const mode_t mask = umask(0);
    umask(mask);
    return Ownership{kReadAndWriteForAll & ~mask};
}

// False if mode and owner can't be set. The mode comes last, since a change of owner clears some of its bits.
bool setOwnership(int descriptor, const Ownership& ownership) {
    return fchown(descriptor, ownership.user, ownership.group) == 0 && fchmod(descriptor, ownership.mode) == 0;
}

bool forbidden(int error) { return error == EACCES || error == EPERM || error == EROFS; }

}  // namespace

std::unique_ptr<PendingFile> PendingFile::beside(const std::string& name) {
    const std::optional<fs::path> target = targetOfLinks(name);
    const std::optional<Ownership> ownership = target ? ownershipOf(*target) : std::nullopt;
    if (!ownership || !target->has_filename()) return nullptr;
    std::string temporary = (directoryOf(*target) / ".vorlandi-XXXXXX").string();
    if (temporary.size() >= temporaryName.size()) return nullptr;

    const SignalsBlocked blocked;
    removeOnSignals();
    const int descriptor = mkostemp(temporary.data(), O_CLOEXEC);
    if (descriptor == kNone) {
        if (forbidden(errno)) return nullptr;
        throw OutputError(name, errno);
    }
    std::copy_n(temporary.c_str(), temporary.size() + 1, temporaryName.begin());
    std::unique_ptr<PendingFile> file(new PendingFile(descriptor, target->string()));
    if (!setOwnership(descriptor, *ownership)) file.reset();
    return file;
}

PendingFile::PendingFile(int descriptor, std::string target) : descriptor_(descriptor), target_(std::move(target)) {}

PendingFile::~PendingFile() {
    if (descriptor_ != kNone) close(descriptor_);
    const SignalsBlocked blocked;
    if (temporaryName[0] != '\0') unlink(temporaryName.data());
    temporaryName[0] = '\0';
}

int PendingFile::commit() {
    // Some file systems report a full disk only here.
    if (close(std::exchange(descriptor_, kNone)) != 0) return errno;
    const SignalsBlocked blocked;
    if (rename(temporaryName.data(), target_.c_str()) != 0) return errno;
    temporaryName[0] = '\0';
    return 0;
}

}  // namespace vorlandi::cli
