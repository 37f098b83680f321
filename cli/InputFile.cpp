#include "InputFile.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace vorlandi::cli {
namespace {

constexpr std::size_t kMostOfStream = std::size_t{4} << 30;
constexpr std::size_t kReadSize = 1 << 20;

mode_t modeOf(const std::string& name) {
    struct stat status {};
    return stat(name.c_str(), &status) == 0 ? status.st_mode : 0;
}

}  // namespace

InputFile::InputFile(const std::string& name) {
    const mode_t mode = modeOf(name);
    if (S_ISFIFO(mode)) {
        source_.descriptor = open(name.c_str(), O_RDONLY | O_CLOEXEC);
        if (source_.descriptor >= 0) beginStream();
        return;
    }
    if (!S_ISREG(mode)) return;
    source_.descriptor = open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (source_.descriptor < 0) return;
    std::array<char, archives::kBytesToDetect> bytes;
    const ssize_t size = pread(source_.descriptor, bytes.data(), bytes.size(), 0);
    if (size > 0) packing_ = archives::packingOf({bytes.data(), static_cast<std::size_t>(size)});
}

InputFile::InputFile() {
    source_.descriptor = STDIN_FILENO;
    beginStream();
}

InputFile::InputFile(Content content) {
    source_ = {open("/dev/null", O_RDONLY | O_CLOEXEC), content.bytes};
    beginStream();
}

void InputFile::beginStream() {
    isStream_ = true;
    // An error comes back when the rest is read.
    readUpTo(archives::kBytesToDetect);
    packing_ = archives::packingOf(source_.begin);
}

InputFile::~InputFile() {
    if (source_.descriptor > STDERR_FILENO) close(source_.descriptor);
}

int InputFile::readAll() {
    if (const int error = readUpTo(kMostOfStream + 1); error != 0) return error;
    return source_.begin.size() > kMostOfStream ? EFBIG : 0;
}

int InputFile::readUpTo(std::size_t size) {
    std::string& bytes = source_.begin;
    while (bytes.size() < size) {
        const std::size_t before = bytes.size();
        bytes.resize(std::min(size, before + kReadSize));
        const ssize_t count = read(source_.descriptor, bytes.data() + before, bytes.size() - before);
        const int error = errno;
        bytes.resize(before + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        if (count == 0) break;
        if (count < 0 && error != EINTR) return error;
    }
    return 0;
}

}  // namespace vorlandi::cli
