#include "CoreServices/Descriptors.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>

#include "CoreServices/Texts.hpp"

namespace vorlandi {

Descriptor::~Descriptor() {
    if (number_ != kNone) ::close(number_);
}

int openDescriptor(std::string_view name, int flags, Descriptor& file) noexcept {
    constexpr mode_t kReadAndWriteForAll = 0666;  // less the process's umask
    name = trimmed(name);
    if (name.empty()) return ENOENT;
    std::array<char, PATH_MAX> path;
    if (name.size() >= path.size()) return ENAMETOOLONG;
    path[name.copy(path.data(), name.size())] = '\0';
    const int number = ::open(path.data(), flags | O_CLOEXEC | O_NOCTTY, kReadAndWriteForAll);
    if (number < 0) return errno;
    file = Descriptor(number);
    return 0;
}

}  // namespace vorlandi
